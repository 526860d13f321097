// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_FOUNDATION_USEDMEMORY_H
#define ORSEL_TESTS_FOUNDATION_USEDMEMORY_H

#include <cstring>
#include <new>

/// A record made without a value in memory that held something else before.
template <typename Record>
class OnUsedMemory {
public:
    OnUsedMemory() {
        std::memset(m_Memory, 0xA5, sizeof(m_Memory));
        m_Record = new (m_Memory) Record;
    }
    OnUsedMemory(const OnUsedMemory&) = delete;
    OnUsedMemory& operator=(const OnUsedMemory&) = delete;
    ~OnUsedMemory() { m_Record->~Record(); }

    const Record* operator->() const { return m_Record; }

private:
    alignas(Record) unsigned char m_Memory[sizeof(Record)];
    Record* m_Record;
};

#endif
