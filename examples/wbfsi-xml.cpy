*> SPDX-License-Identifier: MIT
*>
*> The numbers of the XML functions, by the names that the C headers give them, with
*> "-" for "_".  docs/api/cobol.md has the calls.

*> Errors of elements and documents: ZxmlElem_error, ZxmlParser_error.
78  ZXML-OK                         value 0.
78  ZXML-NO-MEMORY                  value 1.
78  ZXML-EXPAT                      value 2.
78  ZXML-CANNOT-OPEN                value 3.
78  ZXML-INVALID                    value 4.
78  ZXML-BAD-PARSER                 value 5.
78  ZXML-BAD-ELEMENT                value 6.
78  ZXML-BAD-ATTRIBUTE              value 7.
78  ZXML-NO-URL                     value 8.
78  ZXML-NO-PARSER                  value 9.
78  ZXML-NO-CHILDREN                value 10.
78  ZXML-NO-SIBLINGS                value 11.
78  ZXML-TOP-LEVEL                  value 12.
78  ZXML-NO-VALUE                   value 13.
78  ZXML-NO-ATTRIBUTES              value 14.
78  ZXML-REGEXP                     value 15.
78  ZXML-HAS-TOP                    value 16.
78  ZXML-BAD-INSTRUCTION            value 17.
78  ZXML-NO-INSTRUCTIONS            value 18.

*> Flags of ZxmlParser_new and expat_create_parser; their sum says what is looked at.
78  ZXML-NAMES-LOWER                value 1.
78  ZXML-NAMES-UPPER                value 2.
78  ZXML-WHOLE                      value 4.
78  ZXML-ELEMENTS                   value 8.
78  ZXML-TEXT                       value 16.
78  ZXML-INSTRUCTIONS               value 32.
78  ZXML-COMMENTS                   value 64.
78  ZXML-CDATA                      value 128.
78  ZXML-DEFAULT                    value 256.
78  ZXML-EXTERNAL-ENTITIES          value 512.
78  ZXML-DOCTYPE                    value 2048.
78  ZXML-ELEMENT-DECLARATIONS       value 4096.
78  ZXML-ATTRIBUTE-LISTS            value 8192.
78  ZXML-ENTITIES                   value 16384.
78  ZXML-UNPARSED-ENTITIES          value 32768.
78  ZXML-NOTATIONS                  value 65536.
78  ZXML-HASH                       value 131072.
78  ZXML-DECLARATION                value 262144.
*> What most programs want, and the same read whole.
78  ZXML-READ-USUAL                 value 264440.
78  ZXML-READ-WHOLE                 value 264444.

*> Flags of the functions that write pieces.
78  ZXML-ESCAPE                     value 1.
78  ZXML-TRIM                       value 2.

*> Encodings, by their type.
78  ZXML-UTF-8                      value 2.
78  ZXML-UTF-16LE                   value 3.
78  ZXML-UTF-16BE                   value 5.
78  ZXML-ISO-8859-1                 value 7.

*> State bits and buffer of a parser that is fed piece by piece.
78  ZXML-IN-DOCTYPE                 value 1.
78  ZXML-DOCTYPE-ENDED              value 2.
78  ZXML-MARK-CHECKED               value 8.
78  ZXML-IN-CDATA                   value 16.
78  ZXML-HAD-CDATA                  value 32.
78  ZXML-KEEP-BLANKS                value 64.
78  ZXML-BUFFER-SIZE                value 32000.

*> File errors, what Zstdlib_f_errno points at: the system's (a file that cannot be
*> read), the end of the document, no memory, an error in the document.
78  FILE-ERROR-SYSTEM               value 1.
78  FILE-ERROR-END                  value 8.
78  FILE-ERROR-NO-MEMORY            value 14.
78  FILE-ERROR-XML                  value 19.
