// SPDX-License-Identifier: MIT
//
// XML documents beside other libraries:
//
//     bench_xml [MEGABYTES [ROUNDS]]   the table, 50 and 5
//     bench_xml --run METHOD FILE      one method: CPU seconds, heap bytes, elements,
//                                      attributes
//     bench_xml --document KIND MEGABYTES FILE
//
// Each method runs in a fresh process, the methods one after the other in each round,
// and the table shows medians over the rounds of the ratios within a round.  Where
// valgrind is installed instructions of a document of 5 MB stand beside them.
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "bench/xml/methods.h"

namespace {

using bench::Method;
using bench::Result;

std::vector<Method> all_methods() {
    std::vector<Method> all;
    const auto add = [&](std::span<const Method> some) {
        all.insert(all.end(), some.begin(), some.end());
    };
    add(bench::our_methods());
#ifdef BENCH_LIBXML2
    add(bench::libxml2_methods());
#endif
#ifdef BENCH_PUGIXML
    add(bench::pugixml_methods());
#endif
    return all;
}

int run(const char *name, const char *file) {
    for (const Method &method : all_methods()) {
        if (std::strcmp(method.name, name) != 0)
            continue;
        const Result result = method.run(file);
        std::printf("%.9f %.0f %.0f %.0f\n", result.seconds, result.heap_bytes, result.elements,
                    result.attributes);
        std::fflush(stdout);
        // Not what it takes to free everything at the end.
        _exit(result.seconds < 0 ? 1 : 0);
    }
    std::fprintf(stderr, "bench_xml: no method %s\n", name);
    return 2;
}

bool write_document(const bench::Kind &kind, double megabytes, const std::string &path) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    kind.write(file, static_cast<int64_t>(megabytes * 1e6));
    return std::fclose(file) == 0;
}

// What a command prints.
std::string output_of(const std::string &command) {
    std::string text;
    std::FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return text;
    char line[512];
    while (std::fgets(line, sizeof line, pipe) != nullptr)
        text += line;
    return pclose(pipe) == 0 ? text : "";
}

class Bench {
 public:
    Bench(std::string program, std::string folder)
        : program_(std::move(program)), folder_(std::move(folder)) {}

    Result measure(const char *method, const std::string &file) const {
        Result result{-1};
        const std::string text = output_of(program_ + " --run " + method + " " + file);
        if (std::sscanf(text.c_str(), "%lf %lf %lf %lf", &result.seconds, &result.heap_bytes,
                        &result.elements, &result.attributes) != 4)
            std::fprintf(stderr, "bench_xml: %s failed on %s\n", method, file.c_str());
        return result;
    }

    // Instructions of a whole process, 0 without valgrind.
    double instructions(const char *method, const std::string &file) const {
        const std::string text =
            output_of("valgrind --tool=callgrind --callgrind-out-file=/dev/null " + program_ +
                      " --run " + method + " " + file + " 2>&1 >/dev/null | grep Collected");
        const size_t colon = text.find(" : ");
        return colon == text.npos ? 0 : std::strtod(text.c_str() + colon + 3, nullptr);
    }

    void table(const bench::Kind &kind, double megabytes, int rounds) const;

 private:
    std::string program_;
    std::string folder_;
};

double median(std::vector<double> values) {
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

struct Row {
    const char *what;
    const char *method;
    const char *peer;
    const char *without;  // whose instructions both have in common with others
    const char *peer_without;
};

constexpr Row kRows[] = {
    {"parse, of expat alone", "parse", "expat", nullptr, nullptr},
    {"parse, of libxml2", "parse", "libxml2_parse", nullptr, nullptr},
    {"parse, of pugixml", "parse", "pugixml_parse", nullptr, nullptr},
    {"release, of parse", "release", "parse", nullptr, nullptr},
    {"records, of parse", "records", "parse", nullptr, nullptr},
    {"write to memory, of libxml2", "write_memory", "libxml2_write_memory", "parse",
     "libxml2_parse"},
    {"write to memory, of pugixml", "write_memory", "pugixml_write_memory", "parse",
     "pugixml_parse"},
    {"write to a file, of libxml2", "write_file", "libxml2_write_file", "parse", "libxml2_parse"},
    {"write to a file, of pugixml", "write_file", "pugixml_write_file", "parse", "pugixml_parse"},
};

void Bench::table(const bench::Kind &kind, double megabytes, int rounds) const {
    const std::string file = folder_ + "/document.xml";
    const std::string small = folder_ + "/small.xml";
    if (!write_document(kind, megabytes, file) || !write_document(kind, 5, small))
        return;
    std::map<std::string, std::vector<double>> seconds;
    std::map<std::string, Result> last;
    for (int i = 0; i < rounds; i++) {
        for (const Method &method : all_methods()) {
            last[method.name] = measure(method.name, file);
            seconds[method.name].push_back(last[method.name].seconds);
        }
    }
    std::map<std::string, double> counted;
    for (const Method &method : all_methods())
        counted[method.name] = instructions(method.name, small);

    std::printf("\n%s, %.0f MB, %d rounds\n%-30s %10s %10s %8s %13s\n", kind.name, megabytes,
                rounds, "", "ms", "peer ms", "ratio", "instructions");
    for (const Row &row : kRows) {
        if (!seconds.contains(row.peer))
            continue;
        std::vector<double> ratios;
        for (size_t i = 0; i < seconds[row.method].size(); i++)
            ratios.push_back(seconds[row.method][i] / seconds[row.peer][i]);
        double mine = counted[row.method];
        double peers = counted[row.peer];
        if (row.without != nullptr) {
            mine -= counted[row.without];
            peers -= counted[row.peer_without];
        }
        std::printf("%-30s %10.1f %10.1f %8.2f", row.what, median(seconds[row.method]) * 1e3,
                    median(seconds[row.peer]) * 1e3, median(ratios));
        if (std::strcmp(row.method, "release") == 0 || mine <= 0 || peers <= 0)
            std::printf(" %13s\n", "-");
        else
            std::printf(" %13.2f\n", mine / peers);
    }
    const Result &tree = last["tree"];
    std::printf("%-30s %10.1f bytes\n", "heap for each element", tree.heap_bytes / tree.elements);
    std::printf("%-30s %10.1f bytes\n", "heap, attributes counted too",
                tree.heap_bytes / (tree.elements + tree.attributes));
    std::printf("%-30s %10.0f bytes at most\n", "heap of reading records",
                last["records"].heap_bytes);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc == 4 && std::strcmp(argv[1], "--run") == 0)
        return run(argv[2], argv[3]);
    if (argc == 5 && std::strcmp(argv[1], "--document") == 0) {
        for (const bench::Kind &kind : bench::kinds()) {
            if (std::strcmp(kind.name, argv[2]) == 0)
                return write_document(kind, std::strtod(argv[3], nullptr), argv[4]) ? 0 : 1;
        }
        return 2;
    }
    // Options of other benchmarks, when all are run with the same ones.
    while (argc > 1 && std::strncmp(argv[argc - 1], "--benchmark", 11) == 0)
        argc--;
    const double megabytes = argc > 1 ? std::strtod(argv[1], nullptr) : 50;
    const int rounds = argc > 2 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 5;
    if (megabytes <= 0 || rounds <= 0) {
        std::fprintf(stderr, "usage: bench_xml [MEGABYTES [ROUNDS]]\n");
        return 2;
    }
    char program[4096];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program - 1);
    char folder[] = "/tmp/bench_xml.XXXXXX";
    if (length <= 0 || mkdtemp(folder) == nullptr)
        return 1;
    program[length] = '\0';
    const Bench bench(program, folder);
    for (const bench::Kind &kind : bench::kinds())
        bench.table(kind, megabytes, rounds);
    for (const char *name : {"/document.xml", "/small.xml", ""})
        std::remove((std::string(folder) + name).c_str());
    return 0;
}
