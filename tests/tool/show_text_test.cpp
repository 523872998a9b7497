// SPDX-License-Identifier: MIT
//
// A dictionary that is loaded, written as text and loaded again is the same one.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"
#include "tool/failure.h"
#include "tool/show.h"

namespace {

class ShownText : public support::DictionaryTest {
 protected:
    // The text, or the failure behind "file: ".
    std::string shown(std::string_view dictionary) {
        folder_.write("file.xfd", dictionary);
        try {
            return tool::written_dictionary("file", tool::Form::kText);
        } catch (const tool::Failure &failure) {
            return failure.what();
        }
    }

    std::string printed(std::string_view dictionary, uint32_t flags) {
        support::clear_file_error();
        const support::OwnedXfd xfd = load(dictionary, flags);
        return support::print_xfd(xfd.get()) + (xfd != nullptr ? "" : support::file_error());
    }
};

struct Row {
    const char *name;
    std::string text;
};

std::string head(int version, const std::string &rest) {
    return "XFD," + std::to_string(version) + ",SEL-ECT,The Table,12\n100,80,0\n" + rest;
}

const Row kDictionaries[] = {
    {"version 1 has no file type", "XFD,1,S,T\n10,10,0\n0\n1\n0,10,16,0,0,0,0,F\n"},
    {"version 4 has no levels", head(4, "0\n1,1,1\n0,10,16,0,0,0,0,F\n")},
    {"version 5 has no conversions", head(5, "0\n1,1,1,1\n0,10,16,0,0,0,0,3,F\n")},
    {"version 6 with a trigger",
     "XFD,6,S,T,4,\"a, b\"\n10,10,0\n72,31,44,46,2\n0\n1,1,1,1\n0,10,16,0,0,0,0,3,F\n"},
    {"sign compatibility 8", head(8, "8,18,46,44,0\n0\n1,1,1,1\n0,10,16,0,0,0,0,3,F\n")},
    {"keys and flags",
     "XFD,6,S,T,12\n60,60,2\n0,18,46,44,0\n"
     "2,0,4,0,2,8\n2\nA-ID\nMISSING\n1,1,10,10\n1\nNAME\n"
     "0\n5,5,5,5\n"
     "0,4,1,4,0,0,0,1,A-ID\n8,2,16,0,0,16,0,1,SECONDARY\n10,10,16,0,0,48,0,1,NAME\n"
     "20,5,9,9,-2,96,0,1,HIDDEN\n30,8,1,8,+02,65,0,1,DATE,YYYYMMDD\n"},
    {"several record descriptions and odd types",
     head(7,
          "0,18,46,44,0\n0\n4,4,4,4\n0,8,30,9,0,0,0,1,LONG\n0,3,9,8,0,1,0,1,SHORTDATE\n"
          "0,4,23,9,0,0,0,1,FLOAT\n0,4,77,200,-128,7,0,1,ODD\n")},
    {"comments", head(6,
                      "# not kept\n0,18,46,44,0\n0\n2,2,2,2\n"
                      "# one\n\n  # three, with \"quotes\"  \n0,4,16,0,0,0,0,1,A\n"
                      "\n\n4,4,16,0,0,0,0,1,B\n")},
    {"conditions",
     head(6,
          "0,18,46,44,0\n9\n"
          "1,1,KIND,A,T-ONE\n2,4,AMOUNT,1.5\n3,5,AMOUNT,-0000.50\n4,6,AMOUNT,99999999\n"
          "5,7,BIG,1200\n6,8,NOWHERE,07\n7,3,KIND,T-OTHER\n8,2,1,2\n9,9,40000,0,T-OR\n"
          "4,4,4,4\n0,1,16,0,0,0,0,1,KIND\n1,3,9,5,-2,0,1,1,AMOUNT\n4,2,1,2,2,0,9,1,BIG\n"
          "6,2,16,0,0,16,0,1,REST\n")},
    {"values that stay as they are written",
     head(6,
          "0,18,46,44,0\n5\n1,1,N,\n2,1,N,abc\n3,1,N,\" 12\"\n4,1,N,\"1,5\"\n5,1,T,\"x \"\"y\"\n"
          "2,2,2,2\n0,3,1,3,0,0,0,1,N\n3,3,16,0,0,0,0,1,T\n")},
    {"a condition slot that no line fills",
     head(6, "0,18,46,44,0\n3\n3,1,A,B\n3,1,A,C\n3,1,A,D\n1,1,1,1\n0,3,16,0,0,0,2,1,A\n")},
    {"OCCURS, nested and side by side",
     head(6,
          "0,18,46,44,0\n0\n6,23,6,23\n0,1,16,0,0,0,0,1,FIRST\n90001,3,20,START OCCURS\n"
          "1,2,16,0,0,0,0,2,IN_ONE\n90001,2,5,start-occurs\n3,2,16,0,0,0,0,3,IN_TWO\n"
          "5,3,16,0,0,0,0,3,IN_TWO_TOO\n90002,END OCCURS\n90001,1,9,START OCCURS\n"
          "13,4,16,0,0,0,0,3,ONCE\n90002,END OCCURS\n90002,END OCCURS\n"
          "90001,4,2,START OCCURS\n61,2,16,0,0,0,0,2,BESIDE\n90002,END OCCURS\n")},
    {"one record with one occurrence of everything",
     head(6,
          "0,18,46,44,0\n0\n3,3,3,3\n90001,1,9,START OCCURS\n0,1,16,0,0,0,0,1,A\n"
          "90002,END OCCURS\n90001,1,8,START OCCURS\n1,1,16,0,0,0,0,1,B\n"
          "90001,1,8,START OCCURS\n2,1,16,0,0,0,0,1,C\n90002,END OCCURS\n90002,END OCCURS\n")},
    {"sub-tables", head(6,
                        "0,18,46,44,0\n0\n4,10,4,10\n90001,2,20,START OCCURS,outer-table\n"
                        "0,2,16,0,0,0,0,2,A\n90001,2,5,START OCCURS,Inner\n2,2,16,0,0,0,0,3,B\n"
                        "90002,END OCCURS\n90001,1,1,START OCCURS\n12,2,16,0,0,0,0,3,C\n"
                        "90002,END OCCURS\n90002,END OCCURS\n90001,1,9,START OCCURS,ONE\n"
                        "50,1,16,0,0,0,0,2,D\n90002,END OCCURS\n90001,1,9,START OCCURS,TWO\n"
                        "51,1,16,0,0,0,0,2,E\n90002,END OCCURS\n")},
    {"hidden mark on a group",
     head(6,
          "0,18,46,44,0\n0\n2,3,2,3\n# KSTODBC HIDDEN\n90001,2,4,START OCCURS\n# own\n"
          "0,4,16,0,0,0,0,2,A\n90002,END OCCURS\n8,1,16,0,0,0,0,2,B\n")},
    {"listed view",
     head(6,
          "0,18,46,44,0\n0\n2,3,4,6\n# group\n0,8,22,0,0,0,999,1,GROUP\n0,4,16,0,0,0,0,2,A\n"
          "90001,2,4,START OCCURS\n10,4,22,0,0,0,999,2,INNER\n10,4,16,0,0,0,0,3,B\n"
          "90002,END OCCURS\n")},
    {"listed view with too small a count",
     head(6, "0,18,46,44,0\n0\n1,1,2,0\n0,8,22,0,0,0,999,1,GROUP\n0,4,16,0,0,0,0,2,A\n")},
    {"fields tested inside OCCURS",
     head(6,
          "0,18,46,44,0\n2\n1,1,AMT,05\n2,1,AMT_2,06\n2,4,2,4\n90001,3,4,START OCCURS\n"
          "0,4,1,4,0,16,0,1,AMT\n90002,END OCCURS\n20,4,16,0,0,16,0,1,LAST\n")},
    {"key inside OCCURS",
     "XFD,6,S,T,12\n60,60,1\n0,18,46,44,0\n1,0,4,0\n1\nAMT\n0\n1,3,1,3\n"
     "90001,3,4,START OCCURS\n0,4,1,4,0,16,0,1,AMT\n90002,END OCCURS\n"},
    {"names that need quotes or are cut",
     head(6,
          "0,18,46,44,0\n0\n5,6,5,6\n0,1,16,0,0,0,0,1,\"with blank\"\n"
          "1,1,16,0,0,0,0,1,\"a \"\"quoted\"\", one\"\n"
          "2,1,16,0,0,0,0,1,A-NAME-OF-MORE-THAN-THIRTY-ONE-CHARACTERS\n"
          "90001,2,1,START OCCURS\n3,1,16,0,0,0,0,1,ANOTHER-NAME-OF-MORE-THAN-THIRTY\n"
          "90002,END OCCURS\n5,1,16,0,0,0,0,1,12345\n")},
    {"line sequential", "XFD,6,S,T,5\n10,10,0\n0,18,46,44,0\n0\n1,1,1,1\n0,10,16,0,0,0,0,1,F\n"},
    {"relative", "XFD,6,S,T,8\n10,10,0\n0,18,46,44,0\n0\n1,1,1,1\n0,10,16,0,0,0,0,1,F\n"},
    {"relative with a key",
     "XFD,6,S,T,8\n10,10,1\n0,18,46,44,0\n1,0,4,0\n1\nF\n0\n1,1,1,1\n0,10,16,0,0,0,0,1,F\n"},
    {"a file type of its own", "XFD,6,S,T,7\n10,10,0\n0,18,46,44,0\n0\n0,0,0,0\n"},
    {"other signs for point and comma",
     head(6, "0,18,44,255,0\n1\n1,1,N,\"1,5\"\n1,1,1,1\n0,3,1,3,-1,0,0,1,N\n")},
};

TEST_F(ShownText, LoadsToTheSameDictionaryInEveryViewAndCase) {
    for (const char *column_case : {"LOWER", "UPPER", "UNCHANGED"}) {
        ASSERT_EQ(ZCSetValueString("4GL_COLUMN_CASE", column_case), 1);
        for (const Row &row : kDictionaries) {
            SCOPED_TRACE(std::string(row.name) + ", " + column_case);
            const std::string text = shown(row.text);
            ASSERT_TRUE(text.starts_with("XFD,")) << text;
            for (uint32_t flags = 0; flags < 32; flags++) {
                SCOPED_TRACE("flags " + std::to_string(flags) + "\n" + text);
                const std::string expected = printed(row.text, flags);
                ASSERT_EQ(printed(text, flags), expected);
            }
            EXPECT_EQ(shown(text), text);
        }
        ZCSetValueString("4GL_COLUMN_CASE", nullptr);
    }
}

TEST_F(ShownText, IsTheDictionaryAsAPersonWouldWriteIt) {
    EXPECT_EQ(shown("XFD,06,ORDERS,ORDERS,4\n20,20,0\n0,18,46,44,0\n0\n2,4,2,4\n"
                    "# the number\n0,8,1,8,+00,0,0,5,ORDER-NO,\n"
                    "90001,3,4,START OCCURS\n8,4,9,7,-02,0,0,10,PRICE\n90002,END OCCURS\n"),
              "XFD,6,ORDERS,ORDERS,4\n"
              "20,20,0\n"
              "0,18,46,44,0\n"
              "0\n"
              "2,4,2,4\n"
              "# the number\n"
              "0,8,1,8,0,0,0,5,order_no\n"
              "90001,3,4,START OCCURS\n"
              "8,4,9,7,-2,0,0,10,price\n"
              "90002,END OCCURS\n");
}

TEST_F(ShownText, NamesWhatItCannotHold) {
    EXPECT_EQ(shown(head(6,
                         "0,18,46,44,0\n0\n3,3,3,3\n0,1,16,0,0,0,0,1,A\n"
                         "0,8,1,8,0,1,0,1,BAD,NONSENSE\n1,1,16,0,0,0,0,1,C\n")),
              "field 2: the text form cannot hold it: the dictionary is cut short, this field "
              "could not be built");
    EXPECT_EQ(shown(head(6,
                         "0,18,46,44,0\n0\n2,2,2,2\n90001,0,4,START OCCURS\n"
                         "0,1,16,0,0,0,0,1,A\n90002,END OCCURS\n1,1,16,0,0,0,0,1,B\n"
                         "2,1,16,0,0,0,0,1,C\n")),
              "field a: the text form cannot hold it: it is part of a group that occurs 0 times");
}

// What only a program or another form of dictionary can make.
class BuiltDictionary : public ShownText {
 protected:
    void SetUp() override {
        base_ = load("XFD,6,S,T,4\n10,10,0\n0,18,46,44,0\n0\n1,1,1,1\n0,10,16,0,0,0,0,1,F\n",
                     XFD_LOAD_COMMENTS);
        ASSERT_NE(base_, nullptr);
    }

    std::string shown_built() {
        try {
            return tool::dictionary_text(*base_, *base_, false);
        } catch (const tool::Failure &failure) {
            return failure.what();
        }
    }

    int add(const char *name, const char *comment, const char *null_value, uint8_t identity) {
        const uint16_t none[XFD_MAX_OCCURS] = {};
        const XfdArgument data = {0, 4, 16, 0, 0, 0};
        base_->x_n_fields_listed++;
        return Z4AddXFDField(base_.get(), 0, &data, 0, 0, 1, none, none, 0, 0, 0, 0, 0, identity,
                             name, nullptr, comment, nullptr, null_value);
    }

    support::OwnedXfd base_;
};

TEST_F(BuiltDictionary, WithoutAnythingSpecialHasAText) {
    ASSERT_EQ(add("g", "# fine", nullptr, 0), 2);
    EXPECT_EQ(shown_built(),
              "XFD,6,S,T,4\n10,10,0\n0,18,46,44,0\n0\n2,2,2,2\n0,10,16,0,0,0,0,1,f\n"
              "# fine\n0,4,16,0,0,0,0,1,g\n");
}

TEST_F(BuiltDictionary, WithANullValueHasNone) {
    ASSERT_EQ(add("g", nullptr, "???", 0), 2);
    EXPECT_EQ(shown_built(), "field g: the text form cannot hold it: null value \"???\"");
}

TEST_F(BuiltDictionary, WithAnIdentityFieldHasNone) {
    ASSERT_EQ(add("g", nullptr, nullptr, 1), 2);
    EXPECT_EQ(shown_built(),
              "identity field 2: the text form cannot hold it: it has no mark for it");
}

TEST_F(BuiltDictionary, WithACommentThatIsNoneHasNone) {
    ASSERT_EQ(add("g", "free text", nullptr, 0), 2);
    EXPECT_EQ(shown_built(),
              "comment of field g: the text form cannot hold it: the line \"free text\" does not "
              "begin with #");
}

TEST_F(BuiltDictionary, OfALaterVersionHasNone) {
    base_->x_version = 9;
    EXPECT_EQ(shown_built(), "version 9: the text form cannot hold it: versions are 1 to 8");
}

TEST_F(BuiltDictionary, WithALineFeedInANameHasNone) {
    ASSERT_EQ(add("g\nh", nullptr, nullptr, 0), 2);
    EXPECT_EQ(shown_built(),
              "field g\\x0Ah: the text form cannot hold it: a value ends with its line, and this "
              "one holds a line feed");
}

TEST_F(BuiltDictionary, WithALineThatIsNotReadWholeHasNone) {
    ASSERT_EQ(add("g", ("# " + std::string(510, 'x')).c_str(), nullptr, 0), 2);
    EXPECT_EQ(shown_built(),
              "comment of field g: the text form cannot hold it: a line of 512 bytes; 510 are "
              "read");
}

}  // namespace
