// SPDX-License-Identifier: MIT
#include <cstdint>

#include "fsi/xml/parsexml/parser.h"
#include "host/messages.h"
#include "wbfsi/xml_writer.h"

using namespace fsi::xml;

namespace {

const char *shown(const char *text) {
    return text == nullptr ? "(none)" : text;
}

}  // namespace

void dump_parser(ZxmlExpatState *state) {
    if (state == nullptr)
        return;
    eprintf("XML parser: %p\n", static_cast<void *>(state->parser));
    eprintf(" Flags: %x\n", state->flags);
    eprintf(" version: %s\n", shown(state->version));
    eprintf(" encoding: %s\n", shown(state->encoding));
    eprintf(" encoding type: %d\n", state->encoding_type);
    eprintf(" element depth: %d\n", static_cast<int>(state->element_depth));
    eprintf(" standalone: %s\n", state->standalone != 0 ? "Yes" : "No");
    eprintf(" Top element: %u\n", state->top_element);
    eprintf("Elements ----------------------\n");
    if (ZxmlElem_is_element(state->top_element) != 0)
        ZxmlElem_dump(state->top_element, 1);
    eprintf("Done --------------------------\n");
}

void ZxmlParser_dump(ZHandle handle) {
    eprintf("Dumping parser %u\n", handle);
    const ParserInfo *parser = require_parser(handle);
    if (parser == nullptr || parser->state == nullptr) {
        eprintf("Parser is null\n");
        return;
    }
    eprintf("fxml: %u\n", static_cast<uint32_t>(reinterpret_cast<uintptr_t>(parser->input)));
    eprintf("filename: %.180s\n", parser->file_name == nullptr ? "" : parser->file_name);
    dump_parser(parser->state);
}
