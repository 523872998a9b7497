// SPDX-License-Identifier: MIT
//
// The state of a parser as the handlers and the feeding loops see it: the part
// that is told in the public header, and what only they need.
#ifndef FSI_XML_HANDLERS_STATE_H
#define FSI_XML_HANDLERS_STATE_H

#include <expat.h>

#include <cstdint>

#include "fsi/xml/elements/element.h"
#include "fsi/xml/elements/text_block.h"
#include "wbfsi/xml_expat.h"
#include "wbfsi/xml_parser.h"

namespace fsi::xml {

// A run of character data: the text between markup, references and newlines, in
// however many pieces expat delivers it.
struct TextRun {
    bool is_open;       // the next piece may continue it
    bool is_trimmed;    // the first text of its element, blanks not kept
    bool has_text;      // something of it is in the value
    XML_Index end;      // source offset behind the last piece
    const char *inner;  // its end in memory, which tells pieces in an entity apart
};

// The form of the source's code units; found once, whatever declarations say.
enum class SourceForm : uint8_t { kUnknown, kBytes, kLittleUnits, kBigUnits };

// Where in the markup the bytes fed so far end; parsexml/scanner.h.
struct ScannerState;

struct State : ZxmlExpatState {
    // Handles of the open elements, outermost first; 0 where nothing is built.
    ZHandle *open_elements;
    uint32_t open_capacity;

    TextRun run;
    TextBlock *held_blanks;  // at the end of a trimmed run, until it goes on

    // A handler has stopped expat: no later event changes anything.
    bool is_stopped;
    bool has_failed_memory;  // f_errno 14 stays, whatever expat says of it
    bool is_ended;           // expat has had its final call, or an error

    // Sizes for the limit on what few bytes may grow to.
    uint64_t source_bytes;
    uint64_t tree_bytes;

    // In doctype_text: where the line of the DOCTYPE and where its own text ends.
    size_t doctype_line_end;
    size_t doctype_own_end;

    SourceForm form;
    ScannerState *scanner;
    TextBlock *waiting;  // bytes of markup that is not closed, not fed yet
};

inline State *state_of(void *expat_parser) {
    return static_cast<State *>(XML_GetUserData(static_cast<XML_Parser>(expat_parser)));
}

// A handler could not get memory: f_errno 14, expat stops.
void stop_without_memory(State *state);

// The element that events belong to; null where nothing is built.
inline Element *current_of(State *state) {
    return state->element_depth == 0 ? nullptr
                                     : find_element(state->open_elements[state->element_depth - 1]);
}

}  // namespace fsi::xml

#endif
