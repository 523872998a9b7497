// SPDX-License-Identifier: MIT
//
// One Z4ConvertDateTime of a YYYYMMDD field of storage DISPLAY.  Beside it, in the
// same run, strptime and sscanf on the same text.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <vector>

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

class Collector : public benchmark::ConsoleReporter {
 public:
    Collector() : ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s\n", run.error_message.c_str());
                failed_ = true;
            } else if (run.run_type == Run::RT_Iteration) {
                times_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
            }
        }
    }

    double median(const char *name) const {
        std::vector<double> times = times_.at(name);
        std::nth_element(times.begin(), times.begin() + static_cast<long>(times.size() / 2),
                         times.end());
        return times[times.size() / 2];
    }

    bool print() const {
        if (failed_)
            return false;
        const double parse = median("strptime");
        const double scan = median("sscanf");
        std::printf("%-14s %8s %12s %10s\n", "", "ns", "of strptime", "of sscanf");
        for (const char *name : {"from display", "to display", "from packed", "strptime", "sscanf"})
            std::printf("%-14s %8.1f %12.2f %10.2f\n", name, median(name), median(name) / parse,
                        median(name) / scan);
        return true;
    }

 private:
    std::map<std::string, std::vector<double>> times_;
    bool failed_ = false;
};

}  // namespace

int main(int argc, char **argv) {
    Z4Init();
    benchmark::RegisterBenchmark("from display", from_display);
    benchmark::RegisterBenchmark("to display", to_display);
    benchmark::RegisterBenchmark("from packed", from_packed);
    benchmark::RegisterBenchmark("strptime", run_strptime);
    benchmark::RegisterBenchmark("sscanf", run_sscanf);
    static char repetitions[] = "--benchmark_repetitions=15";
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    static char duration[] = "--benchmark_min_time=0.02";
    // Before those of the command line, which has the last word.
    std::vector<char *> arguments = {argv[0], repetitions, interleaving, duration};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    const bool printed = collector.print();
    Z4Exit();
    return printed ? 0 : 1;
}
