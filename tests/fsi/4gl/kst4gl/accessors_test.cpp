// SPDX-License-Identifier: MIT
#include "wbfsi/accessors.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "tests/fsi/sample_xfd.h"

namespace {

using sample::XfdPointer;

// Every member has a value of its own, with the highest bit set where it is
// wide, so that a wrong member, width or sign shows.
TEST(Accessors, FilePropertiesAreTheirMembers) {
    XfdKey keys[1] = {};
    XfdCondition conditions[1] = {};
    XfdField fields[1] = {};
    XfdCvtInfo cvt = {};
    char filename[] = "a.xfd";
    char trigger[] = "TRIGGER";
    Xfd xfd = {};
    xfd.x_version = 0xFFF1;
    std::memcpy(xfd.x_select_name, "select", 7);
    std::memcpy(xfd.x_table_name, "table", 6);
    xfd.x_filename = filename;
    xfd.x_cobol_trigger = trigger;
    xfd.x_max_rec_size = 0xFFFFFFF2;
    xfd.x_min_rec_size = 0xFFFFFFF3;
    xfd.x_n_keys_alloc = 1;
    xfd.x_n_keys = 0xFFF4;
    xfd.x_cvt_info = &cvt;
    xfd.x_key_desc = keys;
    xfd.x_n_conditions = 0xFFF5;
    xfd.x_condition = conditions;
    xfd.x_n_fields = 0xFFFFFFF6;
    xfd.x_n_total_fields = 0xFFFFFFF7;
    xfd.x_n_fields_alloc = 0xFFFFFFF8;
    xfd.x_fdesc = fields;
    xfd.x_file_type = 0xFFF9;
    xfd.x_n_fields_listed = 0xFFFFFFFA;
    xfd.x_n_total_fields_listed = 0xFFFFFFFB;
    xfd.x_identity_field = -1;
    xfd.x_flags = 0xFFFFFFFE;

    EXPECT_EQ(Z4GetXFDVersion(&xfd), 0xFFF1U);
    EXPECT_EQ(Z4GetXFDSelectName(&xfd), xfd.x_select_name);
    EXPECT_EQ(Z4GetXFDTableName(&xfd), xfd.x_table_name);
    EXPECT_EQ(Z4GetXFDFilename(&xfd), filename);
    EXPECT_EQ(Z4GetXFDCOBOLTrigger(&xfd), trigger);
    EXPECT_EQ(Z4GetXFDMaxRecSize(&xfd), 0xFFFFFFF2U);
    EXPECT_EQ(Z4GetXFDMinRecSize(&xfd), 0xFFFFFFF3U);
    EXPECT_EQ(Z4GetXFDKeyCount(&xfd), 0xFFF4U);
    EXPECT_EQ(Z4GetXFDCvtInfo(&xfd), &cvt);
    EXPECT_EQ(Z4GetXFDConditionCount(&xfd), 0xFFF5U);
    EXPECT_EQ(Z4GetXFDFieldCount(&xfd), 0xFFFFFFF6U);
    EXPECT_EQ(Z4GetXFDTotalFieldCount(&xfd), 0xFFFFFFF7U);
    EXPECT_EQ(Z4GetXFDAllocatedFieldCount(&xfd), 0xFFFFFFF8U);
    EXPECT_EQ(Z4GetXFDFileType(&xfd), 0xFFF9U);
    EXPECT_EQ(Z4GetXFDFieldListedCount(&xfd), 0xFFFFFFFAU);
    EXPECT_EQ(Z4GetXFDTotalFieldListedCount(&xfd), 0xFFFFFFFBU);
    EXPECT_EQ(Z4GetXFDIdentityField(&xfd), -1);
    EXPECT_EQ(Z4GetXFDMultiple01(&xfd), 0);
    xfd.x_flags = XFD_MULTIPLE_01;
    EXPECT_EQ(Z4GetXFDMultiple01(&xfd), 1);
}

TEST(Accessors, RecordsEndAtTheirCounts) {
    const XfdPointer xfd = sample::empty(4, 3, 3);
    sample::add_key(xfd.get());
    sample::add_condition(xfd.get());
    sample::Field{}.add_to(xfd.get());
    EXPECT_EQ(Z4GetXFDKeyInfo(xfd.get(), 0), xfd->x_key_desc);
    EXPECT_EQ(Z4GetXFDConditionInfo(xfd.get(), 0), xfd->x_condition);
    for (const uint32_t index : {1U, 2U, 3U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(Z4GetXFDKeyInfo(xfd.get(), index), nullptr) << index;
        EXPECT_EQ(Z4GetXFDConditionInfo(xfd.get(), index), nullptr) << index;
    }
    // Fields go on to the allocated slots behind those in use.
    for (uint32_t index = 0; index < 4; ++index)
        EXPECT_EQ(Z4GetXFDFieldInfo(xfd.get(), index), &xfd->x_fdesc[index]) << index;
    for (const uint32_t index : {4U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_EQ(Z4GetXFDFieldInfo(xfd.get(), index), nullptr) << index;
}

TEST(Accessors, FieldFlagsAreSetAndClearedAlone) {
    const struct {
        const char *row;
        void (*set)(Xfd *, uint32_t, uint8_t);
        uint32_t bit;
    } kRows[] = {
        {"in key", Z4SetXFDFieldInKey, XFD_FIELD_IN_KEY},
        {"added", Z4SetXFDFieldAdded, XFD_FIELD_ADDED},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        const XfdPointer xfd = sample::empty(2);
        uint32_t &flags = xfd->x_fdesc[1].fd_flags;
        for (const uint32_t start : {0U, 0xFFFFFFFFU, 0x5AU}) {
            flags = start;
            row.set(xfd.get(), 1, 1);
            EXPECT_EQ(flags, start | row.bit);
            row.set(xfd.get(), 1, 0);
            EXPECT_EQ(flags, start & ~row.bit);
            row.set(xfd.get(), 1, 0x80);
            EXPECT_EQ(flags, start | row.bit);
        }
        row.set(xfd.get(), 2, 1);
        row.set(xfd.get(), 0xFFFFFFFF, 1);
        EXPECT_EQ(xfd->x_fdesc[0].fd_flags, 0U);
    }
}

TEST(Accessors, FieldValuesAreStored) {
    const XfdPointer xfd = sample::empty(2);
    constexpr auto kAddress = static_cast<uintptr_t>(0xFEDCBA98);
    Z4SetXFDFieldArgumentAddress(xfd.get(), 1, kAddress);
    Z4SetXFDFieldArgumentAddress(xfd.get(), 2, kAddress);
    Z4SetXFDFieldArgumentAddress(xfd.get(), 0xFFFFFFFF, kAddress);
    EXPECT_EQ(xfd->x_fdesc[0].fd_argument.a_address, 0U);
    EXPECT_EQ(xfd->x_fdesc[1].fd_argument.a_address, kAddress);
    Z4SetXFDFieldValidFlag(xfd.get(), 1, 0xFE);
    EXPECT_EQ(Z4GetXFDFieldValidFlag(&xfd->x_fdesc[1]), 0xFEU);
    EXPECT_EQ(Z4GetXFDFieldValidFlag(&xfd->x_fdesc[0]), 0U);
}

TEST(Accessors, ConditionsAndKeysAreMarkedWithinTheirCounts) {
    const XfdPointer xfd = sample::empty(0, 2, 2);
    sample::add_key(xfd.get());
    sample::add_condition(xfd.get());
    xfd->x_condition[0].c_flags = 0xF0;
    Z4SetXFDCondition(xfd.get(), 0, 7);
    EXPECT_EQ(xfd->x_condition[0].c_flags, 0xF1U);
    EXPECT_EQ(Z4IsXFDConditionTrue(&xfd->x_condition[0]), 1);
    Z4SetXFDCondition(xfd.get(), 0, 0);
    EXPECT_EQ(xfd->x_condition[0].c_flags, 0xF0U);
    EXPECT_EQ(Z4IsXFDConditionTrue(&xfd->x_condition[0]), 0);
    Z4SetXFDCondition(xfd.get(), 1, 1);
    EXPECT_EQ(xfd->x_condition[1].c_flags, 0U);

    Z4SetXFDKeyDBIndex(xfd.get(), 0, 65535);
    EXPECT_EQ(Z4GetXFDKeyDBIndex(&xfd->x_key_desc[0]), 65535U);
    Z4SetXFDKeyDBIndex(xfd.get(), 1, 5);
    EXPECT_EQ(xfd->x_key_desc[1].k_db_index, 0);
}

TEST(Accessors, FieldPropertiesAreTheirMembers) {
    XfdField field = {};
    char null_value[] = "null";
    auto *comment = reinterpret_cast<ZString>(&field);
    field.fd_offset = 0xFFFFFFF1;
    field.fd_user_type = 0xFFF2;
    field.fd_cond_num = 0xFFF3;
    field.fd_level = 0xFFF4;
    field.fd_max_occurs[0] = 0xFFF5;
    field.fd_max_occurs[15] = 0xFFF6;
    field.fd_occurs_index[0] = 0xFFF7;
    field.fd_occurs_index[15] = 0xFFF8;
    field.fd_occurs_depth = 0xF9;
    field.fd_valid = 0xFA;
    field.fd_comment = comment;
    field.fd_db_col_num = -1;
    field.fd_null_value = null_value;

    EXPECT_EQ(Z4GetXFDFieldOffset(&field), 0xFFFFFFF1U);
    EXPECT_EQ(Z4GetXFDFieldArgument(&field), &field.fd_argument);
    EXPECT_EQ(Z4GetXFDFieldUserType(&field), 0xFFF2U);
    EXPECT_EQ(Z4GetXFDFieldCondNum(&field), 0xFFF3U);
    EXPECT_EQ(Z4GetXFDFieldLevel(&field), 0xFFF4U);
    EXPECT_EQ(Z4GetXFDFieldMaxOccurs(&field, 0), 0xFFF5U);
    EXPECT_EQ(Z4GetXFDFieldMaxOccurs(&field, 15), 0xFFF6U);
    EXPECT_EQ(Z4GetXFDFieldMaxOccurs(&field, 16), 0U);
    EXPECT_EQ(Z4GetXFDFieldMaxOccurs(&field, 0xFFFFFFFF), 0U);
    EXPECT_EQ(Z4GetXFDFieldOccursIndex(&field, 0), 0xFFF7U);
    EXPECT_EQ(Z4GetXFDFieldOccursIndex(&field, 15), 0xFFF8U);
    EXPECT_EQ(Z4GetXFDFieldOccursIndex(&field, 16), 0U);
    EXPECT_EQ(Z4GetXFDFieldOccursIndex(&field, 0xFFFFFFFF), 0U);
    EXPECT_EQ(Z4GetXFDFieldOccursDepth(&field), 0xF9U);
    EXPECT_EQ(Z4GetXFDFieldName(&field), field.fd_name);
    EXPECT_EQ(Z4GetXFDFieldFormat(&field), field.fd_format);
    EXPECT_EQ(Z4GetXFDFieldValidFlag(&field), 0xFAU);
    EXPECT_EQ(Z4GetXFDFieldComment(&field), comment);
    EXPECT_EQ(Z4GetXFDFieldDBColNum(&field), -1);
    EXPECT_EQ(Z4GetXFDFieldSubtableName(&field), field.fd_subtable);
    EXPECT_EQ(Z4GetXFDFieldNullValue(&field), null_value);
}

TEST(Accessors, FieldPredicatesAnswerOneBitEach) {
    const struct {
        const char *row;
        int (*is)(const XfdField *);
        uint32_t bit;
    } kRows[] = {
        {"in key", Z4IsXFDFieldInKey, 1},       {"in secondary", Z4IsXFDFieldInSecondaryTable, 2},
        {"hidden", Z4IsXFDFieldHidden, 4},      {"read-only", Z4IsXFDFieldReadOnly, 8},
        {"identity", Z4IsXFDFieldIdentity, 16}, {"added", Z4IsXFDFieldAdded, 32},
    };
    XfdField field = {};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        field.fd_flags = row.bit;
        EXPECT_EQ(row.is(&field), 1);
        field.fd_flags = ~row.bit;
        EXPECT_EQ(row.is(&field), 0);
    }
}

TEST(Accessors, HashOffsetIsTheRealOne) {
    XfdField field = {};
    char name[] = "name";
    field.fd_hash_name = name;
    const char *at = reinterpret_cast<const char *>(&field) + Z4GetXFDFieldHashOffset();
    char *found = nullptr;
    std::memcpy(&found, at, sizeof found);
    EXPECT_EQ(found, name);
    if (sizeof(void *) == 4) {
        EXPECT_EQ(Z4GetXFDFieldHashOffset(), 168U);
    }
}

TEST(Accessors, OccursPropertiesAreTheirMembers) {
    XfdOccurs occurs = {0xFFF1, 0xFFF2, 0xFFFFFFF3, "sub"};
    EXPECT_EQ(Z4GetXFDOccursTimes(&occurs), 0xFFF1U);
    EXPECT_EQ(Z4GetXFDOccursSize(&occurs), 0xFFF2U);
    EXPECT_EQ(Z4GetXFDOccursStartFieldnum(&occurs), 0xFFFFFFF3U);
    EXPECT_EQ(Z4GetXFDOccursSubtable(&occurs), occurs.oc_subtable);
}

TEST(Accessors, ConditionPropertiesAreWidenedWithoutSign) {
    XfdCondition condition = {};
    condition.c_type = -2;
    condition.c_num1 = -1;
    condition.c_num2 = -32768;
    condition.c_field_num = -3;
    condition.c_flags = 0xFFFFFFFE;
    EXPECT_EQ(Z4GetXFDConditionType(&condition), 65534U);
    EXPECT_EQ(Z4GetXFDConditionField(&condition), condition.c_variable);
    EXPECT_EQ(Z4GetXFDConditionValue(&condition), condition.c_value);
    EXPECT_EQ(Z4GetXFDConditionTable(&condition), condition.c_table);
    EXPECT_EQ(Z4GetXFDConditionNum1(&condition), 65535U);
    EXPECT_EQ(Z4GetXFDConditionNum2(&condition), 32768U);
    EXPECT_EQ(Z4GetXFDConditionFieldNum(&condition), 65533U);
    EXPECT_EQ(Z4IsXFDConditionTrue(&condition), 0);
}

TEST(Accessors, KeyPropertiesEndAtTheirCounts) {
    XfdKeyColumn columns[2] = {{-1, "unmatched"}, {7, "matched"}};
    XfdKey key = {};
    key.k_seg_count = 2;
    key.k_duplicates = 2;
    for (uint16_t i = 0; i < XFD_MAX_SEGMENTS; ++i) {
        key.k_seg_length[i] = static_cast<uint16_t>(0xFF00 + i);
        key.k_seg_offset[i] = 0xFFFFFF00 + i;
    }
    key.k_db_index = 65535;
    key.k_n_fields = 1;
    key.k_field = columns;

    EXPECT_EQ(Z4GetXFDKeySegmentCount(&key), 2U);
    EXPECT_EQ(Z4GetXFDKeyDuplicatesAllowed(&key), 1);
    key.k_duplicates = 0;
    EXPECT_EQ(Z4GetXFDKeyDuplicatesAllowed(&key), 0);
    EXPECT_EQ(Z4GetXFDKeySegmentLength(&key, 1), 0xFF01U);
    EXPECT_EQ(Z4GetXFDKeySegmentLength(&key, 2), 0U);
    EXPECT_EQ(Z4GetXFDKeySegmentLength(&key, 0xFFFFFFFF), 0U);
    EXPECT_EQ(Z4GetXFDKeySegmentOffset(&key, 1), 0xFFFFFF01U);
    EXPECT_EQ(Z4GetXFDKeySegmentOffset(&key, 2), 0U);
    EXPECT_EQ(Z4GetXFDKeySegmentOffset(&key, 0xFFFFFFFF), 0U);
    EXPECT_EQ(Z4GetXFDKeyDBIndex(&key), 65535U);
    EXPECT_EQ(Z4GetXFDKeyFieldCount(&key), 1U);
    EXPECT_EQ(Z4GetXFDKeyColInfo(&key, 0), columns);
    EXPECT_EQ(Z4GetXFDKeyColInfo(&key, 1), nullptr);
    EXPECT_EQ(Z4GetXFDKeyColInfo(&key, 0xFFFFFFFF), nullptr);
    EXPECT_EQ(Z4GetXFDKeyColFieldNum(&columns[0]), 65535U);
    EXPECT_EQ(Z4GetXFDKeyColFieldNum(&columns[1]), 7U);
    EXPECT_EQ(Z4GetXFDKeyColFieldName(&columns[1]), columns[1].kc_name);

    // A count that cannot be stays within the table of segments.
    key.k_seg_count = 65535;
    EXPECT_EQ(Z4GetXFDKeySegmentCount(&key), 65535U);
    EXPECT_EQ(Z4GetXFDKeySegmentLength(&key, 15), 0xFF0FU);
    EXPECT_EQ(Z4GetXFDKeySegmentLength(&key, 16), 0U);
    EXPECT_EQ(Z4GetXFDKeySegmentOffset(&key, 16), 0U);
}

}  // namespace
