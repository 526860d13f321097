// SPDX-License-Identifier: MIT
// Over the PKCS#11 library of a TPM, which with-tpm makes.
#include <cstdlib>

#include "tests/bridge/BridgeTest.h"
#include "tokenlib/Pkcs11.h"

using orseltest::Bytes;
using orseltest::Field;
using orseltest::Rv;
using testing::MatchesRegex;
using testing::SizeIs;

class ATpm : public orseltest::BridgeTest {
protected:
    const ScopedVariable m_Tpm{"ORSELBRIDGE_MODULE", std::getenv("TPM_MODULE")};
};

TEST_F(ATpm, HasASerialMadeForItSinceItsLibraryWritesZeros) {
    Start();
    const std::string serial = Field(m_Bridge->TokenInfo(SlotOf("Maria Muster")).serialNumber);
    EXPECT_THAT(serial, MatchesRegex("[0-9A-F]{16}"));
    EXPECT_NE(std::string(16, '0'), serial);
}

TEST_F(ATpm, ShowsItsKeysInTheirRoles) {
    Start();
    for (const CK_OBJECT_CLASS objectClass : {CKO_CERTIFICATE, CKO_PUBLIC_KEY, CKO_PRIVATE_KEY}) {
        EXPECT_THAT(m_Bridge->Find(m_Session, objectClass), SizeIs(2));
    }
    const auto idOf = [&](const std::string& label) {
        return m_Bridge->Attribute(m_Session, m_Bridge->FindOne(m_Session, CKO_CERTIFICATE, label), CKA_ID);
    };
    EXPECT_EQ(Bytes({2}), idOf("C.CH.SIG"));
    EXPECT_EQ(Bytes({1}), idOf("C.CH.EKEY"));
}

TEST_F(ATpm, SignsWithThePinThatIsAskedFor) {
    Start();
    m_Hsm.Answer("1234\n1234\n4321\n");
    Bytes bySignatureKey;
    Bytes byOtherKey;
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_ECDSA, bySignatureKey));
    EXPECT_THAT(bySignatureKey, SizeIs(64));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.EKEY", CKM_SHA256_RSA_PKCS, byOtherKey));
    EXPECT_THAT(byOtherKey, SizeIs(256));
    Bytes none;
    EXPECT_EQ(Rv(CKR_PIN_INCORRECT), Sign("SK.CH.SIG", CKM_ECDSA, none));

    EXPECT_EQ(Rv(CKR_USER_NOT_LOGGED_IN), Verify("PK.CH.SIG", CKM_ECDSA, bySignatureKey))
        << "its library verifies for who has logged in alone";
    std::string pin = orseltest::SoftHsm::PIN;
    EXPECT_EQ(Rv(CKR_OK),
              (*m_Bridge)->C_Login(m_Session, CKU_USER, reinterpret_cast<CK_BYTE*>(pin.data()), pin.size()));
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.SIG", CKM_ECDSA, bySignatureKey));
    EXPECT_EQ(Rv(CKR_OK), Verify("PK.CH.EKEY", CKM_SHA256_RSA_PKCS, byOtherKey));
}

TEST_F(ATpm, HasItsPinChangedAndSetAnewByTheOfficer) {
    Start();
    m_Hsm.Answer("1234\n56789\n56789\n"
                 "56789\n"
                 "12345678\n1234\n1234\n"
                 "1234\n");
    Bytes signature;
    EXPECT_EQ(Rv(CKR_OK), Command(tokenlib::CHANGE_PIN_COMMAND));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_ECDSA, signature));
    EXPECT_EQ(Rv(CKR_OK), Command(tokenlib::UNBLOCK_PIN_COMMAND));
    EXPECT_EQ(Rv(CKR_OK), Sign("SK.CH.SIG", CKM_ECDSA, signature));
}
