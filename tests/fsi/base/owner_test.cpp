// SPDX-License-Identifier: MIT
#include "fsi/base/owner.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

// A resource that notes its releases.
std::string freed;
void free_letter(char letter) {
    freed += letter;
}
using Letter = fsi::Owner<char, free_letter>;

class Owner : public testing::Test {
 protected:
    void SetUp() override { freed.clear(); }
};

TEST_F(Owner, ReleasesAtTheEndOfItsScope) {
    {
        const Letter a('a');
        const Letter b('b');
        EXPECT_EQ(freed, "");
    }
    EXPECT_EQ(freed, "ba");
}

TEST_F(Owner, NothingIsNotReleased) {
    { const Letter none; }
    { const Letter none('\0'); }
    EXPECT_EQ(freed, "");
}

TEST_F(Owner, MovingHandsOver) {
    {
        Letter a('a');
        Letter b(std::move(a));
        EXPECT_EQ(b.get(), 'b' - 1);
        EXPECT_FALSE(a);  // NOLINT: what a moved-from owner holds is its promise
        Letter c('c');
        c = std::move(b);
        EXPECT_EQ(freed, "c");
    }
    EXPECT_EQ(freed, "ca");
}

TEST_F(Owner, MovingOntoItselfKeeps) {
    Letter a('a');
    Letter &same = a;
    a = std::move(same);
    EXPECT_EQ(a.get(), 'a');
    EXPECT_EQ(freed, "");
}

TEST_F(Owner, ResetReplacesAndReleaseGivesUp) {
    {
        Letter a('a');
        a.reset('b');
        EXPECT_EQ(freed, "a");
        EXPECT_EQ(a.release(), 'b');
        EXPECT_FALSE(a);
    }
    EXPECT_EQ(freed, "a");
}

TEST_F(Owner, IsAsLargeAsWhatItHolds) {
    static_assert(sizeof(Letter) == sizeof(char));
    static_assert(sizeof(fsi::Block<int>) == sizeof(int *));
    static_assert(sizeof(fsi::OwnedHandle) == sizeof(ZHandle));
}

TEST_F(Owner, HostResourcesAreReleased) {
    const size_t before = ZMemoryBlocks(nullptr);
    {
        const fsi::Block<int> block(fsi::allocate_cleared<int>(4, "test", "test"));
        ASSERT_TRUE(block);
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(block.get()[i], 0);
        const fsi::OwnedString string(ZSTRINGNew(4, "test", "test"));
        EXPECT_TRUE(string);
        EXPECT_GT(ZMemoryBlocks(nullptr), before);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

TEST_F(Owner, AnArrayBeyondAllMemoryIsRefused) {
    EXPECT_EQ(fsi::allocate_cleared<uint64_t>(SIZE_MAX / 8 + 1, "test", "test"), nullptr);
    EXPECT_EQ(fsi::allocate_cleared<uint64_t>(SIZE_MAX, "test", "test"), nullptr);
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(fsi::allocate_cleared<char>(1, "test", "test"), nullptr);
    ZMemoryRefuse(0, 0);
}

}  // namespace
