// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/load_text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/messages.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"
#include "wbfsi/accessors.h"

namespace {

using support::file_error;
using support::OwnedXfd;
using support::print_conditions;
using support::print_counts;
using support::print_fields;
using support::print_file;
using support::print_keys;
using support::print_xfd;
using Lines = std::vector<std::string>;

std::string join(const Lines &lines) {
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

// A version 8 file without keys and conditions: the field-count line and what
// follows it.
std::string with_fields(const Lines &lines) {
    return "XFD,8,CLIENT,CLIENT,12\n40,40,0\n0,18,46,44,0\n0\n" + join(lines);
}

// Every section, one of each kind of line.
const Lines kWhole = {
    "XFD,8,CLIENT,CLIENT,12",      // 1
    "40,30,1",                     // 2
    "0,18,46,44,0",                // 3
    "1,0,5,0",                     // 4
    "1",                           // 5
    "ID",                          // 6
    "2",                           // 7
    "1,1,KIND,A",                  // 8
    "2,2,1,1",                     // 9
    "3,4,3,4",                     // 10
    "0,5,1,5,0,0,0,1,ID",          // 11
    "5,1,16,1,0,0,0,5,KIND",       // 12
    "90001,2,3,\"START OCCURS\"",  // 13
    "6,3,1,3,0,0,1,5,AMT",         // 14
    "90002,\"END OCCURS\"",        // 15
};

class LoadText : public support::DictionaryTest {
 protected:
    // The error a load of `lines` ends with, without the part that names file
    // and line.
    std::string refusal(const Lines &lines, int line, uint32_t flags = 0) {
        EXPECT_EQ(load(join(lines), flags), nullptr);
        const std::string start =
            "19 2 0 'XFD file '" + path() + "', line " + std::to_string(line) + ": ";
        const std::string error = file_error();
        return error.starts_with(start)
                   ? error.substr(start.size(), error.size() - start.size() - 1)
                   : error;
    }
    std::string fields(const Lines &lines, uint32_t flags = 0, int context = 30) {
        const OwnedXfd xfd = load(with_fields(lines), flags, context);
        return xfd == nullptr ? file_error() : print_fields(*xfd);
    }
};

TEST_F(LoadText, ReadsEverySection) {
    const OwnedXfd xfd = load(join(kWhole));
    EXPECT_EQ(print_xfd(xfd.get()),
              "file 'CLIENT' 'CLIENT' v8 type 12 records 30..40\n"
              "conversion compat 0 digits 40 signs 25 11 point . comma , encoding 0\n"
              "counts keys 1 conditions 2 fields 3 4 listed 3 4 slots 4\n"
              "key 0: 0+5 columns id=0\n"
              "condition 1: type 1 'kind' 'A' field 1\n"
              "condition 2: type 2 operands 1 1\n"
              "field 0: 'id' at 0 size 5 type 1 digits 5 level 1 flags K\n"
              "field 1: 'kind' at 5 size 1 type 16 digits 1 level 5\n"
              "field 2: 'amt_1' at 6 size 3 type 1 digits 3 condition 1 level 5 occurs 2/1\n"
              "field 3: 'amt_2' at 9 size 3 type 1 digits 3 condition 1 level 5 occurs 2/2\n");
    EXPECT_EQ(xfd->x_filename, path());
    EXPECT_EQ(file_error(), "0 0 0 null");
}

TEST_F(LoadText, BlanksSeparateValuesWhenThereIsNoComma) {
    std::string text = join(kWhole);
    const OwnedXfd with_commas = load(text);
    for (char &c : text) {
        if (c == ',')
            c = ' ';
    }
    const OwnedXfd with_blanks = load(text);
    EXPECT_EQ(print_xfd(with_blanks.get()), print_xfd(with_commas.get()));
}

TEST_F(LoadText, LineEndsOfOtherSystemsLoadTheSame) {
    const std::string text = join(kWhole);
    const OwnedXfd plain = load(text);
    std::string with_cr;
    for (const char c : text) {
        if (c == '\n')
            with_cr += "\r\n\r";  // an empty line with a CR behind each
        with_cr += c;
    }
    const OwnedXfd carriage = load(with_cr);
    EXPECT_EQ(print_xfd(carriage.get()), print_xfd(plain.get()));
}

TEST_F(LoadText, EveryVersionHasItsOwnLines) {
    struct Row {
        int version;
        Lines lines;
        const char *expected;
    };
    const Lines old_fields = {"40,30,0", "0", "1,1,7,8", "0,5,1,5,0,0,0,ID"};
    const Lines level_fields = {"40,30,0", "0", "1,1,7,8", "0,5,1,5,0,0,0,1,ID"};
    const Lines conversion_fields = {"40,30,0", "0,31,44,46,3", "0", "1,1,7,8",
                                     "0,5,1,5,0,0,0,1,ID"};
    const Row rows[] = {
        {1, old_fields, "type 12 listed 0 0 level 0 digits 40 trigger null"},
        {2, old_fields, "type 12 listed 0 0 level 0 digits 40 trigger null"},
        {3, old_fields, "type 12 listed 0 0 level 0 digits 40 trigger null"},
        {4, old_fields, "type 5 listed 7 0 level 0 digits 40 trigger null"},
        {5, level_fields, "type 5 listed 7 8 level 1 digits 40 trigger null"},
        {6, conversion_fields, "type 5 listed 7 8 level 1 digits 68 trigger 'TRIG'"},
        {7, conversion_fields, "type 5 listed 7 8 level 1 digits 68 trigger 'TRIG'"},
        {8, conversion_fields, "type 5 listed 7 8 level 1 digits 68 trigger 'TRIG'"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.version);
        const OwnedXfd xfd = load("XFD," + std::to_string(row.version) + ",CLIENT,CLIENT,5,TRIG\n" +
                                  join(row.lines));
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ("type " + support::number(xfd->x_file_type) + " listed " +
                      support::number(xfd->x_n_fields_listed) + ' ' +
                      support::number(xfd->x_n_total_fields_listed) + " level " +
                      support::number(xfd->x_fdesc[0].fd_level) + " digits " +
                      support::number(xfd->x_cvt_info->cv_digits_code) + " trigger " +
                      support::quoted(xfd->x_cobol_trigger),
                  row.expected);
        EXPECT_STREQ(xfd->x_fdesc[0].fd_name, "id");
        EXPECT_EQ(xfd->x_version, row.version);
    }
}

TEST_F(LoadText, LaterVersionIsRefused) {
    EXPECT_EQ(load("XFD,9,CLIENT,CLIENT,12\n"), nullptr);
    EXPECT_EQ(file_error(), "19 2 0 'XFD file '" + path() + "' is a later version than 8'");
}

TEST_F(LoadText, FileTypeIsNeededFromVersion4On) {
    for (const char *text :
         {"XFD,4,CLIENT,CLIENT,0\n", "XFD,4,CLIENT,CLIENT\n", "XFD,8,CLIENT,CLIENT,indexed\n"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(load(text), nullptr);
        EXPECT_EQ(file_error(), "19 2 0 'XFD file '" + path() + "' missing file type'");
    }
    const OwnedXfd xfd = load("XFD,4,CLIENT,CLIENT,7\n1,1,0\n0\n0\n");
    ASSERT_NE(xfd, nullptr) << "other values are not refused";
    EXPECT_EQ(xfd->x_file_type, 7);
}

TEST_F(LoadText, TriggerIsOptional) {
    const OwnedXfd xfd = load("XFD,8,CLIENT,CLIENT,12\n1,1,0\n0,18,46,44,0\n0\n0\n");
    ASSERT_NE(xfd, nullptr);
    EXPECT_EQ(xfd->x_cobol_trigger, nullptr);
    EXPECT_EQ(print_counts(*xfd), "counts keys 0 conditions 0 fields 0 0 listed 0 0 slots 0\n");
}

TEST_F(LoadText, NamesAreCutToTheirLengths) {
    const std::string long_name(150, 'A');
    const OwnedXfd xfd =
        load("XFD,8," + long_name + ',' + long_name + ",12\n1,1,1\n0,18,46,44,0\n1,0,1,0\n1\n" +
             long_name + "\n1\n1,1," + long_name + ',' + long_name + ',' + long_name +
             "\n1,1,1,1\n0,1,1,1,0,0,0,1," + long_name + '\n');
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(xfd->x_select_name, std::string(30, 'A'));
    EXPECT_EQ(xfd->x_table_name, std::string(128, 'A'));
    EXPECT_EQ(xfd->x_key_desc[0].k_field[0].kc_name, std::string(30, 'a'));
    EXPECT_EQ(xfd->x_condition[0].c_variable, std::string(30, 'a'));
    EXPECT_EQ(xfd->x_condition[0].c_value, std::string(50, 'A'));
    EXPECT_EQ(xfd->x_condition[0].c_table, std::string(128, 'A'));
    EXPECT_EQ(xfd->x_fdesc[0].fd_name, std::string(30, 'a'));
    EXPECT_EQ(xfd->x_key_desc[0].k_field[0].kc_field_num, 0);
    EXPECT_EQ(xfd->x_condition[0].c_field_num, 0);
}

TEST_F(LoadText, SignCodesFollowFromTheCompatibility) {
    struct Row {
        const char *line;
        const char *expected;
    };
    const Row rows[] = {
        {"0,18,46,44,0", "conversion compat 0 digits 40 signs 25 11 point . comma , encoding 0\n"},
        {"8,18,46,44,2", "conversion compat 8 digits 40 signs 64 11 point . comma , encoding 2\n"},
        {"64,31,44,46,0",
         "conversion compat 64 digits 68 signs 25 11 point , comma . encoding 0\n"},
        {"72,0,44,46,-1",
         "conversion compat 72 digits 68 signs 16 13 point , comma . encoding -1\n"},
        {"255,17,46,44,7",
         "conversion compat 255 digits 68 signs 16 13 point . comma , encoding 7\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.line);
        const OwnedXfd xfd =
            load("XFD,6,CLIENT,CLIENT,12\n1,1,0\n" + std::string(row.line) + "\n0\n0\n");
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(support::print_conversion(xfd->x_cvt_info), row.expected);
    }
}

TEST_F(LoadText, KeysHaveSegmentsAndColumns) {
    std::string sixteen = "16,1";
    std::string printed = "key 0:";
    for (int s = 0; s < 16; ++s) {
        sixteen += ',' + std::to_string(s + 1) + ',' + std::to_string(100 * s);
        printed += ' ' + std::to_string(100 * s) + '+' + std::to_string(s + 1);
    }
    const OwnedXfd xfd =
        load(join({"XFD,8,CLIENT,CLIENT,12", "9999,9999,3", "0,18,46,44,0", sixteen, "2",
                   "Last-Name", "MISSING", "1,0,65535,2147483647", "0", "0,0", "1", "ID", "0",
                   "2,2,2,2", "0,5,1,5,0,0,0,1,ID", "5,9,16,9,0,16,0,5,last_name"}));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_keys(*xfd), printed +
                                    " duplicates columns last_name=1 missing=65535\n"
                                    "key 1: 2147483647+65535 columns\n"
                                    "key 2: columns id=0\n");
    EXPECT_EQ(print_fields(*xfd),
              "field 0: 'id' at 0 size 5 type 1 digits 5 level 1 flags K\n"
              "field 1: 'last_name' at 5 size 9 type 16 digits 9 level 5 flags K\n");
}

TEST_F(LoadText, ConditionsTakeTheSlotOfTheirNumber) {
    const OwnedXfd xfd =
        load(join({"XFD,8,CLIENT,CLIENT,12", "9,9,0", "0,18,46,44,0", "10",
                   "10,1,KIND-1,\"A B\",T1", "1,2,10,3", "9,3,KIND-1,T3", "8,4,KIND-1,B",
                   "7,5,KIND-1,C", "6,6,KIND-1,D", "5,7,KIND-1,E,T7", "4,8,KIND-1,F", "3,9,99,0,T9",
                   "2,3,KIND-1", "1,1,1,1", "0,3,16,3,0,0,7,1,KIND_1"}));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_conditions(*xfd),
              "condition 1: type 2 operands 10 3\n"
              "condition 2: type 3 'kind_1' '' field 0\n"
              "condition 3: type 9 operands 99 0 table 'T9'\n"
              "condition 4: type 8 'kind_1' 'F' field 0\n"
              "condition 5: type 7 'kind_1' 'E' field 0 table 'T7'\n"
              "condition 6: type 6 'kind_1' 'D' field 0\n"
              "condition 7: type 5 'kind_1' 'C' field 0\n"
              "condition 8: type 4 'kind_1' 'B' field 0\n"
              "condition 9: type 3 'kind_1' '' field 0 table 'T3'\n"
              "condition 10: type 1 'kind_1' 'A B' field 0 table 'T1'\n");
}

TEST_F(LoadText, OperandsHaveAllSixteenBits) {
    const OwnedXfd xfd = load(join({"XFD,8,CLIENT,CLIENT,12", "9,9,0", "0,18,46,44,0", "2",
                                    "1,2,40000,32768", "2,9,32767,65535", "0"}));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(Z4GetXFDConditionNum1(&xfd->x_condition[0]), 40000);
    EXPECT_EQ(Z4GetXFDConditionNum2(&xfd->x_condition[0]), 32768);
    EXPECT_EQ(Z4GetXFDConditionNum1(&xfd->x_condition[1]), 32767);
    EXPECT_EQ(Z4GetXFDConditionNum2(&xfd->x_condition[1]), 65535);
}

TEST_F(LoadText, KeyColumnsAreTraced) {
    std::string trace;
    ZOutputRedirect(
        1,
        [](const char *text, size_t n, void *user) {
            static_cast<std::string *>(user)->append(text, n);
        },
        &trace);
    f_trace = 1;
    const OwnedXfd xfd =
        load("XFD,3,C,C\n9,9,2\n1,0,1,0\n1\nOne\n1,0,1,0\n2\nTwo-A\nTwo-B\n0\n0\n");
    f_trace = 0;
    ZOutputRedirect(1, nullptr, nullptr);
    ASSERT_NE(xfd, nullptr) << file_error();
    for (const char *line : {"Adding one to k_field [0]", "Adding two_a to k_field [0]",
                             "Adding two_b to k_field [1]"})
        EXPECT_NE(trace.find(line), std::string::npos) << trace;
}

TEST_F(LoadText, UnknownConditionTypeIsRefused) {
    for (const char *type : {"10", "0", "2147483647"}) {
        SCOPED_TRACE(type);
        Lines lines = kWhole;
        lines[7] = "1," + std::string(type) + ",KIND,A";
        EXPECT_EQ(load(join(lines)), nullptr);
        EXPECT_EQ(file_error(), "19 2 0 'Unknown condition type: " + std::string(type) + "'");
    }
}

TEST_F(LoadText, FieldCountsThatAreAbsentReadAsZero) {
    struct Row {
        const char *counts;
        const char *expected;
    };
    const Row rows[] = {
        {"2", "counts keys 0 conditions 0 fields 2 2 listed 0 0 slots 2\n"},
        {"2,0", "counts keys 0 conditions 0 fields 2 2 listed 0 0 slots 2\n"},
        {"1,2,5", "counts keys 0 conditions 0 fields 1 2 listed 5 0 slots 2\n"},
        {"1,2,5,6", "counts keys 0 conditions 0 fields 1 2 listed 5 6 slots 2\n"},
        {"2,,5,6", "counts keys 0 conditions 0 fields 2 2 listed 5 6 slots 2\n"},
        {"1,2,,6", "counts keys 0 conditions 0 fields 1 2 listed 0 6 slots 2\n"},
        {"1,2,5,\"\"", "counts keys 0 conditions 0 fields 1 2 listed 5 0 slots 2\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.counts);
        const OwnedXfd xfd =
            load(with_fields({row.counts, "0,1,1,1,0,0,0,1,A", "1,1,1,1,0,0,0,1,B"}));
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(print_counts(*xfd), row.expected);
    }
}

TEST_F(LoadText, LinesBehindTheLastSlotAreNotRead) {
    EXPECT_EQ(fields({"1,1,1,1", "90001,1,1,\"START OCCURS\"", "0,1,1,1,0,0,0,5,A",
                      "no,number,at,all", "90002,\"END OCCURS\"", "90002,\"END OCCURS\""}),
              "field 0: 'a_1' at 0 size 1 type 1 digits 1 level 5 occurs 1/1\n");
}

TEST_F(LoadText, ListedViewKeepsListedItems) {
    const Lines lines = {"2,2,3,3", "0,9,22,9,0,0,999,1,GROUP-ITEM", "0,4,1,4,0,0,0,5,A",
                         "4,5,1,5,0,0,0,5,B"};
    const std::string a = "size 4 type 1 digits 4 level 5\n";
    const std::string b = "size 5 type 1 digits 5 level 5\n";
    EXPECT_EQ(fields(lines), "field 0: 'a' at 0 " + a + "field 1: 'b' at 4 " + b);
    EXPECT_EQ(fields(lines, XFD_LOAD_LISTED_VIEW),
              "field 0: 'group_item' at 0 size 9 type 22 digits 9 condition 999 level 1\n"
              "field 1: 'a' at 0 " +
                  a + "field 2: 'b' at 4 " + b);
}

TEST_F(LoadText, ListedViewNeedsVersion5) {
    const OwnedXfd xfd =
        load("XFD,4,CLIENT,CLIENT,12\n9,9,0\n0\n1,1,2,2\n0,9,22,9,0,0,999,G\n0,4,1,4,0,0,0,A\n",
             XFD_LOAD_LISTED_VIEW);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_fields(*xfd), "field 0: 'a' at 0 size 4 type 1 digits 4\n");
}

TEST_F(LoadText, CommentsBelongToTheDataLineBelow) {
    const Lines lines = {"# of the counts",  "3,3,3,3",           "# first",           "",
                         "  # second",       "0,1,1,1,0,0,0,1,A", "1,1,1,1,0,0,0,1,B", "# third",
                         "2,1,1,1,0,0,0,1,C"};
    EXPECT_EQ(fields(lines, XFD_LOAD_COMMENTS),
              "field 0: 'a' at 0 size 1 type 1 digits 1 level 1 comment '# first\n\n  # second'\n"
              "field 1: 'b' at 1 size 1 type 1 digits 1 level 1\n"
              "field 2: 'c' at 2 size 1 type 1 digits 1 level 1 comment '# third'\n");
    EXPECT_EQ(fields(lines),
              "field 0: 'a' at 0 size 1 type 1 digits 1 level 1\n"
              "field 1: 'b' at 1 size 1 type 1 digits 1 level 1\n"
              "field 2: 'c' at 2 size 1 type 1 digits 1 level 1\n");
}

TEST_F(LoadText, HiddenMarkOfAGroupGoesToTheNextField) {
    const Lines lines = {
        "3,3,4,4", "# kstodbc hidden",  "90001,2,1,\"start/occurs\"", "0,2,22,2,0,0,999,3,SKIPPED",
        "# own",   "0,1,1,1,0,0,0,5,A", "90002,\"end/occurs\"",       "2,1,1,1,0,0,0,5,B"};
    EXPECT_EQ(fields(lines, XFD_LOAD_COMMENTS),
              "field 0: 'a_1' at 0 size 1 type 1 digits 1 level 5 occurs 2/1 "
              "comment '# own# KSTODBC HIDDEN '\n"
              "field 1: 'a_2' at 1 size 1 type 1 digits 1 level 5 occurs 2/2 "
              "comment '# own# KSTODBC HIDDEN '\n"
              "field 2: 'b' at 2 size 1 type 1 digits 1 level 5\n");
    EXPECT_EQ(fields(lines),
              "field 0: 'a_1' at 0 size 1 type 1 digits 1 level 5 occurs 2/1\n"
              "field 1: 'a_2' at 1 size 1 type 1 digits 1 level 5 occurs 2/2\n"
              "field 2: 'b' at 2 size 1 type 1 digits 1 level 5\n");
}

TEST_F(LoadText, MarkLinesThatDoNotMatchAreFields) {
    // Marks are strings, and their two words stand one character apart.
    for (const char *line :
         {"90001,1,16,1,0,0,0,5,STRAY", "90001,1,16,\"STOP OCCURS\",0,0,0,5,STRAY",
          "90001,1,16,\"START\",0,0,0,5,STRAY", "90001,1,16,\"START  OCCURS\",0,0,0,5,STRAY"}) {
        SCOPED_TRACE(line);
        const std::string loaded = fields({"1,1,1,1", line});
        if (std::string(line).find('"') == std::string::npos)
            EXPECT_EQ(loaded, "field 0: 'stray' at 90001 size 1 type 16 digits 1 level 5\n");
        else
            EXPECT_NE(loaded.find("line 6: the digits of a field must be a number"),
                      std::string::npos)
                << loaded;
    }
    EXPECT_EQ(fields({"1,1,1,1", "90002,1,16,1,0,0,0,5,STRAY"}),
              "field 0: 'stray' at 90002 size 1 type 16 digits 1 level 5\n");
}

TEST_F(LoadText, RelativeKeyStandsBehindTheRecord) {
    const OwnedXfd xfd =
        load("XFD,8,CLIENT,CLIENT,8\n40,30,0\n0,18,46,44,0\n0\n1,1,1,1\n0,40,16,40,0,0,0,1,A\n",
             XFD_LOAD_RELATIVE_KEY);
    EXPECT_EQ(print_xfd(xfd.get()),
              "file 'CLIENT' 'CLIENT' v8 type 8 records 30..71\n"
              "conversion compat 0 digits 40 signs 25 11 point . comma , encoding 0\n"
              "counts keys 1 conditions 0 fields 2 2 listed 1 1 slots 2\n"
              "key 0: 40+31 columns z4glidentity=1\n"
              "field 0: 'a' at 0 size 40 type 16 digits 40 level 1\n"
              "field 1: 'z4glidentity' at 40 size 31 type 1 digits 31 level 999 flags KS\n");
}

TEST_F(LoadText, RelativeKeyIsForRelativeFilesAlone) {
    for (const int type : {4, 5, 12}) {
        SCOPED_TRACE(type);
        const OwnedXfd xfd = load("XFD,8,C,C," + std::to_string(type) +
                                      "\n1,1,0\n0,18,46,44,0\n0\n1\n0,1,16,1,0,0,0,1,A\n",
                                  XFD_LOAD_RELATIVE_KEY);
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(print_counts(*xfd), "counts keys 0 conditions 0 fields 1 1 listed 0 0 slots 1\n");
    }
    const OwnedXfd without_flag =
        load("XFD,8,C,C,8\n1,1,0\n0,18,46,44,0\n0\n1\n0,1,16,1,0,0,0,1,A\n");
    ASSERT_NE(without_flag, nullptr) << file_error();
    EXPECT_EQ(print_counts(*without_flag),
              "counts keys 0 conditions 0 fields 1 1 listed 0 0 slots 1\n");
}

TEST_F(LoadText, RelativeKeyHasTheLastSlotWhateverTheGroupsNeed) {
    const Lines lines = {
        "XFD,8,C,C,8",       "9,9,0", "0,18,46,44,0", "0", "2,2,2,2", "90001,3,1,\"START OCCURS\"",
        "0,1,16,1,0,0,0,1,A"};
    EXPECT_EQ(refusal(lines, 7, XFD_LOAD_RELATIVE_KEY),
              "OCCURS makes 3 records of field 'A', 2 of the declared total are left");
}

TEST_F(LoadText, FieldThatCannotBeBuiltEndsTheFields) {
    const OwnedXfd xfd = load(with_fields(
        {"3,3,3,3", "0,6,1,6,0,0,0,1,A", "6,6,1,6,0,1,0,1,B,YYYYMMDD", "12,6,1,6,0,0,0,1,C"}));
    ASSERT_NE(xfd, nullptr);
    EXPECT_EQ(print_counts(*xfd), "counts keys 0 conditions 0 fields 3 3 listed 3 3 slots 3\n");
    EXPECT_STREQ(xfd->x_fdesc[0].fd_name, "a");
    EXPECT_STREQ(xfd->x_fdesc[1].fd_name, "");
    EXPECT_STREQ(xfd->x_fdesc[2].fd_name, "");
    EXPECT_STREQ(fsi::reader.message, "6 != 8 or 'YYYYMMDD' is invalid");
    EXPECT_EQ(file_error(), "0 0 0 null");
}

TEST_F(LoadText, NameThatCannotBeComposedLeavesNoError) {
    // "_1" leaves no room for the name itself.
    folder_.write("file.xfd",
                  with_fields({"2,2,2,2", "90001,2,1,\"START OCCURS\"", "0,1,1,1,0,0,0,1,A"}));
    const OwnedXfd xfd(Z4ParseXFD("file", 0, 2));
    ASSERT_NE(xfd, nullptr);
    EXPECT_STREQ(xfd->x_fdesc[0].fd_name, "");
    EXPECT_EQ(file_error(), "0 0 0 null");
}

TEST_F(LoadText, RelativeKeyIsNotBuiltBehindABadField) {
    const OwnedXfd xfd =
        load("XFD,8,C,C,8\n9,9,0\n0,18,46,44,0\n0\n1\n0,6,1,6,0,1,0,1,B,YYYYMMDD\n",
             XFD_LOAD_RELATIVE_KEY);
    ASSERT_NE(xfd, nullptr);
    EXPECT_EQ(print_keys(*xfd), "key 0: 9+31 columns z4glidentity=65535\n");
    EXPECT_EQ(print_counts(*xfd), "counts keys 1 conditions 0 fields 1 1 listed 0 0 slots 2\n");
}

// The indented lines behind "Example:" on the page that describes the form.
std::string documented_example() {
    const std::filesystem::path page =
        std::filesystem::path(__FILE__).parent_path() / "../../../../docs/formats/text-xfd.md";
    std::ifstream in(page);
    std::string line;
    while (std::getline(in, line) && line != "Example:") {
    }
    std::string text;
    while (std::getline(in, line) && !line.starts_with('#')) {
        if (line.starts_with("    "))
            text += line.substr(4) + '\n';
    }
    return text;
}

TEST_F(LoadText, DocumentedExampleLoads) {
    const OwnedXfd xfd = load(documented_example());
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_counts(*xfd) + print_keys(*xfd) + print_conditions(*xfd) + print_fields(*xfd),
              "counts keys 2 conditions 1 fields 5 6 listed 5 6 slots 6\n"
              "key 0: 0+6 columns cust_id=0\n"
              "key 1: 6+20 duplicates columns cust_name=1\n"
              "condition 1: type 1 'cust_kind' 'C' field 2 table 'COMPANIES'\n"
              "field 0: 'cust_id' at 0 size 6 type 1 digits 6 level 2 flags K\n"
              "field 1: 'cust_name' at 6 size 20 type 16 digits 20 level 2 flags K\n"
              "field 2: 'cust_kind' at 26 size 1 type 16 digits 1 level 2\n"
              "field 3: 'turnover_1' at 27 size 5 type 9 digits 9 scale -2 condition 1 level 3 "
              "occurs 2/1\n"
              "field 4: 'turnover_2' at 32 size 5 type 9 digits 9 scale -2 condition 1 level 3 "
              "occurs 2/2\n"
              "field 5: 'since' at 37 size 8 type 1 digits 8 user 1 level 2 format 'YYYYMMDD'\n");
}

struct Malformed {
    const char *name;
    int line;  // of kWhole that is replaced, and that the message names
    const char *text;
    const char *reason;
};

class MalformedText : public LoadText, public testing::WithParamInterface<Malformed> {};

TEST_P(MalformedText, IsRefusedWithItsPlace) {
    Lines lines = kWhole;
    lines[static_cast<size_t>(GetParam().line - 1)] = GetParam().text;
    EXPECT_EQ(refusal(lines, GetParam().line), GetParam().reason);
}

const Malformed kMalformed[] = {
    {"VersionMissing", 1, "XFD", "the version is missing"},
    {"VersionNegative", 1, "XFD,-1,C,C,12",
     "the version must be a number from 0 to 2147483647, not '-1'"},
    {"VersionText", 1, "XFD,eight,C,C,12",
     "the version must be a number from 0 to 2147483647, not 'eight'"},
    {"MaximumRecordSizeMissing", 2, ",30,1", "the maximum record size is missing"},
    {"MaximumRecordSizeNegative", 2, "-40,30,1",
     "the maximum record size must be a number from 0 to 2147483647, not '-40'"},
    {"MaximumRecordSizeOver32Bits", 2, "4294967296,30,1",
     "the maximum record size must be a number from 0 to 2147483647, not '4294967296'"},
    {"MinimumRecordSizeMissing", 2, "40", "the minimum record size is missing"},
    {"MinimumRecordSizeNegative", 2, "40,-30,1",
     "the minimum record size must be a number from 0 to 2147483647, not '-30'"},
    {"KeyCountMissing", 2, "40,30", "the number of keys is missing"},
    {"KeyCountNegative", 2, "40,30,-1",
     "the number of keys must be a number from 0 to 65535, not '-1'"},
    {"KeyCountTooLarge", 2, "40,30,65536",
     "the number of keys must be a number from 0 to 65535, not '65536'"},
    {"SegmentCountMissing", 4, "x",
     "the number of key segments must be a number from 0 to 16, not 'x'"},
    {"SegmentCountNegative", 4, "-1,0",
     "the number of key segments must be a number from 0 to 16, not '-1'"},
    {"SeventeenSegments", 4, "17,0,1,1",
     "the number of key segments must be a number from 0 to 16, not '17'"},
    {"SegmentLengthMissing", 4, "1,0", "the length of a key segment is missing"},
    {"SegmentLengthNegative", 4, "1,0,-5,0",
     "the length of a key segment must be a number from 0 to 65535, not '-5'"},
    {"SegmentLengthTooLarge", 4, "1,0,65536,0",
     "the length of a key segment must be a number from 0 to 65535, not '65536'"},
    {"SegmentOffsetMissing", 4, "1,0,5", "the offset of a key segment is missing"},
    {"SegmentOffsetNegative", 4, "1,0,5,-1",
     "the offset of a key segment must be a number from 0 to 2147483647, not '-1'"},
    {"KeyColumnCountText", 5, "ID",
     "the number of key columns must be a number from 0 to 65535, not 'ID'"},
    {"KeyColumnCountNegative", 5, "-1",
     "the number of key columns must be a number from 0 to 65535, not '-1'"},
    {"KeyColumnCountTooLarge", 5, "65536",
     "the number of key columns must be a number from 0 to 65535, not '65536'"},
    {"ConditionCountText", 7, "two",
     "the number of conditions must be a number from 0 to 65535, not 'two'"},
    {"ConditionCountNegative", 7, "-2",
     "the number of conditions must be a number from 0 to 65535, not '-2'"},
    {"ConditionCountTooLarge", 7, "65536",
     "the number of conditions must be a number from 0 to 65535, not '65536'"},
    {"ConditionNumberZero", 8, "0,1,KIND,A",
     "the number of a condition must be a number from 1 to 2, not '0'"},
    {"ConditionNumberAboveTheCount", 8, "3,1,KIND,A",
     "the number of a condition must be a number from 1 to 2, not '3'"},
    {"ConditionNumberNegative", 8, "-1,1,KIND,A",
     "the number of a condition must be a number from 1 to 2, not '-1'"},
    {"ConditionNumberText", 8, "one,1,KIND,A",
     "the number of a condition must be a number from 1 to 2, not 'one'"},
    {"ConditionTypeMissing", 8, "1", "the type of a condition is missing"},
    {"ConditionTypeNegative", 8, "1,-1,KIND,A",
     "the type of a condition must be a number from 0 to 2147483647, not '-1'"},
    {"FirstOperandMissing", 9, "2,2", "the first operand of a condition is missing"},
    {"FirstOperandNegative", 9, "2,2,-1,1",
     "the first operand of a condition must be a number from 0 to 65535, not '-1'"},
    {"SecondOperandMissing", 9, "2,9,1", "the second operand of a condition is missing"},
    {"SecondOperandNegative", 9, "2,9,1,-1",
     "the second operand of a condition must be a number from 0 to 65535, not '-1'"},
    {"SecondOperandTooLarge", 9, "2,9,1,65536",
     "the second operand of a condition must be a number from 0 to 65535, not '65536'"},
    {"FieldCountText", 10, "three",
     "the number of fields must be a number from 0 to 2147483647, not 'three'"},
    {"FieldCountNegative", 10, "-3",
     "the number of fields must be a number from 0 to 2147483647, not '-3'"},
    {"FieldTotalNegative", 10, "3,-4",
     "the total number of fields must be a number from 0 to 2147483647, not '-4'"},
    {"ListedCountNegative", 10, "3,4,-3",
     "the number of listed items must be a number from 0 to 2147483647, not '-3'"},
    {"ListedTotalNegative", 10, "3,4,3,-4",
     "the total number of listed items must be a number from 0 to 2147483647, not '-4'"},
    {"MoreThanAMillionFields", 10, "3,1000001,3,4",
     "1000001 field records are declared, at most 1000000 are possible"},
    {"OffsetText", 11, "zero,5,1,5,0,0,0,1,ID",
     "the offset of a field must be a number from 0 to 2147483647, not 'zero'"},
    {"OffsetNegative", 11, "-1,5,1,5,0,0,0,1,ID",
     "the offset of a field must be a number from 0 to 2147483647, not '-1'"},
    {"SizeMissing", 11, "0,,1,5,0,0,0,1,ID", "the size of a field is missing"},
    {"SizeNegative", 11, "0,-5,1,5,0,0,0,1,ID",
     "the size of a field must be a number from 0 to 2147483647, not '-5'"},
    {"TypeNegative", 11, "0,5,-1,5,0,0,0,1,ID",
     "the type of a field must be a number from 0 to 65535, not '-1'"},
    {"TypeTooLarge", 11, "0,5,65536,5,0,0,0,1,ID",
     "the type of a field must be a number from 0 to 65535, not '65536'"},
    {"DigitsNegative", 11, "0,5,1,-5,0,0,0,1,ID",
     "the digits of a field must be a number from 0 to 2147483647, not '-5'"},
    {"NumericDigitsTooMany", 11, "0,5,1,256,0,0,0,1,ID",
     "a numeric field has at most 255 digits, not 256"},
    {"ScaleMissing", 11, "0,5,1,5", "the scale of a field is missing"},
    {"ScaleTooLarge", 11, "0,5,1,5,128,0,0,1,ID",
     "the scale of a field must be a number from -128 to 127, not '128'"},
    {"ScaleTooSmall", 11, "0,5,1,5,-129,0,0,1,ID",
     "the scale of a field must be a number from -128 to 127, not '-129'"},
    {"FlagsMissing", 11, "0,5,1,5,0", "the user-flags value of a field is missing"},
    {"FlagsNegative", 11, "0,5,1,5,0,-1,0,1,ID",
     "the user-flags value of a field must be a number from 0 to 2147483647, not '-1'"},
    {"ConditionOfAFieldMissing", 11, "0,5,1,5,0,0", "the condition of a field is missing"},
    {"ConditionOfAFieldNegative", 11, "0,5,1,5,0,0,-1,1,ID",
     "the condition of a field must be a number from 0 to 65535, not '-1'"},
    {"OccursTimesNegative", 13, "90001,-2,3,\"START OCCURS\"",
     "the times of OCCURS must be a number from 0 to 65535, not '-2'"},
    {"OccursTimesTooLarge", 13, "90001,65536,3,\"START OCCURS\"",
     "the times of OCCURS must be a number from 0 to 65535, not '65536'"},
    {"OccursTimesMissing", 13, "90001,,3,\"START OCCURS\"", "the times of OCCURS is missing"},
    {"OccursSizeNegative", 13, "90001,2,-3,\"START OCCURS\"",
     "the size of OCCURS must be a number from 0 to 65535, not '-3'"},
    {"OccursSizeMissing", 13, "90001,2,,\"START OCCURS\"", "the size of OCCURS is missing"},
    {"EndWithoutStart", 13, "90002,\"END OCCURS\"", "END OCCURS without START OCCURS"},
};

INSTANTIATE_TEST_SUITE_P(LoadText, MalformedText, testing::ValuesIn(kMalformed),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(LoadText, ExpansionOverTheDeclaredTotalIsRefused) {
    Lines lines = kWhole;
    lines[9] = "3,3,3,3";
    EXPECT_EQ(refusal(lines, 14),
              "OCCURS makes 2 records of field 'AMT', 1 of the declared total are left");
}

TEST_F(LoadText, CopiesOverTheDeclaredTotalAreRefused) {
    Lines lines = kWhole;
    lines[12] = "90001,3,3,\"START OCCURS\"";
    EXPECT_EQ(refusal(lines, 15, XFD_LOAD_COPY_OCCURS),
              "OCCURS 3 makes 2 more records of 1, 1 of the declared total are left");
}

TEST_F(LoadText, SixteenOpenGroupsAreRefused) {
    Lines lines = {"1,1,1,1"};
    for (int k = 0; k < 15; ++k)
        lines.push_back("90001,1,1,\"START OCCURS\"");
    lines.push_back("0,1,1,1,0,0,0,1,A");
    std::string name = "a";
    std::string occurs;
    for (int k = 0; k < 15; ++k) {
        name += "_1";
        occurs += " 1/1";
    }
    EXPECT_EQ(fields(lines, 0, 31), "field 0: '" + name.substr(0, 30) +
                                        "' at 0 size 1 type 1 digits 1 level 1 occurs" + occurs +
                                        '\n');

    lines.insert(lines.end() - 1, "90001,1,1,\"START OCCURS\"");
    EXPECT_EQ(load(with_fields(lines)), nullptr);
    EXPECT_EQ(file_error(),
              "19 2 0 'XFD file '" + path() + "', line 21: more than 15 OCCURS groups are open'");
}

TEST_F(LoadText, HugeGroupsAroundAnEmptyOneEndAtOnce) {
    Lines lines = {"1,1,1,1"};
    for (int k = 0; k < 14; ++k)
        lines.push_back("90001,65535,65535,\"START OCCURS\"");
    lines.push_back("90001,0,1,\"START OCCURS\"");
    lines.push_back("0,1,1,1,0,0,0,1,GONE");
    for (int k = 0; k < 15; ++k)
        lines.push_back("90002,\"END OCCURS\"");
    lines.push_back("0,1,1,1,0,0,0,1,A");
    EXPECT_EQ(fields(lines), "field 0: 'a' at 0 size 1 type 1 digits 1 level 1\n");
}

TEST_F(LoadText, HugeGroupsAreRefusedAtOnce) {
    Lines lines = {"1,1000000,1,1"};
    for (int k = 0; k < 15; ++k)
        lines.push_back("90001,65535,1,\"START OCCURS\"");
    lines.push_back("0,1,1,1,0,0,0,1,A");
    EXPECT_EQ(load(with_fields(lines)), nullptr);
    EXPECT_EQ(file_error(), "19 2 0 'XFD file '" + path() +
                                "', line 21: OCCURS makes at least 4294836225 records of field "
                                "'A', 1000000 of the declared total are left'");
}

TEST_F(LoadText, OccurrenceBehindTheLargestOffsetIsRefused) {
    const Lines lines = {"2,65535,2,2", "90001,65535,65535,\"START OCCURS\"",
                         "2147483647,1,1,1,0,0,0,1,A", "90002,\"END OCCURS\"", "0,1,1,1,0,0,0,1,B"};
    const std::string reason =
        "field 'A' would lie at offset 6442254337, the largest is 4294967295'";
    EXPECT_EQ(load(with_fields(lines)), nullptr);
    EXPECT_EQ(file_error(), "19 2 0 'XFD file '" + path() + "', line 7: " + reason);

    EXPECT_EQ(load(with_fields(lines), XFD_LOAD_COPY_OCCURS), nullptr);
    EXPECT_EQ(file_error(), "19 2 0 'XFD file '" + path() +
                                "', line 8: field 'a' would lie at offset 4295000062, the largest "
                                "is 4294967295'");
}

TEST_F(LoadText, RelativeFileWithKeysIsRefusedUnderItsFlag) {
    Lines lines = kWhole;
    lines[0] = "XFD,8,CLIENT,CLIENT,8";
    EXPECT_EQ(refusal(lines, 2, XFD_LOAD_RELATIVE_KEY),
              "a relative file has no keys of its own, this one declares 1");
    EXPECT_NE(load(join(lines)), nullptr);
}

TEST_F(LoadText, EveryCutIsARefusalOrAWholeRecord) {
    const std::string text = join(kWhole);
    for (size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE(length);
        const OwnedXfd xfd = load(std::string_view(text).substr(0, length), 1);
        if (xfd != nullptr)
            EXPECT_EQ(file_error(), "0 0 0 null");
        else
            // What does not begin with XFD any more is no XML either; the last byte of a
            // line is cut.
            EXPECT_TRUE(
                file_error().starts_with("19 1 0 'Read error on XFD file, error = 0'") ||
                file_error().starts_with(length < 4 ? "19 5 0 'XFD file '" : "19 2 0 'XFD file '"))
                << file_error();
    }
}

TEST_F(LoadText, EveryChangedByteIsARefusalOrAWholeRecord) {
    const std::string text = join(kWhole);
    for (size_t at = 0; at < text.size(); ++at) {
        for (const char byte : {'\0', '\n', '-', '9', '"'}) {
            SCOPED_TRACE(std::to_string(at) + " becomes " +
                         std::to_string(static_cast<unsigned char>(byte)));
            std::string changed = text;
            changed[at] = byte;
            // A line ends at a zero byte, and its last byte is cut.
            const bool is_text = at > 3 || (at == 3 && byte != '\0');
            const uint32_t flags = at % 32;
            const OwnedXfd xfd = load(changed, flags);
            if (xfd != nullptr)
                EXPECT_EQ(file_error(), "0 0 0 null");
            else
                EXPECT_TRUE(file_error().starts_with("19 1 ") ||
                            file_error().starts_with(is_text ? "19 2 " : "19 5 "))
                    << file_error();
        }
    }
}

}  // namespace
