// SPDX-License-Identifier: MIT
#include "host/strings.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/memory.h"

namespace {

constexpr const char *kSource = "tests/runtime/strings";
constexpr const char *kTag = "String test";

// Text and pieces in one line: newlines as "\n", zeros as "\0", pieces in brackets.
std::string print(ZString string) {
    const auto quoted = [](const char *bytes, size_t n) {
        std::string text;
        for (size_t i = 0; i < n; ++i) {
            text += bytes[i] == '\n' ? "\\n" : bytes[i] == '\0' ? "\\0" : std::string(1, bytes[i]);
        }
        return text;
    };
    EXPECT_EQ(ZStringGet(string)[ZStringGetLength(string)], '\0');
    std::string line = quoted(ZStringGet(string), ZStringGetLength(string));
    for (uint32_t i = 0; i < ZStringCountNSStrings(string); ++i) {
        size_t length = 0;
        const char *piece = ZStringGetNSPiece(string, i, &length);
        line += " [" + quoted(piece, length) + "]";
    }
    return line;
}

class Strings : public testing::Test {
 protected:
    void SetUp() override { blocks_ = ZMemoryBlocks(nullptr); }
    void TearDown() override {
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks_) << "a string was not released";
    }

    size_t blocks_ = 0;
};

TEST_F(Strings, ANewStringIsOneBlockUpToItsCapacityWhateverThatIs) {
    for (size_t capacity = 0; capacity < 20000; capacity += 1 + capacity / 7) {
        SCOPED_TRACE(capacity);
        ZString string = ZSTRINGNew(capacity, kTag, kSource);
        ASSERT_NE(string, nullptr);
        EXPECT_EQ(print(string), "");
        EXPECT_EQ(ZSTRINGAppend(string, std::string(capacity, 'x').c_str()), 1);
        EXPECT_EQ(ZStringGetLength(string), capacity);
        EXPECT_EQ(ZMemoryBlocks(kTag), 1U);
        ZSTRINGDelete(string);
    }
}

TEST_F(Strings, AStringStaysWhereItIsWhenItsTextOutgrowsIt) {
    ZString string = ZSTRINGNew(3, kTag, kSource);
    std::string model;
    for (int i = 0; i < 2000; ++i) {
        const std::string piece = std::to_string(i) + ",";
        ASSERT_EQ(ZSTRINGAppend(string, piece.c_str()), 1);
        model += piece;
        ASSERT_EQ(ZStringGetLength(string), model.size());
    }
    EXPECT_EQ(model, ZStringGet(string));
    EXPECT_EQ(ZMemoryBlocks(kTag), 2U);
    EXPECT_EQ(ZIsAString(string), 1);
    ZSTRINGDelete(string);
    EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
}

TEST_F(Strings, AppendsOfEveryLengthCopyEveryByte) {
    std::string text;
    for (size_t n = 0; n < 300; ++n) {
        SCOPED_TRACE(n);
        text += static_cast<char>('!' + n % 90);
        ZString string = ZSTRINGNew(400, kTag, kSource);
        EXPECT_EQ(ZSTRINGAppend(string, text.substr(0, n).c_str()), 1);
        EXPECT_EQ(ZSTRINGAppendN(string, text.data(), n), 1);
        EXPECT_EQ(std::string(ZStringGet(string)), text.substr(0, n) + text.substr(0, n));
        ZSTRINGDelete(string);
    }
}

TEST_F(Strings, ATextAtTheEndOfAPageIsReadWithinIt) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    auto *pages = static_cast<char *>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(mprotect(pages + page, page, PROT_NONE), 0);
    memset(pages, 'x', page - 1);
    pages[page - 1] = '\0';
    for (size_t n = 0; n < 400; ++n) {
        ZString string = ZSTRINGNew(n, kTag, kSource);
        ASSERT_EQ(ZSTRINGAppend(string, pages + page - 1 - n), 1);
        ASSERT_EQ(std::string(n, 'x'), ZStringGet(string));
        ZSTRINGDelete(string);
    }
    munmap(pages, 2 * page);
}

TEST_F(Strings, AppendNKeepsZeros) {
    ZString string = ZSTRINGNew(0, kTag, kSource);
    EXPECT_EQ(ZSTRINGAppendN(string, "a\0b\0", 4), 1);
    EXPECT_EQ(ZSTRINGAppendN(string, nullptr, 0), 1);
    EXPECT_EQ(ZSTRINGAppend(string, "c"), 1);
    EXPECT_EQ(print(string), "a\\0b\\0c [a\\0b\\0c]");
    ZSTRINGDelete(string);
}

TEST_F(Strings, AStringMayBeAppendedToItself) {
    ZString string = ZSTRINGNew(8, kTag, kSource);
    ZSTRINGAppend(string, "abc");
    std::string model = "abc";
    for (int i = 0; i < 8; ++i) {
        ASSERT_EQ(ZSTRINGAppend(string, ZStringGet(string)), 1);
        model += model;
        ASSERT_EQ(model, ZStringGet(string));
        ASSERT_EQ(ZSTRINGAppendN(string, ZStringGet(string) + 1, model.size() - 1), 1);
        model += model.substr(1);
        ASSERT_EQ(model, ZStringGet(string));
    }
    ZSTRINGDelete(string);
    string = ZSTRINGNew(8, kTag, kSource);
    ZSTRINGAppend(string, "ab");
    ASSERT_EQ(ZSTRINGAddNSString(string, string), 1);
    EXPECT_EQ(print(string), "ab\\nab [ab] [ab]");
    ASSERT_EQ(ZSTRINGAddNSString(string, string), 1);
    EXPECT_EQ(print(string), "ab\\nab\\nab\\nab [ab] [ab] [ab\\nab]");
    ASSERT_EQ(ZSTRINGAddNSPChar(string, ZStringGet(string) + 9), 1);
    EXPECT_EQ(print(string), "ab\\nab\\nab\\nab\\nab [ab] [ab] [ab\\nab] [ab]");
    ZSTRINGDelete(string);
}

TEST_F(Strings, ADuplicateKeepsTextPiecesTagAndSource) {
    ZString string = ZSTRINGNew(0, kTag, kSource);
    ZSTRINGAddNSPChar(string, "one");
    ZSTRINGAddNSPChar(string, "two\nlines");
    ZString copy = ZSTRINGDup(string);
    ZSTRINGAppend(string, "!");
    EXPECT_EQ(print(copy), "one\\ntwo\\nlines [one] [two\\nlines]");
    EXPECT_EQ(print(string), "one\\ntwo\\nlines! [one] [two\\nlines!]");
    EXPECT_EQ(ZSTRINGAddNSPChar(copy, "three"), 1);
    EXPECT_EQ(print(copy), "one\\ntwo\\nlines\\nthree [one] [two\\nlines] [three]");
    EXPECT_EQ(ZMemoryBlocks(nullptr) - blocks_, ZMemoryBlocks(kTag));
    size_t of_source = 0;
    ZMemoryReport(
        [](const char *tag, const char *source, size_t blocks, size_t, void *user) {
            if (strcmp(tag, kTag) == 0 && strcmp(source, kSource) == 0) {
                *static_cast<size_t *>(user) += blocks;
            }
        },
        &of_source);
    EXPECT_EQ(of_source, ZMemoryBlocks(kTag));
    ZSTRINGDelete(string);
    ZSTRINGDelete(copy);
}

TEST_F(Strings, ClearForgetsTextAndPieces) {
    ZString string = ZSTRINGNew(0, kTag, kSource);
    ZSTRINGAddNSPChar(string, "one");
    ZSTRINGAddNSPChar(string, std::string(500, 'x').c_str());
    ZStringClear(string);
    EXPECT_EQ(print(string), "");
    EXPECT_EQ(ZStringCountNSStrings(string), 0U);
    ZSTRINGAppend(string, "two");
    EXPECT_EQ(print(string), "two [two]");
    ZSTRINGAddNSPChar(string, "three");
    EXPECT_EQ(print(string), "two\\nthree [two] [three]");
    ZSTRINGDelete(string);
}

TEST_F(Strings, PiecesFollowTheAppends) {
    // Each step: p = plain append, s = separating append, then its text; r = remove
    // that many bytes.
    struct Row {
        const char *name;
        std::vector<const char *> steps;
        const char *expected;
    };
    const Row rows[] = {
        {"nothing", {}, ""},
        {"an empty plain append is no piece", {"p"}, ""},
        {"plain text is one piece", {"pa", "pb"}, "ab [ab]"},
        {"newlines of plain text are no borders", {"pa\nb"}, "a\\nb [a\\nb]"},
        {"one piece", {"sa"}, "a [a]"},
        {"an empty piece counts", {"s"}, " []"},
        {"two empty pieces", {"s", "s"}, "\\n [] []"},
        {"an empty piece first", {"s", "sa"}, "\\na [] [a]"},
        {"an empty piece last", {"sa", "s"}, "a\\n [a] []"},
        {"plain text is the first piece", {"pa", "sb"}, "a\\nb [a] [b]"},
        {"plain text extends the last piece", {"sa", "pb", "sc", "pd"}, "ab\\ncd [ab] [cd]"},
        {"plain text fills an empty piece", {"s", "pa", "s", "pb"}, "a\\nb [a] [b]"},
        {"pieces hold newlines", {"sa\nb", "s\n", "sc"}, "a\\nb\\n\\n\\nc [a\\nb] [\\n] [c]"},
        {"removing within the last piece", {"sab", "scd", "r1"}, "ab\\nc [ab] [c]"},
        {"removing the last piece's text", {"sab", "scd", "r2"}, "ab\\n [ab] []"},
        {"removing its newline too", {"sab", "scd", "r3"}, "ab [ab]"},
        {"removing into the one before", {"sab", "scd", "r4"}, "a [a]"},
        {"removing all", {"sab", "scd", "r5"}, ""},
        {"removing more than all", {"sab", "scd", "r99"}, ""},
        {"removing nothing", {"sab", "scd", "r0"}, "ab\\ncd [ab] [cd]"},
        {"removing nothing from an empty piece", {"s", "r0"}, " []"},
        {"adding after removing", {"sab", "scd", "sef", "r4", "sgh"}, "ab\\nc\\ngh [ab] [c] [gh]"},
        {"adding after removing all", {"sab", "r9", "scd"}, "cd [cd]"},
        {"many",
         {"sa", "sb", "sc", "sd", "se", "sf", "sg", "sh", "si", "sj", "sk"},
         "a\\nb\\nc\\nd\\ne\\nf\\ng\\nh\\ni\\nj\\nk [a] [b] [c] [d] [e] [f] [g] [h] [i] [j] [k]"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ZString string = ZSTRINGNew(0, kTag, kSource);
        for (const char *step : row.steps) {
            if (step[0] == 'p') {
                EXPECT_EQ(ZSTRINGAppend(string, step + 1), 1);
            } else if (step[0] == 's') {
                EXPECT_EQ(ZSTRINGAddNSPChar(string, step + 1), 1);
            } else {
                ZStringRemoveRight(string, static_cast<size_t>(std::stoi(step + 1)));
            }
        }
        EXPECT_EQ(print(string), row.expected);
        ZSTRINGDelete(string);
    }
}

TEST_F(Strings, APieceOfAnotherStringIsAllItsText) {
    ZString string = ZSTRINGNew(0, kTag, kSource);
    ZString piece = ZSTRINGNew(0, kTag, kSource);
    ZSTRINGAddNSPChar(piece, "a");
    ZSTRINGAddNSPChar(piece, "b");
    ZSTRINGAppendN(piece, "\0", 1);
    EXPECT_EQ(ZSTRINGAddNSString(string, piece), 1);
    EXPECT_EQ(ZSTRINGAddNSString(string, piece), 1);
    EXPECT_EQ(print(string), "a\\nb\\0\\na\\nb\\0 [a\\nb\\0] [a\\nb\\0]");
    ZSTRINGDelete(string);
    ZSTRINGDelete(piece);
}

TEST_F(Strings, APieceOutOfRangeIsNull) {
    ZString string = ZSTRINGNew(0, kTag, kSource);
    size_t length = 7;
    EXPECT_EQ(ZStringGetNSPiece(string, 0, &length), nullptr);
    EXPECT_EQ(length, 0U);
    ZSTRINGAddNSPChar(string, "a");
    EXPECT_NE(ZStringGetNSPiece(string, 0, nullptr), nullptr);
    EXPECT_EQ(ZStringGetNSPiece(string, 1, nullptr), nullptr);
    EXPECT_EQ(ZStringGetNSPiece(string, UINT32_MAX, &length), nullptr);
    ZSTRINGDelete(string);
}

TEST_F(Strings, ComparesByUnsignedBytesAndLength) {
    using std::string_literals::operator""s;
    const std::string ordered[] = {"",   "\0"s, "\0a"s, "A",    "a",   "a\0"s,
                                   "ab", "b",   "\x7f", "\x80", "\xff"};
    std::vector<ZString> strings;
    for (const std::string &text : ordered) {
        strings.push_back(ZSTRINGNew(0, kTag, kSource));
        ZSTRINGAppendN(strings.back(), text.data(), text.size());
    }
    for (size_t a = 0; a < strings.size(); ++a) {
        for (size_t b = 0; b < strings.size(); ++b) {
            const int order = ZStringCompareHH(strings[a], strings[b]);
            EXPECT_EQ((order > 0) - (order < 0), (a > b) - (a < b)) << a << " and " << b;
        }
    }
    for (ZString string : strings) {
        ZSTRINGDelete(string);
    }
}

TEST_F(Strings, IsAStringKnowsLiveStringsFromEverythingElse) {
    std::vector<ZString> strings;
    for (size_t i = 0; i < 600; ++i) {
        strings.push_back(ZSTRINGNew(i * i % 9000, kTag, kSource));
        EXPECT_EQ(ZIsAString(strings.back()), 1);
    }
    const auto *bytes = reinterpret_cast<const char *>(strings[300]);
    EXPECT_EQ(ZIsAString(ZStringGet(strings[300])), 0);
    EXPECT_EQ(ZIsAString(bytes + 1), 0);
    EXPECT_EQ(ZIsAString(bytes + sizeof(void *)), 0);
    // A block that looks like a string in every byte is none.
    void *imposter = Zmalloc(64, kTag, kSource);
    memcpy(imposter, bytes, 4 * sizeof(void *));
    EXPECT_EQ(ZIsAString(imposter), 0);
    Zfree(imposter);
    int on_stack = 0;
    static int in_data;
    for (const void *foreign :
         {static_cast<const void *>(nullptr), static_cast<const void *>(&on_stack),
          static_cast<const void *>(&in_data), reinterpret_cast<const void *>(&strlen)}) {
        EXPECT_EQ(ZIsAString(foreign), 0);
    }
    // No memory is read for addresses that are nobody's.
    std::mt19937_64 random(3);
    for (int i = 0; i < 100000; ++i) {
        const auto address = static_cast<uintptr_t>(random());
        EXPECT_EQ(ZIsAString(reinterpret_cast<const void *>(address)), 0);
    }
    for (ZString string : strings) {
        ZSTRINGDelete(string);
    }
    for (ZString string : strings) {
        EXPECT_EQ(ZIsAString(string), 0);
    }
}

TEST_F(Strings, NoAddressInsideTheHostsMemoryButAStringsIsAString) {
    ZString string = ZSTRINGNew(10, kTag, kSource);
    ZString deleted = ZSTRINGNew(10, kTag, kSource);
    ZSTRINGDelete(deleted);
    const auto megabyte = reinterpret_cast<uintptr_t>(string) & ~uintptr_t{0xfffff};
    size_t found = 0;
    for (uintptr_t address = megabyte; address < megabyte + (1U << 20); ++address) {
        found += ZIsAString(reinterpret_cast<const void *>(address)) != 0 ? 1 : 0;
    }
    EXPECT_EQ(found, 1U);
    ZSTRINGDelete(string);
}

TEST_F(Strings, NullIsAnEmptyStringThatTakesNothing) {
    ZSTRINGDelete(nullptr);
    EXPECT_EQ(ZIsAString(nullptr), 0);
    EXPECT_STREQ(ZStringGet(nullptr), "");
    EXPECT_EQ(ZStringGetLength(nullptr), 0U);
    EXPECT_EQ(ZStringCountNSStrings(nullptr), 0U);
    EXPECT_EQ(ZStringGetNSPiece(nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(ZSTRINGDup(nullptr), nullptr);
    EXPECT_EQ(ZSTRINGAppend(nullptr, "a"), 0);
    EXPECT_EQ(ZSTRINGAppendN(nullptr, "a", 1), 0);
    EXPECT_EQ(ZSTRINGAddNSPChar(nullptr, "a"), 0);
    ZStringClear(nullptr);
    ZStringRemoveRight(nullptr, 1);
    ZString string = ZSTRINGNew(0, kTag, kSource);
    EXPECT_EQ(ZStringCompareHH(string, nullptr), 0);
    ZSTRINGAppend(string, "a");
    EXPECT_GT(ZStringCompareHH(string, nullptr), 0);
    EXPECT_EQ(ZSTRINGAppend(string, nullptr), 0);
    EXPECT_EQ(ZSTRINGAppendN(string, nullptr, 1), 0);
    EXPECT_EQ(ZSTRINGAddNSPChar(string, nullptr), 0);
    EXPECT_EQ(ZSTRINGAddNSString(string, nullptr), 0);
    EXPECT_EQ(ZSTRINGAddNSString(nullptr, string), 0);
    EXPECT_EQ(print(string), "a [a]");
    ZSTRINGDelete(string);
}

TEST_F(Strings, SizesThatOverflowAreRefused) {
    for (const size_t size :
         {SIZE_MAX, SIZE_MAX - 8, SIZE_MAX - 64, SIZE_MAX / 2, SIZE_MAX / 2 - 64}) {
        errno = 0;
        EXPECT_EQ(ZSTRINGNew(size, kTag, kSource), nullptr);
        EXPECT_EQ(errno, ENOMEM);
        ZString string = ZSTRINGNew(4, kTag, kSource);
        ZSTRINGAppend(string, "kept");
        errno = 0;
        EXPECT_EQ(ZSTRINGAppendN(string, "x", size), 0);
        EXPECT_EQ(errno, ENOMEM);
        EXPECT_EQ(print(string), "kept [kept]");
        ZSTRINGDelete(string);
    }
}

// Every operation with its nth request refused, for each n until it succeeds:
// the string is as it was, and nothing is left over.
TEST_F(Strings, ARefusedRequestLeavesTheStringAsItWas) {
    const std::string big(5000, 'b');
    ZString other = ZSTRINGNew(0, kTag, kSource);
    ZSTRINGAppend(other, big.c_str());
    struct Row {
        const char *name;
        std::vector<const char *> start;  // separating appends before
        int (*run)(ZString, ZString, const char *);
    };
    const Row rows[] = {
        {"append", {}, [](ZString s, ZString, const char *t) { return ZSTRINGAppend(s, t); }},
        {"append n",
         {"a", "b"},
         [](ZString s, ZString, const char *t) { return ZSTRINGAppendN(s, t, 300); }},
        {"first piece",
         {},
         [](ZString s, ZString, const char *t) { return ZSTRINGAddNSPChar(s, t); }},
        {"seventh piece",
         {"a", "b", "c", "d", "e", "f"},
         [](ZString s, ZString, const char *t) { return ZSTRINGAddNSPChar(s, t); }},
        {"short fifth piece",
         {"a", "b", "c", "d"},
         [](ZString s, ZString, const char *) { return ZSTRINGAddNSPChar(s, "z"); }},
        {"piece of a string",
         {"a"},
         [](ZString s, ZString o, const char *) { return ZSTRINGAddNSString(s, o); }},
        {"itself as a piece",
         {"0123456789", "0123456789"},
         [](ZString s, ZString, const char *) { return ZSTRINGAddNSString(s, s); }},
        {"duplicate",
         {"a", "b"},
         [](ZString s, ZString, const char *) {
             ZString copy = ZSTRINGDup(s);
             if (copy == nullptr) {
                 return 0;
             }
             EXPECT_EQ(ZStringCompareHH(copy, s), 0);
             ZSTRINGDelete(copy);
             return 1;
         }},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ZString string = ZSTRINGNew(0, kTag, kSource);
        for (const char *piece : row.start) {
            ASSERT_EQ(ZSTRINGAddNSPChar(string, piece), 1);
        }
        const std::string before = print(string);
        bool is_done = false;
        for (int64_t nth = 1; !is_done; ++nth) {
            ASSERT_LT(nth, 10);
            ZMemoryRefuse(nth, 1);
            errno = 0;
            is_done = row.run(string, other, big.c_str()) == 1;
            const bool was_refused = ZMemoryRefused() > 0;
            ZMemoryRefuse(0, 0);
            EXPECT_EQ(is_done, !was_refused);
            if (!is_done) {
                EXPECT_EQ(errno, ENOMEM);
                EXPECT_EQ(print(string), before);
            }
        }
        ZSTRINGDelete(string);
    }
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(ZSTRINGNew(10, kTag, kSource), nullptr);
    ZMemoryRefuse(0, 0);
    ZSTRINGDelete(other);
}

TEST_F(Strings, SpaceInfoFindsTheTextBetweenBlanks) {
    struct Row {
        const char *text;
        size_t first, end;
    };
    for (const Row &row : {Row{"", 0, 0},
                           {" ", 0, 0},
                           {" \t\r\n\v\f ", 0, 0},
                           {"a", 0, 1},
                           {" a", 1, 2},
                           {"a ", 0, 1},
                           {" \t\r\n\v\fa b\f\v\n\r\t ", 6, 9},
                           {"\x01", 0, 1},
                           {"\x1f ", 0, 1},
                           {" \xa0", 1, 2},
                           {"\b", 0, 1},
                           {"\x0e", 0, 1}}) {
        SCOPED_TRACE(row.text);
        size_t first = 99;
        size_t end = 99;
        Zspace_info(row.text, strlen(row.text), &first, &end);
        EXPECT_EQ(first, row.first);
        EXPECT_EQ(end, row.end);
    }
    size_t first, end;
    Zspace_info(" a\0 ", 4, &first, &end);
    EXPECT_EQ(first, 1U);
    EXPECT_EQ(end, 3U);
    Zspace_info("abc", 2, &first, &end);
    EXPECT_EQ(end, 2U);
}

#if defined(__SANITIZE_ADDRESS__)
TEST(StringsDeathTest, AddressSanitizerSeesAReadBehindTheTerminatorsBlock) {
    ZString string = ZSTRINGNew(100, kTag, kSource);
    const volatile char *text = ZStringGet(string);
    EXPECT_DEATH((void)text[160], "use-after-poison");
    ZSTRINGDelete(string);
    EXPECT_DEATH((void)text[0], "use-after-poison");
}
#endif

}  // namespace
