// SPDX-License-Identifier: MIT
//
// Writes the XML form of a dictionary, one field a line.  Comments, which that form
// does not have, become comments of the document.

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "host/charset.h"
#include "tool/columns.h"
#include "tool/dictionary_writer.h"
#include "tool/session.h"
#include "tool/show.h"
#include "wbfsi/accessors.h"
#include "wbfsi/xml_xfd.h"

namespace tool {

namespace {

constexpr size_t kMaxTrigger = 128;
constexpr size_t kMaxConditionTable = 30;
constexpr size_t kMaxValueText = 51;  // with the quotes around it
constexpr size_t kMaxValue = 50;
constexpr int kAlphabetWords = 9;  // the first version with words for the alphabet
constexpr uint16_t kMaxType = 63;
constexpr uint16_t kAbsentType = 65535;  // of a field without the attribute

class XmlWriter : public DictionaryWriter {
 public:
    XmlWriter(const Xfd &declared, const Xfd &expanded, bool listed_view)
        : DictionaryWriter("XML", declared, expanded, listed_view) {}

 private:
    struct Attribute {
        int tag;
        std::string value;  // markup
    };
    using Attributes = std::vector<Attribute>;

    void refuse_what_has_no_place() const override;
    void write_head() override;
    void write_field(const XfdField &field, uint32_t user_flags) override;
    void open_group(const std::string &what, uint32_t times, uint32_t size_bytes,
                    const std::string &sub_table) override;
    void close_group(const std::string &what) override;
    void write_tail() override;

    std::string characters(const std::string &what, const std::string &text) const;
    std::string attribute(const std::string &what, const std::string &text) const;
    std::string content(const std::string &what, const std::string &text) const;
    void start(int tag, const Attributes &attributes, bool is_empty = false);
    void end(int tag);
    void item(int tag, const std::string &markup);
    bool has_identification() const;
    bool has_fields() const;
    void write_identification();
    void write_character(const char *what, int tag, char character);
    void write_alphabet();
    void write_keys();
    void write_conditions();
    void write_condition(uint32_t index);
    void write_comment(const XfdField &field);

    size_t depth_ = 0;
};

// The text in UTF-8, if it has characters that XML can carry and comes back from it as
// the same bytes.
std::string XmlWriter::characters(const std::string &what, const std::string &text) const {
    const bool has_control = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n' && c != '\r';
    });
    if (has_control) {
        refuse(what, "a control character in \"" + printable(text.c_str()) + '"');
    }
    std::string utf8 = to_utf8(text.c_str());
    std::string back(text.size() + 1, '\0');
    const int32_t size = ZUTF8ToCOBOLCharSet(utf8.data(), static_cast<int32_t>(utf8.size()),
                                             back.data(), static_cast<int32_t>(back.size()));
    back.resize(text.size());
    if (size != static_cast<int32_t>(text.size()) || back != text) {
        refuse(what, "bytes that are no characters in \"" + printable(text.c_str()) + '"');
    }
    return utf8;
}

std::string XmlWriter::attribute(const std::string &what, const std::string &text) const {
    std::string markup;
    for (const char c : characters(what, text)) {
        switch (c) {
            case '&':
                markup += "&amp;";
                break;
            case '<':
                markup += "&lt;";
                break;
            case '"':
                markup += "&quot;";
                break;
            case '\t':
            case '\n':
            case '\r':
                markup += "&#" + std::to_string(static_cast<int>(c)) + ';';
                break;
            default:
                markup += c;
                break;
        }
    }
    return markup;
}

// An element's own text: blanks around it do not count, and a reference would cut the
// blanks in front of it.
std::string XmlWriter::content(const std::string &what, const std::string &text) const {
    constexpr std::string_view kBlanks = " \t\n\r\f\v";
    if (text.find_first_of("\t\n\r") != std::string::npos ||
        (!text.empty() && (kBlanks.find(text.front()) != std::string_view::npos ||
                           kBlanks.find(text.back()) != std::string_view::npos))) {
        refuse(what, "blanks around \"" + printable(text.c_str()) + "\", or line ends in it");
    }
    std::string utf8 = characters(what, text);
    if (utf8.find_first_of("&<>") == std::string::npos) {
        return utf8;
    }
    for (size_t at = 0; (at = utf8.find("]]>", at)) != std::string::npos; at += 3) {
        utf8.insert(at + 2, "]]><![CDATA[");
        at += 12;
    }
    return "<![CDATA[" + utf8 + "]]>";
}

void XmlWriter::start(int tag, const Attributes &attributes, bool is_empty) {
    text_ += std::string(2 * depth_, ' ') + '<' + xmlxfd_tags[tag];
    for (const auto &[name, value] : attributes) {
        text_ += std::string(" ") + xmlxfd_tags[name] + "=\"" + value + '"';
    }
    text_ += is_empty ? "/>\n" : ">\n";
    depth_ += is_empty ? 0 : 1;
}

void XmlWriter::end(int tag) {
    depth_--;
    text_ += std::string(2 * depth_, ' ') + "</" + xmlxfd_tags[tag] + ">\n";
}

void XmlWriter::item(int tag, const std::string &markup) {
    text_ += std::string(2 * depth_, ' ') + '<' + xmlxfd_tags[tag] + '>' + markup + "</" +
             xmlxfd_tags[tag] + ">\n";
}

bool XmlWriter::has_identification() const {
    return xfd_.x_file_type != 0 || xfd_.x_version != 0;
}

bool XmlWriter::has_fields() const {
    return xfd_.x_n_fields != 0 || xfd_.x_n_total_fields != 0 || xfd_.x_n_fields_listed != 0 ||
           xfd_.x_n_total_fields_listed != 0;
}

void XmlWriter::refuse_what_has_no_place() const {
    constexpr std::array kTypes = {XFD_SEQUENTIAL, XFD_LINE_SEQUENTIAL, XFD_RELATIVE, XFD_INDEXED};
    const bool is_known = std::find(kTypes.begin(), kTypes.end(), xfd_.x_file_type) != kTypes.end();
    if (has_identification() && !is_known) {
        refuse("file type " + std::to_string(xfd_.x_file_type), "types are 4, 5, 8 and 12");
    }
    if (has_fields() && xfd_.x_n_total_fields == 0) {
        refuse("field counts", "a dictionary whose fields all belong to the listed view");
    }
    for (uint32_t i = 0; i < count_; i++) {
        const uint16_t type = xfd_.x_fdesc[i].fd_argument.a_type;
        if (type > kMaxType && type != kAbsentType) {
            refuse(name_of(xfd_.x_fdesc[i]),
                   "types go up to 63, this one is " + std::to_string(type));
        }
    }
}

void XmlWriter::write_character(const char *what, int tag, char character) {
    if (character == ' ' || character == '\0') {
        refuse(what, "a blank or nothing");
    }
    item(tag, content(what, {character}));
}

void XmlWriter::write_alphabet() {
    const int32_t encoding = xfd_.x_cvt_info->cv_encoding;
    const bool has_words = xfd_.x_version >= kAlphabetWords;
    if (encoding == 0) {
        return;
    }
    const char *name = Zencoding_type_to_name(encoding);
    if (has_words && encoding == -1) {
        name = "Native";
    } else if (has_words ? encoding != 2
                         : name == nullptr || Zencoding_name_to_type(name) != encoding) {
        refuse("encoding " + std::to_string(encoding), "it has no name there");
    }
    item(XMLXFD_ALPHABET, content("encoding", name));
}

void XmlWriter::write_identification() {
    static constexpr std::pair<uint16_t, const char *> kOrganizations[] = {
        {XFD_INDEXED, "Indexed"},
        {XFD_RELATIVE, "Relative"},
        {XFD_LINE_SEQUENTIAL, "Line Sequential"},
        {XFD_SEQUENTIAL, "Sequential"}};
    if (!has_identification()) {
        return;
    }
    start(XMLXFD_IDENTIFICATION, {{XMLXFD_VERSION, std::to_string(xfd_.x_version)}});
    item(XMLXFD_SELECT_NAME, content("select name", xfd_.x_select_name));
    item(XMLXFD_TABLE_NAME, content("table name", xfd_.x_table_name));
    for (const auto &[type, word] : kOrganizations) {
        if (type == xfd_.x_file_type) {
            item(XMLXFD_FILE_ORGANIZATION, word);
        }
    }
    if (xfd_.x_cobol_trigger != nullptr) {
        if (strlen(xfd_.x_cobol_trigger) > kMaxTrigger) {
            refuse("COBOL trigger", "it has more than 128 characters");
        }
        item(XMLXFD_COBOL_TRIGGER, content("COBOL trigger", xfd_.x_cobol_trigger));
    }
    item(XMLXFD_MAXIMUM_RECORD_SIZE, number("maximum record size", xfd_.x_max_rec_size));
    item(XMLXFD_MINIMUM_RECORD_SIZE, number("minimum record size", xfd_.x_min_rec_size));
    item(XMLXFD_NUMBER_OF_KEYS, std::to_string(xfd_.x_n_keys));
    const XfdCvtInfo &cvt = *xfd_.x_cvt_info;
    constexpr uint16_t kCodeOf18Digits = 40;
    item(XMLXFD_SIGN_COMPATIBILITY, std::to_string(cvt.cv_sign_compat));
    item(XMLXFD_MAXIMUM_NUMERIC_DIGITS, cvt.cv_digits_code == kCodeOf18Digits ? "18" : "31");
    write_character("decimal point", XMLXFD_PERIOD_CHARACTER, cvt.cv_period);
    write_character("grouping character", XMLXFD_COMMA_CHARACTER, cvt.cv_comma);
    write_alphabet();
    end(XMLXFD_IDENTIFICATION);
}

void XmlWriter::write_keys() {
    if (xfd_.x_n_keys == 0) {
        return;
    }
    start(XMLXFD_KEYS, {});
    for (uint32_t i = 0; i < xfd_.x_n_keys; i++) {
        const XfdKey &key = xfd_.x_key_desc[i];
        const std::string what = "key " + std::to_string(i);
        const int segments = std::min<int>(key.k_seg_count, XFD_MAX_SEGMENTS);
        start(XMLXFD_KEY, {{XMLXFD_SEGMENT_COUNT, std::to_string(segments)},
                           {XMLXFD_DUPLICATES_ALLOWED, key.k_duplicates != 0 ? "true" : "false"}});
        start(XMLXFD_SEGMENTS, {});
        for (int s = 0; s < segments; s++) {
            start(XMLXFD_SEGMENT,
                  {{XMLXFD_SEGMENT_SIZE, std::to_string(key.k_seg_length[s])},
                   {XMLXFD_SEGMENT_OFFSET, number(what, key.k_seg_offset[s])}},
                  true);
        }
        end(XMLXFD_SEGMENTS);
        start(XMLXFD_KEY_COLUMNS, {{XMLXFD_KEY_COLUMN_COUNT, std::to_string(key.k_n_fields)}});
        for (uint32_t c = 0; c < key.k_n_fields; c++) {
            start(XMLXFD_KEY_COLUMN,
                  {{XMLXFD_KEY_COLUMN_NAME, attribute(what, key.k_field[c].kc_name)}}, true);
        }
        end(XMLXFD_KEY_COLUMNS);
        end(XMLXFD_KEY);
    }
    end(XMLXFD_KEYS);
}

void XmlWriter::write_conditions() {
    if (xfd_.x_n_conditions == 0) {
        return;
    }
    start(XMLXFD_CONDITIONS, {{XMLXFD_CONDITION_COUNT, std::to_string(xfd_.x_n_conditions)}});
    for (uint32_t i = 0; i < xfd_.x_n_conditions; i++) {
        write_condition(i);
    }
    end(XMLXFD_CONDITIONS);
}

void XmlWriter::write_condition(uint32_t index) {
    static constexpr const char *kWords[] = {nullptr, "eq", "and", "other", "gt",
                                             "ge",    "lt", "le",  "ne",    "or"};
    const XfdCondition &condition = xfd_.x_condition[index];
    const std::string what = "condition " + std::to_string(index + 1);
    start(XMLXFD_CONDITION, {{XMLXFD_CONDITION_NUMBER, std::to_string(index + 1)}});
    const bool combines = condition.c_type == XFD_COND_AND || condition.c_type == XFD_COND_OR;
    const bool compares = condition.c_type != 0 && !combines;
    const bool is_or = condition.c_type == XFD_COND_OR;
    const uint32_t operand1 = Z4GetXFDConditionNum1(&condition);
    const uint32_t operand2 = Z4GetXFDConditionNum2(&condition);
    const int16_t usual_operand = compares ? -1 : 0;
    if (condition.c_type != 0) {
        item(XMLXFD_CONDITION_COMPARISON, kWords[condition.c_type]);
    }
    if (combines || condition.c_num1 != usual_operand) {
        item(is_or ? XMLXFD_CONDITION_OR_1 : XMLXFD_CONDITION_AND_1, std::to_string(operand1));
    }
    if (combines || condition.c_num2 != usual_operand) {
        item(is_or ? XMLXFD_CONDITION_OR_2 : XMLXFD_CONDITION_AND_2, std::to_string(operand2));
    }
    if (compares || condition.c_variable[0] != '\0') {
        item(XMLXFD_CONDITION_VARIABLE, content(what, condition.c_variable));
    }
    if (condition.c_value[0] != '\0') {
        std::string value = original_value(index);
        const bool has_quotes = value.size() > 1 && value.front() == '"' && value.back() == '"';
        if (has_quotes || value.front() == ' ' || value.back() == ' ') {
            value = '"' + value + '"';
        }
        if (value.size() > kMaxValueText || (value.size() > kMaxValue && value.front() != '"')) {
            refuse(what, "its value needs quotes and has more than 49 characters");
        }
        item(XMLXFD_CONDITION_VALUE, content(what, value));
    }
    if (strlen(condition.c_table) > kMaxConditionTable) {
        refuse(what, "its table name has more than 30 characters");
    }
    if (condition.c_table[0] != '\0') {
        item(XMLXFD_CONDITION_TABLENAME, content(what, condition.c_table));
    }
    end(XMLXFD_CONDITION);
}

void XmlWriter::write_comment(const XfdField &field) {
    if (field.fd_comment == nullptr) {
        return;
    }
    text_ += std::string(2 * depth_, ' ') + "<!-- ";
    const std::string text(ZStringGet(field.fd_comment), ZStringGetLength(field.fd_comment));
    for (const char c : characters("comment of " + name_of(field), text)) {
        // Two hyphens would end it.
        text_ += c == '-' && text_.back() == '-' ? " -" : std::string(1, c);
    }
    text_ += " -->\n";
}

void XmlWriter::write_field(const XfdField &field, uint32_t user_flags) {
    const std::string what = name_of(field);
    const XfdArgument &data = field.fd_argument;
    write_comment(field);
    Attributes attributes = {{XMLXFD_FIELD_OFFSET, number(what, field.fd_offset)},
                             {XMLXFD_FIELD_BYTES, number(what, data.a_size)},
                             {XMLXFD_FIELD_LENGTH, std::to_string(data.a_digits)},
                             {XMLXFD_FIELD_SCALE, std::to_string(data.a_scale)},
                             {XMLXFD_FIELD_USER_FLAGS, std::to_string(user_flags)},
                             {XMLXFD_FIELD_CONDITION, std::to_string(field.fd_cond_num)},
                             {XMLXFD_FIELD_LEVEL, std::to_string(field.fd_level)},
                             {XMLXFD_FIELD_NAME, attribute(what, field.fd_name)}};
    if (data.a_type != kAbsentType) {
        attributes.insert(attributes.begin() + 2, {XMLXFD_FIELD_TYPE, std::to_string(data.a_type)});
    }
    if (field.fd_format[0] != '\0') {
        attributes.push_back({XMLXFD_FIELD_DATE_FORMAT, attribute(what, field.fd_format)});
    }
    if (field.fd_null_value != nullptr) {
        attributes.push_back({XMLXFD_FIELD_NULL_VALUE, attribute(what, field.fd_null_value)});
    }
    if ((field.fd_flags & XFD_FIELD_IDENTITY) != 0) {
        attributes.push_back({XMLXFD_FIELD_IS_IDENTITY, "true"});
    }
    start(XMLXFD_FIELD, attributes, true);
}

void XmlWriter::open_group(const std::string &what, uint32_t times, uint32_t size_bytes,
                           const std::string &sub_table) {
    Attributes attributes = {{XMLXFD_OCCURS_COUNT, std::to_string(times)},
                             {XMLXFD_OCCURS_SIZE, std::to_string(size_bytes)}};
    if (!sub_table.empty()) {
        attributes.push_back({XMLXFD_OCCURS_SUBTABLE, attribute(what, sub_table)});
    }
    start(XMLXFD_FIELD_OCCURS, attributes);
}

void XmlWriter::close_group(const std::string &) {
    end(XMLXFD_FIELD_OCCURS);
}

void XmlWriter::write_head() {
    text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" +
            std::string(xmlxfd_tags[XMLXFD_XFDFILE]) + " xmlns:xfd=\"urn:wbfsi:xfd\">\n";
    depth_ = 1;
    write_identification();
    write_keys();
    write_conditions();
    if (has_fields()) {
        start(XMLXFD_FIELDS,
              {{XMLXFD_ELEMENTARY_ITEMS, number("field count", xfd_.x_n_fields)},
               {XMLXFD_ELEMENTARY_ITEMS_WITH_OCCURS,
                number("total field count", xfd_.x_n_total_fields)},
               {XMLXFD_TOTAL_ITEMS, number("listed field count", xfd_.x_n_fields_listed)},
               {XMLXFD_TOTAL_ITEMS_WITH_OCCURS,
                number("total listed field count", xfd_.x_n_total_fields_listed)}});
    }
}

void XmlWriter::write_tail() {
    if (has_fields()) {
        end(XMLXFD_FIELDS);
    }
    end(XMLXFD_XFDFILE);
}

}  // namespace

std::string dictionary_xml(const Xfd &declared, const Xfd &expanded, bool listed_view) {
    return XmlWriter(declared, expanded, listed_view).write();
}

}  // namespace tool
