// SPDX-License-Identifier: MIT
//
// What the readers of both dictionary forms share: the state that lives as long
// as the module, the outcome of a step, and what one load carries along.  The
// forms themselves are load_text and load_xml.
#ifndef FSI_4GL_KST4GL_LOAD_H
#define FSI_4GL_KST4GL_LOAD_H

#include <cstdint>

#include "fsi/4gl/kst4gl/mentioned_names.h"
#include "host/handles.h"
#include "host/linkage.h"
#include "host/strings.h"
#include "wbfsi/load.h"
#include "wbfsi/records.h"

namespace fsi {

// How a load, or a step of one, ended.
enum class LoadStatus : uint8_t {
    kDone,
    kNoMemory,   // f_errno 14, secondary 0
    kReadError,  // f_errno 19, secondary 1
    kMalformed,  // f_errno 19, secondary 2
    kNotOpened,  // f_errno 19, secondary 3
    kBadField,   // a field that cannot be built: each form decides what follows
    kTold,       // as told_code and told_secondary of the reader say
};

inline constexpr uint32_t kMaxOpenGroups = 15;

// The OCCURS groups that are open, outermost first.
struct OpenGroup {
    XfdOccurs occurs;
    char field_subtable[31];  // as the fields of the group carry it
};

// One copy for the library: a load is not re-entrant.
struct Reader {
    ZString comments;  // lines above the current data line; null unless they are collected
    OpenGroup groups[kMaxOpenGroups];
    uint32_t n_open;
    int16_t column_case;
    int16_t table_case;
    const char *path;  // of the dictionary; null until it is open
    uint32_t line;     // the line being read, of the text form
    ZHandle element;   // the element being read, of the XML form; else 0
    int system_error;  // errno of the call that failed
    int16_t told_code;
    int16_t told_secondary;
    char message[1024];
};
extern Reader reader;

// What one load carries along.
struct Load {
    Xfd *xfd;
    uint32_t flags;  // of Z4ParseXFD
    int context;     // of Z4ParseXFD: longest composed name
    bool is_xml;
    bool lists_all;  // the listed view: items with condition 999 are kept
    MentionedNames names;

    bool wants_relative_key() const {
        return xfd->x_file_type == XFD_RELATIVE && (flags & XFD_LOAD_RELATIVE_KEY) != 0;
    }
    // Slots that fields of the file may take; the last one is the relative key's.
    uint32_t field_slots() const { return xfd->x_n_fields_alloc - (wants_relative_key() ? 1 : 0); }
};

// Keeps errno, which the failed call has set, and the message, then passes the
// status on.  Of several failures in one load the last one counts.
LoadStatus fail(LoadStatus status, const char *format, ...) HOST_PRINTF(2, 3);
LoadStatus out_of_memory();
// The dictionary is malformed: "XFD file '<path>', line <n>: ", in the XML form
// "XFD file '<path>', <way to the element>: ", and the text.
LoadStatus refuse(const char *format, ...) HOST_PRINTF(1, 2);

// Releases the comment that waits for its field, when a load left one.
void release_pending_comment();

// The column case that applies until the next load reads it anew.
void set_column_case(int16_t column_case);

// The two case forms of the host's stdz_name.
enum : int { kLowerCase = 4, kUpperCase = 6 };

// The case settings; others leave names as they are.
enum : int16_t { kCaseLower = 0, kCaseUpper = 1 };

// Normalises a terminated name in place by a case setting.
void apply_case(char *name, int16_t case_setting);

// The conversion settings that follow from what a file declares.
void set_sign_compat(XfdCvtInfo &settings, int32_t compat);
void set_numeric_digits(XfdCvtInfo &settings, int32_t most_digits);

}  // namespace fsi

#endif
