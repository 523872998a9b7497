/* SPDX-License-Identifier: MIT
 *
 * What lies under a parser of xml_parser.h, for a run-time that feeds XML text
 * itself: one expat parser, the text that waits for it, and what its events have
 * made so far. */
#ifndef WBFSI_XML_EXPAT_H
#define WBFSI_XML_EXPAT_H

#include <stdint.h>

#include "host/containers.h"
#include "host/files.h"
#include "host/handles.h"
#include "host/strings.h"
#include "wbfsi/api.h"

/* Bits of ZxmlExpatState.state_bits. */
enum {
    ZXML_IN_DOCTYPE = 1, /* and behind it */
    ZXML_DOCTYPE_ENDED = 2,
    ZXML_MARK_CHECKED = 8, /* the byte-order mark was looked for */
    ZXML_IN_CDATA = 16,
    ZXML_HAD_CDATA = 32, /* in the current element */
    ZXML_KEEP_BLANKS = 64
};

/* Bytes that are read from a file at a time; the buffer has one more. */
enum { ZXML_BUFFER_SIZE = 32000 };

/* The library's to write, but for position and end of a document in memory. */
typedef struct ZxmlExpatState {
    struct XML_ParserStruct *parser; /* null: an empty document */
    uint32_t flags;                  /* ZXML_... of xml_parser.h */
    char *version;                   /* of the XML declaration, or null */
    char *encoding;                  /* likewise */
    char *buffer;
    const char *position;   /* next byte that was not parsed */
    const char *end;        /* of the bytes there are */
    int32_t encoding_type;  /* of charset.h; -1 until it is known */
    uint32_t element_depth; /* open elements */
    int32_t standalone;     /* of the XML declaration, -1 when it says nothing; 0 without one */
    ZArray *instructions;   /* pairs of ZString, target and data */
    ZHandle top_element;
    ZHandle current_element;  /* the innermost open one */
    ZHash *element_hash;      /* of ZxmlHashNode, or null */
    ZTTree *models;           /* of XML_Content, or null */
    ZString top_comments;     /* a piece each */
    ZString pending_comments; /* wait for the next element */
    ZString doctype_name;
    ZString doctype_text;
    ZString public_id;
    ZString system_id;
    uint32_t state_bits; /* ZXML_... above */
} ZxmlExpatState;

WBFSI_BEGIN

/* A parser that the flags steer; the caller's to destroy.  Null with f_errno 14. */
WBFSI_API ZxmlExpatState *expat_create_parser(uint32_t flags);

/* Frees all that the state owns, the tree of the top element too.  Null is
 * accepted. */
WBFSI_API void expat_destroy_parser(ZxmlExpatState *state);

/* Parse what is buffered and then what the file gives: all of it, or up to and with
 * the next ">".  A null file: what is buffered is all.  f_errno is 0 when there is
 * more, 8 at the end, 19 after an XML error (int_errno 5, int2_errno expat's code,
 * errmsg its text), 14 without memory, 1 when the file cannot be read (int2_errno
 * is errno).  Once ended, each says the same again and feeds nothing.  Behind a record
 * of ZxmlParser_parse_record they go on where it ended, the second one no further
 * than to the end of the next record when that is already read. */
WBFSI_API void parse_to_end_of_file(ZxmlExpatState *state, ZFile *file);
WBFSI_API void parse_to_next_greaterthan(ZxmlExpatState *state, ZFile *file);

/* Lists a state and its elements on the host's error output, as ZxmlParser_dump. */
WBFSI_API void dump_parser(ZxmlExpatState *state);

WBFSI_END

#endif
