// SPDX-License-Identifier: MIT
//
// An Xfd in a compact canonical form, so that tests compare whole results as
// text.  Addresses are left out; what points where is tested by itself.
#ifndef TESTS_FSI_XFD_TEXT_H
#define TESTS_FSI_XFD_TEXT_H

#include <sstream>
#include <string>

#include "wbfsi/records.h"

namespace xfd_text {

inline std::string quoted(const char *text) {
    if (text == nullptr)
        return "-";
    std::string result("'");
    result.append(text);
    return result.append("'");
}

template <typename T>
std::string joined(const T *values, size_t count) {
    std::ostringstream out;
    for (size_t i = 0; i < count; ++i)
        out << (i == 0 ? "" : ",") << values[i];
    return out.str();
}

inline std::string key(const XfdKey &key) {
    std::ostringstream out;
    out << "key segments " << key.k_seg_count << " duplicates " << unsigned{key.k_duplicates}
        << " lengths " << joined(key.k_seg_length, XFD_MAX_SEGMENTS) << " offsets "
        << joined(key.k_seg_offset, XFD_MAX_SEGMENTS) << " index " << key.k_db_index << " columns";
    for (uint32_t i = 0; i < key.k_n_fields; ++i)
        out << " " << key.k_field[i].kc_field_num << ":" << quoted(key.k_field[i].kc_name);
    out << "\n";
    return out.str();
}

inline std::string field(const XfdField &field) {
    const XfdArgument &argument = field.fd_argument;
    std::ostringstream out;
    out << "field " << quoted(field.fd_name) << " at " << field.fd_offset << " argument "
        << argument.a_address << "," << argument.a_size << "," << argument.a_type << ","
        << unsigned{argument.a_digits} << "," << int{argument.a_scale} << "," << argument.a_extra
        << " user " << field.fd_user_type << " condition " << field.fd_cond_num << " level "
        << field.fd_level << " occurs " << unsigned{field.fd_occurs_depth} << " "
        << joined(field.fd_max_occurs, XFD_MAX_OCCURS) << " "
        << joined(field.fd_occurs_index, XFD_MAX_OCCURS) << " flags " << field.fd_flags
        << " format " << quoted(field.fd_format) << " valid " << unsigned{field.fd_valid}
        << " comment "
        << quoted(field.fd_comment == nullptr ? nullptr : ZStringGet(field.fd_comment))
        << " column " << field.fd_db_col_num << " subtable " << quoted(field.fd_subtable)
        << " null " << quoted(field.fd_null_value) << "\n";
    return out.str();
}

inline std::string condition(const XfdCondition &condition) {
    std::ostringstream out;
    out << "condition " << condition.c_type << " " << quoted(condition.c_variable) << " "
        << quoted(condition.c_value) << " " << quoted(condition.c_table) << " " << condition.c_num1
        << "," << condition.c_num2 << " field " << condition.c_field_num << " flags "
        << condition.c_flags << "\n";
    return out.str();
}

// Identity and all allocated slots.
inline std::string all(const Xfd &xfd) {
    const XfdCvtInfo &cvt = *xfd.x_cvt_info;
    std::ostringstream out;
    out << "xfd " << xfd.x_version << " " << quoted(xfd.x_select_name) << " "
        << quoted(xfd.x_table_name) << " file " << quoted(xfd.x_filename) << " trigger "
        << quoted(xfd.x_cobol_trigger) << " type " << xfd.x_file_type << " sizes "
        << xfd.x_max_rec_size << "," << xfd.x_min_rec_size << " convert " << cvt.cv_sign_compat
        << "," << cvt.cv_digits_code << "," << unsigned{cvt.cv_sign_code1} << ","
        << unsigned{cvt.cv_sign_code2} << "," << cvt.cv_period << "," << cvt.cv_comma << ","
        << cvt.cv_encoding << " keys " << xfd.x_n_keys << "/" << xfd.x_n_keys_alloc
        << " conditions " << xfd.x_n_conditions << "/" << xfd.x_n_conditions_alloc << " fields "
        << xfd.x_n_fields << "," << xfd.x_n_total_fields << "," << xfd.x_n_fields_listed << ","
        << xfd.x_n_total_fields_listed << "/" << xfd.x_n_fields_alloc << " identity "
        << xfd.x_identity_field << " flags " << xfd.x_flags << "\n";
    for (uint32_t i = 0; i < xfd.x_n_keys_alloc; ++i)
        out << key(xfd.x_key_desc[i]);
    for (uint32_t i = 0; i < xfd.x_n_conditions_alloc; ++i)
        out << condition(xfd.x_condition[i]);
    for (uint32_t i = 0; i < xfd.x_n_fields_alloc; ++i)
        out << field(xfd.x_fdesc[i]);
    return out.str();
}

}  // namespace xfd_text

#endif
