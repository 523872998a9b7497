// SPDX-License-Identifier: MIT
//
// Ordered trees from texts to values: AA trees, whose one rule of balance takes
// two small rotations.  Key, value and links are one block.
// Source: Andersson, "Balanced search trees made simple", 1993.
#include <cerrno>
#include <cstring>

#include "host/containers.h"
#include "host/memory.h"
#include "runtime/blocks.h"

namespace {

struct Node {
    Node *left, *right;
    void *value;
    uint32_t level;

    // The text stands behind the node in the same block.
    char *key() { return reinterpret_cast<char *>(this + 1); }
    const char *key() const { return reinterpret_cast<const char *>(this + 1); }
};

}  // namespace

struct ZTTree {
    Node *root;
};

namespace {

Node *find(Node *node, const char *key) {
    while (node != nullptr) {
        const int order = strcmp(key, node->key());
        if (order == 0) {
            break;
        }
        node = order < 0 ? node->left : node->right;
    }
    return node;
}

// A left child on the node's own level becomes its parent.
Node *skew(Node *node) {
    Node *left = node->left;
    if (left == nullptr || left->level != node->level) {
        return node;
    }
    node->left = left->right;
    left->right = node;
    return left;
}

// Of three nodes in a row on one level the middle one rises.
Node *split(Node *node) {
    Node *right = node->right;
    if (right == nullptr || right->right == nullptr || right->right->level != node->level) {
        return node;
    }
    node->right = right->left;
    right->left = node;
    ++right->level;
    return right;
}

// The depth is at most twice the logarithm of the count: recursion is safe.
Node *insert(Node *root, Node *node) {
    if (root == nullptr) {
        return node;
    }
    Node *&child = strcmp(node->key(), root->key()) < 0 ? root->left : root->right;
    child = insert(child, node);
    return split(skew(root));
}

void walk(const Node *node, void (*visit)(const char *key, void *value, void *user), void *user) {
    for (; node != nullptr; node = node->right) {
        walk(node->left, visit, user);
        visit(node->key(), node->value, user);
    }
}

void release(Node *node, void (*free_value)(void *value)) {
    while (node != nullptr) {
        release(node->left, free_value);
        Node *right = node->right;
        if (free_value != nullptr) {
            free_value(node->value);
        }
        Zfree(node);
        node = right;
    }
}

}  // namespace

ZTTree *ZTTREENew(const char *tag, const char *source) {
    auto *tree = static_cast<ZTTree *>(Zmalloc(sizeof(ZTTree), tag, source));
    if (tree != nullptr) {
        tree->root = nullptr;
    }
    return tree;
}

int ZTTREEInsert(ZTTree *tree, const char *key, void *value) {
    if (tree == nullptr || key == nullptr) {
        return 0;
    }
    if (Node *node = find(tree->root, key); node != nullptr) {
        node->value = value;
        return 1;
    }
    const size_t key_size = strlen(key) + 1;
    auto *node = static_cast<Node *>(host::allocate_beside(tree, sizeof(Node) + key_size));
    if (node == nullptr) {
        return 0;
    }
    node->left = nullptr;
    node->right = nullptr;
    node->value = value;
    node->level = 1;
    memcpy(node->key(), key, key_size);
    tree->root = insert(tree->root, node);
    return 1;
}

void *ZTTREEFind(ZTTree *tree, const char *key) {
    const Node *node = tree == nullptr || key == nullptr ? nullptr : find(tree->root, key);
    return node == nullptr ? nullptr : node->value;
}

void ZTTREEWalk(ZTTree *tree, void (*visit)(const char *key, void *value, void *user), void *user) {
    if (tree != nullptr) {
        walk(tree->root, visit, user);
    }
}

void ZTTREEFree(ZTTree *tree, void (*free_value)(void *value)) {
    if (tree != nullptr) {
        release(tree->root, free_value);
        Zfree(tree);
    }
}
