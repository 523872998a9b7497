// SPDX-License-Identifier: MIT
#include "tool/record_reader.h"

#include <algorithm>
#include <cstring>

#include "tool/failure.h"

namespace tool {

namespace {

// Longest line end and longest header in front of a record.
constexpr size_t kMaxExtraBytes = 8;

uint64_t read_big(const unsigned char *bytes, size_t count) {
    uint64_t value = 0;
    for (size_t i = 0; i < count; i++) {
        value = value << 8 | bytes[i];
    }
    return value;
}

// Slot headers and format 2 are in the order of the machine that wrote them;
// every machine this project builds for is little-endian.
uint64_t read_little(const unsigned char *bytes, size_t count) {
    uint64_t value = 0;
    for (size_t i = count; i-- > 0;) {
        value = value << 8 | bytes[i];
    }
    return value;
}

// Length in a header of a variable-length record; UINT64_MAX for a header that
// states none.
uint64_t read_length(const unsigned char *bytes, LengthHeader header) {
    switch (header) {
        case LengthHeader::kBig16ThenZeros:
            return bytes[2] == 0 && bytes[3] == 0 ? read_big(bytes, 2) : UINT64_MAX;
        case LengthHeader::kBig32:
            return read_big(bytes, 4);
        case LengthHeader::kNative32:
            return read_little(bytes, 4);
        case LengthHeader::kBig16:
            return read_big(bytes, 2);
    }
    return UINT64_MAX;
}

bool all_are(const unsigned char *bytes, size_t count, unsigned char value) {
    return std::all_of(bytes, bytes + count, [&](unsigned char b) { return b == value; });
}

std::string range_in_words(const RecordShape &shape) {
    return shape.min_bytes == shape.max_bytes
               ? std::to_string(shape.max_bytes)
               : std::to_string(shape.min_bytes) + " to " + std::to_string(shape.max_bytes);
}

std::string hex(const unsigned char *bytes, size_t count) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (size_t i = 0; i < count; i++) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}

}  // namespace

RecordReader::RecordReader(const std::string &path, const RecordShape &shape)
    : shape_(shape), file_(path, size_t{shape.max_bytes} + kMaxExtraBytes) {
    if (shape_.format == RecordFormat::kRelative && shape_.slot_header == SlotHeader::kUnknown) {
        shape_.slot_header = find_slot_header();
    }
    if (shape_.format == RecordFormat::kLine) {
        line_ = std::make_unique_for_overwrite<unsigned char[]>(shape_.max_bytes);
    }
}

void RecordReader::fail(uint64_t offset, const std::string &what) const {
    throw Failure(file_.path() + ": record " + std::to_string(number_) + " at byte " +
                  std::to_string(offset) + ": " + what);
}

void RecordReader::fail_cut_off(size_t present, uint64_t whole, const char *what) const {
    fail(file_.position(), "the file ends after " + std::to_string(present) + " of the " +
                               std::to_string(whole) + " bytes of " + what);
}

bool RecordReader::next(Record &record) {
    switch (shape_.format) {
        case RecordFormat::kFixed:
            return next_fixed(record);
        case RecordFormat::kLine:
            return next_line(record);
        case RecordFormat::kRelative:
            return next_relative(record);
        case RecordFormat::kVariable:
            return next_variable(record);
    }
    return false;
}

bool RecordReader::next_fixed(Record &record) {
    const size_t ready = file_.need(shape_.max_bytes);
    if (ready == 0) {
        return false;
    }
    number_++;
    if (ready < shape_.max_bytes) {
        fail_cut_off(ready, shape_.max_bytes, "a record; all records of the file have that length");
    }
    record = {number_, {file_.data(), shape_.max_bytes}};
    file_.skip(shape_.max_bytes);
    return true;
}

bool RecordReader::next_variable(Record &record) {
    const size_t header = length_header_bytes(shape_.length_header);
    size_t ready = file_.need(header);
    if (ready == 0) {
        return false;
    }
    number_++;
    if (ready < header) {
        fail_cut_off(ready, header, "a length header");
    }
    const uint64_t length = read_length(file_.data(), shape_.length_header);
    if (length < shape_.min_bytes || length > shape_.max_bytes) {
        fail(file_.position(), "the length header " + hex(file_.data(), header) + " states " +
                                   (length == UINT64_MAX ? std::string("no length")
                                                         : std::to_string(length) + " bytes") +
                                   "; " + range_in_words(shape_) +
                                   " would be right (--length-header chooses among the forms of "
                                   "headers)");
    }
    const auto size = static_cast<size_t>(length);
    ready = file_.need(header + size);
    if (ready < header + size) {
        fail_cut_off(ready, header + size, "a record with its length header");
    }
    record = {number_, {file_.data() + header, size}};
    file_.skip(header + size);
    return true;
}

uint64_t RecordReader::slot_length() const {
    return read_little(file_.data(), static_cast<size_t>(shape_.slot_header));
}

bool RecordReader::next_relative(Record &record) {
    const auto header = static_cast<size_t>(shape_.slot_header);
    const size_t slot = header + shape_.max_bytes;
    for (;;) {
        const size_t ready = file_.need(slot);
        if (ready == 0) {
            return false;
        }
        number_++;
        if (ready < slot) {
            fail_cut_off(ready, slot, "a slot (header and record)");
        }
        const unsigned char *bytes = file_.data() + header;
        const uint64_t length = slot_length();
        if (length == 0) {
            notes_.empty_slots++;
            notes_.trailing_empty_slots++;
            notes_.slots_with_old_bytes += !all_are(bytes, shape_.max_bytes, 0);
            file_.skip(slot);
            continue;
        }
        if (length < shape_.min_bytes || length > shape_.max_bytes) {
            fail(file_.position(), "the slot header " + hex(file_.data(), header) + " states " +
                                       std::to_string(length) + " bytes; 0 (empty) or " +
                                       range_in_words(shape_) +
                                       " would be right (--slot-header chooses between the two "
                                       "widths)");
        }
        const auto size = static_cast<size_t>(length);
        notes_.trailing_empty_slots = 0;
        notes_.slots_with_tails += !all_are(bytes + size, shape_.max_bytes - size, ' ');
        record = {number_, {bytes, size}};
        file_.skip(slot);
        return true;
    }
}

bool RecordReader::slots_fit(SlotHeader header) {
    shape_.slot_header = header;
    const size_t slot = static_cast<size_t>(header) + shape_.max_bytes;
    bool fits = true;
    for (size_t ready = file_.need(slot); fits && ready > 0; ready = file_.need(slot)) {
        if (ready < slot) {
            fits = false;
            break;
        }
        const uint64_t length = slot_length();
        fits = length == 0 || (length >= shape_.min_bytes && length <= shape_.max_bytes);
        file_.skip(slot);
    }
    file_.rewind();
    return fits;
}

// A file that fits one width alone has that width.  One that fits neither is read
// as that of a 64-bit program, or of a 32-bit one when only its length says so,
// for the sake of an error that names the record.
SlotHeader RecordReader::find_slot_header() {
    if (!file_.is_regular()) {
        throw Failure(file_.path() +
                      ": what is no regular file is read only once, so that the width of its slot "
                      "headers cannot be found out; --slot-header 4 (written by a 32-bit program) "
                      "or --slot-header 8 would be right");
    }
    if (file_.size() == 0) {
        return SlotHeader::k64;
    }
    const bool fits_64 = slots_fit(SlotHeader::k64);
    const bool fits_32 = slots_fit(SlotHeader::k32);
    if (fits_64 && fits_32) {
        throw Failure(file_.path() +
                      ": the slots can be read with headers of 4 and of 8 bytes; --slot-header 4 "
                      "(written by a 32-bit program) or --slot-header 8 decides");
    }
    if (fits_64 || fits_32) {
        return fits_64 ? SlotHeader::k64 : SlotHeader::k32;
    }
    const bool length_of_32 = file_.size() % (uint64_t{shape_.max_bytes} + 8) != 0 &&
                              file_.size() % (uint64_t{shape_.max_bytes} + 4) == 0;
    return length_of_32 ? SlotHeader::k32 : SlotHeader::k64;
}

// Padded with blanks to the length of the record, as a program's READ does.
bool RecordReader::next_line(Record &record) {
    const size_t end_bytes = shape_.ends_in_crlf ? 2 : 1;
    const size_t longest = shape_.max_bytes + end_bytes;
    const size_t ready = file_.need(longest + 1);
    if (ready == 0) {
        return false;
    }
    number_++;
    const size_t reach = std::min(ready, longest);
    const void *found = memchr(file_.data(), '\n', reach);
    size_t length = reach;
    if (found != nullptr) {
        length = static_cast<size_t>(static_cast<const unsigned char *>(found) - file_.data());
        if (shape_.ends_in_crlf) {
            if (length == 0 || file_.data()[length - 1] != '\r') {
                fail(file_.position(),
                     "the line ends in LF alone; without --line-end crlf that "
                     "would be right");
            }
            length--;
        }
    }
    if (length > shape_.max_bytes) {
        const bool only_a_cr = !shape_.ends_in_crlf && ready > shape_.max_bytes + 1 &&
                               file_.data()[shape_.max_bytes] == '\r' &&
                               file_.data()[shape_.max_bytes + 1] == '\n';
        fail(file_.position(),
             "the line is longer than the record's " + std::to_string(shape_.max_bytes) + " bytes" +
                 (only_a_cr ? "; it ends in CR LF, which --line-end crlf reads" : ""));
    }
    note_line(length);
    notes_.last_line_is_open = found == nullptr;
    memcpy(line_.get(), file_.data(), length);
    memset(line_.get() + length, ' ', shape_.max_bytes - length);
    file_.skip(found == nullptr ? length : length + end_bytes);
    record = {number_, {line_.get(), shape_.max_bytes}};
    return true;
}

void RecordReader::note_line(size_t length) {
    if (length > 0) {
        const unsigned char last = file_.data()[length - 1];
        notes_.blank_ended_lines += last == ' ';
        notes_.cr_ended_lines += last == '\r';
    }
}

}  // namespace tool
