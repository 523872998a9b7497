// SPDX-License-Identifier: MIT
//
// Writes the text form of a dictionary.

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string_view>
#include <vector>

#include "tool/columns.h"
#include "tool/dictionary_writer.h"
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

enum FirstVersion { kFileType = 4, kListedCounts = 4, kLevels = 5, kConversions = 6 };

class TextWriter : public DictionaryWriter {
 public:
    TextWriter(const Xfd &declared, const Xfd &expanded, bool listed_view)
        : DictionaryWriter("text", declared, expanded, listed_view) {}

 private:
    using Values = std::vector<std::string>;

    void refuse_what_has_no_place() const override;
    void write_head() override;
    void write_field(const XfdField &field, uint32_t user_flags) override;
    void open_group(const std::string &what, uint32_t times, uint32_t size_bytes,
                    const std::string &sub_table) override;
    void close_group(const std::string &what) override { line(what, {"90002", "END OCCURS"}); }
    void write_tail() override {}

    std::string quoted(const std::string &what, std::string_view text) const;
    void line(const std::string &what, const Values &values);
    void write_identity();
    void write_conversions();
    void write_keys();
    void write_conditions();
    void write_condition(uint32_t index);
    void write_counts();
    void write_comment(const XfdField &field);
};

// One value of a line as the reader splits it: as it is where no rule of the
// splitter touches it, else between quotes.
std::string TextWriter::quoted(const std::string &what, std::string_view text) const {
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

// Members that the line of a condition of its type has no value for.
bool has_more_than_its_line(const XfdCondition &condition) {
    const bool has_operands = condition.c_num1 != -1 || condition.c_num2 != -1;
    const bool has_value = condition.c_value[0] != '\0';
    switch (condition.c_type) {
        case 0:
            return condition.c_num1 != 0 || condition.c_num2 != 0 || has_value ||
                   condition.c_variable[0] != '\0' || condition.c_table[0] != '\0';
        case XFD_COND_AND:
        case XFD_COND_OR:
            return has_value || condition.c_variable[0] != '\0';
        case XFD_COND_OTHER:
            return has_value || has_operands;
        default:
            return has_operands;
    }
}

void TextWriter::refuse_what_has_no_place() const {
    if (xfd_.x_version < 1 || xfd_.x_version > kLastVersion) {
        refuse("version " + std::to_string(xfd_.x_version), "versions are 1 to 8");
    }
    if (xfd_.x_identity_field >= 0) {
        refuse("identity field " + std::to_string(xfd_.x_identity_field + 1),
               "it has no mark for it");
    }
    for (uint32_t i = 0; i < xfd_.x_n_conditions; i++) {
        if (has_more_than_its_line(xfd_.x_condition[i])) {
            refuse("condition " + std::to_string(i + 1),
                   "values that are none of its comparison's");
        }
    }
    for (uint32_t i = 0; i < count_; i++) {
        const XfdField &field = xfd_.x_fdesc[i];
        if (field.fd_null_value != nullptr) {
            refuse(name_of(field), "null value \"" + printable(field.fd_null_value) + "\"");
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

void TextWriter::write_field(const XfdField &field, uint32_t user_flags) {
    const std::string what = name_of(field);
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

void TextWriter::open_group(const std::string &what, uint32_t times, uint32_t size_bytes,
                            const std::string &sub_table) {
    Values values = {"90001", std::to_string(times), number(what, size_bytes), "START OCCURS"};
    if (!sub_table.empty()) {
        if (xfd_.x_version < kConversions) {
            refuse(what, "versions below 6 have no sub-tables");
        }
        values.push_back(quoted(what, sub_table));
    }
    line(what, values);
}

void TextWriter::write_head() {
    write_identity();
    write_conversions();
    write_keys();
    write_conditions();
    write_counts();
}

}  // namespace

std::string dictionary_text(const Xfd &declared, const Xfd &expanded, bool listed_view) {
    return TextWriter(declared, expanded, listed_view).write();
}

}  // namespace tool
