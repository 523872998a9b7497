// SPDX-License-Identifier: MIT
//
// The variables that somebody declared or gave a value, by name.  What a value
// means is the business of config.cpp.
#ifndef RUNTIME_VARIABLE_STORE_H
#define RUNTIME_VARIABLE_STORE_H

#include <stddef.h>
#include <stdint.h>

#include "host/config.h"

namespace host {

inline constexpr size_t kMaxNameBytes = 255;

// One text that somebody gave to a variable.
struct Given {
    Given *next;
    size_t length;
    char *text;  // behind the record, in the same block
};

// The texts of one source, oldest first.  Kinds that hear every value keep
// several, all others the last.
struct GivenList {
    Given *first;
    Given *last;
    size_t bytes;  // records included
};

struct Indicator {
    Indicator *next;
    unsigned char *byte;
};

// Where a value comes from, the weakest first.
enum Source : uint8_t { kFromFile, kFromEnvironment, kFromProgram, kSources };

struct Variable {
    Variable *next;  // in the same bucket
    uint32_t hash;
    const ZCVariable *row;  // null while nobody declares it
    GivenList given[kSources];
    Indicator *indicators;
    const char *text;  // in force: a given one or the row's, null for none
    int32_t number;    // in force
    char *name;        // folded, for comparing; zero bytes up to a whole word
};

// Names compare without case, "-" equals "_".
Variable *find_variable(const char *name);

// Finds or makes; null with the error state set when the name is empty or too
// long and when memory was refused.
Variable *need_variable(const char *name);

// The same with a variable of the caller's in the place of a new one, and room for
// its name up to a whole word.
void adopt_variable(Variable *variable, char *name_room, const char *name);

// Gives back a variable that has neither row nor given texts; else no change.
void drop_if_unused(Variable *variable);

Given *make_given(const char *text);  // null with the error state set
void append(GivenList *list, Given *given);
void remove_first(GivenList *list);
void clear(GivenList *list);

}  // namespace host

#endif
