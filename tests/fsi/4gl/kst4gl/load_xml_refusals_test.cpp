// SPDX-License-Identifier: MIT
//
// What is refused of an XML dictionary: the file error, the message with the way to
// the element, and that nothing stays allocated.
#include <gtest/gtest.h>

#include <string>

#include "fsi/4gl/kst4gl/load.h"
#include "tests/fsi/4gl/kst4gl/xml_dictionary.h"

namespace {

using namespace support;  // the words that dictionaries are put together with

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
        {with_keys("1", ""), "xfd:keys: the file declares 1 keys, 0 are described"},
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
        {with_keys("1", "<xfd:key>" + segments(1) + "</xfd:key>"),
         "xfd:keys/xfd:key/xfd:segments/xfd:segment: the key declares 0 segments"},
        {with_keys("1", key("1", segments(1) + segments(1))),
         "xfd:keys/xfd:key/xfd:segments[2]: it may stand there once"},
        {with_keys("1", key("0", columns("1", 1) + columns("1", 1))),
         "xfd:keys/xfd:key/xfd:key-columns[2]: it may stand there once"},
        {with_keys("1", key("0", columns("1", 2))),
         "xfd:keys/xfd:key/xfd:key-columns/xfd:key-column[2]: the key declares 1 columns"},
        {with_keys("1", key("0", columns("0", 1))),
         "xfd:keys/xfd:key/xfd:key-columns/xfd:key-column: the key declares 0 columns"},
        {with_keys("1", key("0",
                            "<xfd:key-columns><xfd:key-column xfd:key-column-name='A'/>"
                            "</xfd:key-columns>")),
         "xfd:keys/xfd:key/xfd:key-columns/xfd:key-column: the key declares 0 columns"},
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
        // Nothing of a number is cut off unseen.
        {document(identification(element("maximum-record-size", std::string(64, '0') + '7'))),
         "xfd:identification/xfd:maximum-record-size: its text must be a number from 0 to "
         "2147483647, not '" +
             std::string(64, '0') + "'"},
        {document("<xfd:identification xfd:version='" + std::string(64, '0') + "7'/>"),
         "xfd:identification: xfd:version must be a number from 0 to 65535, not '" +
             std::string(64, '0') + "'"},
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

TEST_F(LoadXml, BadFieldsAreRefused) {
    struct Row {
        const char *attribute;
        const char *value;
        const char *expected;
    };
    constexpr Row kRows[] = {
        {"field-offset", nullptr, "the attribute xfd:field-offset is missing"},
        {"field-bytes", nullptr, "the attribute xfd:field-bytes is missing"},
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
    std::string number = field_with("field-type", "1");
    number.replace(number.find("xfd:field-length=\"1\""), 20, "xfd:field-length=\"256\"");
    EXPECT_EQ(refusal(with_fields(number)),
              "xfd:fields/xfd:field: a numeric field has at most 255 digits, not 256");
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

}  // namespace
