// SPDX-License-Identifier: MIT
//
// Construction of an Xfd by program: allocation, the four appends, the copy.
// An append makes room in its array first; what its arguments name may lie in the
// very array that then moves, so it is copied before or followed.  The slot is
// written when all it will own is there: what fails behind the growth leaves
// nothing but a spare slot.
#include "fsi/4gl/kst4gl/model.h"

#include <cstring>

#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "host/memory.h"
#include "wbfsi/build.h"

namespace fsi {
namespace {

constexpr size_t kSelectNameLength = 30;
constexpr size_t kTableNameLength = 128;
constexpr size_t kNameLength = 30;
constexpr size_t kValueLength = 50;

// Bit (type - 4) of each file organisation that a description can have.
constexpr uint16_t kFileTypeMask = 0x113;
static_assert(kFileTypeMask == (1U << (XFD_SEQUENTIAL - 4) | 1U << (XFD_LINE_SEQUENTIAL - 4) |
                                1U << (XFD_RELATIVE - 4) | 1U << (XFD_INDEXED - 4)));

bool is_file_type(uint16_t file_type) {
    const auto bit = static_cast<uint16_t>(file_type - XFD_SEQUENTIAL);
    return bit <= 8 && (kFileTypeMask >> bit & 1) != 0;
}

// The array, grown to `in_use` + 1 slots when it has fewer; new slots are
// cleared and `allocated` follows.  Null when memory is refused: the old array
// is then untouched and still the caller's.
template <typename T, typename Count>
T *with_room_for_one(T *array, uint32_t in_use, Count &allocated, const char *tag) {
    const uint32_t present = array == nullptr ? 0 : allocated;
    if (in_use < present)
        return array;
    const size_t wanted = size_t{in_use} + 1;
    auto *grown = static_cast<T *>(Zrealloc(array, wanted * sizeof(T), tag, kSource));
    if (grown == nullptr)
        return nullptr;
    std::memset(static_cast<void *>(grown + present), 0, (wanted - present) * sizeof(T));
    allocated = static_cast<Count>(wanted);
    return grown;
}

// True when slot x_n_keys exists.  False at the ceiling, and when memory is
// refused: then there are no keys any more.
bool make_key_slot(Xfd *xfd) {
    if (xfd->x_n_keys >= kMaxKeys)
        return false;
    XfdKey *keys = with_room_for_one(xfd->x_key_desc, xfd->x_n_keys, xfd->x_n_keys_alloc,
                                     "User-allocated XFD keys");
    if (keys == nullptr) {
        release_keys(xfd);
        return false;
    }
    xfd->x_key_desc = keys;
    return true;
}

// Where the byte at `address` is after `size` bytes moved from `old_base` to
// `new_base`; the same address when it was none of them.
uintptr_t followed(uintptr_t address, uintptr_t old_base, size_t size, const void *new_base) {
    const uintptr_t distance = address - old_base;
    return distance < size ? reinterpret_cast<uintptr_t>(new_base) + distance : address;
}

// True when slot x_n_fields exists.  False when memory is refused: then there are
// no fields any more.  The texts, which may be null, follow the array.
bool make_field_slot(Xfd *xfd, const char **comment, const char **null_value) {
    const auto old_base = reinterpret_cast<uintptr_t>(xfd->x_fdesc);
    const uint32_t old_slots = xfd->x_fdesc == nullptr ? 0 : xfd->x_n_fields_alloc;
    XfdField *fields = with_room_for_one(xfd->x_fdesc, xfd->x_n_fields, xfd->x_n_fields_alloc,
                                         "User-allocated XFD field");
    if (fields == nullptr) {
        release_fields(xfd);
        return false;
    }
    xfd->x_fdesc = fields;
    rebase_hash_names(xfd, old_base, old_slots);
    for (const char **text : {comment, null_value})
        *text = reinterpret_cast<const char *>(followed(
            reinterpret_cast<uintptr_t>(*text), old_base, old_slots * sizeof(XfdField), fields));
    return true;
}

OwnedString new_comment(const char *text) {
    const size_t length = std::strlen(text);
    OwnedString comment(ZSTRINGNew(length + 1, "User-allocated XFD field comments", kSource));
    if (comment && ZSTRINGAppendN(comment.get(), text, length) == 0)
        comment.reset();
    return comment;
}

bool presize(Xfd *xfd, uint32_t n_fields, uint32_t n_keys, uint32_t n_conditions) {
    if (n_fields > 0) {
        xfd->x_fdesc = allocate_cleared<XfdField>(n_fields, "User-allocated XFD fields", kSource);
        if (xfd->x_fdesc == nullptr)
            return false;
        xfd->x_n_fields_alloc = n_fields;
    }
    if (n_keys > 0) {
        xfd->x_key_desc = allocate_cleared<XfdKey>(n_keys, "User-allocated XFD keys", kSource);
        if (xfd->x_key_desc == nullptr)
            return false;
        xfd->x_n_keys_alloc = static_cast<uint16_t>(n_keys);
    }
    if (n_conditions > 0) {
        xfd->x_condition =
            allocate_cleared<XfdCondition>(n_conditions, "User-allocated XFD conditions", kSource);
        if (xfd->x_condition == nullptr)
            return false;
        xfd->x_n_conditions_alloc = static_cast<uint16_t>(n_conditions);
    }
    return true;
}

bool copy_keys(Xfd *copy, const Xfd *xfd) {
    const uint32_t slots = xfd->x_key_desc == nullptr ? 0 : xfd->x_n_keys_alloc;
    for (uint32_t i = 0; i < slots; ++i) {
        const XfdKey &key = xfd->x_key_desc[i];
        const uint16_t columns = key.k_field == nullptr ? uint16_t{0} : key.k_n_fields;
        if (Z4AddXFDKey(copy, key.k_seg_count, key.k_duplicates != 0, key.k_seg_length,
                        key.k_seg_offset, columns) < 0)
            return false;
        for (uint32_t j = 0; j < columns; ++j) {
            const XfdKeyColumn &column = key.k_field[j];
            if (Z4AddXFDKeyColumn(copy, static_cast<uint16_t>(i), column.kc_field_num,
                                  column.kc_name) < 0)
                return false;
        }
    }
    return true;
}

bool copy_fields(Xfd *copy, const Xfd *xfd) {
    const uint32_t slots = xfd->x_fdesc == nullptr ? 0 : xfd->x_n_fields_alloc;
    for (uint32_t i = 0; i < slots; ++i) {
        const XfdField &field = xfd->x_fdesc[i];
        const auto flag = [&field](uint32_t bit) {
            return static_cast<uint8_t>((field.fd_flags & bit) != 0);
        };
        const char *comment = field.fd_comment == nullptr ? nullptr : ZStringGet(field.fd_comment);
        if (Z4AddXFDField(copy, field.fd_offset, &field.fd_argument, field.fd_user_type,
                          field.fd_cond_num, field.fd_level, field.fd_max_occurs,
                          field.fd_occurs_index, field.fd_occurs_depth, flag(XFD_FIELD_IN_KEY),
                          flag(XFD_FIELD_IN_SECONDARY_TABLE), flag(XFD_FIELD_HIDDEN),
                          flag(XFD_FIELD_READ_ONLY), flag(XFD_FIELD_IDENTITY), field.fd_name,
                          field.fd_format, comment, field.fd_subtable, field.fd_null_value) < 0)
            return false;
    }
    return true;
}

bool copy_conditions(Xfd *copy, const Xfd *xfd) {
    const uint32_t slots = xfd->x_condition == nullptr ? 0 : xfd->x_n_conditions_alloc;
    for (uint32_t i = 0; i < slots; ++i) {
        const XfdCondition &condition = xfd->x_condition[i];
        if (Z4XFDAddCondition(copy, condition.c_type, condition.c_variable, condition.c_value,
                              condition.c_table, condition.c_num1, condition.c_num2,
                              condition.c_field_num) < 0)
            return false;
    }
    return true;
}

}  // namespace

void rebase_hash_names(Xfd *xfd, uintptr_t old_base, uint32_t old_slots) {
    if (reinterpret_cast<uintptr_t>(xfd->x_fdesc) == old_base)
        return;
    const size_t old_size = old_slots * sizeof(XfdField);
    for (uint32_t i = 0; i < old_slots; ++i) {
        char *&name = xfd->x_fdesc[i].fd_hash_name;
        name = reinterpret_cast<char *>(
            followed(reinterpret_cast<uintptr_t>(name), old_base, old_size, xfd->x_fdesc));
    }
}

}  // namespace fsi

using fsi::copy_text;

Xfd *Z4AllocXFD(const char *select_name, const char *table_name, const char *cobol_trigger,
                uint32_t max_rec_size, uint32_t min_rec_size, const XfdCvtInfo *cvt_info,
                uint16_t file_type, uint32_t n_fields, uint32_t n_keys, uint32_t n_conditions) {
    if (select_name == nullptr || table_name == nullptr || cvt_info == nullptr ||
        n_fields > fsi::kMaxFieldSlots || n_keys > fsi::kMaxKeys ||
        n_conditions > fsi::kMaxConditions)
        return nullptr;

    fsi::OwnedXfd xfd(fsi::allocate_cleared<Xfd>(1, "User-allocated XFD", fsi::kSource));
    if (!xfd)
        return nullptr;
    copy_text(xfd->x_select_name, select_name, fsi::kSelectNameLength);
    copy_text(xfd->x_table_name, table_name, fsi::kTableNameLength);
    if (cobol_trigger != nullptr) {
        xfd->x_cobol_trigger =
            ZSTRDUP(cobol_trigger, "User-allocated XFD COBOL trigger", fsi::kSource);
        if (xfd->x_cobol_trigger == nullptr)
            return nullptr;
    }
    xfd->x_identity_field = -1;
    xfd->x_max_rec_size = max_rec_size;
    xfd->x_min_rec_size = min_rec_size;

    xfd->x_cvt_info =
        fsi::allocate_cleared<XfdCvtInfo>(1, "User-allocated XFD cvt_info", fsi::kSource);
    if (xfd->x_cvt_info == nullptr)
        return nullptr;
    *xfd->x_cvt_info = *cvt_info;

    if (!fsi::is_file_type(file_type))
        return nullptr;
    xfd->x_file_type = file_type;
    if (!fsi::presize(xfd.get(), n_fields, n_keys, n_conditions))
        return nullptr;
    return xfd.release();
}

int Z4AddXFDKey(Xfd *xfd, uint16_t seg_count, uint8_t duplicates, const uint16_t *seg_lengths,
                const uint32_t *seg_offsets, uint16_t n_columns) {
    if (xfd == nullptr || seg_lengths == nullptr || seg_offsets == nullptr)
        return -1;

    XfdKey key = {};
    std::memcpy(key.k_seg_length, seg_lengths, sizeof key.k_seg_length);
    std::memcpy(key.k_seg_offset, seg_offsets, sizeof key.k_seg_offset);
    if (!fsi::make_key_slot(xfd))
        return -1;
    fsi::Block<XfdKeyColumn> columns;
    if (n_columns > 0) {
        columns.reset(fsi::allocate_cleared<XfdKeyColumn>(
            n_columns, "User-allocated XFD Key columns", fsi::kSource));
        if (!columns)
            return -1;
    }

    XfdKey &slot = xfd->x_key_desc[xfd->x_n_keys];
    slot.k_seg_count = seg_count;
    slot.k_duplicates = duplicates;
    std::memcpy(slot.k_seg_length, key.k_seg_length, sizeof slot.k_seg_length);
    std::memcpy(slot.k_seg_offset, key.k_seg_offset, sizeof slot.k_seg_offset);
    if (columns) {
        // Columns that were added before their key wait in this slot.
        Zfree(slot.k_field);
        slot.k_field = columns.release();
        slot.k_n_fields = 0;
        slot.k_n_fields_alloc = n_columns;
    }
    return ++xfd->x_n_keys;
}

int Z4AddXFDKeyColumn(Xfd *xfd, uint16_t key_index, int16_t field_num, const char *name) {
    if (xfd == nullptr || name == nullptr || key_index > xfd->x_n_keys)
        return -1;

    XfdKeyColumn column = {};
    column.kc_field_num = field_num;
    copy_text(column.kc_name, name, fsi::kNameLength);
    // One past the last key is a slot too: its columns wait for their key.
    if (key_index == xfd->x_n_keys && !fsi::make_key_slot(xfd))
        return -1;

    XfdKey &key = xfd->x_key_desc[key_index];
    if (key.k_n_fields >= fsi::kMaxKeyColumns)
        return -1;
    XfdKeyColumn *columns = fsi::with_room_for_one(
        key.k_field, key.k_n_fields, key.k_n_fields_alloc, "User-allocated XFD key field column");
    if (columns == nullptr) {
        Zfree(key.k_field);
        key.k_field = nullptr;
        key.k_n_fields = 0;
        key.k_n_fields_alloc = 0;
        return -1;
    }
    key.k_field = columns;
    columns[key.k_n_fields] = column;
    return ++key.k_n_fields;
}

int Z4AddXFDField(Xfd *xfd, uint32_t offset, const XfdArgument *argument, uint16_t user_type,
                  uint16_t cond_num, uint16_t level, const uint16_t *max_occurs,
                  const uint16_t *occurs_index, uint8_t occurs_depth, uint8_t in_key,
                  uint8_t in_secondary_table, uint8_t hidden, uint8_t read_only, uint8_t identity,
                  const char *name, const char *format, const char *comment, const char *subtable,
                  const char *null_value) {
    if (xfd == nullptr || argument == nullptr || max_occurs == nullptr || occurs_index == nullptr ||
        xfd->x_n_fields >= fsi::kMaxFieldSlots)
        return -1;

    // What the arguments do not decide stays as the slot held it.
    const uint32_t index = xfd->x_n_fields;
    XfdField field = {};
    if (xfd->x_fdesc != nullptr && index < xfd->x_n_fields_alloc)
        field = xfd->x_fdesc[index];
    field.fd_offset = offset;
    field.fd_argument = *argument;
    field.fd_user_type = user_type;
    field.fd_cond_num = cond_num;
    field.fd_level = level;
    std::memcpy(field.fd_max_occurs, max_occurs, sizeof field.fd_max_occurs);
    std::memcpy(field.fd_occurs_index, occurs_index, sizeof field.fd_occurs_index);
    field.fd_occurs_depth = occurs_depth;
    field.fd_flags &= ~fsi::kFieldArgumentFlags;
    const auto flag = [](uint8_t set, uint32_t bit) { return set != 0 ? bit : 0U; };
    field.fd_flags |= flag(in_key, XFD_FIELD_IN_KEY) | flag(hidden, XFD_FIELD_HIDDEN) |
                      flag(read_only, XFD_FIELD_READ_ONLY) | flag(identity, XFD_FIELD_IDENTITY);
    // An identity field lives in the main table, whatever the caller says.
    if (identity == 0)
        field.fd_flags |= flag(in_secondary_table, XFD_FIELD_IN_SECONDARY_TABLE);
    if (name != nullptr)
        copy_text(field.fd_name, name, fsi::kNameLength);
    if (format != nullptr)
        copy_text(field.fd_format, format, fsi::kNameLength);
    if (subtable != nullptr)
        copy_text(field.fd_subtable, subtable, fsi::kTableNameLength);

    if (!fsi::make_field_slot(xfd, &comment, &null_value))
        return -1;
    fsi::OwnedString own_comment;
    if (comment != nullptr) {
        own_comment = fsi::new_comment(comment);
        if (!own_comment)
            return -1;
    }
    fsi::Block<char> own_null_value;
    if (null_value != nullptr) {
        own_null_value.reset(
            ZSTRDUP(null_value, "User-allocated XFD field null value", fsi::kSource));
        if (!own_null_value)
            return -1;
    }
    XfdField &slot = xfd->x_fdesc[index];
    fsi::release_field_blocks(xfd, index);
    slot = field;
    slot.fd_comment = own_comment.release();
    slot.fd_null_value = own_null_value.release();
    if (name != nullptr)
        slot.fd_hash_name = slot.fd_name;
    if (identity != 0)
        xfd->x_identity_field = static_cast<int32_t>(index);

    ++xfd->x_n_total_fields_listed;
    if (cond_num != XFD_LISTED_ONLY)
        ++xfd->x_n_total_fields;
    return static_cast<int>(++xfd->x_n_fields);
}

int Z4XFDAddCondition(Xfd *xfd, int16_t type, const char *variable, const char *value,
                      const char *table, int16_t num1, int16_t num2, int16_t field_num) {
    if (xfd == nullptr || variable == nullptr || value == nullptr || table == nullptr ||
        xfd->x_n_conditions >= fsi::kMaxConditions)
        return -1;

    XfdCondition condition = {};
    condition.c_type = type;
    copy_text(condition.c_variable, variable, fsi::kNameLength);
    copy_text(condition.c_value, value, fsi::kValueLength);
    copy_text(condition.c_table, table, fsi::kTableNameLength);
    condition.c_num1 = num1;
    condition.c_num2 = num2;
    condition.c_field_num = field_num;

    XfdCondition *conditions =
        fsi::with_room_for_one(xfd->x_condition, xfd->x_n_conditions, xfd->x_n_conditions_alloc,
                               "User-allocated XFD condition");
    if (conditions == nullptr) {
        fsi::release_conditions(xfd);
        return -1;
    }
    xfd->x_condition = conditions;
    XfdCondition &slot = conditions[xfd->x_n_conditions];
    condition.c_flags = slot.c_flags;
    slot = condition;
    return ++xfd->x_n_conditions;
}

Xfd *Z4CopyXFD(const Xfd *xfd) {
    if (xfd == nullptr)
        return nullptr;
    fsi::OwnedXfd copy(Z4AllocXFD(xfd->x_select_name, xfd->x_table_name, xfd->x_cobol_trigger,
                                  xfd->x_max_rec_size, xfd->x_min_rec_size, xfd->x_cvt_info,
                                  xfd->x_file_type, xfd->x_n_fields_alloc, xfd->x_n_keys_alloc,
                                  xfd->x_n_conditions_alloc));
    if (!copy || !fsi::copy_keys(copy.get(), xfd) || !fsi::copy_fields(copy.get(), xfd) ||
        !fsi::copy_conditions(copy.get(), xfd))
        return nullptr;
    copy->x_version = xfd->x_version;
    return copy.release();
}
