// SPDX-License-Identifier: MIT
//
// Names, paths and the walk over texts of the program's code page.
#include "host/names.h"

#include <string.h>

#include "runtime/code_page.h"

namespace {

constexpr int kLowerCase = 4;
constexpr int kUpperCase = 6;
constexpr size_t kElementBytes = 259;

// The two-way door of C's own strchr: const in, plain out.
char *unconst(const char *text) {
    return const_cast<char *>(text);
}

char fold(char c, int mode) {
    if (c == '-')
        return '_';
    if (mode == kLowerCase && c >= 'A' && c <= 'Z')
        return static_cast<char>(c + ('a' - 'A'));
    if (mode == kUpperCase && c >= 'a' && c <= 'z')
        return static_cast<char>(c - ('a' - 'A'));
    return c;
}

bool ends_element(char c) {
    return c == ':' || c == ' ' || c == '\t';
}

// Copies the element at *list without its quotes and moves *list behind it;
// the length found, which may be more than was copied.
size_t take_element(const char **list, char *element) {
    size_t length = 0;
    bool quoted = false;
    const char *p = *list;
    for (; *p != '\0' && (quoted || !ends_element(*p)); ++p) {
        if (*p == '"') {
            quoted = !quoted;
        } else {
            if (length < kElementBytes)
                element[length] = *p;
            ++length;
        }
    }
    *list = p;
    element[length < kElementBytes ? length : kElementBytes] = '\0';
    return length;
}

}  // namespace

void stdz_name(char *name, int32_t length, int mode) {
    if (name == nullptr || (mode != kLowerCase && mode != kUpperCase))
        return;
    size_t n = length < 0 ? strlen(name) : strnlen(name, static_cast<size_t>(length));
    size_t end = n;
    bool multi_byte = host::code_page_is_multi_byte();
    size_t kept = 0;  // behind the last character that is not a blank
    for (size_t i = 0; i < end;) {
        size_t bytes = multi_byte ? host::character_bytes(name + i) : 1;
        if (bytes == 1)
            name[i] = fold(name[i], mode);
        if (bytes > 1 || name[i] != ' ')
            kept = i + bytes;
        i += bytes;
    }
    if (kept < n)
        name[kept] = '\0';
}

char *Zbasename(const char *path) {
    const char *slash = strrchr(path, '/');
    return unconst(slash == nullptr ? path : slash + 1);
}

char *concat_path(char *dest, const char *directory, const char *name) {
    size_t n = strlen(directory);
    size_t name_length = strlen(name);
    // The name brings the zero byte.
    memmove(dest, directory, n);
    if (n > 0 && dest[n - 1] != '/')
        dest[n++] = '/';
    memcpy(dest + n, name, name_length + 1);
    return dest;
}

int Zget_path_element(char *element, const char *, const char *list, int first, void **state) {
    // The walk keeps only its place in the list.
    const char *p = first != 0 ? list : static_cast<const char *>(*state);
    while (p != nullptr && *p != '\0') {
        if (ends_element(*p)) {
            ++p;
            continue;
        }
        size_t length = take_element(&p, element);
        if (length > 0 && length <= kElementBytes) {
            *state = unconst(p);
            return 1;
        }
    }
    element[0] = '\0';
    *state = unconst(p);
    return 0;
}

char *Zdbc_strchr(const char *text, int c) {
    if (!host::code_page_is_multi_byte())
        return unconst(strchr(text, c));
    const char wanted = static_cast<char>(c);
    while (*text != wanted) {
        if (*text == '\0')
            return nullptr;
        text += host::character_bytes(text);
    }
    return unconst(text);
}

char *dbc_next(const char *text) {
    if (*text == '\0')
        return unconst(text);
    return unconst(text + (host::code_page_is_multi_byte() ? host::character_bytes(text) : 1));
}
