// SPDX-License-Identifier: MIT
#include "formats/slCertLogging.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

std::vector<std::string> g_Received;

void LogOnceEach() {
    g_Received.clear();
    Velmor::SLCERT_LogError("one");
    Velmor::SLCERT_LogMessage("two");
    Velmor::SLCERT_LogDebug("three");
}

} // namespace

TEST(SlCertLogging, DropsMessagesWithoutACallback) {
    LogOnceEach();
    EXPECT_TRUE(g_Received.empty());
}

TEST(SlCertLogging, SendsEachKindToItsCallback) {
    Velmor::SLCERT_SetErrorLoggingFunc(
        [](const char* text) { g_Received.push_back(std::string("E:") + text); });
    Velmor::SLCERT_SetMessageLoggingFunc(
        [](const char* text) { g_Received.push_back(std::string("M:") + text); });
    Velmor::SLCERT_SetDebugLoggingFunc(
        [](const char* text) { g_Received.push_back(std::string("D:") + text); });
    LogOnceEach();
    Velmor::SLCERT_SetErrorLoggingFunc(nullptr);
    Velmor::SLCERT_SetMessageLoggingFunc(nullptr);
    Velmor::SLCERT_SetDebugLoggingFunc(nullptr);
    EXPECT_EQ((std::vector<std::string>{"E:one", "M:two", "D:three"}), g_Received);
}
