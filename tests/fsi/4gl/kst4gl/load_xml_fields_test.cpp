// SPDX-License-Identifier: MIT
//
// Fields and groups that are read; load_xml_refusals_test.cpp has those that are not.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/fsi/4gl/kst4gl/xml_dictionary.h"

namespace {

using namespace support;  // the words that dictionaries are put together with

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
        {"", 0, refused},
        {"", XFD_LOAD_LISTED_VIEW, refused + " for the listed view"},
        {"xfd:elementary-items-with-occurs='3'", 0, "fields 0 3 listed 0 0 slots 3\n"},
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
        {field_with("field-type", nullptr),
         "field 0: 'a' at 0 size 1 type 65535 digits 1 level 1\n"},
        {field_with("field-length", nullptr),
         "field 0: 'a' at 0 size 1 type 16 digits 255 level 1\n"},
        {field_with("field-user-flags", nullptr), base + " user 15 level 1 flags SHR\n"},
        {field_with("field-condition", nullptr), base + " condition 65535 level 1\n"},
        {"<xfd:field xfd:field-offset='0' xfd:field-bytes='1'/>",
         "field 0: '' at 0 size 1 type 65535 digits 255 scale -1 user 15 condition 65535 level "
         "65535 flags SHR\n"},
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

}  // namespace
