// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/errors.h"
#include "host/memory.h"
#include "tests/fsi/sample_xfd.h"
#include "tests/fsi/spies.h"
#include "tests/support/dictionary_file.h"
#include "wbfsi/accessors.h"
#include "wbfsi/conditions.h"

using namespace std::string_literals;

namespace {

// Runs `work` on a thread with a stack of 256 KB.
template <typename Work>
void on_a_small_stack(Work work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 << 10), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void *argument) -> void * {
                      (*static_cast<Work *>(argument))();
                      return nullptr;
                  },
                  &work),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

class EvaluateConditions : public testing::Test {
 protected:
    void TearDown() override { spies::traces.clear(); }

    int add_field(uint32_t offset, uint32_t size, uint16_t type = 16, uint8_t digits = 0,
                  int8_t scale = 0) {
        sample::Field field;
        field.offset = offset;
        field.argument = {0, size, type, digits, scale, 0};
        return field.add_to(xfd_.get());
    }
    // Returns the number of the new condition.
    int add(int16_t type, int16_t num1, int16_t num2, int16_t field = 0) {
        return Z4XFDAddCondition(xfd_.get(), type, "", "", "", num1, num2, field);
    }
    int compare(int16_t type, const char *value, int16_t field = 0) {
        return Z4XFDAddCondition(xfd_.get(), type, "f", value, "", -1, -1, field);
    }
    int test(int number, const std::string &record) {
        // A block of exactly the record's size.
        const auto bytes = std::make_unique<char[]>(record.size());
        std::memcpy(bytes.get(), record.data(), record.size());
        return Z4TestCOBOLCond(xfd_.get(), number, bytes.get());
    }
    void set(int number, bool bit) {
        xfd_->x_condition[number - 1].c_flags = bit ? 0xFFFFFFFF : 0xFFFFFFFE;
    }
    void clear_all() {
        for (int n = 1; n <= xfd_->x_n_conditions; ++n)
            set(n, false);
    }
    // The result bits in order, "101".
    std::string bits() const {
        std::string text;
        for (uint32_t i = 0; i < xfd_->x_n_conditions; ++i)
            text += Z4IsXFDConditionTrue(&xfd_->x_condition[i]) != 0 ? '1' : '0';
        return text;
    }
    // Numbers of the conditions evaluated, in the order in which they begin.
    static std::string evaluated() {
        std::string text;
        for (const std::string &line : spies::traces) {
            const std::string head = "+1 6 Z4TestCOBOLCond ";
            if (line.rfind(head, 0) == 0)
                text += line.substr(head.size()) + " ";
        }
        spies::traces.clear();
        return text;
    }

    sample::XfdPointer xfd_ = sample::empty();
};

TEST_F(EvaluateConditions, NumbersOutOfRange) {
    add_field(0, 1);
    compare(XFD_COND_EQ, "A");
    set(1, true);
    EXPECT_EQ(test(0, ""), 1);
    EXPECT_EQ(test(2, "A"), 0);
    EXPECT_EQ(test(-1, "A"), 0);
    EXPECT_EQ(test(65536, "A"), 0);
    EXPECT_EQ(test(65537, "A"), 0);
    EXPECT_EQ(test(INT32_MAX, "A"), 0);
    EXPECT_EQ(test(INT32_MIN, "A"), 0);
    EXPECT_EQ(xfd_->x_condition[0].c_flags, 0xFFFFFFFF);
}

TEST_F(EvaluateConditions, UnknownTypesAreNeverTrue) {
    add_field(0, 1);
    compare(XFD_COND_EQ, "A");
    for (const int16_t type : std::initializer_list<int16_t>{0, -1, 10, 100, -32768, 32767}) {
        xfd_->x_condition[0].c_type = type;
        set(1, true);
        EXPECT_EQ(test(1, "A"), 0) << type;
        EXPECT_EQ(xfd_->x_condition[0].c_flags, 0xFFFFFFFE) << type;
    }
}

TEST_F(EvaluateConditions, ComparisonsOfText) {
    add_field(2, 5);
    compare(XFD_COND_EQ, "A");
    struct Row {
        const char *data;
        int order;
    };
    // The third record ends in spaces, which reach the end of the field.
    const Row rows[] = {{"A    ", 0}, {"AB   ", 0},  {"AB C ", 0}, {"AB  C", 1},
                        {"B    ", 1}, {"     ", -1}, {"aaaaa", 1}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.data);
        const int expected[10] = {0,
                                  row.order == 0,
                                  0,
                                  0,
                                  row.order > 0,
                                  row.order >= 0,
                                  row.order < 0,
                                  row.order <= 0,
                                  row.order != 0,
                                  0};
        for (const int16_t type : std::initializer_list<int16_t>{1, 4, 5, 6, 7, 8}) {
            xfd_->x_condition[0].c_type = type;
            for (const bool before : {false, true}) {
                set(1, before);
                EXPECT_EQ(test(1, "xx"s + row.data), expected[type]) << type;
                EXPECT_EQ(bits(), expected[type] == 1 ? "1" : "0") << type;
                EXPECT_EQ(xfd_->x_condition[0].c_flags | 1U, 0xFFFFFFFF) << type;
            }
        }
    }
}

TEST_F(EvaluateConditions, ComparisonsOfNumbersInEveryType) {
    struct Row {
        std::vector<uint16_t> types;
        uint8_t digits;
        int8_t scale;
        const char *value;
        std::string less, equal, greater;
    };
    const std::string national_less =
        "0\0"s
        "0\0"s
        "4\0"s;
    const Row rows[] = {
        {{1}, 3, 0, "+005", "004", "005", "006"},
        {{1}, 3, 0, "005", "004", "005", "010"},
        {{2}, 2, 0, "-05", "06-", "05-", "04-"},
        {{3}, 2, 0, "-05", "0v", "0u", "0t"},
        {{4}, 2, 0, "-05", "-06", "-05", "+00"},
        {{5}, 2, 0, "-05", "p6"s, "p5", "p4"},
        {{6}, 2, 0, "-05", "\0\6\15"s, "\0\5\15"s, "\0\5\13"s},
        {{7}, 2, 0, "+05", "\0\4"s, "\0\5"s, "\1\0"s},
        {{8}, 3, 0, "+005", "\0\x4F"s, "\0\x5F"s, "\0\x6F"s},
        {{9}, 3, -1, "-015", "\1\x6D", "\1\x5D", "\1\x5C"},
        {{10}, 4, 0, "+0105", "\1\4", "\1\5", "\1\6"},
        {{11}, 4, 0, "-0002", "\xFF\xFD", "\xFF\xFE", "\xFF\xFF"},
        {{12}, 5, 0, "+65534", "\xFF\xFD", "\xFF\xFE", "\xFF\xFF"},
        {{13, 30, 32}, 4, 0, "-0002", "\xFD\xFF", "\xFE\xFF", "\xFF\xFF"},
        {{14, 31, 33}, 5, 0, "+65534", "\xFD\xFF", "\xFE\xFF", "\xFF\xFF"},
        {{23}, 3, -2, "+150", "\0\0\x80\x3F"s, "\0\0\xC0\x3F"s, "\0\0\0\x40"s},
        {{35},
         3,
         0,
         "+005",
         national_less,
         "0\0"s
         "0\0"s
         "5\0"s,
         "0\0"s
         "0\0"s
         "6\0"s},
        {{36}, 1, 0, "-5", "6\0-\0"s, "5\0-\0"s, "4\0-\0"s},
        {{38},
         1,
         0,
         "-5",
         "-\0"s
         "6\0"s,
         "-\0"s
         "5\0"s,
         "-\0"s
         "4\0"s},
    };
    for (const Row &row : rows) {
        for (const uint16_t type : row.types) {
            SCOPED_TRACE("type " + std::to_string(type) + " and " + row.value);
            xfd_ = sample::empty();
            *xfd_->x_cvt_info = {0, 40, 25, 11, '.', ',', 0};
            add_field(1, static_cast<uint32_t>(row.equal.size()), type, row.digits, row.scale);
            compare(XFD_COND_LT, row.value);
            compare(XFD_COND_EQ, row.value);
            compare(XFD_COND_GT, row.value);
            for (int record = 0; record < 3; ++record) {
                const std::string &data = record == 0   ? row.less
                                          : record == 1 ? row.equal
                                                        : row.greater;
                std::string expected = "000";
                expected[static_cast<size_t>(record)] = '1';
                for (int n = 1; n <= 3; ++n)
                    test(n, "x" + data);
                EXPECT_EQ(bits(), expected);
            }
        }
    }
}

TEST_F(EvaluateConditions, NumbersAreReadFromACopyThatTheFieldKeeps) {
    add_field(1, 3, 1, 3);
    compare(XFD_COND_EQ, "+012");
    const char record[] = "x012";
    EXPECT_EQ(Z4TestCOBOLCond(xfd_.get(), 1, record), 1);
    const uintptr_t address = xfd_->x_fdesc[0].fd_argument.a_address;
    ASSERT_NE(address, 0U);
    EXPECT_NE(address, reinterpret_cast<uintptr_t>(record + 1));
    EXPECT_EQ(std::memcmp(reinterpret_cast<const void *>(address), "012", 3), 0);
}

TEST_F(EvaluateConditions, SizesAndDigitsOfADictionaryStayWithinTheBuffers) {
    const std::string value(50, '7');
    for (const uint32_t size : {0U, 1U, 49U, 50U, 51U, 255U, 256U, 257U, 514U, 515U, 5000U}) {
        for (const int digits : {0, 1, 48, 49, 50, 51, 254, 255}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, digits " + std::to_string(digits));
            for (const uint16_t type : std::initializer_list<uint16_t>{1, 6, 9, 13, 39}) {
                xfd_ = sample::empty();
                add_field(0, size, type, static_cast<uint8_t>(digits));
                compare(XFD_COND_EQ, value.c_str());
                const bool readable = type == 1 && size >= 1 && size <= 256;
                const bool all_sevens = readable && digits >= 1 && digits <= 50 &&
                                        size >= static_cast<uint32_t>(digits);
                EXPECT_EQ(test(1, std::string(size, '7')), all_sevens ? 1 : 0) << type;
            }
        }
    }
}

TEST_F(EvaluateConditions, AValueEndsWithItsArray) {
    for (const int digits : {51, 60}) {
        SCOPED_TRACE(digits);
        xfd_ = sample::empty();
        add_field(0, 60, 1, static_cast<uint8_t>(digits));
        compare(XFD_COND_EQ, "");
        XfdCondition &condition = xfd_->x_condition[0];
        std::memset(condition.c_value, '7', sizeof condition.c_value);
        std::memset(condition.c_table, '7', sizeof condition.c_table);
        EXPECT_EQ(test(1, std::string(60, '7')), digits == 51 ? 1 : 0);
    }
}

TEST_F(EvaluateConditions, NoNumberComparesAsNoText) {
    add_field(0, 3, 1, 3);
    compare(XFD_COND_LT, "+000");
    compare(XFD_COND_EQ, "");
    EXPECT_EQ(test(1, "   "), 1);
    EXPECT_EQ(test(2, "   "), 1);
    EXPECT_EQ(test(2, "000"), 0);
}

TEST_F(EvaluateConditions, FieldsThatThereAreNotCompareFalse) {
    compare(XFD_COND_NE, "A");
    EXPECT_EQ(test(1, "B"), 0);
    add_field(0, 1);
    EXPECT_EQ(test(1, "B"), 1);
    for (const int16_t field : std::initializer_list<int16_t>{1, 2, 32767, -1, -2, -32768}) {
        xfd_->x_condition[0].c_field_num = field;
        set(1, true);
        EXPECT_EQ(test(1, "B"), 0) << field;
        EXPECT_EQ(bits(), "0") << field;
    }
}

TEST_F(EvaluateConditions, FieldNumbersHaveSixteenBits) {
    constexpr uint32_t kFields = 65536;
    xfd_ = sample::empty(kFields);
    for (const uint32_t slot : {40000U, 65534U, 65535U}) {
        xfd_->x_fdesc[slot].fd_offset = 1;
        xfd_->x_fdesc[slot].fd_argument = {0, 1, 16, 0, 0, 0};
        compare(XFD_COND_EQ, "B", static_cast<int16_t>(slot));
    }
    EXPECT_EQ(test(1, "AB"), 1);
    EXPECT_EQ(test(2, "AB"), 1);
    EXPECT_EQ(test(3, "AB"), 0);  // stands for none
}

TEST_F(EvaluateConditions, OperandsBelowAnswerWithTheirBits) {
    add_field(0, 1);
    compare(XFD_COND_EQ, "A");
    compare(XFD_COND_EQ, "B");
    const int combined = add(XFD_COND_AND, 1, 2);
    const spies::TraceLevel level(1);
    for (int bits_below = 0; bits_below < 4; ++bits_below) {
        set(1, (bits_below & 1) != 0);
        set(2, (bits_below & 2) != 0);
        xfd_->x_condition[combined - 1].c_type = XFD_COND_AND;
        EXPECT_EQ(test(combined, "x"), bits_below == 3) << bits_below;
        xfd_->x_condition[combined - 1].c_type = XFD_COND_OR;
        EXPECT_EQ(test(combined, "x"), bits_below != 0) << bits_below;
        EXPECT_EQ(evaluated(), "3 3 ");
    }
}

TEST_F(EvaluateConditions, SecondOperandComesFirstAndMaySettleIt) {
    add_field(0, 1);
    add(XFD_COND_AND, 2, 3);
    compare(XFD_COND_EQ, "A");
    compare(XFD_COND_NE, "Z");
    const spies::TraceLevel level(1);
    EXPECT_EQ(test(1, "A"), 1);
    EXPECT_EQ(evaluated(), "1 3 2 ");
    EXPECT_EQ(bits(), "111");
    EXPECT_EQ(test(1, "B"), 0);
    EXPECT_EQ(bits(), "001");
    EXPECT_EQ(evaluated(), "1 3 2 ");
    set(2, true);
    EXPECT_EQ(test(1, "Z"), 0);
    EXPECT_EQ(evaluated(), "1 3 ");
    EXPECT_EQ(bits(), "010");

    xfd_->x_condition[0].c_type = XFD_COND_OR;
    EXPECT_EQ(test(1, "B"), 1);
    EXPECT_EQ(evaluated(), "1 3 ");
    EXPECT_EQ(test(1, "Z"), 0);
    EXPECT_EQ(evaluated(), "1 3 2 ");
}

TEST_F(EvaluateConditions, OperandsOutOfRangeAreFalse) {
    add_field(0, 1);
    add(XFD_COND_OR, 0, 0);
    compare(XFD_COND_EQ, "A");
    for (const int16_t operand : std::initializer_list<int16_t>{0, -1, -32768, 3, 32767}) {
        xfd_->x_condition[0].c_num1 = operand;
        xfd_->x_condition[0].c_num2 = operand;
        set(1, true);
        EXPECT_EQ(test(1, "A"), 0) << operand;
        EXPECT_EQ(bits(), "00") << operand;
        xfd_->x_condition[0].c_num1 = 2;
        EXPECT_EQ(test(1, "A"), 1) << operand;
        clear_all();
    }
}

TEST_F(EvaluateConditions, OtherHoldsWhenNoOtherOneOfItsFieldDoes) {
    add_field(0, 1);
    add_field(1, 1);
    compare(XFD_COND_EQ, "A");
    add(XFD_COND_OTHER, -1, -1, 0);
    compare(XFD_COND_EQ, "C");
    compare(XFD_COND_EQ, "x", 1);
    const spies::TraceLevel level(1);
    for (const auto &[record, expected] :
         {std::pair{"Ax", "1001"}, {"Bx", "0101"}, {"Cx", "0011"}, {"By", "0100"}}) {
        SCOPED_TRACE(record);
        for (int n = 1; n <= 4; ++n)
            test(n, record);
        EXPECT_EQ(bits(), expected);
    }
    clear_all();
    spies::traces.clear();
    // Those below are not evaluated; those above are, up to the first that holds.
    EXPECT_EQ(test(2, "Ax"), 1);
    EXPECT_EQ(evaluated(), "2 3 ");
    set(1, true);
    EXPECT_EQ(test(2, "Bx"), 0);
    EXPECT_EQ(evaluated(), "2 ");
}

TEST_F(EvaluateConditions, OtherOnlyComparesTheFieldNumbers) {
    compare(XFD_COND_EQ, "A", 7);
    add(XFD_COND_OTHER, -1, -1, 7);
    add(XFD_COND_OR, 1, 1, 7);
    EXPECT_EQ(test(2, ""), 1);
    set(1, true);
    EXPECT_EQ(test(2, ""), 0);
    set(1, false);
    xfd_->x_condition[2].c_num1 = 2;
    set(2, true);
    EXPECT_EQ(test(2, ""), 0);
    EXPECT_EQ(bits(), "001");
}

TEST_F(EvaluateConditions, SelfReferencesTakeTheBit) {
    add(XFD_COND_AND, 1, 1);
    add(XFD_COND_OR, 2, 2);
    add(XFD_COND_OTHER, -1, -1, 3);
    const spies::TraceLevel level(1);
    for (const bool before : {false, true}) {
        for (const int number : {1, 2}) {
            set(number, before);
            EXPECT_EQ(test(number, ""), before ? 1 : 0);
            EXPECT_EQ(evaluated(), std::to_string(number) + " ");
        }
        set(3, before);
        EXPECT_EQ(test(3, ""), 1);
        EXPECT_EQ(evaluated(), "3 ");
    }
}

TEST_F(EvaluateConditions, EitherOperandMayBeFarAbove) {
    constexpr int16_t kFar = 900;
    for (const bool second : {false, true}) {
        SCOPED_TRACE(second);
        xfd_ = sample::empty(0, 0, kFar);
        add_field(0, 1);
        // The other operand is the condition itself, whose bit settles nothing.
        add(XFD_COND_OR, second ? 1 : kFar, second ? kFar : 1);
        while (xfd_->x_n_conditions < kFar - 1) {
            const auto next = static_cast<int16_t>(xfd_->x_n_conditions + 2);
            add(XFD_COND_OR, next, next);
        }
        compare(XFD_COND_EQ, "A");
        clear_all();
        EXPECT_EQ(test(1, "B"), 0);
        EXPECT_EQ(bits(), std::string(kFar, '0'));
        EXPECT_EQ(test(1, "A"), 1);
        EXPECT_EQ(bits(), '1' + std::string(kFar - 2, '0') + '1');
        *Zstdlib_f_errno() = 0;
        ZMemoryRefuse(1, 1);
        EXPECT_EQ(test(1, "A"), 0);
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(*Zstdlib_f_errno(), 14);
        EXPECT_EQ(bits(), '1' + std::string(kFar - 2, '0') + '1');
        *Zstdlib_f_errno() = 0;
    }
}

TEST_F(EvaluateConditions, EachIsEvaluatedOnceForACall) {
    add_field(0, 1);
    add(XFD_COND_AND, 2, 2);
    add(XFD_COND_AND, 3, 3);
    add(XFD_COND_AND, 4, 4);
    compare(XFD_COND_EQ, "A");
    const spies::TraceLevel level(1);
    EXPECT_EQ(test(1, "A"), 1);
    EXPECT_EQ(evaluated(), "1 2 3 4 ");
    EXPECT_EQ(bits(), "1111");
    EXPECT_EQ(test(1, "B"), 0);
    EXPECT_EQ(evaluated(), "1 2 3 4 ");
    EXPECT_EQ(bits(), "0000");
}

TEST_F(EvaluateConditions, CirclesEnd) {
    add(XFD_COND_OR, 2, 2);
    add(XFD_COND_OR, 3, 1);
    add(XFD_COND_OR, 1, 2);
    const spies::TraceLevel level(1);
    EXPECT_EQ(test(1, ""), 0);
    EXPECT_EQ(evaluated(), "1 2 3 ");
    // The bit of the one that is being evaluated.
    set(1, true);
    EXPECT_EQ(test(1, ""), 1);
    EXPECT_EQ(bits(), "110");
}

TEST_F(EvaluateConditions, OthersOfOneFieldAskEachOther) {
    for (int i = 0; i < 4; ++i)
        add(XFD_COND_OTHER, -1, -1, 0);
    const spies::TraceLevel level(1);
    // The last one finds no other true; the ones before find it.
    EXPECT_EQ(test(1, ""), 0);
    EXPECT_EQ(bits(), "0001");
    EXPECT_EQ(evaluated(), "1 2 3 4 ");
}

TEST_F(EvaluateConditions, ChainsAsLongAsThereAreConditions) {
    constexpr int kLength = 65535;
    xfd_ = sample::empty(0, 0, kLength);
    add_field(0, 1);
    for (int n = 1; n < kLength; ++n) {
        // Operands have 15 bits; "other" goes on beyond them.
        if (n < 32767)
            add(XFD_COND_AND, static_cast<int16_t>(n + 1), static_cast<int16_t>(n + 1), 1);
        else
            add(XFD_COND_OTHER, -1, -1,
                static_cast<int16_t>(n == 32767 || n == kLength - 1 ? 0 : 2));
    }
    compare(XFD_COND_EQ, "A");
    ASSERT_EQ(xfd_->x_n_conditions, kLength);
    *Zstdlib_f_errno() = 0;
    on_a_small_stack([this] { EXPECT_EQ(test(1, "A"), 0); });
    EXPECT_EQ(test(1, "B"), 0);  // the last but one, "other" as well, holds
    EXPECT_EQ(Z4IsXFDConditionTrue(&xfd_->x_condition[kLength - 2]), 1);
    xfd_->x_condition[kLength - 2].c_type = 0;
    EXPECT_EQ(test(1, "A"), 0);
    on_a_small_stack([this] { EXPECT_EQ(test(1, "B"), 1); });
    EXPECT_EQ(bits(), std::string(32767, '1') + std::string(32768, '0'));
    EXPECT_EQ(*Zstdlib_f_errno(), 0);
}

TEST_F(EvaluateConditions, TracesBeginningAndEnd) {
    add_field(0, 1);
    add(XFD_COND_OR, 2, 9);
    compare(XFD_COND_EQ, "A");
    const spies::TraceLevel level(1);
    test(1, "A");
    EXPECT_EQ(spies::take_traces(),
              "+1 6 Z4TestCOBOLCond 1\n+1 6 Z4TestCOBOLCond 9\n-1 6 Leaving, FALSE\n"
              "+1 6 Z4TestCOBOLCond 2\n-1 6 Leaving, TRUE\n-1 6 Leaving, TRUE\n");
    test(0, "");
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4TestCOBOLCond 0\n-1 6 Leaving, TRUE\n");
    test(-1, "");
    EXPECT_EQ(spies::take_traces(), "+1 6 Z4TestCOBOLCond -1\n-1 6 Leaving, FALSE\n");
    f_trace = 0;
    test(1, "A");
    EXPECT_EQ(spies::take_traces(), "");
}

// As a dictionary describes them: an amount and a record type, which is not the
// first field, since "and" and "or" count as conditions on that one.
class LoadedConditions : public support::DictionaryTest {};

TEST_F(LoadedConditions, TellRecordTypesApart) {
    const support::OwnedXfd xfd = load(
        "XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n6\n1,1,KIND,A\n2,1,KIND,\"B C\"\n3,3,KIND\n"
        "4,5,AMOUNT,-7\n5,2,1,4\n6,9,2,3\n2\n4,3,5,3,0,16,0,1,AMOUNT\n0,4,16,4,0,16,0,1,KIND\n");
    ASSERT_NE(xfd, nullptr) << support::file_error();
    const struct {
        const char *record;
        const char *expected;
    } rows[] = {
        {"A   005", "100110"}, {"A   p08", "100000"}, {"A   p07", "100110"}, {"B C 000", "010101"},
        {"C   p09", "001001"}, {"    x  ", "001101"}, {"AB  000", "100110"}, {"ABCD000", "001101"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.record);
        std::string results;
        for (int n = 1; n <= 6; ++n)
            results += Z4TestCOBOLCond(xfd.get(), n, row.record) != 0 ? '1' : '0';
        EXPECT_EQ(results, row.expected);
    }
}

}  // namespace
