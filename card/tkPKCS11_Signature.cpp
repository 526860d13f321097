// SPDX-License-Identifier: MIT
// Signing and verifying on the card. No PIN passes through here: the token library asks for it in C_Sign.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <array>

#include "card/CallP11.h"
#include "card/CardLabels.h"
#include "card/CardObjects.h"
#include "card/SessionGuard.h"
#include "card/tkPKCS11Logging.h"
#include "formats/Hash.h"
#include "formats/slCertificate.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

constexpr unsigned long NO_MECHANISM = static_cast<unsigned long>(-1);
constexpr size_t SIGN_BUFFER_SIZE = 2048;
constexpr const char* UNKNOWN_ALGORITHM = "PKCS11 Unbekannter Signaturalgorihtmus"; // spelt so in the log

struct MechanismRule {
    CK_KEY_TYPE m_KeyType;
    HashAlgorithm m_Hash;
    CK_MECHANISM_TYPE m_Mechanism;
};

constexpr MechanismRule MECHANISM_RULES[] = {
    {CKK_RSA, HASH_SHA1, CKM_SHA1_RSA_PKCS},     {CKK_RSA, HASH_RIPEMD160, CKM_RIPEMD160_RSA_PKCS},
    {CKK_RSA, HASH_SHA256, CKM_SHA256_RSA_PKCS}, {CKK_RSA, HASH_SHA384, CKM_SHA384_RSA_PKCS},
    {CKK_RSA, HASH_SHA512, CKM_SHA512_RSA_PKCS}, {CKK_RSA, HASH_RAW, CKM_RSA_PKCS},
    {CKK_ECDSA, HASH_SHA1, CKM_ECDSA_SHA1},      {CKK_ECDSA, HASH_RAW, CKM_ECDSA},
};

/// What the signing form with a hash hands to the card: the data itself, or a hash with or without its
/// DigestInfo.
enum class SignInput { DATA, HASH_WITH_DIGEST_INFO, HASH };

struct SignPlan {
    CK_MECHANISM_TYPE m_Mechanism;
    SignInput m_Input;
};

SignPlan PlanOf(SignKey key, HashAlgorithm hash, bool sigKey) {
    if (key == KEY_ECC) {
        return hash == HASH_SHA1 ? SignPlan{CKM_ECDSA_SHA1, SignInput::DATA}
                                 : SignPlan{CKM_ECDSA, SignInput::HASH};
    }
    if (hash == HASH_SHA1) {
        return {CKM_SHA1_RSA_PKCS, SignInput::DATA};
    }
    if (hash == HASH_RIPEMD160 && sigKey) {
        return {CKM_RIPEMD160_RSA_PKCS, SignInput::DATA};
    }
    return {CKM_RSA_PKCS, SignInput::HASH_WITH_DIGEST_INFO};
}

/// The tests that both buffer forms of signString begin with, in their order.
bool InputsAreGood(bool sessionIsOpen, const unsigned char* in, unsigned long inLen,
                   const unsigned char* out) {
    const char* problem = nullptr;
    if (!sessionIsOpen) {
        problem = "PKCS11 Session nicht offen";
    } else if (inLen == 0) {
        problem = "PKCS11 insize == 0";
    } else if (in == nullptr) {
        problem = "PKCS11 input == NULL";
    } else if (out == nullptr) {
        problem = "PKCS11 output == NULL";
    }
    if (problem != nullptr) {
        LogError(problem);
    }
    return problem == nullptr;
}

/// A private key on the card.
struct PrivateKey {
    unsigned long m_Handle = 0;
    CK_KEY_TYPE m_KeyType = 0;
};

/// Searches all private keys with texts of its own.
bool FindPrivateKeysDirectly(CK_SESSION_HANDLE session, FoundObjects& found) {
    ObjectTemplate wanted(CKO_PRIVATE_KEY);
    return SearchObjects(session, wanted.Attributes(), wanted.Count(), found.m_Handles, MAX_OBJECTS,
                         &found.m_Count, DIRECT_SEARCH_TEXTS);
}

/// Walks the handles for a key whose label begins with this one. A failed read moves on to the next; with
/// reportFailures it is reported.
bool FindKeyByLabel(CK_SESSION_HANDLE session, const FoundObjects& found, const std::string& label,
                    PrivateKey& key, bool reportFailures) {
    for (const unsigned long handle : found) {
        ObjectText keyLabel;
        CK_KEY_TYPE keyType = 0;
        const CK_RV rv = ReadAttributes(session, handle,
                                        {Wanted(CKA_LABEL, keyLabel), WantedNumber(CKA_KEY_TYPE, keyType)});
        if (rv == CKR_OK && keyLabel.BeginsWith(label)) {
            key = {handle, keyType};
            return true;
        }
        if (rv != CKR_OK && reportFailures) {
            LogError("PKCS11 Proc_C_GetAttributeValue", rv);
        }
    }
    return false;
}

/// The kind of key that the signature operations tell apart. False for a key that is neither.
bool KindOf(CK_KEY_TYPE keyType, SignKey& key) {
    if (keyType != CKK_RSA && keyType != CKK_ECDSA) {
        return false;
    }
    key = keyType == CKK_RSA ? KEY_RSA : KEY_ECC;
    return true;
}

/// The last two steps of every signString.
bool SignOnCard(CK_SESSION_HANDLE session, unsigned long handle, CK_MECHANISM mechanism, unsigned char* in,
                unsigned long inLen, unsigned char* out, unsigned long& outLen) {
    CK_RV rv = CallP11(tkPKCS11::Proc_C_SignInit, session, &mechanism, handle);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_SignInit ERROR", rv);
        return false;
    }
    LogMessage("PKCS11 Anzeige: Bitte PIN eingeben");
    const unsigned long capacity = outLen;
    rv = CallP11(tkPKCS11::Proc_C_Sign, session, in, inLen, out, &outLen);
    rv = CheckedLength(rv, outLen, capacity);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_Sign ERROR", rv);
        return false;
    }
    return true;
}

/// Asks for the size, then for the signature, and appends it.
bool SignInTwoCalls(CK_SESSION_HANDLE session, const std::vector<unsigned char>& data,
                    std::vector<unsigned char>& signature) {
    std::vector<unsigned char> copy = data;
    std::vector<unsigned char> buffer;
    unsigned long length = 0;
    const auto sign = [&](unsigned char* out, unsigned long offered) {
        const CK_RV answer = CallP11(tkPKCS11::Proc_C_Sign, session, copy.data(), copy.size(), out, &length);
        const CK_RV rv = CheckedLength(answer, length, offered);
        if (rv != CKR_OK) {
            LogError("PKCS11 Proc_C_Sign", rv);
        }
        return rv == CKR_OK;
    };
    if (!sign(nullptr, MAX_PLAUSIBLE_SIGNATURE) || length == 0) {
        return false;
    }
    buffer.resize(length);
    if (!sign(buffer.data(), buffer.size())) {
        return false;
    }
    signature.insert(signature.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
    return true;
}

/// What goes to the card in the signing form with a hash.
struct SignBuffer {
    std::array<unsigned char, SIGN_BUFFER_SIZE> m_Bytes;
    unsigned long m_Length = 0;
};

/// False for more than fits.
bool Fill(SignBuffer& buffer, const unsigned char* data, unsigned long length) {
    if (length > buffer.m_Bytes.size()) {
        return false;
    }
    std::copy(data, data + length, buffer.m_Bytes.begin());
    buffer.m_Length = length;
    return true;
}

unsigned long MechanismOf(unsigned long keyType, HashAlgorithm hash) {
    const auto rule =
        std::find_if(std::begin(MECHANISM_RULES), std::end(MECHANISM_RULES),
                     [&](const MechanismRule& r) { return r.m_KeyType == keyType && r.m_Hash == hash; });
    return rule != std::end(MECHANISM_RULES) ? rule->m_Mechanism : NO_MECHANISM;
}

/// False, with a message, when there is none.
bool ChooseMechanism(unsigned long keyType, HashAlgorithm hash, CK_MECHANISM& mechanism) {
    mechanism = {MechanismOf(keyType, hash), nullptr, 0};
    if (mechanism.mechanism == NO_MECHANISM) {
        LogError(UNKNOWN_ALGORITHM);
    }
    return mechanism.mechanism != NO_MECHANISM;
}

/// The walk of the signString family, which tells of what it finds.
bool FindKeyAloud(CK_SESSION_HANDLE session, const FoundObjects& found, bool sigKey, PrivateKey& key) {
    const bool isFound = FindKeyByLabel(session, found, LabelsOf(sigKey).m_PrivateKey, key, false);
    if (isFound) {
        LogMessage("PKCS11 Key Found");
    } else {
        LogError("PKCS11 Key NOT Found");
    }
    return isFound;
}

} // namespace

unsigned long tkPKCS11::KeyAndHashAlgoToMechanism(unsigned long keyType, HashAlgorithm hash) {
    return MechanismOf(keyType, hash);
}

bool tkPKCS11::hashString(unsigned char* data, unsigned long len, std::vector<unsigned char>& out,
                          HashAlgorithm hash, bool digestInfo) {
    LogMessage("tkPKCS11::hashString");
    std::vector<unsigned char> copy;
    copy.reserve(len + 1); // an empty text is hashed too, which takes a vector that has held storage
    copy.assign(data, data + len);
    return Hash(copy, out, hash, digestInfo);
}

// --- signString --------------------------------------------------------------------------------------------

bool tkPKCS11::signString(unsigned char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen,
                          bool sigKey) {
    LogMessage("tkPKCS11::signString");
    if (!InputsAreGood(m_hSession != 0, in, inLen, out)) {
        return false;
    }
    FoundObjects found;
    PrivateKey key;
    CK_MECHANISM mechanism = {};
    return SearchClass(CKO_PRIVATE_KEY, found, "PKCS11 FindObjects ERROR") &&
           FindKeyAloud(m_hSession, found, sigKey, key) &&
           ChooseMechanism(key.m_KeyType, HASH_SHA1, mechanism) &&
           SignOnCard(m_hSession, key.m_Handle, mechanism, in, inLen, out, outLen);
}

bool tkPKCS11::signString(char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen,
                          bool sigKey) {
    LogMessage("tkPKCS11::signString(char*)");
    return signString(reinterpret_cast<unsigned char*>(in), inLen, out, outLen, sigKey);
}

bool tkPKCS11::signString(unsigned char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen,
                          bool sigKey, HashAlgorithm hash) {
    SignKey key = KEY_RSA;
    return signString(in, inLen, out, outLen, key, sigKey, hash);
}

bool tkPKCS11::signString(unsigned char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen,
                          SignKey& key, bool sigKey, HashAlgorithm hash) {
    LogMessage("tkPKCS11::signString with HashAlgorithm");
    if (!InputsAreGood(m_hSession != 0, in, inLen, out)) {
        return false;
    }
    FoundObjects found;
    PrivateKey privateKey;
    if (!FindPrivateKeysDirectly(m_hSession, found) || !FindKeyAloud(m_hSession, found, sigKey, privateKey)) {
        return false;
    }
    if (!KindOf(privateKey.m_KeyType, key)) {
        LogError(UNKNOWN_ALGORITHM);
        return false;
    }
    const SignPlan plan = PlanOf(key, hash, sigKey);
    SignBuffer buffer;
    if (plan.m_Input == SignInput::DATA) {
        if (!Fill(buffer, in, inLen)) {
            LogError("Data size too long: " + std::to_string(inLen) + " bytes");
            return false;
        }
    } else {
        std::vector<unsigned char> digest;
        if (!hashString(in, inLen, digest, hash, plan.m_Input == SignInput::HASH_WITH_DIGEST_INFO)) {
            LogError("PKCS11 ERROR hashing data");
            return false;
        }
        if (!Fill(buffer, digest.data(), digest.size())) {
            LogError("PKCS11 buffer size error");
            return false;
        }
    }
    return SignOnCard(m_hSession, privateKey.m_Handle, {plan.m_Mechanism, nullptr, 0}, buffer.m_Bytes.data(),
                      buffer.m_Length, out, outLen);
}

// --- Sign, Verify ------------------------------------------------------------------------------------------

bool tkPKCS11::Sign(const std::string& label, const std::vector<unsigned char>& data,
                    std::vector<unsigned char>& signature) {
    return Sign(label, data, signature, HASH_SHA1);
}

bool tkPKCS11::Sign(const std::string& label, const std::vector<unsigned char>& data,
                    std::vector<unsigned char>& signature, HashAlgorithm hash) {
    FoundObjects found;
    PrivateKey key;
    CK_MECHANISM mechanism = {};
    if (m_hSession == 0 || !SearchClass(CKO_PRIVATE_KEY, found, "PKCS11 FindObjects") ||
        !FindKeyByLabel(m_hSession, found, label, key, true) ||
        !ChooseMechanism(key.m_KeyType, hash, mechanism)) {
        return false;
    }
    const CK_RV rv = CallP11(Proc_C_SignInit, m_hSession, &mechanism, key.m_Handle);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_SignInit", rv);
        return false;
    }
    return SignInTwoCalls(m_hSession, data, signature);
}

bool tkPKCS11::Verify(const std::string& label, const std::vector<unsigned char>& signature,
                      std::vector<unsigned char>& data) {
    return Verify(label, signature, data, HASH_SHA1);
}

bool tkPKCS11::Verify(const std::string& label, const std::vector<unsigned char>& signature,
                      std::vector<unsigned char>& data, HashAlgorithm hash) {
    if (m_hSession == 0) {
        return false;
    }
    ObjectTemplate wanted(CKO_PUBLIC_KEY, CKA_LABEL, label);
    FoundObjects found;
    if (!Search(wanted, found)) {
        LogError("PKCS11 FindObjects");
        return false;
    }
    if (found.empty()) {
        return false;
    }
    CK_KEY_TYPE keyType = 0;
    CK_RV rv = ReadAttributes(m_hSession, found.First(), {WantedNumber(CKA_KEY_TYPE, keyType)});
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetAttributeValue", rv);
        return false;
    }
    CK_MECHANISM mechanism = {};
    if (!ChooseMechanism(keyType, hash, mechanism)) {
        return false;
    }
    rv = CallP11(Proc_C_VerifyInit, m_hSession, &mechanism, found.First());
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_VerifyInit", rv);
        return false;
    }
    std::vector<unsigned char> signatureCopy = signature;
    rv = CallP11(Proc_C_Verify, m_hSession, data.data(), data.size(), signatureCopy.data(),
                 signatureCopy.size());
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_Verify ERROR", rv);
        return false;
    }
    return true;
}

// --- By certificate ----------------------------------------------------------------------------------------

bool tkPKCS11::Sign(const std::wstring& thumbprint, const std::vector<unsigned char>& data,
                    slCertificate& cert, std::vector<unsigned char>& signature) {
    if (!init()) {
        return false;
    }
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots) || slots.empty()) {
        return false;
    }
    for (int index = 0; index < std::min(static_cast<int>(slots.size()), MAX_CARDS); ++index) {
        const SessionGuard session(this, OpenSession(index, false));
        std::string label;
        if (session.IsOpen() && findCertAndKey(thumbprint, cert, label)) {
            return Sign(label, data, signature);
        }
    }
    return false;
}

bool tkPKCS11::findPrivateKeyFromID(const std::string& id, std::string& label) {
    if (m_hSession == 0) {
        LogError("findPrivateKeyFromID, Session not initialized");
        return false;
    }
    ObjectTemplate wanted(CKO_PRIVATE_KEY, CKA_ID, id);
    FoundObjects found;
    if (!Search(wanted, found)) {
        LogError("PKCS11 FindObjects");
        return false;
    }
    if (found.m_Count != 1) {
        return false;
    }
    ObjectText keyLabel;
    const CK_RV rv = ReadAttributes(m_hSession, found.First(), {Wanted(CKA_LABEL, keyLabel)});
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetAttributeValue", rv);
    } else {
        label = keyLabel.text();
    }
    return !label.empty();
}

// --- Kind of key and hash ----------------------------------------------------------------------------------

bool tkPKCS11::GetSignKeyType(SignKey& key, bool sigKey) {
    LogMessage("PKCS11 GetSignKeyType");
    if (!RequireSession()) {
        return false;
    }
    FoundObjects found;
    if (!FindPrivateKeysDirectly(m_hSession, found)) {
        return false;
    }
    PrivateKey privateKey;
    if (!FindKeyByLabel(m_hSession, found, LabelsOf(sigKey).m_PrivateKey, privateKey, false)) {
        return true; // no such key is no failure
    }
    LogMessage("PKCS11 Key Found");
    return KindOf(privateKey.m_KeyType, key);
}

/// Older chips know no SHA-256.
static HashAlgorithm HashOfKeyAndCard(SignKey key, int cardType) {
    if (key == KEY_RSA) {
        return cardType == CARD_CARDOS ? HASH_SHA256 : HASH_RIPEMD160;
    }
    if (key == KEY_ECC) {
        return cardType >= CARD_ACOS_A03 && cardType <= CARD_ELU ? HASH_RIPEMD160 : HASH_SHA256;
    }
    return HASH_RIPEMD160;
}

HashAlgorithm tkPKCS11::GetHashAlgorithm(SignKey key) {
    if (m_CardType < CARD_ACOS_A03 + 1) { // so the oldest ACOS generation is loaded anew at every call
        LoadCardType();
    }
    LogMessage("GetHashAlgorithm");
    const HashAlgorithm hash = HashOfKeyAndCard(key, m_CardType);
    LogMessage("GetHashAlgorithm, KeyType=" + std::to_string(key) +
               ", CardType=" + std::to_string(m_CardType) + ", hashalgo=" + std::to_string(hash));
    return hash;
}

} // namespace Velmor
