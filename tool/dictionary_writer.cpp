// SPDX-License-Identifier: MIT
//
// The walk over fields and groups.

#include "tool/dictionary_writer.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "tool/columns.h"
#include "tool/failure.h"
#include "tool/session.h"
#include "tool/show.h"
#include "tool/words.h"

namespace tool {

namespace {

constexpr int kMaxGroups = 15;
constexpr uint32_t kMaxNumber = INT32_MAX;

}  // namespace

DictionaryWriter::DictionaryWriter(const char *form, const Xfd &declared, const Xfd &expanded,
                                   bool listed_view)
    : xfd_(declared),
      expanded_(expanded),
      count_(shown_field_count(declared, listed_view)),
      form_(form),
      expanded_count_(shown_field_count(expanded, listed_view)) {}

void DictionaryWriter::refuse(const std::string &what, const std::string &why) const {
    throw Failure(what + ": the " + form_ + " form cannot hold it: " + why);
}

std::string DictionaryWriter::number(const std::string &what, uint32_t value) const {
    if (value > kMaxNumber) {
        refuse(what, "numbers go up to 2147483647, this one is " + std::to_string(value));
    }
    return std::to_string(value);
}

std::string DictionaryWriter::name_of(const XfdField &field) {
    return "field " + printable(field.fd_name);
}

void DictionaryWriter::refuse_what_is_not_whole() const {
    if (const int64_t cut = cut_short_at(expanded_); cut >= 0) {
        refuse("field " + std::to_string(cut + 1),
               "the dictionary is cut short, this field could not be built");
    }
    for (uint32_t i = 0; i < count_; i++) {
        const XfdField &field = xfd_.x_fdesc[i];
        if (field.fd_occurs_depth > kMaxGroups) {
            refuse(name_of(field), "OCCURS groups nest up to 15 deep");
        }
        if (std::any_of(field.fd_max_occurs, field.fd_max_occurs + field.fd_occurs_depth,
                        [](uint16_t times) { return times == 0; })) {
            refuse(name_of(field), "it is part of a group that occurs 0 times");
        }
    }
}

// Each view may have resolved the condition to another field, or to none, and a value
// that was never converted may look like sign and digits; so a value counts only if both
// views make of it what they hold.
std::string DictionaryWriter::original_value(uint32_t index) const {
    const XfdCondition &declared = xfd_.x_condition[index];
    const XfdCondition &expanded = expanded_.x_condition[index];
    const std::string candidates[] = {condition_value(xfd_, declared),
                                      condition_value(expanded_, expanded), declared.c_value,
                                      expanded.c_value};
    const auto *const original = std::ranges::find_if(candidates, [&](const std::string &value) {
        return value.size() < sizeof declared.c_value &&
               compared_value(xfd_, declared, value) == declared.c_value &&
               compared_value(expanded_, expanded, value) == expanded.c_value;
    });
    if (original == std::end(candidates)) {
        refuse("condition " + std::to_string(index + 1),
               "its value is not known, the fields of its name are of different kinds");
    }
    return *original;
}

// A key column or a condition that bears the name of one occurrence takes the mark
// from that one alone.  Moves on over the occurrences of the field.
bool DictionaryWriter::is_in_secondary_table(const XfdField &field) {
    uint64_t occurrences = 1;
    for (int level = 0; level < field.fd_occurs_depth && occurrences <= expanded_count_; level++) {
        occurrences *= field.fd_max_occurs[level];
    }
    if (n_expanded_ + occurrences > expanded_count_) {
        refuse(name_of(field), "not all of its occurrences are there");
    }
    const XfdField *first = expanded_.x_fdesc + n_expanded_;
    n_expanded_ += static_cast<uint32_t>(occurrences);
    return (field.fd_flags & XFD_FIELD_IN_SECONDARY_TABLE) != 0 ||
           std::any_of(first, first + occurrences, [](const XfdField &occurrence) {
               return (occurrence.fd_flags & XFD_FIELD_IN_SECONDARY_TABLE) != 0;
           });
}

void DictionaryWriter::write_one_field(const XfdField &field) {
    constexpr uint32_t kSecondaryTable = 16;
    constexpr uint32_t kHidden = 32;
    constexpr uint32_t kReadOnly = 64;
    uint32_t user_flags = field.fd_user_type & 15u;
    user_flags |= is_in_secondary_table(field) ? kSecondaryTable : 0;
    user_flags |= (field.fd_flags & XFD_FIELD_HIDDEN) != 0 ? kHidden : 0;
    user_flags |= (field.fd_flags & XFD_FIELD_READ_ONLY) != 0 ? kReadOnly : 0;
    write_field(field, user_flags);
}

// The index behind the first occurrence of the group that begins at `first` and
// is `level` deep (0 = outermost): the fields up to the one that leaves the group
// or belongs to another occurrence or another group.
uint32_t DictionaryWriter::end_of_first_occurrence(uint32_t first, int level) const {
    const XfdField &start = xfd_.x_fdesc[first];
    uint32_t i = first;
    const char *sub_table = nullptr;  // of the fields that belong to no inner group
    for (; i < count_; i++) {
        const XfdField &field = xfd_.x_fdesc[i];
        if (field.fd_occurs_depth <= level ||
            field.fd_max_occurs[level] != start.fd_max_occurs[level] ||
            field.fd_occurs_index[level] != 1) {
            break;
        }
        if (field.fd_occurs_depth == level + 1) {
            if (sub_table != nullptr && strcmp(sub_table, field.fd_subtable) != 0) {
                break;
            }
            sub_table = field.fd_subtable;
        }
    }
    return i;
}

// Writes the group and gives the index behind its last occurrence.
uint32_t DictionaryWriter::write_group(uint32_t first, int level) {
    const XfdField &start = xfd_.x_fdesc[first];
    const uint32_t end = end_of_first_occurrence(first, level);
    const uint32_t times = start.fd_max_occurs[level];
    const uint64_t behind = first + uint64_t{end - first} * times;
    const std::string what = "OCCURS group of " + name_of(start);
    if (behind > count_) {
        refuse(what, "not all of its occurrences are there");
    }
    const uint32_t occurrence_bytes = times > 1 ? xfd_.x_fdesc[end].fd_offset - start.fd_offset : 0;

    std::string sub_table;
    for (uint32_t i = first; i < end; i++) {
        if (xfd_.x_fdesc[i].fd_occurs_depth == level + 1) {
            sub_table = xfd_.x_fdesc[i].fd_subtable;
        }
    }
    open_group(what, times, occurrence_bytes, sub_table);
    for (uint32_t i = first; i < end;) {
        if (xfd_.x_fdesc[i].fd_occurs_depth > level + 1) {
            i = write_group(i, level + 1);
        } else {
            write_one_field(xfd_.x_fdesc[i++]);
        }
    }
    close_group(what);
    return static_cast<uint32_t>(behind);
}

void DictionaryWriter::write_fields() {
    for (uint32_t i = 0; i < count_;) {
        if (xfd_.x_fdesc[i].fd_occurs_depth > 0) {
            i = write_group(i, 0);
        } else {
            write_one_field(xfd_.x_fdesc[i++]);
        }
    }
    if (n_expanded_ != expanded_count_) {
        refuse(name_of(expanded_.x_fdesc[n_expanded_]),
               "the declared fields do not account for it");
    }
}

std::string DictionaryWriter::write() {
    if (xfd_.x_n_conditions != expanded_.x_n_conditions) {
        throw Failure("the dictionary was changed while it was read");
    }
    refuse_what_has_no_place();
    refuse_what_is_not_whole();
    write_head();
    write_fields();
    write_tail();
    return std::move(text_);
}

}  // namespace tool
