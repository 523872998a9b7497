// SPDX-License-Identifier: MIT
//
// A parser's state made and freed.
#include "fsi/xml/handlers/state.h"

#include <cstdlib>

#include "fsi/base/owner.h"
#include "fsi/xml/elements/element_hash.h"
#include "fsi/xml/handlers/handlers.h"
#include "fsi/xml/handlers/instructions.h"
#include "host/errors.h"
#include "host/memory.h"

// Where the installed expat has it, events for unfinished tokens come at once; its
// header may be older than the library.
extern "C" {
[[gnu::weak]] XML_Bool XML_SetReparseDeferralEnabled(XML_Parser parser, XML_Bool enabled);
}

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/handlers/state";

void *expat_malloc(size_t size) {
    return Zmalloc(size, "EXPAT library memory", kSource);
}
void *expat_realloc(void *block, size_t size) {
    return Zrealloc(block, size, "EXPAT library memory", kSource);
}

void install_handlers(State *state) {
    XML_Parser parser = state->parser;
    const uint32_t flags = state->flags;
    const auto has = [flags](uint32_t bit) { return (flags & bit) != 0; };
    XML_SetUserData(parser, state);
    XML_UseParserAsHandlerArg(parser);
    XML_SetUnknownEncodingHandler(parser, on_unknown_encoding, nullptr);
    if (has(ZXML_ELEMENTS))
        XML_SetElementHandler(parser, on_start_element, on_end_element);
    if (has(ZXML_TEXT))
        XML_SetCharacterDataHandler(parser, on_text);
    if (has(ZXML_INSTRUCTIONS))
        XML_SetProcessingInstructionHandler(parser, on_instruction);
    if (has(ZXML_COMMENTS))
        XML_SetCommentHandler(parser, on_comment);
    if (has(ZXML_CDATA))
        XML_SetCdataSectionHandler(parser, on_start_cdata, on_end_cdata);
    // The expanding variant: entities of the document are text all the same.
    if (has(ZXML_DEFAULT))
        XML_SetDefaultHandlerExpand(parser, on_default);
    if (has(ZXML_EXTERNAL_ENTITIES))
        XML_SetExternalEntityRefHandler(parser, on_external_entity);
    if (has(ZXML_DOCTYPE))
        XML_SetDoctypeDeclHandler(parser, on_start_doctype, on_end_doctype);
    if (has(ZXML_ELEMENT_DECLARATIONS))
        XML_SetElementDeclHandler(parser, on_element_declaration);
    if (has(ZXML_ATTRIBUTE_LISTS))
        XML_SetAttlistDeclHandler(parser, on_attribute_list);
    if (has(ZXML_ENTITIES))
        XML_SetEntityDeclHandler(parser, on_entity);
    if (has(ZXML_UNPARSED_ENTITIES))
        XML_SetUnparsedEntityDeclHandler(parser, on_unparsed_entity);
    if (has(ZXML_NOTATIONS))
        XML_SetNotationDeclHandler(parser, on_notation);
    if (has(ZXML_DECLARATION))
        XML_SetXmlDeclHandler(parser, on_declaration);
}

bool build(State *state) {
    static const XML_Memory_Handling_Suite memory = {expat_malloc, expat_realloc, Zfree};
    state->parser = XML_ParserCreate_MM(nullptr, &memory, nullptr);
    if (state->parser == nullptr)
        return false;
    if (XML_SetReparseDeferralEnabled != nullptr)
        XML_SetReparseDeferralEnabled(state->parser, XML_FALSE);
    state->buffer =
        static_cast<char *>(Zmalloc(ZXML_BUFFER_SIZE + 1, "XML parser buffer", kSource));
    state->position = state->end = state->buffer;
    if (state->buffer == nullptr)
        return false;
    if ((state->flags & ZXML_HASH) != 0) {
        state->element_hash = make_element_hash();
        if (state->element_hash == nullptr)
            return false;
    }
    install_handlers(state);
    return true;
}

}  // namespace

State *make_state(uint32_t flags) {
    auto *state = allocate_cleared<State>(1, "XML Parser information", kSource);
    if (state != nullptr) {
        state->flags = flags;
        state->encoding_type = -1;
    }
    return state;
}

void stop_without_memory(State *state) {
    state->is_stopped = true;
    state->has_failed_memory = true;
    *Zstdlib_f_errno() = 14;
    XML_StopParser(state->parser, XML_FALSE);
}

}  // namespace fsi::xml

using namespace fsi::xml;

ZxmlExpatState *expat_create_parser(uint32_t flags) {
    State *state = make_state(flags);
    if (state == nullptr || !build(state)) {
        *Zstdlib_f_errno() = 14;
        expat_destroy_parser(state);
        return nullptr;
    }
    return state;
}

void expat_destroy_parser(ZxmlExpatState *told) {
    if (told == nullptr)
        return;
    auto *state = static_cast<State *>(told);
    Zfree(state->version);
    Zfree(state->encoding);
    if (state->parser != nullptr)
        XML_ParserFree(state->parser);
    Zfree(state->buffer);
    ZSTRINGDelete(state->doctype_name);
    ZSTRINGDelete(state->doctype_text);
    ZSTRINGDelete(state->public_id);
    ZSTRINGDelete(state->system_id);
    ZSTRINGDelete(state->top_comments);
    ZSTRINGDelete(state->pending_comments);
    if (state->element_hash != nullptr)
        HASH_FREE(state->element_hash);
    // expat's models are blocks of its memory suite.
    if (state->models != nullptr)
        ZTTREEFree(state->models, Zfree);
    if (Element *top = find_element(state->top_element); top != nullptr)
        delete_element(top);
    if (state->instructions != nullptr)
        free_instructions(state->instructions);
    Zfree(state->open_elements);
    free_text(state->held_blanks);
    free_text(state->waiting);
    Zfree(state);
}
