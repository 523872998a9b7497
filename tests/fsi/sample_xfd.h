// SPDX-License-Identifier: MIT
//
// Descriptions built by program for tests: appends with few arguments, and one
// description that uses every kind of record.
#ifndef TESTS_FSI_SAMPLE_XFD_H
#define TESTS_FSI_SAMPLE_XFD_H

#include <cstdint>
#include <memory>

#include "wbfsi/build.h"

namespace sample {

struct Free {
    void operator()(Xfd *xfd) const { Z4XFDFree(xfd); }
};
using XfdPointer = std::unique_ptr<Xfd, Free>;

inline constexpr XfdCvtInfo kCvtInfo = {72, 68, 16, 13, ',', '.', 2};
inline constexpr uint16_t kNoOccurs[XFD_MAX_OCCURS] = {};

inline XfdPointer empty(uint32_t n_fields = 0, uint32_t n_keys = 0, uint32_t n_conditions = 0) {
    return XfdPointer(Z4AllocXFD("client-file", "CLIENT", nullptr, 120, 80, &kCvtInfo, XFD_INDEXED,
                                 n_fields, n_keys, n_conditions));
}

// The arguments of Z4AddXFDField, each with a harmless value.
struct Field {
    uint32_t offset = 0;
    XfdArgument argument = {0, 8, 16, 0, 0, 0};
    uint16_t user_type = 0;
    uint16_t cond_num = 0;
    uint16_t level = 2;
    const uint16_t *max_occurs = kNoOccurs;
    const uint16_t *occurs_index = kNoOccurs;
    uint8_t occurs_depth = 0;
    uint8_t in_key = 0;
    uint8_t in_secondary_table = 0;
    uint8_t hidden = 0;
    uint8_t read_only = 0;
    uint8_t identity = 0;
    const char *name = nullptr;
    const char *format = nullptr;
    const char *comment = nullptr;
    const char *subtable = nullptr;
    const char *null_value = nullptr;

    int add_to(Xfd *xfd) const {
        return Z4AddXFDField(xfd, offset, &argument, user_type, cond_num, level, max_occurs,
                             occurs_index, occurs_depth, in_key, in_secondary_table, hidden,
                             read_only, identity, name, format, comment, subtable, null_value);
    }
};

inline int add_key(Xfd *xfd, uint16_t n_columns = 0, uint16_t length = 4, uint32_t offset = 0) {
    const uint16_t lengths[XFD_MAX_SEGMENTS] = {length};
    const uint32_t offsets[XFD_MAX_SEGMENTS] = {offset};
    return Z4AddXFDKey(xfd, 1, 0, lengths, offsets, n_columns);
}

inline int add_condition(Xfd *xfd, const char *variable = "rec_type") {
    return Z4XFDAddCondition(xfd, XFD_COND_EQ, variable, "A", "", -1, -1, 0);
}

// Two keys, three fields, two conditions; names, comments and null values.
inline XfdPointer full() {
    XfdPointer xfd(Z4AllocXFD("client-file", "CLIENT", "CLIENT-TRIGGER", 120, 80, &kCvtInfo,
                              XFD_RELATIVE, 0, 0, 0));
    const uint16_t lengths[XFD_MAX_SEGMENTS] = {4, 10};
    const uint32_t offsets[XFD_MAX_SEGMENTS] = {0, 70000};
    Z4AddXFDKey(xfd.get(), 2, 1, lengths, offsets, 2);
    Z4AddXFDKeyColumn(xfd.get(), 0, 0, "client_no");
    Z4AddXFDKeyColumn(xfd.get(), 0, -1, "client_name");
    Z4AddXFDKey(xfd.get(), 1, 0, lengths, offsets, 0);
    Z4AddXFDKeyColumn(xfd.get(), 1, 1, "born");

    const uint16_t max_occurs[XFD_MAX_OCCURS] = {3, 2};
    const uint16_t occurs_index[XFD_MAX_OCCURS] = {1, 2};
    Field number;
    number.argument = {0, 4, 9, 7, -2, 5};
    number.in_key = 1;
    number.identity = 1;
    number.name = "client_no";
    number.comment = "# the number\n# of a client";
    number.null_value = "0";
    number.add_to(xfd.get());
    Field born;
    born.offset = 4;
    born.argument = {0, 8, 1, 8, 0, 0};
    born.user_type = 1;
    born.hidden = 1;
    born.name = "born";
    born.format = "YYYYMMDD";
    born.add_to(xfd.get());
    Field amount;
    amount.offset = 12;
    amount.cond_num = 1;
    amount.max_occurs = max_occurs;
    amount.occurs_index = occurs_index;
    amount.occurs_depth = 2;
    amount.in_secondary_table = 1;
    amount.read_only = 1;
    amount.name = "amount_1_2";
    amount.subtable = "AMOUNTS";
    amount.comment = "";
    amount.add_to(xfd.get());

    Z4XFDAddCondition(xfd.get(), XFD_COND_EQ, "rec_type", "A", "CLIENT_A", -1, -1, 1);
    Z4XFDAddCondition(xfd.get(), XFD_COND_AND, "", "", "", 1, 1, 0);
    xfd->x_version = 6;
    return xfd;
}

}  // namespace sample

#endif
