// SPDX-License-Identifier: MIT
//
// From the declaration of a field to its records.  What the open groups make of
// it is counted before anything is built: an expansion that cannot fit, or that
// is empty, costs nothing however large its groups claim to be.
#include "fsi/4gl/kst4gl/build_field.h"

#include <algorithm>
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
constexpr size_t kMaxSuffix = size_t{kMaxOpenGroups} * 6;

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

// Where one occurrence stands among those of the open groups.
struct Occurrence {
    uint32_t offset = 0;
    uint16_t subscripts[kMaxOpenGroups] = {};
    char suffix[kMaxSuffix + 1] = "";

    void append_suffix(uint16_t subscript) {
        const size_t length = strlen(suffix);
        suffix[length] = '_';
        *std::to_chars(suffix + length + 1, suffix + kMaxSuffix, subscript).ptr = '\0';
    }
};

// The records of one declared field, slot by slot.
class Records {
 public:
    Records(Load &load, const FieldDeclaration &field, uint32_t slot)
        : load_(load), field_(field), first_slot_(slot), slot_(slot) {}

    // One call a level.  The depth is that of the table of groups, which has room
    // for 15; the caller has refused an expansion that does not fit the slots.
    LoadStatus expand(const Occurrence &outer, uint32_t level);

    uint32_t next_slot() const { return slot_; }

 private:
    LoadStatus build(const Occurrence &occurrence);
    LoadStatus set_data(const Occurrence &occurrence, XfdField &record);
    void set_place(const Occurrence &occurrence, XfdField &record);
    LoadStatus set_date_format(XfdField &record);
    void set_flags(XfdField &record);
    LoadStatus set_texts(XfdField &record);

    Load &load_;
    const FieldDeclaration &field_;
    const uint32_t first_slot_;
    uint32_t slot_;
};

LoadStatus Records::expand(const Occurrence &outer, uint32_t level) {
    if (level == reader.n_open)
        return build(outer);
    const XfdOccurs &group = reader.groups[level].occurs;
    const bool keeps_name = (load_.flags & XFD_LOAD_SUBTABLES) != 0 || field_.in_subtable;
    for (uint32_t k = 0; k < group.oc_times; ++k) {
        Occurrence inner = outer;
        inner.offset += k * group.oc_size;
        inner.subscripts[level] = static_cast<uint16_t>(k + 1);
        if (!keeps_name)
            inner.append_suffix(inner.subscripts[level]);
        const LoadStatus status = expand(inner, level + 1);
        if (status != LoadStatus::kDone)
            return status;
    }
    return LoadStatus::kDone;
}

// A field that cannot be built leaves an empty slot: a slot without a name is
// how callers tell that the dictionary was cut short.
LoadStatus Records::build(const Occurrence &occurrence) {
    XfdField &record = load_.xfd->x_fdesc[slot_];
    LoadStatus status = set_data(occurrence, record);
    if (status == LoadStatus::kDone) {
        set_place(occurrence, record);
        status = set_date_format(record);
    }
    if (status != LoadStatus::kDone) {
        record = {};
        return status;
    }
    set_flags(record);
    record.fd_db_col_num = -1;
    status = set_texts(record);
    ++slot_;
    return status;
}

LoadStatus Records::set_data(const Occurrence &occurrence, XfdField &record) {
    char name[kMaxDeclaredName + kMaxSuffix + 1];
    if (!Z4make_sql_name(name, field_.name, occurrence.suffix, load_.context))
        return LoadStatus::kBadField;
    copy_text(record.fd_name, name, kMaxName);
    apply_case(record.fd_name, reader.column_case);
    record.fd_hash_name = record.fd_name;

    record.fd_offset = occurrence.offset;
    record.fd_argument = describe(field_);
    record.fd_user_type = static_cast<uint16_t>(field_.user_flags & kUserTypeMask);
    record.fd_cond_num = field_.condition;
    record.fd_level = field_.level;
    if (field_.level == 1 && slot_ != 0)
        load_.xfd->x_flags |= XFD_MULTIPLE_01;
    return LoadStatus::kDone;
}

void Records::set_place(const Occurrence &occurrence, XfdField &record) {
    record.fd_occurs_depth = static_cast<uint8_t>(reader.n_open);
    for (uint32_t level = 0; level < reader.n_open; ++level) {
        record.fd_max_occurs[level] = reader.groups[level].occurs.oc_times;
        record.fd_occurs_index[level] = occurrence.subscripts[level];
    }
    if (reader.n_open == 0)
        return;
    copy_text(record.fd_subtable, reader.groups[reader.n_open - 1].field_subtable);
    if (f_trace != 0)
        ZTrace(0, kTraceCategory, "%s \"%s.%s\"", "build_field", record.fd_subtable,
               record.fd_name);
}

LoadStatus Records::set_date_format(XfdField &record) {
    if (record.fd_user_type != kDateField || field_.format[0] == '\0')
        return LoadStatus::kDone;
    const size_t length = strlen(field_.format);
    if (length != field_.digits || !Z4ValidDateFormat(field_.format))
        return fail(LoadStatus::kBadField, "%d != %zu or '%s' is invalid",
                    static_cast<int>(field_.digits), length, field_.format);
    copy_text(record.fd_format, field_.format);
    return LoadStatus::kDone;
}

void Records::set_flags(XfdField &record) {
    const bool in_key = note_field(load_, record, slot_);
    record.fd_flags = in_key ? XFD_FIELD_IN_KEY : 0;
    if (field_.is_identity) {
        record.fd_flags |= XFD_FIELD_IDENTITY;
        load_.xfd->x_identity_field = static_cast<int32_t>(slot_);
    } else if (!in_key && (field_.user_flags & kSecondaryTableFlag) != 0) {
        record.fd_flags |= XFD_FIELD_IN_SECONDARY_TABLE;
    }
    if ((field_.user_flags & kHiddenFlag) != 0)
        record.fd_flags |= XFD_FIELD_HIDDEN;
    if ((field_.user_flags & kReadOnlyFlag) != 0)
        record.fd_flags |= XFD_FIELD_READ_ONLY;
}

// All occurrences share the texts of the first: a long comment above a field of
// many occurrences is held once.
LoadStatus Records::set_texts(XfdField &record) {
    if (slot_ != first_slot_) {
        record.fd_comment = load_.xfd->x_fdesc[first_slot_].fd_comment;
        record.fd_null_value = load_.xfd->x_fdesc[first_slot_].fd_null_value;
        return LoadStatus::kDone;
    }
    if (field_.null_value != nullptr) {
        record.fd_null_value = ZSTRDUP(field_.null_value, "NULL value for field", kSource);
        if (record.fd_null_value == nullptr)
            return out_of_memory();
    }
    if (reader.comments != nullptr && ZStringGetLength(reader.comments) != 0) {
        record.fd_comment = ZSTRINGDup(reader.comments);
        if (record.fd_comment == nullptr)
            return out_of_memory();
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

// A slot that 16 bits cannot name leaves the column without a field.
void set_key_field(XfdKeyColumn &column, int64_t slot) {
    column.kc_field_num = static_cast<int16_t>(std::min<int64_t>(slot, kNoIndex));
}

LoadStatus refuse_records(const char *name, uint64_t records, uint32_t free_slots) {
    return refuse("OCCURS makes %s%llu records of field '%s', %u of the declared total are left",
                  records > kMaxFieldSlots ? "at least " : "",
                  static_cast<unsigned long long>(records), name, free_slots);
}

LoadStatus refuse_offset(const char *name, uint64_t offset) {
    return refuse("field '%s' would lie at offset %llu, the largest is %u", name,
                  static_cast<unsigned long long>(offset), UINT32_MAX);
}

}  // namespace

LoadStatus build_field(Load &load, const FieldDeclaration &field, uint32_t *slot) {
    Records records(load, field, *slot);
    Occurrence first;
    first.offset = field.offset;
    LoadStatus status;
    if ((load.flags & XFD_LOAD_COPY_OCCURS) != 0) {
        std::fill_n(first.subscripts, reader.n_open, uint16_t{1});
        status = records.expand(first, reader.n_open);
    } else {
        const Extent extent = extent_of_open_groups();
        if (extent.records == 0)
            return LoadStatus::kDone;
        const uint32_t free_slots = load.field_slots() - *slot;
        if (extent.records > free_slots)
            return refuse_records(field.name, extent.records, free_slots);
        if (field.offset + extent.last_offset > UINT32_MAX)
            return refuse_offset(field.name, field.offset + extent.last_offset);
        status = records.expand(first, 0);
    }
    *slot = records.next_slot();
    return status;
}

LoadStatus open_group(uint16_t times, uint16_t size_bytes, const char *subtable, uint32_t slot) {
    if (reader.n_open == kMaxOpenGroups)
        return refuse("more than %u OCCURS groups are open", kMaxOpenGroups);
    OpenGroup &group = reader.groups[reader.n_open++];
    group = {};
    group.occurs.oc_times = times;
    group.occurs.oc_size = size_bytes;
    group.occurs.oc_start_field = slot;
    copy_text(group.occurs.oc_subtable, subtable);
    copy_text(group.field_subtable, group.occurs.oc_subtable);
    stdz_name(group.field_subtable, -3, kUpperCase);
    return LoadStatus::kDone;
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

    XfdKeyColumn &column = xfd->x_key_desc[0].k_field[0];
    set_key_field(column, slot);
    std::memcpy(column.kc_name, field.fd_name, sizeof field.fd_name);
    ++xfd->x_n_fields;
    ++xfd->x_n_total_fields;
    xfd->x_max_rec_size += kRelativeKeySize;
}

void bind_key_columns(Load &load) {
    for (uint32_t k = 0; k < load.xfd->x_n_keys_alloc; ++k) {
        XfdKey &key = load.xfd->x_key_desc[k];
        for (uint32_t c = 0; c < key.k_n_fields; ++c) {
            const int64_t slot = load.names.key_field(key.k_field[c].kc_name);
            if (slot >= 0)
                set_key_field(key.k_field[c], slot);
        }
    }
}

}  // namespace fsi
