// SPDX-License-Identifier: MIT
//
// The dump follows the lines of the text form, so that it can be read beside the
// file it came from.
#include "fsi/4gl/kst4gl/compare.h"

#include "host/messages.h"

namespace fsi {
namespace {

int bit(const XfdField &field, uint32_t mask) {
    return (field.fd_flags & mask) != 0;
}

void dump_key(const XfdKey &key) {
    eprintf("%d, %d", key.k_seg_count, key.k_duplicates);
    for (uint32_t s = 0; s < key.k_seg_count && s < XFD_MAX_SEGMENTS; ++s)
        eprintf(", %d, %u", key.k_seg_length[s], key.k_seg_offset[s]);
    eprintf("\n%d\n", key.k_n_fields);
    for (uint32_t c = 0; c < key.k_n_fields; ++c)
        eprintf("%d, '%s'\n", key.k_field[c].kc_field_num, key.k_field[c].kc_name);
}

void dump_condition(const XfdCondition &condition) {
    eprintf("%d, '%s', '%s', '%s', %d, %d, %d\n", condition.c_type, condition.c_variable,
            condition.c_value, condition.c_table, condition.c_num1, condition.c_num2,
            condition.c_field_num);
}

void dump_field(const XfdField &field) {
    eprintf("%u, %d, %d, %d, %d, %d, %d, %d, %d, '%s', '%s'\n", field.fd_offset, field.fd_user_type,
            field.fd_cond_num, field.fd_level, field.fd_occurs_depth, bit(field, XFD_FIELD_IN_KEY),
            bit(field, XFD_FIELD_IN_SECONDARY_TABLE), bit(field, XFD_FIELD_HIDDEN),
            bit(field, XFD_FIELD_READ_ONLY), field.fd_name, field.fd_format);
}

}  // namespace

void dump_xfd(const Xfd *xfd) {
    eprintf("%p: %d, '%s', '%s', '%s'\n", static_cast<const void *>(xfd), xfd->x_version,
            xfd->x_select_name, xfd->x_table_name,
            xfd->x_cobol_trigger != nullptr ? xfd->x_cobol_trigger : "");
    eprintf("%u, %u, %d\n", xfd->x_max_rec_size, xfd->x_min_rec_size, xfd->x_n_keys);
    for (uint32_t k = 0; k < xfd->x_n_keys && k < xfd->x_n_keys_alloc; ++k)
        dump_key(xfd->x_key_desc[k]);
    eprintf("%d\n", xfd->x_n_conditions);
    for (uint32_t c = 0; c < xfd->x_n_conditions && c < xfd->x_n_conditions_alloc; ++c)
        dump_condition(xfd->x_condition[c]);
    eprintf("%u, %u, %u, %u, %d\n", xfd->x_n_fields, xfd->x_n_total_fields, xfd->x_n_fields_listed,
            xfd->x_n_total_fields_listed, xfd->x_file_type);
    for (uint32_t f = 0; f < xfd->x_n_fields_alloc; ++f)
        dump_field(xfd->x_fdesc[f]);
}

}  // namespace fsi
