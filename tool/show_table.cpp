// SPDX-License-Identifier: MIT
#include <cinttypes>
#include <cstdio>

#include "tool/columns.h"
#include "tool/ruler.h"
#include "tool/session.h"
#include "tool/show.h"
#include "tool/words.h"
#include "wbfsi/accessors.h"

namespace tool {

namespace {

constexpr const char *kIndent = "  ";

void print_property(std::ostream &out, const char *name, const std::string &value) {
    if (!value.empty()) {
        out << name << std::string(14 - std::string(name).size(), ' ') << value << '\n';
    }
}

std::string bytes_in_words(uint64_t n) {
    return std::to_string(n) + (n == 1 ? " byte" : " bytes");
}

std::string character(char c) {
    const char text[] = {c, '\0'};
    return "\"" + printable(text) + "\"";
}

void print_identity(std::ostream &out, const Xfd &xfd) {
    print_property(out, "Dictionary",
                   (xfd.x_filename != nullptr ? std::string(xfd.x_filename) + ", " : "") +
                       "version " + std::to_string(xfd.x_version));
    print_property(out, "Select name", printable(xfd.x_select_name));
    print_property(out, "Table", printable(xfd.x_table_name));
    print_property(out, "File", file_type_in_words(xfd.x_file_type));
    print_property(out, "Trigger",
                   xfd.x_cobol_trigger != nullptr ? printable(xfd.x_cobol_trigger) : "");
    print_property(
        out, "Records",
        (xfd.x_min_rec_size == xfd.x_max_rec_size ? ""
                                                  : std::to_string(xfd.x_min_rec_size) + " to ") +
            bytes_in_words(xfd.x_max_rec_size) +
            ((xfd.x_flags & XFD_MULTIPLE_01) != 0 ? ", several record descriptions" : ""));
    if (const XfdCvtInfo *cvt = xfd.x_cvt_info) {
        print_property(out, "Numbers",
                       "sign compatibility " + std::to_string(cvt->cv_sign_compat) + ", " +
                           (cvt->cv_digits_code == 40 ? "18 digits" : "more than 18 digits") +
                           ", point " + character(cvt->cv_period) + ", grouping " +
                           character(cvt->cv_comma) + ", encoding " +
                           std::to_string(cvt->cv_encoding));
    }
    print_property(out, "Fields",
                   std::to_string(xfd.x_n_fields) + ", with OCCURS " +
                       std::to_string(xfd.x_n_total_fields) + "; listed " +
                       std::to_string(xfd.x_n_fields_listed) + ", with OCCURS " +
                       std::to_string(xfd.x_n_total_fields_listed));
}

std::string segments_in_words(const XfdKey &key) {
    std::string words;
    for (int i = 0; i < key.k_seg_count && i < XFD_MAX_SEGMENTS; i++) {
        words += (i == 0 ? "" : ", ") + std::to_string(key.k_seg_offset[i]) + "+" +
                 std::to_string(key.k_seg_length[i]);
    }
    return words;
}

void print_keys(std::ostream &out, const Xfd &xfd) {
    if (xfd.x_n_keys == 0) {
        return;
    }
    Columns columns({{"Key", Columns::kRight},
                     {"Values", Columns::kLeft},
                     {"Offset+length", Columns::kLeft},
                     {"Fields", Columns::kLeft}});
    for (uint32_t i = 0; i < xfd.x_n_keys; i++) {
        const XfdKey &key = xfd.x_key_desc[i];
        std::string fields;
        for (uint32_t c = 0; c < key.k_n_fields; c++) {
            fields +=
                (c == 0 ? "" : ", ") + printable(key.k_field[c].kc_name) +
                (Z4GetXFDKeyColFieldNum(&key.k_field[c]) == kNoField ? " (no such field)" : "");
        }
        columns.add({std::to_string(i), key.k_duplicates != 0 ? "may repeat" : "unique",
                     segments_in_words(key), fields});
    }
    out << "\nKeys\n";
    columns.print(out, kIndent);
}

void print_conditions(std::ostream &out, const Xfd &xfd) {
    if (xfd.x_n_conditions == 0) {
        return;
    }
    Columns columns({{"Condition", Columns::kRight},
                     {"Holds when", Columns::kLeft},
                     {"Table", Columns::kLeft}});
    for (uint32_t i = 0; i < xfd.x_n_conditions; i++) {
        const XfdCondition &condition = xfd.x_condition[i];
        columns.add({std::to_string(i + 1), printable(condition_in_words(xfd, condition).c_str()),
                     printable(condition.c_table)});
    }
    out << "\nConditions\n";
    columns.print(out, kIndent);
}

std::string condition_of(const XfdField &field) {
    switch (field.fd_cond_num) {
        case 0:
            return "";
        case XFD_LISTED_ONLY:
            return "listed";
        default:
            return std::to_string(field.fd_cond_num);
    }
}

void print_fields(std::ostream &out, const Xfd &xfd, uint32_t count) {
    Columns columns({{"#", Columns::kRight},
                     {"Field", Columns::kLeft},
                     {"Offset", Columns::kRight},
                     {"Size", Columns::kRight},
                     {"Type", Columns::kLeft},
                     {"Digits", Columns::kRight},
                     {"Scale", Columns::kRight},
                     {"Level", Columns::kRight},
                     {"Condition", Columns::kRight},
                     {"Flags", Columns::kLeft},
                     {"Date", Columns::kLeft},
                     {"Occurs", Columns::kLeft},
                     {"Sub-table", Columns::kLeft},
                     {"Null value", Columns::kLeft}});
    for (uint32_t i = 0; i < count; i++) {
        const XfdField &field = xfd.x_fdesc[i];
        const bool numeric = is_numeric_type(field.fd_argument.a_type);
        std::string date = printable(field.fd_format);
        if (date.empty() && field.fd_user_type != 0) {
            date = field.fd_user_type == 1 ? "date"
                                           : "user type " + std::to_string(field.fd_user_type);
        }
        columns.add(
            {std::to_string(i + 1), printable(field.fd_name), std::to_string(field.fd_offset),
             std::to_string(field.fd_argument.a_size), type_in_words(field.fd_argument.a_type),
             numeric ? std::to_string(field.fd_argument.a_digits) : "",
             field.fd_argument.a_scale != 0 ? std::to_string(field.fd_argument.a_scale) : "",
             field.fd_level != 0 ? std::to_string(field.fd_level) : "", condition_of(field),
             flags_in_words(field), date, occurs_in_words(field), printable(field.fd_subtable),
             field.fd_null_value != nullptr ? printable(field.fd_null_value) : ""});
    }
    out << "\nFields\n";
    columns.print(out, kIndent);
}

void print_comments(std::ostream &out, const Xfd &xfd, uint32_t count) {
    bool first = true;
    for (uint32_t i = 0; i < count; i++) {
        const ZString comment = xfd.x_fdesc[i].fd_comment;
        if (comment == nullptr) {
            continue;
        }
        out << (first ? "\nComments\n" : "") << kIndent << printable(xfd.x_fdesc[i].fd_name)
            << '\n';
        first = false;
        std::string line;
        for (const char *c = ZStringGet(comment);; c++) {
            if (*c != '\n' && *c != '\0') {
                line += *c;
                continue;
            }
            out << kIndent << kIndent << printable(line.c_str()) << '\n';
            line.clear();
            if (*c == '\0') {
                break;
            }
        }
    }
}

}  // namespace

void show_table(std::ostream &out, const Xfd &xfd, bool listed_view, bool with_comments) {
    const uint32_t count = shown_field_count(xfd, listed_view);
    print_identity(out, xfd);
    print_keys(out, xfd);
    print_conditions(out, xfd);
    print_fields(out, xfd, count);
    if (with_comments) {
        print_comments(out, xfd, count);
    }
    const int64_t cut = cut_short_at(xfd);
    if (cut >= 0) {
        out << "\nThe dictionary is cut short: field " << cut + 1 << " of " << xfd.x_n_total_fields
            << " could not be built, and those behind it were not read.\n";
    }
    std::vector<RulerItem> items;
    for (uint32_t i = 0; i < count; i++) {
        const XfdField &field = xfd.x_fdesc[i];
        if (field.fd_name[0] != '\0') {
            items.push_back({printable(field.fd_name), field.fd_offset, field.fd_argument.a_size});
        }
    }
    out << "\nRecord (" << bytes_in_words(xfd.x_max_rec_size) << ")\n";
    print_ruler(out, items, xfd.x_max_rec_size);
}

}  // namespace tool
