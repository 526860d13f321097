// SPDX-License-Identifier: MIT
// The bridge's entry points over tokens of SoftHSM 2.
#include "tests/bridge/BridgeTest.h"
#include "tokenlib/Pkcs11.h"

using orseltest::Bytes;
using orseltest::Field;
using orseltest::Rv;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

std::string TextOf(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

} // namespace

class ATokenBehindTheBridge : public orseltest::BridgeTest {
protected:
    std::string LabelOf(CK_OBJECT_HANDLE object) const {
        return TextOf(m_Bridge->Attribute(m_Session, object, CKA_LABEL));
    }
    Bytes IdOf(CK_OBJECT_CLASS objectClass, const std::string& label) const {
        return m_Bridge->Attribute(m_Session, m_Bridge->FindOne(m_Session, objectClass, label), CKA_ID);
    }
};

TEST_F(ATokenBehindTheBridge, HasItsObjectsUnderTheLabelsOfTheirRoles) {
    m_Hsm.AddUsualToken();
    Start();
    for (const char* label : {"C.CH.SIG", "C.CH.EKEY"}) {
        const CK_OBJECT_HANDLE certificate = m_Bridge->FindOne(m_Session, CKO_CERTIFICATE, label);
        EXPECT_EQ(label, LabelOf(certificate));
        EXPECT_THAT(m_Bridge->Attribute(m_Session, certificate, CKA_VALUE), Not(IsEmpty()));
    }
    for (const CK_OBJECT_CLASS objectClass : {CKO_CERTIFICATE, CKO_PUBLIC_KEY, CKO_PRIVATE_KEY}) {
        EXPECT_THAT(m_Bridge->Find(m_Session, objectClass), SizeIs(2));
    }
    EXPECT_EQ(Bytes({2}), IdOf(CKO_CERTIFICATE, "C.CH.SIG")) << "the one that is for non-repudiation";
    EXPECT_EQ(Bytes({2}), IdOf(CKO_PRIVATE_KEY, "SK.CH.SIG"));
    EXPECT_EQ(Bytes({1}), IdOf(CKO_PRIVATE_KEY, "SK.CH.EKEY"));
    EXPECT_EQ(Bytes({1}), IdOf(CKO_PUBLIC_KEY, "PK.CH.EKEY"));
    EXPECT_THAT(m_Bridge->Find(m_Session, CKO_CERTIFICATE, "sign"), IsEmpty()) << "its own name is covered";
}

TEST_F(ATokenBehindTheBridge, ShowsPrivateKeysBeforeAnybodyLogsIn) {
    m_Hsm.AddUsualToken();
    Start();
    const CK_OBJECT_HANDLE key = m_Bridge->FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.SIG");
    EXPECT_EQ(CKK_EC, m_Bridge->NumberAttribute(m_Session, key, CKA_KEY_TYPE));
    EXPECT_EQ(CKO_PRIVATE_KEY, m_Bridge->NumberAttribute(m_Session, key, CKA_CLASS));
    CK_ATTRIBUTE secret = {CKA_VALUE, nullptr, 0};
    EXPECT_EQ(Rv(CKR_ATTRIBUTE_SENSITIVE), (*m_Bridge)->C_GetAttributeValue(m_Session, key, &secret, 1));

    std::string pin = orseltest::SoftHsm::PIN;
    EXPECT_EQ(Rv(CKR_OK),
              (*m_Bridge)->C_Login(m_Session, CKU_USER, reinterpret_cast<CK_BYTE*>(pin.data()), pin.size()));
    EXPECT_EQ(key, m_Bridge->FindOne(m_Session, CKO_PRIVATE_KEY, "SK.CH.SIG")) << "the same handle after it";
    EXPECT_THAT(m_Bridge->Find(m_Session, CKO_PRIVATE_KEY), SizeIs(2));
}

TEST_F(ATokenBehindTheBridge, SignsWithThePinThatIsAskedFor) {
    m_Hsm.AddUsualToken();
    Start();
    m_Hsm.Answer("1234\n1234\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_ECDSA, signature));
    EXPECT_THAT(signature, SizeIs(64));
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.SIG", CKM_ECDSA, signature));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.EKEY", CKM_SHA256_RSA_PKCS, signature));
    EXPECT_THAT(signature, SizeIs(256));
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.EKEY", CKM_SHA256_RSA_PKCS, signature));
    signature.back() ^= 1;
    EXPECT_EQ(Rv(CKR_SIGNATURE_INVALID), Verify("PK.CH.EKEY", CKM_SHA256_RSA_PKCS, signature));

    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_GetSessionInfo(m_Session, &info));
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, info.state) << "nobody stays logged in";
}

TEST_F(ATokenBehindTheBridge, TellsASignaturesSizeWithoutAQuestion) {
    m_Hsm.AddUsualToken();
    Start();
    m_Hsm.Answer("1234\n");
    EXPECT_EQ(Rv(CKR_OK), SignInit("SK.CH.EKEY", CKM_RSA_PKCS));
    Bytes data = m_Data;
    CK_ULONG length = 0;
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_Sign(m_Session, data.data(), data.size(), nullptr, &length));
    EXPECT_EQ(256U, length);
    Bytes signature;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), FinishSign(signature, 255));
    EXPECT_EQ(Rv(CKR_OK), FinishSign(signature, 256)) << "the one answer is still there";
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), FinishSign(signature));
}

TEST_F(ATokenBehindTheBridge, HasACodeForEachWayToFailWithAPin) {
    m_Hsm.AddUsualToken();
    Start();
    Bytes signature;
    m_Hsm.Answer("4321\ncancel\n1\n");
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Sign("SK.CH.SIG", CKM_ECDSA, signature));
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Sign("SK.CH.SIG", CKM_ECDSA, signature));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Sign("SK.CH.SIG", CKM_ECDSA, signature)) << "too short to be right";
    EXPECT_EQ(Rv(CKR_OPERATION_NOT_INITIALIZED), FinishSign(signature)) << "a failure ends the signature";
    CK_TOKEN_INFO info = m_Bridge->TokenInfo(SlotOf("Maria Muster"));
    EXPECT_NE(0U, info.flags & CKF_USER_PIN_COUNT_LOW);
    Bytes status;
    EXPECT_EQ(Rv(CKR_OK), m_Bridge->CardAttribute(m_Session, "SicSig/PIN-Status", status));
    EXPECT_EQ(Bytes({2}), status);
}

TEST_F(ATokenBehindTheBridge, IsAskedForItsPinOnceWithAKeyThatWantsItAtEachUse) {
    orseltest::KeyOptions options;
    options.m_Holder = "";
    options.m_AsksAtEachUse = true;
    m_Hsm.AddToken("Strict");
    m_Hsm.AddKey("Strict", options);
    Start("Strict");
    m_Hsm.Answer("1234\ncancel\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_RSA_PKCS, signature));
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.SIG", CKM_RSA_PKCS, signature));
    EXPECT_EQ(Rv(CKR_FUNCTION_CANCELED), Sign("SK.CH.SIG", CKM_RSA_PKCS, signature)) << "and once each time";
}

TEST_F(ATokenBehindTheBridge, SignsInPartsToo) {
    m_Hsm.AddUsualToken();
    Start();
    m_Hsm.Answer("1234\n");
    EXPECT_EQ(Rv(CKR_OK), SignInit("SK.CH.EKEY", CKM_SHA256_RSA_PKCS));
    Bytes half(m_Data.begin(), m_Data.begin() + 16);
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_SignUpdate(m_Session, half.data(), half.size()));
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_SignUpdate(m_Session, half.data(), half.size()));
    Bytes signature(256);
    CK_ULONG length = signature.size();
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_SignFinal(m_Session, signature.data(), &length));
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.EKEY", CKM_SHA256_RSA_PKCS, signature));
}

TEST_F(ATokenBehindTheBridge, RefusesAMechanismThatItLacksBeforeItAsks) {
    m_Hsm.AddUsualToken();
    Start();
    EXPECT_EQ(Rv(CKR_MECHANISM_INVALID), SignInit("SK.CH.EKEY", CKM_RIPEMD160_RSA_PKCS));
    CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
    const CK_OBJECT_HANDLE certificate = m_Bridge->FindOne(m_Session, CKO_CERTIFICATE, "C.CH.SIG");
    EXPECT_EQ(Rv(CKR_KEY_FUNCTION_NOT_PERMITTED),
              (*m_Bridge)->C_SignInit(m_Session, &mechanism, certificate));
    EXPECT_EQ(Rv(CKR_KEY_HANDLE_INVALID), (*m_Bridge)->C_SignInit(m_Session, &mechanism, 4711));
}

TEST_F(ATokenBehindTheBridge, WithOneKeyHasItInBothRoles) {
    m_Hsm.AddToken("One");
    m_Hsm.AddKey("One");
    Start("One");
    EXPECT_EQ(Bytes({1}), IdOf(CKO_PRIVATE_KEY, "SK.CH.SIG"));
    EXPECT_EQ(Bytes({1}), IdOf(CKO_PRIVATE_KEY, "SK.CH.EKEY"));
    EXPECT_THAT(m_Bridge->Find(m_Session, CKO_PRIVATE_KEY), SizeIs(2));
    m_Hsm.Answer("1234\n1234\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_RSA_PKCS, signature));
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.EKEY", CKM_RSA_PKCS, signature));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.EKEY", CKM_RSA_PKCS, signature));
}

TEST_F(ATokenBehindTheBridge, FindsOneKeyByTheIdOfItsCertificate) {
    m_Hsm.AddToken("One");
    m_Hsm.AddKey("One");
    Start("One");
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_BYTE id[] = {1};
    CK_ATTRIBUTE wanted[] = {{CKA_CLASS, &objectClass, sizeof objectClass}, {CKA_ID, id, sizeof id}};
    CK_OBJECT_HANDLE found[4] = {};
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_FindObjectsInit(m_Session, wanted, 2));
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_FindObjects(m_Session, found, 4, &count));
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_FindObjectsFinal(m_Session));
    ASSERT_EQ(1U, count);
    EXPECT_EQ("SK.CH.SIG", LabelOf(found[0]));
}

TEST_F(ATokenBehindTheBridge, ChangesItsPin) {
    m_Hsm.AddUsualToken();
    Start();
    m_Hsm.Answer("1234\n56789\n56789\n" // old, new, repeated
                 "1234\n56789\n4321\n1111\n1111\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Command(tokenlib::CHANGE_PIN_COMMAND));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Sign("SK.CH.SIG", CKM_ECDSA, signature));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_ECDSA, signature));
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Command(tokenlib::CHANGE_PIN_COMMAND));
}

TEST_F(ATokenBehindTheBridge, HasItsPinSetAnewByTheOfficer) {
    m_Hsm.AddUsualToken();
    Start();
    m_Hsm.Answer("12345678\n56789\n56789\n56789\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Command(tokenlib::UNBLOCK_PIN_COMMAND));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_ECDSA, signature)) << "in the session that was there before";
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.SIG", CKM_ECDSA, signature));
}

TEST_F(ATokenBehindTheBridge, KeepsItsPinFromAnOfficerWithAWrongOne) {
    m_Hsm.AddUsualToken();
    Start();
    m_Hsm.Answer("87654321\n56789\n56789\n1234\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Command(tokenlib::UNBLOCK_PIN_COMMAND));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_ECDSA, signature));
}

TEST_F(ATokenBehindTheBridge, TakesRolesFromTheSettings) {
    m_Hsm.AddUsualToken();
    m_Hsm.Set(R"({"roles": {"signature": {"id": "01"}, "encryption": {"label": "sign"}}})");
    Start();
    EXPECT_EQ(Bytes({1}), IdOf(CKO_CERTIFICATE, "C.CH.SIG"));
    EXPECT_EQ(Bytes({2}), IdOf(CKO_CERTIFICATE, "C.CH.EKEY"));
}

TEST_F(ATokenBehindTheBridge, LiesInASlotThatCanBeEmptied) {
    m_Hsm.AddUsualToken();
    Start();
    CK_SLOT_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_GetSlotInfo(SlotOf("Maria Muster"), &info));
    EXPECT_NE(0U, info.flags & CKF_REMOVABLE_DEVICE);
    m_Bridge.reset();
    m_Hsm.Set(R"({"showFixedSlots": false})");
    Start();
    EXPECT_EQ(Rv(CKR_OK), (*m_Bridge)->C_GetSlotInfo(SlotOf("Maria Muster"), &info));
    EXPECT_EQ(0U, info.flags & CKF_REMOVABLE_DEVICE) << "as the module has it";
}

TEST_F(ATokenBehindTheBridge, IsOfTheModelThatTheSettingsName) {
    m_Hsm.AddUsualToken();
    Start();
    EXPECT_THAT(Field(m_Bridge->TokenInfo(SlotOf("Maria Muster")).model), StartsWith("SoftHSM v2"));
    m_Bridge.reset();
    m_Hsm.Set(R"({"model": "CardOS 5.3"})");
    Start();
    EXPECT_EQ("CardOS 5.3      ", Field(m_Bridge->TokenInfo(SlotOf("Maria Muster")).model));
}

TEST_F(ATokenBehindTheBridge, WithoutASerialGetsOneThatStays) {
    const auto serial = [this] {
        m_Bridge.emplace(); // the slot that waits for a new token has none
        const std::string made = Field(m_Bridge->TokenInfo(m_Bridge->Slots().at(0)).serialNumber);
        m_Bridge.reset();
        return made;
    };
    const std::string first = serial();
    EXPECT_EQ(std::string::npos, first.find_first_not_of("0123456789ABCDEF")) << first;
    EXPECT_EQ(first, serial());
}

TEST_F(ATokenBehindTheBridge, TellsNoPinInTheTrace) {
    m_Hsm.AddUsualToken();
    Start();
    m_Hsm.Answer("1234\n97531\n97531\n");
    EXPECT_EQ(Rv(CKR_OK), Command(tokenlib::CHANGE_PIN_COMMAND));
    EXPECT_EQ(1U, CallsOf("C_SetAttributeValue"));
    EXPECT_EQ(std::string::npos, ContentOf(m_Hsm.TraceFile()).find("97531"));
}
