// SPDX-License-Identifier: MIT
//
// When numbers of freed handles come back, over tables that grow and shrink while some
// handles live long.  A program of its own: it begins with an unused
// table, and the table may keep its arrays.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

#include "host/handles.h"
#include "host/memory.h"

namespace {

class Numbers {
 public:
    explicit Numbers(uint32_t seed) : random_(seed) {
        const ZHandleType type = {"Test", 8, 0, nullptr};
        type_ = H_declare(&type);
    }
    ~Numbers() { H_undeclare(type_); }
    Numbers(const Numbers &) = delete;
    Numbers &operator=(const Numbers &) = delete;

    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_()) % n; }

    void build() {
        const ZHandle handle = HBUILDV(type_, "Handle test", "tests/runtime/handles_numbers");
        ASSERT_NE(handle, 0U);
        if (const auto at = freed_at_.find(handle); at != freed_at_.end()) {
            soonest = std::min(soonest, frees_ - at->second);
        }
        live_.push_back(handle);
    }
    void free_down_to(size_t count) {
        while (live_.size() > count) {
            std::swap(live_[below(static_cast<uint32_t>(live_.size()))], live_.back());
            free_last();
        }
    }
    void churn(uint32_t times) {
        for (uint32_t i = 0; i < times; ++i) {
            build();
            free_last();
        }
    }
    enum Fate { kFree, kKeep, kEnd };
    // Builds one after the other and frees it, as the function of the handle says.
    template <class Decide>
    void churn_until(Decide decide) {
        while (true) {
            build();
            const Fate fate = decide(live_.back());
            if (fate != kKeep) {
                free_last();
            }
            if (fate == kEnd) {
                return;
            }
        }
    }
    // In the order in which they were built.
    void free_all_but_first() {
        std::reverse(live_.begin() + 1, live_.end());
        while (live_.size() > 1) {
            free_last();
        }
    }
    [[nodiscard]] size_t live() const { return live_.size(); }
    void build_up_to(size_t count) {
        while (live_.size() < count) {
            build();
        }
    }

    uint64_t soonest = UINT64_MAX;

 private:
    void free_last() {
        ASSERT_EQ(H_FREE(live_.back()), 1);
        freed_at_[live_.back()] = frees_++;
        live_.pop_back();
    }

    std::mt19937 random_;
    int type_ = 0;
    uint64_t frees_ = 0;
    std::vector<ZHandle> live_;
    std::unordered_map<ZHandle, uint64_t> freed_at_;
};

TEST(HandleNumbers, ComeBackLateWhereverTheirSlotsWere) {
    // Slots behind the first 4096 are left at the generations 40, then one at 20, then 39.
    constexpr uint32_t kLagging = 4150;
    Numbers numbers(1);
    numbers.build_up_to(4200);
    numbers.free_all_but_first();
    numbers.churn_until([&](ZHandle handle) {
        const uint32_t slot = handle & 0xFFFFFF;
        const uint32_t generation = handle >> 24;
        return slot == kLagging && generation == 19       ? Numbers::kKeep
               : slot == kLagging - 1 && generation == 39 ? Numbers::kEnd
                                                          : Numbers::kFree;
    });
    EXPECT_EQ(numbers.live(), 2U);
    numbers.free_down_to(0);
    numbers.build_up_to(4200);
    numbers.free_down_to(0);
    EXPECT_GE(numbers.soonest, 28000U);
}

TEST(HandleNumbers, ComeBackLateAfterRandomSteps) {
    Numbers numbers(1);
    for (int round = 0; round < 8; ++round) {
        // Of a table that has grown, ever fewer are left while others come and go.
        numbers.build_up_to(2500 + numbers.below(3000));
        for (uint32_t left = 60; left > 0; left /= 4) {
            numbers.free_down_to(left);
            numbers.churn(numbers.below(60000));
        }
        numbers.free_down_to(0);
        EXPECT_GE(numbers.soonest, 28000U) << round;
    }
}

}  // namespace
