// SPDX-License-Identifier: MIT
//
// The accessors: one exported function a property.  None allocates, traces or
// sets the file error.  A 16-bit member comes back widened without its sign, so
// that -1, "none", is 65535 to every caller.
#include "wbfsi/accessors.h"

#include <cstddef>

namespace {

int is_set(uint32_t flags, uint32_t bit) {
    return (flags & bit) != 0;
}

void set_bit(uint32_t &flags, uint32_t bit, bool set) {
    if (set)
        flags |= bit;
    else
        flags &= ~bit;
}

// Record arrays end at the segment table, whatever a key claims.
bool is_segment(const XfdKey *key, uint32_t i) {
    return i < key->k_seg_count && i < XFD_MAX_SEGMENTS;
}

}  // namespace

// Properties of the file.

uint32_t Z4GetXFDVersion(const Xfd *xfd) {
    return xfd->x_version;
}

const char *Z4GetXFDSelectName(const Xfd *xfd) {
    return xfd->x_select_name;
}

const char *Z4GetXFDTableName(const Xfd *xfd) {
    return xfd->x_table_name;
}

const char *Z4GetXFDFilename(const Xfd *xfd) {
    return xfd->x_filename;
}

const char *Z4GetXFDCOBOLTrigger(const Xfd *xfd) {
    return xfd->x_cobol_trigger;
}

uint32_t Z4GetXFDMaxRecSize(const Xfd *xfd) {
    return xfd->x_max_rec_size;
}

uint32_t Z4GetXFDMinRecSize(const Xfd *xfd) {
    return xfd->x_min_rec_size;
}

uint32_t Z4GetXFDKeyCount(const Xfd *xfd) {
    return xfd->x_n_keys;
}

XfdCvtInfo *Z4GetXFDCvtInfo(const Xfd *xfd) {
    return xfd->x_cvt_info;
}

uint32_t Z4GetXFDConditionCount(const Xfd *xfd) {
    return xfd->x_n_conditions;
}

uint32_t Z4GetXFDFieldCount(const Xfd *xfd) {
    return xfd->x_n_fields;
}

uint32_t Z4GetXFDTotalFieldCount(const Xfd *xfd) {
    return xfd->x_n_total_fields;
}

uint32_t Z4GetXFDAllocatedFieldCount(const Xfd *xfd) {
    return xfd->x_n_fields_alloc;
}

uint32_t Z4GetXFDFileType(const Xfd *xfd) {
    return xfd->x_file_type;
}

uint32_t Z4GetXFDFieldListedCount(const Xfd *xfd) {
    return xfd->x_n_fields_listed;
}

uint32_t Z4GetXFDTotalFieldListedCount(const Xfd *xfd) {
    return xfd->x_n_total_fields_listed;
}

int32_t Z4GetXFDIdentityField(const Xfd *xfd) {
    return xfd->x_identity_field;
}

int Z4GetXFDMultiple01(const Xfd *xfd) {
    return is_set(xfd->x_flags, XFD_MULTIPLE_01);
}

// Records of the arrays.

XfdKey *Z4GetXFDKeyInfo(const Xfd *xfd, uint32_t index) {
    return index < xfd->x_n_keys ? &xfd->x_key_desc[index] : nullptr;
}

XfdCondition *Z4GetXFDConditionInfo(const Xfd *xfd, uint32_t index) {
    return index < xfd->x_n_conditions ? &xfd->x_condition[index] : nullptr;
}

XfdField *Z4GetXFDFieldInfo(const Xfd *xfd, uint32_t index) {
    return index < xfd->x_n_fields_alloc ? &xfd->x_fdesc[index] : nullptr;
}

// What callers store.

void Z4SetXFDFieldArgumentAddress(Xfd *xfd, uint32_t index, uintptr_t address) {
    if (index < xfd->x_n_fields_alloc)
        xfd->x_fdesc[index].fd_argument.a_address = address;
}

void Z4SetXFDFieldInKey(Xfd *xfd, uint32_t index, uint8_t set) {
    if (index < xfd->x_n_fields_alloc)
        set_bit(xfd->x_fdesc[index].fd_flags, XFD_FIELD_IN_KEY, set != 0);
}

void Z4SetXFDFieldAdded(Xfd *xfd, uint32_t index, uint8_t set) {
    if (index < xfd->x_n_fields_alloc)
        set_bit(xfd->x_fdesc[index].fd_flags, XFD_FIELD_ADDED, set != 0);
}

void Z4SetXFDFieldValidFlag(Xfd *xfd, uint32_t index, uint8_t valid) {
    // The one setter without a bound: callers have tested the index already.
    xfd->x_fdesc[index].fd_valid = valid;
}

void Z4SetXFDCondition(Xfd *xfd, uint32_t index, uint8_t is_true) {
    if (index < xfd->x_n_conditions)
        set_bit(xfd->x_condition[index].c_flags, XFD_CONDITION_TRUE, is_true != 0);
}

void Z4SetXFDKeyDBIndex(Xfd *xfd, uint32_t index, uint16_t db_index) {
    if (index < xfd->x_n_keys)
        xfd->x_key_desc[index].k_db_index = db_index;
}

// Properties of a field.

uint32_t Z4GetXFDFieldOffset(const XfdField *field) {
    return field->fd_offset;
}

XfdArgument *Z4GetXFDFieldArgument(XfdField *field) {
    return &field->fd_argument;
}

uint32_t Z4GetXFDFieldUserType(const XfdField *field) {
    return field->fd_user_type;
}

uint32_t Z4GetXFDFieldCondNum(const XfdField *field) {
    return field->fd_cond_num;
}

uint32_t Z4GetXFDFieldLevel(const XfdField *field) {
    return field->fd_level;
}

uint32_t Z4GetXFDFieldMaxOccurs(const XfdField *field, uint32_t level) {
    return level < XFD_MAX_OCCURS ? field->fd_max_occurs[level] : 0U;
}

uint32_t Z4GetXFDFieldOccursIndex(const XfdField *field, uint32_t level) {
    return level < XFD_MAX_OCCURS ? field->fd_occurs_index[level] : 0U;
}

uint32_t Z4GetXFDFieldOccursDepth(const XfdField *field) {
    return field->fd_occurs_depth;
}

int Z4IsXFDFieldInKey(const XfdField *field) {
    return is_set(field->fd_flags, XFD_FIELD_IN_KEY);
}

int Z4IsXFDFieldInSecondaryTable(const XfdField *field) {
    return is_set(field->fd_flags, XFD_FIELD_IN_SECONDARY_TABLE);
}

int Z4IsXFDFieldHidden(const XfdField *field) {
    return is_set(field->fd_flags, XFD_FIELD_HIDDEN);
}

int Z4IsXFDFieldReadOnly(const XfdField *field) {
    return is_set(field->fd_flags, XFD_FIELD_READ_ONLY);
}

int Z4IsXFDFieldIdentity(const XfdField *field) {
    return is_set(field->fd_flags, XFD_FIELD_IDENTITY);
}

int Z4IsXFDFieldAdded(const XfdField *field) {
    return is_set(field->fd_flags, XFD_FIELD_ADDED);
}

const char *Z4GetXFDFieldName(const XfdField *field) {
    return field->fd_name;
}

const char *Z4GetXFDFieldFormat(const XfdField *field) {
    return field->fd_format;
}

uint32_t Z4GetXFDFieldValidFlag(const XfdField *field) {
    return field->fd_valid;
}

ZString Z4GetXFDFieldComment(const XfdField *field) {
    return field->fd_comment;
}

int32_t Z4GetXFDFieldDBColNum(const XfdField *field) {
    return field->fd_db_col_num;
}

const char *Z4GetXFDFieldSubtableName(const XfdField *field) {
    return field->fd_subtable;
}

const char *Z4GetXFDFieldNullValue(const XfdField *field) {
    return field->fd_null_value;
}

uint32_t Z4GetXFDFieldHashOffset() {
    return offsetof(XfdField, fd_hash_name);
}

// Properties of an open OCCURS group.

uint32_t Z4GetXFDOccursTimes(const XfdOccurs *occurs) {
    return occurs->oc_times;
}

uint32_t Z4GetXFDOccursSize(const XfdOccurs *occurs) {
    return occurs->oc_size;
}

uint32_t Z4GetXFDOccursStartFieldnum(const XfdOccurs *occurs) {
    return occurs->oc_start_field;
}

const char *Z4GetXFDOccursSubtable(const XfdOccurs *occurs) {
    return occurs->oc_subtable;
}

// Properties of a condition.

uint32_t Z4GetXFDConditionType(const XfdCondition *condition) {
    return static_cast<uint16_t>(condition->c_type);
}

const char *Z4GetXFDConditionField(const XfdCondition *condition) {
    return condition->c_variable;
}

const char *Z4GetXFDConditionValue(const XfdCondition *condition) {
    return condition->c_value;
}

const char *Z4GetXFDConditionTable(const XfdCondition *condition) {
    return condition->c_table;
}

uint32_t Z4GetXFDConditionNum1(const XfdCondition *condition) {
    return static_cast<uint16_t>(condition->c_num1);
}

uint32_t Z4GetXFDConditionNum2(const XfdCondition *condition) {
    return static_cast<uint16_t>(condition->c_num2);
}

uint32_t Z4GetXFDConditionFieldNum(const XfdCondition *condition) {
    return static_cast<uint16_t>(condition->c_field_num);
}

int Z4IsXFDConditionTrue(const XfdCondition *condition) {
    return is_set(condition->c_flags, XFD_CONDITION_TRUE);
}

// Properties of a key and of its columns.

uint32_t Z4GetXFDKeySegmentCount(const XfdKey *key) {
    return key->k_seg_count;
}

int Z4GetXFDKeyDuplicatesAllowed(const XfdKey *key) {
    return key->k_duplicates != 0;
}

uint32_t Z4GetXFDKeySegmentLength(const XfdKey *key, uint32_t i) {
    return is_segment(key, i) ? key->k_seg_length[i] : 0U;
}

uint32_t Z4GetXFDKeySegmentOffset(const XfdKey *key, uint32_t i) {
    return is_segment(key, i) ? key->k_seg_offset[i] : 0U;
}

uint32_t Z4GetXFDKeyDBIndex(const XfdKey *key) {
    return key->k_db_index;
}

uint32_t Z4GetXFDKeyFieldCount(const XfdKey *key) {
    return key->k_n_fields;
}

XfdKeyColumn *Z4GetXFDKeyColInfo(const XfdKey *key, uint32_t i) {
    return i < key->k_n_fields ? &key->k_field[i] : nullptr;
}

uint32_t Z4GetXFDKeyColFieldNum(const XfdKeyColumn *column) {
    return static_cast<uint16_t>(column->kc_field_num);
}

const char *Z4GetXFDKeyColFieldName(const XfdKeyColumn *column) {
    return column->kc_name;
}
