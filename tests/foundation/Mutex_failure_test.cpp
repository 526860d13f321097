// SPDX-License-Identifier: MIT
// A system that gives no mutex.
#include "foundation/Mutex.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace {

bool g_SystemIsOut = false;

} // namespace

// The linker sends the program's own calls here.
extern "C" int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
extern "C" int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    return g_SystemIsOut ? EAGAIN : __real_pthread_mutex_init(mutex, attributes);
}

TEST(AMutexThatCannotBeMade, RefusesEveryOperation) {
    g_SystemIsOut = true;
    Velmor::Mutex mutex;
    g_SystemIsOut = false;
    EXPECT_FALSE(mutex.lock());
    EXPECT_FALSE(mutex.trylock());
    EXPECT_FALSE(mutex.unlock());
}
