// SPDX-License-Identifier: MIT
//
// XML dictionaries for tests, put together from their parts, and the loads of them.
#ifndef TESTS_FSI_XML_DICTIONARY_H
#define TESTS_FSI_XML_DICTIONARY_H

#include <gtest/gtest.h>

#include <string>

#include "host/memory.h"
#include "tests/support/dictionary_file.h"
#include "tests/support/print_xfd.h"

namespace support {

inline std::string document(const std::string &sections) {
    return "<?xml version=\"1.0\"?>\n<xfd:xfdfile>\n" + sections + "</xfd:xfdfile>\n";
}

inline std::string identification(const std::string &items, int version = 8) {
    return "<xfd:identification xfd:version=\"" + std::to_string(version) + "\">" + items +
           "</xfd:identification>\n";
}

inline std::string element(const std::string &name, const std::string &text) {
    return "<xfd:" + name + '>' + text + "</xfd:" + name + '>';
}

inline std::string with_keys(const std::string &count, const std::string &keys) {
    return document(identification(element("number-of-keys", count)) + "<xfd:keys>" + keys +
                    "</xfd:keys>\n");
}

inline const std::string kKey =
    "<xfd:key xfd:segment-count=\"1\" xfd:duplicates-allowed=\"true\"><xfd:segments>"
    "<xfd:segment xfd:segment-size=\"5\" xfd:segment-offset=\"2\"/></xfd:segments>"
    "<xfd:key-columns xfd:key-column-count=\"1\"><xfd:key-column xfd:key-column-name=\"ID-A\"/>"
    "</xfd:key-columns></xfd:key>\n";

// Attributes of a field that a test does not care for.
inline constexpr const char *kField =
    "xfd:field-offset=\"0\" xfd:field-bytes=\"1\" xfd:field-type=\"16\" xfd:field-length=\"1\" "
    "xfd:field-scale=\"0\" xfd:field-user-flags=\"0\" xfd:field-condition=\"0\" "
    "xfd:field-level=\"1\"";

inline std::string field(const std::string &name, const std::string &more = "") {
    return std::string("<xfd:field ") + kField + " xfd:field-name=\"" + name + "\" " + more +
           "/>\n";
}

// A field with one attribute changed, or left out where `value` is null.
inline std::string field_with(const std::string &attribute, const char *value) {
    std::string text = field("A");
    const size_t at = text.find("xfd:" + attribute + "=\"");
    const size_t end = text.find('"', text.find('"', at) + 1) + 1;
    return text.replace(at, end - at,
                        value == nullptr ? "" : "xfd:" + attribute + "=\"" + value + '"');
}

inline std::string fields_section(const std::string &counts, const std::string &items) {
    return "<xfd:fields " + counts + ">\n" + items + "</xfd:fields>\n";
}

// Items with counts that leave room for all tests.
inline std::string with_fields(const std::string &items, const std::string &more_identity = "") {
    return document(identification(more_identity) +
                    fields_section("xfd:elementary-items=\"1\" "
                                   "xfd:elementary-items-with-occurs=\"1\" "
                                   "xfd:total-items=\"2\" xfd:total-items-with-occurs=\"2\"",
                                   items));
}

inline std::string with_many_fields(int count, const std::string &items) {
    const std::string n = '"' + std::to_string(count) + '"';
    return document(identification("") +
                    fields_section("xfd:elementary-items=" + n + " xfd:total-items=" + n +
                                       " xfd:total-items-with-occurs=" + n,
                                   items));
}

inline std::string with_conditions(const std::string &count, const std::string &conditions) {
    return document(identification("") + "<xfd:conditions xfd:condition-count=\"" + count + "\">" +
                    conditions + "</xfd:conditions>\n");
}

inline std::string condition(int number, const std::string &items) {
    return "<xfd:condition xfd:condition-number=\"" + std::to_string(number) + "\">" + items +
           "</xfd:condition>\n";
}

inline std::string comparison(const std::string &kind, const std::string &variable,
                              const std::string &value) {
    return element("condition-comparison", kind) + element("condition-variable", variable) +
           element("condition-value", value);
}

inline std::string group(int times, int size, const std::string &items,
                         const std::string &more = "") {
    return "<xfd:field-occurs xfd:occurs-count=\"" + std::to_string(times) +
           "\" xfd:occurs-size=\"" + std::to_string(size) + "\" " + more + ">\n" + items +
           "</xfd:field-occurs>\n";
}

class LoadXml : public DictionaryTest {
 protected:
    // What a refused load says behind "19 2 0 'XFD file '<path>', ".
    std::string refusal(const std::string &text, uint32_t flags = 0, int context = 30) {
        const size_t before = ZMemoryBlocks(nullptr);
        EXPECT_EQ(load(text, flags, context), nullptr);
        EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        const std::string start = "19 2 0 'XFD file '" + path() + "', ";
        const std::string error = file_error();
        return error.starts_with(start)
                   ? error.substr(start.size(), error.size() - start.size() - 1)
                   : error;
    }
    template <typename Print>
    std::string loaded(const std::string &text, Print print, uint32_t flags = 0) {
        const OwnedXfd xfd = load(text, flags);
        if (xfd == nullptr)
            return file_error();
        EXPECT_EQ(file_error(), "0 0 0 null");
        return print(*xfd);
    }
    std::string fields(const std::string &text, uint32_t flags = 0) {
        return loaded(text, print_fields, flags);
    }
    std::string conditions(const std::string &text) { return loaded(text, print_conditions); }
    std::string keys(const std::string &text) { return loaded(text, print_keys); }
};

}  // namespace support

#endif
