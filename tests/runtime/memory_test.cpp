// SPDX-License-Identifier: MIT
#include "host/memory.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr const char *kSource = "tests/runtime/memory";
constexpr size_t kAlignment = sizeof(void *) == 8 ? 16 : 8;

// A text at an address of its own, alive as long as the program.
const char *text_of_its_own(const std::string &text) {
    static std::deque<std::string> texts;
    return texts.emplace_back(text).c_str();
}

struct Totals {
    size_t blocks, bytes;
};

std::map<std::string, Totals> report() {
    std::map<std::string, Totals> rows;
    ZMemoryReport(
        [](const char *tag, const char *source, size_t blocks, size_t bytes, void *user) {
            auto &all = *static_cast<std::map<std::string, Totals> *>(user);
            const auto [row, is_new] =
                all.insert({std::string(tag) + " of " + source, {blocks, bytes}});
            EXPECT_TRUE(is_new) << row->first << " is reported twice";
        },
        &rows);
    return rows;
}

TEST(Memory, BlocksOfEverySizeAreAlignedWritableAndApart) {
    const size_t before = ZMemoryBlocks(nullptr);
    std::vector<unsigned char *> blocks;
    for (size_t size = 0; size < 3000; ++size) {
        auto *block = static_cast<unsigned char *>(Zmalloc(size, "sizes", kSource));
        ASSERT_NE(block, nullptr);
        ASSERT_EQ(reinterpret_cast<uintptr_t>(block) % kAlignment, 0U) << size;
        memset(block, static_cast<int>(size % 251), size);
        blocks.push_back(block);
    }
    EXPECT_EQ(ZMemoryBlocks("sizes"), 3000U);
    for (size_t size = 0; size < blocks.size(); ++size) {
        for (size_t i = 0; i < size; ++i) {
            ASSERT_EQ(blocks[size][i], size % 251) << size;
        }
        Zfree(blocks[size]);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
    EXPECT_EQ(ZMemoryInUse("sizes"), 0U);
}

TEST(Memory, LargeBlocksAreAlignedAndWritableToTheLastByte) {
    for (const size_t size :
         {size_t{8191}, size_t{8192}, size_t{8193}, size_t{16384}, size_t{16385}, size_t{100000},
          size_t{1} << 19, size_t{1015807}, size_t{1015808}, size_t{1032191}, size_t{1032192},
          size_t{1032193}, size_t{1} << 20, size_t{5000000}}) {
        SCOPED_TRACE(size);
        auto *block = static_cast<char *>(Zmalloc(size, "large", kSource));
        auto *other = static_cast<char *>(Zmalloc(size, "large", kSource));
        ASSERT_NE(block, nullptr);
        ASSERT_NE(other, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % kAlignment, 0U);
        memset(block, 'a', size);
        memset(other, 'b', size);
        EXPECT_EQ(block[0], 'a');
        EXPECT_EQ(block[size - 1], 'a');
        EXPECT_EQ(ZMemoryBlocks("large"), 2U);
        EXPECT_GE(ZMemoryInUse("large"), 2 * size);
        Zfree(block);
        Zfree(other);
        EXPECT_EQ(ZMemoryBlocks("large"), 0U);
    }
}

TEST(Memory, AFreedBlockOfNullIsAccepted) {
    const size_t before = ZMemoryBlocks(nullptr);
    Zfree(nullptr);
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

TEST(Memory, BlocksOfSizeZeroAreDifferent) {
    void *a = Zmalloc(0, "zero", kSource);
    void *b = Zmalloc(0, "zero", kSource);
    EXPECT_NE(a, nullptr);
    EXPECT_NE(b, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(ZMemoryBlocks("zero"), 2U);
    Zfree(a);
    Zfree(b);
}

TEST(Memory, TagsAndSourcesCompareByContent) {
    const char *tags[] = {text_of_its_own("same tag"), text_of_its_own("same tag")};
    const char *sources[] = {text_of_its_own("here"), text_of_its_own("here"),
                             text_of_its_own("there")};
    std::vector<void *> blocks;
    for (const char *tag : tags) {
        for (const char *source : sources) {
            blocks.push_back(Zmalloc(100, tag, source));
        }
    }
    EXPECT_EQ(ZMemoryBlocks("same tag"), 6U);
    EXPECT_GE(ZMemoryInUse("same tag"), 600U);
    auto rows = report();
    EXPECT_EQ(rows["same tag of here"].blocks, 4U);
    EXPECT_EQ(rows["same tag of there"].blocks, 2U);
    EXPECT_GE(rows["same tag of there"].bytes, 200U);
    for (void *block : blocks) {
        Zfree(block);
    }
    rows = report();
    EXPECT_EQ(rows.count("same tag of here"), 0U);
}

TEST(Memory, ThousandsOfTagsAreKeptApart) {
    const size_t before = ZMemoryBlocks(nullptr);
    std::vector<const char *> tags;
    std::vector<void *> blocks;
    for (int i = 0; i < 3000; ++i) {
        tags.push_back(text_of_its_own("tag " + std::to_string(i)));
        blocks.push_back(Zmalloc(24, tags.back(), kSource));
    }
    for (size_t i = 0; i < tags.size(); i += 100) {
        EXPECT_EQ(ZMemoryBlocks(tags[i]), 1U) << tags[i];
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before + 3000);
    for (void *block : blocks) {
        Zfree(block);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

TEST(Memory, TagsAndSourcesMayBeNull) {
    void *a = Zmalloc(10, nullptr, nullptr);
    void *b = Zmalloc(10, nullptr, nullptr);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(ZMemoryBlocks(""), 2U);
    Zfree(a);
    Zfree(b);
    EXPECT_EQ(ZMemoryBlocks(""), 0U);
}

TEST(Memory, BytesInUseAreThoseAskedForRoundedUpByAQuarterAtMost) {
    for (const size_t size : {size_t{1}, size_t{16}, size_t{100}, size_t{129}, size_t{300},
                              size_t{1000}, size_t{9000}, size_t{2000000}}) {
        void *block = Zmalloc(size, "rounded", kSource);
        EXPECT_GE(ZMemoryInUse("rounded"), size);
        EXPECT_LE(ZMemoryInUse("rounded"), size + size / 4 + 2 * kAlignment + 16) << size;
        Zfree(block);
    }
}

TEST(Memory, DuplicatedTextIsABlockOfItsOwn) {
    char text[] = "some text";
    char *copy = ZSTRDUP(text, "copy", kSource);
    text[0] = 'S';
    EXPECT_STREQ(copy, "some text");
    EXPECT_EQ(ZMemoryBlocks("copy"), 1U);
    Zfree(copy);
    char *empty = ZSTRDUP("", "copy", kSource);
    EXPECT_STREQ(empty, "");
    Zfree(empty);
    EXPECT_EQ(ZSTRDUP(nullptr, "copy", kSource), nullptr);
}

TEST(Memory, ReallocOfNullAllocates) {
    void *block = Zrealloc(nullptr, 50, "from null", kSource);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(ZMemoryBlocks("from null"), 1U);
    Zfree(block);
}

TEST(Memory, ReallocKeepsContentsAtEverySizeItPasses) {
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        std::vector<unsigned char> model(random() % 200);
        auto *block = static_cast<unsigned char *>(Zmalloc(model.size(), "resized", kSource));
        for (int step = 0; step < 60; ++step) {
            for (size_t i = 0; i < model.size(); i += 1 + i / 64) {
                model[i] = block[i] = static_cast<unsigned char>(random());
            }
            const size_t shift = random() % 22;
            const size_t size = random() % (size_t{1} << shift);
            block = static_cast<unsigned char *>(Zrealloc(block, size, "resized", kSource));
            ASSERT_NE(block, nullptr);
            const size_t kept = std::min(size, model.size());
            for (size_t i = 0; i < kept; i += 1 + i / 64) {
                ASSERT_EQ(block[i], model[i]) << "round " << round << " step " << step;
            }
            model.assign(size, 0);
            memset(block, 0, size);
            ASSERT_EQ(ZMemoryBlocks("resized"), 1U);
        }
        Zfree(block);
    }
    EXPECT_EQ(ZMemoryInUse("resized"), 0U);
}

TEST(Memory, GrowthBySlotsOf308BytesSeldomMovesTheBlock) {
    std::vector<char *> neighbours;
    char *block = nullptr;
    int moves = 0;
    for (size_t slots = 1; slots <= 10000; ++slots) {
        auto *grown = static_cast<char *>(Zrealloc(block, slots * 308, "slots", kSource));
        ASSERT_NE(grown, nullptr);
        moves += grown == block ? 0 : 1;
        block = grown;
        memset(block + (slots - 1) * 308, static_cast<int>(slots % 127), 308);
        if (slots % 16 == 0) {  // somebody else takes the units behind it
            neighbours.push_back(static_cast<char *>(Zmalloc(12000, "neighbour", kSource)));
        }
    }
    for (size_t slot = 1; slot <= 10000; ++slot) {
        ASSERT_EQ(block[(slot - 1) * 308], static_cast<char>(slot % 127));
        ASSERT_EQ(block[slot * 308 - 1], static_cast<char>(slot % 127));
    }
    EXPECT_LT(moves, 100);
    Zfree(block);
    for (char *neighbour : neighbours) {
        Zfree(neighbour);
    }
}

TEST(Memory, ReallocUnderAnotherTagMovesTheAccount) {
    for (const size_t size : {size_t{10}, size_t{1000}, size_t{20000}, size_t{3000000}}) {
        SCOPED_TRACE(size);
        void *block = Zmalloc(size, "old owner", kSource);
        memset(block, 'x', size);
        block = Zrealloc(block, size, "new owner", kSource);
        EXPECT_EQ(ZMemoryBlocks("old owner"), 0U);
        EXPECT_EQ(ZMemoryBlocks("new owner"), 1U);
        EXPECT_EQ(static_cast<char *>(block)[size - 1], 'x');
        Zfree(block);
    }
}

TEST(Memory, SizesThatOverflowAreRefused) {
    void *block = Zmalloc(10, "overflow", kSource);
    memcpy(block, "012345678", 10);
    for (const size_t size :
         {SIZE_MAX, SIZE_MAX - 1, SIZE_MAX - 15, SIZE_MAX - 4096, SIZE_MAX - (size_t{1} << 20),
          SIZE_MAX / 2 + 1, SIZE_MAX / 2, SIZE_MAX / 2 - 4096}) {
        SCOPED_TRACE(size);
        errno = 0;
        EXPECT_EQ(Zmalloc(size, "overflow", kSource), nullptr);
        EXPECT_EQ(errno, ENOMEM);
        errno = 0;
        EXPECT_EQ(Zrealloc(block, size, "overflow", kSource), nullptr);
        EXPECT_EQ(errno, ENOMEM);
    }
    EXPECT_STREQ(static_cast<char *>(block), "012345678");
    EXPECT_EQ(ZMemoryBlocks("overflow"), 1U);
    char *large = static_cast<char *>(Zmalloc(2000000, "overflow", kSource));
    large[1999999] = 'z';
    errno = 0;
    EXPECT_EQ(Zrealloc(large, SIZE_MAX - 100, "overflow", kSource), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(large[1999999], 'z');
    Zfree(large);
    Zfree(block);
}

TEST(Refusal, TheNthRequestAndThoseBehindItFail) {
    struct Row {
        const char *name;
        int64_t nth, count;
        std::string outcome;  // of six requests: + granted, - refused
    };
    for (const Row &row : {Row{"off", 0, 1, "++++++"},
                           {"the next", 1, 1, "-+++++"},
                           {"the third", 3, 1, "++-+++"},
                           {"two from the second", 2, 2, "+--+++"},
                           {"all from the fourth", 4, -1, "+++---"},
                           {"none", 2, 0, "++++++"},
                           {"all", 1, -1, "------"},
                           {"far away", 100, 1, "++++++"}}) {
        SCOPED_TRACE(row.name);
        std::string outcome;
        std::vector<void *> blocks;
        ZMemoryRefuse(row.nth, row.count);
        for (int i = 0; i < 6; ++i) {
            errno = 0;
            // Every kind of request counts.
            void *block = i % 3 == 0   ? Zmalloc(20, "refused", kSource)
                          : i % 3 == 1 ? Zrealloc(nullptr, 20000, "refused", kSource)
                                       : ZSTRDUP("text", "refused", kSource);
            outcome += block == nullptr ? '-' : '+';
            EXPECT_EQ(errno, block == nullptr ? ENOMEM : 0);
            blocks.push_back(block);
        }
        if (row.nth != 0) {
            EXPECT_EQ(ZMemoryRefused(), static_cast<uint64_t>(std::ranges::count(outcome, '-')));
        }
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(outcome, row.outcome);
        for (void *block : blocks) {
            Zfree(block);
        }
    }
    EXPECT_EQ(ZMemoryBlocks("refused"), 0U);
}

TEST(Refusal, TheCountOfRefusedStaysUntilTheNextArming) {
    ZMemoryRefuse(1, 2);
    EXPECT_EQ(Zmalloc(1, "refused", kSource), nullptr);
    EXPECT_EQ(Zmalloc(1, "refused", kSource), nullptr);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(ZMemoryRefused(), 2U);
    ZMemoryRefuse(5, 1);
    EXPECT_EQ(ZMemoryRefused(), 0U);
    ZMemoryRefuse(0, 0);
}

TEST(Refusal, ARefusedReallocLeavesTheBlockAsItWas) {
    for (const size_t size : {size_t{5}, size_t{500}, size_t{50000}, size_t{5000000}}) {
        for (const size_t target : {size_t{0}, size / 3, size, size + 1, size * 3}) {
            SCOPED_TRACE(std::to_string(size) + " to " + std::to_string(target));
            auto *block = static_cast<char *>(Zmalloc(size, "kept", kSource));
            memset(block, 'k', size);
            const size_t in_use = ZMemoryInUse("kept");
            ZMemoryRefuse(1, 1);
            EXPECT_EQ(Zrealloc(block, target, "kept", kSource), nullptr);
            ZMemoryRefuse(0, 0);
            EXPECT_EQ(ZMemoryInUse("kept"), in_use);
            EXPECT_EQ(std::string(block, size), std::string(size, 'k'));
            Zfree(block);
        }
    }
}

// What every block holds is known to a model; sizes of all kinds, three tags, and
// blocks freed in any order.
TEST(Memory, AModelAgreesOverAHundredThousandRandomSteps) {
    struct Block {
        unsigned char *address;
        size_t size;
        unsigned char filler;
        int tag;
    };
    static const char *const kTags[] = {"model a", "model b", "model c"};
    std::mt19937 random(42);
    std::vector<Block> live;
    size_t blocks[3] = {};
    const auto size_of = [&]() -> size_t {
        const auto kind = random() % 1000;
        if (kind < 900) {
            return random() % 600;
        }
        if (kind < 990) {
            return random() % 9000;
        }
        return random() % (kind == 999 ? 2500000U : 200000U);
    };
    const auto check = [](const Block &block) {
        for (size_t i = 0; i < block.size; i += 1 + i / 16) {
            if (block.address[i] != block.filler) {
                return false;
            }
        }
        return block.size == 0 || block.address[block.size - 1] == block.filler;
    };
    for (int step = 0; step < 100000; ++step) {
        const bool grows = step / 20000 % 2 == 0;  // the heap breathes
        if (live.empty() || random() % 100 < (grows ? 60U : 40U)) {
            Block block = {nullptr, size_of(), static_cast<unsigned char>(random()),
                           static_cast<int>(random() % 3)};
            block.address =
                static_cast<unsigned char *>(Zmalloc(block.size, kTags[block.tag], kSource));
            ASSERT_NE(block.address, nullptr);
            memset(block.address, block.filler, block.size);
            ++blocks[block.tag];
            live.push_back(block);
            continue;
        }
        Block &block = live[random() % live.size()];
        ASSERT_TRUE(check(block)) << step;
        if (random() % 4 == 0) {
            const size_t old_size = block.size;
            block.size = size_of();
            block.address = static_cast<unsigned char *>(
                Zrealloc(block.address, block.size, kTags[block.tag], kSource));
            ASSERT_NE(block.address, nullptr);
            ASSERT_TRUE(check({block.address, std::min(old_size, block.size), block.filler, 0}));
            memset(block.address, block.filler, block.size);
        } else {
            Zfree(block.address);
            --blocks[block.tag];
            block = live.back();
            live.pop_back();
        }
        if (step % 5000 == 0) {
            for (int tag = 0; tag < 3; ++tag) {
                ASSERT_EQ(ZMemoryBlocks(kTags[tag]), blocks[tag]);
            }
        }
    }
    for (const Block &block : live) {
        ASSERT_TRUE(check(block));
        Zfree(block.address);
    }
    for (const char *tag : kTags) {
        EXPECT_EQ(ZMemoryInUse(tag), 0U);
    }
}

TEST(Memory, AVisitorOfTheReportMayAllocateAndAsk) {
    void *block = Zmalloc(10, "visited", kSource);
    struct Seen {
        std::vector<void *> made;
        size_t rows = 0;
    } seen;
    ZMemoryReport(
        [](const char *, const char *, size_t, size_t, void *user) {
            auto &all = *static_cast<Seen *>(user);
            ++all.rows;
            all.made.push_back(Zmalloc(10, "made by a visitor", kSource));
            EXPECT_EQ(ZMemoryBlocks("visited"), 1U);
        },
        &seen);
    EXPECT_GE(seen.rows, 1U);
    for (void *made : seen.made) {
        Zfree(made);
    }
    Zfree(block);
}

#if !defined(__SANITIZE_ADDRESS__)
size_t mapped_bytes() {
    size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

TEST(Memory, WhatIsFreedGoesBackToTheSystem) {
    constexpr size_t kBlocks = 3000000;
    std::vector<void *> blocks;
    blocks.reserve(kBlocks);
    const size_t before = mapped_bytes();
    for (int round = 0; round < 3; ++round) {
        for (size_t i = 0; i < kBlocks; ++i) {
            blocks.push_back(Zmalloc(48 + 16 * (i % 3), "many", kSource));
        }
        // More than whatever the tests before this one left to be used again.
        EXPECT_GT(mapped_bytes(), before + 50000000);
        for (void *block : blocks) {
            Zfree(block);
        }
        blocks.clear();
        EXPECT_LT(mapped_bytes(), before + 20000000);
    }
}

TEST(Memory, SlabsKeptByTagsOutOfUseServeOthersWhenTheSystemHasNoMore) {
    rlimit old_limit;
    ASSERT_EQ(getrlimit(RLIMIT_AS, &old_limit), 0);
    std::vector<const char *> tags;
    for (int i = 0; i < 4000; ++i) {
        tags.push_back(text_of_its_own("passing tag " + std::to_string(i)));
        Zfree(Zmalloc(100, tags.back(), kSource));
    }
    std::vector<void *> blocks;
    blocks.reserve(100000);
    rlimit limit = old_limit;
    limit.rlim_cur = mapped_bytes();
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    while (void *block = Zmalloc(8000, "heir", kSource)) {
        blocks.push_back(block);
    }
    ASSERT_EQ(setrlimit(RLIMIT_AS, &old_limit), 0);
    EXPECT_GT(blocks.size(), 7000U) << "of the 8000 that the tags' slabs have room for";
    for (void *block : blocks) {
        Zfree(block);
    }
    void *again = Zmalloc(100, tags[17], kSource);
    EXPECT_EQ(ZMemoryBlocks(tags[17]), 1U);
    Zfree(again);
}

TEST(Memory, WhenTheSystemHasNoMoreRequestsFailAndBlocksStayAsTheyAre) {
    rlimit old_limit;
    ASSERT_EQ(getrlimit(RLIMIT_AS, &old_limit), 0);
    for (const size_t size : {size_t{500}, size_t{20000}, size_t{3000000}}) {
        SCOPED_TRACE(size);
        std::vector<char *> blocks;
        blocks.reserve(1000000);
        rlimit limit = old_limit;
        limit.rlim_cur = mapped_bytes() + 50000000;
        ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
        while (auto *block = static_cast<char *>(Zmalloc(size, "exhausted", kSource))) {
            memset(block, static_cast<int>(blocks.size() % 100), size);
            blocks.push_back(block);
        }
        EXPECT_EQ(errno, ENOMEM);
        errno = 0;
        void *grown = Zrealloc(blocks[0], 60000000, "exhausted", kSource);
        EXPECT_EQ(grown, nullptr);
        EXPECT_EQ(errno, ENOMEM);
        ASSERT_EQ(setrlimit(RLIMIT_AS, &old_limit), 0);
        EXPECT_GT(blocks.size() * size, 30000000U);
        EXPECT_EQ(ZMemoryBlocks("exhausted"), blocks.size());
        for (size_t i = 0; i < blocks.size(); ++i) {
            ASSERT_EQ(blocks[i][0], static_cast<char>(i % 100));
            ASSERT_EQ(blocks[i][size - 1], static_cast<char>(i % 100));
            Zfree(blocks[i]);
        }
        void *block = Zmalloc(size, "exhausted", kSource);
        EXPECT_NE(block, nullptr);
        Zfree(block);
    }
}
#endif

#if !defined(NDEBUG)
TEST(MemoryDeathTest, DoubleFreeAndForeignPointersAreCaughtInDebugBuilds) {
    auto *block = static_cast<char *>(Zmalloc(48, "death", kSource));
    auto *large = static_cast<char *>(Zmalloc(48000, "death", kSource));
    static char foreign[64];
    EXPECT_DEATH(
        {
            Zfree(block);
            Zfree(block);
        },
        "freed twice");
    EXPECT_DEATH(
        {
            Zfree(large);
            Zfree(large);
        },
        "freed twice");
    EXPECT_DEATH(Zfree(foreign), "not a block");
    EXPECT_DEATH(Zfree(block + 16), "not a block");
    EXPECT_DEATH(Zfree(large + 16), "not a block");
    EXPECT_DEATH((void)Zrealloc(foreign, 10, "death", kSource), "not a block");
    Zfree(block);
    Zfree(large);
}
#endif

#if defined(__SANITIZE_ADDRESS__)
TEST(MemoryDeathTest, AddressSanitizerSeesOverrunsAndUsesAfterFree) {
    for (const size_t size : {size_t{1}, size_t{13}, size_t{16}, size_t{308}, size_t{5000},
                              size_t{16384}, size_t{40000}, size_t{2000000}}) {
        SCOPED_TRACE(size);
        auto *block = static_cast<volatile char *>(Zmalloc(size, "death", kSource));
        block[size - 1] = 'x';
        EXPECT_DEATH(block[size] = 'x', "use-after-poison");
        EXPECT_DEATH(
            {
                Zfree(const_cast<char *>(block));
                block[0] = 'x';
            },
            "use-after-poison|SEGV");
        Zfree(const_cast<char *>(block));
    }
}

TEST(MemoryDeathTest, AddressSanitizerSeesAnOverrunBehindAShrunkBlock) {
    for (const size_t size : {size_t{64}, size_t{400}, size_t{60000}, size_t{2000000}}) {
        SCOPED_TRACE(size);
        auto *block = static_cast<char *>(Zmalloc(size, "death", kSource));
        block = static_cast<char *>(Zrealloc(block, size - 8, "death", kSource));
        volatile char *end = block + size - 8;
        end[-1] = 'x';
        EXPECT_DEATH(end[0] = 'x', "use-after-poison");
        block = static_cast<char *>(Zrealloc(block, size, "death", kSource));
        block[size - 1] = 'x';
        Zfree(block);
    }
}

TEST(Memory, PointersInBlocksKeepTheirTargetsFromBeingALeak) {
    // Released by nobody: the leak check at exit must find it through the block.
    auto **block = static_cast<void **>(Zmalloc(sizeof(void *), "root", kSource));
    static uintptr_t hidden = ~reinterpret_cast<uintptr_t>(block);
    *block = strdup("reachable through the block alone");
    EXPECT_NE(hidden, 0U);
}
#endif

}  // namespace
