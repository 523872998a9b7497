// SPDX-License-Identifier: MIT
//
// What is measured: a method reads a document and does one thing, timed by itself.
#ifndef BENCH_XML_METHODS_H
#define BENCH_XML_METHODS_H

#include <time.h>

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

namespace bench {

struct Result {
    double seconds = 0;     // CPU time of the thing itself; below 0: it failed
    double heap_bytes = 0;  // in use afterwards, or at most while records are read
    double elements = 0;    // or records
    double attributes = 0;
};

struct Method {
    const char *name;
    Result (*run)(const char *file);
};

std::span<const Method> our_methods();
std::span<const Method> libxml2_methods();
std::span<const Method> pugixml_methods();

// The kinds of document.
struct Kind {
    const char *name;
    void (*write)(std::FILE *file, int64_t bytes);
};
std::span<const Kind> kinds();

class Watch {
 public:
    [[nodiscard]] double seconds() const { return now() - start_; }

 private:
    static double now() {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }
    double start_ = now();
};

constexpr const char *kOutput = "/dev/null";

}  // namespace bench

#endif
