// SPDX-License-Identifier: MIT
#include "tokenlib/AttributeValues.h"

#include <cstring>

#include "tokenlib/Output.h"

namespace tokenlib {

namespace {

template <class T>
Bytes Encoded(int (*encode)(T*, unsigned char**), T* value) {
    const int size = encode(value, nullptr);
    Bytes der(static_cast<std::size_t>(size < 0 ? 0 : size));
    unsigned char* end = der.data();
    if (size > 0) {
        encode(value, &end);
    }
    return der;
}

Bytes OctetString(const Bytes& content) {
    const std::unique_ptr<ASN1_OCTET_STRING, FreeWith<ASN1_OCTET_STRING_free>> string(
        ASN1_OCTET_STRING_new());
    ASN1_OCTET_STRING_set(string.get(), content.data(), static_cast<int>(content.size()));
    return Encoded<ASN1_OCTET_STRING>(
        [](ASN1_OCTET_STRING* s, unsigned char** out) { return i2d_ASN1_OCTET_STRING(s, out); },
        string.get());
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

// The encoders take a const pointer or not, by the version of libcrypto.
Bytes DerOf(const X509_NAME* name) {
    return Encoded<X509_NAME>([](X509_NAME* n, unsigned char** out) { return i2d_X509_NAME(n, out); },
                              const_cast<X509_NAME*>(name));
}

Bytes DerOf(const ASN1_INTEGER* integer) {
    return Encoded<ASN1_INTEGER>(
        [](ASN1_INTEGER* i, unsigned char** out) { return i2d_ASN1_INTEGER(i, out); },
        const_cast<ASN1_INTEGER*>(integer));
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

AttributeMap TemplateOf(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    if (count > 0) {
        Require(attributes);
    }
    AttributeMap wanted;
    for (CK_ULONG i = 0; i < count; ++i) {
        const CK_ATTRIBUTE& attribute = attributes[i];
        if (attribute.ulValueLen > 0) {
            Require(attribute.pValue);
        }
        const auto* bytes = static_cast<const unsigned char*>(attribute.pValue);
        wanted[attribute.type] = bytes == nullptr ? Bytes() : Bytes(bytes, bytes + attribute.ulValueLen);
    }
    return wanted;
}

} // namespace tokenlib
