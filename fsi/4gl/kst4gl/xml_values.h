// SPDX-License-Identifier: MIT
//
// The values that the elements of an XML dictionary hold, in attributes and as
// their text, and the refusal of values that are none.  What a value means is
// load_xml's business.
#ifndef FSI_4GL_KST4GL_XML_VALUES_H
#define FSI_4GL_KST4GL_XML_VALUES_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "fsi/4gl/kst4gl/load.h"
#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "host/handles.h"
#include "wbfsi/xml_element.h"
#include "wbfsi/xml_xfd.h"

namespace fsi {

// The children of an element, in a range-for.
class XmlChildren {
 public:
    explicit XmlChildren(ZHandle parent) : first_(ZxmlElem_first_child(parent)) {}

    struct Iterator {
        ZHandle child;
        ZHandle operator*() const { return child; }
        Iterator &operator++() {
            child = ZxmlElem_next_sibling(child);
            return *this;
        }
        bool operator!=(const Iterator &other) const { return child != other.child; }
    };
    Iterator begin() const { return {first_}; }
    Iterator end() const { return {0}; }

 private:
    ZHandle first_;
};

// Whether an element has the name of that index of xmlxfd_tags.
bool is_element(ZHandle element, int tag);

// Which of the names first .. last an element has; -1 for another one.
int tag_among(ZHandle element, int first, int last);

// Writes "xfd:keys/xfd:key[2]/xfd:segments/xfd:segment[1]": the way from the top
// element, which is left out, to an element; the number counts the siblings of its
// name and is left out where it has none.  What does not fit is cut at the front.
// `size` is at least 4.
void element_path(ZHandle element, char *path, size_t size);

// One element.  The values are asked one after the other and the status once,
// behind them: a value that was refused reads as 0 and nothing is done with it.
class XmlValues {
 public:
    explicit XmlValues(ZHandle element) : element_(element) {}

    bool has(int tag) const { return find(tag) >= 0; }

    // The number in an attribute, which must be one and in the range; else 0.
    template <typename T>
    T number(int tag, int32_t most = kMost<T>, int32_t least = 0) {
        return static_cast<T>(attribute_number(tag, least, most));
    }
    // The same, and `absent` without the attribute.
    template <typename T>
    T number_or(int tag, T absent, int32_t most = kMost<T>, int32_t least = 0) {
        return has(tag) ? number<T>(tag, most, least) : absent;
    }
    // The number that the element's own text is.
    template <typename T>
    T own_number(int32_t most = kMost<T>, int32_t least = 0) {
        return static_cast<T>(text_number(least, most));
    }

    // At most `limit` characters of an attribute, or of the element's own text
    // without the blanks around it; empty without one.
    template <size_t N>
    void text(int tag, char (&dest)[N], size_t limit = N - 1) const {
        std::memset(dest, 0, N);
        fetch(tag, dest, limit < N ? limit : N - 1);
    }
    template <size_t N>
    void own_text(char (&dest)[N], size_t limit = N - 1) const {
        char buffer[kTextBytes] = {};
        copy_text(dest, fetch_own(buffer), limit);
    }

    // The whole text of an attribute in a block of its own, of exactly the length
    // and a zero byte.  Null without the attribute, and when memory is refused, which
    // status() tells.
    [[nodiscard]] char *copy(int tag, const char *block_tag);

    // kDone until a value was refused.
    LoadStatus status() const { return status_; }

 private:
    template <typename T>
    static constexpr int32_t kMost = std::numeric_limits<T>::max() >= INT32_MAX
                                         ? INT32_MAX
                                         : static_cast<int32_t>(std::numeric_limits<T>::max());
    // Texts of a dictionary have up to 128 characters; the rest is for the blanks that
    // XML_KEEP_WHITESPACE leaves around them.
    static constexpr size_t kTextBytes = 1024;

    int32_t find(int tag) const;
    int32_t fetch(int tag, char *dest, size_t limit) const;
    std::string_view fetch_own(char (&buffer)[kTextBytes]) const;
    int32_t attribute_number(int tag, int32_t least, int32_t most);
    int32_t text_number(int32_t least, int32_t most);
    int32_t checked(std::string_view text, const char *what, int32_t least, int32_t most);

    ZHandle element_;
    LoadStatus status_ = LoadStatus::kDone;
};

}  // namespace fsi

#endif
