// SPDX-License-Identifier: MIT
// Signing with the key of a certificate, on whichever card holds it.
#include "card/tkPKCS11.h"

#include "formats/slCertificate.h"
#include "tests/card/CardCertificates.h"
#include "tests/card/MockedSigning.h"
#include "tests/support/CertificateBuilder.h"

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using namespace Velmor;

namespace {

class ByCertificate : public MockedSigningTest {
protected:
    const Wanted m_AnyCert = {CKO_CERTIFICATE};

    /// A certificate's attributes as this search reads them.
    static std::vector<ReadAttribute> Read(const Bytes& der, const std::string& id) {
        return {Label("egal"), Value(der), Id(id)};
    }
    void PlanKeyOfId(const std::string& id, const std::string& label) {
        PlanSearch({CKO_PRIVATE_KEY, "", id}, {KEY});
        PlanRead(KEY, {Label(label)});
    }

    const Bytes m_Der = CertificateBuilder().Serial("77").Der();
    const Bytes m_Other = CertificateBuilder().Serial("78").Der();
    const std::wstring m_Thumbprint = CertificateBuilder().Serial("77").Wrapped().GetThumbprint();
    const Bytes m_Data = {1, 2, 3};
    Bytes m_Signature;
    slCertificate m_Certificate;
    std::string m_Label;
};

} // namespace

TEST_F(ByCertificate, TheKeyIsFoundByItsId) {
    PlanSearch(m_AnyCert, {1, 2, 3, 4, 5});
    PlanFailedRead(1, CKR_DEVICE_ERROR);
    PlanRead(2, Read(m_Other, "\x01"));
    PlanRead(3, Read({0x30}, "\x02")); // no certificate
    PlanRead(4, Read(m_Der, std::string("\x03\x00\x04", 3)));
    PlanKeyOfId(std::string("\x03\x00\x04", 3), "SK.CH.SIG");
    EXPECT_TRUE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
    EXPECT_EQ(m_Certificate.ToBin(), m_Der);
    EXPECT_EQ(m_Label, "SK.CH.SIG");
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x30"));
}

TEST_F(ByCertificate, TheThumbprintCountsInItsWholeLength) {
    PlanSearch(m_AnyCert, {1, 1});
    PlanRead(1, Read(m_Der, "\x01"));
    PlanRead(1, Read(m_Other, "\x01"));
    EXPECT_FALSE(m_Card.findCertAndKey(m_Thumbprint + L"0", m_Certificate, m_Label));
    EXPECT_EQ(m_Certificate.GetX509(), nullptr);
}

TEST_F(ByCertificate, NothingIsFoundWithoutASessionOrCertificates) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
    m_Card.m_hSession = SESSION;
    PlanSearch(m_AnyCert, {});
    EXPECT_FALSE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(ByCertificate, ASearchThatFailsIsReported) {
    for (size_t call = 0; call < 3; ++call) {
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(m_Card.findPrivateKeyFromID("\x01", m_Label));
        EXPECT_THAT(m_Log.Errors(), ElementsAre(FAILED_CALLS[call], "PKCS11 FindObjects", FAILED_CALLS[call],
                                                "PKCS11 FindObjects"));
    }
}

TEST_F(ByCertificate, ACertificateThatClaimsToBeTooLongEndsTheSearch) {
    PlanSearch(m_AnyCert, {1, 2});
    PlanRead(1, {Label("egal"), Claiming(5013, Value({})), Id("\x01")});
    EXPECT_FALSE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E buffer to short"));
}

TEST_F(ByCertificate, AnIdThatClaimsToBeTooLongIsPassedOver) {
    PlanSearch(m_AnyCert, {1, 2});
    PlanRead(1, {Label("egal"), Value(m_Der), Claiming(257, Id("\x01"))});
    PlanRead(2, Read(m_Der, "\x02"));
    PlanKeyOfId("\x02", "SK.CH.EKEY");
    EXPECT_TRUE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
    EXPECT_EQ(m_Label, "SK.CH.EKEY");
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x150"));
}

TEST_F(ByCertificate, ALabelThatClaimsToBeTooLongIsPassedOver) {
    PlanSearch(m_AnyCert, {1, 2});
    PlanRead(1, {Claiming(257, Label("egal")), Value(m_Der), Id("\x01")});
    PlanRead(2, Read(m_Der, "\x02"));
    PlanKeyOfId("\x02", "SK.CH.EKEY");
    EXPECT_TRUE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x150"));
}

TEST_F(ByCertificate, WithoutItsKeyIsHandedOutAllTheSame) {
    PlanSearch(m_AnyCert, {1});
    PlanRead(1, Read(m_Der, "\x01"));
    PlanSearch({CKO_PRIVATE_KEY, "", "\x01"}, {});
    EXPECT_FALSE(m_Card.findCertAndKey(m_Thumbprint, m_Certificate, m_Label));
    EXPECT_EQ(m_Certificate.ToBin(), m_Der);
    EXPECT_EQ(m_Label, "");
}

TEST_F(ByCertificate, TheKeyHasToBeTheOnlyOneOfItsId) {
    for (const size_t count : {0U, 2U}) {
        PlanSearch({CKO_PRIVATE_KEY, "", "\x01"}, std::vector<CK_OBJECT_HANDLE>(count, KEY));
        EXPECT_FALSE(m_Card.findPrivateKeyFromID("\x01", m_Label));
    }
    EXPECT_EQ(m_Label, "");
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(ByCertificate, TheKeyHasToHaveALabel) {
    PlanKeyOfId("\x01", "");
    EXPECT_FALSE(m_Card.findPrivateKeyFromID("\x01", m_Label));
    PlanSearch({CKO_PRIVATE_KEY, "", "\x01"}, {KEY});
    PlanFailedRead(KEY, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_Card.findPrivateKeyFromID("\x01", m_Label));
    PlanSearch({CKO_PRIVATE_KEY, "", "\x01"}, {KEY});
    PlanRead(KEY, {Claiming(257, Label("x"))});
    EXPECT_FALSE(m_Card.findPrivateKeyFromID("\x01", m_Label));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x30",
                                           "E PKCS11 Proc_C_GetAttributeValue0x150"));
    PlanKeyOfId("\x01", std::string("a\0b", 3));
    EXPECT_TRUE(m_Card.findPrivateKeyFromID("\x01", m_Label));
    EXPECT_EQ(m_Label, std::string("a\0b", 3));
}

TEST_F(ByCertificate, TheKeyNeedsASession) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.findPrivateKeyFromID("\x01", m_Label));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E findPrivateKeyFromID, Session not initialized"));
}

TEST_F(ByCertificate, SignsOnTheCardThatHoldsIt) {
    BindLibrary();
    PlanSlots({Token("a", "1"), Token("b", "2"), Token("c", "3"), Token("d", "4")});
    PlanOpen(100, 0);
    PlanOpen(101, 11);
    PlanSearch(m_AnyCert, {1});
    PlanRead(1, Read(m_Other, "\x01"));
    PlanClose(11);
    PlanOpen(102, 12);
    PlanSearch(m_AnyCert, {1});
    PlanRead(1, Read(m_Der, "\x02"));
    PlanKeyOfId("\x02", "SK.CH.EKEY");
    PlanSigning("SK.CH.EKEY", CKK_RSA, CKM_SHA1_RSA_PKCS, m_Data, {5, 6});
    PlanClose(12);
    m_Signature = {1};
    EXPECT_TRUE(m_Card.Sign(m_Thumbprint, m_Data, m_Certificate, m_Signature));
    EXPECT_THAT(m_Signature, ElementsAre(1, 5, 6));
    EXPECT_EQ(m_Certificate.ToBin(), m_Der);
}

TEST_F(ByCertificate, ClosesTheSessionAlsoWhenSigningFails) {
    BindLibrary();
    PlanSlots({Token("a", "1"), Token("b", "2")});
    PlanOpen(100, 11);
    PlanSearch(m_AnyCert, {1});
    PlanRead(1, Read(m_Der, "\x02"));
    PlanKeyOfId("\x02", "SK.CH.EKEY");
    PlanKeys({});
    PlanClose(11);
    EXPECT_FALSE(m_Card.Sign(m_Thumbprint, m_Data, m_Certificate, m_Signature));
    EXPECT_THAT(m_Signature, IsEmpty());
}

TEST_F(ByCertificate, NeedsALibraryAndCards) {
    EXPECT_FALSE(m_Card.Sign(m_Thumbprint, m_Data, m_Certificate, m_Signature));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 LoadLibrary ERROR"));
    BindLibrary();
    EXPECT_CALL(m_Library, GetSlotList(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_FALSE(m_Card.Sign(m_Thumbprint, m_Data, m_Certificate, m_Signature));
    PlanSlots({Token("a", "0000000000000000")}); // an empty card does not count
    EXPECT_FALSE(m_Card.Sign(m_Thumbprint, m_Data, m_Certificate, m_Signature));
    PlanSlots({Token("a", "1")});
    PlanOpen(100, 0);
    EXPECT_FALSE(m_Card.Sign(m_Thumbprint, m_Data, m_Certificate, m_Signature));
}
