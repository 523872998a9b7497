// SPDX-License-Identifier: MIT
//
// The list is one copy of its text, cut into words in place.
#include "wbfsi/suffixes.h"

#include <strings.h>

#include <cstring>
#include <utility>

#include "fsi/4gl/kst4gl/model.h"
#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "host/memory.h"
#include "host/messages.h"

namespace fsi {
namespace {

constexpr int kTraceCategory = 5;

// Behind the first n_suffixes entries of `suffixes` nothing is looked at; all
// of them point into `text`, which is null while there are none.
struct SuffixList {
    char *text;
    size_t n_suffixes;
    const char *suffixes[Z4_MAX_SUFFIXES];
};

SuffixList known;

const char *skip_space(const char *text) {
    while (is_space(*text))
        ++text;
    return text;
}

void clear() {
    const Block<char> old(std::exchange(known.text, nullptr));
    known = {};
}

// Cuts the copy at its white space and notes the words that are more than dots.
void cut(char *text) {
    while (*text != '\0' && known.n_suffixes < Z4_MAX_SUFFIXES) {
        char *word = text + strspn(text, ".");
        text = word;
        while (*text != '\0' && !is_space(*text))
            ++text;
        if (text != word)
            known.suffixes[known.n_suffixes++] = word;
        while (is_space(*text))
            *text++ = '\0';
    }
}

}  // namespace
}  // namespace fsi

void Z4DefineSuffixes(const char *list) {
    using namespace fsi;
    if (f_trace != 0)
        ZTrace(1, kTraceCategory, "%s: '%s'", "Z4DefineSuffixes", list != nullptr ? list : "nil");
    clear();
    if (list != nullptr)
        list = skip_space(list);
    if (list != nullptr && *list != '\0') {
        known.text = ZSTRDUP(list, "Suffix List", kSource);
        if (known.text != nullptr)
            cut(known.text);
        if (known.n_suffixes == 0)
            clear();
    }
    if (f_trace != 0)
        ZTrace(-1, kTraceCategory, "Returning");
}

int Z4RemoveSuffix(char *name) {
    char *dot = std::strrchr(name, '.');
    if (dot == nullptr)
        return 0;
    for (size_t i = 0; i < fsi::known.n_suffixes; ++i) {
        if (strcasecmp(dot + 1, fsi::known.suffixes[i]) == 0) {
            *dot = '\0';
            break;
        }
    }
    return 0;
}
