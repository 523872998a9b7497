// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/mentioned_names.h"

#include <gtest/gtest.h>

#include <string>

#include "wbfsi/build.h"

namespace {

using fsi::MentionedNames;

constexpr XfdCvtInfo kSettings = {0, 40, 25, 11, '.', ',', 0};

class Mentioned : public testing::Test {
 protected:
    Mentioned() : xfd_(Z4AllocXFD("f", "f", nullptr, 9, 9, &kSettings, XFD_INDEXED, 0, 0, 0)) {
        const uint16_t lengths[16] = {1};
        const uint32_t offsets[16] = {0};
        for (const char *name : {"id", "both"}) {
            const int key = Z4AddXFDKey(xfd_, 1, 0, lengths, offsets, 1);
            Z4AddXFDKeyColumn(xfd_, static_cast<uint16_t>(key - 1), -1, name);
        }
        Z4XFDAddCondition(xfd_, XFD_COND_EQ, "both", "1", "", -1, -1, 0);
        Z4XFDAddCondition(xfd_, XFD_COND_AND, "unused", "", "", 1, 1, 0);
        Z4XFDAddCondition(xfd_, XFD_COND_OTHER, "kind", "", "", -1, -1, 0);
    }
    ~Mentioned() override { Z4XFDFree(xfd_); }

    Xfd *xfd_;
};

TEST_F(Mentioned, FieldsAreFoundByKeysAndConditions) {
    MentionedNames names;
    EXPECT_TRUE(names.empty());
    ASSERT_TRUE(names.collect(xfd_));
    EXPECT_FALSE(names.empty());

    EXPECT_TRUE(names.note_field("id", 0, 0));
    EXPECT_FALSE(names.note_field("kind", 1, XFD_LISTED_ONLY));
    EXPECT_FALSE(names.note_field("kind", 2, 0));
    EXPECT_FALSE(names.note_field("kind", 3, 0));
    EXPECT_TRUE(names.note_field("both", 4, 1));
    EXPECT_TRUE(names.note_field("both", 5, 1));
    EXPECT_FALSE(names.note_field("unused", 6, 0));
    EXPECT_FALSE(names.note_field("ID", 7, 0));

    EXPECT_EQ(names.key_field("id"), 0);
    EXPECT_EQ(names.key_field("both"), 5);
    EXPECT_EQ(names.key_field("stranger"), -1);
    EXPECT_EQ(names.condition_field("both"), 4);
    EXPECT_EQ(names.condition_field("kind"), 2);
    EXPECT_EQ(names.condition_field("stranger"), -1);
    names.clear();
    EXPECT_TRUE(names.empty());
    EXPECT_FALSE(names.note_field("id", 0, 0));
}

TEST_F(Mentioned, NothingIsMentionedByAnEmptyDictionary) {
    const Xfd empty = {};
    MentionedNames names;
    ASSERT_TRUE(names.collect(&empty));
    EXPECT_TRUE(names.empty());
    EXPECT_FALSE(names.note_field("id", 0, 0));
    EXPECT_EQ(names.key_field("id"), -1);
}

}  // namespace
