// SPDX-License-Identifier: MIT
//
// The four forms in which COBOL programs keep records in plain files, as they are
// laid down in docs/formats/record-files.md, and the options that choose one.
#ifndef TOOL_RECORD_FORMAT_H
#define TOOL_RECORD_FORMAT_H

#include <cstdint>
#include <string>

#include "wbfsi/records.h"

namespace CLI {
class App;
}

namespace tool {

enum class RecordFormat : uint8_t { kFixed, kLine, kRelative, kVariable };

// What stands in front of each record of a variable-length file; the numbers are
// those of the COBOL run-time's setting COB_VARSEQ_FORMAT.
enum class LengthHeader : uint8_t {
    kBig16ThenZeros = 0,  // two bytes, most significant first, and two zero bytes
    kBig32 = 1,           // four bytes, most significant first
    kNative32 = 2,        // four bytes in the machine's order
    kBig16 = 3,           // two bytes, most significant first
};

// Slot headers of relative files have the width of the program's size_t; a file
// does not tell its own width.
enum class SlotHeader : uint8_t { kUnknown = 0, k32 = 4, k64 = 8 };

struct RecordShape {
    RecordFormat format = RecordFormat::kFixed;
    uint32_t max_bytes = 0;  // of one record, 1..
    uint32_t min_bytes = 0;  // 0..max_bytes
    LengthHeader length_header = LengthHeader::kBig16ThenZeros;
    SlotHeader slot_header = SlotHeader::kUnknown;
    bool ends_in_crlf = false;  // lines end in CR LF instead of LF
};

const char *format_in_words(RecordFormat format);
constexpr uint32_t length_header_bytes(LengthHeader header) {
    return header == LengthHeader::kBig16 ? 2 : 4;
}
// Greatest length that the header can state.
constexpr uint32_t length_header_limit(LengthHeader header) {
    return header == LengthHeader::kBig32 || header == LengthHeader::kNative32 ? INT32_MAX
                                                                               : UINT16_MAX;
}

// The options that say what the record file looks like.
class RecordFormatOptions {
 public:
    void declare(CLI::App &app);

    // The shape of the dictionary's file.  Throws Failure for a dictionary whose
    // records have no bytes or whose file type means no record file.
    RecordShape shape_of(const std::string &name, const Xfd &xfd) const;

 private:
    std::string format_;
    int length_header_ = 0;
    int slot_header_ = 0;
    std::string line_end_;
};

}  // namespace tool

#endif
