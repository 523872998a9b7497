// SPDX-License-Identifier: MIT
//
// Every function of elements with the n-th request for memory refused, for every n
// until none was: the documented result, error 1, the tree as it was, and no block
// left behind.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "fsi/base/owner.h"
#include "fsi/xml/elements/element_hash.h"
#include "fsi/xml/elements/scratch.h"
#include "host/memory.h"
#include "tests/fsi/xml/elements/element_fixture.h"

namespace {

using elements::tree;

constexpr int kMostRequests = 100;

// A tree with a bit of everything.
ZHandle sample() {
    const ZHandle top = ZxmlElem_new(0, "top", -1, 0);
    const ZHandle list = ZxmlElem_add_child(top, "list", -1);
    for (int i = 0; i < 3; i++) {
        const ZHandle line = ZxmlElem_add_child(list, "line", -1);
        ZxmlElem_add_child(line, "part", -1);
        ZxmlElem_set_value(ZxmlElem_add_child(line, "part", -1), "text", 4);
    }
    const ZHandle one = ZxmlElem_add_child(top, "one", -1);
    ZxmlElem_add_attribute(one, "a", 1, "1", 1);
    ZxmlElem_add_attribute(one, "b", 1, "2", 1);
    ZxmlElem_set_value(one, "value", 5);
    ZxmlElem_append_comment(one, "comment", 7);
    // Two short of a table of names, and a row that is about to begin.
    for (int i = 0; i < 10; i++)
        ZxmlElem_add_child(top, std::to_string(i).c_str(), -1);
    return top;
}

ZHandle child(ZHandle top, const char *name) {
    ZHandle at = ZxmlElem_first_child(top);
    while (ZxmlElem_name_compare(at, name, 0, -1) != 0)
        at = ZxmlElem_next_sibling(at);
    return at;
}

// Longer than any block that is there, so that it needs its own.
constexpr int32_t kLength = 301;
const std::string kLong(kLength, 'x');

struct Operation {
    const char *row;
    // On a fresh sample and its child "one"; 0: refused.
    std::function<int64_t(ZHandle top, ZHandle one)> run;
};

const Operation kOperations[] = {
    {"a child", [](ZHandle, ZHandle one) { return ZxmlElem_add_child(one, "fresh", -1); }},
    {"one of a long name",
     [](ZHandle top, ZHandle) { return ZxmlElem_add_child(top, kLong.c_str(), -1); }},
    {"one without a name", [](ZHandle, ZHandle one) { return ZxmlElem_add_child(one, "", 0); }},
    {"one that starts a row",
     [](ZHandle top, ZHandle) { return ZxmlElem_add_child(top, "one", -1); }},
    {"one that starts a row with rows within",
     [](ZHandle top, ZHandle) { return ZxmlElem_add_child(top, "list", -1); }},
    {"one that joins a row",
     [](ZHandle top, ZHandle) { return ZxmlElem_add_child(child(top, "list"), "line", -1); }},
    {"a sibling in front",
     [](ZHandle top, ZHandle one) { return ZxmlElem_new(top, "list", -1, one); }},
    {"a sibling", [](ZHandle, ZHandle one) { return ZxmlElem_add_sibling(one, "list", -1); }},
    {"a value",
     [](ZHandle top, ZHandle) {
         return ZxmlElem_set_value(child(top, "3"), kLong.c_str(), kLength);
     }},
    {"another value",
     [](ZHandle, ZHandle one) { return ZxmlElem_set_value(one, kLong.c_str(), -1); }},
    {"no value",
     [](ZHandle top, ZHandle) { return ZxmlElem_set_value(child(top, "3"), nullptr, 0); }},
    {"a piece of value",
     [](ZHandle, ZHandle one) { return ZxmlElem_append_value(one, kLong.c_str(), -1, 0); }},
    {"a first piece of value",
     [](ZHandle top, ZHandle) {
         return ZxmlElem_append_value(child(top, "3"), kLong.c_str(), kLength, 1);
     }},
    {"an attribute",
     [](ZHandle, ZHandle one) { return ZxmlElem_add_attribute(one, "fresh", 5, "value", 5); }},
    {"a first attribute",
     [](ZHandle top, ZHandle) {
         return ZxmlElem_add_attribute(child(top, "3"), "fresh", -1, kLong.c_str(), -1);
     }},
    {"an attribute of empty texts",
     [](ZHandle top, ZHandle) {
         return ZxmlElem_add_attribute(child(top, "3"), nullptr, 0, "", -1);
     }},
    {"an attribute's value",
     [](ZHandle, ZHandle one) {
         return ZxmlElem_modify_attribute(one, 1, kLong.c_str(), kLength);
     }},
    {"a comment",
     [](ZHandle top, ZHandle) { return ZxmlElem_append_comment(child(top, "3"), "c", 1); }},
    {"one more comment",
     [](ZHandle, ZHandle one) { return ZxmlElem_append_comment(one, kLong.c_str(), -1); }},
    {"user data",
     [](ZHandle top, ZHandle) {
         static int data;
         return ZxmlElem_set_user_data(child(top, "3"), &data);
     }},
    {"the scratch buffer", [](ZHandle, ZHandle) { return validate_scratch(100); }},
};

TEST(ElementTorture, WhatIsRefusedChangesNothing) {
    for (const Operation &operation : kOperations) {
        fsi::xml::free_scratch();
        const size_t before = ZMemoryBlocks(nullptr);
        std::string undisturbed;
        {
            const ZHandle top = sample();
            EXPECT_GT(operation.run(top, child(top, "one")), 0) << operation.row;
            undisturbed = tree(top);
            ZxmlElem_delete(top);
        }
        int last_refused = 0;
        for (int n = 1; n < kMostRequests; n++) {
            SCOPED_TRACE(std::string(operation.row).append(", request ").append(std::to_string(n)));
            const ZHandle top = sample();
            const ZHandle one = child(top, "one");
            const std::string whole = tree(top);
            fsi::xml::free_scratch();
            elements::forget_error();

            ZMemoryRefuse(n, 1);
            const int64_t result = operation.run(top, one);
            const bool is_refused = ZMemoryRefused() != 0;
            ZMemoryRefuse(0, 0);
            if (is_refused)
                last_refused = n;
            if (result <= 0) {
                EXPECT_TRUE(is_refused);
                EXPECT_EQ(result, 0);
                EXPECT_EQ(tree(top), whole);
                // Done again it is what it would have been.
                EXPECT_GT(operation.run(top, one), 0);
            }
            // Else it was done without what was refused: room to grow, a larger table.
            EXPECT_EQ(tree(top), undisturbed);
            EXPECT_EQ(ZxmlElem_delete(top), 1);
            fsi::xml::free_scratch();
            EXPECT_EQ(ZMemoryBlocks(nullptr), before);
            if (!is_refused)
                break;
        }
        EXPECT_GT(last_refused, 0) << operation.row;
        EXPECT_LT(last_refused, kMostRequests - 1) << operation.row;
    }
}

TEST(ElementTorture, RefusalsLeaveError1) {
    const ZHandle top = sample();
    const ZHandle one = child(top, "one");
    for (const Operation &operation : kOperations) {
        if (std::string(operation.row) == "the scratch buffer")
            continue;  // its callers set it
        SCOPED_TRACE(operation.row);
        fsi::xml::free_scratch();
        elements::forget_error();
        ZMemoryRefuse(1, -1);
        EXPECT_EQ(operation.run(top, one), 0);
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(elements::error(), ZXML_NO_MEMORY);
    }
    ZxmlElem_delete(top);
    fsi::xml::free_scratch();
}

// The first element of all: the type of handles and the table of names come with it.
TEST(ElementTorture, AFirstElementLeavesNothing) {
    const size_t before = ZMemoryBlocks(nullptr);
    int last_refused = 0;
    for (int n = 1; n < kMostRequests; n++) {
        SCOPED_TRACE(n);
        ZMemoryRefuse(n, 1);
        const ZHandle top = ZxmlElem_new(0, "top", -1, 0);
        const bool is_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        if (!is_refused) {
            EXPECT_EQ(ZxmlElem_delete(top), 1);
        } else {
            last_refused = n;
            EXPECT_EQ(top, 0U);
            EXPECT_EQ(elements::error(), ZXML_NO_MEMORY);
        }
        fsi::xml::free_scratch();
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        if (!is_refused)
            break;
    }
    EXPECT_GE(last_refused, 3) << "scratch, record and name";
}

// A row whose first has a long way down: somewhere on it a block for indices is refused.
TEST(ElementTorture, RowsAreRenumberedWholeOrNotAtAll) {
    const size_t before = ZMemoryBlocks(nullptr);
    int last_refused = 0;
    for (int n = 1; n < 1000; n++) {
        SCOPED_TRACE(n);
        const ZHandle top = ZxmlElem_new(0, "top", -1, 0);
        const ZHandle first = ZxmlElem_add_child(top, "x", -1);
        ZHandle at = first;
        for (int i = 0; i < 12; i++) {
            ZxmlElem_add_child(at, "y", -1);
            at = ZxmlElem_add_child(at, "y", -1);
        }
        const std::string whole = tree(top);
        ZMemoryRefuse(n, 1);
        const ZHandle second = ZxmlElem_add_child(top, "x", -1);
        const bool is_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(second != 0, !is_refused);
        EXPECT_EQ(tree(top) == whole, is_refused);
        ZxmlElem_delete(top);
        fsi::xml::free_scratch();
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        if (!is_refused)
            break;
        last_refused = n;
    }
    EXPECT_GT(last_refused, 5);
    EXPECT_LT(last_refused, 999);
}

// Many names, so that the table of a parent and that of the process grow on the way.
TEST(ElementTorture, TablesOfNamesGrowOrNot) {
    const size_t before = ZMemoryBlocks(nullptr);
    for (int n = 1; n < 400; n++) {
        SCOPED_TRACE(n);
        const ZHandle top = ZxmlElem_new(0, "top", -1, 0);
        int made = 0;
        ZMemoryRefuse(n, 1);
        for (int i = 0; i < 150; i++)
            made += ZxmlElem_add_child(top, std::to_string(i).c_str(), -1) != 0 ? 1 : 0;
        const bool is_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        EXPECT_GE(made, is_refused ? 149 : 150);
        int counted = 0;
        for (ZHandle at = ZxmlElem_first_child(top); at != 0; at = ZxmlElem_next_sibling(at)) {
            EXPECT_EQ(ZxmlElem_array_depth(at), -1);
            counted++;
        }
        EXPECT_EQ(counted, made);
        ZxmlElem_delete(top);
        fsi::xml::free_scratch();
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        if (!is_refused)
            return;
    }
    FAIL() << "each of the requests was refused";
}

TEST(ElementTorture, HashedElementsAreEnteredOrNot) {
    const size_t before = ZMemoryBlocks(nullptr);
    for (int n = 1; n < kMostRequests; n++) {
        SCOPED_TRACE(n);
        const ZHandle top = ZxmlElem_new(0, "top", -1, 0);
        ZMemoryRefuse(n, 1);
        ZHash *hash = fsi::xml::make_element_hash();
        for (const char *name : {"a", "b", "a", "a"}) {
            const ZHandle made = ZxmlElem_add_child(top, name, -1);
            fsi::xml::Element *element = fsi::xml::find_element(made);
            bool is_known = false;
            if (hash != nullptr && element != nullptr &&
                !fsi::xml::hash_element(hash, element, &is_known)) {
                EXPECT_EQ(ZxmlElem_user_data(made), nullptr);
            }
        }
        const bool is_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        if (n % 2 == 0)
            ZxmlElem_delete(top);
        if (hash != nullptr)
            HASH_FREE(hash);
        if (n % 2 != 0)
            ZxmlElem_delete(top);
        fsi::xml::free_scratch();
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        if (!is_refused)
            return;
    }
    FAIL() << "each of the requests was refused";
}

TEST(ElementTorture, DeletingNeedsNoMemory) {
    const ZHandle top = sample();
    ZMemoryRefuse(1, -1);
    EXPECT_EQ(ZxmlElem_delete_attribute(child(top, "one"), 0), 1);
    EXPECT_EQ(ZxmlElem_delete_comment(child(top, "one")), 1);
    EXPECT_EQ(ZxmlElem_delete(child(top, "list")), 1);
    EXPECT_EQ(ZxmlElem_delete(top), 1);
    EXPECT_EQ(ZMemoryRefused(), 0U);
    ZMemoryRefuse(0, 0);
    fsi::xml::free_scratch();
}

}  // namespace
