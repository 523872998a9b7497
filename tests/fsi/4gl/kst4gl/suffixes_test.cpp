// SPDX-License-Identifier: MIT
#include "wbfsi/suffixes.h"

#include <gtest/gtest.h>

#include <string>

#include "host/config.h"
#include "host/memory.h"
#include "tests/fsi/spies.h"
#include "wbfsi/lifecycle.h"

namespace {

struct Suffixes : testing::Test {
    ~Suffixes() override {
        Z4DefineSuffixes(nullptr);
        EXPECT_EQ(ZMemoryBlocks("Suffix List"), 0U);
    }
    static std::string removed(std::string name) {
        EXPECT_EQ(Z4RemoveSuffix(name.data()), 0);
        return name.c_str();
    }
    // Which of the extensions the list holds, each with a blank.
    static std::string held(std::initializer_list<const char *> extensions) {
        std::string out;
        for (const char *extension : extensions) {
            if (removed("f." + std::string(extension)) == "f")
                out += std::string(extension) + ' ';
        }
        return out;
    }
};

TEST_F(Suffixes, TheDefaultListIsDat) {
    Z4Init();
    Z4DefineSuffixes(ZCGetValueString("4GL_IGNORED_SUFFIX_LIST"));
    Z4Exit();
    EXPECT_EQ(removed("orders.DAT"), "orders");
    EXPECT_EQ(removed("orders.idx"), "orders.idx");
}

TEST_F(Suffixes, OnlyTheLastExtensionCounts) {
    Z4DefineSuffixes("dat");
    EXPECT_EQ(removed("cust.dat.bak"), "cust.dat.bak");
    EXPECT_EQ(removed("cust.bak.dat"), "cust.bak");
    Z4DefineSuffixes("dat bak");
    EXPECT_EQ(removed("cust.dat.bak"), "cust.dat");
}

TEST_F(Suffixes, NamesThatStayWhole) {
    Z4DefineSuffixes("dat");
    for (const char *name : {"", "dat", "orders", "orders.", ".", "..", "orders.da", "orders.data",
                             "orders.dat ", "/old.dat/orders"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(removed(name), name);
    }
    EXPECT_EQ(removed(".dat"), "");
}

TEST_F(Suffixes, AreWordsBetweenWhiteSpace) {
    const struct {
        const char *list;
        const char *held;
    } kRows[] = {
        {".dat .IDX  .x", "dat idx x "},
        {"  dat\tidx\n", "dat idx "},
        {"\r\n\v\f..dat", "dat "},
        {"dat,idx", ""},
        {"dat , idx", "dat idx "},
        {"dat .", "dat "},
        {". . dat . idx", "dat idx "},
        {". .. ...", ""},
        {"   ", ""},
        {"", ""},
        {nullptr, ""},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.list != nullptr ? row.list : "null");
        Z4DefineSuffixes("old");
        Z4DefineSuffixes(row.list);
        EXPECT_EQ(held({"old", "dat", "idx", "x", ""}), row.held);
        EXPECT_EQ(ZMemoryBlocks("Suffix List"),
                  *row.held != '\0' || (row.list != nullptr && std::string(row.list) == "dat,idx")
                      ? 1U
                      : 0U);
    }
    Z4DefineSuffixes("dat,idx");
    EXPECT_EQ(removed("f.dat,idx"), "f");
    Z4DefineSuffixes("tar.gz");
    EXPECT_EQ(removed("f.tar.gz"), "f.tar.gz");
}

TEST_F(Suffixes, TenAreKept) {
    Z4DefineSuffixes("a b c . d e f g h i j k l");
    EXPECT_EQ(held({"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"}),
              "a b c d e f g h i j ");
}

TEST_F(Suffixes, WithoutMemoryTheListIsEmpty) {
    Z4DefineSuffixes("old");
    ZMemoryRefuse(1, 1);
    Z4DefineSuffixes("dat");
    EXPECT_EQ(ZMemoryRefused(), 1U);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(held({"old", "dat"}), "");
    EXPECT_EQ(ZMemoryBlocks("Suffix List"), 0U);
}

TEST_F(Suffixes, AreTraced) {
    const spies::TraceLevel level(1);
    spies::traces.clear();
    Z4DefineSuffixes(" dat .x");
    EXPECT_EQ(spies::take_traces(), "+1 5 Z4DefineSuffixes: ' dat .x'\n-1 5 Returning\n");
    Z4DefineSuffixes(nullptr);
    EXPECT_EQ(spies::take_traces(), "+1 5 Z4DefineSuffixes: 'nil'\n-1 5 Returning\n");
    removed("a.dat");
    EXPECT_EQ(spies::take_traces(), "");
    f_trace = 0;
    Z4DefineSuffixes("dat");
    removed("a.dat");
    EXPECT_EQ(spies::take_traces(), "");
}

}  // namespace
