/* SPDX-License-Identifier: MIT
 *
 * Documents and elements written as XML text: to a file by name, to memory, or
 * piece by piece to a stream or string of the caller's.
 *
 *     ZxmlParser_write(parser, "orders.xml");
 *     ZString text = ZxmlParser_write_memory(parser);
 *
 * An element starts a line, its children are indented by two blanks, attributes stand
 * on lines of their own.  Values and attributes lose the blanks around them unless
 * XML_KEEP_WHITESPACE is 2 or 3, which is read once a document; markup characters in
 * them, and control characters, newlines among them, become references.
 *
 * A document is written in the encoding that it declares.  Characters of its values and
 * attributes that the encoding cannot carry become references to their code points; a
 * document that declares none is UTF-8.  What was read and is written reads as the same
 * document, but for blanks around texts and comments, entities, which are their texts
 * then, CDATA sections, and the system id of a DOCTYPE without a public one or with an
 * internal subset.
 *
 * Nothing here recurses: deep trees need no deep stack. */
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

/* Writes a text to `target`, a ZString (appended to) or a ZFile; null takes nothing.
 *   encoding_type  a type of charset.h: 3 and 5 (UTF-16) and 7 (ISO-8859-1) convert,
 *                  from UTF-8; others write the bytes as they are: -1, 0 and 2 up to the
 *                  first zero byte, 1, 4, 6 and numbers that are no type all of them
 *   piece          null, or one without a text, is empty; a negative length: up to the
 *                  zero byte; the text does not lie in `target`
 *   flags          ZXML_...; escaped text ends at a zero byte.  Without ZXML_ESCAPE a
 *                  character that type 7 does not have becomes "?", with it a reference;
 *                  type 0 writes bytes from 127 on that are no character of several as
 *                  references
 * Returns the bytes that the target took: fewer than there are when a stream took no
 * more or memory for a string was refused. */
WBFSI_API int32_t ZxmlElem_write_with_encoding(void *target, int32_t encoding_type,
                                               const ZxmlTextPiece *piece, uint32_t flags);

/* The same for a terminated text in UTF-8, its lines one by one: newlines are never
 * escaped, and with ZXML_TRIM each line loses the blanks around it. */
WBFSI_API int32_t ZxmlElem_write_ascii(void *target, int32_t encoding_type, const char *text,
                                       uint32_t flags);

/* One newline. */
WBFSI_API int32_t ZxmlElem_write_newline(void *target, int32_t encoding_type);

/* An element with all below it, `indent` blanks in front of its lines (negative: none).
 * A comment of the element goes in front; hyphens in it are kept apart by blanks.  With
 * indent 0 the next element reads XML_KEEP_WHITESPACE anew.
 * 1, whatever the target took; 0 for a bad handle, which sets error 6. */
WBFSI_API int ZxmlElem_write(void *target, int32_t encoding_type, ZHandle element, int32_t indent);

/* Lists what is below an element on the host's error output, a line each with `level`
 * blanks in front and one more for each level down (the sign does not count; at least
 * one blank, at most a million): handle, name, occurrence numbers,
 * value; attributes on lines of their own.  In place of an attribute's name stands the
 * text before it.  Elements without a name are left out with all below.  A bad handle
 * sets error 6. */
WBFSI_API void ZxmlElem_dump(ZHandle element, int32_t level);

/* Writes a document to a file in its own encoding; an existing one is replaced.
 *   file_name  in the program's character set; null is refused as without memory
 *   comment    not 0: a comment behind the declaration tells the name and today's date;
 *              reading drops it again
 * 1 once the file is open, also when the disk took no more; 0 with the parser's error 1,
 * 5 (bad handle, no file is touched) or 3 (the file cannot be opened; errno tells why).
 * ZxmlParser_write writes the comment. */
WBFSI_API int ZxmlParser_write_file(ZHandle parser, const char *file_name, uint8_t comment);
WBFSI_API int ZxmlParser_write(ZHandle parser, const char *file_name);

/* The same in a new string, without that comment; the caller's to delete.  Null with
 * the parser's error 5, and 1 when there is not memory for all of it. */
WBFSI_API ZString ZxmlParser_write_memory(ZHandle parser);

WBFSI_END

#endif
