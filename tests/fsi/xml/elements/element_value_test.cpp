// SPDX-License-Identifier: MIT
//
// Values of every length, beside children that come and go: where a value stands
// depends on both, what it is depends on neither.
#include <gtest/gtest.h>

#include <optional>
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

TEST(Values, OfEveryLengthAreExtendedToEveryLength) {
    for (size_t first = 0; first <= 40; first++) {
        for (size_t more = 0; more <= 20; more++) {
            SCOPED_TRACE(std::to_string(first) + " and " + std::to_string(more));
            const ZHandle element = ZxmlElem_new(0, "e", -1, 0);
            const std::string text = digits(first);
            const std::string rest = digits(more, first);
            ASSERT_EQ(ZxmlElem_append_value(element, text.data(), static_cast<int32_t>(first), 1),
                      1);
            EXPECT_EQ(value(element), text);
            ASSERT_EQ(ZxmlElem_append_value(element, rest.data(), static_cast<int32_t>(more), 1),
                      1);
            EXPECT_EQ(value(element), text + rest);
            ASSERT_EQ(ZxmlElem_delete(element), 1);
        }
    }
}

TEST(Values, OfEveryLengthAreReplacedAndCut) {
    for (size_t first = 0; first <= 40; first++) {
        for (size_t second = 0; second <= 40; second++) {
            SCOPED_TRACE(std::to_string(first) + " then " + std::to_string(second));
            const ZHandle element = ZxmlElem_new(0, "e", -1, 0);
            const std::string text = digits(first);
            // One that differs in its first character replaces; the beginning of what is
            // there cuts.
            const std::string other = digits(second, 1);
            const std::string part = digits(std::min(first, second));
            ASSERT_EQ(ZxmlElem_set_value(element, text.data(), static_cast<int32_t>(first)), 1);
            ASSERT_EQ(ZxmlElem_set_value(element, other.data(), static_cast<int32_t>(second)), 1);
            EXPECT_EQ(value(element), other);
            ASSERT_EQ(ZxmlElem_set_value(element, text.data(), static_cast<int32_t>(first)), 1);
            EXPECT_EQ(value(element), text);
            ASSERT_EQ(ZxmlElem_set_value(element, part.data(), static_cast<int32_t>(part.size())),
                      1);
            EXPECT_EQ(value(element), part);
            ASSERT_EQ(ZxmlElem_delete(element), 1);
        }
    }
}

TEST(Values, StayWhatTheyAreWhileChildrenComeAndGo) {
    std::mt19937 random(20261122);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    for (int round = 0; round < 200; round++) {
        SCOPED_TRACE(round);
        const ZHandle element = ZxmlElem_new(0, "e", -1, 0);
        std::optional<std::string> expected;
        int children = 0;
        int32_t attributes = 0;
        for (int step = 0; step < 40; step++) {
            const std::string text = digits(below(12), below(10));
            const auto length = static_cast<int32_t>(text.size());
            switch (below(5)) {
                case 0:
                    ASSERT_EQ(ZxmlElem_append_value(element, text.data(), length, 1), 1);
                    expected = expected.value_or("") + text;
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
            ASSERT_EQ(value(element), expected.value_or(elements::kAbsent));
        }
        ASSERT_EQ(ZxmlElem_delete(element), 1);
    }
    EXPECT_EQ(ZMemoryBlocks("XML Character data"), 0U);
    EXPECT_EQ(ZMemoryBlocks("XML element extras"), 0U);
}

// A first child moves a value out of its place: refused, nothing has changed.
TEST(Values, AreLeftAloneByAChildThatCannotBeMade) {
    for (const size_t length : {0, 1, 3, 4, 7, 8, 30}) {
        SCOPED_TRACE(length);
        const ZHandle element = ZxmlElem_new(0, "e", -1, 0);
        const std::string text = digits(length);
        ASSERT_EQ(ZxmlElem_append_value(element, text.data(), static_cast<int32_t>(length), 1), 1);
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
        EXPECT_EQ(ZxmlElem_delete(element), 1);
    }
    EXPECT_EQ(ZMemoryBlocks("XML Character data"), 0U);
}

}  // namespace
