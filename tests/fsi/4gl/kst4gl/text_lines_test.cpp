// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/text_lines.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/dictionary_file.h"

namespace {

using fsi::LoadStatus;
using fsi::OwnedFile;
using fsi::TextLines;

class TextLinesWalk : public testing::Test {
 protected:
    TextLinesWalk() {
        fsi::reader.comments = ZSTRINGNew(40, "XFD Comments", "test");
        fsi::reader.path = "some.xfd";
    }
    ~TextLinesWalk() override { fsi::release_pending_comment(); }

    // Every data line, "<line>:<comments>:<first value>", up to the end or the
    // first refusal, whose message ends the text.
    std::string walk(std::string_view text) {
        const std::string path = folder_.write("some.xfd", text);
        const OwnedFile file(os_fopen(path.c_str(), "r", 0));
        TextLines lines(file.get());
        fsi::reader.line = 0;
        std::string out;
        while (lines.next() == LoadStatus::kDone)
            out += std::to_string(fsi::reader.line) + ':' + ZStringGet(fsi::reader.comments) + ':' +
                   lines.text(0) + '\n';
        return out + fsi::reader.message;
    }

    support::TemporaryFolder folder_;
};

constexpr const char *kEnd = "Read error on XFD file, error = 0";

TEST_F(TextLinesWalk, GivesDataLinesWithTheCommentsAboveThem) {
    EXPECT_EQ(walk("one\n# a\n\n \t# b\ntwo\nthree\n"),
              std::string("1::one\n5:# a\n\n \t# b:two\n6::three\n") + kEnd);
}

TEST_F(TextLinesWalk, BlankLinesAndALoneCrAreComments) {
    EXPECT_EQ(walk("\n\r\n   \n\t\r\n \t x\n"), std::string("5:\r\n   \n\t\r:x\n") + kEnd)
        << "a comment keeps its line as it was read";
}

TEST_F(TextLinesWalk, LeadingBlanksDoNotCount) {
    EXPECT_EQ(walk(" \t one\n"), std::string("1::one\n") + kEnd);
}

TEST_F(TextLinesWalk, FilesWithoutADataLineEndAtOnce) {
    EXPECT_EQ(walk(""), kEnd);
    EXPECT_EQ(walk("\n"), kEnd);
    EXPECT_EQ(walk("x"), kEnd) << "the last character is cut, nothing is left";
    EXPECT_EQ(walk(" "), kEnd);
    EXPECT_EQ(walk(std::string_view("\0", 1)), kEnd);
}

TEST_F(TextLinesWalk, LastLineWithoutANewlineLosesItsLastCharacter) {
    EXPECT_EQ(walk("one\ntwo"), std::string("1::one\n2::tw\n") + kEnd);
}

TEST_F(TextLinesWalk, DataLinesMayFillTheBuffer) {
    const std::string fits(510, 'x');
    EXPECT_EQ(walk(fits + "\ny\n"), "1::" + fits + "\n2::y\n" + kEnd);
    EXPECT_EQ(walk(fits + "\r\ny\n"),
              "XFD file 'some.xfd', line 1: the line is longer than 510 characters");
    EXPECT_EQ(walk("y\n" + fits + "x\ny\n"),
              "1::y\nXFD file 'some.xfd', line 2: the line is longer than 510 characters");
    EXPECT_EQ(walk(fits + "xx\ny\n"),
              "XFD file 'some.xfd', line 1: the line is longer than 510 characters");
    EXPECT_EQ(walk(fits + 'x'), "1::" + fits + '\n' + kEnd) << "the end of the file closes it";
    EXPECT_EQ(walk(fits + "xx"),
              "XFD file 'some.xfd', line 1: the line is longer than 510 characters");
}

TEST_F(TextLinesWalk, RestOfALongCommentIsSkipped) {
    for (const size_t length : {509, 510, 511, 512, 1020, 1021, 1022, 5000}) {
        SCOPED_TRACE(length);
        const std::string comment = '#' + std::string(length, 'c');
        EXPECT_EQ(walk(comment + "\ndata\n# next\nmore\n"),
                  "2:" + comment.substr(0, 510) + ":data\n4:# next:more\n" + kEnd);
        EXPECT_EQ(walk("data\n" + comment), std::string("1::data\n") + kEnd);
    }
}

TEST_F(TextLinesWalk, ZeroBytesAreRefused) {
    EXPECT_EQ(walk(std::string_view("one\ntwo\0half\nthree\n", 19)),
              "1::one\nXFD file 'some.xfd', line 2: the line holds a zero byte behind 'tw'");
}

TEST_F(TextLinesWalk, NumbersAreCheckedOnceALine) {
    const std::string path = folder_.write("some.xfd", "5,-1,x,300\n7\n");
    const OwnedFile file(os_fopen(path.c_str(), "r", 0));
    TextLines lines(file.get());
    fsi::reader.line = 0;
    ASSERT_EQ(lines.next(), LoadStatus::kDone);
    EXPECT_EQ(lines.number<uint16_t>(0, "first"), 5);
    EXPECT_EQ(lines.number_if_present<uint16_t>(4, "absent"), 0);
    EXPECT_EQ(lines.number<int8_t>(1, "second", 127, -128), -1);
    EXPECT_EQ(lines.status(), LoadStatus::kDone);
    EXPECT_EQ(lines.number<uint8_t>(3, "fourth"), 0);
    EXPECT_EQ(lines.status(), LoadStatus::kMalformed);
    EXPECT_EQ(lines.number<uint16_t>(2, "third"), 0);
    EXPECT_EQ(lines.number<uint16_t>(0, "first"), 0) << "nothing of a refused line is used";
    EXPECT_STREQ(
        fsi::reader.message,
        "XFD file 'some.xfd', line 1: the fourth must be a number from 0 to 255, not '300'");

    ASSERT_EQ(lines.next(), LoadStatus::kDone);
    EXPECT_EQ(lines.status(), LoadStatus::kDone);
    EXPECT_EQ(lines.number<uint16_t>(0, "first"), 7);
}

}  // namespace
