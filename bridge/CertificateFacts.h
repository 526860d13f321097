// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_CERTIFICATEFACTS_H
#define ORSEL_BRIDGE_CERTIFICATEFACTS_H

#include <optional>

#include "tokenlib/PublicParts.h"

namespace orselbridge {

using tokenlib::Bytes;

/// What a certificate says of its key.
struct CertificateFacts {
    bool m_IsForNonRepudiation = false;         ///< RFC 5280, 4.2.1.3: bit 1 of the key usage
    bool m_MaySign = true;                      ///< its key usage has a bit for signatures, or there is none
    bool m_IsAuthority = false;                 ///< of somebody who certifies others
    Bytes m_Subject;                            ///< DER
    std::optional<tokenlib::PublicParts> m_Key; ///< nothing: neither RSA nor EC on a named curve
};

/// Nothing when the bytes are no certificate in DER.
std::optional<CertificateFacts> FactsOf(const Bytes& der);

} // namespace orselbridge

#endif
