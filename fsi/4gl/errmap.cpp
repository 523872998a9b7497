// SPDX-License-Identifier: MIT
//
// The error-map file.  Sections and entries grow five at a time; what is there
// stays when they cannot.
#include "wbfsi/errmap.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "host/errors.h"
#include "host/files.h"
#include "host/memory.h"
#include "host/messages.h"

namespace fsi {
namespace {

constexpr const char *kSource = "fsi/4gl/errmap";
constexpr int kTraceCategory = 8;
constexpr int kGrowth = 5;

// In the order of their codes, from 1.
constexpr std::string_view kErrorNames[] = {
    "E_SYS_ERROR",   "E_PARAM_ERR",   "E_TOO_MANY_FILES", "E_MODE_CLASH",   "E_REC_LOCKED",
    "E_BROKEN",      "E_DUPLICATE",   "E_NOT_FOUND",      "E_UNDEF_RECORD", "E_DISK_FULL",
    "E_FILE_LOCKED", "E_REC_CHANGED", "E_MISMATCH",       "E_NO_MEMORY",    "E_MISSING_FILE",
    "E_PERMISSION",  "E_NO_SUPPORT",  "E_NO_LOCKS",
};
static_assert(std::size(kErrorNames) == 18);

// The first name that begins with the token counts; 0 for none.
int32_t error_code(std::string_view token) {
    const auto *found =
        std::find_if(std::begin(kErrorNames), std::end(kErrorNames),
                     [token](std::string_view name) { return name.starts_with(token); });
    return found == std::end(kErrorNames)
               ? 0
               : static_cast<int32_t>(found - std::begin(kErrorNames)) + 1;
}

const char *skip_space(const char *text) {
    while (is_space(*text))
        ++text;
    return text;
}

// Adds five cleared records to an array of `count`.  False when memory was
// refused; the array is then as it was.
template <typename T>
bool grow(T *&array, int count, const char *tag) {
    const auto used = static_cast<size_t>(count);
    if (count > INT_MAX - kGrowth || used + kGrowth > SIZE_MAX / sizeof(T))
        return false;
    void *larger = Zrealloc(array, (used + kGrowth) * sizeof(T), tag, kSource);
    if (larger == nullptr)
        return false;
    array = static_cast<T *>(larger);
    std::memset(array + used, 0, kGrowth * sizeof(T));
    return true;
}

// The lines of a file, each cut to what the buffer holds.
class Lines {
 public:
    explicit Lines(ZFile *file) : file_(file) {}

    // The next line without its newline; null at the end of the file.
    const char *next();

 private:
    ZFile *file_;
    char buffer_[512];
    char rest_[512];
};

// A zero byte within a line hides what follows, so the newline is looked for in
// the whole buffer: one of the line has the terminator behind it, those that the
// buffer was filled with have not.
bool read_line(ZFile *file, char (&buffer)[512], char *&newline) {
    std::memset(buffer, '\n', sizeof buffer);
    if (os_fgets(buffer, sizeof buffer, file) == nullptr)
        return false;
    newline = static_cast<char *>(std::memchr(buffer, '\n', sizeof buffer - 1));
    if (newline != nullptr && newline[1] != '\0')
        newline = nullptr;
    return true;
}

const char *Lines::next() {
    char *newline = nullptr;
    if (!read_line(file_, buffer_, newline))
        return nullptr;
    if (newline != nullptr) {
        *newline = '\0';
        return buffer_;
    }
    // Passes over the rest of a long line; behind a last line there is none.
    char *end_of_rest = nullptr;
    while (end_of_rest == nullptr && read_line(file_, rest_, end_of_rest)) {
    }
    return buffer_;
}

// What a file holds so far.  Releases what nobody took.  Until release(), `capacity`
// of a section counts its entries, from which the number of its slots follows.
class ErrorMap {
 public:
    enum class Step : uint8_t { kDone, kFull, kNoMemory };

    ErrorMap() = default;
    ErrorMap(const ErrorMap &) = delete;
    ErrorMap &operator=(const ErrorMap &) = delete;
    ~ErrorMap();

    bool reserve(int capacity);
    Step read(const char *line, bool &is_implicit);
    void trace_entries() const;

    int capacity() const { return capacity_; }
    int n_sections() const { return n_sections_; }
    ErrorMapSection *release();

 private:
    Step open_section(const char *header);
    Step add_entry(const char *line);

    ErrorMapSection *sections_ = nullptr;
    int capacity_ = 0;    // slots of sections_
    int n_sections_ = 0;  // those in use
};

ErrorMap::~ErrorMap() {
    const Block<ErrorMapSection> sections(sections_);
    for (int s = 0; sections && s < n_sections_; ++s)
        const Block<ErrorMapEntry> entries(sections_[s].entries);
}

bool ErrorMap::reserve(int capacity) {
    sections_ =
        allocate_cleared<ErrorMapSection>(static_cast<size_t>(capacity), "Error Mapping", kSource);
    capacity_ = sections_ != nullptr ? capacity : 0;
    return sections_ != nullptr;
}

ErrorMapSection *ErrorMap::release() {
    for (int s = 0; s < n_sections_; ++s) {
        int32_t &capacity = sections_[s].capacity;
        capacity = (std::max(capacity - 1, 0) / kGrowth + 1) * kGrowth;
    }
    return std::exchange(sections_, nullptr);
}

ErrorMap::Step ErrorMap::open_section(const char *header) {
    if (n_sections_ == capacity_) {
        if (!grow(sections_, capacity_, "Error Mapping")) {
            if (f_trace != 0)
                ZTrace(0, kTraceCategory, "Realloc failed");
            return Step::kFull;
        }
        capacity_ += kGrowth;
    }
    ErrorMapSection &section = sections_[n_sections_];
    section.entries = allocate_cleared<ErrorMapEntry>(kGrowth, "OneError Mapping", kSource);
    if (section.entries == nullptr)
        return Step::kNoMemory;
    copy_text(section.name, header);
    ++n_sections_;
    return Step::kDone;
}

ErrorMap::Step ErrorMap::add_entry(const char *line) {
    char *behind = nullptr;
    const long number = std::strtol(line, &behind, 10);
    if (behind == line || (*behind != '\0' && !is_space(*behind)))
        return Step::kDone;
    const char *name = skip_space(behind);
    if (*name == '\0') {
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "Parse Error 2");
        return Step::kDone;
    }
    const char *end = name;
    while (*end != '\0' && !is_space(*end))
        ++end;

    ErrorMapSection &section = sections_[n_sections_ - 1];
    int32_t &n_entries = section.capacity;
    if (f_trace != 0)
        ZTrace(0, kTraceCategory, "curr_one %d num_err_maps %d", n_entries, n_sections_);
    if (n_entries > 0 && n_entries % kGrowth == 0 &&
        !grow(section.entries, n_entries, "OneError Mapping")) {
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "Realloc 2 failed");
        return Step::kFull;
    }
    // A long has 64 bits in one width, 32 in the other.
    section.entries[n_entries++] = {
        static_cast<int32_t>(std::clamp<long>(number, INT32_MIN, INT32_MAX)),
        error_code({name, static_cast<size_t>(end - name)})};
    return Step::kDone;
}

ErrorMap::Step ErrorMap::read(const char *line, bool &is_implicit) {
    const char *text = skip_space(line);
    if (*text == '\0' || *text == '#')
        return Step::kDone;
    const bool is_header = *text == '[';
    if (is_header || std::exchange(is_implicit, false)) {
        is_implicit = false;
        const Step opened = open_section(text);
        if (is_header || opened != Step::kDone)
            return opened;
    }
    // Lines in front of all sections have no place.
    return n_sections_ != 0 ? add_entry(text) : Step::kDone;
}

void ErrorMap::trace_entries() const {
    for (int s = 0; s < n_sections_; ++s) {
        for (int e = 0; e < sections_[s].capacity; ++e) {
            const ErrorMapEntry &entry = sections_[s].entries[e];
            ZTrace(0, kTraceCategory, "Err File map %d fld %d native %d COBOL %d", s, e,
                   entry.native, entry.cobol);
        }
    }
}

// Fills the map.  kFull when it stays as far as it was built.
ErrorMap::Step read_file(ZFile *file, bool is_implicit, ErrorMap &map) {
    Lines lines(file);
    while (const char *line = lines.next()) {
        if (f_trace != 0)
            ZTrace(0, kTraceCategory, "%s", line);
        const ErrorMap::Step step = map.read(line, is_implicit);
        if (step != ErrorMap::Step::kDone)
            return step;
    }
    return ErrorMap::Step::kDone;
}

}  // namespace
}  // namespace fsi

ErrorMapSection *Z4ParseErrorFile(const char *path, int *count, int implicit_section) {
    using namespace fsi;
    if (count == nullptr) {
        *Zstdlib_f_errno() = 0;
        return nullptr;
    }
    const int wanted = *count > 0 ? *count : kGrowth;
    *count = 0;
    if (f_trace != 0)
        ZTrace(1, kTraceCategory, "ParseErrorFile");

    ErrorMap map;
    if (!map.reserve(wanted)) {
        *Zstdlib_f_errno() = 0;
        if (f_trace != 0)
            ZTrace(-1, kTraceCategory, "Returning, no memory");
        return nullptr;
    }
    if (path == nullptr || *path == '\0') {
        *Zstdlib_f_errno() = 0;
        if (f_trace != 0)
            ZTrace(-1, kTraceCategory, "Returning, no conf var");
        return nullptr;
    }
    const OwnedFile file(os_fopen(path, "r", 1));
    if (!file) {
        const int error = errno;
        *Zstdlib_f_errno() = 0;
        if (f_trace != 0)
            ZTrace(-1, kTraceCategory, "Returning, unable to open '%s', error %d", path, error);
        return nullptr;
    }
    const ErrorMap::Step last = read_file(file.get(), implicit_section != 0, map);
    if (last == ErrorMap::Step::kNoMemory) {
        *Zstdlib_f_errno() = 0;
        if (f_trace != 0)
            ZTrace(-1, kTraceCategory, "Returning, no mem for one");
        return nullptr;
    }
    if (f_trace != 0) {
        if (last == ErrorMap::Step::kDone)
            map.trace_entries();
        ZTrace(-1, kTraceCategory, "Returning, %d sections", map.n_sections());
    }
    *count = map.capacity();
    return map.release();
}
