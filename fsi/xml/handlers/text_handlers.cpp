// SPDX-License-Identifier: MIT
//
// Character data.  expat delivers one run of text, as a person sees it, in pieces
// wherever its buffer ended or a conversion was full; here the pieces are one again,
// so that which blanks count does not depend on where a read ended.
#include "fsi/base/text.h"
#include "fsi/xml/handlers/handlers.h"

namespace fsi::xml {
namespace {

// Newlines and references come alone, each a run of its own.
bool is_plain(XML_Parser parser, std::string_view text) {
    if (text == "\n")
        return false;
    // One character from more bytes than any character has is a reference.
    const int bytes = XML_GetCurrentByteCount(parser);
    const bool may_be_reference = bytes > 4 || (bytes == 4 && text.size() != 4);
    if (!may_be_reference || text.size() > 4)
        return true;
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t width = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    return text.size() != width;
}

// Whether the source has a reference so many bytes in front of the current event.
bool has_reference(const State &state, unsigned long before) {
    int offset = 0;
    int size = 0;
    const char *source = XML_GetInputContext(state.parser, &offset, &size);
    if (source == nullptr || before > static_cast<unsigned long>(offset))
        return false;
    const std::string_view bytes(source, static_cast<size_t>(size));
    const std::string_view here = fsi::part(bytes, static_cast<size_t>(offset) - before, 2);
    switch (state.form) {
        case SourceForm::kLittleUnits:
            return here == std::string_view("&\0", 2);
        case SourceForm::kBigUnits:
            return here == std::string_view("\0&", 2);
        default:
            return here.starts_with('&');
    }
}

// Whether the text goes on where the open run ended: in the source, or in the text of
// an entity, all of which is where the source has the reference.
bool continues(const State &state, unsigned long index, std::string_view text) {
    const TextRun &run = state.run;
    if (!run.is_open)
        return false;
    if (run.inner == text.data())
        return true;
    return run.end == index && !has_reference(state, 0) && !has_reference(state, index - run.begin);
}

bool append(State *state, Element *element, std::string_view text) {
    if (!state->run.is_trimmed)
        return append_text(&element->value, text, kValueTag);
    // The first text of its element: blanks wait until something follows them.
    std::string_view kept = trimmed(text);
    if (kept.empty() && !state->run.has_text)
        return true;
    const char *end = kept.empty() ? text.data() : kept.data() + kept.size();
    if (!kept.empty()) {
        if (state->run.has_text) {
            const bool has_blanks = state->held_blanks != nullptr && state->held_blanks->length > 0;
            if (has_blanks && !append_text(&element->value, state->held_blanks->view(), kValueTag))
                return false;
            kept = {text.data(), static_cast<size_t>(end - text.data())};
        }
        if (state->held_blanks != nullptr)
            cut_text(state->held_blanks, 0);
        if (!append_text(&element->value, kept, kValueTag))
            return false;
        state->run.has_text = true;
    }
    const std::string_view blanks(end, static_cast<size_t>(text.data() + text.size() - end));
    return blanks.empty() || append_text(&state->held_blanks, blanks, "Temp data buffer");
}

}  // namespace

void end_run(State *state) {
    state->run.is_open = false;
    if (state->held_blanks != nullptr)
        cut_text(state->held_blanks, 0);
}

void XMLCALL on_text(void *expat, const XML_Char *bytes, int length) {
    State *state = state_of(expat);
    Element *element = state->current;
    if (state->is_stopped || element == nullptr || length <= 0)
        return;
    auto *parser = static_cast<XML_Parser>(expat);
    const std::string_view text(bytes, static_cast<size_t>(length));
    const bool keeps_blanks = (state->state_bits & (ZXML_IN_CDATA | ZXML_KEEP_BLANKS)) != 0;
    // Blanks in front of the first text, as between the tags of most documents, are
    // nothing, whatever run they belong to.
    if (element->value == nullptr && !keeps_blanks && trimmed(text).empty())
        return;
    const bool plain = is_plain(parser, text);
    const auto index = static_cast<unsigned long>(XML_GetCurrentByteIndex(parser));
    if (!plain || !continues(*state, index, text)) {
        end_run(state);
        state->run = {};
        state->run.is_trimmed = !keeps_blanks && element->value == nullptr;
    }
    state->run.is_open = plain;
    state->run.begin = index;
    state->run.end = index + static_cast<unsigned long>(XML_GetCurrentByteCount(parser));
    state->run.inner = bytes + length;
    if (!append(state, element, text)) {
        stop_without_memory(state);
        return;
    }
    state->tree_bytes += text.size();
}

void XMLCALL on_start_cdata(void *parser) {
    State *state = state_of(parser);
    end_run(state);
    state->state_bits |= ZXML_IN_CDATA | ZXML_HAD_CDATA;
}

void XMLCALL on_end_cdata(void *parser) {
    State *state = state_of(parser);
    end_run(state);
    state->state_bits &= ~uint32_t{ZXML_IN_CDATA};
}

}  // namespace fsi::xml
