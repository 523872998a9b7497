// SPDX-License-Identifier: MIT
//
// Date conversion with the n-th request for memory refused, for every n until none
// was: the first call after Z4Init, which reads the configured dates, and later ones.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/config.h"
#include "host/errors.h"
#include "host/memory.h"
#include "wbfsi/dates.h"
#include "wbfsi/lifecycle.h"

namespace {

constexpr const char *kSpecialNames[] = {"PLEX_DATE_INVALID_VALUE", "PLEX_DATE_NINE_VALUE",
                                         "PLEX_DATE_NULL_VALUE", "PLEX_DATE_ZERO_VALUE"};

class DatesTorture : public testing::Test {
 protected:
    void SetUp() override {
        for (const char *name : kSpecialNames)
            ZCSetValueString(name, "20051231");
        Z4Init();
    }
    void TearDown() override {
        Z4Exit();
        for (const char *name : kSpecialNames)
            ZCSetValueString(name, nullptr);
        EXPECT_EQ(ZMemoryBlocks("DateTimeValue"), 0U);
        EXPECT_EQ(ZMemoryBlocks("Temp date string"), 0U);
    }
};

struct Result {
    int done;
    bool was_refused;
    std::string bytes;
    DateTimeValue value;
};

// One conversion with the n-th request refused.
Result convert(const std::string &bytes, int direction, int64_t n) {
    Result result{0, false, bytes, {1999, 1, 2, 3, 4, 5, 0, 6}};
    const XfdArgument field{reinterpret_cast<uintptr_t>(result.bytes.data()),
                            static_cast<uint32_t>(bytes.size()),
                            16,
                            0,
                            0,
                            0};
    *Zstdlib_f_errno() = 0;
    ZMemoryRefuse(n, 1);
    result.done = Z4ConvertDateTime(&field, &result.value, "YYYYMMDD", direction, 0, 0);
    result.was_refused = ZMemoryRefused() != 0;
    ZMemoryRefuse(0, 0);
    return result;
}

// Returns how many requests a call makes.
int64_t refuse_each(int direction, bool is_first_call) {
    const std::string text = "20060101";
    int64_t n = 1;
    for (;; ++n) {
        SCOPED_TRACE(n);
        if (is_first_call) {
            Z4Exit();
            Z4Init();
        } else {
            EXPECT_EQ(convert(text, direction, INT64_MAX).done, 1);
        }
        const Result result = convert(text, direction, n);
        if (!result.was_refused) {
            EXPECT_EQ(result.done, 1);
            EXPECT_EQ(*Zstdlib_f_errno(), 0);
            EXPECT_EQ(result.bytes, direction == Z4_DATE_TO_FIELD ? "19990102" : text);
            EXPECT_EQ(result.value.year, direction == Z4_DATE_TO_FIELD ? 1999 : 2006);
            return n - 1;
        }
        // A configured NULL date does not stand for missing memory.
        EXPECT_EQ(result.done, 0);
        EXPECT_EQ(*Zstdlib_f_errno(), 14);
        EXPECT_EQ(result.bytes, text);
        EXPECT_EQ(result.value.year, 1999);
        EXPECT_EQ(result.value.microseconds, 6);
        EXPECT_EQ(ZMemoryBlocks("Temp date string"), 0U);
        // Configured dates are kept whole or not at all, and the next call has them.
        const size_t kept = ZMemoryBlocks("DateTimeValue");
        EXPECT_TRUE(kept == 0 || kept == 4);
        EXPECT_EQ(convert("99999999", Z4_DATE_FROM_FIELD, INT64_MAX).value.year, 2005);
    }
}

TEST_F(DatesTorture, EveryRefusalIsErrorFourteen) {
    EXPECT_EQ(refuse_each(Z4_DATE_FROM_FIELD, true), 5);
    EXPECT_EQ(refuse_each(Z4_DATE_TO_FIELD, true), 5);
    EXPECT_EQ(refuse_each(Z4_DATE_FROM_FIELD, false), 1);
    EXPECT_EQ(refuse_each(Z4_DATE_TO_FIELD, false), 1);
}

// A refusal inside of the host's conversion could not be told from a bad field.
TEST_F(DatesTorture, WideFieldsNeedNoMemoryInTheHost) {
    std::u16string wide = u"20060101";
    wide.resize(2000, u' ');
    const XfdArgument field{reinterpret_cast<uintptr_t>(wide.data()), 4000, 24, 8, 0, 0};
    for (const int direction : {Z4_DATE_TO_FIELD, Z4_DATE_FROM_FIELD}) {
        SCOPED_TRACE(direction);
        DateTimeValue value{2006, 1, 1, 0, 0, 0, 0, 0};
        EXPECT_EQ(Z4ConvertDateTime(&field, &value, "YYYYMMDD", direction, 0, 0), 1);
        ZMemoryRefuse(2, -1);
        EXPECT_EQ(Z4ConvertDateTime(&field, &value, "YYYYMMDD", direction, 0, 0), 1);
        EXPECT_EQ(ZMemoryRefused(), 0U);
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(value.year, 2006);
        EXPECT_EQ(wide.substr(0, 10), u"20060101  ");
    }
}

}  // namespace
