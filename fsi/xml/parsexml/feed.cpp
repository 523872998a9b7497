// SPDX-License-Identifier: MIT
//
// The three loops that feed expat.
//
// Reading all, expat is fed what comes; where a read ends within a token, reads are
// gathered until they are as long as what expat has of it, so that beginning it anew
// stays in proportion however little a read brings.
//
// Reading up to the next ">", a token is fed when it is closed (scanner.h), so that
// its events come at once and expat never begins it anew; one that outgrows its block
// is fed as far as it goes, and the block doubles.
//
// Reading a record, expat is fed up to the last ">" there is and suspended where the
// record ends.  That ">" may be within a token: the scanner then finds where it
// closes, and what follows is gathered up to there as in the second loop.
#include "fsi/xml/parsexml/feed.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "fsi/base/text.h"
#include "fsi/xml/handlers/state.h"
#include "fsi/xml/parsexml/scanner.h"
#include "host/charset.h"
#include "host/errors.h"
#include "host/files.h"

namespace fsi::xml {
namespace {

constexpr const char *kWaitingTag = "XML parser buffer";
constexpr uint32_t kFirstBlock = 64 * 1024;

char message[512];

// The handlers meet text that is UTF-8, whatever the program's character set is.
class Utf8CharSet {
 public:
    Utf8CharSet() : before_(ZSetCOBOLCharSet(65001)) {}
    ~Utf8CharSet() {
        if (before_ >= 0)
            ZSetCOBOLCharSet(before_);
    }
    Utf8CharSet(const Utf8CharSet &) = delete;
    Utf8CharSet &operator=(const Utf8CharSet &) = delete;

 private:
    int before_;
};

// Feeding is over; later calls say the same again.
void end_feeding(State *state, FeedOutcome outcome) {
    state->is_ended = true;
    state->outcome = outcome;
}

void tell_outcome(const State &state) {
    *Zstdlib_f_errno() = state.outcome.code;
    if (state.outcome.code == 19) {
        const XML_LChar *text = XML_ErrorString(static_cast<XML_Error>(state.outcome.system));
        copy_text(message, text == nullptr ? "" : text);
        *Zstdlib_f_int_errno() = 5;
        *Zstdlib_f_errmsg() = message;
        expat_place = state.outcome.place;
    }
    if (state.outcome.code == 19 || state.outcome.code == 1)
        *Zstdlib_f_int2_errno() = state.outcome.system;
}

void end_in_error(State *state) {
    const XML_Error error = XML_GetErrorCode(state->parser);
    if (state->has_failed_memory || error == XML_ERROR_NO_MEMORY) {
        end_feeding(state, {14, 0, {}});
        return;
    }
    const ExpatPlace place = {uint64_t{XML_GetCurrentLineNumber(state->parser)},
                              uint64_t{XML_GetCurrentColumnNumber(state->parser)} + 1};
    end_feeding(state, {19, static_cast<int32_t>(error), place});
}

// False when expat cannot go on: at an error, which ends feeding, and suspended.
bool go_on(State *state, XML_Status status) {
    state->is_suspended = status == XML_STATUS_SUSPENDED;
    if (status == XML_STATUS_ERROR)
        end_in_error(state);
    else if (status == XML_STATUS_OK && state->is_final)
        end_feeding(state, {8, 0, {}});
    return status == XML_STATUS_OK;
}

// Feeds bytes; only documents in memory that are read whole have more of them than
// fit an int.
bool feed(State *state, const char *bytes, size_t size) {
    state->source_bytes += size;
    begin_feeding(state);
    while (size > INT_MAX) {
        if (!go_on(state, XML_Parse(state->parser, bytes, INT_MAX, XML_FALSE)))
            return false;
        bytes += INT_MAX;
        size -= INT_MAX;
    }
    return go_on(state, XML_Parse(state->parser, bytes, static_cast<int>(size), XML_FALSE));
}

bool resume(State *state) {
    begin_feeding(state);
    return go_on(state, XML_ResumeParser(state->parser));
}

size_t waiting_size(const State &state) {
    return state.waiting == nullptr ? 0 : state.waiting->length;
}

bool wait_with(State *state, const char *bytes, size_t size) {
    if (append_text(&state->waiting, {bytes, size}, kWaitingTag))
        return true;
    end_feeding(state, {14, 0, {}});
    return false;
}

bool feed_waiting(State *state) {
    if (waiting_size(*state) == 0)
        return true;
    state->fed_bytes = state->waiting->view();
    const bool is_fed = feed(state, state->waiting->text(), state->waiting->length);
    state->fed_bytes = {};
    cut_text(state->waiting, 0);
    return is_fed;
}

// The end of the input: expat gets what waits and its final call.
void finish(State *state) {
    if (!feed_waiting(state))
        return;
    state->is_final = true;
    begin_feeding(state);
    go_on(state, XML_Parse(state->parser, "", 0, XML_TRUE));
}

size_t buffered(const State &state) {
    return static_cast<size_t>(state.end - state.position);
}

// Reads behind what is left in the buffer, which goes to its start.  False at the end
// of the file and at an error, which ends feeding.
bool refill(State *state, ZFile *file) {
    const size_t left = buffered(*state);
    if (left > 0 && state->position != state->buffer)
        std::memmove(state->buffer, state->position, left);
    errno = 0;
    const size_t got = os_fread(state->buffer + left, ZXML_BUFFER_SIZE - left, file);
    state->position = state->buffer;
    state->end = state->buffer + left + got;
    if (got == 0 && os_ferror(file) != 0)
        end_feeding(state, {1, errno, {}});
    return got > 0;
}

// Finds out how the source is written: by its byte-order mark, or by how its first
// "<" looks.
void find_form(State *state) {
    const char *bytes = state->position;
    const size_t size = buffered(*state);
    const int mark = ZicuBOMIs(bytes, size);
    const bool has_two = size >= 2;
    if (mark == 3 || (has_two && bytes[0] == '<' && bytes[1] == '\0'))
        state->form = SourceForm::kLittleUnits;
    else if (mark == 5 || (has_two && bytes[0] == '\0' && bytes[1] == '<'))
        state->form = SourceForm::kBigUnits;
    else
        state->form = SourceForm::kBytes;
}

void check_mark(State *state) {
    if ((state->state_bits & ZXML_MARK_CHECKED) == 0 && state->encoding_type == -1)
        state->encoding_type = ZicuBOMIs(state->position, buffered(*state));
    state->state_bits |= ZXML_MARK_CHECKED;
}

// Enough bytes for the form to be told, or all there are.
void read_first_bytes(State *state, ZFile *file) {
    constexpr size_t kEnough = 4;
    while (file != nullptr && buffered(*state) < kEnough && !state->is_ended &&
           refill(state, file)) {
    }
}

// Bytes that expat holds of a token without an end.  Offsets in the source wrap around
// where they are narrow.
size_t unfinished(const State &state) {
    const XML_Index index = XML_GetCurrentByteIndex(state.parser);
    if (index == -1)
        return 0;
    return static_cast<unsigned long>(state.source_bytes) - static_cast<unsigned long>(index);
}

// expat has had all up to the position: where that is within markup, the scanner
// begins with it.
void find_open_token(State *state) {
    // In text and CDATA expat holds back a few bytes only, but for a reference.
    constexpr size_t kLongReference = 4096;
    const size_t open = unfinished(*state);
    if (open > kLongReference)
        state->is_gathering = true;
    if (open == 0 || open > state->last_fed)
        return;
    state->scanner = {};
    const char *at = state->position - open;
    bool is_closed = true;
    while (at < state->position) {
        const auto left = static_cast<size_t>(state->position - at);
        const size_t found = find_greater_than(state->form, at, left);
        const size_t chunk = found != 0 ? found : left;
        is_closed = scan(&state->scanner, state->form, at, chunk);
        at += chunk;
    }
    state->is_gathering = !is_closed || open > kLongReference;
}

// The other loops go on where a record ended; `to_next_record` and no further.
bool leave_record(State *state, bool to_next_record) {
    if (!state->is_suspended)
        return true;
    state->stops_at_record = to_next_record;
    const bool is_resumed = resume(state);
    state->stops_at_record = false;
    if (is_resumed)
        find_open_token(state);
    return is_resumed;
}

void feed_all(State *state, ZFile *file) {
    // What is buffered may be a document in memory, of any size.
    if (!leave_record(state, false) || !feed_waiting(state))
        return;
    if (state->form == SourceForm::kUnknown) {
        read_first_bytes(state, file);
        find_form(state);
        if (state->is_ended)
            return;
    }
    state->fed_bytes = {state->position, buffered(*state)};
    const bool is_fed = feed(state, state->position, buffered(*state));
    state->fed_bytes = {};
    state->position = state->end;
    if (!is_fed)
        return;
    while (file != nullptr && refill(state, file)) {
        const char *bytes = state->position;
        const size_t size = buffered(*state);
        const size_t open = unfinished(*state);
        state->position = state->end;
        if (waiting_size(*state) == 0 && size >= open) {
            state->fed_bytes = {bytes, size};
            if (!feed(state, bytes, size))
                return;
        } else if (!wait_with(state, bytes, size) ||
                   (waiting_size(*state) >= open && !feed_waiting(state))) {
            return;
        }
    }
    if (!state->is_ended)
        finish(state);
}

// Feeds one chunk now or lets it wait for the end of its token; `has_mark` when a ">"
// ends it.  False when feeding cannot go on.
bool feed_chunk(State *state, const char *bytes, size_t size, bool has_mark, bool *is_closed) {
    *is_closed = scan(&state->scanner, state->form, bytes, size);
    // A reference is no markup for the scanner, yet expat begins it anew as well: until
    // a ">", what is read is gathered in proportion to what expat has of it.
    if (!has_mark && waiting_size(*state) + size < unfinished(*state))
        *is_closed = false;
    if (*is_closed && waiting_size(*state) == 0) {
        state->fed_bytes = {bytes, static_cast<size_t>(state->end - bytes)};
        const bool is_fed = feed(state, bytes, size);
        state->fed_bytes = {};
        return is_fed;
    }
    if (!wait_with(state, bytes, size))
        return false;
    if (state->waiting_limit == 0 || *is_closed)
        state->waiting_limit = kFirstBlock;
    if (*is_closed)
        return feed_waiting(state);
    if (state->waiting->length < state->waiting_limit)
        return true;
    state->waiting_limit *= state->waiting_limit < UINT32_MAX / 4 ? 2 : 1;
    return feed_waiting(state);
}

// Reads more when there is no whole code unit; at the end of the input expat gets the
// rest, half a unit for it to refuse.  False when there is no more.
bool has_unit(State *state, ZFile *file) {
    if (buffered(*state) >= unit_size(state->form) || (file != nullptr && refill(state, file)))
        return true;
    if (state->is_ended)
        return false;
    if (buffered(*state) > 0 && !wait_with(state, state->position, buffered(*state)))
        return false;
    state->position = state->end;
    finish(state);
    return false;
}

// Whole code units that are buffered.
size_t whole_units(const State &state) {
    return buffered(state) & ~(unit_size(state.form) - 1);
}

void feed_to_next_greaterthan(State *state, ZFile *file) {
    if (!leave_record(state, true))
        return;
    while (!state->is_ended) {
        if (state->form == SourceForm::kUnknown) {
            read_first_bytes(state, file);
            if (buffered(*state) > 0) {
                find_form(state);
                check_mark(state);
            }
        }
        if (state->is_ended || !has_unit(state, file))
            return;
        const size_t whole = whole_units(*state);
        if (whole == 0)
            continue;
        const size_t found = find_greater_than(state->form, state->position, whole);
        const size_t chunk = found != 0 ? found : whole;
        const char *bytes = state->position;
        state->position += chunk;
        bool is_closed = false;
        if (!feed_chunk(state, bytes, chunk, found != 0, &is_closed) || found != 0)
            return;
    }
}

void gather(State *state, ZFile *file) {
    if (!has_unit(state, file))
        return;
    const size_t whole = whole_units(*state);
    const size_t found = find_greater_than(state->form, state->position, whole);
    const size_t chunk = found != 0 ? found : whole;
    const char *bytes = state->position;
    state->position += chunk;
    state->last_fed = 0;
    bool is_closed = false;
    feed_chunk(state, bytes, chunk, found != 0, &is_closed);
    state->is_gathering = !is_closed;
}

// Feeds up to the last ">" of what is buffered; without one, more is read first.
void feed_buffered(State *state, ZFile *file) {
    constexpr size_t kMost = ZXML_BUFFER_SIZE;
    const size_t size = std::min(whole_units(*state), kMost);
    size_t cut = find_last_greater_than(state->form, state->position + state->searched,
                                        size - state->searched);
    if (cut != 0) {
        cut += state->searched;
    } else if (size < kMost) {
        state->searched = size;
        if (file != nullptr && refill(state, file))
            return;
        if (state->is_ended)
            return;
        cut = buffered(*state);
    } else {
        cut = size;
    }
    state->searched = 0;
    if (cut == 0) {
        finish(state);
        return;
    }
    const char *bytes = state->position;
    state->position += cut;
    state->last_fed = cut;
    if (feed(state, bytes, cut))
        find_open_token(state);
}

void feed_to_end_of_record(State *state, ZFile *file) {
    if (state->element_depth == 0) {
        *Zstdlib_f_errno() = 8;  // the top element has closed
        return;
    }
    // Records that were deleted do not count as growth.
    if (const Element *top = find_element(state->top_element);
        top == nullptr || top->has_children == 0)
        state->tree_bytes = 0;
    state->is_gathering = state->is_gathering || waiting_size(*state) > 0;
    state->stops_at_record = true;
    if (state->is_suspended && resume(state))
        find_open_token(state);
    while (!state->is_ended && !state->is_suspended) {
        if (state->is_gathering)
            gather(state, file);
        else
            feed_buffered(state, file);
    }
    state->stops_at_record = false;
    if (state->is_suspended && state->element_depth == 0)
        *Zstdlib_f_errno() = 8;
}

template <typename Loop>
void run(ZxmlExpatState *told, ZFile *file, Loop loop) {
    auto *state = static_cast<State *>(told);
    if (state->parser == nullptr) {
        *Zstdlib_f_errno() = 8;
        return;
    }
    if (!state->is_ended) {
        const Utf8CharSet utf8;
        *Zstdlib_f_errno() = 0;
        loop(state, file);
    }
    if (state->is_ended)
        tell_outcome(*state);
}

}  // namespace
}  // namespace fsi::xml

void parse_to_end_of_file(ZxmlExpatState *state, ZFile *file) {
    fsi::xml::run(state, file, fsi::xml::feed_all);
}

void fsi::xml::parse_to_end_of_record(State *state, ZFile *file) {
    run(state, file, feed_to_end_of_record);
}

void parse_to_next_greaterthan(ZxmlExpatState *state, ZFile *file) {
    fsi::xml::run(state, file, fsi::xml::feed_to_next_greaterthan);
}
