// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <random>
#include <string>

#include "host/containers.h"
#include "host/memory.h"

namespace {

constexpr const char *kSource = "tests/runtime/trees";
constexpr const char *kTag = "Tree test";

void *value_of(int number) {
    return reinterpret_cast<void *>(static_cast<intptr_t>(number));
}

std::string print(ZTTree *tree) {
    std::string line;
    ZTTREEWalk(
        tree,
        [](const char *key, void *value, void *user) {
            *static_cast<std::string *>(user) +=
                std::string(key) + "=" + std::to_string(reinterpret_cast<intptr_t>(value)) + " ";
        },
        &line);
    return line;
}

class Trees : public testing::Test {
 protected:
    void SetUp() override { tree_ = ZTTREENew(kTag, kSource); }
    void TearDown() override {
        ZMemoryRefuse(0, 0);
        ZTTREEFree(tree_, nullptr);
        EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
    }

    ZTTree *tree_ = nullptr;
};

TEST_F(Trees, KeysAreCopiedAndWalkedInAscendingByteOrder) {
    char key[] = "b";
    EXPECT_EQ(print(tree_), "");
    EXPECT_EQ(ZTTREEInsert(tree_, key, value_of(1)), 1);
    key[0] = 'a';
    EXPECT_EQ(ZTTREEInsert(tree_, key, value_of(2)), 1);
    EXPECT_EQ(ZTTREEInsert(tree_, "\xe4", value_of(3)), 1);
    EXPECT_EQ(ZTTREEInsert(tree_, "", value_of(4)), 1);
    EXPECT_EQ(ZTTREEInsert(tree_, "aa", value_of(5)), 1);
    EXPECT_EQ(ZTTREEInsert(tree_, "B", value_of(6)), 1);
    EXPECT_EQ(print(tree_), "=4 B=6 a=2 aa=5 b=1 \xe4=3 ");
    EXPECT_EQ(ZTTREEFind(tree_, "aa"), value_of(5));
    EXPECT_EQ(ZTTREEFind(tree_, "AA"), nullptr);
    EXPECT_EQ(ZTTREEFind(tree_, nullptr), nullptr);
}

TEST_F(Trees, AnEqualKeyReplacesTheValue) {
    ZTTREEInsert(tree_, "key", value_of(1));
    EXPECT_EQ(ZTTREEInsert(tree_, "key", value_of(2)), 1);
    EXPECT_EQ(print(tree_), "key=2 ");
    EXPECT_EQ(ZMemoryBlocks(kTag), 2U);
}

TEST_F(Trees, AnyOrderOfInsertionGivesTheSameWalk) {
    enum Order { kAscending, kDescending, kRandom };
    for (const Order order : {kAscending, kDescending, kRandom}) {
        SCOPED_TRACE(order);
        std::mt19937 random(9);
        ZTTree *tree = ZTTREENew(kTag, kSource);
        std::map<std::string, int> model;
        for (int i = 0; i < 20000; ++i) {
            const int number = order == kAscending    ? i
                               : order == kDescending ? 20000 - i
                                                      : static_cast<int>(random() % 30000);
            std::string key = std::to_string(number);
            key.insert(0, 6 - key.size(), '0');
            ASSERT_EQ(ZTTREEInsert(tree, key.c_str(), value_of(i)), 1);
            model[key] = i;
        }
        std::string expected;
        for (const auto &[key, value] : model) {
            expected += key + "=" + std::to_string(value) + " ";
            ASSERT_EQ(ZTTREEFind(tree, key.c_str()), value_of(value));
        }
        EXPECT_TRUE(print(tree) == expected);
        ZTTREEFree(tree, nullptr);
    }
}

TEST_F(Trees, FreeRunsTheRoutineForEveryValue) {
    ZTTree *tree = ZTTREENew(kTag, kSource);
    for (int i = 0; i < 100; ++i) {
        ZTTREEInsert(tree, std::to_string(i).c_str(), Zmalloc(10, "Tree test value", kSource));
    }
    EXPECT_EQ(ZMemoryBlocks("Tree test value"), 100U);
    ZTTREEFree(tree, Zfree);
    EXPECT_EQ(ZMemoryBlocks("Tree test value"), 0U);
    ZTTREEFree(nullptr, Zfree);
    ZTTREEWalk(nullptr, nullptr, nullptr);
    EXPECT_EQ(ZTTREEFind(nullptr, "a"), nullptr);
    EXPECT_EQ(ZTTREEInsert(nullptr, "a", nullptr), 0);
    EXPECT_EQ(ZTTREEInsert(tree_, nullptr, nullptr), 0);
}

TEST_F(Trees, ARefusedRequestLeavesTheTreeAsItWas) {
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(ZTTREENew(kTag, kSource), nullptr);
    ZMemoryRefuse(0, 0);
    for (int i = 0; i < 200; ++i) {
        const std::string key = std::to_string(i * 7919 % 200);
        const std::string before = print(tree_);
        ZMemoryRefuse(1, 1);
        errno = 0;
        ASSERT_EQ(ZTTREEInsert(tree_, key.c_str(), value_of(i)), 0);
        ASSERT_EQ(errno, ENOMEM);
        ZMemoryRefuse(0, 0);
        ASSERT_EQ(print(tree_), before);
        ASSERT_EQ(ZTTREEInsert(tree_, key.c_str(), value_of(i)), 1);
    }
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(ZTTREEInsert(tree_, "0", value_of(5)), 1) << "no memory is needed";
}

}  // namespace
