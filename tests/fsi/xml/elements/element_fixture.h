// SPDX-License-Identifier: MIT
//
// What the tests of elements share: the error that a call leaves, texts by the two
// calls of a getter, a tree as one line of text, and handles that are no elements.
#ifndef TESTS_FSI_XML_ELEMENTS_ELEMENT_FIXTURE_H
#define TESTS_FSI_XML_ELEMENTS_ELEMENT_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fsi/xml/elements/errors.h"
#include "host/handles.h"
#include "host/values.h"
#include "wbfsi/xml_element.h"
#include "wbfsi/xml_parser.h"

namespace elements {

// A number that no call leaves, so that a call that sets none is seen.
constexpr int32_t kUntouched = -77;

inline void forget_error() {
    fsi::xml::element_error = kUntouched;
}

// The number since forget_error.
inline int32_t error() {
    int32_t number = 0;
    ZxmlElem_error(&number);
    return number;
}

constexpr const char *kAbsent = "(none)";

// A text by the two calls; checks that they agree, that the text is terminated and
// that nothing is written behind it.
template <typename Getter>
std::string fetched(Getter getter) {
    const int32_t length = getter(nullptr, 0);
    if (length < 0)
        return kAbsent;
    std::string buffer(static_cast<size_t>(length) + 2, '#');
    EXPECT_EQ(getter(buffer.data(), length + 1), length);
    EXPECT_EQ(buffer[static_cast<size_t>(length)], '\0');
    EXPECT_EQ(buffer[static_cast<size_t>(length) + 1], '#');
    return buffer.substr(0, static_cast<size_t>(length));
}

inline std::string name(ZHandle element) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_name(element, b, n); });
}
inline std::string value(ZHandle element) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_value(element, b, n); });
}
inline std::string comment(ZHandle element) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_get_comment(element, b, n); });
}
inline std::string attribute_name(ZHandle element, uint32_t i) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_attribute_name(element, i, b, n); });
}
inline std::string attribute_value(ZHandle element, uint32_t i) {
    return fetched([&](char *b, int32_t n) { return ZxmlElem_attribute_value(element, i, b, n); });
}

// "0:2,1" for array depth 1 with the indices 2 and 1; "-" for -1.
inline std::string indices(ZHandle element) {
    const int32_t depth = ZxmlElem_array_depth(element);
    std::string text = depth < 0 ? "-" : "";
    for (int32_t i = 0; i <= depth; i++)
        text.append(i == 0 ? "" : ",").append(std::to_string(ZxmlElem_array_index(element, i)));
    return text;
}

// name(indices)=value{name=value;...}!comment[child child], absent parts left out.
// Leaves the error as it was.
inline std::string tree(ZHandle element) {
    const int32_t kept = fsi::xml::element_error;
    std::string text = name(element);
    if (ZxmlElem_array_depth(element) >= 0)
        text.append("(").append(indices(element)).append(")");
    if (const std::string is = value(element); is != kAbsent)
        text.append("=").append(is);
    forget_error();
    const int32_t count = ZxmlElem_attribute_count(element);
    if (error() != ZXML_NO_ATTRIBUTES) {
        text += "{";
        for (uint32_t i = 0; i < static_cast<uint32_t>(count); i++)
            text.append(attribute_name(element, i))
                .append("=")
                .append(attribute_value(element, i))
                .append(";");
        text += "}";
    }
    if (const std::string is = comment(element); is != kAbsent)
        text.append("!").append(is);
    if (ZHandle child = ZxmlElem_first_child(element); child != 0) {
        text += "[";
        ZHandle previous = 0;
        for (; child != 0; child = ZxmlElem_next_sibling(child)) {
            EXPECT_EQ(ZxmlElem_parent(child), element);
            EXPECT_EQ(ZxmlElem_prev_sibling(child), previous);
            text.append(previous != 0 ? " " : "").append(tree(child));
            previous = child;
        }
        text += "]";
    }
    fsi::xml::element_error = kept;
    return text;
}

// An element that goes with its scope.
class Tree {
 public:
    explicit Tree(const char *name = "top") : top_(ZxmlElem_new(0, name, -1, 0)) {}
    ~Tree() {
        if (ZxmlElem_is_element(top_) != 0)
            ZxmlElem_delete(top_);
    }
    Tree(const Tree &) = delete;
    Tree &operator=(const Tree &) = delete;

    operator ZHandle() const { return top_; }

 private:
    ZHandle top_;
};

// Handles that are no elements, of each kind there is.
class BadHandles {
 public:
    struct Row {
        const char *what;
        ZHandle handle;
    };

    BadHandles() : line_(Zcds_new("a b")), parser_(ZxmlParser_new(nullptr, 0, 0)) {
        const ZHandle dead = ZxmlElem_new(0, "dead", -1, 0);
        const ZHandle child = ZxmlElem_add_child(dead, "child", -1);
        ZxmlElem_delete(dead);
        rows = {{"none", 0},
                {"no handle", 0xFFFFFFFF},
                {"never given out", 0x00ABCDEF},
                {"a deleted element", dead},
                {"a child of it", child},
                {"a split line", line_},
                {"a parser", parser_}};
    }
    ~BadHandles() {
        H_FREE(line_);
        ZxmlParser_release(parser_);
    }
    BadHandles(const BadHandles &) = delete;
    BadHandles &operator=(const BadHandles &) = delete;

    std::vector<Row> rows;

 private:
    ZHandle line_;
    ZHandle parser_;
};

}  // namespace elements

#endif
