/* SPDX-License-Identifier: MIT
 *
 * Documents and elements written as XML text: to a file by name, to memory, or
 * piece by piece to a stream or string of the caller's.
 *
 * One element starts a line, its children are indented by two blanks, attributes
 * stand on lines of their own.  Values and attributes lose the blanks around them
 * unless XML_KEEP_WHITESPACE is 2 or 3, which is read once a document.  What the
 * output encoding cannot carry is written as a reference. */
#ifndef WBFSI_XML_WRITER_H
#define WBFSI_XML_WRITER_H

#include <stdint.h>

#include "host/handles.h"
#include "host/strings.h"
#include "wbfsi/api.h"

/* Flags of the writing functions. */
enum {
    ZXML_ESCAPE = 1, /* markup characters become references */
    ZXML_TRIM = 2    /* blanks at both ends are left out; with ZXML_ESCAPE alone */
};

/* A text to write. */
typedef struct ZxmlTextPiece {
    const char *text;
    int32_t length;    /* bytes; a zero byte ends it before */
    int32_t code_page; /* a type of charset.h: 2, UTF-8, for what the tree holds */
} ZxmlTextPiece;

WBFSI_BEGIN

/* Write to `target`, a ZString (appended to) or a ZFile, in an output encoding, a type
 * of charset.h: 3, 5 and 7 convert, others write the bytes as they are.  The result is
 * the number of bytes written; fewer than there are when the target took no more. */
WBFSI_API int32_t ZxmlElem_write_with_encoding(void *target, int32_t encoding_type,
                                               const ZxmlTextPiece *piece, uint32_t flags);

/* The same for a terminated text; newlines in it are written as they are. */
WBFSI_API int32_t ZxmlElem_write_ascii(void *target, int32_t encoding_type, const char *text,
                                       uint32_t flags);

/* One newline. */
WBFSI_API int32_t ZxmlElem_write_newline(void *target, int32_t encoding_type);

/* An element with all below it, `indent` blanks in front.  Nothing for a bad handle,
 * which sets error 6.  The result means nothing. */
WBFSI_API int ZxmlElem_write(void *target, int32_t encoding_type, ZHandle element, int32_t indent);

/* Lists what is below an element on the host's error output. */
WBFSI_API void ZxmlElem_dump(ZHandle element, int32_t level);

/* Writes a document to a file in its own encoding; with `comment` not 0 a comment
 * behind the declaration tells name and date.  1; 0 with the parser's error 1, 5 (bad
 * handle) or 3 (the file cannot be opened).  ZxmlParser_write writes the comment. */
WBFSI_API int ZxmlParser_write_file(ZHandle parser, const char *file_name, uint8_t comment);
WBFSI_API int ZxmlParser_write(ZHandle parser, const char *file_name);

/* The same in a new string, without that comment; the caller's to delete.  Null with
 * the parser's error 5 or 1. */
WBFSI_API ZString ZxmlParser_write_memory(ZHandle parser);

WBFSI_END

#endif
