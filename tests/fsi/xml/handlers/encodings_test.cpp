// SPDX-License-Identifier: MIT
//
// Every byte of the two encodings, against the host's own tables.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/test_document.h"

namespace {

using namespace support;

std::string utf8_of(int code_page, char byte) {
    const int before = ZSetCOBOLCharSet(code_page);
    std::string text =
        fetched([&](char *b, int32_t n) { return ZCOBOLCharSetToUTF8(&byte, 1, b, n); });
    ZSetCOBOLCharSet(before);
    return text;
}

TEST(Encodings, EveryByte) {
    const Utf8Program utf8;
    struct Row {
        const char *encoding;
        int code_page;
        std::string undefined;
    };
    for (const Row &row : {Row{"Windows-1252", 1252, "\x81\x8D\x8F\x90\x9D"},
                           Row{"iso-8859-2", 28592, ""}, Row{"ISO-8859-2", 28592, ""}}) {
        for (int byte = 0x21; byte < 0x100; byte++) {
            const char c = static_cast<char>(byte);
            if (c == '<' || c == '&' || c == '\'')
                continue;
            SCOPED_TRACE(std::string(row.encoding) + " " + std::to_string(byte));
            const std::string document = std::string("<?xml version='1.0' encoding='") +
                                         row.encoding + "'?><a x='" + c + "'/>";
            const std::string result = read_whole(document);
            if (row.undefined.find(c) != std::string::npos)
                EXPECT_EQ(result.substr(0, 5), "19 5 ");
            else
                EXPECT_EQ(result, "a x=\"" + utf8_of(row.code_page, c) + "\"\n");
        }
    }
}

TEST(Encodings, OthersAreRefused) {
    for (const char *name : {"Windows-1250", "iso-8859-15", "iso-8859-20", "KOI8-R"}) {
        EXPECT_EQ(read_whole(std::string("<?xml version='1.0' encoding='") + name + "'?><a/>"),
                  "19 5 18 unknown encoding");
    }
}

}  // namespace
