// SPDX-License-Identifier: MIT
//
// pugixml with its default options.
#include <pugixml.hpp>

#include "bench/xml/methods.h"

namespace bench {
namespace {

struct Text : pugi::xml_writer {
    std::string bytes;
    void write(const void *data, size_t size) override {
        bytes.append(static_cast<const char *>(data), size);
    }
};

Result parse(const char *file) {
    const Watch watch;
    pugi::xml_document document;
    const bool is_good = static_cast<bool>(document.load_file(file));
    return {is_good ? watch.seconds() : -1};
}

Result write_memory(const char *file) {
    pugi::xml_document document;
    document.load_file(file);
    const Watch watch;
    bool is_good = false;
    {
        Text text;
        document.save(text);
        is_good = text.bytes.size() > 1000;
    }
    return {is_good ? watch.seconds() : -1};
}

Result write_file(const char *file) {
    pugi::xml_document document;
    document.load_file(file);
    const Watch watch;
    const bool is_good = document.save_file(kOutput);
    return {is_good ? watch.seconds() : -1};
}

constexpr Method kMethods[] = {
    {"pugixml_parse", parse},
    {"pugixml_write_memory", write_memory},
    {"pugixml_write_file", write_file},
};

}  // namespace

std::span<const Method> pugixml_methods() {
    return kMethods;
}

}  // namespace bench
