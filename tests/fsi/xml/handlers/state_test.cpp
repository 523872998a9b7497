// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "host/containers.h"
#include "host/memory.h"
#include "tests/support/test_document.h"
#include "wbfsi/xml_expat.h"

namespace {

using namespace support;

// Programs reach for the members themselves: each follows the one before.
TEST(State, MembersStandInTheirOrder) {
    const size_t offsets[] = {offsetof(ZxmlExpatState, parser),
                              offsetof(ZxmlExpatState, flags),
                              offsetof(ZxmlExpatState, version),
                              offsetof(ZxmlExpatState, encoding),
                              offsetof(ZxmlExpatState, buffer),
                              offsetof(ZxmlExpatState, position),
                              offsetof(ZxmlExpatState, end),
                              offsetof(ZxmlExpatState, encoding_type),
                              offsetof(ZxmlExpatState, element_depth),
                              offsetof(ZxmlExpatState, standalone),
                              offsetof(ZxmlExpatState, instructions),
                              offsetof(ZxmlExpatState, top_element),
                              offsetof(ZxmlExpatState, current_element),
                              offsetof(ZxmlExpatState, element_hash),
                              offsetof(ZxmlExpatState, models),
                              offsetof(ZxmlExpatState, top_comments),
                              offsetof(ZxmlExpatState, pending_comments),
                              offsetof(ZxmlExpatState, doctype_name),
                              offsetof(ZxmlExpatState, doctype_text),
                              offsetof(ZxmlExpatState, public_id),
                              offsetof(ZxmlExpatState, system_id),
                              offsetof(ZxmlExpatState, state_bits)};
    for (size_t i = 1; i < std::size(offsets); i++)
        EXPECT_LT(offsets[i - 1], offsets[i]) << i;
    if constexpr (sizeof(void *) == 4) {
        for (size_t i = 0; i < std::size(offsets); i++)
            EXPECT_EQ(offsets[i], 4 * i) << i;
        EXPECT_EQ(sizeof(ZxmlExpatState), 88U);
        EXPECT_EQ(sizeof(ZxmlHashNode), 12U);
    }
}

TEST(State, ANewParserIsEmpty) {
    ZxmlExpatState *state = expat_create_parser(kUsual | ZXML_HASH);
    ASSERT_NE(state, nullptr);
    EXPECT_NE(state->parser, nullptr);
    EXPECT_EQ(state->flags, kUsual | ZXML_HASH);
    EXPECT_NE(state->buffer, nullptr);
    EXPECT_EQ(state->position, state->end);
    EXPECT_EQ(state->encoding_type, -1);
    EXPECT_EQ(state->element_depth, 0U);
    EXPECT_EQ(state->standalone, 0);
    EXPECT_EQ(state->top_element | state->current_element | state->state_bits, 0U);
    EXPECT_NE(state->element_hash, nullptr);
    EXPECT_EQ(state->version, nullptr);
    EXPECT_EQ(state->encoding, nullptr);
    EXPECT_EQ(state->instructions, nullptr);
    EXPECT_EQ(state->models, nullptr);
    for (const ZString string : {state->top_comments, state->pending_comments, state->doctype_name,
                                 state->doctype_text, state->public_id, state->system_id})
        EXPECT_EQ(string, nullptr);
    EXPECT_EQ(ZMemoryInUse("XML parser buffer"), 32001U);
    expat_destroy_parser(state);
    expat_destroy_parser(nullptr);
}

// What a program that accounts for its memory sees, and that all is given back.
TEST(State, MemoryIsAccountedForByWhatItHolds) {
    const std::string text =
        "<?xml version='1.0' encoding='UTF-8'?><!-- top --><?p d?>"
        "<!DOCTYPE a PUBLIC 'p' 's' [\n<!ELEMENT a ANY>]><a x='1'><!-- waits -->text";
    constexpr const char *kTags[] = {"XML Parser information",
                                     "EXPAT library memory",
                                     "XML parser buffer",
                                     "XML parser elements",
                                     "Element hash",
                                     "Processing instructions array",
                                     "Target processing instruction",
                                     "Data for processing instruction",
                                     "XML Models",
                                     "XML Comments at top level",
                                     "XML Comments for element",
                                     "XML DOCTYPE string",
                                     "XML DOCTYPE internal string",
                                     "XML PubId string",
                                     "XML SysId string"};
    const size_t before = ZMemoryBlocks(nullptr);
    for (const char *tag : kTags)
        EXPECT_EQ(ZMemoryBlocks(tag), 0U) << tag;
    ZxmlExpatState *state = expat_create_parser(kUsual | ZXML_HASH | ZXML_ELEMENT_DECLARATIONS);
    ASSERT_NE(state, nullptr);
    state->position = text.data();
    state->end = text.data() + text.size();
    while (state->element_depth == 0)
        parse_to_next_greaterthan(state, nullptr);
    parse_to_next_greaterthan(state, nullptr);
    EXPECT_EQ(told_error(), "0");
    for (const char *tag : kTags)
        EXPECT_GT(ZMemoryBlocks(tag), 0U) << tag;
    EXPECT_EQ(state->state_bits & (ZXML_IN_DOCTYPE | ZXML_DOCTYPE_ENDED),
              uint32_t{ZXML_IN_DOCTYPE | ZXML_DOCTYPE_ENDED});
    EXPECT_STREQ(ZStringGet(state->pending_comments), "waits");
    expat_destroy_parser(state);
    for (const char *tag : kTags)
        EXPECT_EQ(ZMemoryBlocks(tag), 0U) << tag;
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

}  // namespace
