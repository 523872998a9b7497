// SPDX-License-Identifier: MIT
//
// Owners of what the host's services hold while they build something.
#ifndef RUNTIME_OWNER_H
#define RUNTIME_OWNER_H

#include <unistd.h>

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

// One file descriptor, closed at the end of the scope unless released.
class Descriptor {
 public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const { return fd_; }
    int release() {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }

 private:
    int fd_;
};

}  // namespace host

#endif
