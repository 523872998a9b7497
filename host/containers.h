/* SPDX-License-Identifier: MIT */
#ifndef HOST_CONTAINERS_H
#define HOST_CONTAINERS_H

#include <stddef.h>
#include <stdint.h>

#include "host/handles.h"
#include "host/linkage.h"

HOST_BEGIN

typedef struct ZListNode {
    struct ZListNode *next, *prev;
    ZHandle value;
} ZListNode;

typedef struct ZList {
    ZListNode *first, *last;
    uint32_t count;
} ZList;

HOST_API ZList *L_NEW(const char *tag, const char *source);
HOST_API ZListNode *L_LINK(ZList *list, ZHandle value, ZListNode *before);
HOST_API void L_UNLINK(ZList *list, ZListNode *node);
HOST_API void L_FREE(ZList *list);

typedef struct ZArray ZArray;

HOST_API ZArray *ARRAY_new(size_t entry_size, const char *tag, const char *source);
HOST_API int ARRAY_insert(ZArray *array, int32_t position, const void *entry);
HOST_API int ARRAY_set(ZArray *array, uint32_t index, const void *entry);
HOST_API ZArray *ARRAY_copy(const ZArray *array);
HOST_API void ARRAY_free(ZArray *array);
HOST_API uint32_t Array_count(const ZArray *array);
HOST_API void *Array_get(const ZArray *array, uint32_t index);
HOST_API void Array_delete_multi(ZArray *array, uint32_t index, uint32_t n);

typedef struct ZHash ZHash;

HOST_API ZHash *HASH_NEW(const char *tag, size_t key_offset, void (*free_entry)(void *entry),
                         const char *source);
HOST_API int HASH_ADD(ZHash *hash, void *entry);
HOST_API void *HASH_GET(ZHash *hash, const char *key);
HOST_API void HASH_CLEAR(ZHash *hash);
HOST_API void HASH_FREE(ZHash *hash);

typedef struct ZTTree ZTTree;

HOST_API ZTTree *ZTTREENew(const char *tag, const char *source);
HOST_API int ZTTREEInsert(ZTTree *tree, const char *key, void *value);
HOST_API void *ZTTREEFind(ZTTree *tree, const char *key);
HOST_API void ZTTREEWalk(ZTTree *tree, void (*visit)(const char *key, void *value, void *user),
                         void *user);
HOST_API void ZTTREEFree(ZTTree *tree, void (*free_value)(void *value));

HOST_END

#endif
