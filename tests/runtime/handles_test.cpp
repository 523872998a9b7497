// SPDX-License-Identifier: MIT
#include "host/handles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <vector>

#include "host/memory.h"

namespace {

constexpr const char *kSource = "tests/runtime/handles";
constexpr const char *kTag = "Handle test";

struct Record {
    ZHandle other;
    char bytes[60];
};

std::vector<ZHandle> destroyed;

void note_destroyed(ZHandle handle, void *record) {
    EXPECT_EQ(H_lock(handle), record);
    destroyed.push_back(handle);
}

void free_other(ZHandle handle, void *record) {
    destroyed.push_back(handle);
    H_FREE(static_cast<Record *>(record)->other);
}

class Handles : public testing::Test {
 protected:
    void SetUp() override {
        destroyed.clear();
        blocks_ = ZMemoryBlocks(nullptr);
    }

    void TearDown() override {
        for (const int type : types_) {
            EXPECT_EQ(H_next(0, type), 0U);
            H_undeclare(type);
        }
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks_);
    }

    int declare(uint16_t kind = 0, void (*destroy)(ZHandle, void *) = nullptr,
                uint32_t record_size = sizeof(Record)) {
        const ZHandleType type = {"Test", record_size, kind, destroy};
        types_.push_back(H_declare(&type));
        EXPECT_GT(types_.back(), 0);
        return types_.back();
    }

    size_t blocks_ = 0;
    std::vector<int> types_;
};

TEST_F(Handles, ARecordIsZeroedTaggedAndStaysWhereItIs) {
    const int type = declare();
    char *dirty = static_cast<char *>(Zmalloc(sizeof(Record), kTag, kSource));
    memset(dirty, 0xff, sizeof(Record));
    Zfree(dirty);
    const ZHandle handle = HBUILDV(type, kTag, kSource);
    ASSERT_NE(handle, 0U);
    auto *record = static_cast<char *>(H_lock(handle));
    EXPECT_TRUE(std::all_of(record, record + sizeof(Record), [](char c) { return c == 0; }));
    EXPECT_EQ(ZMemoryBlocks(kTag), 1U);
    std::vector<ZHandle> others;
    for (int i = 0; i < 5000; ++i) {
        others.push_back(HBUILDV(type, kTag, kSource));
        ASSERT_NE(others.back(), 0U);
    }
    EXPECT_EQ(H_lock(handle), record);
    for (const ZHandle other : others) {
        EXPECT_EQ(H_FREE(other), 1);
    }
    EXPECT_EQ(H_FREE(handle), 1);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

TEST_F(Handles, BadNumbersHaveNoRecordAndNoType) {
    const int type = declare();
    const ZHandle handle = HBUILDV(type, kTag, kSource);
    const ZHandle stale = HBUILDV(type, kTag, kSource);
    EXPECT_EQ(H_type(handle), type);
    EXPECT_EQ(H_FREE(stale), 1);
    for (const ZHandle bad :
         {ZHandle{0}, stale, ZHandle{0xFFFFFFFF}, ZHandle{1}, ZHandle{2}, handle + 1000,
          handle + (1U << 24), handle - (1U << 24), handle ^ 0x80000000U, ZHandle{0x00FFFFFF},
          ZHandle{0x01FFFFFF}, ZHandle{0x7FFFFFFF}}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(H_lock(bad), nullptr);
        EXPECT_EQ(H_type(bad), 0);
        EXPECT_EQ(H_FREE(bad), 0);
        EXPECT_EQ(H_next(bad, type), bad == 0 ? handle : 0);
    }
    EXPECT_EQ(H_FREE(handle), 1);
}

TEST_F(Handles, AFreedNumberDoesNotComeBackSoon) {
    const int type = declare();
    std::set<ZHandle> seen;
    for (int i = 0; i < 100000; ++i) {
        const ZHandle handle = HBUILDV(type, kTag, kSource);
        ASSERT_NE(handle, 0U);
        ASSERT_NE(handle, 0xFFFFFFFFU);
        ASSERT_TRUE(seen.insert(handle).second) << "came back after " << i;
        ASSERT_EQ(H_FREE(handle), 1);
        ASSERT_EQ(H_lock(handle), nullptr);
    }
}

TEST_F(Handles, AHandleIsNeitherSmallNorMoreThanNineDigits) {
    const int type = declare();
    // Through all generations of a slot.
    for (int i = 0; i < 2048 * 70; ++i) {
        const ZHandle handle = HBUILDV(type, kTag, kSource);
        ASSERT_GE(handle, 1U << 24) << i;
        ASSERT_LE(handle, 999999999U) << i;
        ASSERT_EQ(H_FREE(handle), 1);
    }
}

TEST_F(Handles, ATableThatGrowsWhileADestroyRoutineRunsKeepsItsHandles) {
    const int other = declare();
    static int type_to_build;
    static std::vector<ZHandle> built;
    type_to_build = other;
    built.clear();
    const int type = declare(2, [](ZHandle handle, void *record) {
        for (int i = 0; i < 5000; ++i) {
            built.push_back(HBUILDV(type_to_build, kTag, kSource));
        }
        EXPECT_EQ(H_lock(handle), record);
    });
    const ZHandle handle = HBUILDV(type, kTag, kSource);
    EXPECT_EQ(H_FREE(handle), 1);
    EXPECT_EQ(H_lock(handle), nullptr);
    EXPECT_EQ(H_next(0, type), 0U);
    for (const ZHandle each : built) {
        ASSERT_EQ(H_type(each), other);
        ASSERT_EQ(H_FREE(each), 1);
    }
}

TEST_F(Handles, StaleNumbersOfABigTableThatShrankAreRecognised) {
    const int type = declare();
    std::set<ZHandle> seen;
    for (int round = 0; round < 20; ++round) {
        std::vector<ZHandle> handles;
        for (int i = 0; i < 3000; ++i) {
            handles.push_back(HBUILDV(type, kTag, kSource));
            ASSERT_TRUE(seen.insert(handles.back()).second) << round;
        }
        for (const ZHandle handle : handles) {
            ASSERT_EQ(H_FREE(handle), 1);
        }
    }
    for (const ZHandle handle : seen) {
        ASSERT_EQ(H_lock(handle), nullptr);
    }
}

TEST_F(Handles, DestroyRunsForKindTwoAlone) {
    for (const uint16_t kind : {uint16_t{0}, uint16_t{1}, uint16_t{2}}) {
        destroyed.clear();
        const int type = declare(kind, note_destroyed);
        const ZHandle handle = HBUILDV(type, kTag, kSource);
        EXPECT_EQ(H_FREE(handle), 1);
        EXPECT_EQ(destroyed.size(), kind == 2 ? 1U : 0U);
        EXPECT_EQ(H_lock(handle), nullptr);
    }
}

TEST_F(Handles, DestroyMayFreeOtherHandlesOfItsTypeAndCannotFreeItsOwn) {
    const int type = declare(2, free_other);
    // A chain that ends in a ring: each destroy frees the next, the last its own.
    std::vector<ZHandle> chain;
    for (int i = 0; i < 1000; ++i) {
        chain.push_back(HBUILDV(type, kTag, kSource));
    }
    for (size_t i = 0; i < chain.size(); ++i) {
        static_cast<Record *>(H_lock(chain[i]))->other = chain[(i + 1) % chain.size()];
    }
    EXPECT_EQ(H_FREE(chain[0]), 1);
    EXPECT_EQ(destroyed, chain);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

TEST_F(Handles, DestroyMayBuildHandles) {
    static int type;
    static std::vector<ZHandle> built;
    built.clear();
    type = declare(2, [](ZHandle, void *) {
        while (built.size() < 3000) {
            built.push_back(HBUILDV(type, kTag, kSource));
        }
    });
    EXPECT_EQ(H_FREE(HBUILDV(type, kTag, kSource)), 1);
    EXPECT_EQ(built.size(), 3000U);
    for (const ZHandle handle : built) {
        EXPECT_EQ(H_FREE(handle), 1);
    }
}

TEST_F(Handles, AHandleIsLeftWhileItIsDestroyed) {
    static int type;
    type = declare(2, [](ZHandle handle, void *) {
        EXPECT_EQ(H_next(0, type), handle);
        EXPECT_EQ(H_type(handle), type);
        EXPECT_EQ(H_FREE(handle), 0);
        H_undeclare(type);  // refused: one is left
    });
    const ZHandle handle = HBUILDV(type, kTag, kSource);
    EXPECT_EQ(H_FREE(handle), 1);
    EXPECT_EQ(H_next(0, type), 0U);
    const ZHandle another = HBUILDV(type, kTag, kSource);
    EXPECT_NE(another, 0U);
    EXPECT_EQ(H_FREE(another), 1);
}

TEST_F(Handles, NextVisitsEachHandleOfTheTypeOnce) {
    const int a = declare();
    const int b = declare();
    std::mt19937 random(5);
    std::set<ZHandle> expected;
    std::vector<ZHandle> all;
    for (int i = 0; i < 4000; ++i) {
        const bool is_a = random() % 2 == 0;
        all.push_back(HBUILDV(is_a ? a : b, kTag, kSource));
        if (is_a) {
            expected.insert(all.back());
        }
    }
    for (size_t i = 0; i < all.size(); i += 3) {
        EXPECT_EQ(H_FREE(all[i]), 1);
        expected.erase(all[i]);
    }
    std::multiset<ZHandle> visited;
    for (ZHandle handle = H_next(0, a); handle != 0; handle = H_next(handle, a)) {
        visited.insert(handle);
    }
    EXPECT_EQ(std::vector<ZHandle>(visited.begin(), visited.end()),
              std::vector<ZHandle>(expected.begin(), expected.end()));
    while (const ZHandle handle = H_next(0, a)) {
        H_FREE(handle);
    }
    while (const ZHandle handle = H_next(0, b)) {
        EXPECT_EQ(H_next(handle, a), 0U) << "a handle of another type";
        H_FREE(handle);
    }
}

TEST_F(Handles, AnUndeclaredTypeBuildsNothingAndItsNumberIsFree) {
    const int type = declare();
    const ZHandle handle = HBUILDV(type, kTag, kSource);
    H_undeclare(type);  // refused: a handle is left
    EXPECT_EQ(H_type(handle), type);
    EXPECT_EQ(H_FREE(handle), 1);
    H_undeclare(type);
    EXPECT_EQ(HBUILDV(type, kTag, kSource), 0U);
    EXPECT_EQ(H_next(0, type), 0U);
    for (const int bad : {0, -1, 100000, type}) {
        EXPECT_EQ(HBUILDV(bad, kTag, kSource), 0U);
        EXPECT_EQ(H_next(0, bad), 0U);
        H_undeclare(bad);
    }
    EXPECT_EQ(H_declare(nullptr), 0);
    for (int i = 0; i < 1000; ++i) {
        const ZHandleType again = {"Test", 8, 0, nullptr};
        const int number = H_declare(&again);
        ASSERT_GT(number, 0);
        H_undeclare(number);
    }
}

TEST_F(Handles, ARecordMayBeEmpty) {
    const int type = declare(0, nullptr, 0);
    const ZHandle handle = HBUILDV(type, kTag, kSource);
    EXPECT_NE(H_lock(handle), nullptr);
    EXPECT_EQ(H_FREE(handle), 1);
}

TEST_F(Handles, ARefusedRequestBuildsNothing) {
    const int type = declare();
    std::vector<ZHandle> handles;
    size_t refusals = 0;
    for (int i = 0; i < 3000; ++i) {
        for (int64_t nth = 1; nth <= 2; ++nth) {
            const size_t before = ZMemoryBlocks(nullptr);
            ZMemoryRefuse(nth, 1);
            const ZHandle handle = HBUILDV(type, kTag, kSource);
            const bool was_refused = ZMemoryRefused() > 0;
            ZMemoryRefuse(0, 0);
            if (handle == 0) {
                ASSERT_TRUE(was_refused);
                ASSERT_EQ(ZMemoryBlocks(nullptr), before);
                ++refusals;
            } else {
                handles.push_back(handle);
            }
        }
    }
    EXPECT_GE(refusals, 3000U);
    for (const ZHandle handle : handles) {
        EXPECT_EQ(H_FREE(handle), 1);
    }
}

// The table against a model over random builds and frees.
TEST_F(Handles, AModelAgreesOverRandomSteps) {
    const int type = declare();
    std::mt19937 random(11);
    std::vector<std::pair<ZHandle, void *>> live;
    std::vector<ZHandle> dead;
    for (int step = 0; step < 60000; ++step) {
        const bool grows = step / 10000 % 2 == 0;
        if (live.empty() || random() % 100 < (grows ? 70U : 30U)) {
            const ZHandle handle = HBUILDV(type, kTag, kSource);
            live.emplace_back(handle, H_lock(handle));
            *static_cast<ZHandle *>(live.back().second) = handle;
        } else {
            const size_t chosen = random() % live.size();
            const auto [handle, record] = live[chosen];
            ASSERT_EQ(H_lock(handle), record);
            ASSERT_EQ(*static_cast<ZHandle *>(record), handle);
            ASSERT_EQ(H_FREE(handle), 1);
            dead.push_back(handle);
            live[chosen] = live.back();
            live.pop_back();
        }
        if (!dead.empty()) {
            const ZHandle stale = dead[random() % dead.size()];
            ASSERT_EQ(H_lock(stale), nullptr);
        }
    }
    for (const auto &[handle, record] : live) {
        ASSERT_EQ(H_lock(handle), record);
        ASSERT_EQ(H_FREE(handle), 1);
    }
}

}  // namespace
