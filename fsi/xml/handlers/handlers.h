// SPDX-License-Identifier: MIT
//
// The event handlers that are put into an expat parser, one group a source.
#ifndef FSI_XML_HANDLERS_HANDLERS_H
#define FSI_XML_HANDLERS_HANDLERS_H

#include "fsi/xml/handlers/state.h"

namespace fsi::xml {

constexpr int kTraceCategory = 8;

// element_handlers.cpp: elements with their attributes, and what waits for them.
void XMLCALL on_start_element(void *parser, const XML_Char *name, const XML_Char **attributes);
void XMLCALL on_end_element(void *parser, const XML_Char *name);

// text_handlers.cpp: values.
void XMLCALL on_text(void *parser, const XML_Char *text, int length);
void XMLCALL on_start_cdata(void *parser);
void XMLCALL on_end_cdata(void *parser);
// Any other event: the run of text is over.
void end_run(State *state);

// prolog_handlers.cpp: what stands around the top element, and comments.
void XMLCALL on_declaration(void *parser, const XML_Char *version, const XML_Char *encoding,
                            int standalone);
void XMLCALL on_instruction(void *parser, const XML_Char *target, const XML_Char *data);
void XMLCALL on_comment(void *parser, const XML_Char *text);

// doctype_handlers.cpp: the DOCTYPE and its internal subset.
void XMLCALL on_start_doctype(void *parser, const XML_Char *name, const XML_Char *system_id,
                              const XML_Char *public_id, int has_subset);
void XMLCALL on_end_doctype(void *parser);
void XMLCALL on_default(void *parser, const XML_Char *text, int length);
void XMLCALL on_element_declaration(void *parser, const XML_Char *name, XML_Content *model);

// traced_handlers.cpp: declarations that are only traced.
int XMLCALL on_external_entity(XML_Parser parser, const XML_Char *context, const XML_Char *base,
                               const XML_Char *system_id, const XML_Char *public_id);
void XMLCALL on_attribute_list(void *parser, const XML_Char *element, const XML_Char *attribute,
                               const XML_Char *type, const XML_Char *value, int is_required);
void XMLCALL on_entity(void *parser, const XML_Char *name, int is_parameter, const XML_Char *value,
                       int length, const XML_Char *base, const XML_Char *system_id,
                       const XML_Char *public_id, const XML_Char *notation);
void XMLCALL on_unparsed_entity(void *parser, const XML_Char *name, const XML_Char *base,
                                const XML_Char *system_id, const XML_Char *public_id,
                                const XML_Char *notation);
void XMLCALL on_notation(void *parser, const XML_Char *name, const XML_Char *base,
                         const XML_Char *system_id, const XML_Char *public_id);

// encodings.cpp: the two encodings that expat does not know itself.
int XMLCALL on_unknown_encoding(void *data, const XML_Char *name, XML_Encoding *info);

}  // namespace fsi::xml

#endif
