// SPDX-License-Identifier: MIT
// The store of the configuration gets no memory: each of its requests fails once, in turn. It refuses the
// value, lets no exception out, and works the next time.
#include <cstdlib>
#include <new>

#include "tests/foundation/StoreFixture.h"
#include "tests/support/ScarceMemory.h"

using namespace Velmor;

void* operator new(std::size_t size) {
    void* const memory = scarcememory::IsRefused() ? nullptr : std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

TEST_F(AStore, WithoutMemoryRefusesAValueAndTakesItTheNextTime) {
    OpenedEmpty();
    sConfig row = Row("a", "b");
    const std::string value(1000, 'x');
    const auto results = scarcememory::ResultsOf([&] { return m_Store.SetString(&row, value); });
    ASSERT_FALSE(results.empty());
    EXPECT_FALSE(results.front());
    EXPECT_TRUE(m_Store.SetString(&row, value));
    EXPECT_EQ(value, TextAt(m_Store, row));
}

TEST_F(AStore, WithoutMemoryLeavesTheCallersTextAlone) {
    OpenedEmpty();
    sConfig row = Row("a", "b");
    const std::string value(1000, 'x');
    ASSERT_TRUE(m_Store.SetString(&row, value));
    const std::string unread(1000, '-');
    std::string text = unread;
    for (const bool isAlone : scarcememory::ResultsOf([&] {
             text = unread; // for which there is room
             return !m_Store.GetString(&row, text) && text == unread;
         })) {
        EXPECT_TRUE(isAlone);
    }
    EXPECT_TRUE(m_Store.GetString(&row, text));
    EXPECT_EQ(value, text);
}

TEST_F(AStore, WithoutMemoryLeavesTheCallersNumberAlone) {
    OpenedEmpty();
    sConfig row = Row("a", "b");
    ASSERT_TRUE(m_Store.SetInteger(&row, 4711));
    for (const long number : scarcememory::ResultsOf([&] {
             long number = 5;
             return m_Store.GetInteger(&row, number) ? number : 5;
         })) {
        EXPECT_TRUE(number == 5 || number == 4711) << number;
    }
    for (const bool isWritten : scarcememory::ResultsOf([&] { return m_Store.SetInteger(&row, 4711); })) {
        EXPECT_FALSE(isWritten);
    }
    EXPECT_EQ("4711", TextAt(m_Store, row));
}
