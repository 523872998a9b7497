// SPDX-License-Identifier: MIT
//
// The prolog of a document, asked for and changed.
#include <optional>

#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "fsi/xml/elements/scratch.h"
#include "fsi/xml/handlers/instructions.h"
#include "fsi/xml/parsexml/parser.h"
#include "host/charset.h"
#include "host/memory.h"

using namespace fsi::xml;

namespace {

constexpr const char *kSource = "fsi/xml/parsexml/prolog";

// A number makes room for all below it.
constexpr uint32_t kMaxInstructions = 1000000;

State *require_state(ZHandle handle) {
    ParserInfo *parser = require_parser(handle);
    return parser == nullptr ? nullptr : parser->state;
}

int out_of_memory() {
    parser_error = ZXML_NO_MEMORY;
    return 0;
}

bool replace(char **kept, const char *text, const char *tag) {
    char *copy = nullptr;
    if (text != nullptr) {
        copy = ZSTRDUP(text, tag, kSource);
        if (copy == nullptr)
            return false;
    }
    Zfree(*kept);
    *kept = copy;
    return true;
}

// An instruction by its number; null with error 18 or 17.
const Instruction *require_instruction(const State *state, uint32_t number) {
    const uint32_t count = state->instructions == nullptr ? 0 : Array_count(state->instructions);
    if (number < count)
        return static_cast<const Instruction *>(Array_get(state->instructions, number));
    parser_error = count == 0 ? ZXML_NO_INSTRUCTIONS : ZXML_BAD_INSTRUCTION;
    return nullptr;
}

}  // namespace

const char *ZxmlParser_get_version(ZHandle handle) {
    const State *state = require_state(handle);
    return state == nullptr ? nullptr : state->version;
}

int ZxmlParser_set_version(ZHandle handle, const char *version) {
    State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    return replace(&state->version, version, "XML version") ? 1 : out_of_memory();
}

const char *ZxmlParser_get_encoding(ZHandle handle) {
    const State *state = require_state(handle);
    return state == nullptr ? nullptr : state->encoding;
}

int ZxmlParser_set_encoding(ZHandle handle, const char *name) {
    State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    const int type = Zencoding_name_to_type(name);
    if (type == state->encoding_type)
        return 1;
    if (!replace(&state->encoding, Zencoding_type_to_name(type), "XML encoding"))
        return out_of_memory();
    state->encoding_type = type;
    return 1;
}

int32_t ZxmlParser_get_standalone(ZHandle handle) {
    const State *state = require_state(handle);
    return state == nullptr ? 0 : state->standalone;
}

int ZxmlParser_set_standalone(ZHandle handle, int32_t standalone) {
    State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    state->standalone = standalone;
    return 1;
}

int32_t ZxmlParser_get_raw_doctype(ZHandle handle, char *buffer, int32_t size) {
    const State *state = require_state(handle);
    if (state == nullptr || state->doctype_text == nullptr)
        return 0;
    return fetch(fsi::view(state->doctype_text), buffer, size);
}

int ZxmlParser_set_raw_doctype(ZHandle handle, const char *text, int32_t length) {
    State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    const auto converted = to_utf8(text, length);
    fsi::OwnedString fresh(
        converted ? ZSTRINGNew(converted->size() + 1, "XML raw doctype string", kSource) : nullptr);
    // The zero byte behind the text is stored with it.
    if (!fresh || ZSTRINGAppendN(fresh.get(), converted->data(), converted->size()) == 0 ||
        ZSTRINGAppendN(fresh.get(), "", 1) == 0)
        return out_of_memory();
    ZSTRINGDelete(state->doctype_text);
    state->doctype_text = fresh.release();
    state->is_doctype_read = false;
    state->doctype_line_end = state->doctype_own_end = 0;
    return 1;
}

int32_t ZxmlParser_processing_instruction_count(ZHandle handle) {
    const State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    const uint32_t count = state->instructions == nullptr ? 0 : Array_count(state->instructions);
    if (count == 0) {
        parser_error = ZXML_NO_INSTRUCTIONS;
        return 0;
    }
    return static_cast<int32_t>(count + 1);
}

int32_t ZxmlParser_get_processing_instruction_target(ZHandle handle, uint32_t number, char *buffer,
                                                     int32_t size) {
    const State *state = require_state(handle);
    const Instruction *found = state == nullptr ? nullptr : require_instruction(state, number);
    return found == nullptr ? -1 : fetch(fsi::view(found->target), buffer, size);
}

int32_t ZxmlParser_get_processing_instruction_data(ZHandle handle, uint32_t number, char *buffer,
                                                   int32_t size) {
    const State *state = require_state(handle);
    const Instruction *found = state == nullptr ? nullptr : require_instruction(state, number);
    return found == nullptr ? -1 : fetch(fsi::view(found->data), buffer, size);
}

int ZxmlParser_set_processing_instruction(ZHandle handle, uint32_t number, const char *target,
                                          int32_t target_length, const char *data,
                                          int32_t data_length) {
    State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    if (number >= kMaxInstructions) {
        parser_error = ZXML_BAD_INSTRUCTION;
        return 0;
    }
    // Both texts pass through the one scratch buffer: the first is held as a string.
    const auto first = to_utf8(target, target_length);
    fsi::OwnedString held(
        first ? ZSTRINGNew(first->size() + 1, "Target processing instruction", kSource) : nullptr);
    if (!held || ZSTRINGAppendN(held.get(), first->data(), first->size()) == 0)
        return out_of_memory();
    const auto second = to_utf8(data, data_length);
    if (!second)
        return out_of_memory();
    Instruction instruction = make_instruction(fsi::view(held.get()), *second);
    if (instruction.target == nullptr)
        return out_of_memory();
    if (!set_instruction(&state->instructions, number, instruction)) {
        free_instruction(&instruction);
        return out_of_memory();
    }
    return 1;
}

int ZxmlParser_delete_processing_instruction(ZHandle handle, uint32_t number) {
    State *state = require_state(handle);
    if (state == nullptr || require_instruction(state, number) == nullptr)
        return 0;
    free_instruction(static_cast<Instruction *>(Array_get(state->instructions, number)));
    Array_delete_multi(state->instructions, number, 1);
    return 1;
}

int ZxmlParser_append_comment(ZHandle handle, const char *text, int32_t length) {
    State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    const auto converted = to_utf8(text, length);
    if (!converted)
        return out_of_memory();
    if (state->top_comments == nullptr)
        state->top_comments = ZSTRINGNew(converted->size() + 1, "XML comments", kSource);
    return state->top_comments != nullptr &&
                   ZSTRINGAppendN(state->top_comments, converted->data(), converted->size()) != 0
               ? 1
               : out_of_memory();
}

int32_t ZxmlParser_get_comment(ZHandle handle, char *buffer, int32_t size) {
    const State *state = require_state(handle);
    if (state == nullptr || state->top_comments == nullptr)
        return -1;
    return fetch(fsi::view(state->top_comments), buffer, size);
}

int ZxmlParser_delete_comment(ZHandle handle) {
    State *state = require_state(handle);
    if (state == nullptr)
        return 0;
    ZSTRINGDelete(state->top_comments);
    state->top_comments = nullptr;
    return 1;
}

ZTTree *ZxmlParser_models(ZHandle handle) {
    const State *state = require_state(handle);
    return state == nullptr ? nullptr : state->models;
}

ZHash *ZxmlParser_get_hash(ZHandle handle) {
    const State *state = require_state(handle);
    return state == nullptr ? nullptr : state->element_hash;
}
