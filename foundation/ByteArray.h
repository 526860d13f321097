// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_BYTEARRAY_H
#define ORSEL_FOUNDATION_BYTEARRAY_H

#include <vector>

namespace Velmor {

/// A growable sequence of bytes: a vector with hex text, trim, pad and sub-array operations.
class ByteArray : public std::vector<unsigned char> {};

} // namespace Velmor

#endif
