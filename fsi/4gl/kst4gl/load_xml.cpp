// SPDX-License-Identifier: MIT
//
// The document and its sections up to the conditions.  The whole tree is there
// before anything is read from it, so the sections are taken in the order in which
// they need each other, wherever they stand.
#include "fsi/4gl/kst4gl/load_xml.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include "fsi/4gl/kst4gl/build_field.h"
#include "fsi/4gl/kst4gl/compare.h"
#include "fsi/4gl/kst4gl/model.h"
#include "fsi/4gl/kst4gl/xml_values.h"
#include "fsi/base/owner.h"
#include "fsi/base/text.h"
#include "fsi/xml/elements/errors.h"
#include "host/charset.h"
#include "host/errors.h"
#include "host/memory.h"
#include "host/messages.h"
#include "host/names.h"
#include "wbfsi/xml_element.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"

namespace fsi {
namespace {

using OwnedParser = Owner<ZHandle, ZxmlParser_release>;

// The names as they are, the whole document, elements, text and comments.
constexpr uint32_t kParserFlags =
    ZXML_NAMES_LOWER | ZXML_NAMES_UPPER | ZXML_WHOLE | ZXML_ELEMENTS | ZXML_TEXT | ZXML_COMMENTS;
static_assert(kParserFlags == 95);

constexpr int kTraceCategory = 9;
constexpr size_t kMaxName = 30;
constexpr size_t kMaxValueText = 51;
constexpr uint16_t kNoIndex = 65535;
constexpr uint16_t kVersionWithAlphabetWords = 9;

// A row of a table of words.
struct Word {
    const char *text;
    int value;
};

constexpr Word kOrganizations[] = {{"Indexed", XFD_INDEXED},
                                   {"Relative", XFD_RELATIVE},
                                   {"Line Sequential", XFD_LINE_SEQUENTIAL},
                                   {"Binary Sequential", XFD_SEQUENTIAL},
                                   {"Sequential", XFD_SEQUENTIAL}};

constexpr Word kAlphabets[] = {{"None", 0}, {"UTF-8", 2}};

constexpr Word kComparisons[] = {
    {"eq", XFD_COND_EQ}, {"and", XFD_COND_AND}, {"other", XFD_COND_OTHER},
    {"gt", XFD_COND_GT}, {"ge", XFD_COND_GE},   {"lt", XFD_COND_LT},
    {"le", XFD_COND_LE}, {"ne", XFD_COND_NE},   {"or", XFD_COND_OR}};

template <size_t N>
int value_of(const Word (&words)[N], const char *text, int otherwise) {
    for (const Word &word : words) {
        if (strcmp(word.text, text) == 0)
            return word.value;
    }
    return otherwise;
}

// The sections of the top element, 0 where there is none.
struct Sections {
    ZHandle identification = 0;
    ZHandle keys = 0;
    ZHandle conditions = 0;
    ZHandle fields = 0;
};

// Keeps an element that may stand once.
LoadStatus keep_only(ZHandle element, ZHandle *place) {
    if (*place != 0) {
        reader.element = element;
        return refuse("it may stand there once");
    }
    *place = element;
    return LoadStatus::kDone;
}

LoadStatus find_sections(ZHandle top, Sections *sections) {
    struct Row {
        int tag;
        ZHandle Sections::*place;
    };
    static constexpr Row kRows[] = {{XMLXFD_IDENTIFICATION, &Sections::identification},
                                    {XMLXFD_KEYS, &Sections::keys},
                                    {XMLXFD_CONDITIONS, &Sections::conditions},
                                    {XMLXFD_FIELDS, &Sections::fields}};
    for (const ZHandle child : XmlChildren(top)) {
        for (const Row &row : kRows) {
            if (!is_element(child, row.tag))
                continue;
            const LoadStatus status = keep_only(child, &(sections->*row.place));
            if (status != LoadStatus::kDone)
                return status;
        }
    }
    return LoadStatus::kDone;
}

LoadStatus load_trigger(Xfd *xfd, const XmlValues &values) {
    char trigger[129];
    values.own_text(trigger);
    Block<char> old(xfd->x_cobol_trigger);
    xfd->x_cobol_trigger = ZSTRDUP(trigger, "pxfd->x_cobol_trigger", kSource);
    return xfd->x_cobol_trigger == nullptr ? out_of_memory() : LoadStatus::kDone;
}

int32_t encoding_of(uint16_t version, const XmlValues &values) {
    char alphabet[129];
    values.own_text(alphabet);
    return version < kVersionWithAlphabetWords ? Zencoding_name_to_type(alphabet)
                                               : value_of(kAlphabets, alphabet, -1);
}

// An empty text leaves the character that is usual.
void load_character(const XmlValues &values, char *character) {
    char text[8];
    values.own_text(text);
    if (text[0] != '\0')
        *character = text[0];
}

LoadStatus load_identity_item(Xfd *xfd, ZHandle element) {
    XfdCvtInfo &settings = *xfd->x_cvt_info;
    XmlValues values(element);
    switch (tag_among(element, XMLXFD_SELECT_NAME, XMLXFD_ALPHABET)) {
        case XMLXFD_SELECT_NAME:
            values.own_text(xfd->x_select_name, kMaxName);
            apply_case(xfd->x_select_name, reader.table_case);
            break;
        case XMLXFD_TABLE_NAME:
            values.own_text(xfd->x_table_name);
            break;
        case XMLXFD_FILE_ORGANIZATION: {
            char organization[64];
            values.own_text(organization);
            xfd->x_file_type =
                static_cast<uint16_t>(value_of(kOrganizations, organization, xfd->x_file_type));
            break;
        }
        case XMLXFD_COBOL_TRIGGER:
            return load_trigger(xfd, values);
        case XMLXFD_MAXIMUM_RECORD_SIZE:
            xfd->x_max_rec_size = values.own_number<uint32_t>();
            break;
        case XMLXFD_MINIMUM_RECORD_SIZE:
            xfd->x_min_rec_size = values.own_number<uint32_t>();
            break;
        case XMLXFD_NUMBER_OF_KEYS:
            xfd->x_n_keys = values.own_number<uint16_t>();
            break;
        case XMLXFD_SIGN_COMPATIBILITY:
            set_sign_compat(settings, values.own_number<uint16_t>());
            break;
        case XMLXFD_MAXIMUM_NUMERIC_DIGITS:
            set_numeric_digits(settings, values.own_number<int32_t>());
            break;
        case XMLXFD_PERIOD_CHARACTER:
            load_character(values, &settings.cv_period);
            break;
        case XMLXFD_COMMA_CHARACTER:
            load_character(values, &settings.cv_comma);
            break;
        case XMLXFD_ALPHABET:
            settings.cv_encoding = encoding_of(xfd->x_version, values);
            break;
        default:
            break;
    }
    return values.status();
}

LoadStatus allocate_keys(Load &load) {
    Xfd *xfd = load.xfd;
    const uint16_t count = xfd->x_n_keys;
    if (load.wants_relative_key()) {
        if (count != 0)
            return refuse("a relative file has no keys of its own, this one declares %d", count);
        return build_relative_key(load);
    }
    if (count == 0)
        return LoadStatus::kDone;
    xfd->x_key_desc = allocate_cleared<XfdKey>(count, "pxfd->x_n_keys", kSource);
    if (xfd->x_key_desc == nullptr)
        return out_of_memory();
    xfd->x_n_keys_alloc = count;
    for (uint32_t k = 0; k < count; ++k)
        xfd->x_key_desc[k].k_db_index = kNoIndex;
    return LoadStatus::kDone;
}

LoadStatus load_identification(Load &load, ZHandle section) {
    load.xfd->x_file_type = XFD_INDEXED;
    XmlValues values(section);
    load.xfd->x_version = values.number_or<uint16_t>(XMLXFD_VERSION, 0);
    LoadStatus status = values.status();
    for (const ZHandle child : XmlChildren(section)) {
        if (status != LoadStatus::kDone)
            return status;
        status = load_identity_item(load.xfd, child);
    }
    reader.element = section;
    return status == LoadStatus::kDone ? allocate_keys(load) : status;
}

LoadStatus load_segments(XfdKey &key, ZHandle segments) {
    uint32_t count = 0;
    for (const ZHandle child : XmlChildren(segments)) {
        if (!is_element(child, XMLXFD_SEGMENT))
            continue;
        reader.element = child;
        if (count == key.k_seg_count)
            return refuse("the key declares %u segments", key.k_seg_count);
        XmlValues values(child);
        key.k_seg_length[count] = values.number<uint16_t>(XMLXFD_SEGMENT_SIZE);
        key.k_seg_offset[count] = values.number<uint32_t>(XMLXFD_SEGMENT_OFFSET);
        if (values.status() != LoadStatus::kDone)
            return values.status();
        ++count;
    }
    reader.element = segments;
    return count == key.k_seg_count
               ? LoadStatus::kDone
               : refuse("it has %u segments, the key declares %u", count, key.k_seg_count);
}

LoadStatus load_key_columns(XfdKey &key, ZHandle columns) {
    XmlValues values(columns);
    const auto count = values.number_or<uint16_t>(XMLXFD_KEY_COLUMN_COUNT, 0);
    if (values.status() != LoadStatus::kDone)
        return values.status();
    if (count != 0) {
        key.k_field = allocate_cleared<XfdKeyColumn>(count, "pKey->k_field", kSource);
        if (key.k_field == nullptr)
            return out_of_memory();
        key.k_n_fields = key.k_n_fields_alloc = count;
    }
    for (uint32_t c = 0; c < count; ++c)
        key.k_field[c].kc_field_num = -1;

    uint32_t named = 0;
    for (const ZHandle child : XmlChildren(columns)) {
        const XmlValues column(child);
        if (!is_element(child, XMLXFD_KEY_COLUMN) || !column.has(XMLXFD_KEY_COLUMN_NAME))
            continue;
        reader.element = child;
        if (named == count)
            return refuse("the key declares %u columns", count);
        XfdKeyColumn &slot = key.k_field[named++];
        column.text(XMLXFD_KEY_COLUMN_NAME, slot.kc_name, kMaxName);
        stdz_name(slot.kc_name, -3, kLowerCase);
    }
    return LoadStatus::kDone;
}

LoadStatus load_key(XfdKey &key, ZHandle element) {
    XmlValues values(element);
    key.k_seg_count = values.number_or<uint16_t>(XMLXFD_SEGMENT_COUNT, 0, XFD_MAX_SEGMENTS);
    char duplicates[10];
    values.text(XMLXFD_DUPLICATES_ALLOWED, duplicates);
    key.k_duplicates = strcmp(duplicates, "true") == 0;

    ZHandle segments = 0;
    ZHandle columns = 0;
    LoadStatus status = values.status();
    for (const ZHandle child : XmlChildren(element)) {
        if (status == LoadStatus::kDone && is_element(child, XMLXFD_SEGMENTS))
            status = keep_only(child, &segments);
        else if (status == LoadStatus::kDone && is_element(child, XMLXFD_KEY_COLUMNS))
            status = keep_only(child, &columns);
    }
    if (status != LoadStatus::kDone)
        return status;
    reader.element = element;
    if (segments == 0 && key.k_seg_count != 0)
        return refuse("it declares %u segments and has no %s", key.k_seg_count,
                      xmlxfd_tags[XMLXFD_SEGMENTS]);
    if (segments != 0)
        status = load_segments(key, segments);
    return status == LoadStatus::kDone && columns != 0 ? load_key_columns(key, columns) : status;
}

LoadStatus load_keys(Load &load, ZHandle section) {
    Xfd *xfd = load.xfd;
    // The synthetic key of a relative file is none of the declared ones.
    const uint32_t declared = load.wants_relative_key() ? 0 : xfd->x_n_keys;
    uint32_t count = 0;
    for (const ZHandle child : XmlChildren(section)) {
        if (!is_element(child, XMLXFD_KEY))
            continue;
        reader.element = child;
        if (count == declared)
            return refuse("the file declares %u keys", declared);
        const LoadStatus status = load_key(xfd->x_key_desc[count++], child);
        if (status != LoadStatus::kDone)
            return status;
    }
    reader.element = section;
    return count == declared
               ? LoadStatus::kDone
               : refuse("the file declares %u keys, %u are described", declared, count);
}

// The text between the quotes of a value that begins and ends with one; else all of
// it, also when it is one quote alone.
std::string_view unquoted(std::string_view value) {
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        return value.substr(1, value.size() - 2);
    return value;
}

// As the number of any condition, up to 65535: all 16 bits count.
LoadStatus read_operand(ZHandle item, int16_t *operand) {
    XmlValues values(item);
    *operand = static_cast<int16_t>(values.own_number<uint16_t>());
    return values.status();
}

// The parts of a condition that stand in elements of their own.  An operand that is
// left out is 0, no condition.
class ConditionReader {
 public:
    ConditionReader(XfdCondition &condition, ZHandle element)
        : condition_(condition), element_(element) {}

    // kMalformed also for a comparison of no known kind, which is_unknown() tells:
    // then nothing behind it was read.
    LoadStatus read();
    bool is_unknown() const { return is_unknown_; }

 private:
    LoadStatus read_item(ZHandle item);
    LoadStatus read_comparison(ZHandle item);

    XfdCondition &condition_;
    const ZHandle element_;
    bool is_unknown_ = false;
};

LoadStatus ConditionReader::read() {
    for (const ZHandle item : XmlChildren(element_)) {
        const LoadStatus status = read_item(item);
        if (status != LoadStatus::kDone)
            return status;
    }
    return LoadStatus::kDone;
}

LoadStatus ConditionReader::read_item(ZHandle item) {
    const XmlValues values(item);
    switch (tag_among(item, XMLXFD_CONDITION_COMPARISON, XMLXFD_CONDITION_OR_2)) {
        case XMLXFD_CONDITION_COMPARISON:
            return read_comparison(item);
        case XMLXFD_CONDITION_VARIABLE:
            values.own_text(condition_.c_variable);
            stdz_name(condition_.c_variable, -3, kLowerCase);
            break;
        case XMLXFD_CONDITION_VALUE: {
            char value[kMaxValueText + 1];
            values.own_text(value);
            copy_text(condition_.c_value, unquoted(value));
            break;
        }
        case XMLXFD_CONDITION_TABLENAME:
            values.own_text(condition_.c_table, kMaxName);
            break;
        case XMLXFD_CONDITION_AND_1:
        case XMLXFD_CONDITION_OR_1:
            return read_operand(item, &condition_.c_num1);
        case XMLXFD_CONDITION_AND_2:
        case XMLXFD_CONDITION_OR_2:
            return read_operand(item, &condition_.c_num2);
        default:
            break;
    }
    return LoadStatus::kDone;
}

LoadStatus ConditionReader::read_comparison(ZHandle item) {
    char comparison[32];
    XmlValues(item).own_text(comparison);
    const int type = value_of(kComparisons, comparison, 0);
    if (type == 0) {
        is_unknown_ = true;
        reader.element = item;
        return refuse("its text must be eq, ne, gt, ge, lt, le, other, and, or, not '%s'",
                      comparison);
    }
    condition_.c_type = static_cast<int16_t>(type);
    if (type != XFD_COND_AND && type != XFD_COND_OR)
        condition_.c_num1 = condition_.c_num2 = -1;
    return LoadStatus::kDone;
}

LoadStatus load_conditions(Load &load, ZHandle section) {
    Xfd *xfd = load.xfd;
    XmlValues counts(section);
    const auto count = counts.number<uint16_t>(XMLXFD_CONDITION_COUNT);
    if (counts.status() != LoadStatus::kDone || count == 0)
        return counts.status();
    xfd->x_condition = allocate_cleared<XfdCondition>(count, "pxfd->x_condition", kSource);
    if (xfd->x_condition == nullptr)
        return out_of_memory();
    xfd->x_n_conditions = xfd->x_n_conditions_alloc = count;

    // A comparison of no known kind fails the load when it stands in the last
    // condition alone: one that is read to its end makes up for those before it.
    LoadStatus last = LoadStatus::kDone;
    for (const ZHandle child : XmlChildren(section)) {
        if (!is_element(child, XMLXFD_CONDITION))
            continue;
        XmlValues values(child);
        const auto number = values.number<uint16_t>(XMLXFD_CONDITION_NUMBER, count, 1);
        if (values.status() != LoadStatus::kDone)
            return values.status();
        XfdCondition &condition = xfd->x_condition[number - 1];
        condition = {};
        ConditionReader condition_reader(condition, child);
        last = condition_reader.read();
        if (last != LoadStatus::kDone && !condition_reader.is_unknown())
            return last;
    }
    if (last == LoadStatus::kDone)
        reader.message[0] = '\0';
    return last;
}

LoadStatus load_document(Load &load, ZHandle top) {
    Sections sections;
    LoadStatus status = find_sections(top, &sections);
    if (status == LoadStatus::kDone && sections.identification != 0)
        status = load_identification(load, sections.identification);
    // Keys that are declared and nowhere described have neither segments nor columns.
    if (status == LoadStatus::kDone && sections.keys != 0)
        status = load_keys(load, sections.keys);
    if (status == LoadStatus::kDone && sections.conditions != 0)
        status = load_conditions(load, sections.conditions);
    if (status == LoadStatus::kDone && !load.names.collect(load.xfd))
        status = out_of_memory();
    if (status == LoadStatus::kDone && sections.fields != 0)
        status = load_xml_fields(load, sections.fields);
    return status;
}

// What the XML library says of a document that it did not take.
LoadStatus parser_failure() {
    const int16_t code = *Zstdlib_f_errno();
    int32_t number = 0;
    const char *reason = ZxmlParser_error(&number);
    if (code == 14 || number == ZXML_NO_MEMORY || errno == ENOMEM) {
        errno = ENOMEM;
        return out_of_memory();
    }
    if (code == 0)
        return fail(LoadStatus::kMalformed,
                    "XFD file '%s' is not read again as XML: %s, error = %d", reader.path, reason,
                    errno);
    reader.told_code = code;
    reader.told_secondary = *Zstdlib_f_int_errno();
    if (code != 19) {
        errno = *Zstdlib_f_int2_errno();
        return fail(LoadStatus::kTold, "Read error on XFD file, error = %d", errno);
    }
    errno = 0;
    return fail(LoadStatus::kTold,
                "XFD file '%s', line %llu, column %llu: neither the text form nor XML: %s",
                reader.path, static_cast<unsigned long long>(xml::expat_place.line),
                static_cast<unsigned long long>(xml::expat_place.column), *Zstdlib_f_errmsg());
}

LoadStatus parse_and_load(Load &load) {
    *Zstdlib_f_int_errno() = 0;
    errno = 0;
    const OwnedParser parser(ZxmlParser_new(reader.path, kParserFlags, 0));
    if (!parser)
        return parser_failure();
    *Zstdlib_f_errno() = 0;
    errno = 0;
    const ZHandle top = ZxmlParser_top_element(parser.get());
    if (top == 0)
        return fail(LoadStatus::kMalformed, "XFD file '%s' has no top element", reader.path);
    const LoadStatus status = load_document(load, top);
    reader.element = 0;
    if (status == LoadStatus::kDone && f_trace > kDumpTraceLevel)
        ZxmlElem_dump(top, 0);
    return status;
}

}  // namespace

LoadStatus load_xml(Load &load) {
    load.lists_all = (load.flags & XFD_LOAD_LISTED_VIEW) != 0;
    const LoadStatus status = parse_and_load(load);
    if (status != LoadStatus::kDone && f_trace != 0)
        ZTrace(0, kTraceCategory, "%s", "Failed to parse XML file");
    return status;
}

}  // namespace fsi
