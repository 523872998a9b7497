// SPDX-License-Identifier: MIT
#include "fsi/fsivars.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "host/config.h"
#include "host/errors.h"
#include "host/memory.h"
#include "tests/fsi/spies.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/locate.h"

namespace {

// "pattern>replacement" of every entry, in order.
std::string map_text() {
    std::string text;
    for (const fsi::NameMapEntry &entry : fsi::name_map()) {
        text.append(text.empty() ? "" : " ").append(entry.pattern);
        text.append(">").append(entry.replacement);
    }
    return text;
}

std::string mapped(const std::string &name) {
    char buffer[260] = {};
    return Z4GetXFDName(buffer, name.c_str());
}

// All texts over an alphabet up to a length.
std::vector<std::string> texts(const std::string &alphabet, size_t length) {
    std::vector<std::string> all = {""};
    for (size_t begin = 0, round = 0; round < length; ++round) {
        const size_t end = all.size();
        for (; begin < end; ++begin) {
            for (const char c : alphabet)
                all.push_back(all[begin] + c);
        }
    }
    return all;
}

// The pairs of a setting, taken apart with whole strings.
std::string pairs_of(const std::string &text) {
    const std::string white_space = " \t\n\v\f\r";
    std::string result;
    size_t at = 0;
    for (auto left = std::count(text.begin(), text.end(), '='); left > 0; --left) {
        at = text.find_first_not_of(white_space, at);
        if (at == text.npos)
            break;
        size_t end = std::min(text.find_first_of(white_space + "=", at), text.size());
        result.append(result.empty() ? "" : " ").append(text, at, end - at).append(">");
        at = std::min(text.find_first_not_of(white_space + "=", end), text.size());
        end = std::min(text.find_first_of(white_space + ",", at), text.size());
        result.append(text, at, end - at);
        at = std::min(end + 1, text.size());
    }
    return result;
}

class FsiVars : public testing::Test {
 protected:
    void SetUp() override {
        fsi_init_cfg();
        spies::messages.clear();
        spies::traces.clear();
    }
    void TearDown() override {
        ZCAnnounce(0);
        for (const char *name : {"XFD_MAP", "XFD_MAP_RESETS", "FILE_TRACE", "STRENGTHEN_LOCKS"})
            ZCSetValueString(name, nullptr);
        EXPECT_EQ(ZMemoryBlocks("XFD map"), 0U);
        EXPECT_EQ(ZMemoryBlocks("XFD map holder"), 0U);
    }
};

TEST_F(FsiVars, NameMapIsParsedToTheLetter) {
    const struct {
        const char *row;
        const char *setting;
        const char *expected;
    } kRows[] = {
        {"two pairs", "CUST?=customer,ORD?=orders", "cust?>customer ord?>orders"},
        {"one pair", "a=b", "a>b"},
        {"white space between pairs", "a=b c=d\te=f\n\vg=h", "a>b c>d e>f g>h"},
        {"white space around =", "a = b, c\t=\td", "a>b c>d"},
        {"several = count as one", "a==b,c", "a>b c>"},
        {"names are standardised", "My-File=OTHER-name", "my_file>other_name"},
        {"white space before a comma", "a=b , c=d", "a>b ,>c=d"},
        {"an = within a replacement", "a=b=c", "a>b=c"},
        {"several = within a replacement", "a=b=c=d=e", "a>b=c=d=e"},
        {"and then a pair", "a=b=c,d=e", "a>b=c d>e"},
        {"an empty pattern", "=b", ">b"},
        {"an empty replacement", "a=", "a>"},
        {"an empty replacement, then a pair", "a=,c=d", "a> c>d"},
        {"a lone =", "=", ">"},
        {"only =", "===", ">"},
        {"a pattern without = behind a pair too many", "a==b,cd", "a>b cd>"},
        {"a comma at the end", "a=b,", "a>b"},
        {"white space at the end", "a==b,   ", "a>b"},
        {"white space in front", "   a=b", "a>b"},
        {"a comma in a pattern", ",a=b", ",a>b"},
        {"no =", "abc", ""},
        {"no = but commas", "a,b,c", ""},
        {"blank", "   ", ""},
        {"empty", "", ""},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        ASSERT_EQ(ZCSetValueString("XFD_MAP", row.setting), 1);
        EXPECT_EQ(map_text(), row.expected);
        EXPECT_EQ(ZMemoryBlocks("XFD map holder"), *row.expected != '\0' ? 1U : 0U);
    }
}

TEST_F(FsiVars, EverySettingIsParsedByOneRule) {
    for (const std::string &text : texts("a=, ", 7)) {
        ASSERT_EQ(ZCSetValueString("XFD_MAP", text.c_str()), 1);
        ASSERT_EQ(map_text(), pairs_of(text)) << "'" << text << "'";
    }
}

TEST_F(FsiVars, SettingReplacesTheMapUnlessToldNotTo) {
    ZCSetValueString("XFD_MAP", "a=b");
    ZCSetValueString("XFD_MAP", "a=b");
    EXPECT_EQ(map_text(), "a>b");
    ZCSetValueString("XFD_MAP_RESETS", "0");
    ZCSetValueString("XFD_MAP", "a=c,d=e");
    EXPECT_EQ(map_text(), "a>b a>c d>e");
    EXPECT_EQ(mapped("a"), "b");
    ZCSetValueString("XFD_MAP", "no mapping");
    ZCSetValueString("XFD_MAP", "");
    EXPECT_EQ(map_text(), "a>b a>c d>e");
    // Clearing the flag means 1, not 0.
    ZCSetValueString("XFD_MAP_RESETS", nullptr);
    ZCSetValueString("XFD_MAP", "f=g");
    EXPECT_EQ(map_text(), "f>g");
    ZCSetValueString("XFD_MAP", "without a pair");
    EXPECT_EQ(map_text(), "");
    ZCSetValueString("XFD_MAP", "f=g");
    ZCSetValueString("XFD_MAP", "");
    EXPECT_EQ(map_text(), "");
}

TEST_F(FsiVars, ClearingEmptiesTheMapWhateverTheFlag) {
    ZCSetValueString("XFD_MAP_RESETS", "0");
    ZCSetValueString("XFD_MAP", "a=b,c=d");
    ZCSetValueString("XFD_MAP", "e=f");
    ZCSetValueString("XFD_MAP", nullptr);
    EXPECT_EQ(map_text(), "");
    EXPECT_TRUE(fsi::name_map().empty());
}

TEST_F(FsiVars, MapIsBounded) {
    ZCSetValueString("XFD_MAP", "a=b");
    ZCSetValueString("XFD_MAP_RESETS", "0");
    ZCSetValueString("XFD_MAP", std::string(1000001, '=').c_str());
    EXPECT_EQ(map_text(), "a>b");
}

TEST_F(FsiVars, FirstMatchingPatternNames) {
    ZCSetValueString("XFD_MAP", "client?=one,client*=clients,*=rest");
    const struct {
        const char *name, *expected;
    } kRows[] = {
        {"client1", "one"},  {"client12", "clients"}, {"client", "clients"}, {"clients", "one"},
        {"Client1", "rest"}, {"order", "rest"},       {"", "rest"},          {"xclient1", "rest"},
    };
    for (const auto &row : kRows)
        EXPECT_EQ(mapped(row.name), row.expected) << row.name;
    ZCSetValueString("XFD_MAP", nullptr);
    EXPECT_EQ(mapped("client1"), "client1");
}

TEST_F(FsiVars, MappedNamesAreCutAt129WithoutAZero) {
    ZCSetValueString("XFD_MAP", ("long=" + std::string(200, 'r')).c_str());
    for (const size_t length : {0U, 1U, 128U, 129U, 130U, 259U}) {
        SCOPED_TRACE(length);
        char buffer[260];
        std::memset(buffer, '#', sizeof buffer);
        const std::string name(length, 'n');
        EXPECT_EQ(Z4GetXFDName(buffer, name.c_str()), buffer);
        const std::string written = name.substr(0, 129);
        EXPECT_EQ(std::string(buffer, written.size()), written);
        EXPECT_EQ(buffer[written.size()], length < 129 ? '\0' : '#');
        EXPECT_EQ(buffer[written.size() + 1], '#');
    }
    char buffer[260];
    std::memset(buffer, '#', sizeof buffer);
    Z4GetXFDName(buffer, "long");
    EXPECT_EQ(std::string(buffer, 130), std::string(129, 'r') + "#");
}

TEST_F(FsiVars, DestinationMayBeTheSource) {
    ZCSetValueString("XFD_MAP", "a*=bee");
    char buffer[260] = "apple";
    EXPECT_STREQ(Z4GetXFDName(buffer, buffer), "bee");
    EXPECT_STREQ(Z4GetXFDName(buffer, buffer), "bee");
}

TEST_F(FsiVars, PatternsCoverTheWholeName) {
    const struct {
        const char *pattern, *name;
        bool expected;
    } kRows[] = {
        {"", "", true},
        {"", "a", false},
        {"a", "", false},
        {"a", "a", true},
        {"a", "A", false},
        {"a", "ab", false},
        {"ab", "a", false},
        {"?", "", false},
        {"?", "a", true},
        {"?", "ab", false},
        {"??", "ab", true},
        {"a?c", "abc", true},
        {"a?c", "ac", false},
        {"*", "", true},
        {"*", "anything", true},
        {"**", "", true},
        {"**", "anything", true},
        {"a*", "a", true},
        {"a*", "abc", true},
        {"a*", "b", false},
        {"*a", "a", true},
        {"*a", "bca", true},
        {"*a", "bcab", false},
        {"*a", "aab", false},
        {"*ab*", "xxabyy", true},
        {"*ab*", "xaxbx", false},
        {"a*b*c", "abc", true},
        {"a*b*c", "aXbYbZc", true},
        {"a*b*c", "aXcYb", false},
        {"a**c", "abbbc", true},
        {"*?", "", false},
        {"*?", "a", true},
        {"?*", "a", true},
        {"?*?", "a", false},
        {"?*?", "ab", true},
        {"*.dat", "file.dat", true},
        {"*.dat", "file.dat.dat", true},
        {"*.dat", "file.data", false},
        {"a*aab", "aaaab", true},
        {"*aab", "aaaaab", true},
        {"*abab?", "abababc", true},
        {"*", "with*star", true},
        {"a*?c", "a*bc", true},
        {"\xFF?", "\xFF\x80", true},
    };
    for (const auto &row : kRows)
        EXPECT_EQ(fsi::matches_pattern(row.pattern, row.name), row.expected)
            << row.pattern << " against " << row.name;
}

// The rule as it is said: try every start for what follows a "*".
bool matches_by_trying(const char *pattern, const char *name) {
    if (*pattern == '\0')
        return *name == '\0';
    if (*pattern == '*') {
        for (;; ++name) {
            if (matches_by_trying(pattern + 1, name))
                return true;
            if (*name == '\0')
                return false;
        }
    }
    return *name != '\0' && (*pattern == '?' || *pattern == *name) &&
           matches_by_trying(pattern + 1, name + 1);
}

TEST_F(FsiVars, MatchingAgreesWithTryingEverything) {
    for (const std::string &pattern : texts("ab?*", 5)) {
        for (const std::string &name : texts("ab", 6)) {
            ASSERT_EQ(fsi::matches_pattern(pattern.c_str(), name.c_str()),
                      matches_by_trying(pattern.c_str(), name.c_str()))
                << pattern << " against " << name;
        }
    }
}

TEST_F(FsiVars, HostilePatternsCostNoMoreThanTheProduct) {
    // Trying every start would take more steps than there are atoms.
    std::string pattern;
    for (int i = 0; i < 2000; ++i)
        pattern += "*a";
    pattern += "*b";
    const std::string name(4000, 'a');
    EXPECT_FALSE(fsi::matches_pattern(pattern.c_str(), name.c_str()));
    EXPECT_TRUE(fsi::matches_pattern(pattern.c_str(), (name + "b").c_str()));
}

TEST_F(FsiVars, HandlersKeepNumbersUpToDate) {
    const struct {
        const char *name;
        int16_t *number;
        const char *value;
        int16_t expected;
    } kRows[] = {
        {"FILE_TRACE", &f_trace, "7", 7},
        {"FILE_TRACE", &f_trace, "-3", -3},
        {"FILE_TRACE", &f_trace, "32767", 32767},
        {"FILE_TRACE", &f_trace, nullptr, 0},
        {"STRENGTHEN_LOCKS", Zstdlib_f_upgrade_rlock(), "yes", 1},
        {"STRENGTHEN_LOCKS", Zstdlib_f_upgrade_rlock(), "0", 0},
        {"STRENGTHEN_LOCKS", Zstdlib_f_upgrade_rlock(), "on", 1},
        {"STRENGTHEN_LOCKS", Zstdlib_f_upgrade_rlock(), nullptr, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.name) + " " + (row.value == nullptr ? "-" : row.value));
        EXPECT_EQ(ZCSetValueString(row.name, row.value), 1);
        EXPECT_EQ(*row.number, row.expected);
    }
}

TEST_F(FsiVars, RefusedValuesChangeNothing) {
    ZCSetValueString("FILE_TRACE", "5");
    ZCSetValueString("XFD_MAP_RESETS", "0");
    ZCSetValueString("XFD_MAP", "a=b");
    spies::ErrorOutput errors;
    for (const char *value : {"32768", "-32769", "ten", "5 5", "0x10"}) {
        EXPECT_EQ(ZCSetValueString("FILE_TRACE", value), 0) << value;
        EXPECT_EQ(f_trace, 5) << value;
    }
    EXPECT_EQ(ZCSetValueString("XFD_MAP_RESETS", "perhaps"), 0);
    ZCSetValueString("XFD_MAP", "c=d");
    EXPECT_EQ(map_text(), "a>b c>d");
}

TEST_F(FsiVars, SettingsAreAnnouncedOnRequest) {
    const struct {
        const char *name;
        const char *value;
        const char *expected;
    } kRows[] = {
        {"FILE_TRACE", "12", "Set parameter 'FILE_TRACE' to '12'\n"},
        {"FILE_TRACE", "-32768", "Set parameter 'FILE_TRACE' to '-32768'\n"},
        {"FILE_TRACE", nullptr, "Set parameter 'FILE_TRACE' to '0'\n"},
        {"STRENGTHEN_LOCKS", "true", "Set parameter 'STRENGTHEN_LOCKS' to '1'\n"},
        {"STRENGTHEN_LOCKS", nullptr, "Set parameter 'STRENGTHEN_LOCKS' to '0'\n"},
        {"XFD_MAP_RESETS", "no", "Set parameter 'XFD_MAP_RESETS' to '0'\n"},
        {"XFD_MAP_RESETS", nullptr, "Set parameter 'XFD_MAP_RESETS' to '1'\n"},
        {"XFD_MAP", "CUST?=customer", "Set parameter 'XFD_MAP' to 'CUST?=customer'\n"},
        {"XFD_MAP", "no pair", "Set parameter 'XFD_MAP' to 'no pair'\n"},
        {"XFD_MAP", "", ""},
        {"XFD_MAP", nullptr, ""},
    };
    spies::ErrorOutput errors;
    ZCAnnounce(1);
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.name) + " " + (row.value == nullptr ? "-" : row.value));
        spies::messages.clear();
        ZCSetValueString(row.name, row.value);
        EXPECT_EQ(errors.take(), row.expected);
        EXPECT_EQ(spies::take_messages(), *row.expected != '\0' ? "672/0\n" : "");
    }
    ZCAnnounce(0);
    for (const auto &row : kRows)
        ZCSetValueString(row.name, row.value);
    EXPECT_EQ(errors.take(), "");
}

}  // namespace
