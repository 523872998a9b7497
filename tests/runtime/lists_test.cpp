// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/containers.h"
#include "host/memory.h"

namespace {

constexpr const char *kSource = "tests/runtime/lists";
constexpr const char *kTag = "List test";

// The values forwards, checked against the links backwards and the count.
std::string print(const ZList *list) {
    std::string forwards;
    std::string backwards;
    uint32_t count = 0;
    for (const ZListNode *node = list->first; node != nullptr; node = node->next) {
        forwards += std::to_string(node->value) + " ";
        EXPECT_EQ(node->prev == nullptr, node == list->first);
        EXPECT_EQ(node->next == nullptr, node == list->last);
        ++count;
    }
    for (const ZListNode *node = list->last; node != nullptr; node = node->prev) {
        backwards.insert(0, std::to_string(node->value) + " ");
    }
    EXPECT_EQ(forwards, backwards);
    EXPECT_EQ(list->count, count);
    return forwards;
}

TEST(Lists, NodesGoBeforeAnotherOrToTheEnd) {
    ZList *list = L_NEW(kTag, kSource);
    EXPECT_EQ(print(list), "");
    ZListNode *two = L_LINK(list, 2, nullptr);
    EXPECT_EQ(print(list), "2 ");
    ZListNode *four = L_LINK(list, 4, nullptr);
    ZListNode *one = L_LINK(list, 1, two);
    ZListNode *three = L_LINK(list, 3, four);
    EXPECT_EQ(print(list), "1 2 3 4 ");
    EXPECT_EQ(ZMemoryBlocks(kTag), 5U);
    L_UNLINK(list, two);
    EXPECT_EQ(print(list), "1 3 4 ");
    L_UNLINK(list, one);
    EXPECT_EQ(print(list), "3 4 ");
    L_UNLINK(list, four);
    EXPECT_EQ(print(list), "3 ");
    L_UNLINK(list, three);
    EXPECT_EQ(print(list), "");
    L_LINK(list, 5, nullptr);
    L_LINK(list, 6, nullptr);
    L_UNLINK(list, nullptr);
    EXPECT_EQ(print(list), "5 6 ");
    EXPECT_EQ(L_LINK(nullptr, 1, nullptr), nullptr);
    L_UNLINK(nullptr, nullptr);
    L_FREE(list);
    L_FREE(nullptr);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

TEST(Lists, ARefusedRequestLeavesTheListAsItWas) {
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(L_NEW(kTag, kSource), nullptr);
    ZMemoryRefuse(0, 0);
    ZList *list = L_NEW(kTag, kSource);
    ZListNode *node = L_LINK(list, 1, nullptr);
    ZMemoryRefuse(1, 1);
    errno = 0;
    EXPECT_EQ(L_LINK(list, 2, node), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(print(list), "1 ");
    L_FREE(list);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

}  // namespace
