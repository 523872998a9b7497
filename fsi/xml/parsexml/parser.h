// SPDX-License-Identifier: MIT
//
// The record behind the handle of a parser.
#ifndef FSI_XML_PARSEXML_PARSER_H
#define FSI_XML_PARSEXML_PARSER_H

#include "fsi/xml/elements/errors.h"
#include "fsi/xml/handlers/state.h"
#include "host/files.h"
#include "host/handles.h"
#include "wbfsi/xml_parser.h"

namespace fsi::xml {

// Bits of ParserInfo::file_flags.
enum : uint8_t { kDeleteInput = 1, kCloseInput = 2 };

// The zeroed record of a handle.
struct ParserInfo {
    State *state;
    ZFile *input;
    char *file_name;
    uint8_t file_flags;
};

// The record of a parser's handle, null and error 5 for anything else.
ParserInfo *require_parser(ZHandle handle);

}  // namespace fsi::xml

#endif
