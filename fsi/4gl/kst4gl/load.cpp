// SPDX-License-Identifier: MIT
//
// One load from its start to its end: state, record, file, form, and the two
// ways out.  Steps return how they ended and leave a message; the file error
// state of the host is written once, at the end.
#include "fsi/4gl/kst4gl/load.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "fsi/4gl/kst4gl/compare.h"
#include "fsi/4gl/kst4gl/conditions.h"
#include "fsi/4gl/kst4gl/load_text.h"
#include "fsi/4gl/kst4gl/load_xml.h"
#include "fsi/4gl/kst4gl/locate.h"
#include "fsi/4gl/kst4gl/model.h"
#include "fsi/4gl/kst4gl/text_lines.h"
#include "fsi/4gl/kst4gl/xml_values.h"
#include "fsi/base/owner.h"
#include "host/config.h"
#include "host/errors.h"
#include "host/files.h"
#include "host/memory.h"
#include "host/messages.h"
#include "host/names.h"
#include "wbfsi/build.h"

namespace fsi {

constinit Reader reader = {};

namespace {

constexpr size_t kCommentCapacity = 40;

// File error codes of each outcome.
struct FileError {
    int16_t code;
    int16_t secondary;
};

FileError file_error(LoadStatus status) {
    switch (status) {
        case LoadStatus::kDone:
            return {0, 0};
        case LoadStatus::kNoMemory:
            return {14, 0};
        case LoadStatus::kReadError:
            return {19, 1};
        case LoadStatus::kNotOpened:
            return {19, 3};
        case LoadStatus::kTold:
            return {reader.told_code, reader.told_secondary};
        case LoadStatus::kMalformed:
        case LoadStatus::kBadField:
            break;
    }
    return {19, 2};
}

LoadStatus begin(uint32_t flags) {
    release_pending_comment();
    reader.n_open = 0;
    reader.message[0] = '\0';
    reader.path = nullptr;
    reader.line = 0;
    reader.element = 0;
    reader.system_error = 0;
    *Zstdlib_f_errmsg() = nullptr;
    errno = 0;
    reader.column_case = ZCGetValueTinyint("4GL_COLUMN_CASE", 0);
    reader.table_case = ZCGetValueTinyint("4GL_TABLE_CASE", 0);
    if ((flags & XFD_LOAD_COMMENTS) != 0) {
        reader.comments = ZSTRINGNew(kCommentCapacity, "XFD Comments", kSource);
        if (reader.comments == nullptr)
            return out_of_memory();
    }
    return LoadStatus::kDone;
}

LoadStatus allocate(Load &load) {
    load.xfd = allocate_cleared<Xfd>(1, "pxfd", kSource);
    if (load.xfd == nullptr)
        return out_of_memory();
    load.xfd->x_identity_field = -1;
    load.xfd->x_cvt_info = allocate_cleared<XfdCvtInfo>(1, "pxfd->x_cvt_info", kSource);
    if (load.xfd->x_cvt_info == nullptr)
        return out_of_memory();
    XfdCvtInfo &settings = *load.xfd->x_cvt_info;
    set_sign_compat(settings, 0);
    set_numeric_digits(settings, 18);
    settings.cv_period = '.';
    settings.cv_comma = ',';
    return LoadStatus::kDone;
}

LoadStatus open_file(const char *name, Load &load, OwnedFile &file) {
    LoadStatus status = open_dictionary(name, load.xfd, file);
    reader.path = load.xfd->x_filename;
    if (status == LoadStatus::kDone)
        return status;
    if (errno == ENOMEM)
        status = LoadStatus::kNoMemory;
    return fail(status, "Unable to open XFD file for '%s', error = %d", name, errno);
}

LoadStatus read_file(Load &load, OwnedFile &file) {
    TextLines lines(file.get());
    LoadStatus status = lines.first();
    if (status != LoadStatus::kDone)
        return status;
    if (!lines.is_text_form()) {
        // Blank lines in front of the document are no comments of its fields.
        release_pending_comment();
        file.reset();
        load.is_xml = true;
        return load_xml(load);
    }
    status = lines.refuse_cut_line();
    return status == LoadStatus::kDone ? load_text(load, lines) : status;
}

void dump(const Load &load) {
    if (f_trace > kDumpTraceLevel)
        dump_xfd(load.xfd);
}

void complete(Load &load) {
    dump(load);
    resolve_conditions(load.xfd, load.names);
    dump(load);
}

void remove_temp_file(Xfd *xfd) {
    if (xfd == nullptr || xfd->x_temp_file == nullptr)
        return;
    os_unlink(xfd->x_temp_file);
    Zfree(xfd->x_temp_file);
    xfd->x_temp_file = nullptr;
}

// What both ends of a load release; the file last.
void finish(Load &load, OwnedFile &file, LoadStatus status) {
    load.names.clear();
    release_pending_comment();
    // The XML form leaves the temporary file of a load that succeeds in place.
    if (!load.is_xml || status != LoadStatus::kDone)
        remove_temp_file(load.xfd);
    if (status != LoadStatus::kDone) {
        Z4XFDFree(load.xfd);
        load.xfd = nullptr;
    }
    reader.path = nullptr;
    file.reset();
}

void report(LoadStatus status) {
    const FileError error = file_error(status);
    *Zstdlib_f_errno() = error.code;
    *Zstdlib_f_int_errno() = error.secondary;
    *Zstdlib_f_errmsg() = nullptr;
    if (status != LoadStatus::kDone) {
        *Zstdlib_f_int2_errno() = reader.system_error;
        *Zstdlib_f_errmsg() = reader.message;
        errno = reader.system_error;
    }
}

}  // namespace

LoadStatus fail(LoadStatus status, const char *format, ...) {
    reader.system_error = errno;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(reader.message, sizeof reader.message, format, arguments);
    va_end(arguments);
    return status;
}

LoadStatus out_of_memory() {
    reader.system_error = errno;
    reader.message[0] = '\0';
    return LoadStatus::kNoMemory;
}

LoadStatus refuse(const char *format, ...) {
    char reason[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(reason, sizeof reason, format, arguments);
    va_end(arguments);
    if (reader.element == 0)
        return fail(LoadStatus::kMalformed, "XFD file '%s', line %u: %s", reader.path, reader.line,
                    reason);
    char place[256];
    element_path(reader.element, place, sizeof place);
    return fail(LoadStatus::kMalformed, "XFD file '%s', %s: %s", reader.path, place, reason);
}

void release_pending_comment() {
    ZSTRINGDelete(reader.comments);
    reader.comments = nullptr;
}

void set_column_case(int16_t column_case) {
    reader.column_case = column_case;
}

void apply_case(char *name, int16_t case_setting) {
    if (case_setting == kCaseLower)
        stdz_name(name, -3, kLowerCase);
    else if (case_setting == kCaseUpper)
        stdz_name(name, -3, kUpperCase);
}

void set_sign_compat(XfdCvtInfo &settings, int32_t compat) {
    constexpr int32_t kOwnSignForm = 8;
    constexpr int32_t kEbcdicSigns = 64;
    settings.cv_sign_compat = static_cast<uint16_t>(compat);
    settings.cv_sign_code1 = 25;
    settings.cv_sign_code2 = 11;
    if ((compat & kOwnSignForm) == 0)
        return;
    if ((compat & kEbcdicSigns) != 0) {
        settings.cv_sign_code1 = 16;
        settings.cv_sign_code2 = 13;
    } else {
        settings.cv_sign_code1 = 64;
    }
}

void set_numeric_digits(XfdCvtInfo &settings, int32_t most_digits) {
    settings.cv_digits_code = most_digits == 18 ? 40 : 68;
}

}  // namespace fsi

Xfd *Z4ParseXFD(const char *name, uint32_t flags, int context) {
    using namespace fsi;
    Load load = {nullptr, flags, context, false, false, {}};
    OwnedFile file;
    LoadStatus status = begin(flags);
    if (status == LoadStatus::kDone)
        status = allocate(load);
    if (status == LoadStatus::kDone)
        status = open_file(name != nullptr ? name : "", load, file);
    if (status == LoadStatus::kDone)
        status = read_file(load, file);
    if (status == LoadStatus::kDone)
        complete(load);
    finish(load, file, status);
    report(status);
    return load.xfd;
}
