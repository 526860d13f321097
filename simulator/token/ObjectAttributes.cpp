// SPDX-License-Identifier: MIT
#include "simulator/token/ObjectAttributes.h"

#include <cstring>

#include <openssl/err.h>

#include "simulator/store/KeyMaterial.h"

namespace orselsim {

namespace {

AttributeMap commonAttributes(const ObjectRecord& object, CK_OBJECT_CLASS objectClass) {
    return {
        {CKA_CLASS, numberValue(objectClass)},      {CKA_TOKEN, flagValue(true)},
        {CKA_PRIVATE, flagValue(object.isPrivate)}, {CKA_LABEL, bytesOf(object.label)},
        {CKA_MODIFIABLE, flagValue(true)},
    };
}

template <class T>
Bytes derOf(int (*encode)(T*, unsigned char**), T* value) {
    const int size = encode(value, nullptr);
    Bytes der(static_cast<std::size_t>(size < 0 ? 0 : size));
    unsigned char* end = der.data();
    if (size > 0)
        encode(value, &end);
    return der;
}

// The encoders take a const pointer or not, by the version of libcrypto.
Bytes derOfName(const X509_NAME* name) {
    return derOf<X509_NAME>([](X509_NAME* n, unsigned char** out) { return i2d_X509_NAME(n, out); },
                            const_cast<X509_NAME*>(name));
}

Bytes derOfInteger(const ASN1_INTEGER* integer) {
    return derOf<ASN1_INTEGER>([](ASN1_INTEGER* i, unsigned char** out) { return i2d_ASN1_INTEGER(i, out); },
                               const_cast<ASN1_INTEGER*>(integer));
}

Bytes octetString(const Bytes& content) {
    const std::unique_ptr<ASN1_OCTET_STRING, FreeWith<ASN1_OCTET_STRING_free>> string(
        ASN1_OCTET_STRING_new());
    ASN1_OCTET_STRING_set(string.get(), content.data(), static_cast<int>(content.size()));
    return derOf<ASN1_OCTET_STRING>(
        [](ASN1_OCTET_STRING* s, unsigned char** out) { return i2d_ASN1_OCTET_STRING(s, out); },
        string.get());
}

void addPublicParts(AttributeMap& attributes, const PublicParts& parts, bool isPublicKey) {
    attributes[CKA_KEY_TYPE] = numberValue(parts.isRsa ? CKK_RSA : CKK_EC);
    if (parts.isRsa) {
        attributes[CKA_MODULUS] = parts.modulus;
        attributes[CKA_PUBLIC_EXPONENT] = parts.exponent;
        if (isPublicKey)
            attributes[CKA_MODULUS_BITS] = numberValue(static_cast<CK_ULONG>(parts.bits));
        return;
    }
    attributes[CKA_EC_PARAMS] = parts.ecParams;
    attributes[CKA_EC_POINT] = octetString(parts.ecPoint);
}

void addPublicKeyUse(AttributeMap& attributes) {
    attributes[CKA_VERIFY] = flagValue(true);
    for (const CK_ATTRIBUTE_TYPE use : {CKA_ENCRYPT, CKA_VERIFY_RECOVER, CKA_WRAP, CKA_TRUSTED})
        attributes[use] = flagValue(false);
}

void addPrivateKeyUse(AttributeMap& attributes, bool asksAtEachSignature) {
    for (const CK_ATTRIBUTE_TYPE use : {CKA_SIGN, CKA_SENSITIVE, CKA_ALWAYS_SENSITIVE, CKA_NEVER_EXTRACTABLE})
        attributes[use] = flagValue(true);
    for (const CK_ATTRIBUTE_TYPE use : {CKA_DECRYPT, CKA_SIGN_RECOVER, CKA_UNWRAP, CKA_EXTRACTABLE})
        attributes[use] = flagValue(false);
    attributes[CKA_ALWAYS_AUTHENTICATE] = flagValue(asksAtEachSignature);
}

} // namespace

Bytes numberValue(CK_ULONG number) {
    Bytes value(sizeof number);
    std::memcpy(value.data(), &number, sizeof number);
    return value;
}

Bytes flagValue(bool flag) {
    return {static_cast<unsigned char>(flag ? CK_TRUE : CK_FALSE)};
}

AttributeMap dataAttributes(const ObjectRecord& object, const Bytes& content) {
    AttributeMap attributes = commonAttributes(object, CKO_DATA);
    attributes[CKA_APPLICATION] = {};
    attributes[CKA_OBJECT_ID] = {};
    attributes[CKA_VALUE] = content;
    return attributes;
}

AttributeMap certificateAttributes(const ObjectRecord& object, const Bytes& content) {
    AttributeMap attributes = commonAttributes(object, CKO_CERTIFICATE);
    attributes[CKA_CERTIFICATE_TYPE] = numberValue(CKC_X_509);
    attributes[CKA_TRUSTED] = flagValue(false);
    attributes[CKA_ID] = object.id;
    attributes[CKA_VALUE] = content;
    for (const CK_ATTRIBUTE_TYPE inside : {CKA_SUBJECT, CKA_ISSUER, CKA_SERIAL_NUMBER})
        attributes[inside] = {};

    const unsigned char* der = content.data();
    const X509Ptr certificate(d2i_X509(nullptr, &der, static_cast<long>(content.size())));
    if (certificate) {
        attributes[CKA_SUBJECT] = derOfName(X509_get_subject_name(certificate.get()));
        attributes[CKA_ISSUER] = derOfName(X509_get_issuer_name(certificate.get()));
        attributes[CKA_SERIAL_NUMBER] = derOfInteger(X509_get0_serialNumber(certificate.get()));
    }
    ERR_clear_error(); // the host program's error queue is not ours to fill
    return attributes;
}

AttributeMap keyAttributes(const ObjectRecord& object, EVP_PKEY* key) {
    const bool isPublicKey = object.kind == ObjectKind::PublicKey;
    AttributeMap attributes = commonAttributes(object, isPublicKey ? CKO_PUBLIC_KEY : CKO_PRIVATE_KEY);
    attributes[CKA_ID] = object.id;
    attributes[CKA_SUBJECT] = {};
    attributes[CKA_DERIVE] = flagValue(false);
    attributes[CKA_LOCAL] = flagValue(true);
    addPublicParts(attributes, publicParts(key), isPublicKey);
    if (isPublicKey)
        addPublicKeyUse(attributes);
    else
        addPrivateKeyUse(attributes, object.pin == signaturePin);
    return attributes;
}

} // namespace orselsim
