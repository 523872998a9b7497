/* SPDX-License-Identifier: MIT */
#ifndef WBFSI_ACCESSORS_H
#define WBFSI_ACCESSORS_H

#include <stdint.h>

#include "wbfsi/api.h"
#include "wbfsi/records.h"

WBFSI_BEGIN

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

WBFSI_API XfdKey *Z4GetXFDKeyInfo(const Xfd *xfd, uint32_t index);
WBFSI_API XfdCondition *Z4GetXFDConditionInfo(const Xfd *xfd, uint32_t index);
WBFSI_API XfdField *Z4GetXFDFieldInfo(const Xfd *xfd, uint32_t index);

WBFSI_API void Z4SetXFDFieldArgumentAddress(Xfd *xfd, uint32_t index, uintptr_t address);
WBFSI_API void Z4SetXFDFieldInKey(Xfd *xfd, uint32_t index, uint8_t set);
WBFSI_API void Z4SetXFDFieldAdded(Xfd *xfd, uint32_t index, uint8_t set);
WBFSI_API void Z4SetXFDFieldValidFlag(Xfd *xfd, uint32_t index, uint8_t valid);
WBFSI_API void Z4SetXFDCondition(Xfd *xfd, uint32_t index, uint8_t is_true);
WBFSI_API void Z4SetXFDKeyDBIndex(Xfd *xfd, uint32_t index, uint16_t db_index);

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
WBFSI_API uint32_t Z4GetXFDFieldHashOffset(void);

WBFSI_API uint32_t Z4GetXFDOccursTimes(const XfdOccurs *occurs);
WBFSI_API uint32_t Z4GetXFDOccursSize(const XfdOccurs *occurs);
WBFSI_API uint32_t Z4GetXFDOccursStartFieldnum(const XfdOccurs *occurs);
WBFSI_API const char *Z4GetXFDOccursSubtable(const XfdOccurs *occurs);

WBFSI_API uint32_t Z4GetXFDConditionType(const XfdCondition *condition);
WBFSI_API const char *Z4GetXFDConditionField(const XfdCondition *condition);
WBFSI_API const char *Z4GetXFDConditionValue(const XfdCondition *condition);
WBFSI_API const char *Z4GetXFDConditionTable(const XfdCondition *condition);
WBFSI_API uint32_t Z4GetXFDConditionNum1(const XfdCondition *condition);
WBFSI_API uint32_t Z4GetXFDConditionNum2(const XfdCondition *condition);
WBFSI_API uint32_t Z4GetXFDConditionFieldNum(const XfdCondition *condition);
WBFSI_API int Z4IsXFDConditionTrue(const XfdCondition *condition);

WBFSI_API uint32_t Z4GetXFDKeySegmentCount(const XfdKey *key);
WBFSI_API int Z4GetXFDKeyDuplicatesAllowed(const XfdKey *key);
WBFSI_API uint32_t Z4GetXFDKeySegmentLength(const XfdKey *key, uint32_t i);
WBFSI_API uint32_t Z4GetXFDKeySegmentOffset(const XfdKey *key, uint32_t i);
WBFSI_API uint32_t Z4GetXFDKeyDBIndex(const XfdKey *key);
WBFSI_API uint32_t Z4GetXFDKeyFieldCount(const XfdKey *key);
WBFSI_API XfdKeyColumn *Z4GetXFDKeyColInfo(const XfdKey *key, uint32_t i);

WBFSI_API uint32_t Z4GetXFDKeyColFieldNum(const XfdKeyColumn *column);
WBFSI_API const char *Z4GetXFDKeyColFieldName(const XfdKeyColumn *column);

WBFSI_END

#endif
