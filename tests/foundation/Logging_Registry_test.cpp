// SPDX-License-Identifier: MIT
#include "foundation/Logging.h"

#include <gtest/gtest.h>

#include "foundation/LoggerVector.h"

using namespace Velmor;

namespace {

/// A registry as the process found it at its start.
class AnEmptyLoggerRegistry : public testing::Test {
protected:
    AnEmptyLoggerRegistry() { Clear(); }
    ~AnEmptyLoggerRegistry() override { Clear(); }

    static void Clear() {
        LoggerVector loggers = LoggerVector::vector(); // Destroy() changes the slots
        for (LibLogging* const logger : loggers) {
            if (logger != nullptr) {
                logger->Destroy();
            }
        }
        LoggerVector::vector().clear();
    }
};

} // namespace

TEST_F(AnEmptyLoggerRegistry, GivesId1FirstAndLeavesSlot0Null) {
    EXPECT_EQ(1U, LibLogging::Register());
    ASSERT_EQ(2U, LoggerVector::vector().size());
    EXPECT_EQ(nullptr, LoggerVector::vector()[0]);
    EXPECT_EQ(2U, LibLogging::Register());
}

TEST_F(AnEmptyLoggerRegistry, FillsSlot0WhenItIsAskedFor) {
    LibLogging::Register();
    LibLogging* const logger = LibLogging::GetHandle(0);
    ASSERT_NE(nullptr, logger);
    EXPECT_EQ(logger, LoggerVector::vector()[0]);
    EXPECT_EQ(logger, LibLogging::GetHandle());
    EXPECT_EQ(2U, LoggerVector::vector().size());
}

TEST_F(AnEmptyLoggerRegistry, MakesTheDefaultLoggerAtTheFirstRequest) {
    LibLogging* const logger = LibLogging::GetHandle();
    ASSERT_NE(nullptr, logger);
    EXPECT_EQ(1U, LoggerVector::vector().size());
    EXPECT_EQ(logger, LibLogging::GetHandle(0));
    EXPECT_EQ(1U, LibLogging::Register());
}

TEST_F(AnEmptyLoggerRegistry, GivesNullForAnIdEqualToItsSizeAndStaysUsable) {
    LibLogging::GetHandle(0);
    EXPECT_EQ(nullptr, LibLogging::GetHandle(1));
    EXPECT_EQ(1U, LibLogging::Register());
}

TEST_F(AnEmptyLoggerRegistry, StaysLockedAfterAGreaterId) {
    LibLogging::GetHandle(0);
    EXPECT_EQ(nullptr, LibLogging::GetHandle(2));
    EXPECT_FALSE(mutexCreateLibLogging.trylock());
    EXPECT_TRUE(mutexCreateLibLogging.unlock());
}

TEST_F(AnEmptyLoggerRegistry, StaysLockedWhenEmptyAndAskedForAnIdAbove0) {
    EXPECT_EQ(nullptr, LibLogging::GetHandle(1));
    EXPECT_FALSE(mutexCreateLibLogging.trylock());
    EXPECT_TRUE(mutexCreateLibLogging.unlock());
    EXPECT_TRUE(LoggerVector::vector().empty());
}

TEST_F(AnEmptyLoggerRegistry, IsUnlockedAfterEveryOtherCall) {
    const unsigned int id = LibLogging::Register();
    LibLogging::GetHandle(id)->Destroy();
    LibLogging::GetHandle(id);
    EXPECT_TRUE(mutexCreateLibLogging.trylock());
    EXPECT_TRUE(mutexCreateLibLogging.unlock());
}

TEST_F(AnEmptyLoggerRegistry, HandsADestroyedIdOutAgain) {
    const unsigned int id = LibLogging::Register();
    LibLogging::GetHandle(id)->Enabled(true);
    LibLogging::GetHandle(id)->Destroy();
    EXPECT_EQ(nullptr, LoggerVector::vector()[id]);
    LibLogging* const fresh = LibLogging::GetHandle(id);
    ASSERT_NE(nullptr, fresh);
    EXPECT_FALSE(fresh->IsEnabled());
    EXPECT_EQ(fresh, LoggerVector::vector()[id]);
}

TEST_F(AnEmptyLoggerRegistry, LeavesALoggerAloneWhoseSlotIsNull) {
    const unsigned int id = LibLogging::Register();
    LibLogging* const logger = LibLogging::GetHandle(id);
    LoggerVector::vector()[id] = nullptr;
    logger->Destroy();
    LoggerVector::vector()[id] = logger;
    logger->Enabled(true); // so it is still there
    EXPECT_TRUE(LibLogging::GetHandle(id)->IsEnabled());
}
