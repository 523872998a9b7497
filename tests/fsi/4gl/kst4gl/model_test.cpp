// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "host/memory.h"
#include "tests/fsi/sample_xfd.h"
#include "tests/fsi/xfd_text.h"
#include "wbfsi/accessors.h"
#include "wbfsi/build.h"
#include "wbfsi/table.h"

namespace {

using sample::Field;
using sample::XfdPointer;

// Every test ends with the blocks it began with.
class Model : public testing::Test {
 protected:
    void TearDown() override { EXPECT_EQ(ZMemoryBlocks(nullptr), blocks_); }

    const size_t blocks_ = ZMemoryBlocks(nullptr);
};

Xfd *alloc(uint16_t file_type, uint32_t n_fields = 0, uint32_t n_keys = 0,
           uint32_t n_conditions = 0) {
    return Z4AllocXFD("s", "t", "trigger", 1, 1, &sample::kCvtInfo, file_type, n_fields, n_keys,
                      n_conditions);
}

TEST_F(Model, FourFileTypesExist) {
    for (uint32_t type = 0; type <= 65535; ++type) {
        SCOPED_TRACE(type);
        const XfdPointer xfd(alloc(static_cast<uint16_t>(type)));
        const bool expected = type == 4 || type == 5 || type == 8 || type == 12;
        ASSERT_EQ(xfd != nullptr, expected);
        EXPECT_EQ(expected ? Z4GetXFDFileType(xfd.get()) : type, type);
    }
}

TEST_F(Model, AllocationCopiesWhatItIsGiven) {
    const XfdPointer xfd(Z4AllocXFD("client-file", "CLIENT", "TRIGGER", 4000000000U, 80,
                                    &sample::kCvtInfo, XFD_LINE_SEQUENTIAL, 2, 1, 3));
    ASSERT_TRUE(xfd);
    const std::string zeros = "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0";
    const std::string field =
        "field '' at 0 argument 0,0,0,0,0,0 user 0 condition 0 level 0 occurs 0 " + zeros + " " +
        zeros + " flags 0 format '' valid 0 comment - column 0 subtable '' null -\n";
    const std::string condition = "condition 0 '' '' '' 0,0 field 0 flags 0\n";
    EXPECT_EQ(xfd_text::all(*xfd),
              "xfd 0 'client-file' 'CLIENT' file - trigger 'TRIGGER' type 5 sizes 4000000000,80 "
              "convert 72,68,16,13,,,.,2 keys 0/1 conditions 0/3 fields 0,0,0,0/2 identity -1 "
              "flags 0\n"
              "key segments 0 duplicates 0 lengths " +
                  zeros + " offsets " + zeros + " index 0 columns\n" + condition + condition +
                  condition + field + field);
    EXPECT_EQ(xfd->x_temp_file, nullptr);
}

TEST_F(Model, NamesAreCutAndEndWithZero) {
    const std::string text(300, 'x');
    for (const size_t length : {0U, 1U, 29U, 30U, 31U, 127U, 128U, 129U, 200U, 300U}) {
        SCOPED_TRACE(length);
        const std::string name = text.substr(0, length);
        const XfdPointer xfd(Z4AllocXFD(name.c_str(), name.c_str(), nullptr, 1, 1,
                                        &sample::kCvtInfo, XFD_INDEXED, 0, 0, 0));
        ASSERT_TRUE(xfd);
        EXPECT_EQ(Z4GetXFDSelectName(xfd.get()), name.substr(0, 30));
        EXPECT_EQ(Z4GetXFDTableName(xfd.get()), name.substr(0, 128));
        EXPECT_EQ(Z4GetXFDCOBOLTrigger(xfd.get()), nullptr);
    }
}

TEST_F(Model, AllocationRefusesBeforeItAllocates) {
    const struct {
        const char *row;
        uint32_t n_fields, n_keys, n_conditions;
    } kRows[] = {
        {"a field slot too many", fsi::kMaxFieldSlots + 1, 0, 0},
        {"all the fields there are", UINT32_MAX, 0, 0},
        {"a key too many", 0, 65536, 0},
        {"all the keys there are", 0, UINT32_MAX, 0},
        {"a condition too many", 0, 0, 65536},
        {"all the conditions there are", 0, 0, UINT32_MAX},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        ZMemoryRefuse(1, -1);
        EXPECT_EQ(alloc(XFD_INDEXED, row.n_fields, row.n_keys, row.n_conditions), nullptr);
        EXPECT_EQ(ZMemoryRefused(), 0U);
        ZMemoryRefuse(0, 0);
    }
    const XfdPointer most(alloc(XFD_INDEXED, 0, 65535, 65535));
    ASSERT_TRUE(most);
    EXPECT_EQ(most->x_n_keys_alloc, 65535);
    EXPECT_EQ(most->x_n_conditions_alloc, 65535);
}

TEST_F(Model, NullArgumentsAreRefused) {
    EXPECT_EQ(Z4AllocXFD(nullptr, "t", "", 1, 1, &sample::kCvtInfo, 12, 0, 0, 0), nullptr);
    EXPECT_EQ(Z4AllocXFD("s", nullptr, "", 1, 1, &sample::kCvtInfo, 12, 0, 0, 0), nullptr);
    EXPECT_EQ(Z4AllocXFD("s", "t", "", 1, 1, nullptr, 12, 0, 0, 0), nullptr);

    const uint16_t lengths[XFD_MAX_SEGMENTS] = {};
    const uint32_t offsets[XFD_MAX_SEGMENTS] = {};
    const XfdPointer xfd = sample::empty();
    const std::string before = xfd_text::all(*xfd);
    EXPECT_EQ(Z4AddXFDKey(nullptr, 1, 0, lengths, offsets, 1), -1);
    EXPECT_EQ(Z4AddXFDKey(xfd.get(), 1, 0, nullptr, offsets, 1), -1);
    EXPECT_EQ(Z4AddXFDKey(xfd.get(), 1, 0, lengths, nullptr, 1), -1);
    EXPECT_EQ(Z4AddXFDKeyColumn(nullptr, 0, 0, "a"), -1);
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 0, nullptr), -1);
    EXPECT_EQ(Z4XFDAddCondition(nullptr, 1, "", "", "", 0, 0, 0), -1);
    EXPECT_EQ(Z4XFDAddCondition(xfd.get(), 1, nullptr, "", "", 0, 0, 0), -1);
    EXPECT_EQ(Z4XFDAddCondition(xfd.get(), 1, "", nullptr, "", 0, 0, 0), -1);
    EXPECT_EQ(Z4XFDAddCondition(xfd.get(), 1, "", "", nullptr, 0, 0, 0), -1);
    Field field;
    EXPECT_EQ(field.add_to(nullptr), -1);
    field.max_occurs = nullptr;
    EXPECT_EQ(field.add_to(xfd.get()), -1);
    field.max_occurs = sample::kNoOccurs;
    field.occurs_index = nullptr;
    EXPECT_EQ(field.add_to(xfd.get()), -1);
    EXPECT_EQ(Z4AddXFDField(xfd.get(), 0, nullptr, 0, 0, 0, sample::kNoOccurs, sample::kNoOccurs, 0,
                            0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
              -1);
    EXPECT_EQ(Z4CopyXFD(nullptr), nullptr);
    EXPECT_EQ(xfd_text::all(*xfd), before);
    Z4XFDFree(nullptr);
    Z4FreeTable(nullptr);
}

TEST_F(Model, AppendsGrowByOneSlotACall) {
    const XfdPointer xfd = sample::empty();
    for (int i = 1; i <= 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(sample::add_key(xfd.get()), i);
        EXPECT_EQ(xfd->x_n_keys, i);
        EXPECT_EQ(xfd->x_n_keys_alloc, i);
        EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, static_cast<int16_t>(i), "c"), i);
        EXPECT_EQ(xfd->x_key_desc[0].k_n_fields, i);
        EXPECT_EQ(xfd->x_key_desc[0].k_n_fields_alloc, i);
        EXPECT_EQ(Field{}.add_to(xfd.get()), i);
        EXPECT_EQ(xfd->x_n_fields, static_cast<uint32_t>(i));
        EXPECT_EQ(xfd->x_n_fields_alloc, static_cast<uint32_t>(i));
        EXPECT_EQ(sample::add_condition(xfd.get()), i);
        EXPECT_EQ(xfd->x_n_conditions, i);
        EXPECT_EQ(xfd->x_n_conditions_alloc, i);
    }
}

TEST_F(Model, AppendsFillSlotsAllocatedBeforehandFirst) {
    const XfdPointer xfd = sample::empty(2, 2, 2);
    for (int i = 1; i <= 3; ++i) {
        SCOPED_TRACE(i);
        const int slots = std::max(i, 2);
        EXPECT_EQ(sample::add_key(xfd.get(), 2), i);
        EXPECT_EQ(xfd->x_n_keys_alloc, slots);
        EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 0, "c"), i);
        EXPECT_EQ(xfd->x_key_desc[0].k_n_fields_alloc, slots);
        EXPECT_EQ(Field{}.add_to(xfd.get()), i);
        EXPECT_EQ(xfd->x_n_fields_alloc, static_cast<uint32_t>(slots));
        EXPECT_EQ(sample::add_condition(xfd.get()), i);
        EXPECT_EQ(xfd->x_n_conditions_alloc, slots);
    }
}

TEST_F(Model, BlocksCarryTheirTags) {
    XfdPointer xfd = sample::empty(1, 1, 1);
    const char *const kPresized[] = {
        "User-allocated XFD",      "User-allocated XFD cvt_info",   "User-allocated XFD fields",
        "User-allocated XFD keys", "User-allocated XFD conditions",
    };
    for (const char *tag : kPresized)
        EXPECT_EQ(ZMemoryBlocks(tag), 1U) << tag;
    EXPECT_EQ(sample::add_key(xfd.get(), 1), 1);
    EXPECT_EQ(ZMemoryBlocks("User-allocated XFD Key columns"), 1U);

    xfd = sample::full();
    EXPECT_EQ(ZMemoryBlocks("User-allocated XFD field"), 1U);
    EXPECT_EQ(ZMemoryBlocks("User-allocated XFD keys"), 1U);
    EXPECT_EQ(ZMemoryBlocks("User-allocated XFD key field column"), 1U);
    EXPECT_EQ(ZMemoryBlocks("User-allocated XFD condition"), 1U);
    EXPECT_GE(ZMemoryBlocks("User-allocated XFD field comments"), 2U);
}

TEST_F(Model, KeyArraysAreCopiedWhole) {
    const XfdPointer xfd = sample::empty();
    uint16_t lengths[XFD_MAX_SEGMENTS];
    uint32_t offsets[XFD_MAX_SEGMENTS];
    for (uint16_t i = 0; i < XFD_MAX_SEGMENTS; ++i) {
        lengths[i] = static_cast<uint16_t>(65535 - i);
        offsets[i] = 70000U + i;
    }
    EXPECT_EQ(Z4AddXFDKey(xfd.get(), 3, 255, lengths, offsets, 0), 1);
    EXPECT_EQ(xfd_text::key(xfd->x_key_desc[0]),
              "key segments 3 duplicates 255 lengths 65535,65534,65533,65532,65531,65530,65529,"
              "65528,65527,65526,65525,65524,65523,65522,65521,65520 offsets 70000,70001,70002,"
              "70003,70004,70005,70006,70007,70008,70009,70010,70011,70012,70013,70014,70015 "
              "index 0 columns\n");
}

TEST_F(Model, AKeyLeavesDatabaseIndexAsTheSlotHeldIt) {
    const XfdPointer xfd = sample::empty(0, 1);
    xfd->x_key_desc[0].k_db_index = 7;
    EXPECT_EQ(sample::add_key(xfd.get()), 1);
    EXPECT_EQ(xfd->x_key_desc[0].k_db_index, 7);
}

TEST_F(Model, KeyColumnNamesAreCut) {
    const XfdPointer xfd = sample::empty();
    ASSERT_EQ(sample::add_key(xfd.get()), 1);
    const std::string name(40, 'n');
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, -1, name.c_str()), 1);
    const XfdKeyColumn *column = Z4GetXFDKeyColInfo(xfd->x_key_desc, 0);
    EXPECT_EQ(column->kc_name, name.substr(0, 30));
    EXPECT_EQ(column->kc_name[30], '\0');
    EXPECT_EQ(column->kc_name[31], '\0');
    EXPECT_EQ(column->kc_field_num, -1);
}

TEST_F(Model, KeyColumnBoundIsInclusive) {
    const struct {
        const char *row;
        uint32_t slots;
        int keys;
        uint16_t index;
        int expected;
        int slots_after;
    } kRows[] = {
        {"no key, no slot", 0, 0, 0, 1, 1},        {"no key, a slot", 2, 0, 0, 1, 2},
        {"the last key", 0, 2, 1, 1, 2},           {"behind the last key", 0, 2, 2, 1, 3},
        {"behind, in a slot", 4, 2, 2, 1, 4},      {"two behind", 0, 2, 3, -1, 2},
        {"two behind, in a slot", 4, 2, 3, -1, 4}, {"far away", 4, 2, 65535, -1, 4},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        const XfdPointer xfd = sample::empty(0, row.slots);
        for (int i = 0; i < row.keys; ++i)
            sample::add_key(xfd.get());
        EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), row.index, 5, "col"), row.expected);
        EXPECT_EQ(xfd->x_n_keys, row.keys);
        EXPECT_EQ(xfd->x_n_keys_alloc, row.slots_after);
    }
}

TEST_F(Model, WaitingColumnsBecomeTheirKeys) {
    const XfdPointer xfd = sample::empty();
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 5, "first"), 1);
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 6, "second"), 2);
    EXPECT_EQ(Z4GetXFDKeyCount(xfd.get()), 0U);
    EXPECT_EQ(sample::add_key(xfd.get()), 1);
    const XfdKey *key = Z4GetXFDKeyInfo(xfd.get(), 0);
    ASSERT_EQ(key->k_n_fields, 2);
    EXPECT_STREQ(key->k_field[0].kc_name, "first");
    EXPECT_STREQ(key->k_field[1].kc_name, "second");
}

TEST_F(Model, WaitingColumnsGiveWayToAnArrayOfTheKeysOwn) {
    const XfdPointer xfd = sample::empty();
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 5, "waits"), 1);
    EXPECT_EQ(sample::add_key(xfd.get(), 3), 1);
    EXPECT_EQ(xfd->x_key_desc[0].k_n_fields, 0);
    EXPECT_EQ(xfd->x_key_desc[0].k_n_fields_alloc, 3);
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 6, "own"), 1);
    EXPECT_STREQ(xfd->x_key_desc[0].k_field[0].kc_name, "own");
}

TEST_F(Model, WaitingColumnsAreReleasedWithTheXfd) {
    const XfdPointer xfd = sample::empty();
    ASSERT_EQ(sample::add_key(xfd.get()), 1);
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 1, 5, "waits"), 1);
}

TEST_F(Model, FieldFlagsFollowTheArguments) {
    const struct {
        const char *row;
        uint8_t in_key, in_secondary_table, hidden, read_only, identity;
        uint32_t expected;
    } kRows[] = {
        {"none", 0, 0, 0, 0, 0, 0},
        {"in key", 1, 0, 0, 0, 0, 1},
        {"in secondary table", 0, 1, 0, 0, 0, 2},
        {"hidden", 0, 0, 1, 0, 0, 4},
        {"read-only", 0, 0, 0, 1, 0, 8},
        {"identity", 0, 0, 0, 0, 1, 16},
        {"identity leaves the secondary table", 0, 1, 0, 0, 1, 16},
        {"read-only identity", 0, 1, 0, 1, 1, 24},
        {"any value but 0 sets", 128, 2, 64, 255, 0, 15},
        {"all", 1, 1, 1, 1, 1, 29},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        const XfdPointer xfd = sample::empty();
        Field{}.add_to(xfd.get());
        Field field;
        field.in_key = row.in_key;
        field.in_secondary_table = row.in_secondary_table;
        field.hidden = row.hidden;
        field.read_only = row.read_only;
        field.identity = row.identity;
        EXPECT_EQ(field.add_to(xfd.get()), 2);
        EXPECT_EQ(xfd->x_fdesc[1].fd_flags, row.expected);
        EXPECT_EQ(xfd->x_identity_field, row.identity != 0 ? 1 : -1);
    }
}

TEST_F(Model, FlagsOfTheSlotYieldToTheArgumentsAndTheAddedBitStays) {
    const XfdPointer xfd = sample::empty(1);
    XfdField &slot = xfd->x_fdesc[0];
    slot.fd_flags = 0xFFFFFFFF;
    slot.fd_valid = 9;
    slot.fd_db_col_num = 11;
    std::memcpy(slot.fd_format, "YYYY", 5);
    EXPECT_EQ(Field{}.add_to(xfd.get()), 1);
    EXPECT_EQ(slot.fd_flags, 0xFFFFFFE0);
    EXPECT_EQ(slot.fd_valid, 9);
    EXPECT_EQ(slot.fd_db_col_num, 11);
    EXPECT_STREQ(slot.fd_format, "YYYY");
    EXPECT_EQ(slot.fd_hash_name, nullptr);
}

TEST_F(Model, AListedFieldDoesNotCountInTheTotal) {
    const XfdPointer xfd = sample::empty();
    Field field;
    for (const uint16_t condition : std::to_array<uint16_t>({0, 1, 998, 999, 1000, 999})) {
        field.cond_num = condition;
        EXPECT_GT(field.add_to(xfd.get()), 0);
    }
    EXPECT_EQ(xfd->x_n_fields, 6U);
    EXPECT_EQ(xfd->x_n_total_fields_listed, 6U);
    EXPECT_EQ(xfd->x_n_total_fields, 4U);
    EXPECT_EQ(xfd->x_n_fields_listed, 0U);
}

TEST_F(Model, AFieldStoresAllItIsGiven) {
    const XfdPointer xfd = sample::full();
    ASSERT_TRUE(xfd);
    EXPECT_EQ(xfd_text::all(*xfd),
              "xfd 6 'client-file' 'CLIENT' file - trigger 'CLIENT-TRIGGER' type 8 sizes 120,80 "
              "convert 72,68,16,13,,,.,2 keys 2/2 conditions 2/2 fields 3,3,0,3/3 identity 0 "
              "flags 0\n"
              "key segments 2 duplicates 1 lengths 4,10,0,0,0,0,0,0,0,0,0,0,0,0,0,0 offsets "
              "0,70000,0,0,0,0,0,0,0,0,0,0,0,0,0,0 index 0 columns 0:'client_no' "
              "-1:'client_name'\n"
              "key segments 1 duplicates 0 lengths 4,10,0,0,0,0,0,0,0,0,0,0,0,0,0,0 offsets "
              "0,70000,0,0,0,0,0,0,0,0,0,0,0,0,0,0 index 0 columns 1:'born'\n"
              "condition 1 'rec_type' 'A' 'CLIENT_A' -1,-1 field 1 flags 0\n"
              "condition 2 '' '' '' 1,1 field 0 flags 0\n"
              "field 'client_no' at 0 argument 0,4,9,7,-2,5 user 0 condition 0 level 2 occurs 0 "
              "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0 0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0 flags 17 format '' "
              "valid 0 comment '# the number\n# of a client' column 0 subtable '' null '0'\n"
              "field 'born' at 4 argument 0,8,1,8,0,0 user 1 condition 0 level 2 occurs 0 "
              "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0 0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0 flags 4 format "
              "'YYYYMMDD' valid 0 comment - column 0 subtable '' null -\n"
              "field 'amount_1_2' at 12 argument 0,8,16,0,0,0 user 0 condition 1 level 2 occurs 2 "
              "3,2,0,0,0,0,0,0,0,0,0,0,0,0,0,0 1,2,0,0,0,0,0,0,0,0,0,0,0,0,0,0 flags 10 format '' "
              "valid 0 comment '' column 0 subtable 'AMOUNTS' null -\n");
}

TEST_F(Model, FieldTextsAreCut) {
    const XfdPointer xfd = sample::empty();
    const std::string text(400, 'q');
    Field field;
    field.name = field.format = field.comment = field.subtable = field.null_value = text.c_str();
    EXPECT_EQ(field.add_to(xfd.get()), 1);
    const XfdField &stored = xfd->x_fdesc[0];
    EXPECT_EQ(stored.fd_name, text.substr(0, 30));
    EXPECT_EQ(stored.fd_format, text.substr(0, 30));
    EXPECT_EQ(stored.fd_subtable, text.substr(0, 128));
    EXPECT_EQ(ZStringGet(stored.fd_comment), text);
    EXPECT_EQ(stored.fd_null_value, text);
    EXPECT_EQ(stored.fd_hash_name, stored.fd_name);
}

TEST_F(Model, HashNamesFollowTheirRecords) {
    const XfdPointer xfd = sample::empty();
    Field field;
    for (int i = 0; i < 200; ++i) {
        const std::string name = "field_" + std::to_string(i);
        field.name = i % 7 == 2 ? nullptr : name.c_str();
        ASSERT_EQ(field.add_to(xfd.get()), i + 1);
        if (i == 50) {
            // As an OCCURS group that was copied whole: the names of 11 and 12
            // are the one of 10.
            xfd->x_fdesc[11].fd_hash_name = xfd->x_fdesc[10].fd_hash_name;
            xfd->x_fdesc[12].fd_hash_name = xfd->x_fdesc[10].fd_hash_name;
        }
    }
    for (uint32_t i = 0; i < 200; ++i) {
        SCOPED_TRACE(i);
        XfdField *fields = xfd->x_fdesc;
        char *expected = i % 7 == 2 ? nullptr : fields[i].fd_name;
        if (i == 11 || i == 12)
            expected = fields[10].fd_name;
        EXPECT_EQ(fields[i].fd_hash_name, expected);
    }
}

TEST_F(Model, ForeignHashNamesStayWhereTheyPoint) {
    char elsewhere[] = "elsewhere";
    const XfdPointer xfd = sample::empty();
    Field field;
    field.name = "a";
    ASSERT_EQ(field.add_to(xfd.get()), 1);
    xfd->x_fdesc[0].fd_hash_name = elsewhere;
    for (int i = 0; i < 100; ++i)
        field.add_to(xfd.get());
    EXPECT_EQ(xfd->x_fdesc[0].fd_hash_name, elsewhere);
}

TEST_F(Model, ArgumentsMayLieInTheXfd) {
    const XfdPointer xfd = sample::full();
    const XfdField &number = xfd->x_fdesc[0];
    Field again;
    again.argument = number.fd_argument;
    again.max_occurs = number.fd_max_occurs;
    again.occurs_index = number.fd_occurs_index;
    again.in_key = 1;
    again.identity = 1;
    again.name = number.fd_name;
    again.format = number.fd_format;
    again.comment = ZStringGet(number.fd_comment);
    again.subtable = number.fd_subtable;
    again.null_value = number.fd_null_value;
    ASSERT_EQ(again.add_to(xfd.get()), 4);
    EXPECT_EQ(xfd_text::field(xfd->x_fdesc[3]), xfd_text::field(xfd->x_fdesc[0]));

    const XfdKey &key = xfd->x_key_desc[0];
    ASSERT_EQ(Z4AddXFDKey(xfd.get(), 2, 1, key.k_seg_length, key.k_seg_offset, 0), 3);
    ASSERT_EQ(Z4AddXFDKeyColumn(xfd.get(), 2, 0, xfd->x_key_desc[0].k_field[0].kc_name), 1);
    ASSERT_EQ(Z4AddXFDKeyColumn(xfd.get(), 2, -1, xfd->x_key_desc[0].k_field[1].kc_name), 2);
    EXPECT_EQ(xfd_text::key(xfd->x_key_desc[2]), xfd_text::key(xfd->x_key_desc[0]));

    const XfdCondition &condition = xfd->x_condition[0];
    ASSERT_EQ(Z4XFDAddCondition(xfd.get(), 1, condition.c_variable, condition.c_value,
                                condition.c_table, -1, -1, 1),
              3);
    EXPECT_EQ(xfd_text::condition(xfd->x_condition[2]), xfd_text::condition(xfd->x_condition[0]));
}

// The texts that a field duplicates may lie in the array that moves to make room.
TEST_F(Model, TextsOfTheMovingFieldArrayAreFollowed) {
    const XfdPointer xfd = sample::empty();
    Field first;
    first.name = "the_first_name";
    first.subtable = "THE_SUBTABLE";
    ASSERT_EQ(first.add_to(xfd.get()), 1);
    bool has_moved = false;
    for (int i = 2; i <= 200; ++i) {
        const XfdField *before = xfd->x_fdesc;
        Field field;
        field.comment = xfd->x_fdesc[0].fd_name;
        field.null_value = xfd->x_fdesc[0].fd_subtable;
        ASSERT_EQ(field.add_to(xfd.get()), i);
        has_moved |= xfd->x_fdesc != before;
        const XfdField &added = xfd->x_fdesc[i - 1];
        EXPECT_STREQ(ZStringGet(added.fd_comment), "the_first_name");
        EXPECT_STREQ(added.fd_null_value, "THE_SUBTABLE");
    }
    EXPECT_TRUE(has_moved);
}

TEST_F(Model, AFieldReleasesWhatItsSlotOwned) {
    const XfdPointer xfd = sample::full();
    const size_t before = ZMemoryBlocks(nullptr);
    // Slots behind the fields in use, as a reader leaves them.
    xfd->x_n_fields = 0;
    Field plain;
    plain.name = "plain";
    ASSERT_EQ(plain.add_to(xfd.get()), 1);
    EXPECT_LT(ZMemoryBlocks(nullptr), before);
    EXPECT_EQ(xfd->x_fdesc[0].fd_comment, nullptr);
    EXPECT_EQ(xfd->x_fdesc[0].fd_null_value, nullptr);
}

TEST_F(Model, AFieldKeepsWhatAnotherRecordShares) {
    const XfdPointer xfd = sample::empty(3);
    Field field;
    field.comment = "shared";
    field.null_value = "null";
    ASSERT_EQ(field.add_to(xfd.get()), 1);
    xfd->x_fdesc[1] = xfd->x_fdesc[0];
    xfd->x_fdesc[2] = xfd->x_fdesc[0];
    Field own;
    own.comment = ZStringGet(xfd->x_fdesc[1].fd_comment);
    own.null_value = xfd->x_fdesc[1].fd_null_value;
    ASSERT_EQ(own.add_to(xfd.get()), 2);
    EXPECT_NE(xfd->x_fdesc[1].fd_comment, xfd->x_fdesc[0].fd_comment);
    EXPECT_NE(xfd->x_fdesc[1].fd_null_value, xfd->x_fdesc[0].fd_null_value);
    EXPECT_STREQ(ZStringGet(xfd->x_fdesc[0].fd_comment), "shared");
    EXPECT_STREQ(xfd->x_fdesc[2].fd_null_value, "null");
    EXPECT_STREQ(ZStringGet(xfd->x_fdesc[1].fd_comment), "shared");
}

TEST_F(Model, CountsAboveTheAllocatedOnesDoNotOverrun) {
    // A dictionary may declare more items than field slots.
    const XfdPointer xfd = sample::empty(2);
    xfd->x_n_fields = 10;
    xfd->x_n_total_fields = 2;
    Field field;
    field.name = "eleventh";
    field.comment = "owned";
    EXPECT_EQ(field.add_to(xfd.get()), 11);
    EXPECT_EQ(xfd->x_n_fields_alloc, 11U);
    EXPECT_STREQ(Z4GetXFDFieldName(Z4GetXFDFieldInfo(xfd.get(), 10)), "eleventh");
    EXPECT_EQ(Z4GetXFDFieldName(Z4GetXFDFieldInfo(xfd.get(), 9))[0], '\0');
    // Release takes no count on trust either.
    xfd->x_n_total_fields = 1000;
    xfd->x_n_keys = 5;
    xfd->x_n_conditions = 5;
}

TEST_F(Model, ConditionTextsAreCutAndTheResultStays) {
    const XfdPointer xfd = sample::empty(0, 0, 1);
    xfd->x_condition[0].c_flags = XFD_CONDITION_TRUE;
    const std::string text(300, 'v');
    EXPECT_EQ(Z4XFDAddCondition(xfd.get(), -7, text.c_str(), text.c_str(), text.c_str(), 32767,
                                -32768, -1),
              1);
    EXPECT_EQ(xfd_text::condition(xfd->x_condition[0]),
              "condition -7 '" + text.substr(0, 30) + "' '" + text.substr(0, 50) + "' '" +
                  text.substr(0, 128) + "' 32767,-32768 field -1 flags 1\n");
}

TEST_F(Model, AppendsStopAtTheirCeilings) {
    const XfdPointer xfd = sample::empty(0, 65535, 65535);
    xfd->x_n_keys = 65535;
    xfd->x_n_conditions = 65535;
    EXPECT_EQ(sample::add_key(xfd.get(), 4), -1);
    EXPECT_EQ(sample::add_condition(xfd.get()), -1);
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 65535, 0, "c"), -1);
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 65534, 0, "c"), 1);
    xfd->x_n_fields = fsi::kMaxFieldSlots;
    Field field;
    field.comment = "lost";
    EXPECT_EQ(field.add_to(xfd.get()), -1);
    EXPECT_EQ(xfd->x_n_keys, 65535);
    EXPECT_EQ(xfd->x_n_conditions, 65535);
    EXPECT_EQ(xfd->x_n_fields, fsi::kMaxFieldSlots);
}

TEST_F(Model, KeyColumnsStopAtTheirCeiling) {
    const XfdPointer xfd = sample::empty();
    ASSERT_EQ(sample::add_key(xfd.get(), 65535), 1);
    xfd->x_key_desc[0].k_n_fields = 65534;
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 0, "last"), 65535);
    EXPECT_EQ(Z4AddXFDKeyColumn(xfd.get(), 0, 0, "no more"), -1);
    EXPECT_EQ(xfd->x_key_desc[0].k_n_fields, 65535);
}

TEST_F(Model, ACopyEqualsItsOriginalAndSharesNothing) {
    XfdPointer xfd = sample::full();
    const std::string expected = xfd_text::all(*xfd);
    const XfdPointer copy(Z4CopyXFD(xfd.get()));
    ASSERT_TRUE(copy);
    for (uint32_t i = 0; i < copy->x_n_fields; ++i)
        EXPECT_EQ(copy->x_fdesc[i].fd_hash_name, copy->x_fdesc[i].fd_name);
    xfd.reset();
    EXPECT_EQ(xfd_text::all(*copy), expected);
}

TEST_F(Model, ACopyTakesAllocatedSlots) {
    const XfdPointer xfd = sample::empty(3, 2, 4);
    Field field;
    field.name = "only";
    field.add_to(xfd.get());
    xfd->x_fdesc[2].fd_cond_num = XFD_LISTED_ONLY;
    const XfdPointer copy(Z4CopyXFD(xfd.get()));
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->x_n_keys, 2);
    EXPECT_EQ(copy->x_n_keys_alloc, 2);
    EXPECT_EQ(copy->x_n_conditions, 4);
    EXPECT_EQ(copy->x_n_conditions_alloc, 4);
    EXPECT_EQ(copy->x_n_fields, 3U);
    EXPECT_EQ(copy->x_n_fields_alloc, 3U);
    EXPECT_EQ(copy->x_n_total_fields, 2U);
    EXPECT_EQ(copy->x_n_total_fields_listed, 3U);
}

TEST_F(Model, ACopyLeavesTheCallersMarksBehind) {
    const XfdPointer xfd = sample::full();
    char temp_file[] = "temp";
    xfd->x_filename = ZSTRDUP("a.xfd", "XFD file name", "test");
    xfd->x_temp_file = temp_file;
    xfd->x_flags = XFD_MULTIPLE_01;
    xfd->x_n_fields_listed = 9;
    xfd->x_n_total_fields_listed = 99;
    xfd->x_key_desc[0].k_db_index = 3;
    xfd->x_key_desc[0].k_duplicates = 17;
    xfd->x_condition[0].c_flags = 1;
    xfd->x_fdesc[1].fd_flags |= XFD_FIELD_ADDED;
    xfd->x_fdesc[1].fd_valid = 1;
    xfd->x_fdesc[1].fd_db_col_num = 4;
    const XfdPointer copy(Z4CopyXFD(xfd.get()));
    ASSERT_TRUE(copy);
    EXPECT_EQ(xfd_text::all(*copy), xfd_text::all(*sample::full()));
    EXPECT_EQ(copy->x_temp_file, nullptr);
}

TEST_F(Model, ACopyOfAnImpossibleDescriptionFails) {
    const XfdPointer xfd = sample::full();
    for (const uint16_t type : std::to_array<uint16_t>({0, 6, 7, 9, 10, 11, 13})) {
        xfd->x_file_type = type;
        EXPECT_EQ(Z4CopyXFD(xfd.get()), nullptr) << type;
    }
}

TEST_F(Model, ACopyOfSharedBlocksOwnsOneEach) {
    const XfdPointer xfd = sample::empty(2);
    Field field;
    field.name = "amt";
    field.comment = "shared";
    field.null_value = "null";
    ASSERT_EQ(field.add_to(xfd.get()), 1);
    xfd->x_fdesc[1] = xfd->x_fdesc[0];
    const XfdPointer copy(Z4CopyXFD(xfd.get()));
    ASSERT_TRUE(copy);
    EXPECT_NE(copy->x_fdesc[0].fd_comment, copy->x_fdesc[1].fd_comment);
    EXPECT_NE(copy->x_fdesc[0].fd_null_value, copy->x_fdesc[1].fd_null_value);
    EXPECT_EQ(copy->x_fdesc[1].fd_hash_name, copy->x_fdesc[1].fd_name);
}

TEST_F(Model, SharedBlocksAreReleasedOnce) {
    for (const uint32_t slots : {1U, 2U, 3U, 64U, 1000U}) {
        for (const uint32_t stride : {1U, 2U, 7U}) {
            SCOPED_TRACE(std::to_string(slots) + " slots, stride " + std::to_string(stride));
            const XfdPointer xfd = sample::empty(slots);
            Field field;
            field.comment = "shared";
            field.null_value = "null";
            for (uint32_t i = 0; i < slots; ++i) {
                if (i < stride) {
                    field.add_to(xfd.get());
                } else {
                    xfd->x_fdesc[i] = xfd->x_fdesc[i - stride];
                }
            }
            // The counts in use end before the blocks do.
            xfd->x_n_total_fields = 1;
        }
    }
}

TEST_F(Model, CommentsAndNullValuesAreSharedIndependently) {
    const XfdPointer xfd = sample::empty(3);
    Field field;
    field.comment = "comment";
    field.null_value = "null";
    for (int i = 0; i < 2; ++i)
        field.add_to(xfd.get());
    // Crosswise: each block has two owners, no two records the same pair.
    xfd->x_fdesc[2].fd_comment = xfd->x_fdesc[0].fd_comment;
    xfd->x_fdesc[2].fd_null_value = xfd->x_fdesc[1].fd_null_value;
}

TEST_F(Model, ReleaseOfFieldsLeavesNothingBehind) {
    const XfdPointer xfd = sample::full();
    xfd->x_n_fields_listed = 3;
    fsi::release_fields(xfd.get());
    fsi::release_keys(xfd.get());
    fsi::release_conditions(xfd.get());
    EXPECT_EQ(xfd_text::all(*xfd),
              "xfd 6 'client-file' 'CLIENT' file - trigger 'CLIENT-TRIGGER' type 8 sizes 120,80 "
              "convert 72,68,16,13,,,.,2 keys 0/0 conditions 0/0 fields 0,0,0,0/0 identity -1 "
              "flags 0\n");
    EXPECT_EQ(xfd->x_fdesc, nullptr);
    EXPECT_EQ(xfd->x_key_desc, nullptr);
    EXPECT_EQ(xfd->x_condition, nullptr);
}

TEST_F(Model, ReleaseOfAHalfBuiltXfd) {
    // As a reader leaves it when memory ends: counts without arrays.
    auto *xfd = static_cast<Xfd *>(Zmalloc(sizeof(Xfd), "pxfd", "test"));
    std::memset(xfd, 0, sizeof *xfd);
    xfd->x_n_keys = 4;
    xfd->x_n_keys_alloc = 4;
    xfd->x_n_fields = xfd->x_n_total_fields = xfd->x_n_fields_alloc = 7;
    xfd->x_n_conditions = xfd->x_n_conditions_alloc = 2;
    Z4XFDFree(xfd);
}

TEST_F(Model, FreeLeavesTheTemporaryFileAlone) {
    XfdPointer xfd = sample::empty();
    char *name = ZSTRDUP("left", "temp", "test");
    xfd->x_temp_file = name;
    xfd.reset();
    EXPECT_STREQ(name, "left");
    Zfree(name);
}

TEST_F(Model, FreeTableReleasesColumnsAndRecord) {
    for (const bool has_columns : {false, true}) {
        auto *table = static_cast<DbTableInfo *>(Zmalloc(sizeof(DbTableInfo), "table", "test"));
        table->columns =
            has_columns
                ? static_cast<DbColumnInfo *>(Zmalloc(3 * sizeof(DbColumnInfo), "columns", "test"))
                : nullptr;
        Z4FreeTable(table);
    }
}

}  // namespace
