// SPDX-License-Identifier: MIT
#include "formats/LibCrypto.h"

#include <vector>

#include <gtest/gtest.h>

namespace LibCrypto = Velmor::LibCrypto;
using Texts = std::vector<std::string>;

namespace {

Texts g_Told;
Texts g_Messages;

/// Sets both callbacks for the life of the object.
struct Listener {
    Listener() {
        g_Told.clear();
        g_Messages.clear();
        LibCrypto::tkPKCS11_SetErrorLoggingFunc([](std::string text) { g_Told.push_back(text); });
        LibCrypto::tkPKCS11_SetMessageLoggingFunc([](std::string text) { g_Messages.push_back(text); });
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() {
        LibCrypto::tkPKCS11_SetErrorLoggingFunc(nullptr);
        LibCrypto::tkPKCS11_SetMessageLoggingFunc(nullptr);
    }
};

} // namespace

TEST(LibCrypto, DropsMessagesWithoutACallback) {
    { const Listener cleared; }
    LibCrypto::LogError("text");
    LibCrypto::LogError("text", 1);
    LibCrypto::LogError("text", "more");
    LibCrypto::LogMessage("text");
    LibCrypto::LogMessage("text", 1);
    LibCrypto::LogMessage("text", "more");
    EXPECT_TRUE(g_Told.empty());
    EXPECT_TRUE(g_Messages.empty());
}

TEST(LibCrypto, SendsErrorsToTheErrorCallback) {
    const Listener listener;
    LibCrypto::LogError("text");
    LibCrypto::LogError("text", 42);
    LibCrypto::LogError("text", -1);
    LibCrypto::LogError("text", "more");
    EXPECT_EQ((Texts{"text", "text, 42", "text, -1", "textmore"}), g_Told);
    EXPECT_TRUE(g_Messages.empty());
}

TEST(LibCrypto, SendsMessagesToTheMessageCallback) {
    const Listener listener;
    LibCrypto::LogMessage("text");
    LibCrypto::LogMessage("text", 42);
    LibCrypto::LogMessage("text", "more");
    EXPECT_EQ((Texts{"text", "text, 42", "textmore"}), g_Messages);
    EXPECT_TRUE(g_Told.empty());
}
