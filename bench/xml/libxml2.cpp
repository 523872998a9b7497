// SPDX-License-Identifier: MIT
//
// libxml2 with its default options.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include "bench/xml/methods.h"

namespace bench {
namespace {

Result parse(const char *file) {
    const Watch watch;
    xmlDoc *document = xmlReadFile(file, nullptr, 0);
    return {document == nullptr ? -1 : watch.seconds()};
}

Result write_memory(const char *file) {
    xmlDoc *document = xmlReadFile(file, nullptr, 0);
    const Watch watch;
    xmlChar *text = nullptr;
    int size = 0;
    xmlDocDumpMemory(document, &text, &size);
    const bool is_good = text != nullptr && size > 1000;
    xmlFree(text);
    return {is_good ? watch.seconds() : -1};
}

Result write_file(const char *file) {
    xmlDoc *document = xmlReadFile(file, nullptr, 0);
    const Watch watch;
    const bool is_good = xmlSaveFile(kOutput, document) > 0;
    return {is_good ? watch.seconds() : -1};
}

constexpr Method kMethods[] = {
    {"libxml2_parse", parse},
    {"libxml2_write_memory", write_memory},
    {"libxml2_write_file", write_file},
};

}  // namespace

std::span<const Method> libxml2_methods() {
    return kMethods;
}

}  // namespace bench
