// SPDX-License-Identifier: MIT
//
// Knows, as the bytes of a document go by, whether a ">" closes markup.  expat
// would find the same, but it begins an unfinished tag, comment, instruction or
// declaration anew with every bit of it that it is fed; so these are fed whole.
// Wrong documents may be scanned wrongly: expat then has the last word.
#ifndef FSI_XML_PARSEXML_SCANNER_H
#define FSI_XML_PARSEXML_SCANNER_H

#include <cstddef>

#include "fsi/xml/handlers/state.h"

namespace fsi::xml {

// Bytes of a code unit of the form.
constexpr size_t unit_size(SourceForm form) {
    return form == SourceForm::kLittleUnits || form == SourceForm::kBigUnits ? 2 : 1;
}

// Offset behind the first ">" in whole code units, or 0.
size_t find_greater_than(SourceForm form, const char *bytes, size_t size);

// Offset behind the last one, or 0.
size_t find_last_greater_than(SourceForm form, const char *bytes, size_t size);

// Goes over the next bytes, whole code units with no ">" but as the last one.  True
// when they can be fed: no token is unfinished behind them, or they are an error
// whatever follows (a "<" in an attribute value).
bool scan(ScannerState *scanner, SourceForm form, const char *bytes, size_t size);

}  // namespace fsi::xml

#endif
