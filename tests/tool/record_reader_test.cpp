// SPDX-License-Identifier: MIT
#include "tool/record_reader.h"

#include <gtest/gtest.h>

#include "tests/support/dictionary_file.h"
#include "tool/failure.h"

namespace {

using tool::LengthHeader;
using tool::ReaderNotes;
using tool::Record;
using tool::RecordFormat;
using tool::RecordReader;
using tool::RecordShape;
using tool::SlotHeader;
using namespace std::string_literals;

RecordShape shape(RecordFormat format, uint32_t max_bytes, uint32_t min_bytes) {
    RecordShape result;
    result.format = format;
    result.max_bytes = max_bytes;
    result.min_bytes = min_bytes;
    return result;
}

RecordShape slots(SlotHeader header, uint32_t max_bytes, uint32_t min_bytes) {
    RecordShape result = shape(RecordFormat::kRelative, max_bytes, min_bytes);
    result.slot_header = header;
    return result;
}

RecordShape lines(uint32_t max_bytes, bool crlf) {
    RecordShape result = shape(RecordFormat::kLine, max_bytes, max_bytes);
    result.ends_in_crlf = crlf;
    return result;
}

RecordShape lengths(LengthHeader header) {
    RecordShape result = shape(RecordFormat::kVariable, 4, 2);
    result.length_header = header;
    return result;
}

class Records : public testing::Test {
 protected:
    // "1[ABC] 2[DEF]", then the failure with the name of the file left out.
    std::string read(const std::string &contents, const RecordShape &wanted) {
        const std::string path = folder_.write("data", contents);
        std::string text;
        try {
            RecordReader reader(path, wanted);
            Record record;
            while (reader.next(record)) {
                text += text.empty() ? "" : " ";
                text += std::to_string(record.number) + "[" +
                        std::string(record.bytes.begin(), record.bytes.end()) + "]";
            }
            notes_ = reader.notes();
            header_ = reader.shape().slot_header;
        } catch (const tool::Failure &failure) {
            const std::string what = failure.what();
            EXPECT_TRUE(what.starts_with(path + ": ")) << what;
            text += (text.empty() ? "" : " ") + what.substr(path.size() + 2);
        }
        return text;
    }

    support::TemporaryFolder folder_;
    ReaderNotes notes_;
    SlotHeader header_ = SlotHeader::kUnknown;
};

struct Row {
    const char *name;
    std::string contents;
    RecordShape shape;
    std::string expected;
};

const std::string kSlotAdvice = " (--slot-header chooses between the two widths)";
const std::string kLengthAdvice = " (--length-header chooses among the forms of headers)";

TEST_F(Records, ComeOutOfEveryFormOrSayWhatIsWrong) {
    const RecordShape fixed = shape(RecordFormat::kFixed, 3, 3);
    const Row rows[] = {
        {"fixed, nothing", "", fixed, ""},
        {"fixed, two", "ABCDEF", fixed, "1[ABC] 2[DEF]"},
        {"fixed, cut off", "ABCDE", fixed,
         "1[ABC] record 2 at byte 3: the file ends after 2 of the 3 bytes of a record; all "
         "records of the file have that length"},

        {"header 0", "\0\2\0\0AB\0\4\0\0CDEF"s, lengths(LengthHeader::kBig16ThenZeros),
         "1[AB] 2[CDEF]"},
        {"header 1", "\0\0\0\2AB\0\0\0\4CDEF"s, lengths(LengthHeader::kBig32), "1[AB] 2[CDEF]"},
        {"header 2", "\2\0\0\0AB\4\0\0\0CDEF"s, lengths(LengthHeader::kNative32), "1[AB] 2[CDEF]"},
        {"header 3", "\0\2AB\0\4CDEF"s, lengths(LengthHeader::kBig16), "1[AB] 2[CDEF]"},
        {"header of another form", "\0\2AB\0\4CDEF"s, lengths(LengthHeader::kBig16ThenZeros),
         "record 1 at byte 0: the length header 00024142 states no length; 2 to 4 would be right" +
             kLengthAdvice},
        {"length below the minimum", "\0\2\0\0AB\0\1\0\0C"s, lengths(LengthHeader::kBig16ThenZeros),
         "1[AB] record 2 at byte 6: the length header 00010000 states 1 bytes; 2 to 4 would be "
         "right" +
             kLengthAdvice},
        {"length above the maximum", "\xFF\xFF\0\0AB"s, lengths(LengthHeader::kBig16ThenZeros),
         "record 1 at byte 0: the length header FFFF0000 states 65535 bytes; 2 to 4 would be "
         "right" +
             kLengthAdvice},
        {"length with the sign bit", "\xFF\xFF\xFF\xFF"s, lengths(LengthHeader::kBig32),
         "record 1 at byte 0: the length header FFFFFFFF states 4294967295 bytes; 2 to 4 would be "
         "right" +
             kLengthAdvice},
        {"header cut off", "\0\2\0\0AB\0"s, lengths(LengthHeader::kBig16ThenZeros),
         "1[AB] record 2 at byte 6: the file ends after 1 of the 4 bytes of a length header"},
        {"record cut off", "\0\4\0\0AB"s, lengths(LengthHeader::kBig16ThenZeros),
         "record 1 at byte 0: the file ends after 6 of the 8 bytes of a record with its length "
         "header"},

        {"lines", "AB\n\nABC\n", lines(3, false), "1[AB ] 2[   ] 3[ABC]"},
        {"open last line", "AB\nC", lines(3, false), "1[AB ] 2[C  ]"},
        {"line of the record's length without an end", "ABC", lines(3, false), "1[ABC]"},
        {"line too long", "A\nABCD\n", lines(3, false),
         "1[A  ] record 2 at byte 2: the line is longer than the record's 3 bytes"},
        {"open line too long", "ABCD", lines(3, false),
         "record 1 at byte 0: the line is longer than the record's 3 bytes"},
        {"too long by a CR", "ABC\r\n", lines(3, false),
         "record 1 at byte 0: the line is longer than the record's 3 bytes; it ends in CR LF, "
         "which --line-end crlf reads"},
        {"control characters are data", "A\t\r\n\0\x1a\n"s, lines(3, false),
         "1[A\t\r] 2[\0\x1a ]"s},
        {"CR LF", "AB\r\nABC\r\n\r\n", lines(3, true), "1[AB ] 2[ABC] 3[   ]"},
        {"CR LF, LF alone", "AB\r\nAB\n", lines(3, true),
         "1[AB ] record 2 at byte 4: the line ends in LF alone; without --line-end crlf that "
         "would be right"},
        {"CR LF, too long", "ABCD\r\n", lines(3, true),
         "record 1 at byte 0: the line is longer than the record's 3 bytes"},

        {"slots of 4", "\2\0\0\0AB\0\0\0\0\0\0\2\0\0\0CD"s, slots(SlotHeader::k32, 2, 2),
         "1[AB] 3[CD]"},
        {"slots of 8", "\2\0\0\0\0\0\0\0AB\0\0\0\0\0\0\0\0\0\0"s, slots(SlotHeader::k64, 2, 2),
         "1[AB]"},
        {"short record in a slot", "\1\0\0\0A "s, slots(SlotHeader::k32, 2, 1), "1[A]"},
        {"slot states too much", "\2\0\0\0AB\3\0\0\0CD"s, slots(SlotHeader::k32, 2, 2),
         "1[AB] record 2 at byte 6: the slot header 03000000 states 3 bytes; 0 (empty) or 2 would "
         "be right" +
             kSlotAdvice},
        {"slot cut off", "\2\0\0\0AB\2\0\0\0C"s, slots(SlotHeader::k32, 2, 2),
         "1[AB] record 2 at byte 6: the file ends after 5 of the 6 bytes of a slot (header and "
         "record)"},
        {"slots of unknown width that nothing decides", std::string(24, '\0'),
         slots(SlotHeader::kUnknown, 4, 4),
         "the slots can be read with headers of 4 and of 8 bytes; --slot-header 4 (written by a "
         "32-bit program) or --slot-header 8 decides"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(read(row.contents, row.shape), row.expected);
    }
}

TEST_F(Records, OfARelativeFileTellTheWidthOfItsHeaders) {
    const RecordShape unknown = slots(SlotHeader::kUnknown, 2, 2);
    EXPECT_EQ(read("\2\0\0\0AB\2\0\0\0CD"s, unknown), "1[AB] 2[CD]");
    EXPECT_EQ(header_, SlotHeader::k32);
    EXPECT_EQ(read("\2\0\0\0\0\0\0\0AB"s, unknown), "1[AB]");
    EXPECT_EQ(header_, SlotHeader::k64);
    // Thirty bytes are three slots of ten or five of six: the headers decide.
    EXPECT_EQ(read("\2\0\0\0AB\2\0\0\0CD\2\0\0\0EF\2\0\0\0GH\2\0\0\0IJ"s, unknown),
              "1[AB] 2[CD] 3[EF] 4[GH] 5[IJ]");
    EXPECT_EQ(header_, SlotHeader::k32);
    EXPECT_EQ(read("", unknown), "");
}

TEST_F(Records, LeaveNotesOnWhatDoesNotComeBack) {
    read("\2\0\0\0AB\0\0\0\0CD\1\0\0\0Ex\0\0\0\0\0\0"s, slots(SlotHeader::k32, 2, 1));
    EXPECT_EQ(notes_.empty_slots, 2u);
    EXPECT_EQ(notes_.slots_with_old_bytes, 1u);
    EXPECT_EQ(notes_.slots_with_tails, 1u);
    EXPECT_EQ(notes_.trailing_empty_slots, 1u);

    read("A \nB\r\nC", lines(3, false));
    EXPECT_EQ(notes_.blank_ended_lines, 1u);
    EXPECT_EQ(notes_.cr_ended_lines, 1u);
    EXPECT_TRUE(notes_.last_line_is_open);
    read("A\n", lines(3, false));
    EXPECT_FALSE(notes_.last_line_is_open);
}

// Records of every position relative to the borders of the buffer's blocks.
TEST_F(Records, LargerThanABlockAreWhole) {
    constexpr uint32_t kBytes = 700'001;
    std::string contents;
    for (char c = 'a'; c < 'f'; c++) {
        contents += std::string(kBytes, c);
    }
    const std::string path = folder_.write("data", contents);
    RecordReader reader(path, shape(RecordFormat::kFixed, kBytes, kBytes));
    EXPECT_EQ(reader.size(), contents.size());
    Record record;
    for (char c = 'a'; c < 'f'; c++) {
        ASSERT_TRUE(reader.next(record));
        EXPECT_EQ(std::string(record.bytes.begin(), record.bytes.end()), std::string(kBytes, c));
    }
    EXPECT_FALSE(reader.next(record));
    EXPECT_EQ(reader.position(), contents.size());
}

TEST_F(Records, DoNotComeFromAFolderOrFromNowhere) {
    const RecordShape fixed = shape(RecordFormat::kFixed, 1, 1);
    EXPECT_THROW(RecordReader(folder_.path(), fixed), tool::Failure);
    EXPECT_THROW(RecordReader(folder_.path("nothing"), fixed), tool::Failure);
}

}  // namespace
