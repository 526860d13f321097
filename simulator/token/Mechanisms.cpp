// SPDX-License-Identifier: MIT
#include "simulator/token/Mechanisms.h"

#include <algorithm>

#include "tokenlib/Refusal.h"

namespace orselsim {

const std::vector<Mechanism>& Mechanisms() {
    static const std::vector<Mechanism> table = {
        {CKM_RSA_PKCS, CKK_RSA, nullptr},
        {CKM_SHA1_RSA_PKCS, CKK_RSA, "SHA1"},
        {CKM_RIPEMD160_RSA_PKCS, CKK_RSA, "RIPEMD160"},
        {CKM_SHA256_RSA_PKCS, CKK_RSA, "SHA256"},
        {CKM_SHA384_RSA_PKCS, CKK_RSA, "SHA384"},
        {CKM_SHA512_RSA_PKCS, CKK_RSA, "SHA512"},
        {CKM_ECDSA, CKK_EC, nullptr},
        {CKM_ECDSA_SHA1, CKK_EC, "SHA1"},
    };
    return table;
}

const Mechanism* FindMechanism(CK_MECHANISM_TYPE type) {
    const auto& table = Mechanisms();
    const auto found =
        std::find_if(table.begin(), table.end(), [type](const Mechanism& m) { return m.m_Type == type; });
    return found == table.end() ? nullptr : &*found;
}

CK_MECHANISM_INFO MechanismInfo(CK_MECHANISM_TYPE type) {
    const Mechanism* mechanism = FindMechanism(type);
    if (mechanism == nullptr) {
        throw Refusal{CKR_MECHANISM_INVALID};
    }
    CK_MECHANISM_INFO info = {};
    info.flags = CKF_HW | CKF_SIGN | CKF_VERIFY;
    if (mechanism->m_KeyType == CKK_RSA) {
        info.ulMinKeySize = 1536;
        info.ulMaxKeySize = 2048;
    } else {
        info.ulMinKeySize = 192;
        info.ulMaxKeySize = 256;
        info.flags |= CKF_EC_F_P | CKF_EC_NAMEDCURVE | CKF_EC_UNCOMPRESS;
    }
    return info;
}

} // namespace orselsim
