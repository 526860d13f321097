// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_HEX_H
#define ORSEL_TOKENLIB_HEX_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tokenlib {

using Bytes = std::vector<unsigned char>;

/// Two upper-case digits a byte, no separators.
std::string ToHex(const Bytes& bytes);

/// Reads digits of either case; nothing for an odd number of digits or any other character.
std::optional<Bytes> FromHex(std::string_view text);

Bytes BytesOf(std::string_view text);
std::string TextOf(const Bytes& bytes);

} // namespace tokenlib

#endif
