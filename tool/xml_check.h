// SPDX-License-Identifier: MIT
//
// Whether a document is well formed, and where not.  The library says what is wrong
// with a document, not where; this reads the same bytes once more, builds nothing and
// holds no more of them than the longest tag or comment.
#ifndef TOOL_XML_CHECK_H
#define TOOL_XML_CHECK_H

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tool/xml_entities.h"
#include "tool/xml_excerpt.h"

struct XML_ParserStruct;

namespace tool {

struct XmlFault {
    uint64_t line = 0;    // from 1
    uint64_t column = 0;  // characters, from 1; a byte-order mark is none
    std::string what;
    std::string excerpt;  // of xml_excerpt()
};

class XmlCheck {
 public:
    // Entities that are declared outside of the document: the library passes over
    // references to them, and what they stand for is missing in its tree.
    enum class Outside { kRefused, kPassedOver };

    // Asks the host for code pages; the other functions use nothing of the library and
    // may run in another thread.
    explicit XmlCheck(Outside outside);
    ~XmlCheck();
    XmlCheck(const XmlCheck &) = delete;
    XmlCheck &operator=(const XmlCheck &) = delete;

    // The next bytes of the document, at most INT_MAX, and its end.  False at a fault;
    // nothing more is to be fed then.
    bool feed(const char *bytes, size_t size);
    bool finish();

    const std::optional<XmlFault> &fault() const { return fault_; }

    // For the parser's handlers.
    void on_encoding(const char *name);
    const ByteCodes *find_codes(const char *name) const;
    void on_entity(const char *name, std::string_view text) noexcept;
    void on_outside_entities();
    void on_start_tag() noexcept;
    void on_missing_text(std::string_view entity) noexcept;

 private:
    struct Free {
        void operator()(XML_ParserStruct *parser) const;
    };

    void note_form(const char *bytes, size_t size);
    bool took(int status);
    void note_fault(std::string what);
    std::string_view context(size_t *place) const;
    void stop_with_exception() noexcept;

    std::unique_ptr<XML_ParserStruct, Free> parser_;
    ByteCodes windows1252_;
    ByteCodes latin1_;
    ByteCodes latin2_;
    XmlTextForm form_;
    XmlEntities entities_;
    char first_bytes_[3] = {};
    size_t mark_size_ = 0;
    uint64_t fed_bytes_ = 0;
    std::optional<XmlFault> fault_;
    std::exception_ptr exception_;  // of a handler; none passes through expat
};

}  // namespace tool

#endif
