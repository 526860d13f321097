// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_DEMOAUTHORITY_H
#define ORSEL_SIMULATOR_DECK_DEMOAUTHORITY_H

#include <string>

#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"
#include "tokenlib/OpenSslHandles.h"

namespace orselsim {

/// What a certificate's key is for.
enum class CertificateUse { SIGNATURE, ENCRYPTION };

/// Throws std::runtime_error unless the name has at least one character and fits a common name.
void CheckHolderName(const std::string& holder);

/// The invented authority of a deck: it issues the certificates of all cards in it.
class DemoAuthority {
public:
    /// Opens the authority of a deck, or makes one there.
    static DemoAuthority Of(const std::string& deckDirectory);

    /// DER of a certificate for the holder; throws std::runtime_error when a field does not fit.
    Bytes Issue(const std::string& holder, const std::string& cardSerial, EVP_PKEY* publicKey,
                CertificateUse use) const;

    /// DER of the authority's own certificate.
    const Bytes& Certificate() const { return m_Certificate; }

    /// ECDSA signature with SHA-256 over the bytes, in DER.
    Bytes Sign(const Bytes& bytes) const;

private:
    DemoAuthority(KeyPtr key, Bytes certificate)
        : m_Key(std::move(key)), m_Certificate(std::move(certificate)) {}

    KeyPtr m_Key;
    Bytes m_Certificate;
};

} // namespace orselsim

#endif
