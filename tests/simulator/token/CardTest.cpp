// SPDX-License-Identifier: MIT
#include "tests/simulator/token/CardTest.h"

#include "tokenlib/Pkcs11.h"

namespace orseltest {

namespace {

CK_BYTE* Writable(const Bytes& bytes) {
    return const_cast<CK_BYTE*>(bytes.data());
}

} // namespace

void CardTest::PutIn(const std::string& kind, const CardOptions& options) {
    m_Card = m_Deck.Add(kind, options);
    m_Library.emplace();
    m_Session = m_Library->OpenFirst();
}

CK_OBJECT_HANDLE CardTest::GetPrivateKey(const std::string& label) const {
    return m_Library->FindOne(m_Session, CKO_PRIVATE_KEY, label);
}

CK_OBJECT_HANDLE CardTest::PublicKey(const std::string& label) const {
    return m_Library->FindOne(m_Session, CKO_PUBLIC_KEY, label);
}

CK_OBJECT_HANDLE CardTest::data(const std::string& label) const {
    return m_Library->FindOne(m_Session, CKO_DATA, label);
}

CK_OBJECT_HANDLE CardTest::Certificate(const std::string& label) const {
    return m_Library->FindOne(m_Session, CKO_CERTIFICATE, label);
}

Rv CardTest::SignInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const {
    CK_MECHANISM given = {mechanism, nullptr, 0};
    return (*m_Library)->C_SignInit(m_Session, &given, key);
}

Rv CardTest::VerifyInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const {
    CK_MECHANISM given = {mechanism, nullptr, 0};
    return (*m_Library)->C_VerifyInit(m_Session, &given, key);
}

Rv CardTest::FinishSign(const Bytes& input, Bytes& signature) const {
    signature.assign(512, 0);
    CK_ULONG size = signature.size();
    const Rv rv = (*m_Library)->C_Sign(m_Session, Writable(input), input.size(), signature.data(), &size);
    signature.resize(rv == CKR_OK ? size : 0);
    return rv;
}

Rv CardTest::Sign(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input,
                  Bytes& signature) const {
    const Rv started = SignInit(mechanism, key);
    return started == CKR_OK ? FinishSign(input, signature) : started;
}

Rv CardTest::Verify(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input,
                    const Bytes& signature) const {
    const Rv started = VerifyInit(mechanism, key);
    if (!(started == CKR_OK)) {
        return started;
    }
    return (*m_Library)
        ->C_Verify(m_Session, Writable(input), input.size(), Writable(signature), signature.size());
}

Rv CardTest::LogIn(const std::string& pin, CK_USER_TYPE user) const {
    const Bytes bytes = orselsim::BytesOf(pin);
    return (*m_Library)->C_Login(m_Session, user, Writable(bytes), bytes.size());
}

Rv CardTest::LoginByDialog(CK_USER_TYPE user) const {
    return (*m_Library)->C_Login(m_Session, user, nullptr, 0);
}

Rv CardTest::Write(CK_OBJECT_HANDLE object, std::vector<CK_ATTRIBUTE> attributes) const {
    return (*m_Library)->C_SetAttributeValue(m_Session, object, attributes.data(), attributes.size());
}

Rv CardTest::Command(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type, bool value, bool softwarePin) const {
    CK_BBOOL flag = value ? CK_TRUE : CK_FALSE;
    CK_BBOOL yes = CK_TRUE;
    std::vector<CK_ATTRIBUTE> attributes = {{type, &flag, sizeof flag}};
    if (softwarePin) {
        attributes.push_back({orselsim::FORCE_SOFTWARE_PIN, &yes, sizeof yes});
    }
    return Write(object, attributes);
}

} // namespace orseltest
