// SPDX-License-Identifier: MIT
#include "foundation/Mutex.h"

#include <type_traits>

#include <gtest/gtest.h>

using Velmor::Mutex;

// One field, a pointer.
static_assert(sizeof(Mutex) == sizeof(void*));
static_assert(!std::is_copy_constructible_v<Mutex>);

TEST(Mutex, LocksAndUnlocks) {
    Mutex mutex;
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
    EXPECT_TRUE(mutex.trylock());
    EXPECT_TRUE(mutex.unlock());
}

TEST(Mutex, IsNotRecursive) {
    Mutex mutex;
    ASSERT_TRUE(mutex.lock());
    EXPECT_FALSE(mutex.trylock());
    EXPECT_TRUE(mutex.unlock());
}
