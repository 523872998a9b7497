// SPDX-License-Identifier: MIT
//
// The state of a parser as the handlers and the feeding loops see it: the part
// that is told in the public header, and what only they need.
#ifndef FSI_XML_HANDLERS_STATE_H
#define FSI_XML_HANDLERS_STATE_H

#include <expat.h>

#include <cstdint>
#include <string_view>

#include "fsi/xml/elements/element.h"
#include "fsi/xml/elements/errors.h"
#include "fsi/xml/elements/text_block.h"
#include "wbfsi/xml_expat.h"
#include "wbfsi/xml_parser.h"

namespace fsi::xml {

// A run of character data: the text between markup, references and newlines, in
// however many pieces expat delivers it.
struct TextRun {
    bool is_open;         // the next piece may continue it
    bool is_trimmed;      // the first text of its element, blanks not kept
    bool has_text;        // something of it is in the value
    unsigned long begin;  // source offset of the last piece, modulo its width
    unsigned long end;    // the same behind it
    const char *inner;    // its end in memory, which tells pieces in an entity apart
};

// The form of the source's code units; found once, whatever declarations say.
enum class SourceForm : uint8_t { kUnknown, kBytes, kLittleUnits, kBigUnits };

// Where in the markup the bytes looked at so far end; parsexml/scanner.cpp says what
// the numbers mean.
struct ScannerState {
    uint8_t mode;
    uint8_t matched;       // characters of the mark that ends the mode
    uint8_t quote;         // the quote that is open, or 0
    uint8_t is_in_subset;  // of the DOCTYPE
};

// How feeding ended: the file error, the code behind it of expat (19) or the system
// (1), and where expat found the error.
struct FeedOutcome {
    int16_t code;
    int32_t system;
    ExpatPlace place;
};

// An element that is open.  While expat is being fed nobody else adds children: those of
// an element that opened since are known, and a name without its bit is new among them.
struct OpenElement {
    ZHandle handle;      // 0 where nothing is built
    uint64_t opened_in;  // State::feeding at its start tag
    uint64_t names;      // a bit for the hash of each name that its children have
};

struct State : ZxmlExpatState {
    OpenElement *open_elements;  // outermost first
    uint32_t open_capacity;
    uint64_t feeding;  // how often expat was fed
    // While expat is being fed, when nobody else deletes elements: the record of the
    // innermost open one, null where nothing is built.
    Element *current;

    TextRun run;
    TextBlock *held_blanks;  // at the end of a trimmed run, until it goes on

    bool has_pending_comments;

    // A handler has stopped expat: no later event changes anything.
    bool is_stopped;
    bool has_failed_memory;  // f_errno 14 stays, whatever expat says of it
    bool is_ended;           // expat has had its final call, or an error
    bool is_final;           // the final call was made; while suspended, it goes on
    FeedOutcome outcome;     // of feeding that has ended

    // Reading a record: the end tag of a child of the top element, or its own,
    // suspends expat, and the next record begins by resuming it.
    bool stops_at_record;
    bool is_suspended;
    bool is_gathering;  // expat has the start of a token; the scanner knows where it ends
    size_t searched;    // bytes from the position on that have no ">"
    size_t last_fed;    // bytes in front of the position that expat was fed last

    // Sizes for the limit on what few bytes may grow to.
    uint64_t source_bytes;
    uint64_t tree_bytes;

    // doctype_text is what was read: where in it the line of the DOCTYPE ends, and
    // where the internal subset does.
    bool is_doctype_read;
    size_t doctype_line_end;
    size_t doctype_own_end;

    // While expat is being fed: from the first byte that it has not had before to the
    // last that was read.
    std::string_view fed_bytes;

    SourceForm form;
    ScannerState scanner;
    TextBlock *waiting;      // bytes of markup that is not closed, not fed yet
    uint32_t waiting_limit;  // so many are fed all the same
};

// A state without an expat parser, for a document that is built; null without memory.
State *make_state(uint32_t flags);

inline State *state_of(void *expat_parser) {
    return static_cast<State *>(XML_GetUserData(static_cast<XML_Parser>(expat_parser)));
}

// The element that events belong to, looked up; null where nothing is built.
inline Element *find_current(const State &state) {
    return state.element_depth == 0
               ? nullptr
               : find_element(state.open_elements[state.element_depth - 1].handle);
}

// Before expat is called.
inline void begin_feeding(State *state) {
    state->feeding++;
    state->current = find_current(*state);
}

// Whether an element that is open was deleted, so that nothing is built in it.
inline bool is_below_deleted(const State *state) {
    return state->element_depth > 0 && state->current == nullptr;
}

// A handler could not get memory: f_errno 14, expat stops.
void stop_without_memory(State *state);

}  // namespace fsi::xml

#endif
