// SPDX-License-Identifier: MIT
#include "tool/reject_file.h"

#include "tool/failure.h"

namespace tool {

sql::Status RejectFile::add(const sql::Rejection &rejection) {
    try {
        records_.put(rejection.record_number, rejection.record);
        const std::string line =
            "record " + std::to_string(rejection.record_number) + ": " + rejection.reason + "\n";
        reasons_.write(line.data(), line.size());
        if (write_through_) {
            records_.flush();
            reasons_.flush();
        }
    } catch (const Failure &failure) {
        return {sql::ErrorKind::kIoError, failure.what()};
    }
    return {};
}

void RejectFile::write_through() {
    write_through_ = true;
    records_.flush();
    reasons_.flush();
}

void RejectFile::commit() {
    records_.commit();
    reasons_.commit();
}

}  // namespace tool
