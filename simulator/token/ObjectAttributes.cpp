// SPDX-License-Identifier: MIT
#include "simulator/token/ObjectAttributes.h"

#include <cstring>

#include <openssl/err.h>

#include "simulator/store/KeyMaterial.h"

namespace orselsim {

namespace {

AttributeMap CommonAttributes(const ObjectRecord& object, CK_OBJECT_CLASS objectClass) {
    return {
        {CKA_CLASS, NumberValue(objectClass)},
        {CKA_TOKEN, FlagValue(true)},
        {CKA_PRIVATE, FlagValue(object.m_IsPrivate)},
        {CKA_LABEL, BytesOf(object.m_Label)},
        {CKA_MODIFIABLE, FlagValue(true)},
    };
}

template <class T>
Bytes DerOf(int (*encode)(T*, unsigned char**), T* value) {
    const int size = encode(value, nullptr);
    Bytes der(static_cast<std::size_t>(size < 0 ? 0 : size));
    unsigned char* end = der.data();
    if (size > 0) {
        encode(value, &end);
    }
    return der;
}

// The encoders take a const pointer or not, by the version of libcrypto.
Bytes DerOfName(const X509_NAME* name) {
    return DerOf<X509_NAME>([](X509_NAME* n, unsigned char** out) { return i2d_X509_NAME(n, out); },
                            const_cast<X509_NAME*>(name));
}

Bytes DerOfInteger(const ASN1_INTEGER* integer) {
    return DerOf<ASN1_INTEGER>([](ASN1_INTEGER* i, unsigned char** out) { return i2d_ASN1_INTEGER(i, out); },
                               const_cast<ASN1_INTEGER*>(integer));
}

Bytes OctetString(const Bytes& content) {
    const std::unique_ptr<ASN1_OCTET_STRING, FreeWith<ASN1_OCTET_STRING_free>> string(
        ASN1_OCTET_STRING_new());
    ASN1_OCTET_STRING_set(string.get(), content.data(), static_cast<int>(content.size()));
    return DerOf<ASN1_OCTET_STRING>(
        [](ASN1_OCTET_STRING* s, unsigned char** out) { return i2d_ASN1_OCTET_STRING(s, out); },
        string.get());
}

void AddPublicParts(AttributeMap& attributes, const PublicParts& parts, bool isPublicKey) {
    attributes[CKA_KEY_TYPE] = NumberValue(parts.m_IsRsa ? CKK_RSA : CKK_EC);
    if (parts.m_IsRsa) {
        attributes[CKA_MODULUS] = parts.m_Modulus;
        attributes[CKA_PUBLIC_EXPONENT] = parts.m_Exponent;
        if (isPublicKey) {
            attributes[CKA_MODULUS_BITS] = NumberValue(static_cast<CK_ULONG>(parts.m_Bits));
        }
        return;
    }
    attributes[CKA_EC_PARAMS] = parts.m_EcParams;
    attributes[CKA_EC_POINT] = OctetString(parts.m_EcPoint);
}

void AddPublicKeyUse(AttributeMap& attributes) {
    attributes[CKA_VERIFY] = FlagValue(true);
    for (const CK_ATTRIBUTE_TYPE use : {CKA_ENCRYPT, CKA_VERIFY_RECOVER, CKA_WRAP, CKA_TRUSTED}) {
        attributes[use] = FlagValue(false);
    }
}

void AddPrivateKeyUse(AttributeMap& attributes, bool asksAtEachSignature) {
    for (const CK_ATTRIBUTE_TYPE use :
         {CKA_SIGN, CKA_SENSITIVE, CKA_ALWAYS_SENSITIVE, CKA_NEVER_EXTRACTABLE}) {
        attributes[use] = FlagValue(true);
    }
    for (const CK_ATTRIBUTE_TYPE use : {CKA_DECRYPT, CKA_SIGN_RECOVER, CKA_UNWRAP, CKA_EXTRACTABLE}) {
        attributes[use] = FlagValue(false);
    }
    attributes[CKA_ALWAYS_AUTHENTICATE] = FlagValue(asksAtEachSignature);
}

} // namespace

Bytes NumberValue(CK_ULONG number) {
    Bytes value(sizeof number);
    std::memcpy(value.data(), &number, sizeof number);
    return value;
}

Bytes FlagValue(bool flag) {
    return {static_cast<unsigned char>(flag ? CK_TRUE : CK_FALSE)};
}

AttributeMap DataAttributes(const ObjectRecord& object, const Bytes& content) {
    AttributeMap attributes = CommonAttributes(object, CKO_DATA);
    attributes[CKA_APPLICATION] = {};
    attributes[CKA_OBJECT_ID] = {};
    attributes[CKA_VALUE] = content;
    return attributes;
}

AttributeMap CertificateAttributes(const ObjectRecord& object, const Bytes& content) {
    AttributeMap attributes = CommonAttributes(object, CKO_CERTIFICATE);
    attributes[CKA_CERTIFICATE_TYPE] = NumberValue(CKC_X_509);
    attributes[CKA_TRUSTED] = FlagValue(false);
    attributes[CKA_ID] = object.m_Id;
    attributes[CKA_VALUE] = content;
    for (const CK_ATTRIBUTE_TYPE inside : {CKA_SUBJECT, CKA_ISSUER, CKA_SERIAL_NUMBER}) {
        attributes[inside] = {};
    }

    const unsigned char* der = content.data();
    const X509Ptr certificate(d2i_X509(nullptr, &der, static_cast<long>(content.size())));
    if (certificate) {
        attributes[CKA_SUBJECT] = DerOfName(X509_get_subject_name(certificate.get()));
        attributes[CKA_ISSUER] = DerOfName(X509_get_issuer_name(certificate.get()));
        attributes[CKA_SERIAL_NUMBER] = DerOfInteger(X509_get0_serialNumber(certificate.get()));
    }
    ERR_clear_error(); // the host program's error queue is not ours to fill
    return attributes;
}

AttributeMap KeyAttributes(const ObjectRecord& object, EVP_PKEY* key) {
    const bool isPublicKey = object.m_Kind == ObjectKind::PUBLIC_KEY;
    AttributeMap attributes = CommonAttributes(object, isPublicKey ? CKO_PUBLIC_KEY : CKO_PRIVATE_KEY);
    attributes[CKA_ID] = object.m_Id;
    attributes[CKA_SUBJECT] = {};
    attributes[CKA_DERIVE] = FlagValue(false);
    attributes[CKA_LOCAL] = FlagValue(true);
    AddPublicParts(attributes, PublicPartsOf(key), isPublicKey);
    if (isPublicKey) {
        AddPublicKeyUse(attributes);
    } else {
        AddPrivateKeyUse(attributes, object.m_Pin == SIGNATURE_PIN);
    }
    return attributes;
}

} // namespace orselsim
