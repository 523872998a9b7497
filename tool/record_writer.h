// SPDX-License-Identifier: MIT
//
// Records into a file as a COBOL program would write it, byte for byte; the
// counterpart of record_reader.h.
#ifndef TOOL_RECORD_WRITER_H
#define TOOL_RECORD_WRITER_H

#include <cstdint>
#include <span>
#include <string>

#include "tool/output_file.h"
#include "tool/record_format.h"

namespace tool {

class RecordWriter {
 public:
    // The shape's slot header must be known.  Throws Failure as OutputFile does.
    RecordWriter(const std::string &path, const RecordShape &shape) : shape_(shape), file_(path) {}

    // Writes one record.  In a relative file it goes to slot `number` (from 1, in
    // any order); slots that nothing is written to are empty.  Throws Failure for
    // a record that the form cannot hold.
    void put(uint64_t number, std::span<const unsigned char> record);

    // Hands what is buffered to the operating system.
    void flush() { file_.flush(); }

    // Gives the file its name; without it nothing is left behind.
    void commit() { file_.commit(); }

 private:
    void put_line(uint64_t number, std::span<const unsigned char> record);
    void put_slot(uint64_t number, std::span<const unsigned char> record);
    void put_variable(std::span<const unsigned char> record);
    [[noreturn]] void fail(uint64_t number, const std::string &what) const;

    RecordShape shape_;
    OutputFile file_;
};

}  // namespace tool

#endif
