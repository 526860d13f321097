// SPDX-License-Identifier: MIT
// Bytes as the tests of this room write and compare them.
#ifndef ORSEL_TESTS_FORMATS_BYTES_H
#define ORSEL_TESTS_FORMATS_BYTES_H

#include <string>
#include <vector>

#include <openssl/bn.h>

#include "formats/OpenSslHandle.h"

using Bytes = std::vector<unsigned char>;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// What libcrypto makes of a big-endian number.
inline std::string DecimalOf(const Bytes& bytes) {
    const Velmor::BnHandle number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    const Velmor::BnTextHandle text(BN_bn2dec(number.get()));
    return text.get();
}

#endif
