// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/build_field.h"

#include <charconv>
#include <cstring>

#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "host/messages.h"
#include "host/names.h"
#include "wbfsi/dateformat.h"
#include "wbfsi/keys.h"

namespace fsi {
namespace {

constexpr size_t kMaxName = 30;
constexpr int kTraceCategory = 9;
constexpr uint16_t kNoIndex = 65535;

// "_65535" for each level.
constexpr size_t kMaxSuffix = kMaxOpenGroups * 6;

constexpr uint32_t kDateField = 1;
constexpr uint32_t kUserTypeMask = 15;
constexpr uint32_t kSecondaryTableFlag = 16;
constexpr uint32_t kHiddenFlag = 32;
constexpr uint32_t kReadOnlyFlag = 64;

constexpr uint16_t kMachineLongSigned = 30;
constexpr uint16_t kMachineLongUnsigned = 31;
constexpr uint16_t kMachineBinarySigned = 13;
constexpr uint16_t kMachineBinaryUnsigned = 14;

constexpr uint32_t kRelativeKeySize = 31;
constexpr uint16_t kRelativeKeyLevel = 999;
constexpr const char *kRelativeKeyName = "Z4GLIdentity";

// The lower-case form in which keys and conditions know the field.
bool note_field(Load &load, const XfdField &field, uint32_t slot) {
    if (load.names.empty())
        return false;
    char name[sizeof field.fd_name];
    std::memcpy(name, field.fd_name, sizeof name);
    if (reader.column_case != kCaseLower)
        stdz_name(name, -3, kLowerCase);
    return load.names.note_field(name, slot, field.fd_cond_num);
}

XfdArgument describe(const FieldDeclaration &field) {
    XfdArgument argument = {};
    argument.a_size = field.size;
    argument.a_type = field.type;
    argument.a_digits = static_cast<uint8_t>(field.digits);
    argument.a_scale = field.scale;

    // The machine's long has 4 bytes in every record, whatever it has here.
    const bool is_machine_long =
        field.type == kMachineLongSigned || field.type == kMachineLongUnsigned;
    if (is_machine_long) {
        argument.a_type =
            field.type == kMachineLongSigned ? kMachineBinarySigned : kMachineBinaryUnsigned;
        if (field.size == 8)
            argument.a_size = 4;
    }

    const bool is_date = (field.user_flags & kUserTypeMask) == kDateField;
    if (is_date && field.format[0] == '\0' && field.size == 3 && field.digits == 8)
        argument.a_digits = 6;
    return argument;
}

LoadStatus set_date_format(const FieldDeclaration &field, XfdField &record) {
    if ((field.user_flags & kUserTypeMask) != kDateField || field.format[0] == '\0')
        return LoadStatus::kDone;
    const size_t length = strlen(field.format);
    if (length != field.digits || !Z4ValidDateFormat(field.format))
        return fail(LoadStatus::kBadField, "%d != %zu or '%s' is invalid",
                    static_cast<int>(field.digits), length, field.format);
    copy_text(record.fd_format, field.format);
    return LoadStatus::kDone;
}

// Where one occurrence stands among those of the open groups.
struct Occurrence {
    uint32_t offset = 0;
    uint16_t subscripts[kMaxOpenGroups] = {};
    char suffix[kMaxSuffix + 1] = "";
};

LoadStatus build_record(Load &load, const FieldDeclaration &field, const Occurrence &occurrence,
                        uint32_t slot) {
    Xfd *xfd = load.xfd;
    XfdField &record = xfd->x_fdesc[slot];

    char name[kMaxDeclaredName + kMaxSuffix + 1];
    if (!Z4make_sql_name(name, field.name, occurrence.suffix, load.context))
        return LoadStatus::kBadField;
    record.fd_offset = occurrence.offset;
    record.fd_argument = describe(field);
    record.fd_user_type = static_cast<uint16_t>(field.user_flags & kUserTypeMask);
    record.fd_cond_num = field.condition;
    record.fd_level = field.level;
    if (field.level == 1 && slot != 0)
        xfd->x_flags |= XFD_MULTIPLE_01;

    record.fd_occurs_depth = static_cast<uint8_t>(reader.n_open);
    for (uint32_t level = 0; level < reader.n_open; ++level) {
        record.fd_max_occurs[level] = reader.groups[level].occurs.oc_times;
        record.fd_occurs_index[level] = occurrence.subscripts[level];
    }

    copy_text(record.fd_name, name, kMaxName);
    apply_case(record.fd_name, reader.column_case);
    record.fd_hash_name = record.fd_name;
    if (reader.n_open != 0) {
        copy_text(record.fd_subtable, reader.groups[reader.n_open - 1].field_subtable);
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "%s \"%s.%s\"", "build_field", record.fd_subtable,
                   record.fd_name);
    }

    const LoadStatus status = set_date_format(field, record);
    if (status != LoadStatus::kDone)
        return status;

    record.fd_flags = field.is_identity ? XFD_FIELD_IDENTITY : 0;
    if (note_field(load, record, slot))
        record.fd_flags |= XFD_FIELD_IN_KEY;
    else if ((field.user_flags & kSecondaryTableFlag) != 0 && !field.is_identity)
        record.fd_flags |= XFD_FIELD_IN_SECONDARY_TABLE;
    if ((field.user_flags & kHiddenFlag) != 0)
        record.fd_flags |= XFD_FIELD_HIDDEN;
    if ((field.user_flags & kReadOnlyFlag) != 0)
        record.fd_flags |= XFD_FIELD_READ_ONLY;
    record.fd_db_col_num = -1;
    if (field.is_identity)
        xfd->x_identity_field = static_cast<int32_t>(slot);

    Block<char> null_value;
    if (field.null_value != nullptr) {
        null_value.reset(ZSTRDUP(field.null_value, "NULL value for field", kSource));
        if (!null_value)
            return out_of_memory();
    }
    if (reader.comments != nullptr && ZStringGetLength(reader.comments) != 0) {
        record.fd_comment = ZSTRINGDup(reader.comments);
        if (record.fd_comment == nullptr)
            return out_of_memory();
    }
    record.fd_null_value = null_value.release();
    return LoadStatus::kDone;
}

// A field that could not be built leaves an empty slot: a slot without a name
// is how callers tell that the dictionary was cut short.
void clear_record(XfdField &record) {
    record = {};
}

void append_subscript(Occurrence &occurrence, uint16_t subscript) {
    const size_t length = strlen(occurrence.suffix);
    char *end = occurrence.suffix + sizeof occurrence.suffix - 1;
    occurrence.suffix[length] = '_';
    *std::to_chars(occurrence.suffix + length + 1, end, subscript).ptr = '\0';
}

// One call a level.  The depth is that of the table of groups, which has room
// for 15; an expansion that does not fit the slots is refused before it begins.
LoadStatus expand(Load &load, const FieldDeclaration &field, const Occurrence &outer,
                  uint32_t level, uint32_t *slot) {
    if (level == reader.n_open) {
        const LoadStatus status = build_record(load, field, outer, *slot);
        if (status == LoadStatus::kDone)
            ++*slot;
        else
            clear_record(load.xfd->x_fdesc[*slot]);
        return status;
    }
    const XfdOccurs &group = reader.groups[level].occurs;
    const bool keeps_name = (load.flags & XFD_LOAD_SUBTABLES) != 0 || field.in_subtable;
    for (uint32_t k = 0; k < group.oc_times; ++k) {
        Occurrence inner = outer;
        inner.offset += k * group.oc_size;
        inner.subscripts[level] = static_cast<uint16_t>(k + 1);
        if (!keeps_name)
            append_subscript(inner, inner.subscripts[level]);
        const LoadStatus status = expand(load, field, inner, level + 1, slot);
        if (status != LoadStatus::kDone)
            return status;
    }
    return LoadStatus::kDone;
}

// What the open groups make of one field.
struct Extent {
    uint64_t records = 1;      // at most a little over the slots; 0 with an empty group
    uint64_t last_offset = 0;  // of the last occurrence, from the first one
};

Extent extent_of_open_groups() {
    Extent extent;
    for (uint32_t level = 0; level < reader.n_open; ++level) {
        const XfdOccurs &group = reader.groups[level].occurs;
        if (group.oc_times == 0)
            return {0, 0};
        if (extent.records <= kMaxFieldSlots)
            extent.records *= group.oc_times;
        extent.last_offset += uint64_t{group.oc_times - 1U} * group.oc_size;
    }
    return extent;
}

LoadStatus refuse_offset(const char *name, uint64_t offset) {
    return refuse("field '%s' would lie at offset %llu, the largest is %u", name,
                  static_cast<unsigned long long>(offset), UINT32_MAX);
}

}  // namespace

LoadStatus build_field(Load &load, const FieldDeclaration &field, uint32_t *slot) {
    Occurrence first;
    first.offset = field.offset;
    if ((load.flags & XFD_LOAD_COPY_OCCURS) != 0) {
        std::fill_n(first.subscripts, reader.n_open, uint16_t{1});
        return expand(load, field, first, reader.n_open, slot);
    }

    const Extent extent = extent_of_open_groups();
    if (extent.records == 0)
        return LoadStatus::kDone;
    const uint32_t free_slots = load.field_slots() - *slot;
    if (extent.records > free_slots)
        return refuse(
            "OCCURS makes %s%llu records of field '%s', %u of the declared total are left",
            extent.records > kMaxFieldSlots ? "at least " : "",
            static_cast<unsigned long long>(extent.records), field.name, free_slots);
    if (field.offset + extent.last_offset > UINT32_MAX)
        return refuse_offset(field.name, field.offset + extent.last_offset);
    return expand(load, field, first, 0, slot);
}

LoadStatus copy_group(const Load &load, uint32_t *slot) {
    const uint32_t level = reader.n_open - 1;
    const XfdOccurs &group = reader.groups[level].occurs;
    const uint32_t start = group.oc_start_field;
    const uint32_t count = *slot - start;
    if (group.oc_times < 2 || count == 0)
        return LoadStatus::kDone;

    const uint64_t wanted = uint64_t{count} * (group.oc_times - 1U);
    const uint32_t free_slots = load.field_slots() - *slot;
    if (wanted > free_slots)
        return refuse("OCCURS %u makes %llu more records of %u, %u of the declared total are left",
                      group.oc_times, static_cast<unsigned long long>(wanted), count, free_slots);

    XfdField *fields = load.xfd->x_fdesc;
    for (uint32_t k = 1; k < group.oc_times; ++k) {
        for (uint32_t i = start; i < start + count; ++i) {
            const uint64_t offset = uint64_t{fields[i].fd_offset} + uint64_t{group.oc_size} * k;
            if (offset > UINT32_MAX)
                return refuse_offset(fields[i].fd_name, offset);
            XfdField &copy = fields[(*slot)++];
            copy = fields[i];
            copy.fd_offset = static_cast<uint32_t>(offset);
            copy.fd_occurs_index[level] = static_cast<uint16_t>(copy.fd_occurs_index[level] + k);
        }
    }
    return LoadStatus::kDone;
}

LoadStatus build_relative_key(Load &load) {
    Xfd *xfd = load.xfd;
    xfd->x_key_desc = allocate_cleared<XfdKey>(1, "pxfd->x_key_desc", kSource);
    if (xfd->x_key_desc == nullptr)
        return out_of_memory();
    xfd->x_n_keys = xfd->x_n_keys_alloc = 1;

    XfdKey &key = xfd->x_key_desc[0];
    key.k_seg_count = 1;
    key.k_seg_length[0] = kRelativeKeySize;
    key.k_seg_offset[0] = xfd->x_max_rec_size;
    key.k_db_index = kNoIndex;
    key.k_field = allocate_cleared<XfdKeyColumn>(1, "k_field", kSource);
    if (key.k_field == nullptr)
        return out_of_memory();
    key.k_n_fields = key.k_n_fields_alloc = 1;
    key.k_field[0].kc_field_num = -1;
    copy_text(key.k_field[0].kc_name, kRelativeKeyName);
    stdz_name(key.k_field[0].kc_name, -3, kLowerCase);
    return LoadStatus::kDone;
}

void build_relative_key_field(Load &load, uint32_t slot) {
    Xfd *xfd = load.xfd;
    XfdField &field = xfd->x_fdesc[slot];
    field.fd_offset = xfd->x_max_rec_size;
    field.fd_argument.a_size = kRelativeKeySize;
    field.fd_argument.a_type = 1;
    field.fd_argument.a_digits = kRelativeKeySize;
    field.fd_level = kRelativeKeyLevel;
    field.fd_flags = XFD_FIELD_IN_KEY | XFD_FIELD_IN_SECONDARY_TABLE;
    copy_text(field.fd_name, kRelativeKeyName);
    stdz_name(field.fd_name, -3, kLowerCase);
    field.fd_hash_name = field.fd_name;
    field.fd_db_col_num = -1;
    note_field(load, field, slot);

    ++xfd->x_n_fields;
    ++xfd->x_n_total_fields;
    xfd->x_max_rec_size += kRelativeKeySize;
}

void bind_key_columns(Load &load) {
    for (uint32_t k = 0; k < load.xfd->x_n_keys_alloc; ++k) {
        XfdKey &key = load.xfd->x_key_desc[k];
        for (uint32_t c = 0; c < key.k_n_fields; ++c) {
            const int64_t slot = load.names.key_field(key.k_field[c].kc_name);
            if (slot >= 0 && slot < kNoIndex)
                key.k_field[c].kc_field_num = static_cast<int16_t>(slot);
        }
    }
}

}  // namespace fsi
