// SPDX-License-Identifier: MIT
//
// Random dictionaries and random records: whatever they hold, a record that went
// into values comes back.
#include <gtest/gtest.h>

#include <iterator>
#include <random>

#include "tests/sql/codec_fixture.h"
#include "wbfsi/accessors.h"
#include "wbfsi/conditions.h"

namespace {

using namespace sql_test;
using sql::Value;

class Dice {
 public:
    explicit Dice(uint32_t seed) : random_(seed) {}
    // 0 .. n - 1; 0 for no n.
    uint32_t below(uint32_t n) { return n == 0 ? 0 : static_cast<uint32_t>(random_() % n); }
    bool one_in(uint32_t n) { return below(n) == 0; }
    template <typename T, size_t N>
    const T &pick(const T (&of)[N]) {
        return of[below(N)];
    }

 private:
    std::mt19937 random_;
};

struct Random {
    explicit Random(uint32_t seed) : dice(seed), builder("t", 1 + dice.below(60)) {
        const uint32_t size = builder.xfd().x_max_rec_size;
        if (dice.one_in(2)) {
            builder.min_record(dice.below(size + 1));
        }
        add_fields(size);
        add_conditions();
        layout = plain_layout(builder);
        layout.illegal_data = static_cast<sql::IllegalData>(dice.below(4));
        add_keys(size);
    }

    void add_fields(uint32_t size) {
        uint32_t at = 0;
        const uint32_t count = 1 + dice.below(10);
        for (uint32_t i = 0; i < count; i++) {
            const uint32_t offset = dice.one_in(12) ? dice.below(size + 1) : at;
            names.push_back("f" + std::to_string(i));
            FieldRow row{names.back().c_str(), std::min(offset, size), 0, 0};
            const uint32_t room = size - row.offset;
            row.type = dice.pick(kTypes);
            row.size = dice.one_in(20) ? room : std::min(room, 1 + dice.below(12));
            row.digits = dice.one_in(5) ? static_cast<uint8_t>(dice.below(256))
                                        : usual_digits(row.type, row.size);
            row.scale =
                dice.one_in(3) ? static_cast<int8_t>(-static_cast<int>(dice.below(4))) : int8_t{0};
            builder.field(row);
            at = row.offset + row.size;
            if (dice.one_in(4)) {
                builder.date(dice.pick(kFormats));
                builder.last_field().fd_argument.a_scale = 0;
            }
            if (dice.one_in(5)) {
                builder.null_value(dice.pick(kNullValues));
            }
        }
    }
    static uint8_t usual_digits(uint16_t type, uint32_t size) {
        const uint32_t digits = type == 2 || type == 4 || type == 6 ? size - 1
                                : type == 8 || type == 9            ? 2 * size - 1
                                : type == 10                        ? 2 * size
                                : type >= 35 && type <= 39          ? size / 2
                                : type >= 11                        ? 4
                                                                    : size;
        return static_cast<uint8_t>(digits);
    }
    void add_conditions() {
        const auto count = static_cast<int16_t>(dice.below(6));
        const auto number = [&] {
            return static_cast<int16_t>(static_cast<int>(dice.below(9)) - 1);
        };
        for (int16_t i = 0; i < count; i++) {
            const auto type = static_cast<int16_t>(1 + dice.below(9));
            const std::string &tested =
                names[dice.one_in(3) ? dice.below(uint32_t(names.size())) : 0];
            builder.condition({type, tested.c_str(), dice.pick(kValues), number(), number()});
        }
        const bool is_first_free = dice.one_in(2);
        const Xfd &xfd = builder.build();
        for (uint32_t i = is_first_free ? 1 : 0; i < xfd.x_n_fields && count > 0; i++) {
            if (dice.one_in(2)) {
                xfd.x_fdesc[i].fd_cond_num = static_cast<uint16_t>(dice.below(8));
            }
        }
    }
    void add_keys(uint32_t size) {
        for (uint32_t k = dice.below(3); k > 0; k--) {
            sql::Key key;
            const uint32_t offset = dice.below(size);
            key.segments.push_back({offset, dice.below(size - offset + 1)});
            if (dice.one_in(2)) {
                key.columns.push_back(dice.below(uint32_t(layout.fields.size())));
            }
            layout.keys.push_back(key);
        }
    }
    std::string record() {
        std::string bytes(dice.one_in(2) ? layout.max_record : dice.below(layout.max_record + 1),
                          ' ');
        const uint32_t kind = dice.below(6);
        for (char &c : bytes) {
            c = kind == 0   ? static_cast<char>(dice.below(256))
                : kind == 1 ? dice.pick("\x00\xFF 09")
                : kind == 2 ? '0'
                            : dice.pick("0123456789AB  \x01\x0C\x1D");
        }
        // What a program writes: fields one by one.
        for (const sql::Field &field : layout.fields) {
            if (!dice.one_in(2) || field.offset + field.data.a_size > bytes.size()) {
                continue;
            }
            const std::string text = dice.pick(kContents);
            ZArgument dest = field.data;
            dest.a_address = reinterpret_cast<uintptr_t>(bytes.data() + field.offset);
            const ZArgument source{reinterpret_cast<uintptr_t>(text.data()),
                                   static_cast<uint32_t>(text.size()),
                                   16,
                                   0,
                                   0,
                                   0};
            ZconvertData(&dest, &source, 1, &layout.settings);
        }
        return bytes;
    }

    static constexpr uint16_t kTypes[] = {1,  1,  2,  3,  4,  5,  6,  7,  8,  9,  9,  10, 11,
                                          12, 13, 16, 16, 16, 17, 20, 22, 23, 24, 25, 32, 36};
    static constexpr const char *kFormats[] = {
        "",       "YYYYMMDD", "YYMMDD", "HHNNSSTT", "YYYY", "YYYYMMDDHHNNSS",       "JJJJJJ",
        "FYMMDD", "YYEEE",    "RYMMDD", "MMDD",     "HHNN", "DDMMYYYYHHNNSSTTTTTT", "XX"};
    static constexpr const char *kNullValues[] = {"SPACES", "LOW-VALUES", "HIGH-VALUE", "ZERO",
                                                  "",       "0000",       "-0001",      "N/A"};
    static constexpr const char *kValues[] = {"A", "", "0", "+0001", "B ", "1"};
    static constexpr const char *kContents[] = {"A",  "0",        "1",      "20240229", "991231",
                                                "",   "20230229", "123000", "-17",      "00000000",
                                                "B ", "99999999", "740101", "+0001",    "N/A"};

    Dice dice;
    std::vector<std::string> names;
    XfdBuilder builder;
    sql::TableLayout layout;
};

bool overlaps(const sql::Field &a, uint32_t offset, uint32_t size) {
    return a.data.a_size > 0 && size > 0 && a.offset < offset + size &&
           offset < a.offset + a.data.a_size;
}

// Whether nothing but its own column looks at the bytes of a field.
bool is_alone(const sql::TableLayout &layout, size_t i) {
    const sql::Field &field = layout.fields[i];
    for (size_t k = 0; k < layout.fields.size(); k++) {
        if (k != i && overlaps(field, layout.fields[k].offset, layout.fields[k].data.a_size)) {
            return false;
        }
    }
    const Xfd &xfd = *layout.dictionary;
    for (uint32_t c = 0; c < xfd.x_n_conditions; c++) {
        const auto slot = static_cast<uint16_t>(xfd.x_condition[c].c_field_num);
        const XfdField *tested = Z4GetXFDFieldInfo(&xfd, slot);
        if (tested != nullptr && overlaps(field, tested->fd_offset, tested->fd_argument.a_size)) {
            return false;
        }
    }
    return true;
}

// A dictionary's own word on which conditions hold.
std::vector<bool> truths_of(Xfd *xfd, const sql::TableLayout &layout, const std::string &record) {
    std::string padded = record;
    padded.resize(layout.max_record, ' ');
    for (uint32_t i = 0; i < xfd->x_n_conditions; i++) {
        Z4SetXFDCondition(xfd, i, 0);
    }
    std::vector<bool> truths{true};
    for (int i = 1; i <= xfd->x_n_conditions; i++) {
        truths.push_back(Z4TestCOBOLCond(xfd, i, padded.data()) != 0);
    }
    return truths;
}

class RecordRoundTrip : public ::testing::Test {
 protected:
    void check(uint32_t seed) {
        Random random(seed);
        OneRecord one(random.layout);
        OneRecord again(random.layout);
        const std::unique_ptr<Xfd, void (*)(Xfd *)> xfd(Z4CopyXFD(random.layout.dictionary.get()),
                                                        Z4XFDFree);
        ASSERT_NE(xfd, nullptr);
        for (int i = 0; i < 12; i++) {
            check_record(random, one, again, xfd.get(), random.record());
            if (HasFatalFailure()) {
                return;
            }
            // The same as its columns would have it.
            std::vector<unsigned char> image(random.layout.max_record);
            size_t length = 0;
            if (one.codec.encode(one.values, image, &length).ok()) {
                ASSERT_LE(length, image.size());
                check_record(random, one, again, xfd.get(),
                             {reinterpret_cast<const char *>(image.data()), length});
            }
        }
    }

    void check_record(Random &random, OneRecord &one, OneRecord &again, Xfd *xfd,
                      const std::string &record) {
        const std::string shown = one.decode(record);
        SCOPED_TRACE(shown);
        exact_ += one.decoded.is_exact ? 1 : 0;
        kept_ += one.decoded.is_exact ? 0 : 1;
        ASSERT_EQ(one.decode(record), shown);
        if (one.decoded.is_exact) {
            ASSERT_EQ(one.encode(one.values), record);
        }
        ASSERT_EQ(one.encode_over(record, one.values), record);
        check_conditions(random.layout, one, truths_of(xfd, random.layout, record));
        again.decode(random.record());
        check_change(random, one, again);
    }

    void check_conditions(const sql::TableLayout &layout, const OneRecord &one,
                          const std::vector<bool> &truths) {
        for (size_t i = 0; i < layout.fields.size(); i++) {
            const uint16_t condition = layout.fields[i].condition;
            const bool holds = condition < truths.size() && truths[condition];
            ASSERT_EQ(one.states[i] == sql::FieldState::kAbsent, !holds) << i;
            ASSERT_TRUE(holds || one.values[i].is_null());
            absent_ += holds ? 0 : 1;
        }
        const bool is_typed = std::find(truths.begin() + 1, truths.end(), true) != truths.end();
        ASSERT_EQ(one.decoded.is_untyped, truths.size() > 1 && !is_typed);
    }

    // One column gets what it has in another record.
    void check_change(Random &random, OneRecord &one, const OneRecord &other) {
        const size_t i = random.dice.below(uint32_t(one.values.size()));
        const sql::Field &field = random.layout.fields[i];
        const auto exists = [](sql::FieldState state) {
            return state != sql::FieldState::kAbsent && state != sql::FieldState::kBehindEnd;
        };
        if (!is_alone(random.layout, i) || !exists(one.states[i]) || other.values[i].is_null() ||
            other.values[i] == one.values[i]) {
            return;
        }
        std::vector<Value> row = one.values;
        row[i] = other.values[i];
        const std::string record = one.record;
        const std::string changed = one.encode_over(record, row);
        // What other bytes than its own stand for need not fit.
        if (!other.decoded.is_exact && changed.starts_with("column \"")) {
            refused_++;
            return;
        }
        ASSERT_GE(changed.size(), record.size()) << changed;
        ASSERT_LE(changed.size(), random.layout.max_record) << changed;
        for (size_t at = 0; at < record.size(); at++) {
            if (at < field.offset || at >= field.offset + field.data.a_size) {
                ASSERT_EQ(changed[at], record[at]) << at;
            }
        }
        changed_++;
    }

    size_t exact_ = 0;
    size_t kept_ = 0;
    size_t absent_ = 0;
    size_t changed_ = 0;
    size_t refused_ = 0;
};

TEST_F(RecordRoundTrip, AnyRecordOfAnyDictionaryComesBack) {
    for (uint32_t seed = 1; seed <= 1500 && !HasFatalFailure(); seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        check(seed);
    }
    // It has met all of these often enough to mean something.
    EXPECT_GT(exact_, 2000U);
    EXPECT_GT(kept_, 2000U);
    EXPECT_GT(absent_, 2000U);
    EXPECT_GT(changed_, 500U);
    EXPECT_LT(refused_, changed_);
}

TEST(RecordRoundTripOfNothing, ARecordWithoutBytesHasValuesToo) {
    XfdBuilder builder("t", 0);
    builder.field({"text", 0, 0, 16}).field({"number", 0, 0, 1, 0});
    builder.field({"date", 0, 0, 16}).date("YYYYMMDD");
    builder.condition({XFD_COND_EQ, "text", "A"}).field({"more", 0, 0, 16}).under(1);
    OneRecord one(builder);
    EXPECT_EQ(one.decode(""), "'', null (bad number), null (null value), ''");
    EXPECT_EQ(one.round_trip(""), "");
    EXPECT_EQ(one.encode({Value(), Value(), Value(), Value()}), "");
}

}  // namespace
