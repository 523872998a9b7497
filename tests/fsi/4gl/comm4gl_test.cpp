// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/errors.h"
#include "tests/fsi/sample_xfd.h"
#include "tests/fsi/spies.h"
#include "wbfsi/keys.h"

namespace {

using sample::XfdPointer;

// A key buffer with bytes behind it that nobody may touch.
struct KeyBuffer {
    char key[XFD_KEY_BUFFER_BYTES];
    char behind[16];

    KeyBuffer() { std::memset(this, '#', sizeof *this); }

    std::string up_to_zeros() const {
        std::string text(key, sizeof key);
        text.erase(text.find_last_not_of('\0') + 1);
        return text;
    }
    bool kept_behind() const { return std::string(behind, sizeof behind) == std::string(16, '#'); }
};

TEST(Keys, SegmentsStandOneAfterTheOther) {
    const XfdPointer xfd = sample::empty();
    const uint16_t lengths[XFD_MAX_SEGMENTS] = {3, 0, 2, 4};
    const uint32_t offsets[XFD_MAX_SEGMENTS] = {7, UINT32_MAX, 0, 2};
    Z4AddXFDKey(xfd.get(), 3, 0, lengths, offsets, 0);
    sample::add_key(xfd.get(), 0, 9, 0);
    KeyBuffer buffer;
    Z4build_key(xfd.get(), "abcdefghij", buffer.key, 0);
    EXPECT_EQ(buffer.up_to_zeros(), "hijab");
    EXPECT_TRUE(buffer.kept_behind());
}

TEST(Keys, ClearOnlyLeavesZeros) {
    const XfdPointer xfd = sample::empty();
    sample::add_key(xfd.get());
    KeyBuffer buffer;
    Z4build_key(xfd.get(), nullptr, buffer.key, 1);
    EXPECT_EQ(buffer.up_to_zeros(), "");
    EXPECT_TRUE(buffer.kept_behind());
}

TEST(Keys, WithoutAKeyTheBufferIsZero) {
    const XfdPointer xfd = sample::empty(0, 1);
    KeyBuffer buffer;
    Z4build_key(xfd.get(), nullptr, buffer.key, 0);
    EXPECT_EQ(buffer.up_to_zeros(), "");
    EXPECT_TRUE(buffer.kept_behind());
}

TEST(Keys, WhatDoesNotFitIsCut) {
    const std::string record(3000, 'k');
    const struct {
        const char *row;
        uint16_t count;
        uint16_t length;
        size_t expected;
    } kRows[] = {
        {"room for the closing zero", 1, 249, 249},
        {"just full", 1, 250, 250},
        {"one too many", 1, 251, 250},
        {"cut within a segment", 3, 100, 250},
        {"nothing of the later ones", 16, 125, 250},
        {"more segments than there are", 65535, 10, 160},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        uint16_t lengths[XFD_MAX_SEGMENTS];
        uint32_t offsets[XFD_MAX_SEGMENTS];
        for (uint32_t i = 0; i < XFD_MAX_SEGMENTS; ++i) {
            lengths[i] = row.length;
            offsets[i] = i;
        }
        const XfdPointer xfd = sample::empty();
        Z4AddXFDKey(xfd.get(), row.count, 0, lengths, offsets, 0);
        KeyBuffer buffer;
        Z4build_key(xfd.get(), record.data(), buffer.key, 0);
        EXPECT_EQ(buffer.up_to_zeros(), std::string(row.expected, 'k'));
        EXPECT_TRUE(buffer.kept_behind());
    }
}

TEST(Keys, RecordsAreOrderedBySignedBytes) {
    const struct {
        const char *row;
        const char *record1;
        const char *record2;
        int expected;
    } kRows[] = {
        {"equal", "aaaabbbb", "aaaabbbb", 0},
        {"less in the first segment", "aaaabbbb", "abaabbbb", -1},
        {"greater in the first segment", "abaabbbb", "aaaabbbb", 1},
        {"the first segment decides", "aaabbbbb", "aabaaaaa", -1},
        {"less in the second segment", "aaaabbba", "aaaabbbb", -1},
        {"0x41 is above 0xC1", "\x41", "\xC1", 1},
        {"0xC1 is below 0x41", "\xC1", "\x41", -1},
        {"0x80 is the lowest", "\x80", "\xFF", -1},
        {"0x00 is above 0xFF", "\0\0\0\0", "\xFF", 1},
        {"0x7F is the highest", "\x7F", "\x80", 1},
        {"between the segments", "aaaa-bbbb", "aaaa+bbbb", 0},
    };
    XfdKey key = {};
    key.k_seg_count = 3;
    key.k_seg_length[0] = 4;
    key.k_seg_length[1] = 0;  // passed over
    key.k_seg_offset[1] = UINT32_MAX;
    key.k_seg_length[2] = 3;
    key.k_seg_offset[2] = 5;
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        char record1[16] = {};
        char record2[16] = {};
        std::memcpy(record1, row.record1, std::strlen(row.record1));
        std::memcpy(record2, row.record2, std::strlen(row.record2));
        EXPECT_EQ(Z4CompareKeyN(&key, record1, record2), row.expected);
        EXPECT_EQ(Z4CompareKeyN(&key, record2, record1), -row.expected);
    }
    key.k_seg_count = 0;
    EXPECT_EQ(Z4CompareKeyN(&key, "a", "b"), 0);
}

TEST(SqlNames, BaseIsCutAndSuffixStays) {
    const std::string base30(30, 'b');
    const std::string base40(40, 'c');
    const struct {
        const char *row;
        std::string base, suffix;
        int max_length;
        const char *expected;
    } kRows[] = {
        {"both fit", "amount", "_1", 30, "amount_1"},
        {"exactly", "amount", "_12", 9, "amount_12"},
        {"one too many", "amount", "_123", 9, "amoun_123"},
        {"30 and 5 in 30", base30, "_1_11", 30, "bbbbbbbbbbbbbbbbbbbbbbbbb_1_11"},
        {"one character of base is left", base30, std::string(29, 's'), 30,
         "bsssssssssssssssssssssssssssss"},
        {"none is left", base30, std::string(30, 's'), 30, nullptr},
        {"the suffix alone is too long", base30, std::string(31, 's'), 30, nullptr},
        {"an empty base that fits", "", "_1", 2, "_1"},
        {"an empty base that does not", "", "_12", 2, nullptr},
        {"no suffix, no limit", base40, "", 30, "cccccccccccccccccccccccccccccccccccccccc"},
        {"no suffix, limit 0", "a", "", 0, "a"},
        {"no suffix, negative limit", "a", "", -1, "a"},
        {"nothing at all", "", "", 30, ""},
        {"limit 0", "a", "_1", 0, nullptr},
        {"negative limit", "a", "_1", -30, nullptr},
        {"lowest limit", "a", "_1", INT32_MIN, nullptr},
        {"highest limit", "a", "_1", INT32_MAX, "a_1"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        *Zstdlib_f_errno() = 0;
        *Zstdlib_f_int_errno() = 0;
        *Zstdlib_f_errmsg() = nullptr;
        spies::messages.clear();
        char dest[64];
        std::memset(dest, '#', sizeof dest);
        const int done =
            Z4make_sql_name(dest, row.base.c_str(), row.suffix.c_str(), row.max_length);
        if (row.expected != nullptr) {
            EXPECT_EQ(done, 1);
            EXPECT_STREQ(dest, row.expected);
            EXPECT_EQ(dest[std::strlen(row.expected) + 1], '#');
            EXPECT_EQ(*Zstdlib_f_errno(), 0);
            EXPECT_EQ(*Zstdlib_f_int_errno(), 0);
            EXPECT_EQ(*Zstdlib_f_errmsg(), nullptr);
            EXPECT_EQ(spies::take_messages(), "");
        } else {
            EXPECT_EQ(done, 0);
            EXPECT_EQ(dest[0], '#');
            EXPECT_EQ(*Zstdlib_f_errno(), 19);
            EXPECT_EQ(*Zstdlib_f_int_errno(), 6);
            EXPECT_STREQ(*Zstdlib_f_errmsg(), "Composite field name too long");
            EXPECT_EQ(spies::take_messages(), "1161/5\n");
        }
    }
}

TEST(SqlNames, BaseMayBeTheDestination) {
    char name[32] = "amount";
    EXPECT_EQ(Z4make_sql_name(name, name, "_7", 30), 1);
    EXPECT_STREQ(name, "amount_7");
}

TEST(Nines, CountFollowsDigitsAndScale) {
    const struct {
        int digits, scale;
        std::string expected;
    } kRows[] = {
        {7, -2, "99999.99"},
        {7, 0, "9999999"},
        {5, 2, "9999999"},
        {1, 0, "9"},
        {0, 0, ""},
        {1, -1, ".9"},
        {3, -3, ".999"},
        {2, -1, "9.9"},
        // More decimals than digits: digits + 1 characters decide.
        {3, -5, ".999"},
        {0, -2, "."},
        // The signed bytes at their ends.
        {127, 127, std::string(254, '9')},
        {127, -128, std::string(".").append(127, '9')},
        {128, 0, ""},
        {255, -2, "."},
        {255, 3, "99"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::to_string(row.digits) + " digits, scale " + std::to_string(row.scale));
        XfdField field = {};
        field.fd_argument.a_digits = static_cast<uint8_t>(row.digits);
        field.fd_argument.a_scale = static_cast<int8_t>(row.scale);
        char dest[XFD_NINES_BUFFER_BYTES + 1];
        std::memset(dest, '#', sizeof dest);
        Z4fill_nines(dest, &field);
        EXPECT_EQ(dest, row.expected);
        EXPECT_EQ(dest[row.expected.size() + 1], '#');
    }
}

}  // namespace
