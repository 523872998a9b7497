// SPDX-License-Identifier: MIT
//
// Split lines.  A line is scanned twice: once to learn whether commas or blanks
// separate its values and how many there can be at most, once to cut it; a line
// without quotes, as nearly all are, is copied whole and cut in place.  The handle's
// own record holds the values of an ordinary line, so that such a line costs no
// allocation but the handle; longer ones get one block more.
#include "host/values.h"

#include <stddef.h>
#include <string.h>

#include "host/memory.h"
#include "runtime/error_state.h"

namespace {

constexpr uint32_t kOwnValues = 16;
constexpr uint32_t kOwnText = 160;

constexpr uint8_t kInteger = 1;
constexpr uint8_t kString = 3;

struct Value {
    uint32_t start;  // offset in the text of the line
    int32_t integer;
    uint8_t type;
};

struct Line {
    void *block;  // of a line that does not fit into the record: values, then text
    Value *values;
    char *text;
    uint32_t count;
    Value own_values[kOwnValues];
    char own_text[kOwnText];
};

void release_line(ZHandle, void *record) {
    Zfree(static_cast<Line *>(record)->block);
}

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

// What the first scan learns.
struct Shape {
    size_t length;  // bytes of the text, one trailing CR not counted
    size_t values;  // at most so many
    bool commas;
    bool quotes;
};

size_t count_commas(const char *text, size_t n) {
    size_t commas = 0;
    for (size_t i = 0; i < n; ++i)
        commas += text[i] == ',' ? 1 : 0;
    return commas;
}

size_t count_words(const char *text, size_t n) {
    size_t words = 0;
    char before = ' ';
    for (size_t i = 0; i < n; before = text[i++])
        words += is_blank(before) && !is_blank(text[i]) ? 1 : 0;
    return words;
}

// A quote opens a quoted stretch where a value can begin: at the start of the text,
// behind a blank and behind a comma.  One right behind a closing quote is the second
// of a doubled pair, and the stretch goes on; any other stands for itself.  The
// splitter goes by the same rule: it has room for the values counted here.
size_t count_bare_commas(const char *text, size_t n) {
    size_t commas = 0;
    bool inside = false;
    bool closed = false;  // the character before closed a stretch
    char before = ' ';
    for (size_t i = 0; i < n; before = text[i++]) {
        const bool closes = inside && text[i] == '"';
        if (text[i] == '"')
            inside = !inside && (closed || is_blank(before) || before == ',');
        else
            commas += !inside && text[i] == ',' ? 1 : 0;
        closed = closes;
    }
    return commas;
}

Shape measure(const char *text) {
    Shape shape{};
    const size_t n = strlen(text);
    shape.length = n > 0 && text[n - 1] == '\r' ? n - 1 : n;
    shape.quotes = memchr(text, '"', n) != nullptr;
    const size_t commas = shape.quotes ? count_bare_commas(text, n) : count_commas(text, n);
    shape.commas = commas != 0;
    shape.values = shape.commas ? commas + 1 : count_words(text, shape.length);
    return shape;
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// The number at the start of the text, clamped to 32 bits; *end is behind it.
// fits tells whether nothing was clamped.
int32_t leading_number(const char *text, const char **end, bool *fits) {
    const char *p = text;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    const uint32_t limit = uint32_t{INT32_MAX} + (negative ? 1 : 0);
    uint32_t number = 0;
    *fits = true;
    const char *digits = p;
    for (; is_digit(*p); ++p) {
        const auto digit = static_cast<uint32_t>(*p - '0');
        if (number > INT32_MAX / 10 || number * 10 + digit > limit) {
            number = limit;
            *fits = false;
        } else {
            number = number * 10 + digit;
        }
    }
    *end = p == digits ? text : p;
    return static_cast<int32_t>(negative ? 0 - number : number);
}

void add(Line *line, const char *start, bool quoted) {
    Value &value = line->values[line->count++];
    value.start = static_cast<uint32_t>(start - line->text);
    value.type = kString;
    value.integer = 0;
    if (quoted)
        return;
    const char *end;
    bool fits;
    const int32_t number = leading_number(start, &end, &fits);
    if (fits && end != start && *end == '\0') {
        value.type = kInteger;
        value.integer = number;
    }
}

// Cuts a line without quotes in its own copy.
template <bool kCommas>
void split_plain(Line *line, const char *text, size_t length) {
    char *p = line->text;
    char *const end = p + length;
    memcpy(p, text, length);
    *end = '\0';
    for (;;) {
        while (p != end && is_blank(*p))
            ++p;
        if (p == end)
            return;
        char *const start = p;
        while (p != end && (kCommas ? *p != ',' : !is_blank(*p)))
            ++p;
        char *stop = p;
        while (kCommas && stop != start && is_blank(stop[-1]))
            --stop;
        *stop = '\0';
        add(line, start, false);
        p += p != end ? 1 : 0;
    }
}

// Any line, into a copy that is made on the way.
class Splitter {
 public:
    Splitter(const char *from, const char *end, bool commas, Line *line)
        : p_(from), end_(end), out_(line->text), commas_(commas), line_(line) {}

    void run() {
        for (;;) {
            skip_blanks();
            if (p_ == end_)
                return;
            take_value();
            if (commas_ && p_ != end_)
                ++p_;
        }
    }

 private:
    bool at_separator() const { return commas_ ? *p_ == ',' : is_blank(*p_); }

    void skip_blanks() {
        while (p_ != end_ && is_blank(*p_))
            ++p_;
    }

    // Copies a quoted stretch; with its quotes when it stands inside a value.
    void take_stretch(bool keep_quotes) {
        if (keep_quotes)
            *out_++ = '"';
        for (++p_; p_ != end_; ++p_) {
            if (*p_ == '"') {
                if (p_ + 1 == end_ || p_[1] != '"')
                    break;
                ++p_;
                if (keep_quotes)
                    *out_++ = '"';
            }
            *out_++ = *p_;
        }
        if (p_ != end_) {
            ++p_;
            if (keep_quotes)
                *out_++ = '"';
        }
    }

    void take_value() {
        char *start = out_;
        char *keep = out_;  // blanks behind this are dropped
        bool quoted = *p_ == '"';
        if (quoted) {
            take_stretch(false);
            keep = out_;
        }
        while (p_ != end_ && !at_separator()) {
            if (*p_ == '"' && is_blank(p_[-1])) {
                take_stretch(true);
                keep = out_;
                continue;
            }
            *out_++ = *p_;
            if (!is_blank(*p_))
                keep = out_;
            ++p_;
        }
        out_ = keep;
        *out_++ = '\0';
        add(line_, start, quoted);
    }

    const char *p_;
    const char *end_;
    char *out_;
    bool commas_;
    Line *line_;
};

const ZHandleType kLineType = {"split line", sizeof(Line), 2, release_line};
int line_type;

// Null for a handle of another kind, a stale one, and a value past the end.
const Value *find(ZHandle handle, uint32_t i, const Line **line) {
    if (line_type == 0 || H_type(handle) != line_type)
        return nullptr;
    *line = static_cast<const Line *>(H_lock(handle));
    return i < (*line)->count ? &(*line)->values[i] : nullptr;
}

}  // namespace

ZHandle Zcds_new(const char *text) {
    static const char source[] = "runtime/values";
    if (text == nullptr)
        text = "";
    if (line_type == 0 && (line_type = H_declare(&kLineType)) == 0)
        return 0;
    ZHandle handle = HBUILDV(line_type, "split line", source);
    if (handle == 0)
        return 0;
    auto *line = static_cast<Line *>(H_lock(handle));
    Shape shape = measure(text);
    // Every value is followed by a zero byte where its separator was; the last
    // one needs a byte of its own.
    size_t text_bytes = shape.length + 1;
    if (shape.values <= kOwnValues && text_bytes <= kOwnText) {
        line->values = line->own_values;
        line->text = line->own_text;
    } else {
        size_t value_bytes = shape.values * sizeof(Value);
        if (shape.length >= UINT32_MAX / 32 ||
            (line->block = Zmalloc(value_bytes + text_bytes, "split line", source)) == nullptr) {
            H_FREE(handle);
            host::refuse_memory();
            return 0;
        }
        line->values = static_cast<Value *>(line->block);
        line->text = static_cast<char *>(line->block) + value_bytes;
    }
    if (shape.quotes)
        Splitter(text, text + shape.length, shape.commas, line).run();
    else if (shape.commas)
        split_plain<true>(line, text, shape.length);
    else
        split_plain<false>(line, text, shape.length);
    return handle;
}

uint32_t Zcds_get_count(ZHandle values) {
    if (line_type == 0 || H_type(values) != line_type)
        return 0;
    return static_cast<const Line *>(H_lock(values))->count;
}

int Zcds_get_type(ZHandle values, uint32_t i) {
    const Line *line;
    const Value *value = find(values, i, &line);
    return value == nullptr ? 0 : value->type;
}

int32_t Zcds_get_int_value(ZHandle values, uint32_t i) {
    const Line *line;
    const Value *value = find(values, i, &line);
    if (value == nullptr)
        return 0;
    if (value->type == kInteger)
        return value->integer;
    const char *end;
    bool fits;
    return leading_number(line->text + value->start, &end, &fits);
}

const char *Zcds_get_str_value(ZHandle values, uint32_t i, int) {
    const Line *line;
    const Value *value = find(values, i, &line);
    return value == nullptr ? "" : line->text + value->start;
}
