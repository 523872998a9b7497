// SPDX-License-Identifier: MIT
//
// A large file all the way: loaded, verified against its table, unloaded and compared,
// with time and peak memory of each step as a process of its own.  Its records have
// types that conditions tell apart (one by and, one by or, one by other), parts that
// redefine each other, dates in five storages with special values, an OCCURS group in
// a table of its own, illegal data, and an alternate key with duplicates.
//
//     bench_round_trip [RECORDS...]
//
// Ends with 1 when the file does not come back byte for byte, when the table does
// not hold its records, or when memory still grows behind a million records.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr size_t kRecordSize = 125;
// What memory may differ by from one number of records to another.
constexpr double kMemoryNoise = 1.1;

constexpr const char *kDictionary =
    "XFD,06,LEDGER,LEDGER,12\n"
    "125,125,2\n"
    "0,18,46,44,0\n"
    "1,0,8,0\n1\nNUMBER\n"
    "1,1,20,9\n1\nNAME\n"
    "7\n"
    "1,1,KIND,A\n"
    "2,1,KIND,B\n"
    "3,1,KIND,C\n"
    "4,9,2,3\n"
    "5,4,NUMBER,100000\n"
    "6,2,3,5\n"
    "7,3,KIND\n"
    "20,24,20,24\n"
    "0,8,1,8,0,0,0,5,NUMBER\n"
    "8,1,16,1,0,0,0,5,KIND\n"
    "9,20,16,20,0,0,0,5,NAME\n"
    "29,8,1,8,0,1,0,5,OPENED,YYYYMMDD\n"
    "37,6,1,6,0,1,0,5,CHANGED,YYMMDD\n"
    "43,5,8,8,0,1,0,5,STARTS,YYYYMMDD\n"
    "48,4,12,6,0,1,0,5,ENDS,JJJJJJ\n"
    "52,6,16,6,0,1,0,5,REVIEWED,FYMMDD\n"
    "90001,3,13,START OCCURS,LEDGER_STEPS\n"
    "58,8,1,8,0,1,0,10,STEP_FROM,YYYYMMDD\n"
    "66,5,9,9,-2,0,0,10,STEP_PAY\n"
    "90002,END OCCURS\n"
    "97,16,16,16,0,0,1,5,STREET\n"
    "113,9,16,9,0,0,1,5,CITY\n"
    "97,6,9,11,-2,0,2,5,BALANCE\n"
    "103,4,11,9,0,0,2,5,ORDERS\n"
    "97,10,3,10,-2,0,3,5,CREDIT\n"
    "107,7,1,7,0,0,4,5,LIMIT\n"
    "114,8,16,8,0,0,6,5,TERMS\n"
    "97,25,16,25,0,0,7,5,DETAILS\n"
    "97,4,1,4,0,0,7,5,DETAIL_CODE\n"
    "122,3,1,3,-1,0,0,5,RATE\n";

constexpr std::array kSettings{"4GL_JULIAN_BASE_DATE=19600101", "4GL_2000_CUTOFF=60",
                               "PLEX_DATE_ZERO_VALUE=19600101", "PLEX_DATE_NINE_VALUE=20591231",
                               "PLEX_DATE_INVALID_VALUE=19600102"};

std::string padded(std::string text, size_t size) {
    text.resize(size, ' ');
    return text;
}

std::string digits(uint64_t number, size_t count) {
    std::string text(count, '0');
    for (size_t i = count; i-- > 0; number /= 10) {
        text[i] = static_cast<char>('0' + number % 10);
    }
    return text;
}

// Of `count` digits, with the half-byte of the sign behind them.
std::string packed(uint64_t number, size_t count, int sign) {
    const std::string text = digits(number, count | 1);
    std::string bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        const int low = i + 1 < text.size() ? text[i + 1] - '0' : sign;
        bytes += static_cast<char>((text[i] - '0') << 4 | low);
    }
    return bytes;
}

std::string binary(uint32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(number >> shift);
    }
    return bytes;
}

class RecordMaker {
 public:
    std::string make(uint64_t number) {
        constexpr const char *kNames[] = {"Ada Lindqvist",      "Bo",
                                          "Carla van den Berg", "Dmitri Fischer",
                                          "Esperanza Diaz",     "Farid Haddad"};
        const char kind = one_in(10) ? 'X' : "ABC"[below(3)];
        std::string record = digits(number, 8) + kind;
        record += padded(kNames[below(std::size(kNames))] + std::to_string(below(5000)), 20);
        const auto date = [this] {
            return (1960 + below(99)) * 10000 + (1 + below(12)) * 100 + 1 + below(28);
        };
        record += special(digits(date(), 8));
        record += special(digits(date() % 1000000, 6));
        record += one_in(50) ? packed(0, 8, 15) : packed(date(), 8, 15);
        record += binary(static_cast<uint32_t>(below(36000)));
        // The decade as a letter, from 2000 on.
        record +=
            special(std::string(1, "0123456789ABCDEF"[below(16)]) + digits(date() % 100000, 5));
        for (int step = 0; step < 3; step++) {
            const bool is_empty = one_in(4);
            record += is_empty ? digits(0, 8) : digits(date(), 8);
            record += is_empty ? packed(0, 9, 12) : packed(below(100000000), 9, 12 + one_in(3));
        }
        if (one_in(100)) {
            record.replace(record.size() - 5, 5, 5, one_in(2) ? ' ' : '\0');
        }
        record += part_of_kind(kind, number);
        return record + (one_in(200) ? "\xFF\xFF\xFF" : digits(below(1000), 3));
    }

 private:
    std::string part_of_kind(char kind, uint64_t number) {
        switch (kind) {
            case 'A':
                return padded(std::to_string(1 + below(999)) + " High St", 16) +
                       padded(one_in(2) ? "Lisboa" : "Lyon", 9);
            case 'B':
                return padded(packed(below(10000000000), 11, 12 + one_in(4)) +
                                  binary(static_cast<uint32_t>(below(5000))) +
                                  digits(below(1000000), 7),
                              25);
            case 'C': {
                std::string credit = digits(below(1000000000), 10);
                if (one_in(4)) {
                    credit.back() = static_cast<char>(credit.back() + 0x40);
                }
                return padded(credit + digits(below(1000000), 7) + (number > 100000 ? "net" : ""),
                              25);
            }
            default:
                return padded(digits(below(10000), 4) + " see the file", 25);
        }
    }

    // Zeros, nines, blanks, and a day that there never was.
    std::string special(std::string date) {
        if (one_in(20)) {
            const size_t size = date.size();
            switch (below(4)) {
                case 0:
                    return std::string(size, '0');
                case 1:
                    return std::string(size, '9');
                case 2:
                    return std::string(size, ' ');
                default:
                    return date.replace(size - 4, 4, "0230");
            }
        }
        return date;
    }

    uint64_t below(uint64_t n) { return random_() % n; }
    bool one_in(uint64_t n) { return below(n) == 0; }

    std::mt19937_64 random_{20261122};
};

void write_file(const std::string &path, uint64_t count) {
    std::ofstream file(path, std::ios::binary);
    RecordMaker maker;
    for (uint64_t number = 1; number <= count; number++) {
        const std::string record = maker.make(number);
        if (record.size() != kRecordSize) {
            std::fprintf(stderr, "a record of %zu bytes\n", record.size());
            std::exit(2);
        }
        file << record;
    }
}

struct Step {
    double elapsed = 0;  // seconds
    double busy = 0;     // seconds of the processor, user and system
    double peak = 0;     // MiB
};

// Runs the tool; `most` is the greatest exit status that is taken for success.
Step run(const std::vector<std::string> &command, const std::string &folder, int most) {
    std::vector<std::string> words{WBFSI_TOOL, "--xfd-directory", folder};
    for (const char *setting : kSettings) {
        words.emplace_back("--set");
        words.emplace_back(setting);
    }
    words.insert(words.begin() + 1, command.begin(), command.end());
    std::vector<char *> arguments;
    for (std::string &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        const int file = open((folder + "/output").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(file, STDOUT_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) > most) {
        std::fprintf(stderr, "wbfsi %s failed\n", command[0].c_str());
        std::exit(1);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return {elapsed.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) / 1024};
}

bool are_equal(const std::string &a, const std::string &b) {
    constexpr size_t kBlock = 65536;
    std::ifstream first(a, std::ios::binary);
    std::ifstream second(b, std::ios::binary);
    std::string one(kBlock, '\0');
    std::string other(kBlock, '\0');
    std::streamsize size = kBlock;
    while (size == kBlock) {
        first.read(one.data(), kBlock);
        second.read(other.data(), kBlock);
        size = first.gcount();
        if (size != second.gcount() ||
            one.compare(0, static_cast<size_t>(size), other, 0, static_cast<size_t>(size)) != 0) {
            return false;
        }
    }
    return !first.bad() && !second.bad();
}

bool output_has(const std::string &folder, const std::string &text) {
    std::ifstream file(folder + "/output");
    bool has_text = false;
    for (std::string line; !has_text && std::getline(file, line);) {
        has_text = line.find(text) != std::string::npos;
    }
    return has_text;
}

void require(bool good, const char *what) {
    if (!good) {
        std::fprintf(stderr, "bench_round_trip: %s\n", what);
        std::exit(1);
    }
}

constexpr std::array kSteps{"load", "verify --db", "unload"};
using Steps = std::array<Step, kSteps.size()>;

Steps go_round(uint64_t count) {
    std::string folder = std::filesystem::temp_directory_path() / "wbfsi-bench-XXXXXX";
    require(mkdtemp(folder.data()) != nullptr, "no folder can be made");
    const std::string data = folder + "/ledger.dat";
    const std::string back = folder + "/ledger.back";
    const std::string database = "sqlite:" + folder + "/ledger.db";
    std::ofstream(folder + "/ledger.xfd") << kDictionary;
    write_file(data, count);
    Steps steps;
    steps[0] = run({"load", "ledger", data, "--db", database}, folder, 0);
    require(output_has(folder, ": " + std::to_string(count) + " records loaded"),
            "not all were loaded");
    // 1: it finds the illegal data.
    steps[1] = run({"verify", "ledger", data, "--db", database}, folder, 1);
    require(output_has(folder, std::to_string(count) + " records are the same in table"),
            "the table does not hold the records");
    steps[2] = run({"unload", "ledger", back, "--db", database}, folder, 0);
    require(are_equal(data, back), "the file came back changed");
    std::filesystem::remove_all(folder);
    return steps;
}

}  // namespace

int main(int argc, char **argv) {
    std::vector<uint64_t> counts;
    for (int i = 1; i < argc; i++) {
        counts.push_back(std::strtoull(argv[i], nullptr, 10));
    }
    if (counts.empty()) {
        counts = {250000, 1000000};
    }
    std::ranges::sort(counts);
    require(counts.front() > 0, "usage: bench_round_trip [RECORDS...]");
    std::printf("%10s  %-12s %10s %10s %12s %8s\n", "records", "step", "seconds", "CPU",
                "CPU us/rec.", "MiB");
    std::vector<Steps> rounds;
    for (const uint64_t count : counts) {
        rounds.push_back(go_round(count));
        for (size_t i = 0; i < kSteps.size(); i++) {
            const Step &step = rounds.back()[i];
            std::printf("%10llu  %-12s %10.2f %10.2f %12.2f %8.1f\n",
                        static_cast<unsigned long long>(count), kSteps[i], step.elapsed, step.busy,
                        step.busy * 1e6 / static_cast<double>(count), step.peak);
        }
        std::fflush(stdout);
    }
    // Below this many records the page cache and the sorter of the index are not full.
    constexpr uint64_t kSettled = 1000000;
    for (size_t i = 0;
         counts.size() > 1 && counts[counts.size() - 2] >= kSettled && i < kSteps.size(); i++) {
        const double before = rounds[rounds.size() - 2][i].peak;
        require(rounds.back()[i].peak <= before * kMemoryNoise, "memory grows with the records");
    }
    return 0;
}
