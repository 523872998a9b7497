// SPDX-License-Identifier: MIT
//
// The line that --version prints.
#ifndef TOOL_VERSION_H
#define TOOL_VERSION_H

#include <string>

namespace tool {

std::string version_line();

}  // namespace tool

#endif
