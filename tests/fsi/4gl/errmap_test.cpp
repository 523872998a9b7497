// SPDX-License-Identifier: MIT
#include "wbfsi/errmap.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "host/memory.h"
#include "tests/fsi/spies.h"
#include "tests/support/dictionary_file.h"

namespace {

// Sections as text, "[main]/5: 100=8 -803=7", all slots up to the last one that
// is not zero; a section that was not filled is "-".
std::string print(const ErrorMapSection *sections, int count) {
    if (sections == nullptr)
        return "null";
    std::string out;
    for (int s = 0; s < count; ++s) {
        const ErrorMapSection &section = sections[s];
        if (section.name[0] == '\0' && section.capacity == 0 && section.entries == nullptr) {
            out += '-';
            continue;
        }
        out += std::string(section.name) + '/' + std::to_string(section.capacity) + ':';
        int last = section.capacity;
        while (last > 0 && section.entries[last - 1].native == 0 &&
               section.entries[last - 1].cobol == 0)
            --last;
        for (int e = 0; e < last; ++e)
            out += ' ' + std::to_string(section.entries[e].native) + '=' +
                   std::to_string(section.entries[e].cobol);
        out += '\n';
    }
    return out;
}

void release(ErrorMapSection *sections, int count) {
    for (int s = 0; sections != nullptr && s < count; ++s)
        Zfree(sections[s].entries);
    Zfree(sections);
}

class ErrorMap : public testing::Test {
 protected:
    ~ErrorMap() override {
        EXPECT_EQ(ZMemoryBlocks("Error Mapping"), 0U);
        EXPECT_EQ(ZMemoryBlocks("OneError Mapping"), 0U);
    }
    std::string write(const std::string &text) const { return folder_.write("errors.map", text); }

    // What a file of that text is read as.
    std::string parse(const std::string &text, int implicit_section = 0, int count = 0) const {
        const std::string path = write(text);
        ErrorMapSection *sections = Z4ParseErrorFile(path.c_str(), &count, implicit_section);
        std::string out = print(sections, count);
        release(sections, count);
        return out;
    }

    support::TemporaryFolder folder_;
};

TEST_F(ErrorMap, ReadsSectionsOfNumbersAndNames) {
    EXPECT_EQ(parse("[main]\n100 E_NOT_FOUND\n-803 E_DUPLICATE\n"), "[main]/5: 100=8 -803=7\n----");
    EXPECT_EQ(parse("[a]\n1 E_BROKEN\n\n[b]\n2 E_BROKEN\n[c]\n"),
              "[a]/5: 1=6\n[b]/5: 2=6\n[c]/5:\n--");
    EXPECT_EQ(parse(""), "-----");
}

TEST_F(ErrorMap, KnowsEveryName) {
    const char *const kNames[] = {
        "E_SYS_ERROR",   "E_PARAM_ERR",   "E_TOO_MANY_FILES", "E_MODE_CLASH",   "E_REC_LOCKED",
        "E_BROKEN",      "E_DUPLICATE",   "E_NOT_FOUND",      "E_UNDEF_RECORD", "E_DISK_FULL",
        "E_FILE_LOCKED", "E_REC_CHANGED", "E_MISMATCH",       "E_NO_MEMORY",    "E_MISSING_FILE",
        "E_PERMISSION",  "E_NO_SUPPORT",  "E_NO_LOCKS"};
    int code = 0;
    for (const char *name : kNames) {
        SCOPED_TRACE(name);
        EXPECT_EQ(parse("[x]\n1 " + std::string(name)),
                  "[x]/5: 1=" + std::to_string(++code) + "\n----");
    }
    EXPECT_EQ(code, 18);
}

TEST_F(ErrorMap, ReadsLines) {
    const struct {
        const char *name;
        const char *line;
        const char *entries;
    } kRows[] = {
        {"a leading part", "1 E_NO", " 1=8"},
        {"a longer part", "1 E_NO_", " 1=14"},
        {"another part", "1 E_NO_S", " 1=17"},
        {"the first of all", "1 E", " 1=1"},
        {"longer than a name", "1 E_NO_LOCKS_X", " 1=0"},
        {"another case", "1 e_broken", " 1=0"},
        {"no name", "1 BROKEN", " 1=0"},
        {"more behind it", "1 E_BROKEN E_DUPLICATE # x", " 1=6"},
        {"tabs", "\t 1 \t E_BROKEN\t", " 1=6"},
        {"carriage return", "1 E_BROKEN\r", " 1=6"},
        {"plus", "+7 E_BROKEN", " 7=6"},
        {"leading zeros", "007 E_BROKEN", " 7=6"},
        {"zero", "0 E_BROKEN", " 0=6"},
        {"the largest", "2147483647 E_BROKEN", " 2147483647=6"},
        {"the smallest", "-2147483648 E_BROKEN", " -2147483648=6"},
        {"too large", "2147483648 E_BROKEN", " 2147483647=6"},
        {"far too small", "-99999999999999999999 E_BROKEN", " -2147483648=6"},
        {"no number", "E_BROKEN", ""},
        {"a word", "x 1 E_BROKEN", ""},
        {"a sign alone", "- E_BROKEN", ""},
        {"a number alone", "1", ""},
        {"a number and blanks", "1 \t \r", ""},
        {"a number that goes on", "1E_BROKEN", ""},
        {"a decimal number", "1.5 E_BROKEN", ""},
        {"a comment", "# 1 E_BROKEN", ""},
        {"an indented comment", " \t# 1 E_BROKEN", ""},
        {"blanks", " \t ", ""},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.name);
        // With and without a newline at the end, and with a line behind it.
        const std::string expected = "[x]/5:" + std::string(row.entries);
        EXPECT_EQ(parse("[x]\n" + std::string(row.line)), expected + "\n----");
        EXPECT_EQ(parse("[x]\n" + std::string(row.line) + "\n9 E_BROKEN\n"),
                  expected + " 9=6\n----");
    }
}

TEST_F(ErrorMap, AHeaderIsTheNameFromItsBracketOn) {
    EXPECT_EQ(parse(" \t[main] 1 E_BROKEN\n"), "[main] 1 E_BROKEN/5:\n----");
    EXPECT_EQ(parse("[open\n"), "[open/5:\n----");
    EXPECT_EQ(parse("[\n"), "[/5:\n----");
    // Only the newline is not part of the line.
    EXPECT_EQ(parse("[main]\r\n1 E_BROKEN\r\n"), "[main]\r/5: 1=6\n----");
    for (const size_t length : {size_t{78}, size_t{79}, size_t{80}, size_t{200}}) {
        SCOPED_TRACE(length);
        const std::string header = '[' + std::string(length - 1, 'n');
        EXPECT_EQ(parse(header + '\n'), header.substr(0, 79) + "/5:\n----");
    }
}

TEST_F(ErrorMap, LinesInFrontOfAllSectionsAreIgnored) {
    EXPECT_EQ(parse("1 E_BROKEN\n# x\n[a]\n2 E_BROKEN\n"), "[a]/5: 2=6\n----");
    EXPECT_EQ(parse("1 E_BROKEN\n"), "-----");
}

TEST_F(ErrorMap, AnImplicitSectionIsTheFirstLine) {
    const struct {
        const char *name;
        const char *text;
        const char *sections;
    } kRows[] = {
        {"an entry", "1 E_BROKEN x\n2 E_DUPLICATE\n", "1 E_BROKEN x/5: 1=6 2=7\n----"},
        {"behind comments", "# c\n\n  1 E_BROKEN\n", "1 E_BROKEN/5: 1=6\n----"},
        {"no number", "title\n1 E_BROKEN\n", "title/5: 1=6\n----"},
        {"a number alone", "5\n1 E_BROKEN\n", "5/5: 1=6\n----"},
        {"a header first", "[a]\n1 E_BROKEN\n2 E_BROKEN\n", "[a]/5: 1=6 2=6\n----"},
        {"a header later", "1 E_BROKEN\n[a]\n2 E_BROKEN\n", "1 E_BROKEN/5: 1=6\n[a]/5: 2=6\n---"},
        {"nothing", "# c\n", "-----"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(parse(row.text, 1), row.sections);
        EXPECT_EQ(parse(row.text, -1), row.sections);
    }
}

TEST_F(ErrorMap, EntriesGrowByFive) {
    for (const int count : {4, 5, 6, 7, 10, 11, 123}) {
        SCOPED_TRACE(count);
        std::string text = "[x]\n";
        std::string entries;
        for (int i = 1; i <= count; ++i) {
            text += std::to_string(i) + " E_BROKEN\n";
            entries += ' ' + std::to_string(i) + "=6";
        }
        EXPECT_EQ(parse(text),
                  "[x]/" + std::to_string((count + 4) / 5 * 5) + ':' + entries + "\n----");
    }
}

TEST_F(ErrorMap, SectionsGrowByFive) {
    const struct {
        int wanted;
        int sections;
        size_t unused;
    } kRows[] = {{0, 0, 5}, {-3, 0, 5}, {0, 5, 0}, {0, 6, 4}, {1, 0, 1},
                 {1, 1, 0}, {1, 2, 4},  {7, 3, 4}, {2, 13, 4}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::to_string(row.wanted) + " for " + std::to_string(row.sections));
        std::string text;
        std::string expected;
        for (int s = 0; s < row.sections; ++s) {
            text += '[' + std::to_string(s) + "]\n1 E_BROKEN\n";
            expected += '[' + std::to_string(s) + "]/5: 1=6\n";
        }
        EXPECT_EQ(parse(text, 0, row.wanted), expected + std::string(row.unused, '-'));
    }
}

TEST_F(ErrorMap, LinesLongerThanTheBufferAreCut) {
    for (const size_t length : {size_t{508}, size_t{509}, size_t{510}, size_t{511}, size_t{512},
                                size_t{1021}, size_t{1022}, size_t{1023}, size_t{5000}}) {
        SCOPED_TRACE(length);
        // What follows within the long line would be an entry of its own.
        std::string line = "1 E_BROKEN ";
        while (line.size() < length)
            line += " 7 E_BROKEN";
        line.resize(length);
        EXPECT_EQ(parse("[x]\n" + line + "\n2 E_DUPLICATE\n"), "[x]/5: 1=6 2=7\n----");
        EXPECT_EQ(parse("[x]\n" + line), "[x]/5: 1=6\n----");
        EXPECT_EQ(parse("[x]\n" + std::string(length, ' ') + " 7 E_BROKEN\n"), "[x]/5:\n----");
    }
}

TEST_F(ErrorMap, AZeroByteEndsItsLine) {
    using std::string_literals::operator""s;
    EXPECT_EQ(parse("[x]\n1 E_BROKEN\0 2\n2 E_DUPLICATE\n"s), "[x]/5: 1=6 2=7\n----");
    EXPECT_EQ(parse("[x]\n\0\n1 E_\0\n2 E_DUPLICATE\0"s), "[x]/5: 1=1 2=7\n----");
}

TEST_F(ErrorMap, WithoutAFileThereIsNoMap) {
    const std::string missing = folder_.path("missing");
    const std::string directory = folder_.path();
    for (const char *path :
         {static_cast<const char *>(nullptr), "", missing.c_str(), directory.c_str()}) {
        SCOPED_TRACE(path != nullptr ? path : "null");
        *Zstdlib_f_errno() = 9;
        int count = 3;
        EXPECT_EQ(Z4ParseErrorFile(path, &count, 0), nullptr);
        EXPECT_EQ(count, 0);
        EXPECT_EQ(*Zstdlib_f_errno(), 0);
    }
    const std::string there = write("[a]\n1 E_BROKEN\n");
    *Zstdlib_f_errno() = 9;
    EXPECT_EQ(Z4ParseErrorFile(there.c_str(), nullptr, 0), nullptr);
    EXPECT_EQ(*Zstdlib_f_errno(), 0);
}

TEST_F(ErrorMap, EachRefusedRequestKeepsWhatWasRead) {
    std::string text;
    for (int s = 0; s < 6; ++s)
        text += '[' + std::to_string(s) + "]\n1 E_BROKEN\n2 E_BROKEN\n";
    for (int e = 3; e <= 6; ++e)
        text += std::to_string(e) + " E_DUPLICATE\n";
    const std::string path = write(text);
    const std::string whole = parse(text);
    ASSERT_NE(whole.find("[5]/10: 1=6 2=6 3=7 4=7 5=7 6=7\n----"), std::string::npos) << whole;
    const size_t blocks = ZMemoryBlocks(nullptr);
    int nulls = 0;
    int parts = 0;
    for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        ASSERT_LT(n, 100);
        int count = 0;
        *Zstdlib_f_errno() = 9;
        ZMemoryRefuse(n, 1);
        ErrorMapSection *sections = Z4ParseErrorFile(path.c_str(), &count, 0);
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        const std::string out = print(sections, count);
        release(sections, count);
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
        if (!was_refused) {
            EXPECT_EQ(out, whole);
            break;
        }
        if (sections == nullptr) {
            ++nulls;
            EXPECT_EQ(count, 0);
            EXPECT_EQ(*Zstdlib_f_errno(), 0);
            continue;
        }
        ++parts;
        // Either the sections or the entries of the last one could not grow.
        const std::string kept = out.substr(0, out.rfind('\n') + 1);
        EXPECT_TRUE(count == 5 ? kept + "[5]/10: 1=6 2=6 3=7 4=7 5=7 6=7\n----" == whole
                               : kept.find("[5]/5: 1=6 2=6 3=7 4=7 5=7\n") != std::string::npos)
            << out;
    }
    EXPECT_GE(nulls, 7) << "the array and six times entries, at least";
    EXPECT_EQ(parts, 2);
}

TEST_F(ErrorMap, IsTraced) {
    const std::string path =
        write("# c\n[a]\n7 E_BROKEN\n8\n x\n[b] y\n-1 nothing\n0 E_BROKEN\n0 none\n");
    const spies::TraceLevel level(1);
    spies::traces.clear();
    int count = 0;
    release(Z4ParseErrorFile(path.c_str(), &count, 0), 5);
    EXPECT_EQ(spies::take_traces(),
              "+1 8 ParseErrorFile\n+0 8 # c\n+0 8 [a]\n+0 8 7 E_BROKEN\n"
              "+0 8 curr_one 0 num_err_maps 1\n+0 8 8\n+0 8 Parse Error 2\n+0 8  x\n+0 8 [b] y\n"
              "+0 8 -1 nothing\n+0 8 curr_one 0 num_err_maps 2\n"
              "+0 8 0 E_BROKEN\n+0 8 curr_one 1 num_err_maps 2\n"
              "+0 8 0 none\n+0 8 curr_one 2 num_err_maps 2\n"
              "+0 8 Err File map 0 fld 0 native 7 COBOL 6\n"
              "+0 8 Err File map 1 fld 0 native -1 COBOL 0\n"
              "+0 8 Err File map 1 fld 1 native 0 COBOL 6\n"
              "+0 8 Err File map 1 fld 2 native 0 COBOL 0\n"
              "-1 8 Returning, 2 sections\n");
    EXPECT_EQ(Z4ParseErrorFile("", &count, 0), nullptr);
    EXPECT_EQ(spies::take_traces(), "+1 8 ParseErrorFile\n-1 8 Returning, no conf var\n");
    const std::string missing = folder_.path("missing");
    EXPECT_EQ(Z4ParseErrorFile(missing.c_str(), &count, 0), nullptr);
    EXPECT_EQ(spies::take_traces(),
              "+1 8 ParseErrorFile\n-1 8 Returning, unable to open '" + missing + "', error 2\n");
}

TEST_F(ErrorMap, RefusalsAreTraced) {
    std::string text;
    for (int s = 0; s < 6; ++s)
        text += '[' + std::to_string(s) + "]\n";
    for (int e = 1; e <= 6; ++e)
        text += std::to_string(e) + " E_DUPLICATE\n";
    const std::string path = write(text);
    const spies::TraceLevel level(1);
    std::string all;
    for (int64_t n = 1; n < 100; ++n) {
        spies::traces.clear();
        int count = 0;
        ZMemoryRefuse(n, 1);
        ErrorMapSection *sections = Z4ParseErrorFile(path.c_str(), &count, 0);
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        release(sections, count);
        if (!was_refused)
            break;
        const size_t lines = spies::traces.size();
        ASSERT_GE(lines, 2U);
        for (size_t i = lines - 2; i < lines; ++i)
            all += spies::traces[i] + '\n';
    }
    for (const char *ending : {"+1 8 ParseErrorFile\n-1 8 Returning, no memory\n",
                               "+0 8 [0]\n-1 8 Returning, no mem for one\n",
                               "+0 8 [5]\n-1 8 Returning, no mem for one\n",
                               "+0 8 Realloc failed\n-1 8 Returning, 5 sections\n",
                               "+0 8 Realloc 2 failed\n-1 8 Returning, 6 sections\n"}) {
        EXPECT_NE(all.find(ending), std::string::npos) << ending << "is not in\n" << all;
    }
}

}  // namespace
