// SPDX-License-Identifier: MIT
#include "fsi/xml/parsexml/scanner.h"

#include <cstdint>
#include <cstring>

namespace fsi::xml {
namespace {

enum Mode : uint8_t {
    kText,  // of the document or, in the subset, between its declarations
    kOpen,  // behind "<"
    kBang,  // behind "<!"
    kBangDash,
    kBangBracket,
    kTag,
    kComment,
    kInstruction,
    kCdata,
    kDeclaration,
};

template <SourceForm kForm>
struct Units {
    static constexpr size_t kSize = unit_size(kForm);

    // A unit beyond ASCII is no mark of markup; 0x80 stands for it.
    static uint8_t at(const char *bytes, size_t i) {
        if constexpr (kForm == SourceForm::kLittleUnits) {
            return bytes[2 * i + 1] == 0 ? static_cast<uint8_t>(bytes[2 * i]) : 0x80;
        } else if constexpr (kForm == SourceForm::kBigUnits) {
            return bytes[2 * i] == 0 ? static_cast<uint8_t>(bytes[2 * i + 1]) : 0x80;
        } else {
            return static_cast<uint8_t>(bytes[i]);
        }
    }

    // The first unit from `from` on that is `mark`; `count` when there is none.
    static size_t find(const char *bytes, size_t from, size_t count, char mark) {
        if constexpr (kSize == 1) {
            const void *found = std::memchr(bytes + from, mark, count - from);
            return found == nullptr ? count
                                    : static_cast<size_t>(static_cast<const char *>(found) - bytes);
        } else {
            while (from < count && at(bytes, from) != static_cast<uint8_t>(mark))
                from++;
            return from;
        }
    }

    // The number of units up to and with the last that is `mark`, or 0.
    static size_t find_last(const char *bytes, size_t count, char mark) {
        if constexpr (kSize == 1) {
            const void *found = memrchr(bytes, mark, count);
            return found == nullptr
                       ? 0
                       : static_cast<size_t>(static_cast<const char *>(found) - bytes) + 1;
        } else {
            while (count > 0 && at(bytes, count - 1) != static_cast<uint8_t>(mark))
                count--;
            return count;
        }
    }
};

void enter(ScannerState *scanner, Mode mode) {
    scanner->mode = mode;
    scanner->matched = 0;
    scanner->quote = 0;
}

// How many of `mark` stand in a row up to here, at most two.
void match_row(ScannerState *scanner, uint8_t unit, char mark) {
    if (unit != static_cast<uint8_t>(mark))
        scanner->matched = 0;
    else if (scanner->matched < 2)
        scanner->matched++;
}

// One unit of markup.  False: a "<" in an attribute value.
bool step(ScannerState *scanner, uint8_t unit) {
    switch (scanner->mode) {
        case kOpen:
            if (unit == '!')
                enter(scanner, kBang);
            else if (unit == '?')
                enter(scanner, kInstruction);
            else
                enter(scanner, unit == '>' ? kText : kTag);
            return true;
        case kBang:
            if (unit == '-')
                enter(scanner, kBangDash);
            else if (unit == '[' && scanner->is_in_subset == 0)
                enter(scanner, kBangBracket);
            else
                enter(scanner, unit == '>' ? kText : kDeclaration);
            return true;
        case kBangDash:
            enter(scanner, unit == '-' ? kComment : unit == '>' ? kText : kDeclaration);
            return true;
        case kBangBracket:
            if (unit == '[')
                enter(scanner, kCdata);
            else if (unit == '>')
                enter(scanner, kText);
            return true;
        case kTag:
            if (scanner->quote != 0) {
                if (unit == scanner->quote)
                    scanner->quote = 0;
                return unit != '<';
            }
            if (unit == '"' || unit == '\'')
                scanner->quote = unit;
            else if (unit == '>')
                enter(scanner, kText);
            return true;
        case kComment:
            if (unit == '>' && scanner->matched == 2)
                enter(scanner, kText);
            else
                match_row(scanner, unit, '-');
            return true;
        case kInstruction:
            if (unit == '>' && scanner->matched != 0)
                enter(scanner, kText);
            else
                scanner->matched = unit == '?' ? 1 : 0;
            return true;
        case kCdata:
            if (unit == '>' && scanner->matched == 2)
                enter(scanner, kText);
            else
                match_row(scanner, unit, ']');
            return true;
        case kDeclaration:
            if (scanner->quote != 0) {
                if (unit == scanner->quote)
                    scanner->quote = 0;
            } else if (unit == '"' || unit == '\'') {
                scanner->quote = unit;
            } else if (unit == '>') {
                enter(scanner, kText);
            } else if (unit == '[' && scanner->is_in_subset == 0) {
                scanner->is_in_subset = 1;
                enter(scanner, kText);
            }
            return true;
        default:  // kText
            if (unit == '<') {
                enter(scanner, kOpen);
            } else if (unit == ']' && scanner->is_in_subset != 0) {
                scanner->is_in_subset = 0;
                enter(scanner, kDeclaration);
            }
            return true;
    }
}

template <SourceForm kForm>
bool scan_units(ScannerState *scanner, const char *bytes, size_t count) {
    using U = Units<kForm>;
    bool is_error = false;
    for (size_t i = 0; i < count;) {
        // Only the end of what has ">" as its last unit can close these.
        if ((scanner->mode == kComment || scanner->mode == kInstruction ||
             scanner->mode == kCdata) &&
            count - i > 3) {
            i = count - 3;
            scanner->matched = 0;
        } else if (scanner->mode == kText && scanner->is_in_subset == 0) {
            i = U::find(bytes, i, count, '<');
            if (i == count)
                break;
        }
        is_error = !step(scanner, U::at(bytes, i++)) || is_error;
    }
    return is_error || scanner->mode == kText || scanner->mode == kCdata;
}

}  // namespace

size_t find_greater_than(SourceForm form, const char *bytes, size_t size) {
    const size_t width = unit_size(form);
    const size_t count = size / width;
    const auto find = [&] {
        switch (form) {
            case SourceForm::kLittleUnits:
                return Units<SourceForm::kLittleUnits>::find(bytes, 0, count, '>');
            case SourceForm::kBigUnits:
                return Units<SourceForm::kBigUnits>::find(bytes, 0, count, '>');
            default:
                return Units<SourceForm::kBytes>::find(bytes, 0, count, '>');
        }
    };
    const size_t found = find();
    return found == count ? 0 : (found + 1) * width;
}

size_t find_last_greater_than(SourceForm form, const char *bytes, size_t size) {
    switch (form) {
        case SourceForm::kLittleUnits:
            return Units<SourceForm::kLittleUnits>::find_last(bytes, size / 2, '>') * 2;
        case SourceForm::kBigUnits:
            return Units<SourceForm::kBigUnits>::find_last(bytes, size / 2, '>') * 2;
        default:
            return Units<SourceForm::kBytes>::find_last(bytes, size, '>');
    }
}

bool scan(ScannerState *scanner, SourceForm form, const char *bytes, size_t size) {
    switch (form) {
        case SourceForm::kLittleUnits:
            return scan_units<SourceForm::kLittleUnits>(scanner, bytes, size / 2);
        case SourceForm::kBigUnits:
            return scan_units<SourceForm::kBigUnits>(scanner, bytes, size / 2);
        default:
            return scan_units<SourceForm::kBytes>(scanner, bytes, size);
    }
}

}  // namespace fsi::xml
