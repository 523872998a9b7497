// SPDX-License-Identifier: MIT
//
// Random operations on the library and on a plain description of it, side by side:
// results, error numbers and whole trees are the same after each.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/fsi/xml/elements/element_fixture.h"
#include "tests/fsi/xml/elements/naive_tree.h"

namespace {

using naive::Text;

class SideBySide {
 public:
    // At most so many live elements, of so many names; when wide, most are children of one.
    SideBySide(uint32_t seed, size_t most, uint32_t names, bool is_wide)
        : random_(seed), most_(most), names_(names), is_wide_(is_wide) {}

    ~SideBySide() {
        for (const ZHandle handle : known_) {
            if (ZxmlElem_is_element(handle) != 0)
                ZxmlElem_delete(handle);
        }
    }
    SideBySide(const SideBySide &) = delete;
    SideBySide &operator=(const SideBySide &) = delete;

    void step() {
        fsi::xml::element_error = model_.error = elements::kUntouched;
        touched_ = 0;
        const uint32_t kind = below(100);
        if (live_count() >= most_ ? kind < 30 : kind < 3)
            remove();
        else if (kind < 50)
            create();
        else if (kind < 60)
            values();
        else if (kind < 75)
            attributes();
        else if (kind < 82)
            comments();
        else
            look();
        EXPECT_EQ(elements::error(), model_.error) << what_;
        compare(root_of(touched_));
    }

    void compare_all() {
        for (const ZHandle handle : known_) {
            const naive::Element *element = model_.find(handle);
            ASSERT_EQ(ZxmlElem_is_element(handle), element != nullptr ? 1 : 0);
            if (element != nullptr && model_.find(element->parent) == nullptr)
                compare(handle);
        }
    }

    const std::string &what() const { return what_; }
    int32_t deepest() const { return deepest_; }

 private:
    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_()) % n; }

    // Mostly a live one, now and then a dead one, none, or no handle at all.
    ZHandle pick() {
        const uint32_t kind = below(100);
        if (kind < 2 || known_.empty())
            return below(2) == 0 ? 0 : 0xFFFFFFFF;
        if (kind < 4)
            return below(0xFFFFFF);
        return known_[below(static_cast<uint32_t>(known_.size()))];
    }

    Text text() {
        static constexpr const char *kTexts[] = {
            "",      " ",         "a",  "ab",   "abc",      " ab",    "abc  ",     "\xE9",
            "\xE9t", "\xE9t\xE9", "12", "-7 x", "\t\n\v a", "<null>", "abcdef ghi"};
        const char *bytes = kTexts[below(std::size(kTexts))];
        if (below(30) == 0)
            bytes = nullptr;
        const uint32_t kind = below(4);
        if (kind == 0)
            return {bytes, static_cast<int32_t>(below(5))};
        if (kind == 1)
            return {bytes, bytes == nullptr ? 3 : static_cast<int32_t>(std::strlen(bytes))};
        return {bytes, kind == 2 ? -1 : -static_cast<int32_t>(1 + below(100))};
    }

    Text name() {
        static constexpr const char *kNames[] = {"a", "b", "A", "\xE9", ""};
        const uint32_t i = below(names_);
        if (i < std::size(kNames))
            return {kNames[i], -1};
        name_ = std::to_string(i);
        return {name_.c_str(), below(2) == 0 ? -1 : static_cast<int32_t>(name_.size())};
    }

    void expect(int64_t real, int64_t model) { EXPECT_EQ(real, model) << what_; }

    void create() {
        const Text called = name();
        ZHandle parent = is_wide_ && below(5) != 0 && !known_.empty() ? known_[0] : pick();
        if (below(20) == 0 && trees_ < 6)
            parent = 0;
        else if (trees_ >= 6 && model_.find(parent) == nullptr)
            return;
        ZHandle before = below(3) == 0 ? pick() : 0;
        ZHandle made = 0;
        switch (below(3)) {
            case 0:
                what_ = "add_child";
                made = ZxmlElem_add_child(parent, called.bytes, called.length);
                before = 0;
                break;
            case 1: {
                what_ = "add_sibling";
                const ZHandle element = parent;
                made = ZxmlElem_add_sibling(element, called.bytes, called.length);
                const bool is_placed = model_.sibling_place(element, &parent, &before);
                EXPECT_EQ(made != 0, is_placed);
                if (!is_placed)
                    return;
                break;
            }
            default:
                what_ = "new";
                if (naive::Element *above = model_.find(parent);
                    above != nullptr && above->children && !above->children->empty() &&
                    below(2) == 0) {
                    auto at = above->children->begin();
                    std::advance(at, below(static_cast<uint32_t>(above->children->size())));
                    before = (*at)->handle;
                }
                made = ZxmlElem_new(parent, called.bytes, called.length, before);
        }
        ASSERT_NE(made, 0U) << what_;
        model_.create(made, parent, called, before);
        trees_ += model_.find(parent) == nullptr ? 1 : 0;
        known_.push_back(made);
        touched_ = made;
        deepest_ = std::max(deepest_, ZxmlElem_array_depth(made));
        EXPECT_EQ(ZxmlElem_name_compare(made, naive::to_utf8(called).c_str(), 0, -1), 0);
    }

    void remove() {
        what_ = "delete";
        const ZHandle element = pick();
        const naive::Element *gone = model_.find(element);
        const ZHandle parent = gone == nullptr ? 0 : gone->parent;
        if (gone != nullptr && model_.find(parent) == nullptr) {
            if (below(8) != 0)
                return;  // whole trees go seldom
            trees_--;
        }
        expect(ZxmlElem_delete(element), model_.remove(element));
        touched_ = parent;
        if (known_.size() > 4 * most_) {
            // Some of the dead are still asked about, not all for ever.
            std::erase_if(known_, [&](ZHandle handle) {
                return model_.find(handle) == nullptr && below(2) == 0;
            });
        }
    }

    void values() {
        const ZHandle element = touched_ = pick();
        const Text given = text();
        if (below(2) == 0) {
            what_ = "set_value";
            expect(ZxmlElem_set_value(element, given.bytes, given.length),
                   model_.set_value(element, given));
        } else {
            what_ = "append_value";
            const auto keep = static_cast<uint8_t>(below(2));
            expect(ZxmlElem_append_value(element, given.bytes, given.length, keep),
                   model_.append_value(element, given, keep != 0));
        }
    }

    void attributes() {
        const ZHandle element = touched_ = pick();
        const uint32_t number = below(5);
        const Text first = text(), second = text();
        switch (below(3)) {
            case 0:
                what_ = "add_attribute";
                expect(ZxmlElem_add_attribute(element, first.bytes, first.length, second.bytes,
                                              second.length),
                       model_.add_attribute(element, first, second));
                break;
            case 1:
                what_ = "modify_attribute";
                expect(ZxmlElem_modify_attribute(element, number, first.bytes, first.length),
                       model_.modify_attribute(element, number, first));
                break;
            default:
                what_ = "delete_attribute";
                expect(ZxmlElem_delete_attribute(element, number),
                       model_.delete_attribute(element, number));
        }
    }

    void comments() {
        const ZHandle element = touched_ = pick();
        const Text given = text();
        if (below(3) != 0) {
            what_ = "append_comment";
            expect(ZxmlElem_append_comment(element, given.bytes, given.length),
                   model_.append_comment(element, given));
        } else {
            what_ = "delete_comment";
            expect(ZxmlElem_delete_comment(element), model_.delete_comment(element));
        }
    }

    void look() {
        const ZHandle element = pick();
        switch (below(6)) {
            case 0:
                what_ = "first_child";
                expect(ZxmlElem_first_child(element), model_.first_child(element));
                break;
            case 1:
                what_ = "next_sibling";
                expect(ZxmlElem_next_sibling(element), model_.next_sibling(element));
                break;
            case 2:
                what_ = "prev_sibling";
                expect(ZxmlElem_prev_sibling(element), model_.prev_sibling(element));
                break;
            case 3:
                what_ = "parent";
                expect(ZxmlElem_parent(element), model_.parent(element));
                break;
            case 4:
                what_ = "value_i";
                expect(ZxmlElem_value_i(element), model_.value_i(element));
                break;
            default:
                what_ = "set_user_data";
                expect(ZxmlElem_set_user_data(element, this), model_.set_user_data(element, this));
        }
    }

    size_t live_count() {
        return static_cast<size_t>(std::count_if(known_.begin(), known_.end(), [&](ZHandle handle) {
            return model_.find(handle) != nullptr;
        }));
    }

    ZHandle root_of(ZHandle handle) {
        ZHandle root = 0;
        for (const naive::Element *at = model_.find(handle); at != nullptr;
             at = model_.find(at->parent))
            root = at->handle;
        return root;
    }

    void compare(ZHandle root) {
        const naive::Element *element = model_.find(root);
        if (element == nullptr)
            return;
        std::string expected;
        model_.print(*element, &expected);
        ASSERT_EQ(elements::tree(root), expected) << what_;
    }

    std::mt19937 random_;
    size_t most_;
    uint32_t names_;
    bool is_wide_;
    naive::Library model_;
    std::vector<ZHandle> known_;  // also the dead
    std::string name_;
    std::string what_;
    ZHandle touched_ = 0;
    int trees_ = 0;
    int32_t deepest_ = -1;
};

// Few elements of few names nest and repeat deeply; many of many names fill the tables
// of names of their parents.
TEST(ElementModel, DoesWhatThePlainDescriptionDoes) {
    const struct {
        size_t most;
        uint32_t names;
        int steps;
        bool is_wide;
    } kRows[] = {{8, 2, 20000, false},  {25, 2, 25000, false},   {30, 5, 25000, false},
                 {60, 9, 10000, false}, {150, 60, 10000, false}, {60, 40, 10000, true}};
    int32_t deepest = -1;
    uint32_t seed = 1;
    for (const auto &row : kRows) {
        for (int round = 0; round < 10; round++, seed++) {
            SideBySide both(seed, row.most, row.names, row.is_wide);
            for (int i = 0; i < row.steps / 10; i++) {
                both.step();
                if (i % 100 == 99)
                    both.compare_all();
                if (HasFailure())
                    FAIL() << "seed " << seed << ", step " << i << ": " << both.what();
            }
            deepest = std::max(deepest, both.deepest());
        }
    }
    EXPECT_GE(deepest, 4) << "the indices outgrew what stands in the record";
}

}  // namespace
