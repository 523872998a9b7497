// SPDX-License-Identifier: MIT
#include "host/config.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "host/memory.h"
#include "host/strings.h"
#include "tests/runtime/host_fixture.h"

namespace {

using fixture::Environment;
using fixture::Folder;

// What the handlers heard, "NAME=text/short/announce ".
std::string heard;

void note(const char *name, const char *text, int16_t short_value, int announce) {
    heard.append(name).append("=").append(text).append("/");
    heard.append(std::to_string(short_value)).append("/");
    heard.append(std::to_string(announce)).append(" ");
}

int hear(const char *name, void *value, int16_t short_value, int announce) {
    note(name, value == nullptr ? "null" : static_cast<char *>(value), short_value, announce);
    return 0;
}

int hear_stream(const char *name, void *value, int16_t short_value, int announce) {
    auto string = static_cast<ZString>(value);
    if (string != nullptr) {
        EXPECT_NE(ZIsAString(string), 0);
        EXPECT_EQ(ZStringGetLength(string), strlen(ZStringGet(string)));
    }
    note(name, string == nullptr ? "null" : ZStringGet(string), short_value, announce);
    return 0;
}

const ZCNamedValue kCases[] = {{"LOWER", 0}, {"UPPER", 1}, {"UNCHANGED", 2}};
const ZCNamedValue kIllegal[] = {{nullptr, 0}, {"UNCHANGED", 0}, {"CONVERTED", 1}};
const char kDat[] = "dat";

const ZCVariable kTable[] = {
    {"T_RAW", 1, 0, nullptr, 0, nullptr, 0},
    {"T_BOOL", 2, 1, nullptr, 0, hear, 0},
    {"T_TINY", 3, 1, kCases, 3, hear, 0},
    {"T_ILLEGAL", 3, 0, kIllegal, 3, nullptr, 0},
    {"T_SHORT", 5, 20, nullptr, 0, hear, 0},
    {"T_LONG", 6, 20991231, nullptr, 0, hear, 0},
    {"T_DEFAULTED", 7, reinterpret_cast<intptr_t>(kDat), nullptr, 0, nullptr, 0},
    {"T_TEXT", 8, 0, nullptr, 0, hear, 0},
    {"T_STREAM", 10, 0, nullptr, 0, hear_stream, 0},
    {"T-Mixed_Case", 5, 3, nullptr, 0, hear, 0},
};
constexpr uint32_t kCount = std::size(kTable);

class Config : public testing::Test {
 protected:
    Config() {
        heard.clear();
        fixture::clear_error();
    }

    ~Config() override {
        ZCAnnounce(0);
        ZCUndefineVariables(kTable, kCount, 0);
        for (const ZCVariable &row : kTable)
            forget(row.name);
    }

    // Leaves nothing of a variable, also when it was cleared while undeclared.
    static void forget(const char *name) { ZCSetValueString(name, nullptr); }

    static void declare() { ASSERT_EQ(ZCDefineVariables(kTable, kCount, 0), 1); }

    static std::string take_heard() {
        std::string text = heard;
        heard.clear();
        return text;
    }

    static std::string text_of(const char *name) {
        const char *text = ZCGetValueString(name);
        return text == nullptr ? "null" : text;
    }

    Folder folder_;
};

TEST_F(Config, DefaultsOfTheRows) {
    declare();
    EXPECT_EQ(take_heard(), "") << "declaring without a value calls no handler";
    EXPECT_EQ(text_of("T_RAW"), "null");
    EXPECT_EQ(ZCGetValueBool("T_BOOL", 0), 1);
    EXPECT_EQ(ZCGetValueTinyint("T_TINY", 9), 1);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 9), 20);
    EXPECT_EQ(ZCGetValueLong("T_LONG", 9), 20991231);
    EXPECT_EQ(text_of("T_DEFAULTED"), "dat");
    EXPECT_EQ(text_of("T_TEXT"), "null");
    EXPECT_EQ(text_of("T_STREAM"), "null");
}

TEST_F(Config, OtherwiseIsForNamesThatNobodyDeclared) {
    EXPECT_EQ(ZCGetValueBool("T_BOOL", 0), 0);
    EXPECT_EQ(ZCGetValueBool("T_BOOL", 7), 7);
    EXPECT_EQ(ZCGetValueTinyint("T_TINY", -5), -5);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 300), 300);
    EXPECT_EQ(ZCGetValueLong("T_LONG", 100000), 100000);
    EXPECT_EQ(text_of("T_TEXT"), "null");
    ZCSetValueString("T_SHORT", "5");
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 300), 300) << "a waiting value is not in force";
    EXPECT_EQ(ZCGetValueLong(nullptr, 8), 8);
    EXPECT_EQ(ZCGetValueString(nullptr), nullptr);
}

TEST_F(Config, NamesCompareWithoutCaseAndDashesAreUnderscores) {
    declare();
    EXPECT_EQ(ZCSetValueString("t-mixed-CASE", "7"), 1);
    for (const char *name : {"T_MIXED_CASE", "t_mixed_case", "T-MIXED-CASE", "T-Mixed_Case"})
        EXPECT_EQ(ZCGetValueShort(name, 0), 7) << name;
    for (const char *name : {"TMIXED_CASE", "T_MIXED_CASE_", "T_MIXED CASE", ""})
        EXPECT_EQ(ZCGetValueShort(name, -1), -1) << name;
    EXPECT_EQ(take_heard(), "T-Mixed_Case=7/7/0 ") << "the name as the row spells it";
}

struct ValueRow {
    const char *name, *value;
    bool fits;
    int32_t number;
};

const ValueRow kValueRows[] = {
    {"T_BOOL", "1", true, 1},
    {"T_BOOL", "0", true, 0},
    {"T_BOOL", "on", true, 1},
    {"T_BOOL", "OFF", true, 0},
    {"T_BOOL", "True", true, 1},
    {"T_BOOL", "false", true, 0},
    {"T_BOOL", "yes", true, 1},
    {"T_BOOL", "No", true, 0},
    {"T_BOOL", "2", false, 0},
    {"T_BOOL", "", false, 0},
    {"T_BOOL", "on ", false, 0},
    {"T_BOOL", "y", false, 0},
    {"T_TINY", "127", true, 127},
    {"T_TINY", "-128", true, -128},
    {"T_TINY", "128", false, 0},
    {"T_TINY", "-129", false, 0},
    {"T_TINY", "upper", true, 1},
    {"T_TINY", "Unchanged", true, 2},
    {"T_TINY", "UPPE", false, 0},
    {"T_TINY", "UPPER ", false, 0},
    {"T_ILLEGAL", "converted", true, 1},
    {"T_ILLEGAL", "(null)", false, 0},
    {"T_ILLEGAL", "", false, 0},
    {"T_SHORT", "32767", true, 32767},
    {"T_SHORT", "-32768", true, -32768},
    {"T_SHORT", "32768", false, 0},
    {"T_SHORT", "+5", true, 5},
    {"T_SHORT", "-0", true, 0},
    {"T_SHORT", "007", true, 7},
    {"T_SHORT", "5x", false, 0},
    {"T_SHORT", "5 ", false, 0},
    {"T_SHORT", " 5", false, 0},
    {"T_SHORT", "", false, 0},
    {"T_SHORT", "-", false, 0},
    {"T_SHORT", "+", false, 0},
    {"T_SHORT", "+-5", false, 0},
    {"T_SHORT", "0x5", false, 0},
    {"T_SHORT", "on", false, 0},
    {"T_LONG", "2147483647", true, 2147483647},
    {"T_LONG", "-2147483648", true, INT32_MIN},
    {"T_LONG", "2147483648", false, 0},
    {"T_LONG", "99999999999999999999", false, 0},
};

TEST_F(Config, EveryValueFitsOrIsRefused) {
    declare();
    for (const ValueRow &row : kValueRows) {
        SCOPED_TRACE(std::string(row.name) + "=" + row.value);
        fixture::clear_error();
        ZCSetValueString(row.name, "1");
        heard.clear();
        EXPECT_EQ(ZCSetValueString(row.name, row.value), row.fits ? 1 : 0);
        EXPECT_EQ(ZCGetValueLong(row.name, -77), row.fits ? row.number : 1);
        EXPECT_EQ(text_of(row.name), row.fits ? row.value : "1");
        EXPECT_EQ(*Zstdlib_f_errno(), row.fits ? 0 : 2);
        if (!row.fits) {
            EXPECT_EQ(heard, "") << "a refused value calls no handler";
        }
    }
}

TEST_F(Config, TheMessageSaysWhatWouldBeRight) {
    declare();
    const char *rows[][3] = {
        {"t_bool", "maybe", "2: T_BOOL cannot be 'maybe'; give on or off"},
        {"t_tiny", "300",
         "2: T_TINY cannot be '300'; give a number from -128 to 127, LOWER, UPPER, UNCHANGED"},
        {"t_short", "1.5", "2: T_SHORT cannot be '1.5'; give a number from -32768 to 32767"},
        {"t_long", "x", "2: T_LONG cannot be 'x'; give a number from -2147483648 to 2147483647"},
    };
    for (const auto &row : rows) {
        fixture::clear_error();
        EXPECT_EQ(ZCSetValueString(row[0], row[1]), 0);
        EXPECT_EQ(fixture::error(), row[2]);
    }
    EXPECT_EQ(ZCSetValueString("T_LONG", std::string(100000, 'x').c_str()), 0);
}

TEST_F(Config, GettersKeepToTheirRange) {
    declare();
    ZCSetValueString("T_LONG", "100000");
    EXPECT_EQ(ZCGetValueShort("T_LONG", 0), 32767);
    EXPECT_EQ(ZCGetValueTinyint("T_LONG", 0), 127);
    EXPECT_EQ(ZCGetValueBool("T_LONG", 0), 1);
    ZCSetValueString("T_LONG", "-100000");
    EXPECT_EQ(ZCGetValueShort("T_LONG", 0), -32768);
    EXPECT_EQ(ZCGetValueTinyint("T_LONG", 0), -128);
    ZCSetValueString("T_TEXT", "42");
    EXPECT_EQ(ZCGetValueShort("T_TEXT", 9), 42);
    ZCSetValueString("T_TEXT", "42x");
    EXPECT_EQ(ZCGetValueShort("T_TEXT", 9), 0);
    EXPECT_EQ(ZCGetValueShort("T_STREAM", 9), 0);
}

TEST_F(Config, HandlersHearEachValueAndTheClearing) {
    declare();
    ZCSetValueString("T_BOOL", "off");
    ZCSetValueString("T_TINY", "upper");
    ZCSetValueString("T_SHORT", "-7");
    ZCSetValueString("T_LONG", "100000");
    ZCSetValueString("T_TEXT", "a text");
    ZCSetValueString("T_STREAM", "a=b");
    EXPECT_EQ(take_heard(),
              "T_BOOL=off/0/0 T_TINY=upper/1/0 T_SHORT=-7/-7/0 T_LONG=100000/0/0 "
              "T_TEXT=a text/0/0 T_STREAM=a=b/0/0 ");
    ZCAnnounce(1);
    ZCSetValueString("T_SHORT", "-7");
    ZCSetValueString("T_SHORT", nullptr);
    ZCSetValueString("T_STREAM", nullptr);
    ZCSetValueString("T_STREAM", nullptr);
    EXPECT_EQ(take_heard(),
              "T_SHORT=-7/-7/1 T_SHORT=null/0/1 T_STREAM=null/0/1 T_STREAM=null/0/1 ");
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 20) << "the row's default is back";
}

TEST_F(Config, AnEmptyTextIsSetNotCleared) {
    declare();
    EXPECT_EQ(ZCSetValueString("T_TEXT", ""), 1);
    EXPECT_EQ(ZCSetValueString("T_STREAM", ""), 1);
    EXPECT_EQ(take_heard(), "T_TEXT=/0/0 T_STREAM=/0/0 ");
    EXPECT_EQ(text_of("T_TEXT"), "");
    EXPECT_EQ(ZCSetValueString("T_DEFAULTED", ""), 1);
    EXPECT_EQ(text_of("T_DEFAULTED"), "");
    EXPECT_EQ(ZCSetValueString("T_DEFAULTED", nullptr), 1);
    EXPECT_EQ(text_of("T_DEFAULTED"), "dat");
    EXPECT_EQ(ZCSetValueString("T_TEXT", nullptr), 1);
    EXPECT_EQ(text_of("T_TEXT"), "null");
}

TEST_F(Config, RawTextsStayAsTheyAre) {
    EXPECT_EQ(ZCSetValueRaw("T_RAW", 0, "  \"x\" \n"), 1) << "before it is declared";
    declare();
    EXPECT_EQ(text_of("T_RAW"), "  \"x\" \n");
    EXPECT_EQ(ZCSetValueRaw("t-raw", 0, ""), 1);
    EXPECT_EQ(text_of("T_RAW"), "");
    EXPECT_EQ(ZCSetValueString("T_RAW", " a "), 1);
    EXPECT_EQ(text_of("T_RAW"), " a ");
    EXPECT_EQ(ZCSetValueRaw("T_SHORT", 0, "x"), 0);
}

TEST_F(Config, AValueWaitsForItsRow) {
    EXPECT_EQ(ZCSetValueString("T_SHORT", "1"), 1);
    EXPECT_EQ(ZCSetValueString("t-short", "2"), 1);
    EXPECT_EQ(ZCSetValueString("T_BOOL", "off"), 1);
    EXPECT_EQ(take_heard(), "");
    declare();
    EXPECT_EQ(take_heard(), "T_BOOL=off/0/0 T_SHORT=2/2/0 ") << "in table order";
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 2);
}

TEST_F(Config, EveryWaitingValueOfAStreamIsHeardInOrder) {
    ZCSetValueString("T_STREAM", "one");
    ZCSetValueString("T_STREAM", "two");
    ZCSetValueString("T_STREAM", "two");
    declare();
    ZCSetValueString("T_STREAM", "three");
    EXPECT_EQ(take_heard(),
              "T_STREAM=one/0/0 T_STREAM=two/0/0 T_STREAM=two/0/0 T_STREAM=three/0/0 ");
}

TEST_F(Config, AWaitingValueIsTakenBackByClearing) {
    ZCSetValueString("T_SHORT", "1");
    ZCSetValueString("T_STREAM", "one");
    EXPECT_EQ(ZCSetValueString("T_SHORT", nullptr), 1);
    EXPECT_EQ(ZCSetValueString("T_STREAM", nullptr), 1);
    EXPECT_EQ(ZCSetValueString("T_NEVER_SEEN", nullptr), 1);
    declare();
    EXPECT_EQ(take_heard(), "");
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 20);
}

TEST_F(Config, AWaitingValueThatDoesNotFitIsReportedAndPassedOver) {
    ZCSetValueString("T_SHORT", "x");
    ZCSetValueString("T_LONG", "5");
    fixture::clear_error();
    EXPECT_EQ(ZCDefineVariables(kTable, kCount, 0), 0);
    EXPECT_EQ(fixture::error(), "2: T_SHORT cannot be 'x'; give a number from -32768 to 32767");
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 20) << "declared all the same";
    EXPECT_EQ(ZCGetValueLong("T_LONG", 0), 5);
    EXPECT_EQ(take_heard(), "T_LONG=5/0/0 ");
}

TEST_F(Config, DeclaringAgainChangesNothingAndOneUndeclaringWithdraws) {
    declare();
    ZCSetValueString("T_SHORT", "5");
    take_heard();
    declare();
    EXPECT_EQ(take_heard(), "");
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 5);
    EXPECT_EQ(ZCUndefineVariables(kTable, kCount, 0), 1);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", -1), -1);
    EXPECT_EQ(ZCGetValueBool("T_BOOL", 5), 5);
    EXPECT_EQ(ZCUndefineVariables(kTable, kCount, 0), 1) << "nothing left to withdraw";
}

TEST_F(Config, UndeclaringKeepsWhatWasGiven) {
    declare();
    ZCSetValueString("T_SHORT", "5");
    ZCSetValueString("T_STREAM", "one");
    ZCSetValueString("T_STREAM", "two");
    take_heard();
    ZCUndefineVariables(kTable, kCount, 0);
    EXPECT_EQ(take_heard(), "");
    declare();
    EXPECT_EQ(take_heard(), "T_SHORT=5/5/0 T_STREAM=one/0/0 T_STREAM=two/0/0 ");
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 5);
}

TEST_F(Config, ARowInTwoTablesIsOneVariable) {
    const ZCVariable other[] = {{"t-short", 5, 99, nullptr, 0, nullptr, 0}};
    declare();
    EXPECT_EQ(ZCDefineVariables(other, 1, 0), 1);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 20) << "the first row holds";
    EXPECT_EQ(ZCUndefineVariables(other, 1, 0), 1);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", -1), -1);
}

TEST_F(Config, RowsThatMakeNoSenseDeclareNothing) {
    const ZCVariable rows[][2] = {
        {kTable[4], {nullptr, 5, 0, nullptr, 0, nullptr, 0}},
        {kTable[4], {"", 5, 0, nullptr, 0, nullptr, 0}},
        {kTable[4], {"T_NEW", 4, 0, nullptr, 0, nullptr, 0}},
        {kTable[4], {"T_NEW", 0, 0, nullptr, 0, nullptr, 0}},
        {kTable[4], {"T_NEW", 11, 0, nullptr, 0, nullptr, 0}},
    };
    for (const auto &table : rows) {
        fixture::clear_error();
        EXPECT_EQ(ZCDefineVariables(table, 2, 0), 0);
        EXPECT_EQ(*Zstdlib_f_errno(), 2);
        EXPECT_NE(*Zstdlib_f_errmsg(), nullptr);
        EXPECT_EQ(ZCGetValueShort("T_SHORT", -1), -1);
    }
    declare();
    const ZCVariable other = {"T_SHORT", 6, 0, nullptr, 0, nullptr, 0};
    EXPECT_EQ(ZCDefineVariables(&other, 1, 0), 0);
    EXPECT_EQ(fixture::error(), "2: configuration variable T_SHORT is declared with type 5, not 6");
}

TEST_F(Config, NamesOfNoUseAreRefused) {
    for (const std::string &name : {std::string(), std::string(256, 'X')}) {
        fixture::clear_error();
        EXPECT_EQ(ZCSetValueString(name.c_str(), "1"), 0);
        EXPECT_EQ(*Zstdlib_f_errno(), 2);
    }
    EXPECT_EQ(ZCSetValueString(nullptr, "1"), 0);
    EXPECT_EQ(ZCSetValueString(nullptr, nullptr), 0);
    const std::string longest(255, 'X');
    EXPECT_EQ(ZCSetValueString(longest.c_str(), "1"), 1);
    forget(longest.c_str());
}

TEST_F(Config, IndicatorsFollowTheValue) {
    declare();
    unsigned char first = 99;
    unsigned char second = 99;
    EXPECT_EQ(ZCDefineIndicator("t-bool", 0, &first), 1);
    EXPECT_EQ(first, 1) << "at once";
    ZCSetValueString("T_BOOL", "off");
    EXPECT_EQ(first, 0);
    EXPECT_EQ(ZCDefineIndicator("T_BOOL", 0, &second), 1);
    EXPECT_EQ(second, 0);
    ZCSetValueString("T_BOOL", "maybe");
    EXPECT_EQ(first, 0);
    ZCSetValueString("T_BOOL", "on");
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
    ZCSetValueString("T_BOOL", "0");
    ZCSetValueString("T_BOOL", nullptr);
    EXPECT_EQ(first, 1) << "the default after clearing";
    first = second = 77;
    ZCUndefineVariables(kTable, kCount, 0);
    declare();
    ZCSetValueString("T_BOOL", "off");
    EXPECT_EQ(first, 77) << "until the variable is undeclared";
    EXPECT_EQ(second, 77);
}

TEST_F(Config, AnIndicatorBoundAgainTakesNoMoreMemory) {
    declare();
    unsigned char byte = 99;
    ASSERT_EQ(ZCDefineIndicator("T_BOOL", 0, &byte), 1);
    const size_t blocks = ZMemoryBlocks(nullptr);
    byte = 77;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ZCDefineIndicator("T_BOOL", 0, &byte), 1);
    EXPECT_EQ(byte, 1);
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
}

TEST_F(Config, IndicatorsOfOtherTypes) {
    declare();
    unsigned char byte = 99;
    ASSERT_EQ(ZCDefineIndicator("T_SHORT", 0, &byte), 1);
    EXPECT_EQ(byte, 20);
    ASSERT_EQ(ZCDefineIndicator("T_TEXT", 0, &byte), 1);
    EXPECT_EQ(byte, 0);
    ZCSetValueString("T_TEXT", "x");
    EXPECT_EQ(byte, 1);
}

TEST_F(Config, AnIndicatorNeedsADeclaredVariable) {
    unsigned char byte = 99;
    ZCSetValueString("T_BOOL", "on");
    EXPECT_EQ(ZCDefineIndicator("T_BOOL", 0, &byte), 0);
    EXPECT_EQ(*Zstdlib_f_errno(), 2);
    declare();
    EXPECT_EQ(ZCDefineIndicator("T_BOOL", 0, nullptr), 0);
    EXPECT_EQ(ZCDefineIndicator(nullptr, 0, &byte), 0);
    EXPECT_EQ(byte, 99);
}

TEST_F(Config, TheIndicatorIsReadyWhenTheHandlerRuns) {
    static unsigned char byte;
    static int seen;
    const ZCVariable row = {"T_SEEN",
                            2,
                            0,
                            nullptr,
                            0,
                            [](const char *, void *, int16_t, int) {
                                seen = byte;
                                return 0;
                            },
                            0};
    ASSERT_EQ(ZCDefineVariables(&row, 1, 0), 1);
    ASSERT_EQ(ZCDefineIndicator("T_SEEN", 0, &byte), 1);
    ZCSetValueString("T_SEEN", "on");
    EXPECT_EQ(seen, 1);
    ZCSetValueString("T_SEEN", nullptr);
    EXPECT_EQ(seen, 0);
    ZCUndefineVariables(&row, 1, 0);
}

TEST_F(Config, TheProgramComesBeforeTheEnvironmentBeforeTheFileBeforeTheDefault) {
    const std::string path = folder_.write("config", "T_SHORT 1\nT_LONG 1\nT_TINY 1\n");
    Environment short_value("T_SHORT", "2");
    Environment long_value("T_LONG", "2");
    ASSERT_EQ(ZCLoadFile(path.c_str()), 1);
    ZCSetValueString("T_SHORT", "3");
    declare();
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 3);
    EXPECT_EQ(ZCGetValueLong("T_LONG", 0), 2);
    EXPECT_EQ(ZCGetValueTinyint("T_TINY", 0), 1);
    EXPECT_EQ(take_heard(), "T_TINY=1/1/0 T_SHORT=3/3/0 T_LONG=2/0/0 ");
    // A file that is loaded later changes only what nobody stronger gave.
    const std::string later = folder_.write("later", "T_SHORT 4\nT_LONG 4\nT_TINY 4\n");
    ASSERT_EQ(ZCLoadFile(later.c_str()), 1);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 3);
    EXPECT_EQ(ZCGetValueLong("T_LONG", 0), 2);
    EXPECT_EQ(ZCGetValueTinyint("T_TINY", 0), 4);
    EXPECT_EQ(take_heard(), "T_TINY=4/4/0 ");
    ZCSetValueString("T_LONG", "5");
    EXPECT_EQ(ZCGetValueLong("T_LONG", 0), 5);
}

TEST_F(Config, ClearingTakesBackWhatEverybodyGave) {
    const std::string path = folder_.write("config", "T_SHORT 1\n");
    {
        Environment value("T_SHORT", "2");
        ASSERT_EQ(ZCLoadFile(path.c_str()), 1);
        declare();
    }
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 2);
    ZCSetValueString("T_SHORT", nullptr);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 20);
    ASSERT_EQ(ZCLoadFile(path.c_str()), 1);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 1) << "a new word of the file counts again";
    ZCSetValueString("T_SHORT", nullptr);
    ZCUndefineVariables(kTable, kCount, 0);
    declare();
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 20);
}

TEST_F(Config, TheEnvironmentSpeaksInUpperCaseAndKeepsDashes) {
    Environment dashed("T-MIXED_CASE", "5");
    Environment lower("t_short", "6");
    declare();
    EXPECT_EQ(ZCGetValueShort("T_MIXED_CASE", 0), 5);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 20);
}

TEST_F(Config, AStreamHearsTheFileThenTheEnvironmentThenTheProgram) {
    const std::string path = folder_.write("config", "T_STREAM f1\nT_STREAM=f2\n");
    Environment value("T_STREAM", "e");
    ZCSetValueString("T_STREAM", "p");
    ASSERT_EQ(ZCLoadFile(path.c_str()), 1);
    declare();
    EXPECT_EQ(take_heard(), "T_STREAM=f1/0/0 T_STREAM=f2/0/0 T_STREAM=e/0/0 T_STREAM=p/0/0 ");
    ASSERT_EQ(ZCLoadFile(path.c_str()), 1);
    EXPECT_EQ(take_heard(), "T_STREAM=f1/0/0 T_STREAM=f2/0/0 ");
}

TEST_F(Config, ABadEnvironmentLeavesTheFileInForce) {
    const std::string path = folder_.write("config", "T_SHORT 1\n");
    Environment value("T_SHORT", "many");
    ASSERT_EQ(ZCLoadFile(path.c_str()), 1);
    EXPECT_EQ(ZCDefineVariables(kTable, kCount, 0), 0);
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 1);
}

TEST_F(Config, EveryFormOfALine) {
    declare();
    const std::pair<const char *, const char *> rows[] = {
        {"T_TEXT a b", "a b"},
        {"T_TEXT=a b", "a b"},
        {"  T_TEXT \t a b \t\r", "a b"},
        {"T_TEXT = a=b", "a=b"},
        {"t-text\ta", "a"},
        {"T_TEXT==a", "=a"},
        {"T_TEXT a # b", "a # b"},
        {"T_TEXT=", ""},
        {"T_TEXT = ", ""},
        {"T_TEXT \"a b\":c", "\"a b\":c"},
        {"T_TEXT a\n# T_TEXT b\n\n  # T_TEXT c", "a"},
        {"T_TEXT a\nT_TEXT b", "b"},
    };
    for (const auto &[line, text] : rows) {
        ZCSetValueString("T_TEXT", nullptr);
        for (const char *end : {"", "\n", "\n\n"}) {
            const std::string path = folder_.write("config", std::string(line) + end);
            EXPECT_EQ(ZCLoadFile(path.c_str()), 1) << line;
            EXPECT_EQ(text_of("T_TEXT"), text) << line;
        }
    }
}

TEST_F(Config, AnEmptyFileSetsNothing) {
    EXPECT_EQ(ZCLoadFile(folder_.write("config", "").c_str()), 1);
    EXPECT_EQ(ZCLoadFile(folder_.write("config", "# nothing\n").c_str()), 1);
}

TEST_F(Config, OfAFileWithABadLineNothingCounts) {
    declare();
    const std::pair<std::string, std::string> rows[] = {
        {"T_TEXT a\nT_SHORT x\n",
         "line 2: T_SHORT cannot be 'x'; give a number from -32768 to 32767"},
        {"T_TEXT a\n\n#\nT_TEXT\n", "line 4: 'T_TEXT' has no value; write NAME=VALUE"},
        {"T_TEXT a\n=b\n", "line 2: '=b' does not begin with a name of 1 to 255 bytes"},
        {std::string("T_TEXT a\n").append(256, 'X') + " b\n",
         std::string("line 2: '").append(200, 'X') +
             "' does not begin with a name of 1 to 255 bytes"},
    };
    for (const auto &[text, reason] : rows) {
        fixture::clear_error();
        const std::string path = folder_.write("config", text);
        EXPECT_EQ(ZCLoadFile(path.c_str()), 0);
        EXPECT_EQ(fixture::error(), "2: " + path + ", " + reason);
        EXPECT_EQ(text_of("T_TEXT"), "null");
        EXPECT_EQ(take_heard(), "");
    }
}

TEST_F(Config, AFileThatCannotBeReadSaysWhy) {
    const std::string missing = folder_.path("missing");
    EXPECT_EQ(ZCLoadFile(missing.c_str()), 0);
    EXPECT_EQ(fixture::error(), "2: configuration file '" + missing +
                                    "' cannot be read (No such file or directory); give a file "
                                    "that exists");
    EXPECT_EQ(ZCLoadFile(folder_.path().c_str()), 0);
    EXPECT_NE(fixture::error().find("Is a directory"), std::string::npos);
    EXPECT_EQ(ZCLoadFile(nullptr), 0);
    const std::string binary = folder_.write("config", std::string("T_TEXT a\nT\0", 11));
    EXPECT_EQ(ZCLoadFile(binary.c_str()), 0);
    EXPECT_EQ(fixture::error(),
              "2: configuration file '" + binary + "', line 2: a zero byte; a text file has none");
}

TEST_F(Config, LargeFilesAndLongLines) {
    declare();
    const std::string value(1000000, 'v');
    EXPECT_EQ(ZCLoadFile(folder_.write("config", "T_TEXT " + value).c_str()), 1);
    EXPECT_TRUE(text_of("T_TEXT") == value);
    fixture::clear_error();
    const std::string path = folder_.write("config", std::string("T_TEXT ").append(5 << 20, 'v'));
    EXPECT_EQ(ZCLoadFile(path.c_str()), 0);
    EXPECT_EQ(fixture::error(),
              "2: configuration file '" + path + "' is larger than 4194304 bytes");
}

TEST_F(Config, AHandlerMaySetVariables) {
    const ZCVariable row = {"T_CHAIN",
                            8,
                            0,
                            nullptr,
                            0,
                            [](const char *, void *value, int16_t, int) {
                                if (value != nullptr)
                                    ZCSetValueString("T_SHORT", static_cast<char *>(value));
                                return 0;
                            },
                            0};
    declare();
    ASSERT_EQ(ZCDefineVariables(&row, 1, 0), 1);
    ZCSetValueString("T_CHAIN", "12");
    EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 12);
    ZCUndefineVariables(&row, 1, 0);
    forget("T_CHAIN");
}

TEST_F(Config, TheHostsOwnVariablesAreAlwaysThere) {
    EXPECT_EQ(ZCGetValueLong("COBOL_CODE_PAGE", 0), 28591);
    EXPECT_EQ(text_of("XFD_PREFIX"), "null");
    EXPECT_EQ(ZCSetValueString("XFD_DIRECTORY", "/data"), 1);
    const ZCVariable row = {"XFD_DIRECTORY", 8, 0, nullptr, 0, nullptr, 0};
    EXPECT_EQ(ZCDefineVariables(&row, 1, 0), 1);
    EXPECT_EQ(ZCUndefineVariables(&row, 1, 0), 1);
    EXPECT_EQ(text_of("xfd-directory"), "/data");
    EXPECT_EQ(ZCSetValueString("XFD_DIRECTORY", nullptr), 1);
    EXPECT_EQ(text_of("XFD_DIRECTORY"), "null");
}

TEST_F(Config, ThousandsOfNamesAreFoundAndForgotten) {
    const size_t blocks = ZMemoryBlocks(nullptr);
    const int kNames = 5000;
    auto name = [](int i) { return std::string("T_MANY_").append(std::to_string(i)); };
    for (int i = 0; i < kNames; ++i)
        ASSERT_EQ(ZCSetValueString(name(i).c_str(), std::to_string(i).c_str()), 1);
    for (int i = 0; i < kNames; ++i) {
        const std::string own = name(i);
        const ZCVariable row = {own.c_str(), 6, -1, nullptr, 0, nullptr, 0};
        ASSERT_EQ(ZCDefineVariables(&row, 1, 0), 1);
        ASSERT_EQ(ZCGetValueLong(own.c_str(), -2), i);
        ASSERT_EQ(ZCUndefineVariables(&row, 1, 0), 1);
        ASSERT_EQ(ZCSetValueString(own.c_str(), nullptr), 1);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
}

// A program may set a variable before every file it opens.
TEST_F(Config, ValuesDoNotPileUp) {
    declare();
    for (const char *name : {"T_STREAM", "T_TEXT", "T_NOBODY_KNOWS"}) {
        const size_t before = ZMemoryInUse(nullptr);
        const std::string value(1000, 'x');
        for (int i = 0; i < 5000; ++i) {
            ASSERT_EQ(ZCSetValueString(name, value.c_str()), 1);
            heard.clear();
        }
        EXPECT_LT(ZMemoryInUse(nullptr) - before, size_t{2} << 20) << name;
        ZCSetValueString(name, nullptr);
    }
}

TEST_F(Config, WithdrawnAndClearedVariablesLeaveNoMemory) {
    const size_t blocks = ZMemoryBlocks(nullptr);
    declare();
    unsigned char byte;
    ZCDefineIndicator("T_BOOL", 0, &byte);
    for (const ZCVariable &row : kTable)
        ZCSetValueString(row.name, "1");
    for (const ZCVariable &row : kTable)
        ZCSetValueString(row.name, nullptr);
    ZCUndefineVariables(kTable, kCount, 0);
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
}

TEST_F(Config, ARefusedDeclarationDeclaresNothing) {
    Environment value("T_TEXT", "of the environment");
    fixture::refuse_each(
        [] {
            fixture::clear_error();
            const bool done = ZCDefineVariables(kTable, kCount, 0) == 1;
            if (!done) {
                EXPECT_EQ(fixture::error(), "14");
                EXPECT_EQ(ZCGetValueShort("T_SHORT", -1), -1);
                EXPECT_EQ(ZCGetValueString("T_TEXT"), nullptr);
            }
            return done;
        },
        [] { ZCUndefineVariables(kTable, kCount, 0); });
}

TEST_F(Config, ARefusedValueChangesNothing) {
    declare();
    ZCSetValueString("T_SHORT", "5");
    fixture::refuse_each(
        [] {
            fixture::clear_error();
            heard.clear();
            const bool done = ZCSetValueString("T_SHORT", "6") == 1;
            if (!done) {
                EXPECT_EQ(fixture::error(), "14");
                EXPECT_EQ(ZCGetValueShort("T_SHORT", 0), 5);
                EXPECT_EQ(heard, "");
            }
            return done;
        },
        [] {});
}

TEST_F(Config, ARefusedValueOfAStreamIsNotKept) {
    declare();
    fixture::refuse_each(
        [] {
            fixture::clear_error();
            heard.clear();
            const bool done = ZCSetValueString("T_STREAM", "x") == 1;
            if (!done) {
                EXPECT_EQ(fixture::error(), "14");
                EXPECT_EQ(heard, "");
            }
            return done;
        },
        [] { ZCSetValueString("T_STREAM", nullptr); });
}

TEST_F(Config, ARefusedWaitingValueIsNotKept) {
    fixture::refuse_each([] { return ZCSetValueString("T_SHORT", "6") == 1; },
                         [] { ZCSetValueString("T_SHORT", nullptr); });
}

TEST_F(Config, ARefusedIndicatorIsNotBound) {
    declare();
    unsigned char byte = 99;
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(ZCDefineIndicator("T_BOOL", 0, &byte), 0);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(fixture::error(), "14");
    ZCSetValueString("T_BOOL", "off");
    EXPECT_EQ(byte, 99);
}

TEST_F(Config, ARefusedFileSaysSo) {
    const std::string path = folder_.write("config", "T_SHORT 1\nT_TEXT x\n");
    declare();
    for (int64_t nth = 1;; ++nth) {
        ASSERT_LT(nth, 100);
        fixture::clear_error();
        ZMemoryRefuse(nth, 1);
        const bool done = ZCLoadFile(path.c_str()) == 1;
        const bool refused = ZMemoryRefused() > 0;
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(done, !refused);
        EXPECT_EQ(fixture::error(), refused ? "14" : "0");
        if (!refused)
            break;
    }
}

// Whatever the byte, whatever its place in the name.
TEST_F(Config, EveryByteOfANameIsFoldedByItself) {
    for (size_t length : {3U, 4U, 8U, 19U}) {
        for (size_t at = 0; at < length; ++at) {
            for (int c = 1; c < 256; ++c) {
                std::string written = std::string("@`[{zA^m~qBp,.8_KLMN").substr(0, length);
                std::string folded = std::string("@`[{ZA^M~QBP,.8_KLMN").substr(0, length);
                written[at] = static_cast<char>(c);
                folded[at] = static_cast<char>(c == '-'               ? '_'
                                               : c >= 'a' && c <= 'z' ? c - ('a' - 'A')
                                                                      : c);
                const ZCVariable row = {folded.c_str(), 6, 77, nullptr, 0, nullptr, 0};
                ASSERT_EQ(ZCDefineVariables(&row, 1, 0), 1);
                EXPECT_EQ(ZCGetValueLong(written.c_str(), 0), 77) << written;
                written[at] = static_cast<char>(c == '!' ? '#' : '!');
                EXPECT_EQ(ZCGetValueLong(written.c_str(), 0), 0) << folded;
                ZCUndefineVariables(&row, 1, 0);
            }
        }
    }
}

}  // namespace
