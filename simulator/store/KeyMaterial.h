// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_KEYMATERIAL_H
#define ORSEL_SIMULATOR_STORE_KEYMATERIAL_H

#include "simulator/store/Hex.h"
#include "simulator/store/OpenSslHandles.h"

namespace orselsim {

/// The public numbers of a key in the forms in which a token shows them.
struct PublicParts {
    bool m_IsRsa = false;
    int m_Bits = 0;
    Bytes m_Modulus;  ///< RSA, big-endian without a leading zero
    Bytes m_Exponent; ///< RSA, likewise
    Bytes m_EcParams; ///< EC, DER of the curve's object identifier
    Bytes m_EcPoint;  ///< EC, uncompressed point without the OCTET STRING around it
};

/// The kinds of key that cards hold.
enum class KeyForm { RSA1536, RSA2048, P192, P256 };

/// A new key pair; throws std::runtime_error when libcrypto makes none.
KeyPtr MakeKey(KeyForm form);

/// A PEM private or public key; null when the text holds neither. Never asks for a pass phrase.
KeyPtr ReadKey(const Bytes& pem);

/// Unencrypted PEM of a private key.
Bytes PrintPrivateKey(EVP_PKEY* key);

/// Throws std::runtime_error for a key that is neither RSA nor EC on a named curve.
PublicParts PublicPartsOf(EVP_PKEY* key);

} // namespace orselsim

#endif
