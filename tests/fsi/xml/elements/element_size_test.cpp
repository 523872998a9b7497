// SPDX-License-Identifier: MIT
//
// Trees as deep and as wide as hostile documents make them: on a small stack, in time
// that grows with their size (a walk of each list would take hours here), and in little
// memory.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "host/memory.h"
#include "tests/fsi/xml/elements/element_fixture.h"

namespace {

constexpr int kDeep = 1000000;
constexpr int kWide = 100000;

// Runs it on a stack of 256 KB.
void on_small_stack(std::function<void()> body) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void *f) -> void * {
                      (*static_cast<std::function<void()> *>(f))();
                      return nullptr;
                  },
                  &body),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(DeepTrees, AreBuiltRenumberedAndDestroyed) {
    const size_t before = ZMemoryBlocks("XML element info");
    on_small_stack([] {
        const ZHandle top = ZxmlElem_new(0, "top", -1, 0);
        ZHandle deepest = top;
        for (int i = 0; i < kDeep && deepest != 0; i++)
            deepest = ZxmlElem_add_child(deepest, "e", 1);
        ASSERT_NE(deepest, 0U);
        EXPECT_EQ(ZxmlElem_array_depth(deepest), -1);
        // A second one beside the outermost gives all below the first a level.
        EXPECT_NE(ZxmlElem_add_child(top, "e", 1), 0U);
        EXPECT_EQ(ZxmlElem_array_depth(deepest), 0);
        EXPECT_EQ(ZxmlElem_array_index(deepest, 0), 1);
        EXPECT_EQ(ZxmlElem_delete(top), 1);
        EXPECT_EQ(ZxmlElem_is_element(deepest), 0);
    });
    EXPECT_EQ(ZMemoryBlocks("XML element info"), before);
}

std::string name_of(int i, bool are_equal) {
    return are_equal ? "same" : std::to_string(i).insert(0, 1, 'n');
}

// The children's handles, in the order in which they were made.
std::vector<ZHandle> make_wide(ZHandle top, bool are_equal, bool in_front) {
    std::vector<ZHandle> children;
    ZHandle first = 0;
    for (int i = 0; i < kWide; i++) {
        children.push_back(ZxmlElem_new(top, name_of(i, are_equal).c_str(), -1, first));
        if (in_front)
            first = children.back();
    }
    return children;
}

TEST(WideTrees, GrowAndShrinkAtAnyPlace) {
    enum class Order { kFirst, kLast, kRandom, kWhole };
    for (const bool are_equal : {true, false}) {
        for (const bool in_front : {false, true}) {
            for (const Order order : {Order::kFirst, Order::kLast, Order::kRandom, Order::kWhole}) {
                SCOPED_TRACE(std::string(are_equal ? "equal" : "distinct") +
                             (in_front ? ", in front" : ", behind") + ", order " +
                             std::to_string(static_cast<int>(order)));
                const elements::Tree top;
                std::vector<ZHandle> children = make_wide(top, are_equal, in_front);
                ASSERT_EQ(std::count(children.begin(), children.end(), 0U), 0);
                EXPECT_EQ(ZxmlElem_first_child(top), in_front ? children.back() : children.front());
                EXPECT_EQ(ZxmlElem_array_index(children[kWide / 2], 0),
                          are_equal ? kWide / 2 + 1 : -1);
                EXPECT_EQ(ZxmlElem_next_sibling(children[kWide / 2]),
                          children[kWide / 2 + (in_front ? -1 : 1)]);
                if (order == Order::kWhole)
                    continue;
                if (order == Order::kLast)
                    std::reverse(children.begin(), children.end());
                else if (order == Order::kRandom)
                    std::shuffle(children.begin(), children.end(), std::mt19937(1));
                const ZHandle survivor = children.back();
                children.pop_back();
                for (const ZHandle child : children)
                    ASSERT_EQ(ZxmlElem_delete(child), 1);
                EXPECT_EQ(ZxmlElem_first_child(top), survivor);
                // One of its name is left, so the next is the second.
                char name[16];
                ZxmlElem_name(survivor, name, sizeof name);
                const ZHandle next = ZxmlElem_add_child(top, name, -1);
                EXPECT_EQ(ZxmlElem_array_index(next, 0), 2);
            }
        }
    }
}

// The second of each name starts its row, whatever the tables of names went through: some
// names are gone by then, and some came back.
TEST(WideTrees, BeginRowsAmongManyNames) {
    constexpr int kNames = 3000;
    const elements::Tree top;
    std::vector<ZHandle> first(kNames), second(kNames);
    for (int i = 0; i < kNames; i++) {
        const std::string name = name_of(i, false);
        first[static_cast<size_t>(i)] = ZxmlElem_add_child(top, name.c_str(), -1);
        if (i % 3 == 0)
            ZxmlElem_delete(first[static_cast<size_t>(i)]);
        if (i % 6 == 0)
            first[static_cast<size_t>(i)] = ZxmlElem_add_child(top, name.c_str(), -1);
    }
    for (int i = 0; i < kNames; i++)
        second[static_cast<size_t>(i)] = ZxmlElem_add_child(top, name_of(i, false).c_str(), -1);
    for (int i = 0; i < kNames; i++) {
        SCOPED_TRACE(i);
        const bool is_alone = i % 6 == 3;
        const auto at = static_cast<size_t>(i);
        EXPECT_EQ(ZxmlElem_is_element(first[at]), is_alone ? 0 : 1);
        EXPECT_EQ(ZxmlElem_array_index(first[at], 0), is_alone ? -1 : 1);
        EXPECT_EQ(ZxmlElem_array_index(second[at], 0), is_alone ? -1 : 2);
    }
}

// Names that come and go leave nothing behind.
TEST(WideTrees, ForgetNamesThatAreGone) {
    const elements::Tree top;
    for (int i = 0; i < 20; i++)
        ZxmlElem_add_child(top, name_of(-i, false).c_str(), -1);
    const size_t before = ZMemoryInUse(nullptr);
    size_t most = 0;
    for (int i = 0; i < kWide; i++) {
        ASSERT_EQ(ZxmlElem_delete(ZxmlElem_add_child(top, name_of(i, false).c_str(), -1)), 1);
        most = std::max(most, ZMemoryInUse(nullptr));
    }
    EXPECT_LT(most, before + 4096);
}

#ifndef __SANITIZE_ADDRESS__  // which puts red zones between the blocks

// Records of ten fields as a document with line breaks and indents brings them, where
// blank texts between elements are not kept.
TEST(Memory, OfAnElementWithAShortTextIsSmall) {
    constexpr size_t kRecords = 20000, kFields = 10;
    constexpr size_t kMost = sizeof(void *) == 8 ? 200 : 150;
    const size_t before = ZMemoryInUse(nullptr);
    const elements::Tree top;
    for (size_t i = 0; i < kRecords; i++) {
        const ZHandle record = ZxmlElem_add_child(top, "record", -1);
        for (size_t field = 0; field < kFields; field++) {
            static constexpr const char *kNames[] = {"id",   "name",  "city", "street", "zip",
                                                     "date", "price", "sum",  "note",   "state"};
            const ZHandle made = ZxmlElem_add_child(record, kNames[field], -1);
            ZxmlElem_set_value(made, "a value of 21 letters", 21);
        }
    }
    const size_t bytes = (ZMemoryInUse(nullptr) - before) / (kRecords * (kFields + 1));
    RecordProperty("bytes", std::to_string(bytes));
    EXPECT_LE(bytes, kMost);
}

TEST(Memory, OfAnElementWithEightAttributesIsSmall) {
    constexpr size_t kElements = 100000, kAttributes = 8;
    constexpr size_t kMost = sizeof(void *) == 8 ? 64 : 48;
    const size_t before = ZMemoryInUse(nullptr);
    const elements::Tree top;
    for (size_t i = 0; i < kElements; i++) {
        const ZHandle element = ZxmlElem_add_child(top, "item", -1);
        for (size_t k = 0; k < kAttributes; k++)
            ZxmlElem_add_attribute(element, name_of(static_cast<int>(k), false).c_str(), -1,
                                   "eleven byte", 11);
    }
    const size_t bytes = (ZMemoryInUse(nullptr) - before) / (kElements * (kAttributes + 1));
    RecordProperty("bytes", std::to_string(bytes));
    EXPECT_LE(bytes, kMost);
}

#endif

}  // namespace
