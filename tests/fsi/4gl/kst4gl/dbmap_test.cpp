// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/dbmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/config.h"
#include "host/memory.h"
#include "host/names.h"
#include "host/strings.h"
#include "tests/fsi/spies.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/locate.h"

namespace {

// The first byte of a character of two; none by default.
char lead_byte;

}  // namespace

// These stand in front of the reference host's, whatever its code page.
char *dbc_next(const char *text) {
    const size_t length = *text == lead_byte && text[1] != '\0' ? 2 : 1;
    return const_cast<char *>(text) + length;
}

char *Zdbc_strchr(const char *text, int c) {
    for (; *text != '\0'; text = dbc_next(text)) {
        if (*text == c)
            return const_cast<char *>(text);
    }
    return nullptr;
}

namespace {

class DbMap : public testing::Test {
 protected:
    void SetUp() override { Z4Init(); }
    void TearDown() override {
        ZCAnnounce(0);
        set(nullptr);
        Z4Exit();
        EXPECT_EQ(ZMemoryBlocks("DB map"), 0U);
        EXPECT_EQ(ZMemoryBlocks("DB MAP entry"), 0U);
        EXPECT_EQ(ZMemoryBlocks("DB map path"), 0U);
    }

    static int set(const char *value) { return ZCSetValueString("4GL_DB_MAP", value); }
    static std::string database(const char *path) {
        const char *found = Z4DBFromPath(path);
        return found == nullptr ? "none" : found;
    }
};

TEST_F(DbMap, NamesADirectorysDatabase) {
    const struct {
        const char *row;
        const char *setting;
        const char *path;
        const char *expected;
    } kRows[] = {
        {"plain", "/data/acct=ledger", "/data/acct/file", "ledger"},
        {"blanks around", "/data/acct = ledger ", "/data/acct/file", "ledger"},
        {"all white space", "/data/acct\t\v=\f\r\n ledger\t\n", "/data/acct/file", "ledger"},
        {"leading blanks of the directory stay", " /data/acct=ledger", "/data/acct/file", "none"},
        {"blanks within", "/my data = my ledger", "/my data/file", "my ledger"},
        {"only the first = splits", "/data=a=b", "/data/file", "a=b"},
        {"with a slash", "/data/acct/=ledger", "/data/acct/file", "ledger"},
        {"with a backslash", "/data/acct\\=ledger", "/data/acct/file", "ledger"},
        {"the root", "/=root", "/file", "root"},
        {"the root as nothing", "=root", "/file", "root"},
        {"an empty database", "/data=", "/data/file", ""},
        {"a blank database", "/data=  ", "/data/file", ""},
        {"not a parent", "/data=ledger", "/data/acct/file", "none"},
        {"not a child", "/data/acct=ledger", "/data/file", "none"},
        {"case counts", "/DATA=ledger", "/data/file", "none"},
        {"a relative directory", "data=ledger", "data/file", "ledger"},
        {"a path that ends in a separator", "/data/acct=ledger", "/data/acct/", "ledger"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        ASSERT_EQ(set(row.setting), 1);
        EXPECT_EQ(database(row.path), row.expected);
        set(nullptr);
    }
}

TEST_F(DbMap, SpellingsOfADirectoryAreTriedInOrder) {
    ASSERT_EQ(set("/data/acct\\=third"), 1);
    EXPECT_EQ(database("/data/acct/file"), "third");
    ASSERT_EQ(set("/data/acct/=second"), 1);
    EXPECT_EQ(database("/data/acct/file"), "second");
    ASSERT_EQ(set("/data/acct=first"), 1);
    EXPECT_EQ(database("/data/acct/file"), "first");
}

TEST_F(DbMap, SettingsAccumulateAndClearingDropsAll) {
    ASSERT_EQ(set("/a=one"), 1);
    ASSERT_EQ(set("/b=two"), 1);
    ASSERT_EQ(set("/c=three"), 1);
    EXPECT_EQ(database("/a/f") + database("/b/f") + database("/c/f"), "onetwothree");
    ASSERT_EQ(set("/b=four"), 1);
    EXPECT_EQ(database("/b/f"), "four");
    for (const char *clearing : {static_cast<const char *>(nullptr), ""}) {
        set("/a=one");
        set(clearing);
        EXPECT_EQ(database("/a/f") + database("/b/f"), "nonenone");
    }
}

TEST_F(DbMap, MapSurvivesTheTableItWasSetBy) {
    ASSERT_EQ(set("/a=one"), 1);
    Z4Exit();
    EXPECT_EQ(database("/a/f"), "one");
    Z4Init();
}

TEST_F(DbMap, TrailBytesAreNeitherSeparatorsNorBlanks) {
    lead_byte = '\x81';
    const struct {
        const char *row;
        const char *setting;
        const char *path;
        const char *expected;
    } kRows[] = {
        {"= as a trail byte", "/a\x81=b=ledger", "/a\x81=b/file", "ledger"},
        {"a blank as the last trail byte", "/a\x81 =led\x81 ", "/a\x81 /file", "led\x81 "},
        {"blanks behind it", "/a\x81  =led\x81   ", "/a\x81 /file", "led\x81 "},
        {"a lead byte at the end", "/a=led\x81", "/a/file", "led\x81"},
        {"a lead byte before the =", "/a\x81=ledger", "/a\x81/file", "none"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        set(row.setting);
        EXPECT_EQ(database(row.path), row.expected);
        set(nullptr);
    }
    lead_byte = '\0';
}

// One setting by the rule: what stands before the first "=" without blanks at
// its end, and what stands behind it without blanks at either.
TEST_F(DbMap, EverySettingIsSplitByOneRule) {
    std::vector<std::string> texts = {""};
    for (size_t i = 0; texts[i].size() < 6; ++i) {
        for (const char c : std::string("a= /"))
            texts.push_back(texts[i] + c);
    }
    for (const std::string &text : texts) {
        SCOPED_TRACE("'" + text + "'");
        const size_t equals = text.find('=');
        const std::string directory = text.substr(0, std::min(equals, text.size()));
        const std::string trimmed = directory.substr(0, directory.find_last_not_of(' ') + 1);
        std::string expected = "none";
        if (equals != text.npos) {
            expected = text.substr(equals + 1);
            expected.erase(0, std::min(expected.find_first_not_of(' '), expected.size()));
            expected.erase(expected.find_last_not_of(' ') + 1);
        }
        set(text.c_str());
        // A path in the directory; the map tries it without its separator first.
        const std::string path =
            (trimmed.empty() || trimmed.back() != '/' ? trimmed + "/" : trimmed) + "file";
        ASSERT_EQ(database(path.c_str()), expected);
        set(nullptr);
    }
}

TEST_F(DbMap, AnnouncesWhatItDoes) {
    spies::ErrorOutput errors;
    ZCAnnounce(1);
    spies::messages.clear();
    set("/data/acct = ledger ");
    EXPECT_EQ(errors.take(), "Set parameter '4GL_DB_MAP' to /data/acct = ledger \n");
    EXPECT_EQ(spies::take_messages(), "673/0\n");
    set("no mapping");
    EXPECT_EQ(errors.take(), "Bad format for variable 4GL_DB_MAP, 'no mapping'\n");
    EXPECT_EQ(database("/data/acct/f"), "ledger");
    set("");
    EXPECT_EQ(errors.take(), "Set parameter '4GL_DB_MAP' to NULL\n");
    set(nullptr);
    EXPECT_EQ(errors.take(), "Set parameter '4GL_DB_MAP' to NULL\n");
    EXPECT_EQ(spies::take_messages(), "673/0\n673/0\n");
}

TEST_F(DbMap, IsSilentUnlessAnnounced) {
    spies::ErrorOutput errors;
    spies::messages.clear();
    set("/data=ledger");
    set("no mapping");
    set("");
    set(nullptr);
    EXPECT_EQ(errors.take(), "");
    EXPECT_EQ(spies::take_messages(), "");
}

TEST_F(DbMap, RefusedMemoryIsReportedWhenAnnounced) {
    // The handler by itself, so that no request of the configuration counts.
    ZString value = ZSTRINGNew(16, "test", "test");
    ZSTRINGAppend(value, "/data=ledger");
    spies::ErrorOutput errors;
    for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        ZMemoryRefuse(n, 1);
        fsi::db_map_handler("4GL_DB_MAP", value, 0, 0);
        const bool refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(errors.take(), "");
        EXPECT_EQ(database("/data/f"), refused ? "none" : "ledger");
        if (!refused)
            break;

        ZMemoryRefuse(n, 1);
        EXPECT_EQ(fsi::db_map_handler("4GL_DB_MAP", value, 0, 1), 0);
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(errors.take(), "No memory for setting new 4GL_DB_MAP\n");
    }
    ZSTRINGDelete(value);
}

TEST_F(DbMap, TracesTheLookUp) {
    const spies::TraceLevel level(1);
    database("/data/acct/file");
    EXPECT_EQ(spies::take_traces(),
              "+1 8 Z4DBFromPath: /data/acct/file\n-1 8 Leaving, no db_map\n");
    set("/data/acct=ledger");
    spies::traces.clear();
    database("file");
    EXPECT_EQ(spies::take_traces(), "+1 8 Z4DBFromPath: file\n-1 8 Leaving, no directory info\n");
    database("/data/file");
    EXPECT_EQ(spies::take_traces(),
              "+1 8 Z4DBFromPath: /data/file\n-1 8 Leaving, no map for this directory\n");
    database("/data/acct/file");
    EXPECT_EQ(spies::take_traces(), "+1 8 Z4DBFromPath: /data/acct/file\n-1 8 Returning, ledger\n");
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(database("/data/acct/file"), "none");
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(spies::take_traces(),
              "+1 8 Z4DBFromPath: /data/acct/file\n-1 8 Leaving, no memory\n");
}

TEST_F(DbMap, IsSilentWithoutTrace) {
    database("/data/acct/file");
    set("/data/acct=ledger");
    database("file");
    database("/data/acct/file");
    EXPECT_EQ(spies::take_traces(), "");
}

}  // namespace
