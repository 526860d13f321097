// SPDX-License-Identifier: MIT
#include "formats/slCertLogging.h"

namespace Velmor {

namespace {

using Callback = void (*)(const char*);

Callback ErrorCallback = nullptr;
Callback MessageCallback = nullptr;
Callback DebugCallback = nullptr;

void Send(Callback callback, const std::string& text) {
    if (callback != nullptr) {
        callback(text.c_str());
    }
}

} // namespace

void SLCERT_SetErrorLoggingFunc(Callback callback) {
    ErrorCallback = callback;
}

void SLCERT_SetMessageLoggingFunc(Callback callback) {
    MessageCallback = callback;
}

void SLCERT_SetDebugLoggingFunc(Callback callback) {
    DebugCallback = callback;
}

void SLCERT_LogError(const std::string& text) {
    Send(ErrorCallback, text);
}

void SLCERT_LogMessage(const std::string& text) {
    Send(MessageCallback, text);
}

void SLCERT_LogDebug(const std::string& text) {
    Send(DebugCallback, text);
}

} // namespace Velmor
