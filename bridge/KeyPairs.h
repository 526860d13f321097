// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_KEYPAIRS_H
#define ORSEL_BRIDGE_KEYPAIRS_H

#include <optional>
#include <string>
#include <vector>

#include "bridge/CertificateFacts.h"
#include "bridge/InnerSession.h"

namespace orselbridge {

/// A private key, its public half and its certificate, which belong together by their id. What the
/// module does not show has the handle 0; a private key is mostly hidden until somebody logs in.
struct KeyPair {
    Bytes m_Id;
    std::string m_Label; ///< of the private key, else of its public half, else of its certificate
    CK_OBJECT_HANDLE m_PrivateKey = 0;
    CK_OBJECT_HANDLE m_PublicKey = 0;
    CK_OBJECT_HANDLE m_Certificate = 0;
    bool m_AsksAtEachUse = false;       ///< CKA_ALWAYS_AUTHENTICATE, as far as it can be seen
    bool m_IsForNonRepudiation = false; ///< by the certificate
    bool m_MaySign = true;
    AttributeMap m_Public; ///< kind of key and public numbers, and the certificate's subject
};

/// The token's key pairs as they can be seen now, ordered by id and label, so that every session
/// finds the same order. Certificates of authorities are nobody's. Throws Refusal with the module's
/// code.
std::vector<KeyPair> ReadKeyPairs(const InnerSession& session);

} // namespace orselbridge

#endif
