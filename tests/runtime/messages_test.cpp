// SPDX-License-Identifier: MIT
#include "host/messages.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <regex>
#include <string>
#include <vector>

#include "host/config.h"
#include "host/memory.h"
#include "tests/runtime/host_fixture.h"

namespace {

using fixture::Captured;
using fixture::Folder;

// The trace level is back at 0 after each test.
class Trace : public testing::Test {
 protected:
    ~Trace() override { ZTrace(-1000, 0, "%s", ""); }
};

// A trace line's category, indent and text: "[8] |  |text".
std::string parts(const std::string &line) {
    static const std::regex stamp(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} (\[-?\d+\] )( *))");
    std::smatch found;
    if (!std::regex_search(line, found, stamp, std::regex_constants::match_continuous) ||
        line.find('\n') != line.size() - 1)
        return "not a trace line: " + line;
    std::string text = found.suffix();
    text.pop_back();
    return found.format("$1|$2|") + text;
}

TEST_F(Trace, ALineHasTimeCategoryAndText) {
    Captured trace(1);
    ZTrace(0, 8, "Z4FlattenName %s", "x");
    EXPECT_EQ(parts(trace.text), "[8] ||Z4FlattenName x");
    EXPECT_EQ(trace.calls, 1u);
}

TEST_F(Trace, LinesAreIndentedByTheLevel) {
    struct Row {
        int change;
        const char *text, *line;
    };
    const Row rows[] = {
        {0, "before", "[5] ||before"},
        {1, "enter", "[5] ||enter"},
        {0, "inside", "[5] |  |inside"},
        {1, "deeper", "[5] |  |deeper"},
        {0, "in there", "[5] |    |in there"},
        {-1, "leave there", "[5] |  |leave there"},
        {0, "inside", "[5] |  |inside"},
        {-1, "leave", "[5] ||leave"},
        {-1, "leave once more", "[5] ||leave once more"},
        {0, "after", "[5] ||after"},
        {INT_MIN, "far out", "[5] ||far out"},
        {INT_MAX, "very deep", "[5] ||very deep"},
        {INT_MAX, "deeper", nullptr},
        {-INT_MAX, "back", "[5] ||back"},
    };
    for (const Row &row : rows) {
        Captured trace(1);
        ZTrace(row.change, 5, "%s", row.text);
        if (row.line == nullptr) {
            EXPECT_EQ(parts(trace.text), "[5] |" + std::string(128, ' ') + "|" + row.text);
        } else {
            EXPECT_EQ(parts(trace.text), row.line);
        }
    }
}

TEST_F(Trace, NoCategoryIsLeftOut) {
    for (int category : {0, 1, 9, 1000, -3}) {
        Captured trace(1);
        ZTrace(0, category, "x");
        EXPECT_EQ(parts(trace.text), std::string("[").append(std::to_string(category)) + "] ||x");
    }
}

TEST_F(Trace, OneCallIsOneLine) {
    const std::pair<const char *, const char *> rows[] = {
        {"a\n", "a"}, {"a\nb", "a b"}, {"\n", ""}, {"", ""}, {"a\r\n", "a "}, {"a\n\n", "a "}};
    for (const auto &[text, shown] : rows) {
        Captured trace(1);
        ZTrace(0, 1, "%s", text);
        EXPECT_EQ(parts(trace.text), std::string("[1] ||") + shown);
    }
}

TEST_F(Trace, TheResultIsTheTraceLevel) {
    Captured trace(1);
    for (int16_t level : std::initializer_list<int16_t>{0, 1, 12, -4}) {
        f_trace = level;
        EXPECT_EQ(ZTrace(0, 1, "x"), level);
    }
    f_trace = 0;
}

TEST_F(Trace, LongTextsAreNotCut) {
    for (size_t length : {8100u, 8150u, 8190u, 8191u, 8192u, 8193u, 100000u}) {
        const std::string text(length, 'x');
        Captured trace(1);
        ZTrace(0, 9, "<%s>", text.c_str());
        EXPECT_EQ(trace.calls, 1u) << length;
        EXPECT_TRUE(parts(trace.text) == "[9] ||<" + text + ">") << length;
    }
}

TEST_F(Trace, RefusedMemoryCutsNothing) {
    const size_t blocks = ZMemoryBlocks(nullptr);
    for (size_t length : {10u, 8192u, 100000u}) {
        const std::string text = std::string(length, 'x') + "\ny";
        Captured trace(1);
        ZMemoryRefuse(1, -1);
        ZTrace(0, 9, "<%s> %d", text.c_str(), 42);
        ZMemoryRefuse(0, 0);
        EXPECT_TRUE(parts(trace.text) == "[9] ||<" + std::string(length, 'x') + " y> 42") << length;
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
}

TEST_F(Trace, ASinkMayTraceInItsTurn) {
    struct Both {
        std::vector<std::string> lines;
        bool inside = false;
    } both;
    ZOutputRedirect(
        1,
        [](const char *text, size_t n, void *user) {
            auto *own = static_cast<Both *>(user);
            if (!own->inside) {
                own->inside = true;
                ZTrace(0, 2, "inner");
                own->inside = false;
            }
            own->lines.emplace_back(text, n);
        },
        &both);
    ZTrace(0, 1, "outer");
    ZOutputRedirect(1, nullptr, nullptr);
    ASSERT_EQ(both.lines.size(), 2u);
    EXPECT_EQ(parts(both.lines[0]), "[2] ||inner");
    EXPECT_EQ(parts(both.lines[1]), "[1] ||outer");
}

TEST_F(Trace, ErrnoStays) {
    Captured trace(1);
    errno = ENOTDIR;
    ZTrace(0, 1, "%s", std::string(20000, 'x').c_str());
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(Trace, LinesAreInTheFileWhenTheCallReturns) {
    Folder folder;
    folder.write("trace", "kept\n");
    ASSERT_EQ(ZCSetValueString("TRACE_FILE", folder.path("trace").c_str()), 1);
    ZTrace(0, 1, "one");
    std::string text = folder.read("trace");
    ASSERT_EQ(text.substr(0, 5), "kept\n");
    EXPECT_EQ(parts(text.substr(5)), "[1] ||one");
    ZTrace(0, 1, "two");
    EXPECT_EQ(parts(folder.read("trace").substr(text.size())), "[1] ||two");
    ASSERT_EQ(ZCSetValueString("TRACE_FILE", nullptr), 1);
    ZTrace(0, 1, "nowhere");
    EXPECT_EQ(folder.read("trace").find("nowhere"), std::string::npos);
}

TEST_F(Trace, AFileThatCannotBeOpenedIsRefused) {
    Folder folder;
    ASSERT_EQ(ZCSetValueString("TRACE_FILE", folder.path("trace").c_str()), 1);
    fixture::clear_error();
    const std::string bad = folder.path("no/such/folder");
    EXPECT_EQ(ZCSetValueString("TRACE_FILE", bad.c_str()), 0);
    EXPECT_EQ(fixture::error(), "2: TRACE_FILE: '" + bad +
                                    "' cannot be opened for writing (No such file or directory); "
                                    "give a file in a directory that exists");
    ZTrace(0, 1, "still here");
    EXPECT_EQ(parts(folder.read("trace")), "[1] ||still here");
    ZCSetValueString("TRACE_FILE", nullptr);
}

TEST_F(Trace, WithoutAPlaceOfItsOwnItIsPartOfTheErrorOutput) {
    Captured output(0);
    ZTrace(0, 1, "unasked");
    EXPECT_EQ(output.text, "");
    f_trace = 1;
    ZTrace(0, 1, "asked");
    f_trace = 0;
    EXPECT_EQ(parts(output.text), "[1] ||asked");
}

TEST(ErrorOutput, FormatsAsPrintf) {
    Captured output(0);
    EXPECT_EQ(eprintf("%s %d%%\n", "a", 7), 5);
    EXPECT_EQ(output.text, "a 7%\n");
    output.text.clear();
    const std::string text(20000, 'x');
    EXPECT_EQ(eprintf("%s", text.c_str()), 20000);
    EXPECT_TRUE(output.text == text);
    output.text.clear();
    ZMemoryRefuse(1, -1);
    EXPECT_EQ(eprintf("%s\n%s", text.c_str(), "end"), 20004);
    ZMemoryRefuse(0, 0);
    EXPECT_TRUE(output.text == text + "\nend");
}

TEST(ErrorOutput, PutsTextsInTheirPlaces) {
    struct Row {
        const char *text, *shown;
    };
    const Row rows[] = {
        {"Set parameter '%1' to '%2'\n", "Set parameter 'one' to 'two'\n"},
        {"%2 before %1", "two before one"},
        {"%1%1%3", "oneonethree"},
        {"100%", "100%"},
        {"100%% of %1", "100% of one"},
        {"%s %d %0", "%s %d %0"},
        {"no places", "no places"},
        {"", ""},
    };
    for (const Row &row : rows) {
        Captured output(0);
        EXPECT_EQ(meprintf(row.text, "one", "two", "three"), static_cast<int>(strlen(row.shown)));
        EXPECT_EQ(output.text, row.shown);
    }
    Captured output(0);
    meprintf("<%1>", static_cast<const char *>(nullptr));
    EXPECT_EQ(output.text, "<>");
    EXPECT_EQ(output.calls, 1u);
}

TEST(ErrorOutput, LongTextsInPlacesAreNotCut) {
    for (size_t length : {1020u, 1024u, 1025u, 5000u}) {
        Captured output(0);
        const std::string text(length, 'x');
        EXPECT_EQ(meprintf("<%1|%2>", text.c_str(), text.c_str()),
                  static_cast<int>(2 * length + 3));
        EXPECT_TRUE(output.text == "<" + text + "|" + text + ">") << length;
    }
}

TEST(ErrorOutput, TextsInPlacesAreNotLookedInto) {
    Captured output(0);
    meprintf("%1 %2", "%2%n%s", "100%");
    EXPECT_EQ(output.text, "%2%n%s 100%");
}

TEST(Output, OtherKindsAreNotRedirected) {
    ZOutputRedirect(
        2, [](const char *, size_t, void *) { FAIL(); }, nullptr);
    ZOutputRedirect(
        -1, [](const char *, size_t, void *) { FAIL(); }, nullptr);
    Captured output(0);
    eprintf("x");
    EXPECT_EQ(output.text, "x");
}

class Catalogue : public testing::Test {
 protected:
    ~Catalogue() override { ZCSetValueString("MESSAGE_FILE", nullptr); }

    // 1, or the error.
    std::string load(const std::string &text) {
        fixture::clear_error();
        folder_.write("messages", text);
        return ZCSetValueString("MESSAGE_FILE", path_.c_str()) == 1 ? "loaded" : fixture::error();
    }

    Folder folder_;
    const std::string path_ = folder_.path("messages");
};

TEST_F(Catalogue, WithoutOneTheDefaultTextIsUsed) {
    const char *text = "default";
    EXPECT_EQ(message_get(672, 0, text), text);
}

TEST_F(Catalogue, ReplacesTextsBySetAndNumber) {
    ASSERT_EQ(load("# German\n"
                   "0 672\n"
                   "default Set parameter '%1' to '%2'\\n\n"
                   "text    Parameter '%1' ist jetzt '%2'\\n\n"
                   "\n"
                   "5 672\r\n"
                   "default x\r\n"
                   "text \\sa\\tb\\\\c\\s\r\n"
                   "-1 7\n"
                   "default %d of %s\n"
                   "text %d von %s"),
              "loaded");
    EXPECT_STREQ(message_get(672, 0, "Set parameter '%1' to '%2'\n"),
                 "Parameter '%1' ist jetzt '%2'\n");
    EXPECT_STREQ(message_get(672, 5, "x"), " a\tb\\c ");
    EXPECT_STREQ(message_get(7, -1, "%d of %s"), "%d von %s");
    EXPECT_STREQ(message_get(7, 0, "default"), "default");
    EXPECT_STREQ(message_get(671, 5, "default"), "default");
}

TEST_F(Catalogue, TextsLiveForEver) {
    ASSERT_EQ(load("0 1\ndefault a\ntext first\n"), "loaded");
    const char *first = message_get(1, 0, "a");
    ASSERT_EQ(load("0 1\ndefault a\ntext second\n"), "loaded");
    EXPECT_STREQ(message_get(1, 0, "a"), "second");
    ZCSetValueString("MESSAGE_FILE", nullptr);
    EXPECT_STREQ(message_get(1, 0, "a"), "a");
    EXPECT_STREQ(first, "first");
}

TEST_F(Catalogue, OtherPlaceholdersAreRefused) {
    const std::pair<const char *, const char *> rows[] = {
        {"Set %1 to %2", "Set %1"},
        {"Set %1", "Set %1 to %2"},
        {"Set %1", "Set"},
        {"Set", "Set %s"},
        {"%d of %s", "%s of %d"},
        {"%d", "%ld"},
        {"%d", "%d %d"},
        {"%s", "%1"},
        {"100%%", "100%d"},
        {"%1", "%1%2"},
    };
    for (const auto &[default_text, text] : rows) {
        EXPECT_EQ(load("0 1\ndefault " + std::string(default_text) + "\ntext " + text + "\n"),
                  "2: " + path_ + ", line 3: '" + text +
                      "' has other placeholders than the default text");
    }
}

TEST_F(Catalogue, PlaceholdersMayMoveAndTextsMayRepeatThem) {
    const std::pair<const char *, const char *> rows[] = {
        {"%1 to %2", "%2 von %1"}, {"%1", "%1 %1"}, {"%d %s", "a %d b %s c"}, {"100%%", "%% 100"}};
    for (const auto &[default_text, text] : rows)
        EXPECT_EQ(load("0 1\ndefault " + std::string(default_text) + "\ntext " + text + "\n"),
                  "loaded");
}

// The program may have another default text than the catalogue was made for.
TEST_F(Catalogue, ATextThatDoesNotFitTheProgramIsNotUsed) {
    ASSERT_EQ(load("0 1\ndefault %s\ntext <%s>\n"), "loaded");
    EXPECT_STREQ(message_get(1, 0, "%s"), "<%s>");
    EXPECT_STREQ(message_get(1, 0, "%d"), "%d");
    EXPECT_STREQ(message_get(1, 0, "none"), "none");
}

TEST_F(Catalogue, MalformedFilesAreRefusedWholly) {
    ASSERT_EQ(load("0 1\ndefault a\ntext b\n"), "loaded");
    const std::pair<const char *, const char *> rows[] = {
        {"x 1\ndefault a\ntext c\n",
         "line 1: 'x 1' is not the two numbers of a message; write SET NUMBER"},
        {"1\ndefault a\ntext c\n",
         "line 1: '1' is not the two numbers of a message; write SET NUMBER"},
        {"0 1 2\ndefault a\ntext c\n",
         "line 1: '0 1 2' is not the two numbers of a message; write SET NUMBER"},
        {"0 99999999999\ndefault a\ntext c\n",
         "line 1: '0 99999999999' is not the two numbers of a message; write SET NUMBER"},
        {"0 1\ntext c\n",
         "line 2: 'text c' stands where the default text has to; write default TEXT"},
        {"0 1\ndefault a\n0 2\n", "line 3: '0 2' stands where the text has to; write text TEXT"},
        {"0 1\ndefault a\n", "line 2: '' stands where the text has to; write text TEXT"},
        {"0 1\ndefault a\ntext \\q\n", "line 3: '\\q' is no escape; write \\n, \\t, \\s or \\\\"},
        {"0 1\ndefault a\ntext c\\\n", "line 3: '\\' is no escape; write \\n, \\t, \\s or \\\\"},
        {"0 1\ndefault a\ntext c\n0 2\n",
         "line 4: '' stands where the default text has to; write default TEXT"},
    };
    for (const auto &[text, reason] : rows) {
        EXPECT_EQ(load(text), "2: " + path_ + ", " + reason);
        EXPECT_STREQ(message_get(1, 0, "a"), "b") << "the catalogue before stays";
    }
    EXPECT_EQ(load(std::string("0 1\ndefault a\ntext \0\n", 21)),
              "2: MESSAGE_FILE '" + path_ + "', line 3: a zero byte; a text file has none");
}

TEST_F(Catalogue, AMissingFileIsRefused) {
    fixture::clear_error();
    EXPECT_EQ(ZCSetValueString("MESSAGE_FILE", folder_.path("none").c_str()), 0);
    EXPECT_EQ(fixture::error(), "2: MESSAGE_FILE '" + folder_.path("none") +
                                    "' cannot be read (No such file or directory); give a file "
                                    "that exists");
    EXPECT_EQ(ZCSetValueString("MESSAGE_FILE", folder_.path().c_str()), 0);
}

TEST_F(Catalogue, ARefusedAllocationKeepsTheTextsBefore) {
    ASSERT_EQ(load("0 1\ndefault a\ntext b\n"), "loaded");
    const std::string path = folder_.write("other", "0 1\ndefault a\ntext c\n");
    for (int64_t nth = 1; nth < 100; ++nth) {
        const size_t blocks = ZMemoryBlocks(nullptr);
        fixture::clear_error();
        ZMemoryRefuse(nth, 1);
        const bool done = ZCSetValueString("MESSAGE_FILE", path.c_str()) == 1;
        const bool refused = ZMemoryRefused() > 0;
        ZMemoryRefuse(0, 0);
        if (!refused) {
            EXPECT_TRUE(done);
            EXPECT_GT(nth, 1);
            EXPECT_STREQ(message_get(1, 0, "a"), "c");
            return;
        }
        EXPECT_FALSE(done);
        EXPECT_EQ(fixture::error(), "14");
        EXPECT_STREQ(message_get(1, 0, "a"), "b");
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks) << nth;
    }
    FAIL();
}

}  // namespace
