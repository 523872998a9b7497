// SPDX-License-Identifier: MIT
//
// The DOCTYPE.  Its internal subset is kept as text, element declarations in a form
// of their own; in front stands the line on which the DOCTYPE begins.  What lies
// between the end of that line and the end of the DOCTYPE is what a writer may put
// between brackets again.
#include <cstring>

#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "fsi/xml/handlers/handlers.h"
#include "host/memory.h"
#include "host/names.h"

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/handlers/doctype_handlers";
constexpr const char *kTextTag = "XML DOCTYPE internal string";

bool append(ZString *string, std::string_view text, const char *tag) {
    if (*string == nullptr)
        *string = ZSTRINGNew(text.size() < 20 ? 20 : text.size(), tag, kSource);
    return *string != nullptr && ZSTRINGAppendN(*string, text.data(), text.size()) != 0;
}

constexpr std::string_view kDoctype = "<!DOCTYPE ";

std::string_view line_from(std::string_view bytes, size_t start) {
    return fsi::part(bytes, start, bytes.find('\n', start) - start);
}

// The line of the DOCTYPE up to its newline, or as far as it is known: in the bytes
// that expat is being fed or, where those began within the DOCTYPE, in what expat keeps
// of those before.  A ">" between says that they are another piece of the document.
std::string_view doctype_line(const State &state) {
    if (const size_t start = state.fed_bytes.find(kDoctype); start != kDoctype.npos)
        return line_from(state.fed_bytes, start);
    int offset = 0;
    int size = 0;
    const char *context = XML_GetInputContext(state.parser, &offset, &size);
    if (context == nullptr)
        return {};
    const std::string_view bytes(context, static_cast<size_t>(size));
    const std::string_view before = fsi::part(bytes, 0, static_cast<size_t>(offset));
    const size_t start = before.rfind(kDoctype);
    if (start == before.npos || before.find('>', start) != before.npos)
        return {};
    return line_from(bytes, start);
}

// The text begins with that line, unless an element declaration came first.
bool begin_text(State *state) {
    if (state->doctype_text != nullptr)
        return true;
    const std::string_view line = doctype_line(*state);
    if (!append(&state->doctype_text, line, kTextTag))
        return false;
    state->is_doctype_read = true;
    state->doctype_line_end = line.size();
    return true;
}

struct ModelPrinter {
    ZString out;
    const char *separator = ",";
    bool is_first = true;
    bool has_failed = false;

    void put(std::string_view text) {
        has_failed = has_failed || ZSTRINGAppendN(out, text.data(), text.size()) == 0;
    }
    void put_quantifier(const XML_Content &item) {
        constexpr const char *kQuantifiers[] = {"", "?", "*", "+"};
        put(kQuantifiers[item.quant]);
    }
    void open_group(const char *text, const char *new_separator) {
        put(text);
        separator = new_separator;
        is_first = true;
    }
    void enter(const XML_Content &item) {
        switch (item.type) {
            case XML_CTYPE_EMPTY:
                put(" EMPTY");
                break;
            case XML_CTYPE_ANY:
                put(" ANY");
                break;
            case XML_CTYPE_MIXED:
                open_group(" (#PCDATA", " |");
                is_first = false;
                break;
            case XML_CTYPE_NAME:
                if (!is_first) {
                    put(separator);
                    put(" ");
                }
                put(item.name);
                put_quantifier(item);
                is_first = false;
                break;
            case XML_CTYPE_CHOICE:
                open_group(is_first ? " (" : ", (", " |");
                break;
            case XML_CTYPE_SEQ:
                open_group(" (", ",");
                break;
        }
    }
    void leave(const XML_Content &item) {
        switch (item.type) {
            case XML_CTYPE_NAME:
                return;
            case XML_CTYPE_CHOICE:
                put(")");
                put_quantifier(item);
                return;
            case XML_CTYPE_MIXED:
            case XML_CTYPE_SEQ:
                put(")");
                break;
            default:
                break;
        }
        put_quantifier(item);
        put(">\n");
        is_first = true;
    }
};

// A group that is being printed and how far it is.
struct OpenGroup {
    const XML_Content *group;
    unsigned next;
};

// Models nest as deep as documents choose: the open groups stand in a block.
bool print_model(const XML_Content &model, ModelPrinter *printer) {
    Block<OpenGroup> open;
    size_t depth = 0;
    size_t capacity = 0;
    const XML_Content *item = &model;
    while (true) {
        if (item != nullptr) {
            printer->enter(*item);
            if (depth == capacity) {
                capacity = capacity == 0 ? 16 : capacity * 2;
                if (capacity > SIZE_MAX / sizeof(OpenGroup) / 2)
                    return false;
                void *moved =
                    Zrealloc(open.get(), capacity * sizeof(OpenGroup), "XML open groups", kSource);
                if (moved == nullptr)
                    return false;
                (void)open.release();
                open.reset(static_cast<OpenGroup *>(moved));
            }
            open.get()[depth++] = {item, 0};
        }
        OpenGroup &top = open.get()[depth - 1];
        if (top.next < top.group->numchildren) {
            item = &top.group->children[top.next++];
            continue;
        }
        printer->leave(*top.group);
        item = nullptr;
        if (--depth == 0)
            return !printer->has_failed;
    }
}

bool keep_model(State *state, const char *name, XML_Content *model) {
    if (state->models == nullptr)
        state->models = ZTTREENew("XML Models", kSource);
    if (state->models == nullptr)
        return false;
    char key[256];
    copy_text(key, name, 255);
    stdz_name(key, 255, 4);
    void *replaced = ZTTREEFind(state->models, key);
    if (ZTTREEInsert(state->models, key, model) == 0)
        return false;
    if (replaced != nullptr)
        XML_FreeContentModel(state->parser, static_cast<XML_Content *>(replaced));
    return true;
}

}  // namespace

void XMLCALL on_start_doctype(void *parser, const XML_Char *name, const XML_Char *system_id,
                              const XML_Char *public_id, int) {
    State *state = state_of(parser);
    if (state->is_stopped)
        return;
    if ((state->flags & ZXML_DEFAULT) == 0)
        XML_SetDefaultHandlerExpand(state->parser, on_default);
    state->state_bits |= ZXML_IN_DOCTYPE;
    const bool is_kept =
        append(&state->doctype_name, name, "XML DOCTYPE string") &&
        (public_id == nullptr || append(&state->public_id, public_id, "XML PubId string")) &&
        (system_id == nullptr || append(&state->system_id, system_id, "XML SysId string"));
    if (!is_kept)
        stop_without_memory(state);
}

void XMLCALL on_end_doctype(void *parser) {
    State *state = state_of(parser);
    state->state_bits |= ZXML_DOCTYPE_ENDED;
    // expat keeps the brackets to itself, so all up to here stands between them.
    state->doctype_own_end = ZStringGetLength(state->doctype_text);
    if ((state->flags & ZXML_DEFAULT) == 0)
        XML_SetDefaultHandlerExpand(state->parser, nullptr);
}

void XMLCALL on_default(void *parser, const XML_Char *text, int length) {
    State *state = state_of(parser);
    if (state->is_stopped || (state->state_bits & ZXML_IN_DOCTYPE) == 0)
        return;
    const std::string_view bytes(text, static_cast<size_t>(length));
    if (!begin_text(state)) {
        stop_without_memory(state);
        return;
    }
    if (!append(&state->doctype_text, bytes, kTextTag))
        stop_without_memory(state);
}

void XMLCALL on_element_declaration(void *parser, const XML_Char *name, XML_Content *model) {
    State *state = state_of(parser);
    if (state->is_stopped) {
        XML_FreeContentModel(state->parser, model);
        return;
    }
    const bool has_text = append(&state->doctype_text, {}, kTextTag);
    state->is_doctype_read = true;
    ModelPrinter printer{state->doctype_text};
    if (has_text) {
        printer.put("<!ELEMENT ");
        printer.put(name);
    }
    if (!has_text || !print_model(*model, &printer) || !keep_model(state, name, model)) {
        XML_FreeContentModel(state->parser, model);
        stop_without_memory(state);
    }
}

}  // namespace fsi::xml
