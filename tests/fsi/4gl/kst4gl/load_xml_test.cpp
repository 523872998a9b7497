// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/load_xml.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fsi/4gl/kst4gl/model.h"
#include "host/memory.h"
#include "host/messages.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"
#include "wbfsi/xml_xfd.h"

namespace {

using support::file_error;
using support::OwnedXfd;
using support::print_conditions;
using support::print_conversion;
using support::print_counts;
using support::print_fields;
using support::print_file;
using support::print_keys;
using support::print_xfd;

std::string document(const std::string &sections) {
    return "<?xml version=\"1.0\"?>\n<xfd:xfdfile>\n" + sections + "</xfd:xfdfile>\n";
}

std::string identification(const std::string &items, int version = 8) {
    return "<xfd:identification xfd:version=\"" + std::to_string(version) + "\">" + items +
           "</xfd:identification>\n";
}

std::string element(const std::string &name, const std::string &text) {
    return "<xfd:" + name + '>' + text + "</xfd:" + name + '>';
}

std::string with_keys(const std::string &count, const std::string &keys) {
    return document(identification(element("number-of-keys", count)) + "<xfd:keys>" + keys +
                    "</xfd:keys>\n");
}

const std::string kKey =
    "<xfd:key xfd:segment-count=\"1\" xfd:duplicates-allowed=\"true\"><xfd:segments>"
    "<xfd:segment xfd:segment-size=\"5\" xfd:segment-offset=\"2\"/></xfd:segments>"
    "<xfd:key-columns xfd:key-column-count=\"1\"><xfd:key-column xfd:key-column-name=\"ID-A\"/>"
    "</xfd:key-columns></xfd:key>\n";

// Attributes of a field that a test does not care for.
constexpr const char *kField =
    "xfd:field-offset=\"0\" xfd:field-bytes=\"1\" xfd:field-type=\"16\" xfd:field-length=\"1\" "
    "xfd:field-scale=\"0\" xfd:field-user-flags=\"0\" xfd:field-condition=\"0\" "
    "xfd:field-level=\"1\"";

std::string field(const std::string &name, const std::string &more = "") {
    return std::string("<xfd:field ") + kField + " xfd:field-name=\"" + name + "\" " + more +
           "/>\n";
}

// A field with one attribute changed, or left out where `value` is null.
std::string field_with(const std::string &attribute, const char *value) {
    std::string text = field("A");
    const size_t at = text.find("xfd:" + attribute + "=\"");
    const size_t end = text.find('"', text.find('"', at) + 1) + 1;
    return text.replace(at, end - at,
                        value == nullptr ? "" : "xfd:" + attribute + "=\"" + value + '"');
}

std::string fields_section(const std::string &counts, const std::string &items) {
    return "<xfd:fields " + counts + ">\n" + items + "</xfd:fields>\n";
}

// Items with counts that leave room for all tests.
std::string with_fields(const std::string &items, const std::string &more_identity = "") {
    return document(identification(more_identity) +
                    fields_section("xfd:elementary-items=\"1\" "
                                   "xfd:elementary-items-with-occurs=\"1\" "
                                   "xfd:total-items=\"2\" xfd:total-items-with-occurs=\"2\"",
                                   items));
}

std::string with_many_fields(int count, const std::string &items) {
    const std::string n = '"' + std::to_string(count) + '"';
    return document(identification("") +
                    fields_section("xfd:elementary-items=" + n + " xfd:total-items=" + n +
                                       " xfd:total-items-with-occurs=" + n,
                                   items));
}

std::string with_conditions(const std::string &count, const std::string &conditions) {
    return document(identification("") + "<xfd:conditions xfd:condition-count=\"" + count + "\">" +
                    conditions + "</xfd:conditions>\n");
}

std::string condition(int number, const std::string &items) {
    return "<xfd:condition xfd:condition-number=\"" + std::to_string(number) + "\">" + items +
           "</xfd:condition>\n";
}

std::string comparison(const std::string &kind, const std::string &variable,
                       const std::string &value) {
    return element("condition-comparison", kind) + element("condition-variable", variable) +
           element("condition-value", value);
}

std::string group(int times, int size, const std::string &items, const std::string &more = "") {
    return "<xfd:field-occurs xfd:occurs-count=\"" + std::to_string(times) +
           "\" xfd:occurs-size=\"" + std::to_string(size) + "\" " + more + ">\n" + items +
           "</xfd:field-occurs>\n";
}

class LoadXml : public support::DictionaryTest {
 protected:
    // What a refused load says behind "19 2 0 'XFD file '<path>', ".
    std::string refusal(const std::string &text, uint32_t flags = 0, int context = 30) {
        const size_t before = ZMemoryBlocks(nullptr);
        EXPECT_EQ(load(text, flags, context), nullptr);
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        const std::string start = "19 2 0 'XFD file '" + path() + "', ";
        const std::string error = file_error();
        return error.starts_with(start)
                   ? error.substr(start.size(), error.size() - start.size() - 1)
                   : error;
    }
    template <typename Print>
    std::string loaded(const std::string &text, Print print, uint32_t flags = 0) {
        const OwnedXfd xfd = load(text, flags);
        if (xfd == nullptr)
            return file_error();
        EXPECT_EQ(file_error(), "0 0 0 null");
        return print(*xfd);
    }
    std::string fields(const std::string &text, uint32_t flags = 0) {
        return loaded(text, print_fields, flags);
    }
    std::string conditions(const std::string &text) { return loaded(text, print_conditions); }
    std::string keys(const std::string &text) { return loaded(text, print_keys); }
};

TEST_F(LoadXml, NamesAreExported) {
    EXPECT_STREQ(xmlxfd_tags[XMLXFD_XFDFILE], "xfd:xfdfile");
    EXPECT_STREQ(xmlxfd_tags[14], "xfd:alphabet");
    EXPECT_STREQ(xmlxfd_tags[26], "xfd:key-column-name");
    EXPECT_STREQ(xmlxfd_tags[38], "xfd:condition-or-2");
    EXPECT_STREQ(xmlxfd_tags[43], "xfd:total-items-with-occurs");
    EXPECT_STREQ(xmlxfd_tags[56], "xfd:field-is-identity");
    EXPECT_STREQ(xmlxfd_tags[60], "xfd:occurs-subtable");
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

TEST_F(LoadXml, BadKeysAreRefused) {
    const auto key = [](const std::string &count, const std::string &inner) {
        return "<xfd:key xfd:segment-count='" + count + "'>" + inner + "</xfd:key>";
    };
    const auto segments = [](int n) {
        std::string text = "<xfd:segments>";
        for (int i = 0; i < n; ++i)
            text += "<xfd:segment xfd:segment-size='1' xfd:segment-offset='0'/>";
        return text + "</xfd:segments>";
    };
    const auto columns = [](const std::string &count, int n) {
        std::string text = "<xfd:key-columns xfd:key-column-count='" + count + "'>";
        for (int i = 0; i < n; ++i)
            text += "<xfd:key-column xfd:key-column-name='A'/>";
        return text + "</xfd:key-columns>";
    };
    const auto segment = [&](const std::string &attributes) {
        return with_keys(
            "1", key("1", "<xfd:segments><xfd:segment " + attributes + "/></xfd:segments>"));
    };
    struct Row {
        std::string text;
        std::string expected;
    };
    const Row rows[] = {
        {with_keys("1", kKey + kKey), "xfd:keys/xfd:key[2]: the file declares 1 keys"},
        {with_keys("0", kKey), "xfd:keys/xfd:key: the file declares 0 keys"},
        {with_keys("2", kKey), "xfd:keys: the file declares 2 keys, 1 are described"},
        {with_keys("3", kKey + kKey), "xfd:keys: the file declares 3 keys, 2 are described"},
        {document(identification(element("number-of-keys", "1"))),
         "xfd:identification: the file declares 1 keys, 0 are described"},
        {document("<xfd:keys>" + kKey + "</xfd:keys>"),
         "xfd:keys/xfd:key: the file declares 0 keys"},
        {with_keys("-1", ""),
         "xfd:identification/xfd:number-of-keys: its text must be a number "
         "from 0 to 65535, not '-1'"},
        {with_keys("65536", ""),
         "xfd:identification/xfd:number-of-keys: its text must be a number "
         "from 0 to 65535, not '65536'"},
        {with_keys("1", key("2", segments(3))),
         "xfd:keys/xfd:key/xfd:segments/xfd:segment[3]: the key declares 2 segments"},
        {with_keys("1", key("3", segments(2))),
         "xfd:keys/xfd:key/xfd:segments: it has 2 segments, the key declares 3"},
        {with_keys("1", key("1", "")),
         "xfd:keys/xfd:key: it declares 1 segments and has no xfd:segments"},
        {with_keys("1", key("17", segments(17))),
         "xfd:keys/xfd:key: xfd:segment-count must be a number from 0 to 16, not '17'"},
        {with_keys("1", key("-1", "")),
         "xfd:keys/xfd:key: xfd:segment-count must be a number from 0 to 16, not '-1'"},
        {with_keys("1", key("x", "")),
         "xfd:keys/xfd:key: xfd:segment-count must be a number from 0 to 16, not 'x'"},
        {with_keys("1", "<xfd:key/>"),
         "xfd:keys/xfd:key: the attribute xfd:segment-count is missing"},
        {with_keys("1", key("1", segments(1) + segments(1))),
         "xfd:keys/xfd:key/xfd:segments[2]: it may stand there once"},
        {with_keys("1", key("0", columns("1", 1) + columns("1", 1))),
         "xfd:keys/xfd:key/xfd:key-columns[2]: it may stand there once"},
        {with_keys("1", key("0", columns("1", 2))),
         "xfd:keys/xfd:key/xfd:key-columns/xfd:key-column[2]: the key declares 1 columns"},
        {with_keys("1", key("0", columns("0", 1))),
         "xfd:keys/xfd:key/xfd:key-columns/xfd:key-column: the key declares 0 columns"},
        {with_keys("1", key("0", "<xfd:key-columns/>")),
         "xfd:keys/xfd:key/xfd:key-columns: the attribute xfd:key-column-count is missing"},
        {with_keys("1", key("0", columns("65536", 0))),
         "xfd:keys/xfd:key/xfd:key-columns: xfd:key-column-count must be a number from 0 to "
         "65535, not '65536'"},
        {segment("xfd:segment-size='1'"),
         "xfd:keys/xfd:key/xfd:segments/xfd:segment: the attribute xfd:segment-offset is missing"},
        {segment("xfd:segment-offset='1'"),
         "xfd:keys/xfd:key/xfd:segments/xfd:segment: the attribute xfd:segment-size is missing"},
        {segment("xfd:segment-offset='1' xfd:segment-size='65536'"),
         "xfd:keys/xfd:key/xfd:segments/xfd:segment: xfd:segment-size must be a number from 0 to "
         "65535, not '65536'"},
        {segment("xfd:segment-offset='2147483648' xfd:segment-size='1'"),
         "xfd:keys/xfd:key/xfd:segments/xfd:segment: xfd:segment-offset must be a number from 0 "
         "to 2147483647, not '2147483648'"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(refusal(row.text), row.expected);
    }
}

TEST_F(LoadXml, SectionsStandOnce) {
    const std::string sections[] = {identification(""), "<xfd:keys/>",
                                    "<xfd:conditions xfd:condition-count='0'/>",
                                    "<xfd:fields xfd:elementary-items='1'/>"};
    for (const std::string &section : sections) {
        SCOPED_TRACE(section);
        const std::string name = section.substr(1, section.find_first_of(" />") - 1);
        EXPECT_NE(load(document(section)), nullptr) << file_error();
        EXPECT_EQ(refusal(document(section + "<other/>" + section)),
                  name + "[2]: it may stand there once");
    }
}

TEST_F(LoadXml, NumbersOfTheIdentificationAreNumbers) {
    struct Row {
        std::string text;
        std::string expected;
    };
    const auto row = [](const std::string &name, const std::string &value, const char *most) {
        return Row{document(identification(element(name, value))),
                   "xfd:identification/xfd:" + name + ": its text must be a number from 0 to " +
                       most + ", not '" + value + "'"};
    };
    const Row rows[] = {
        {document("<xfd:identification/>"),
         "xfd:identification: the attribute xfd:version is missing"},
        {document("<xfd:identification xfd:version='65536'/>"),
         "xfd:identification: xfd:version must be a number from 0 to 65535, not '65536'"},
        {document("<xfd:identification xfd:version=''/>"),
         "xfd:identification: xfd:version must be a number from 0 to 65535, not ''"},
        row("maximum-record-size", "-1", "2147483647"),
        row("maximum-record-size", "", "2147483647"),
        row("maximum-record-size", "4294967296", "2147483647"),
        row("maximum-record-size", "99999999999999999999999", "2147483647"),
        row("minimum-record-size", "12a", "2147483647"),
        row("minimum-record-size", "1 2", "2147483647"),
        row("minimum-record-size", "+-2", "2147483647"),
        row("minimum-record-size", "--2", "2147483647"),
        row("minimum-record-size", "+", "2147483647"),
        row("minimum-record-size", "0x10", "2147483647"),
        row("sign-compatibility", "-8", "65535"),
        row("maximum-numeric-digits", "many", "2147483647"),
    };
    for (const Row &bad : rows) {
        SCOPED_TRACE(bad.text);
        EXPECT_EQ(refusal(bad.text), bad.expected);
    }
    const OwnedXfd xfd = load(document(identification(element("maximum-record-size", "+00040") +
                                                      element("minimum-record-size", "-0"))));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(xfd->x_max_rec_size, 40U);
    EXPECT_EQ(xfd->x_min_rec_size, 0U);
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

TEST_F(LoadXml, BadConditionsAreRefused) {
    const std::string good = condition(1, comparison("eq", "A", "1"));
    struct Row {
        std::string text;
        std::string expected;
    };
    const std::string range = "xfd:condition-number must be a number from 1 to 2, not ";
    const Row rows[] = {
        {with_conditions("2", condition(0, "")), "xfd:conditions/xfd:condition: " + range + "'0'"},
        {with_conditions("2", good + condition(3, "")),
         "xfd:conditions/xfd:condition[2]: " + range + "'3'"},
        {with_conditions("2", condition(-1, "")),
         "xfd:conditions/xfd:condition: " + range + "'-1'"},
        {with_conditions("2", "<xfd:condition/>"),
         "xfd:conditions/xfd:condition: the attribute xfd:condition-number is missing"},
        {with_conditions("2", "<xfd:condition number='1'/>"),
         "xfd:conditions/xfd:condition: the attribute xfd:condition-number is missing"},
        {with_conditions("-1", ""),
         "xfd:conditions: xfd:condition-count must be a number from 0 to 65535, not '-1'"},
        {with_conditions("65536", ""),
         "xfd:conditions: xfd:condition-count must be a number from 0 to 65535, not '65536'"},
        {document("<xfd:conditions>" + good + "</xfd:conditions>"),
         "xfd:conditions: the attribute xfd:condition-count is missing"},
        {with_conditions("1", condition(1, element("condition-comparison", "and") +
                                               element("condition-and-1", "-1"))),
         "xfd:conditions/xfd:condition/xfd:condition-and-1: its text must be a number from 0 to "
         "65535, not '-1'"},
        {with_conditions("1", condition(1, element("condition-comparison", "or") +
                                               element("condition-or-2", "99999"))),
         "xfd:conditions/xfd:condition/xfd:condition-or-2: its text must be a number from 0 to "
         "65535, not '99999'"},
        {with_conditions("1", condition(1, element("condition-comparison", "or") +
                                               element("condition-or-1", ""))),
         "xfd:conditions/xfd:condition/xfd:condition-or-1: its text must be a number from 0 to "
         "65535, not ''"},
        {with_conditions("1", condition(1, element("condition-comparison", "and"))),
         "xfd:conditions/xfd:condition: the first operand is missing"},
        {with_conditions("1", condition(1, element("condition-comparison", "or") +
                                               element("condition-or-1", "1"))),
         "xfd:conditions/xfd:condition: the second operand is missing"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(refusal(row.text), row.expected);
    }
}

TEST_F(LoadXml, UnknownComparisonCountsInTheLastConditionAlone) {
    const std::string bad =
        condition(2, element("condition-variable", "V") + element("condition-comparison", "like") +
                         element("condition-value", "not read"));
    const std::string good = condition(1, comparison("eq", "A", "1"));
    const std::string expected =
        ": its text must be eq, ne, gt, ge, lt, le, other, and, or, not 'like'";
    EXPECT_EQ(refusal(with_conditions("2", good + bad)),
              "xfd:conditions/xfd:condition[2]/xfd:condition-comparison" + expected);
    EXPECT_EQ(refusal(with_conditions("2", bad + "<other/>")),
              "xfd:conditions/xfd:condition/xfd:condition-comparison" + expected);
    // One that is read to its end makes up for it.
    EXPECT_EQ(conditions(with_conditions("2", bad + good)),
              "condition 1: type 1 'a' '1' field 0\n"
              "condition 2: type 0 operands 0 0 'v' '' field 0\n");
    EXPECT_STREQ(fsi::reader.message, "");
    EXPECT_EQ(conditions(with_conditions("2", bad + condition(1, ""))),
              "condition 1: type 0 operands 0 0 '' '' field 0\n"
              "condition 2: type 0 operands 0 0 'v' '' field 0\n");
    EXPECT_EQ(refusal(with_conditions("2", good + bad + bad)),
              "xfd:conditions/xfd:condition[3]/xfd:condition-comparison" + expected);
}

TEST_F(LoadXml, FieldCounts) {
    struct Row {
        std::string counts;
        uint32_t flags;
        std::string expected;
    };
    const std::string refused = "xfd:fields: it declares no fields";
    const Row rows[] = {
        {"xfd:elementary-items='2' xfd:elementary-items-with-occurs='3' xfd:total-items='4' "
         "xfd:total-items-with-occurs='5'",
         0, "fields 2 3 listed 4 5 slots 3\n"},
        {"xfd:elementary-items='2' xfd:elementary-items-with-occurs='3' xfd:total-items='4' "
         "xfd:total-items-with-occurs='5'",
         XFD_LOAD_LISTED_VIEW, "fields 2 3 listed 4 5 slots 5\n"},
        {"xfd:elementary-items='2' xfd:elementary-items-with-occurs='0'", 0,
         "fields 2 2 listed 0 0 slots 2\n"},
        {"xfd:elementary-items='2'", 0, "fields 2 2 listed 0 0 slots 2\n"},
        {"xfd:elementary-items='2'", XFD_LOAD_LISTED_VIEW, refused + " for the listed view"},
        {"xfd:elementary-items='0'", 0, refused},
        {"", 0, "xfd:fields: the attribute xfd:elementary-items is missing"},
        {"xfd:elementary-items='-1'", 0,
         "xfd:fields: xfd:elementary-items must be a number from 0 to 2147483647, not '-1'"},
        {"xfd:elementary-items='1' xfd:total-items='x'", 0,
         "xfd:fields: xfd:total-items must be a number from 0 to 2147483647, not 'x'"},
        {"xfd:elementary-items='1000001'", 0,
         "xfd:fields: 1000001 field records are declared, at most 1000000 are possible"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.counts);
        const std::string text = document(fields_section(row.counts, field("A")));
        if (row.expected.starts_with("fields"))
            EXPECT_EQ(loaded(text, print_counts, row.flags),
                      "counts keys 0 conditions 0 " + row.expected);
        else
            EXPECT_EQ(refusal(text, row.flags), row.expected);
    }
}

TEST_F(LoadXml, FieldAttributes) {
    const std::string base = "field 0: 'a' at 0 size 1 type 16 digits 1";
    struct Row {
        std::string field;
        std::string expected;
    };
    const Row rows[] = {
        {field("A"), base + " level 1\n"},
        {field_with("field-level", nullptr), base + " level 65535\n"},
        {field_with("field-scale", nullptr), base + " scale -1 level 1\n"},
        {field_with("field-scale", "-128"), base + " scale -128 level 1\n"},
        {field_with("field-type", "255"), base + " level 1\n"},
        {field_with("field-type", "64"), base + " level 1\n"},
        {field_with("field-type", "260"), "field 0: 'a' at 0 size 1 type 4 digits 1 level 1\n"},
        {field_with("field-type", "30"), "field 0: 'a' at 0 size 1 type 13 digits 1 level 1\n"},
        {field_with("field-user-flags", "119"), base + " user 7 level 1 flags SHR\n"},
        {field_with("field-condition", "7"), base + " condition 7 level 1\n"},
        {field_with("field-offset", "2147483647"),
         "field 0: 'a' at 2147483647 size 1 type 16 digits 1 level 1\n"},
        {field("A", "xfd:field-is-identity='True'"), base + " level 1 flags I\n"},
        {field("A", "xfd:field-is-identity='true!'"), base + " level 1\n"},
        {field("A", "xfd:field-null-value='&lt; nil&#10;&#32;'"),
         base + " level 1 null '< nil\n '\n"},
        {field("A", "xfd:field-null-value=''"), base + " level 1 null ''\n"},
        {field(std::string(40, 'n')),
         "field 0: '" + std::string(30, 'n') + "' at 0 size 1 type 16 digits 1 level 1\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.field);
        EXPECT_EQ(fields(with_fields(row.field)), row.expected);
    }
    const OwnedXfd xfd = load(with_fields(field("A", "xfd:field-is-identity='TRUE'")));
    ASSERT_NE(xfd, nullptr);
    EXPECT_EQ(xfd->x_identity_field, 0);
}

TEST_F(LoadXml, NullValueHasABlockOfItsLength) {
    const std::string null_value(5000, 'z');
    const size_t before = ZMemoryInUse("NULL value for field");
    const OwnedXfd xfd = load(with_many_fields(
        6, group(3, 1, group(2, 1, field("A", "xfd:field-null-value='" + null_value + "'")))));
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(xfd->x_fdesc[5].fd_null_value, null_value);
    // The occurrences share it; it is released once.
    EXPECT_EQ(ZMemoryBlocks("NULL value for field"), 1U);
    EXPECT_GE(ZMemoryInUse("NULL value for field"), before + 5001);
}

TEST_F(LoadXml, DatesHaveAFormat) {
    const std::string date =
        "<xfd:field xfd:field-offset='0' xfd:field-bytes='6' xfd:field-type='1' "
        "xfd:field-length='6' xfd:field-scale='0' xfd:field-user-flags='1' "
        "xfd:field-condition='0' xfd:field-level='1' xfd:field-name='A' xfd:field-date-format='";
    EXPECT_EQ(fields(with_fields(date + "YYMMDD'/>")),
              "field 0: 'a' at 0 size 6 type 1 digits 6 user 1 level 1 format 'YYMMDD'\n");
    // What ends a text dictionary quietly fails this form.
    EXPECT_EQ(refusal(with_fields(date + "YYYYMMDD'/>")),
              "xfd:fields/xfd:field: field 'A': 6 != 8 or 'YYYYMMDD' is invalid");
    EXPECT_EQ(refusal(with_fields(date + "YYMMXX'/>")),
              "xfd:fields/xfd:field: field 'A': 6 != 6 or 'YYMMXX' is invalid");
}

TEST_F(LoadXml, BadFieldsAreRefused) {
    struct Row {
        const char *attribute;
        const char *value;
        const char *expected;
    };
    constexpr Row kRows[] = {
        {"field-offset", nullptr, "the attribute xfd:field-offset is missing"},
        {"field-bytes", nullptr, "the attribute xfd:field-bytes is missing"},
        {"field-type", nullptr, "the attribute xfd:field-type is missing"},
        {"field-length", nullptr, "the attribute xfd:field-length is missing"},
        {"field-user-flags", nullptr, "the attribute xfd:field-user-flags is missing"},
        {"field-condition", nullptr, "the attribute xfd:field-condition is missing"},
        {"field-offset", "-1", "xfd:field-offset must be a number from 0 to 2147483647, not '-1'"},
        {"field-bytes", "2147483648",
         "xfd:field-bytes must be a number from 0 to 2147483647, not '2147483648'"},
        {"field-type", "-1", "xfd:field-type must be a number from 0 to 2147483647, not '-1'"},
        {"field-length", "", "xfd:field-length must be a number from 0 to 2147483647, not ''"},
        {"field-scale", "128", "xfd:field-scale must be a number from -128 to 127, not '128'"},
        {"field-scale", "-129", "xfd:field-scale must be a number from -128 to 127, not '-129'"},
        {"field-user-flags", "x",
         "xfd:field-user-flags must be a number from 0 to 2147483647, not 'x'"},
        {"field-condition", "65536",
         "xfd:field-condition must be a number from 0 to 65535, not '65536'"},
        {"field-level", "-1", "xfd:field-level must be a number from 0 to 65535, not '-1'"},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(refusal(with_fields("<other/>" + field_with(row.attribute, row.value))),
                  std::string("xfd:fields/xfd:field: ") + row.expected);
    }
    // Digits and scale are those of numbers.
    std::string number = field_with("field-type", "1");
    number.replace(number.find("xfd:field-length=\"1\""), 20, "xfd:field-length=\"256\"");
    EXPECT_EQ(refusal(with_fields(number)),
              "xfd:fields/xfd:field: a numeric field has at most 255 digits, not 256");
    number = field_with("field-type", "9");
    number.replace(number.find("xfd:field-scale=\"0\""), 19, "");
    EXPECT_EQ(refusal(with_fields(number)),
              "xfd:fields/xfd:field: the attribute xfd:field-scale is missing");
}

TEST_F(LoadXml, MoreFieldsThanSlotsAreRefused) {
    const std::string two = field("A") + field("B");
    EXPECT_EQ(refusal(with_fields(two)),
              "xfd:fields/xfd:field[2]: there are more field records than the 1 that are declared");
    EXPECT_EQ(fields(with_fields(two), XFD_LOAD_LISTED_VIEW),
              "field 0: 'a' at 0 size 1 type 16 digits 1 level 1\n"
              "field 1: 'b' at 0 size 1 type 16 digits 1 level 1\n");
    EXPECT_EQ(refusal(with_many_fields(3, group(4, 1, field("A")))),
              "xfd:fields/xfd:field-occurs/xfd:field: OCCURS makes 4 records of field 'A', 3 of "
              "the declared total are left");
    EXPECT_EQ(refusal(with_many_fields(3, group(4, 1, field("A"))), XFD_LOAD_COPY_OCCURS),
              "xfd:fields/xfd:field-occurs: OCCURS 4 makes 3 more records of 1, 2 of the declared "
              "total are left");
    EXPECT_EQ(refusal(with_many_fields(1, group(1, 1, two)), XFD_LOAD_COPY_OCCURS),
              "xfd:fields/xfd:field-occurs/xfd:field[2]: there are more field records than the 1 "
              "that are declared");
    EXPECT_EQ(refusal(with_many_fields(3, group(65535, 65535, group(65535, 1, field("A"))))),
              "xfd:fields/xfd:field-occurs/xfd:field-occurs/xfd:field: OCCURS makes at least "
              "4294836225 records of field 'A', 3 of the declared total are left");
    // A group of no occurrences takes no slot, full or not.
    EXPECT_EQ(fields(with_many_fields(1, field("A") + group(0, 1, two))),
              "field 0: 'a' at 0 size 1 type 16 digits 1 level 1\n");
}

TEST_F(LoadXml, ListedItemsAreDroppedUnlessTheyAreWanted) {
    const std::string text = with_fields(field_with("field-condition", "999") + field("B"));
    EXPECT_EQ(fields(text), "field 0: 'b' at 0 size 1 type 16 digits 1 level 1\n");
    EXPECT_EQ(fields(text, XFD_LOAD_LISTED_VIEW),
              "field 0: 'a' at 0 size 1 type 16 digits 1 condition 999 level 1\n"
              "field 1: 'b' at 0 size 1 type 16 digits 1 level 1\n");
}

TEST_F(LoadXml, GroupsExpandAsInTheTextForm) {
    const std::string nested = group(2, 10, field("A") + group(2, 3, field("B")) + field("C"));
    const auto line = [](int slot, const char *rest) {
        return "field " + std::to_string(slot) + ": " + rest + '\n';
    };
    EXPECT_EQ(fields(with_many_fields(8, nested)),
              line(0, "'a_1' at 0 size 1 type 16 digits 1 level 1 occurs 2/1") +
                  line(1, "'a_2' at 10 size 1 type 16 digits 1 level 1 occurs 2/2") +
                  line(2, "'b_1_1' at 0 size 1 type 16 digits 1 level 1 occurs 2/1 2/1") +
                  line(3, "'b_1_2' at 3 size 1 type 16 digits 1 level 1 occurs 2/1 2/2") +
                  line(4, "'b_2_1' at 10 size 1 type 16 digits 1 level 1 occurs 2/2 2/1") +
                  line(5, "'b_2_2' at 13 size 1 type 16 digits 1 level 1 occurs 2/2 2/2") +
                  line(6, "'c_1' at 0 size 1 type 16 digits 1 level 1 occurs 2/1") +
                  line(7, "'c_2' at 10 size 1 type 16 digits 1 level 1 occurs 2/2"));
    const std::string copies = fields(with_many_fields(8, nested), XFD_LOAD_COPY_OCCURS);
    EXPECT_EQ(
        copies,
        line(0, "'a' at 0 size 1 type 16 digits 1 level 1 occurs 2/1") +
            line(1, "'b' at 0 size 1 type 16 digits 1 level 1 occurs 2/1 2/1") +
            line(2, "'b' at 3 size 1 type 16 digits 1 level 1 occurs 2/1 2/2 hash name 'b'") +
            line(3, "'c' at 0 size 1 type 16 digits 1 level 1 occurs 2/1") +
            line(4, "'a' at 10 size 1 type 16 digits 1 level 1 occurs 2/2 hash name 'a'") +
            line(5, "'b' at 10 size 1 type 16 digits 1 level 1 occurs 2/2 2/1 hash name 'b'") +
            line(6, "'b' at 13 size 1 type 16 digits 1 level 1 occurs 2/2 2/2 hash name 'b'") +
            line(7, "'c' at 10 size 1 type 16 digits 1 level 1 occurs 2/2 hash name 'c'"));
}

TEST_F(LoadXml, SubTablesKeepTheDeclaredName) {
    EXPECT_EQ(fields(with_many_fields(4, group(2, 1, field("A") + group(1, 1, field("B")),
                                               "xfd:occurs-subtable='s-t'"))),
              "field 0: 'a' at 0 size 1 type 16 digits 1 level 1 occurs 2/1 subtable 'S_T'\n"
              "field 1: 'a' at 1 size 1 type 16 digits 1 level 1 occurs 2/2 subtable 'S_T'\n"
              "field 2: 'b_1_1' at 0 size 1 type 16 digits 1 level 1 occurs 2/1 1/1\n"
              "field 3: 'b_2_1' at 1 size 1 type 16 digits 1 level 1 occurs 2/2 1/1\n");
}

TEST_F(LoadXml, BadGroupsAreRefused) {
    std::string deep = field("A");
    for (int i = 0; i < 15; ++i)
        deep = group(1, 1, deep);
    EXPECT_NE(load(with_fields(deep), XFD_LOAD_SUBTABLES), nullptr) << file_error();
    const std::string refused = refusal(with_fields(group(1, 1, deep)), XFD_LOAD_SUBTABLES);
    EXPECT_TRUE(refused.ends_with(
        "/xfd:field-occurs/xfd:field-occurs: more than 15 OCCURS groups are open"))
        << refused;
    EXPECT_TRUE(refused.starts_with("...")) << refused;
    EXPECT_EQ(refusal(with_fields("<xfd:field-occurs xfd:occurs-count='1'/>")),
              "xfd:fields/xfd:field-occurs: the attribute xfd:occurs-size is missing");
    EXPECT_EQ(refusal(with_fields("<xfd:field-occurs xfd:occurs-size='1'/>")),
              "xfd:fields/xfd:field-occurs: the attribute xfd:occurs-count is missing");
    EXPECT_EQ(refusal(with_fields(group(65536, 1, ""))),
              "xfd:fields/xfd:field-occurs: xfd:occurs-count must be a number from 0 to 65535, not "
              "'65536'");
    EXPECT_EQ(refusal(with_fields(group(1, -1, ""))),
              "xfd:fields/xfd:field-occurs: xfd:occurs-size must be a number from 0 to 65535, not "
              "'-1'");
    std::string far = field_with("field-offset", "2147483647");
    for (int i = 0; i < 5; ++i)
        far = group(32768, 65535, far);
    EXPECT_TRUE(refusal(with_fields(far)).find("OCCURS makes at least") != std::string::npos);
    EXPECT_EQ(fsi::reader.n_open, 5U);
    EXPECT_NE(load(with_fields(field("A"))), nullptr);
}

TEST_F(LoadXml, NameThatCannotBeComposedFailsWithItsOwnError) {
    folder_.write("file.xfd", with_fields(group(1, 1, field("AMOUNT"))));
    EXPECT_EQ(Z4ParseXFD("file", 0, 2), nullptr);
    EXPECT_EQ(file_error(),
              "19 6 0 'XFD file '" + path() +
                  "', xfd:fields/xfd:field-occurs/xfd:field: field 'AMOUNT': "
                  "Composite field name too long, at most 2 characters are possible'");
}

TEST_F(LoadXml, RelativeKeyIsBuiltInTheLastSlot) {
    const std::string relative =
        element("file-organization", "Relative") + element("maximum-record-size", "20");
    const std::string text = with_fields(field("A"), relative);
    const OwnedXfd xfd = load(text, XFD_LOAD_RELATIVE_KEY);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_xfd(xfd.get()),
              "file '' '' v8 type 8 records 0..51\n"
              "conversion compat 0 digits 40 signs 25 11 point . comma , encoding 0\n"
              "counts keys 1 conditions 0 fields 2 2 listed 2 2 slots 2\n"
              "key 0: 20+31 columns z4glidentity=1\n"
              "field 0: 'a' at 0 size 1 type 16 digits 1 level 1\n"
              "field 1: 'z4glidentity' at 20 size 31 type 1 digits 31 level 999 flags KS\n");
    EXPECT_EQ(loaded(text, print_keys), "");
    EXPECT_EQ(refusal(with_fields(field("A") + field("B"), relative), XFD_LOAD_RELATIVE_KEY),
              "xfd:fields/xfd:field[2]: there are more field records than the 1 that are declared");
    EXPECT_EQ(refusal(with_fields(field("A"), relative + element("number-of-keys", "1")),
                      XFD_LOAD_RELATIVE_KEY),
              "xfd:identification: a relative file has no keys of its own, this one declares 1");
    EXPECT_EQ(refusal(document(identification(relative) + "<xfd:keys>" + kKey + "</xfd:keys>"),
                      XFD_LOAD_RELATIVE_KEY),
              "xfd:keys/xfd:key: the file declares 0 keys");
}

TEST_F(LoadXml, DocumentThatIsNotWellFormedTellsLineAndColumn) {
    struct Row {
        std::string text;
        int line;
        int column;
        const char *reason;
    };
    const Row rows[] = {
        {"<a>\n  <b>\n</a>\n", 3, 3, "mismatched tag"},
        {"xfd,8,C,C,12\n", 1, 1, "syntax error"},
        {"<a/>\n<b/>", 2, 1, "junk after document element"},
        {"<?xml version=\"1.0\"?>\n", 2, 1, "no element found"},
        {"<a b='1' b='2'/>", 1, 10, "duplicate attribute"},
        {"<a>", 1, 4, "no element found"},
        {'<' + std::string(2000, 'x'), 1, 1, "unclosed token"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        const size_t before = ZMemoryBlocks(nullptr);
        EXPECT_EQ(load(row.text), nullptr);
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        EXPECT_EQ(file_error(), "19 5 0 'XFD file '" + path() + "', line " +
                                    std::to_string(row.line) + ", column " +
                                    std::to_string(row.column) +
                                    ": neither the text form nor XML: " + row.reason + "'");
    }
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
