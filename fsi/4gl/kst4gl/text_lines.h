// SPDX-License-Identifier: MIT
//
// The lines of a text dictionary, one at a time: comments collected on the way,
// the values of the current data line by position, and the refusal of values
// that are none.  What a value means is load_text's business.
#ifndef FSI_4GL_KST4GL_TEXT_LINES_H
#define FSI_4GL_KST4GL_TEXT_LINES_H

#include <cstdint>
#include <limits>

#include "fsi/4gl/kst4gl/load.h"
#include "fsi/base/owner.h"
#include "host/files.h"
#include "host/values.h"

namespace fsi {

class TextLines {
 public:
    // The file stays the caller's and outlives this.
    explicit TextLines(ZFile *file) : file_(file) {}

    // Goes to the next data line.  A line longer than the buffer is malformed.
    LoadStatus next();

    // The same for the first line of a file of either form: splits what the
    // buffer holds of it.
    LoadStatus first();
    bool is_text_form() const;
    LoadStatus refuse_cut_line();

    uint32_t count() const { return Zcds_get_count(values_.get()); }
    bool is_string(uint32_t i) const { return Zcds_get_type(values_.get(), i) == kString; }
    // Leniently: 0 and "" past the end.
    int32_t integer(uint32_t i) const { return Zcds_get_int_value(values_.get(), i); }
    const char *text(uint32_t i) const { return Zcds_get_str_value(values_.get(), i, 0); }

    // The number at position `i`, which must be one and fit the type; else 0,
    // and status() says what was wrong.  `what` names the value for a person.
    template <typename T>
    T number(uint32_t i, const char *what, int32_t most = kMost<T>, int32_t least = 0) {
        return static_cast<T>(checked(i, what, least, most));
    }
    // The same, and 0 when the line ends before it or holds nothing there.
    template <typename T>
    T number_if_present(uint32_t i, const char *what, int32_t most = kMost<T>) {
        return text(i)[0] != '\0' ? number<T>(i, what, most) : T{0};
    }
    // kDone until a value of the current line was refused.
    LoadStatus status() const { return status_; }

 private:
    template <typename T>
    static constexpr int32_t kMost = std::numeric_limits<T>::max() >= INT32_MAX
                                         ? INT32_MAX
                                         : static_cast<int32_t>(std::numeric_limits<T>::max());
    static constexpr int kBufferBytes = 512;
    enum : int { kInteger = 1, kString = 3 };  // types of a split line's values

    bool fetch(char (&buffer)[kBufferBytes]);
    LoadStatus read();
    void skip_rest();
    LoadStatus keep_comment();
    int32_t checked(uint32_t i, const char *what, int32_t least, int32_t most);

    ZFile *file_;
    OwnedHandle values_;
    LoadStatus status_ = LoadStatus::kDone;
    bool is_cut_ = false;          // the line goes on behind the buffer
    bool has_zero_byte_ = false;   // the line goes on behind a zero byte
    bool has_read_ahead_ = false;  // ahead_ holds what follows buffer_ in the file
    char buffer_[kBufferBytes];
    char ahead_[kBufferBytes];
};

}  // namespace fsi

#endif
