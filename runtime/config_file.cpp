// SPDX-License-Identifier: MIT
//
// The configuration file.  All of it is checked before any of it counts.
#include <stdio.h>
#include <string.h>

#include "host/config.h"
#include "host/errors.h"
#include "runtime/config_value.h"
#include "runtime/error_state.h"
#include "runtime/text_file.h"
#include "runtime/variable_store.h"

namespace host {
namespace {

struct Setting {
    char name[kMaxNameBytes + 1];
    const char *value = "";
};

// One NAME VALUE or NAME=VALUE line.
int cut(const char *line, const char *path, unsigned line_number, Setting *setting) {
    size_t n = strcspn(line, " \t=");
    if (n == 0 || n > kMaxNameBytes)
        return refuse(kParameterError,
                      "%.*s, line %u: '%.*s' does not begin with a name of 1 to %zu bytes",
                      kShownBytes, path, line_number, kShownBytes, line, kMaxNameBytes);
    memcpy(setting->name, line, n);
    setting->name[n] = '\0';
    const char *p = line + n + strspn(line + n, " \t");
    if (*p == '=')
        p += 1 + strspn(p + 1, " \t");
    else if (*p == '\0')
        return refuse(kParameterError, "%.*s, line %u: '%s' has no value; write NAME=VALUE",
                      kShownBytes, path, line_number, setting->name);
    setting->value = p;
    return 1;
}

int check(const char *line, const char *path, unsigned line_number) {
    Setting setting;
    if (!cut(line, path, line_number, &setting))
        return 0;
    if (check_variable(setting.name, setting.value))
        return 1;
    char reason[700];
    snprintf(reason, sizeof reason, "%s", *Zstdlib_f_errmsg());
    return refuse(kParameterError, "%.*s, line %u: %s", kShownBytes, path, line_number, reason);
}

}  // namespace
}  // namespace host

int ZCLoadFile(const char *path) {
    using namespace host;
    TextFile file;
    if (!file.read(path, "configuration file"))
        return 0;
    while (const char *line = file.next_line()) {
        if (!check(line, path, file.line_number()))
            return 0;
    }
    file.rewind();
    while (const char *line = file.next_line()) {
        Setting setting;
        if (!cut(line, path, 0, &setting) || !set_variable(setting.name, setting.value, true))
            return 0;
    }
    return 1;
}
