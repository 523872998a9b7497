// SPDX-License-Identifier: MIT
//
// A dictionary in text form, written in XML form, loads to the same records.
#include <gtest/gtest.h>

#include <fstream>
#include <initializer_list>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"
#include "tool/failure.h"
#include "tool/show.h"

namespace {

class ShownXml : public support::DictionaryTest {
 protected:
    std::string shown(std::string_view dictionary, tool::Form form = tool::Form::kXml) {
        folder_.write("file.xfd", dictionary);
        try {
            return tool::written_dictionary("file", form);
        } catch (const tool::Failure &failure) {
            return failure.what();
        }
    }
    std::string printed(std::string_view dictionary, uint32_t flags) {
        support::clear_file_error();
        const support::OwnedXfd xfd = load(dictionary, flags);
        return support::print_xfd(xfd.get()) + (xfd != nullptr ? "" : support::file_error());
    }

    // Every view, comments aside, of text, XML, and the text made of that again.
    void expect_same(const std::string &text, bool has_listed_view = true) {
        const std::string xml = shown(text);
        ASSERT_TRUE(xml.starts_with("<?xml ")) << xml;
        const std::string again = shown(xml, tool::Form::kText);
        for (uint32_t flags = 0; flags < 32; flags += 2) {
            if ((flags & XFD_LOAD_LISTED_VIEW) != 0 && !has_listed_view)
                continue;
            const std::string expected = printed(text, flags);
            if (expected.starts_with("null"))
                continue;  // a relative file with keys
            ASSERT_EQ(printed(xml, flags), expected) << "flags " << flags << '\n' << xml;
            if (again.starts_with("XFD")) {
                ASSERT_EQ(printed(again, flags), expected) << "flags " << flags << '\n' << again;
            }
        }
        const std::string without_comments = shown(xml);
        ASSERT_EQ(shown(without_comments), without_comments);
    }
};

std::string head(int version, const std::string &rest) {
    return "XFD," + std::to_string(version) + ",SEL-ECT,The Table,12\n100,80,0\n" + rest;
}

struct Row {
    const char *name;
    bool has_listed_view;
    std::string text;
};

const Row kDictionaries[] = {
    {"version 1 has no file type", false, "XFD,1,S,T\n10,10,0\n0\n1\n0,10,16,0,0,0,0,F\n"},
    {"version 4 has no levels", false, head(4, "0\n1,1,1\n0,10,16,0,0,0,0,F\n")},
    {"version 5 has no conversions", true, head(5, "0\n1,1,1,1\n0,10,16,0,0,0,0,3,F\n")},
    {"version 6 with a trigger", true,
     "XFD,6,S,T,4,\"a, <b>&]]>\"\n10,10,0\n72,31,44,46,2\n0\n1,1,1,1\n0,10,16,0,0,0,0,3,F\n"},
    {"signs and other characters", true, head(8, "8,18,38,60,5\n0\n1,1,1,1\n0,9,16,0,0,0,0,3,F\n")},
    {"keys and flags", true,
     "XFD,6,S,T,12\n60,60,2\n0,18,46,44,0\n"
     "2,0,4,0,2,8\n2\nA-ID\nMISSING\n1,1,10,10\n1\nNAME\n"
     "0\n5,5,5,5\n"
     "0,4,1,4,0,0,0,1,A-ID\n8,2,16,0,0,16,0,1,SECONDARY\n10,10,16,0,0,48,0,1,NAME\n"
     "20,5,9,9,-2,96,0,1,HIDDEN\n30,8,1,8,+02,65,0,1,DATE,YYYYMMDD\n"},
    {"several record descriptions and odd types", true,
     head(7,
          "0,18,46,44,0\n0\n4,4,4,4\n0,8,30,9,0,0,0,1,LONG\n0,3,9,8,0,1,0,1,SHORTDATE\n"
          "0,4,23,9,0,0,0,1,FLOAT\n0,4,63,200,-128,7,0,1,ODD\n")},
    {"comments", true,
     head(6,
          "0,18,46,44,0\n0\n2,2,2,2\n# one -- two ---\n\n  # <three>  \n0,4,16,0,0,0,0,1,A\n"
          "#-\n4,4,16,0,0,0,0,1,B\n")},
    {"conditions", true,
     head(6,
          "0,18,46,44,0\n9\n1,1,KIND,A,T-ONE\n2,4,AMOUNT,1.5\n3,5,AMOUNT,-0000.50\n"
          "4,6,AMOUNT,99999999\n5,7,BIG,1200\n6,8,NOWHERE,07\n7,3,KIND,T-OTHER\n8,2,1,2\n"
          "9,9,40000,0,T-OR\n4,4,4,4\n0,1,16,0,0,0,0,1,KIND\n1,3,9,5,-2,0,1,1,AMOUNT\n"
          "4,2,1,2,2,0,9,1,BIG\n6,2,16,0,0,16,0,1,REST\n")},
    {"values in need of care", true,
     head(6,
          "0,18,46,44,0\n9\n1,1,N,\n2,1,T,\"a < b & c\"\n3,1,N,\" 12\"\n4,1,N,\"1,5\"\n"
          "5,1,T,\"x \"\"y\"\n6,1,T,\"\"\"\"\n7,1,T,\"\"\"q\"\"\"\n8,1,T,\" <]]> \"\n"
          "9,1,T,\"\"\"\"\"\"\n2,2,2,2\n0,3,1,3,0,0,0,1,N\n3,3,16,0,0,0,0,1,T\n")},
    {"a condition slot that no line fills", true,
     head(6, "0,18,46,44,0\n3\n3,1,A,B\n3,1,A,C\n3,1,A,D\n1,1,1,1\n0,3,16,0,0,0,2,1,A\n")},
    {"OCCURS, nested and side by side", true,
     head(6,
          "0,18,46,44,0\n0\n6,23,6,23\n0,1,16,0,0,0,0,1,FIRST\n90001,3,20,START OCCURS\n"
          "1,2,16,0,0,0,0,2,IN_ONE\n90001,2,5,start-occurs\n3,2,16,0,0,0,0,3,IN_TWO\n"
          "5,3,16,0,0,0,0,3,IN_TWO_TOO\n90002,END OCCURS\n90001,1,9,START OCCURS\n"
          "13,4,16,0,0,0,0,3,ONCE\n90002,END OCCURS\n90002,END OCCURS\n"
          "90001,4,2,START OCCURS\n61,2,16,0,0,0,0,2,BESIDE\n90002,END OCCURS\n")},
    {"sub-tables", true,
     head(6,
          "0,18,46,44,0\n0\n4,10,4,10\n90001,2,20,START OCCURS,outer-table\n"
          "0,2,16,0,0,0,0,2,A\n90001,2,5,START OCCURS,\"In&<>\"\"\"\n2,2,16,0,0,0,0,3,B\n"
          "90002,END OCCURS\n90001,1,1,START OCCURS\n12,2,16,0,0,0,0,3,C\n"
          "90002,END OCCURS\n90002,END OCCURS\n90001,1,9,START OCCURS,ONE\n"
          "50,1,16,0,0,0,0,2,D\n90002,END OCCURS\n90001,1,9,START OCCURS,TWO\n"
          "51,1,16,0,0,0,0,2,E\n90002,END OCCURS\n")},
    {"listed view", true,
     head(6,
          "0,18,46,44,0\n0\n2,3,4,6\n0,8,22,0,0,0,999,1,GROUP\n0,4,16,0,0,0,0,2,A\n"
          "90001,2,4,START OCCURS\n10,4,22,0,0,0,999,2,INNER\n10,4,16,0,0,0,0,3,B\n"
          "90002,END OCCURS\n")},
    {"fields tested inside OCCURS", true,
     head(6,
          "0,18,46,44,0\n2\n1,1,AMT,05\n2,1,AMT_2,06\n2,4,2,4\n90001,3,4,START OCCURS\n"
          "0,4,1,4,0,16,0,1,AMT\n90002,END OCCURS\n20,4,16,0,0,16,0,1,LAST\n")},
    {"values that look like sign and digits", true,
     head(6,
          "0,18,46,44,0\n2\n1,1,AMT,-7\n2,1,AMT_2,-7\n3,6,3,6\n90001,2,4,START OCCURS\n"
          "0,4,1,1,-1,0,0,1,AMT\n0,4,1,4,0,0,0,1,AMT_1\n90002,END OCCURS\n"
          "90001,2,4,START OCCURS\n20,4,1,3,-2,0,0,1,AMT_2\n90002,END OCCURS\n")},
    {"names that need care", true,
     head(6,
          "0,18,46,44,0\n0\n4,4,4,4\n0,1,16,0,0,0,0,1,\" with blanks \"\n"
          "1,1,16,0,0,0,0,1,\"a \"\"quoted\"\", <one>&\"\n"
          "2,1,16,0,0,0,0,1,\"t\tb\"\n3,1,16,0,0,0,0,1,\xC4\xF6\xA4\n")},
    {"line sequential", true,
     "XFD,6,S,T,5\n10,10,0\n0,18,46,44,0\n0\n1,1,1,1\n0,10,16,0,0,0,0,1,F\n"},
    {"relative", true, "XFD,6,S,T,8\n10,10,0\n0,18,46,44,0\n0\n1,1,1,1\n0,10,16,0,0,0,0,1,F\n"},
    {"relative with a key", true,
     "XFD,6,S,T,8\n10,10,1\n0,18,46,44,0\n1,0,4,0\n1\nF\n0\n1,1,1,1\n0,10,16,0,0,0,0,1,F\n"},
    {"no fields", true, "XFD,6,S,T,12\n10,10,0\n0,18,46,44,0\n0\n0,0,0,0\n"},
};

TEST_F(ShownXml, LoadsToTheSameDictionaryInEveryViewAndCase) {
    for (const char *column_case : {"LOWER", "UPPER", "UNCHANGED"}) {
        ASSERT_EQ(ZCSetValueString("4GL_COLUMN_CASE", column_case), 1);
        for (const Row &row : kDictionaries) {
            SCOPED_TRACE(std::string(row.name) + ", " + column_case);
            expect_same(row.text, row.has_listed_view);
        }
        ZCSetValueString("4GL_COLUMN_CASE", nullptr);
    }
}

TEST_F(ShownXml, ExamplesLoadToTheSameDictionary) {
    for (const char *name : {"customers", "orders", "stock"}) {
        SCOPED_TRACE(name);
        std::ifstream file(std::string(WBFSI_EXAMPLES) + '/' + name + ".xfd");
        ASSERT_TRUE(file);
        std::ostringstream text;
        text << file.rdbuf();
        expect_same(text.str());
    }
}

TEST_F(ShownXml, IsTheDictionaryAsAPersonWouldWriteIt) {
    EXPECT_EQ(shown("XFD,06,ORDERS,ORDERS,4\n20,20,1\n0,18,46,44,0\n1,1,8,0\n1\nORDER-NO\n"
                    "1\n1,1,PRICE,\" a\"\n2,4,2,4\n# the number\n0,8,1,8,+00,0,0,5,ORDER-NO,\n"
                    "90001,3,4,START OCCURS,SUB\n8,4,16,7,-02,0,0,10,PRICE\n90002,END OCCURS\n"),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<xfd:xfdfile xmlns:xfd="urn:wbfsi:xfd">
  <xfd:identification xfd:version="6">
    <xfd:select-name>ORDERS</xfd:select-name>
    <xfd:table-name>ORDERS</xfd:table-name>
    <xfd:file-organization>Sequential</xfd:file-organization>
    <xfd:maximum-record-size>20</xfd:maximum-record-size>
    <xfd:minimum-record-size>20</xfd:minimum-record-size>
    <xfd:number-of-keys>1</xfd:number-of-keys>
    <xfd:sign-compatibility>0</xfd:sign-compatibility>
    <xfd:maximum-numeric-digits>18</xfd:maximum-numeric-digits>
    <xfd:period-character>.</xfd:period-character>
    <xfd:comma-character>,</xfd:comma-character>
  </xfd:identification>
  <xfd:keys>
    <xfd:key xfd:segment-count="1" xfd:duplicates-allowed="true">
      <xfd:segments>
        <xfd:segment xfd:segment-size="8" xfd:segment-offset="0"/>
      </xfd:segments>
      <xfd:key-columns xfd:key-column-count="1">
        <xfd:key-column xfd:key-column-name="order_no"/>
      </xfd:key-columns>
    </xfd:key>
  </xfd:keys>
  <xfd:conditions xfd:condition-count="1">
    <xfd:condition xfd:condition-number="1">
      <xfd:condition-comparison>eq</xfd:condition-comparison>
      <xfd:condition-variable>price</xfd:condition-variable>
      <xfd:condition-value>" a"</xfd:condition-value>
    </xfd:condition>
  </xfd:conditions>
  <xfd:fields xfd:elementary-items="2" xfd:elementary-items-with-occurs="4" xfd:total-items="2" xfd:total-items-with-occurs="4">
    <!-- # the number -->
    <xfd:field xfd:field-offset="0" xfd:field-bytes="8" xfd:field-type="1" xfd:field-length="8" xfd:field-scale="0" xfd:field-user-flags="0" xfd:field-condition="0" xfd:field-level="5" xfd:field-name="order_no"/>
    <xfd:field-occurs xfd:occurs-count="3" xfd:occurs-size="4" xfd:occurs-subtable="SUB">
      <xfd:field xfd:field-offset="8" xfd:field-bytes="4" xfd:field-type="16" xfd:field-length="7" xfd:field-scale="-2" xfd:field-user-flags="0" xfd:field-condition="0" xfd:field-level="10" xfd:field-name="price"/>
    </xfd:field-occurs>
  </xfd:fields>
</xfd:xfdfile>
)");
}

TEST_F(ShownXml, NamesWhatItCannotHold) {
    const auto text = [](const std::string &identity, const std::string &conversions,
                         const std::string &rest) {
        return identity + "\n10,10,0\n" + conversions + '\n' + rest;
    };
    const std::string fine = "0\n1,1,1,1\n0,9,16,0,0,0,0,3,F\n";
    const auto condition = [](const std::string &line) {
        return "1\n" + line + "\n1,1,1,1\n0,9,16,0,0,0,0,3,F\n";
    };
    struct Refusal {
        std::string text;
        std::string expected;
    };
    const std::string usual = "XFD,6,S,T,12";
    const std::string signs = "0,18,46,44,0";
    const std::string held = ": the XML form cannot hold it: ";
    const Refusal rows[] = {
        {text("XFD,6,S,T,7", signs, fine), "file type 7" + held + "types are 4, 5, 8 and 12"},
        {text("XFD,6,\" S\",T,12", signs, fine),
         "select name" + held + "blanks around \" S\", or line ends in it"},
        {text("XFD,6,S,\"T\x01\",12", signs, fine),
         "table name" + held + "a control character in \"T\\x01\""},
        {text(usual + ',' + std::string(129, 't'), signs, fine),
         "COBOL trigger" + held + "it has more than 128 characters"},
        {text(usual, "0,18,32,44,0", fine), "decimal point" + held + "a blank or nothing"},
        {text(usual, "0,18,46,0,0", fine), "grouping character" + held + "a blank or nothing"},
        {text(usual, "0,18,46,44,46", fine), "encoding 46" + held + "it has no name there"},
        {text(usual, signs, "0\n1,1,1,1\n0,4,77,4,0,0,0,1,ODD\n"),
         "field odd" + held + "types go up to 63, this one is 77"},
        {text(usual, signs, condition("1,1,A,B," + std::string(31, 't'))),
         "condition 1" + held + "its table name has more than 30 characters"},
        {text(usual, signs, condition("1,1,A,\" " + std::string(49, 'v') + '"')),
         "condition 1" + held + "its value needs quotes and has more than 49 characters"},
        {text(usual, signs, "0\n0,0,1,1\n0,4,22,4,0,0,999,1,G\n"),
         "field counts" + held + "a dictionary whose fields all belong to the listed view"},
        {text(usual, signs,
              "0\n3,3,3,3\n0,1,16,0,0,0,0,1,A\n0,8,1,8,0,1,0,1,BAD,NONSENSE\n"
              "1,1,16,0,0,0,0,1,C\n"),
         "field 2" + held + "the dictionary is cut short, this field could not be built"},
    };
    for (const Refusal &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(shown(row.text), row.expected);
    }
}

TEST_F(ShownXml, KeepsWhatTheXmlFormAloneHas) {
    const std::string xml =
        "<a><xfd:identification xfd:version='12'><xfd:alphabet>Native</xfd:alphabet>"
        "</xfd:identification><xfd:fields xfd:elementary-items='2' "
        "xfd:elementary-items-with-occurs='4'><xfd:field xfd:field-offset='0' xfd:field-bytes='1' "
        "xfd:field-type='1' xfd:field-length='1' xfd:field-scale='0' xfd:field-user-flags='0' "
        "xfd:field-condition='0' xfd:field-name='A' xfd:field-is-identity='true'/>"
        "<xfd:field-occurs xfd:occurs-count='3' xfd:occurs-size='1'><xfd:field "
        "xfd:field-offset='1' xfd:field-bytes='1' xfd:field-type='16' xfd:field-length='1' "
        "xfd:field-user-flags='0' xfd:field-condition='0' xfd:field-name='B' "
        "xfd:field-null-value=' &lt;&#9;&#10;&#13;&quot; '/></xfd:field-occurs></xfd:fields></a>";
    const std::string written = shown(xml);
    for (const uint32_t flags : {0U, 4U, 8U})
        EXPECT_EQ(printed(written, flags), printed(xml, flags)) << written;
    EXPECT_NE(printed(xml, 0).find("null ' <\t\n\r\" '"), std::string::npos) << printed(xml, 0);
    EXPECT_EQ(shown(xml, tool::Form::kText),
              "version 12: the text form cannot hold it: versions are 1 to 8");
}

TEST_F(ShownXml, KeepsConditionsThatTheTextFormHasNoLineFor) {
    for (const char *items : {
             "<xfd:condition-variable>A</xfd:condition-variable>",
             "<xfd:condition-value>\"A \"</xfd:condition-value>",
             "<xfd:condition-and-1>7</xfd:condition-and-1>",
             "<xfd:condition-tablename>T</xfd:condition-tablename>",
             "<xfd:condition-comparison>and</xfd:condition-comparison>"
             "<xfd:condition-value>-7</xfd:condition-value>",
             "<xfd:condition-comparison>or</xfd:condition-comparison>"
             "<xfd:condition-variable>A</xfd:condition-variable>",
             "<xfd:condition-comparison>other</xfd:condition-comparison>"
             "<xfd:condition-value>B</xfd:condition-value>",
             "<xfd:condition-comparison>eq</xfd:condition-comparison>"
             "<xfd:condition-or-2>65535</xfd:condition-or-2><xfd:condition-or-1>0"
             "</xfd:condition-or-1>",
         }) {
        SCOPED_TRACE(items);
        const std::string xml =
            "<a><xfd:identification xfd:version='8'/><xfd:conditions xfd:condition-count='1'>"
            "<xfd:condition xfd:condition-number='1'>" +
            std::string(items) + "</xfd:condition></xfd:conditions></a>";
        EXPECT_EQ(printed(shown(xml), 0), printed(xml, 0));
        EXPECT_EQ(shown(xml, tool::Form::kText),
                  "condition 1: the text form cannot hold it: values that are none of its "
                  "comparison's");
    }
}

// Whole dictionaries put together at random.
class RandomDictionary {
 public:
    explicit RandomDictionary(uint32_t seed) : random_(seed) {}

    std::string make() {
        const int version = pick({5, 6, 7, 8});
        const int type = pick({4, 5, 8, 12});
        const int keys = type == 12 ? pick({1, 1, 2, 3}) : 0;
        fields_.clear();
        normal_ = total_ = listed_ = total_listed_ = 0;
        items(1, 0, 1);
        if (normal_ == 0)
            field(false, 1);
        std::string text = "XFD," + std::to_string(version) + ",SEL-" + name() + ",Table_" +
                           name() + ',' + std::to_string(type);
        if (version >= 6 && random_() % 3 == 0)
            text += ",TRIG-" + name();
        text += "\n900," + std::to_string(pick({0, 1, 900})) + ',' + std::to_string(keys) + '\n';
        if (version >= 6)
            text += std::to_string(pick({0, 8, 64, 72})) + ',' + std::to_string(pick({18, 31})) +
                    (random_() % 2 == 0 ? ",46,44," : ",44,46,") +
                    std::to_string(pick({0, 0, 2, 3, 5, 7})) + '\n';
        for (int k = 0; k < keys; ++k)
            text += key();
        const int conditions = pick({0, 0, 1, 4});
        text += std::to_string(conditions) + '\n';
        for (int c = 1; c <= conditions; ++c)
            text += condition(c);
        return text + std::to_string(normal_) + ',' + std::to_string(total_) + ',' +
               std::to_string(listed_) + ',' + std::to_string(total_listed_) + '\n' + fields_;
    }

 private:
    int pick(std::initializer_list<int> values) {
        return values.begin()[random_() % values.size()];
    }
    std::string name() {
        static constexpr const char *kNames[] = {"A", "B-C", "AMOUNT", "KIND", "A_1", "x&<y>"};
        return kNames[random_() % std::size(kNames)];
    }
    std::string key() {
        const int segments = pick({0, 1, 2, 16});
        std::string text = std::to_string(segments) + ',' + std::to_string(pick({0, 1}));
        for (int s = 0; s < segments; ++s)
            text += ',' + std::to_string(pick({1, 5, 65535})) + ',' + std::to_string(pick({0, 99}));
        const int columns = pick({0, 1, 2});
        text += '\n' + std::to_string(columns) + '\n';
        for (int c = 0; c < columns; ++c)
            text += name() + '\n';
        return text;
    }
    std::string condition(int number) {
        const std::string start = std::to_string(number) + ',';
        switch (random_() % 3) {
            case 0:
                return start + std::to_string(pick({2, 9})) + ",1," + std::to_string(pick({1, 7})) +
                       (random_() % 2 == 0 ? ",TAB\n" : "\n");
            case 1:
                return start + "3," + name() + (random_() % 2 == 0 ? ",TAB\n" : "\n");
            default:
                static constexpr const char *kValues[] = {"5",
                                                          "7",
                                                          "\" x \"",
                                                          "\"\"\"\"",
                                                          "\"a,b\"",
                                                          "ABC",
                                                          "\"<&> ]]> \"",
                                                          "\"\"\"q\"\"\"",
                                                          "00012345678",
                                                          "",
                                                          "-7",
                                                          "+7",
                                                          "1.5",
                                                          "-0.5",
                                                          "\"-1234567,875\"",
                                                          "-00000025"};
                return start + std::to_string(pick({1, 4, 5, 6, 7, 8})) + ',' + name() + ',' +
                       kValues[random_() % std::size(kValues)] + "," +
                       (random_() % 2 == 0 ? "TAB\n" : "\n");
        }
    }
    void field(bool is_listed_only, uint32_t occurrences) {
        static constexpr const char *kScales[] = {"+00", "-2", "0", "-128", "9", "127"};
        static constexpr const char *kFormats[] = {"YYMMDD", "HHNNSS", "YYYYMM", "FYYJJJ", ""};
        static constexpr const char *kComments[] = {"# two -- hyphens -\n", "\n", "  # <&\n#\n"};
        const bool is_date = random_() % 8 == 0;
        if (random_() % 8 == 0)
            fields_ += kComments[random_() % std::size(kComments)];
        const int type = pick({1, 2, 9, 12, 16, 22, 23, 30, 31, 63});
        fields_ += std::to_string(pick({0, 4, 99, 2000000})) + ',' +
                   std::to_string(pick({1, 3, 8})) + ',' + std::to_string(type) + ',' +
                   std::to_string(is_date ? 6 : pick({1, 2, 8, 18, 49, 200})) + ',' +
                   kScales[random_() % std::size(kScales)] + ',' +
                   std::to_string(is_date ? 1 : pick({0, 2, 16, 32, 126})) + ',' +
                   (is_listed_only ? "999" : std::to_string(pick({0, 0, 1, 65535}))) + ',' +
                   std::to_string(pick({1, 5, 65535})) + ',' + name() +
                   (is_date ? std::string(",") + kFormats[random_() % std::size(kFormats)] : "") +
                   '\n';
        listed_ += 1;
        total_listed_ += occurrences;
        normal_ += is_listed_only ? 0 : 1;
        total_ += is_listed_only ? 0 : occurrences;
    }
    void items(uint32_t occurrences, int depth, int least) {
        const int count = least + static_cast<int>(random_() % 4);
        for (int i = 0; i < count; ++i) {
            if (depth < 4 && random_() % 4 == 0) {
                const int times = pick({1, 2, 3});
                fields_ += "90001," + std::to_string(times) + ',' + std::to_string(pick({1, 8})) +
                           ",\"START OCCURS\"" + (random_() % 3 == 0 ? ",SUB\n" : "\n");
                // A group begins with a field that every view has, so that its size and
                // its end can be told.
                field(false, occurrences * static_cast<uint32_t>(times));
                items(occurrences * static_cast<uint32_t>(times), depth + 1, 0);
                fields_ += "90002,\"END OCCURS\"\n";
                field(false, occurrences);
            } else {
                field(random_() % 6 == 0, occurrences);
            }
        }
    }

    std::mt19937 random_;
    std::string fields_;
    uint32_t normal_ = 0;
    uint32_t total_ = 0;
    uint32_t listed_ = 0;
    uint32_t total_listed_ = 0;
};

TEST_F(ShownXml, GeneratedDictionariesLoadToTheSame) {
    for (uint32_t seed = 0; seed < 2000; ++seed) {
        const std::string text = RandomDictionary(seed).make();
        SCOPED_TRACE("seed " + std::to_string(seed) + '\n' + text);
        expect_same(text);
        if (HasFatalFailure())
            return;
    }
}

// What the text form cannot say, added at random to a dictionary in XML form.
std::string with_what_xml_alone_has(std::string xml, std::mt19937 &random) {
    const auto replace_some = [&](std::string_view from, std::initializer_list<const char *> to,
                                  unsigned one_in) {
        for (size_t at = 0; (at = xml.find(from, at)) != std::string::npos;) {
            const std::string_view with =
                random() % one_in == 0 ? to.begin()[random() % to.size()] : from;
            xml.replace(at, from.size(), with);
            at += with.size();
        }
    };
    replace_some(" xfd:field-name=",
                 {" xfd:field-null-value=\"SPACES\" xfd:field-name=",
                  " xfd:field-null-value=\"\" xfd:field-name=",
                  " xfd:field-null-value=\" &lt;&#9;&#10;\u00e4&quot;' \" xfd:field-name=",
                  " xfd:field-is-identity=\"TRUE\" xfd:field-name="},
                 3);
    replace_some("</xfd:condition>",
                 {"<xfd:condition-value>-7</xfd:condition-value></xfd:condition>",
                  "<xfd:condition-variable>AMOUNT</xfd:condition-variable></xfd:condition>",
                  "<xfd:condition-and-1>65535</xfd:condition-and-1></xfd:condition>",
                  "<xfd:condition-or-2>1</xfd:condition-or-2></xfd:condition>"},
                 4);
    // Under another name an attribute is left out.
    replace_some(" xfd:field-type=", {" no-type="}, 50);
    replace_some(" xfd:field-scale=", {" no-scale="}, 50);
    replace_some(" xfd:field-user-flags=", {" no-flags="}, 50);
    replace_some(" xfd:field-level=", {" no-level="}, 50);
    replace_some("<xfd:condition-comparison>eq</xfd:condition-comparison>", {""}, 5);
    if (xml.find("<xfd:alphabet>") == std::string::npos)
        replace_some("xfd:version=\"8\"", {"xfd:version=\"9\"", "xfd:version=\"65535\""}, 2);
    return xml;
}

TEST_F(ShownXml, GeneratedXmlDictionariesLoadToTheSame) {
    std::mt19937 random(1);
    for (uint32_t seed = 0; seed < 300; ++seed) {
        const std::string xml =
            with_what_xml_alone_has(shown(RandomDictionary(seed).make()), random);
        SCOPED_TRACE("seed " + std::to_string(seed));
        const std::string written = shown(xml);
        ASSERT_TRUE(written.starts_with("<?xml ")) << written << '\n' << xml;
        for (uint32_t flags = 0; flags < 32; ++flags) {
            const std::string expected = printed(xml, flags);
            if (expected.starts_with("null"))
                continue;  // a relative file with keys
            ASSERT_EQ(printed(written, flags), expected) << "flags " << flags << '\n' << xml;
        }
        const std::string again = shown(xml, tool::Form::kText);
        if (!again.starts_with("XFD"))
            continue;
        for (uint32_t flags = 0; flags < 32; flags += 2)
            ASSERT_EQ(printed(again, flags), printed(xml, flags)) << "flags " << flags << xml;
    }
}

}  // namespace
