// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_LIBCONFIG_H
#define ORSEL_FOUNDATION_LIBCONFIG_H

/// How the configuration reports: through one process-wide callback, none at the start. A message without a
/// callback is dropped.
namespace Velmor::LibConfig {

/// Set before use; there is no lock.
void SetErrorLoggingFunc(void (*callback)(const char*));

void LogError(const char* text);
/// Passes the text alone: the number is dropped.
void LogError(const char* text, unsigned long number);

} // namespace Velmor::LibConfig

#endif
