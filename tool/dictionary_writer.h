// SPDX-License-Identifier: MIT
//
// What the writers of both dictionary forms share.  A dictionary is written from
// its fields as they were declared: the first occurrence of each OCCURS group stands
// for the group, whose extent is worked out from the depths and counts of the fields.
#ifndef TOOL_DICTIONARY_WRITER_H
#define TOOL_DICTIONARY_WRITER_H

#include <string>

#include "wbfsi/records.h"

namespace tool {

class DictionaryWriter {
 public:
    // Both records outlive the writer; show.h says how they are loaded.
    DictionaryWriter(const char *form, const Xfd &declared, const Xfd &expanded, bool listed_view);
    virtual ~DictionaryWriter() = default;
    DictionaryWriter(const DictionaryWriter &) = delete;
    DictionaryWriter &operator=(const DictionaryWriter &) = delete;

    // The whole dictionary.  Throws Failure for what the form cannot hold.
    std::string write();

 protected:
    // Throws: "<what>: the <form> form cannot hold it: <why>".
    [[noreturn]] void refuse(const std::string &what, const std::string &why) const;

    // A number that the readers take, up to 2147483647; `what` has it.
    std::string number(const std::string &what, uint32_t value) const;

    static std::string name_of(const XfdField &field);

    // The value of a condition as it was written, or another that loads to the same in
    // both records.  Throws where none can be told from them.
    std::string original_value(uint32_t condition) const;

    // The form's part, called in this order.
    virtual void refuse_what_has_no_place() const = 0;
    virtual void write_head() = 0;
    virtual void write_field(const XfdField &field, uint32_t user_flags) = 0;
    // `depth` is 0 for the outermost groups, `sub_table` empty for none.
    virtual void open_group(const std::string &what, uint32_t times, uint32_t size_bytes,
                            const std::string &sub_table) = 0;
    virtual void close_group(const std::string &what) = 0;
    virtual void write_tail() = 0;

    const Xfd &xfd_;       // as declared
    const Xfd &expanded_;  // field by field, the occurrences of each one together
    const uint32_t count_;
    std::string text_;

 private:
    void refuse_what_is_not_whole() const;
    void write_fields();
    void write_one_field(const XfdField &field);
    bool is_in_secondary_table(const XfdField &field);
    uint32_t write_group(uint32_t first, int level);
    uint32_t end_of_first_occurrence(uint32_t first, int level) const;

    const char *const form_;
    const uint32_t expanded_count_;
    uint32_t n_expanded_ = 0;  // fields of expanded_ that are written
};

}  // namespace tool

#endif
