// SPDX-License-Identifier: MIT
//
// Regular expressions without a worst case: a pattern becomes a small program
// whose every state is followed at once, so that a match costs at most program
// size times text length, whatever the pattern.  (Backtracking, and the C
// library's own matcher with nested repeats, can take for ever.)
// Source: K. Thompson, Regular Expression Search Algorithm, CACM 11 (1968).
#include "host/regexp.h"

#include <string.h>

#include <algorithm>

#include "host/memory.h"
#include "runtime/error_state.h"

namespace {

constexpr int kExtended = 2;
constexpr size_t kMaxProgram = 4096;
constexpr int kMaxSets = 256;
constexpr int kMaxDepth = 100;
constexpr int kMaxRepeat = 255;  // as POSIX's RE_DUP_MAX

enum class Op : uint8_t { kByte, kAny, kSet, kSplit, kJump, kStart, kEnd, kMatch };

struct Instruction {
    Op op;
    uint8_t byte;   // of kByte; the set's number of kSet
    int16_t first;  // targets of kSplit and kJump, relative to the instruction
    int16_t second;
};

struct Set {
    bool has[256];
};

// A state that the match is in, and where its match began.
struct Thread {
    uint16_t at;
    size_t start;
};

struct ThreadList {
    Thread *threads;
    size_t count;
};

}  // namespace

// One block: this record, threads, sets, marks, stack and program.
struct ZRegExp {
    Instruction *program;
    Set *sets;
    ThreadList lists[2];
    uint32_t *marks;  // the round in which a state was entered last
    uint16_t *stack;
    uint32_t round;
    size_t size;
};

struct ZRegExpMatch {
    size_t start;
    size_t end;
};

namespace {

// Where a pattern is compiled before its size is known; one thread at a time.
Instruction scratch_program[kMaxProgram];
Set scratch_sets[kMaxSets];

class Compiler {
 public:
    explicit Compiler(const char *pattern) : p_(pattern) {}

    // Null, or what is wrong with the pattern.
    const char *run() {
        alternation(0);
        if (error_ == nullptr && *p_ == ')')
            fail("a closing parenthesis without an opening one");
        emit({Op::kMatch, 0, 0, 0});
        return error_;
    }

    size_t size() const { return size_; }
    size_t sets() const { return sets_; }

 private:
    void fail(const char *error) {
        if (error_ == nullptr)
            error_ = error;
    }

    bool room(size_t more) {
        if (error_ == nullptr && more > kMaxProgram - size_)
            fail("the pattern is too large; its repeats multiply");
        return error_ == nullptr;
    }

    void emit(Instruction instruction) {
        if (room(1))
            scratch_program[size_++] = instruction;
    }

    void insert(size_t at, Instruction instruction) {
        if (!room(1))
            return;
        memmove(scratch_program + at + 1, scratch_program + at, (size_ - at) * sizeof(Instruction));
        scratch_program[at] = instruction;
        ++size_;
    }

    static int16_t distance(size_t from, size_t to) {
        return static_cast<int16_t>(static_cast<int>(to) - static_cast<int>(from));
    }

    void alternation(int depth) {
        if (depth > kMaxDepth)
            return fail("parentheses are nested too deeply");
        // The jumps behind all but the last branch, chained until the end is known.
        size_t last_jump = SIZE_MAX;
        for (;;) {
            size_t branch = size_;
            concatenation(depth);
            if (error_ != nullptr || *p_ != '|')
                break;
            ++p_;
            insert(branch, {Op::kSplit, 0, 1, distance(branch, size_ + 2)});
            size_t jump = size_;
            emit({Op::kJump, 0, last_jump == SIZE_MAX ? int16_t{0} : distance(jump, last_jump), 0});
            last_jump = jump;
        }
        while (error_ == nullptr && last_jump != SIZE_MAX) {
            int16_t link = scratch_program[last_jump].first;
            scratch_program[last_jump].first = distance(last_jump, size_);
            last_jump =
                link == 0 ? SIZE_MAX : static_cast<size_t>(static_cast<int>(last_jump) + link);
        }
    }

    void concatenation(int depth) {
        while (error_ == nullptr && *p_ != '\0' && *p_ != '|' && *p_ != ')') {
            size_t start = size_;
            atom(depth);
            while (error_ == nullptr && is_repeat())
                repeat(start);
        }
    }

    bool is_repeat() const {
        return *p_ == '*' || *p_ == '+' || *p_ == '?' || (*p_ == '{' && is_digit(p_[1]));
    }

    static bool is_digit(char c) { return c >= '0' && c <= '9'; }

    static bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

    void atom(int depth) {
        if (is_repeat())
            return fail("a repeat with nothing before it");
        char c = *p_++;
        switch (c) {
            case '(':
                alternation(depth + 1);
                if (error_ == nullptr && *p_ != ')')
                    return fail("an opening parenthesis without a closing one");
                if (error_ == nullptr)
                    ++p_;
                return;
            case '[':
                return bracket();
            case '.':
                return emit({Op::kAny, 0, 0, 0});
            case '^':
                return emit({Op::kStart, 0, 0, 0});
            case '$':
                return emit({Op::kEnd, 0, 0, 0});
            case '\\':
                if (*p_ == '\0')
                    return fail("a backslash with nothing behind it");
                if (is_digit(*p_))
                    return fail("back-references are not supported");
                if (is_letter(*p_))
                    return fail("a backslash before a letter means nothing");
                c = *p_++;
                break;
            default:
                break;
        }
        emit({Op::kByte, static_cast<uint8_t>(c), 0, 0});
    }

    // The repeat at p_ of the fragment from start to the end of the program.
    void repeat(size_t start) {
        int least = 0;
        int most = -1;
        switch (*p_++) {
            case '*':
                break;
            case '+':
                least = 1;
                break;
            case '?':
                most = 1;
                break;
            default:
                if (!bounds(&least, &most))
                    return fail("a repeat is {n}, {n,} or {n,m}, n to m at most 255");
        }
        const size_t length = size_ - start;
        if (most == 0) {
            size_ = start;
            return;
        }
        const int copies = most > 0 ? most : std::max(least, 1);
        if (!room(length * static_cast<size_t>(copies - 1)))
            return;
        for (int i = 1; i < copies; ++i) {
            memcpy(scratch_program + size_, scratch_program + start, length * sizeof(Instruction));
            size_ += length;
        }
        if (most < 0)
            return loop(start + length * static_cast<size_t>(copies - 1), least > 0);
        // From the back, so that the copies in front stay where they are.
        for (int i = copies; i > least; --i) {
            size_t copy = start + length * static_cast<size_t>(i - 1);
            insert(copy, {Op::kSplit, 0, 1, distance(copy, copy + length + 1)});
        }
    }

    // Repeats the fragment behind start for ever, at least once or not at all.
    void loop(size_t start, bool at_least_once) {
        if (at_least_once) {
            emit({Op::kSplit, 0, distance(size_, start), 1});
            return;
        }
        insert(start, {Op::kSplit, 0, 1, distance(start, size_ + 2)});
        emit({Op::kJump, 0, distance(size_, start), 0});
    }

    bool bounds(int *least, int *most) {
        *least = number();
        *most = *least;
        if (*p_ == ',') {
            ++p_;
            *most = *p_ == '}' ? -1 : number();
        }
        return *p_++ == '}' && *least >= 0 && *least <= kMaxRepeat && *most <= kMaxRepeat &&
               (*most == -1 || *most >= *least);
    }

    // Clamped above kMaxRepeat; -2 when no digit is there.
    int number() {
        if (!is_digit(*p_))
            return -2;
        int value = 0;
        for (; is_digit(*p_); ++p_)
            value = std::min(value * 10 + (*p_ - '0'), kMaxRepeat + 1);
        return value;
    }

    void bracket() {
        if (sets_ == kMaxSets)
            return fail("more than 256 bracket expressions");
        Set &set = scratch_sets[sets_];
        set = {};
        const bool negated = *p_ == '^';
        p_ += negated ? 1 : 0;
        for (bool first = true; first || *p_ != ']'; first = false) {
            if (*p_ == '\0')
                return fail("a bracket that is not closed");
            if (*p_ == '[' && p_[1] == ':') {
                if (!named_class(&set))
                    return fail("an unknown character class");
            } else if (*p_ == '[' && (p_[1] == '.' || p_[1] == '=')) {
                return fail("collating elements are not supported");
            } else if (!range(&set)) {
                return fail("a range whose end is before its start");
            }
        }
        ++p_;
        if (negated)
            std::transform(set.has, set.has + 256, set.has, [](bool has) { return !has; });
        emit({Op::kSet, static_cast<uint8_t>(sets_++), 0, 0});
    }

    bool range(Set *set) {
        auto low = static_cast<unsigned char>(*p_++);
        auto high = low;
        if (*p_ == '-' && p_[1] != ']' && p_[1] != '\0') {
            high = static_cast<unsigned char>(p_[1]);
            p_ += 2;
        }
        for (int byte = low; byte <= high; ++byte)
            set->has[byte] = true;
        return low <= high;
    }

    // The classes of the C locale, whatever the process runs in.
    bool named_class(Set *set) {
        struct Class {
            const char *name;
            bool (*has)(int c);
        };
        static constexpr auto kDigit = [](int c) { return c >= '0' && c <= '9'; };
        static constexpr auto kLower = [](int c) { return c >= 'a' && c <= 'z'; };
        static constexpr auto kUpper = [](int c) { return c >= 'A' && c <= 'Z'; };
        static constexpr auto kAlnum = [](int c) { return kDigit(c) || kLower(c) || kUpper(c); };
        static constexpr Class kClasses[] = {
            {"[:digit:]", kDigit},
            {"[:lower:]", kLower},
            {"[:upper:]", kUpper},
            {"[:alnum:]", kAlnum},
            {"[:alpha:]", [](int c) { return kLower(c) || kUpper(c); }},
            {"[:blank:]", [](int c) { return c == ' ' || c == '\t'; }},
            {"[:space:]", [](int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }},
            {"[:cntrl:]", [](int c) { return c < 32 || c == 127; }},
            {"[:print:]", [](int c) { return c >= 32 && c < 127; }},
            {"[:graph:]", [](int c) { return c > 32 && c < 127; }},
            {"[:punct:]", [](int c) { return c > 32 && c < 127 && !kAlnum(c); }},
            {"[:xdigit:]",
             [](int c) { return kDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }},
        };
        for (const Class &known : kClasses) {
            size_t n = strlen(known.name);
            if (strncmp(p_, known.name, n) != 0)
                continue;
            p_ += n;
            for (int c = 0; c < 256; ++c)
                set->has[c] = set->has[c] || known.has(c);
            return true;
        }
        return false;
    }

    const char *p_;
    const char *error_ = nullptr;
    size_t size_ = 0;
    size_t sets_ = 0;
};

class Matcher {
 public:
    Matcher(ZRegExp *expression, const char *text) : own_(*expression), text_(text) {}

    // The leftmost match, of those the longest.
    bool run(size_t *start, size_t *end) {
        ThreadList *now = &own_.lists[0];
        ThreadList *next = &own_.lists[1];
        now->count = 0;
        begin_round();
        for (size_t at = 0;; ++at) {
            if (!matched_)
                enter(now, 0, at, at);
            if (text_[at] == '\0')
                break;
            begin_round();
            next->count = 0;
            for (size_t i = 0; i < now->count; ++i)
                step(now->threads[i], at, next);
            std::swap(now, next);
            if (now->count == 0 && matched_)
                break;
        }
        *start = start_;
        *end = end_;
        return matched_;
    }

 private:
    void begin_round() {
        if (++own_.round == 0) {
            memset(own_.marks, 0, own_.size * sizeof *own_.marks);
            own_.round = 1;
        }
    }

    void step(const Thread &thread, size_t at, ThreadList *next) {
        // Threads that began behind the match found cannot beat it.
        if (matched_ && thread.start > start_)
            return;
        const Instruction &instruction = own_.program[thread.at];
        const auto byte = static_cast<unsigned char>(text_[at]);
        const bool passes = instruction.op == Op::kByte  ? instruction.byte == byte
                            : instruction.op == Op::kSet ? own_.sets[instruction.byte].has[byte]
                                                         : true;
        if (passes)
            enter(next, static_cast<size_t>(thread.at) + 1, thread.start, at + 1);
    }

    // Adds a state and all that are reached from it without a byte.  Threads
    // are entered in the order of their starts, so the first to reach a state
    // is the leftmost.
    void enter(ThreadList *list, size_t state, size_t start, size_t at) {
        size_t depth = 0;
        push(state, &depth);
        while (depth > 0) {
            const uint16_t here = own_.stack[--depth];
            const Instruction &instruction = own_.program[here];
            switch (instruction.op) {
                case Op::kSplit:
                    push(target(here, instruction.second), &depth);
                    push(target(here, instruction.first), &depth);
                    break;
                case Op::kJump:
                    push(target(here, instruction.first), &depth);
                    break;
                case Op::kStart:
                    if (at == 0)
                        push(size_t{here} + 1, &depth);
                    break;
                case Op::kEnd:
                    if (text_[at] == '\0')
                        push(size_t{here} + 1, &depth);
                    break;
                case Op::kMatch:
                    if (!matched_ || start < start_ || (start == start_ && at > end_)) {
                        matched_ = true;
                        start_ = start;
                        end_ = at;
                    }
                    break;
                default:
                    list->threads[list->count++] = {here, start};
            }
        }
    }

    void push(size_t state, size_t *depth) {
        if (own_.marks[state] == own_.round)
            return;
        own_.marks[state] = own_.round;
        own_.stack[(*depth)++] = static_cast<uint16_t>(state);
    }

    static size_t target(size_t from, int16_t by) {
        return static_cast<size_t>(static_cast<ptrdiff_t>(from) + by);
    }

    ZRegExp &own_;
    const char *text_;
    bool matched_ = false;
    size_t start_ = 0;
    size_t end_ = 0;
};

// Moves the compiled program from the scratch space into a block of its own.
ZRegExp *keep(size_t size, size_t sets) {
    const size_t bytes = sizeof(ZRegExp) + 2 * size * sizeof(Thread) + sets * sizeof(Set) +
                         size * sizeof(uint32_t) + size * sizeof(uint16_t) +
                         size * sizeof(Instruction);
    auto *expression =
        static_cast<ZRegExp *>(Zmalloc(bytes, "regular expression", "runtime/regexp"));
    if (expression == nullptr) {
        host::refuse_memory();
        return nullptr;
    }
    // By falling alignment; a set's size is a multiple of all of them.
    auto *threads = reinterpret_cast<Thread *>(expression + 1);
    expression->size = size;
    expression->round = 0;
    expression->lists[0].threads = threads;
    expression->lists[1].threads = threads + size;
    expression->sets = reinterpret_cast<Set *>(threads + 2 * size);
    expression->marks = reinterpret_cast<uint32_t *>(expression->sets + sets);
    expression->stack = reinterpret_cast<uint16_t *>(expression->marks + size);
    expression->program = reinterpret_cast<Instruction *>(expression->stack + size);
    if (sets > 0)
        memcpy(expression->sets, scratch_sets, sets * sizeof(Set));
    memset(expression->marks, 0, size * sizeof(uint32_t));
    memcpy(expression->program, scratch_program, size * sizeof(Instruction));
    return expression;
}

}  // namespace

ZRegExp *ZRegExp_Compile(const char *pattern, int flags) {
    if (pattern == nullptr || flags != kExtended) {
        host::refuse(host::kParameterError,
                     "regular expressions need a pattern and the flags %d, not %d", kExtended,
                     flags);
        return nullptr;
    }
    Compiler compiler(pattern);
    if (const char *error = compiler.run(); error != nullptr) {
        host::refuse(host::kParameterError, "regular expression '%.*s': %s", host::kShownBytes,
                     pattern, error);
        return nullptr;
    }
    return keep(compiler.size(), compiler.sets());
}

ZRegExpMatch *ZRegExp_Match(ZRegExp *expression, const char *text, size_t *start, size_t *end) {
    size_t from;
    size_t to;
    if (expression == nullptr || text == nullptr || !Matcher(expression, text).run(&from, &to))
        return nullptr;
    auto *match = static_cast<ZRegExpMatch *>(
        Zmalloc(sizeof(ZRegExpMatch), "regular expression match", "runtime/regexp"));
    if (match == nullptr) {
        host::refuse_memory();
        return nullptr;
    }
    *match = {from, to};
    if (start != nullptr)
        *start = from;
    if (end != nullptr)
        *end = to;
    return match;
}

void ZRegExp_ReleaseMatch(ZRegExpMatch *match) {
    Zfree(match);
}

void ZRegExp_Release(ZRegExp *expression) {
    Zfree(expression);
}
