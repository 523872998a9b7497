// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "fsi/xml/parsexml/parser.h"
#include "tests/fsi/spies.h"
#include "tests/support/test_document.h"

namespace {

using namespace support;

std::string expected_state(ZHandle parser, const char *middle) {
    char head[64];
    std::snprintf(head, sizeof head, "XML parser: %p\n",
                  static_cast<void *>(fsi::xml::require_parser(parser)->state->parser));
    const std::string text = std::string(head) + middle;
    return text + "Done --------------------------\n";
}

TEST(DumpDocument, ListsTheStateAndTheElements) {
    const Utf8Program utf8;
    const ZHandle parser =
        open_file("<?xml version='1.0' encoding='utf-8' standalone='yes'?><a><b>x</b></a>", kUsual);
    ZxmlParser_parse_record(parser);
    const ZHandle top = ZxmlParser_top_element(parser);
    const std::string middle =
        " Flags: 408f8\n version: 1.0\n encoding: utf-8\n encoding type: 2\n element depth: 1\n"
        " standalone: Yes\n Top element: " +
        std::to_string(top) + "\nElements ----------------------\n " +
        std::to_string(ZxmlElem_first_child(top)) + " - b = x\n";
    spies::ErrorOutput output;
    dump_parser(fsi::xml::require_parser(parser)->state);
    EXPECT_EQ(output.take(), expected_state(parser, middle.c_str()));

    ZxmlParser_dump(parser);
    const auto stream = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&the_file));
    EXPECT_EQ(output.take(),
              "Dumping parser " + std::to_string(parser) + "\nfxml: " + std::to_string(stream) +
                  "\nfilename: the-file.xml\n" + expected_state(parser, middle.c_str()));
    ZxmlParser_release(parser);
}

TEST(DumpDocument, ListsWhatIsNotThere) {
    const ZHandle parser = ZxmlParser_new(nullptr, 0, 0);
    spies::ErrorOutput output;
    ZxmlParser_dump(parser);
    EXPECT_EQ(output.take(),
              "Dumping parser " + std::to_string(parser) + "\nfxml: 0\nfilename: \n" +
                  expected_state(parser,
                                 " Flags: 0\n version: (none)\n encoding: (none)\n"
                                 " encoding type: -1\n element depth: 0\n standalone: No\n"
                                 " Top element: 0\nElements ----------------------\n"));
    ZxmlParser_release(parser);
    ZxmlParser_dump(parser);
    EXPECT_EQ(output.take(), "Dumping parser " + std::to_string(parser) + "\nParser is null\n");
    int32_t number = 0;
    ZxmlParser_error(&number);
    EXPECT_EQ(number, 5);
    dump_parser(nullptr);
    EXPECT_EQ(output.take(), "");
}

}  // namespace
