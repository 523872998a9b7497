// SPDX-License-Identifier: MIT
//
// A dictionary as text, for tests that compare whole results: a line for the
// file, its conversion settings and its counts, then one for each key, condition
// and field slot.  What is empty or as usual is left out, so that a line shows
// what is special about its record.  The path of the dictionary is not shown.
#ifndef TESTS_SUPPORT_PRINT_XFD_H
#define TESTS_SUPPORT_PRINT_XFD_H

#include <string>

#include "host/strings.h"
#include "wbfsi/records.h"

namespace support {

inline std::string quoted(const char *text) {
    return text == nullptr ? "null" : '\'' + std::string(text) + '\'';
}

inline std::string number(int64_t value) {
    return std::to_string(value);
}

// file client CLIENT v8 type 12 records 40..52 trigger 'TRIG' multiple01 identity 2
inline std::string print_file(const Xfd &xfd) {
    std::string out = "file " + quoted(xfd.x_select_name) + ' ' + quoted(xfd.x_table_name) + " v" +
                      number(xfd.x_version) + " type " + number(xfd.x_file_type) + " records " +
                      number(xfd.x_min_rec_size) + ".." + number(xfd.x_max_rec_size);
    if (xfd.x_cobol_trigger != nullptr)
        out += " trigger " + quoted(xfd.x_cobol_trigger);
    if (xfd.x_flags != 0)
        out += " flags " + number(xfd.x_flags);
    if (xfd.x_identity_field != -1)
        out += " identity " + number(xfd.x_identity_field);
    return out + '\n';
}

// conversion compat 0 digits 40 signs 25 11 point . comma , encoding 0
inline std::string print_conversion(const XfdCvtInfo *cvt) {
    if (cvt == nullptr)
        return "no conversion\n";
    return "conversion compat " + number(cvt->cv_sign_compat) + " digits " +
           number(cvt->cv_digits_code) + " signs " + number(cvt->cv_sign_code1) + ' ' +
           number(cvt->cv_sign_code2) + " point " + cvt->cv_period + " comma " + cvt->cv_comma +
           " encoding " + number(cvt->cv_encoding) + '\n';
}

// key 0: 0+5 9+2 duplicates columns id=0 name=65535
inline std::string print_key(const Xfd &xfd, uint32_t index) {
    const XfdKey &key = xfd.x_key_desc[index];
    std::string out = "key " + number(index) + ':';
    for (uint32_t s = 0; s < key.k_seg_count; ++s)
        out += ' ' + number(key.k_seg_offset[s]) + '+' + number(key.k_seg_length[s]);
    if (key.k_duplicates != 0)
        out += " duplicates";
    if (key.k_db_index != 65535)
        out += " index " + number(key.k_db_index);
    out += " columns";
    for (uint32_t c = 0; c < key.k_n_fields; ++c)
        out += ' ' + std::string(key.k_field[c].kc_name) + '=' +
               number(static_cast<uint16_t>(key.k_field[c].kc_field_num));
    return out + '\n';
}

// condition 1: type 1 'kind' 'A' table 'T' operands -1 -1 field 0
inline std::string print_condition(const Xfd &xfd, uint32_t index) {
    const XfdCondition &condition = xfd.x_condition[index];
    std::string out = "condition " + number(index + 1) + ": type " + number(condition.c_type);
    if (condition.c_num1 != -1 || condition.c_num2 != -1)
        out += " operands " + number(condition.c_num1) + ' ' + number(condition.c_num2);
    if (condition.c_type != XFD_COND_AND && condition.c_type != XFD_COND_OR)
        out += ' ' + quoted(condition.c_variable) + ' ' + quoted(condition.c_value) + " field " +
               number(static_cast<uint16_t>(condition.c_field_num));
    if (condition.c_table[0] != '\0')
        out += " table " + quoted(condition.c_table);
    if (condition.c_flags != 0)
        out += " flags " + number(condition.c_flags);
    return out + '\n';
}

// K in key, S secondary table, H hidden, R read-only, I identity, A added
inline std::string print_flags(uint32_t flags) {
    std::string out;
    for (const char letter : {'K', 'S', 'H', 'R', 'I', 'A'}) {
        if ((flags & 1) != 0)
            out += letter;
        flags >>= 1;
    }
    return flags == 0 ? out : out + "+other";
}

// field 0: 'amt_1' at 4 size 3 type 9 digits 5 scale -2 level 5 occurs 3/1 2/2 flags KH
inline std::string print_field(const Xfd &xfd, uint32_t index) {
    const XfdField &field = xfd.x_fdesc[index];
    const XfdArgument &argument = field.fd_argument;
    std::string out = "field " + number(index) + ": " + quoted(field.fd_name) + " at " +
                      number(field.fd_offset) + " size " + number(argument.a_size) + " type " +
                      number(argument.a_type) + " digits " + number(argument.a_digits);
    if (argument.a_scale != 0)
        out += " scale " + number(argument.a_scale);
    if (field.fd_user_type != 0)
        out += " user " + number(field.fd_user_type);
    if (field.fd_cond_num != 0)
        out += " condition " + number(field.fd_cond_num);
    if (field.fd_level != 0)
        out += " level " + number(field.fd_level);
    if (field.fd_occurs_depth != 0)
        out += " occurs";
    for (uint32_t level = 0; level < field.fd_occurs_depth; ++level)
        out +=
            ' ' + number(field.fd_max_occurs[level]) + '/' + number(field.fd_occurs_index[level]);
    for (uint32_t level = field.fd_occurs_depth; level < XFD_MAX_OCCURS; ++level) {
        if (field.fd_max_occurs[level] != 0 || field.fd_occurs_index[level] != 0)
            out += " stray occurs " + number(level);
    }
    if (field.fd_flags != 0)
        out += " flags " + print_flags(field.fd_flags);
    if (field.fd_format[0] != '\0')
        out += " format " + quoted(field.fd_format);
    if (field.fd_subtable[0] != '\0')
        out += " subtable " + quoted(field.fd_subtable);
    if (field.fd_comment != nullptr)
        out += " comment " + quoted(ZStringGet(field.fd_comment));
    if (field.fd_null_value != nullptr)
        out += " null " + quoted(field.fd_null_value);
    if (field.fd_valid != 0)
        out += " valid " + number(field.fd_valid);
    if (field.fd_db_col_num != -1)
        out += " column " + number(field.fd_db_col_num);
    if (field.fd_hash_name == nullptr)
        out += " no hash name";
    else if (field.fd_hash_name != field.fd_name)
        out += " hash name " + quoted(field.fd_hash_name);
    return out + '\n';
}

inline std::string print_fields(const Xfd &xfd) {
    std::string out;
    for (uint32_t f = 0; f < xfd.x_n_fields_alloc; ++f)
        out += print_field(xfd, f);
    return out;
}

inline std::string print_keys(const Xfd &xfd) {
    std::string out;
    for (uint32_t k = 0; k < xfd.x_n_keys_alloc; ++k)
        out += print_key(xfd, k);
    return out;
}

inline std::string print_conditions(const Xfd &xfd) {
    std::string out;
    for (uint32_t c = 0; c < xfd.x_n_conditions_alloc; ++c)
        out += print_condition(xfd, c);
    return out;
}

// counts keys 1 conditions 0 fields 3 3 listed 3 3 slots 3
inline std::string print_counts(const Xfd &xfd) {
    return "counts keys " + number(xfd.x_n_keys) + " conditions " + number(xfd.x_n_conditions) +
           " fields " + number(xfd.x_n_fields) + ' ' + number(xfd.x_n_total_fields) + " listed " +
           number(xfd.x_n_fields_listed) + ' ' + number(xfd.x_n_total_fields_listed) + " slots " +
           number(xfd.x_n_fields_alloc) + '\n';
}

inline std::string print_xfd(const Xfd *xfd) {
    if (xfd == nullptr)
        return "null\n";
    return print_file(*xfd) + print_conversion(xfd->x_cvt_info) + print_counts(*xfd) +
           print_keys(*xfd) + print_conditions(*xfd) + print_fields(*xfd);
}

}  // namespace support

#endif
