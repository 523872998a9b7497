// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "fsi/base/owner.h"
#include "fsi/xml/elements/element_hash.h"
#include "fsi/xml/handlers/handlers.h"
#include "host/messages.h"
#include "host/names.h"

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/handlers/element_handlers";

// A tree that is larger than this and kMaxGrowth times the bytes it was read from
// is a bomb: attribute defaults, for one, cost no bytes of the source.
constexpr uint64_t kMaxFreeTree = uint64_t{64} << 20;
constexpr uint64_t kMaxGrowth = 300;

bool is_bomb(const State &state) {
    return state.tree_bytes > kMaxFreeTree && state.tree_bytes > state.source_bytes * kMaxGrowth;
}

bool push_open(State *state, Element *element) {
    if (state->element_depth == state->open_capacity) {
        const uint32_t capacity = std::max(state->open_capacity * 2, 64U);
        if (capacity < state->open_capacity || capacity > UINT32_MAX / sizeof(OpenElement) / 2)
            return false;
        auto *moved = static_cast<OpenElement *>(Zrealloc(
            state->open_elements, capacity * sizeof(OpenElement), "XML open elements", kSource));
        if (moved == nullptr)
            return false;
        state->open_elements = moved;
        state->open_capacity = capacity;
    }
    const ZHandle handle = element == nullptr ? 0 : element->handle;
    state->open_elements[state->element_depth++] = {handle, state->feeding, 0};
    state->current_element = handle;
    state->current = element;
    return true;
}

// The name in the case that the parser was asked for.
struct FoldedName {
    char small[64];
    Block<char> large;
    const char *text = nullptr;

    bool set(const char *name, uint32_t name_case) {
        text = name;
        if (name_case != ZXML_NAMES_LOWER && name_case != ZXML_NAMES_UPPER)
            return true;
        const size_t size = std::strlen(name) + 1;
        char *copy = small;
        if (size > sizeof small) {
            large.reset(static_cast<char *>(Zmalloc(size, "XML element name", kSource)));
            copy = large.get();
            if (copy == nullptr)
                return false;
        }
        std::memcpy(copy, name, size);
        stdz_name(copy, -3, name_case == ZXML_NAMES_LOWER ? 4 : 6);
        text = copy;
        return true;
    }
};

bool add_attributes(State *state, Element *element, const XML_Char **attributes) {
    uint32_t left = 0;
    for (const XML_Char **at = attributes; *at != nullptr; at += 2)
        left++;
    for (const XML_Char **at = attributes; *at != nullptr; at += 2) {
        const std::string_view value = at[1];
        Name *const held = hold_name(at[0]);
        if (held == nullptr || !add_attribute(element, held, value, --left))
            return false;
        state->tree_bytes += sizeof(Attribute) + sizeof(TextBlock) + value.size() + 1;
        if (is_bomb(*state))
            return false;
    }
    return true;
}

bool take_pending_comments(State *state, Element *element) {
    if (!state->has_pending_comments)
        return true;
    const std::string_view pending = {ZStringGet(state->pending_comments),
                                      ZStringGetLength(state->pending_comments)};
    if (element != nullptr && !append_comment(element, pending))
        return false;
    ZStringClear(state->pending_comments);
    state->has_pending_comments = false;
    return true;
}

bool enter_in_hash(State *state, Element *element) {
    if (state->element_hash == nullptr)
        return true;
    bool is_known = false;
    if (!hash_element(state->element_hash, element, &is_known))
        return false;
    if (f_trace != 0) {
        ZTrace(0, kTraceCategory,
               is_known ? "Adding element %s to an existing hash" : "Adding element %s to the hash",
               element->name->text());
    }
    return true;
}

// Whether no child of the innermost open element has this name, so far as can be said at
// once; from now on one has it.
bool is_new_child(State *state, const Name &name) {
    if (state->element_depth == 0)
        return false;
    OpenElement &parent = state->open_elements[state->element_depth - 1];
    const uint64_t bit = uint64_t{1} << name.hash % 64;
    const bool is_new = parent.opened_in == state->feeding && (parent.names & bit) == 0;
    parent.names |= bit;
    return is_new;
}

// What expat tells of this start tag becomes an element; none where one that is open
// above it was deleted.
bool build_element(State *state, const XML_Char *name, const XML_Char **attributes,
                   Element **built) {
    Element *parent = state->current;
    if (parent == nullptr && (state->element_depth > 0 || state->top_element != 0))
        return true;
    FoldedName folded;
    if (!folded.set(name, state->flags & 3))
        return false;
    Name *const held = hold_name(folded.text);
    if (held == nullptr)
        return false;
    Element *element = create_element(parent, parent == nullptr ? 0 : parent->handle, held, nullptr,
                                      is_new_child(state, *held));
    if (element == nullptr)
        return false;
    *built = element;
    if (state->top_element == 0)
        state->top_element = element->handle;
    const size_t indices = static_cast<size_t>(element->array_depth + 1) * sizeof(int32_t);
    state->tree_bytes += sizeof(Element) + 2 * sizeof(void *) + indices;
    return !is_bomb(*state) && add_attributes(state, element, attributes) &&
           take_pending_comments(state, element) && enter_in_hash(state, element);
}

}  // namespace

void XMLCALL on_start_element(void *parser, const XML_Char *name, const XML_Char **attributes) {
    State *state = state_of(parser);
    if (state->is_stopped)
        return;
    end_run(state);
    Element *built = nullptr;
    const bool is_built = build_element(state, name, attributes, &built);
    if (!push_open(state, built) || !is_built)
        stop_without_memory(state);
}

void XMLCALL on_end_element(void *parser, const XML_Char *) {
    State *state = state_of(parser);
    if (state->is_stopped || state->element_depth == 0)
        return;
    end_run(state);
    Element *element = state->current;
    if (!take_pending_comments(state, element)) {
        stop_without_memory(state);
        return;
    }
    const bool keeps_blanks = (state->state_bits & (ZXML_KEEP_BLANKS | ZXML_HAD_CDATA)) != 0;
    if (element != nullptr && !keeps_blanks) {
        const std::string_view value = element->value();
        size_t end = value.size();
        while (end > 0 && is_blank(value[end - 1]))
            end--;
        if (end != value.size())
            cut_value(element, end);
    }
    state->element_depth--;
    state->current_element =
        state->element_depth == 0 ? 0 : state->open_elements[state->element_depth - 1].handle;
    state->current = element != nullptr ? element->parent : find_current(*state);
    state->state_bits &= ~uint32_t{ZXML_HAD_CDATA};
    if (state->stops_at_record && state->element_depth <= 1)
        XML_StopParser(state->parser, XML_TRUE);
}

}  // namespace fsi::xml
