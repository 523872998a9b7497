// SPDX-License-Identifier: MIT
//
// The layout of the records that callers reach into, checked while compiling.
// On i386 every size and offset is part of the interface.  Elsewhere pointers
// are wider: the order of the members is checked there, and the records without
// pointers are the same everywhere.  Generates no code.
#include <cstddef>
#include <type_traits>

#include "wbfsi/records.h"
#include "wbfsi/table.h"

namespace {

#if defined(__i386__)
#define WBFSI_OFFSET(record, member, offset) static_assert(offsetof(record, member) == (offset))
#define WBFSI_SIZE(record, size) static_assert(sizeof(record) == (size))
#else
// `offset` is a lower bound: what stands in front can only be wider.
#define WBFSI_OFFSET(record, member, offset) static_assert(offsetof(record, member) >= (offset))
#define WBFSI_SIZE(record, size) static_assert(sizeof(record) >= (size))
#endif
#define WBFSI_SAME_OFFSET(record, member, offset) \
    static_assert(offsetof(record, member) == (offset))
#define WBFSI_SAME_SIZE(record, size) static_assert(sizeof(record) == (size))
#define WBFSI_ORDER(record, first, second) \
    static_assert(offsetof(record, first) < offsetof(record, second))

static_assert(std::is_standard_layout_v<Xfd> && std::is_trivially_copyable_v<Xfd>);
static_assert(std::is_standard_layout_v<XfdField> && std::is_trivially_copyable_v<XfdField>);
static_assert(std::is_standard_layout_v<XfdKey> && std::is_trivially_copyable_v<XfdKey>);

WBFSI_SIZE(XfdArgument, 16);
WBFSI_OFFSET(XfdArgument, a_address, 0);
WBFSI_OFFSET(XfdArgument, a_size, 4);
WBFSI_OFFSET(XfdArgument, a_type, 8);
WBFSI_OFFSET(XfdArgument, a_digits, 10);
WBFSI_OFFSET(XfdArgument, a_scale, 11);
WBFSI_OFFSET(XfdArgument, a_extra, 12);
WBFSI_ORDER(XfdArgument, a_address, a_size);
WBFSI_ORDER(XfdArgument, a_size, a_type);
WBFSI_ORDER(XfdArgument, a_type, a_digits);
WBFSI_ORDER(XfdArgument, a_digits, a_scale);
WBFSI_ORDER(XfdArgument, a_scale, a_extra);

WBFSI_SAME_SIZE(XfdCvtInfo, 12);
WBFSI_SAME_OFFSET(XfdCvtInfo, cv_sign_compat, 0);
WBFSI_SAME_OFFSET(XfdCvtInfo, cv_digits_code, 2);
WBFSI_SAME_OFFSET(XfdCvtInfo, cv_sign_code1, 4);
WBFSI_SAME_OFFSET(XfdCvtInfo, cv_sign_code2, 5);
WBFSI_SAME_OFFSET(XfdCvtInfo, cv_period, 6);
WBFSI_SAME_OFFSET(XfdCvtInfo, cv_comma, 7);
WBFSI_SAME_OFFSET(XfdCvtInfo, cv_encoding, 8);

WBFSI_SAME_SIZE(XfdKeyColumn, 34);
WBFSI_SAME_OFFSET(XfdKeyColumn, kc_field_num, 0);
WBFSI_SAME_OFFSET(XfdKeyColumn, kc_name, 2);

WBFSI_SIZE(XfdKey, 112);
WBFSI_OFFSET(XfdKey, k_seg_count, 0);
WBFSI_OFFSET(XfdKey, k_duplicates, 2);
WBFSI_OFFSET(XfdKey, k_seg_length, 4);
WBFSI_OFFSET(XfdKey, k_seg_offset, 36);
WBFSI_OFFSET(XfdKey, k_db_index, 100);
WBFSI_OFFSET(XfdKey, k_n_fields, 102);
WBFSI_OFFSET(XfdKey, k_n_fields_alloc, 104);
WBFSI_OFFSET(XfdKey, k_field, 108);
WBFSI_ORDER(XfdKey, k_seg_count, k_duplicates);
WBFSI_ORDER(XfdKey, k_duplicates, k_seg_length);
WBFSI_ORDER(XfdKey, k_seg_length, k_seg_offset);
WBFSI_ORDER(XfdKey, k_seg_offset, k_db_index);
WBFSI_ORDER(XfdKey, k_db_index, k_n_fields);
WBFSI_ORDER(XfdKey, k_n_fields, k_n_fields_alloc);
WBFSI_ORDER(XfdKey, k_n_fields_alloc, k_field);

WBFSI_SIZE(XfdField, 308);
WBFSI_OFFSET(XfdField, fd_offset, 0);
WBFSI_OFFSET(XfdField, fd_argument, 4);
WBFSI_OFFSET(XfdField, fd_user_type, 20);
WBFSI_OFFSET(XfdField, fd_cond_num, 22);
WBFSI_OFFSET(XfdField, fd_level, 24);
WBFSI_OFFSET(XfdField, fd_max_occurs, 26);
WBFSI_OFFSET(XfdField, fd_occurs_index, 58);
WBFSI_OFFSET(XfdField, fd_occurs_depth, 90);
WBFSI_OFFSET(XfdField, fd_flags, 92);
WBFSI_OFFSET(XfdField, fd_name, 96);
WBFSI_OFFSET(XfdField, fd_format, 127);
WBFSI_OFFSET(XfdField, fd_valid, 158);
WBFSI_OFFSET(XfdField, fd_comment, 160);
WBFSI_OFFSET(XfdField, fd_db_col_num, 164);
WBFSI_OFFSET(XfdField, fd_hash_name, 168);
WBFSI_OFFSET(XfdField, fd_subtable, 172);
WBFSI_OFFSET(XfdField, fd_null_value, 304);
WBFSI_ORDER(XfdField, fd_offset, fd_argument);
WBFSI_ORDER(XfdField, fd_argument, fd_user_type);
WBFSI_ORDER(XfdField, fd_user_type, fd_cond_num);
WBFSI_ORDER(XfdField, fd_cond_num, fd_level);
WBFSI_ORDER(XfdField, fd_level, fd_max_occurs);
WBFSI_ORDER(XfdField, fd_max_occurs, fd_occurs_index);
WBFSI_ORDER(XfdField, fd_occurs_index, fd_occurs_depth);
WBFSI_ORDER(XfdField, fd_occurs_depth, fd_flags);
WBFSI_ORDER(XfdField, fd_flags, fd_name);
WBFSI_ORDER(XfdField, fd_name, fd_format);
WBFSI_ORDER(XfdField, fd_format, fd_valid);
WBFSI_ORDER(XfdField, fd_valid, fd_comment);
WBFSI_ORDER(XfdField, fd_comment, fd_db_col_num);
WBFSI_ORDER(XfdField, fd_db_col_num, fd_hash_name);
WBFSI_ORDER(XfdField, fd_hash_name, fd_subtable);
WBFSI_ORDER(XfdField, fd_subtable, fd_null_value);

WBFSI_SAME_SIZE(XfdOccurs, 140);
WBFSI_SAME_OFFSET(XfdOccurs, oc_times, 0);
WBFSI_SAME_OFFSET(XfdOccurs, oc_size, 2);
WBFSI_SAME_OFFSET(XfdOccurs, oc_start_field, 4);
WBFSI_SAME_OFFSET(XfdOccurs, oc_subtable, 8);

WBFSI_SAME_SIZE(XfdCondition, 224);
WBFSI_SAME_OFFSET(XfdCondition, c_type, 0);
WBFSI_SAME_OFFSET(XfdCondition, c_variable, 2);
WBFSI_SAME_OFFSET(XfdCondition, c_value, 33);
WBFSI_SAME_OFFSET(XfdCondition, c_table, 84);
WBFSI_SAME_OFFSET(XfdCondition, c_num1, 214);
WBFSI_SAME_OFFSET(XfdCondition, c_num2, 216);
WBFSI_SAME_OFFSET(XfdCondition, c_field_num, 218);
WBFSI_SAME_OFFSET(XfdCondition, c_flags, 220);

WBFSI_SIZE(Xfd, 240);
WBFSI_OFFSET(Xfd, x_version, 0);
WBFSI_OFFSET(Xfd, x_select_name, 2);
WBFSI_OFFSET(Xfd, x_table_name, 33);
WBFSI_OFFSET(Xfd, x_filename, 164);
WBFSI_OFFSET(Xfd, x_cobol_trigger, 168);
WBFSI_OFFSET(Xfd, x_max_rec_size, 172);
WBFSI_OFFSET(Xfd, x_min_rec_size, 176);
WBFSI_OFFSET(Xfd, x_n_keys_alloc, 180);
WBFSI_OFFSET(Xfd, x_n_keys, 182);
WBFSI_OFFSET(Xfd, x_cvt_info, 184);
WBFSI_OFFSET(Xfd, x_key_desc, 188);
WBFSI_OFFSET(Xfd, x_n_conditions, 192);
WBFSI_OFFSET(Xfd, x_n_conditions_alloc, 194);
WBFSI_OFFSET(Xfd, x_condition, 196);
WBFSI_OFFSET(Xfd, x_n_fields, 200);
WBFSI_OFFSET(Xfd, x_n_total_fields, 204);
WBFSI_OFFSET(Xfd, x_n_fields_alloc, 208);
WBFSI_OFFSET(Xfd, x_fdesc, 212);
WBFSI_OFFSET(Xfd, x_file_type, 216);
WBFSI_OFFSET(Xfd, x_n_fields_listed, 220);
WBFSI_OFFSET(Xfd, x_n_total_fields_listed, 224);
WBFSI_OFFSET(Xfd, x_identity_field, 228);
WBFSI_OFFSET(Xfd, x_flags, 232);
WBFSI_OFFSET(Xfd, x_temp_file, 236);
WBFSI_ORDER(Xfd, x_version, x_select_name);
WBFSI_ORDER(Xfd, x_select_name, x_table_name);
WBFSI_ORDER(Xfd, x_table_name, x_filename);
WBFSI_ORDER(Xfd, x_filename, x_cobol_trigger);
WBFSI_ORDER(Xfd, x_cobol_trigger, x_max_rec_size);
WBFSI_ORDER(Xfd, x_max_rec_size, x_min_rec_size);
WBFSI_ORDER(Xfd, x_min_rec_size, x_n_keys_alloc);
WBFSI_ORDER(Xfd, x_n_keys_alloc, x_n_keys);
WBFSI_ORDER(Xfd, x_n_keys, x_cvt_info);
WBFSI_ORDER(Xfd, x_cvt_info, x_key_desc);
WBFSI_ORDER(Xfd, x_key_desc, x_n_conditions);
WBFSI_ORDER(Xfd, x_n_conditions, x_n_conditions_alloc);
WBFSI_ORDER(Xfd, x_n_conditions_alloc, x_condition);
WBFSI_ORDER(Xfd, x_condition, x_n_fields);
WBFSI_ORDER(Xfd, x_n_fields, x_n_total_fields);
WBFSI_ORDER(Xfd, x_n_total_fields, x_n_fields_alloc);
WBFSI_ORDER(Xfd, x_n_fields_alloc, x_fdesc);
WBFSI_ORDER(Xfd, x_fdesc, x_file_type);
WBFSI_ORDER(Xfd, x_file_type, x_n_fields_listed);
WBFSI_ORDER(Xfd, x_n_fields_listed, x_n_total_fields_listed);
WBFSI_ORDER(Xfd, x_n_total_fields_listed, x_identity_field);
WBFSI_ORDER(Xfd, x_identity_field, x_flags);
WBFSI_ORDER(Xfd, x_flags, x_temp_file);

WBFSI_SAME_SIZE(DbColumnInfo, 140);
WBFSI_SAME_OFFSET(DbColumnInfo, db_name, 0);
WBFSI_SAME_OFFSET(DbColumnInfo, match_name, 31);
WBFSI_SAME_OFFSET(DbColumnInfo, field_num, 68);
WBFSI_SAME_OFFSET(DbColumnInfo, reserved, 72);
WBFSI_SAME_OFFSET(DbColumnInfo, table_num, 130);
WBFSI_SAME_OFFSET(DbColumnInfo, flags, 132);
WBFSI_SAME_OFFSET(DbColumnInfo, reserved_behind, 136);

WBFSI_SIZE(DbTableInfo, 600);
WBFSI_OFFSET(DbTableInfo, reserved, 0);
WBFSI_OFFSET(DbTableInfo, table_count, 516);
WBFSI_OFFSET(DbTableInfo, extra_columns, 520);
WBFSI_OFFSET(DbTableInfo, column_count, 524);
WBFSI_OFFSET(DbTableInfo, name_compare_length, 528);
WBFSI_OFFSET(DbTableInfo, columns, 532);
WBFSI_OFFSET(DbTableInfo, index_columns, 536);
WBFSI_ORDER(DbTableInfo, reserved, table_count);
WBFSI_ORDER(DbTableInfo, table_count, extra_columns);
WBFSI_ORDER(DbTableInfo, extra_columns, column_count);
WBFSI_ORDER(DbTableInfo, column_count, name_compare_length);
WBFSI_ORDER(DbTableInfo, name_compare_length, columns);
WBFSI_ORDER(DbTableInfo, columns, index_columns);

}  // namespace
