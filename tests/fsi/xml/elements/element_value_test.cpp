// SPDX-License-Identifier: MIT
//
// Values of every length, set and read from a document, beside children that come and
// go: where a value stands depends on all that, what it is on nothing of it.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "host/memory.h"
#include "tests/fsi/xml/elements/element_fixture.h"

namespace {

using elements::value;

std::string digits(size_t length, size_t from = 0) {
    std::string text;
    for (size_t i = 0; i < length; i++)
        text.push_back(static_cast<char>('0' + (from + i) % 10));
    return text;
}

// An element that was read with this value, the top element of a document of its own.
ZHandle read_with_value(const std::string &text) {
    const std::string document = "<?xml version='1.0'?><e>" + text + "</e>";
    const ZHandle parser = ZxmlParser_new(document.c_str(), ZXML_READ_USUAL | ZXML_WHOLE, -1);
    return ZxmlParser_top_element(parser);
}

// Makes an element with this value, or reads one.
ZHandle with_value(const std::string &text, bool is_read) {
    if (is_read && !text.empty())
        return read_with_value(text);
    const ZHandle element = ZxmlElem_new(0, "e", -1, 0);
    EXPECT_EQ(ZxmlElem_append_value(element, text.data(), static_cast<int32_t>(text.size()), 1), 1);
    return element;
}

void give_up(ZHandle element) {
    const ZHandle parser = ZxmlParser_of_element(element);
    if (parser != 0)
        EXPECT_EQ(ZxmlParser_release(parser), 1);
    else
        EXPECT_EQ(ZxmlElem_delete(element), 1);
}

TEST(Values, OfEveryLengthAreExtendedToEveryLength) {
    for (size_t first = 0; first <= 40; first++) {
        for (size_t more = 0; more <= 20; more++) {
            const bool is_read = (first + more) % 2 == 0;
            SCOPED_TRACE(std::to_string(first) + " and " + std::to_string(more));
            const std::string text = digits(first);
            const std::string rest = digits(more, first);
            const ZHandle element = with_value(text, is_read);
            EXPECT_EQ(value(element), text);
            ASSERT_EQ(ZxmlElem_append_value(element, rest.data(), static_cast<int32_t>(more), 1),
                      1);
            EXPECT_EQ(value(element), text + rest);
            give_up(element);
        }
    }
}

TEST(Values, OfEveryLengthAreReplacedAndCut) {
    for (size_t first = 0; first <= 40; first++) {
        for (size_t second = 0; second <= 40; second++) {
            SCOPED_TRACE(std::to_string(first) + " then " + std::to_string(second));
            const std::string text = digits(first);
            const ZHandle element = with_value(text, (first + second) % 2 == 0);
            // One that differs in its first character replaces; the beginning of what is
            // there cuts.
            const std::string other = digits(second, 1);
            const std::string part = digits(std::min(first, second));
            ASSERT_EQ(ZxmlElem_set_value(element, other.data(), static_cast<int32_t>(second)), 1);
            EXPECT_EQ(value(element), other);
            ASSERT_EQ(ZxmlElem_set_value(element, text.data(), static_cast<int32_t>(first)), 1);
            EXPECT_EQ(value(element), text);
            ASSERT_EQ(ZxmlElem_set_value(element, part.data(), static_cast<int32_t>(part.size())),
                      1);
            EXPECT_EQ(value(element), part);
            give_up(element);
        }
    }
}

// Programs count on it: what cannot be stored is told of.
TEST(Values, ThatAreSetNeedMemory) {
    const ZHandle element = ZxmlElem_new(0, "element", -1, 0);
    for (const auto set : {+[](ZHandle e) { return ZxmlElem_set_value(e, "x", 1); },
                           +[](ZHandle e) { return ZxmlElem_append_value(e, "x", 1, 0); }}) {
        elements::forget_error();
        ZMemoryRefuse(1, -1);
        EXPECT_EQ(set(element), 0);
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(elements::error(), ZXML_NO_MEMORY);
        EXPECT_EQ(value(element), elements::kAbsent);
    }
    give_up(element);
}

TEST(Values, StayWhatTheyAreWhileChildrenComeAndGo) {
    std::mt19937 random(20261122);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    for (int round = 0; round < 200; round++) {
        SCOPED_TRACE(round);
        std::string expected = digits(below(12));
        const ZHandle element = with_value(expected, round % 2 == 0);
        int children = 0;
        int32_t attributes = 0;
        for (int step = 0; step < 40; step++) {
            const std::string text = digits(below(12), below(10));
            const auto length = static_cast<int32_t>(text.size());
            switch (below(5)) {
                case 0:
                    ASSERT_EQ(ZxmlElem_append_value(element, text.data(), length, 1), 1);
                    expected += text;
                    break;
                case 1:
                    ASSERT_EQ(ZxmlElem_set_value(element, text.data(), length), 1);
                    expected = text;
                    break;
                case 2:
                    ASSERT_NE(ZxmlElem_new(element, "c", -1, ZxmlElem_first_child(element)), 0U);
                    children++;
                    break;
                case 3:
                    if (children > 0) {
                        ASSERT_EQ(ZxmlElem_delete(ZxmlElem_first_child(element)), 1);
                        children--;
                    }
                    break;
                default:
                    attributes++;
                    ASSERT_EQ(ZxmlElem_add_attribute(element, "a", 1, text.data(), length),
                              attributes);
            }
            ASSERT_EQ(value(element), expected);
        }
        give_up(element);
    }
    EXPECT_EQ(ZMemoryBlocks("XML Character data"), 0U);
    EXPECT_EQ(ZMemoryBlocks("XML element extras"), 0U);
}

// A first child moves a value out of its place: refused, nothing has changed.
TEST(Values, AreLeftAloneByAChildThatCannotBeMade) {
    for (const size_t length : {0, 1, 3, 4, 7, 8, 30}) {
        SCOPED_TRACE(length);
        const std::string text = digits(length);
        const ZHandle element = with_value(text, length % 2 != 0);
        int refused = 0;
        for (int n = 1;; n++) {
            ZMemoryRefuse(n, 1);
            const ZHandle child = ZxmlElem_new(element, "c", -1, 0);
            const bool was_refused = ZMemoryRefused() != 0;
            ZMemoryRefuse(0, 0);
            EXPECT_EQ(value(element), text);
            EXPECT_EQ(ZxmlElem_first_child(element), child);
            if (!was_refused)
                break;
            EXPECT_EQ(child, 0U);
            refused++;
        }
        EXPECT_GE(refused, 2);
        give_up(element);
    }
    EXPECT_EQ(ZMemoryBlocks("XML Character data"), 0U);
}

}  // namespace
