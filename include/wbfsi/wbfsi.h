/* SPDX-License-Identifier: MIT
 *
 * The whole library: every record and every exported function, by subject:
 *   lifecycle.h   start, end, and the variables that steer the library
 *   load.h        a file description from its dictionary file
 *   build.h       one by program; copy and release of either
 *   accessors.h   its properties
 *   keys.h        record keys, column names
 *   locate.h      names and paths of files
 *   datatest.h    what a field holds
 *   conditions.h  which record type a record has
 *   where.h       the extra where clause of a program
 *   dateformat.h  validation of date formats
 *   dates.h       date fields
 *   table.h       the table description of a database interface
 *   compare.h     two descriptions side by side
 *   match.h       a description and what is really there
 *   errmap.h      errors of databases as errors of files
 *   suffixes.h    extensions that tables do not carry
 *   trace.h       cursors and transactions in the trace
 *   xml_xfd.h     the names of dictionaries in XML form
 *   xml_element.h elements of XML documents
 *   xml_parser.h  XML documents, read and built
 *   xml_writer.h  and written
 *   xml_expat.h   what lies under a parser of documents
 * The library is used from one thread at a time. */
#ifndef WBFSI_WBFSI_H
#define WBFSI_WBFSI_H

#include "wbfsi/accessors.h"
#include "wbfsi/build.h"
#include "wbfsi/compare.h"
#include "wbfsi/conditions.h"
#include "wbfsi/datatest.h"
#include "wbfsi/dateformat.h"
#include "wbfsi/dates.h"
#include "wbfsi/errmap.h"
#include "wbfsi/keys.h"
#include "wbfsi/lifecycle.h"
#include "wbfsi/load.h"
#include "wbfsi/locate.h"
#include "wbfsi/match.h"
#include "wbfsi/records.h"
#include "wbfsi/suffixes.h"
#include "wbfsi/table.h"
#include "wbfsi/trace.h"
#include "wbfsi/where.h"
#include "wbfsi/xml_element.h"
#include "wbfsi/xml_expat.h"
#include "wbfsi/xml_parser.h"
#include "wbfsi/xml_writer.h"
#include "wbfsi/xml_xfd.h"

#endif
