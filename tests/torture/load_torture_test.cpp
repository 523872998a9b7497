// SPDX-License-Identifier: MIT
//
// A load with its n-th allocation refused, for every n until none was: it fails
// with 14 and nothing stays allocated; or the refused block was the copy of a
// path, and another file of the search serves.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/memory.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"

namespace {

using support::file_error;
using support::OwnedXfd;

class LoadTorture : public support::DictionaryTest {
 protected:
    // Returns how many allocations the load makes.
    int refuse_each(uint32_t flags, const char *what) {
        OwnedXfd whole(Z4ParseXFD("file", flags, 30));
        EXPECT_NE(whole, nullptr) << file_error();
        const std::string expected = support::print_xfd(whole.get());
        whole.reset();

        for (int n = 1;; ++n) {
            SCOPED_TRACE(what + std::string(", refused number ") + std::to_string(n));
            support::clear_file_error();
            const size_t before = ZMemoryBlocks(nullptr);
            ZMemoryRefuse(n, 1);
            Xfd *xfd = Z4ParseXFD("file", flags, 30);
            const int error = errno;
            const bool was_refused = ZMemoryRefused() != 0;
            ZMemoryRefuse(0, 0);
            if (xfd != nullptr) {
                EXPECT_EQ(support::print_xfd(xfd), expected);
                EXPECT_EQ(file_error(), "0 0 0 null");
                Z4XFDFree(xfd);
            } else {
                const std::string reported = file_error();
                EXPECT_TRUE(reported.starts_with("14 0 " + std::to_string(ENOMEM) + " '"))
                    << reported;
                EXPECT_EQ(error, ENOMEM);
            }
            EXPECT_EQ(ZMemoryBlocks(nullptr), before);
            if (!was_refused)
                return n - 1;
            if (n > 1000) {
                ADD_FAILURE() << "refusals do not end";
                return n;
            }
        }
    }
};

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

}  // namespace
