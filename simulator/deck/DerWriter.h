// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_DERWRITER_H
#define ORSEL_SIMULATOR_DECK_DERWRITER_H

#include <string>

#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"

namespace orselsim {

/// Building blocks of ASN.1 in DER. Each gives tag, length and content.
namespace der {

Bytes Element(unsigned char tag, const Bytes& content);
Bytes Sequence(const Bytes& content);
Bytes Integer(unsigned char value); ///< 0 to 127
Bytes Utf8(const std::string& text);
Bytes BitString(const Bytes& bits);                        ///< whole bytes
Bytes Context(unsigned char number, const Bytes& content); ///< constructed [number]

} // namespace der

Bytes operator+(Bytes left, const Bytes& right);

} // namespace orselsim

#endif
