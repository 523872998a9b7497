// SPDX-License-Identifier: MIT
#include "tool/xml_excerpt.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "tool/columns.h"

namespace tool {

namespace {

constexpr size_t kWidthBefore = 48;
constexpr size_t kWidthAfter = 26;
constexpr const char *kIndent = "  ";
constexpr const char *kCut = "...";

struct Character {
    int32_t code_point;  // -1: bytes that are no text
    size_t size;         // bytes, at least 1
};

void append_utf8(std::string &text, uint32_t code_point) {
    const auto put = [&](uint32_t byte) { text += static_cast<char>(byte); };
    if (code_point < 0x80) {
        put(code_point);
    } else if (code_point < 0x800) {
        put(0xC0 | code_point >> 6);
        put(0x80 | (code_point & 0x3F));
    } else if (code_point < 0x10000) {
        put(0xE0 | code_point >> 12);
        put(0x80 | (code_point >> 6 & 0x3F));
        put(0x80 | (code_point & 0x3F));
    } else {
        put(0xF0 | code_point >> 18);
        put(0x80 | (code_point >> 12 & 0x3F));
        put(0x80 | (code_point >> 6 & 0x3F));
        put(0x80 | (code_point & 0x3F));
    }
}

// Controls, and what moves, turns or hides the text around it.
bool is_hidden(uint32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0xAD || (c >= 0x200B && c <= 0x200F) ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF ||
           (c >= 0xE0000 && c <= 0xE0FFF);
}

size_t unit_size(XmlTextForm form) {
    return form.unit == XmlTextForm::kBytes ? 1 : 2;
}

uint32_t unit_at(std::string_view text, size_t i, XmlTextForm form) {
    const auto byte = [&](size_t at) { return uint32_t{static_cast<unsigned char>(text[at])}; };
    switch (form.unit) {
        case XmlTextForm::kLittleUnits:
            return byte(i) | byte(i + 1) << 8;
        case XmlTextForm::kBigUnits:
            return byte(i) << 8 | byte(i + 1);
        default:
            return byte(i);
    }
}

Character wide_character(std::string_view text, size_t i, XmlTextForm form) {
    if (text.size() - i < 2) {
        return {-1, 1};
    }
    const uint32_t unit = unit_at(text, i, form);
    if (unit < 0xD800 || unit > 0xDFFF) {
        return {static_cast<int32_t>(unit), 2};
    }
    if (unit > 0xDBFF || text.size() - i < 4) {
        return {-1, 2};
    }
    const uint32_t low = unit_at(text, i + 2, form);
    if (low < 0xDC00 || low > 0xDFFF) {
        return {-1, 2};
    }
    return {static_cast<int32_t>(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00)), 4};
}

Character character_at(std::string_view text, size_t i, XmlTextForm form) {
    if (form.unit != XmlTextForm::kBytes) {
        return wide_character(text, i, form);
    }
    if (form.codes != nullptr) {
        return {(*form.codes)[static_cast<unsigned char>(text[i])], 1};
    }
    const Utf8Character found = utf8_character(text.substr(i));
    return {found.code_point, found.size};
}

std::string shown(std::string_view text, size_t i, const Character &character) {
    std::string result;
    if (character.code_point >= 0) {
        append_shown(result, static_cast<uint32_t>(character.code_point));
        return result;
    }
    for (size_t k = 0; k < character.size; k++) {
        char number[8];
        snprintf(number, sizeof number, "\\x%02X", static_cast<unsigned char>(text[i + k]));
        result += number;
    }
    return result;
}

bool is_newline(uint32_t unit) {
    return unit == '\n' || unit == '\r';
}

// Where the line of `place` begins, or where what is known of it does.
size_t start_of_line(std::string_view text, size_t place, XmlTextForm form) {
    // More than is shown of the longest characters.
    constexpr size_t kFarthest = 4 * kWidthBefore;
    const size_t step = unit_size(form);
    size_t start = place;
    while (start >= step && place - start < kFarthest &&
           !is_newline(unit_at(text, start - step, form))) {
        start -= step;
    }
    // Not in the midst of a character.
    const auto is_inside = [&](size_t i) {
        if (step == 2) {
            const uint32_t unit = i + 1 < text.size() ? unit_at(text, i, form) : 0;
            return unit >= 0xDC00 && unit <= 0xDFFF;
        }
        return form.codes == nullptr && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
    };
    const size_t limit = std::min(place, start + 3);
    while (start < limit && is_inside(start)) {
        start += step;
    }
    return std::min(start, place);
}

// What is shown of the line up to the place.
std::string shown_before(std::string_view text, size_t place, uint64_t column, XmlTextForm form) {
    std::vector<std::string> characters;
    const std::string_view known = text.substr(0, place);
    for (size_t i = start_of_line(text, place, form); i < place;) {
        const Character character = character_at(known, i, form);
        characters.push_back(shown(known, i, character));
        i += character.size;
    }
    size_t first = characters.size();
    size_t width = 0;
    while (first > 0) {
        const size_t more = display_width(characters[first - 1]);
        if (width + more > kWidthBefore) {
            break;
        }
        width += more;
        first--;
    }
    std::string result = first > 0 || characters.size() + 1 < column ? kCut : "";
    for (size_t i = first; i < characters.size(); i++) {
        result += characters[i];
    }
    return result;
}

std::string shown_behind(std::string_view text, size_t place, XmlTextForm form) {
    constexpr size_t kMostBytes = 8 * kWidthAfter;
    std::string result;
    size_t width = 0;
    for (size_t i = place; i < text.size();) {
        const Character character = character_at(text, i, form);
        if (character.code_point >= 0 && is_newline(static_cast<uint32_t>(character.code_point))) {
            return result;
        }
        const std::string one = shown(text, i, character);
        width += display_width(one);
        // Of characters without a width, too, not all are shown.
        if (width > kWidthAfter || result.size() > kMostBytes) {
            return result + kCut;
        }
        result += one;
        i += character.size;
    }
    return result;
}

}  // namespace

Utf8Character utf8_character(std::string_view text) {
    const auto byte = [&](size_t at) { return uint32_t{static_cast<unsigned char>(text[at])}; };
    const uint32_t lead = byte(0);
    if (lead < 0x80) {
        return {static_cast<int32_t>(lead), 1};
    }
    const size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < size) {
        return {-1, 1};
    }
    uint32_t code_point = lead & (0xFFU >> (size + 1));
    for (size_t k = 1; k < size; k++) {
        if ((byte(k) & 0xC0) != 0x80) {
            return {-1, 1};
        }
        code_point = code_point << 6 | (byte(k) & 0x3F);
    }
    constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code_point < kLeast[size] || code_point > 0x10FFFF ||
        (code_point >= 0xD800 && code_point <= 0xDFFF)) {
        return {-1, 1};
    }
    return {static_cast<int32_t>(code_point), size};
}

std::string utf8_text(std::string_view text, XmlTextForm form) {
    std::string result;
    for (size_t i = 0; i < text.size();) {
        const Character character = character_at(text, i, form);
        append_utf8(result,
                    character.code_point < 0 ? '?' : static_cast<uint32_t>(character.code_point));
        i += character.size;
    }
    return result;
}

void append_shown(std::string &text, uint32_t code_point) {
    if (code_point == '\t') {
        text += ' ';
    } else if (is_hidden(code_point)) {
        char number[16];
        snprintf(number, sizeof number, code_point < 0x100 ? "\\x%02X" : "\\u%04X",
                 static_cast<unsigned>(code_point));
        text += number;
    } else {
        append_utf8(text, code_point);
    }
}

std::string xml_excerpt(std::string_view text, size_t place, uint64_t column, XmlTextForm form) {
    place = std::min(place, text.size());
    const std::string before = shown_before(text, place, column, form);
    const std::string line = before + shown_behind(text, place, form);
    if (line.find_first_not_of(' ') == std::string::npos) {
        return "";
    }
    return kIndent + line + '\n' + kIndent + std::string(display_width(before), ' ') + "^\n";
}

}  // namespace tool
