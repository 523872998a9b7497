// SPDX-License-Identifier: MIT
//
// The exported functions for names, values, attributes and comments.
#include <algorithm>
#include <cstring>

#include "fsi/xml/elements/element.h"
#include "fsi/xml/elements/scratch.h"
#include "fsi/xml/elements/wall.h"
#include "host/charset.h"
#include "wbfsi/xml_element.h"

using namespace fsi::xml;

namespace {

int out_of_memory() {
    element_error = ZXML_NO_MEMORY;
    return 0;
}

// ASCII alone, whatever locale the process has set.
constexpr unsigned char folded(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c - 'A' + 'a') : c;
}

// As strcmp, strncmp and their siblings without case; n negative: all.  A null text is
// empty.
int compare(std::string_view stored, const char *text, uint8_t ignore_case, int32_t n) {
    if (text == nullptr)
        text = "";
    const size_t most = n < 0 ? SIZE_MAX : static_cast<size_t>(n);
    for (size_t i = 0; i < most; i++) {
        auto a = static_cast<unsigned char>(i < stored.size() ? stored[i] : '\0');
        auto b = static_cast<unsigned char>(text[i]);
        if (ignore_case != 0) {
            a = folded(a);
            b = folded(b);
        }
        if (a != b)
            return a < b ? -1 : 1;
        if (a == '\0')
            return 0;
    }
    return 0;
}

// As strtol with base 10 reads 32 bits, the same in both widths.
int32_t leading_number(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && is_blank(text[i]))
        i++;
    const bool is_negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        i++;
    const int64_t limit = is_negative ? int64_t{INT32_MAX} + 1 : INT32_MAX;
    int64_t number = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; i++)
        number = std::min(number * 10 + (text[i] - '0'), limit);
    return static_cast<int32_t>(is_negative ? -number : number);
}

Attribute *attribute(const Element &element, uint32_t number) {
    const auto attributes = attributes_of(element);
    return number < attributes.size() ? &attributes[number] : nullptr;
}

// The attribute, or null with error 7, or with 6 for a bad handle.
Attribute *require_attribute(ZHandle handle, uint32_t number) {
    const Element *element = require_element(handle);
    if (element == nullptr)
        return nullptr;
    Attribute *found = attribute(*element, number);
    if (found == nullptr)
        element_error = ZXML_BAD_ATTRIBUTE;
    return found;
}

// The same for the comparisons, which keep a number out of range to themselves.
Attribute *quiet_attribute(ZHandle handle, uint32_t number) {
    const Element *element = require_element(handle);
    return element == nullptr ? nullptr : attribute(*element, number);
}

}  // namespace

int32_t ZxmlElem_name(ZHandle handle, char *buffer, int32_t size) {
    const Element *element = require_element(handle);
    return element == nullptr ? -1 : fetch(element->name->view(), buffer, size);
}

int ZxmlElem_name_compare(ZHandle handle, const char *text, uint8_t ignore_case, int32_t n) {
    const Element *element = require_element(handle);
    return element == nullptr ? -1 : compare(element->name->view(), text, ignore_case, n);
}

int32_t ZxmlElem_value(ZHandle handle, char *buffer, int32_t size) {
    const Element *element = require_element(handle);
    if (element == nullptr)
        return -1;
    if (!element->has_value()) {
        element_error = ZXML_NO_VALUE;
        return -1;
    }
    return fetch(element->value(), buffer, size);
}

int32_t ZxmlElem_value_i(ZHandle handle) {
    const Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    if (!element->has_value()) {
        element_error = ZXML_NO_VALUE;
        return 0;
    }
    return leading_number(element->value());
}

int ZxmlElem_value_compare(ZHandle handle, const char *text, uint8_t ignore_case, int32_t n) {
    const Element *element = require_element(handle);
    return element == nullptr ? -1 : compare(element->value(), text, ignore_case, n);
}

int ZxmlElem_set_value(ZHandle handle, const char *text, int32_t length) {
    Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    if (text == nullptr) {
        text = "<null>";
        length = 6;
    }
    const auto converted = to_utf8(text, length);
    if (!converted)
        return out_of_memory();
    const std::string_view stored = element->value();
    if (element->has_value() && !stored.starts_with(*converted))
        return assign_value(element, *converted) ? 1 : out_of_memory();
    if (!element->has_value()) {
        if (!append_to_value(element, *converted))
            return out_of_memory();
        // Made empty first: what is empty begins with an empty text.
        return length < 0 && converted->empty() ? 0 : 1;
    }
    if (length < 0)
        return 0;  // stands for more than any length
    cut_value(element, converted->size());
    return 1;
}

int ZxmlElem_append_value(ZHandle handle, const char *text, int32_t length, uint8_t keep_blanks) {
    Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    const auto converted = to_utf8(text, length);
    return converted && append_value(element, *converted, keep_blanks != 0) ? 1 : out_of_memory();
}

int32_t ZxmlElem_attribute_count(ZHandle handle) {
    const Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    const Attributes *attributes = element->attributes();
    if (attributes == nullptr) {
        element_error = ZXML_NO_ATTRIBUTES;
        return 0;
    }
    return static_cast<int32_t>(attributes->count);
}

int32_t ZxmlElem_attribute_name(ZHandle handle, uint32_t number, char *buffer, int32_t size) {
    const Attribute *found = require_attribute(handle, number);
    return found == nullptr ? -1 : fetch(found->name->view(), buffer, size);
}

int32_t ZxmlElem_attribute_value(ZHandle handle, uint32_t number, char *buffer, int32_t size) {
    const Attribute *found = require_attribute(handle, number);
    return found == nullptr ? -1 : fetch(found->value->view(), buffer, size);
}

int32_t ZxmlElem_attribute_value_i(ZHandle handle, uint32_t number) {
    if (require_element(handle) == nullptr)
        return -1;
    const Attribute *found = require_attribute(handle, number);
    return found == nullptr ? 0 : leading_number(found->value->view());
}

int ZxmlElem_attribute_name_compare(ZHandle handle, uint32_t number, const char *text,
                                    uint8_t ignore_case, int32_t n) {
    const Attribute *found = quiet_attribute(handle, number);
    return found == nullptr ? -1 : compare(found->name->view(), text, ignore_case, n);
}

int ZxmlElem_attribute_value_compare(ZHandle handle, uint32_t number, const char *text,
                                     uint8_t ignore_case, int32_t n) {
    const Attribute *found = quiet_attribute(handle, number);
    return found == nullptr ? -1 : compare(found->value->view(), text, ignore_case, n);
}

int32_t ZxmlElem_add_attribute(ZHandle handle, const char *name, int32_t name_length,
                               const char *value, int32_t value_length) {
    Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    // Name and value go through the one scratch buffer, so the name is held meanwhile.
    const auto name_text = to_utf8(name, name_length);
    Name *const held = name_text ? hold_name(*name_text) : nullptr;
    const auto value_text = held != nullptr ? to_utf8(value, value_length) : std::nullopt;
    if (!value_text) {
        release_name(held);
        return out_of_memory();
    }
    return add_attribute(element, held, *value_text)
               ? static_cast<int32_t>(attributes_of(*element).size())
               : out_of_memory();
}

int ZxmlElem_modify_attribute(ZHandle handle, uint32_t number, const char *value, int32_t length) {
    Attribute *found = quiet_attribute(handle, number);
    if (found == nullptr)
        return 0;
    const auto converted = to_utf8(value, length);
    return converted && assign_text(&found->value, *converted, "XML element attribute value")
               ? 1
               : out_of_memory();
}

int ZxmlElem_delete_attribute(ZHandle handle, uint32_t number) {
    if (require_attribute(handle, number) == nullptr)
        return 0;
    delete_attribute(find_element(handle), number);
    return 1;
}

int ZxmlElem_append_comment(ZHandle handle, const char *text, int32_t length) {
    Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    const auto converted = to_utf8(text, length);
    return converted && append_comment(element, *converted) ? 1 : out_of_memory();
}

int32_t ZxmlElem_get_comment(ZHandle handle, char *buffer, int32_t size) {
    const Element *element = require_element(handle);
    const TextBlock *comments = element == nullptr ? nullptr : element->comments();
    return comments == nullptr ? -1 : fetch(comments->view(), buffer, size);
}

int ZxmlElem_delete_comment(ZHandle handle) {
    Element *element = require_element(handle);
    if (element == nullptr)
        return 0;
    delete_comments(element);
    return 1;
}
