// SPDX-License-Identifier: MIT
#include "fsi/xml/elements/element_hash.h"

#include <cstddef>
#include <cstring>

#include "fsi/base/owner.h"
#include "host/memory.h"

namespace fsi::xml {
namespace {

constexpr const char *kTag = "Element hash";
constexpr const char *kSource = "fsi/xml/elements/element_hash";

// What stands behind the public part.  The name lies behind the head of the chain
// and is shared by the others.
struct Node : ZxmlHashNode {
    Node *previous;
    Node *head;
    Node *last;       // of the head: the chain's end
    Node *free_head;  // of the head: nodes without an element
    Node *next_free;

    Node *next_node() const { return static_cast<Node *>(next); }
};

// Called by the host for each head.
void free_chain(void *entry) {
    for (auto *node = static_cast<Node *>(entry); node != nullptr;) {
        Node *const next = node->next_node();
        if (Element *element = find_element(node->element); element != nullptr)
            set_user_data(element, nullptr, false);
        Zfree(node);
        node = next;
    }
}

Node *make_node(std::string_view name) {
    auto *node = static_cast<Node *>(Zmalloc(sizeof(Node) + name.size() + 1, kTag, kSource));
    if (node == nullptr)
        return nullptr;
    *node = {};
    node->name = reinterpret_cast<char *>(node + 1);
    std::memcpy(node->name, name.data(), name.size());
    node->name[name.size()] = '\0';
    return node;
}

void link_last(Node *head, Node *node) {
    node->head = head;
    node->name = head->name;
    node->next = nullptr;
    node->previous = head->last;
    head->last->next = node;
    head->last = node;
}

void unlink(Node *node) {
    node->previous->next = node->next;
    if (node->next != nullptr)
        node->next_node()->previous = node->previous;
    else
        node->head->last = node->previous;
}

bool attach(Node *node, Element *element) {
    if (!set_user_data(element, static_cast<ZxmlHashNode *>(node), true))
        return false;
    node->element = element->handle;
    return true;
}

// A node without an element, taken off the list of those; it is out of the chain or
// is the chain's only one.  The head cannot leave the hash: it takes over what
// stands behind it, whose node is free then.
Node *take_free_node(Node *head) {
    Node *node = head->free_head;
    head->free_head = node->next_free;
    if (node == head) {
        Node *const second = head->next_node();
        if (second == nullptr)
            return head;
        if (second->element == 0) {
            // The second one is free, too, and on the list: the head takes its place
            // there, so that this call gives a node that can move.
            for (Node **link = &head->free_head; *link != nullptr; link = &(*link)->next_free) {
                if (*link == second) {
                    head->next_free = second->next_free;
                    *link = head;
                    break;
                }
            }
        } else {
            Element *element = find_element(second->element);
            head->element = second->element;
            if (element != nullptr)
                element->extras->user_data = static_cast<ZxmlHashNode *>(head);
            second->element = 0;
        }
        node = second;
    }
    unlink(node);
    return node;
}

}  // namespace

ZHash *make_element_hash() {
    return HASH_NEW("XML parser elements", offsetof(ZxmlHashNode, name), free_chain, kSource);
}

bool hash_element(ZHash *hash, Element *element, bool *is_known) {
    const char *name = element->name->text();
    auto *head = static_cast<Node *>(static_cast<ZxmlHashNode *>(HASH_GET(hash, name)));
    *is_known = head != nullptr;
    if (head == nullptr) {
        head = make_node(element->name->view());
        if (head == nullptr)
            return false;
        head->head = head->last = head;
        if (HASH_ADD(hash, static_cast<ZxmlHashNode *>(head)) == 0) {
            Zfree(head);
            return false;
        }
        // Without memory for the user data it stays as a name without an element.
        if (attach(head, element))
            return true;
        head->free_head = head;
        return false;
    }
    Node *node = nullptr;
    if (head->free_head != nullptr) {
        node = take_free_node(head);
    } else {
        node = allocate_cleared<Node>(1, kTag, kSource);
        if (node == nullptr)
            return false;
    }
    if (node != head)
        link_last(head, node);
    if (attach(node, element))
        return true;
    node->next_free = head->free_head;
    head->free_head = node;
    return false;
}

void forget_hashed_element(ZxmlHashNode *node) {
    auto *free = static_cast<Node *>(node);
    free->element = 0;
    free->next_free = free->head->free_head;
    free->head->free_head = free;
}

}  // namespace fsi::xml
