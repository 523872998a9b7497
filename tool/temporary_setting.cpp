// SPDX-License-Identifier: MIT
#include "tool/temporary_setting.h"

#include "host/config.h"
#include "host/errors.h"
#include "tool/failure.h"

namespace tool {

TemporarySetting::TemporarySetting(const char *name, const char *value) : name_(name) {
    if (const char *before = ZCGetValueString(name)) {
        before_ = before;
    }
    if (ZCSetValueString(name, value) == 0) {
        const char *message = *Zstdlib_f_errmsg();
        throw Failure(std::string(name) + ": " + (message != nullptr ? message : "out of memory"));
    }
}

TemporarySetting::~TemporarySetting() {
    ZCSetValueString(name_, before_ ? before_->c_str() : nullptr);
}

}  // namespace tool
