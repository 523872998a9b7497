// SPDX-License-Identifier: MIT
//
// One file described in both forms, each written by hand, loads to the same records in
// every view.  tests/tool/show_xml_test.cpp has the same of dictionaries that the tool
// writes.
#include <gtest/gtest.h>

#include <string>

#include "tests/fsi/4gl/kst4gl/xml_dictionary.h"

namespace {

using namespace support;  // the words that dictionaries are put together with

class LoadForms : public DictionaryTest {
 protected:
    std::string printed(const std::string &text, uint32_t flags) {
        clear_file_error();
        const OwnedXfd xfd = load(text, flags);
        return print_xfd(xfd.get()) + (xfd != nullptr ? "" : file_error());
    }
};

// A field with all its numbers: "0,4,16,4,0,0,0,1".
std::string numbered(const std::string &numbers, const std::string &name,
                     const std::string &more = "") {
    static constexpr const char *kNames[] = {"offset", "bytes",      "type",      "length",
                                             "scale",  "user-flags", "condition", "level"};
    std::string text = "<xfd:field";
    size_t at = 0;
    for (const char *attribute : kNames) {
        const size_t end = numbers.find(',', at);
        text += std::string(" xfd:field-") + attribute + "='" + numbers.substr(at, end - at) + '\'';
        at = end + 1;
    }
    return text + " xfd:field-name='" + name + "' " + more + "/>\n";
}

std::string key(const std::string &duplicates, const std::string &segments,
                const std::string &columns) {
    const auto count = [](const std::string &text, const std::string &name) {
        size_t n = 0;
        for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
            ++n;
        return std::to_string(n);
    };
    return "<xfd:key xfd:duplicates-allowed='" + duplicates + "' xfd:segment-count='" +
           count(segments, "<xfd:segment ") + "'><xfd:segments>" + segments +
           "</xfd:segments><xfd:key-columns xfd:key-column-count='" +
           count(columns, "<xfd:key-column ") + "'>" + columns + "</xfd:key-columns></xfd:key>\n";
}

std::string segment(const std::string &size, const std::string &offset) {
    return "<xfd:segment xfd:segment-size='" + size + "' xfd:segment-offset='" + offset + "'/>";
}

std::string column(const std::string &name) {
    return "<xfd:key-column xfd:key-column-name='" + name + "'/>";
}

std::string identity(const std::string &organization, const std::string &sizes_and_more) {
    return identification(element("select-name", "SEL-ECT") + element("table-name", "The Table") +
                              element("file-organization", organization) +
                              element("maximum-record-size", "90") +
                              element("minimum-record-size", "50") + sizes_and_more,
                          6);
}

TEST_F(LoadForms, IndexedFileWithKeysConditionsDatesAndGroups) {
    const std::string text =
        "XFD,6,SEL-ECT,The Table,12,TRIG\n90,50,2\n72,31,44,46,2\n"
        "2,0,4,0,2,8\n2\nA-ID\nMISSING\n1,1,8,10\n1\nBORN\n"
        "9\n1,1,KIND,A,T-ONE\n2,4,AMOUNT,\"1,5\"\n3,5,AMOUNT,\"-0,50\"\n4,6,KIND,\" b \"\n"
        "5,7,PRICE,12\n6,8,NOWHERE,x\n7,3,KIND,T-OTHER\n8,2,1,2\n9,9,7,8,T-OR\n"
        "8,14,10,17\n"
        "0,4,1,4,0,0,0,1,A-ID\n4,1,16,1,0,112,0,1,KIND\n5,5,9,5,-02,16,0,1,AMOUNT\n"
        "10,8,1,8,0,1,0,1,BORN,YYYYMMDD\n10,8,22,8,0,0,999,1,GROUP\n"
        "18,3,9,8,0,1,9,1,SHORT-DATE\n21,8,30,9,0,2,3,2,LONG\n"
        "90001,2,20,START OCCURS,prices\n30,4,22,0,0,0,999,3,ENTRY\n30,4,11,9,2,0,0,3,PRICE\n"
        "90001,3,5,START OCCURS\n34,1,16,0,0,0,7,4,MARK\n90002,END OCCURS\n90002,END OCCURS\n";
    const auto kind = [](const std::string &word) { return element("condition-comparison", word); };
    const auto table = [](const std::string &name) { return element("condition-tablename", name); };
    const std::string conditions =
        condition(7, kind("other") + element("condition-variable", "KIND") + table("T-OTHER")) +
        condition(1, comparison("eq", "KIND", "A") + table("T-ONE")) +
        condition(2, comparison("gt", "AMOUNT", "1,5")) +
        condition(3, comparison("ge", "AMOUNT", "\"-0,50\"")) +
        condition(4, comparison("lt", "KIND", "\" b \"")) +
        condition(5, comparison("le", "PRICE", "12")) +
        condition(6, comparison("ne", "NOWHERE", "x")) +
        condition(8,
                  kind("and") + element("condition-and-1", "1") + element("condition-and-2", "2")) +
        condition(9, table("T-OR") + element("condition-or-2", "8") +
                         element("condition-or-1", "7") + kind("or"));
    const std::string xml = document(
        fields_section(
            "xfd:elementary-items='8' xfd:elementary-items-with-occurs='14' "
            "xfd:total-items='10' xfd:total-items-with-occurs='17'",
            numbered("0,4,1,4,0,0,0,1", "A-ID") + numbered("4,1,16,1,0,112,0,1", "KIND") +
                numbered("5,5,9,5,-2,16,0,1", "AMOUNT") +
                numbered("10,8,1,8,0,1,0,1", "BORN", "xfd:field-date-format='YYYYMMDD'") +
                numbered("10,8,22,8,0,0,999,1", "GROUP") +
                numbered("18,3,9,8,0,1,9,1", "SHORT-DATE") + numbered("21,8,30,9,0,2,3,2", "LONG") +
                group(2, 20,
                      numbered("30,4,22,0,0,0,999,3", "ENTRY") +
                          numbered("30,4,11,9,2,0,0,3", "PRICE") +
                          group(3, 5, numbered("34,1,16,0,0,0,7,4", "MARK")),
                      "xfd:occurs-subtable='prices'")) +
        "<xfd:conditions xfd:condition-count='9'>" + conditions + "</xfd:conditions>" +
        "<xfd:keys>" +
        key("false", segment("4", "0") + segment("2", "8"), column("A-ID") + column("MISSING")) +
        key("true", segment("8", "10"), column("BORN")) + "</xfd:keys>" +
        identity("Indexed", element("cobol-trigger", "TRIG") + element("number-of-keys", "2") +
                                element("sign-compatibility", "72") +
                                element("maximum-numeric-digits", "31") +
                                element("period-character", ",") + element("comma-character", ".") +
                                element("alphabet", "UTF-8")));
    for (uint32_t flags = 0; flags < 32; ++flags) {
        SCOPED_TRACE(flags);
        const std::string expected = printed(text, flags);
        ASSERT_TRUE(expected.starts_with("file 'SEL_ECT' 'The Table' v6 type 12")) << expected;
        ASSERT_NE(expected.find("'mark"), std::string::npos) << expected;
        EXPECT_EQ(printed(xml, flags), expected);
    }
}

TEST_F(LoadForms, FilesOfTheOtherTypes) {
    struct Row {
        const char *organization;
        const char *type;
    };
    for (const Row &row : {Row{"Relative", "8"},
                           {"Line Sequential", "5"},
                           {"Binary Sequential", "4"},
                           {"Sequential", "4"}}) {
        const std::string text = std::string("XFD,6,SEL-ECT,The Table,") + row.type +
                                 "\n90,50,0\n0,18,46,44,0\n0\n1,1,1,1\n0,10,16,10,0,0,0,1,F\n";
        const std::string xml = document(identity(row.organization, "") +
                                         fields_section("xfd:elementary-items='1' "
                                                        "xfd:elementary-items-with-occurs='1' "
                                                        "xfd:total-items='1' "
                                                        "xfd:total-items-with-occurs='1'",
                                                        numbered("0,10,16,10,0,0,0,1", "F")));
        for (uint32_t flags = 0; flags < 32; ++flags) {
            SCOPED_TRACE(std::string(row.organization) + ' ' + std::to_string(flags));
            const std::string expected = printed(text, flags);
            ASSERT_TRUE(expected.starts_with("file 'SEL_ECT'")) << expected;
            EXPECT_EQ(printed(xml, flags), expected);
        }
    }
}

}  // namespace
