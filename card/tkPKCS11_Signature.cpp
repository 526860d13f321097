// SPDX-License-Identifier: MIT
// Signing and verifying on the card. No PIN passes through here: the token library asks for it in C_Sign.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <array>

#include "card/CallP11.h"
#include "card/CardLimits.h"
#include "card/tkPKCS11Logging.h"
#include "formats/Hash.h"
#include "formats/slCertificate.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

constexpr unsigned long NO_MECHANISM = static_cast<unsigned long>(-1);
constexpr size_t SIGN_BUFFER_SIZE = 2048;
constexpr const char* UNKNOWN_ALGORITHM = "PKCS11 Unbekannter Signaturalgorihtmus"; // misspelt as it is

struct MechanismRule {
    CK_KEY_TYPE keyType;
    HashAlgorithm hash;
    CK_MECHANISM_TYPE mechanism;
};

constexpr MechanismRule MECHANISM_RULES[] = {
    {CKK_RSA, HASH_SHA1, CKM_SHA1_RSA_PKCS},     {CKK_RSA, HASH_RIPEMD160, CKM_RIPEMD160_RSA_PKCS},
    {CKK_RSA, HASH_SHA256, CKM_SHA256_RSA_PKCS}, {CKK_RSA, HASH_SHA384, CKM_SHA384_RSA_PKCS},
    {CKK_RSA, HASH_SHA512, CKM_SHA512_RSA_PKCS}, {CKK_RSA, HASH_RAW, CKM_RSA_PKCS},
    {CKK_ECDSA, HASH_SHA1, CKM_ECDSA_SHA1},      {CKK_ECDSA, HASH_RAW, CKM_ECDSA},
};

std::string KeyLabel(bool sigKey) {
    return sigKey ? "SK.CH.SIG" : "SK.CH.EKEY";
}

/// What the signing form with a hash hands to the card: the data itself, or a hash with or without its
/// DigestInfo.
enum class SignInput { Data, HashWithDigestInfo, Hash };

struct SignPlan {
    CK_MECHANISM_TYPE mechanism;
    SignInput input;
};

SignPlan PlanOf(SignKey key, HashAlgorithm hash, bool sigKey) {
    if (key == KEY_ECC)
        return hash == HASH_SHA1 ? SignPlan{CKM_ECDSA_SHA1, SignInput::Data}
                                 : SignPlan{CKM_ECDSA, SignInput::Hash};
    if (hash == HASH_SHA1)
        return {CKM_SHA1_RSA_PKCS, SignInput::Data};
    if (hash == HASH_RIPEMD160 && sigKey)
        return {CKM_RIPEMD160_RSA_PKCS, SignInput::Data};
    return {CKM_RSA_PKCS, SignInput::HashWithDigestInfo};
}

/// The tests that both buffer forms of signString begin with, in their order.
bool InputsAreGood(bool sessionIsOpen, const unsigned char* in, unsigned long inLen,
                   const unsigned char* out) {
    const char* problem = nullptr;
    if (!sessionIsOpen)
        problem = "PKCS11 Session nicht offen";
    else if (inLen == 0)
        problem = "PKCS11 insize == 0";
    else if (in == nullptr)
        problem = "PKCS11 input == NULL";
    else if (out == nullptr)
        problem = "PKCS11 output == NULL";
    if (problem != nullptr)
        LogError(problem);
    return problem == nullptr;
}

/// A private key on the card.
struct PrivateKey {
    unsigned long handle = 0;
    CK_KEY_TYPE keyType = 0;
};

/// Searches all private keys with calls of its own, each of which reports its failure.
bool FindPrivateKeysDirectly(CK_SESSION_HANDLE session, unsigned long* handles, unsigned long* found) {
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_ATTRIBUTE tmpl = {CKA_CLASS, &objectClass, sizeof(objectClass)};
    CK_RV rv = CallP11(tkPKCS11::Proc_C_FindObjectsInit, session, &tmpl, 1);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjectsInit ERROR", rv);
        return false;
    }
    rv = CallP11(tkPKCS11::Proc_C_FindObjects, session, handles, MAX_OBJECTS, found);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjects ERROR", rv);
        return false; // the search stays open on purpose
    }
    rv = CallP11(tkPKCS11::Proc_C_FindObjectsFinal, session);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjectsFinal ERROR", rv);
        return false;
    }
    if (*found > MAX_OBJECTS) {
        LogError("PKCS11 Proc_C_FindObjects ERROR", CKR_BUFFER_TOO_SMALL);
        return false;
    }
    return true;
}

/// Walks the handles for a key whose label begins with this one. A failed read moves on to the next; with
/// reportFailures it is reported.
bool FindKeyByLabel(CK_SESSION_HANDLE session, const unsigned long* handles, unsigned long found,
                    const std::string& label, PrivateKey& key, bool reportFailures) {
    for (unsigned long i = 0; i < found; ++i) {
        ObjectText keyLabel;
        CK_KEY_TYPE keyType = 0;
        CK_ATTRIBUTE attributes[] = {
            {CKA_LABEL, keyLabel.bytes, sizeof(keyLabel.bytes)},
            {CKA_KEY_TYPE, &keyType, sizeof(keyType)},
        };
        CK_RV rv = CallP11(tkPKCS11::Proc_C_GetAttributeValue, session, handles[i], attributes, 2);
        keyLabel.length = attributes[0].ulValueLen;
        if (rv == CKR_OK && (!keyLabel.fits() || attributes[1].ulValueLen > sizeof(keyType)))
            rv = CKR_BUFFER_TOO_SMALL;
        if (rv != CKR_OK) {
            if (reportFailures)
                LogError("PKCS11 Proc_C_GetAttributeValue", rv);
            continue;
        }
        if (keyLabel.beginsWith(label)) {
            key = {handles[i], keyType};
            return true;
        }
    }
    return false;
}

/// The last two steps of every signString.
bool SignOnCard(CK_SESSION_HANDLE session, unsigned long handle, unsigned long mechanismType,
                unsigned char* in, unsigned long inLen, unsigned char* out, unsigned long& outLen) {
    CK_MECHANISM mechanism = {mechanismType, nullptr, 0};
    CK_RV rv = CallP11(tkPKCS11::Proc_C_SignInit, session, &mechanism, handle);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_SignInit ERROR", rv);
        return false;
    }
    LogMessage("PKCS11 Anzeige: Bitte PIN eingeben");
    const unsigned long capacity = outLen;
    rv = CallP11(tkPKCS11::Proc_C_Sign, session, in, inLen, out, &outLen);
    if (rv == CKR_OK && outLen > capacity)
        rv = CKR_BUFFER_TOO_SMALL;
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
    unsigned long length = 0;
    CK_RV rv = CallP11(tkPKCS11::Proc_C_Sign, session, copy.data(), copy.size(), nullptr, &length);
    if (rv == CKR_OK && length > MAX_PLAUSIBLE_SIGNATURE)
        rv = CKR_BUFFER_TOO_SMALL;
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_Sign", rv);
        return false;
    }
    if (length == 0)
        return false;
    std::vector<unsigned char> buffer(length);
    rv = CallP11(tkPKCS11::Proc_C_Sign, session, copy.data(), copy.size(), buffer.data(), &length);
    if (rv == CKR_OK && length > buffer.size())
        rv = CKR_BUFFER_TOO_SMALL;
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_Sign", rv);
        return false;
    }
    signature.insert(signature.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
    return true;
}

} // namespace

unsigned long tkPKCS11::KeyAndHashAlgoToMechanism(unsigned long keyType, HashAlgorithm hash) {
    for (const MechanismRule& rule : MECHANISM_RULES) {
        if (rule.keyType == keyType && rule.hash == hash)
            return rule.mechanism;
    }
    return NO_MECHANISM;
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
    if (!InputsAreGood(m_hSession != 0, in, inLen, out))
        return false;
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjectsOfClass(CKO_PRIVATE_KEY, handles, &found)) {
        LogError("PKCS11 FindObjects ERROR");
        return false;
    }
    PrivateKey key;
    if (!FindKeyByLabel(m_hSession, handles, found, KeyLabel(sigKey), key, false)) {
        LogError("PKCS11 Key NOT Found");
        return false;
    }
    LogMessage("PKCS11 Key Found");
    const unsigned long mechanism = KeyAndHashAlgoToMechanism(key.keyType, HASH_SHA1);
    if (mechanism == NO_MECHANISM) {
        LogError(UNKNOWN_ALGORITHM);
        return false;
    }
    return SignOnCard(m_hSession, key.handle, mechanism, in, inLen, out, outLen);
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
    if (!InputsAreGood(m_hSession != 0, in, inLen, out))
        return false;
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindPrivateKeysDirectly(m_hSession, handles, &found))
        return false;
    PrivateKey privateKey;
    if (!FindKeyByLabel(m_hSession, handles, found, KeyLabel(sigKey), privateKey, false)) {
        LogError("PKCS11 Key NOT Found");
        return false;
    }
    LogMessage("PKCS11 Key Found");
    if (privateKey.keyType != CKK_RSA && privateKey.keyType != CKK_ECDSA) {
        LogError(UNKNOWN_ALGORITHM);
        return false;
    }
    key = privateKey.keyType == CKK_RSA ? KEY_RSA : KEY_ECC;
    const SignPlan plan = PlanOf(key, hash, sigKey);

    std::array<unsigned char, SIGN_BUFFER_SIZE> buffer;
    unsigned long length = 0;
    if (plan.input == SignInput::Data) {
        if (inLen > buffer.size()) {
            LogError("Data size too long: " + std::to_string(inLen) + " bytes");
            return false;
        }
        std::copy(in, in + inLen, buffer.begin());
        length = inLen;
    } else {
        std::vector<unsigned char> digest;
        if (!hashString(in, inLen, digest, hash, plan.input == SignInput::HashWithDigestInfo)) {
            LogError("PKCS11 ERROR hashing data");
            return false;
        }
        if (digest.size() > buffer.size()) {
            LogError("PKCS11 buffer size error");
            return false;
        }
        std::copy(digest.begin(), digest.end(), buffer.begin());
        length = digest.size();
    }
    return SignOnCard(m_hSession, privateKey.handle, plan.mechanism, buffer.data(), length, out, outLen);
}

// --- Sign, Verify ------------------------------------------------------------------------------------------

bool tkPKCS11::Sign(const std::string& label, const std::vector<unsigned char>& data,
                    std::vector<unsigned char>& signature) {
    return Sign(label, data, signature, HASH_SHA1);
}

bool tkPKCS11::Sign(const std::string& label, const std::vector<unsigned char>& data,
                    std::vector<unsigned char>& signature, HashAlgorithm hash) {
    if (m_hSession == 0)
        return false;
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjectsOfClass(CKO_PRIVATE_KEY, handles, &found)) {
        LogError("PKCS11 FindObjects");
        return false;
    }
    PrivateKey key;
    if (!FindKeyByLabel(m_hSession, handles, found, label, key, true))
        return false;
    CK_MECHANISM mechanism = {KeyAndHashAlgoToMechanism(key.keyType, hash), nullptr, 0};
    if (mechanism.mechanism == NO_MECHANISM) {
        LogError(UNKNOWN_ALGORITHM);
        return false;
    }
    const CK_RV rv = CallP11(Proc_C_SignInit, m_hSession, &mechanism, key.handle);
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
    if (m_hSession == 0)
        return false;
    CK_OBJECT_CLASS objectClass = CKO_PUBLIC_KEY;
    CK_ATTRIBUTE tmpl[] = {
        {CKA_CLASS, &objectClass, sizeof(objectClass)},
        {CKA_LABEL, const_cast<char*>(label.data()), label.size()},
    };
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjects(tmpl, 2, handles, MAX_OBJECTS, &found)) {
        LogError("PKCS11 FindObjects");
        return false;
    }
    if (found == 0)
        return false;
    CK_KEY_TYPE keyType = 0;
    CK_ATTRIBUTE attribute = {CKA_KEY_TYPE, &keyType, sizeof(keyType)};
    CK_RV rv = CallP11(Proc_C_GetAttributeValue, m_hSession, handles[0], &attribute, 1);
    if (rv == CKR_OK && attribute.ulValueLen > sizeof(keyType))
        rv = CKR_BUFFER_TOO_SMALL;
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetAttributeValue", rv);
        return false;
    }
    CK_MECHANISM mechanism = {KeyAndHashAlgoToMechanism(keyType, hash), nullptr, 0};
    if (mechanism.mechanism == NO_MECHANISM) {
        LogError(UNKNOWN_ALGORITHM);
        return false;
    }
    rv = CallP11(Proc_C_VerifyInit, m_hSession, &mechanism, handles[0]);
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
    if (!init())
        return false;
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots) || slots.empty())
        return false;
    for (int index = 0; index < std::min(static_cast<int>(slots.size()), MAX_CARDS); ++index) {
        if (!OpenSession(index, false))
            continue;
        std::string label;
        if (findCertAndKey(thumbprint, cert, label)) {
            const bool isSigned = Sign(label, data, signature);
            CloseSession();
            return isSigned;
        }
        CloseSession();
    }
    return false;
}

bool tkPKCS11::findCertAndKey(const std::wstring& thumbprint, slCertificate& cert, std::string& label) {
    if (m_hSession == 0)
        return false;
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjectsOfClass(CKO_CERTIFICATE, handles, &found)) {
        LogError("PKCS11 FindObjects");
        return false;
    }
    for (unsigned long i = 0; i < found; ++i) {
        ObjectText certLabel;
        ObjectValue value;
        ObjectText id;
        CK_ATTRIBUTE attributes[] = {
            {CKA_LABEL, certLabel.bytes, sizeof(certLabel.bytes)},
            {CKA_VALUE, value.bytes, sizeof(value.bytes)},
            {CKA_ID, id.bytes, sizeof(id.bytes)},
        };
        CK_RV rv = CallP11(Proc_C_GetAttributeValue, m_hSession, handles[i], attributes, 3);
        certLabel.length = attributes[0].ulValueLen;
        value.length = attributes[1].ulValueLen;
        id.length = attributes[2].ulValueLen;
        if (rv == CKR_OK && !value.fits()) {
            LogError("buffer to short"); // misworded as it is
            return false;
        }
        if (rv == CKR_OK && (!certLabel.fits() || !id.fits()))
            rv = CKR_BUFFER_TOO_SMALL;
        if (rv != CKR_OK) {
            LogError("PKCS11 Proc_C_GetAttributeValue", rv);
            continue;
        }
        slCertificate candidate;
        candidate.LoadFromBuffer(value.bytes, static_cast<unsigned int>(value.length));
        if (candidate.GetThumbprint() != thumbprint)
            continue;
        cert = candidate;
        return findPrivateKeyFromID(id.text(), label);
    }
    return false;
}

bool tkPKCS11::findPrivateKeyFromID(const std::string& id, std::string& label) {
    if (m_hSession == 0) {
        LogError("findPrivateKeyFromID, Session not initialized");
        return false;
    }
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_ATTRIBUTE tmpl[] = {
        {CKA_CLASS, &objectClass, sizeof(objectClass)},
        {CKA_ID, const_cast<char*>(id.data()), id.size()},
    };
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjects(tmpl, 2, handles, MAX_OBJECTS, &found)) {
        LogError("PKCS11 FindObjects");
        return false;
    }
    if (found != 1)
        return false;
    ObjectText keyLabel;
    CK_ATTRIBUTE attribute = {CKA_LABEL, keyLabel.bytes, sizeof(keyLabel.bytes)};
    CK_RV rv = CallP11(Proc_C_GetAttributeValue, m_hSession, handles[0], &attribute, 1);
    keyLabel.length = attribute.ulValueLen;
    if (rv == CKR_OK && !keyLabel.fits())
        rv = CKR_BUFFER_TOO_SMALL;
    if (rv != CKR_OK)
        LogError("PKCS11 Proc_C_GetAttributeValue", rv);
    else
        label = keyLabel.text();
    return !label.empty();
}

// --- Kind of key and hash ----------------------------------------------------------------------------------

bool tkPKCS11::GetSignKeyType(SignKey& key, bool sigKey) {
    LogMessage("PKCS11 GetSignKeyType");
    if (!RequireSession())
        return false;
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindPrivateKeysDirectly(m_hSession, handles, &found))
        return false;
    PrivateKey privateKey;
    if (!FindKeyByLabel(m_hSession, handles, found, KeyLabel(sigKey), privateKey, false))
        return true; // no such key is no failure
    LogMessage("PKCS11 Key Found");
    if (privateKey.keyType != CKK_RSA && privateKey.keyType != CKK_ECDSA)
        return false;
    key = privateKey.keyType == CKK_RSA ? KEY_RSA : KEY_ECC;
    return true;
}

/// Older chips know no SHA-256.
static HashAlgorithm HashOfKeyAndCard(SignKey key, int cardType) {
    if (key == KEY_RSA)
        return cardType == CARD_CARDOS ? HASH_SHA256 : HASH_RIPEMD160;
    if (key == KEY_ECC)
        return cardType >= CARD_ACOS_A03 && cardType <= CARD_ELU ? HASH_RIPEMD160 : HASH_SHA256;
    return HASH_RIPEMD160;
}

HashAlgorithm tkPKCS11::GetHashAlgorithm(SignKey key) {
    if (m_CardType < CARD_ACOS_A03 + 1) // so the oldest ACOS generation is loaded anew at every call
        LoadCardType();
    LogMessage("GetHashAlgorithm");
    const HashAlgorithm hash = HashOfKeyAndCard(key, m_CardType);
    LogMessage("GetHashAlgorithm, KeyType=" + std::to_string(key) +
               ", CardType=" + std::to_string(m_CardType) + ", hashalgo=" + std::to_string(hash));
    return hash;
}

} // namespace Velmor
