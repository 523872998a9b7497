// SPDX-License-Identifier: MIT
//
// Blocks with tag accounting and refusal on demand.
#include "host/memory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "runtime/blocks.h"

namespace {

struct alignas(16) Block {
    Block *next, *prev;
    size_t size;
    const char *tag;
    const char *source;
    bool is_string;
};

Block all = {&all, &all, 0, nullptr, nullptr, false};
int64_t refuse_in;
int64_t refuse_count;
uint64_t refused;

bool refuse() {
    if (refuse_in == 0) {
        return false;
    }
    if (refuse_in > 1) {
        --refuse_in;
        return false;
    }
    if (refuse_count == 0) {
        refuse_in = 0;
        return false;
    }
    if (refuse_count > 0) {
        --refuse_count;
    }
    ++refused;
    errno = ENOMEM;
    return true;
}

Block *header(const void *block) {
    return static_cast<Block *>(const_cast<void *>(block)) - 1;
}

void *allocate(size_t size, const char *tag, const char *source, bool is_string) {
    if (refuse()) {
        return nullptr;
    }
    if (size > PTRDIFF_MAX - sizeof(Block)) {
        errno = ENOMEM;
        return nullptr;
    }
    auto *block = static_cast<Block *>(malloc(sizeof(Block) + size));
    if (block == nullptr) {
        return nullptr;
    }
    *block = {all.next, &all, size, tag, source, is_string};
    all.next->prev = block;
    all.next = block;
    return block + 1;
}

bool counts(const Block *block, const char *tag) {
    return tag == nullptr || strcmp(block->tag, tag) == 0;
}

}  // namespace

void *Zmalloc(size_t size, const char *tag, const char *source) {
    return allocate(size, tag, source, false);
}

void *Zrealloc(void *old, size_t size, const char *tag, const char *source) {
    void *fresh = allocate(size, tag, source, false);
    if (fresh != nullptr && old != nullptr) {
        const size_t held = header(old)->size;
        memcpy(fresh, old, held < size ? held : size);
        Zfree(old);
    }
    return fresh;
}

void Zfree(void *old) {
    if (old == nullptr) {
        return;
    }
    Block *block = header(old);
    block->next->prev = block->prev;
    block->prev->next = block->next;
    free(block);
}

char *ZSTRDUP(const char *text, const char *tag, const char *source) {
    const size_t size = strlen(text) + 1;
    void *copy = Zmalloc(size, tag, source);
    return copy == nullptr ? nullptr : static_cast<char *>(memcpy(copy, text, size));
}

size_t ZMemoryInUse(const char *tag) {
    size_t bytes = 0;
    for (const Block *block = all.next; block != &all; block = block->next) {
        bytes += counts(block, tag) ? block->size : 0;
    }
    return bytes;
}

size_t ZMemoryBlocks(const char *tag) {
    size_t blocks = 0;
    for (const Block *block = all.next; block != &all; block = block->next) {
        blocks += counts(block, tag) ? 1 : 0;
    }
    return blocks;
}

void ZMemoryReport(void (*visit)(const char *tag, const char *source, size_t blocks, size_t bytes,
                                 void *user),
                   void *user) {
    for (const Block *block = all.next; block != &all; block = block->next) {
        visit(block->tag, block->source, 1, block->size, user);
    }
}

void ZMemoryRefuse(int64_t nth, int64_t count) {
    refuse_in = nth > 0 ? nth : 0;
    refuse_count = count;
    refused = 0;
}

uint64_t ZMemoryRefused() {
    return refused;
}

namespace host {

void *allocate_beside(const void *owner, size_t size) {
    return allocate(size, header(owner)->tag, header(owner)->source, false);
}

void *reallocate_beside(const void *owner, void *block, size_t size) {
    return Zrealloc(block, size, header(owner)->tag, header(owner)->source);
}

void *allocate_string_body(size_t size, const char *tag, const char *source) {
    return allocate(size, tag, source, true);
}

void *allocate_string_body_beside(const void *owner, size_t size) {
    return allocate(size, header(owner)->tag, header(owner)->source, true);
}

bool is_string_body(const void *address) {
    for (const Block *block = all.next; block != &all; block = block->next) {
        if (block + 1 == address) {
            return block->is_string;
        }
    }
    return false;
}

}  // namespace host
