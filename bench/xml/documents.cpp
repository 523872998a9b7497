// SPDX-License-Identifier: MIT
//
// The documents: orders with lines, indented and in one line, and elements of eight
// attributes.  The same size gives the same bytes.
#include <random>

#include "bench/xml/methods.h"

namespace bench {
namespace {

constexpr const char *kWords[] = {"bolt",  "hinge", "drill", "cable", "lamp & shade",
                                  "valve", "pump",  "screw", "gauge", "filter"};

class Writer {
 public:
    Writer(std::FILE *file, bool is_indented) : file_(file), is_indented_(is_indented) {}

    void line(int level, const std::string &text) {
        if (is_indented_)
            put(std::string(static_cast<size_t>(level) * 2, ' '));
        put(text);
        if (is_indented_)
            put("\n");
    }
    void leaf(int level, const char *name, const std::string &text) {
        line(level, std::string("<") + name + ">" + text + "</" + name + ">");
    }
    [[nodiscard]] int64_t size() const { return size_; }
    unsigned some(unsigned n) { return static_cast<unsigned>(random_() % n); }
    std::string word() {
        std::string text = kWords[some(10)];
        if (const size_t at = text.find('&'); at != text.npos)
            text.replace(at, 1, "&amp;");
        return text;
    }

 private:
    void put(const std::string &text) {
        std::fwrite(text.data(), 1, text.size(), file_);
        size_ += static_cast<int64_t>(text.size());
    }
    std::FILE *file_;
    bool is_indented_;
    int64_t size_ = 0;
    std::mt19937 random_{20};
};

void write_orders(std::FILE *file, int64_t bytes, bool is_indented) {
    Writer out(file, is_indented);
    out.line(0, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    out.line(0, "<orders>");
    for (int number = 1; out.size() < bytes; number++) {
        out.line(1, "<order id=\"" + std::to_string(number) + "\">");
        out.leaf(2, "customer", "Customer " + std::to_string(out.some(5000)));
        out.leaf(2, "date",
                 "2024-0" + std::to_string(1 + out.some(9)) + "-1" + std::to_string(out.some(10)));
        for (unsigned lines = 1 + out.some(4); lines > 0; lines--) {
            out.line(2, "<line>");
            out.leaf(3, "article", out.word());
            out.leaf(3, "quantity", std::to_string(out.some(100)));
            out.leaf(3, "price", std::to_string(out.some(1000)) + ".95");
            out.line(2, "</line>");
        }
        out.line(1, "</order>");
    }
    out.line(0, "</orders>");
}

void write_attributes(std::FILE *file, int64_t bytes) {
    constexpr const char *kNames[] = {"id",    "customer", "date",    "article",
                                      "price", "quantity", "country", "remark"};
    Writer out(file, true);
    out.line(0, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    out.line(0, "<orders>");
    while (out.size() < bytes) {
        std::string element = "<order";
        for (const char *name : kNames)
            element += std::string(" ") + name + "=\"" + out.word() +
                       std::to_string(out.some(10000)) + "\"";
        out.line(1, element + "/>");
    }
    out.line(0, "</orders>");
}

constexpr Kind kKinds[] = {
    {"indented", [](std::FILE *file, int64_t bytes) { write_orders(file, bytes, true); }},
    {"flat", [](std::FILE *file, int64_t bytes) { write_orders(file, bytes, false); }},
    {"attributes", write_attributes},
};

}  // namespace

std::span<const Kind> kinds() {
    return kKinds;
}

}  // namespace bench
