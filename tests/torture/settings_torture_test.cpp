// SPDX-License-Identifier: MIT
//
// The change handlers of XFD_MAP and 4GL_DB_MAP, and what looks their maps up,
// with the n-th request for memory refused, for every n until none was.
#include <gtest/gtest.h>

#include <string>

#include "fsi/4gl/kst4gl/dbmap.h"
#include "fsi/fsivars.h"
#include "host/config.h"
#include "host/memory.h"
#include "host/messages.h"
#include "host/strings.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/locate.h"

namespace {
ZCHandler general_handler;
}

// Stands in front of the reference host's: the handlers are called here, so that
// no request of the configuration counts.
int ZCDefineVariables(const ZCVariable *table, uint32_t count, int) {
    for (uint32_t i = 0; i < count; ++i) {
        if (std::string(table[i].name) == "XFD_MAP")
            general_handler = table[i].handler;
    }
    return 1;
}

namespace {

class SettingsTorture : public testing::Test {
 protected:
    void SetUp() override {
        fsi_init_cfg();
        errors_.clear();
        ZOutputRedirect(
            0,
            [](const char *text, size_t n, void *user) {
                static_cast<std::string *>(user)->append(text, n);
            },
            &errors_);
    }
    void TearDown() override {
        general_handler("XFD_MAP_RESETS", nullptr, 0, 0);
        general_handler("XFD_MAP", nullptr, 0, 0);
        fsi::db_map_handler("4GL_DB_MAP", nullptr, 0, 0);
        ZOutputRedirect(0, nullptr, nullptr);
        for (const char *tag : {"XFD map", "XFD map holder", "DB map", "DB MAP entry"})
            EXPECT_EQ(ZMemoryBlocks(tag), 0U) << tag;
    }

    // Calls a handler with a text; refuses the n-th request on the way, none for 0.
    // True when one was refused.
    static bool call(ZCHandler handler, const char *name, const char *text, int64_t n) {
        ZString value = ZSTRINGNew(64, "test", "test");
        ZSTRINGAppend(value, text);
        ZMemoryRefuse(n, 1);
        EXPECT_EQ(handler(name, value, 0, 1), 0);
        const bool refused = n != 0 && ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        ZSTRINGDelete(value);
        return refused;
    }

    std::string take_errors() {
        std::string text;
        text.swap(errors_);
        return text;
    }

    static std::string map_text() {
        std::string text;
        for (const fsi::NameMapEntry &entry : fsi::name_map())
            text.append(entry.pattern).append(">").append(entry.replacement).append(" ");
        return text;
    }

 private:
    std::string errors_;
};

TEST_F(SettingsTorture, NameMapStaysAsFarAsItWasBuilt) {
    int16_t off = 0;
    general_handler("XFD_MAP_RESETS", &off, off, 0);
    for (const char *start : {"", "a=b,c=d"}) {
        SCOPED_TRACE(start);
        general_handler("XFD_MAP", nullptr, 0, 0);
        call(general_handler, "XFD_MAP", start, 0);
        const std::string before = map_text();
        take_errors();
        int64_t n = 1;
        for (; call(general_handler, "XFD_MAP", "e=f,g=h", n); ++n) {
            EXPECT_EQ(map_text(), before) << n;
            EXPECT_EQ(take_errors(), "") << n;
        }
        // The array and the holder.
        EXPECT_EQ(n, 3);
        EXPECT_EQ(map_text(), before + "e>f g>h ");
        EXPECT_EQ(take_errors(), "Set parameter 'XFD_MAP' to 'e=f,g=h'\n");
    }
}

TEST_F(SettingsTorture, ARefusedReplacementLeavesAnEmptyMap) {
    for (int64_t n = 1; n <= 2; ++n) {
        call(general_handler, "XFD_MAP", "a=b,c=d", 0);
        EXPECT_TRUE(call(general_handler, "XFD_MAP", "e=f", n));
        EXPECT_EQ(map_text(), "");
    }
}

TEST_F(SettingsTorture, DatabaseMapKeepsItsEntries) {
    for (const char *start : {"", "/a=one"}) {
        SCOPED_TRACE(start);
        call(fsi::db_map_handler, "4GL_DB_MAP", start, 0);
        take_errors();
        const size_t blocks = ZMemoryBlocks(nullptr);
        int64_t n = 1;
        for (; call(fsi::db_map_handler, "4GL_DB_MAP", "/b=two", n); ++n) {
            EXPECT_EQ(take_errors(), "No memory for setting new 4GL_DB_MAP\n") << n;
            EXPECT_EQ(ZMemoryBlocks(nullptr), blocks) << n;
            EXPECT_EQ(Z4DBFromPath("/b/file"), nullptr);
            EXPECT_EQ(Z4DBFromPath("/a/file") != nullptr, *start != '\0');
        }
        EXPECT_GT(n, 1);
        EXPECT_EQ(take_errors(), "Set parameter '4GL_DB_MAP' to /b=two\n");
        EXPECT_STREQ(Z4DBFromPath("/b/file"), "two");
        fsi::db_map_handler("4GL_DB_MAP", nullptr, 0, 0);
    }
}

TEST_F(SettingsTorture, LookUpsFailWhole) {
    call(fsi::db_map_handler, "4GL_DB_MAP", "/a=one", 0);
    call(general_handler, "XFD_MAP", "a*=b", 0);
    ZMemoryRefuse(1, -1);
    EXPECT_EQ(Z4DBFromPath("/a/file"), nullptr);
    char name[260] = "apple";
    EXPECT_STREQ(Z4GetXFDName(name, name), "b");
    ZMemoryRefuse(0, 0);
    EXPECT_STREQ(Z4DBFromPath("/a/file"), "one");
}

}  // namespace
