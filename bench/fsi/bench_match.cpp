// SPDX-License-Identifier: MIT
//
// Matching 250, 1000 and 4000 fields with as many columns in another order.
// Beside it, in the same run: searching the columns for each field.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/medians.h"
#include "host/names.h"
#include "wbfsi/build.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/match.h"

namespace {

constexpr int kSizes[] = {250, 1000, 4000};

std::string name_of(int64_t i, const char *dash) {
    return std::string("customer") + dash + "field" + dash + std::to_string(i);
}

// A description and a table of the same names, the columns in another order.
class Subject {
 public:
    explicit Subject(int64_t size) : columns_(static_cast<size_t>(size)) {
        const XfdCvtInfo settings = {0, 40, 25, 11, '.', ',', 0};
        const uint16_t none[XFD_MAX_OCCURS] = {};
        const XfdArgument text = {0, 8, 16, 0, 0, 0};
        const auto n = static_cast<uint32_t>(size);
        xfd_ =
            Z4AllocXFD("bench", "BENCH", nullptr, 8 * n, 8 * n, &settings, XFD_SEQUENTIAL, n, 0, 0);
        std::vector<int64_t> order;
        for (int64_t i = 0; i < size; ++i) {
            Z4AddXFDField(xfd_, static_cast<uint32_t>(8 * i), &text, 0, 0, 5, none, none, 0, 0, 0,
                          0, 0, 0, name_of(i, "-").c_str(), nullptr, nullptr, nullptr, nullptr);
            order.push_back(i);
        }
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
        for (size_t j = 0; j < columns_.size(); ++j) {
            const std::string name = name_of(order[j], "_");
            std::memcpy(columns_[j].match_name, name.c_str(), name.size() + 1);
        }
        table_.columns = columns_.data();
        table_.column_count = n;
        clear();
    }
    Subject(const Subject &) = delete;
    Subject &operator=(const Subject &) = delete;
    ~Subject() { Z4XFDFree(xfd_); }

    void clear() {
        for (DbColumnInfo &column : columns_) {
            column.field_num = -1;
            column.flags = 0;
        }
    }

    // What the library does while it traces, without the traces.
    bool search() {
        for (uint32_t i = 0; i < xfd_->x_n_total_fields; ++i) {
            char name[31];
            std::memcpy(name, xfd_->x_fdesc[i].fd_name, sizeof name);
            stdz_name(name, -3, 4);
            uint32_t j = 0;
            while (j < table_.column_count &&
                   ((columns_[j].flags & DB_COLUMN_SET_ASIDE) != 0 || columns_[j].field_num != -1 ||
                    std::strcmp(columns_[j].match_name, name) != 0))
                ++j;
            if (j == table_.column_count)
                return false;
            xfd_->x_fdesc[i].fd_db_col_num = static_cast<int32_t>(j);
            columns_[j].field_num = static_cast<int32_t>(i);
        }
        return true;
    }
    bool match() { return Z4MatchDBColstoXFD(xfd_, &table_) == 1; }

    // Every field has the column of its name.
    bool is_linked() const {
        for (uint32_t i = 0; i < xfd_->x_n_total_fields; ++i) {
            const int32_t j = xfd_->x_fdesc[i].fd_db_col_num;
            if (name_of(i, "_") != columns_[static_cast<size_t>(j)].match_name)
                return false;
        }
        return true;
    }

 private:
    Xfd *xfd_;
    std::vector<DbColumnInfo> columns_;
    DbTableInfo table_ = {};
};

template <bool (Subject::*Link)()>
void link(benchmark::State &state) {
    Subject subject(state.range(0));
    for (auto _ : state) {
        subject.clear();
        if (!(subject.*Link)()) {
            state.SkipWithError("a field has no column");
            return;
        }
    }
    if (!subject.is_linked())
        state.SkipWithError("a field has the wrong column");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The table; nanoseconds a field.
void print(const bench::Medians &medians) {
    std::printf("%-8s %12s %12s %8s\n", "fields", "match ns", "search ns", "ratio");
    for (const int size : kSizes)
        std::printf("%-8d %12.1f %12.1f %8.3f\n", size, medians.of("match", size),
                    medians.of("search", size),
                    medians.of("match", size) / medians.of("search", size));
    std::printf("(median nanoseconds a field)\n");
    for (const char *name : {"match", "search"})
        std::printf("%-7s four times the fields take %.2f and %.2f times as long\n", name,
                    4 * medians.of(name, 1000) / medians.of(name, 250),
                    4 * medians.of(name, 4000) / medians.of(name, 1000));
}

}  // namespace

int main(int argc, char **argv) {
    Z4Init();
    for (const int size : kSizes) {
        benchmark::RegisterBenchmark("match", link<&Subject::match>)->Arg(size);
        benchmark::RegisterBenchmark("search", link<&Subject::search>)->Arg(size);
    }
    bench::Medians medians;
    if (!bench::run_interleaved(argc, argv, 9, 0.05, &medians))
        return 2;
    if (!medians.has_failed())
        print(medians);
    return medians.has_failed() ? 1 : 0;
}
