// SPDX-License-Identifier: MIT
#include "tests/card/ProbedCard.h"

#include "card/tkPKCS11Logging.h"

namespace {

std::vector<std::string> g_Lines;

} // namespace

LogCapture::LogCapture() {
    g_Lines.clear();
    Velmor::tkPKCS11Logging::SetErrorLoggingFunc(
        [](const char* line) { g_Lines.push_back(std::string("E ") + line); });
    Velmor::tkPKCS11Logging::SetMessageLoggingFunc(
        [](const char* line) { g_Lines.push_back(std::string("M ") + line); });
}

LogCapture::~LogCapture() {
    Velmor::tkPKCS11Logging::SetErrorLoggingFunc(nullptr);
    Velmor::tkPKCS11Logging::SetMessageLoggingFunc(nullptr);
}

std::vector<std::string> LogCapture::Lines() {
    return g_Lines;
}

std::vector<std::string> LogCapture::Errors() {
    std::vector<std::string> errors;
    for (const std::string& line : g_Lines) {
        if (line[0] == 'E') {
            errors.push_back(line.substr(2));
        }
    }
    return errors;
}

void LogCapture::Clear() {
    g_Lines.clear();
}
