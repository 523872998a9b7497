// SPDX-License-Identifier: MIT
//
// What the tests of the host's services share: a folder of their own, the error
// state as text, captured output, and the refusal of every request in turn.
#ifndef TESTS_RUNTIME_HOST_FIXTURE_H
#define TESTS_RUNTIME_HOST_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "host/errors.h"
#include "host/memory.h"
#include "host/messages.h"

namespace fixture {

class Folder {
 public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "wbhost-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            std::abort();
        path_ = pattern;
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::string path() const { return path_.string(); }
    std::string path(const std::string &name) const { return (path_ / name).string(); }
    std::string write(const std::string &name, std::string_view text) const {
        std::ofstream(path_ / name, std::ios::binary) << text;
        return path(name);
    }
    std::string read(const std::string &name) const {
        std::ostringstream text;
        text << std::ifstream(path_ / name, std::ios::binary).rdbuf();
        return text.str();
    }

 private:
    std::filesystem::path path_;
};

inline void clear_error() {
    *Zstdlib_f_errno() = 0;
    *Zstdlib_f_int_errno() = 0;
    *Zstdlib_f_int2_errno() = 0;
    *Zstdlib_f_errmsg() = nullptr;
}

// "2: message", "14", or "0".
inline std::string error() {
    std::string text = std::to_string(*Zstdlib_f_errno());
    if (const char *message = *Zstdlib_f_errmsg(); message != nullptr)
        text.append(": ").append(message);
    return text;
}

// Collects what goes to the error output (0) or the trace (1) while it lives.
class Captured {
 public:
    explicit Captured(int which) : which_(which) { ZOutputRedirect(which, take, this); }
    Captured(const Captured &) = delete;
    Captured &operator=(const Captured &) = delete;
    ~Captured() { ZOutputRedirect(which_, nullptr, nullptr); }

    std::string text;
    size_t calls = 0;

 private:
    static void take(const char *bytes, size_t n, void *user) {
        auto *own = static_cast<Captured *>(user);
        own->text.append(bytes, n);
        ++own->calls;
    }

    int which_;
};

// Sets an environment variable until the end of the scope.
class Environment {
 public:
    Environment(const char *name, const char *value) : name_(name) { setenv(name, value, 1); }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    ~Environment() { unsetenv(name_); }

 private:
    const char *name_;
};

// Calls attempt() once for every request for memory that it makes, refusing that
// one, then once without refusal.  An attempt returns whether it succeeded; it
// has to fail cleanly or succeed all the same, and undo() takes back a success.
template <class Attempt, class Undo>
void refuse_each(Attempt attempt, Undo undo) {
    for (int64_t nth = 1; nth < 1000; ++nth) {
        SCOPED_TRACE("refused request " + std::to_string(nth));
        const size_t blocks = ZMemoryBlocks(nullptr);
        ZMemoryRefuse(nth, 1);
        const bool done = attempt();
        const bool refused = ZMemoryRefused() > 0;
        ZMemoryRefuse(0, 0);
        if (done)
            undo();
        EXPECT_EQ(ZMemoryBlocks(nullptr), blocks) << "blocks were left behind";
        if (!refused) {
            EXPECT_TRUE(done) << "fails without a refusal";
            EXPECT_GT(nth, 1) << "asks for no memory";
            return;
        }
    }
    FAIL() << "asks for memory without end";
}

}  // namespace fixture

#endif
