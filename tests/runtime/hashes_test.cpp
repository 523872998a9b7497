// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "host/containers.h"
#include "host/memory.h"
#include "runtime/siphash.h"

namespace {

constexpr const char *kSource = "tests/runtime/hashes";
constexpr const char *kTag = "Hash test";

struct Entry {
    int number;
    char *key;
};

int freed;

void free_entry(void *entry) {
    Zfree(static_cast<Entry *>(entry)->key);
    Zfree(entry);
    ++freed;
}

Entry *new_entry(const std::string &key, int number) {
    auto *entry = static_cast<Entry *>(Zmalloc(sizeof(Entry), "Hash test entry", kSource));
    *entry = {number, ZSTRDUP(key.c_str(), "Hash test key", kSource)};
    return entry;
}

// The number of the entry found, -1 for none.
int number_of(ZHash *hash, const std::string &key) {
    const auto *entry = static_cast<Entry *>(HASH_GET(hash, key.c_str()));
    return entry == nullptr ? -1 : entry->number;
}

class Hashes : public testing::Test {
 protected:
    void SetUp() override {
        freed = 0;
        blocks_ = ZMemoryBlocks(nullptr);
        hash_ = HASH_NEW(kTag, offsetof(Entry, key), free_entry, kSource);
    }

    void TearDown() override {
        ZMemoryRefuse(0, 0);
        HASH_FREE(hash_);
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks_);
    }

    size_t blocks_ = 0;
    ZHash *hash_ = nullptr;
};

TEST_F(Hashes, EntriesAreFoundByExactKey) {
    EXPECT_EQ(number_of(hash_, "a"), -1);
    EXPECT_EQ(HASH_ADD(hash_, new_entry("a", 1)), 1);
    EXPECT_EQ(HASH_ADD(hash_, new_entry("A", 2)), 1);
    EXPECT_EQ(HASH_ADD(hash_, new_entry("", 3)), 1);
    EXPECT_EQ(HASH_ADD(hash_, new_entry("a ", 4)), 1);
    EXPECT_EQ(number_of(hash_, "a"), 1);
    EXPECT_EQ(number_of(hash_, "A"), 2);
    EXPECT_EQ(number_of(hash_, ""), 3);
    EXPECT_EQ(number_of(hash_, "a "), 4);
    EXPECT_EQ(number_of(hash_, " a"), -1);
    EXPECT_EQ(HASH_GET(hash_, nullptr), nullptr);
}

TEST_F(Hashes, ThousandsOfKeysGrowTheTable) {
    for (int i = 0; i < 20000; ++i) {
        ASSERT_EQ(HASH_ADD(hash_, new_entry("FIELD-" + std::to_string(i), i)), 1);
    }
    for (int i = 0; i < 20000; ++i) {
        ASSERT_EQ(number_of(hash_, "FIELD-" + std::to_string(i)), i);
        ASSERT_EQ(number_of(hash_, "FIELD-" + std::to_string(i) + "X"), -1);
    }
}

TEST_F(Hashes, OfEqualKeysTheLaterEntryIsFoundAndAllAreFreed) {
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(HASH_ADD(hash_, new_entry("key " + std::to_string(i % 10), i)), 1);
        ASSERT_EQ(number_of(hash_, "key " + std::to_string(i % 10)), i);
    }
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(number_of(hash_, "key " + std::to_string(i)), 990 + i);
    }
    HASH_CLEAR(hash_);
    EXPECT_EQ(freed, 1000);
}

TEST_F(Hashes, ClearFreesTheEntriesAndKeepsTheTable) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(number_of(hash_, "x"), -1);
        EXPECT_EQ(HASH_ADD(hash_, new_entry("x", round)), 1);
        EXPECT_EQ(number_of(hash_, "x"), round);
        HASH_CLEAR(hash_);
        EXPECT_EQ(freed, round + 1);
        EXPECT_EQ(ZMemoryBlocks("Hash test entry"), 0U);
    }
}

TEST_F(Hashes, WithoutARoutineEntriesStayTheCallers) {
    char key[] = "here";
    Entry entry = {7, key};
    ZHash *hash = HASH_NEW(kTag, offsetof(Entry, key), nullptr, kSource);
    EXPECT_EQ(HASH_ADD(hash, &entry), 1);
    EXPECT_EQ(number_of(hash, "here"), 7);
    HASH_CLEAR(hash);
    EXPECT_EQ(number_of(hash, "here"), -1);
    EXPECT_EQ(HASH_ADD(hash, &entry), 1);
    HASH_FREE(hash);
    EXPECT_EQ(entry.number, 7);
}

TEST_F(Hashes, AnEntryWithoutKeyIsRefused) {
    Entry entry = {7, nullptr};
    EXPECT_EQ(HASH_ADD(hash_, &entry), 0);
    EXPECT_EQ(HASH_ADD(hash_, nullptr), 0);
}

TEST_F(Hashes, NullTablesAreAccepted) {
    HASH_CLEAR(nullptr);
    HASH_FREE(nullptr);
    EXPECT_EQ(HASH_GET(nullptr, "a"), nullptr);
    EXPECT_EQ(HASH_ADD(nullptr, &freed), 0);
}

TEST_F(Hashes, ARefusedRequestLeavesTheTableAsItWas) {
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(HASH_NEW(kTag, 0, nullptr, kSource), nullptr);
    ZMemoryRefuse(0, 0);
    int refusals = 0;
    for (int i = 0; i < 500; ++i) {
        const std::string key = "key " + std::to_string(i);
        Entry *entry = new_entry(key, i);
        bool is_done = false;
        for (int64_t nth = 1; !is_done; ++nth) {
            ZMemoryRefuse(nth, 1);
            errno = 0;
            is_done = HASH_ADD(hash_, entry) == 1;
            const bool was_refused = ZMemoryRefused() > 0;
            ZMemoryRefuse(0, 0);
            ASSERT_EQ(is_done, !was_refused);
            if (!is_done) {
                ++refusals;
                ASSERT_EQ(errno, ENOMEM);
                ASSERT_EQ(number_of(hash_, key), -1);
                for (int j = 0; j < i; ++j) {
                    ASSERT_EQ(number_of(hash_, "key " + std::to_string(j)), j);
                }
            }
        }
    }
    EXPECT_GE(refusals, 10);
}

// The first vectors of the paper's appendix and of its reference program: key
// 00 .. 0f, message 00, 01, 02 ... of each length.
TEST(SipHash, AgreesWithThePublishedVectors) {
    unsigned char message[16];
    for (unsigned char i = 0; i < sizeof message; ++i) {
        message[i] = i;
    }
    const host::SipKey key = {0x0706050403020100, 0x0f0e0d0c0b0a0908};
    EXPECT_EQ((host::siphash<2, 4>(message, 15, key)), 0xa129ca6149be45e5U);
    EXPECT_EQ((host::siphash<2, 4>(message, 0, key)), 0x726fdb47dd0e0e31U);
    EXPECT_EQ((host::siphash<2, 4>(message, 1, key)), 0x74f839c593dc67fdU);
    EXPECT_EQ((host::siphash<2, 4>(message, 8, key)), 0x93f5f5799a932462U);
}

TEST(SipHash, AnotherKeyGivesOtherValues) {
    EXPECT_NE((host::siphash<1, 3>("name", 4, {1, 2})), (host::siphash<1, 3>("name", 4, {1, 3})));
    EXPECT_NE((host::siphash<1, 3>("name", 4, {1, 2})), (host::siphash<1, 3>("name", 3, {1, 2})));
}

}  // namespace
