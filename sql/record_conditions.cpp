// SPDX-License-Identifier: MIT
#include "sql/record_conditions.h"

#include <new>

#include "wbfsi/accessors.h"
#include "wbfsi/build.h"
#include "wbfsi/conditions.h"

namespace sql {
namespace {

bool compares(const XfdCondition &condition) {
    return condition.c_type == XFD_COND_EQ ||
           (condition.c_type >= XFD_COND_GT && condition.c_type <= XFD_COND_NE);
}

}  // namespace

void RecordConditions::Release::operator()(Xfd *xfd) const {
    Z4XFDFree(xfd);
}

RecordConditions::RecordConditions(const TableLayout &layout) {
    if (layout.dictionary == nullptr || layout.dictionary->x_n_conditions == 0) {
        return;
    }
    dictionary_.reset(Z4CopyXFD(layout.dictionary.get()));
    if (dictionary_ == nullptr) {
        throw std::bad_alloc();
    }
    count_ = dictionary_->x_condition == nullptr ? 0 : dictionary_->x_n_conditions;
    for (uint32_t i = 0; i < count_; i++) {
        XfdCondition &condition = dictionary_->x_condition[i];
        const auto slot = static_cast<uint16_t>(condition.c_field_num);
        if (!compares(condition) || slot >= dictionary_->x_n_fields_alloc) {
            continue;
        }
        const XfdField &field = dictionary_->x_fdesc[slot];
        const uint32_t size = field.fd_argument.a_size;
        if (field.fd_offset > layout.max_record || size > layout.max_record - field.fd_offset) {
            // Without a type it never holds, and still counts for those of type
            // "other" on the same field.
            condition.c_type = 0;
            continue;
        }
        tested_.push_back({field.fd_offset, size});
    }
}

void RecordConditions::restart() {
    for (uint32_t i = 0; i < count_; i++) {
        Z4SetXFDCondition(dictionary_.get(), i, 0);
    }
}

bool RecordConditions::holds(uint32_t number, const unsigned char *record) {
    return Z4TestCOBOLCond(dictionary_.get(), static_cast<int>(number),
                           reinterpret_cast<const char *>(record)) != 0;
}

}  // namespace sql
