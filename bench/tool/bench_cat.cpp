// SPDX-License-Identifier: MIT
//
// `wbfsi cat --format csv` beside a COBOL program (cat_csv.cob) that reads the same
// file of ten-field records, of a kind that three conditions tell, tests every field
// and writes the same bytes.  The outputs are compared first; then both write to the
// null device in turn, and the processor time of whole processes counts.
//
//     bench_cat [RECORDS [ROUNDS]]
//
// Ends with 1 when the outputs differ.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double kGoal = 4;
constexpr const char *kDictionary =
    "XFD,06,CATBENCH,CATBENCH,4\n"
    "69,69,0\n"
    "0,18,46,44,0\n"
    "3\n"
    "1,1,KIND,C\n"
    "2,1,KIND,O\n"
    "3,1,KIND,P\n"
    "10,10,10,10\n"
    "0,1,16,0,0,0,0,5,KIND\n"
    "1,8,1,8,0,0,0,5,ID\n"
    "9,30,16,0,0,0,0,5,NAME\n"
    "39,6,9,11,-2,0,0,5,AMOUNT\n"
    "45,20,16,0,0,0,1,5,CITY\n"
    "65,4,11,9,0,0,1,5,POINTS\n"
    "45,3,9,5,0,0,2,5,QUANTITY\n"
    "48,9,1,9,-2,0,2,5,PRICE\n"
    "45,12,4,11,-2,0,3,5,PAID\n"
    "57,10,16,0,0,0,3,5,METHOD\n";

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

std::string packed(int64_t number, size_t count) {
    const std::string text = digits(static_cast<uint64_t>(std::abs(number)), count);
    std::string bytes;
    for (size_t i = 0; i < count; i += 2) {
        const int low = i + 1 < count ? text[i + 1] - '0' : number < 0 ? 13 : 12;
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

// One record in a hundred has a comma in its name, one in two hundred a quote, one
// in five hundred an amount of blanks.
void write_records(const std::string &path, size_t count) {
    constexpr const char *kNames[] = {"Ada Lindqvist",      "Bo",
                                      "Carla van den Berg", "Dmitri Fischer",
                                      "Esperanza Diaz",     "Farid Haddad"};
    constexpr const char *kCities[] = {"Lisboa", "Rotterdam", "Frankfurt am Main", "Lyon"};
    std::mt19937 random(20240229);
    std::ofstream file(path, std::ios::binary);
    for (size_t i = 0; i < count; i++) {
        const char kind = "COP"[random() % 3];
        std::string name = kNames[random() % std::size(kNames)];
        name += i % 100 == 0 ? ", Sr." : i % 200 == 1 ? " \"Red\"" : "";
        const auto amount = static_cast<int64_t>(random()) % 2000000000 - 1000000000;
        std::string record = kind + digits(i, 8) + padded(name, 30);
        record += i % 500 == 7 ? std::string(6, ' ') : packed(amount, 11);
        if (kind == 'C') {
            record += padded(kCities[random() % std::size(kCities)], 20);
            record += binary(static_cast<uint32_t>(random() % 100000));
        } else if (kind == 'O') {
            record += packed(static_cast<int64_t>(random() % 2000) - 1000, 5);
            record += digits(random() % 10000000, 9);
        } else {
            record += (random() % 2 == 0 ? '+' : '-') + digits(1 + random() % 100000000, 11);
            record += padded(random() % 2 == 0 ? "card" : "transfer", 10);
        }
        file << padded(record, 69);
    }
}

// Runs a program and gives its processor time in seconds.
double run(const std::vector<std::string> &words, const std::string &output) {
    std::vector<char *> arguments;
    for (const std::string &word : words) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(file, STDOUT_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
        std::fprintf(stderr, "%s failed\n", arguments[0]);
        std::exit(2);
    }
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::string contents(const std::string &path) {
    std::string bytes(static_cast<size_t>(std::filesystem::file_size(path)), '\0');
    std::ifstream(path, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
    // scripts/bench hands the options of other benchmarks to all of them.
    const auto number = [&](int i, size_t otherwise) {
        const long value = argc > i ? std::strtol(argv[i], nullptr, 10) : 0;
        return value > 0 ? static_cast<size_t>(value) : otherwise;
    };
    const size_t records = number(1, 200000);
    const size_t rounds = number(2, 9);

    std::string folder = (std::filesystem::temp_directory_path() / "wbfsi-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror("mkdtemp");
        return 2;
    }
    const std::string data = folder + "/catbench.dat";
    std::ofstream(folder + "/catbench.xfd") << kDictionary;
    write_records(data, records);
    const char *settings[][2] = WBFSI_COBOL_ENVIRONMENT;
    for (const auto &setting : settings) {
        setenv(setting[0], setting[1], 1);
    }
    const std::vector<std::string> tool = {WBFSI_TOOL, "cat", "catbench", data,
                                           "--format", "csv", "--quiet",  "--xfd-directory",
                                           folder};
    const auto program = [&](const std::string &output) {
        return std::vector<std::string>{WBFSI_CAT_CSV, data, output};
    };

    run(tool, folder + "/tool.csv");
    run(program(folder + "/cobol.csv"), "/dev/null");
    const bool is_equal = contents(folder + "/tool.csv") == contents(folder + "/cobol.csv");
    const auto bytes = std::filesystem::file_size(folder + "/tool.csv");
    if (!is_equal) {
        std::printf("OUTPUTS DIFFER: %s/tool.csv %s/cobol.csv\n", folder.c_str(), folder.c_str());
        return 1;
    }
    std::vector<double> tool_times;
    std::vector<double> program_times;
    std::vector<double> ratios;
    for (size_t i = 0; i < rounds; i++) {
        tool_times.push_back(run(tool, "/dev/null"));
        program_times.push_back(run(program("/dev/null"), "/dev/null"));
        ratios.push_back(program_times.back() / tool_times.back());
    }
    std::filesystem::remove_all(folder);
    const double scale = 1e9 / static_cast<double>(records);
    std::printf("%zu records, %ju bytes of CSV, equal; medians of %zu rounds, processor time\n",
                records, static_cast<uintmax_t>(bytes), rounds);
    std::printf("wbfsi cat %.0f ns a record, COBOL %.0f ns, rate %.2f times, goal %.0f: %s\n",
                median(tool_times) * scale, median(program_times) * scale, median(ratios), kGoal,
                median(ratios) >= kGoal ? "met" : "MISSED");
    return 0;
}
