// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/build_field.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/messages.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"

namespace {

using support::file_error;
using support::OwnedXfd;
using support::print_fields;
using Lines = std::vector<std::string>;

class BuildField : public support::DictionaryTest {
 protected:
    // The fields of a file that has nothing else.
    std::string fields(const Lines &lines, uint32_t flags = 0, int context = 30) {
        std::string text = "XFD,8,CLIENT,CLIENT,12\n40,40,0\n0,18,46,44,0\n0\n";
        for (const std::string &line : lines)
            text += line + '\n';
        const OwnedXfd xfd = load(text, flags, context);
        return xfd == nullptr ? file_error() : print_fields(*xfd);
    }
};

const Lines kTableOfAmounts = {"1,4,1,4", "90001,3,7,\"START OCCURS\"", "10,5,1,5,-2,0,0,5,AMT",
                               "90002,\"END OCCURS\"", "31,1,16,1,0,0,0,5,END-MARK"};

TEST_F(BuildField, OccursGivesOneRecordAnOccurrence) {
    EXPECT_EQ(fields(kTableOfAmounts),
              "field 0: 'amt_1' at 10 size 5 type 1 digits 5 scale -2 level 5 occurs 3/1\n"
              "field 1: 'amt_2' at 17 size 5 type 1 digits 5 scale -2 level 5 occurs 3/2\n"
              "field 2: 'amt_3' at 24 size 5 type 1 digits 5 scale -2 level 5 occurs 3/3\n"
              "field 3: 'end_mark' at 31 size 1 type 16 digits 1 level 5\n");
}

TEST_F(BuildField, CopyFlagGivesRecordsOfOneName) {
    EXPECT_EQ(fields(kTableOfAmounts, XFD_LOAD_COPY_OCCURS),
              "field 0: 'amt' at 10 size 5 type 1 digits 5 scale -2 level 5 occurs 3/1\n"
              "field 1: 'amt' at 17 size 5 type 1 digits 5 scale -2 level 5 occurs 3/2 "
              "hash name 'amt'\n"
              "field 2: 'amt' at 24 size 5 type 1 digits 5 scale -2 level 5 occurs 3/3 "
              "hash name 'amt'\n"
              "field 3: 'end_mark' at 31 size 1 type 16 digits 1 level 5\n");
}

TEST_F(BuildField, SubtableFlagKeepsTheName) {
    EXPECT_EQ(fields(kTableOfAmounts, XFD_LOAD_SUBTABLES),
              "field 0: 'amt' at 10 size 5 type 1 digits 5 scale -2 level 5 occurs 3/1\n"
              "field 1: 'amt' at 17 size 5 type 1 digits 5 scale -2 level 5 occurs 3/2\n"
              "field 2: 'amt' at 24 size 5 type 1 digits 5 scale -2 level 5 occurs 3/3\n"
              "field 3: 'end_mark' at 31 size 1 type 16 digits 1 level 5\n");
}

TEST_F(BuildField, NestedGroupsAddTheirSuffixes) {
    const Lines lines = {"3,10,3,10",
                         "90001,2,20,\"START OCCURS\"",
                         "0,2,1,2,0,0,0,5,QTY",
                         "90001,3,4,\"START OCCURS\"",
                         "2,4,16,4,0,0,0,10,DAY",
                         "90002,\"END OCCURS\"",
                         "14,6,16,6,0,0,0,5,NOTE",
                         "90002,\"END OCCURS\""};
    EXPECT_EQ(fields(lines),
              "field 0: 'qty_1' at 0 size 2 type 1 digits 2 level 5 occurs 2/1\n"
              "field 1: 'qty_2' at 20 size 2 type 1 digits 2 level 5 occurs 2/2\n"
              "field 2: 'day_1_1' at 2 size 4 type 16 digits 4 level 10 occurs 2/1 3/1\n"
              "field 3: 'day_1_2' at 6 size 4 type 16 digits 4 level 10 occurs 2/1 3/2\n"
              "field 4: 'day_1_3' at 10 size 4 type 16 digits 4 level 10 occurs 2/1 3/3\n"
              "field 5: 'day_2_1' at 22 size 4 type 16 digits 4 level 10 occurs 2/2 3/1\n"
              "field 6: 'day_2_2' at 26 size 4 type 16 digits 4 level 10 occurs 2/2 3/2\n"
              "field 7: 'day_2_3' at 30 size 4 type 16 digits 4 level 10 occurs 2/2 3/3\n"
              "field 8: 'note_1' at 14 size 6 type 16 digits 6 level 5 occurs 2/1\n"
              "field 9: 'note_2' at 34 size 6 type 16 digits 6 level 5 occurs 2/2\n");
    EXPECT_EQ(
        fields(lines, XFD_LOAD_COPY_OCCURS),
        "field 0: 'qty' at 0 size 2 type 1 digits 2 level 5 occurs 2/1\n"
        "field 1: 'day' at 2 size 4 type 16 digits 4 level 10 occurs 2/1 3/1\n"
        "field 2: 'day' at 6 size 4 type 16 digits 4 level 10 occurs 2/1 3/2 "
        "hash name 'day'\n"
        "field 3: 'day' at 10 size 4 type 16 digits 4 level 10 occurs 2/1 3/3 "
        "hash name 'day'\n"
        "field 4: 'note' at 14 size 6 type 16 digits 6 level 5 occurs 2/1\n"
        "field 5: 'qty' at 20 size 2 type 1 digits 2 level 5 occurs 2/2 hash name 'qty'\n"
        "field 6: 'day' at 22 size 4 type 16 digits 4 level 10 occurs 2/2 3/1 "
        "hash name 'day'\n"
        "field 7: 'day' at 26 size 4 type 16 digits 4 level 10 occurs 2/2 3/2 "
        "hash name 'day'\n"
        "field 8: 'day' at 30 size 4 type 16 digits 4 level 10 occurs 2/2 3/3 "
        "hash name 'day'\n"
        "field 9: 'note' at 34 size 6 type 16 digits 6 level 5 occurs 2/2 hash name 'note'\n");
}

TEST_F(BuildField, GroupWithASubtableKeepsNamesAndMarksItsFields) {
    const std::string long_name(40, 'x');
    const Lines lines = {"3,5,3,5",
                         "90001,2,10,\"START OCCURS\",Order-Lines",
                         "0,2,1,2,0,0,0,5,QTY",
                         "90001,1,4,\"START OCCURS\"",
                         "2,4,16,4,0,0,0,10,DAY",
                         "90002,\"END OCCURS\"",
                         "90002,\"END OCCURS\"",
                         "90001,1,4,\"START OCCURS\"," + long_name,
                         "20,4,16,4,0,0,0,5,LAST"};
    EXPECT_EQ(fields(lines),
              "field 0: 'qty' at 0 size 2 type 1 digits 2 level 5 occurs 2/1 "
              "subtable 'ORDER_LINES'\n"
              "field 1: 'qty' at 10 size 2 type 1 digits 2 level 5 occurs 2/2 "
              "subtable 'ORDER_LINES'\n"
              "field 2: 'day_1_1' at 2 size 4 type 16 digits 4 level 10 occurs 2/1 1/1\n"
              "field 3: 'day_2_1' at 12 size 4 type 16 digits 4 level 10 occurs 2/2 1/1\n"
              "field 4: 'last' at 20 size 4 type 16 digits 4 level 5 occurs 1/1 subtable '" +
                  std::string(30, 'X') + "'\n");
}

TEST_F(BuildField, SubtablesNeedVersion6) {
    const OwnedXfd xfd = load(
        "XFD,5,CLIENT,CLIENT,12\n40,40,0\n0\n1,1,1,1\n90001,1,4,\"START OCCURS\",LINES\n"
        "0,4,16,4,0,0,0,5,A\n");
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_fields(*xfd),
              "field 0: 'a_1' at 0 size 4 type 16 digits 4 level 5 occurs 1/1\n");
}

TEST_F(BuildField, GroupOfNoTimesGivesNoRecord) {
    const Lines lines = {"2,1,2,1", "90001,0,4,\"START OCCURS\"", "0,4,16,4,0,0,0,5,GONE",
                         "90002,\"END OCCURS\"", "0,4,16,4,0,0,0,5,STAYS"};
    EXPECT_EQ(fields(lines), "field 0: 'stays' at 0 size 4 type 16 digits 4 level 5\n");
    // Copying builds the declared field all the same.
    EXPECT_EQ(fields(lines, XFD_LOAD_COPY_OCCURS),
              "field 0: 'gone' at 0 size 4 type 16 digits 4 level 5 occurs 0/1\n");
}

TEST_F(BuildField, UserFlagsDecideTypeAndDirectives) {
    struct Row {
        int user_flags;
        const char *expected;
    };
    const Row rows[] = {
        {0, ""},
        {2, " user 2"},
        {3, " user 3"},
        {15, " user 15"},
        {16, " flags S"},
        {32, " flags H"},
        {64, " flags R"},
        {96, " flags HR"},
        {112, " flags SHR"},
        {128, ""},
        {0x7FFFFFF0, " flags SHR"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.user_flags);
        EXPECT_EQ(fields({"1", "0,4,16,4,0," + std::to_string(row.user_flags) + ",0,1,A"}),
                  "field 0: 'a' at 0 size 4 type 16 digits 4" +
                      (std::string(row.expected).starts_with(" user")
                           ? row.expected + std::string(" level 1")
                           : " level 1" + std::string(row.expected)) +
                      "\n");
    }
}

TEST_F(BuildField, KeyFieldsAreNotInASecondaryTable) {
    const OwnedXfd xfd = load(
        "XFD,8,C,C,12\n9,9,1\n0,18,46,44,0\n1,0,4,0\n1\nkey-part\n0\n2\n"
        "0,4,16,4,0,112,0,1,KEY_PART\n4,4,16,4,0,16,0,1,OTHER\n");
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_fields(*xfd),
              "field 0: 'key_part' at 0 size 4 type 16 digits 4 level 1 flags KHR\n"
              "field 1: 'other' at 4 size 4 type 16 digits 4 level 1 flags S\n");
}

TEST_F(BuildField, LastFieldOfAKeyColumnsNameCounts) {
    const OwnedXfd xfd = load(
        "XFD,8,C,C,12\n9,9,2\n0,18,46,44,0\n1,0,4,0\n1\nPART\n1,0,4,0\n2\nOTHER\nPART\n0\n2,4\n"
        "90001,3,1,\"START OCCURS\",SUB\n0,1,16,1,0,0,0,5,PART\n90002,\"END OCCURS\"\n"
        "3,1,16,1,0,0,0,5,OTHER\n");
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(support::print_keys(*xfd),
              "key 0: 0+4 columns part=2\nkey 1: 0+4 columns other=3 part=2\n");
    for (const int f : {0, 1, 2, 3})
        EXPECT_EQ(xfd->x_fdesc[f].fd_flags, static_cast<uint32_t>(XFD_FIELD_IN_KEY)) << f;
}

// Key columns and conditions name a slot in 16 bits, of which 65535 is none.
TEST_F(BuildField, SlotsThat16BitsCannotNameAreNotNamed) {
    std::string text =
        "XFD,8,C,C,12\n9,9,1\n0,18,46,44,0\n1,0,1,0\n3\nF40000\nF65534\nF65535\n2\n"
        "1,1,F40000,A\n2,1,F65535,A\n65536\n";
    for (int f = 0; f < 65536; ++f)
        text += "0,1,16,1,0,16,0,5,F" + std::to_string(f) + '\n';
    const OwnedXfd xfd = load(text);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(support::print_keys(*xfd),
              "key 0: 0+1 columns f40000=40000 f65534=65534 f65535=65535\n");
    EXPECT_EQ(support::print_conditions(*xfd),
              "condition 1: type 1 'f40000' 'A' field 40000\n"
              "condition 2: type 1 'f65535' 'A' field 0\n");
    EXPECT_STREQ(xfd->x_fdesc[65535].fd_name, "f65535");
    EXPECT_EQ(xfd->x_fdesc[65535].fd_flags, static_cast<uint32_t>(XFD_FIELD_IN_KEY));
}

TEST_F(BuildField, MachineLongIsStoredAsFourBytes) {
    EXPECT_EQ(fields({"4", "0,8,30,18,0,0,0,1,A", "8,8,31,18,0,0,0,1,B", "16,4,30,9,0,0,0,1,C",
                      "20,8,13,18,0,0,0,1,D"}),
              "field 0: 'a' at 0 size 4 type 13 digits 18 level 1\n"
              "field 1: 'b' at 8 size 4 type 14 digits 18 level 1\n"
              "field 2: 'c' at 16 size 4 type 13 digits 9 level 1\n"
              "field 3: 'd' at 20 size 8 type 13 digits 18 level 1\n");
}

TEST_F(BuildField, DatesHaveAFormatOfTheirLength) {
    EXPECT_EQ(fields({"4", "0,8,1,8,0,1,0,1,A,YYYYMMDD", "8,3,9,8,0,1,0,1,B", "11,3,9,8,0,0,0,1,C",
                      "14,6,1,6,0,0,0,1,D,YYMMDD"}),
              "field 0: 'a' at 0 size 8 type 1 digits 8 user 1 level 1 format 'YYYYMMDD'\n"
              "field 1: 'b' at 8 size 3 type 9 digits 6 user 1 level 1\n"
              "field 2: 'c' at 11 size 3 type 9 digits 8 level 1\n"
              "field 3: 'd' at 14 size 6 type 1 digits 6 level 1\n");
}

TEST_F(BuildField, WrongDateFormatIsABadField) {
    struct Row {
        const char *line;
        const char *message;
    };
    const Row rows[] = {
        {"0,6,1,6,0,1,0,1,B,YYYYMMDD", "6 != 8 or 'YYYYMMDD' is invalid"},
        {"0,8,1,8,0,1,0,1,B,YYYYXXDD", "8 != 8 or 'YYYYXXDD' is invalid"},
        {"0,8,1,8,0,17,0,1,B,YYMMDDYY", "8 != 8 or 'YYMMDDYY' is invalid"},
        {"0,8,16,300,0,1,0,1,B,YY", "300 != 2 or 'YY' is invalid"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(fields({"1", row.line}),
                  "field 0: '' at 0 size 0 type 0 digits 0 column 0 no hash name\n");
        EXPECT_STREQ(fsi::reader.message, row.message);
    }
}

TEST_F(BuildField, CaseSettingsDecideTheForms) {
    struct Row {
        const char *column_case;
        const char *table_case;
        const char *select_name;
        const char *field_name;
    };
    const Row rows[] = {
        {"LOWER", "LOWER", "my_file", "my_field"},
        {"UPPER", "UPPER", "MY_FILE", "MY_FIELD"},
        {"UNCHANGED", "UNCHANGED", "My-File", "My-Field"},
        {nullptr, nullptr, "MY_FILE", "my_field"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.select_name);
        ZCSetValueString("4GL_COLUMN_CASE", row.column_case);
        ZCSetValueString("4GL_TABLE_CASE", row.table_case);
        const OwnedXfd xfd = load(
            "XFD,8,My-File,My-Table,12\n9,9,1\n0,18,46,44,0\n1,0,4,0\n1\nMY_field\n1\n"
            "1,3,my-FIELD\n1\n0,4,16,4,0,0,0,1,My-Field\n");
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_STREQ(xfd->x_select_name, row.select_name);
        EXPECT_STREQ(xfd->x_table_name, "My-Table");
        EXPECT_STREQ(xfd->x_fdesc[0].fd_name, row.field_name);
        // Keys and conditions find their field in every form.
        EXPECT_EQ(support::print_keys(*xfd), "key 0: 0+4 columns my_field=0\n");
        EXPECT_EQ(xfd->x_fdesc[0].fd_flags, static_cast<uint32_t>(XFD_FIELD_IN_KEY));
    }
    ZCSetValueString("4GL_COLUMN_CASE", nullptr);
    ZCSetValueString("4GL_TABLE_CASE", nullptr);
}

TEST_F(BuildField, CaseSettingsAreLowerWhileNothingIsDeclared) {
    Z4Exit();
    const OwnedXfd xfd =
        load("XFD,8,My-File,My-Table,12\n9,9,0\n0,18,46,44,0\n0\n1\n0,4,16,4,0,0,0,1,My-Field\n");
    Z4Init();
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_STREQ(xfd->x_select_name, "my_file");
    EXPECT_STREQ(xfd->x_fdesc[0].fd_name, "my_field");
}

TEST_F(BuildField, SecondRecordOfLevel1IsTold) {
    const Lines first = {"2", "0,4,16,4,0,0,0,1,A", "0,4,16,4,0,0,0,5,B"};
    const Lines second = {"2", "0,4,16,4,0,0,0,5,A", "0,4,16,4,0,0,0,1,B"};
    std::string text = "XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n0\n";
    EXPECT_EQ(load(text + first[0] + '\n' + first[1] + '\n' + first[2] + '\n')->x_flags, 0U);
    EXPECT_EQ(load(text + second[0] + '\n' + second[1] + '\n' + second[2] + '\n')->x_flags,
              static_cast<uint32_t>(XFD_MULTIPLE_01));
}

TEST_F(BuildField, ComposedNamesKeepTheirSuffix) {
    const Lines lines = {"1,2,1,2", "90001,2,1,\"START OCCURS\"",
                         "0,1,16,1,0,0,0,5,A-NAME-OF-THIRTY-CHARACTERS-XX"};
    const std::string rest = " size 1 type 16 digits 1 level 5 occurs 2/";
    EXPECT_EQ(fields(lines), "field 0: 'a_name_of_thirty_characters__1' at 0" + rest + "1\n" +
                                 "field 1: 'a_name_of_thirty_characters__2' at 1" + rest + "2\n");
    EXPECT_EQ(fields(lines, 0, 12), "field 0: 'a_name_of__1' at 0" + rest + "1\n" +
                                        "field 1: 'a_name_of__2' at 1" + rest + "2\n");
}

TEST_F(BuildField, OccurrencesShareTheCommentOfTheFirst) {
    const std::string text =
        "XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n0\n1,2,1,2\n90001,2,1,\"START OCCURS\"\n# note\n"
        "0,1,16,1,0,0,0,5,A\n90002,\"END OCCURS\"\n";
    const OwnedXfd copied = load(text, XFD_LOAD_COMMENTS | XFD_LOAD_COPY_OCCURS);
    ASSERT_NE(copied, nullptr) << file_error();
    EXPECT_STREQ(ZStringGet(copied->x_fdesc[1].fd_comment), "# note");
    EXPECT_EQ(copied->x_fdesc[0].fd_comment, copied->x_fdesc[1].fd_comment);
    EXPECT_EQ(copied->x_fdesc[1].fd_hash_name, copied->x_fdesc[0].fd_name);
    const OwnedXfd built = load(text, XFD_LOAD_COMMENTS);
    ASSERT_NE(built, nullptr) << file_error();
    EXPECT_STREQ(ZStringGet(built->x_fdesc[0].fd_comment), "# note");
    EXPECT_EQ(built->x_fdesc[0].fd_comment, built->x_fdesc[1].fd_comment);
    EXPECT_EQ(built->x_fdesc[1].fd_hash_name, built->x_fdesc[1].fd_name);
}

TEST_F(BuildField, SubtableIsTraced) {
    std::string trace;
    ZOutputRedirect(
        1,
        [](const char *text, size_t n, void *user) {
            static_cast<std::string *>(user)->append(text, n);
        },
        &trace);
    f_trace = 1;
    const std::string loaded =
        fields({"1,1,1,1", "90001,1,1,\"START OCCURS\",LINES", "0,1,16,1,0,0,0,5,AMT"});
    f_trace = 0;
    ZOutputRedirect(1, nullptr, nullptr);
    EXPECT_NE(trace.find("build_field \"LINES.amt\""), std::string::npos) << trace;
}

}  // namespace
