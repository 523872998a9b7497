// SPDX-License-Identifier: MIT
//
// Doubly linked lists of handles; a node is a block under its list's tag.
#include "host/containers.h"
#include "host/memory.h"
#include "runtime/blocks.h"

ZList *L_NEW(const char *tag, const char *source) {
    auto *list = static_cast<ZList *>(Zmalloc(sizeof(ZList), tag, source));
    if (list != nullptr) {
        *list = {nullptr, nullptr, 0};
    }
    return list;
}

ZListNode *L_LINK(ZList *list, ZHandle value, ZListNode *before) {
    if (list == nullptr) {
        return nullptr;
    }
    auto *node = static_cast<ZListNode *>(host::allocate_beside(list, sizeof(ZListNode)));
    if (node == nullptr) {
        return nullptr;
    }
    ZListNode *after = before == nullptr ? list->last : before->prev;
    *node = {before, after, value};
    (after == nullptr ? list->first : after->next) = node;
    (before == nullptr ? list->last : before->prev) = node;
    ++list->count;
    return node;
}

void L_UNLINK(ZList *list, ZListNode *node) {
    if (list == nullptr || node == nullptr) {
        return;
    }
    (node->prev == nullptr ? list->first : node->prev->next) = node->next;
    (node->next == nullptr ? list->last : node->next->prev) = node->prev;
    --list->count;
    Zfree(node);
}

void L_FREE(ZList *list) {
    if (list == nullptr) {
        return;
    }
    for (ZListNode *node = list->first; node != nullptr;) {
        ZListNode *next = node->next;
        Zfree(node);
        node = next;
    }
    Zfree(list);
}
