// SPDX-License-Identifier: MIT
//
// Six files are tried in each directory: three forms of the base name, each
// with two suffixes.
#include "fsi/4gl/kst4gl/locate.h"

#include <cerrno>
#include <cstring>

#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/text.h"
#include "host/config.h"
#include "host/errors.h"
#include "host/memory.h"
#include "host/messages.h"
#include "host/names.h"
#include "wbfsi/locate.h"

namespace fsi {
namespace {

constexpr size_t kMaxPath = 259;
constexpr size_t kMaxSavedDirectory = 255;
constexpr int kTraceCategory = 9;
constexpr int16_t kErrorNoMemory = 14;

constexpr const char *kSuffixes[] = {".xfd", ".XFD"};

// A mode of stdz_name, or the name as it was given.
enum : int { kAsGiven = 0 };
constexpr int kNameForms[] = {kLowerCase, kAsGiven, kUpperCase};

using PathText = char[kMaxPath + 1];

LoadStatus attempt(const char *directory, const char *name, const char *suffix, Xfd *xfd,
                   OwnedFile &file) {
    *Zstdlib_f_errno() = 0;
    errno = 0;
    if (strlen(directory) + strlen(name) + strlen(suffix) > kMaxPath) {
        if (f_trace != 0)
            ZTrace(-1, kTraceCategory, "Filename too long: <%s> concat <%s> concat <%s>", directory,
                   name, suffix);
        return LoadStatus::kNotOpened;
    }

    // The length check does not count the separator that concat_path adds.
    char path[kMaxPath + 1 + 2];
    concat_path(path, directory, name);
    const size_t joined = strlen(path);
    std::memcpy(path + joined, suffix, strlen(suffix) + 1);
    if (f_trace != 0)
        ZTrace(0, kTraceCategory, "Attempting to open XFD file '%s'", path);

    errno = 0;
    OwnedFile opened(os_fopen(path, "r", 0));
    if (!opened)
        return errno == ENOMEM ? LoadStatus::kNoMemory : LoadStatus::kNotOpened;
    xfd->x_filename = ZSTRDUP(path, "XFD file name", kSource);
    if (xfd->x_filename == nullptr) {
        *Zstdlib_f_errno() = kErrorNoMemory;
        opened.reset();
        errno = ENOMEM;
        return LoadStatus::kNotOpened;
    }
    file = std::move(opened);
    return LoadStatus::kDone;
}

LoadStatus search_directory(const char *cobol_name, Xfd *xfd, OwnedFile &file) {
    const char *directory = ZCGetValueString("XFD_DIRECTORY");
    if (directory == nullptr)
        directory = ".";
    for (const int form : kNameForms) {
        PathText base;
        copy_text(base, Zbasename(cobol_name));
        if (form != kAsGiven)
            stdz_name(base, -3, form);
        // The map leaves a name of 129 characters unterminated.
        PathText mapped = {};
        Z4GetXFDName(mapped, base);
        for (const char *suffix : kSuffixes) {
            const LoadStatus status = attempt(directory, mapped, suffix, xfd, file);
            if (status != LoadStatus::kNotOpened)
                return status;
        }
    }
    return LoadStatus::kNotOpened;
}

LoadStatus search_prefix(const char *prefix, const char *cobol_name, Xfd *xfd, OwnedFile &file) {
    const char *before = ZCGetValueString("XFD_DIRECTORY");
    const bool was_set = before != nullptr;
    char saved[kMaxSavedDirectory + 1];
    copy_text(saved, was_set ? before : "");

    LoadStatus status = LoadStatus::kNotOpened;
    errno = 0;
    PathText element;
    void *state = nullptr;
    int more = Zget_path_element(element, cobol_name, prefix, 1, &state);
    while (more != 0 && status == LoadStatus::kNotOpened) {
        errno = 0;
        status = ZCSetValueString("XFD_DIRECTORY", element) != 0
                     ? search_directory(cobol_name, xfd, file)
                     : LoadStatus::kNoMemory;
        if (status == LoadStatus::kNotOpened)
            more = Zget_path_element(element, cobol_name, prefix, 0, &state);
    }

    const int error = errno;
    if (ZCSetValueString("XFD_DIRECTORY", was_set ? saved : nullptr) == 0)
        return LoadStatus::kNoMemory;
    errno = error;
    return status;
}

}  // namespace

LoadStatus open_dictionary(const char *cobol_name, Xfd *xfd, OwnedFile &file) {
    const char *prefix = ZCGetValueString("XFD_PREFIX");
    return prefix == nullptr ? search_directory(cobol_name, xfd, file)
                             : search_prefix(prefix, cobol_name, xfd, file);
}

}  // namespace fsi
