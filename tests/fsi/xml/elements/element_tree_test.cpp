// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "host/handles.h"
#include "host/memory.h"
#include "tests/fsi/xml/elements/element_fixture.h"
#include "wbfsi/xml_element.h"

namespace {

using elements::error;
using elements::forget_error;
using elements::indices;
using elements::kUntouched;
using elements::Tree;
using elements::tree;

ZHandle add(ZHandle parent, const char *name) {
    return ZxmlElem_add_child(parent, name, -1);
}

TEST(ElementErrors, EachNumberHasItsText) {
    const char *const kTexts[] = {
        "No error",
        "Unable to create parser due to low memory",
        "Unable to create parser - expat error",
        "Unable to open named file",
        "Invalid XML file or other parsing error",
        "The passed handle is not a valid parser handle",
        "The passed handle is not a valid element handle",
        "Invalid attribute number",
        "The URL given could not be located",
        "The XML parser is not available on this machine",
        "The specified element has no children",
        "The specified element has no siblings",
        "The specified element is a top-level element",
        "The specified element has no value",
        "The specified element has no attributes",
        "The regular expression given caused an error",
        "The specified parser already has a top-level element",
        "Invalid processing instruction number",
        "No processing instructions are available",
    };
    int32_t expected = 0;
    for (const char *text : kTexts) {
        fsi::xml::element_error = expected;
        int32_t number = -1;
        EXPECT_STREQ(ZxmlElem_error(&number), text);
        EXPECT_EQ(number, expected);
        EXPECT_STREQ(ZxmlElem_error(nullptr), text);
        expected++;
    }
    EXPECT_EQ(expected, 19);
}

TEST(ElementErrors, SuccessLeavesTheNumberAsItWas) {
    const Tree top;
    const ZHandle a = add(top, "a");
    add(top, "b");
    forget_error();
    EXPECT_NE(add(top, "c"), 0U);
    EXPECT_NE(ZxmlElem_add_sibling(a, "d", -1), 0U);
    EXPECT_NE(ZxmlElem_first_child(top), 0U);
    EXPECT_NE(ZxmlElem_next_sibling(a), 0U);
    EXPECT_EQ(ZxmlElem_parent(a), top);
    EXPECT_EQ(ZxmlElem_delete(a), 1);
    EXPECT_EQ(error(), kUntouched);
}

// What each function gives for a handle that is no element; all leave error 6 but the
// question whether it is one.
TEST(BadElementHandles, GiveWhatTheFunctionSays) {
    char buffer[8] = "kept";
    const struct {
        const char *row;
        std::function<int64_t(ZHandle)> call;
        int64_t expected;
    } kRows[] = {
        {"add_sibling", [](ZHandle h) { return ZxmlElem_add_sibling(h, "x", 1); }, 0},
        {"delete", ZxmlElem_delete, 0},
        {"set_user_data", [&](ZHandle h) { return ZxmlElem_set_user_data(h, buffer); }, 0},
        {"user_data", [](ZHandle h) { return ZxmlElem_user_data(h) == nullptr ? 0 : 1; }, 0},
        {"first_child", ZxmlElem_first_child, 0},
        {"next_sibling", ZxmlElem_next_sibling, 0},
        {"prev_sibling", ZxmlElem_prev_sibling, 0},
        {"parent", ZxmlElem_parent, 0},
        {"name", [&](ZHandle h) { return ZxmlElem_name(h, buffer, 8); }, -1},
        {"name_compare", [](ZHandle h) { return ZxmlElem_name_compare(h, "x", 0, -1); }, -1},
        {"value", [&](ZHandle h) { return ZxmlElem_value(h, buffer, 8); }, -1},
        {"value_i", ZxmlElem_value_i, 0},
        {"value_compare", [](ZHandle h) { return ZxmlElem_value_compare(h, "x", 0, -1); }, -1},
        {"array_depth", ZxmlElem_array_depth, -1},
        {"array_index", [](ZHandle h) { return ZxmlElem_array_index(h, 0); }, -1},
        {"attribute_count", ZxmlElem_attribute_count, 0},
        {"attribute_name", [&](ZHandle h) { return ZxmlElem_attribute_name(h, 0, buffer, 8); }, -1},
        {"attribute_name_compare",
         [](ZHandle h) { return ZxmlElem_attribute_name_compare(h, 0, "x", 0, -1); }, -1},
        {"attribute_value", [&](ZHandle h) { return ZxmlElem_attribute_value(h, 0, buffer, 8); },
         -1},
        {"attribute_value_i", [](ZHandle h) { return ZxmlElem_attribute_value_i(h, 0); }, -1},
        {"attribute_value_compare",
         [](ZHandle h) { return ZxmlElem_attribute_value_compare(h, 0, "x", 0, -1); }, -1},
        {"get_comment", [&](ZHandle h) { return ZxmlElem_get_comment(h, buffer, 8); }, -1},
        {"set_value", [](ZHandle h) { return ZxmlElem_set_value(h, "x", 1); }, 0},
        {"append_value", [](ZHandle h) { return ZxmlElem_append_value(h, "x", 1, 1); }, 0},
        {"add_attribute", [](ZHandle h) { return ZxmlElem_add_attribute(h, "x", 1, "y", 1); }, 0},
        {"modify_attribute", [](ZHandle h) { return ZxmlElem_modify_attribute(h, 0, "x", 1); }, 0},
        {"delete_attribute", [](ZHandle h) { return ZxmlElem_delete_attribute(h, 0); }, 0},
        {"append_comment", [](ZHandle h) { return ZxmlElem_append_comment(h, "x", 1); }, 0},
        {"delete_comment", ZxmlElem_delete_comment, 0},
    };
    const Tree alive;  // the type of the handles is declared
    const elements::BadHandles bad;
    for (const auto &row : kRows) {
        for (const auto &[what, handle] : bad.rows) {
            SCOPED_TRACE(std::string(row.row) + " of " + what);
            forget_error();
            EXPECT_EQ(row.call(handle), row.expected);
            EXPECT_EQ(error(), ZXML_BAD_ELEMENT);
        }
    }
    EXPECT_STREQ(buffer, "kept");
    EXPECT_EQ(tree(alive), "top");
}

TEST(BadElementHandles, AreRecognisedQuietlyAlsoWhenNoElementIsLeft) {
    for (const bool are_elements_left : {true, false}) {
        const elements::BadHandles bad;
        const ZHandle element = ZxmlElem_new(0, "e", 1, 0);
        forget_error();
        EXPECT_EQ(ZxmlElem_is_element(element), 1);
        if (!are_elements_left)
            ZxmlElem_delete(element);
        for (const auto &[what, handle] : bad.rows) {
            SCOPED_TRACE(what);
            EXPECT_EQ(ZxmlElem_is_element(handle), 0);
        }
        EXPECT_EQ(error(), kUntouched);
        if (are_elements_left)
            ZxmlElem_delete(element);
    }
}

TEST(NewElements, WithoutAParentSucceedAndLeaveError6) {
    const elements::BadHandles bad;
    for (const auto &[what, handle] : bad.rows) {
        SCOPED_TRACE(what);
        forget_error();
        const ZHandle element = ZxmlElem_new(handle, "e", 1, 0);
        EXPECT_EQ(error(), ZXML_BAD_ELEMENT);
        EXPECT_EQ(ZxmlElem_array_depth(element), -1);
        EXPECT_EQ(ZxmlElem_next_sibling(element), 0U);
        EXPECT_EQ(error(), ZXML_NO_SIBLINGS);
        // What was given as parent is what is told, and no element all the same.
        forget_error();
        EXPECT_EQ(ZxmlElem_parent(element), handle);
        EXPECT_EQ(error(), handle == 0 ? ZXML_TOP_LEVEL : kUntouched);
        EXPECT_EQ(ZxmlElem_delete(element), 1);
    }
}

TEST(NewElements, GoInFrontOfASiblingOrLast) {
    const elements::BadHandles bad;
    const Tree other("other");
    const ZHandle elsewhere = add(other, "x");
    const Tree top;
    ZHandle first = 0, second = 0;
    const auto fresh = [&] {
        while (ZxmlElem_first_child(top) != 0)
            ZxmlElem_delete(ZxmlElem_first_child(top));
        first = add(top, "a");
        second = add(top, "b");
        add(second, "grandchild");
    };
    fresh();
    const ZHandle grandchild = ZxmlElem_first_child(second);
    const struct {
        const char *row;
        std::function<ZHandle()> before;
        const char *expected;
    } kRows[] = {
        {"none", [] { return 0U; }, "top[a b[grandchild] new]"},
        {"no handle", [] { return 0xFFFFFFFFU; }, "top[a b[grandchild] new]"},
        {"the first", [&] { return first; }, "top[new a b[grandchild]]"},
        {"the second", [&] { return second; }, "top[a new b[grandchild]]"},
        {"a grandchild", [&] { return ZxmlElem_first_child(second); }, "top[a b[grandchild] new]"},
        {"a deleted grandchild", [&] { return grandchild; }, "top[a b[grandchild] new]"},
        {"the parent", [&] { return ZHandle{top}; }, "top[a b[grandchild] new]"},
        {"another tree", [&] { return elsewhere; }, "top[a b[grandchild] new]"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        fresh();
        EXPECT_NE(ZxmlElem_new(top, "new", 3, row.before()), 0U);
        EXPECT_EQ(tree(top), row.expected);
    }
    for (const auto &[what, handle] : bad.rows) {
        SCOPED_TRACE(what);
        fresh();
        EXPECT_NE(ZxmlElem_new(top, "new", 3, handle), 0U);
        EXPECT_EQ(tree(top), "top[a b[grandchild] new]");
    }
    EXPECT_EQ(tree(other), "other[x]");
    // Into a list that is empty.
    ZxmlElem_new(elsewhere, "y", 1, first);
    EXPECT_EQ(tree(other), "other[x[y]]");
}

TEST(NewElements, TakeTheNameToItsZeroByteOrLength) {
    const struct {
        const char *name;
        int32_t length;
        const char *expected;
    } kRows[] = {
        {"abc", -1, "abc"}, {"abc", 3, "abc"}, {"abc", 2, "ab"},
        {"abc", 0, ""},     {"", -1, ""},      {"abc", 9, "abc"},
        {nullptr, 3, ""},   {nullptr, -1, ""}, {"\xE9t\xE9", -1, "\xE9t\xE9"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.expected);
        forget_error();
        const Tree top;
        const ZHandle child = ZxmlElem_new(top, row.name, row.length, 0);
        EXPECT_EQ(elements::name(child), row.expected);
        EXPECT_EQ(error(), ZXML_BAD_ELEMENT) << "of the top, which has no parent";
    }
}

TEST(Siblings, AreAddedRightBehind) {
    const Tree top;
    const ZHandle a = add(top, "a");
    const ZHandle c = add(top, "c");
    forget_error();
    EXPECT_NE(ZxmlElem_add_sibling(a, "bx", 1), 0U);
    EXPECT_EQ(error(), kUntouched);
    EXPECT_NE(ZxmlElem_add_sibling(c, "d", -1), 0U);
    EXPECT_EQ(error(), ZXML_NO_SIBLINGS) << "behind the last it succeeds with this left";
    EXPECT_EQ(tree(top), "top[a b c d]");
}

TEST(Siblings, OfATopLevelElementAreRefused) {
    const Tree top;
    forget_error();
    EXPECT_EQ(ZxmlElem_add_sibling(top, "b", 1), 0U);
    EXPECT_EQ(error(), ZXML_HAS_TOP);
}

TEST(Navigation, EndsWithItsErrors) {
    const Tree top;
    const ZHandle a = add(top, "a");
    const ZHandle b = add(top, "b");
    const struct {
        const char *row;
        ZHandle (*call)(ZHandle);
        ZHandle element, expected;
        int32_t error;
    } kRows[] = {
        {"first child", ZxmlElem_first_child, top, a, kUntouched},
        {"of one without", ZxmlElem_first_child, a, 0, ZXML_NO_CHILDREN},
        {"next", ZxmlElem_next_sibling, a, b, kUntouched},
        {"behind the last", ZxmlElem_next_sibling, b, 0, ZXML_NO_SIBLINGS},
        {"behind the top", ZxmlElem_next_sibling, top, 0, ZXML_NO_SIBLINGS},
        {"previous", ZxmlElem_prev_sibling, b, a, kUntouched},
        {"in front of the first", ZxmlElem_prev_sibling, a, 0, ZXML_NO_SIBLINGS},
        {"in front of the top", ZxmlElem_prev_sibling, top, 0, ZXML_NO_SIBLINGS},
        {"parent", ZxmlElem_parent, b, top, kUntouched},
        {"of the top", ZxmlElem_parent, top, 0, ZXML_TOP_LEVEL},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        forget_error();
        EXPECT_EQ(row.call(row.element), row.expected);
        EXPECT_EQ(error(), row.error);
    }
    // An emptied list counts as none.
    ZxmlElem_delete(a);
    ZxmlElem_delete(b);
    forget_error();
    EXPECT_EQ(ZxmlElem_first_child(top), 0U);
    EXPECT_EQ(error(), ZXML_NO_CHILDREN);
}

TEST(UserData, IsSetOnce) {
    int first = 0, second = 0;
    const Tree top;
    forget_error();
    EXPECT_EQ(ZxmlElem_user_data(top), nullptr);
    EXPECT_EQ(ZxmlElem_set_user_data(top, nullptr), 1);
    EXPECT_EQ(ZxmlElem_set_user_data(top, &first), 1);
    EXPECT_EQ(ZxmlElem_set_user_data(top, &second), 0);
    EXPECT_EQ(ZxmlElem_set_user_data(top, nullptr), 0);
    EXPECT_EQ(ZxmlElem_user_data(top), &first);
    EXPECT_EQ(error(), kUntouched);
}

// a, b, a and a: the names that repeat are numbered, in the order in which they came.
TEST(ArrayIndices, CountSiblingsOfOneName) {
    const Tree top;
    const ZHandle list = add(top, "list");
    for (const char *name : {"a", "b", "a", "a"})
        add(list, name);
    EXPECT_EQ(tree(top), "top[list[a(1) b a(2) a(3)]]");
}

TEST(ArrayIndices, FollowCreationAndNotThePlace) {
    const Tree top;
    const ZHandle a = add(top, "a");
    ZxmlElem_new(top, "a", 1, a);
    ZxmlElem_add_sibling(a, "a", 1);
    EXPECT_EQ(tree(top), "top[a(2) a(1) a(3)]");
}

TEST(ArrayIndices, AreCopiedToChildren) {
    const Tree top;
    const ZHandle list = add(top, "list");
    add(list, "a");
    const ZHandle second = add(list, "a");
    add(second, "child");
    EXPECT_EQ(tree(top), "top[list[a(1) a(2)[child(2)]]]");
}

TEST(ArrayIndices, ReachWhatWasThereBefore) {
    const Tree top;
    const ZHandle x = add(top, "x");
    const ZHandle y = add(x, "y");
    add(y, "z");
    add(top, "x");
    EXPECT_EQ(tree(top), "top[x(1)[y(1)[z(1)]] x(2)]");
}

// The 1 goes in front of the last index, whatever the level of the row it stands for: one
// row further in (y) that is its place, two rows further in (z) it is not.
TEST(ArrayIndices, PutTheLevelAtTheOldDepthOfRowsWithin) {
    const Tree top;
    const ZHandle x = add(top, "x");
    add(x, "y");
    const ZHandle y2 = add(x, "y");
    add(y2, "z");
    const ZHandle z2 = add(y2, "z");
    add(z2, "leaf");
    EXPECT_EQ(tree(top), "top[x[y(1) y(2)[z(2,1) z(2,2)[leaf(2,2)]]]]");
    add(top, "x");
    EXPECT_EQ(tree(top), "top[x(1)[y(1,1) y(1,2)[z(2,1,1) z(2,1,2)[leaf(2,1,2)]]] x(2)]");
}

TEST(ArrayIndices, StayWhenElementsAreDeleted) {
    const Tree top;
    const ZHandle first = add(top, "a");
    add(top, "a");
    const ZHandle third = add(top, "a");
    EXPECT_EQ(ZxmlElem_delete(first), 1);
    EXPECT_EQ(tree(top), "top[a(2) a(3)]");
    // Two are left, so the next is the third, whatever the numbers there are.
    add(top, "a");
    EXPECT_EQ(tree(top), "top[a(2) a(3) a(3)]");
    ZxmlElem_delete(third);
    ZxmlElem_delete(ZxmlElem_first_child(top));
    EXPECT_EQ(tree(top), "top[a(3)]");
    // The one that is left has its level already and keeps its number.
    add(top, "a");
    EXPECT_EQ(tree(top), "top[a(3) a(2)]");
    while (ZxmlElem_first_child(top) != 0)
        ZxmlElem_delete(ZxmlElem_first_child(top));
    add(top, "a");
    EXPECT_EQ(tree(top), "top[a]") << "forgotten with the last of the name";
}

TEST(ArrayIndices, KnowNamesByTheirCase) {
    const Tree top;
    for (const char *name : {"a", "A", "\xE4", "\xC4", "", "ab"})
        add(top, name);
    EXPECT_EQ(tree(top), "top[a A \xE4 \xC4  ab]");
}

TEST(ArrayIndices, OutsideTheDepthAreMinusOneWithoutAnError) {
    const Tree top;
    const ZHandle a = add(top, "a");
    const ZHandle b = add(top, "b");
    add(top, "a");
    const struct {
        ZHandle element;
        int32_t level, expected;
    } kRows[] = {{a, 0, 1},          {a, 1, -1}, {a, -1, -1}, {a, INT32_MAX, -1},
                 {a, INT32_MIN, -1}, {b, 0, -1}, {b, -1, -1}, {b, 1, -1}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.level);
        forget_error();
        EXPECT_EQ(ZxmlElem_array_index(row.element, row.level), row.expected);
        EXPECT_EQ(error(), kUntouched);
    }
}

// 1001 levels, 0 .. 1000, are the most; one more ends as no memory does.
TEST(ArrayIndices, EndAtAThousandLevels) {
    const Tree top;
    ZHandle parent = top;
    for (int level = 0; level <= 1000; level++) {
        ASSERT_NE(add(parent, "a"), 0U);
        parent = add(parent, "a");
        ASSERT_NE(parent, 0U);
    }
    EXPECT_EQ(ZxmlElem_array_depth(parent), 1000);
    EXPECT_EQ(ZxmlElem_array_index(parent, 1000), 2);
    const ZHandle only = add(parent, "a");
    EXPECT_EQ(ZxmlElem_array_depth(only), 1000);
    forget_error();
    EXPECT_EQ(add(parent, "a"), 0U);
    EXPECT_EQ(error(), ZXML_NO_MEMORY);
    EXPECT_EQ(ZxmlElem_array_depth(only), 1000);
    EXPECT_EQ(ZxmlElem_first_child(parent), only);
    EXPECT_EQ(ZxmlElem_next_sibling(only), 0U);
    EXPECT_NE(add(parent, "b"), 0U);
}

// So does a row that gives one more level to elements far below.
TEST(ArrayIndices, EndAtAThousandLevelsBelowAsWell) {
    const Tree top;
    const ZHandle x = add(top, "x");
    ZHandle parent = x;
    for (int level = 0; level <= 1000; level++) {
        add(parent, "a");
        parent = add(parent, "a");
    }
    ASSERT_EQ(ZxmlElem_array_depth(parent), 1000);
    forget_error();
    EXPECT_EQ(add(top, "x"), 0U);
    EXPECT_EQ(error(), ZXML_NO_MEMORY);
    EXPECT_EQ(ZxmlElem_array_depth(x), -1);
    EXPECT_EQ(indices(ZxmlElem_first_child(x)), "1");
    EXPECT_EQ(ZxmlElem_next_sibling(x), 0U);
    EXPECT_EQ(ZxmlElem_array_depth(parent), 1000);
}

TEST(DeletedElements, TakeAllBelowWithThem) {
    const Tree top;
    const ZHandle a = add(top, "a");
    const ZHandle b = add(a, "b");
    const ZHandle c = add(b, "c");
    EXPECT_EQ(ZxmlElem_delete(a), 1);
    for (const ZHandle handle : {a, b, c})
        EXPECT_EQ(ZxmlElem_is_element(handle), 0);
    EXPECT_EQ(tree(top), "top");
    forget_error();
    EXPECT_EQ(ZxmlElem_delete(a), 0);
    EXPECT_EQ(error(), ZXML_BAD_ELEMENT);
}

// A host may free a handle by itself.
TEST(DeletedElements, FreedThroughTheHostAreCountedOut) {
    const Tree top;
    for (int i = 0; i < 40; i++)
        add(top, std::to_string(i).insert(0, 1, 'n').c_str());
    const ZHandle a = add(top, "a");
    EXPECT_EQ(H_FREE(a), 1);
    const ZHandle again = add(top, "a");
    EXPECT_EQ(indices(again), "-");
    EXPECT_EQ(ZxmlElem_next_sibling(again), 0U);
}

TEST(DeletedElements, TheTypeOfTheHandlesGoesWithTheLast) {
    for (int round = 0; round < 3; round++) {
        const ZHandle one = ZxmlElem_new(0, "one", -1, 0);
        const ZHandle two = ZxmlElem_new(0, "two", -1, 0);
        const int type = H_type(one);
        EXPECT_EQ(H_next(0, type), two);
        ZxmlElem_delete(one);
        EXPECT_NE(H_next(0, type), 0U);
        ZxmlElem_delete(two);
        // The number is free for the next type that is declared.
        const ZHandleType other{"other", 8, 0, nullptr};
        EXPECT_EQ(H_declare(&other), type);
        H_undeclare(type);
    }
}

TEST(DeletedElements, AFirstOneThatCannotBeMadeLeavesNoType) {
    const ZHandleType other{"other", 8, 0, nullptr};
    const int free_number = H_declare(&other);
    H_undeclare(free_number);
    ZHandle element = 0;
    for (int n = 1; element == 0 && n < 100; n++) {
        SCOPED_TRACE(n);
        ZMemoryRefuse(n, 1);
        element = ZxmlElem_new(7, "a first one", -1, 0);
        ZMemoryRefuse(0, 0);
        if (element == 0) {
            EXPECT_EQ(H_declare(&other), free_number);
            H_undeclare(free_number);
        }
    }
    EXPECT_EQ(H_type(element), free_number);
    EXPECT_EQ(ZxmlElem_delete(element), 1);
}

}  // namespace
