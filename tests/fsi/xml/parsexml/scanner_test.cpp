// SPDX-License-Identifier: MIT
//
// The scanner against a model that looks at the whole text before each cut.
#include "fsi/xml/parsexml/scanner.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace {

using namespace fsi::xml;

constexpr size_t npos = std::string_view::npos;

// Where a tag or declaration that goes on at `at` closes: behind its ">", quotes
// passed over, or behind a "[" where one may come.
size_t end_of_markup(std::string_view text, size_t at, bool may_have_subset) {
    while (true) {
        at = text.find_first_of(may_have_subset ? "\"'>[" : "\"'>", at);
        if (at == npos)
            return npos;
        if (text[at] == '[' || text[at] == '>')
            return at + 1;
        at = text.find(text[at], at + 1);
        if (at == npos)
            return npos;
        at++;
    }
}

// Whether a text ends outside of tokens.
bool is_closed(std::string_view text) {
    bool in_subset = false;
    size_t at = 0;
    while (true) {
        at = text.find_first_of(in_subset ? "<]" : "<", at);
        if (at == npos)
            return true;
        const std::string_view rest = text.substr(at);
        size_t end = npos;
        if (rest[0] == ']') {
            end = end_of_markup(text, at + 1, true);
            in_subset = end != npos && text[end - 1] == '[';
        } else if (rest.starts_with("<!--")) {
            end = text.find("-->", at + 4);
            end = end == npos ? npos : end + 3;
        } else if (rest.starts_with("<?")) {
            end = text.find("?>", at + 2);
            end = end == npos ? npos : end + 2;
        } else if (rest.starts_with("<![CDATA[")) {
            end = text.find("]]>", at + 9);
            if (end == npos)
                return true;  // its text comes in bits
            end += 3;
        } else if (rest.starts_with("<![") || rest == "<" || rest == "<!" || rest == "<!-") {
            return false;
        } else if (rest.starts_with("<!") && !in_subset) {
            end = end_of_markup(text, at + 2, true);
            in_subset = end != npos && text[end - 1] == '[';
        } else {
            end = end_of_markup(text, at + 2, false);
        }
        if (end == npos)
            return false;
        at = end;
    }
}

std::string encoded(SourceForm form, std::string_view text) {
    if (unit_size(form) == 1)
        return std::string(text);
    std::string bytes;
    for (const char c : text) {
        if (form == SourceForm::kLittleUnits)
            bytes += {c, '\0'};
        else
            bytes += {'\0', c};
    }
    return bytes;
}

constexpr SourceForm kForms[] = {SourceForm::kBytes, SourceForm::kLittleUnits,
                                 SourceForm::kBigUnits};

class Random {
 public:
    explicit Random(unsigned seed) : engine_(seed) {}
    unsigned below(unsigned n) { return static_cast<unsigned>(engine_() % n); }
    template <size_t N>
    std::string_view one_of(const std::string_view (&of)[N]) {
        return of[below(N)];
    }

 private:
    std::mt19937 engine_;
};

std::string random_document(Random *random) {
    static constexpr std::string_view kCommon[] = {
        "<!-- don't -->",
        "<!-->-->",
        "<!---> --->",
        "<!----->",
        "<?p >'?>",
        "<?"
        "?>",
        "<?p?x?>",
        "<!-- > > [ ] -- <a b=\" -->",
        "<?p \"?>",
        "\n",
        " ",
    };
    static constexpr std::string_view kSubset[] = {
        "<!ENTITY e \"a>b]\">",
        "<!ENTITY e '<!-- \" -->'>",
        "<!ELEMENT a (b|c)>",
        "%pe;",
        "<!ATTLIST a b CDATA \"]>\">",
        "<!NOTATION n SYSTEM '>'>",
        "''\"",
    };
    static constexpr std::string_view kContent[] = {
        "<a>",
        "</a>",
        "<a/>",
        "<a b='>' c=\"'>'\">",
        "<a b=\"]]>\"/>",
        "text",
        "don't > \"",
        "]]",
        "<![CDATA[ > ]] ]>> <a ]]>",
        "<![CDATA[]]]]>",
        "<![CDATA[]]>",
        "&amp;",
        ">",
        "[",
        "-->",
    };
    std::string text;
    for (unsigned i = random->below(4); i > 0; i--)
        text += random->one_of(kCommon);
    if (random->below(2) == 0) {
        text += random->below(2) == 0 ? "<!DOCTYPE a SYSTEM '>[' " : "<!DOCTYPE a ";
        if (random->below(3) != 0) {
            text += '[';
            for (unsigned i = random->below(9); i > 0; i--)
                text += random->below(2) == 0 ? random->one_of(kCommon) : random->one_of(kSubset);
            text += "] ";
        }
        text += '>';
    }
    for (unsigned i = random->below(12); i > 0; i--)
        text += random->below(4) == 0 ? random->one_of(kCommon) : random->one_of(kContent);
    return text;
}

TEST(Scanner, AgreesWithAModelWhereverTheTextIsCut) {
    Random random(20260101);
    int open_greater_thans = 0;
    for (int round = 0; round < 3000; round++) {
        const std::string text = random_document(&random);
        SCOPED_TRACE(text);
        const unsigned cut_at = 1 + random.below(20);
        for (const SourceForm form : kForms) {
            const std::string bytes = encoded(form, text);
            const size_t width = unit_size(form);
            ScannerState scanner{};
            for (size_t at = 0; at < text.size();) {
                size_t size = 1;
                while (text[at + size - 1] != '>' && at + size < text.size() &&
                       random.below(cut_at) != 0)
                    size++;
                const bool closed = scan(&scanner, form, bytes.data() + at * width, size * width);
                at += size;
                ASSERT_EQ(closed, is_closed(std::string_view(text).substr(0, at)))
                    << "behind " << at;
                open_greater_thans += text[at - 1] == '>' && !closed ? 1 : 0;
            }
        }
    }
    EXPECT_GT(open_greater_thans, 1000);
}

TEST(Scanner, LessThanInAnAttributeValueIsFedAtOnce) {
    for (const SourceForm form : kForms) {
        ScannerState scanner{};
        const std::string bytes = encoded(form, "<a b='x<");
        EXPECT_TRUE(scan(&scanner, form, bytes.data(), bytes.size()));
    }
}

TEST(Scanner, UnitsWhoseBytesLookLikeMarkupAreText) {
    // U+3E3E and U+3C3C: each byte of them is ">" or "<".
    const std::string text("\x3E\x3E\x3C\x3C", 4);
    for (const SourceForm form : {SourceForm::kLittleUnits, SourceForm::kBigUnits}) {
        ScannerState scanner{};
        EXPECT_TRUE(scan(&scanner, form, text.data(), text.size()));
        EXPECT_EQ(find_greater_than(form, text.data(), text.size()), 0U);
        EXPECT_EQ(find_last_greater_than(form, text.data(), text.size()), 0U);
    }
}

TEST(Scanner, FindsTheFirstAndTheLastGreaterThan) {
    Random random(7);
    for (int round = 0; round < 500; round++) {
        std::string text(random.below(40), 'x');
        for (char &c : text)
            c = random.below(8) == 0 ? '>' : c;
        for (const SourceForm form : kForms) {
            const std::string bytes = encoded(form, text);
            const size_t first = text.find('>');
            const size_t last = text.rfind('>');
            EXPECT_EQ(find_greater_than(form, bytes.data(), bytes.size()),
                      first == npos ? 0 : (first + 1) * unit_size(form));
            EXPECT_EQ(find_last_greater_than(form, bytes.data(), bytes.size()),
                      last == npos ? 0 : (last + 1) * unit_size(form));
        }
    }
}

}  // namespace
