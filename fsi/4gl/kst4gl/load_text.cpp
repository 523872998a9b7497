// SPDX-License-Identifier: MIT
//
// One function a section, called in the order of the file.  The numbers of a
// line are taken one after the other and the line's status is asked once, behind
// them: a number that was refused reads as 0 and nothing is done with it.
#include "fsi/4gl/kst4gl/load_text.h"

#include <strings.h>

#include <cerrno>
#include <cstring>

#include "fsi/4gl/kst4gl/build_field.h"
#include "fsi/4gl/kst4gl/conditions.h"
#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "host/memory.h"
#include "host/messages.h"
#include "host/names.h"

namespace fsi {
namespace {

constexpr uint16_t kLatestVersion = 8;
constexpr size_t kMaxName = 30;
constexpr int kTraceCategory = 9;
constexpr uint16_t kNoIndex = 65535;

// What a version of the form brought.
constexpr uint16_t kVersionWithFileType = 4;    // also the listed count
constexpr uint16_t kVersionWithListedView = 5;  // also levels and the listed total
constexpr uint16_t kVersionWithConversion = 6;  // also the trigger and sub-tables

// Offsets that mark the lines around an OCCURS group.
constexpr int32_t kOpensGroup = 90001;
constexpr int32_t kClosesGroup = 90002;

constexpr char kHiddenMark[] = "# KSTODBC HIDDEN";

LoadStatus load_identification(Load &load, TextLines &line) {
    Xfd *xfd = load.xfd;
    const auto version = line.number<int32_t>(1, "version");
    if (line.status() != LoadStatus::kDone)
        return line.status();
    if (version > kLatestVersion)
        return fail(LoadStatus::kMalformed, "XFD file '%s' is a later version than %d", reader.path,
                    kLatestVersion);
    xfd->x_version = static_cast<uint16_t>(version);
    load.lists_all = version >= kVersionWithListedView && (load.flags & XFD_LOAD_LISTED_VIEW) != 0;

    copy_text(xfd->x_select_name, line.text(2));
    apply_case(xfd->x_select_name, reader.table_case);
    copy_text(xfd->x_table_name, line.text(3));
    xfd->x_file_type = version >= kVersionWithFileType ? static_cast<uint16_t>(line.integer(4))
                                                       : uint16_t{XFD_INDEXED};
    if (xfd->x_file_type == 0)
        return fail(LoadStatus::kMalformed, "XFD file '%s' missing file type", reader.path);

    if (version >= kVersionWithConversion && line.count() > 5) {
        xfd->x_cobol_trigger = ZSTRDUP(line.text(5), "pxfd->x_cobol_trigger", kSource);
        if (xfd->x_cobol_trigger == nullptr)
            return out_of_memory();
    }
    return LoadStatus::kDone;
}

LoadStatus load_sizes(Load &load, TextLines &line) {
    LoadStatus status = line.next();
    if (status != LoadStatus::kDone)
        return status;
    load.xfd->x_max_rec_size = line.number<uint32_t>(0, "maximum record size");
    load.xfd->x_min_rec_size = line.number<uint32_t>(1, "minimum record size");
    load.xfd->x_n_keys = line.number<uint16_t>(2, "number of keys");
    if (load.wants_relative_key() && load.xfd->x_n_keys != 0)
        return refuse("a relative file has no keys of its own, this one declares %d",
                      load.xfd->x_n_keys);
    return line.status();
}

LoadStatus load_conversion(Load &load, TextLines &line) {
    if (load.xfd->x_version < kVersionWithConversion)
        return LoadStatus::kDone;
    const LoadStatus status = line.next();
    if (status != LoadStatus::kDone)
        return status;
    set_sign_compat(*load.xfd->x_cvt_info, line.integer(0));
    set_numeric_digits(*load.xfd->x_cvt_info, line.integer(1));
    load.xfd->x_cvt_info->cv_period = static_cast<char>(line.integer(2));
    load.xfd->x_cvt_info->cv_comma = static_cast<char>(line.integer(3));
    load.xfd->x_cvt_info->cv_encoding = line.integer(4);
    return LoadStatus::kDone;
}

LoadStatus load_key_columns(XfdKey &key, TextLines &line) {
    LoadStatus status = line.next();
    if (status != LoadStatus::kDone)
        return status;
    const auto count = line.number<uint16_t>(0, "number of key columns");
    if (line.status() != LoadStatus::kDone || count == 0)
        return line.status();
    key.k_field = allocate_cleared<XfdKeyColumn>(count, "pKey->k_field", kSource);
    if (key.k_field == nullptr)
        return out_of_memory();
    key.k_n_fields = key.k_n_fields_alloc = count;

    for (uint32_t c = 0; c < count; ++c) {
        status = line.next();
        if (status != LoadStatus::kDone)
            return status;
        XfdKeyColumn &column = key.k_field[c];
        column.kc_field_num = -1;
        copy_text(column.kc_name, line.text(0), kMaxName);
        stdz_name(column.kc_name, -3, kLowerCase);
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "Adding %s to k_field [%u]", column.kc_name, c);
    }
    return LoadStatus::kDone;
}

LoadStatus load_key(XfdKey &key, TextLines &line) {
    const LoadStatus status = line.next();
    if (status != LoadStatus::kDone)
        return status;
    key.k_seg_count = line.number<uint16_t>(0, "number of key segments", XFD_MAX_SEGMENTS);
    key.k_duplicates = line.integer(1) != 0;
    for (uint32_t s = 0; s < key.k_seg_count; ++s) {
        key.k_seg_length[s] = line.number<uint16_t>(2 * s + 2, "length of a key segment");
        key.k_seg_offset[s] = line.number<uint32_t>(2 * s + 3, "offset of a key segment");
    }
    key.k_db_index = kNoIndex;
    return line.status() == LoadStatus::kDone ? load_key_columns(key, line) : line.status();
}

LoadStatus load_keys(Load &load, TextLines &line) {
    Xfd *xfd = load.xfd;
    const uint16_t count = xfd->x_n_keys;
    if (load.wants_relative_key())
        return build_relative_key(load);
    if (count == 0)
        return LoadStatus::kDone;
    xfd->x_key_desc = allocate_cleared<XfdKey>(count, "pxfd->x_key_desc", kSource);
    if (xfd->x_key_desc == nullptr)
        return out_of_memory();
    xfd->x_n_keys_alloc = count;
    for (uint32_t k = 0; k < count; ++k) {
        const LoadStatus status = load_key(xfd->x_key_desc[k], line);
        if (status != LoadStatus::kDone)
            return status;
    }
    return LoadStatus::kDone;
}

// Variable, value and table of a condition on a field; "other" has no value.
void load_field_condition(XfdCondition &condition, TextLines &line) {
    copy_text(condition.c_variable, line.text(2));
    stdz_name(condition.c_variable, -3, kLowerCase);
    condition.c_num1 = condition.c_num2 = -1;
    const bool has_value = condition.c_type != XFD_COND_OTHER;
    if (has_value)
        copy_text(condition.c_value, line.text(3));
    copy_text(condition.c_table, line.text(has_value ? 4 : 3));
}

void load_joined_condition(XfdCondition &condition, TextLines &line) {
    // As the number of any condition, up to 65535: all 16 bits count.
    condition.c_num1 =
        static_cast<int16_t>(line.number<uint16_t>(2, "first operand of a condition"));
    condition.c_num2 =
        static_cast<int16_t>(line.number<uint16_t>(3, "second operand of a condition"));
    copy_text(condition.c_table, line.text(4));
}

LoadStatus load_condition(Load &load, TextLines &line) {
    LoadStatus status = line.next();
    if (status != LoadStatus::kDone)
        return status;
    const auto number =
        line.number<uint32_t>(0, "number of a condition", load.xfd->x_n_conditions_alloc, 1);
    const auto type = line.number<int32_t>(1, "type of a condition");
    if (line.status() != LoadStatus::kDone)
        return line.status();
    if (type < XFD_COND_EQ || type > XFD_COND_OR)
        return fail(LoadStatus::kMalformed, "Unknown condition type: %d", type);

    XfdCondition &condition = load.xfd->x_condition[number - 1];
    condition = {};
    condition.c_type = static_cast<int16_t>(type);
    if (type == XFD_COND_AND || type == XFD_COND_OR)
        load_joined_condition(condition, line);
    else
        load_field_condition(condition, line);
    return line.status();
}

LoadStatus load_conditions(Load &load, TextLines &line) {
    Xfd *xfd = load.xfd;
    LoadStatus status = line.next();
    if (status != LoadStatus::kDone)
        return status;
    const auto count = line.number<uint16_t>(0, "number of conditions");
    if (line.status() != LoadStatus::kDone || count == 0)
        return line.status();
    xfd->x_condition = allocate_cleared<XfdCondition>(count, "pxfd->x_condition", kSource);
    if (xfd->x_condition == nullptr)
        return out_of_memory();
    xfd->x_n_conditions = xfd->x_n_conditions_alloc = count;
    for (uint32_t c = 0; c < count && status == LoadStatus::kDone; ++c)
        status = load_condition(load, line);
    return status;
}

LoadStatus load_field_counts(Load &load, TextLines &line) {
    Xfd *xfd = load.xfd;
    const LoadStatus status = line.next();
    if (status != LoadStatus::kDone)
        return status;
    xfd->x_n_fields = line.number<uint32_t>(0, "number of fields");
    xfd->x_n_total_fields = line.number_if_present<uint32_t>(1, "total number of fields");
    if (xfd->x_n_total_fields == 0)
        xfd->x_n_total_fields = xfd->x_n_fields;
    if (xfd->x_version >= kVersionWithFileType)
        xfd->x_n_fields_listed = line.number_if_present<uint32_t>(2, "number of listed items");
    if (xfd->x_version >= kVersionWithListedView)
        xfd->x_n_total_fields_listed =
            line.number_if_present<uint32_t>(3, "total number of listed items");
    if (line.status() != LoadStatus::kDone)
        return line.status();

    const uint32_t slots = (load.lists_all ? xfd->x_n_total_fields_listed : xfd->x_n_total_fields) +
                           (load.wants_relative_key() ? 1 : 0);
    if (slots > kMaxFieldSlots)
        return refuse("%u field records are declared, at most %u are possible", slots,
                      kMaxFieldSlots);
    if (slots == 0)
        return LoadStatus::kDone;
    xfd->x_fdesc = allocate_cleared<XfdField>(slots, "pxfd->x_fdesc", kSource);
    if (xfd->x_fdesc == nullptr)
        return out_of_memory();
    xfd->x_n_fields_alloc = slots;
    return LoadStatus::kDone;
}

// A mark of two words with any one character between them.
bool is_mark(const TextLines &line, uint32_t i, const char *first, const char *second) {
    if (!line.is_string(i))
        return false;
    const char *text = line.text(i);
    const size_t length = strlen(first);
    return strncasecmp(text, first, length) == 0 && text[length] != '\0' &&
           strncasecmp(text + length + 1, second, strlen(second)) == 0;
}

bool opens_group(const TextLines &line) {
    return line.integer(0) == kOpensGroup && is_mark(line, 3, "START", "OCCURS");
}

bool closes_group(const TextLines &line) {
    return line.integer(0) == kClosesGroup && is_mark(line, 1, "END", "OCCURS");
}

LoadStatus load_group(const Load &load, TextLines &line, uint32_t slot) {
    const auto times = line.number<uint16_t>(1, "times of OCCURS");
    const auto size_bytes = line.number<uint16_t>(2, "size of OCCURS");
    const bool has_subtable = load.xfd->x_version >= kVersionWithConversion;
    return line.status() == LoadStatus::kDone
               ? open_group(times, size_bytes, has_subtable ? line.text(4) : "", slot)
               : line.status();
}

LoadStatus close_group(const Load &load, uint32_t *slot) {
    if (reader.n_open == 0)
        return refuse("END OCCURS without START OCCURS");
    const LoadStatus status =
        (load.flags & XFD_LOAD_COPY_OCCURS) != 0 ? copy_group(load, slot) : LoadStatus::kDone;
    --reader.n_open;
    return status;
}

bool has_hidden_mark() {
    return reader.comments != nullptr &&
           strncasecmp(ZStringGet(reader.comments), kHiddenMark, sizeof kHiddenMark - 1) == 0;
}

// Builds the field of the current line; an item of the listed view alone takes
// no slot unless that view is wanted.
LoadStatus load_field(Load &load, TextLines &line, bool *is_marked_hidden, uint32_t *slot) {
    FieldDeclaration field;
    field.offset = line.number<uint32_t>(0, "offset of a field");
    field.size = line.number<uint32_t>(1, "size of a field");
    field.type = line.number<uint16_t>(2, "type of a field");
    field.digits = line.number<uint32_t>(3, "digits of a field");
    field.scale = line.number<int8_t>(4, "scale of a field", INT8_MAX, INT8_MIN);
    field.user_flags = line.number<uint32_t>(5, "user-flags value of a field");
    field.condition = line.number<uint16_t>(6, "condition of a field");
    uint32_t next = 7;
    if (load.xfd->x_version >= kVersionWithListedView)
        field.level = static_cast<uint16_t>(line.integer(next++));
    if (line.status() != LoadStatus::kDone)
        return line.status();
    if (is_numeric_type(field.type) && field.digits > UINT8_MAX)
        return refuse("a numeric field has at most %d digits, not %u", UINT8_MAX, field.digits);
    if (field.condition == XFD_LISTED_ONLY && !load.lists_all)
        return LoadStatus::kDone;

    char name[kMaxDeclaredName + 1];
    copy_text(name, line.text(next));
    field.name = name;
    field.format = line.text(next + 1);
    field.in_subtable =
        reader.n_open != 0 && reader.groups[reader.n_open - 1].occurs.oc_subtable[0] != '\0';
    if (*is_marked_hidden) {
        if (!ZSTRINGAppend(reader.comments, kHiddenMark) || !ZSTRINGAppend(reader.comments, " "))
            return out_of_memory();
        *is_marked_hidden = false;
    }
    return build_field(load, field, slot);
}

LoadStatus load_fields(Load &load, TextLines &line) {
    bool next_is_hidden = false;
    uint32_t slot = 0;
    LoadStatus status = LoadStatus::kDone;
    while (slot < load.field_slots() && status == LoadStatus::kDone) {
        status = line.next();
        if (status != LoadStatus::kDone)
            break;
        if (opens_group(line)) {
            status = load_group(load, line, slot);
            next_is_hidden |= has_hidden_mark();
        } else if (closes_group(line)) {
            status = close_group(load, &slot);
        } else {
            status = load_field(load, line, &next_is_hidden, &slot);
        }
    }
    if (status != LoadStatus::kDone && status != LoadStatus::kBadField)
        return status;

    bind_key_columns(load);
    if (load.wants_relative_key() && status == LoadStatus::kDone)
        build_relative_key_field(load, slot);
    return LoadStatus::kDone;
}

}  // namespace

LoadStatus load_text(Load &load, TextLines &line) {
    using Section = LoadStatus (*)(Load &, TextLines &);
    static constexpr Section kBeforeFields[] = {load_identification, load_sizes,
                                                load_conversion,     load_keys,
                                                load_conditions,     load_field_counts};
    for (const Section section : kBeforeFields) {
        const LoadStatus status = section(load, line);
        if (status != LoadStatus::kDone)
            return status;
    }
    if (!load.names.collect(load.xfd))
        return out_of_memory();
    return load_fields(load, line);
}

}  // namespace fsi
