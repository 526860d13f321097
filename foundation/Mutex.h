// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_MUTEX_H
#define ORSEL_FOUNDATION_MUTEX_H

#include <memory>

#include <pthread.h>

namespace Velmor {

/// A POSIX mutex with default attributes, so not recursive. Fits std::lock_guard.
/// Each operation returns whether the POSIX call of its name succeeded, and false without doing anything if
/// the mutex could not be made.
class Mutex {
public:
    Mutex();
    Mutex(const Mutex&) = delete; // a mutex has one address for all who wait on it
    Mutex& operator=(const Mutex&) = delete;
    ~Mutex();

    bool lock();
    bool trylock();
    bool unlock();

private:
    std::unique_ptr<pthread_mutex_t> m_Mutex; ///< null if pthread_mutex_init failed
};

} // namespace Velmor

#endif
