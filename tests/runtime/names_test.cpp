// SPDX-License-Identifier: MIT
#include "host/names.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/charset.h"
#include "host/memory.h"

namespace {

struct StandardRow {
    const char *name, *text;
    int32_t length;
    int mode;
    const char *result;
};

const StandardRow kStandardRows[] = {
    {"lower case", "Cust-FILE", -3, 4, "cust_file"},
    {"upper case", "Cust-file9", -3, 6, "CUST_FILE9"},
    {"trailing blanks go", "AB  ", -3, 4, "ab"},
    {"blanks inside and in front stay", " A B ", -3, 4, " a b"},
    {"blanks alone", "   ", -3, 6, ""},
    {"nothing", "", -3, 6, ""},
    {"a tab is no blank", "A\t", -3, 4, "a\t"},
    {"other bytes stay", "\xc4_a.[`{@", -3, 6, "\xc4_A.[`{@"},
    {"at most that many", "AB-CD-E", 3, 4, "ab_CD-E"},
    {"blanks at the end of that many", "AB  CD", 4, 4, "ab"},
    {"more than there are", "AB ", 100, 4, "ab"},
    {"none", "AB ", 0, 4, "AB "},
    {"another mode changes nothing", "A-b ", -3, 5, "A-b "},
    {"mode 0 changes nothing", "A-b ", -3, 0, "A-b "},
};

TEST(StandardName, EveryRow) {
    for (const StandardRow &row : kStandardRows) {
        SCOPED_TRACE(row.name);
        std::string name = row.text;
        stdz_name(name.data(), row.length, row.mode);
        EXPECT_STREQ(name.c_str(), row.result);
    }
}

TEST(StandardName, ANameWithoutRoomForAZeroByteStaysInside) {
    char name[4] = {'A', '-', 'B', 'X'};
    stdz_name(name, 3, 4);
    EXPECT_EQ(std::string(name, 4), "a_bX");
}

// Of both bytes of a Japanese character the second may look like a letter.
TEST(StandardName, ATrailByteIsNoLetter) {
    int old = ZSetCOBOLCharSet(932);
    ASSERT_NE(old, -1);
    char name[] = "A\x83\x41\x83\x2d-b";
    stdz_name(name, -3, 4);
    EXPECT_STREQ(name, "a\x83\x41\x83__b");
    ZSetCOBOLCharSet(old);
}

TEST(BaseName, IsBehindTheLastSlash) {
    const char *rows[][2] = {{"/x/y/client", "client"},
                             {"client", "client"},
                             {"", ""},
                             {"/", ""},
                             {"a/", ""},
                             {"//b", "b"}};
    for (const auto &row : rows) {
        const char *base = Zbasename(row[0]);
        EXPECT_STREQ(base, row[1]) << row[0];
        EXPECT_GE(base, row[0]);
    }
}

TEST(ConcatPath, PutsOneSlashBetween) {
    const char *rows[][3] = {{"a", "b", "a/b"},    {"a/", "b", "a/b"}, {"", "b", "b"},
                             {"/", "b", "/b"},     {"a", "", "a/"},    {"", "", ""},
                             {".", "b.c", "./b.c"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row[2]);
        std::vector<char> dest(strlen(row[0]) + strlen(row[1]) + 2, '#');
        EXPECT_EQ(concat_path(dest.data(), row[0], row[1]), dest.data());
        EXPECT_STREQ(dest.data(), row[2]);
    }
}

TEST(ConcatPath, TheDirectoryMayBeInPlace) {
    char dest[16] = "data";
    concat_path(dest, dest, "cust");
    EXPECT_STREQ(dest, "data/cust");
}

std::vector<std::string> walk(const std::string &list) {
    std::vector<std::string> elements;
    char element[260];
    void *state = &elements;  // any value
    for (int first = 1; Zget_path_element(element, "CUST", list.c_str(), first, &state) != 0;
         first = 0)
        elements.emplace_back(element);
    EXPECT_STREQ(element, "");
    return elements;
}

TEST(PathList, EveryRow) {
    struct Row {
        std::string list;
        std::vector<std::string> elements;
    };
    const std::string longest(259, 'x');
    const Row rows[] = {
        {"", {}},
        {" : \t:", {}},
        {"a", {"a"}},
        {"a:b", {"a", "b"}},
        {"a b\tc", {"a", "b", "c"}},
        {" :a:: b : ", {"a", "b"}},
        {"\"a b\":c", {"a b", "c"}},
        {"\"a:b\" c", {"a:b", "c"}},
        {"/data/\"my files\"/x:c", {"/data/my files/x", "c"}},
        {"\"\":a", {"a"}},
        {"a:\"b c", {"a", "b c"}},
        {longest + ":b", {longest, "b"}},
        {longest + "x:b", {"b"}},
        {"a:\"" + longest + " \":b", {"a", "b"}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.list);
        EXPECT_EQ(walk(row.list), row.elements);
    }
}

TEST(PathList, AWalkLeftEarlyLeavesNothingAllocated) {
    const size_t blocks = ZMemoryBlocks(nullptr);
    char element[260];
    void *state = nullptr;
    ASSERT_EQ(Zget_path_element(element, "CUST", "a:b:c", 1, &state), 1);
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
    EXPECT_EQ(Zget_path_element(element, "CUST", "d:e", 1, &state), 1);
    EXPECT_STREQ(element, "d");
    EXPECT_EQ(Zget_path_element(element, "CUST", "d:e", 0, &state), 1);
    EXPECT_STREQ(element, "e");
    EXPECT_EQ(Zget_path_element(element, "CUST", "d:e", 0, &state), 0);
    EXPECT_EQ(Zget_path_element(element, "CUST", "d:e", 0, &state), 0);
}

class MultiByte : public testing::Test {
 protected:
    MultiByte() : old_(ZGetCOBOLCharSet()) {}
    ~MultiByte() override { ZSetCOBOLCharSet(old_); }

    // Bytes of each character, "121".
    static std::string steps(const char *text) {
        std::string shown;
        while (*text != '\0') {
            const char *next = dbc_next(text);
            shown += std::to_string(next - text);
            text = next;
        }
        return shown;
    }

 private:
    int old_;
};

TEST_F(MultiByte, StepsOverWholeCharacters) {
    struct Row {
        int page;
        const char *text, *steps;
    };
    const Row rows[] = {
        {28591, "a\xe4=", "111"},
        {1252, "\x83\x41", "11"},
        {932, "a\x83\x5c=\xb1", "1211"},  // katakana SO; half-width A
        {932, "\x83=", "11"},             // no trail byte
        {932, "\x83", "1"},               // cut off
        {932, "\x86\x5c", "2"},           // a pair without a meaning
        {936, "\xc4\xe3=\x81\x5c", "212"},
        {949, "\xb0\xa1=\x81\x41", "212"},
        {950, "\xa4\x40=\xb3\x5c", "212"},
        {54936, "\xc4\xe3\x81\x30\x81\x30=", "241"},
        {51932, "\xa4\xa2\x8f\xa2\xaf=", "231"},
        {65001, "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80=", "2341"},
        {65001, "\xc3=\xa4\xff", "1111"},
        {65001, "\xe2\x82", "11"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::to_string(row.page) + " " + row.text);
        ASSERT_NE(ZSetCOBOLCharSet(row.page), -1);
        EXPECT_EQ(steps(row.text), row.steps);
    }
}

TEST_F(MultiByte, TheEndIsNotLeft) {
    for (int page : {28591, 932, 65001}) {
        ASSERT_NE(ZSetCOBOLCharSet(page), -1);
        const char *end = "";
        EXPECT_EQ(dbc_next(end), end);
    }
}

TEST_F(MultiByte, ATrailByteNeverMatches) {
    struct Row {
        int page;
        const char *text;
        char wanted;
        int place;  // -1: not found
    };
    const Row rows[] = {
        {28591, "a=b", '=', 1},
        {28591, "ab", '=', -1},
        {28591, "ab", '\0', 2},
        {932, "\x83\x5c\x5c", '\x5c', 2},
        {932, "\x83\x5c", '\x5c', -1},
        {932, "\x83\x5c", '\0', 2},
        {936, "\x81\x5c=", '=', 2},
        {949,
         "\x81\x41"
         "A",
         'A', 2},
        {950, "\xb3\x5c\\", '\\', 2},
        {65001, "\xc3\xa4=", '=', 2},
        {65001, "\xc3\xa4", '\xa4', -1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::to_string(row.page) + " " + row.text);
        ASSERT_NE(ZSetCOBOLCharSet(row.page), -1);
        const char *found = Zdbc_strchr(row.text, row.wanted);
        EXPECT_EQ(found == nullptr ? -1 : static_cast<int>(found - row.text), row.place);
    }
}

}  // namespace
