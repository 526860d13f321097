// SPDX-License-Identifier: MIT
#include "card/tkPKCS11Logging.h"

#include <locale>
#include <sstream>

namespace Velmor::tkPKCS11Logging {

static LoggingFunc pt2LogError = nullptr;
static LoggingFunc pt2LogMessage = nullptr;

void SetErrorLoggingFunc(LoggingFunc fn) {
    pt2LogError = fn;
}

void SetMessageLoggingFunc(LoggingFunc fn) {
    pt2LogMessage = fn;
}

void LogMessage(std::string msg) {
    if (pt2LogMessage != nullptr) {
        pt2LogMessage(msg.c_str());
    }
}

void LogMessage(std::string msg, std::string value) {
    LogMessage(msg + " " + value);
}

void LogError(std::string msg) {
    if (pt2LogError != nullptr) {
        pt2LogError(msg.c_str());
    }
}

void LogError(std::string msg, std::string value) {
    LogError(msg + " " + value);
}

void LogError(std::string msg, unsigned long code) {
    std::ostringstream text;
    text.imbue(std::locale::classic()); // no grouping of digits, whatever the process asks for
    text << msg << "0x" << std::hex << code;
    LogError(text.str());
}

} // namespace Velmor::tkPKCS11Logging
