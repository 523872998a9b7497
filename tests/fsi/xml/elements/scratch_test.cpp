// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/scratch.h"

#include <gtest/gtest.h>

#include "host/memory.h"
#include "tests/fsi/xml/elements/element_fixture.h"
#include "wbfsi/xml_element.h"

namespace {

constexpr const char *kTag = "XML parser scratch string for character conversions";

class Scratch : public testing::Test {
 protected:
    Scratch() { fsi::xml::free_scratch(); }
    ~Scratch() override { fsi::xml::free_scratch(); }
};

TEST_F(Scratch, IsAbsentUntilItIsUsed) {
    EXPECT_EQ(xml_scratch, nullptr);
    EXPECT_EQ(xml_scratchlen, 0);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
    EXPECT_EQ(validate_scratch(10), 1);
    EXPECT_NE(xml_scratch, nullptr);
    EXPECT_EQ(xml_scratchlen, 10);
    EXPECT_EQ(ZMemoryBlocks(kTag), 1U);
    fsi::xml::free_scratch();
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

TEST_F(Scratch, GrowsToExactlyWhatIsAskedAndNeverShrinks) {
    const struct {
        int32_t n, expected;
    } kRows[] = {{1, 1}, {2, 2}, {100, 100}, {99, 100}, {1, 100}, {100, 100}, {101, 101}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.n);
        EXPECT_EQ(validate_scratch(row.n), 1);
        EXPECT_EQ(xml_scratchlen, row.expected);
        xml_scratch[xml_scratchlen - 1] = 'x';
    }
    // Only one that is longer than what is asked for stays as it is.
    ZMemoryRefuse(1, -1);
    EXPECT_EQ(validate_scratch(100), 1);
    EXPECT_EQ(validate_scratch(101), 0);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(xml_scratch, nullptr);
}

TEST_F(Scratch, OfNoBytesIsNever) {
    EXPECT_EQ(validate_scratch(0), 0);
    EXPECT_EQ(xml_scratch, nullptr);
    EXPECT_EQ(validate_scratch(5), 1);
    EXPECT_EQ(validate_scratch(0), 0);
    EXPECT_EQ(validate_scratch(-1), 0);
    EXPECT_EQ(validate_scratch(INT32_MIN), 0);
    EXPECT_EQ(xml_scratchlen, 5) << "what there is stays";
}

TEST_F(Scratch, WithoutMemoryIsGone) {
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(validate_scratch(5), 0);
    EXPECT_EQ(xml_scratch, nullptr);
    EXPECT_EQ(validate_scratch(5), 1);
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(validate_scratch(100000), 0);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(xml_scratch, nullptr);
    EXPECT_EQ(xml_scratchlen, 0);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
    EXPECT_EQ(validate_scratch(5), 1);
}

// Setters leave it as large as the UTF-8 of the text, with its zero byte where the text
// was taken up to that.
TEST_F(Scratch, IsSizedByTheSetters) {
    const elements::Tree top("");
    EXPECT_EQ(xml_scratchlen, 0) << "an empty text needs none";
    const struct {
        const char *text;
        int32_t length, expected;
    } kRows[] = {{"ab", 2, 2}, {"abc", -1, 4}, {"abcde", 3, 4}, {"\xE9\xE9\xE9", 3, 6}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(ZxmlElem_append_value(top, row.text, row.length, 1), 1);
        EXPECT_EQ(xml_scratchlen, row.expected);
    }
    EXPECT_EQ(ZxmlElem_add_attribute(top, "1234567", 7, "12345678", 8), 1);
    EXPECT_EQ(xml_scratchlen, 8);
    EXPECT_EQ(ZxmlElem_modify_attribute(top, 0, "123456789", 9), 1);
    EXPECT_EQ(xml_scratchlen, 9);
    EXPECT_EQ(ZxmlElem_append_comment(top, "1234567890", 10), 1);
    EXPECT_EQ(xml_scratchlen, 10);
    EXPECT_EQ(ZxmlElem_set_value(top, "12345678901", 11), 1);
    EXPECT_EQ(xml_scratchlen, 11);
    EXPECT_EQ(elements::value(top), "12345678901");
}

}  // namespace
