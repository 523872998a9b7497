// SPDX-License-Identifier: MIT
//
// Moving records between a file and a table, each way beside what a person
// would write by hand for that one record.  Prints ratios; the peers run in
// turns with the subject, and the median of the turns counts.
//
//     bench_records [records] [turns]
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "sql/connection.h"
#include "sql/record_codec.h"
#include "sql/table_layout.h"
#include "sql/table_loader.h"
#include "sql/table_reader.h"
#include "wbfsi/records.h"

namespace {

constexpr size_t kRecordSize = 120;

// The record, as its program declares it:
//   01 CUSTOMER.
//     05 NUMBER   PIC 9(8).                    05 ZIP      PIC X(10).
//     05 NAME     PIC X(30).                   05 BALANCE  PIC S9(7)V99 COMP-3.
//     05 STREET   PIC X(25).                   05 CREDIT   PIC S9(9)V99 COMP-3.
//     05 CITY     PIC X(20).                   05 ORDERS   PIC S9(9) COMP.
//     05 SINCE    PIC 9(8).                    05 DISCOUNT PIC S9(2)V99.
struct FieldRow {
    const char *name;
    uint32_t offset;
    uint32_t size;
    uint16_t type;
    uint8_t digits;
    int8_t scale;
};
constexpr FieldRow kFields[] = {
    {"number", 0, 8, 1, 8, 0},      {"name", 8, 30, 16, 0, 0},     {"street", 38, 25, 16, 0, 0},
    {"city", 63, 20, 16, 0, 0},     {"since", 83, 8, 1, 8, 0},     {"zip", 91, 10, 16, 0, 0},
    {"balance", 101, 5, 9, 9, -2},  {"credit", 106, 6, 9, 11, -2}, {"orders", 112, 4, 11, 9, 0},
    {"discount", 116, 4, 3, 4, -2},
};
constexpr size_t kColumns = std::size(kFields);

// The dictionary, with the number as key and, if asked for, the name as an
// alternate key with duplicates.
sql::TableLayout make_layout(const char *table, bool has_alternate) {
    Xfd xfd{};
    XfdCvtInfo settings{0, 40, 25, 11, '.', ',', 0};
    XfdField fields[kColumns]{};
    for (size_t i = 0; i < kColumns; i++) {
        const FieldRow &row = kFields[i];
        std::snprintf(fields[i].fd_name, sizeof fields[i].fd_name, "%s", row.name);
        fields[i].fd_offset = row.offset;
        fields[i].fd_argument = {0, row.size, row.type, row.digits, row.scale, 0};
    }
    XfdKey keys[2]{};
    keys[0].k_seg_count = 1;
    keys[0].k_seg_length[0] = 8;
    keys[1].k_seg_count = 1;
    keys[1].k_duplicates = 1;
    keys[1].k_seg_offset[0] = 8;
    keys[1].k_seg_length[0] = 30;
    std::snprintf(xfd.x_table_name, sizeof xfd.x_table_name, "%s", table);
    xfd.x_max_rec_size = xfd.x_min_rec_size = kRecordSize;
    xfd.x_file_type = XFD_INDEXED;
    xfd.x_cvt_info = &settings;
    xfd.x_fdesc = fields;
    xfd.x_n_fields = xfd.x_n_total_fields = xfd.x_n_fields_alloc = kColumns;
    xfd.x_key_desc = keys;
    xfd.x_n_keys = xfd.x_n_keys_alloc = has_alternate ? 2 : 1;
    sql::TableLayout layout;
    if (const sql::Status status = sql::make_layout(xfd, {}, &layout); !status.ok()) {
        std::fprintf(stderr, "%s\n", status.text().c_str());
        std::exit(1);
    }
    return layout;
}

void require(const sql::Status &status) {
    if (!status.ok()) {
        std::fprintf(stderr, "bench_records: %s\n", status.text().c_str());
        std::exit(1);
    }
}

void require(bool good, const char *what) {
    if (!good) {
        std::fprintf(stderr, "bench_records: %s\n", what);
        std::exit(1);
    }
}

// Data

void put_text(unsigned char *out, size_t size, const std::string &text) {
    std::memset(out, ' ', size);
    std::memcpy(out, text.data(), std::min(size, text.size()));
}

void put_display(unsigned char *out, size_t digits, uint64_t number) {
    for (size_t i = digits; i-- > 0; number /= 10) {
        out[i] = static_cast<unsigned char>('0' + number % 10);
    }
}

void put_packed(unsigned char *out, size_t size, int64_t number) {
    uint64_t rest = number < 0 ? static_cast<uint64_t>(-number) : static_cast<uint64_t>(number);
    out[size - 1] = static_cast<unsigned char>((rest % 10) << 4 | (number < 0 ? 13 : 12));
    rest /= 10;
    for (size_t i = size - 1; i-- > 0; rest /= 100) {
        out[i] = static_cast<unsigned char>((rest / 10 % 10) << 4 | rest % 10);
    }
}

std::vector<unsigned char> make_records(size_t count, size_t first = 0) {
    static const char *const kFirst[] = {"ADA",    "GRACE",   "BARBARA", "JEAN",   "FRANCES",
                                         "EDSGER", "NIKLAUS", "TONY",    "DONALD", "KATHLEEN"};
    static const char *const kSyllable[] = {"BAR", "DEN", "FOR", "GAL", "HAM", "KEL", "LO",  "MAR",
                                            "NOR", "PAT", "RU",  "SON", "TER", "VAL", "WIN", "ZE"};
    static const char *const kCity[] = {"LONDON",  "NEW YORK",      "ROTTERDAM",
                                        "ZUERICH", "SAN FRANCISCO", "PHILADELPHIA"};
    std::mt19937_64 random(20240229 + first);
    std::vector<unsigned char> records(count * kRecordSize);
    for (size_t i = 0; i < count; i++) {
        unsigned char *r = records.data() + i * kRecordSize;
        const auto pick = [&](uint64_t n) { return random() % n; };
        put_display(r, 8, (first + i) * 7 + 1);
        std::string name = kSyllable[pick(16)];
        name.append(kSyllable[pick(16)]).append(kSyllable[pick(16)]).append(" ");
        put_text(r + 8, 30, name.append(kFirst[pick(10)]));
        put_text(r + 38, 25, std::to_string(pick(999) + 1) + " MAIN STREET");
        put_text(r + 63, 20, kCity[pick(6)]);
        put_display(r + 83, 8, 19500101 + pick(70) * 10000);
        put_text(r + 91, 10, std::to_string(10000 + pick(90000)));
        put_packed(r + 101, 5, static_cast<int64_t>(pick(2000000)) - 500000);
        put_packed(r + 106, 6, static_cast<int64_t>(pick(100000000)));
        const auto orders = static_cast<uint32_t>(pick(5000));
        for (int b = 0; b < 4; b++) {
            r[112 + b] = static_cast<unsigned char>(orders >> (24 - 8 * b));
        }
        put_display(r + 116, 4, 1 + pick(3000));
        if (pick(10) == 0) {
            r[119] = static_cast<unsigned char>(r[119] + 0x40);
        }
    }
    return records;
}

// The peer: a decoder and an encoder for this one record

struct HandRow {
    int64_t number, since, orders;
    std::string_view name, street, city, zip;
    char balance[16], credit[16], discount[16];
    int balance_size, credit_size, discount_size;
};

int64_t hand_display(const unsigned char *p, int n) {
    int64_t v = 0;
    for (int i = 0; i < n; i++) {
        v = v * 10 + (p[i] - '0');
    }
    return v;
}
std::string_view hand_text(const unsigned char *p, size_t n) {
    while (n > 0 && p[n - 1] == ' ') {
        n--;
    }
    return {reinterpret_cast<const char *>(p), n};
}
int hand_decimal(int64_t v, bool negative, char *out) {
    char digits[24];
    int n = 0;
    for (int i = 0; i < 2 || v > 0 || n < 3; i++) {
        digits[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    }
    char *p = out;
    if (negative) {
        *p++ = '-';
    }
    while (n > 2) {
        *p++ = digits[--n];
    }
    *p++ = '.';
    *p++ = digits[1];
    *p++ = digits[0];
    return static_cast<int>(p - out);
}
int hand_packed(const unsigned char *p, int size, char *out) {
    int64_t v = 0;
    for (int i = 0; i < size - 1; i++) {
        v = v * 100 + (p[i] >> 4) * 10 + (p[i] & 15);
    }
    v = v * 10 + (p[size - 1] >> 4);
    return hand_decimal(v, (p[size - 1] & 15) == 13, out);
}
void hand_decode(const unsigned char *r, HandRow *row) {
    row->number = hand_display(r, 8);
    row->name = hand_text(r + 8, 30);
    row->street = hand_text(r + 38, 25);
    row->city = hand_text(r + 63, 20);
    row->since = hand_display(r + 83, 8);
    row->zip = hand_text(r + 91, 10);
    row->balance_size = hand_packed(r + 101, 5, row->balance);
    row->credit_size = hand_packed(r + 106, 6, row->credit);
    row->orders = static_cast<int32_t>(static_cast<uint32_t>(r[112]) << 24 |
                                       static_cast<uint32_t>(r[113]) << 16 |
                                       static_cast<uint32_t>(r[114]) << 8 | r[115]);
    int64_t v = hand_display(r + 116, 3);
    const bool negative = r[119] >= 'p';
    v = v * 10 + (r[119] - (negative ? 'p' : '0'));
    row->discount_size = hand_decimal(v, negative, row->discount);
}

// A prepared statement's life in the peers, checked at every step.
struct HandStatement {
    sqlite3_stmt *statement = nullptr;
    HandStatement(sqlite3 *db, const std::string &text) {
        require(sqlite3_prepare_v2(db, text.c_str(), -1, &statement, nullptr) == SQLITE_OK,
                sqlite3_errmsg(db));
    }
    HandStatement(const HandStatement &) = delete;
    HandStatement &operator=(const HandStatement &) = delete;
    ~HandStatement() { sqlite3_finalize(statement); }
};

void hand_execute(sqlite3 *db, const std::string &text) {
    require(sqlite3_exec(db, text.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
            sqlite3_errmsg(db));
}

sqlite3 *hand_open(const std::string &file) {
    sqlite3 *db = nullptr;
    require(sqlite3_open(file.c_str(), &db) == SQLITE_OK, "cannot open database");
    hand_execute(db, "PRAGMA cache_size = -24576");
    return db;
}

void hand_create(sqlite3 *db, const sql::TableLayout &layout) {
    hand_execute(db, sql::ddl_script(layout, *sql::find_dialect("sqlite")));
}

void hand_load(const std::string &file, const sql::TableLayout &layout,
               const std::vector<unsigned char> &records) {
    sqlite3 *db = hand_open(file);
    hand_execute(db, "BEGIN");
    hand_create(db, layout);
    {
        const HandStatement insert(
            db, "INSERT INTO \"" + layout.table +
                    "\" (number, name, street, city, since, zip, balance, credit, orders, "
                    "discount) VALUES (?,?,?,?,?,?,?,?,?,?)");
        sqlite3_stmt *s = insert.statement;
        HandRow row;
        const auto text = [s](int i, std::string_view t) {
            sqlite3_bind_text(s, i, t.data(), static_cast<int>(t.size()), SQLITE_STATIC);
        };
        for (size_t at = 0; at < records.size(); at += kRecordSize) {
            hand_decode(records.data() + at, &row);
            sqlite3_bind_int64(s, 1, row.number);
            text(2, row.name);
            text(3, row.street);
            text(4, row.city);
            sqlite3_bind_int64(s, 5, row.since);
            text(6, row.zip);
            text(7, {row.balance, static_cast<size_t>(row.balance_size)});
            text(8, {row.credit, static_cast<size_t>(row.credit_size)});
            sqlite3_bind_int64(s, 9, row.orders);
            text(10, {row.discount, static_cast<size_t>(row.discount_size)});
            require(sqlite3_step(s) == SQLITE_DONE, sqlite3_errmsg(db));
            sqlite3_reset(s);
        }
    }
    hand_execute(db, "COMMIT");
    sqlite3_close(db);
}

int64_t hand_stored(const unsigned char *text, int n, bool *negative) {
    int64_t v = 0;
    *negative = n > 0 && text[0] == '-';
    for (int i = *negative ? 1 : 0; i < n; i++) {
        if (text[i] != '.') {
            v = v * 10 + (text[i] - '0');
        }
    }
    return v;
}

// Selects in key order and encodes into one record after the other; the sum of
// all bytes stands for writing them.
uint64_t hand_unload(const std::string &file, const std::string &table,
                     std::vector<unsigned char> *out) {
    sqlite3 *db = hand_open(file);
    {
        const HandStatement select(db,
                                   "SELECT number, name, street, city, since, zip, balance, "
                                   "credit, orders, discount FROM \"" +
                                       table + "\" ORDER BY number");
        sqlite3_stmt *s = select.statement;
        size_t at = 0;
        while (sqlite3_step(s) == SQLITE_ROW) {
            unsigned char *r = out->data() + at;
            at += kRecordSize;
            const auto text = [s](int i, unsigned char *p, size_t n) {
                const auto *t = sqlite3_column_text(s, i);
                const auto size = static_cast<size_t>(sqlite3_column_bytes(s, i));
                std::memcpy(p, t, size);
                std::memset(p + size, ' ', n - size);
            };
            const auto packed = [s](int i, unsigned char *p, size_t n) {
                bool negative = false;
                const auto *t = sqlite3_column_text(s, i);
                const int64_t v = hand_stored(t, sqlite3_column_bytes(s, i), &negative);
                put_packed(p, n, negative ? -v : v);
            };
            put_display(r, 8, static_cast<uint64_t>(sqlite3_column_int64(s, 0)));
            text(1, r + 8, 30);
            text(2, r + 38, 25);
            text(3, r + 63, 20);
            put_display(r + 83, 8, static_cast<uint64_t>(sqlite3_column_int64(s, 4)));
            text(5, r + 91, 10);
            packed(6, r + 101, 5);
            packed(7, r + 106, 6);
            const auto orders = static_cast<uint32_t>(sqlite3_column_int64(s, 8));
            for (int b = 0; b < 4; b++) {
                r[112 + b] = static_cast<unsigned char>(orders >> (24 - 8 * b));
            }
            bool negative = false;
            const auto *t = sqlite3_column_text(s, 9);
            const int64_t v = hand_stored(t, sqlite3_column_bytes(s, 9), &negative);
            put_display(r + 116, 4, static_cast<uint64_t>(v));
            if (negative) {
                r[119] = static_cast<unsigned char>(r[119] + 0x40);
            }
        }
    }
    sqlite3_close(db);
    return out->size();
}

// The subject

void layer_load(const std::string &file, const sql::TableLayout &layout,
                const std::vector<unsigned char> &records) {
    std::unique_ptr<sql::Connection> db;
    require(sql::open_connection("sqlite:" + file, {}, &db));
    std::unique_ptr<sql::TableLoader> loader;
    require(sql::TableLoader::begin(*db, layout, {}, &loader));
    uint64_t number = 0;
    for (size_t at = 0; at < records.size(); at += kRecordSize) {
        require(loader->add(++number, {records.data() + at, kRecordSize}));
    }
    sql::LoadSummary summary;
    require(loader->finish(&summary));
    require(summary.loaded == number && summary.kept_exact == 0, "rows were kept exactly");
}

void layer_unload(const std::string &file, const sql::TableLayout &layout, size_t key,
                  std::vector<unsigned char> *out) {
    std::unique_ptr<sql::Connection> db;
    require(sql::open_connection("sqlite:" + file, {}, &db));
    std::unique_ptr<sql::TableReader> reader;
    require(sql::TableReader::open(*db, layout, key, &reader));
    sql::RecordView record;
    bool found = true;
    for (size_t at = 0;; at += kRecordSize) {
        require(reader->next(&record, &found));
        if (!found) {
            break;
        }
        std::memcpy(out->data() + at, record.bytes.data(), kRecordSize);
    }
}

// Measuring

// Processor seconds of this process and the children it has waited for: other
// work of the machine does not count, and neither does waiting for the disk.
double processor_seconds() {
    double sum = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        struct rusage usage {};
        getrusage(who, &usage);
        for (const struct timeval &t : {usage.ru_utime, usage.ru_stime}) {
            sum += static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
        }
    }
    return sum;
}

double seconds(const std::function<void()> &work) {
    const double start = processor_seconds();
    work();
    return processor_seconds() - start;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

// Two pieces of work in turns; prints the median seconds of each and of their
// ratio.
void compare(const char *what, size_t turns, size_t records, const char *goal,
             const std::function<void()> &subject, const std::function<void()> &peer) {
    std::vector<double> subject_times;
    std::vector<double> peer_times;
    std::vector<double> ratios;
    for (size_t i = 0; i < turns; i++) {
        const double a = seconds(subject);
        const double b = seconds(peer);
        subject_times.push_back(a);
        peer_times.push_back(b);
        ratios.push_back(a / b);
    }
    const double n = static_cast<double>(records);
    std::printf("%-44s %8.0f ns %8.0f ns   ratio %5.2f   goal %s\n", what,
                median(subject_times) / n * 1e9, median(peer_times) / n * 1e9, median(ratios),
                goal);
    std::fflush(stdout);
}

void bench_decode(const sql::TableLayout &layout, const std::vector<unsigned char> &records,
                  size_t turns) {
    const sql::RecordCodec codec(layout);
    std::vector<sql::Value> values(codec.value_count());
    std::vector<char> texts(codec.text_capacity());
    uint64_t inexact = 0;
    volatile uint64_t sink = 0;
    compare(
        "decode, of a decoder written by hand", turns * 5, records.size() / kRecordSize, "<= 3",
        [&] {
            uint64_t sum = 0;
            for (size_t at = 0; at < records.size(); at += kRecordSize) {
                const sql::DecodedRecord decoded =
                    codec.decode({records.data() + at, kRecordSize}, values, texts);
                inexact += decoded.is_exact ? 0 : 1;
                sum += values[1].as_text().size() + values[9].as_text().size();
            }
            sink = sink + sum;
        },
        [&] {
            HandRow row;
            uint64_t sum = 0;
            for (size_t at = 0; at < records.size(); at += kRecordSize) {
                hand_decode(records.data() + at, &row);
                // Nothing of the row may be left out because nobody looks.
                asm volatile("" : : "r"(&row) : "memory");
                sum += row.name.size() + static_cast<size_t>(row.discount_size);
            }
            sink = sink + sum;
        });
    require(inexact == 0, "decode found records inexact");
}

// The same bytes as a file of three record types: what a customer owes, what he
// bought and what is neither redefine each other, and two of the numbers are dates.
struct TypedRecords {
    sql::TableLayout layout;
    std::vector<unsigned char> records;
};
constexpr FieldRow kTypedFields[] = {
    {"number", 0, 8, 1, 8, 0},    {"kind", 8, 1, 16, 0, 0},     {"name", 9, 30, 16, 0, 0},
    {"since", 39, 8, 1, 8, 0},    {"changed", 47, 6, 1, 6, 0},  {"balance", 53, 5, 9, 9, -2},
    {"credit", 58, 6, 9, 11, -2}, {"street", 53, 25, 16, 0, 0}, {"city", 78, 20, 16, 0, 0},
    {"orders", 53, 4, 11, 9, 0},
};
constexpr uint16_t kTypeOfField[] = {0, 0, 0, 0, 0, 1, 1, 2, 2, 3};
constexpr char kTypes[] = {'B', 'A', 'O'};

TypedRecords make_typed_records(size_t count) {
    Xfd xfd{};
    XfdCvtInfo settings{0, 40, 25, 11, '.', ',', 0};
    XfdField fields[std::size(kTypedFields)]{};
    for (size_t i = 0; i < std::size(fields); i++) {
        const FieldRow &row = kTypedFields[i];
        std::snprintf(fields[i].fd_name, sizeof fields[i].fd_name, "%s", row.name);
        fields[i].fd_offset = row.offset;
        fields[i].fd_argument = {0, row.size, row.type, row.digits, row.scale, 0};
        fields[i].fd_cond_num = kTypeOfField[i];
    }
    for (const auto &[i, format] : {std::pair(3, "YYYYMMDD"), std::pair(4, "YYMMDD")}) {
        fields[i].fd_user_type = 1;
        std::snprintf(fields[i].fd_format, sizeof fields[i].fd_format, "%s", format);
    }
    XfdCondition conditions[std::size(kTypes)]{};
    for (size_t i = 0; i < std::size(kTypes); i++) {
        conditions[i].c_type = XFD_COND_EQ;
        conditions[i].c_value[0] = kTypes[i];
        conditions[i].c_field_num = 1;
    }
    std::snprintf(xfd.x_table_name, sizeof xfd.x_table_name, "typed");
    xfd.x_max_rec_size = xfd.x_min_rec_size = kRecordSize;
    xfd.x_file_type = XFD_SEQUENTIAL;
    xfd.x_cvt_info = &settings;
    xfd.x_fdesc = fields;
    xfd.x_n_fields = xfd.x_n_total_fields = xfd.x_n_fields_alloc = std::size(fields);
    xfd.x_condition = conditions;
    xfd.x_n_conditions = xfd.x_n_conditions_alloc = std::size(conditions);
    TypedRecords typed;
    require(sql::make_layout(xfd, {}, &typed.layout));
    const std::vector<unsigned char> plain = make_records(count);
    typed.records.assign(plain.size(), ' ');
    std::mt19937_64 random(7);
    for (size_t i = 0; i < count; i++) {
        const unsigned char *from = plain.data() + i * kRecordSize;
        unsigned char *r = typed.records.data() + i * kRecordSize;
        std::memcpy(r, from, 8);
        r[8] = static_cast<unsigned char>(kTypes[random() % 3]);
        std::memcpy(r + 9, from + 8, 30);
        // Since some day of seventy years, changed in the last three.
        put_display(r + 39, 8,
                    (1950 + random() % 70) * 10000 + (1 + random() % 12) * 100 + 1 + random() % 28);
        put_display(r + 47, 6,
                    (1 + random() % 3) * 10000 + (1 + random() % 12) * 100 + 1 + random() % 28);
        if (r[8] == 'B') {
            std::memcpy(r + 53, from + 101, 11);
        } else if (r[8] == 'A') {
            std::memcpy(r + 53, from + 38, 45);
        } else {
            std::memcpy(r + 53, from + 112, 4);
        }
    }
    return typed;
}

struct HandTypedRow {
    int64_t number, orders;
    std::string_view kind, name, street, city;
    char since[16], changed[16], balance[16], credit[16];
    int balance_size, credit_size;
};

void hand_date(const unsigned char *p, bool is_short, char *out) {
    if (is_short) {
        std::memcpy(out, p[0] < '2' ? "20" : "19", 2);
        std::memcpy(out + 2, p, 2);
        p += 2;
    } else {
        std::memcpy(out, p, 4);
        p += 4;
    }
    out[4] = out[7] = '-';
    std::memcpy(out + 5, p, 2);
    std::memcpy(out + 8, p + 2, 2);
}

void hand_decode_typed(const unsigned char *r, HandTypedRow *row) {
    row->number = hand_display(r, 8);
    row->kind = hand_text(r + 8, 1);
    row->name = hand_text(r + 9, 30);
    hand_date(r + 39, false, row->since);
    hand_date(r + 47, true, row->changed);
    switch (r[8]) {
        case 'B':
            row->balance_size = hand_packed(r + 53, 5, row->balance);
            row->credit_size = hand_packed(r + 58, 6, row->credit);
            break;
        case 'A':
            row->street = hand_text(r + 53, 25);
            row->city = hand_text(r + 78, 20);
            break;
        default:
            row->orders = static_cast<int32_t>(static_cast<uint32_t>(r[53]) << 24 |
                                               static_cast<uint32_t>(r[54]) << 16 |
                                               static_cast<uint32_t>(r[55]) << 8 | r[56]);
    }
}

void bench_decode_typed(size_t count, size_t turns) {
    const TypedRecords typed = make_typed_records(count);
    const std::vector<unsigned char> &records = typed.records;
    const sql::RecordCodec codec(typed.layout);
    std::vector<sql::Value> values(codec.value_count());
    std::vector<char> texts(codec.text_capacity());
    uint64_t inexact = 0;
    volatile uint64_t sink = 0;
    compare(
        "decode, three conditions and two dates", turns * 5, count, "none",
        [&] {
            uint64_t sum = 0;
            for (size_t at = 0; at < records.size(); at += kRecordSize) {
                const sql::DecodedRecord decoded =
                    codec.decode({records.data() + at, kRecordSize}, values, texts);
                inexact += decoded.is_exact ? 0 : 1;
                sum += values[2].as_text().size() + values[3].as_text().size();
            }
            sink = sink + sum;
        },
        [&] {
            HandTypedRow row;
            uint64_t sum = 0;
            for (size_t at = 0; at < records.size(); at += kRecordSize) {
                hand_decode_typed(records.data() + at, &row);
                asm volatile("" : : "r"(&row) : "memory");
                sum += row.name.size() + static_cast<size_t>(row.since[0]);
            }
            sink = sink + sum;
        });
    require(inexact == 0, "decode found typed records inexact");
    std::vector<unsigned char> image(kRecordSize);
    size_t length = 0;
    for (size_t at = 0; at < records.size(); at += kRecordSize) {
        codec.decode({records.data() + at, kRecordSize}, values, texts);
        require(codec.encode(values, image, &length));
        require(std::memcmp(image.data(), records.data() + at, kRecordSize) == 0,
                "a typed record comes back otherwise");
    }
}

std::vector<unsigned char> shuffled(const std::vector<unsigned char> &records) {
    const size_t count = records.size() / kRecordSize;
    std::vector<uint32_t> order(count);
    for (size_t i = 0; i < count; i++) {
        order[i] = static_cast<uint32_t>(i);
    }
    std::shuffle(order.begin(), order.end(), std::mt19937_64(7));
    std::vector<unsigned char> out(records.size());
    for (size_t i = 0; i < count; i++) {
        std::memcpy(out.data() + i * kRecordSize, records.data() + order[i] * kRecordSize,
                    kRecordSize);
    }
    return out;
}

void write_csv(const std::string &path, const std::vector<unsigned char> &records) {
    FILE *file = std::fopen(path.c_str(), "w");
    require(file != nullptr, "cannot write CSV");
    HandRow row;
    for (size_t at = 0; at < records.size(); at += kRecordSize) {
        hand_decode(records.data() + at, &row);
        std::fprintf(file, "%lld,%.*s,%.*s,%.*s,%lld,%.*s,%.*s,%.*s,%lld,%.*s",
                     static_cast<long long>(row.number), static_cast<int>(row.name.size()),
                     row.name.data(), static_cast<int>(row.street.size()), row.street.data(),
                     static_cast<int>(row.city.size()), row.city.data(),
                     static_cast<long long>(row.since), static_cast<int>(row.zip.size()),
                     row.zip.data(), row.balance_size, row.balance, row.credit_size, row.credit,
                     static_cast<long long>(row.orders), row.discount_size, row.discount);
        std::fputc('\n', file);
    }
    require(std::fclose(file) == 0, "cannot write CSV");
}

// The shell cannot leave columns out, so it gets a table of the fields and the
// key alone, which spares it the columns beside them and their index.
void shell_import(const std::string &file, const std::string &csv, sql::TableLayout layout) {
    std::filesystem::remove(file);
    layout.columns.resize(layout.field_count);
    FILE *shell = popen((WBFSI_SQLITE_SHELL " '" + file + "' > /dev/null 2>&1").c_str(), "w");
    require(shell != nullptr, "no sqlite3 shell");
    const std::string script = "PRAGMA cache_size = -24576;\nBEGIN;\n" +
                               sql::create_table_sql(layout, *sql::find_dialect("sqlite")) +
                               ";\n.import --csv '" + csv + "' " + layout.table + "\nCOMMIT;\n";
    std::fputs(script.c_str(), shell);
    require(pclose(shell) == 0, "the sqlite3 shell failed");
}

size_t count_rows(const std::string &file, const std::string &table) {
    std::unique_ptr<sql::Connection> db;
    require(sql::open_connection("sqlite:" + file, {}, &db));
    std::unique_ptr<sql::Statement> query;
    require(db->prepare("SELECT count(*) FROM " + table, &query));
    sql::Value count;
    bool found = false;
    require(query->fetch({&count, 1}, &found));
    return static_cast<size_t>(count.as_integer());
}

// A load whose records are not all in memory.
void load_in_pieces(const std::string &file, const sql::TableLayout &layout, size_t count) {
    constexpr size_t kPiece = 1000;
    std::unique_ptr<sql::Connection> db;
    require(sql::open_connection("sqlite:" + file, {}, &db));
    std::unique_ptr<sql::TableLoader> loader;
    require(sql::TableLoader::begin(*db, layout, {}, &loader));
    for (size_t done = 0; done < count; done += kPiece) {
        const std::vector<unsigned char> piece = make_records(std::min(kPiece, count - done), done);
        for (size_t i = 0; i < piece.size() / kRecordSize; i++) {
            require(loader->add(done + i + 1, {piece.data() + i * kRecordSize, kRecordSize}));
        }
    }
    sql::LoadSummary summary;
    require(loader->finish(&summary));
}

long peak_kib_of(const std::function<void()> &work) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    int status = 0;
    struct rusage usage {};
    require(wait4(child, &status, 0, &usage) == child && status == 0, "the child failed");
    return usage.ru_maxrss;
}

}  // namespace

int main(int argc, char **argv) {
    const size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    const size_t turns = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 5;
    require(count > 0 && count <= 10000000 && turns > 0, "usage: bench_records [records] [turns]");
    std::string folder = (std::filesystem::temp_directory_path() / "bench_records.XXXXXX").string();
    require(mkdtemp(folder.data()) != nullptr, "cannot make a folder");
    const auto path = [&](const char *name) { return folder + "/" + name; };
    const auto fresh = [&](const char *name) {
        std::filesystem::remove(path(name));
        return path(name);
    };

    // First of all, while this process is small: a child's peak starts from it.
    const sql::TableLayout alternate = make_layout("customers", true);
    for (const size_t part : {count / 10, count, 2 * count}) {
        const long peak = peak_kib_of([&] { load_in_pieces(fresh("memory.db"), alternate, part); });
        std::printf("peak memory of a process that loads %zu records: %ld KiB\n", part, peak);
        std::fflush(stdout);
    }
    const std::vector<unsigned char> records = make_records(count);
    const std::vector<unsigned char> random = shuffled(records);
    const sql::TableLayout layout = make_layout("customers", false);
    std::printf("%zu records of %zu bytes, %zu-bit, median of %zu turns; processor time a record\n",
                count, kRecordSize, sizeof(void *) * 8, turns);

    bench_decode(layout, records, turns);
    bench_decode_typed(count, turns);
    const auto load = [&] { layer_load(fresh("layer.db"), layout, records); };
    compare("load in key order, of single inserts by hand", turns, count, "<= 1", load,
            [&] { hand_load(fresh("hand.db"), layout, records); });
    write_csv(path("rows.csv"), records);
    compare("load in key order, of the shell's .import", turns, count, "<= 0.56 (1.8 times)", load,
            [&] { shell_import(path("shell.db"), path("rows.csv"), layout); });
    require(count_rows(path("shell.db"), "customers") == count, "the shell lost rows");
    const auto load_random = [&] { layer_load(fresh("random.db"), alternate, random); };
    compare("random order, alternate key, of key order", turns, count, "<= 2", load_random,
            [&] { layer_load(fresh("ordered.db"), alternate, records); });
    compare("the same, of key order without that key", turns, count, "none", load_random, load);

    std::vector<unsigned char> out(records.size());
    std::vector<unsigned char> hand_out(records.size());
    compare(
        "unload in key order, of select and encode", turns, count, "<= 1.25",
        [&] { layer_unload(path("layer.db"), layout, 0, &out); },
        [&] { hand_unload(path("layer.db"), "customers", &hand_out); });
    require(out == records && hand_out == records, "unloaded records differ");
    layer_unload(path("random.db"), alternate, 0, &out);
    require(out == records, "records loaded in random order come back otherwise");

    std::filesystem::remove_all(folder);
    return 0;
}
