// SPDX-License-Identifier: MIT
//
// The fields of an XML dictionary and the OCCURS groups around them.
#include <strings.h>

#include <cstring>

#include "fsi/4gl/kst4gl/build_field.h"
#include "fsi/4gl/kst4gl/conditions.h"
#include "fsi/4gl/kst4gl/load_xml.h"
#include "fsi/4gl/kst4gl/model.h"
#include "fsi/4gl/kst4gl/xml_values.h"
#include "fsi/base/owner.h"
#include "host/data.h"
#include "host/errors.h"

namespace fsi {
namespace {

// What an attribute that is left out leaves: -1 in the width of its member.
template <typename T>
constexpr T kAbsent = static_cast<T>(-1);

constexpr int32_t kTypeMask = 255;

LoadStatus load_counts(Load &load, ZHandle section) {
    Xfd *xfd = load.xfd;
    XmlValues values(section);
    xfd->x_n_fields = values.number_or<uint32_t>(XMLXFD_ELEMENTARY_ITEMS, 0);
    xfd->x_n_total_fields = values.number_or<uint32_t>(XMLXFD_ELEMENTARY_ITEMS_WITH_OCCURS, 0);
    if (xfd->x_n_total_fields == 0)
        xfd->x_n_total_fields = xfd->x_n_fields;
    xfd->x_n_fields_listed = values.number_or<uint32_t>(XMLXFD_TOTAL_ITEMS, 0);
    xfd->x_n_total_fields_listed = values.number_or<uint32_t>(XMLXFD_TOTAL_ITEMS_WITH_OCCURS, 0);
    if (values.status() != LoadStatus::kDone)
        return values.status();

    const uint32_t declared = load.lists_all ? xfd->x_n_total_fields_listed : xfd->x_n_total_fields;
    if (declared == 0)
        return refuse("it declares no fields%s", load.lists_all ? " for the listed view" : "");
    const uint32_t slots = declared + (load.wants_relative_key() ? 1 : 0);
    if (slots > kMaxFieldSlots)
        return refuse("%u field records are declared, at most %u are possible", slots,
                      kMaxFieldSlots);
    xfd->x_fdesc = allocate_cleared<XfdField>(slots, "pxfd->x_fdesc", kSource);
    if (xfd->x_fdesc == nullptr)
        return out_of_memory();
    xfd->x_n_fields_alloc = slots;
    return LoadStatus::kDone;
}

uint16_t type_of(XmlValues &values) {
    if (!values.has(XMLXFD_FIELD_TYPE))
        return kAbsent<uint16_t>;
    const auto code = values.number<int32_t>(XMLXFD_FIELD_TYPE);
    return Ztype_from_UD(static_cast<uint8_t>(code & kTypeMask));
}

// A field that is built needs its place in the record; all else may be left out.
void read_numbers(XmlValues &values, FieldDeclaration *field) {
    field->offset = values.number<uint32_t>(XMLXFD_FIELD_OFFSET);
    field->size = values.number<uint32_t>(XMLXFD_FIELD_BYTES);
    field->type = type_of(values);
    field->digits = values.number_or(XMLXFD_FIELD_LENGTH, kAbsent<uint32_t>);
    field->scale = values.number_or(XMLXFD_FIELD_SCALE, kAbsent<int8_t>, INT8_MAX, INT8_MIN);
    field->user_flags = values.number_or(XMLXFD_FIELD_USER_FLAGS, kAbsent<uint32_t>);
    field->condition = values.number_or(XMLXFD_FIELD_CONDITION, kAbsent<uint16_t>);
    field->level = values.number_or(XMLXFD_FIELD_LEVEL, kAbsent<uint16_t>);
}

// A name that is too long has left the file error of its own, which stays.
LoadStatus bad_field(const char *name, int context) {
    const int16_t code = *Zstdlib_f_errno();
    if (code == 0) {
        char reason[sizeof reader.message];
        copy_text(reason, reader.message);
        return refuse("field '%s': %s", name, reason);
    }
    reader.told_code = code;
    reader.told_secondary = *Zstdlib_f_int_errno();
    const char *text = *Zstdlib_f_errmsg();
    refuse("field '%s': %s, at most %d characters are possible", name, text == nullptr ? "" : text,
           context);
    return LoadStatus::kTold;
}

// What the slots still have room for is build_field's to say of a group; a field of
// its own, and the first one of copies, takes one slot.
bool has_no_slot(const Load &load, uint32_t slot) {
    const bool takes_one = reader.n_open == 0 || (load.flags & XFD_LOAD_COPY_OCCURS) != 0;
    return takes_one && slot >= load.field_slots();
}

LoadStatus load_field(Load &load, ZHandle element, uint32_t *slot) {
    XmlValues values(element);
    FieldDeclaration field;
    read_numbers(values, &field);
    if (values.status() != LoadStatus::kDone)
        return values.status();
    reader.element = element;
    if (is_numeric_type(field.type) && field.digits > UINT8_MAX &&
        field.digits != kAbsent<uint32_t>)
        return refuse("a numeric field has at most %d digits, not %u", UINT8_MAX, field.digits);
    if (field.condition == XFD_LISTED_ONLY && !load.lists_all)
        return LoadStatus::kDone;
    if (has_no_slot(load, *slot))
        return refuse("there are more field records than the %u that are declared",
                      load.field_slots());

    char name[31];
    char format[31];
    char identity[10];
    values.text(XMLXFD_FIELD_NAME, name);
    values.text(XMLXFD_FIELD_DATE_FORMAT, format);
    values.text(XMLXFD_FIELD_IS_IDENTITY, identity);
    const Block<char> null_value(values.copy(XMLXFD_FIELD_NULL_VALUE, "NULL value for field"));
    if (values.status() != LoadStatus::kDone)
        return values.status();
    field.name = name;
    field.format = format;
    field.is_identity = strcasecmp(identity, "true") == 0;
    field.null_value = null_value.get();
    field.in_subtable =
        reader.n_open != 0 && reader.groups[reader.n_open - 1].occurs.oc_subtable[0] != '\0';
    const LoadStatus status = build_field(load, field, slot);
    return status == LoadStatus::kBadField ? bad_field(name, load.context) : status;
}

LoadStatus load_items(Load &load, ZHandle parent, uint32_t *slot);

// As deep as groups may be open, the calls are.
LoadStatus load_group(Load &load, ZHandle element, uint32_t *slot) {
    XmlValues values(element);
    const auto times = values.number<uint16_t>(XMLXFD_OCCURS_COUNT);
    const auto size_bytes = values.number<uint16_t>(XMLXFD_OCCURS_SIZE);
    if (values.status() != LoadStatus::kDone)
        return values.status();
    char subtable[129];
    values.text(XMLXFD_OCCURS_SUBTABLE, subtable);
    reader.element = element;
    LoadStatus status = open_group(times, size_bytes, subtable, *slot);
    if (status == LoadStatus::kDone)
        status = load_items(load, element, slot);
    if (status != LoadStatus::kDone)
        return status;
    reader.element = element;
    if ((load.flags & XFD_LOAD_COPY_OCCURS) != 0)
        status = copy_group(load, slot);
    --reader.n_open;
    return status;
}

LoadStatus load_items(Load &load, ZHandle parent, uint32_t *slot) {
    for (const ZHandle child : XmlChildren(parent)) {
        LoadStatus status = LoadStatus::kDone;
        if (is_element(child, XMLXFD_FIELD))
            status = load_field(load, child, slot);
        else if (is_element(child, XMLXFD_FIELD_OCCURS))
            status = load_group(load, child, slot);
        if (status != LoadStatus::kDone)
            return status;
    }
    return LoadStatus::kDone;
}

}  // namespace

LoadStatus load_xml_fields(Load &load, ZHandle section) {
    reader.element = section;
    LoadStatus status = load_counts(load, section);
    uint32_t slot = 0;
    if (status == LoadStatus::kDone)
        status = load_items(load, section, &slot);
    if (status != LoadStatus::kDone)
        return status;
    bind_key_columns(load);
    if (load.wants_relative_key())
        build_relative_key_field(load, load.field_slots());
    return LoadStatus::kDone;
}

}  // namespace fsi
