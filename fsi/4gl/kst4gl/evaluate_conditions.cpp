// SPDX-License-Identifier: MIT
//
// Evaluates record-type conditions for a record.  Conditions refer to others by
// number, also in circles and in chains as long as there are conditions, so what
// waits for an answer lies on a work stack, not on the thread's.
#include <array>
#include <cstdint>
#include <cstring>

#include "fsi/4gl/kst4gl/conditions.h"
#include "fsi/4gl/kst4gl/datatest.h"
#include "fsi/4gl/kst4gl/model.h"
#include "host/errors.h"
#include "host/memory.h"
#include "host/messages.h"
#include "wbfsi/accessors.h"
#include "wbfsi/conditions.h"

namespace {

constexpr int16_t kErrorNoMemory = 14;
constexpr uint16_t kNoField = 65535;

// No number that the host converts is longer than its 256 digits, a sign and two
// bytes for each.
constexpr size_t kMaxNumberBytes = 514;

// The number tested last; the field's a_address points here.
unsigned char number_copy[kMaxNumberBytes];

void trace_entry(int number) {
    if (f_trace != 0)
        ZTrace(1, fsi::kDataTraceCategory, "%s %d", "Z4TestCOBOLCond", number);
}

bool trace_leave(bool holds) {
    if (f_trace != 0)
        ZTrace(-1, fsi::kDataTraceCategory, "%s", holds ? "Leaving, TRUE" : "Leaving, FALSE");
    return holds;
}

bool combines(const XfdCondition &condition) {
    return condition.c_type == XFD_COND_AND || condition.c_type == XFD_COND_OR ||
           condition.c_type == XFD_COND_OTHER;
}

bool result_bit(const XfdCondition &condition) {
    return (condition.c_flags & XFD_CONDITION_TRUE) != 0;
}

bool set_result_bit(XfdCondition &condition, bool holds) {
    condition.c_flags &= ~uint32_t{XFD_CONDITION_TRUE};
    if (holds)
        condition.c_flags |= XFD_CONDITION_TRUE;
    return holds;
}

int compare_field(XfdField &field, const XfdCondition &condition, const XfdCvtInfo *settings,
                  const char *record) {
    const char *data = record + field.fd_offset;
    XfdArgument &argument = field.fd_argument;
    if (!fsi::is_numeric_type(argument.a_type))
        return fsi::compare_text(data, argument.a_size, condition.c_value);

    if (argument.a_size <= sizeof number_copy) {
        std::memcpy(number_copy, data, argument.a_size);
        argument.a_address = reinterpret_cast<uintptr_t>(number_copy);
    } else {
        argument.a_address = reinterpret_cast<uintptr_t>(data);
    }
    return fsi::compare_number(argument, settings, condition.c_value, sizeof condition.c_value);
}

// The truth of a condition that asks for no other one.
bool comparison_holds(Xfd *xfd, const XfdCondition &condition, const char *record) {
    switch (condition.c_type) {
        case XFD_COND_EQ:
        case XFD_COND_GT:
        case XFD_COND_GE:
        case XFD_COND_LT:
        case XFD_COND_LE:
        case XFD_COND_NE:
            break;
        default:
            return false;
    }
    const auto slot = static_cast<uint16_t>(condition.c_field_num);
    XfdField *field = slot == kNoField ? nullptr : Z4GetXFDFieldInfo(xfd, slot);
    if (field == nullptr)
        return false;
    const int order = compare_field(*field, condition, xfd->x_cvt_info, record);
    switch (condition.c_type) {
        case XFD_COND_EQ:
            return order == 0;
        case XFD_COND_GT:
            return order > 0;
        case XFD_COND_GE:
            return order >= 0;
        case XFD_COND_LT:
            return order < 0;
        case XFD_COND_LE:
            return order <= 0;
        default:
            return order != 0;
    }
}

// What is known about an operand.
enum class Truth : uint8_t { kUnknown, kFalse, kTrue };

Truth known(bool holds) {
    return holds ? Truth::kTrue : Truth::kFalse;
}

// A condition whose evaluation has begun.
struct Frame {
    uint16_t number;
    uint16_t asked;  // "and", "or": operands asked for; "other": the condition asked last
};

// One call from outside.  A condition asks only for ones above itself, the others
// answer with their bits; so the frames ascend, no condition has two, and as many
// frames as conditions are enough.
class Evaluation {
 public:
    Evaluation(Xfd *xfd, const char *record) : xfd_(xfd), record_(record) {}

    // Room for conditions that ask for higher ones; false when it is refused.
    [[nodiscard]] bool reserve();

    // The truth of a condition that combines others.
    bool run(uint16_t number);

 private:
    static constexpr uint32_t kFewConditions = 64;
    static constexpr uint32_t kWordBits = 32;

    XfdCondition &condition(uint32_t number) { return xfd_->x_condition[number - 1]; }
    void push(uint16_t number) { frames_[depth_++] = {number, 0}; }
    bool mark(uint32_t number);
    Truth ask(int operand, uint16_t asking);
    Truth both_operands(Frame &frame, Truth answer);
    Truth no_other(Frame &frame, Truth answer);

    Xfd *xfd_;
    const char *record_;
    std::array<Frame, kFewConditions> few_frames_;
    std::array<uint32_t, kFewConditions / kWordBits> few_marks_ = {};
    fsi::Block<Frame> block_;
    Frame *frames_ = few_frames_.data();
    uint32_t *marks_ = few_marks_.data();
    uint32_t depth_ = 0;
};

bool Evaluation::reserve() {
    static_assert(sizeof(Frame) == sizeof(uint32_t));  // one block holds frames and marks
    const uint32_t count = xfd_->x_n_conditions;
    if (count <= kFewConditions)
        return true;
    const uint32_t mark_words = (count + kWordBits - 1) / kWordBits;
    block_.reset(static_cast<Frame *>(
        Zmalloc((count + mark_words) * sizeof(Frame), "Conditions evaluated", fsi::kSource)));
    if (!block_)
        return false;
    frames_ = block_.get();
    marks_ = reinterpret_cast<uint32_t *>(frames_ + count);
    std::memset(marks_, 0, mark_words * sizeof(uint32_t));
    return true;
}

// True for the first time.
bool Evaluation::mark(uint32_t number) {
    uint32_t &word = marks_[(number - 1) / kWordBits];
    const uint32_t bit = uint32_t{1} << (number - 1) % kWordBits;
    const bool first = (word & bit) == 0;
    word |= bit;
    return first;
}

// kUnknown: the operand's frame is on top, its truth follows.
Truth Evaluation::ask(int operand, uint16_t asking) {
    if (operand <= 0)
        return Truth::kFalse;
    if (operand <= asking)
        return known(result_bit(condition(static_cast<uint32_t>(operand))));
    if (operand > xfd_->x_n_conditions) {
        trace_entry(operand);
        return known(trace_leave(false));
    }
    XfdCondition &asked = condition(static_cast<uint32_t>(operand));
    if (!mark(static_cast<uint32_t>(operand)))
        return known(result_bit(asked));
    trace_entry(operand);
    if (combines(asked)) {
        push(static_cast<uint16_t>(operand));
        return Truth::kUnknown;
    }
    return known(trace_leave(set_result_bit(asked, comparison_holds(xfd_, asked, record_))));
}

// "And" and "or".  `answer` is that of the operand asked last, unknown at first.
Truth Evaluation::both_operands(Frame &frame, Truth answer) {
    const XfdCondition &combined = condition(frame.number);
    const Truth settles = known(combined.c_type == XFD_COND_OR);
    while (frame.asked < 2 && answer != settles) {
        const int16_t operand = frame.asked == 0 ? combined.c_num2 : combined.c_num1;
        ++frame.asked;
        answer = ask(operand, frame.number);
        if (answer == Truth::kUnknown)
            break;
    }
    return answer;
}

Truth Evaluation::no_other(Frame &frame, Truth answer) {
    const int16_t field = condition(frame.number).c_field_num;
    const uint32_t count = xfd_->x_n_conditions;
    for (uint32_t k = frame.asked + 1U; k <= count && answer != Truth::kTrue; ++k) {
        if (k == frame.number || condition(k).c_field_num != field)
            continue;
        frame.asked = static_cast<uint16_t>(k);
        answer = ask(static_cast<int>(k), frame.number);
        if (answer == Truth::kUnknown)
            return answer;
    }
    return known(answer != Truth::kTrue);
}

bool Evaluation::run(uint16_t number) {
    push(number);
    Truth answer = Truth::kUnknown;
    while (depth_ != 0) {
        Frame &frame = frames_[depth_ - 1];
        XfdCondition &combined = condition(frame.number);
        answer = combined.c_type == XFD_COND_OTHER ? no_other(frame, answer)
                                                   : both_operands(frame, answer);
        if (answer == Truth::kUnknown)
            continue;
        set_result_bit(combined, answer == Truth::kTrue);
        if (--depth_ != 0)
            trace_leave(answer == Truth::kTrue);
    }
    return answer == Truth::kTrue;
}

// Could this condition ask for one above itself?
bool looks_ahead(const Xfd *xfd, const XfdCondition &condition, int number) {
    if (condition.c_type == XFD_COND_OTHER)
        return number < xfd->x_n_conditions;
    return condition.c_num1 > number || condition.c_num2 > number;
}

bool condition_holds(Xfd *xfd, int number, const char *record) {
    if (number == 0)
        return true;
    if (number < 0 || number > xfd->x_n_conditions)
        return false;
    XfdCondition &condition = xfd->x_condition[number - 1];
    if (!combines(condition))
        return set_result_bit(condition, comparison_holds(xfd, condition, record));

    Evaluation evaluation(xfd, record);
    if (looks_ahead(xfd, condition, number) && !evaluation.reserve()) {
        *Zstdlib_f_errno() = kErrorNoMemory;
        return false;
    }
    return evaluation.run(static_cast<uint16_t>(number));
}

}  // namespace

int Z4TestCOBOLCond(Xfd *xfd, int cond_num, const char *record) {
    trace_entry(cond_num);
    return trace_leave(condition_holds(xfd, cond_num, record)) ? 1 : 0;
}
