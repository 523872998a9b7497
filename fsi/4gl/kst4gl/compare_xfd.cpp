// SPDX-License-Identifier: MIT
//
// The comparison of two dictionaries.  The order of the items is that of the
// records; labels and hints are read by scripts, so they stay to the letter.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "wbfsi/compare.h"

namespace fsi {
namespace {

constexpr const char *kNoHint = nullptr;
constexpr const char *kFatal = "Fatal difference";
constexpr const char *kSignHint = "This may be a difference in sign encoding";
constexpr const char *kPointHint = "??? DECIMAL IS COMMA difference???";
constexpr const char *kRecordSizeHint =
    "Size differences may be the result of differences in how KST and WB treat certain data types";
constexpr const char *kDigitsHint =
    "WB defaults to 31 digits for numeric items, KST to 18. Try the KST switch -Dd31L";
constexpr const char *kKeyOrderHint = "Keys may be in a different order";
constexpr const char *kFillerHint = "OK if all missing fields are FILLER";
constexpr const char *kUserTypeHint = "Fatal difference, 1 = Date, 2 = Binary, 3 = VarLen";

// One comparison: what it leaves out, and how many differences it has printed.
class Comparison {
 public:
    Comparison(bool ignore_sizes, bool verbose) : ignore_sizes_(ignore_sizes), verbose_(verbose) {}

    int compare(Xfd &first, Xfd &second, bool skip_version, bool sort_keys);

 private:
    using Format = const char *;

    void compare_identity(const Xfd &a, const Xfd &b);
    void compare_conversion(const XfdCvtInfo *a, const XfdCvtInfo *b);
    void compare_keys(const Xfd &a, const Xfd &b);
    void compare_conditions(const Xfd &a, const Xfd &b);
    void compare_counts(const Xfd &a, const Xfd &b);
    void compare_field(int f, const XfdField &a, const XfdField &b);
    void compare_digits(int f, const XfdArgument &a, const XfdArgument &b);
    void compare_occurs(int f, const XfdField &a, const XfdField &b);
    void compare_directives(int f, const XfdField &a, const XfdField &b);

    // The arguments behind the label belong to its placeholders.
    void number(int64_t a, int64_t b, const char *hint, Format label, ...)
        __attribute__((format(printf, 5, 6)));
    void text(const char *a, const char *b, Format label, ...)
        __attribute__((format(printf, 4, 5)));
    void announce(const char *hint, Format label, va_list arguments)
        __attribute__((format(printf, 3, 0)));

    bool ignore_sizes_;
    bool verbose_;
    int count_ = 0;
};

void Comparison::announce(const char *hint, Format label, va_list arguments) {
    if (verbose_)
        std::printf("\n%s\n", hint != kNoHint ? hint : kFatal);
    std::vfprintf(stdout, label, arguments);
    ++count_;
}

// Every number of the records, signed or not, is itself in 64 bits.
void Comparison::number(int64_t a, int64_t b, const char *hint, Format label, ...) {
    if (a == b)
        return;
    va_list arguments;
    va_start(arguments, label);
    announce(hint, label, arguments);
    va_end(arguments);
    std::printf("\n< %lld\n> %lld\n", static_cast<long long>(a), static_cast<long long>(b));
}

void Comparison::text(const char *a, const char *b, Format label, ...) {
    const char *shown_a = a != nullptr ? a : "NULL";
    const char *shown_b = b != nullptr ? b : "NULL";
    if (std::strcmp(shown_a, shown_b) == 0)
        return;
    va_list arguments;
    va_start(arguments, label);
    announce(kFatal, label, arguments);
    va_end(arguments);
    std::printf("\n< %s\n> %s\n", shown_a, shown_b);
}

// Sizes and digits that are compared as signed numbers show as such.
int64_t as_signed(uint32_t value) {
    return static_cast<int32_t>(value);
}

bool is_numeric(uint16_t type) {
    return (type >= 1 && type <= 14) || type == 23 || (type >= 30 && type <= 33) ||
           (type >= 35 && type <= 39);
}

// A field without a name holds an empty one.
const char *name_of(const XfdField &field) {
    return field.fd_name[0] != '\0' ? field.fd_name : nullptr;
}

uint32_t key_count(const Xfd &xfd) {
    return std::min(xfd.x_n_keys, xfd.x_n_keys_alloc);
}

bool comes_before(const XfdKey &a, const XfdKey &b) {
    return a.k_seg_offset[0] < b.k_seg_offset[0];
}

// Merges two ordered neighbours where they are.
void merge(XfdKey *begin, XfdKey *middle, XfdKey *end) {
    if (begin == middle || middle == end || !comes_before(*middle, *(middle - 1)))
        return;
    if (end - begin == 2) {
        std::swap(*begin, *middle);
        return;
    }
    XfdKey *left = begin;
    XfdKey *right = middle;
    if (middle - begin > end - middle) {
        left += (middle - begin) / 2;
        right = std::lower_bound(middle, end, *left, comes_before);
    } else {
        right += (end - middle) / 2;
        left = std::upper_bound(begin, middle, *right, comes_before);
    }
    XfdKey *cut = std::rotate(left, middle, right);
    merge(begin, left, cut);
    merge(cut, right, end);
}

// Stable, and without the memory that std::stable_sort asks for.
void sort(XfdKey *begin, XfdKey *end) {
    if (end - begin < 2)
        return;
    XfdKey *middle = begin + (end - begin) / 2;
    sort(begin, middle);
    sort(middle, end);
    merge(begin, middle, end);
}

// The primary key stays the first.
void sort_alternate_keys(Xfd &xfd) {
    const uint32_t count = key_count(xfd);
    if (count >= 2)
        sort(xfd.x_key_desc + 1, xfd.x_key_desc + count);
}

void Comparison::compare_identity(const Xfd &a, const Xfd &b) {
    text(a.x_select_name, b.x_select_name, "Select name");
    text(a.x_table_name, b.x_table_name, "Table name");
    text(a.x_cobol_trigger, b.x_cobol_trigger, "COB Trigger");
    number(a.x_file_type, b.x_file_type, kFatal, "File type");
    number(a.x_flags & XFD_MULTIPLE_01, b.x_flags & XFD_MULTIPLE_01, kNoHint, "Multiple 01");
    if (!ignore_sizes_) {
        number(a.x_min_rec_size, b.x_min_rec_size, kRecordSizeHint, "Min rec size");
        number(a.x_max_rec_size, b.x_max_rec_size, kRecordSizeHint, "Max rec size");
    }
    number(a.x_min_rec_size != a.x_max_rec_size, b.x_min_rec_size != b.x_max_rec_size, kNoHint,
           "Variable record size");
}

void Comparison::compare_conversion(const XfdCvtInfo *a, const XfdCvtInfo *b) {
    static constexpr XfdCvtInfo kNone = {};
    a = a != nullptr ? a : &kNone;
    b = b != nullptr ? b : &kNone;
    number(a->cv_sign_compat, b->cv_sign_compat, kSignHint, "Convert info flags");
    number(a->cv_digits_code, b->cv_digits_code, kDigitsHint, "Convert info nsize2");
    number(a->cv_sign_code1, b->cv_sign_code1, kSignHint, "Convert info NISnegAdjust");
    number(a->cv_sign_code2, b->cv_sign_code2, kSignHint, "Convert info NISSignOfAtoI");
    number(a->cv_period, b->cv_period, kPointHint, "Convert info period");
    number(a->cv_comma, b->cv_comma, kPointHint, "Convert info comma");
    number(a->cv_encoding, b->cv_encoding, kFatal, "Convert info encoding type");
}

void Comparison::compare_keys(const Xfd &a, const Xfd &b) {
    static constexpr const char *kLengthHint =
        "Keys may be in a different order, or size differences may be a valid result";
    static constexpr const char *kOffsetHint =
        "Keys may be in a different order, or size differences may cause offset differences";
    const int n_keys = static_cast<int>(std::min(key_count(a), key_count(b)));
    for (int k = 0; k < n_keys; ++k) {
        const XfdKey &one = a.x_key_desc[k];
        const XfdKey &other = b.x_key_desc[k];
        number(one.k_seg_count, other.k_seg_count, kKeyOrderHint, "Key %d segment count", k);
        number(one.k_duplicates != 0, other.k_duplicates != 0, kKeyOrderHint, "Key %d dups allowed",
               k);
        if (ignore_sizes_)
            continue;
        const int n_segments =
            std::min({int{one.k_seg_count}, int{other.k_seg_count}, XFD_MAX_SEGMENTS});
        for (int s = 0; s < n_segments; ++s) {
            number(one.k_seg_length[s], other.k_seg_length[s], kLengthHint,
                   "Key %d, segment %d length", k, s);
            number(one.k_seg_offset[s], other.k_seg_offset[s], kOffsetHint,
                   "Key %d, segment %d offset", k, s);
        }
    }
}

void Comparison::compare_conditions(const Xfd &a, const Xfd &b) {
    number(a.x_n_conditions, b.x_n_conditions, kNoHint, "Number of conditions");
    const int n_conditions = std::min(std::min(a.x_n_conditions, a.x_n_conditions_alloc),
                                      std::min(b.x_n_conditions, b.x_n_conditions_alloc));
    for (int c = 0; c < n_conditions; ++c) {
        const XfdCondition &one = a.x_condition[c];
        const XfdCondition &other = b.x_condition[c];
        number(one.c_type, other.c_type, kFatal, "Condition %d type", c);
        text(one.c_variable, other.c_variable, "Condition %d field", c);
        text(one.c_value, other.c_value, "Condition %d value", c);
        text(one.c_table, other.c_table, "Condition %d tablename", c);
        number(one.c_num1, other.c_num1, kFatal, "Condition %d num1", c);
        number(one.c_num2, other.c_num2, kFatal, "Condition %d num2", c);
    }
}

void Comparison::compare_counts(const Xfd &a, const Xfd &b) {
    number(a.x_n_fields, b.x_n_fields, kFillerHint, "Number of fields");
    number(a.x_n_total_fields, b.x_n_total_fields, kFillerHint, "Number of totalfields");
    number(a.x_n_fields_listed, b.x_n_fields_listed, kFillerHint, "Number of fields listed");
    number(a.x_n_total_fields_listed, b.x_n_total_fields_listed, kFillerHint,
           "Number of totalfields listed");
    number(a.x_n_fields_alloc, b.x_n_fields_alloc, kNoHint, "Number of alloc_fields");
}

void Comparison::compare_digits(int f, const XfdArgument &a, const XfdArgument &b) {
    static constexpr const char *kUnusedDigits =
        "In a non-numeric field, the number of digits isn't used, so this is likely not serious";
    static constexpr const char *kUnusedScale =
        "In a non-numeric field, the scale isn't used, so this is likely not serious";
    const bool counts = is_numeric(a.a_type);
    number(a.a_digits, b.a_digits, counts ? kFatal : kUnusedDigits, "Field %d digits", f);
    number(a.a_scale, b.a_scale, counts ? kFatal : kUnusedScale, "Field %d scale", f);
}

void Comparison::compare_occurs(int f, const XfdField &a, const XfdField &b) {
    for (int i = 0; i < XFD_MAX_OCCURS; ++i) {
        number(a.fd_max_occurs[i], b.fd_max_occurs[i], kNoHint, "Field %d max occurs %d", f, i);
        number(a.fd_occurs_index[i], b.fd_occurs_index[i], kNoHint, "Field %d occurs indices %d", f,
               i);
    }
    number(a.fd_occurs_depth, b.fd_occurs_depth, kNoHint, "Field %d occurs depth", f);
}

void Comparison::compare_directives(int f, const XfdField &a, const XfdField &b) {
    const auto compare_bit = [&](uint32_t bit, const char *directive) {
        number((a.fd_flags & bit) != 0, (b.fd_flags & bit) != 0, kNoHint, "Field %d %s", f,
               directive);
    };
    compare_bit(XFD_FIELD_IN_KEY, "in key");
    compare_bit(XFD_FIELD_IN_SECONDARY_TABLE, "secondary-table directive");
    compare_bit(XFD_FIELD_HIDDEN, "hidden directive");
    compare_bit(XFD_FIELD_READ_ONLY, "read-only directive");
}

void Comparison::compare_field(int f, const XfdField &a, const XfdField &b) {
    if (!ignore_sizes_)
        number(as_signed(a.fd_argument.a_size), as_signed(b.fd_argument.a_size),
               "Field length differences may be OK, but should be checked", "Field %d length", f);
    number(a.fd_argument.a_type, b.fd_argument.a_type, kFatal, "Field %d type", f);
    compare_digits(f, a.fd_argument, b.fd_argument);
    if (!ignore_sizes_)
        number(a.fd_offset, b.fd_offset,
               "Offset differences are OK if previous fields have different sizes",
               "Field %d offset", f);
    number(a.fd_user_type, b.fd_user_type, kUserTypeHint, "Field %d user type", f);
    number(a.fd_cond_num, b.fd_cond_num, kNoHint, "Field %d condition num", f);
    number(a.fd_level, b.fd_level, kNoHint, "Field %d level", f);
    compare_occurs(f, a, b);
    compare_directives(f, a, b);
    text(name_of(a), name_of(b), "Field %d name", f);
    text(a.fd_format, b.fd_format, "Field %d date format", f);
    text(a.fd_subtable, b.fd_subtable, "Field %d subtablename", f);
}

int Comparison::compare(Xfd &first, Xfd &second, bool skip_version, bool sort_keys) {
    if (!skip_version)
        number(first.x_version, second.x_version, "Inconsequential difference", "Version");
    compare_identity(first, second);
    compare_conversion(first.x_cvt_info, second.x_cvt_info);
    number(first.x_n_keys, second.x_n_keys, kNoHint, "Number of keys");
    if (sort_keys) {
        sort_alternate_keys(first);
        sort_alternate_keys(second);
    }
    compare_keys(first, second);
    compare_conditions(first, second);
    compare_counts(first, second);
    const uint32_t n_fields = std::min(first.x_n_fields_alloc, second.x_n_fields_alloc);
    for (uint32_t f = 0; f < n_fields; ++f)
        compare_field(static_cast<int>(f), first.x_fdesc[f], second.x_fdesc[f]);
    return count_;
}

}  // namespace
}  // namespace fsi

int Z4XFDCompare(Xfd *first, Xfd *second, int ignore_sizes, int skip_version, int sort_keys,
                 int verbose) {
    fsi::Comparison comparison(ignore_sizes != 0, verbose != 0);
    return comparison.compare(*first, *second, skip_version != 0, sort_keys != 0);
}
