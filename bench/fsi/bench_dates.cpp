// SPDX-License-Identifier: MIT
//
// One Z4ConvertDateTime of a YYYYMMDD field of storage DISPLAY.  Beside it, in the
// same run, strptime and sscanf on the same text.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "bench/medians.h"
#include "wbfsi/dates.h"
#include "wbfsi/lifecycle.h"

namespace {

constexpr uint16_t kDisplay = 1;
constexpr uint16_t kPacked = 8;

// A year of days, so that no branch learns one date by heart.
std::vector<std::string> dates() {
    std::vector<std::string> all;
    for (int month = 1; month <= 12; ++month) {
        for (int day = 1; day <= 28; ++day) {
            char text[16];
            std::snprintf(text, sizeof text, "%04d%02d%02d", 1960 + month * day % 120, month, day);
            all.emplace_back(text);
        }
    }
    return all;
}

const std::vector<std::string> texts = dates();

XfdArgument field_of(const std::string &bytes, uint16_t type) {
    return {reinterpret_cast<uintptr_t>(bytes.data()),
            static_cast<uint32_t>(bytes.size()),
            type,
            8,
            0,
            0};
}

void from_display(benchmark::State &state) {
    size_t i = 0;
    for (auto _ : state) {
        DateTimeValue value;
        const XfdArgument field = field_of(texts[i], kDisplay);
        if (Z4ConvertDateTime(&field, &value, "YYYYMMDD", Z4_DATE_FROM_FIELD, 0, 0) == 0)
            state.SkipWithError("a date is refused");
        benchmark::DoNotOptimize(value);
        i = i + 1 == texts.size() ? 0 : i + 1;
    }
}

void to_display(benchmark::State &state) {
    std::string bytes(8, '0');
    const XfdArgument field = field_of(bytes, kDisplay);
    DateTimeValue value{2005, 1, 1, 0, 0, 0, 0, 0};
    for (auto _ : state) {
        value.day = static_cast<int8_t>(value.day % 28 + 1);
        if (Z4ConvertDateTime(&field, &value, "YYYYMMDD", Z4_DATE_TO_FIELD, 0, 0) == 0)
            state.SkipWithError("a date is refused");
        benchmark::DoNotOptimize(bytes.data());
    }
}

void from_packed(benchmark::State &state) {
    const std::string bytes("\x02\x00\x51\x23\x1F", 5);
    const XfdArgument field = field_of(bytes, kPacked);
    for (auto _ : state) {
        DateTimeValue value;
        if (Z4ConvertDateTime(&field, &value, "YYYYMMDD", Z4_DATE_FROM_FIELD, 0, 0) == 0)
            state.SkipWithError("a date is refused");
        benchmark::DoNotOptimize(value);
    }
}

void run_strptime(benchmark::State &state) {
    size_t i = 0;
    for (auto _ : state) {
        std::tm time{};
        if (strptime(texts[i].c_str(), "%Y%m%d", &time) == nullptr)
            state.SkipWithError("a date is refused");
        benchmark::DoNotOptimize(time);
        i = i + 1 == texts.size() ? 0 : i + 1;
    }
}

void run_sscanf(benchmark::State &state) {
    size_t i = 0;
    for (auto _ : state) {
        int year = 0;
        int month = 0;
        int day = 0;
        if (std::sscanf(texts[i].c_str(), "%4d%2d%2d", &year, &month, &day) != 3)
            state.SkipWithError("a date is refused");
        benchmark::DoNotOptimize(year + month + day);
        i = i + 1 == texts.size() ? 0 : i + 1;
    }
}

void print(const bench::Medians &medians) {
    const double parse = medians.of("strptime");
    const double scan = medians.of("sscanf");
    std::printf("%-14s %8s %12s %10s\n", "", "ns", "of strptime", "of sscanf");
    for (const char *name : {"from display", "to display", "from packed", "strptime", "sscanf"})
        std::printf("%-14s %8.1f %12.2f %10.2f\n", name, medians.of(name), medians.of(name) / parse,
                    medians.of(name) / scan);
}

}  // namespace

int main(int argc, char **argv) {
    Z4Init();
    benchmark::RegisterBenchmark("from display", from_display);
    benchmark::RegisterBenchmark("to display", to_display);
    benchmark::RegisterBenchmark("from packed", from_packed);
    benchmark::RegisterBenchmark("strptime", run_strptime);
    benchmark::RegisterBenchmark("sscanf", run_sscanf);
    bench::Medians medians;
    if (!bench::run_interleaved(argc, argv, 15, 0.02, &medians))
        return 2;
    if (!medians.has_failed())
        print(medians);
    Z4Exit();
    return medians.has_failed() ? 1 : 0;
}
