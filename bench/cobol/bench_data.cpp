// SPDX-License-Identifier: MIT
//
// ZconvertData beside the MOVE of a compiled COBOL program (moves.cob): the same
// thousand values, both in turn, medians of nanoseconds a field.  The bytes of
// both must agree, field by field; the program ends with 1 when they do not.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/data.h"

extern "C" {
using Moves = int(void *source, void *target, const uint32_t *rounds);
Moves GETD9, GETDT9, GETDL9, GETDTS9, GETDT18, GETP5, GETP9, GETP18, GETB4, GETB9, GETB18, GETM9,
    GETM18, PUTD9, PUTDT9, PUTDL9, PUTDTS9, PUTDT18, PUTP5, PUTP9, PUTP18, PUTB4, PUTB9, PUTB18,
    PUTM9, PUTM18;
}

namespace {

constexpr uint32_t kFields = 1000;
constexpr uint32_t kRounds = 20;  // passes over the table a measurement
constexpr int kMeasurements = 61;
constexpr uint16_t kSignAndDigits = 4;

struct Row {
    const char *name;
    uint16_t type;
    uint32_t size;
    uint8_t digits;
    Moves *get;   // the storage to sign and digits
    Moves *put;   // and back
    double goal;  // of get, ours to the program's
};

const Row kRows[] = {
    {"9(9)", 1, 9, 9, GETD9, PUTD9, 0.5},
    {"S9(9) trailing", 3, 9, 9, GETDT9, PUTDT9, 0.5},
    {"S9(9) leading", 5, 9, 9, GETDL9, PUTDL9, 0.5},
    {"S9(9) trailing separate", 2, 10, 9, GETDTS9, PUTDTS9, 0.5},
    {"S9(18) trailing", 3, 18, 18, GETDT18, PUTDT18, 0.5},
    {"S9(5) COMP-3", 9, 3, 5, GETP5, PUTP5, 0.5},
    {"S9(9) COMP-3", 9, 5, 9, GETP9, PUTP9, 0.5},
    {"S9(18) COMP-3", 9, 10, 18, GETP18, PUTP18, 0.5},
    {"S9(4) COMP", 11, 2, 4, GETB4, PUTB4, 0.25},
    {"S9(9) COMP", 11, 4, 9, GETB9, PUTB9, 0.25},
    {"S9(18) COMP", 11, 8, 18, GETB18, PUTB18, 0.25},
    {"S9(9) COMP-5", 13, 4, 9, GETM9, PUTM9, 0.25},
    {"S9(18) COMP-5", 13, 8, 18, GETM18, PUTM18, 0.25},
};

struct Table {
    uint16_t type;
    uint32_t size;
    uint8_t digits;
    std::vector<char> bytes = std::vector<char>(size_t{kFields} * size);

    ZArgument field(uint32_t i) {
        return {
            reinterpret_cast<uintptr_t>(bytes.data() + size_t{i} * size), size, type, digits, 0, 0};
    }
};

constexpr XfdCvtInfo kSettings{0, 40, 25, 11, '.', ',', 0};

bool convert(Table &to, Table &from, uint32_t rounds) {
    int good = 1;
    ZArgument target = to.field(0);
    ZArgument source = from.field(0);
    for (uint32_t round = 0; round < rounds; ++round) {
        target.a_address = reinterpret_cast<uintptr_t>(to.bytes.data());
        source.a_address = reinterpret_cast<uintptr_t>(from.bytes.data());
        for (uint32_t i = 0; i < kFields; ++i) {
            good &= ZconvertData(&target, &source, 1, &kSettings);
            target.a_address += target.a_size;
            source.a_address += source.a_size;
        }
    }
    return good == 1;
}

double nanoseconds(std::chrono::steady_clock::duration time) {
    return std::chrono::duration<double, std::nano>(time).count() / (kFields * kRounds);
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// Times one direction; false when the two results differ.
bool measure(const char *name, Moves *moves, Table &from, const Table &shape, double goal) {
    Table ours = shape;
    Table theirs = shape;
    std::memset(ours.bytes.data(), '#', ours.bytes.size());
    std::memset(theirs.bytes.data(), '*', theirs.bytes.size());
    std::vector<double> our_times;
    std::vector<double> their_times;
    bool good = true;
    for (int i = 0; i < kMeasurements; ++i) {
        const auto start = std::chrono::steady_clock::now();
        good &= convert(ours, from, kRounds);
        const auto middle = std::chrono::steady_clock::now();
        moves(from.bytes.data(), theirs.bytes.data(), &kRounds);
        const auto end = std::chrono::steady_clock::now();
        our_times.push_back(nanoseconds(middle - start));
        their_times.push_back(nanoseconds(end - middle));
    }
    good &= ours.bytes == theirs.bytes;
    const double our_time = median(our_times);
    const double their_time = median(their_times);
    std::printf("| %-28s | %5.1f | %5.1f | %4.2f |", name, our_time, their_time,
                our_time / their_time);
    if (goal > 0) {
        std::printf(" %4.2f %s |", goal, our_time / their_time <= goal ? "met" : "MISSED");
    } else {
        std::printf("          |");
    }
    std::printf("%s\n", good ? "" : " RESULTS DIFFER");
    return good;
}

// Values of every length up to the digits, half of them negative.
void fill(Table &table) {
    std::mt19937_64 random(20240229);
    for (uint32_t i = 0; i < kFields; ++i) {
        const auto used = static_cast<uint32_t>(random() % table.digits + 1);
        std::string text(table.digits + 1U, '0');
        for (uint32_t k = 0; k < used; ++k) {
            text[text.size() - 1 - k] = static_cast<char>('0' + random() % 10);
        }
        const bool is_zero = text.find_first_not_of('0') == std::string::npos;
        text[0] = !is_zero && random() % 2 == 0 ? '-' : '+';
        std::memcpy(table.bytes.data() + size_t{i} * table.size, text.data(), text.size());
    }
}

}  // namespace

int main() {
    std::printf("| %-28s | %5s | %5s | %4s | %-8s |\n", "field", "ns", "MOVE", "is", "goal");
    std::printf("|------------------------------|-------|-------|------|----------|\n");
    bool good = true;
    for (const Row &row : kRows) {
        Table text{kSignAndDigits, row.digits + 1U, row.digits};
        Table storage{row.type, row.size, row.digits};
        fill(text);
        if (row.type == 1) {  // without sign there is none to check
            for (uint32_t i = 0; i < kFields; ++i) {
                text.bytes[size_t{i} * text.size] = '+';
            }
        }
        good &= convert(storage, text, 1);
        const std::string name = row.name;
        good &= measure((name + " to text").c_str(), row.get, storage, text, row.goal);
        good &= measure((name + " from text").c_str(), row.put, text, storage, 0);
        Table back = text;
        good &= convert(back, storage, 1) && back.bytes == text.bytes;
    }
    return good ? 0 : 1;
}
