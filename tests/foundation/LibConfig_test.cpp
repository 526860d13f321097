// SPDX-License-Identifier: MIT
#include "foundation/LibConfig.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::vector<std::string> g_Received;

void Receive(const char* text) {
    g_Received.emplace_back(text);
}

} // namespace

TEST(LibConfig, DropsMessagesWithoutACallback) {
    g_Received.clear();
    Velmor::LibConfig::SetErrorLoggingFunc(nullptr);
    Velmor::LibConfig::LogError("text");
    Velmor::LibConfig::LogError("text", 5UL);
    EXPECT_TRUE(g_Received.empty());
}

TEST(LibConfig, PassesTheTextAndDropsTheNumber) {
    g_Received.clear();
    Velmor::LibConfig::SetErrorLoggingFunc(&Receive);
    Velmor::LibConfig::LogError("text");
    Velmor::LibConfig::LogError("other", 5UL);
    Velmor::LibConfig::SetErrorLoggingFunc(nullptr);
    EXPECT_EQ((std::vector<std::string>{"text", "other"}), g_Received);
}
