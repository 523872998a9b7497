// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/element_hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/fsi/xml/elements/element_fixture.h"

namespace {

using fsi::xml::find_element;
using fsi::xml::hash_element;

class ElementHash : public testing::Test {
 protected:
    ElementHash() : hash_(fsi::xml::make_element_hash()), top_(ZxmlElem_new(0, "top", -1, 0)) {}
    ~ElementHash() override {
        if (hash_ != nullptr)
            HASH_FREE(hash_);
        ZxmlElem_delete(top_);
    }

    ZHandle enter(const char *name, bool is_known) {
        const ZHandle element = ZxmlElem_add_child(top_, name, -1);
        bool was_known = !is_known;
        EXPECT_TRUE(hash_element(hash_, find_element(element), &was_known));
        EXPECT_EQ(was_known, is_known);
        const auto *node = static_cast<ZxmlHashNode *>(ZxmlElem_user_data(element));
        EXPECT_NE(node, nullptr);
        if (node != nullptr) {
            EXPECT_EQ(node->element, element);
            EXPECT_STREQ(node->name, name);
        }
        return element;
    }

    // The elements of a name in the order of the chain, those that are gone left out.
    std::vector<ZHandle> chain(const char *name) {
        std::vector<ZHandle> elements;
        auto *node = static_cast<ZxmlHashNode *>(HASH_GET(hash_, name));
        for (; node != nullptr; node = node->next) {
            EXPECT_STREQ(node->name, name);
            if (node->element != 0)
                elements.push_back(node->element);
        }
        return elements;
    }

    size_t nodes() const { return ZMemoryBlocks("Element hash"); }

    ZHash *hash_;
    ZHandle top_;
};

using Handles = std::vector<ZHandle>;

TEST_F(ElementHash, ChainsElementsOfANameInTheirOrder) {
    const ZHandle a1 = enter("a", false), b = enter("b", false);
    const ZHandle a2 = enter("a", true), a3 = enter("a", true);
    EXPECT_EQ(chain("a"), (Handles{a1, a2, a3}));
    EXPECT_EQ(chain("b"), Handles{b});
    EXPECT_EQ(chain("c"), Handles{});
}

TEST_F(ElementHash, PassesOverElementsThatAreGoneAndUsesTheirNodesAgain) {
    const ZHandle first = enter("a", false), second = enter("a", true), third = enter("a", true);
    ZxmlElem_delete(second);
    EXPECT_EQ(chain("a"), (Handles{first, third}));
    EXPECT_EQ(nodes(), 3U);
    const ZHandle fourth = enter("a", true);
    EXPECT_EQ(chain("a"), (Handles{first, third, fourth}));
    EXPECT_EQ(nodes(), 3U);
    ZxmlElem_delete(first);
    EXPECT_EQ(chain("a"), (Handles{third, fourth}));
    const ZHandle fifth = enter("a", true);
    EXPECT_EQ(chain("a"), (Handles{third, fourth, fifth}));
    EXPECT_EQ(nodes(), 3U);
}

TEST_F(ElementHash, TakesItsUserDataBackWhenItIsCleared) {
    const ZHandle a = enter("a", false), b = enter("a", true);
    HASH_CLEAR(hash_);
    EXPECT_EQ(ZxmlElem_user_data(a), nullptr);
    EXPECT_EQ(ZxmlElem_user_data(b), nullptr);
    EXPECT_EQ(nodes(), 0U);
    const ZHandle c = enter("a", false);
    EXPECT_EQ(chain("a"), Handles{c});
    HASH_FREE(hash_);
    hash_ = nullptr;
    EXPECT_EQ(ZxmlElem_user_data(c), nullptr);
    int data = 0;
    EXPECT_EQ(ZxmlElem_set_user_data(c, &data), 1) << "it is free again";
}

// Against a list for each name, elements coming and going at random.
TEST_F(ElementHash, KeepsDocumentOrderWhateverGoes) {
    std::mt19937 random(7);
    const char *const kNames[] = {"a", "b", "c"};
    std::map<std::string, Handles> expected;
    std::map<std::string, size_t> most;
    for (int i = 0; i < 20000; i++) {
        const char *name = kNames[random() % 3];
        Handles &there = expected[name];
        const bool is_growing = i / 40 % 2 == 0;
        if (random() % 3 != 0 ? is_growing : !is_growing) {
            there.push_back(enter(name, HASH_GET(hash_, name) != nullptr));
        } else if (!there.empty()) {
            const auto at = there.begin() + static_cast<std::ptrdiff_t>(random() % there.size());
            ASSERT_EQ(ZxmlElem_delete(*at), 1);
            there.erase(at);
        }
        most[name] = std::max(most[name], there.size());
        ASSERT_EQ(chain(name), there) << "step " << i;
    }
    EXPECT_EQ(nodes(), most["a"] + most["b"] + most["c"]) << "no node more than ever were needed";
}

// A hundred thousand of one name, deleted in the order that makes the list of free nodes
// worst, and entered again.
TEST_F(ElementHash, StaysFastWithManyOfOneName) {
    constexpr int kMany = 100000;
    Handles there;
    for (int i = 0; i < kMany; i++)
        there.push_back(enter("a", i != 0));
    for (int round = 0; round < 3; round++) {
        if (round == 1)
            std::reverse(there.begin(), there.end());
        else if (round == 2)
            std::shuffle(there.begin(), there.end(), std::mt19937(3));
        for (const ZHandle element : there)
            ASSERT_EQ(ZxmlElem_delete(element), 1);
        there.clear();
        for (int i = 0; i < kMany; i++)
            there.push_back(enter("a", true));
        EXPECT_EQ(chain("a"), there);
    }
    EXPECT_EQ(nodes(), static_cast<size_t>(kMany));
}

}  // namespace
