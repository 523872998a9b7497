// SPDX-License-Identifier: MIT
//
// Parsers: opened, read record by record, released.
#include "fsi/xml/parsexml/parser.h"

#include <strings.h>

#include <cstring>

#include "fsi/base/owner.h"
#include "fsi/xml/elements/scratch.h"
#include "fsi/xml/parsexml/feed.h"
#include "host/config.h"
#include "host/errors.h"
#include "host/memory.h"

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/parsexml/parser";

int parser_type;  // 0: not declared

void close_input(ParserInfo *parser) {
    if ((parser->file_flags & kCloseInput) != 0 && parser->input != nullptr)
        os_fclose(parser->input);
    parser->input = nullptr;
    parser->file_flags &= static_cast<uint8_t>(~kCloseInput);
}

void forget_file(ParserInfo *parser) {
    if ((parser->file_flags & kDeleteInput) != 0 && parser->file_name != nullptr)
        os_unlink(parser->file_name);
    Zfree(parser->file_name);
    parser->file_name = nullptr;
    parser->file_flags &= static_cast<uint8_t>(~kDeleteInput);
}

void destroy(ZHandle, void *record) {
    auto *parser = static_cast<ParserInfo *>(record);
    expat_destroy_parser(parser->state);
    forget_file(parser);
    close_input(parser);
}

ParserInfo *find_parser(ZHandle handle) {
    if (handle == 0 || parser_type == 0 || H_type(handle) != parser_type)
        return nullptr;
    return static_cast<ParserInfo *>(H_lock(handle));
}

ZHandle new_handle() {
    if (parser_type == 0) {
        const ZHandleType type{"XML parser", sizeof(ParserInfo), 2, destroy};
        parser_type = H_declare(&type);
    }
    return HBUILDV(parser_type, "XML Parser info", kSource);
}

void undeclare_when_unused() {
    if (parser_type != 0 && H_next(0, parser_type) == 0) {
        H_undeclare(parser_type);
        parser_type = 0;
    }
}

// Frees what was built; the result is that of ZxmlParser_new.
ZHandle fail(ZHandle handle, int32_t error) {
    parser_error = error;
    H_FREE(handle);
    undeclare_when_unused();
    return 0;
}

bool is_document(const char *source) {
    return strncasecmp(source, "<?xml ", 6) == 0;
}

// Opens the input; the error number, 0 for none.
int32_t open_input(ParserInfo *parser, const char *source) {
    parser->file_name = ZSTRDUP(source, "XML file name", kSource);
    if (parser->file_name == nullptr)
        return ZXML_NO_MEMORY;
    if (std::strcmp(source, "-") == 0) {
        parser->input = os_stdin();
        return 0;
    }
    parser->input = os_fopen(source, "r", 0);
    if (parser->input == nullptr)
        return ZXML_CANNOT_OPEN;
    parser->file_flags |= kCloseInput;
    return 0;
}

// Reads what is to be read at creation; false when the document is not well formed.
bool read_start(ParserInfo *parser) {
    State *state = parser->state;
    const int16_t &error = *Zstdlib_f_errno();
    while (error == 0 && state->element_depth == 0)
        parse_to_next_greaterthan(state, parser->input);
    if (error != 0 && error != 8)
        return false;
    if ((state->flags & ZXML_WHOLE) == 0)
        return true;
    if (error != 8)
        parse_to_end_of_file(state, parser->input);
    if (error != 8)
        return false;
    close_input(parser);
    forget_file(parser);
    return true;
}

void set_keep_blanks(State *state) {
    // 1 and 3: reading keeps them; 2 is the writer's.
    if ((ZCGetValueShort("XML_KEEP_WHITESPACE", 0) & ~2) == 1)
        state->state_bits |= ZXML_KEEP_BLANKS;
}

}  // namespace

ParserInfo *require_parser(ZHandle handle) {
    ParserInfo *parser = find_parser(handle);
    if (parser == nullptr)
        parser_error = ZXML_BAD_PARSER;
    return parser;
}

}  // namespace fsi::xml

using namespace fsi::xml;

ZHandle ZxmlParser_new(const char *source, uint32_t flags, int32_t length) {
    *Zstdlib_f_errno() = 0;
    const ZHandle handle = new_handle();
    auto *parser = static_cast<ParserInfo *>(H_lock(handle));
    if (parser == nullptr) {
        undeclare_when_unused();
        parser_error = ZXML_NO_MEMORY;
        return 0;
    }
    const bool is_in_memory = source != nullptr && is_document(source);
    if (source != nullptr && !is_in_memory) {
        if (const int32_t error = open_input(parser, source); error != 0)
            return fail(handle, error);
    }
    parser->state =
        source == nullptr ? make_state(flags) : static_cast<State *>(expat_create_parser(flags));
    if (parser->state == nullptr)
        return fail(handle, ZXML_NO_MEMORY);
    set_keep_blanks(parser->state);
    if (source == nullptr)
        return handle;
    if (is_in_memory) {
        const size_t size = length < 0 ? std::strlen(source) : static_cast<size_t>(length);
        parser->state->position = source;
        parser->state->end = source + size;
    }
    return read_start(parser) ? handle : fail(handle, ZXML_INVALID);
}

int ZxmlParser_release(ZHandle handle) {
    if (require_parser(handle) == nullptr)
        return 0;
    H_FREE(handle);
    undeclare_when_unused();
    if (parser_type == 0)
        free_scratch();
    return 1;
}

int ZxmlParser_is_parser(ZHandle handle) {
    return find_parser(handle) != nullptr ? 1 : 0;
}

ZHandle ZxmlParser_of_element(ZHandle handle) {
    const Element *element = find_element(handle);
    if (element == nullptr || parser_type == 0)
        return 0;
    while (element->parent != nullptr)
        element = element->parent;
    for (ZHandle at = H_next(0, parser_type); at != 0; at = H_next(at, parser_type)) {
        const auto *parser = static_cast<const ParserInfo *>(H_lock(at));
        if (parser->state != nullptr && parser->state->top_element == element->handle)
            return at;
    }
    return 0;
}

int ZxmlParser_parse_record(ZHandle handle) {
    ParserInfo *parser = require_parser(handle);
    if (parser == nullptr)
        return 0;
    if (parser->state->element_hash != nullptr)
        HASH_CLEAR(parser->state->element_hash);
    parse_to_end_of_record(parser->state, parser->input);
    return *Zstdlib_f_errno() == 0 ? 1 : 0;
}

ZHandle ZxmlParser_current(ZHandle handle) {
    const ParserInfo *parser = require_parser(handle);
    return parser == nullptr || find_element(parser->state->current_element) == nullptr
               ? 0
               : parser->state->current_element;
}

ZHandle ZxmlParser_top_element(ZHandle handle) {
    const ParserInfo *parser = require_parser(handle);
    return parser == nullptr || find_element(parser->state->top_element) == nullptr
               ? 0
               : parser->state->top_element;
}

ZHandle ZxmlParser_set_top_element(ZHandle handle, const char *name, int32_t length) {
    const ParserInfo *parser = require_parser(handle);
    if (parser == nullptr)
        return 0;
    if (find_element(parser->state->top_element) != nullptr) {
        parser_error = ZXML_HAS_TOP;
        return 0;
    }
    const ZHandle top = ZxmlElem_add_child(0, name, length);
    if (top == 0)
        parser_error = ZXML_NO_MEMORY;
    parser->state->top_element = top;
    return top;
}

const char *ZxmlParser_error(int32_t *number) {
    if (number != nullptr)
        *number = parser_error;
    return error_text(parser_error);
}
