// SPDX-License-Identifier: MIT
#include "tests/simulator/token/CardTest.h"

#include "simulator/token/Pkcs11.h"

namespace orseltest {

namespace {

CK_BYTE* writable(const Bytes& bytes) {
    return const_cast<CK_BYTE*>(bytes.data());
}

} // namespace

void CardTest::putIn(const std::string& kind, const CardOptions& options) {
    card = deck.add(kind, options);
    library.emplace();
    session = library->openFirst();
}

CK_OBJECT_HANDLE CardTest::privateKey(const std::string& label) const {
    return library->findOne(session, CKO_PRIVATE_KEY, label);
}

CK_OBJECT_HANDLE CardTest::publicKey(const std::string& label) const {
    return library->findOne(session, CKO_PUBLIC_KEY, label);
}

CK_OBJECT_HANDLE CardTest::data(const std::string& label) const {
    return library->findOne(session, CKO_DATA, label);
}

CK_OBJECT_HANDLE CardTest::certificate(const std::string& label) const {
    return library->findOne(session, CKO_CERTIFICATE, label);
}

Rv CardTest::signInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const {
    CK_MECHANISM given = {mechanism, nullptr, 0};
    return (*library)->C_SignInit(session, &given, key);
}

Rv CardTest::verifyInit(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key) const {
    CK_MECHANISM given = {mechanism, nullptr, 0};
    return (*library)->C_VerifyInit(session, &given, key);
}

Rv CardTest::finishSign(const Bytes& input, Bytes& signature) const {
    signature.assign(512, 0);
    CK_ULONG size = signature.size();
    const Rv rv = (*library)->C_Sign(session, writable(input), input.size(), signature.data(), &size);
    signature.resize(rv == CKR_OK ? size : 0);
    return rv;
}

Rv CardTest::sign(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input,
                  Bytes& signature) const {
    const Rv started = signInit(mechanism, key);
    return started == CKR_OK ? finishSign(input, signature) : started;
}

Rv CardTest::verify(CK_MECHANISM_TYPE mechanism, CK_OBJECT_HANDLE key, const Bytes& input,
                    const Bytes& signature) const {
    const Rv started = verifyInit(mechanism, key);
    if (!(started == CKR_OK))
        return started;
    return (*library)->C_Verify(session, writable(input), input.size(), writable(signature),
                                signature.size());
}

Rv CardTest::login(const std::string& pin, CK_USER_TYPE user) const {
    const Bytes bytes = orselsim::bytesOf(pin);
    return (*library)->C_Login(session, user, writable(bytes), bytes.size());
}

Rv CardTest::loginByDialog(CK_USER_TYPE user) const {
    return (*library)->C_Login(session, user, nullptr, 0);
}

Rv CardTest::write(CK_OBJECT_HANDLE object, std::vector<CK_ATTRIBUTE> attributes) const {
    return (*library)->C_SetAttributeValue(session, object, attributes.data(), attributes.size());
}

Rv CardTest::command(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type, bool value, bool softwarePin) const {
    CK_BBOOL flag = value ? CK_TRUE : CK_FALSE;
    CK_BBOOL yes = CK_TRUE;
    std::vector<CK_ATTRIBUTE> attributes = {{type, &flag, sizeof flag}};
    if (softwarePin)
        attributes.push_back({orselsim::forceSoftwarePin, &yes, sizeof yes});
    return write(object, attributes);
}

} // namespace orseltest
