// SPDX-License-Identifier: MIT
#include <memory>

#include <nlohmann/json.hpp>
#include <openssl/ecdsa.h>
#include <openssl/rsa.h>

#include "card/CallP11.h"
#include "cli/CallWitness.h"
#include "cli/Commands.h"
#include "cli/Names.h"
#include "cli/Signing.h"
#include "cli/Words.h"
#include "formats/OpenSslHandle.h"
#include "formats/slCertificate.h"

namespace orselcli {

namespace {

using PkeyContextHandle = Velmor::OpenSslHandle<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;
using EcdsaSignatureHandle = Velmor::OpenSslHandle<ECDSA_SIG, ECDSA_SIG_free>;

/// Kind of the card's public key, in the open session.
Outcome FindPublicKey(Cards& cards, bool isSignature, Velmor::SignKey& key) {
    unsigned long handle = 0;
    if (!cards.FindObject(PublicKeyLabel(isSignature).c_str(), CKO_PUBLIC_KEY, &handle)) {
        return FailureOf(Reason::NO_KEY);
    }
    CK_KEY_TYPE type = 0;
    CK_ATTRIBUTE asked = {CKA_KEY_TYPE, &type, sizeof(type)};
    const CK_RV code = Velmor::CallP11(Cards::Proc_C_GetAttributeValue, cards.m_hSession, handle, &asked, 1);
    if (code != CKR_OK || asked.ulValueLen != sizeof(type)) {
        return FailureOf();
    }
    key = type == CKK_RSA ? Velmor::KEY_RSA : Velmor::KEY_ECC;
    return type == CKK_RSA || type == CKK_ECDSA ? Outcome() : Outcome(Reason::KEY_WRONG_KIND);
}

Outcome VerifyOnCard(Context& context, const Bytes& data, const Bytes& signature,
                     Velmor::HashAlgorithm& hash) {
    Cards& cards = context.m_Cards;
    const bool isSignature = context.m_Request.Word(0) == "signature";
    Velmor::SignKey key = Velmor::KEY_RSA;
    Outcome outcome = FindPublicKey(cards, isSignature, key);
    if (!outcome.IsDone()) {
        return outcome;
    }
    outcome = ChooseHash(cards, context.m_Request.m_Hash, key, hash);
    if (!outcome.IsDone()) {
        return outcome;
    }
    Bytes toBeSigned;
    outcome = ToBeSigned(cards, data, hash, key, toBeSigned);
    if (!outcome.IsDone()) {
        return outcome;
    }
    CallWitness::Forget();
    const bool isGood = cards.Verify(PublicKeyLabel(isSignature), signature, toBeSigned, Velmor::HASH_RAW);
    return isGood ? Outcome() : FailureOf(Reason::SIGNATURE_INVALID);
}

/// The crypto library wants the two numbers of an elliptic signature in DER, the card gives them side by
/// side.
Bytes DerOfEcdsa(const Bytes& signature) {
    const int half = static_cast<int>(signature.size() / 2);
    const EcdsaSignatureHandle numbers(ECDSA_SIG_new());
    Velmor::BnHandle r(BN_bin2bn(signature.data(), half, nullptr));
    Velmor::BnHandle s(BN_bin2bn(signature.data() + half, half, nullptr));
    if (numbers == nullptr || ECDSA_SIG_set0(numbers.get(), r.get(), s.get()) != 1) {
        return {};
    }
    static_cast<void>(r.release()); // both belong to the signature now
    static_cast<void>(s.release());
    const int size = i2d_ECDSA_SIG(numbers.get(), nullptr);
    Bytes der(size > 0 ? static_cast<size_t>(size) : 0);
    unsigned char* out = der.data();
    i2d_ECDSA_SIG(numbers.get(), &out);
    return der;
}

bool KeyConfirms(EVP_PKEY* key, const Bytes& signature, const Bytes& toBeSigned) {
    const PkeyContextHandle verifying(EVP_PKEY_CTX_new(key, nullptr));
    if (verifying == nullptr || EVP_PKEY_verify_init(verifying.get()) != 1) {
        return false;
    }
    if (EVP_PKEY_base_id(key) == EVP_PKEY_RSA &&
        EVP_PKEY_CTX_set_rsa_padding(verifying.get(), RSA_PKCS1_PADDING) != 1) {
        return false;
    }
    return EVP_PKEY_verify(verifying.get(), signature.data(), signature.size(), toBeSigned.data(),
                           toBeSigned.size()) == 1;
}

Outcome VerifyOffline(Context& context, const Bytes& data, const Bytes& signature,
                      Velmor::HashAlgorithm& hash) {
    Bytes der;
    Outcome outcome = context.m_Cards.ReadCertificate(context.m_Request.Word(0) == "signature", der);
    if (!outcome.IsDone()) {
        return outcome;
    }
    Velmor::slCertificate certificate;
    certificate.LoadFromBuffer(der);
    EVP_PKEY* key = X509_get0_pubkey(certificate.GetX509());
    if (key == nullptr || (!certificate.IsRsaKey() && !certificate.IsEcdsaKey())) {
        return Reason::KEY_WRONG_KIND;
    }
    const Velmor::SignKey kind = certificate.IsRsaKey() ? Velmor::KEY_RSA : Velmor::KEY_ECC;
    outcome = ChooseHash(context.m_Cards, context.m_Request.m_Hash, kind, hash);
    if (!outcome.IsDone()) {
        return outcome;
    }
    Bytes toBeSigned;
    outcome = ToBeSigned(context.m_Cards, data, hash, kind, toBeSigned);
    if (!outcome.IsDone()) {
        return outcome;
    }
    const Bytes form = kind == Velmor::KEY_ECC ? DerOfEcdsa(signature) : signature;
    return KeyConfirms(key, form, toBeSigned) ? Outcome() : Outcome(Reason::SIGNATURE_INVALID);
}

} // namespace

Outcome RunVerify(Context& context) {
    Bytes data;
    Bytes signature;
    Outcome outcome = ReadInput(context.m_Request.Word(1), data);
    if (outcome.IsDone()) {
        outcome = ReadSignature(context.m_Request.m_SignatureFile, context.m_Request.m_Base64, signature);
    }
    if (!outcome.IsDone()) {
        return outcome;
    }
    return WithSession(context, [&](const CardRow& row) {
        if (row.m_IsEmpty) {
            return Outcome(Reason::EMPTY_CARD);
        }
        auto hash = Velmor::HASH_RAW;
        const Outcome verified = context.m_Request.m_Offline ? VerifyOffline(context, data, signature, hash)
                                                             : VerifyOnCard(context, data, signature, hash);
        if (!verified.IsDone()) {
            return verified;
        }
        if (context.m_Request.m_Json) {
            context.m_Console.PrintJson({{"card", row.m_Number},
                                         {"key", context.m_Request.Word(0)},
                                         {"hash", NameOf(hash)},
                                         {"offline", context.m_Request.m_Offline},
                                         {"good", true}});
        } else if (!context.m_Request.m_Quiet) {
            context.m_Console.Print(Tr("The signature is good.") + "\n");
        }
        return verified;
    });
}

} // namespace orselcli
