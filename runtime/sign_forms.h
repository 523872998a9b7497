// SPDX-License-Identifier: MIT
//
// The characters that hold a digit and a sign, for each setting of
// cv_sign_code1.
#ifndef RUNTIME_SIGN_FORMS_H
#define RUNTIME_SIGN_FORMS_H

#include <cstdint>

namespace host {

// What a character that carries a digit and a sign means: the digit, kMinus
// set when negative, or kNoSignDigit.
inline constexpr uint8_t kMinus = 0x10;
inline constexpr uint8_t kNoSignDigit = 0xFF;

struct SignForm {
    uint8_t meaning[256];
    char positive[10];
    char negative[10];
};

struct SignLetters {
    const char *positive;
    const char *negative;
};
inline constexpr SignLetters kAsciiLetters{"0123456789", "pqrstuvwxy"};
inline constexpr SignLetters kEbcdicLetters{"{ABCDEFGHI", "}JKLMNOPQR"};
inline constexpr SignLetters kZoneLetters{"@ABCDEFGHI", "PQRSTUVWXY"};

// A form reads its own characters; those of the other forms as well, as long as
// all of them mean the same by one character.
constexpr SignForm make_sign_form(const SignLetters &own) {
    constexpr const SignLetters *kForms[] = {&kAsciiLetters, &kEbcdicLetters, &kZoneLetters};
    constexpr uint8_t kAmbiguous = 0xFE;
    SignForm form{};
    for (uint8_t &meaning : form.meaning) {
        meaning = kNoSignDigit;
    }
    const auto note = [&form](char letter, uint8_t meaning) {
        uint8_t &entry = form.meaning[static_cast<uint8_t>(letter)];
        entry = entry == kNoSignDigit || entry == meaning ? meaning : kAmbiguous;
    };
    for (const SignLetters *letters : kForms) {
        for (uint8_t digit = 0; digit < 10; ++digit) {
            note(letters->positive[digit], digit);
            note(letters->negative[digit], digit | kMinus);
        }
    }
    for (uint8_t digit = 0; digit < 10; ++digit) {
        form.positive[digit] = own.positive[digit];
        form.negative[digit] = own.negative[digit];
        form.meaning[static_cast<uint8_t>(own.positive[digit])] = digit;
        form.meaning[static_cast<uint8_t>(own.negative[digit])] = digit | kMinus;
    }
    for (uint8_t &meaning : form.meaning) {
        meaning = meaning == kAmbiguous ? kNoSignDigit : meaning;
    }
    return form;
}

inline constexpr SignForm kAsciiForm = make_sign_form(kAsciiLetters);
inline constexpr SignForm kEbcdicForm = make_sign_form(kEbcdicLetters);
inline constexpr SignForm kZoneForm = make_sign_form(kZoneLetters);
inline const SignForm &sign_form_of(uint8_t sign_code1) {
    return sign_code1 == 16 ? kEbcdicForm : sign_code1 == 64 ? kZoneForm : kAsciiForm;
}

}  // namespace host

#endif
