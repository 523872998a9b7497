// SPDX-License-Identifier: MIT
//
// The small parts of the tool's output: columns, ruler, progress line.
#include <gtest/gtest.h>

#include <sstream>

#include "tool/columns.h"
#include "tool/progress.h"
#include "tool/ruler.h"

namespace {

TEST(Columns, AlignAndLeaveOutWhatIsEmpty) {
    tool::Columns columns({{"#", tool::Columns::kRight},
                           {"Name", tool::Columns::kLeft},
                           {"Note", tool::Columns::kLeft},
                           {"Size", tool::Columns::kRight}});
    columns.add({"1", "id", "", "8"});
    columns.add({"10", "a longer one", "", "12345"});
    columns.add({"11", "Müller", ""});
    std::ostringstream out;
    columns.print(out, "  ");
    EXPECT_EQ(out.str(),
              "   #  Name           Size\n"
              "   1  id                8\n"
              "  10  a longer one  12345\n"
              "  11  Müller\n");
}

TEST(Text, ShowsWhatATerminalWouldObey) {
    EXPECT_EQ(tool::printable("plain"), "plain");
    EXPECT_EQ(tool::printable("a\x1b[2J\nb\x7f"), "a\\x1B[2J\\x0Ab\\x7F");
    EXPECT_EQ(tool::printable("M\xFCller"), "Müller");
    EXPECT_EQ(tool::printable("a\x9b"
                              "2J"),
              "a\\xC2\\x9B2J");
    EXPECT_EQ(tool::printable("\xa0"), "\u00a0");
    EXPECT_EQ(tool::display_width("Müller"), 6u);
}

std::string ruler(const std::vector<tool::RulerItem> &items, uint64_t record_bytes) {
    std::ostringstream out;
    tool::print_ruler(out, items, record_bytes);
    return out.str();
}

const std::string kScale =
    "            0         1         2         3         4\n"
    "            01234567890123456789012345678901234567890123456789\n";

TEST(Ruler, ShowsEveryByteAndWhatBelongsToNobody) {
    EXPECT_EQ(ruler({{"id", 0, 4}, {"flag", 4, 1}, {"name", 7, 3}, {"nothing", 8, 0}}, 12),
              kScale +
                  "         0  AAAAB..CCC..\n"
                  "            A id 0-3  B flag 4  C name 7-9\n");
    EXPECT_EQ(ruler({}, 3), kScale + "         0  ...\n");
    EXPECT_EQ(ruler({}, 0), "");
}

TEST(Ruler, PutsOverlappingFieldsInLanes) {
    EXPECT_EQ(ruler({{"part", 0, 2}, {"whole", 0, 6}, {"other", 4, 4}, {"last", 8, 1}}, 9),
              kScale +
                  "         0  AAAAAA..B\n"
                  "            A whole 0-5  B last 8\n"
                  "            AA..BBBB.\n"
                  "            A part 0-1  B other 4-7\n");
}

TEST(Ruler, FoldsRowsInWhichNothingHappens) {
    EXPECT_EQ(ruler({{"a", 0, 3}, {"long", 3, 1990}, {"z", 1993, 7}}, 2000),
              kScale +
                  "         0  AAABBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBB\n"
                  "            A a 0-2  B long 3-1992\n"
                  "        50  ... to 1949: long\n"
                  "      1950  AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAABBBBBBB\n"
                  "            A long 3-1992  B z 1993-1999\n");
}

TEST(Ruler, GoesOnBehindTheRecordWithoutGrowing) {
    const std::string text = ruler({{"far", 4'294'967'290u, 4'294'967'295u}}, 10);
    EXPECT_EQ(text, kScale +
                        "         0  ..................................................\n"
                        "        50  ... to 4294967249: no field\n"
                        "4294967250  ........................................AAAAAAAAAA\n"
                        "            A far 4294967290-8589934584\n"
                        "4294967300  ... to 8589934549: far\n"
                        "8589934550  AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA\n"
                        "            A far 4294967290-8589934584\n");
}

TEST(Ruler, StaysBoundedWhenEverythingOverlaps) {
    const std::vector<tool::RulerItem> items(100'000, {"same", 0, 1});
    const std::string text = ruler(items, 1);
    EXPECT_NE(text.find("            99936 more overlapping fields are not drawn\n"),
              std::string::npos);
    EXPECT_LT(text.size(), 5000u);
}

TEST(Progress, TellsRecordsRateAndTimeLeft) {
    const struct {
        uint64_t records, done, whole;
        double seconds;
        const char *expected;
    } rows[] = {
        {0, 0, 0, 0, "loading: 0 records"},
        {5000, 0, 0, 2, "loading: 5000 records, 2500 a second"},
        {5000, 50, 100, 2, "loading: 5000 records, 2500 a second, 50 %, 2s left"},
        {5000, 25, 100, 100, "loading: 5000 records, 50 a second, 25 %, 5m 00s left"},
        {5000, 50, 100, 7260, "loading: 5000 records, 1 a second, 50 %, 2h 01m left"},
        {10, 1, 100, 1, "loading: 10 records, 10 a second, 1 %"},
        {5000, 150, 100, 2, "loading: 5000 records, 2500 a second"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(tool::progress_line("loading", row.records, row.done, row.whole, row.seconds),
                  row.expected);
    }
}

}  // namespace
