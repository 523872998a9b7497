// SPDX-License-Identifier: MIT
//
// The general configuration table, its change handler, and the name map with
// its look-up.  The variables of the database interfaces are elsewhere, in
// kst4gl/config.
#include "fsi/fsivars.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "fsi/base/variables.h"
#include "host/config.h"
#include "host/errors.h"
#include "host/memory.h"
#include "host/messages.h"
#include "host/names.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/locate.h"
#include "wbfsi/where.h"

namespace fsi {
namespace {

constexpr const char *kSource = "fsi/fsivars";
constexpr size_t kMaxMappedName = 129;
constexpr size_t kMaxMapEntries = 1000000;

// 1: each setting of XFD_MAP replaces the map; 0: it adds to it.
int16_t map_resets = 1;

struct NameMap {
    NameMapEntry *entries = nullptr;
    int32_t count = 0;
};
NameMap map;

void clear_name_map() {
    while (map.count > 0) {
        NameMapEntry &last = map.entries[--map.count];
        Zfree(last.holder);
        last = {};
    }
    Zfree(map.entries);
    map.entries = nullptr;
}

// Ends the text at `at` and returns where the rest begins, which is `end` when
// the text ended there by itself.
char *terminate(char *at, const char *end) {
    if (at == end)
        return at;
    *at = '\0';
    return at + 1;
}

// Parses up to `wanted` pairs from text .. end (where a zero byte stands) into
// the cleared entries behind the last one.  A pair that would begin at the end
// is not made.
void add_pairs(char *text, char *end, size_t wanted) {
    const auto is_separator = [](char c) { return c == '=' || is_space(c); };
    const auto is_end_of_name = [](char c) { return c == ',' || is_space(c); };

    char *at = text;
    for (size_t i = 0; i < wanted; ++i) {
        at = std::find_if_not(at, end, is_space);
        if (at == end)
            return;
        NameMapEntry &entry = map.entries[map.count];
        entry.pattern = at;
        at = terminate(std::find_if(at, end, is_separator), end);
        at = std::find_if_not(at, end, is_separator);
        entry.replacement = at;
        at = terminate(std::find_if(at, end, is_end_of_name), end);
        stdz_name(entry.pattern, -3, 4);
        stdz_name(entry.replacement, -3, 4);
        ++map.count;
    }
}

// Adds the pairs of one setting.  False when memory was refused: the map then
// has the entries it had.
bool extend_name_map(std::string_view text) {
    const auto pairs = static_cast<size_t>(std::count(text.begin(), text.end(), '='));
    if (pairs == 0)
        return true;
    const auto count = static_cast<size_t>(map.count);
    if (pairs > kMaxMapEntries - count)
        return false;
    auto *grown = static_cast<NameMapEntry *>(
        Zrealloc(map.entries, (count + pairs) * sizeof(NameMapEntry), "XFD map", kSource));
    if (grown == nullptr)
        return false;
    std::fill_n(grown + count, pairs, NameMapEntry{});
    map.entries = grown;

    Block<char> holder(static_cast<char *>(Zmalloc(text.size() + 1, "XFD map holder", kSource)));
    if (!holder)
        return false;
    std::memcpy(holder.get(), text.data(), text.size());
    char *end = holder.get() + text.size();
    *end = '\0';
    // A text with "=" gives one pair at least, so the holder has its entry.
    grown[count].holder = holder.get();
    add_pairs(holder.release(), end, pairs);
    return true;
}

void announce_setting(const char *name, const char *text) {
    meprintf(message_get(672, 0, "Set parameter '%1' to '%2'\n"), name, text);
}

void set_name_map(const char *name, ZString value, bool announce) {
    if (value == nullptr) {
        clear_name_map();
        return;
    }
    if (map_resets != 0)
        clear_name_map();
    const std::string_view text = bounded_view(ZStringGet(value), ZStringGetLength(value));
    if (text.empty() || !extend_name_map(text))
        return;
    if (announce)
        announce_setting(name, ZStringGet(value));
}

// The numbers that the handler keeps up to date elsewhere, and what each is
// when its variable is cleared.
struct KeptNumber {
    std::string_view name;
    int16_t *(*place)();
    int16_t when_cleared;
};
constexpr KeptNumber kKeptNumbers[] = {
    {"FILE_TRACE", [] { return &f_trace; }, 0},
    {"STRENGTHEN_LOCKS", Zstdlib_f_upgrade_rlock, 0},
    {"XFD_MAP_RESETS", [] { return &map_resets; }, 1},
};

int general_handler(const char *name, void *value, int16_t short_value, int announce) {
    for (const KeptNumber &kept : kKeptNumbers) {
        if (kept.name != name)
            continue;
        const int16_t number = value != nullptr ? short_value : kept.when_cleared;
        *kept.place() = number;
        if (announce != 0) {
            char text[8];
            std::snprintf(text, sizeof text, "%d", number);
            announce_setting(name, text);
        }
        return 0;
    }
    if (std::strcmp(name, "XFD_MAP") == 0)
        set_name_map(name, static_cast<ZString>(value), announce != 0);
    return 0;
}

constexpr ZCNamedValue kWhitespaceNames[] = {
    {"OFF", 0},   {"FALSE", 0},  {"ON", 1},   {"TRUE", 1},
    {"INPUT", 1}, {"OUTPUT", 2}, {"BOTH", 3}, {"IO", 3},
};

// No row closes the table: its count is passed along with it.  A default text is
// its address.
const ZCVariable kVariables[] = {
    {"XML_KEEP_WHITESPACE", kShortInteger, 0, kWhitespaceNames, std::size(kWhitespaceNames),
     nullptr, 0},
    {"FILE_TRACE", kShortInteger, 0, nullptr, 0, general_handler, 0},
    {"STRENGTHEN_LOCKS", kBoolean, 0, nullptr, 0, general_handler, 0},
    {"XFD_MAP_RESETS", kBoolean, 1, nullptr, 0, general_handler, 0},
    {"NO_TRANSACTIONS", kBoolean, 0, nullptr, 0, nullptr, 0},
    {"XFD_MAP", kHandledText, 0, nullptr, 0, general_handler, 0},
    {"DEFAULT_HOST", kHostText, reinterpret_cast<intptr_t>(""), nullptr, 0, nullptr, 0},
    {"DEFAULT_FILESYSTEM", kHostText, reinterpret_cast<intptr_t>(""), nullptr, 0, nullptr, 0},
    {"DEFAULT_IDX_FILESYSTEM", kHostText, reinterpret_cast<intptr_t>(""), nullptr, 0, nullptr, 0},
    {"DEFAULT_REL_FILESYSTEM", kHostText, reinterpret_cast<intptr_t>(""), nullptr, 0, nullptr, 0},
    {"DEFAULT_SEQ_FILESYSTEM", kHostText, reinterpret_cast<intptr_t>(""), nullptr, 0, nullptr, 0},
};
static_assert(std::size(kVariables) == 11);

}  // namespace

std::span<const NameMapEntry> name_map() {
    return {map.entries, static_cast<size_t>(map.count)};
}

// Only the last "*" ever needs another try: whatever an earlier one could take
// as well, the later one can take too.
bool matches_pattern(const char *pattern, const char *name) {
    const char *behind_star = nullptr;
    const char *retry = nullptr;
    for (;;) {
        if (*pattern == '*') {
            behind_star = ++pattern;
            retry = name;
            if (*pattern == '\0')
                return true;
        } else if (*name != '\0' && (*pattern == '?' || *pattern == *name)) {
            ++pattern;
            ++name;
        } else if (*name == '\0' && *pattern == '\0') {
            return true;
        } else if (behind_star != nullptr && *retry != '\0') {
            pattern = behind_star;
            name = ++retry;
        } else {
            return false;
        }
    }
}

}  // namespace fsi

int fsi_init_cfg() {
    ZCDefineVariables(fsi::kVariables, std::size(fsi::kVariables), 0);
    return Z4FillWhereMagic();
}

char *Z4GetXFDName(char *dst, const char *src) {
    const char *name = src;
    for (const fsi::NameMapEntry &entry : fsi::name_map()) {
        if (fsi::matches_pattern(entry.pattern, src)) {
            name = entry.replacement;
            break;
        }
    }
    const size_t length = strnlen(name, fsi::kMaxMappedName);
    std::memmove(dst, name, length);
    if (length < fsi::kMaxMappedName)
        dst[length] = '\0';
    return dst;
}
