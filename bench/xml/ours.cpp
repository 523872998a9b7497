// SPDX-License-Identifier: MIT
//
// The library, and expat alone fed the same way.
#include <expat.h>

#include <algorithm>
#include <array>

#include "bench/xml/methods.h"
#include "host/charset.h"
#include "host/files.h"
#include "host/memory.h"
#include "host/strings.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"

namespace bench {
namespace {

constexpr uint32_t kWhole = ZXML_READ_USUAL | ZXML_WHOLE;

double heap() {
    return static_cast<double>(ZMemoryInUse(nullptr));
}

void count(ZHandle element, Result *result) {
    result->elements++;
    result->attributes += ZxmlElem_attribute_count(element);
    for (ZHandle at = ZxmlElem_first_child(element); at != 0; at = ZxmlElem_next_sibling(at))
        count(at, result);
}

Result expat_alone(const char *file) {
    const Watch watch;
    ZFile *input = os_fopen(file, "r", 0);
    const XML_Parser parser = XML_ParserCreate(nullptr);
    std::array<char, 32000> buffer;
    bool is_good = true;
    size_t n = 1;
    while (is_good && n != 0) {
        n = os_fread(buffer.data(), buffer.size(), input);
        is_good = XML_Parse(parser, buffer.data(), static_cast<int>(n), n == 0) == XML_STATUS_OK;
    }
    XML_ParserFree(parser);
    os_fclose(input);
    return {is_good ? watch.seconds() : -1};
}

Result parse(const char *file) {
    fsi_init_cfg();
    const Watch watch;
    const ZHandle parser = ZxmlParser_new(file, kWhole, 0);
    return {parser == 0 ? -1 : watch.seconds()};
}

// How large the tree is; apart from `parse`, since counting is many instructions.
Result tree(const char *file) {
    fsi_init_cfg();
    const double before = heap();
    const Watch watch;
    const ZHandle parser = ZxmlParser_new(file, kWhole, 0);
    Result result{parser == 0 ? -1 : watch.seconds()};
    result.heap_bytes = heap() - before;
    count(ZxmlParser_top_element(parser), &result);
    return result;
}

Result release(const char *file) {
    fsi_init_cfg();
    const ZHandle parser = ZxmlParser_new(file, kWhole, 0);
    const Watch watch;
    const bool is_good = ZxmlParser_release(parser) != 0;
    return {is_good ? watch.seconds() : -1};
}

Result records(const char *file) {
    fsi_init_cfg();
    const double before = heap();
    double most = before;
    int n = 0;
    const Watch watch;
    const ZHandle parser = ZxmlParser_new(file, ZXML_READ_USUAL, 0);
    while (ZxmlParser_parse_record(parser) != 0) {
        if (n++ % 10000 == 0)
            most = std::max(most, heap());
        ZxmlElem_delete(ZxmlElem_first_child(ZxmlParser_top_element(parser)));
    }
    Result result{n == 0 ? -1 : watch.seconds()};
    ZxmlParser_release(parser);
    result.heap_bytes = most - before;
    result.elements = n;
    return result;
}

Result write_memory(const char *file) {
    fsi_init_cfg();
    const ZHandle parser = ZxmlParser_new(file, kWhole, 0);
    const Watch watch;
    const ZString text = ZxmlParser_write_memory(parser);
    const bool is_good = text != nullptr && ZStringGetLength(text) > 1000;
    ZSTRINGDelete(text);
    return {is_good ? watch.seconds() : -1};
}

Result write_file(const char *file) {
    fsi_init_cfg();
    const ZHandle parser = ZxmlParser_new(file, kWhole, 0);
    const Watch watch;
    const bool is_good = ZxmlParser_write(parser, kOutput) != 0;
    return {is_good ? watch.seconds() : -1};
}

constexpr Method kMethods[] = {
    {"expat", expat_alone},     {"parse", parse},     {"tree", tree},
    {"release", release},       {"records", records}, {"write_memory", write_memory},
    {"write_file", write_file},
};

}  // namespace

std::span<const Method> our_methods() {
    return kMethods;
}

}  // namespace bench
