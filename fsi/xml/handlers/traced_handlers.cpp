// SPDX-License-Identifier: MIT
//
// Declarations that change nothing: they are traced.
#include "fsi/xml/handlers/handlers.h"
#include "host/messages.h"

namespace fsi::xml {
namespace {

const char *shown(const XML_Char *text) {
    return text == nullptr ? "(none)" : text;
}

}  // namespace

// Success without loading anything: the document goes on as if it were empty.
int XMLCALL on_external_entity(XML_Parser, const XML_Char *context, const XML_Char *base,
                               const XML_Char *system_id, const XML_Char *public_id) {
    if (f_trace != 0) {
        ZTrace(0, kTraceCategory, "External entity reference %s, %s, %s, %s", shown(context),
               shown(base), shown(system_id), shown(public_id));
    }
    return 1;
}

void XMLCALL on_attribute_list(void *, const XML_Char *element, const XML_Char *attribute,
                               const XML_Char *type, const XML_Char *value, int is_required) {
    if (f_trace != 0) {
        ZTrace(0, kTraceCategory, "Attribute list %s, %s, %s, %s, %d", shown(element),
               shown(attribute), shown(type), shown(value), is_required);
    }
}

void XMLCALL on_entity(void *, const XML_Char *name, int is_parameter, const XML_Char *value,
                       int length, const XML_Char *base, const XML_Char *system_id,
                       const XML_Char *public_id, const XML_Char *notation) {
    if (f_trace != 0) {
        ZTrace(0, kTraceCategory, "Entity %s, %d, %.*s, %s, %s, %s, %s", shown(name), is_parameter,
               value == nullptr ? 0 : length, value == nullptr ? "" : value, shown(base),
               shown(system_id), shown(public_id), shown(notation));
    }
}

void XMLCALL on_unparsed_entity(void *, const XML_Char *name, const XML_Char *base,
                                const XML_Char *system_id, const XML_Char *public_id,
                                const XML_Char *notation) {
    if (f_trace != 0) {
        ZTrace(0, kTraceCategory, "Unparsed entity %s, %s, %s, %s, %s", shown(name), shown(base),
               shown(system_id), shown(public_id), shown(notation));
    }
}

void XMLCALL on_notation(void *, const XML_Char *name, const XML_Char *base,
                         const XML_Char *system_id, const XML_Char *public_id) {
    if (f_trace != 0) {
        ZTrace(0, kTraceCategory, "Notation %s, %s, %s, %s", shown(name), shown(base),
               shown(system_id), shown(public_id));
    }
}

}  // namespace fsi::xml
