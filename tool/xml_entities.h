// SPDX-License-Identifier: MIT
//
// The entities that a document declares itself, and references to others: those that are
// declared outside of it have no text for a reader that fetches nothing.
#ifndef TOOL_XML_ENTITIES_H
#define TOOL_XML_ENTITIES_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

class XmlEntities {
 public:
    // The first declaration of a name holds.
    void declare(std::string_view name, std::string_view text);

    // The name of an entity without a text that `text`, a well-formed start tag or text
    // of an entity in UTF-8, refers to, itself or by way of other entities.
    std::optional<std::string> find_missing(std::string_view text) const;

 private:
    std::map<std::string, std::string, std::less<>> texts_;
};

}  // namespace tool

#endif
