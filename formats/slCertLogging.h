// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_SLCERTLOGGING_H
#define ORSEL_FORMATS_SLCERTLOGGING_H

#include <string>

/// How the certificate wrapper reports: through three process-wide callbacks, none at the start. A message
/// without a callback is dropped.
namespace Velmor {

/// Set before use; there is no lock.
void SLCERT_SetErrorLoggingFunc(void (*callback)(const char*));
void SLCERT_SetMessageLoggingFunc(void (*callback)(const char*));
void SLCERT_SetDebugLoggingFunc(void (*callback)(const char*));

void SLCERT_LogError(const std::string& text);
void SLCERT_LogMessage(const std::string& text);
void SLCERT_LogDebug(const std::string& text);

} // namespace Velmor

#endif
