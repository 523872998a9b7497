// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/load_xml.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <utility>

#include "host/messages.h"
#include "tests/fsi/4gl/kst4gl/xml_dictionary.h"
#include "wbfsi/xml_xfd.h"

namespace {

using namespace support;  // the words that dictionaries are put together with

TEST_F(LoadXml, NamesAreExportedInTheirOrder) {
    constexpr const char *kNames[] = {
        "xfd:xfdfile",
        "xfd:identification",
        "xfd:version",
        "xfd:select-name",
        "xfd:table-name",
        "xfd:file-organization",
        "xfd:cobol-trigger",
        "xfd:maximum-record-size",
        "xfd:minimum-record-size",
        "xfd:number-of-keys",
        "xfd:sign-compatibility",
        "xfd:maximum-numeric-digits",
        "xfd:period-character",
        "xfd:comma-character",
        "xfd:alphabet",
        "xfd:keys",
        "xfd:key",
        "xfd:segment-count",
        "xfd:duplicates-allowed",
        "xfd:segments",
        "xfd:segment",
        "xfd:segment-size",
        "xfd:segment-offset",
        "xfd:key-columns",
        "xfd:key-column-count",
        "xfd:key-column",
        "xfd:key-column-name",
        "xfd:conditions",
        "xfd:condition-count",
        "xfd:condition",
        "xfd:condition-number",
        "xfd:condition-comparison",
        "xfd:condition-variable",
        "xfd:condition-value",
        "xfd:condition-tablename",
        "xfd:condition-and-1",
        "xfd:condition-and-2",
        "xfd:condition-or-1",
        "xfd:condition-or-2",
        "xfd:fields",
        "xfd:elementary-items",
        "xfd:elementary-items-with-occurs",
        "xfd:total-items",
        "xfd:total-items-with-occurs",
        "xfd:field",
        "xfd:field-offset",
        "xfd:field-bytes",
        "xfd:field-type",
        "xfd:field-length",
        "xfd:field-scale",
        "xfd:field-user-flags",
        "xfd:field-condition",
        "xfd:field-level",
        "xfd:field-name",
        "xfd:field-date-format",
        "xfd:field-null-value",
        "xfd:field-is-identity",
        "xfd:field-occurs",
        "xfd:occurs-count",
        "xfd:occurs-size",
        "xfd:occurs-subtable",
    };
    static_assert(std::size(kNames) == XMLXFD_TAG_COUNT);
    for (size_t i = 0; i < std::size(kNames); ++i)
        EXPECT_STREQ(xmlxfd_tags[i], kNames[i]) << i;
    EXPECT_STREQ(xmlxfd_tags[XMLXFD_XFDFILE], "xfd:xfdfile");
    EXPECT_STREQ(xmlxfd_tags[XMLXFD_OCCURS_SUBTABLE], "xfd:occurs-subtable");
}

const std::string kIdentity =
    identification(element("select-name", "CLIENT-FILE") + element("table-name", "CLIENT") +
                   element("file-organization", "Indexed") + element("cobol-trigger", "TRIG") +
                   element("maximum-record-size", "40") + element("minimum-record-size", "30") +
                   element("number-of-keys", "1") + element("sign-compatibility", "8") +
                   element("maximum-numeric-digits", "31") + element("period-character", ",") +
                   element("comma-character", ".") + element("alphabet", "UTF-8"));
const std::string kKeys =
    "<xfd:keys><xfd:key xfd:segment-count=\"1\" xfd:duplicates-allowed=\"false\"><xfd:key-columns "
    "xfd:key-column-count=\"1\"><xfd:key-column xfd:key-column-name=\"ID\"/></xfd:key-columns>"
    "<xfd:segments><xfd:segment xfd:segment-size=\"5\" xfd:segment-offset=\"0\"/></xfd:segments>"
    "</xfd:key></xfd:keys>\n";
const std::string kConditions =
    "<xfd:conditions xfd:condition-count=\"2\">" + condition(1, comparison("eq", "KIND", "A")) +
    condition(2, element("condition-comparison", "and") + element("condition-and-1", "1") +
                     element("condition-and-2", "1")) +
    "</xfd:conditions>\n";
const std::string kFields = fields_section(
    "xfd:elementary-items=\"3\" xfd:elementary-items-with-occurs=\"4\" "
    "xfd:total-items=\"3\" xfd:total-items-with-occurs=\"4\"",
    field("ID") + field("KIND") + group(2, 3, field("AMT")));
const std::string kWhole =
    "file 'CLIENT_FILE' 'CLIENT' v8 type 12 records 30..40 trigger 'TRIG' flags 1\n"
    "conversion compat 8 digits 68 signs 64 11 point , comma . encoding 2\n"
    "counts keys 1 conditions 2 fields 3 4 listed 3 4 slots 4\n"
    "key 0: 0+5 columns id=0\n"
    "condition 1: type 1 'kind' 'A' field 1\n"
    "condition 2: type 2 operands 1 1\n"
    "field 0: 'id' at 0 size 1 type 16 digits 1 level 1 flags K\n"
    "field 1: 'kind' at 0 size 1 type 16 digits 1 level 1\n"
    "field 2: 'amt_1' at 0 size 1 type 16 digits 1 level 1 occurs 2/1\n"
    "field 3: 'amt_2' at 3 size 1 type 16 digits 1 level 1 occurs 2/2\n";

TEST_F(LoadXml, ReadsEverySection) {
    const OwnedXfd xfd = load(document(kIdentity + kKeys + kConditions + kFields));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_xfd(xfd.get()), kWhole);
    EXPECT_EQ(xfd->x_filename, path());
    EXPECT_EQ(file_error(), "0 0 0 null");
}

TEST_F(LoadXml, SectionsMayStandInAnyOrder) {
    const std::string orders[] = {
        kFields + kConditions + kKeys + kIdentity, kKeys + kIdentity + kFields + kConditions,
        kConditions + kFields + kIdentity + kKeys, kFields + kKeys + kConditions + kIdentity};
    for (const std::string &order : orders) {
        const OwnedXfd xfd = load(document(order));
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(print_xfd(xfd.get()), kWhole);
    }
}

TEST_F(LoadXml, OtherElementsAndAttributesArePassedOver) {
    std::string text = document(kIdentity + kKeys + kConditions + kFields);
    for (const char *end : {"</xfd:identification>", "</xfd:keys>", "</xfd:key>", "</xfd:segments>",
                            "</xfd:key-columns>", "</xfd:condition>", "</xfd:conditions>",
                            "</xfd:field-occurs>", "</xfd:fields>", "</xfd:xfdfile>"}) {
        const size_t at = text.find(end);
        ASSERT_NE(at, std::string::npos) << end;
        text.insert(at,
                    "text <!-- comment --><other field-offset='x'><xfd:field/></other>"
                    "<XFD:FIELD/><XFD:KEYS/><?pi data?>");
    }
    text.replace(text.find("<xfd:xfdfile>"), 13, "<any-name other='1' xfd:version='x'>");
    text.replace(text.find("</xfd:xfdfile>"), 14, "</any-name>");
    const OwnedXfd xfd = load(text);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_xfd(xfd.get()), kWhole);
}

TEST_F(LoadXml, TopElementWithoutChildrenGivesDefaults) {
    for (const char *text : {"<a/>", "<a></a>", "<a>text</a>", "<a><b/></a>", "\n<a/>", "  <a/>"}) {
        SCOPED_TRACE(text);
        for (const uint32_t flags : {0U, 31U}) {
            const OwnedXfd xfd = load(text, flags);
            ASSERT_NE(xfd, nullptr) << file_error();
            EXPECT_EQ(print_xfd(xfd.get()),
                      "file '' '' v0 type 0 records 0..0\n"
                      "conversion compat 0 digits 40 signs 25 11 point . comma , encoding 0\n"
                      "counts keys 0 conditions 0 fields 0 0 listed 0 0 slots 0\n");
        }
    }
}

TEST_F(LoadXml, FileOrganizationIsAWord) {
    struct Row {
        const char *text;
        int type;
    };
    constexpr Row kRows[] = {{"Indexed", 12},
                             {"Relative", 8},
                             {"Line Sequential", 5},
                             {"Binary Sequential", 4},
                             {"Sequential", 4},
                             {"relative", 12},
                             {"Relative file", 12},
                             {"", 12},
                             {"Hashed", 12},
                             {" \n Relative \n ", 8},
                             {"<![CDATA[Relative]]>", 8}};
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.text);
        const OwnedXfd xfd = load(document(identification(element("file-organization", row.text))));
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(xfd->x_file_type, row.type);
    }
    // Blanks that are kept for programs' documents do not count here.
    ASSERT_EQ(ZCSetValueString("XML_KEEP_WHITESPACE", "BOTH"), 1);
    const OwnedXfd xfd =
        load(document(identification(element("file-organization", "\n  Relative\n") +
                                     element("maximum-record-size", "\n 12 \n"))));
    ZCSetValueString("XML_KEEP_WHITESPACE", nullptr);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(xfd->x_file_type, 8);
    EXPECT_EQ(xfd->x_max_rec_size, 12U);
}

TEST_F(LoadXml, IdentificationItems) {
    struct Row {
        std::string items;
        int version;
        std::string expected;
    };
    const std::string usual = "conversion compat 0 digits 40 signs 25 11 point . comma , encoding ";
    const Row rows[] = {
        {element("sign-compatibility", "72"), 8,
         "conversion compat 72 digits 40 signs 16 13 point . comma , encoding 0\n"},
        {element("sign-compatibility", "64"), 8,
         "conversion compat 64 digits 40 signs 25 11 point . comma , encoding 0\n"},
        {element("sign-compatibility", "8"), 8,
         "conversion compat 8 digits 40 signs 64 11 point . comma , encoding 0\n"},
        {element("maximum-numeric-digits", "18"), 8, usual + "0\n"},
        {element("maximum-numeric-digits", "19"), 8,
         "conversion compat 0 digits 68 signs 25 11 point . comma , encoding 0\n"},
        {element("period-character", ";;") + element("comma-character", "'"), 8,
         "conversion compat 0 digits 40 signs 25 11 point ; comma ' encoding 0\n"},
        {element("period-character", "") + "<xfd:comma-character/>", 8, usual + "0\n"},
        {element("alphabet", "UTF-8"), 8, usual + "2\n"},
        {element("alphabet", "utf-16be"), 8, usual + "5\n"},
        {element("alphabet", "ISO-8859-1"), 8, usual + "7\n"},
        {element("alphabet", "None"), 8, usual + "0\n"},
        {element("alphabet", "UTF-8"), 9, usual + "2\n"},
        {element("alphabet", "utf-8"), 9, usual + "-1\n"},
        {element("alphabet", "None"), 9, usual + "0\n"},
        {element("alphabet", "Native"), 9, usual + "-1\n"},
        {element("alphabet", "EBCDIC"), 65535, usual + "-1\n"},
        {"", 9, usual + "0\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.items);
        EXPECT_EQ(loaded(document(identification(row.items, row.version)),
                         [](const Xfd &xfd) { return print_conversion(xfd.x_cvt_info); }),
                  row.expected);
    }
}

TEST_F(LoadXml, VersionMayBeLeftOut) {
    const OwnedXfd xfd = load(document("<xfd:identification/>"));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_file(*xfd), "file '' '' v0 type 12 records 0..0\n");
}

TEST_F(LoadXml, NamesAreCutAndFollowTheTableCase) {
    const std::string long_name(200, 'N');
    const std::string text = document(identification(
        element("select-name", "A-" + long_name) + element("table-name", "T-" + long_name) +
        element("cobol-trigger", "first") + element("cobol-trigger", "G-" + long_name)));
    for (const auto &[setting, name] : {std::pair{"LOWER", "a_" + std::string(28, 'n')},
                                        {"UPPER", "A_" + std::string(28, 'N')},
                                        {"UNCHANGED", "A-" + std::string(28, 'N')}}) {
        SCOPED_TRACE(setting);
        ASSERT_EQ(ZCSetValueString("4GL_TABLE_CASE", setting), 1);
        const OwnedXfd xfd = load(text);
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(xfd->x_select_name, name);
        EXPECT_EQ(xfd->x_table_name, "T-" + std::string(126, 'N'));
        EXPECT_EQ(xfd->x_cobol_trigger, "G-" + std::string(126, 'N'));
        EXPECT_EQ(ZMemoryBlocks("pxfd->x_cobol_trigger"), 1U);
    }
    ZCSetValueString("4GL_TABLE_CASE", nullptr);
}

TEST_F(LoadXml, TextsAreInTheProgramsCharacterSet) {
    const OwnedXfd xfd =
        load("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" +
             document(identification(element("table-name", "K\xC3\x96NIG"))).substr(22));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_STREQ(xfd->x_table_name, "K\xD6NIG");
}

TEST_F(LoadXml, DocumentsMayBeInUtf16) {
    const std::string text = "<a>\n" + identification(element("table-name", "T&#xD6;")) + "</a>\n";
    for (const bool is_big : {false, true}) {
        for (const bool has_mark : {false, true}) {
            SCOPED_TRACE(std::to_string(is_big) + std::to_string(has_mark));
            std::string wide = !has_mark ? "" : is_big ? "\xFE\xFF" : "\xFF\xFE";
            for (const char c : text) {
                wide += is_big ? '\0' : c;
                wide += is_big ? c : '\0';
            }
            const OwnedXfd xfd = load(wide, XFD_LOAD_COMMENTS);
            ASSERT_NE(xfd, nullptr) << file_error();
            EXPECT_STREQ(xfd->x_table_name, "T\xD6");
        }
    }
}

TEST_F(LoadXml, KeysAreTakenInTheirOrder) {
    EXPECT_EQ(keys(with_keys("1", kKey)), "key 0: 2+5 duplicates columns id_a=65535\n");
    // Whatever stands around the only one.
    EXPECT_EQ(keys(with_keys("1", "<other/><xfd:keyx/>" + kKey + "<other/>")),
              "key 0: 2+5 duplicates columns id_a=65535\n");
    EXPECT_EQ(keys(with_keys(
                  "3", kKey + "<xfd:key xfd:segment-count='0' xfd:duplicates-allowed='True'/>"
                              "<other/><xfd:key xfd:segment-count='2'><xfd:segments>"
                              "<xfd:segment xfd:segment-offset='0' xfd:segment-size='65535'/>"
                              "<xfd:segment xfd:segment-offset='2147483647' xfd:segment-size='0'/>"
                              "</xfd:segments></xfd:key>")),
              "key 0: 2+5 duplicates columns id_a=65535\n"
              "key 1: columns\n"
              "key 2: 0+65535 2147483647+0 columns\n");
    // Fewer columns than declared leave the others empty; one without a name is none.
    EXPECT_EQ(keys(with_keys("1",
                             "<xfd:key xfd:segment-count='0'><xfd:key-columns "
                             "xfd:key-column-count='2'><xfd:key-column/><xfd:key-column "
                             "xfd:key-column-name='A'/></xfd:key-columns></xfd:key>")),
              "key 0: columns a=65535 =65535\n");
    // Counts that are left out are 0, and keys without their section are empty.
    EXPECT_EQ(keys(with_keys("1", "<xfd:key/>")), "key 0: columns\n");
    EXPECT_EQ(keys(with_keys("1", "<xfd:key><xfd:key-columns/></xfd:key>")), "key 0: columns\n");
    EXPECT_EQ(keys(document(identification(element("number-of-keys", "2")))),
              "key 0: columns\nkey 1: columns\n");
}

TEST_F(LoadXml, DuplicatesAreAllowedByExactlyTrue) {
    for (const auto &[text, expected] :
         {std::pair{"true", 1}, {"false", 0}, {"TRUE", 0}, {"true ", 0}, {"1", 0}, {"", 0}}) {
        SCOPED_TRACE(text);
        const OwnedXfd xfd = load(with_keys(
            "1",
            std::string("<xfd:key xfd:segment-count='0' xfd:duplicates-allowed='") + text + "'/>"));
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(xfd->x_key_desc[0].k_duplicates, expected);
    }
}

TEST_F(LoadXml, ComparisonsAreWords) {
    std::string text;
    std::string expected;
    int number = 0;
    for (const auto &[word, type] : {std::pair{"eq", 1},
                                     {"other", 3},
                                     {"gt", 4},
                                     {"ge", 5},
                                     {"lt", 6},
                                     {"le", 7},
                                     {"ne", 8}}) {
        text += condition(++number, comparison(word, "A-B", "V"));
        expected += "condition " + std::to_string(number) + ": type " + std::to_string(type) +
                    " 'a_b' 'V' field 0\n";
    }
    EXPECT_EQ(conditions(with_conditions("7", text)), expected);
    EXPECT_EQ(
        conditions(with_conditions(
            "4",
            condition(4, element("condition-or-2", "65535") + element("condition-or-1", "3") +
                             element("condition-comparison", "or")) +
                condition(2, element("condition-comparison", "and") +
                                 element("condition-and-1", "3") + element("condition-and-2", "0") +
                                 element("condition-tablename", "T")))),
        "condition 1: type 0 operands 0 0 '' '' field 0\n"
        "condition 2: type 2 operands 3 0 table 'T'\n"
        "condition 3: type 0 operands 0 0 '' '' field 0\n"
        "condition 4: type 9 operands 3 -1\n");
    // An operand that is left out is no condition.
    EXPECT_EQ(
        conditions(with_conditions("2", condition(1, element("condition-comparison", "and")) +
                                            condition(2, element("condition-comparison", "or") +
                                                             element("condition-or-2", "1")))),
        "condition 1: type 2 operands 0 0\ncondition 2: type 9 operands 0 1\n");
    EXPECT_EQ(conditions(with_conditions("0", condition(7, ""))), "");
}

TEST_F(LoadXml, ConditionValuesMayStandInQuotes) {
    const std::string fifty(50, 'v');
    struct Row {
        std::string text;
        std::string expected;
    };
    const Row rows[] = {
        {"A", "A"},
        {"\"A\"", "A"},
        {"\" A \"", " A "},
        {"\"A", "\"A"},
        {"A\"", "A\""},
        {"\"", "\""},
        {"\"\"", ""},
        {"\"\"\"", "\""},
        {"", ""},
        {"'A'", "'A'"},
        {"&quot; &lt;&amp;&quot;", " <&"},
        {fifty, fifty},
        {fifty + "w", fifty},
        {"\"" + fifty.substr(1) + "\"", fifty.substr(1)},
        // Of what is longer the closing quote is not read.
        {"\"" + fifty + "\"", "\"" + fifty.substr(1)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        const OwnedXfd xfd =
            load(with_conditions("1", condition(1, comparison("eq", "A", row.text))));
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(xfd->x_condition[0].c_value, row.expected);
    }
}

TEST_F(LoadXml, ConditionTextsAreCut) {
    const std::string name(200, 'N');
    EXPECT_EQ(
        conditions(with_conditions(
            "1", condition(1, comparison("eq", name, "1") + element("condition-tablename", name)))),
        "condition 1: type 1 '" + std::string(30, 'n') + "' '1' field 0 table '" +
            std::string(30, 'N') + "'\n");
}

TEST_F(LoadXml, CommentsOfTheTextFormAreNoneHere) {
    const OwnedXfd xfd =
        load("   \n  \n<a><xfd:fields xfd:elementary-items='1'>" + field("A") + "</xfd:fields></a>",
             XFD_LOAD_COMMENTS);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(xfd->x_fdesc[0].fd_comment, nullptr);
}

TEST_F(LoadXml, BlocksCarryTheirTags) {
    const OwnedXfd xfd = load(document(kIdentity + kKeys + kConditions + kFields));
    ASSERT_NE(xfd, nullptr) << file_error();
    for (const char *tag : {"pxfd", "pxfd->x_cvt_info", "pxfd->x_n_keys", "pKey->k_field",
                            "pxfd->x_condition", "pxfd->x_fdesc", "pxfd->x_cobol_trigger"})
        EXPECT_EQ(ZMemoryBlocks(tag), 1U) << tag;
}

class Trace {
 public:
    Trace(int which, int16_t level) : which_(which) {
        ZOutputRedirect(which, take, this);
        f_trace = level;
    }
    ~Trace() {
        f_trace = 0;
        ZOutputRedirect(which_, nullptr, nullptr);
    }
    std::string text;

 private:
    static void take(const char *bytes, size_t n, void *self) {
        static_cast<Trace *>(self)->text.append(bytes, n);
    }
    int which_;
};

TEST_F(LoadXml, FailureIsTraced) {
    const Trace trace(1, 1);
    EXPECT_EQ(load("<a>"), nullptr);
    EXPECT_NE(trace.text.find("Failed to parse XML file\n"), std::string::npos) << trace.text;
    const size_t once = trace.text.size();
    EXPECT_NE(load("<a/>"), nullptr);
    EXPECT_EQ(trace.text.find("Failed to parse", once), std::string::npos);
    EXPECT_EQ(load(document("<xfd:fields/>")), nullptr);
    EXPECT_NE(trace.text.find("Failed to parse XML file\n", once), std::string::npos);
}

TEST_F(LoadXml, TreeAndDictionaryAreDumpedAboveTraceLevelTen) {
    for (const int16_t level : {int16_t{10}, int16_t{11}}) {
        const Trace dump(0, level);
        ASSERT_NE(load(document(kIdentity + kKeys + kConditions + kFields)), nullptr);
        const size_t tree = dump.text.find("xfd:select-name = CLIENT-FILE");
        EXPECT_EQ(tree != std::string::npos, level > 10) << dump.text;
        const size_t first = dump.text.find("CLIENT_FILE");
        EXPECT_EQ(first != std::string::npos, level > 10);
        EXPECT_EQ(dump.text.find("CLIENT_FILE", first + 1) != std::string::npos, level > 10);
    }
}

}  // namespace
