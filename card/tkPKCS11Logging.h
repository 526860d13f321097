// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_TKPKCS11LOGGING_H
#define ORSEL_CARD_TKPKCS11LOGGING_H

#include <string>

/// Where the card class reports. Both channels are silent until a host program installs a function.
namespace Velmor::tkPKCS11Logging {

/// Receives one message as zero-terminated text, on the thread that reports it.
using LoggingFunc = void (*)(const char*);

/// Null switches the channel off. Not guarded: to be set before any card object is in use.
void SetErrorLoggingFunc(LoggingFunc fn);
void SetMessageLoggingFunc(LoggingFunc fn);

void LogMessage(std::string msg);
/// Reports msg, one blank, value.
void LogMessage(std::string msg, std::string value);

void LogError(std::string msg);
/// Reports msg, one blank, value.
void LogError(std::string msg, std::string value);
/// Reports msg and the code as "0x" with lower-case hexadecimal digits, no blank between them.
void LogError(std::string msg, unsigned long code);

} // namespace Velmor::tkPKCS11Logging

#endif
