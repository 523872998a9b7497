// SPDX-License-Identifier: MIT
//
// Records out of a file that a COBOL program wrote; docs/formats/record-files.md
// lays the forms down.
//
//     RecordReader reader(path, shape);
//     Record record;
//     while (reader.next(record)) use(record.number, record.bytes);
#ifndef TOOL_RECORD_READER_H
#define TOOL_RECORD_READER_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "tool/input_file.h"
#include "tool/record_format.h"

namespace tool {

struct Record {
    uint64_t number = 0;                   // from 1; relative files: the slot
    std::span<const unsigned char> bytes;  // valid until the next call
};

// What a file holds beside its records and what writing the records again will
// not bring back.
struct ReaderNotes {
    uint64_t empty_slots = 0;           // of a relative file
    uint64_t slots_with_old_bytes = 0;  // bytes that are not zero in empty slots
    uint64_t slots_with_tails = 0;      // bytes other than blanks behind short records
    uint64_t trailing_empty_slots = 0;  // behind the last record
    uint64_t blank_ended_lines = 0;     // lines that end in blanks
    uint64_t cr_ended_lines = 0;        // lines whose last byte is a CR
    bool last_line_is_open = false;     // no line end behind the last line
};

class RecordReader {
 public:
    // Opens the file and, for a relative one of unknown width, finds the width
    // out.  Throws Failure.
    RecordReader(const std::string &path, const RecordShape &shape);

    // Next record; false behind the last one.  Throws Failure with record number
    // and byte offset for a file that is cut off, a header that states no
    // possible length, a line longer than the record.
    bool next(Record &record);

    uint64_t position() const { return file_.position(); }
    uint64_t size() const { return file_.size(); }
    const RecordShape &shape() const { return shape_; }
    const ReaderNotes &notes() const { return notes_; }

 private:
    bool next_fixed(Record &record);
    bool next_line(Record &record);
    bool next_relative(Record &record);
    bool next_variable(Record &record);
    void note_line(size_t length);
    uint64_t slot_length() const;
    SlotHeader find_slot_header();
    bool slots_fit(SlotHeader header);
    [[noreturn]] void fail(uint64_t offset, const std::string &what) const;
    [[noreturn]] void fail_cut_off(size_t present, uint64_t whole, const char *what) const;

    RecordShape shape_;
    InputFile file_;
    uint64_t number_ = 0;  // of the record last looked at
    ReaderNotes notes_;
    std::unique_ptr<unsigned char[]> line_;  // a line padded to the record's length
};

}  // namespace tool

#endif
