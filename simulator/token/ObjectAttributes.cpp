// SPDX-License-Identifier: MIT
#include "simulator/token/ObjectAttributes.h"

#include <openssl/err.h>

#include "tokenlib/OpenSslHandles.h"

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
        attributes[CKA_SUBJECT] = DerOf(X509_get_subject_name(certificate.get()));
        attributes[CKA_ISSUER] = DerOf(X509_get_issuer_name(certificate.get()));
        attributes[CKA_SERIAL_NUMBER] = DerOf(X509_get0_serialNumber(certificate.get()));
    }
    ERR_clear_error(); // the host program's error queue is not ours to fill
    return attributes;
}

AttributeMap KeyAttributes(const ObjectRecord& object, const PublicParts& parts) {
    const bool isPublicKey = object.m_Kind == ObjectKind::PUBLIC_KEY;
    AttributeMap attributes = CommonAttributes(object, isPublicKey ? CKO_PUBLIC_KEY : CKO_PRIVATE_KEY);
    attributes[CKA_ID] = object.m_Id;
    attributes[CKA_SUBJECT] = {};
    attributes[CKA_DERIVE] = FlagValue(false);
    attributes[CKA_LOCAL] = FlagValue(true);
    AddPublicParts(attributes, parts, isPublicKey);
    if (isPublicKey) {
        AddPublicKeyUse(attributes);
    } else {
        AddPrivateKeyUse(attributes, object.m_Pin == SIGNATURE_PIN);
    }
    return attributes;
}

} // namespace orselsim
