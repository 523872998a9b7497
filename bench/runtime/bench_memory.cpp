// SPDX-License-Identifier: MIT
//
// The host's memory, strings and handles beside what a C++ program would take
// instead: malloc, std::string, std::unordered_map.  A benchmark is registered
// in pairs, SUBJECT/host/... and SUBJECT/peer/..., run interleaved; the last table
// is the median of each and their ratio.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/medians.h"
#include "host/handles.h"
#include "host/memory.h"
#include "host/strings.h"

namespace {

constexpr const char *kSource = "bench/runtime/memory";

struct Host {
    static void *allocate(size_t size) { return Zmalloc(size, "Benchmark", kSource); }
    static void *reallocate(void *block, size_t size) {
        return Zrealloc(block, size, "Benchmark", kSource);
    }
    static void release(void *block) { Zfree(block); }
};

struct Peer {
    static void *allocate(size_t size) { return malloc(size); }
    static void *reallocate(void *block, size_t size) { return realloc(block, size); }
    static void release(void *block) { free(block); }
};

template <class Memory>
void allocate_and_free(benchmark::State &state) {
    const auto size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void *block = Memory::allocate(size);
        benchmark::DoNotOptimize(block);
        Memory::release(block);
    }
}

// As many blocks as a document holds at a time, freed in the order they came.
template <class Memory>
void allocate_batch(benchmark::State &state) {
    const auto size = static_cast<size_t>(state.range(0));
    std::vector<void *> blocks(1000);
    for (auto _ : state) {
        for (void *&block : blocks) {
            block = Memory::allocate(size);
        }
        benchmark::ClobberMemory();
        for (void *block : blocks) {
            Memory::release(block);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(blocks.size()));
}

// A large heap of mixed sizes of which random blocks are replaced.
template <class Memory>
void replace_random(benchmark::State &state) {
    std::mt19937 random(1);
    std::vector<void *> live(static_cast<size_t>(state.range(0)));
    std::vector<uint16_t> sizes(1U << 16);
    for (uint16_t &size : sizes) {
        size = static_cast<uint16_t>(16 + random() % 497);
    }
    std::vector<uint32_t> order(1U << 16);
    for (uint32_t &index : order) {
        index = static_cast<uint32_t>(random() % live.size());
    }
    for (size_t i = 0; i < live.size(); ++i) {
        live[i] = Memory::allocate(sizes[i % sizes.size()]);
    }
    size_t i = 0;
    for (auto _ : state) {
        void *&block = live[order[i & 0xffff]];
        Memory::release(block);
        block = Memory::allocate(sizes[(i * 7 + 1) & 0xffff]);
        *static_cast<char *>(block) = 1;
        ++i;
    }
    for (void *block : live) {
        Memory::release(block);
    }
}

// Builds a heap of mixed sizes and frees it in random order.
template <class Memory>
void build_and_free_random(benchmark::State &state) {
    std::mt19937 random(2);
    std::vector<void *> live(static_cast<size_t>(state.range(0)));
    std::vector<size_t> sizes(live.size());
    std::vector<size_t> order(live.size());
    for (size_t i = 0; i < live.size(); ++i) {
        sizes[i] = 16 + random() % 497;
        order[i] = i;
    }
    std::shuffle(order.begin(), order.end(), random);
    for (auto _ : state) {
        for (size_t i = 0; i < live.size(); ++i) {
            live[i] = Memory::allocate(sizes[i]);
            *static_cast<char *>(live[i]) = 1;
        }
        for (const size_t i : order) {
            Memory::release(live[i]);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(live.size()));
}

// An array of field records that grows by one slot of 308 bytes at a time.
template <class Memory>
void grow_by_slots(benchmark::State &state) {
    const auto slots = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void *block = nullptr;
        for (size_t i = 1; i <= slots; ++i) {
            block = Memory::reallocate(block, i * 308);
            static_cast<char *>(block)[i * 308 - 1] = 1;
        }
        Memory::release(block);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(slots));
}

constexpr int kAppends = 64;  // before a string starts anew

// A text of `length` characters apart from everything that the loops write.
const char *text_of(int64_t length) {
    alignas(64) static char text[256];
    memset(text, 'x', static_cast<size_t>(length));
    text[length] = '\0';
    return text;
}

void append_host(benchmark::State &state) {
    const char *text = text_of(state.range(0));
    ZString string = ZSTRINGNew(0, "Benchmark", kSource);
    for (auto _ : state) {
        for (int i = 0; i < kAppends; ++i) {
            benchmark::DoNotOptimize(text);
            ZSTRINGAppend(string, text);
        }
        ZStringClear(string);
    }
    state.SetItemsProcessed(state.iterations() * kAppends);
    ZSTRINGDelete(string);
}

void append_peer(benchmark::State &state) {
    const char *text = text_of(state.range(0));
    std::string string;
    for (auto _ : state) {
        for (int i = 0; i < kAppends; ++i) {
            benchmark::DoNotOptimize(text);
            string.append(text);
        }
        string.clear();
    }
    state.SetItemsProcessed(state.iterations() * kAppends);
}

// A string from its first byte to its end: eight appends with growth.
void build_string_host(benchmark::State &state) {
    const std::string piece(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        ZString string = ZSTRINGNew(0, "Benchmark", kSource);
        for (int i = 0; i < 8; ++i) {
            ZSTRINGAppendN(string, piece.data(), piece.size());
        }
        benchmark::DoNotOptimize(ZStringGet(string));
        ZSTRINGDelete(string);
    }
}

void build_string_peer(benchmark::State &state) {
    const std::string piece(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        auto *string = new std::string;
        for (int i = 0; i < 8; ++i) {
            string->append(piece.data(), piece.size());
        }
        benchmark::DoNotOptimize(string->c_str());
        delete string;
    }
}

std::vector<uint32_t> random_order(size_t count) {
    std::mt19937 random(3);
    std::vector<uint32_t> order(1U << 14);
    for (uint32_t &index : order) {
        index = static_cast<uint32_t>(random() % count);
    }
    return order;
}

void look_up_host(benchmark::State &state) {
    const ZHandleType type = {"Benchmark", 32, 0, nullptr};
    const int number = H_declare(&type);
    std::vector<ZHandle> handles(static_cast<size_t>(state.range(0)));
    for (ZHandle &handle : handles) {
        handle = HBUILDV(number, "Benchmark", kSource);
    }
    std::vector<ZHandle> asked;
    for (const uint32_t index : random_order(handles.size())) {
        asked.push_back(handles[index]);
    }
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(H_lock(asked[i++ & (asked.size() - 1)]));
    }
    for (const ZHandle handle : handles) {
        H_FREE(handle);
    }
    H_undeclare(number);
}

void look_up_peer(benchmark::State &state) {
    std::unordered_map<uint32_t, void *> map;
    const auto count = static_cast<size_t>(state.range(0));
    for (uint32_t i = 0; i < count; ++i) {
        map[i + 0x1000001] = &state;
    }
    std::vector<uint32_t> asked;
    for (const uint32_t index : random_order(count)) {
        asked.push_back(index + 0x1000001);
    }
    size_t i = 0;
    for (auto _ : state) {
        const auto found = map.find(asked[i++ & (asked.size() - 1)]);
        benchmark::DoNotOptimize(found == map.end() ? nullptr : found->second);
    }
}

// A walk from record to record, each naming the next: the look-up waits for the
// one before it, as in a tree of elements.
void walk_host(benchmark::State &state) {
    const ZHandleType type = {"Benchmark", sizeof(ZHandle), 0, nullptr};
    const int number = H_declare(&type);
    std::vector<ZHandle> handles(static_cast<size_t>(state.range(0)));
    for (ZHandle &handle : handles) {
        handle = HBUILDV(number, "Benchmark", kSource);
    }
    std::shuffle(handles.begin(), handles.end(), std::mt19937(4));
    for (size_t i = 0; i < handles.size(); ++i) {
        *static_cast<ZHandle *>(H_lock(handles[i])) = handles[(i + 1) % handles.size()];
    }
    ZHandle handle = handles[0];
    for (auto _ : state) {
        handle = *static_cast<ZHandle *>(H_lock(handle));
    }
    benchmark::DoNotOptimize(handle);
    for (const ZHandle each : handles) {
        H_FREE(each);
    }
    H_undeclare(number);
}

void walk_peer(benchmark::State &state) {
    std::unordered_map<uint32_t, void *> map;
    std::vector<uint32_t> keys(static_cast<size_t>(state.range(0)));
    for (uint32_t i = 0; i < keys.size(); ++i) {
        keys[i] = i + 0x1000001;
        map[keys[i]] = new uint32_t;
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(4));
    for (size_t i = 0; i < keys.size(); ++i) {
        *static_cast<uint32_t *>(map[keys[i]]) = keys[(i + 1) % keys.size()];
    }
    uint32_t key = keys[0];
    for (auto _ : state) {
        const auto found = map.find(key);
        key = found == map.end() ? 0 : *static_cast<uint32_t *>(found->second);
    }
    benchmark::DoNotOptimize(key);
    for (const auto &[each, record] : map) {
        delete static_cast<uint32_t *>(record);
    }
}

// Keeps each repetition's time an item beside printing the usual lines.
void print_ratios(const bench::Medians &medians) {
    std::printf("%-32s %10s %10s %8s\n", "median ns an item", "host", "peer", "ratio");
    for (const std::string &name : medians.names()) {
        const size_t at = name.find("/host/");
        if (at == std::string::npos) {
            continue;
        }
        const std::string pair = name.substr(0, at);
        const std::string argument = name.substr(at + 6);
        const double ours = medians.of(name);
        const double theirs = medians.of(pair + "/peer/" + argument);
        std::printf("%-32s %10.2f %10.2f %8.2f\n", (pair + "/" + argument).c_str(), ours, theirs,
                    ours / theirs);
    }
}

using Function = void (*)(benchmark::State &);

void register_pair(const std::string &name, Function host, Function peer,
                   const std::vector<int64_t> &arguments) {
    for (const int64_t argument : arguments) {
        benchmark::RegisterBenchmark((name + "/host").c_str(), host)->Arg(argument);
        benchmark::RegisterBenchmark((name + "/peer").c_str(), peer)->Arg(argument);
    }
}

}  // namespace

int main(int argc, char **argv) {
    register_pair("alloc_free", allocate_and_free<Host>, allocate_and_free<Peer>,
                  {16, 32, 64, 128, 256, 512});
    register_pair("alloc_batch", allocate_batch<Host>, allocate_batch<Peer>, {16, 64, 128, 512});
    register_pair("replace_random", replace_random<Host>, replace_random<Peer>, {1000, 100000});
    register_pair("build_free_random", build_and_free_random<Host>, build_and_free_random<Peer>,
                  {1000, 100000});
    register_pair("grow_by_308", grow_by_slots<Host>, grow_by_slots<Peer>, {100, 1000, 10000});
    register_pair("append", append_host, append_peer, {1, 8, 30, 200});
    register_pair("build_string", build_string_host, build_string_peer, {4, 30});
    register_pair("handle_lookup", look_up_host, look_up_peer, {100, 10000, 1000000});
    register_pair("handle_walk", walk_host, walk_peer, {100, 10000, 1000000});

    bench::Medians medians;
    if (!bench::run_interleaved(argc, argv, 9, 0.02, &medians)) {
        return 2;
    }
    print_ratios(medians);
    return medians.has_failed() ? 1 : 0;
}
