// SPDX-License-Identifier: MIT
//
// Writes the text form of a dictionary.  It is made from the fields as they were
// declared, so the first occurrence of each OCCURS group stands for the group, and
// the lines START OCCURS and END OCCURS around it are worked out from the depths
// and counts of the fields.

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string_view>
#include <vector>

#include "tool/columns.h"
#include "tool/failure.h"
#include "tool/session.h"
#include "tool/show.h"
#include "tool/words.h"
#include "wbfsi/accessors.h"

namespace tool {

namespace {

// The reader takes lines of at most 511 bytes, newline included, and cuts the last
// byte whatever it is.
constexpr size_t kMaxLine = 510;
constexpr int kLastVersion = 8;
constexpr int kMaxGroups = 15;
constexpr uint32_t kMaxNumber = INT32_MAX;

enum FirstVersion { kFileType = 4, kListedCounts = 4, kLevels = 5, kConversions = 6 };

[[noreturn]] void refuse(const std::string &what, const std::string &why) {
    throw Failure(what + ": the text form cannot hold it: " + why);
}

// One value of a line as the reader splits it: as it is where no rule of the
// splitter touches it, else between quotes.
std::string quoted(const std::string &what, std::string_view text) {
    if (text.find('\n') != std::string_view::npos) {
        refuse(what, "a value ends with its line, and this one holds a line feed");
    }
    const bool plain = !text.empty() && text.find_first_of(" \t\r\",#") == std::string_view::npos;
    if (plain) {
        return std::string(text);
    }
    std::string result = "\"";
    for (const char c : text) {
        result += c;
        if (c == '"') {
            result += c;
        }
    }
    return result + '"';
}

std::string number(const std::string &what, uint32_t value) {
    if (value > kMaxNumber) {
        refuse(what, "numbers go up to 2147483647, this one is " + std::to_string(value));
    }
    return std::to_string(value);
}

class TextWriter {
 public:
    TextWriter(const Xfd &declared, const Xfd &expanded, bool listed_view)
        : xfd_(declared),
          expanded_(expanded),
          count_(shown_field_count(declared, listed_view)),
          expanded_count_(shown_field_count(expanded, listed_view)) {}

    std::string write();

 private:
    using Values = std::vector<std::string>;

    void line(const std::string &what, const Values &values);
    void refuse_what_has_no_place() const;
    void write_identity();
    void write_conversions();
    void write_keys();
    void write_conditions();
    void write_condition(uint32_t index);
    std::string original_value(uint32_t index) const;
    void write_counts();
    void write_fields();
    void write_comment(const XfdField &field);
    void write_field(const XfdField &field);
    bool is_in_secondary_table(const XfdField &field);
    uint32_t write_group(uint32_t first, int level);
    uint32_t end_of_first_occurrence(uint32_t first, int level) const;

    const Xfd &xfd_;       // as declared
    const Xfd &expanded_;  // field by field, the occurrences of each one together
    const uint32_t count_;
    const uint32_t expanded_count_;
    uint32_t n_expanded_ = 0;  // fields of expanded_ that are written
    std::string text_;
};

void TextWriter::line(const std::string &what, const Values &values) {
    std::string text;
    for (const std::string &value : values) {
        text += (text.empty() ? "" : ",") + value;
    }
    if (text.size() > kMaxLine) {
        refuse(what, "its line would have " + std::to_string(text.size()) + " bytes, " +
                         std::to_string(kMaxLine) + " are read");
    }
    text_ += text + '\n';
}

std::string name_of(const XfdField &field) {
    return "field " + printable(field.fd_name);
}

void TextWriter::refuse_what_has_no_place() const {
    if (xfd_.x_version < 1 || xfd_.x_version > kLastVersion) {
        refuse("version " + std::to_string(xfd_.x_version), "versions are 1 to 8");
    }
    if (const int64_t cut = cut_short_at(expanded_); cut >= 0) {
        refuse("field " + std::to_string(cut + 1),
               "the dictionary is cut short, this field could not be built");
    }
    if (xfd_.x_identity_field >= 0) {
        refuse("identity field " + std::to_string(xfd_.x_identity_field + 1),
               "it has no mark for it");
    }
    for (uint32_t i = 0; i < count_; i++) {
        const XfdField &field = xfd_.x_fdesc[i];
        if (field.fd_null_value != nullptr) {
            refuse(name_of(field), "null value \"" + printable(field.fd_null_value) + "\"");
        }
        if (field.fd_occurs_depth > kMaxGroups) {
            refuse(name_of(field), "OCCURS groups nest up to 15 deep");
        }
        if (std::any_of(field.fd_max_occurs, field.fd_max_occurs + field.fd_occurs_depth,
                        [](uint16_t times) { return times == 0; })) {
            refuse(name_of(field), "it is part of a group that occurs 0 times");
        }
    }
}

void TextWriter::write_identity() {
    Values values = {"XFD", std::to_string(xfd_.x_version),
                     quoted("select name", xfd_.x_select_name),
                     quoted("table name", xfd_.x_table_name)};
    if (xfd_.x_version >= kFileType) {
        values.push_back(std::to_string(xfd_.x_file_type));
    }
    if (xfd_.x_cobol_trigger != nullptr) {
        if (xfd_.x_version < kConversions) {
            refuse("COBOL trigger", "versions below 6 have none");
        }
        values.push_back(quoted("COBOL trigger", xfd_.x_cobol_trigger));
    }
    line("identification", values);
    line("record sizes",
         {number("maximum record size", xfd_.x_max_rec_size),
          number("minimum record size", xfd_.x_min_rec_size), std::to_string(xfd_.x_n_keys)});
}

void TextWriter::write_conversions() {
    if (xfd_.x_version < kConversions) {
        return;
    }
    const XfdCvtInfo &cvt = *xfd_.x_cvt_info;
    constexpr uint16_t kCodeOf18Digits = 40;
    if (cvt.cv_encoding < 0) {
        refuse("encoding " + std::to_string(cvt.cv_encoding), "encodings are 0 and up");
    }
    line("conversions",
         {std::to_string(cvt.cv_sign_compat), cvt.cv_digits_code == kCodeOf18Digits ? "18" : "31",
          std::to_string(static_cast<unsigned char>(cvt.cv_period)),
          std::to_string(static_cast<unsigned char>(cvt.cv_comma)),
          std::to_string(cvt.cv_encoding)});
}

void TextWriter::write_keys() {
    for (uint32_t i = 0; i < xfd_.x_n_keys; i++) {
        const XfdKey &key = xfd_.x_key_desc[i];
        const std::string what = "key " + std::to_string(i);
        Values values = {std::to_string(key.k_seg_count), std::to_string(key.k_duplicates)};
        for (int s = 0; s < key.k_seg_count && s < XFD_MAX_SEGMENTS; s++) {
            values.push_back(std::to_string(key.k_seg_length[s]));
            values.push_back(number(what, key.k_seg_offset[s]));
        }
        line(what, values);
        line(what, {std::to_string(key.k_n_fields)});
        for (uint32_t c = 0; c < key.k_n_fields; c++) {
            line(what, {quoted(what, key.k_field[c].kc_name)});
        }
    }
}

// Every condition has a line; a slot that none filled is kept empty by a line that
// fills another one once more.
void TextWriter::write_conditions() {
    line("conditions", {std::to_string(xfd_.x_n_conditions)});
    const XfdCondition *const begin = xfd_.x_condition;
    const XfdCondition *const end = begin + xfd_.x_n_conditions;
    const XfdCondition *filled =
        std::find_if(begin, end, [](const XfdCondition &c) { return c.c_type != 0; });
    for (const XfdCondition *condition = begin; condition != end; condition++) {
        if (filled == end) {
            refuse("condition 1", "it has no type");
        }
        const XfdCondition *line_of = condition->c_type != 0 ? condition : filled;
        write_condition(static_cast<uint32_t>(line_of - begin));
    }
}

// A comparison that one of the two views resolved and the other did not has its
// value as it was written in the other.
std::string TextWriter::original_value(uint32_t index) const {
    const XfdCondition &declared = xfd_.x_condition[index];
    const XfdCondition &expanded = expanded_.x_condition[index];
    std::string value = condition_value(xfd_, declared);
    if (strcmp(declared.c_value, expanded.c_value) == 0 || value == declared.c_value) {
        return value;
    }
    return condition_value(expanded_, expanded);
}

void TextWriter::write_condition(uint32_t index) {
    const XfdCondition &condition = xfd_.x_condition[index];
    const std::string what = "condition " + std::to_string(index + 1);
    Values values = {std::to_string(index + 1), std::to_string(condition.c_type)};
    switch (condition.c_type) {
        case XFD_COND_AND:
        case XFD_COND_OR:
            values.push_back(std::to_string(Z4GetXFDConditionNum1(&condition)));
            values.push_back(std::to_string(Z4GetXFDConditionNum2(&condition)));
            break;
        case XFD_COND_OTHER:
            values.push_back(quoted(what, condition.c_variable));
            break;
        default:
            values.push_back(quoted(what, condition.c_variable));
            values.push_back(quoted(what, original_value(index)));
            break;
    }
    if (condition.c_table[0] != '\0') {
        values.push_back(quoted(what, condition.c_table));
    }
    line(what, values);
}

void TextWriter::write_counts() {
    Values values = {number("field count", xfd_.x_n_fields),
                     number("total field count", xfd_.x_n_total_fields)};
    if (xfd_.x_version >= kListedCounts) {
        values.push_back(number("listed field count", xfd_.x_n_fields_listed));
    }
    if (xfd_.x_version >= kLevels) {
        values.push_back(number("total listed field count", xfd_.x_n_total_fields_listed));
    }
    line("field counts", values);
}

// Comment lines are those directly above the field's line: each of them empty or
// with "#" as the first byte that is not blank.
void TextWriter::write_comment(const XfdField &field) {
    if (field.fd_comment == nullptr) {
        return;
    }
    const std::string what = "comment of " + name_of(field);
    std::istringstream comment(
        std::string(ZStringGet(field.fd_comment), ZStringGetLength(field.fd_comment)) + "\n");
    for (std::string text; std::getline(comment, text);) {
        const size_t first = text.find_first_not_of(" \t");
        if (first != std::string::npos && text[first] != '#') {
            refuse(what, "the line \"" + printable(text.c_str()) + "\" does not begin with #");
        }
        if (text.size() > kMaxLine) {
            refuse(what, "a line of " + std::to_string(text.size()) + " bytes; " +
                             std::to_string(kMaxLine) + " are read");
        }
        text_ += text + '\n';
    }
}

// A key column or a condition that bears the name of one occurrence takes the mark
// from that one alone.  Moves on over the occurrences of the field.
bool TextWriter::is_in_secondary_table(const XfdField &field) {
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

void TextWriter::write_field(const XfdField &field) {
    const std::string what = name_of(field);
    constexpr uint32_t kSecondaryTable = 16;
    constexpr uint32_t kHidden = 32;
    constexpr uint32_t kReadOnly = 64;
    uint32_t user_flags = field.fd_user_type & 15u;
    user_flags |= is_in_secondary_table(field) ? kSecondaryTable : 0;
    user_flags |= (field.fd_flags & XFD_FIELD_HIDDEN) != 0 ? kHidden : 0;
    user_flags |= (field.fd_flags & XFD_FIELD_READ_ONLY) != 0 ? kReadOnly : 0;
    const XfdArgument &data = field.fd_argument;
    Values values = {number(what, field.fd_offset),    number(what, data.a_size),
                     std::to_string(data.a_type),      std::to_string(data.a_digits),
                     std::to_string(data.a_scale),     std::to_string(user_flags),
                     std::to_string(field.fd_cond_num)};
    if (xfd_.x_version >= kLevels) {
        values.push_back(std::to_string(field.fd_level));
    }
    values.push_back(quoted(what, field.fd_name));
    if (field.fd_format[0] != '\0') {
        values.push_back(quoted(what, field.fd_format));
    }
    write_comment(field);
    line(what, values);
}

// The index behind the first occurrence of the group that begins at `first` and
// is `level` deep (0 = outermost): the fields up to the one that leaves the group
// or belongs to another occurrence or another group.
uint32_t TextWriter::end_of_first_occurrence(uint32_t first, int level) const {
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
uint32_t TextWriter::write_group(uint32_t first, int level) {
    const XfdField &start = xfd_.x_fdesc[first];
    const uint32_t end = end_of_first_occurrence(first, level);
    const uint32_t times = start.fd_max_occurs[level];
    const uint64_t behind = first + uint64_t{end - first} * times;
    const std::string what = "OCCURS group of " + name_of(start);
    if (behind > count_) {
        refuse(what, "not all of its occurrences are there");
    }
    const uint32_t occurrence_bytes = times > 1 ? xfd_.x_fdesc[end].fd_offset - start.fd_offset : 0;

    Values values = {"90001", std::to_string(times), number(what, occurrence_bytes),
                     "START OCCURS"};
    std::string sub_table;
    for (uint32_t i = first; i < end; i++) {
        if (xfd_.x_fdesc[i].fd_occurs_depth == level + 1) {
            sub_table = xfd_.x_fdesc[i].fd_subtable;
        }
    }
    if (!sub_table.empty()) {
        if (xfd_.x_version < kConversions) {
            refuse(what, "versions below 6 have no sub-tables");
        }
        values.push_back(quoted(what, sub_table));
    }
    line(what, values);
    for (uint32_t i = first; i < end;) {
        if (xfd_.x_fdesc[i].fd_occurs_depth > level + 1) {
            i = write_group(i, level + 1);
        } else {
            write_field(xfd_.x_fdesc[i++]);
        }
    }
    line(what, {"90002", "END OCCURS"});
    return static_cast<uint32_t>(behind);
}

void TextWriter::write_fields() {
    for (uint32_t i = 0; i < count_;) {
        if (xfd_.x_fdesc[i].fd_occurs_depth > 0) {
            i = write_group(i, 0);
        } else {
            write_field(xfd_.x_fdesc[i++]);
        }
    }
    if (n_expanded_ != expanded_count_) {
        refuse(name_of(expanded_.x_fdesc[n_expanded_]),
               "the declared fields do not account for it");
    }
}

std::string TextWriter::write() {
    if (xfd_.x_n_conditions != expanded_.x_n_conditions) {
        throw Failure("the dictionary was changed while it was read");
    }
    refuse_what_has_no_place();
    write_identity();
    write_conversions();
    write_keys();
    write_conditions();
    write_counts();
    write_fields();
    return std::move(text_);
}

}  // namespace

std::string dictionary_text(const Xfd &declared, const Xfd &expanded, bool listed_view) {
    return TextWriter(declared, expanded, listed_view).write();
}

// The listed items stand in the text too where the listed view is whole: a
// dictionary may count too few of them for it.
void show_text(std::ostream &out, const std::string &name) {
    constexpr uint32_t kNormal = XFD_LOAD_COMMENTS;
    constexpr uint32_t kListed = XFD_LOAD_COMMENTS | XFD_LOAD_LISTED_VIEW;
    const Dictionary normal = load_dictionary(name, kNormal);
    const Dictionary listed = try_load_dictionary(name, kListed);
    const bool use_listed = listed != nullptr && listed->x_version >= kLevels &&
                            listed->x_n_fields_alloc > normal->x_n_fields_alloc;
    const uint32_t flags = (use_listed ? kListed : kNormal) | XFD_LOAD_COPY_OCCURS;
    const Dictionary declared = load_dictionary(name, flags);
    out << dictionary_text(*declared, use_listed ? *listed : *normal, use_listed);
}

}  // namespace tool
