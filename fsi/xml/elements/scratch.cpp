// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/scratch.h"

#include <algorithm>

#include "host/charset.h"
#include "host/memory.h"
#include "wbfsi/xml_element.h"

char *xml_scratch;
int32_t xml_scratchlen;

int validate_scratch(int32_t n) {
    if (n <= 0)
        return 0;
    if (xml_scratchlen > n)
        return 1;
    auto *buffer = static_cast<char *>(Zrealloc(
        xml_scratch, static_cast<size_t>(n), "XML parser scratch string for character conversions",
        "fsi/xml/elements/scratch"));
    if (buffer == nullptr) {
        fsi::xml::free_scratch();
        return 0;
    }
    xml_scratch = buffer;
    xml_scratchlen = n;
    return 1;
}

namespace fsi::xml {

std::optional<std::string_view> to_utf8(const char *text, int32_t length) {
    const int32_t needed = text == nullptr ? 0 : ZCOBOLCharSetToUTF8(text, length, nullptr, 0);
    if (needed <= 0)
        return "";
    // A text up to its zero byte brings it along.
    const int32_t terminator = length < 0 ? 1 : 0;
    if (needed > INT32_MAX - terminator || validate_scratch(needed + terminator) == 0)
        return std::nullopt;
    const int32_t got = ZCOBOLCharSetToUTF8(text, length, xml_scratch, xml_scratchlen);
    return std::string_view(xml_scratch, static_cast<size_t>(std::clamp(got, 0, needed)));
}

int32_t fetch(std::string_view stored, char *buffer, int32_t size) {
    const bool is_absent = stored.data() == nullptr;
    return ZUTF8ToCOBOLCharSet(is_absent ? "" : stored.data(),
                               static_cast<int32_t>(stored.size() + 1), buffer, size);
}

void free_scratch() {
    Zfree(xml_scratch);
    xml_scratch = nullptr;
    xml_scratchlen = 0;
}

}  // namespace fsi::xml
