// SPDX-License-Identifier: MIT
#include "tool/record_format.h"

#include <CLI/CLI.hpp>

#include "tool/failure.h"
#include "tool/words.h"

namespace tool {

namespace {

struct FormatRow {
    const char *name;
    RecordFormat format;
    const char *words;
};

constexpr FormatRow kFormats[] = {
    {"fixed", RecordFormat::kFixed, "fixed-length sequential"},
    {"line", RecordFormat::kLine, "line sequential"},
    {"relative", RecordFormat::kRelative, "relative"},
    {"variable", RecordFormat::kVariable, "variable-length sequential"},
};

// A sequential file has length headers when its records differ in length; an
// indexed one is taken from a fixed-length sequential file in any case.
RecordFormat format_of(const std::string &name, const Xfd &xfd) {
    switch (xfd.x_file_type) {
        case XFD_INDEXED:
            return RecordFormat::kFixed;
        case XFD_SEQUENTIAL:
            return xfd.x_min_rec_size == xfd.x_max_rec_size ? RecordFormat::kFixed
                                                            : RecordFormat::kVariable;
        case XFD_LINE_SEQUENTIAL:
            return RecordFormat::kLine;
        case XFD_RELATIVE:
            return RecordFormat::kRelative;
        default:
            throw Failure(name + ": the dictionary's file type " + std::to_string(xfd.x_file_type) +
                          " says nothing about the record file; 4, 5, 8 and 12 do, or "
                          "--record-format");
    }
}

}  // namespace

const char *format_in_words(RecordFormat format) {
    return kFormats[static_cast<size_t>(format)].words;
}

void RecordFormatOptions::declare(CLI::App &app) {
    constexpr const char *kGroup = "Record file";
    app.add_option("--record-format", format_,
                   "fixed, line, relative or variable; the dictionary's file type decides "
                   "without it")
        ->check(CLI::IsMember({"fixed", "line", "relative", "variable"}))
        ->type_name("FORMAT")
        ->group(kGroup);
    app.add_option("--length-header", length_header_,
                   "Header of variable-length records, numbered as COB_VARSEQ_FORMAT (0 to 3)")
        ->check(CLI::Range(0, 3))
        ->type_name("NUMBER")
        ->group(kGroup);
    app.add_option("--slot-header", slot_header_,
                   "Bytes of a relative slot's header: 4 (32-bit programs) or 8 (64-bit programs)")
        ->check(CLI::IsMember({4, 8}))
        ->type_name("BYTES")
        ->group(kGroup);
    app.add_option("--line-end", line_end_, "Lines end in lf (default) or crlf")
        ->check(CLI::IsMember({"lf", "crlf"}))
        ->type_name("END")
        ->group(kGroup);
}

RecordShape RecordFormatOptions::shape_of(const std::string &name, const Xfd &xfd) const {
    RecordShape shape;
    shape.format = format_of(name, xfd);
    for (const FormatRow &row : kFormats) {
        if (format_ == row.name) {
            shape.format = row.format;
        }
    }
    shape.max_bytes = xfd.x_max_rec_size;
    shape.min_bytes = xfd.x_min_rec_size;
    if (shape.max_bytes == 0 || shape.max_bytes > INT32_MAX || shape.min_bytes > shape.max_bytes) {
        throw Failure(name + ": the dictionary gives records of " +
                      std::to_string(shape.min_bytes) + " to " + std::to_string(shape.max_bytes) +
                      " bytes; a maximum from 1 to 2147483647 and a minimum up to it would be "
                      "right");
    }
    shape.length_header = static_cast<LengthHeader>(length_header_);
    shape.slot_header = static_cast<SlotHeader>(slot_header_);
    shape.ends_in_crlf = line_end_ == "crlf";
    return shape;
}

}  // namespace tool
