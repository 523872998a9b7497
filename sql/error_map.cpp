// SPDX-License-Identifier: MIT
#include "sql/error_map.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

#include "host/memory.h"

namespace sql {
namespace {

constexpr std::array<std::string_view, 19> kFileErrors{"",
                                                       "E_SYS_ERROR",
                                                       "E_PARAM_ERR",
                                                       "E_TOO_MANY_FILES",
                                                       "E_MODE_CLASH",
                                                       "E_REC_LOCKED",
                                                       "E_BROKEN",
                                                       "E_DUPLICATE",
                                                       "E_NOT_FOUND",
                                                       "E_UNDEF_RECORD",
                                                       "E_DISK_FULL",
                                                       "E_FILE_LOCKED",
                                                       "E_REC_CHANGED",
                                                       "E_MISMATCH",
                                                       "E_NO_MEMORY",
                                                       "E_MISSING_FILE",
                                                       "E_PERMISSION",
                                                       "E_NO_SUPPORT",
                                                       "E_NO_LOCKS"};

// What Z4ParseErrorFile gives: the entries of each section, then the array.
class Sections {
 public:
    explicit Sections(const std::string &path) {
        sections_ = Z4ParseErrorFile(path.c_str(), &count_, 0);
    }
    ~Sections() {
        for (int i = 0; i < count_; i++) {
            Zfree(sections_[i].entries);
        }
        Zfree(sections_);
    }
    Sections(const Sections &) = delete;
    Sections &operator=(const Sections &) = delete;

    [[nodiscard]] const ErrorMapSection *begin() const { return sections_; }
    [[nodiscard]] const ErrorMapSection *end() const { return sections_ + count_; }

 private:
    ErrorMapSection *sections_ = nullptr;
    int count_ = 0;
};

}  // namespace

ErrorMap ErrorMap::of(std::string_view database) {
    const std::string path = error_map_path(database);
    return path.empty() ? ErrorMap() : read(path, database);
}

ErrorMap ErrorMap::read(const std::string &path, std::string_view database) {
    ErrorMap map;
    std::string header(1, '[');
    header.append(database) += ']';
    for (const ErrorMapSection &section : Sections(path)) {
        if (section.entries == nullptr || !std::string_view(section.name).starts_with(header)) {
            continue;
        }
        for (int32_t i = 0; i < section.capacity; i++) {
            // Free slots have no error either.
            if (section.entries[i].cobol != 0) {
                map.entries_.push_back(section.entries[i]);
            }
        }
    }
    std::ranges::stable_sort(map.entries_, {}, &ErrorMapEntry::native);
    const auto behind = std::unique(
        map.entries_.begin(), map.entries_.end(),
        [](const ErrorMapEntry &a, const ErrorMapEntry &b) { return a.native == b.native; });
    map.entries_.erase(behind, map.entries_.end());
    return map;
}

int32_t ErrorMap::find(int32_t native) const {
    const auto entry = std::ranges::lower_bound(entries_, native, {}, &ErrorMapEntry::native);
    return entry != entries_.end() && entry->native == native ? entry->cobol : 0;
}

std::string error_map_path(std::string_view database) {
    if (const char *path = std::getenv("WBFSI_ERROR_MAP"); path != nullptr && path[0] != '\0') {
        return path;
    }
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        return {};
    }
    return (program.parent_path() / "../share/wbfsi" / std::string(database).append(".errmap"))
        .string();
}

std::string_view file_error_name(int32_t file_error) {
    return file_error > 0 && file_error < static_cast<int32_t>(kFileErrors.size())
               ? kFileErrors[static_cast<size_t>(file_error)]
               : std::string_view();
}

}  // namespace sql
