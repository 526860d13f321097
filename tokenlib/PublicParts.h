// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_PUBLICPARTS_H
#define ORSEL_TOKENLIB_PUBLICPARTS_H

#include "tokenlib/Hex.h"
#include "tokenlib/OpenSslHandles.h"

namespace tokenlib {

/// The public numbers of a key in the forms in which a token shows them.
struct PublicParts {
    bool m_IsRsa = false;
    int m_Bits = 0;
    Bytes m_Modulus;  ///< RSA, big-endian without a leading zero
    Bytes m_Exponent; ///< RSA, likewise
    Bytes m_EcParams; ///< EC, DER of the curve's object identifier
    Bytes m_EcPoint;  ///< EC, uncompressed point without the OCTET STRING around it
};

/// Throws std::runtime_error for a key that is neither RSA nor EC on a named curve.
PublicParts PublicPartsOf(EVP_PKEY* key);

/// Bytes of a signature, both numbers one behind the other, with a key on the curve of this object
/// identifier in DER; 0 for a curve that libcrypto does not know.
std::size_t EcSignatureSize(const Bytes& ecParams);

} // namespace tokenlib

#endif
