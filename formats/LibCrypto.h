// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_LIBCRYPTO_H
#define ORSEL_FORMATS_LIBCRYPTO_H

#include <string>

/// How the hash functions report: through two process-wide callbacks, none at the start. A message without a
/// callback is dropped.
namespace Velmor::LibCrypto {

/// Set before use; there is no lock.
void tkPKCS11_SetErrorLoggingFunc(void (*callback)(std::string));
void tkPKCS11_SetMessageLoggingFunc(void (*callback)(std::string));

void LogError(const std::string& text);
/// Appends a comma, a blank and the number.
void LogError(const std::string& text, int number);
/// Joins the two with nothing between.
void LogError(const std::string& text, const std::string& more);

void LogMessage(const std::string& text);
void LogMessage(const std::string& text, int number);
void LogMessage(const std::string& text, const std::string& more);

} // namespace Velmor::LibCrypto

#endif
