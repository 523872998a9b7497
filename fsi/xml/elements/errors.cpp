// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/errors.h"

#include <array>
#include <cstddef>

#include "wbfsi/xml_element.h"

namespace fsi::xml {
namespace {

constexpr std::array ZxmlErrorMessages = {
    "No error",
    "Unable to create parser due to low memory",
    "Unable to create parser - expat error",
    "Unable to open named file",
    "Invalid XML file or other parsing error",
    "The passed handle is not a valid parser handle",
    "The passed handle is not a valid element handle",
    "Invalid attribute number",
    "The URL given could not be located",
    "The XML parser is not available on this machine",
    "The specified element has no children",
    "The specified element has no siblings",
    "The specified element is a top-level element",
    "The specified element has no value",
    "The specified element has no attributes",
    "The regular expression given caused an error",
    "The specified parser already has a top-level element",
    "Invalid processing instruction number",
    "No processing instructions are available",
};
static_assert(ZxmlErrorMessages.size() == ZXML_NO_INSTRUCTIONS + 1);

}  // namespace

int32_t element_error;
int32_t parser_error;
ExpatPlace expat_place;

const char *error_text(int32_t number) {
    const auto i = static_cast<size_t>(number);
    return ZxmlErrorMessages[i < ZxmlErrorMessages.size() ? i : 0];
}

}  // namespace fsi::xml
