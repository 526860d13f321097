// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_MECHANISMS_H
#define ORSEL_SIMULATOR_TOKEN_MECHANISMS_H

#include <vector>

#include "simulator/store/Shared.h"
#include "tokenlib/Pkcs11.h"

namespace orselsim {

/// A way to sign that every token of this library knows.
struct Mechanism {
    CK_MECHANISM_TYPE m_Type;
    CK_KEY_TYPE m_KeyType;
    const char*
        m_Digest; ///< libcrypto's name of the hash that the token makes, null: data is signed unhashed
};

const std::vector<Mechanism>& Mechanisms();

/// Null for a mechanism that no token knows.
const Mechanism* FindMechanism(CK_MECHANISM_TYPE type);

/// Throws Refusal for a mechanism that no token knows.
CK_MECHANISM_INFO MechanismInfo(CK_MECHANISM_TYPE type);

} // namespace orselsim

#endif
