// SPDX-License-Identifier: MIT
#include "host/files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "host/memory.h"
#include "tests/runtime/host_fixture.h"

namespace {

class Files : public testing::Test {
 protected:
    std::vector<std::string> lines(const std::string &name, int size) {
        std::vector<std::string> all;
        ZFile *file = os_fopen(folder_.path(name).c_str(), "r", 0);
        EXPECT_NE(file, nullptr);
        if (file == nullptr)
            return all;
        std::vector<char> buffer(static_cast<size_t>(size));
        while (char *line = os_fgets(buffer.data(), size, file)) {
            EXPECT_EQ(line, buffer.data());
            all.emplace_back(line);
        }
        EXPECT_EQ(os_ferror(file), 0);
        EXPECT_EQ(os_fclose(file), 1);
        return all;
    }

    fixture::Folder folder_;
};

using Lines = std::vector<std::string>;

TEST_F(Files, LinesEndBehindTheirNewline) {
    folder_.write("f", "one\n\ntwo\r\nlast");
    EXPECT_EQ(lines("f", 100), (Lines{"one\n", "\n", "two\r\n", "last"}));
}

TEST_F(Files, ALongLineComesInPieces) {
    folder_.write("f", "abcdefg\nh\n");
    EXPECT_EQ(lines("f", 4), (Lines{"abc", "def", "g\n", "h\n"}));
    EXPECT_EQ(lines("f", 9), (Lines{"abcdefg\n", "h\n"}));
    EXPECT_EQ(lines("f", 8), (Lines{"abcdefg", "\n", "h\n"}));
}

TEST_F(Files, AnEmptyFileHasNoLine) {
    folder_.write("f", "");
    EXPECT_EQ(lines("f", 10), Lines{});
}

TEST_F(Files, LinesAcrossTheBuffersEdgeAreWhole) {
    for (size_t length : {16382u, 16383u, 16384u, 16385u, 40000u}) {
        const std::string first(length, 'x');
        folder_.write("f", first + "\nsecond\n");
        EXPECT_EQ(lines("f", 60000), (Lines{first + "\n", "second\n"})) << length;
    }
}

TEST_F(Files, ABufferWithoutRoom) {
    folder_.write("f", "a");
    ZFile *file = os_fopen(folder_.path("f").c_str(), "r", 0);
    char byte = '#';
    EXPECT_EQ(os_fgets(&byte, 1, file), &byte);
    EXPECT_EQ(byte, '\0');
    errno = 0;
    EXPECT_EQ(os_fgets(&byte, 0, file), nullptr);
    EXPECT_EQ(errno, EINVAL);
    os_fclose(file);
}

TEST_F(Files, ReadsGiveEveryByteOnce) {
    std::string all;
    for (size_t i = 0; i < 100000; ++i)
        all += static_cast<char>(i * 7 + i / 256);
    folder_.write("f", all);
    for (size_t size : {1u, 7u, 16383u, 16384u, 32000u, 200000u}) {
        ZFile *file = os_fopen(folder_.path("f").c_str(), "rb", 0);
        ASSERT_NE(file, nullptr);
        std::string read;
        std::string buffer(size, '\0');
        while (size_t n = os_fread(buffer.data(), size, file)) {
            ASSERT_LE(n, size);
            read.append(buffer, 0, n);
        }
        EXPECT_EQ(os_ferror(file), 0);
        EXPECT_TRUE(read == all) << size;
        os_fclose(file);
    }
}

TEST_F(Files, ReadsAndLinesShareOnePlace) {
    folder_.write("f", "one\ntwo\nthree\n");
    ZFile *file = os_fopen(folder_.path("f").c_str(), "r", 0);
    char buffer[20] = {};
    EXPECT_STREQ(os_fgets(buffer, sizeof buffer, file), "one\n");
    EXPECT_EQ(os_fread(buffer, 2, file), 2u);
    EXPECT_EQ(std::string(buffer, 2), "tw");
    EXPECT_STREQ(os_fgets(buffer, sizeof buffer, file), "o\n");
    os_fclose(file);
}

TEST_F(Files, WhatIsWrittenIsInTheFile) {
    std::string all;
    for (size_t size : {0u, 1u, 16383u, 16384u, 16385u, 100000u, 5u}) {
        SCOPED_TRACE(size);
        all.append(size, static_cast<char>('a' + size % 26));
        ZFile *file = os_fopen(folder_.path("f").c_str(), "wb", 0);
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(os_fwrite(all.data(), all.size() / 2, file), all.size() / 2);
        EXPECT_EQ(os_fwrite(all.data() + all.size() / 2, all.size() - all.size() / 2, file),
                  all.size() - all.size() / 2);
        EXPECT_EQ(os_fclose(file), 1);
        EXPECT_TRUE(folder_.read("f") == all);
    }
}

TEST_F(Files, AppendingKeepsWhatIsThere) {
    folder_.write("f", "one\n");
    ZFile *file = os_fopen(folder_.path("f").c_str(), "a", 0);
    os_fwrite("two\n", 4, file);
    EXPECT_EQ(os_fclose(file), 1);
    EXPECT_EQ(folder_.read("f"), "one\ntwo\n");
}

TEST_F(Files, WhatDoesNotOpenSaysWhy) {
    folder_.write("f", "x");
    struct Row {
        std::string path;
        const char *mode;
        int cause;
    };
    const Row rows[] = {
        {folder_.path("missing"), "r", ENOENT},
        {folder_.path(), "r", EISDIR},
        {folder_.path(), "w", EISDIR},
        {folder_.path("f/x"), "r", ENOTDIR},
        {"", "r", ENOENT},
        {folder_.path("f"), "x", EINVAL},
        {folder_.path("f"), "", EINVAL},
        {folder_.path("f"), "r+", EINVAL},
        {folder_.path("no/such/folder"), "w", ENOENT},
    };
    const size_t blocks = ZMemoryBlocks(nullptr);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.path + " " + row.mode);
        errno = 0;
        EXPECT_EQ(os_fopen(row.path.c_str(), row.mode, 0), nullptr);
        EXPECT_EQ(errno, row.cause);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
    EXPECT_EQ(os_fopen(nullptr, "r", 0), nullptr);
    EXPECT_EQ(folder_.read("f"), "x");
}

TEST_F(Files, ARefusedAllocationLeavesTheFileAlone) {
    folder_.write("f", "kept");
    const std::string path = folder_.path("f");
    ZMemoryRefuse(1, 1);
    errno = 0;
    EXPECT_EQ(os_fopen(path.c_str(), "w", 0), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(folder_.read("f"), "kept");
}

TEST_F(Files, EachDirectionRefusesTheOther) {
    folder_.write("f", "x");
    char byte;
    ZFile *reading = os_fopen(folder_.path("f").c_str(), "r", 0);
    EXPECT_EQ(os_fwrite("y", 1, reading), 0u);
    EXPECT_NE(os_ferror(reading), 0);
    EXPECT_EQ(os_fclose(reading), 1);
    ZFile *writing = os_fopen(folder_.path("g").c_str(), "w", 0);
    EXPECT_EQ(os_fread(&byte, 1, writing), 0u);
    EXPECT_NE(os_ferror(writing), 0);
    EXPECT_EQ(os_fclose(writing), 0);
}

TEST_F(Files, AFullDiskIsNoticed) {
    ZFile *file = os_fopen("/dev/full", "w", 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(os_fwrite("x", 1, file), 1u);  // buffered
    errno = 0;
    EXPECT_EQ(os_fclose(file), 0);
    EXPECT_EQ(errno, ENOSPC);

    file = os_fopen("/dev/full", "w", 0);
    const std::string large(20000, 'x');
    EXPECT_EQ(os_fwrite(large.data(), large.size(), file), 0u);
    EXPECT_NE(os_ferror(file), 0);
    EXPECT_EQ(os_fwrite("x", 1, file), 0u);
    EXPECT_EQ(os_fclose(file), 0);
}

TEST_F(Files, AClosedFileGivesItsMemoryBack) {
    folder_.write("f", "x");
    const size_t blocks = ZMemoryBlocks(nullptr);
    ZFile *file = os_fopen(folder_.path("f").c_str(), "r", 0);
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks + 1);
    os_fclose(file);
    EXPECT_EQ(ZMemoryBlocks(nullptr), blocks);
    EXPECT_EQ(os_fclose(nullptr), 0);
}

TEST_F(Files, RemovesAFile) {
    folder_.write("f", "x");
    EXPECT_EQ(os_unlink(folder_.path("f").c_str()), 1);
    errno = 0;
    EXPECT_EQ(os_unlink(folder_.path("f").c_str()), 0);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, StandardInputIsAFileThatStays) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "one\ntwo\n", 8), 8);
    close(ends[1]);
    int old = dup(0);
    dup2(ends[0], 0);
    close(ends[0]);
    char buffer[10];
    EXPECT_STREQ(os_fgets(buffer, sizeof buffer, os_stdin()), "one\n");
    EXPECT_EQ(os_fclose(os_stdin()), 1);
    EXPECT_STREQ(os_fgets(buffer, sizeof buffer, os_stdin()), "two\n");
    EXPECT_EQ(os_fgets(buffer, sizeof buffer, os_stdin()), nullptr);
    EXPECT_EQ(os_ferror(os_stdin()), 0);
    dup2(old, 0);
    close(old);
}

TEST(Date, FollowsSourceDateEpochInLocalTime) {
    struct Row {
        const char *zone, *epoch;
        int32_t date;
    };
    const Row rows[] = {
        {"UTC", "0", 19700101},          {"UTC", "86399", 19700101},
        {"UTC", "86400", 19700102},      {"UTC", "951782400", 20000229},
        {"LINT-14", "86399", 19700102},  {"IDLW+12", "86400", 19700101},
        {"UTC", "2147483648", 20380119}, {"UTC", "4102444800", 21000101},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.zone) + " " + row.epoch);
        fixture::Environment zone("TZ", row.zone);
        tzset();
        fixture::Environment epoch("SOURCE_DATE_EPOCH", row.epoch);
        EXPECT_EQ(os_date(), row.date);
    }
    tzset();
}

TEST(Date, WithoutANumberOfSecondsItIsToday) {
    for (const char *text : {"", "yesterday", "12x", " 0"}) {
        fixture::Environment epoch("SOURCE_DATE_EPOCH", text);
        EXPECT_GT(os_date(), 20250000) << text;
        EXPECT_LT(os_date(), 99991232) << text;
    }
}

}  // namespace
