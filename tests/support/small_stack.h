// SPDX-License-Identifier: MIT
//
// Work on a stack of 256 KB, which recursion on the depth of a document outgrows.
#ifndef TESTS_SUPPORT_SMALL_STACK_H
#define TESTS_SUPPORT_SMALL_STACK_H

#include <gtest/gtest.h>
#include <pthread.h>

namespace support {

template <typename Work>
void on_small_stack(Work work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 << 10), 0);
    pthread_t thread;
    const auto run = [](void *argument) -> void * {
        (*static_cast<Work *>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace support

#endif
