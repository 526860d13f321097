// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "formats/slCertificate.h"
#include "tests/card/CardDataTest.h"
#include "tests/foundation/GlobalLocale.h"
#include "tests/support/CertificateBuilder.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StrEq;
using namespace Velmor;

class UpdateOfCertificate : public CardData {
protected:
    void PlanCertificateOnCard(const Bytes& der) {
        PlanSearch(SIG_CERT, {OBJECT});
        PlanRead(OBJECT, {Label("C.CH.SIG"), Value(der)});
    }
    void PlanHandle(CK_OBJECT_HANDLE handle) {
        PlanSearch(ANY_CERT, {handle});
        PlanRead(handle, {Label("C.CH.SIG")});
    }

    const Bytes m_Old = CertificateBuilder().Serial("01").Der();
    const Bytes m_New = CertificateBuilder().Serial("02").Der();
    const Bytes m_OfOtherKey = CertificateBuilder().Key(TestKey::P256).Der();
};

TEST_F(UpdateOfCertificate, WritesTheWholeOfItInTheSession) {
    PlanCertificateOnCard(m_Old);
    PlanHandle(63);
    PlanWrite(63, m_New, CKR_OK);
    EXPECT_TRUE(m_Card.updateCertInSession(m_New, true, m_Error));
    EXPECT_EQ(m_Error, "unberührt");
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
    Bytes held;
    m_Card.GetSigningCertificate(held);
    EXPECT_EQ(held, m_Old); // the one that was on the card
}

TEST_F(UpdateOfCertificate, TakesTheEncryptionCertificateToo) {
    PlanSearch({CKO_CERTIFICATE, "C.CH.EKEY"}, {OBJECT});
    PlanRead(OBJECT, {Label("C.CH.EKEY"), Value(m_Old)});
    PlanSearch(ANY_CERT, {1, 2});
    PlanRead(1, {Label("C.CH.SIG")});
    PlanRead(2, {Label("C.CH.EKEY")});
    PlanWrite(2, m_New, CKR_OK);
    EXPECT_TRUE(m_Card.updateCertInSession(m_New, false, m_Error));
}

TEST_F(UpdateOfCertificate, RefusesBytesThatAreNone) {
    EXPECT_FALSE(m_Card.updateCertInSession({1, 2, 3}, true, m_Error));
    EXPECT_EQ(m_Error, "Zertifikat konnte nicht gelesen werden");
    EXPECT_FALSE(m_Card.updateCertInSession({}, true, m_Error));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E Zertifikat konnte nicht gelesen werden",
                                           "E Zertifikat konnte nicht gelesen werden"));
}

TEST_F(UpdateOfCertificate, NeedsOneOnTheCard) {
    PlanSearch(SIG_CERT, {});
    EXPECT_FALSE(m_Card.updateCertInSession(m_New, true, m_Error));
    EXPECT_EQ(m_Error, "Zertifikat auf der Karte nicht gefunden");
    m_Error.clear();
    PlanCertificateOnCard({1, 2, 3}); // which cannot be parsed, so that it does not load
    EXPECT_FALSE(m_Card.updateCertInSession(m_New, true, m_Error));
    EXPECT_EQ(m_Error, "Zertifikat auf der Karte nicht gefunden");
    EXPECT_THAT(m_Log.Errors(), Each(StrEq("Zertifikat auf der Karte nicht gefunden")));
    EXPECT_THAT(m_Log.Errors(), SizeIs(2));
}

TEST_F(UpdateOfCertificate, RefusesOneForAnotherKey) {
    PlanCertificateOnCard(m_Old);
    EXPECT_FALSE(m_Card.updateCertInSession(m_OfOtherKey, true, m_Error));
    EXPECT_EQ(m_Error, "Public Key Hashwerte stimmen nicht überein");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Public Key Hashwerte stimmen nicht überein"));
}

TEST_F(UpdateOfCertificate, TellsTheCodeOfAFailedWrite) {
    PlanCertificateOnCard(m_Old);
    PlanHandle(63);
    PlanWrite(63, m_New, CKR_USER_NOT_LOGGED_IN);
    EXPECT_FALSE(m_Card.updateCertInSession(m_New, true, m_Error));
    EXPECT_EQ(m_Error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0x101");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Fehler beim Modifizieren des Kartenobjektes. Code = 0x101"));
    PlanCertificateOnCard(m_Old);
    PlanHandle(63);
    PlanWrite(63, m_New, CKR_PIN_INCORRECT + 0xB);
    EXPECT_FALSE(m_Card.updateCertInSession(m_New, true, m_Error));
    EXPECT_EQ(m_Error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0xab");
}

TEST_F(UpdateOfCertificate, TellsTheCodeTheSameInEveryLocale) {
    const GlobalLocale locale(new PointsBetweenDigits<char>);
    PlanCertificateOnCard(m_Old);
    PlanHandle(63);
    PlanWrite(63, m_New, CKR_VENDOR_DEFINED | 1);
    EXPECT_FALSE(m_Card.updateCertInSession(m_New, true, m_Error));
    EXPECT_EQ(m_Error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0x80000001");
}

TEST_F(UpdateOfCertificate, GivesAHandleOfZeroToTheLibraryAsItIs) {
    PlanCertificateOnCard(m_Old);
    PlanSearch(ANY_CERT, {});
    PlanWrite(0, m_New, CKR_OBJECT_HANDLE_INVALID);
    EXPECT_FALSE(m_Card.updateCertInSession(m_New, true, m_Error));
    EXPECT_EQ(m_Error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0x82");
}

TEST_F(UpdateOfCertificate, OpensASessionAndLogsOutWithoutALogin) {
    PlanCard();
    PlanOpen(101, 12);
    PlanCertificateOnCard(m_Old);
    PlanHandle(63);
    PlanWrite(63, m_New, CKR_OK);
    PlanLogout();
    PlanClose(12);
    EXPECT_TRUE(m_Card.UpdateCertificate(m_Cin, m_New, true, m_Error));
    EXPECT_EQ(m_Error, "unberührt");
}

TEST_F(UpdateOfCertificate, EndsItsSessionWhenItFails) {
    PlanCard();
    PlanOpen(101, 12);
    PlanCertificateOnCard(m_Old);
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(m_Card.UpdateCertificate(m_Cin, m_OfOtherKey, true, m_Error));
    EXPECT_EQ(m_Error, "Public Key Hashwerte stimmen nicht überein");
}

TEST_F(UpdateOfCertificate, NeedsTheCard) {
    PlanNoCard();
    EXPECT_FALSE(m_Card.UpdateCertificate(m_Cin, m_New, true, m_Error));
    EXPECT_EQ(m_Error, "Keine Smartcard gefunden für CIN=123456789012");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Keine Smartcard gefunden für CIN=123456789012"));
}

TEST_F(UpdateOfCertificate, TakesACardThatDoesNotOpenForASuccess) {
    PlanCard();
    PlanOpen(101, 0);
    m_Error.clear();
    EXPECT_TRUE(m_Card.UpdateCertificate(m_Cin, m_New, true, m_Error));
    EXPECT_EQ(m_Error, "");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_OpenSession ERROR0x32"));
}
