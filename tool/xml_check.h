// SPDX-License-Identifier: MIT
//
// Whether a document is well formed, and where not.  The library says what is wrong
// with a document, not where; this reads the same bytes once more, builds nothing and
// takes no memory that grows with them.
#ifndef TOOL_XML_CHECK_H
#define TOOL_XML_CHECK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tool/xml_excerpt.h"

struct XML_ParserStruct;

namespace tool {

struct XmlFault {
    uint64_t line = 0;    // from 1
    uint64_t column = 0;  // characters, from 1
    std::string what;
    std::string excerpt;  // of xml_excerpt()
};

class XmlCheck {
 public:
    // Asks the host for code pages; the other functions use nothing of the library and
    // may run in another thread.
    XmlCheck();
    ~XmlCheck();
    XmlCheck(const XmlCheck &) = delete;
    XmlCheck &operator=(const XmlCheck &) = delete;

    // The next bytes of the document, at most INT_MAX, and its end.  False at a fault;
    // nothing more is to be fed then.
    bool feed(const char *bytes, size_t size);
    bool finish();

    const std::optional<XmlFault> &fault() const { return fault_; }

    // For the parser's declaration and encoding handlers.
    void on_encoding(const char *name);
    const ByteCodes *find_codes(const char *name) const;

 private:
    struct Free {
        void operator()(XML_ParserStruct *parser) const;
    };

    void note_form(const char *bytes, size_t size);
    void note_fault();

    std::unique_ptr<XML_ParserStruct, Free> parser_;
    ByteCodes windows1252_;
    ByteCodes latin1_;
    ByteCodes latin2_;
    XmlTextForm form_;
    unsigned char first_bytes_[2] = {};
    uint64_t fed_bytes_ = 0;
    std::optional<XmlFault> fault_;
};

}  // namespace tool

#endif
