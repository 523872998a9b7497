/* SPDX-License-Identifier: MIT
 *
 * One function a property of a file description, its fields, keys and
 * conditions.  None allocates, traces or sets the file error.
 *
 * Indexes are 0-based.  Texts and records that come back are the description's
 * own: they are not freed, and end with it or with the next append to their array.
 * A 16-bit member comes back without its sign: a stored -1, "none", is 65535.
 * Predicates (Z4Is..., ...Allowed, Multiple01) answer 0 or 1.
 *
 * A null record is the caller's error and is not tested for.  An index out of
 * bounds gives null or 0, and makes a setter do nothing, with one exception that is
 * said below. */
#ifndef WBFSI_ACCESSORS_H
#define WBFSI_ACCESSORS_H

#include <stdint.h>

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

/* The file.  Sizes in bytes.  Filename is null for a description built by
 * program, COBOLTrigger where there is none, IdentityField -1 where there is none.
 * Multiple01: the record has more than one level-01 item. */
WBFSI_API uint32_t Z4GetXFDVersion(const Xfd *xfd);
WBFSI_API const char *Z4GetXFDSelectName(const Xfd *xfd);
WBFSI_API const char *Z4GetXFDTableName(const Xfd *xfd);
WBFSI_API const char *Z4GetXFDFilename(const Xfd *xfd);
WBFSI_API const char *Z4GetXFDCOBOLTrigger(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDMaxRecSize(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDMinRecSize(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDKeyCount(const Xfd *xfd);
WBFSI_API XfdCvtInfo *Z4GetXFDCvtInfo(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDConditionCount(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDFieldCount(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDTotalFieldCount(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDAllocatedFieldCount(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDFileType(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDFieldListedCount(const Xfd *xfd);
WBFSI_API uint32_t Z4GetXFDTotalFieldListedCount(const Xfd *xfd);
WBFSI_API int32_t Z4GetXFDIdentityField(const Xfd *xfd);
WBFSI_API int Z4GetXFDMultiple01(const Xfd *xfd);

/* Records by index: below the key count, the condition count, and for fields the
 * allocated count, so that the slots of the listed view and of the relative key
 * are within reach. */
WBFSI_API XfdKey *Z4GetXFDKeyInfo(const Xfd *xfd, uint32_t index);
WBFSI_API XfdCondition *Z4GetXFDConditionInfo(const Xfd *xfd, uint32_t index);
WBFSI_API XfdField *Z4GetXFDFieldInfo(const Xfd *xfd, uint32_t index);

/* What callers store.  Field indexes go up to the allocated count.
 *   address   of the item's data, as an integer
 *   set       not 0 sets the bit, 0 clears it; other bits keep their values */
WBFSI_API void Z4SetXFDFieldArgumentAddress(Xfd *xfd, uint32_t index, uintptr_t address);
WBFSI_API void Z4SetXFDFieldInKey(Xfd *xfd, uint32_t index, uint8_t set);
WBFSI_API void Z4SetXFDFieldAdded(Xfd *xfd, uint32_t index, uint8_t set);
/* The exception: the index is not tested; it must be below the allocated count. */
WBFSI_API void Z4SetXFDFieldValidFlag(Xfd *xfd, uint32_t index, uint8_t valid);
WBFSI_API void Z4SetXFDCondition(Xfd *xfd, uint32_t index, uint8_t is_true);
WBFSI_API void Z4SetXFDKeyDBIndex(Xfd *xfd, uint32_t index, uint16_t db_index);

/* A field.  Offset in bytes.  MaxOccurs and OccursIndex: times and 1-based
 * subscript at an enclosing OCCURS level, 0 the outermost; 0 above level 15.
 * Comment and NullValue are null where there is none, Format and SubtableName
 * empty. */
WBFSI_API uint32_t Z4GetXFDFieldOffset(const XfdField *field);
WBFSI_API XfdArgument *Z4GetXFDFieldArgument(XfdField *field);
WBFSI_API uint32_t Z4GetXFDFieldUserType(const XfdField *field);
WBFSI_API uint32_t Z4GetXFDFieldCondNum(const XfdField *field);
WBFSI_API uint32_t Z4GetXFDFieldLevel(const XfdField *field);
WBFSI_API uint32_t Z4GetXFDFieldMaxOccurs(const XfdField *field, uint32_t level);
WBFSI_API uint32_t Z4GetXFDFieldOccursIndex(const XfdField *field, uint32_t level);
WBFSI_API uint32_t Z4GetXFDFieldOccursDepth(const XfdField *field);
WBFSI_API int Z4IsXFDFieldInKey(const XfdField *field);
WBFSI_API int Z4IsXFDFieldInSecondaryTable(const XfdField *field);
WBFSI_API int Z4IsXFDFieldHidden(const XfdField *field);
WBFSI_API int Z4IsXFDFieldReadOnly(const XfdField *field);
WBFSI_API int Z4IsXFDFieldIdentity(const XfdField *field);
WBFSI_API int Z4IsXFDFieldAdded(const XfdField *field);
WBFSI_API const char *Z4GetXFDFieldName(const XfdField *field);
WBFSI_API const char *Z4GetXFDFieldFormat(const XfdField *field);
WBFSI_API uint32_t Z4GetXFDFieldValidFlag(const XfdField *field);
WBFSI_API ZString Z4GetXFDFieldComment(const XfdField *field);
WBFSI_API int32_t Z4GetXFDFieldDBColNum(const XfdField *field);
WBFSI_API const char *Z4GetXFDFieldSubtableName(const XfdField *field);
WBFSI_API const char *Z4GetXFDFieldNullValue(const XfdField *field);
/* Bytes from the start of an XfdField to fd_hash_name, the key position for a hash
 * of field records: 168 on i386. */
WBFSI_API uint32_t Z4GetXFDFieldHashOffset(void);

/* An OCCURS group: occurrences, bytes of one, first field, secondary table. */
WBFSI_API uint32_t Z4GetXFDOccursTimes(const XfdOccurs *occurs);
WBFSI_API uint32_t Z4GetXFDOccursSize(const XfdOccurs *occurs);
WBFSI_API uint32_t Z4GetXFDOccursStartFieldnum(const XfdOccurs *occurs);
WBFSI_API const char *Z4GetXFDOccursSubtable(const XfdOccurs *occurs);

/* A condition: its type, the name of the field tested, the value compared with,
 * the table that goes with it, the numbers of its operands, the index of the field
 * tested, and whether it holds for the current record. */
WBFSI_API uint32_t Z4GetXFDConditionType(const XfdCondition *condition);
WBFSI_API const char *Z4GetXFDConditionField(const XfdCondition *condition);
WBFSI_API const char *Z4GetXFDConditionValue(const XfdCondition *condition);
WBFSI_API const char *Z4GetXFDConditionTable(const XfdCondition *condition);
WBFSI_API uint32_t Z4GetXFDConditionNum1(const XfdCondition *condition);
WBFSI_API uint32_t Z4GetXFDConditionNum2(const XfdCondition *condition);
WBFSI_API uint32_t Z4GetXFDConditionFieldNum(const XfdCondition *condition);
WBFSI_API int Z4IsXFDConditionTrue(const XfdCondition *condition);

/* A key.  Segment lengths and offsets in bytes, 0 from the segment count (and from
 * 16) on; columns null from the field count on. */
WBFSI_API uint32_t Z4GetXFDKeySegmentCount(const XfdKey *key);
WBFSI_API int Z4GetXFDKeyDuplicatesAllowed(const XfdKey *key);
WBFSI_API uint32_t Z4GetXFDKeySegmentLength(const XfdKey *key, uint32_t i);
WBFSI_API uint32_t Z4GetXFDKeySegmentOffset(const XfdKey *key, uint32_t i);
WBFSI_API uint32_t Z4GetXFDKeyDBIndex(const XfdKey *key);
WBFSI_API uint32_t Z4GetXFDKeyFieldCount(const XfdKey *key);
WBFSI_API XfdKeyColumn *Z4GetXFDKeyColInfo(const XfdKey *key, uint32_t i);

/* A column of a key: index of its field, 65535 until it is found, and name. */
WBFSI_API uint32_t Z4GetXFDKeyColFieldNum(const XfdKeyColumn *column);
WBFSI_API const char *Z4GetXFDKeyColFieldName(const XfdKeyColumn *column);

WBFSI_END

#endif
