// SPDX-License-Identifier: MIT
//
// Dictionaries for tests: a fresh folder that XFD_DIRECTORY points at, files
// written into it, and the file error state after a load as text.
#ifndef TESTS_SUPPORT_DICTIONARY_FILE_H
#define TESTS_SUPPORT_DICTIONARY_FILE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "host/config.h"
#include "host/errors.h"
#include "wbfsi/build.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/load.h"

namespace support {

struct FreeXfd {
    void operator()(Xfd *xfd) const { Z4XFDFree(xfd); }
};
using OwnedXfd = std::unique_ptr<Xfd, FreeXfd>;

class TemporaryFolder {
 public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "wbfsi-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            std::abort();
        path_ = pattern;
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::string path() const { return path_.string(); }
    std::string path(const std::string &name) const { return (path_ / name).string(); }
    std::string write(const std::string &name, std::string_view text) const {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        // Some file systems flush a file that replaces the text of an old one.
        std::filesystem::remove(file);
        std::ofstream(file, std::ios::binary) << text;
        return file.string();
    }

 private:
    std::filesystem::path path_;
};

// "19 2 0 'message'": code, secondary code, system error, message.
inline std::string file_error() {
    const char *message = *Zstdlib_f_errmsg();
    return std::to_string(*Zstdlib_f_errno()) + ' ' + std::to_string(*Zstdlib_f_int_errno()) + ' ' +
           std::to_string(*Zstdlib_f_int2_errno()) + ' ' +
           (message == nullptr ? "null" : '\'' + std::string(message) + '\'');
}

inline void clear_file_error() {
    *Zstdlib_f_errno() = 0;
    *Zstdlib_f_int_errno() = 0;
    *Zstdlib_f_int2_errno() = 0;
    *Zstdlib_f_errmsg() = nullptr;
}

// A test over dictionaries in a folder of its own, the "4GL" variables declared.
class DictionaryTest : public testing::Test {
 protected:
    DictionaryTest() {
        clear_file_error();
        Z4Init();
        ZCSetValueString("XFD_PREFIX", nullptr);
        ZCSetValueString("XFD_DIRECTORY", folder_.path().c_str());
    }
    ~DictionaryTest() override {
        ZCSetValueString("XFD_DIRECTORY", nullptr);
        Z4Exit();
    }

    // Writes `text` as the only dictionary "file.xfd" and loads it.
    OwnedXfd load(std::string_view text, uint32_t flags = 0, int context = 30) {
        folder_.write("file.xfd", text);
        return OwnedXfd(Z4ParseXFD("file", flags, context));
    }
    std::string path() const { return folder_.path("file.xfd"); }

    TemporaryFolder folder_;
};

}  // namespace support

#endif
