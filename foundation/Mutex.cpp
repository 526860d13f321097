// SPDX-License-Identifier: MIT
#include "foundation/Mutex.h"

namespace Velmor {

Mutex::Mutex() {
    auto mutex = std::make_unique<pthread_mutex_t>();
    if (pthread_mutex_init(mutex.get(), nullptr) == 0) {
        m_Mutex = std::move(mutex);
    }
}

Mutex::~Mutex() {
    if (m_Mutex != nullptr) {
        pthread_mutex_destroy(m_Mutex.get());
    }
}

bool Mutex::lock() {
    return m_Mutex != nullptr && pthread_mutex_lock(m_Mutex.get()) == 0;
}

bool Mutex::trylock() {
    return m_Mutex != nullptr && pthread_mutex_trylock(m_Mutex.get()) == 0;
}

bool Mutex::unlock() {
    return m_Mutex != nullptr && pthread_mutex_unlock(m_Mutex.get()) == 0;
}

} // namespace Velmor
