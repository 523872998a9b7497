// SPDX-License-Identifier: MIT
//
// The array of processing instructions of a document.
#ifndef FSI_XML_HANDLERS_INSTRUCTIONS_H
#define FSI_XML_HANDLERS_INSTRUCTIONS_H

#include <cstdint>
#include <string_view>

#include "host/containers.h"
#include "host/strings.h"

namespace fsi::xml {

// Both null where a number was passed over.
struct Instruction {
    ZString target;
    ZString data;
};

// A pair of new strings with these texts; both null without memory.
Instruction make_instruction(std::string_view target, std::string_view data);
void free_instruction(Instruction *instruction);

// Appends a pair; makes the array when there is none.  False without memory.
bool add_instruction(ZArray **instructions, std::string_view target, std::string_view data);

// Stores a pair at a number, in place of what is there.  False without memory, with
// the pair still the caller's.
bool set_instruction(ZArray **instructions, uint32_t number, const Instruction &instruction);

// Frees the pairs and the array; null is accepted.
void free_instructions(ZArray *instructions);

}  // namespace fsi::xml

#endif
