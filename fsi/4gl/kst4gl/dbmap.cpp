// SPDX-License-Identifier: MIT
//
// The database map and its look-up by path.
#include "fsi/4gl/kst4gl/dbmap.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "host/containers.h"
#include "host/messages.h"
#include "host/names.h"
#include "wbfsi/locate.h"

namespace fsi {
namespace {

constexpr int kTraceCategory = 8;

// One mapping, a single allocation: both texts lie behind the pointers.
struct DbMapEntry {
    char *directory;
    char *database;

    char *text() { return reinterpret_cast<char *>(this + 1); }
};

ZHash *db_map;

// Cuts the white space at the end of a text that may hold multi-byte
// characters, whose trail bytes are not white space whatever they look like.
void trim_right(char *text) {
    char *const terminator = text + std::strlen(text);
    char *end = text;
    for (char *at = text; at < terminator;) {
        const bool is_blank = is_space(*at);
        at = std::min(dbc_next(at), terminator);
        if (!is_blank)
            end = at;
    }
    *end = '\0';
}

// Splits the entry's text at its first "=".  False when it has none.
bool split(DbMapEntry *entry) {
    entry->directory = entry->text();
    char *equals = Zdbc_strchr(entry->directory, '=');
    if (equals == nullptr)
        return false;
    *equals = '\0';
    entry->database = equals + 1;
    while (is_space(*entry->database))
        ++entry->database;
    trim_right(entry->directory);
    trim_right(entry->database);
    return true;
}

// False when memory was refused; the entry is then still the caller's.
bool add_entry(DbMapEntry *entry) {
    if (db_map != nullptr)
        return HASH_ADD(db_map, entry) != 0;
    ZHash *created = HASH_NEW("DB map", offsetof(DbMapEntry, directory), Zfree, kSource);
    if (created == nullptr)
        return false;
    if (HASH_ADD(created, entry) == 0) {
        HASH_FREE(created);
        return false;
    }
    db_map = created;
    return true;
}

void announce_setting(const char *name, const char *text) {
    meprintf(message_get(673, 0, "Set parameter '%1' to %2\n"), name, text);
}

void add_mapping(const char *name, const char *text, bool announce) {
    const size_t length = std::strlen(text);
    Block<DbMapEntry> entry(static_cast<DbMapEntry *>(
        Zmalloc(sizeof(DbMapEntry) + length + 1, "DB MAP entry", kSource)));
    if (entry) {
        std::memcpy(entry->text(), text, length + 1);
        if (!split(entry.get())) {
            if (announce)
                eprintf("Bad format for variable %s, '%s'\n", name, text);
            return;
        }
    }
    if (!entry || !add_entry(entry.get())) {
        if (announce)
            eprintf("No memory for setting new %s\n", name);
        return;
    }
    (void)entry.release();  // the map's now
    if (announce)
        announce_setting(name, text);
}

// The database of the directory in `path`, which is cut; `base` is the base name
// within it.  The map may name the directory with a separator behind it.
const DbMapEntry *find_directory(char *path, char *base) {
    char *separator = base - 1;
    *base = '\0';
    for (const char ending : {'\0', '/', '\\'}) {
        *separator = ending;
        if (const void *found = HASH_GET(db_map, path))
            return static_cast<const DbMapEntry *>(found);
    }
    return nullptr;
}

}  // namespace

int db_map_handler(const char *name, void *value, int16_t, int announce) {
    const auto string = static_cast<ZString>(value);
    if (string != nullptr && *ZStringGet(string) != '\0') {
        add_mapping(name, ZStringGet(string), announce != 0);
        return 0;
    }
    if (announce != 0)
        announce_setting(name, "NULL");
    if (db_map != nullptr)
        HASH_FREE(std::exchange(db_map, nullptr));
    return 0;
}

}  // namespace fsi

const char *Z4DBFromPath(const char *path) {
    const auto leave = [](const char *why) -> const char * {
        if (f_trace != 0)
            ZTrace(-1, fsi::kTraceCategory, "%s", why);
        return nullptr;
    };
    if (f_trace != 0)
        ZTrace(1, fsi::kTraceCategory, "Z4DBFromPath: %s", path);
    if (fsi::db_map == nullptr)
        return leave("Leaving, no db_map");

    const fsi::Block<char> copy(ZSTRDUP(path, "DB map path", fsi::kSource));
    if (!copy)
        return leave("Leaving, no memory");
    char *base = Zbasename(copy.get());
    if (base == copy.get())
        return leave("Leaving, no directory info");

    const fsi::DbMapEntry *entry = fsi::find_directory(copy.get(), base);
    if (entry == nullptr)
        return leave("Leaving, no map for this directory");
    if (f_trace != 0)
        ZTrace(-1, fsi::kTraceCategory, "Returning, %s", entry->database);
    return entry->database;
}
