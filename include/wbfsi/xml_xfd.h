/* SPDX-License-Identifier: MIT
 *
 * The names of a dictionary in XML form.  docs/formats/xml-xfd.md describes the
 * document, load.h reads it. */
#ifndef WBFSI_XML_XFD_H
#define WBFSI_XML_XFD_H

#include "wbfsi/api.h"

/* Indexes into xmlxfd_tags.  What is indented is found in what stands above it; a
 * comment says whether it is an element or an attribute. */
enum {
    XMLXFD_XFDFILE, /* the top element, whatever its name really is */
    /* element, with one attribute */
    XMLXFD_IDENTIFICATION,
    XMLXFD_VERSION,
    /*   elements */
    XMLXFD_SELECT_NAME,
    XMLXFD_TABLE_NAME,
    XMLXFD_FILE_ORGANIZATION,
    XMLXFD_COBOL_TRIGGER,
    XMLXFD_MAXIMUM_RECORD_SIZE,
    XMLXFD_MINIMUM_RECORD_SIZE,
    XMLXFD_NUMBER_OF_KEYS,
    XMLXFD_SIGN_COMPATIBILITY,
    XMLXFD_MAXIMUM_NUMERIC_DIGITS,
    XMLXFD_PERIOD_CHARACTER,
    XMLXFD_COMMA_CHARACTER,
    XMLXFD_ALPHABET,
    /* element */
    XMLXFD_KEYS,
    /*   element, with two attributes */
    XMLXFD_KEY,
    XMLXFD_SEGMENT_COUNT,
    XMLXFD_DUPLICATES_ALLOWED,
    /*     element */
    XMLXFD_SEGMENTS,
    /*       element, with two attributes */
    XMLXFD_SEGMENT,
    XMLXFD_SEGMENT_SIZE,
    XMLXFD_SEGMENT_OFFSET,
    /*     element, with one attribute */
    XMLXFD_KEY_COLUMNS,
    XMLXFD_KEY_COLUMN_COUNT,
    /*       element, with one attribute */
    XMLXFD_KEY_COLUMN,
    XMLXFD_KEY_COLUMN_NAME,
    /* element, with one attribute */
    XMLXFD_CONDITIONS,
    XMLXFD_CONDITION_COUNT,
    /*   element, with one attribute */
    XMLXFD_CONDITION,
    XMLXFD_CONDITION_NUMBER,
    /*     elements */
    XMLXFD_CONDITION_COMPARISON,
    XMLXFD_CONDITION_VARIABLE,
    XMLXFD_CONDITION_VALUE,
    XMLXFD_CONDITION_TABLENAME,
    XMLXFD_CONDITION_AND_1,
    XMLXFD_CONDITION_AND_2,
    XMLXFD_CONDITION_OR_1,
    XMLXFD_CONDITION_OR_2,
    /* element, with four attributes */
    XMLXFD_FIELDS,
    XMLXFD_ELEMENTARY_ITEMS,
    XMLXFD_ELEMENTARY_ITEMS_WITH_OCCURS,
    XMLXFD_TOTAL_ITEMS,
    XMLXFD_TOTAL_ITEMS_WITH_OCCURS,
    /*   element, with twelve attributes */
    XMLXFD_FIELD,
    XMLXFD_FIELD_OFFSET,
    XMLXFD_FIELD_BYTES,
    XMLXFD_FIELD_TYPE,
    XMLXFD_FIELD_LENGTH,
    XMLXFD_FIELD_SCALE,
    XMLXFD_FIELD_USER_FLAGS,
    XMLXFD_FIELD_CONDITION,
    XMLXFD_FIELD_LEVEL,
    XMLXFD_FIELD_NAME,
    XMLXFD_FIELD_DATE_FORMAT,
    XMLXFD_FIELD_NULL_VALUE,
    XMLXFD_FIELD_IS_IDENTITY,
    /*   element, with three attributes; within it fields and further groups */
    XMLXFD_FIELD_OCCURS,
    XMLXFD_OCCURS_COUNT,
    XMLXFD_OCCURS_SIZE,
    XMLXFD_OCCURS_SUBTABLE,
    XMLXFD_TAG_COUNT
};

WBFSI_BEGIN

/* The names, terminated ASCII texts such as "xfd:field"; they live for ever. */
WBFSI_API extern const char *const xmlxfd_tags[XMLXFD_TAG_COUNT];

WBFSI_END

#endif
