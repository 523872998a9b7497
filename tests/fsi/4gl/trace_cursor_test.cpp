// SPDX-License-Identifier: MIT
#include "wbfsi/trace.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/fsi/spies.h"

namespace {

using spies::take_traces;
using spies::TraceLevel;

struct CursorTrace : testing::Test {
    CursorTrace() { spies::traces.clear(); }
};
using TransactionTrace = CursorTrace;

std::string letters(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += static_cast<char>('a' + i % 26);
    return text;
}

TEST_F(CursorTrace, PrefixesTheCursor) {
    const struct {
        int cursor;
        const char *prefix;
    } kRows[] = {
        {0, "+0 4 CURSOR 0: \n"},
        {17, "+0 4 CURSOR 17: \n"},
        {INT_MAX, "+0 4 CURSOR 2147483647: \n"},
        {Z4_NO_CURSOR, ""},
        {Z4_LOCK_CURSOR, "+0 4 LOCK CURSOR: \n"},
        {-3, ""},
        {INT_MIN, ""},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.cursor);
        const TraceLevel level(7);
        EXPECT_EQ(Z4CurTrace("select 1", 4, row.cursor), 7);
        EXPECT_EQ(take_traces(), std::string(row.prefix) + "+0 4 select 1\n");
    }
}

TEST_F(CursorTrace, WritesLongTextsInPieces) {
    const struct {
        size_t length;
        std::vector<size_t> pieces;
    } kRows[] = {
        {0, {0}},
        {1, {1}},
        {1019, {1019}},
        {1020, {1020}},
        {1021, {1020, 1}},
        {2040, {1020, 1020}},
        {2041, {1020, 1020, 1}},
        {2500, {1020, 1020, 460}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.length);
        const std::string text = letters(row.length);
        std::string expected;
        size_t at = 0;
        for (const size_t piece : row.pieces) {
            expected += "+0 2 " + text.substr(at, piece) + '\n';
            at += piece;
        }
        EXPECT_EQ(at, text.size());
        Z4CurTrace(text.c_str(), 2, -1);
        EXPECT_EQ(take_traces(), expected);
    }
}

TEST_F(CursorTrace, TakesPerCentSignsAsTheyAre) {
    Z4CurTrace("like '%s%n%d'", 1, -1);
    EXPECT_EQ(take_traces(), "+0 1 like '%s%n%d'\n");
}

TEST_F(CursorTrace, DoesNotAskForTheTraceLevel) {
    EXPECT_EQ(f_trace, 0);
    EXPECT_EQ(Z4CurTrace("x", 1, -1), 0);
    EXPECT_EQ(take_traces(), "+0 1 x\n");
}

TEST_F(TransactionTrace, NamesRoutineAndContext) {
    const struct {
        int context;
        const char *name;
    } kRows[] = {
        {0, "COMMIT_CONTEXT_PROGRAMMED"},
        {1, "COMMIT_CONTEXT_UNKNOWN"},
        {2, "COMMIT_CONTEXT_NO_TRX"},
        {3, "[3]"},
        {7, "[7]"},
        {-1, "[-1]"},
        {INT_MAX, "[2147483647]"},
        {INT_MIN, "[-2147483648]"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.context);
        const TraceLevel level(4);
        EXPECT_EQ(Z4TransactionTrace("commit", row.context, 3), 4);
        EXPECT_EQ(take_traces(),
                  "+0 3 CURSOR 0: \n+0 3 entering commit code: \n+0 3 CURSOR 0: \n+0 3 " +
                      std::string(row.name) + '\n');
    }
}

TEST_F(TransactionTrace, IsSilentUpToItsLevel) {
    for (const int16_t trace : {int16_t{-1}, int16_t{0}, int16_t{3}}) {
        SCOPED_TRACE(trace);
        const TraceLevel level(trace);
        EXPECT_EQ(Z4TransactionTrace("commit", 0, 3), trace);
        EXPECT_EQ(take_traces(), "");
    }
}

TEST_F(TransactionTrace, ShowsAThousandCharactersOfAName) {
    const TraceLevel level(1);
    for (const size_t length : {size_t{999}, size_t{1000}, size_t{1001}, size_t{5000}}) {
        SCOPED_TRACE(length);
        const std::string name = letters(length);
        Z4TransactionTrace(name.c_str(), 0, 0);
        EXPECT_EQ(take_traces(), "+0 0 CURSOR 0: \n+0 0 entering " + name.substr(0, 1000) +
                                     " code: \n+0 0 CURSOR 0: \n+0 0 COMMIT_CONTEXT_PROGRAMMED\n");
    }
}

}  // namespace
