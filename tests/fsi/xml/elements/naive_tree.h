// SPDX-License-Identifier: MIT
//
// Elements as plainly as they can be described: lists that are walked, a table of names
// that is searched from its start, renumbering by recursion.  What the library does fast
// must come out as here.  Texts are those of a program in Latin-1.
#ifndef TESTS_FSI_XML_ELEMENTS_NAIVE_TREE_H
#define TESTS_FSI_XML_ELEMENTS_NAIVE_TREE_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/handles.h"

namespace naive {

struct Element;

struct NameEntry {
    Element *first;
    uint32_t count;  // further children of the name
};

struct Element {
    ZHandle handle = 0;
    ZHandle parent = 0;
    std::string name;  // all texts as UTF-8
    std::optional<std::string> value, comments;
    std::optional<std::list<Element *>> children;
    std::vector<NameEntry> names;
    std::optional<std::vector<std::pair<std::string, std::string>>> attributes;
    int32_t depth = -1;
    std::vector<int32_t> indices;
    const void *user_data = nullptr;
};

// A text argument: null, or bytes with a zero byte behind them, and its length.
struct Text {
    const char *bytes;
    int32_t length;
};

inline std::string to_utf8(Text text) {
    std::string out;
    for (int32_t i = 0; text.bytes != nullptr && (text.length < 0 || i < text.length); i++) {
        const auto c = static_cast<unsigned char>(text.bytes[i]);
        if (c == 0)
            break;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

inline std::string from_utf8(const std::string &text) {
    std::string out;
    for (size_t i = 0; i < text.size(); i++) {
        const auto c = static_cast<unsigned char>(text[i]);
        out +=
            c < 0x80
                ? text[i]
                : static_cast<char>((c & 3) << 6 | (static_cast<unsigned char>(text[++i]) & 0x3F));
    }
    return out;
}

class Library {
 public:
    int32_t error = 0;

    Element *find(ZHandle handle) {
        const auto at = elements_.find(handle);
        return at == elements_.end() ? nullptr : at->second.get();
    }

    // `handle` is what the new element is known by.
    void create(ZHandle handle, ZHandle parent_argument, Text name, ZHandle before) {
        Element *parent = require(parent_argument);
        auto owned = std::make_unique<Element>();
        Element *element = owned.get();
        elements_[handle] = std::move(owned);
        element->handle = handle;
        element->parent = parent_argument;
        element->name = to_utf8(name);
        if (parent == nullptr)
            return;
        if (!parent->children)
            parent->children.emplace();
        element->depth = parent->depth;
        element->indices = parent->indices;
        auto place = parent->children->end();
        if (before != 0 && before != 0xFFFFFFFF)
            place = std::find_if(parent->children->begin(), parent->children->end(),
                                 [&](const Element *child) { return child->handle == before; });
        auto entry = std::find_if(parent->names.begin(), parent->names.end(),
                                  [&](NameEntry &e) { return e.first->name == element->name; });
        if (entry == parent->names.end()) {
            parent->names.push_back({element, 0});
        } else {
            if (entry->count == 0 && entry->first->depth == parent->depth) {
                renumber(entry->first, parent->depth);
                set_level(entry->first, entry->first->depth + 1, 1);
            }
            entry->count++;
            set_level(element, parent->depth + 1, static_cast<int32_t>(entry->count + 1));
        }
        parent->children->insert(place, element);
    }

    // The parent and the element in front of which ZxmlElem_add_sibling puts one.
    bool sibling_place(ZHandle handle, ZHandle *parent, ZHandle *before) {
        Element *element = require(handle);
        if (element == nullptr)
            return false;
        if (element->parent == 0) {
            error = 16;
            return false;
        }
        *parent = element->parent;
        *before = next_sibling(handle);
        return true;
    }

    int remove(ZHandle handle) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        if (Element *parent = find(element->parent); parent != nullptr) {
            auto &names = parent->names;
            for (size_t i = 0; i < names.size(); i++) {
                if (names[i].first == element) {
                    if (names[i].count == 0) {
                        names.erase(names.begin() + static_cast<std::ptrdiff_t>(i));
                        break;
                    }
                    for (Element *child : *parent->children) {
                        if (child != element && child->name == element->name) {
                            names[i].first = child;
                            break;
                        }
                    }
                    names[i].count--;
                } else if (names[i].first->name == element->name) {
                    names[i].count--;
                }
            }
        }
        destroy(element);
        return 1;
    }

    ZHandle first_child(ZHandle handle) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        if (element->children && !element->children->empty())
            return element->children->front()->handle;
        error = 10;
        return 0;
    }
    ZHandle next_sibling(ZHandle handle) { return sibling(handle, 1); }
    ZHandle prev_sibling(ZHandle handle) { return sibling(handle, -1); }
    ZHandle parent(ZHandle handle) {
        Element *element = require(handle);
        if (element != nullptr && element->parent == 0)
            error = 12;
        return element == nullptr ? 0 : element->parent;
    }

    int set_value(ZHandle handle, Text text) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        if (text.bytes == nullptr)
            text = {"<null>", 6};
        const std::string converted = to_utf8(text);
        if (!element->value)
            element->value = "";
        if (element->value->compare(0, converted.size(), converted) == 0) {
            const uint32_t length =
                text.length < 0 ? 0xFFFFFFFF : static_cast<uint32_t>(converted.size());
            if (element->value->size() <= length)
                return element->value->size() == length ? 1 : 0;
            element->value->resize(length);
            return 1;
        }
        element->value = converted;
        return 1;
    }

    int append_value(ZHandle handle, Text text, bool keep_blanks) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        std::string converted = to_utf8(text);
        if (!element->value && !keep_blanks) {
            constexpr const char *kBlanks = " \t\r\n\v\f";
            const size_t first = converted.find_first_not_of(kBlanks);
            if (first == std::string::npos)
                return 1;
            converted = converted.substr(first, converted.find_last_not_of(kBlanks) + 1 - first);
        }
        element->value = element->value.value_or("") + converted;
        return 1;
    }

    int32_t value_i(ZHandle handle) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        if (!element->value) {
            error = 13;
            return 0;
        }
        return static_cast<int32_t>(std::strtol(element->value->c_str(), nullptr, 10));
    }

    int32_t add_attribute(ZHandle handle, Text name, Text value) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        if (!element->attributes)
            element->attributes.emplace();
        element->attributes->emplace_back(to_utf8(name), to_utf8(value));
        return static_cast<int32_t>(element->attributes->size());
    }

    int modify_attribute(ZHandle handle, uint32_t number, Text value) {
        Element *element = require(handle);
        if (element == nullptr || number >= attribute_count(*element))
            return 0;
        (*element->attributes)[number].second = to_utf8(value);
        return 1;
    }

    int delete_attribute(ZHandle handle, uint32_t number) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        if (number >= attribute_count(*element)) {
            error = 7;
            return 0;
        }
        element->attributes->erase(element->attributes->begin() +
                                   static_cast<std::ptrdiff_t>(number));
        return 1;
    }

    int append_comment(ZHandle handle, Text text) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        element->comments = element->comments.value_or("") + to_utf8(text);
        return 1;
    }

    int delete_comment(ZHandle handle) {
        Element *element = require(handle);
        if (element != nullptr)
            element->comments.reset();
        return element == nullptr ? 0 : 1;
    }

    int set_user_data(ZHandle handle, const void *data) {
        Element *element = require(handle);
        if (element == nullptr || element->user_data != nullptr)
            return 0;
        element->user_data = data;
        return 1;
    }

    // In the form of elements::tree.
    void print(const Element &element, std::string *text) const {
        text->append(from_utf8(element.name));
        if (element.depth >= 0) {
            text->append("(");
            for (int32_t i = 0; i <= element.depth; i++)
                text->append(i == 0 ? "" : ",")
                    .append(std::to_string(element.indices[static_cast<size_t>(i)]));
            text->append(")");
        }
        if (element.value)
            text->append("=").append(from_utf8(*element.value));
        if (element.attributes) {
            text->append("{");
            for (const auto &[name, value] : *element.attributes)
                text->append(from_utf8(name)).append("=").append(from_utf8(value)).append(";");
            text->append("}");
        }
        if (element.comments)
            text->append("!").append(from_utf8(*element.comments));
        if (element.children && !element.children->empty()) {
            text->append("[");
            for (const Element *child : *element.children) {
                text->append(child == element.children->front() ? "" : " ");
                print(*child, text);
            }
            text->append("]");
        }
    }

    Element *require(ZHandle handle) {
        Element *element = find(handle);
        if (element == nullptr)
            error = 6;
        return element;
    }

    static uint32_t attribute_count(const Element &element) {
        return element.attributes ? static_cast<uint32_t>(element.attributes->size()) : 0;
    }

 private:
    static void set_level(Element *element, int32_t level, int32_t number) {
        element->depth = level;
        if (element->indices.size() <= static_cast<size_t>(level))
            element->indices.resize(static_cast<size_t>(level) + 1);
        element->indices[static_cast<size_t>(level)] = number;
    }

    static void renumber(Element *element, int32_t depth) {
        if (!element->children)
            return;
        for (Element *child : *element->children) {
            if (child->depth == -1 || child->depth == depth) {
                set_level(child, child->depth + 1, 1);
            } else {
                child->indices.insert(child->indices.begin() + child->depth, 1);
                child->depth++;
            }
            renumber(child, depth);
        }
    }

    ZHandle sibling(ZHandle handle, int direction) {
        Element *element = require(handle);
        if (element == nullptr)
            return 0;
        if (Element *above = find(element->parent); above != nullptr) {
            auto at = std::find(above->children->begin(), above->children->end(), element);
            if (direction > 0 && ++at != above->children->end())
                return (*at)->handle;
            if (direction < 0 && at != above->children->begin())
                return (*--at)->handle;
        }
        error = 11;
        return 0;
    }

    void destroy(Element *element) {
        if (Element *above = find(element->parent); above != nullptr)
            above->children->remove(element);
        while (element->children && !element->children->empty())
            destroy(element->children->front());
        elements_.erase(element->handle);
    }

    std::map<ZHandle, std::unique_ptr<Element>> elements_;
};

}  // namespace naive

#endif
