// SPDX-License-Identifier: MIT
#include "bridge/KeyPairs.h"

#include <algorithm>
#include <tuple>

namespace orselbridge {

namespace {

using tokenlib::NumberValue;

/// Collects the objects of a token into pairs. An object without an id goes by its label.
class Collector {
public:
    explicit Collector(const InnerSession& session) : m_Session(session) {}

    std::vector<KeyPair> Collect() {
        for (const CK_OBJECT_HANDLE key : Objects(CKO_PRIVATE_KEY)) {
            AddPrivateKey(key);
        }
        for (const CK_OBJECT_HANDLE key : Objects(CKO_PUBLIC_KEY)) {
            AddPublicKey(key);
        }
        for (const CK_OBJECT_HANDLE certificate : Objects(CKO_CERTIFICATE)) {
            AddCertificate(certificate);
        }
        std::stable_sort(m_Pairs.begin(), m_Pairs.end(), [](const KeyPair& a, const KeyPair& b) {
            return std::tie(a.m_Id, a.m_Label) < std::tie(b.m_Id, b.m_Label);
        });
        return std::move(m_Pairs);
    }

private:
    std::vector<CK_OBJECT_HANDLE> Objects(CK_OBJECT_CLASS objectClass) const {
        return m_Session.Find({{CKA_CLASS, NumberValue(objectClass)}});
    }

    /// Null for a second one of its kind, such as the certificate that came before a renewed one.
    KeyPair* PairOf(CK_OBJECT_HANDLE object, CK_OBJECT_HANDLE KeyPair::*place) {
        const Bytes id = m_Session.Read(object, CKA_ID).value_or(Bytes());
        const std::string label = m_Session.ReadText(object, CKA_LABEL);
        const auto found = std::find_if(m_Pairs.begin(), m_Pairs.end(), [&](const KeyPair& pair) {
            return pair.m_Id == id && (!id.empty() || pair.m_Label == label);
        });
        if (found != m_Pairs.end() && (*found).*place != 0) {
            return nullptr;
        }
        KeyPair& pair = found != m_Pairs.end() ? *found : m_Pairs.emplace_back();
        pair.*place = object;
        pair.m_Id = id;
        if (pair.m_Label.empty()) {
            pair.m_Label = label;
        }
        return &pair;
    }

    void CopyPublic(KeyPair& pair, CK_OBJECT_HANDLE key) const {
        for (const CK_ATTRIBUTE_TYPE type :
             {CKA_KEY_TYPE, CKA_MODULUS, CKA_PUBLIC_EXPONENT, CKA_EC_PARAMS, CKA_EC_POINT}) {
            if (const auto value = m_Session.Read(key, type); value && !value->empty()) {
                pair.m_Public[type] = *value;
            }
        }
    }

    void AddPrivateKey(CK_OBJECT_HANDLE key) {
        if (KeyPair* pair = PairOf(key, &KeyPair::m_PrivateKey)) {
            pair->m_AsksAtEachUse = m_Session.ReadFlag(key, CKA_ALWAYS_AUTHENTICATE);
            pair->m_MaySign = m_Session.ReadFlag(key, CKA_SIGN);
            CopyPublic(*pair, key);
        }
    }

    void AddPublicKey(CK_OBJECT_HANDLE key) {
        KeyPair* pair = PairOf(key, &KeyPair::m_PublicKey);
        if (pair == nullptr) {
            return;
        }
        if (pair->m_PrivateKey == 0) {
            pair->m_MaySign = m_Session.ReadFlag(key, CKA_VERIFY);
        }
        CopyPublic(*pair, key);
    }

    void AddCertificate(CK_OBJECT_HANDLE certificate) {
        const auto facts = FactsOf(m_Session.Read(certificate, CKA_VALUE).value_or(Bytes()));
        if (!facts || facts->m_IsAuthority) {
            return;
        }
        KeyPair* found = PairOf(certificate, &KeyPair::m_Certificate);
        if (found == nullptr) {
            return;
        }
        KeyPair& pair = *found;
        pair.m_IsForNonRepudiation = facts->m_IsForNonRepudiation;
        if (pair.m_PrivateKey == 0 && pair.m_PublicKey == 0) {
            pair.m_MaySign = facts->m_MaySign;
        }
        if (facts->m_Key && pair.m_Public.empty()) {
            tokenlib::AddPublicParts(pair.m_Public, *facts->m_Key, false);
        }
        pair.m_Public[CKA_SUBJECT] = facts->m_Subject;
    }

    const InnerSession& m_Session;
    std::vector<KeyPair> m_Pairs;
};

} // namespace

std::vector<KeyPair> ReadKeyPairs(const InnerSession& session) {
    return Collector(session).Collect();
}

} // namespace orselbridge
