// SPDX-License-Identifier: MIT
//
// Message texts: the catalogue, and texts with %1 to %9.  The catalogue's file is
// described in docs/formats/messages.md.
#include "host/messages.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <charconv>

#include "runtime/error_state.h"
#include "runtime/output.h"
#include "runtime/owner.h"
#include "runtime/text_file.h"
#include "runtime/variables.h"

namespace host {
namespace {

constexpr const char *kSource = "runtime/messages";
constexpr int kArguments = 9;

struct Message {
    int32_t set;
    int32_t number;
    const char *text;
};

// The texts that were handed out live for ever, so the blocks of a catalogue
// are never given back; they stay reachable through the chain.
struct Catalogue {
    Catalogue *older;
    char *file;
    size_t count;
    Message *messages;  // behind the record, in the same block
};

Catalogue *catalogue;   // in force, null for the default texts
Catalogue *catalogues;  // all that were ever loaded

bool is_argument(char c) {
    return c >= '1' && c <= '9';
}

// One bit for each of %1 to %9.
unsigned arguments_of(const char *text) {
    unsigned seen = 0;
    for (const char *p = text; (p = strchr(p, '%')) != nullptr && p[1] != '\0'; p += 2) {
        if (is_argument(p[1]))
            seen |= 1u << (p[1] - '1');
    }
    return seen;
}

// The next conversion of printf in a text, and its length; null at the end.
const char *next_conversion(const char *text, size_t *length) {
    while ((text = strchr(text, '%')) != nullptr) {
        if (text[1] == '%') {
            text += 2;
            continue;
        }
        size_t n = 1 + strspn(text + 1, "#0- +'123456789.*hlLqjzt$");
        *length = text[n] == '\0' ? n : n + 1;
        return text;
    }
    return nullptr;
}

bool same_conversions(const char *a, const char *b) {
    size_t a_length = 0;
    size_t b_length = 0;
    for (;;) {
        a = next_conversion(a, &a_length);
        b = next_conversion(b, &b_length);
        if (a == nullptr || b == nullptr)
            return a == b;
        if (a_length != b_length || memcmp(a, b, a_length) != 0)
            return false;
        a += a_length;
        b += b_length;
    }
}

// A text with %1 in it takes texts, in any order and as often as it likes; any
// other goes through printf, where order and type have to stay.
bool same_placeholders(const char *text, const char *default_text) {
    unsigned wanted = arguments_of(default_text);
    return wanted != 0 ? arguments_of(text) == wanted : same_conversions(text, default_text);
}

// Reads a catalogue's lines in place.
class Reader {
 public:
    Reader(TextFile *file, const char *path) : file_(file), path_(path) {}

    // False at the end and after an error; failed() tells which.
    bool read(Message *message) {
        char *line = file_->next_line();
        if (line == nullptr)
            return false;
        const char *end = line + strlen(line);
        auto set = std::from_chars(line, end, message->set);
        const char *number_text = set.ptr + strspn(set.ptr, " \t");
        auto number = std::from_chars(number_text, end, message->number);
        if (set.ec != std::errc() || number.ec != std::errc() || number_text == set.ptr ||
            number.ptr != end)
            return fail("'%.*s' is not the two numbers of a message; write SET NUMBER", line);
        char *default_text = take_text("default");
        char *text = default_text == nullptr ? nullptr : take_text("text");
        if (text == nullptr)
            return false;
        if (!same_placeholders(text, default_text))
            return fail("'%.*s' has other placeholders than the default text", text);
        message->text = text;
        return true;
    }

    bool failed() const { return failed_; }

 private:
    char *take_text(const char *word) {
        char *line = file_->next_line();
        size_t n = strlen(word);
        if (line == nullptr || strncmp(line, word, n) != 0 || strchr(" \t", line[n]) == nullptr ||
            line[n] == '\0') {
            fail(word[0] == 'd' ? "'%.*s' stands where the default text has to; write default TEXT"
                                : "'%.*s' stands where the text has to; write text TEXT",
                 line == nullptr ? "" : line);
            return nullptr;
        }
        line += n;
        return unescape(line + strspn(line, " \t"));
    }

    char *unescape(char *text) {
        char *out = text;
        for (const char *p = text; *p != '\0'; ++p) {
            if (*p != '\\') {
                *out++ = *p;
                continue;
            }
            ++p;
            if (*p != 'n' && *p != 't' && *p != 's' && *p != '\\') {
                fail("'\\%.*s' is no escape; write \\n, \\t, \\s or \\\\", *p == '\0' ? "" : p);
                return nullptr;
            }
            *out++ = *p == 'n' ? '\n' : *p == 't' ? '\t' : *p == 's' ? ' ' : '\\';
        }
        *out = '\0';
        return text;
    }

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    bool fail(const char *format, const char *value) {
        if (failed_)
            return false;
        failed_ = true;
        char reason[kShownBytes + 100];
        snprintf(reason, sizeof reason, format, kShownBytes, value);
        refuse(kParameterError, "%.*s, line %u: %s", kShownBytes, path_, file_->line_number(),
               reason);
        return false;
    }
#pragma GCC diagnostic pop

    TextFile *file_;
    const char *path_;
    bool failed_ = false;
};

// Gathers small pieces, so that an ordinary message leaves in one.
class GatheredOutput {
 public:
    void put(const char *bytes, size_t n) {
        total_ += n;
        if (n > sizeof buffer_ - used_)
            flush();
        if (n > sizeof buffer_) {
            write_error_output(bytes, n);
        } else if (n > 0) {
            memcpy(buffer_ + used_, bytes, n);
            used_ += n;
        }
    }

    // The bytes of the whole text.
    int finish() {
        flush();
        return total_ > INT32_MAX ? INT32_MAX : static_cast<int>(total_);
    }

 private:
    void flush() {
        if (used_ > 0)
            write_error_output(buffer_, used_);
        used_ = 0;
    }

    size_t total_ = 0;
    size_t used_ = 0;
    char buffer_[1024];
};

int compare(const void *a, const void *b) {
    const auto *left = static_cast<const Message *>(a);
    const auto *right = static_cast<const Message *>(b);
    if (left->set != right->set)
        return left->set < right->set ? -1 : 1;
    return left->number < right->number ? -1 : left->number > right->number;
}

}  // namespace

bool set_message_file(const char *path) {
    if (path == nullptr || path[0] == '\0') {
        catalogue = nullptr;
        return true;
    }
    TextFile file;
    if (!file.read(path, "MESSAGE_FILE"))
        return false;
    const size_t most = file.lines() / 3 + 1;  // three lines a message
    Block<Catalogue> read(
        Zmalloc(sizeof(Catalogue) + most * sizeof(Message), "message catalogue", kSource));
    if (!read)
        return refuse_memory() != 0;
    read->count = 0;
    read->messages = reinterpret_cast<Message *>(read.get() + 1);
    Reader reader(&file, path);
    while (reader.read(&read->messages[read->count]))
        ++read->count;
    if (reader.failed())
        return false;
    qsort(read->messages, read->count, sizeof(Message), compare);
    read->file = file.release();
    read->older = catalogues;
    catalogues = read.release();
    catalogue = catalogues;
    return true;
}

}  // namespace host

const char *message_get(int number, int set, const char *default_text) {
    using namespace host;
    start_variables();
    if (catalogue == nullptr || default_text == nullptr)
        return default_text;
    Message wanted = {set, number, nullptr};
    const auto *found = static_cast<const Message *>(
        bsearch(&wanted, catalogue->messages, catalogue->count, sizeof(Message), compare));
    return found != nullptr && same_placeholders(found->text, default_text) ? found->text
                                                                            : default_text;
}

int meprintf(const char *text, ...) {
    using namespace host;
    const char *arguments[kArguments] = {};
    unsigned used = arguments_of(text);
    va_list list;
    va_start(list, text);
    for (int i = 0; i < kArguments && used >> i != 0; ++i)
        arguments[i] = va_arg(list, const char *);
    va_end(list);

    GatheredOutput output;
    const char *p = text;
    while (const char *percent = strchr(p, '%')) {
        output.put(p, static_cast<size_t>(percent - p));
        if (is_argument(percent[1])) {
            const char *argument = arguments[percent[1] - '1'];
            if (argument != nullptr)
                output.put(argument, strlen(argument));
            p = percent + 2;
        } else {
            output.put("%", 1);
            p = percent + (percent[1] == '%' ? 2 : 1);
        }
    }
    output.put(p, strlen(p));
    return output.finish();
}
