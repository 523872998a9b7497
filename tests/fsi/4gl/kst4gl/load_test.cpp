// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/load.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/memory.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"

namespace {

using support::file_error;
using support::OwnedXfd;
using support::print_fields;

class Load : public support::DictionaryTest {};

TEST_F(Load, FormIsToldByTheFirstLine) {
    EXPECT_NE(load("XFDfile,3,C,C\n9,9,0\n0\n0\n"), nullptr);
    EXPECT_NE(load("# a comment first\n\n  XFD,3,C,C\n9,9,0\n0\n0\n"), nullptr);
    EXPECT_NE(load("<?xml version=\"1.0\"?>\n<xfd:xfdfile/>\n"), nullptr);
    const std::string long_name(2000, 'x');
    EXPECT_NE(load('<' + long_name + "></" + long_name + ">\n"), nullptr);
    for (const char *text : {"xfd,8,C,C,12\n", "8,XFD\n"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(load(text), nullptr);
        const std::string error = file_error();
        EXPECT_TRUE(error.starts_with("19 5 0 'XFD file '" + path() +
                                      "', line 1, column 1: neither the text form nor XML: "))
            << error;
    }
    EXPECT_EQ(load("XFD," + std::string(2000, '8')), nullptr);
    EXPECT_EQ(file_error(),
              "19 2 0 'XFD file '" + path() + "', line 1: the line is longer than 510 characters'");
}

TEST_F(Load, FileWithoutADataLineIsAReadError) {
    for (const char *text : {"", "\n", "# only comments\n# here\n"}) {
        EXPECT_EQ(load(text), nullptr);
        EXPECT_EQ(file_error(), "19 1 0 'Read error on XFD file, error = 0'");
    }
}

TEST_F(Load, ReadThatFailsTellsTheSystemError) {
    // Reading the memory of a process at address 0 is an input/output error.
    std::filesystem::create_symlink("/proc/self/mem", folder_.path("file.xfd"));
    EXPECT_EQ(Z4ParseXFD("file", 0, 30), nullptr);
    EXPECT_EQ(file_error(), "19 1 5 'Read error on XFD file, error = 5'");
    EXPECT_EQ(errno, EIO);
}

TEST_F(Load, SuccessClearsAnEarlierError) {
    EXPECT_EQ(load(""), nullptr);
    EXPECT_NE(load("XFD,3,C,C\n9,9,0\n0\n0\n"), nullptr);
    EXPECT_EQ(*Zstdlib_f_errno(), 0);
    EXPECT_EQ(*Zstdlib_f_int_errno(), 0);
    EXPECT_EQ(*Zstdlib_f_errmsg(), nullptr);
    EXPECT_STREQ(fsi::reader.message, "");
}

TEST_F(Load, FailureOfAllocationHasNoMessage) {
    folder_.write("file.xfd", "XFD,3,C,C\n9,9,0\n0\n0\n");
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(Z4ParseXFD("file", 0, 30), nullptr);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(file_error(), "14 0 " + std::to_string(ENOMEM) + " ''");
    EXPECT_EQ(errno, ENOMEM);
}

TEST_F(Load, ReaderKeepsNothingBetweenLoads) {
    // A failure inside a group, comments pending.
    EXPECT_EQ(load("XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n0\n2\n90001,2,1,\"START OCCURS\"\n# text\n",
                   XFD_LOAD_COMMENTS),
              nullptr);
    EXPECT_EQ(fsi::reader.comments, nullptr);
    const OwnedXfd xfd = load(
        "XFD,8,C,C,12\n9,9,0\n0,18,46,44,0\n0\n1\n# own\n0,1,16,1,0,0,0,1,A\n", XFD_LOAD_COMMENTS);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(print_fields(*xfd),
              "field 0: 'a' at 0 size 1 type 16 digits 1 level 1 comment '# own'\n");
    EXPECT_EQ(fsi::reader.comments, nullptr);
}

TEST_F(Load, BlocksCarryTheirTags) {
    const OwnedXfd xfd = load(
        "XFD,8,C,C,12,TRIG\n9,9,2\n0,18,46,44,0\n1,0,1,0\n1\nA\n1,0,1,0\n1\nB\n1\n1,1,A,X\n2\n"
        "# note\n0,1,16,1,0,0,0,1,A\n1,1,16,1,0,0,0,1,B\n",
        XFD_LOAD_COMMENTS);
    ASSERT_NE(xfd, nullptr) << file_error();
    for (const char *tag :
         {"pxfd", "pxfd->x_cvt_info", "pxfd->x_key_desc", "pxfd->x_condition", "pxfd->x_fdesc",
          "pxfd->x_cobol_trigger", "XFD file name", "XFD Comments"})
        EXPECT_EQ(ZMemoryBlocks(tag), 1U) << tag;
    EXPECT_EQ(ZMemoryBlocks("pKey->k_field"), 2U);
}

TEST_F(Load, NothingStaysAllocated) {
    const size_t before = ZMemoryBlocks(nullptr);
    const std::string text =
        "XFD,8,C,C,12,TRIG\n9,9,1\n0,18,46,44,0\n1,0,1,0\n1\nA\n1\n1,1,A,X\n2,4,2,4\n# note\n"
        "0,1,16,1,0,0,0,1,A\n90001,3,1,\"START OCCURS\"\n# other\n1,1,16,1,0,0,0,5,B\n"
        "90002,\"END OCCURS\"\n";
    for (uint32_t flags = 0; flags < 32; ++flags) {
        ASSERT_NE(load(text, flags), nullptr) << flags;
        ASSERT_EQ(load(text.substr(0, text.size() / 2), flags), nullptr) << flags;
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

// What each flag does is independent of the others, up to names: copies and
// sub-tables both keep the declared name.
TEST_F(Load, FlagsCombine) {
    const std::string head = "XFD,8,C,C,8\n4,4,0\n0,18,46,44,0\n0\n2,3,3,4\n";
    const std::string body =
        "0,4,22,4,0,0,999,1,ALL\n# note\n0,1,16,1,0,0,0,1,A\n90001,2,1,\"START OCCURS\"\n"
        "1,1,16,1,0,0,0,5,B\n90002,\"END OCCURS\"\n";
    for (uint32_t flags = 0; flags < 32; ++flags) {
        SCOPED_TRACE(flags);
        const bool comments = (flags & XFD_LOAD_COMMENTS) != 0;
        const bool listed = (flags & XFD_LOAD_LISTED_VIEW) != 0;
        const bool subtables = (flags & XFD_LOAD_SUBTABLES) != 0;
        const bool copies = (flags & XFD_LOAD_COPY_OCCURS) != 0;
        const bool key = (flags & XFD_LOAD_RELATIVE_KEY) != 0;
        int slot = 0;
        const auto next = [&slot] { return "field " + std::to_string(slot++) + ": "; };
        std::string expected;
        if (listed)
            expected += next() + "'all' at 0 size 4 type 22 digits 4 condition 999 level 1\n";
        expected += next() + "'a' at 0 size 1 type 16 digits 1 level 1" +
                    (comments ? " comment '# note'\n" : "\n");
        for (const char *k : {"1", "2"})
            expected += next() + "'b" + (subtables || copies ? "" : std::string("_") + k) +
                        "' at " + k + " size 1 type 16 digits 1 level 5 occurs 2/" + k +
                        (copies && *k == '2' ? " hash name 'b'\n" : "\n");
        if (key)
            expected +=
                next() + "'z4glidentity' at 4 size 31 type 1 digits 31 level 999 flags KS\n";

        const OwnedXfd xfd = load(head + body, flags);
        ASSERT_NE(xfd, nullptr) << file_error();
        EXPECT_EQ(print_fields(*xfd), expected);
        EXPECT_EQ(xfd->x_n_keys, key ? 1 : 0);
    }
}

TEST_F(Load, OtherFlagBitsChangeNothing) {
    const std::string text = "XFD,3,C,C\n9,9,0\n0\n1\n0,1,16,1,0,0,0,A\n";
    const OwnedXfd plain = load(text, 0);
    const OwnedXfd other = load(text, 0xFFFFFFE0U);
    EXPECT_EQ(support::print_xfd(other.get()), support::print_xfd(plain.get()));
}

TEST_F(Load, LongMessagesAreCut) {
    const std::string name(3000, 'n');
    EXPECT_EQ(Z4ParseXFD(name.c_str(), 0, 30), nullptr);
    EXPECT_EQ(std::string(*Zstdlib_f_errmsg()),
              ("Unable to open XFD file for '" + name).substr(0, sizeof fsi::reader.message - 1));
}

TEST_F(Load, ColumnCaseIsSetUntilTheNextLoad) {
    fsi::set_column_case(fsi::kCaseUpper);
    EXPECT_EQ(fsi::reader.column_case, fsi::kCaseUpper);
    ASSERT_NE(load("XFD,3,C,C\n9,9,0\n0\n0\n"), nullptr);
    EXPECT_EQ(fsi::reader.column_case, fsi::kCaseLower);
}

}  // namespace
