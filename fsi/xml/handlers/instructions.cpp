// SPDX-License-Identifier: MIT
#include "fsi/xml/handlers/instructions.h"

#include "fsi/base/owner.h"

namespace fsi::xml {
namespace {

constexpr const char *kSource = "fsi/xml/handlers/instructions";

OwnedString make(std::string_view text, const char *tag) {
    OwnedString string(ZSTRINGNew(text.size() + 1, tag, kSource));
    if (string && ZSTRINGAppendN(string.get(), text.data(), text.size()) == 0)
        string.reset();
    return string;
}

bool has_array(ZArray **instructions) {
    if (*instructions == nullptr)
        *instructions = ARRAY_new(sizeof(Instruction), "Processing instructions array", kSource);
    return *instructions != nullptr;
}

}  // namespace

Instruction make_instruction(std::string_view target, std::string_view data) {
    OwnedString first = make(target, "Target processing instruction");
    OwnedString second = first ? make(data, "Data for processing instruction") : OwnedString();
    if (!second)
        return {};
    return {first.release(), second.release()};
}

void free_instruction(Instruction *instruction) {
    ZSTRINGDelete(instruction->target);
    ZSTRINGDelete(instruction->data);
    *instruction = {};
}

bool add_instruction(ZArray **instructions, std::string_view target, std::string_view data) {
    if (!has_array(instructions))
        return false;
    Instruction instruction = make_instruction(target, data);
    if (instruction.target == nullptr)
        return false;
    if (ARRAY_insert(*instructions, -1, &instruction) == 0) {
        free_instruction(&instruction);
        return false;
    }
    return true;
}

bool set_instruction(ZArray **instructions, uint32_t number, const Instruction &instruction) {
    if (!has_array(instructions))
        return false;
    auto *old = static_cast<Instruction *>(Array_get(*instructions, number));
    if (old != nullptr) {
        free_instruction(old);
        *old = instruction;
        return true;
    }
    return ARRAY_set(*instructions, number, &instruction) != 0;
}

void free_instructions(ZArray *instructions) {
    for (uint32_t i = 0; i < Array_count(instructions); i++)
        free_instruction(static_cast<Instruction *>(Array_get(instructions, i)));
    ARRAY_free(instructions);
}

}  // namespace fsi::xml
