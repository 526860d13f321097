// SPDX-License-Identifier: MIT
#include "foundation/LibConfig.h"

namespace Velmor::LibConfig {

namespace {

void (*g_ErrorCallback)(const char*) = nullptr;

} // namespace

void SetErrorLoggingFunc(void (*callback)(const char*)) {
    g_ErrorCallback = callback;
}

void LogError(const char* text) {
    if (g_ErrorCallback != nullptr) {
        g_ErrorCallback(text);
    }
}

void LogError(const char* text, unsigned long /*number*/) {
    LogError(text);
}

} // namespace Velmor::LibConfig
