// SPDX-License-Identifier: MIT
//
// Release of an Xfd and of what its arrays own.  Field records may share a
// comment or a null value (the copies of an OCCURS group do), so blocks are
// collected and released once each.
#include <algorithm>
#include <cstring>

#include "fsi/4gl/kst4gl/load.h"
#include "fsi/4gl/kst4gl/model.h"
#include "host/memory.h"
#include "wbfsi/build.h"
#include "wbfsi/table.h"

namespace fsi {
namespace {

// The blocks that one field slot owns.  A list of them is laid over the field
// array itself, from its start: entry i never reaches past slot i, which has
// been read by then.
struct FieldBlocks {
    ZString comment;
    char *null_value;
};
static_assert(sizeof(FieldBlocks) <= sizeof(XfdField));
static_assert(alignof(FieldBlocks) <= alignof(XfdField));

// Calls `free_block` once for each different member of the list.
template <typename T, typename Free>
void release_distinct(FieldBlocks *blocks, size_t count, T FieldBlocks::*member, Free free_block) {
    std::sort(blocks, blocks + count, [member](const FieldBlocks &a, const FieldBlocks &b) {
        return reinterpret_cast<uintptr_t>(a.*member) < reinterpret_cast<uintptr_t>(b.*member);
    });
    T last = nullptr;
    for (size_t i = 0; i < count; ++i) {
        if (blocks[i].*member != last)
            free_block(last = blocks[i].*member);
    }
}

}  // namespace

void release_keys(Xfd *xfd) {
    if (xfd->x_key_desc != nullptr) {
        for (uint32_t i = 0; i < xfd->x_n_keys_alloc; ++i)
            Zfree(xfd->x_key_desc[i].k_field);
        Zfree(xfd->x_key_desc);
    }
    xfd->x_key_desc = nullptr;
    xfd->x_n_keys = 0;
    xfd->x_n_keys_alloc = 0;
}

void release_conditions(Xfd *xfd) {
    Zfree(xfd->x_condition);
    xfd->x_condition = nullptr;
    xfd->x_n_conditions = 0;
    xfd->x_n_conditions_alloc = 0;
}

void release_fields(Xfd *xfd) {
    if (xfd->x_fdesc != nullptr) {
        // The array is going away: its memory is free to hold the list.
        auto *blocks = reinterpret_cast<FieldBlocks *>(xfd->x_fdesc);
        size_t count = 0;
        for (uint32_t i = 0; i < xfd->x_n_fields_alloc; ++i) {
            const FieldBlocks owned = {xfd->x_fdesc[i].fd_comment, xfd->x_fdesc[i].fd_null_value};
            if (owned.comment != nullptr || owned.null_value != nullptr)
                std::memcpy(&blocks[count++], &owned, sizeof owned);
        }
        release_distinct(blocks, count, &FieldBlocks::comment, ZSTRINGDelete);
        release_distinct(blocks, count, &FieldBlocks::null_value, Zfree);
        Zfree(xfd->x_fdesc);
    }
    xfd->x_fdesc = nullptr;
    xfd->x_n_fields = 0;
    xfd->x_n_fields_alloc = 0;
    xfd->x_n_total_fields = 0;
    xfd->x_n_fields_listed = 0;
    xfd->x_n_total_fields_listed = 0;
    xfd->x_identity_field = -1;
}

void release_field_blocks(Xfd *xfd, uint32_t slot) {
    XfdField *fields = xfd->x_fdesc;
    XfdField &field = fields[slot];
    if (field.fd_comment == nullptr && field.fd_null_value == nullptr)
        return;

    bool comment_is_shared = false;
    bool null_value_is_shared = false;
    for (uint32_t i = 0; i < xfd->x_n_fields_alloc; ++i) {
        if (i == slot)
            continue;
        comment_is_shared |= fields[i].fd_comment == field.fd_comment;
        null_value_is_shared |= fields[i].fd_null_value == field.fd_null_value;
    }
    if (!comment_is_shared)
        ZSTRINGDelete(field.fd_comment);
    if (!null_value_is_shared)
        Zfree(field.fd_null_value);
    field.fd_comment = nullptr;
    field.fd_null_value = nullptr;
}

}  // namespace fsi

void Z4XFDFree(Xfd *xfd) {
    if (xfd == nullptr)
        return;
    Zfree(xfd->x_cvt_info);
    fsi::release_keys(xfd);
    fsi::release_pending_comment();
    fsi::release_conditions(xfd);
    fsi::release_fields(xfd);
    Zfree(xfd->x_filename);
    Zfree(xfd->x_cobol_trigger);
    Zfree(xfd);
}

void Z4FreeTable(DbTableInfo *table) {
    if (table == nullptr)
        return;
    Zfree(table->columns);
    Zfree(table);
}
