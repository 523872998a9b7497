// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>

#include "tests/fsi/spies.h"
#include "tests/support/test_document.h"

namespace {

using namespace support;

constexpr const char *kDocument =
    "<!DOCTYPE a [<!ENTITY e 'text'><!ENTITY % pe 'p'><!ENTITY x SYSTEM 'sys'>"
    "<!NOTATION n PUBLIC 'pub' 'nsys'><!ENTITY u SYSTEM 'usys' NDATA n>"
    "<!ATTLIST a b CDATA 'v' c ID #REQUIRED d (p|q) #IMPLIED>]><a c='1'>&e;&x;</a>";

struct Row {
    const char *name;
    uint32_t flag;
    const char *expected;
};

constexpr Row kRows[] = {
    {"none", 0, ""},
    {"external", ZXML_EXTERNAL_ENTITIES, "+0 8 External entity reference x, (none), sys, (none)\n"},
    {"attribute lists", ZXML_ATTRIBUTE_LISTS,
     "+0 8 Attribute list a, b, CDATA, v, 0\n+0 8 Attribute list a, c, ID, (none), 1\n"
     "+0 8 Attribute list a, d, (p|q), (none), 0\n"},
    {"entities", ZXML_ENTITIES,
     "+0 8 Entity e, 0, text, (none), (none), (none), (none)\n"
     "+0 8 Entity pe, 1, p, (none), (none), (none), (none)\n"
     "+0 8 Entity x, 0, , (none), sys, (none), (none)\n"
     "+0 8 Entity u, 0, , (none), usys, (none), n\n"},
    {"unparsed", ZXML_UNPARSED_ENTITIES, "+0 8 Unparsed entity u, (none), usys, (none), n\n"},
    {"notations", ZXML_NOTATIONS, "+0 8 Notation n, (none), nsys, pub\n"},
};

TEST(TracedHandlers, EachFlagTracesItsEvents) {
    const Utf8Program utf8;
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        for (const int16_t level : {int16_t{0}, int16_t{1}}) {
            const spies::TraceLevel traced(level);
            spies::traces.clear();
            // What is traced changes nothing; nothing is loaded.
            EXPECT_EQ(read_whole(kDocument, kUsual | row.flag), "a c=\"1\" b=\"v\" = \"text\"\n");
            EXPECT_EQ(spies::take_traces(), level == 0 ? "" : row.expected);
        }
    }
    EXPECT_EQ(the_file.opened, 1);
}

}  // namespace
