// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_NAMES_H
#define ORSEL_TOKENLIB_NAMES_H

#include <optional>
#include <string>
#include <string_view>

#include "tokenlib/Pkcs11.h"

namespace tokenlib {

/// Constants of the standard by name, as traces and fault files write them. A number without a
/// name is written in hexadecimal, such as 0x80000002.
std::string ReturnName(CK_RV code);
std::string AttributeName(CK_ATTRIBUTE_TYPE type);
std::string ClassName(CK_OBJECT_CLASS objectClass);
std::string MechanismName(CK_MECHANISM_TYPE mechanism);

/// The other way round; also takes numbers, decimal or with 0x. Nothing for anything else.
std::optional<CK_RV> ReturnByName(std::string_view name);
std::optional<CK_ATTRIBUTE_TYPE> AttributeByName(std::string_view name);
std::optional<unsigned long> NumberOf(std::string_view text);

} // namespace tokenlib

#endif
