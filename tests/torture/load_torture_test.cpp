// SPDX-License-Identifier: MIT
//
// A load with its n-th allocation refused, for every n until none was: it fails
// with 14 and nothing stays allocated; or the refused block was the copy of a
// path, and another file of the search serves.
#include <gtest/gtest.h>

#include <cerrno>
#include <initializer_list>
#include <random>
#include <string>

#include "host/memory.h"
#include "tests/support/dictionary_file.h"
#include "tests/torture/refused_loads.h"

namespace {

using support::file_error;
using support::OwnedXfd;

using LoadTorture = torture::RefusedLoads;

constexpr const char *kText =
    "XFD,8,CLIENT,CLIENT,12,TRIG\n40,30,2\n0,18,46,44,0\n# keys\n1,0,5,0\n1\nID\n1,1,1,5\n2\nKIND\n"
    "WHEN_1\n3\n1,1,KIND,A\n2,2,1,1\n3,5,ID,7\n6,10,7,11\n"
    "# a comment that is longer than the forty characters that the buffer has room for at first\n"
    "0,5,1,5,0,0,0,1,ID\n# other\n# lines\n5,1,16,1,0,0,0,5,KIND\n"
    "# KSTODBC HIDDEN\n90001,2,12,\"START OCCURS\",SUB\n6,4,1,4,0,0,0,5,AMT\n"
    "90001,2,4,\"START OCCURS\"\n10,4,1,4,0,1,0,10,WHEN,YYMM\n90002,\"END OCCURS\"\n"
    "90002,\"END OCCURS\"\n# last\n30,2,16,2,0,0,0,5,END-MARK\n31,1,16,1,0,0,0,5,FINAL\n";

TEST_F(LoadTorture, EveryRefusalFailsTheLoadOrIsMadeUpFor) {
    folder_.write("file.xfd", kText);
    EXPECT_GT(refuse_each(0, "plain"), 30);
    EXPECT_GT(refuse_each(XFD_LOAD_COMMENTS, "comments"), 40);
    EXPECT_GT(refuse_each(XFD_LOAD_COMMENTS | XFD_LOAD_COPY_OCCURS, "copies"), 40);
    EXPECT_GT(refuse_each(XFD_LOAD_SUBTABLES, "sub-tables"), 30);
}

TEST_F(LoadTorture, RelativeFile) {
    folder_.write("file.xfd",
                  "XFD,8,C,C,8\n40,30,0\n0,18,46,44,0\n1\n1,1,A,X\n1\n0,40,16,40,0,0,0,1,A\n");
    EXPECT_GT(refuse_each(XFD_LOAD_RELATIVE_KEY, "relative"), 10);
}

TEST_F(LoadTorture, SearchOverSeveralDirectories) {
    folder_.write("two/file.xfd", kText);
    ZCSetValueString("XFD_DIRECTORY", "earlier");
    ZCSetValueString("XFD_PREFIX", (folder_.path("one") + ':' + folder_.path("two")).c_str());
    EXPECT_GT(refuse_each(0, "prefix"), 30);
    ZCSetValueString("XFD_PREFIX", nullptr);
}

TEST_F(LoadTorture, RefusedCopyOfThePathFailsItsAttemptOnly) {
    folder_.write("file.xfd", kText);
    folder_.write("file.XFD", kText);
    bool other_file_served = false;
    for (int n = 1; !other_file_served; ++n) {
        ASSERT_LT(n, 100);
        ZMemoryRefuse(n, 1);
        const OwnedXfd xfd(Z4ParseXFD("file", 0, 30));
        ASSERT_NE(ZMemoryRefused(), 0U) << "no refusal led to the other file";
        ZMemoryRefuse(0, 0);
        if (xfd != nullptr)
            other_file_served = xfd->x_filename == folder_.path("file.XFD");
    }
}

TEST_F(LoadTorture, RefusalWhileTheOnlyFileOpensIsNoMemory) {
    // The last attempt of the search opens the file: it is refused the file's
    // own blocks, or the copy of its path.
    folder_.write("FILE.XFD", kText);
    const size_t before = ZMemoryBlocks(nullptr);
    int opening = 0;
    for (int n = 1;; ++n) {
        ASSERT_LT(n, 1000);
        ZMemoryRefuse(n, 1);
        const OwnedXfd xfd(Z4ParseXFD("File", 0, 30));
        const bool was_refused = ZMemoryRefused() != 0;
        ZMemoryRefuse(0, 0);
        if (!was_refused)
            break;
        EXPECT_EQ(xfd, nullptr) << n;
        const std::string reported = file_error();
        if (reported == "14 0 12 'Unable to open XFD file for 'File', error = 12'")
            ++opening;
        else
            EXPECT_EQ(reported, "14 0 12 ''") << n;
    }
    EXPECT_GE(opening, 2);
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

// Dictionaries put together at random from lines that mostly make sense, and
// damaged at random: each loads or is refused, and nothing stays allocated.
class RandomDictionary {
 public:
    explicit RandomDictionary(uint32_t seed) : random_(seed) {}

    std::string make() {
        const int version = pick({3, 5, 6, 8, 8, 8});
        const int keys = pick({0, 0, 1, 2});
        const int conditions = pick({0, 1, 3});
        std::string text = "XFD," + std::to_string(version) + ",C,C," + value({4, 5, 8, 12}) +
                           '\n' + "99,9," + std::to_string(keys) + '\n';
        if (version >= 6)
            text += "72,18,46,44,0\n";
        for (int k = 0; k < keys; ++k) {
            const int columns = pick({0, 1, 2});
            text += value({0, 1, 2}) + ",1,4,0,4,4\n" + std::to_string(columns) + '\n';
            for (int c = 0; c < columns; ++c)
                text += c == 0 ? "A\n" : "B_1\n";
        }
        text += std::to_string(conditions) + '\n';
        for (int c = 0; c < conditions; ++c)
            text += std::to_string(c + 1) + (random_() % 2 == 0 ? ",1,A,1,T\n" : ",9,1,1,T\n");
        text += value({1, 2, 5}) + ',' + value({0, 5, 12}) + ',' + value({1, 5}) + ',' +
                value({5, 12}) + '\n';
        for (int f = 0; f < 30; ++f)
            text += line();
        if (random_() % 4 == 0)
            text[random_() % text.size()] = static_cast<char>(random_());
        return text;
    }

 private:
    int pick(std::initializer_list<int> values) {
        return values.begin()[random_() % values.size()];
    }
    std::string value(std::initializer_list<int> values) {
        return random_() % 200 == 0 ? "-1" : std::to_string(pick(values));
    }
    std::string line() {
        switch (random_() % 6) {
            case 0:
                return "90001," + value({0, 1, 2, 2, 3}) + ',' + value({0, 4, 65535}) +
                       ",\"START OCCURS\"" + (random_() % 2 == 0 ? ",SUB\n" : "\n");
            case 1:
                return "90002,\"END OCCURS\"\n";
            case 2:
                return "# KSTODBC HIDDEN\n";
            default:
                return value({0, 4, 99}) + ',' + value({1, 3, 8}) + ',' +
                       value({1, 9, 16, 22, 23, 30}) + ',' + value({1, 6, 8, 18}) + ',' +
                       value({-128, -2, 0, 9}) + ',' + value({0, 1, 16, 127}) + ',' +
                       value({0, 1, 999}) + ',' + value({1, 5}) +
                       (random_() % 2 == 0 ? ",A" : ",B") +
                       (random_() % 8 == 0 ? ",YYMMDD\n" : "\n");
        }
    }

    std::mt19937 random_;
};

TEST_F(LoadTorture, RandomDictionariesLoadOrAreRefused) {
    const size_t before = ZMemoryBlocks(nullptr);
    int loaded = 0;
    int refused = 0;
    for (uint32_t seed = 0; seed < 1500; ++seed) {
        const std::string text = RandomDictionary(seed).make();
        SCOPED_TRACE("seed " + std::to_string(seed) + '\n' + text);
        const OwnedXfd xfd = load(text, seed % 32, seed % 7 == 0 ? 3 : 30);
        if (xfd != nullptr) {
            ++loaded;
            ASSERT_EQ(file_error(), "0 0 0 null");
            ASSERT_FALSE(support::print_xfd(xfd.get()).empty());
        } else {
            ++refused;
            const std::string error = file_error();
            ASSERT_TRUE(error.starts_with("19 1 0 'Read error") ||
                        error.starts_with("19 2 0 'XFD file '") ||
                        error.starts_with("19 2 0 'Unknown condition type: "))
                << error;
        }
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
    EXPECT_GT(loaded, 200);
    EXPECT_GT(refused, 200);
}

}  // namespace
