// SPDX-License-Identifier: MIT
//
// Data tests, conditions, comparisons, traces and the where clause with the n-th
// request for memory refused, for every n until none was.
#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>

#include "host/config.h"
#include "host/errors.h"
#include "host/memory.h"
#include "host/messages.h"
#include "tests/fsi/sample_xfd.h"
#include "wbfsi/accessors.h"
#include "wbfsi/compare.h"
#include "wbfsi/conditions.h"
#include "wbfsi/datatest.h"
#include "wbfsi/keys.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/suffixes.h"
#include "wbfsi/trace.h"
#include "wbfsi/where.h"

namespace {

// Runs `call` with the n-th request refused; true when one was.
template <typename Call>
bool refuses(int64_t n, Call call) {
    *Zstdlib_f_errno() = 0;
    ZMemoryRefuse(n, 1);
    call();
    const bool refused = ZMemoryRefused() != 0;
    ZMemoryRefuse(0, 0);
    return refused;
}

// A field of two letters, `count` - 1 conditions each of which needs the next two,
// and a last one that compares.
sample::XfdPointer chain(int count, int16_t type) {
    sample::XfdPointer xfd = sample::empty(1, 0, static_cast<uint32_t>(count));
    sample::Field field;
    field.argument.a_size = 2;
    field.add_to(xfd.get());
    for (int n = 1; n < count; ++n)
        Z4XFDAddCondition(xfd.get(), type, "", "", "", static_cast<int16_t>(n + 2),
                          static_cast<int16_t>(n + 1), 0);
    Z4XFDAddCondition(xfd.get(), XFD_COND_EQ, "", "AB", "", -1, -1, 0);
    return xfd;
}

std::string bits(const Xfd *xfd) {
    std::string text;
    for (uint32_t i = 0; i < xfd->x_n_conditions; ++i)
        text += Z4IsXFDConditionTrue(&xfd->x_condition[i]) != 0 ? '1' : '0';
    return text;
}

TEST(RecordTorture, ConditionsChangeNoBitWithoutMemory) {
    for (const int count : {65, 66, 1000, 32767, 65535}) {
        for (const int16_t type :
             std::initializer_list<int16_t>{XFD_COND_AND, XFD_COND_OR, XFD_COND_OTHER}) {
            if (type == XFD_COND_OTHER && count > 1000)
                continue;  // one scan for each: slow with sanitizers
            SCOPED_TRACE(std::to_string(count) + " of type " + std::to_string(type));
            const sample::XfdPointer xfd = chain(count, type);
            for (uint32_t i = 0; i < xfd->x_n_conditions; i += 3)
                Z4SetXFDCondition(xfd.get(), i, 1);
            const std::string before = bits(xfd.get());
            const size_t blocks = ZMemoryBlocks(nullptr);
            int64_t n = 1;
            int result = 0;
            while (refuses(n, [&] { result = Z4TestCOBOLCond(xfd.get(), 1, "AB"); })) {
                EXPECT_EQ(result, 0);
                EXPECT_EQ(*Zstdlib_f_errno(), 14);
                EXPECT_EQ(bits(xfd.get()), before);
                ++n;
            }
            EXPECT_EQ(n, 2);
            EXPECT_EQ(*Zstdlib_f_errno(), 0);
            EXPECT_NE(bits(xfd.get()), before);
            EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
            EXPECT_EQ(ZMemoryBlocks("Conditions evaluated"), 0U);
        }
    }
}

TEST(RecordTorture, FewConditionsAndThoseThatLookBackNeedNoMemory) {
    for (const int16_t type :
         std::initializer_list<int16_t>{XFD_COND_AND, XFD_COND_OR, XFD_COND_OTHER}) {
        SCOPED_TRACE(type);
        const sample::XfdPointer few = chain(64, type);
        EXPECT_FALSE(refuses(1, [&] { Z4TestCOBOLCond(few.get(), 1, "AB"); }));
        const sample::XfdPointer many = chain(1000, type);
        many->x_condition[999].c_type = type;
        many->x_condition[999].c_num1 = 1000;
        many->x_condition[999].c_num2 = 999;
        EXPECT_FALSE(refuses(1, [&] { Z4TestCOBOLCond(many.get(), 1000, "AB"); }));
    }
}

TEST(RecordTorture, DataTestsNeedNoMemory) {
    Z4Init();
    XfdField field = {};
    field.fd_argument.a_size = 3;
    field.fd_argument.a_digits = 3;
    const auto *record = reinterpret_cast<const unsigned char *>("012");
    for (const char *value : {"SPACES", "012", "+999"}) {
        std::string text = value;
        field.fd_null_value = text.data();
        for (uint16_t type = 0; type < 64; ++type) {
            SCOPED_TRACE(value + std::string(", type ") + std::to_string(type));
            field.fd_argument.a_type = type;
            EXPECT_FALSE(refuses(1, [&] { Z4TestNullValue(&field, nullptr, record); }));
            EXPECT_FALSE(refuses(1, [&] { Z4TestData(&field, record); }));
        }
    }
    EXPECT_FALSE(refuses(1, [] { Z4Compare("1", "2", 1); }));
    Z4Exit();
}

TEST(RecordTorture, ComparisonsKeysAndTracesNeedNoMemory) {
    const sample::XfdPointer one = sample::full();
    const sample::XfdPointer other = sample::full();
    other->x_version = 7;  // one difference; the other one is the number of keys
    for (uint16_t k = 0; k < 40; ++k)
        sample::add_key(other.get(), 0, 1, 40U - k);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(
        refuses(1, [&] { EXPECT_EQ(Z4XFDCompare(one.get(), other.get(), 1, 0, 1, 1), 2); }));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nInconsequential difference\nVersion\n< 6\n> 7\n"
              "\nFatal difference\nNumber of keys\n< 2\n> 42\n");
    const std::string record(80000, 'r');
    EXPECT_FALSE(refuses(1, [&] {
        EXPECT_EQ(Z4CompareKeyN(&one->x_key_desc[0], record.data(), record.data()), 0);
    }));
    size_t traced = 0;
    ZOutputRedirect(
        1, [](const char *, size_t n, void *user) { *static_cast<size_t *>(user) += n; }, &traced);
    const std::string text(5000, 't');
    EXPECT_FALSE(refuses(1, [&] { Z4CurTrace(text.c_str(), 1, 1); }));
    f_trace = 1;
    EXPECT_FALSE(refuses(1, [&] { Z4TransactionTrace(text.c_str(), 9, 0); }));
    f_trace = 0;
    ZOutputRedirect(1, nullptr, nullptr);
    EXPECT_GT(traced, 6000U);
    std::string name = "orders.dat";
    EXPECT_FALSE(refuses(1, [&] { Z4RemoveSuffix(name.data()); }));
}

TEST(RecordTorture, WhereBufferIsArmedWithoutMemory) {
    Z4Init();
    std::string armed(XFD_WHERE_TEXT_BYTES, ' ');
    armed += "\x80\x82\x86\x84kst4gl";
    for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        ASSERT_EQ(ZCSetValueRaw("4GL_WHERE_CONSTRAINT", 0, "old"), 1);
        std::memset(Z4GLWhereConstraintAddr(), 'x', XFD_WHERE_BUFFER_BYTES);
        int result = -1;
        const bool refused = refuses(n, [&] { result = Z4FillWhereMagic(); });
        EXPECT_EQ(result, refused ? 0 : 1);
        EXPECT_EQ(std::string(Z4GLWhereConstraintAddr(), XFD_WHERE_BUFFER_BYTES), armed);
        if (!refused) {
            EXPECT_STREQ(ZCGetValueString("4GL_WHERE_CONSTRAINT"), "");
            EXPECT_GT(n, 1);
            break;
        }
    }
    Z4Exit();
}

TEST(RecordTorture, WhereClauseWaitsForMemory) {
    Z4Init();
    for (const bool in_variable : {false, true}) {
        bool refused = true;
        for (int64_t n = 1; refused; ++n) {
            SCOPED_TRACE(std::to_string(n) + (in_variable ? ", variable" : ", buffer"));
            Z4FillWhereMagic();
            if (in_variable) {
                ASSERT_EQ(ZCSetValueRaw("4GL_WHERE_CONSTRAINT", 0, "new"), 1);
            } else {
                std::memcpy(Z4GLWhereConstraintAddr(), "new", 3);
            }
            char *where = ZSTRDUP("before", "test", "test");
            refused = refuses(n, [&] { Z4CheckExtraWhere(&where); });
            // The first request copies the clause; others are the host's, which
            // may then keep what the variable holds.
            if (n == 1) {
                EXPECT_TRUE(refused);
                EXPECT_EQ(where, nullptr);
                EXPECT_EQ(*Zstdlib_f_errno(), 14);
                Z4CheckExtraWhere(&where);
            }
            EXPECT_STREQ(where, "new");
            Zfree(where);
            EXPECT_EQ(ZMemoryBlocks("Extra where clause"), 0U);
            ASSERT_LT(n, 100);
        }
    }
    Z4Exit();
}

}  // namespace
