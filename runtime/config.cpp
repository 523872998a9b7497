// SPDX-License-Identifier: MIT
//
// Configuration variables: what a value has to be, who may give it, and who
// hears of it.  The names are kept in variable_store.cpp, the configuration file
// is read in config_file.cpp.
#include "host/config.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>

#include "host/memory.h"
#include "host/strings.h"
#include "runtime/code_page.h"
#include "runtime/config_value.h"
#include "runtime/error_state.h"
#include "runtime/output.h"
#include "runtime/variable_store.h"
#include "runtime/variables.h"

namespace host {
namespace {

constexpr const char *kSource = "runtime/config";

// Of the values of a stream so many bytes stay for the next declaration.
constexpr size_t kMaxKeptBytes = size_t{1} << 20;

int announcing;

bool is_known_kind(uint32_t type) {
    return type == kRaw || type == kBool || type == kTiny || type == kShort || type == kLong ||
           type == kTextWithDefault || type == kText || type == kStream;
}

bool is_number(const ZCVariable &row) {
    return row.type == kBool || row.type == kTiny || row.type == kShort || row.type == kLong;
}

bool is_text(const ZCVariable &row) {
    return row.type == kRaw || row.type == kTextWithDefault || row.type == kText;
}

constexpr int kDefaultCodePage = 28591;

constexpr ZCVariable kOwnRows[] = {
    {"XFD_PREFIX", kText, 0, nullptr, 0, nullptr, 0},
    {"XFD_DIRECTORY", kText, 0, nullptr, 0, nullptr, 0},
    {"COBOL_CODE_PAGE", kLong, kDefaultCodePage, nullptr, 0, nullptr, 0},
    {"TRACE_FILE", kText, 0, nullptr, 0, nullptr, 0},
    {"MESSAGE_FILE", kText, 0, nullptr, 0, nullptr, 0},
};
constexpr size_t kOwnRowCount = std::size(kOwnRows);
constexpr const ZCVariable *kCodePageRow = &kOwnRows[2];
constexpr const ZCVariable *kTraceFileRow = &kOwnRows[3];
constexpr const ZCVariable *kMessageFileRow = &kOwnRows[4];

Variable own_variables[kOwnRowCount];
char own_names[kOwnRowCount][32];

bool is_own(const Variable *variable) {
    return variable >= own_variables && variable < own_variables + kOwnRowCount;
}

int32_t default_number(const ZCVariable &row) {
    return static_cast<int32_t>(row.default_value);
}

const char *default_text(const ZCVariable &row) {
    return is_text(row) ? reinterpret_cast<const char *>(row.default_value) : nullptr;
}

void tell_indicators(const Variable &variable) {
    const bool number = variable.row != nullptr && is_number(*variable.row);
    const auto value =
        number ? static_cast<unsigned char>(variable.number)
               : static_cast<unsigned char>(variable.text != nullptr && variable.text[0] != '\0');
    for (const Indicator *i = variable.indicators; i != nullptr; i = i->next)
        *i->byte = value;
}

void put_default_in_force(Variable *variable) {
    variable->number = is_number(*variable->row) ? default_number(*variable->row) : 0;
    variable->text = default_text(*variable->row);
    tell_indicators(*variable);
}

void call_handler(const ZCVariable &row, void *value, int16_t short_value) {
    if (row.handler != nullptr)
        row.handler(row.name, value, short_value, announcing);
}

void tell_handler(const ZCVariable &row, const Given &given, int32_t number) {
    const bool is_short = row.type == kBool || row.type == kTiny || row.type == kShort;
    call_handler(row, given.text, is_short ? static_cast<int16_t>(number) : int16_t{0});
}

// What a stream's handler gets; null with the error state set.
ZString make_string(const Given &given) {
    ZString string = ZSTRINGNew(given.length + 1, "configuration value", kSource);
    if (string == nullptr || !ZSTRINGAppendN(string, given.text, given.length)) {
        ZSTRINGDelete(string);
        refuse_memory();
        return nullptr;
    }
    return string;
}

int tell_stream(const ZCVariable &row, const Given &given) {
    ZString string = make_string(given);
    if (string == nullptr)
        return 0;
    call_handler(row, string, 0);
    ZSTRINGDelete(string);
    return 1;
}

// The host's own variables act before their values are accepted.
int act_on_own(const ZCVariable &row, const char *text, int32_t number) {
    if (&row == kTraceFileRow)
        return set_trace_file(text);
    if (&row == kMessageFileRow)
        return set_message_file(text);
    if (&row != kCodePageRow)
        return 1;
    errno = 0;
    if (switch_code_page(number))
        return 1;
    return errno == ENOMEM ? refuse_memory()
                           : refuse(kParameterError,
                                    "COBOL_CODE_PAGE '%.*s' is no known code page; give one such "
                                    "as 28591, 1252, 65001 or 932",
                                    kShownBytes, text);
}

void clear_own(const ZCVariable &row) {
    if (&row == kTraceFileRow)
        set_trace_file(nullptr);
    if (&row == kMessageFileRow)
        set_message_file(nullptr);
    if (&row == kCodePageRow)
        switch_code_page(kDefaultCodePage);
}

// The strongest source that gave something, or null.
const GivenList *strongest(const Variable &variable) {
    for (int source = kSources - 1; source >= 0; --source) {
        if (variable.given[source].first != nullptr)
            return &variable.given[source];
    }
    return nullptr;
}

// What was given before the row came: the value in force is the strongest that
// fits, and a stream hears every one.  0 when one did not fit.
int apply_waiting(Variable *variable) {
    const ZCVariable &row = *variable->row;
    int done = 1;
    if (row.type == kStream) {
        for (const GivenList &list : variable->given) {
            for (const Given *given = list.first; given != nullptr; given = given->next)
                done &= tell_stream(row, *given);
        }
        return done;
    }
    while (const GivenList *list = strongest(*variable)) {
        const Given *given = list->last;
        int32_t number = 0;
        if (check_value(row, given->text, &number) && act_on_own(row, given->text, number)) {
            variable->number = number;
            variable->text = given->text;
            tell_indicators(*variable);
            tell_handler(row, *given, number);
            return done;
        }
        done = 0;
        clear(&variable->given[list - variable->given]);
    }
    return done;
}

// The environment's word on a variable, once for each declaration.
bool take_environment(Variable *variable, const char *row_name) {
    clear(&variable->given[kFromEnvironment]);
    char name[kMaxNameBytes + 1];
    size_t n = std::min(strlen(row_name), kMaxNameBytes);
    std::transform(row_name, row_name + n, name, [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
    });
    name[n] = '\0';
    const char *text = getenv(name);
    if (text == nullptr)
        return true;
    Given *given = make_given(text);
    if (given == nullptr)
        return false;
    append(&variable->given[kFromEnvironment], given);
    return true;
}

void declare(Variable *variable, const ZCVariable *row) {
    variable->row = row;
    put_default_in_force(variable);
}

void withdraw(Variable *variable) {
    variable->row = nullptr;
    variable->text = nullptr;
    variable->number = 0;
    while (Indicator *indicator = variable->indicators) {
        variable->indicators = indicator->next;
        Zfree(indicator);
    }
    clear(&variable->given[kFromEnvironment]);
    drop_if_unused(variable);
}

int check_row(const ZCVariable &row) {
    if (row.name == nullptr || row.name[0] == '\0' || strlen(row.name) > kMaxNameBytes)
        return refuse(kParameterError, "a configuration row has no name of 1 to %zu bytes",
                      kMaxNameBytes);
    if (!is_known_kind(row.type))
        return refuse(kParameterError,
                      "configuration variable %s has type %u; give 1, 2, 3, 5, 6, 7, 8 or 10",
                      row.name, static_cast<unsigned>(row.type));
    const Variable *known = find_variable(row.name);
    if (known != nullptr && known->row != nullptr && known->row->type != row.type)
        return refuse(kParameterError, "configuration variable %s is declared with type %u, not %u",
                      row.name, static_cast<unsigned>(known->row->type),
                      static_cast<unsigned>(row.type));
    return 1;
}

// Everything that needs memory, before anything changes.
bool prepare(const ZCVariable *table, uint32_t count, uint32_t *prepared) {
    for (*prepared = 0; *prepared < count; ++*prepared) {
        const ZCVariable &row = table[*prepared];
        Variable *variable = need_variable(row.name);
        if (variable == nullptr)
            return false;
        if (variable->row == nullptr && !take_environment(variable, row.name)) {
            drop_if_unused(variable);
            return false;
        }
    }
    return true;
}

void undo_prepare(const ZCVariable *table, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        Variable *variable = find_variable(table[i].name);
        if (variable != nullptr && variable->row == nullptr)
            withdraw(variable);
    }
}

// Keeps the values of a stream, and of a name of which nobody knows yet whether it
// is one, for the next declaration; the oldest go when there are too many.
void keep(GivenList *list, Given *given) {
    append(list, given);
    while (list->bytes > kMaxKeptBytes && list->first != given)
        remove_first(list);
}

int give_to_stream(const ZCVariable &row, GivenList *list, Given *given) {
    ZString string = make_string(*given);
    if (string == nullptr) {
        Zfree(given);
        return 0;
    }
    keep(list, given);
    call_handler(row, string, 0);
    ZSTRINGDelete(string);
    return 1;
}

// Takes a text that fits from a source.
int give(Variable *variable, Source source, Given *given, int32_t number) {
    GivenList *list = &variable->given[source];
    const ZCVariable *row = variable->row;
    if (row == nullptr) {
        keep(list, given);
        return 1;
    }
    if (row->type == kStream)
        return give_to_stream(*row, list, given);
    clear(list);
    append(list, given);
    if (strongest(*variable) != list)
        return 1;
    variable->number = number;
    variable->text = given->text;
    tell_indicators(*variable);
    tell_handler(*row, *given, number);
    return 1;
}

int clear_value(const char *name) {
    Variable *variable = find_variable(name);
    if (variable == nullptr)
        return name == nullptr ? refuse(kParameterError, "a configuration variable without a name")
                               : 1;
    const ZCVariable *row = variable->row;
    if (row != nullptr)
        put_default_in_force(variable);
    for (GivenList &list : variable->given)
        clear(&list);
    if (row == nullptr) {
        drop_if_unused(variable);
        return 1;
    }
    clear_own(*row);
    call_handler(*row, nullptr, 0);
    return 1;
}

const Variable *find_declared(const char *name) {
    start_variables();
    const Variable *variable = find_variable(name);
    return variable != nullptr && variable->row != nullptr ? variable : nullptr;
}

// The number in force, kept within the range of the asking function.
int32_t number_of(const Variable &variable, int32_t lowest, int32_t highest) {
    int32_t number = variable.number;
    if (!is_number(*variable.row) &&
        (variable.text == nullptr || !parse_number(variable.text, &number)))
        number = 0;
    return std::clamp(number, lowest, highest);
}

}  // namespace

int set_variable(const char *name, const char *text, bool from_file) {
    start_variables();
    if (text == nullptr)
        return clear_value(name);
    Variable *variable = need_variable(name);
    if (variable == nullptr)
        return 0;
    int32_t number = 0;
    Given *given = nullptr;
    const ZCVariable *row = variable->row;
    if ((row == nullptr || check_value(*row, text, &number)) &&
        (given = make_given(text)) != nullptr) {
        // A file's word does not count against a stronger one, nor is it acted upon.
        const bool is_weaker = from_file && row != nullptr && row->type != kStream &&
                               (variable->given[kFromEnvironment].first != nullptr ||
                                variable->given[kFromProgram].first != nullptr);
        if (row == nullptr || is_weaker || act_on_own(*row, text, number))
            return give(variable, from_file ? kFromFile : kFromProgram, given, number);
        Zfree(given);
    }
    drop_if_unused(variable);
    return 0;
}

int check_variable(const char *name, const char *text) {
    start_variables();
    const Variable *variable = find_variable(name);
    int32_t number;
    return variable == nullptr || variable->row == nullptr ||
           check_value(*variable->row, text, &number);
}

void start_variables() {
    static bool started;
    if (started)
        return;
    started = true;
    for (size_t i = 0; i < kOwnRowCount; ++i) {
        adopt_variable(&own_variables[i], own_names[i], kOwnRows[i].name);
        take_environment(&own_variables[i], kOwnRows[i].name);
        declare(&own_variables[i], &kOwnRows[i]);
    }
    for (Variable &variable : own_variables)
        apply_waiting(&variable);
}

}  // namespace host

int ZCDefineVariables(const ZCVariable *table, uint32_t count, int) {
    using namespace host;
    start_variables();
    for (uint32_t i = 0; i < count; ++i) {
        if (!check_row(table[i]))
            return 0;
    }
    uint32_t prepared;
    if (!prepare(table, count, &prepared)) {
        undo_prepare(table, prepared);
        return 0;
    }
    int done = 1;
    for (uint32_t i = 0; i < count; ++i) {
        Variable *variable = find_variable(table[i].name);
        if (variable == nullptr || variable->row != nullptr)
            continue;
        declare(variable, &table[i]);
        done &= apply_waiting(variable);
    }
    return done;
}

int ZCUndefineVariables(const ZCVariable *table, uint32_t count, int) {
    using namespace host;
    for (uint32_t i = 0; i < count; ++i) {
        Variable *variable = find_variable(table[i].name);
        if (variable != nullptr && variable->row != nullptr && !is_own(variable))
            withdraw(variable);
    }
    return 1;
}

int ZCDefineIndicator(const char *name, int, unsigned char *byte) {
    using namespace host;
    start_variables();
    Variable *variable = find_variable(name);
    if (variable == nullptr || variable->row == nullptr || byte == nullptr)
        return refuse(kParameterError,
                      "an indicator for '%.*s' needs a declared variable and a byte", kShownBytes,
                      name == nullptr ? "" : name);
    // Whoever declares a table again binds its indicators again.
    for (const Indicator *bound = variable->indicators; bound != nullptr; bound = bound->next) {
        if (bound->byte == byte) {
            tell_indicators(*variable);
            return 1;
        }
    }
    auto *indicator =
        static_cast<Indicator *>(Zmalloc(sizeof(Indicator), "configuration indicator", kSource));
    if (indicator == nullptr)
        return refuse_memory();
    *indicator = {variable->indicators, byte};
    variable->indicators = indicator;
    tell_indicators(*variable);
    return 1;
}

int ZCSetValueString(const char *name, const char *value) {
    return host::set_variable(name, value, false);
}

int ZCSetValueRaw(const char *name, int, const char *value) {
    return host::set_variable(name, value, false);
}

const char *ZCGetValueString(const char *name) {
    const host::Variable *variable = host::find_declared(name);
    return variable == nullptr ? nullptr : variable->text;
}

int ZCGetValueBool(const char *name, int otherwise) {
    const host::Variable *variable = host::find_declared(name);
    return variable == nullptr ? otherwise : host::number_of(*variable, INT32_MIN, INT32_MAX) != 0;
}

int8_t ZCGetValueTinyint(const char *name, int8_t otherwise) {
    const host::Variable *variable = host::find_declared(name);
    return variable == nullptr
               ? otherwise
               : static_cast<int8_t>(host::number_of(*variable, INT8_MIN, INT8_MAX));
}

int16_t ZCGetValueShort(const char *name, int16_t otherwise) {
    const host::Variable *variable = host::find_declared(name);
    return variable == nullptr
               ? otherwise
               : static_cast<int16_t>(host::number_of(*variable, INT16_MIN, INT16_MAX));
}

int32_t ZCGetValueLong(const char *name, int32_t otherwise) {
    const host::Variable *variable = host::find_declared(name);
    return variable == nullptr ? otherwise : host::number_of(*variable, INT32_MIN, INT32_MAX);
}

void ZCAnnounce(int on) {
    host::announcing = on;
}
