// SPDX-License-Identifier: MIT
//
// The name map: patterns of file names and the names that replace them, as the
// variable XFD_MAP sets them.  Z4GetXFDName looks names up in it.
#ifndef FSI_FSIVARS_H
#define FSI_FSIVARS_H

#include <span>

namespace fsi {

struct NameMapEntry {
    char *holder;       // the text that pattern and replacement lie in; owned, null but
                        // in the first entry made from one setting
    char *pattern;      // "*" any run, "?" any one character, else itself
    char *replacement;  // takes the place of a name that the pattern covers whole
};

// The entries in the order in which they were added; valid until the next change
// of XFD_MAP.
std::span<const NameMapEntry> name_map();

// True when `pattern` covers the whole of `name`.  Costs at most the product of
// both lengths.
bool matches_pattern(const char *pattern, const char *name);

}  // namespace fsi

#endif
