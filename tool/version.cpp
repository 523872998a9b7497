// SPDX-License-Identifier: MIT
#include "tool/version.h"

namespace tool {

std::string version_line() {
    return "wbfsi " WBFSI_VERSION;
}

}  // namespace tool
