// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_DERWRITER_H
#define ORSEL_SIMULATOR_DECK_DERWRITER_H

#include <string>

#include "simulator/store/Hex.h"

namespace orselsim {

/// Building blocks of ASN.1 in DER. Each gives tag, length and content.
namespace der {

Bytes element(unsigned char tag, const Bytes& content);
Bytes sequence(const Bytes& content);
Bytes integer(unsigned char value); ///< 0 to 127
Bytes utf8(const std::string& text);
Bytes bitString(const Bytes& bits);                        ///< whole bytes
Bytes context(unsigned char number, const Bytes& content); ///< constructed [number]

} // namespace der

Bytes operator+(Bytes left, const Bytes& right);

} // namespace orselsim

#endif
