// SPDX-License-Identifier: MIT
#include "tool/record_writer.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "tool/failure.h"

namespace tool {

namespace {

void write_big(unsigned char *bytes, size_t count, uint64_t value) {
    for (size_t i = count; i-- > 0; value >>= 8) {
        bytes[i] = static_cast<unsigned char>(value);
    }
}

void write_little(unsigned char *bytes, size_t count, uint64_t value) {
    for (size_t i = 0; i < count; i++, value >>= 8) {
        bytes[i] = static_cast<unsigned char>(value);
    }
}

}  // namespace

void RecordWriter::fail(uint64_t number, const std::string &what) const {
    throw Failure(file_.path() + ": record " + std::to_string(number) + ": " + what);
}

void RecordWriter::put(uint64_t number, std::span<const unsigned char> record) {
    const bool may_be_shorter = shape_.format != RecordFormat::kFixed;
    if (record.size() > shape_.max_bytes || (!may_be_shorter && record.size() < shape_.max_bytes)) {
        fail(number, "it has " + std::to_string(record.size()) + " bytes; " +
                         (may_be_shorter ? "at most " : "") + std::to_string(shape_.max_bytes) +
                         " would fit a " + format_in_words(shape_.format) + " file");
    }
    switch (shape_.format) {
        case RecordFormat::kFixed:
            file_.write(record.data(), record.size());
            break;
        case RecordFormat::kLine:
            put_line(number, record);
            break;
        case RecordFormat::kRelative:
            put_slot(number, record);
            break;
        case RecordFormat::kVariable:
            if (record.size() > length_header_limit(shape_.length_header)) {
                fail(number,
                     "its length does not fit the length header; --length-header 1 has "
                     "room for it");
            }
            put_variable(record);
            break;
    }
}

// Trailing blanks are not written, as a program's WRITE does.
void RecordWriter::put_line(uint64_t number, std::span<const unsigned char> record) {
    size_t length = record.size();
    while (length > 0 && record[length - 1] == ' ') {
        length--;
    }
    if (length > 0 && memchr(record.data(), '\n', length) != nullptr) {
        fail(number,
             "it holds a line feed, which would make two lines of it; a line sequential "
             "file cannot keep it");
    }
    file_.write(record.data(), length);
    file_.write(shape_.ends_in_crlf ? "\r\n" : "\n", shape_.ends_in_crlf ? 2 : 1);
}

// Behind a record shorter than its slot stand blanks, which is what a program's
// record area usually holds there.
void RecordWriter::put_slot(uint64_t number, std::span<const unsigned char> record) {
    const auto header_bytes = static_cast<size_t>(shape_.slot_header);
    assert(header_bytes != 0 && number != 0);
    if (record.empty()) {
        fail(number, "it has no bytes, which in a relative file means that there is no record");
    }
    const uint64_t slot = header_bytes + uint64_t{shape_.max_bytes};
    if (number - 1 > static_cast<uint64_t>(INT64_MAX) / slot - 1) {
        fail(number, "no file can have that many slots");
    }
    const uint64_t offset = (number - 1) * slot;
    if (offset != file_.position()) {
        file_.seek(offset);
    }
    unsigned char header[8];
    write_little(header, header_bytes, record.size());
    file_.write(header, header_bytes);
    file_.write(record.data(), record.size());
    file_.fill(' ', shape_.max_bytes - record.size());
}

void RecordWriter::put_variable(std::span<const unsigned char> record) {
    unsigned char header[4] = {};
    switch (shape_.length_header) {
        case LengthHeader::kBig16ThenZeros:
        case LengthHeader::kBig16:
            write_big(header, 2, record.size());
            break;
        case LengthHeader::kBig32:
            write_big(header, 4, record.size());
            break;
        case LengthHeader::kNative32:
            write_little(header, 4, record.size());
            break;
    }
    file_.write(header, length_header_bytes(shape_.length_header));
    file_.write(record.data(), record.size());
}

}  // namespace tool
