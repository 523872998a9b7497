// SPDX-License-Identifier: MIT
//
// A dictionary is loaded with one refused allocation after the other.
#ifndef TESTS_TORTURE_REFUSED_LOADS_H
#define TESTS_TORTURE_REFUSED_LOADS_H

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/memory.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"
#include "wbfsi/build.h"
#include "wbfsi/load.h"

namespace torture {

class RefusedLoads : public support::DictionaryTest {
 protected:
    // Loads the dictionary "file" with its n-th allocation refused, for every n until
    // none was: error 14 and nothing left behind, or the whole dictionary.  Returns how
    // many allocations a load makes.
    int refuse_each(uint32_t flags, const char *what) {
        support::OwnedXfd whole(Z4ParseXFD("file", flags, 30));
        EXPECT_NE(whole, nullptr) << support::file_error();
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
                EXPECT_EQ(support::file_error(), "0 0 0 null");
                Z4XFDFree(xfd);
            } else {
                const std::string reported = support::file_error();
                EXPECT_TRUE(reported.starts_with("14 0 " + std::to_string(ENOMEM) + " '"))
                    << reported;
                EXPECT_EQ(error, ENOMEM);
            }
            EXPECT_EQ(ZMemoryBlocks(nullptr), before);
            if (!was_refused)
                return n - 1;
            if (n > 2000) {
                ADD_FAILURE() << "refusals do not end";
                return n;
            }
        }
    }
};

}  // namespace torture

#endif
