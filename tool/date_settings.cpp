// SPDX-License-Identifier: MIT
#include "tool/date_settings.h"

#include "host/config.h"
#include "tool/temporary_setting.h"
#include "wbfsi/lifecycle.h"

namespace tool {

namespace {

struct Variation {
    const char *name;
    bool is_text;
    const char *others[2];  // tried in this order
};

// Values far apart: the two ends where there is a range, otherwise the switch off
// and on, or the date not set.
constexpr Variation kVariations[] = {
    {"4GL_2000_CUTOFF", false, {"0", "99"}},
    {"4GL_8_DIGIT_CUTOFF", false, {"0", "1"}},
    {"4GL_JULIAN_BASE_DATE", false, {"0", "20000101"}},
    {"4GL_JULIAN_NULL", false, {"-2147483648", "2147483647"}},
    {"4GL_CONVERT_DATES", false, {"0", "1"}},
    {"4GL_CONVERT_DATE_ZERO", false, {"0", "1"}},
    {"PLEX_DATE_INVALID_VALUE", true, {"null", nullptr}},
    {"PLEX_DATE_NINE_VALUE", true, {"null", nullptr}},
    {"PLEX_DATE_NULL_VALUE", true, {"null", nullptr}},
    {"PLEX_DATE_ZERO_VALUE", true, {"null", nullptr}},
    {"PLEX_DATE_MAX_HIGH_VALUES", false, {"0", "1"}},
    {"PLEX_DATE_MIN_LOW_VALUES", false, {"0", "1"}},
};

// The library reads its special dates once, until its next start; variables keep
// what was given to them.
void read_special_dates_again() {
    Z4Exit();
    Z4Init();
}

std::string value_in_force(const Variation &variation) {
    if (!variation.is_text) {
        return std::to_string(ZCGetValueLong(variation.name, 0));
    }
    const char *text = ZCGetValueString(variation.name);
    return text != nullptr ? text : "null";
}

}  // namespace

std::vector<DateSetting> settings_that_matter(const std::function<std::string()> &convert,
                                              const std::string &actual) {
    std::vector<DateSetting> settings;
    for (const Variation &variation : kVariations) {
        const std::string value = value_in_force(variation);
        for (const char *other : variation.others) {
            if (other == nullptr || value == other) {
                continue;
            }
            const TemporarySetting setting(variation.name, other);
            read_special_dates_again();
            std::string result = convert();
            if (result != actual) {
                settings.push_back({variation.name, value, other, std::move(result)});
                break;
            }
        }
    }
    read_special_dates_again();
    return settings;
}

}  // namespace tool
