// SPDX-License-Identifier: MIT
//
// Where the texts of the host go, and which texts it uses.
#ifndef RUNTIME_OUTPUT_H
#define RUNTIME_OUTPUT_H

#include <stddef.h>

namespace host {

// Appends trace lines to the file from now on; null goes back to the error
// output.  False, error state set, and no change when it cannot be opened.
bool set_trace_file(const char *path);

// Takes the texts of a message catalogue; null goes back to the default texts.
// False, error state set, and no change when the file cannot be used.
bool set_message_file(const char *path);

// To the error output, or to who took its place.
void write_error_output(const char *text, size_t n);

}  // namespace host

#endif
