// SPDX-License-Identifier: MIT
//
// Loading a text dictionary of 250, 1000 and 4000 fields with half as many key
// columns and a tenth as many conditions.  Beside it, in the same run: reading
// the file and splitting its lines with the standard library (the least a
// reader can do), and finding the key columns of each field by plain search
// (what a loader would do without a table of names).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/medians.h"
#include "host/config.h"
#include "host/names.h"
#include "wbfsi/build.h"
#include "wbfsi/load.h"

namespace {

constexpr int kColumnsOfAKey = 5;
constexpr int kSizes[] = {250, 1000, 4000};

std::string field_name(int64_t i) {
    return "CUSTOMER-FIELD-" + std::to_string(i);
}

std::string dictionary(int64_t fields) {
    const int64_t keys = fields / (2 * kColumnsOfAKey);
    const int64_t conditions = fields / 10;
    std::string text = "XFD,08,CUSTOMER,CUSTOMER,12\n32000,32000," + std::to_string(keys) +
                       "\n00000,018,046,044,00000\n# [Key Section]\n";
    for (int64_t k = 0; k < keys; ++k) {
        text += "01,1,008," + std::to_string(8 * k) + "\n0" + std::to_string(kColumnsOfAKey) + '\n';
        for (int c = 0; c < kColumnsOfAKey; ++c)
            text += field_name((k * 7919 + c * 31) % fields) + '\n';
    }
    text += "# [Condition Section]\n" + std::to_string(conditions) + '\n';
    for (int64_t c = 0; c < conditions; ++c)
        text += std::to_string(c + 1) + ",1," + field_name(c * 10) + ",\"A\",PART\n";
    text += "# [Field Section]\n" + std::to_string(fields) + ',' + std::to_string(fields) + ',' +
            std::to_string(fields) + ',' + std::to_string(fields) + '\n';
    for (int64_t i = 0; i < fields; ++i)
        text += std::to_string(8 * i) + ",00008,16,00008,+00,000,000,05," + field_name(i) + '\n';
    return text;
}

// A folder with the three dictionaries, "f250.xfd" ...; removed at the end.
class Folder {
 public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "wbfsi-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            std::abort();
        path_ = pattern;
        for (const int size : kSizes)
            std::ofstream(file(size), std::ios::binary) << dictionary(size);
        ZCSetValueString("XFD_DIRECTORY", path_.c_str());
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }

    std::string file(int64_t size) const { return path_ + "/f" + std::to_string(size) + ".xfd"; }

 private:
    std::string path_;
};

const Folder *folder;

void load(benchmark::State &state) {
    const std::string name = 'f' + std::to_string(state.range(0));
    for (auto _ : state) {
        Xfd *xfd = Z4ParseXFD(name.c_str(), 0, 30);
        if (xfd == nullptr || xfd->x_n_fields != state.range(0)) {
            state.SkipWithError("the dictionary does not load");
            break;
        }
        Z4XFDFree(xfd);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

std::vector<std::string> split(const char *line) {
    std::vector<std::string> values;
    while (*line != '\0' && *line != '\n') {
        const size_t length = strcspn(line, ",\n");
        values.emplace_back(line, length);
        line += length + (line[length] == ',');
    }
    return values;
}

void split_lines(benchmark::State &state) {
    const std::string path = folder->file(state.range(0));
    for (auto _ : state) {
        std::FILE *file = std::fopen(path.c_str(), "r");
        char line[512];
        while (std::fgets(line, sizeof line, file) != nullptr) {
            const std::vector<std::string> values = split(line);
            benchmark::DoNotOptimize(values.data());
        }
        std::fclose(file);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void plain_search(benchmark::State &state) {
    std::vector<std::string> columns;
    for (int64_t i = 0; i < state.range(0) / 2; ++i) {
        std::string name =
            field_name((i / kColumnsOfAKey * 7919 + i % kColumnsOfAKey * 31) % state.range(0));
        stdz_name(name.data(), -3, 4);
        columns.push_back(name);
    }
    for (auto _ : state) {
        size_t found = 0;
        for (int64_t i = 0; i < state.range(0); ++i) {
            const std::string field = field_name(i);
            char name[31] = {};
            std::memcpy(name, field.data(), field.size());
            stdz_name(name, -3, 4);
            for (const std::string &column : columns)
                found += std::strcmp(name, column.c_str()) == 0;
        }
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The table; microseconds a field.
void print(const bench::Medians &medians) {
    const auto micro = [&](const char *name, int size) { return medians.of(name, size) / 1000; };
    std::printf("%-8s %12s %12s %8s %14s\n", "fields", "load us", "split us", "ratio", "search us");
    for (const int size : kSizes)
        std::printf("%-8d %12.3f %12.3f %8.2f %14.3f\n", size, micro("load", size),
                    micro("split", size), micro("load", size) / micro("split", size),
                    micro("search", size));
    std::printf("(median microseconds a field)\n");
    for (const char *name : {"load", "split", "search"})
        std::printf("%-7s four times the fields take %.2f and %.2f times as long\n", name,
                    4 * micro(name, 1000) / micro(name, 250),
                    4 * micro(name, 4000) / micro(name, 1000));
}

}  // namespace

int main(int argc, char **argv) {
    const Folder files;
    folder = &files;
    for (const int size : kSizes) {
        benchmark::RegisterBenchmark("load", load)->Arg(size);
        benchmark::RegisterBenchmark("split", split_lines)->Arg(size);
        benchmark::RegisterBenchmark("search", plain_search)->Arg(size);
    }
    bench::Medians medians;
    if (!bench::run_interleaved(argc, argv, 9, 0.05, &medians))
        return 2;
    if (!medians.has_failed())
        print(medians);
    return medians.has_failed() ? 1 : 0;
}
