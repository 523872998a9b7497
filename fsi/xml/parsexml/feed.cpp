// SPDX-License-Identifier: MIT
//
// The two loops that feed expat.  Reading the whole input at once, expat is fed what
// comes; where a token has grown long without its end, reads are gathered until they
// are as long again, so that the work stays in proportion.  Reading up to the next
// ">", a token is fed when it is closed (scanner.h), so that its events come at once
// and expat never begins it anew; one that outgrows its block is fed as far as it
// goes, and the block doubles.
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
        *Zstdlib_f_int_errno() = 5;
        *Zstdlib_f_errmsg() = message;
    }
    if (state.outcome.code == 19 || state.outcome.code == 1)
        *Zstdlib_f_int2_errno() = state.outcome.system;
}

void end_in_error(State *state) {
    const XML_Error error = XML_GetErrorCode(state->parser);
    if (state->has_failed_memory || error == XML_ERROR_NO_MEMORY) {
        end_feeding(state, {14, 0});
        return;
    }
    const XML_LChar *text = XML_ErrorString(error);
    copy_text(message, text == nullptr ? "" : text);
    end_feeding(state, {19, static_cast<int32_t>(error)});
}

// Feeds bytes; false at an error, which ends feeding.
bool feed(State *state, const char *bytes, size_t size, bool is_final) {
    state->source_bytes += size;
    state->current = find_current(*state);
    do {
        const int piece = size > INT_MAX ? INT_MAX : static_cast<int>(size);
        size -= static_cast<size_t>(piece);
        if (XML_Parse(state->parser, bytes, piece, is_final && size == 0 ? XML_TRUE : XML_FALSE) !=
            XML_STATUS_OK) {
            end_in_error(state);
            return false;
        }
        bytes += piece;
    } while (size > 0);
    return true;
}

size_t waiting_size(const State &state) {
    return state.waiting == nullptr ? 0 : state.waiting->length;
}

bool wait_with(State *state, const char *bytes, size_t size) {
    if (append_text(&state->waiting, {bytes, size}, kWaitingTag))
        return true;
    end_feeding(state, {14, 0});
    return false;
}

bool feed_waiting(State *state) {
    if (waiting_size(*state) == 0)
        return true;
    state->fed_bytes = state->waiting->view();
    const bool is_fed = feed(state, state->waiting->text(), state->waiting->length, false);
    state->fed_bytes = {};
    cut_text(state->waiting, 0);
    return is_fed;
}

void finish(State *state) {
    if (feed_waiting(state) && feed(state, "", 0, true))
        end_feeding(state, {8, 0});
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
        end_feeding(state, {1, errno});
    return got > 0;
}

// Finds out how the source is written: by its byte-order mark, or by how its first
// "<" looks.
void find_form(State *state) {
    const char *bytes = state->position;
    const size_t size = buffered(*state);
    const int mark = ZicuBOMIs(bytes, size);
    if ((state->state_bits & ZXML_MARK_CHECKED) == 0 && state->encoding_type == -1)
        state->encoding_type = mark;
    state->state_bits |= ZXML_MARK_CHECKED;
    const bool has_two = size >= 2;
    if (mark == 3 || (has_two && bytes[0] == '<' && bytes[1] == '\0'))
        state->form = SourceForm::kLittleUnits;
    else if (mark == 5 || (has_two && bytes[0] == '\0' && bytes[1] == '<'))
        state->form = SourceForm::kBigUnits;
    else
        state->form = SourceForm::kBytes;
}

// Enough bytes for the form to be told, or all there are.
void read_first_bytes(State *state, ZFile *file) {
    constexpr size_t kEnough = 4;
    while (file != nullptr && buffered(*state) < kEnough && !state->is_ended &&
           refill(state, file)) {
    }
}

// Bytes that expat holds of a token without an end.
size_t unfinished(const State &state) {
    const XML_Index index = XML_GetCurrentByteIndex(state.parser);
    if (index < 0 || static_cast<uint64_t>(index) > state.source_bytes)
        return 0;
    return static_cast<size_t>(state.source_bytes - static_cast<uint64_t>(index));
}

void feed_all(State *state, ZFile *file) {
    // What is buffered may be a document in memory, of any size.
    if (!feed_waiting(state))
        return;
    state->fed_bytes = {state->position, buffered(*state)};
    const bool is_fed = feed(state, state->position, buffered(*state), false);
    state->fed_bytes = {};
    state->position = state->end;
    if (!is_fed)
        return;
    while (file != nullptr && refill(state, file)) {
        const size_t open = unfinished(*state);
        const bool is_long = open > ZXML_BUFFER_SIZE || waiting_size(*state) > 0;
        if (is_long && !wait_with(state, state->position, buffered(*state)))
            return;
        if (is_long ? waiting_size(*state) >= open && !feed_waiting(state)
                    : !feed(state, state->position, buffered(*state), false))
            return;
        state->position = state->end;
    }
    if (!state->is_ended)
        finish(state);
}

// Feeds one chunk now or lets it wait for the end of its token.
bool feed_chunk(State *state, const char *bytes, size_t size) {
    const bool is_closed = scan(&state->scanner, state->form, bytes, size);
    if (is_closed && waiting_size(*state) == 0) {
        state->fed_bytes = {bytes, static_cast<size_t>(state->end - bytes)};
        const bool is_fed = feed(state, bytes, size, false);
        state->fed_bytes = {};
        return is_fed;
    }
    if (!wait_with(state, bytes, size))
        return false;
    if (state->waiting_limit == 0 || is_closed)
        state->waiting_limit = kFirstBlock;
    if (is_closed)
        return feed_waiting(state);
    if (state->waiting->length < state->waiting_limit)
        return true;
    state->waiting_limit *= state->waiting_limit < UINT32_MAX / 4 ? 2 : 1;
    return feed_waiting(state);
}

void feed_to_next_greaterthan(State *state, ZFile *file) {
    while (!state->is_ended) {
        if (state->form == SourceForm::kUnknown) {
            read_first_bytes(state, file);
            if (buffered(*state) > 0)
                find_form(state);
        }
        const size_t unit = unit_size(state->form);
        if (buffered(*state) < unit && (file == nullptr || !refill(state, file))) {
            if (state->is_ended)
                return;
            // Half a unit at the end is for expat to refuse.
            if (buffered(*state) > 0 && !wait_with(state, state->position, buffered(*state)))
                return;
            state->position = state->end;
            finish(state);
            return;
        }
        const size_t whole = buffered(*state) / unit * unit;
        if (whole == 0)
            continue;
        const size_t found = find_greater_than(state->form, state->position, whole);
        const size_t chunk = found != 0 ? found : whole;
        const char *bytes = state->position;
        state->position += chunk;
        if (!feed_chunk(state, bytes, chunk) || found != 0)
            return;
    }
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

void parse_to_next_greaterthan(ZxmlExpatState *state, ZFile *file) {
    fsi::xml::run(state, file, fsi::xml::feed_to_next_greaterthan);
}
