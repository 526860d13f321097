// SPDX-License-Identifier: MIT
#include "formats/slCertLogging.h"

namespace Velmor {

namespace {

using Callback = void (*)(const char*);

Callback g_ErrorCallback = nullptr;
Callback g_MessageCallback = nullptr;
Callback g_DebugCallback = nullptr;

void Send(Callback callback, const std::string& text) {
    if (callback != nullptr) {
        callback(text.c_str());
    }
}

} // namespace

void SLCERT_SetErrorLoggingFunc(Callback callback) {
    g_ErrorCallback = callback;
}

void SLCERT_SetMessageLoggingFunc(Callback callback) {
    g_MessageCallback = callback;
}

void SLCERT_SetDebugLoggingFunc(Callback callback) {
    g_DebugCallback = callback;
}

void SLCERT_LogError(const std::string& text) {
    Send(g_ErrorCallback, text);
}

void SLCERT_LogMessage(const std::string& text) {
    Send(g_MessageCallback, text);
}

void SLCERT_LogDebug(const std::string& text) {
    Send(g_DebugCallback, text);
}

} // namespace Velmor
