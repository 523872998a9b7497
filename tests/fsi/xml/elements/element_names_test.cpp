// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fsi/xml/elements/names.h"
#include "host/memory.h"

namespace {

using fsi::xml::hold_name;
using fsi::xml::Name;
using fsi::xml::release_name;

TEST(Names, AreKeptOnce) {
    const size_t before = ZMemoryBlocks(nullptr);
    Name *one = hold_name("name");
    Name *again = hold_name(std::string("na") + "me");
    EXPECT_EQ(one, again);
    EXPECT_EQ(hold_name(one), one);
    EXPECT_EQ(one->holders, 3U);
    EXPECT_EQ(one->view(), "name");
    EXPECT_STREQ(one->text(), "name");
    EXPECT_EQ(ZMemoryBlocks("XML element name"), 1U);
    release_name(one);
    release_name(one);
    EXPECT_EQ(hold_name("name"), one) << "still held";
    release_name(one);
    release_name(one);
    release_name(nullptr);
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

// Every length up to several words, each differing from the others in one byte at any
// place: all are names of their own, and are found again.
TEST(Names, DifferInAnyByte) {
    const size_t before = ZMemoryBlocks(nullptr);
    std::vector<std::string> texts = {""};
    for (size_t length = 1; length <= 40; length++) {
        texts.emplace_back(length, 'a');
        for (size_t i = 0; i < length; i++)
            texts.emplace_back(length, 'a').at(i) = '\xE1';
    }
    std::vector<Name *> names;
    for (const std::string &text : texts)
        names.push_back(hold_name(text));
    for (size_t i = 0; i < texts.size(); i++) {
        SCOPED_TRACE(texts[i]);
        EXPECT_EQ(names[i]->view(), texts[i]);
        EXPECT_EQ(names[i]->holders, 1U);
        EXPECT_EQ(hold_name(texts[i]), names[i]);
    }
    for (Name *name : names) {
        release_name(name);
        release_name(name);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

// The hashes of a hundred thousand names that differ little fill the buckets as those of
// random numbers do: the fullest of as many buckets has about eight.
TEST(Names, SpreadEvenly) {
    constexpr size_t kBuckets = 1 << 17;
    for (const char *prefix : {"", "n", "element-", "a-rather-long-name-that-all-have-"}) {
        SCOPED_TRACE(prefix);
        std::vector<int> low(kBuckets), middle(kBuckets);
        for (int i = 0; i < 100000; i++) {
            Name *name = hold_name(std::string(prefix).append(std::to_string(i)));
            low[name->hash % kBuckets]++;
            middle[(name->hash >> 12) % kBuckets]++;
            release_name(name);
        }
        EXPECT_LT(*std::max_element(low.begin(), low.end()), 16);
        EXPECT_LT(*std::max_element(middle.begin(), middle.end()), 16);
    }
}

// The table grows, and goes when nobody holds a name any more; without memory for more
// buckets the names still are kept.
TEST(Names, AreKeptWhenTheTableCannotGrow) {
    const size_t before = ZMemoryBlocks(nullptr);
    for (const bool is_refused : {false, true}) {
        SCOPED_TRACE(is_refused);
        std::vector<Name *> names;
        for (int i = 0; i < 1000; i++) {
            const std::string text = std::to_string(i);
            if (is_refused)
                ZMemoryRefuse(2, -1);
            names.push_back(hold_name(text));
            ZMemoryRefuse(0, 0);
            ASSERT_NE(names.back(), nullptr);
        }
        EXPECT_EQ(ZMemoryBlocks("XML element name table"), is_refused ? 0U : 1U);
        for (int i = 0; i < 1000; i++) {
            EXPECT_EQ(hold_name(std::to_string(i)), names[static_cast<size_t>(i)]);
            release_name(names[static_cast<size_t>(i)]);
        }
        for (Name *name : names)
            release_name(name);
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
    }
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(hold_name("fresh"), nullptr);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

}  // namespace
