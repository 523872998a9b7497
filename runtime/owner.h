// SPDX-License-Identifier: MIT
//
// The owner of a block that a service holds while it builds something.
#ifndef RUNTIME_OWNER_H
#define RUNTIME_OWNER_H

#include "host/memory.h"

namespace host {

// One block of Zmalloc, given back at the end of the scope unless released.
template <class T>
class Block {
 public:
    explicit Block(void *block) : block_(static_cast<T *>(block)) {}
    ~Block() { Zfree(block_); }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;

    T *get() const { return block_; }
    T *operator->() const { return block_; }
    explicit operator bool() const { return block_ != nullptr; }
    T *release() {
        T *block = block_;
        block_ = nullptr;
        return block;
    }

 private:
    T *block_;
};

}  // namespace host

#endif
