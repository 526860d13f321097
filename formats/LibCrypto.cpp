// SPDX-License-Identifier: MIT
#include "formats/LibCrypto.h"

namespace Velmor::LibCrypto {

namespace {

void (*g_ErrorCallback)(std::string) = nullptr;
void (*g_MessageCallback)(std::string) = nullptr;

void Send(void (*callback)(std::string), const std::string& text) {
    if (callback != nullptr) {
        callback(text);
    }
}

} // namespace

void tkPKCS11_SetErrorLoggingFunc(void (*callback)(std::string)) {
    g_ErrorCallback = callback;
}

void tkPKCS11_SetMessageLoggingFunc(void (*callback)(std::string)) {
    g_MessageCallback = callback;
}

void LogError(const std::string& text) {
    Send(g_ErrorCallback, text);
}

void LogError(const std::string& text, int number) {
    Send(g_ErrorCallback, text + ", " + std::to_string(number));
}

void LogError(const std::string& text, const std::string& more) {
    Send(g_ErrorCallback, text + more);
}

void LogMessage(const std::string& text) {
    Send(g_MessageCallback, text);
}

void LogMessage(const std::string& text, int number) {
    Send(g_MessageCallback, text + ", " + std::to_string(number));
}

void LogMessage(const std::string& text, const std::string& more) {
    Send(g_MessageCallback, text + more);
}

} // namespace Velmor::LibCrypto
