// SPDX-License-Identifier: MIT
#include "formats/LibCrypto.h"

namespace Velmor::LibCrypto {

namespace {

void (*ErrorCallback)(std::string) = nullptr;
void (*MessageCallback)(std::string) = nullptr;

void Send(void (*callback)(std::string), const std::string& text) {
    if (callback != nullptr) {
        callback(text);
    }
}

} // namespace

void tkPKCS11_SetErrorLoggingFunc(void (*callback)(std::string)) {
    ErrorCallback = callback;
}

void tkPKCS11_SetMessageLoggingFunc(void (*callback)(std::string)) {
    MessageCallback = callback;
}

void LogError(const std::string& text) {
    Send(ErrorCallback, text);
}

void LogError(const std::string& text, int number) {
    Send(ErrorCallback, text + ", " + std::to_string(number));
}

void LogError(const std::string& text, const std::string& more) {
    Send(ErrorCallback, text + more);
}

void LogMessage(const std::string& text) {
    Send(MessageCallback, text);
}

void LogMessage(const std::string& text, int number) {
    Send(MessageCallback, text + ", " + std::to_string(number));
}

void LogMessage(const std::string& text, const std::string& more) {
    Send(MessageCallback, text + more);
}

} // namespace Velmor::LibCrypto
