/* SPDX-License-Identifier: MIT
 *
 * The elements of an XML document: a tree of handles that COBOL programs build,
 * read and change.  xml_parser.h makes trees of documents, xml_writer.h documents
 * of trees.
 *
 *     ZHandle order = ZxmlElem_new(0, "order", -1, 0);
 *     ZHandle item = ZxmlElem_add_child(order, "item", -1);
 *     ZxmlElem_set_value(item, text, length);
 *     ZxmlElem_delete(order);
 *
 * Texts given are in the program's character set, a pointer and a length in bytes,
 * negative for up to the zero byte, which ends them in any case; null is empty.  They
 * are kept as UTF-8, and must not lie in xml_scratch.  Texts fetched come
 * back in the program's character set by two calls: with buffer null and size 0 the
 * result is the length in bytes, terminator not counted; with a buffer of that
 * length and one more the text and a zero byte are in it.  At most size bytes are
 * written.
 *
 * Repeated elements.  Of siblings with one name each has an occurrence number, in
 * the order in which they were made, from 1.  The number stands in the array indices
 * of the element and, at the same level, of all elements below it, so that a program
 * addresses items (2, 3) as it would with subscripts.  An array depth of -1 means
 * that nothing repeats above or at the element; else it is the highest level.
 * Deleting elements renumbers nothing.
 *
 * A bad handle, one that is no live element, sets error 6.  No memory sets 1.
 * Success leaves the error number as it was. */
#ifndef WBFSI_XML_ELEMENT_H
#define WBFSI_XML_ELEMENT_H

#include <stdint.h>

#include "host/handles.h"
#include "wbfsi/api.h"

/* Error numbers of elements and of documents; the texts are those of
 * ZxmlElem_error and ZxmlParser_error. */
enum {
    ZXML_OK = 0,
    ZXML_NO_MEMORY = 1,
    ZXML_EXPAT = 2,
    ZXML_CANNOT_OPEN = 3,
    ZXML_INVALID = 4, /* the document */
    ZXML_BAD_PARSER = 5,
    ZXML_BAD_ELEMENT = 6,
    ZXML_BAD_ATTRIBUTE = 7,
    ZXML_NO_URL = 8,
    ZXML_NO_PARSER = 9,
    ZXML_NO_CHILDREN = 10,
    ZXML_NO_SIBLINGS = 11,
    ZXML_TOP_LEVEL = 12,
    ZXML_NO_VALUE = 13,
    ZXML_NO_ATTRIBUTES = 14,
    ZXML_REGEXP = 15,
    ZXML_HAS_TOP = 16,
    ZXML_BAD_INSTRUCTION = 17,
    ZXML_NO_INSTRUCTIONS = 18
};

WBFSI_BEGIN

/* A new element.
 *   parent  the element it becomes a child of; 0, or any bad handle: a top-level
 *           element, which sets error 6 although it succeeds; of a bad handle
 *           ZxmlElem_parent gives the number back
 *   before  the child of the parent that it is put in front of; 0, 0xFFFFFFFF and
 *           a handle that is no child of it: behind the last
 * A null name is empty.  Returns the handle, the caller's or its ancestors' to
 * delete; 0 with error 1. */
WBFSI_API ZHandle ZxmlElem_new(ZHandle parent, const char *name, int32_t length, ZHandle before);

/* The last child of `parent`, as ZxmlElem_new. */
WBFSI_API ZHandle ZxmlElem_add_child(ZHandle parent, const char *name, int32_t length);

/* A sibling right behind the element.  0 with error 16 for a top-level element, with
 * 6 for a bad handle.  Behind a last sibling error 11 is left though it succeeds. */
WBFSI_API ZHandle ZxmlElem_add_sibling(ZHandle element, const char *name, int32_t length);

/* Deletes an element with all below it.  1; 0 for a bad handle. */
WBFSI_API int ZxmlElem_delete(ZHandle element);

/* 1 for a live element, else 0; sets no error. */
WBFSI_API int ZxmlElem_is_element(ZHandle handle);

/* A pointer of the caller's that goes with the element; it is set once and neither
 * followed nor freed.  1 when it was stored; 0 for a bad handle and when there is one
 * already, or with error 1.  A null pointer is none. */
WBFSI_API int ZxmlElem_set_user_data(ZHandle element, void *data);
WBFSI_API void *ZxmlElem_user_data(ZHandle element);

/* A neighbour in the tree, in document order; 0 with error 10 (no children), 11 (no
 * sibling there) and 12 (top-level). */
WBFSI_API ZHandle ZxmlElem_first_child(ZHandle element);
WBFSI_API ZHandle ZxmlElem_next_sibling(ZHandle element);
WBFSI_API ZHandle ZxmlElem_prev_sibling(ZHandle element);
WBFSI_API ZHandle ZxmlElem_parent(ZHandle element);

/* The name.  Its length; -1 for a bad handle. */
WBFSI_API int32_t ZxmlElem_name(ZHandle element, char *buffer, int32_t size);

/* Compares what is stored, UTF-8, with a terminated text byte by byte: below, equal to
 * or above 0 as strcmp and, with ignore_case not 0, strcasecmp (ASCII letters) do.
 *   n  at most so many bytes are compared; negative: all
 * A part that is absent compares as the empty text.  -1 for a bad handle and for an
 * attribute number out of range, which sets no error. */
WBFSI_API int ZxmlElem_name_compare(ZHandle element, const char *text, uint8_t ignore_case,
                                    int32_t n);
WBFSI_API int ZxmlElem_value_compare(ZHandle element, const char *text, uint8_t ignore_case,
                                     int32_t n);
WBFSI_API int ZxmlElem_attribute_name_compare(ZHandle element, uint32_t number, const char *text,
                                              uint8_t ignore_case, int32_t n);
WBFSI_API int ZxmlElem_attribute_value_compare(ZHandle element, uint32_t number, const char *text,
                                               uint8_t ignore_case, int32_t n);

/* The value, the character data of the element itself.  Its length; -1 with error 13
 * when there is none. */
WBFSI_API int32_t ZxmlElem_value(ZHandle element, char *buffer, int32_t size);

/* The value as strtol reads it, base 10; 0 with error 13 without a value, 0 for a bad
 * handle. */
WBFSI_API int32_t ZxmlElem_value_i(ZHandle element);

/* Sets the value; a null text is "<null>".  1 when it is the text now.  With a negative
 * length a text that the value begins with, or is, changes nothing and gives 0: it does
 * not shorten the value as the same text with its length does.  0 with error 1 without
 * memory. */
WBFSI_API int ZxmlElem_set_value(ZHandle element, const char *text, int32_t length);

/* Appends to the value.  With keep_blanks 0 the first text loses the blanks around it,
 * and one of blanks alone is not stored; later ones are kept whole.  1, also when
 * nothing was stored; 0 for a bad handle and with error 1. */
WBFSI_API int ZxmlElem_append_value(ZHandle element, const char *text, int32_t length,
                                    uint8_t keep_blanks);

/* The array depth, -1 for none; -1 for a bad handle. */
WBFSI_API int32_t ZxmlElem_array_depth(ZHandle element);

/* The occurrence number at a level, 0 .. array depth; -1 for any other level, without
 * an error, and for a bad handle. */
WBFSI_API int32_t ZxmlElem_array_index(ZHandle element, int32_t level);

/* Attributes are numbered from 0 in the order in which they were added; deleting one
 * moves the later ones down.
 * The count: 0 with error 14 for an element that never had one. */
WBFSI_API int32_t ZxmlElem_attribute_count(ZHandle element);

/* Name and value of an attribute: their lengths; -1 with error 7 for a number out of
 * range. */
WBFSI_API int32_t ZxmlElem_attribute_name(ZHandle element, uint32_t number, char *buffer,
                                          int32_t size);
WBFSI_API int32_t ZxmlElem_attribute_value(ZHandle element, uint32_t number, char *buffer,
                                           int32_t size);

/* The value as strtol reads it, base 10; 0 with error 7 for a number out of range, -1
 * for a bad handle. */
WBFSI_API int32_t ZxmlElem_attribute_value_i(ZHandle element, uint32_t number);

/* Adds an attribute, also one of a name that is there already.  The new count, so that
 * its number is one less; 0 for a bad handle and with error 1. */
WBFSI_API int32_t ZxmlElem_add_attribute(ZHandle element, const char *name, int32_t name_length,
                                         const char *value, int32_t value_length);

/* Replaces the value of an attribute.  1; 0 for a bad handle, with error 1, and for a
 * number out of range, which sets none. */
WBFSI_API int ZxmlElem_modify_attribute(ZHandle element, uint32_t number, const char *value,
                                        int32_t length);

/* 1; 0 with error 7 for a number out of range. */
WBFSI_API int ZxmlElem_delete_attribute(ZHandle element, uint32_t number);

/* Comments of an element: appended one to the other with nothing between (1; 0 with
 * error 1), fetched together (their length; -1 without, which sets no error), deleted
 * all. */
WBFSI_API int ZxmlElem_append_comment(ZHandle element, const char *text, int32_t length);
WBFSI_API int32_t ZxmlElem_get_comment(ZHandle element, char *buffer, int32_t size);
WBFSI_API int ZxmlElem_delete_comment(ZHandle element);

/* The text of the error that an element function set last; its number goes to *number
 * unless that is null.  The text is static. */
WBFSI_API const char *ZxmlElem_error(int32_t *number);

/* The buffer that texts pass through between the program's character set and UTF-8;
 * null and 0 until it is used and after the last parser was released. */
WBFSI_API extern char *xml_scratch;
WBFSI_API extern int32_t xml_scratchlen;

/* Leaves a buffer that is longer than n bytes as it is, and makes any other exactly n
 * bytes long.  1; 0 when memory is refused, and the buffer is gone then, and always for
 * n of 0 and less, which leaves it. */
WBFSI_API int validate_scratch(int32_t n);

WBFSI_END

#endif
