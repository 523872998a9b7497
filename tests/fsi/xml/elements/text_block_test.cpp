// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/text_block.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using fsi::xml::append_text;
using fsi::xml::assign_text;
using fsi::xml::cut_text;
using fsi::xml::free_text;
using fsi::xml::make_text;
using fsi::xml::text_of;
using fsi::xml::TextBlock;

constexpr const char *kTag = "text";

TEST(TextBlocks, HoldTextsOfAnyLength) {
    for (size_t length = 0; length <= 100; length++) {
        const std::string text(length, 'x');
        TextBlock *block = make_text(text, kTag);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->view(), text);
        EXPECT_EQ(block->text()[length], '\0');
        free_text(block);
    }
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

TEST(TextBlocks, AreAbsentWithoutOne) {
    EXPECT_EQ(text_of(nullptr), "");
    TextBlock *block = nullptr;
    EXPECT_TRUE(append_text(&block, "", kTag));
    EXPECT_NE(block, nullptr) << "empty is not absent";
    EXPECT_EQ(text_of(block), "");
    free_text(block);
}

TEST(TextBlocks, AppendInFewSteps) {
    TextBlock *block = nullptr;
    std::string expected;
    size_t in_use = 0;
    int moves = 0;
    for (int i = 0; i < 100000; i++) {
        ASSERT_TRUE(append_text(&block, "ab", kTag));
        moves += ZMemoryInUse(kTag) != in_use ? 1 : 0;
        in_use = ZMemoryInUse(kTag);
        expected += "ab";
    }
    EXPECT_EQ(text_of(block), expected);
    EXPECT_LT(moves, 60) << "each step is a quarter of a power of two";
    EXPECT_LE(in_use, expected.size() / 4 * 5 + 64);
    free_text(block);
}

TEST(TextBlocks, AssignAndCut) {
    TextBlock *block = nullptr;
    for (const std::string text : {"first", "a much longer text than the first one was", "", "x"}) {
        EXPECT_TRUE(assign_text(&block, text, kTag));
        EXPECT_EQ(text_of(block), text);
        EXPECT_EQ(block->text()[text.size()], '\0');
    }
    EXPECT_TRUE(assign_text(&block, "abcdef", kTag));
    cut_text(block, 6);
    EXPECT_EQ(text_of(block), "abcdef");
    cut_text(block, 2);
    EXPECT_STREQ(block->text(), "ab");
    cut_text(block, 0);
    EXPECT_EQ(text_of(block), "");
    EXPECT_TRUE(append_text(&block, "and more again, past what was cut off", kTag));
    EXPECT_EQ(text_of(block), "and more again, past what was cut off");
    free_text(block);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

TEST(TextBlocks, StayWithoutMemory) {
    TextBlock *block = make_text("kept", kTag);
    const std::string longer(100, 'x');
    ZMemoryRefuse(1, -1);
    EXPECT_FALSE(append_text(&block, longer, kTag));
    EXPECT_FALSE(assign_text(&block, longer, kTag));
    EXPECT_EQ(make_text("x", kTag), nullptr);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(text_of(block), "kept");
    EXPECT_TRUE(append_text(&block, longer, kTag));
    EXPECT_EQ(text_of(block), "kept" + longer);
    free_text(block);
}

// What would pass 2 GiB is refused before anything is read or allocated.
TEST(TextBlocks, EndBelowTwoGigabytes) {
    TextBlock *block = make_text("kept", kTag);
    const char *const bytes = "not so many bytes";
    for (const size_t length : {size_t{INT32_MAX}, size_t{INT32_MAX} - 66, SIZE_MAX}) {
        SCOPED_TRACE(length);
        const size_t in_use = ZMemoryInUse(nullptr);
        TextBlock *fresh = nullptr;
        if (length != size_t{INT32_MAX} - 66) {
            EXPECT_FALSE(append_text(&fresh, {bytes, length}, kTag));
        }
        EXPECT_FALSE(append_text(&block, {bytes, length}, kTag));
        EXPECT_EQ(ZMemoryInUse(nullptr), in_use);
        EXPECT_EQ(text_of(block), "kept");
    }
    free_text(block);
}

}  // namespace
