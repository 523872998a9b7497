// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "host/memory.h"
#include "tests/fsi/sample_xfd.h"
#include "wbfsi/compare.h"

namespace {

// What a comparison printed, and its result.
struct Outcome {
    std::string text;
    int count;
};

Outcome compare(Xfd *first, Xfd *second, int ignore_sizes = 0, int skip_version = 0,
                int sort_keys = 0, int verbose = 0) {
    testing::internal::CaptureStdout();
    const int count = Z4XFDCompare(first, second, ignore_sizes, skip_version, sort_keys, verbose);
    return {testing::internal::GetCapturedStdout(), count};
}

// Two equal descriptions, the second one changed.
struct Pair {
    explicit Pair(const std::function<void(Xfd &)> &change) { change(*second); }
    sample::XfdPointer first = sample::full();
    sample::XfdPointer second = sample::full();
};

std::string text_of(const Xfd &xfd) {
    std::string out;
    for (uint32_t k = 0; k < xfd.x_n_keys; ++k)
        out += std::to_string(xfd.x_key_desc[k].k_seg_offset[0]) + '/' +
               std::to_string(xfd.x_key_desc[k].k_seg_length[0]) + ' ';
    return out;
}

TEST(Compare, EqualDescriptionsPrintNothing) {
    const sample::XfdPointer one = sample::full();
    const sample::XfdPointer other = sample::full();
    for (const int flags : {0, 1}) {
        const Outcome self = compare(one.get(), one.get(), flags, flags, flags, 1);
        EXPECT_EQ(self.count, 0);
        EXPECT_EQ(self.text, "");
        const Outcome equal = compare(one.get(), other.get(), flags, flags, flags, 1);
        EXPECT_EQ(equal.count, 0);
        EXPECT_EQ(equal.text, "");
    }
}

struct Row {
    const char *label;
    const char *hint;  // null: none
    const char *values;
    std::function<void(Xfd &)> change;
    bool is_size = false;
};

constexpr const char *kFatal = "Fatal difference";
constexpr const char *kSign = "This may be a difference in sign encoding";
constexpr const char *kFiller = "OK if all missing fields are FILLER";
constexpr const char *kOrder = "Keys may be in a different order";
constexpr const char *kRecordSize =
    "Size differences may be the result of differences in how KST and WB treat certain data types";
constexpr const char *kPoint = "??? DECIMAL IS COMMA difference???";

std::vector<Row> file_rows() {
    return {
        {"Version", "Inconsequential difference", "< 6\n> 65535\n",
         [](Xfd &x) { x.x_version = 65535; }},
        {"Select name", kFatal, "< client-file\n> \n", [](Xfd &x) { x.x_select_name[0] = 0; }},
        {"Table name", kFatal, "< CLIENT\n> KLIENT\n", [](Xfd &x) { x.x_table_name[0] = 'K'; }},
        {"COB Trigger", kFatal, "< CLIENT-TRIGGER\n> NULL\n",
         [](Xfd &x) {
             Zfree(x.x_cobol_trigger);
             x.x_cobol_trigger = nullptr;
         }},
        {"File type", kFatal, "< 8\n> 12\n", [](Xfd &x) { x.x_file_type = 12; }},
        {"Multiple 01", kFatal, "< 0\n> 1\n", [](Xfd &x) { x.x_flags = XFD_MULTIPLE_01; }},
        {"Min rec size", kRecordSize, "< 80\n> 81\n", [](Xfd &x) { x.x_min_rec_size = 81; }, true},
        {"Max rec size", kRecordSize, "< 120\n> 4294967295\n",
         [](Xfd &x) { x.x_max_rec_size = 4294967295; }, true},
        {"Convert info flags", kSign, "< 72\n> 65535\n",
         [](Xfd &x) { x.x_cvt_info->cv_sign_compat = 65535; }},
        {"Convert info nsize2",
         "WB defaults to 31 digits for numeric items, KST to 18. Try the KST switch -Dd31L",
         "< 68\n> 40\n", [](Xfd &x) { x.x_cvt_info->cv_digits_code = 40; }},
        {"Convert info NISnegAdjust", kSign, "< 16\n> 255\n",
         [](Xfd &x) { x.x_cvt_info->cv_sign_code1 = 255; }},
        {"Convert info NISSignOfAtoI", kSign, "< 13\n> 11\n",
         [](Xfd &x) { x.x_cvt_info->cv_sign_code2 = 11; }},
        {"Convert info period", kPoint, "< 44\n> 46\n",
         [](Xfd &x) { x.x_cvt_info->cv_period = '.'; }},
        {"Convert info comma", kPoint, "< 46\n> 44\n",
         [](Xfd &x) { x.x_cvt_info->cv_comma = ','; }},
        {"Convert info encoding type", kFatal, "< 2\n> -1\n",
         [](Xfd &x) { x.x_cvt_info->cv_encoding = -1; }},
        {"Number of keys", kFatal, "< 2\n> 1\n", [](Xfd &x) { x.x_n_keys = 1; }},
        {"Key 0 segment count", kOrder, "< 2\n> 1\n",
         [](Xfd &x) { x.x_key_desc[0].k_seg_count = 1; }},
        {"Key 1 dups allowed", kOrder, "< 0\n> 1\n",
         [](Xfd &x) { x.x_key_desc[1].k_duplicates = 9; }},
        {"Key 0, segment 1 length",
         "Keys may be in a different order, or size differences may be a valid result",
         "< 10\n> 65535\n", [](Xfd &x) { x.x_key_desc[0].k_seg_length[1] = 65535; }, true},
        {"Key 0, segment 1 offset",
         "Keys may be in a different order, or size differences may cause offset differences",
         "< 70000\n> 4294967295\n", [](Xfd &x) { x.x_key_desc[0].k_seg_offset[1] = 4294967295; },
         true},
        {"Number of conditions", kFatal, "< 2\n> 1\n", [](Xfd &x) { x.x_n_conditions = 1; }},
        {"Condition 0 type", kFatal, "< 1\n> -8\n", [](Xfd &x) { x.x_condition[0].c_type = -8; }},
        {"Condition 0 field", kFatal, "< rec_type\n> \n",
         [](Xfd &x) { x.x_condition[0].c_variable[0] = 0; }},
        {"Condition 0 value", kFatal, "< A\n> B\n",
         [](Xfd &x) { x.x_condition[0].c_value[0] = 'B'; }},
        {"Condition 1 tablename", kFatal, "< \n> T\n",
         [](Xfd &x) { x.x_condition[1].c_table[0] = 'T'; }},
        {"Condition 1 num1", kFatal, "< 1\n> -1\n", [](Xfd &x) { x.x_condition[1].c_num1 = -1; }},
        {"Condition 0 num2", kFatal, "< -1\n> 2\n", [](Xfd &x) { x.x_condition[0].c_num2 = 2; }},
        {"Number of fields", kFiller, "< 3\n> 0\n", [](Xfd &x) { x.x_n_fields = 0; }},
        {"Number of totalfields", kFiller, "< 3\n> 4\n", [](Xfd &x) { x.x_n_total_fields = 4; }},
        {"Number of fields listed", kFiller, "< 0\n> 4294967295\n",
         [](Xfd &x) { x.x_n_fields_listed = 4294967295; }},
        {"Number of totalfields listed", kFiller, "< 3\n> 2\n",
         [](Xfd &x) { x.x_n_total_fields_listed = 2; }},
        {"Number of alloc_fields", kFatal, "< 3\n> 2\n", [](Xfd &x) { x.x_n_fields_alloc = 2; }},
    };
}

std::vector<Row> field_rows() {
    static constexpr const char *kDigits =
        "In a non-numeric field, the number of digits isn't used, so this is likely not serious";
    static constexpr const char *kScale =
        "In a non-numeric field, the scale isn't used, so this is likely not serious";
    static constexpr const char *kUserType = "Fatal difference, 1 = Date, 2 = Binary, 3 = VarLen";
    return {
        {"Field 0 length", "Field length differences may be OK, but should be checked",
         "< 4\n> -1\n", [](Xfd &x) { x.x_fdesc[0].fd_argument.a_size = 4294967295; }, true},
        {"Field 0 type", kFatal, "< 9\n> 65535\n",
         [](Xfd &x) { x.x_fdesc[0].fd_argument.a_type = 65535; }},
        {"Field 0 digits", kFatal, "< 7\n> 255\n",
         [](Xfd &x) { x.x_fdesc[0].fd_argument.a_digits = 255; }},
        {"Field 0 scale", kFatal, "< -2\n> 2\n",
         [](Xfd &x) { x.x_fdesc[0].fd_argument.a_scale = 2; }},
        {"Field 2 digits", kDigits, "< 0\n> 8\n",
         [](Xfd &x) { x.x_fdesc[2].fd_argument.a_digits = 8; }},
        {"Field 2 scale", kScale, "< 0\n> -128\n",
         [](Xfd &x) { x.x_fdesc[2].fd_argument.a_scale = -128; }},
        {"Field 1 offset", "Offset differences are OK if previous fields have different sizes",
         "< 4\n> 4294967295\n", [](Xfd &x) { x.x_fdesc[1].fd_offset = 4294967295; }, true},
        {"Field 1 user type", kUserType, "< 1\n> 65535\n",
         [](Xfd &x) { x.x_fdesc[1].fd_user_type = 65535; }},
        {"Field 2 condition num", kFatal, "< 1\n> 999\n",
         [](Xfd &x) { x.x_fdesc[2].fd_cond_num = 999; }},
        {"Field 0 level", kFatal, "< 2\n> 1\n", [](Xfd &x) { x.x_fdesc[0].fd_level = 1; }},
        {"Field 2 max occurs 0", kFatal, "< 3\n> 65535\n",
         [](Xfd &x) { x.x_fdesc[2].fd_max_occurs[0] = 65535; }},
        {"Field 2 occurs indices 15", kFatal, "< 0\n> 1\n",
         [](Xfd &x) { x.x_fdesc[2].fd_occurs_index[15] = 1; }},
        {"Field 2 occurs depth", kFatal, "< 2\n> 255\n",
         [](Xfd &x) { x.x_fdesc[2].fd_occurs_depth = 255; }},
        {"Field 0 in key", kFatal, "< 1\n> 0\n",
         [](Xfd &x) { x.x_fdesc[0].fd_flags &= ~uint32_t{XFD_FIELD_IN_KEY}; }},
        {"Field 0 secondary-table directive", kFatal, "< 0\n> 1\n",
         [](Xfd &x) { x.x_fdesc[0].fd_flags |= XFD_FIELD_IN_SECONDARY_TABLE; }},
        {"Field 1 hidden directive", kFatal, "< 1\n> 0\n",
         [](Xfd &x) { x.x_fdesc[1].fd_flags = 0; }},
        {"Field 2 read-only directive", kFatal, "< 1\n> 0\n",
         [](Xfd &x) { x.x_fdesc[2].fd_flags = XFD_FIELD_IN_SECONDARY_TABLE; }},
        {"Field 1 name", kFatal, "< born\n> NULL\n", [](Xfd &x) { x.x_fdesc[1].fd_name[0] = 0; }},
        {"Field 1 date format", kFatal, "< YYYYMMDD\n> \n",
         [](Xfd &x) { x.x_fdesc[1].fd_format[0] = 0; }},
        {"Field 2 subtablename", kFatal, "< AMOUNTS\n> BMOUNTS\n",
         [](Xfd &x) { x.x_fdesc[2].fd_subtable[0] = 'B'; }},
    };
}

void expect_rows(const std::vector<Row> &rows) {
    for (const Row &row : rows) {
        SCOPED_TRACE(row.label);
        const std::string lines = std::string(row.label) + '\n' + row.values;
        const Pair pair(row.change);
        const Outcome plain = compare(pair.first.get(), pair.second.get());
        EXPECT_EQ(plain.text, lines);
        EXPECT_EQ(plain.count, 1);
        const Outcome verbose = compare(pair.first.get(), pair.second.get(), 0, 0, 0, 1);
        EXPECT_EQ(verbose.text, '\n' + std::string(row.hint) + '\n' + lines);
        EXPECT_EQ(verbose.count, 1);
        const Outcome sizeless = compare(pair.first.get(), pair.second.get(), 1);
        EXPECT_EQ(sizeless.text, row.is_size ? "" : lines);
        EXPECT_EQ(sizeless.count, row.is_size ? 0 : 1);
    }
}

TEST(Compare, PrintsEachItemOfTheFile) {
    expect_rows(file_rows());
}

TEST(Compare, PrintsEachItemOfAField) {
    expect_rows(field_rows());
}

TEST(Compare, VariableRecordsAreAnItemOfTheirOwn) {
    const Pair pair([](Xfd &x) { x.x_min_rec_size = x.x_max_rec_size; });
    EXPECT_EQ(compare(pair.first.get(), pair.second.get()).text,
              "Min rec size\n< 80\n> 120\nVariable record size\n< 1\n> 0\n");
    const Outcome sizeless = compare(pair.first.get(), pair.second.get(), 1, 0, 0, 1);
    EXPECT_EQ(sizeless.text, "\nFatal difference\nVariable record size\n< 1\n> 0\n");
    EXPECT_EQ(sizeless.count, 1);
}

TEST(Compare, ATextThatIsNotThereIsTheWordNull) {
    const Pair pair([](Xfd &x) { std::memcpy(x.x_fdesc[1].fd_name, "NULL", 5); });
    pair.first->x_fdesc[1].fd_name[0] = '\0';
    std::memcpy(pair.first->x_cobol_trigger, "NULL", 5);
    Zfree(pair.second->x_cobol_trigger);
    pair.second->x_cobol_trigger = nullptr;
    const Outcome outcome = compare(pair.first.get(), pair.second.get(), 0, 0, 0, 1);
    EXPECT_EQ(outcome.text, "");
    EXPECT_EQ(outcome.count, 0);
}

TEST(Compare, SkipsTheVersion) {
    const Pair pair([](Xfd &x) { x.x_version = 9; });
    EXPECT_EQ(compare(pair.first.get(), pair.second.get()).count, 1);
    const Outcome skipped = compare(pair.first.get(), pair.second.get(), 0, 1);
    EXPECT_EQ(skipped.count, 0);
    EXPECT_EQ(skipped.text, "");
}

TEST(Compare, DigitsCountInNumericTypes) {
    for (uint16_t type = 0; type < 64; ++type) {
        SCOPED_TRACE(type);
        const Pair pair([](Xfd &x) { x.x_fdesc[0].fd_argument.a_digits = 1; });
        pair.first->x_fdesc[0].fd_argument.a_type = type;
        pair.second->x_fdesc[0].fd_argument.a_type = type;
        const bool numeric = (type >= 1 && type <= 14) || type == 23 ||
                             (type >= 30 && type <= 33) || (type >= 35 && type <= 39);
        const std::string text = compare(pair.first.get(), pair.second.get(), 0, 0, 0, 1).text;
        EXPECT_EQ(text.find("\nFatal difference\n") == 0, numeric) << text;
    }
}

TEST(Compare, TheTypeOfTheFirstDecidesWhetherDigitsCount) {
    const Pair pair([](Xfd &x) {
        x.x_fdesc[0].fd_argument.a_type = 16;
        x.x_fdesc[0].fd_argument.a_digits = 0;
    });
    EXPECT_EQ(compare(pair.first.get(), pair.second.get(), 0, 0, 0, 1).text,
              "\nFatal difference\nField 0 type\n< 9\n> 16\n"
              "\nFatal difference\nField 0 digits\n< 7\n> 0\n");
    EXPECT_NE(compare(pair.second.get(), pair.first.get(), 0, 0, 0, 1)
                  .text.find("isn't used, so this is likely not serious\nField 0 digits\n"),
              std::string::npos);
}

TEST(Compare, PrintsInTheOrderOfTheItems) {
    const Pair pair([](Xfd &x) {
        for (const auto &row : file_rows()) {
            if (std::strncmp(row.label, "Number of", 9) != 0)
                row.change(x);
        }
        for (const auto &row : field_rows())
            row.change(x);
    });
    const Outcome outcome = compare(pair.first.get(), pair.second.get());
    const char *const kOrdered[] = {"Version",
                                    "Select name",
                                    "Table name",
                                    "COB Trigger",
                                    "File type",
                                    "Multiple 01",
                                    "Min rec size",
                                    "Max rec size",
                                    "Convert info flags",
                                    "Convert info nsize2",
                                    "Convert info NISnegAdjust",
                                    "Convert info NISSignOfAtoI",
                                    "Convert info period",
                                    "Convert info comma",
                                    "Convert info encoding type",
                                    "Key 0 segment count",
                                    "Key 1 dups allowed",
                                    "Condition 0 type",
                                    "Condition 0 field",
                                    "Condition 0 value",
                                    "Condition 0 num2",
                                    "Condition 1 tablename",
                                    "Condition 1 num1",
                                    "Field 0 length",
                                    "Field 0 type",
                                    "Field 0 digits",
                                    "Field 0 scale",
                                    "Field 0 level",
                                    "Field 0 in key",
                                    "Field 0 secondary-table directive",
                                    "Field 1 offset",
                                    "Field 1 user type",
                                    "Field 1 hidden directive",
                                    "Field 1 name",
                                    "Field 1 date format",
                                    "Field 2 digits",
                                    "Field 2 scale",
                                    "Field 2 condition num",
                                    "Field 2 max occurs 0",
                                    "Field 2 occurs indices 15",
                                    "Field 2 occurs depth",
                                    "Field 2 read-only directive",
                                    "Field 2 subtablename"};
    size_t at = 0;
    int count = 0;
    for (const char *label : kOrdered) {
        const size_t found = outcome.text.find(std::string(label) + "\n<", at);
        ASSERT_NE(found, std::string::npos) << label << " in\n" << outcome.text;
        at = found;
        ++count;
    }
    EXPECT_EQ(outcome.count, count);
}

TEST(Compare, LongerOnesAreComparedAsFarAsTheShorterOnes) {
    const sample::XfdPointer one = sample::empty();
    const sample::XfdPointer other = sample::full();
    const std::string text = compare(one.get(), other.get()).text;
    EXPECT_EQ(text.find("Key 0"), std::string::npos) << text;
    EXPECT_EQ(text.find("Condition"), std::string::npos) << text;
    EXPECT_EQ(text.find("Field 0"), std::string::npos) << text;
    EXPECT_NE(text.find("Number of keys\n< 0\n> 2\n"), std::string::npos) << text;
}

TEST(Compare, CountsBeyondTheArraysAreNotFollowed) {
    Xfd one = {};
    Xfd other = {};
    one.x_n_keys = other.x_n_keys = 3;
    one.x_n_conditions = other.x_n_conditions = 3;
    one.x_n_fields = other.x_n_fields = 3;
    const Outcome outcome = compare(&one, &other, 0, 0, 1, 1);
    EXPECT_EQ(outcome.count, 0);
    EXPECT_EQ(outcome.text, "");
    const Pair pair([](Xfd &x) { x.x_key_desc[0].k_seg_count = 65535; });
    pair.first->x_key_desc[0].k_seg_count = 65535;
    EXPECT_EQ(compare(pair.first.get(), pair.second.get()).count, 0);
}

TEST(Compare, SortsTheKeysBehindTheFirst) {
    const struct {
        std::vector<uint32_t> offsets;
        const char *sorted;  // offset and place
    } kRows[] = {
        {{}, ""},
        {{9}, "9/1 "},
        {{9, 5}, "9/1 5/2 "},
        {{9, 5, 3}, "9/1 3/3 5/2 "},
        {{9, 3, 5, 3, 4, 3}, "9/1 3/2 3/4 3/6 4/5 5/3 "},
        {{0, 4294967295, 1, 0, 4294967295}, "0/1 0/4 1/3 4294967295/2 4294967295/5 "},
        {{0, 8, 7, 6, 5, 4, 3, 2, 1}, "0/1 1/9 2/8 3/7 4/6 5/5 6/4 7/3 8/2 "},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.sorted);
        const sample::XfdPointer one = sample::empty();
        uint16_t place = 0;
        for (const uint32_t offset : row.offsets)
            sample::add_key(one.get(), 1, ++place, offset);
        const sample::XfdPointer other(Z4CopyXFD(one.get()));
        ASSERT_NE(other, nullptr);
        EXPECT_EQ(compare(one.get(), other.get(), 0, 0, 1).count, 0);
        EXPECT_EQ(text_of(*one), row.sorted);
        EXPECT_EQ(text_of(*other), row.sorted);
    }
}

TEST(Compare, SortingTellsAnotherOrderFromOtherKeys) {
    const sample::XfdPointer one = sample::empty();
    const sample::XfdPointer other = sample::empty();
    for (const uint32_t offset : {0U, 8U, 4U})
        sample::add_key(one.get(), 0, 4, offset);
    for (const uint32_t offset : {0U, 4U, 8U})
        sample::add_key(other.get(), 0, 4, offset);
    EXPECT_EQ(compare(one.get(), other.get()).count, 2);
    EXPECT_EQ(compare(one.get(), other.get(), 0, 0, 1).count, 0);
    EXPECT_EQ(compare(one.get(), other.get()).count, 0) << "the order stays";
}

TEST(Compare, ManyKeysSortAsBySelection) {
    uint32_t random = 12345;
    for (const uint32_t most : {1U, 3U, 50U, 1000000U}) {
        SCOPED_TRACE(most);
        const sample::XfdPointer xfd = sample::empty();
        std::vector<std::pair<uint32_t, uint16_t>> expected;
        for (uint16_t k = 0; k < 300; ++k) {
            random = random * 1664525 + 1013904223;
            sample::add_key(xfd.get(), 0, k, random % most);
            expected.emplace_back(random % most, k);
        }
        std::stable_sort(expected.begin() + 1, expected.end(),
                         [](const auto &a, const auto &b) { return a.first < b.first; });
        compare(xfd.get(), xfd.get(), 0, 0, 1);
        for (uint32_t k = 0; k < 300; ++k) {
            EXPECT_EQ(xfd->x_key_desc[k].k_seg_offset[0], expected[k].first) << k;
            EXPECT_EQ(xfd->x_key_desc[k].k_seg_length[0], expected[k].second) << k;
        }
    }
}

}  // namespace
