// SPDX-License-Identifier: MIT
#include "foundation/LibConfig.h"

namespace Velmor::LibConfig {

namespace {

void (*ErrorCallback)(const char*) = nullptr;

} // namespace

void SetErrorLoggingFunc(void (*callback)(const char*)) {
    ErrorCallback = callback;
}

void LogError(const char* text) {
    if (ErrorCallback != nullptr) {
        ErrorCallback(text);
    }
}

void LogError(const char* text, unsigned long /*number*/) {
    LogError(text);
}

} // namespace Velmor::LibConfig
