// SPDX-License-Identifier: MIT
//
// The way the micro-benchmarks are run and told: every one several times,
// interleaved with the others so that a loaded machine slows all alike, and the
// median of the runs.
#ifndef BENCH_MEDIANS_H
#define BENCH_MEDIANS_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace bench {

class Medians : public benchmark::ConsoleReporter {
 public:
    Medians() : ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s\n", run.error_message.c_str());
                has_failed_ = true;
            } else if (run.run_type == Run::RT_Iteration) {
                const auto rate = run.counters.find("items_per_second");
                const std::string &arguments = run.run_name.args;
                times_[run.run_name.function_name + (arguments.empty() ? "" : "/") + arguments]
                    .push_back(rate == run.counters.end() ? run.GetAdjustedCPUTime()
                                                          : 1e9 / rate->second.value);
            }
        }
    }

    // A benchmark has reported an error; it is on the error output.
    [[nodiscard]] bool has_failed() const { return has_failed_; }

    // Nanoseconds of an item, or of an iteration where items are not counted.
    //   name  of the benchmark, with "/ARGUMENT" when it has one
    [[nodiscard]] double of(const std::string &name) const {
        std::vector<double> times = times_.at(name);
        const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        return *middle;
    }
    [[nodiscard]] double of(const char *name, int argument) const {
        return of(std::string(name) + "/" + std::to_string(argument));
    }

    // What was run, sorted.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto &[name, times] : times_) {
            all.push_back(name);
        }
        return all;
    }

 private:
    std::map<std::string, std::vector<double>> times_;
    bool has_failed_ = false;
};

// Runs what is registered.  The command line has the last word on repetitions and
// seconds; false, with a message, when it has an option that nobody knows.
inline bool run_interleaved(int argc, char **argv, int repetitions, double seconds,
                            Medians *medians) {
    std::string repeated = "--benchmark_repetitions=" + std::to_string(repetitions);
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    std::string duration = "--benchmark_min_time=" + std::to_string(seconds);
    std::vector<char *> arguments = {argv[0], repeated.data(), interleaved.data(), duration.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return false;
    }
    benchmark::RunSpecifiedBenchmarks(medians);
    return true;
}

}  // namespace bench

#endif
