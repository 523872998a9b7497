// SPDX-License-Identifier: MIT
//
// Words for the rows of the two tables of configuration variables.
#ifndef FSI_BASE_VARIABLES_H
#define FSI_BASE_VARIABLES_H

#include <cstdint>

namespace fsi {

// What a variable holds, and with which ZCGetValue... it is read.
enum VariableType : uint32_t {
    kRawText = 1,       // the text given to ZCSetValueRaw; String
    kBoolean = 2,       // Bool
    kTinyInteger = 3,   // Tinyint
    kShortInteger = 5,  // Short
    kLongInteger = 6,   // Long
    kHostText = 7,      // text that the host alone reads
    kText = 8,          // String
    kHandledText = 10,  // for the change handler alone, as a dynamic string
};

}  // namespace fsi

#endif
