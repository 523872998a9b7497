// SPDX-License-Identifier: MIT
#include "tool/paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "tool/failure.h"

namespace tool {

void refuse_same_file(const std::string &kept, const std::string &written) {
    struct stat a;
    struct stat b;
    if (!kept.empty() && !written.empty() && stat(kept.c_str(), &a) == 0 &&
        stat(written.c_str(), &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino) {
        throw Failure(written + ": is the same file as " + kept +
                      ", which would be overwritten; another name would be right");
    }
}

bool is_standard_output(const std::string &file) {
    struct stat a;
    struct stat b;
    return stat(file.c_str(), &a) == 0 && fstat(STDOUT_FILENO, &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

std::string file_of_database(const std::string &url) {
    constexpr std::string_view kScheme = "sqlite:";
    return url.starts_with(kScheme) ? url.substr(kScheme.size()) : "";
}

}  // namespace tool
