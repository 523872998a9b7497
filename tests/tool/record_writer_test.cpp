// SPDX-License-Identifier: MIT
#include "tool/record_writer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/dictionary_file.h"
#include "tool/failure.h"

namespace {

using tool::LengthHeader;
using tool::OutputFile;
using tool::RecordFormat;
using tool::RecordShape;
using tool::RecordWriter;
using tool::SlotHeader;
using namespace std::string_literals;

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

size_t files_in(const std::string &folder) {
    const auto files = std::filesystem::directory_iterator(folder);
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

RecordShape shape(RecordFormat format, uint32_t max_bytes) {
    RecordShape result;
    result.format = format;
    result.max_bytes = max_bytes;
    result.slot_header = SlotHeader::k32;
    return result;
}

RecordShape with(RecordShape result, LengthHeader header) {
    result.length_header = header;
    return result;
}

RecordShape with(RecordShape result, SlotHeader header) {
    result.slot_header = header;
    return result;
}

struct Numbered {
    uint64_t number;
    std::string bytes;
};

struct Row {
    const char *name;
    RecordShape shape;
    std::vector<Numbered> records;
    std::string expected;  // contents, or the failure without the name of the file
};

class WrittenRecords : public testing::Test {
 protected:
    std::string write(const RecordShape &wanted, const std::vector<Numbered> &records) {
        const std::string path = folder_.path("data");
        try {
            RecordWriter writer(path, wanted);
            for (const Numbered &record : records) {
                writer.put(record.number,
                           {reinterpret_cast<const unsigned char *>(record.bytes.data()),
                            record.bytes.size()});
            }
            writer.commit();
        } catch (const tool::Failure &failure) {
            return std::string(failure.what()).substr(path.size() + 2);
        }
        return read_file(path);
    }

    support::TemporaryFolder folder_;
};

TEST_F(WrittenRecords, TakeTheFormOfACobolProgram) {
    const RecordShape fixed = shape(RecordFormat::kFixed, 3);
    const RecordShape line = shape(RecordFormat::kLine, 4);
    const RecordShape slot = shape(RecordFormat::kRelative, 2);
    const RecordShape varying = shape(RecordFormat::kVariable, 70'000);
    RecordShape crlf = line;
    crlf.ends_in_crlf = true;
    const Row rows[] = {
        {"fixed", fixed, {{1, "ABC"}, {2, "DEF"}}, "ABCDEF"},
        {"fixed, nothing", fixed, {}, ""},
        {"fixed, too short",
         fixed,
         {{7, "AB"}},
         "record 7: it has 2 bytes; 3 would fit a fixed-length sequential file"},
        {"fixed, too long",
         fixed,
         {{7, "ABCD"}},
         "record 7: it has 4 bytes; 3 would fit a fixed-length sequential file"},
        {"lines lose trailing blanks",
         line,
         {{1, "A B "}, {2, "    "}, {3, "ABCD"}},
         "A B\n\nABCD\n"},
        {"lines keep other bytes", line, {{1, "\t\0\r "s}}, "\t\0\r\n"s},
        {"CR LF", crlf, {{1, "A   "}, {2, ""}}, "A\r\n\r\n"},
        {"line feed in a line",
         line,
         {{3, "A\nB "}},
         "record 3: it holds a line feed, which would make two lines of it; a line sequential "
         "file cannot keep it"},
        {"line too long",
         line,
         {{3, "ABCDE"}},
         "record 3: it has 5 bytes; at most 4 would fit a line sequential file"},
        {"slots", slot, {{1, "AB"}, {4, "C"}}, "\2\0\0\0AB\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0C "s},
        {"slots of a 64-bit program",
         with(slot, SlotHeader::k64),
         {{2, "AB"}},
         "\0\0\0\0\0\0\0\0\0\0\2\0\0\0\0\0\0\0AB"s},
        {"slots in any order", slot, {{3, "AB"}, {1, "CD"}}, "\2\0\0\0CD\0\0\0\0\0\0\2\0\0\0AB"s},
        {"slot for a record without bytes",
         slot,
         {{1, ""}},
         "record 1: it has no bytes, which in a relative file means that there is no record"},
        {"slot beyond any file",
         slot,
         {{INT64_MAX, "AB"}},
         "record 9223372036854775807: no file can have that many slots"},
        {"header 0", varying, {{1, "AB"}, {2, ""}}, "\0\2\0\0AB\0\0\0\0"s},
        {"header 1", with(varying, LengthHeader::kBig32), {{1, "AB"}}, "\0\0\0\2AB"s},
        {"header 2", with(varying, LengthHeader::kNative32), {{1, "AB"}}, "\2\0\0\0AB"s},
        {"header 3", with(varying, LengthHeader::kBig16), {{1, "AB"}}, "\0\2AB"s},
        {"longest of header 0",
         varying,
         {{1, std::string(65'535, 'x')}},
         "\xFF\xFF\0\0"s + std::string(65'535, 'x')},
        {"too long for header 0",
         varying,
         {{1, std::string(65'536, 'x')}},
         "record 1: its length does not fit the length header; --length-header 1 has room for it"},
        {"not too long for header 1",
         with(varying, LengthHeader::kBig32),
         {{1, std::string(65'536, 'x')}},
         "\0\1\0\0"s + std::string(65'536, 'x')},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(write(row.shape, row.records), row.expected);
    }
}

TEST(OutputFile, AppearsWhenItIsComplete) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("data", "old");
    {
        OutputFile file(path);
        file.write("new", 3);
        EXPECT_EQ(read_file(path), "old");
        EXPECT_EQ(files_in(folder.path()), 2u);
        file.commit();
    }
    EXPECT_EQ(read_file(path), "new");
    EXPECT_EQ(files_in(folder.path()), 1u);
}

TEST(OutputFile, LeavesNothingBehindWhenItIsGivenUp) {
    const support::TemporaryFolder folder;
    {
        OutputFile file(folder.path("data"));
        file.write("new", 3);
    }
    EXPECT_EQ(files_in(folder.path()), 0u);
}

TEST(OutputFile, KeepsModeAndLinksOfTheFileItReplaces) {
    const support::TemporaryFolder folder;
    const std::string path = folder.write("data", "old");
    const std::string link = folder.path("link");
    std::filesystem::create_symlink(path, link);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    OutputFile file(link);
    file.write("new", 3);
    file.commit();
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(read_file(path), "new");
}

TEST(OutputFile, HoldsPiecesOfEverySizeInOrder) {
    const support::TemporaryFolder folder;
    const std::string path = folder.path("data");
    std::string expected;
    OutputFile file(path);
    for (const size_t size : {1u, 1'048'575u, 1u, 3u, 2'000'000u, 1'048'576u, 0u, 5u}) {
        const std::string piece(size, static_cast<char>('a' + size % 26));
        file.write(piece.data(), piece.size());
        file.fill('-', 3);
        expected += piece + "---";
        EXPECT_EQ(file.position(), expected.size());
    }
    file.commit();
    EXPECT_TRUE(read_file(path) == expected);
}

TEST(OutputFile, SaysWhyItCannotBeWritten) {
    const support::TemporaryFolder folder;
    EXPECT_THROW(OutputFile(folder.path()), tool::Failure);
    EXPECT_THROW(OutputFile(folder.path("no/such/folder")), tool::Failure);
    OutputFile full("/dev/full");
    full.write("x", 1);
    EXPECT_THROW(full.commit(), tool::Failure);
}

}  // namespace
