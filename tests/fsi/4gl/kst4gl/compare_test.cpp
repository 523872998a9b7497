// SPDX-License-Identifier: MIT
#include "fsi/4gl/kst4gl/compare.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "host/messages.h"
#include "tests/support/dictionary_file.h"

namespace {

using support::file_error;
using support::OwnedXfd;

class Dump : public support::DictionaryTest {
 protected:
    ~Dump() override {
        f_trace = 0;
        ZOutputRedirect(0, nullptr, nullptr);
        ZOutputRedirect(1, nullptr, nullptr);
    }
    static void append(const char *text, size_t n, void *user) {
        static_cast<std::string *>(user)->append(text, n);
    }
    std::string dump(const Xfd *xfd) {
        std::string out;
        ZOutputRedirect(0, append, &out);
        fsi::dump_xfd(xfd);
        ZOutputRedirect(0, nullptr, nullptr);
        return out;
    }
    static std::string address(const Xfd *xfd) {
        char text[40];
        std::snprintf(text, sizeof text, "%p", static_cast<const void *>(xfd));
        return text;
    }
};

constexpr const char *kText =
    "XFD,8,CLIENT,Client_T,12,TRIG\n60,40,2\n0,18,46,44,0\n1,0,4,0\n1\nID\n2,1,3,8,5,20\n2\nWHEN\n"
    "NONE\n2\n1,5,ID,7,T\n2,9,1,1\n2,3,4,5\n0,4,1,4,0,64,0,1,ID\n"
    "90001,2,8,\"START OCCURS\"\n4,8,1,8,0,49,1,5,WHEN,YYYYMMDD\n";

constexpr const char *kHead =
    ": 8, 'CLIENT', 'Client_T', 'TRIG'\n60, 40, 2\n"
    "1, 0, 4, 0\n1\n0, 'id'\n"
    "2, 1, 3, 8, 5, 20\n2\n-1, 'when'\n-1, 'none'\n2\n";
constexpr const char *kTail =
    "9, '', '', '', 1, 1, 0\n2, 3, 4, 5, 12\n"
    "0, 0, 0, 1, 0, 1, 0, 0, 1, 'id', ''\n"
    "4, 1, 1, 5, 1, 0, 1, 1, 0, 'when_1', 'YYYYMMDD'\n"
    "12, 1, 1, 5, 1, 0, 1, 1, 0, 'when_2', 'YYYYMMDD'\n";

TEST_F(Dump, ShowsTheWholeRecord) {
    const OwnedXfd xfd = load(kText);
    ASSERT_NE(xfd, nullptr) << file_error();
    EXPECT_EQ(dump(xfd.get()),
              address(xfd.get()) + kHead + "5, 'id', '+0007', 'T', -1, -1, 0\n" + kTail);
}

TEST_F(Dump, ShowsAnEmptyRecord) {
    Xfd xfd = {};
    EXPECT_EQ(dump(&xfd), address(&xfd) + ": 0, '', '', ''\n0, 0, 0\n0\n0, 0, 0, 0, 0\n");
}

TEST_F(Dump, IsMadeBeforeAndAfterConditionsAreResolved) {
    std::string out;
    std::string trace;
    ZOutputRedirect(0, append, &out);
    ZOutputRedirect(1, append, &trace);
    f_trace = 10;
    OwnedXfd xfd = load(kText);
    EXPECT_EQ(out, "");
    f_trace = 11;
    xfd = load(kText);
    ASSERT_NE(xfd, nullptr) << file_error();
    const std::string start = address(xfd.get()) + kHead;
    EXPECT_EQ(out, start + "5, 'id', '7', 'T', -1, -1, 0\n" + kTail + start +
                       "5, 'id', '+0007', 'T', -1, -1, 0\n" + kTail);
}

}  // namespace
