// SPDX-License-Identifier: MIT
//
// The lines of an error-map file with their numbers, and what is wrong with them.
// What the map holds is for the library to say; it passes over lines that it
// cannot use without a word, and this is where they get one.
#ifndef TOOL_ERRMAP_LINES_H
#define TOOL_ERRMAP_LINES_H

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

struct ErrmapLines {
    struct Entry {
        uint64_t line;  // 1-based
        int32_t native;
    };
    struct Section {
        uint64_t line;
        std::vector<Entry> entries;
    };
    struct Warning {
        uint64_t line;
        std::string text;  // may hold any byte of the file
    };

    std::vector<Section> sections;
    std::vector<Warning> warnings;
};

// Reads the file as Z4ParseErrorFile does.  Throws Failure for a file that cannot
// be read, and for one that is no regular file and could not be read again.
ErrmapLines read_errmap_lines(const std::string &path, bool implicit_section);

}  // namespace tool

#endif
