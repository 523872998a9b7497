/* SPDX-License-Identifier: MIT
 *
 * Lists of handles, arrays of entries, hashes by name and ordered trees.
 *
 * Each makes its blocks under the tag and source that it was created with.  A
 * function that returns int gives 1, or 0 with the container as it was: errno
 * ENOMEM for want of memory; a null container, entry or key is refused without
 * touching errno.  To all others a null container is an empty one.  The creators
 * return null with errno ENOMEM; the caller frees what they return. */
#ifndef HOST_CONTAINERS_H
#define HOST_CONTAINERS_H

#include <stddef.h>
#include <stdint.h>

#include "host/handles.h"
#include "host/linkage.h"

HOST_BEGIN

/* A doubly linked list, open for walking: first to last by `next`, back by `prev`,
 * null at both ends.  Only the functions below change links and count; a value may
 * be changed in place. */
typedef struct ZListNode {
    struct ZListNode *next, *prev;
    ZHandle value;
} ZListNode;

typedef struct ZList {
    ZListNode *first, *last;
    uint32_t count;
} ZList;

HOST_API ZList *L_NEW(const char *tag, const char *source);

/* Links a new node before `before`, a node of the list; null: at the end.  Returns
 * the node, null with errno ENOMEM.  The value is not looked at. */
HOST_API ZListNode *L_LINK(ZList *list, ZHandle value, ZListNode *before);

/* Takes a node of the list out and releases it.  Null is accepted. */
HOST_API void L_UNLINK(ZList *list, ZListNode *node);

/* Releases list and nodes, not what the values name. */
HOST_API void L_FREE(ZList *list);

/* An array of entries of one size, 1 .. PTRDIFF_MAX bytes; another size gives null
 * with errno EINVAL.  Entries are copied in by their bytes and may come from the
 * array itself.  At most 2147483647 entries; growing past that or past the address
 * space fails as memory does. */
typedef struct ZArray ZArray;

HOST_API ZArray *ARRAY_new(size_t entry_size, const char *tag, const char *source);

/* Inserts before `position`, 0 .. count; -1 stands for count, the end.  Another
 * position is refused. */
HOST_API int ARRAY_insert(ZArray *array, int32_t position, const void *entry);

/* Overwrites entry `index`.  Beyond the end the array grows to index + 1 entries,
 * and those between are zeroed. */
HOST_API int ARRAY_set(ZArray *array, uint32_t index, const void *entry);

/* A new array with copies of the entries, of the same tag and source. */
HOST_API ZArray *ARRAY_copy(const ZArray *array);

/* Releases the array, not what its entries point to. */
HOST_API void ARRAY_free(ZArray *array);

HOST_API uint32_t Array_count(const ZArray *array);

/* The entry, in place, until the array next grows or is freed; null out of range. */
HOST_API void *Array_get(const ZArray *array, uint32_t index);

/* Removes `n` entries from `index` on, as many as there are; later ones move down. */
HOST_API void Array_delete_multi(ZArray *array, uint32_t index, uint32_t n);

/* A hash table of the caller's entries.  An entry carries its key: at `key_offset`
 * in it stands a char pointer to a text, which must neither change nor go away
 * while the entry is in the table.  Keys compare exactly, byte by byte.  Of entries
 * with equal keys the one added last is found, and all are freed.  Hashing is keyed
 * with random bytes drawn once a process, so that no choice of names makes it slow.
 * At most 2 to the 28th entries or so. */
typedef struct ZHash ZHash;

/* `free_entry` releases an entry when the table is cleared or freed; null: the
 * entries stay the caller's. */
HOST_API ZHash *HASH_NEW(const char *tag, size_t key_offset, void (*free_entry)(void *entry),
                         const char *source);

/* Adds an entry, which is the table's from then on.  One with a null key is refused. */
HOST_API int HASH_ADD(ZHash *hash, void *entry);

/* The entry added last with that key, null for none and for a null key. */
HOST_API void *HASH_GET(ZHash *hash, const char *key);

/* Frees the entries in the order in which they were added; the table stays, with
 * its room.  The routine must not use the table. */
HOST_API void HASH_CLEAR(ZHash *hash);

/* As HASH_CLEAR, and releases the table. */
HOST_API void HASH_FREE(ZHash *hash);

/* A balanced tree from texts, which are copied, to values, which are not looked at. */
typedef struct ZTTree ZTTree;

HOST_API ZTTree *ZTTREENew(const char *tag, const char *source);

/* Sets the value of a key.  An equal key's value is replaced, without being freed. */
HOST_API int ZTTREEInsert(ZTTree *tree, const char *key, void *value);

/* The value of exactly that key; null for none. */
HOST_API void *ZTTREEFind(ZTTree *tree, const char *key);

/* Visits all in ascending order of the keys' unsigned bytes.  The visitor must not
 * insert into the tree or free it. */
HOST_API void ZTTREEWalk(ZTTree *tree, void (*visit)(const char *key, void *value, void *user),
                         void *user);

/* Releases the tree, and each value through `free_value` unless that is null. */
HOST_API void ZTTREEFree(ZTTree *tree, void (*free_value)(void *value));

HOST_END

#endif
