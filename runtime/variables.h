// SPDX-License-Identifier: MIT
//
// What the host's other services ask of the configuration.
#ifndef RUNTIME_VARIABLES_H
#define RUNTIME_VARIABLES_H

namespace host {

// Declares the host's own variables and applies what the environment says about
// them; the first caller does the work.  Every service that such a variable
// steers calls it before it looks at its own state.
void start_variables();

}  // namespace host

#endif
