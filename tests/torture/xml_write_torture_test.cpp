// SPDX-License-Identifier: MIT
//
// Pieces of text and elements written to a string with the n-th request for memory
// refused, for every n until none was: what the target took is what is counted, what
// it did not take is missing whole, and no block is left behind.  Documents are in
// write_document_test.cpp.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "fsi/xml/elements/scratch.h"
#include "host/memory.h"
#include "host/strings.h"
#include "wbfsi/xml_element.h"
#include "wbfsi/xml_writer.h"

namespace {

constexpr int kMostRequests = 100;
constexpr int64_t kUncounted = -1;

// Longer than the writer gathers at once.
std::string long_text() {
    std::string text;
    for (int i = 0; i < 3000; i++)
        text += "a<\xC3\xA9\xE2\x82\xAC\n";
    return text;
}
const std::string kText = long_text();

struct Operation {
    const char *row;
    // On a string and an element; the bytes that it says were taken.
    std::function<int64_t(ZString to, int32_t type, ZHandle element)> run;
};

int64_t write_piece(ZString to, int32_t type, uint32_t flags) {
    const ZxmlTextPiece piece{kText.data(), static_cast<int32_t>(kText.size()), 2};
    return ZxmlElem_write_with_encoding(to, type, &piece, flags);
}

const Operation kOperations[] = {
    {"a piece as it is",
     [](ZString to, int32_t type, ZHandle) { return write_piece(to, type, 0); }},
    {"a piece escaped",
     [](ZString to, int32_t type, ZHandle) { return write_piece(to, type, ZXML_ESCAPE); }},
    {"lines",
     [](ZString to, int32_t type, ZHandle) {
         return int64_t{ZxmlElem_write_ascii(to, type, kText.c_str(), ZXML_ESCAPE | ZXML_TRIM)};
     }},
    {"a newline",
     [](ZString to, int32_t type, ZHandle) { return int64_t{ZxmlElem_write_newline(to, type)}; }},
    {"an element",
     [](ZString to, int32_t type, ZHandle element) {
         EXPECT_EQ(ZxmlElem_write(to, type, element, 0), 1);
         return kUncounted;
     }},
};

TEST(XmlWriteTorture, WhatIsTakenIsCounted) {
    const ZHandle top = ZxmlElem_new(0, "top", -1, 0);
    ZxmlElem_append_comment(top, kText.c_str(), -1);
    ZxmlElem_set_value(ZxmlElem_add_child(top, "child", -1), kText.c_str(), -1);
    ZxmlElem_add_attribute(top, "name", -1, kText.c_str(), -1);
    for (const Operation &operation : kOperations) {
        for (const int32_t type : {0, 1, 2, 3, 5, 7}) {
            fsi::xml::free_scratch();
            const size_t before = ZMemoryBlocks(nullptr);
            std::string whole;
            int refused = 0;
            for (int n = 0; n < kMostRequests; n++) {
                SCOPED_TRACE(testing::Message()
                             << operation.row << " in type " << type << ", request " << n);
                const ZString string = ZSTRINGNew(0, "test", "test");
                ZMemoryRefuse(n, 1);
                const int64_t count = operation.run(string, type, top);
                const bool is_refused = ZMemoryRefused() != 0;
                ZMemoryRefuse(0, 0);
                const std::string text(ZStringGet(string), ZStringGetLength(string));
                ZSTRINGDelete(string);
                fsi::xml::free_scratch();
                EXPECT_EQ(ZMemoryBlocks(nullptr), before);
                if (count != kUncounted) {
                    EXPECT_EQ(count, static_cast<int64_t>(text.size()));
                }
                if (n == 0) {
                    whole = text;
                    continue;
                }
                // Without the scratch buffer texts are converted in small steps.
                const bool is_whole = !is_refused || (n == 1 && type >= 3);
                if (is_whole) {
                    EXPECT_TRUE(text == whole);
                }
                EXPECT_LE(text.size(), whole.size());
                if (!is_refused)
                    break;
                refused++;
                ASSERT_LT(n, kMostRequests - 1);
            }
            EXPECT_FALSE(whole.empty());
            // A newline has room in any string.
            EXPECT_EQ(refused != 0, whole.size() > 2 || type >= 3);
        }
    }
    ZxmlElem_delete(top);
    fsi::xml::free_scratch();
}

}  // namespace
