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
bool is_plain(std::string_view text, int source_bytes) {
    if (static_cast<size_t>(source_bytes) == text.size() || text.size() > 4)
        return text.size() != 1 || text[0] != '\n';
    if (text == "\n")
        return false;
    // One character from more bytes than any character has is a reference.
    const bool may_be_reference = source_bytes > 4 || (source_bytes == 4 && text.size() != 4);
    if (!may_be_reference)
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

// Keeps what of `text` is behind `end` until the run goes on: blanks.
bool hold_blanks(State *state, std::string_view text, const char *end) {
    const std::string_view blanks(end, static_cast<size_t>(text.data() + text.size() - end));
    return blanks.empty() || append_text(&state->held_blanks, blanks, "Temp data buffer");
}

// Appends to the first text of an element, `kept` of `text` without the blanks around:
// those behind it wait until something follows them.
bool append_trimmed(State *state, Element *element, std::string_view text, std::string_view kept) {
    const char *end = text.data();
    if (!kept.empty()) {
        end = kept.data() + kept.size();
        if (state->run.has_text) {
            const std::string_view blanks = text_of(state->held_blanks);
            if (!blanks.empty() && !append_read_text(element, blanks))
                return false;
            kept = {text.data(), static_cast<size_t>(end - text.data())};
        }
        if (!append_read_text(element, kept))
            return false;
        if (state->held_blanks != nullptr)
            cut_text(state->held_blanks, 0);
        state->run.has_text = true;
    }
    return hold_blanks(state, text, end);
}

// Elements are not built, text is asked for: no element can take it.
void stop_for_lost_text(State *state) {
    element_error = ZXML_BAD_ELEMENT;
    state->is_stopped = true;
    XML_StopParser(state->parser, XML_FALSE);
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
    if (state->is_stopped || length <= 0)
        return;
    if (element == nullptr) {
        if (state->element_depth == 0)
            stop_for_lost_text(state);
        return;
    }
    const std::string_view text(bytes, static_cast<size_t>(length));
    const bool keeps_blanks = (state->state_bits & (ZXML_IN_CDATA | ZXML_KEEP_BLANKS)) != 0;
    const bool is_first = !keeps_blanks && !element->has_value();
    std::string_view kept;
    if (is_first) {
        // Blanks in front of the first text, as between the tags of most documents, are
        // nothing, whatever run they belong to.
        kept = trimmed(text);
        if (kept.empty())
            return;
    }
    TextRun &run = state->run;
    auto *parser = static_cast<XML_Parser>(expat);
    const auto index = static_cast<unsigned long>(XML_GetCurrentByteIndex(parser));
    const int count = XML_GetCurrentByteCount(parser);
    const bool plain = is_plain(text, count);
    if (is_first && !run.is_open) {
        // What most elements have: one text, at once.
        run = {plain, true, true, index, index + static_cast<unsigned long>(count), bytes + length};
        if (!append_read_text(element, kept) ||
            !hold_blanks(state, text, kept.data() + kept.size()))
            stop_without_memory(state);
        state->tree_bytes += text.size();
        return;
    }
    if (!plain || !continues(*state, index, text)) {
        end_run(state);
        run.is_trimmed = is_first;
        run.has_text = false;
    } else if (run.is_trimmed) {
        kept = trimmed(text);
    }
    run.is_open = plain;
    run.begin = index;
    run.end = index + static_cast<unsigned long>(count);
    run.inner = bytes + length;
    if (run.is_trimmed ? !append_trimmed(state, element, text, kept)
                       : !append_read_text(element, text)) {
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
