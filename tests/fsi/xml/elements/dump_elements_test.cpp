// SPDX-License-Identifier: MIT
//
// The listing of elements, to the byte.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "fsi/xml/elements/scratch.h"
#include "host/charset.h"
#include "host/memory.h"
#include "tests/fsi/spies.h"
#include "tests/fsi/xml/elements/element_fixture.h"
#include "wbfsi/xml_writer.h"

namespace {

using elements::Tree;

std::string dumped(ZHandle element, int32_t level) {
    spies::ErrorOutput output;
    ZxmlElem_dump(element, level);
    return output.take();
}

// An element's line: so many blanks, its number, and the rest as it is.
std::string line(size_t blanks, ZHandle element, std::string_view rest) {
    std::string text(blanks, ' ');
    return text.append(std::to_string(element)).append(" - ").append(rest);
}

TEST(DumpElements, ValuesAndLevels) {
    const Tree top("a");
    EXPECT_EQ(dumped(top, 1), "");
    const ZHandle b = ZxmlElem_add_child(top, "b", -1);
    const ZHandle c = ZxmlElem_add_child(b, "c", -1);
    const ZHandle d = ZxmlElem_add_child(top, "d", -1);
    ZxmlElem_set_value(b, "some text", -1);
    ZxmlElem_append_value(d, "", 0, 1);
    EXPECT_EQ(dumped(top, 1),
              line(1, b, "b = some text\n") + line(2, c, "c\n") + line(1, d, "d = \n"));
    // The blank in front is there at any level.
    EXPECT_EQ(dumped(b, 0), line(1, c, "c\n"));
    EXPECT_EQ(dumped(b, 4), line(4, c, "c\n"));
}

// The width of a printed field: its sign is where the blanks stand, which are blanks.
TEST(DumpElements, LevelsBelowZeroAndAtTheEnds) {
    const Tree top("a");
    const ZHandle b = ZxmlElem_add_child(top, "b", -1);
    ZxmlElem_add_attribute(b, "x", 1, "1", 1);
    EXPECT_EQ(dumped(top, -3), line(3, b, "b\n b = 1\n"));
    EXPECT_EQ(dumped(top, -6), line(6, b, "b\n  b = 1\n"));
    ZxmlElem_add_child(ZxmlElem_add_child(b, "", 0), "d", -1);
    // A million blanks are the most, however many are asked for.
    const std::string blanks(1'000'000, ' ');
    for (const int32_t level : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 4, INT32_MAX}) {
        SCOPED_TRACE(level);
        EXPECT_TRUE(dumped(top, level) ==
                    line(blanks.size(), b, "b\n").append(blanks).append("b = 1\n"));
    }
}

TEST(DumpElements, IndicesOfArrays) {
    const Tree top("a");
    const ZHandle b = ZxmlElem_add_child(top, "b", -1);
    const ZHandle b2 = ZxmlElem_add_child(top, "b", -1);
    const ZHandle c = ZxmlElem_add_child(b2, "c", -1);
    const ZHandle c2 = ZxmlElem_add_child(b2, "c", -1);
    ZxmlElem_set_value(c2, "x", 1);
    EXPECT_EQ(dumped(top, 1), line(1, b, "b( 1)\n") + line(1, b2, "b( 2)\n") +
                                  line(2, c, "c( 2, 1)\n") + line(2, c2, "c( 2, 2) = x\n"));
}

TEST(DumpElements, InPlaceOfAnAttributesNameStandsTheTextBefore) {
    const Tree top("a");
    const ZHandle b = ZxmlElem_add_child(top, "b", -1);
    ZxmlElem_add_attribute(b, "x", -1, "first", -1);
    ZxmlElem_add_attribute(b, "a name that is long", -1, "", -1);
    ZxmlElem_add_attribute(b, "y", -1, "third", -1);
    EXPECT_EQ(dumped(top, 1), line(1, b, "b\n     b = first\n     first = \n      = third\n"));
    ZxmlElem_set_value(b, "value", -1);
    EXPECT_EQ(dumped(top, 2),
              line(2, b, "b = value\n      value = first\n      first = \n       = third\n"));
}

TEST(DumpElements, ElementsWithoutANameAreLeftOutWithAllBelow) {
    const Tree top("a");
    const ZHandle unnamed = ZxmlElem_add_child(top, "", 0);
    ZxmlElem_add_child(unnamed, "b", -1);
    const ZHandle c = ZxmlElem_add_child(top, "c", -1);
    EXPECT_EQ(dumped(top, 1), line(1, c, "c\n"));
}

TEST(DumpElements, TextsAreInTheProgramsCharacterSet) {
    const int before = ZSetCOBOLCharSet(65001);
    const Tree top("a");
    const ZHandle b = ZxmlElem_add_child(top, "é", -1);
    ZxmlElem_set_value(b, "ü%s", -1);
    EXPECT_EQ(dumped(top, 1), line(1, b, "é = ü%s\n"));
    ZSetCOBOLCharSet(28591);
    EXPECT_EQ(dumped(top, 1), line(1, b, "\xE9 = \xFC%s\n"));
    ZSetCOBOLCharSet(before);
}

TEST(DumpElements, BadHandlesListNothing) {
    const elements::BadHandles bad;
    for (const auto &row : bad.rows) {
        SCOPED_TRACE(row.what);
        elements::forget_error();
        EXPECT_EQ(dumped(row.handle, 1), "");
        EXPECT_EQ(elements::error(), ZXML_BAD_ELEMENT);
    }
}

TEST(DumpElements, WithoutMemoryTextsAreMissing) {
    const Tree top("a");
    const ZHandle b = ZxmlElem_add_child(top, "bb", -1);
    ZxmlElem_add_attribute(b, "a name that is longer", -1, "the attribute", -1);
    for (int n = 1; n < 20; n++) {
        SCOPED_TRACE(n);
        fsi::xml::free_scratch();
        ZMemoryRefuse(n, 1);
        const std::string text = dumped(top, 1);
        const bool is_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        const std::string whole = line(1, b, "bb\n     bb = the attribute\n");
        if (!is_refused) {
            EXPECT_EQ(text, whole);
            EXPECT_GT(n, 2);
            return;
        }
        const std::string first = n == 1 ? "" : "bb";
        const std::string second = n == 2 ? "" : first;
        const std::string third = n == 3 ? "" : "the attribute";
        EXPECT_EQ(text, line(1, b, first)
                            .append("\n     ")
                            .append(second)
                            .append(" = ")
                            .append(third)
                            .append("\n"));
    }
    FAIL() << "each of the requests was refused";
}

TEST(DumpElements, DeepTreesNeedNoStack) {
    constexpr int kDepth = 3'000;
    const Tree top("a");
    ZHandle at = top;
    for (int i = 0; i < kDepth; i++)
        at = ZxmlElem_add_child(at, "a", -1);
    spies::ErrorOutput output;
    ZHandle handle = top;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    pthread_t thread;
    const auto run = [](void *argument) -> void * {
        ZxmlElem_dump(*static_cast<ZHandle *>(argument), 1);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &handle), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const std::string text = output.take();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), kDepth);
    EXPECT_TRUE(text.ends_with(line(kDepth, at, "a\n")));
}

}  // namespace
