/* SPDX-License-Identifier: MIT
 *
 * XML documents: read whole or record by record from a file, standard input or
 * memory, or built from nothing; their prolog; their tree of elements
 * (xml_element.h).  xml_writer.h writes them.
 *
 *     ZHandle parser = ZxmlParser_new("orders.xml", ZXML_READ_USUAL, 0);
 *     while (ZxmlParser_parse_record(parser)) {
 *         ZHandle order = ZxmlElem_first_child(ZxmlParser_top_element(parser));
 *         ...
 *         ZxmlElem_delete(order);
 *     }
 *     if (*Zstdlib_f_errno() != 8) ...  // 8 is the end of the document
 *     ZxmlParser_release(parser);
 *
 * A handle that is no live parser sets error 5.  XML errors leave f_errno 19, the
 * interface code 5, expat's code in the second one and expat's text in f_errmsg. */
#ifndef WBFSI_XML_PARSER_H
#define WBFSI_XML_PARSER_H

#include <stdint.h>

#include "host/containers.h"
#include "host/handles.h"
#include "wbfsi/api.h"
#include "wbfsi/xml_element.h"

/* Flags of ZxmlParser_new and expat_create_parser. */
enum {
    ZXML_NAMES_LOWER = 1, /* element names in lower case, "-" as "_"; not with the next */
    ZXML_NAMES_UPPER = 2,
    ZXML_WHOLE = 4, /* read the whole document at once */
    ZXML_ELEMENTS = 8,
    ZXML_TEXT = 16, /* with ZXML_ELEMENTS: text that no element takes ends the parse (35) */
    ZXML_INSTRUCTIONS = 32,
    ZXML_COMMENTS = 64,
    ZXML_CDATA = 128,
    ZXML_DEFAULT = 256,
    ZXML_EXTERNAL_ENTITIES = 512, /* traced, never loaded: their text is not there */
    ZXML_DOCTYPE = 2048,
    ZXML_ELEMENT_DECLARATIONS = 4096,
    ZXML_ATTRIBUTE_LISTS = 8192, /* this and the next three: traced */
    ZXML_ENTITIES = 16384,
    ZXML_UNPARSED_ENTITIES = 32768,
    ZXML_NOTATIONS = 65536,
    ZXML_HASH = 131072, /* keep a hash of the elements by name */
    ZXML_DECLARATION = 262144,

    /* what most programs want: the tree, and a prolog that can be written again */
    ZXML_READ_USUAL = ZXML_ELEMENTS | ZXML_TEXT | ZXML_INSTRUCTIONS | ZXML_COMMENTS | ZXML_CDATA |
                      ZXML_DOCTYPE | ZXML_DECLARATION
};

/* What the element hash holds: an element, and the next one of the same name in
 * document order.  Also the user data of the element.  An element that was deleted
 * leaves 0. */
typedef struct ZxmlHashNode {
    char *name;
    ZHandle element;
    struct ZxmlHashNode *next;
} ZxmlHashNode;

WBFSI_BEGIN

/* Opens a document.
 *   source  null: an empty document; a text that begins with "<?xml ", in any case:
 *           the document itself, which stays where it is until it was read; "-":
 *           standard input; else the name of a file
 *   flags   ZXML_...
 *   length  bytes of a document in memory, negative for up to the zero byte
 * Reads up to the start of the top element or, with ZXML_WHOLE, all.  Returns the
 * parser, the caller's to release; 0 with error 1, 3 (cannot be opened) or 4 (not
 * well formed). */
WBFSI_API ZHandle ZxmlParser_new(const char *source, uint32_t flags, int32_t length);

/* Frees the document, tree and all.  1; 0 with error 5.  The last one frees the
 * scratch buffer. */
WBFSI_API int ZxmlParser_release(ZHandle parser);

/* 1 for a live parser, else 0; sets no error. */
WBFSI_API int ZxmlParser_is_parser(ZHandle handle);

/* The parser whose tree an element is in; 0 for none. */
WBFSI_API ZHandle ZxmlParser_of_element(ZHandle element);

/* Reads the next record, a child of the top element with all below it.  1; 0 at the
 * end (f_errno 8) and after an error, then again on every call.  The end is that of the
 * top element: what stands behind it is not read.  Records read before stay in the
 * tree; the element hash holds the elements of the last one alone. */
WBFSI_API int ZxmlParser_parse_record(ZHandle parser);

/* The innermost open element, and the top element; 0 for none. */
WBFSI_API ZHandle ZxmlParser_current(ZHandle parser);
WBFSI_API ZHandle ZxmlParser_top_element(ZHandle parser);

/* Makes the top element; 0 with error 16 when there is one. */
WBFSI_API ZHandle ZxmlParser_set_top_element(ZHandle parser, const char *name, int32_t length);

/* The XML declaration.  Texts are the parser's, valid until they are set again, null
 * when there is none; setting copies (1; 0 with error 1).  Setting an encoding, by a
 * name that the host knows, stores its canonical name; an unknown one leaves none.
 * Standalone is 0 for "no", 1 for "yes", anything else is not written. */
WBFSI_API const char *ZxmlParser_get_version(ZHandle parser);
WBFSI_API int ZxmlParser_set_version(ZHandle parser, const char *version);
WBFSI_API const char *ZxmlParser_get_encoding(ZHandle parser);
WBFSI_API int ZxmlParser_set_encoding(ZHandle parser, const char *name);
WBFSI_API int32_t ZxmlParser_get_standalone(ZHandle parser);
WBFSI_API int ZxmlParser_set_standalone(ZHandle parser, int32_t standalone);

/* The internal subset of the DOCTYPE as read, with the line that the DOCTYPE stands in
 * in front of it, and what stands for it when it is written: length, 0 when there is
 * none, also when the DOCTYPE has no internal subset; 1. */
WBFSI_API int32_t ZxmlParser_get_raw_doctype(ZHandle parser, char *buffer, int32_t size);
WBFSI_API int ZxmlParser_set_raw_doctype(ZHandle parser, const char *text, int32_t length);

/* Processing instructions, numbered from 0.  The count is one more than their number;
 * 0 with error 18 when there are none.  Fetching gives the length, -1 with error 18 or
 * 17 (no such number); setting stores a pair at a number
 * below 1000000 and frees the one that was there (1; 0 with error 1 or 17);
 * deleting moves later ones down (1; 0 with error 18 or 17). */
WBFSI_API int32_t ZxmlParser_processing_instruction_count(ZHandle parser);
WBFSI_API int32_t ZxmlParser_get_processing_instruction_target(ZHandle parser, uint32_t number,
                                                               char *buffer, int32_t size);
WBFSI_API int32_t ZxmlParser_get_processing_instruction_data(ZHandle parser, uint32_t number,
                                                             char *buffer, int32_t size);
WBFSI_API int ZxmlParser_set_processing_instruction(ZHandle parser, uint32_t number,
                                                    const char *target, int32_t target_length,
                                                    const char *data, int32_t data_length);
WBFSI_API int ZxmlParser_delete_processing_instruction(ZHandle parser, uint32_t number);

/* Comments outside the top element: appended with nothing between (1; 0 with error 1),
 * fetched together (length, -1 without), deleted all. */
WBFSI_API int ZxmlParser_append_comment(ZHandle parser, const char *text, int32_t length);
WBFSI_API int32_t ZxmlParser_get_comment(ZHandle parser, char *buffer, int32_t size);
WBFSI_API int ZxmlParser_delete_comment(ZHandle parser);

/* expat's content models of the element declarations, by element name in lower case;
 * and the element hash, whose entries are ZxmlHashNode.  Both are the parser's; null
 * when there is none. */
WBFSI_API ZTTree *ZxmlParser_models(ZHandle parser);
WBFSI_API ZHash *ZxmlParser_get_hash(ZHandle parser);

/* The text of the error that a parser function set last, its number in *number. */
WBFSI_API const char *ZxmlParser_error(int32_t *number);

/* Lists the document on the host's error output. */
WBFSI_API void ZxmlParser_dump(ZHandle parser);

WBFSI_END

#endif
