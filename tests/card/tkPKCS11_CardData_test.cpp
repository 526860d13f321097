// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "formats/Personenbindung.h"
#include "formats/slCertificate.h"
#include "tests/card/MockedObjects.h"
#include "tests/foundation/GlobalLocale.h"
#include "tests/support/CertificateBuilder.h"

using testing::_;
using testing::DoAll;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::Pointee;
using testing::Return;
using testing::SetArgPointee;
using testing::SizeIs;
using testing::StrEq;
using namespace Velmor;

namespace {

const Wanted IDENTITY_LINK = {CKO_DATA, "PERSONENBINDUNG"};
const Wanted SIG_CERT = {CKO_CERTIFICATE, "C.CH.SIG"};
const Wanted ANY_CERT = {CKO_CERTIFICATE};

/// An identity link that ends behind its version.
const Bytes VERSION_5 = {0x30, 0x03, 0x02, 0x01, 0x05};

class CardData : public MockedObjectsTest {
protected:
    static constexpr CK_OBJECT_HANDLE OBJECT = 61;
    const std::string m_Cin = "123456789012";

    /// The search for the card with the number m_cin finds one, in slot 101.
    void PlanCard() {
        BindLibrary();
        PlanSlots({Token("a", "1"), Token("b", m_Cin + "3456")});
    }
    void PlanNoCard() {
        BindLibrary();
        PlanSlots({Token("a", "1")});
    }
    void PlanLogin(CK_RV rv) {
        EXPECT_CALL(m_Library, Login(TheSession(), CKU_USER, Pointee(0), 0)).WillOnce(Return(rv));
    }
    void PlanLogout() {
        EXPECT_CALL(m_Library, Logout(TheSession())).WillOnce(Return(CKR_USER_NOT_LOGGED_IN)); // ignored
    }
    void PlanWrite(CK_OBJECT_HANDLE handle, const Bytes& value, CK_RV rv) {
        EXPECT_CALL(m_Library, SetAttributeValue(TheSession(), handle, _, 1))
            .WillOnce([=](auto, auto, CK_ATTRIBUTE* written, auto) {
                EXPECT_EQ(written->type, CKA_VALUE);
                const auto* bytes = static_cast<const unsigned char*>(written->pValue);
                EXPECT_EQ(Bytes(bytes, bytes + written->ulValueLen), value);
                return rv;
            });
    }
    std::string m_Error = "unberührt";
};

} // namespace

// --- Insurance data ----------------------------------------------------------------------------------------

class InsuranceData : public CardData {
protected:
    struct Row {
        bool (tkPKCS11::*m_Read)(unsigned char*, unsigned long&);
        const char* m_Property;
        const char* m_Failure;
    };
    const Row m_Rows[2] = {
        {&tkPKCS11::ReadEHIC, "SV-Personendaten/EHIC", "Failed get EHIC, rv = "},
        {&tkPKCS11::ReadGrunddaten, "SV-Personendaten/Grunddaten", "Failed get Grunddaten, rv = "},
    };
    unsigned char m_Out[8] = {};
    unsigned long m_Length = sizeof(m_Out);
};

TEST_F(InsuranceData, IsReadStraightIntoTheCallersBuffer) {
    for (const Row& row : m_Rows) {
        m_Length = sizeof(m_Out);
        EXPECT_CALL(m_Library, CardAttribute(TheSession(), StrEq(row.m_Property), m_Out, Pointee(8U)))
            .WillOnce(DoAll(SetArgPointee<2>(0x42), SetArgPointee<3>(3), Return(CKR_OK)));
        EXPECT_TRUE((m_Card.*row.m_Read)(m_Out, m_Length));
        EXPECT_EQ(m_Length, 3U);
        EXPECT_EQ(m_Out[0], 0x42);
    }
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(InsuranceData, MayFillItsBufferAndTellsItsSizeWithoutOne) {
    for (const Row& row : m_Rows) {
        m_Length = sizeof(m_Out);
        EXPECT_CALL(m_Library, CardAttribute(_, _, _, _))
            .WillOnce(DoAll(SetArgPointee<3>(8), Return(CKR_OK)));
        EXPECT_TRUE((m_Card.*row.m_Read)(m_Out, m_Length));
        m_Length = 0;
        EXPECT_CALL(m_Library, CardAttribute(_, _, IsNull(), Pointee(0U)))
            .WillOnce(DoAll(SetArgPointee<3>(700), Return(CKR_OK)));
        EXPECT_TRUE((m_Card.*row.m_Read)(nullptr, m_Length));
        EXPECT_EQ(m_Length, 700U);
    }
}

TEST_F(InsuranceData, TellsItsSizeToABufferOfNoCapacityToo) {
    for (const Row& row : m_Rows) {
        m_Length = 0;
        EXPECT_CALL(m_Library, CardAttribute(_, _, m_Out, Pointee(0U)))
            .WillOnce(DoAll(SetArgPointee<3>(700), Return(CKR_OK)));
        EXPECT_TRUE((m_Card.*row.m_Read)(m_Out, m_Length));
        EXPECT_EQ(m_Length, 700U);
    }
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(InsuranceData, ReportsAFailureWithItsCode) {
    for (const Row& row : m_Rows) {
        m_Log.Clear();
        EXPECT_CALL(m_Library, CardAttribute(_, _, _, _)).WillOnce(Return(CKR_FUNCTION_NOT_SUPPORTED));
        EXPECT_FALSE((m_Card.*row.m_Read)(m_Out, m_Length));
        EXPECT_EQ(m_Length, 8U);
        EXPECT_THAT(m_Log.Lines(), ElementsAre(std::string("E ") + row.m_Failure + "0x54"));
    }
}

TEST_F(InsuranceData, ThatIsLongerThanItsBufferIsAFailure) {
    for (const Row& row : m_Rows) {
        m_Log.Clear();
        m_Length = sizeof(m_Out);
        EXPECT_CALL(m_Library, CardAttribute(_, _, _, _))
            .WillOnce(DoAll(SetArgPointee<3>(9), Return(CKR_OK)));
        EXPECT_FALSE((m_Card.*row.m_Read)(m_Out, m_Length));
        EXPECT_THAT(m_Log.Lines(), ElementsAre(std::string("E ") + row.m_Failure + "0x150"));
    }
}

TEST_F(InsuranceData, NeedsAnEntryPointButNoTestedSession) {
    for (const Row& row : m_Rows) {
        m_Card.m_hSession = 0; // the library refuses it by itself
        EXPECT_CALL(m_Library, CardAttribute(0, _, _, _)).WillOnce(Return(CKR_SESSION_HANDLE_INVALID));
        EXPECT_FALSE((m_Card.*row.m_Read)(m_Out, m_Length));
        const CK_C_CardAttribute entryPoint = tkPKCS11::Proc_C_CardAttribute;
        tkPKCS11::Proc_C_CardAttribute = nullptr;
        m_Log.Clear();
        EXPECT_FALSE((m_Card.*row.m_Read)(m_Out, m_Length));
        EXPECT_THAT(m_Log.Lines(), IsEmpty());
        tkPKCS11::Proc_C_CardAttribute = entryPoint;
    }
}

// --- Reading the identity link -----------------------------------------------------------------------------

class IdentityLink : public CardData {
protected:
    void PlanObject() { PlanSearch(IDENTITY_LINK, {OBJECT}, 1); }

    Personenbindung m_Record;
};

TEST_F(IdentityLink, IsReadAndParsed) {
    PlanObject();
    PlanRead(OBJECT, {Value(VERSION_5)});
    EXPECT_TRUE(m_Card.ReadPers(&m_Record));
    EXPECT_EQ(m_Record.getVersion(), 5);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M ReadPers"));
}

TEST_F(IdentityLink, IsReadInItsReportedLength) {
    PlanObject();
    PlanRead(OBJECT, {Claiming(4, Value(VERSION_5))}); // cuts the version's value off
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    Bytes longest(5012);
    std::copy(VERSION_5.begin(), VERSION_5.end(), longest.begin());
    PlanObject();
    PlanRead(OBJECT, {Value(longest)});
    EXPECT_TRUE(m_Card.ReadPers(&m_Record));
    EXPECT_EQ(m_Record.getVersion(), 5);
}

TEST_F(IdentityLink, ThatIsNoneFailsAsTheParserDoes) {
    for (const Bytes& junk : {Bytes{}, Bytes{0x31, 0x00}, Bytes{0x30, 0x82, 0xFF, 0xFF}}) {
        PlanObject();
        PlanRead(OBJECT, {Value(junk)});
        EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    }
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(IdentityLink, NeedsASession) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M ReadPers", "E PKCS11 Session nicht offen"));
}

TEST_F(IdentityLink, ThatCannotBeSearchedForIsReportedFromTheSecondCallOn) {
    PlanFailedSearch(0, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
    PlanFailedSearch(1, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    PlanFailedSearch(2, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjects ERROR0x30",
                                            "PKCS11 Proc_C_FindObjectsFinal ERROR0x30"));
}

TEST_F(IdentityLink, OfASearchThatClaimsMoreThanItCouldHandOutIsNotRead) {
    PlanSearchClaiming(2, IDENTITY_LINK, 1);
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjects ERROR0x150"));
}

TEST_F(IdentityLink, ThatTheCardDoesNotHaveIsReportedAndLeavesTheRecordAlone) {
    PlanObject();
    PlanRead(OBJECT, {Value(VERSION_5)});
    EXPECT_TRUE(m_Card.ReadPers(&m_Record));
    m_Log.Clear();
    PlanSearch(IDENTITY_LINK, {}, 1);
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M ReadPers", "E PKCS11 Anzahl Objekte <1"));
    EXPECT_EQ(m_Record.getVersion(), 5);
}

TEST_F(IdentityLink, ThatCannotBeReadIsReportedAndLeavesTheRecordAlone) {
    PlanObject();
    PlanFailedRead(OBJECT, CKR_ATTRIBUTE_SENSITIVE);
    EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    for (const CK_ULONG length : {5013UL, static_cast<CK_ULONG>(CK_UNAVAILABLE_INFORMATION)}) {
        PlanObject();
        PlanRead(OBJECT, {Claiming(length, Value(VERSION_5))});
        EXPECT_FALSE(m_Card.ReadPers(&m_Record));
    }
    EXPECT_EQ(m_Record.getVersion(), 0);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_GetAttributeValue(2) ERROR0x11",
                                            "PKCS11 Proc_C_GetAttributeValue(2) ERROR0x150",
                                            "PKCS11 Proc_C_GetAttributeValue(2) ERROR0x150"));
}

// --- Writing the identity link -----------------------------------------------------------------------------

class UpdateOfIdentityLink : public CardData {
protected:
    bool Update() { return m_Card.UpdatePersonenbindung(m_Cin, m_Data, m_Error); }

    /// The card is there and opens, the object is found.
    void PlanObject() {
        PlanCard();
        PlanOpen(101, 12);
        PlanSearch(IDENTITY_LINK, {OBJECT, 62});
    }
    static Bytes Sequence(size_t size) {
        Bytes bytes(size, 0x55);
        if (size > 0)
            bytes[0] = 0x30;
        return bytes;
    }
    Bytes m_Data = Sequence(128);
};

TEST_F(UpdateOfIdentityLink, WritesTheFirstObjectWithExactlyItsBytes) {
    for (const size_t size : {128U, 3071U, 3072U}) {
        m_Data = Sequence(size);
        PlanObject();
        PlanLogin(CKR_OK);
        PlanWrite(OBJECT, m_Data, CKR_OK);
        PlanLogout();
        PlanClose(12);
        EXPECT_TRUE(Update());
    }
    EXPECT_EQ(m_Error, "unberührt");
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(UpdateOfIdentityLink, NeedsTheCard) {
    m_Data.clear(); // not looked at yet
    PlanNoCard();
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_Error, "Keine Smartcard gefunden für CIN=123456789012");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Keine Smartcard gefunden für CIN= 123456789012"));
}

TEST_F(UpdateOfIdentityLink, RefusesDataOfAWrongSizeOrKind) {
    Bytes noSequence = Sequence(128);
    noSequence[0] = 0x31;
    const std::pair<Bytes, const char*> rows[] = {
        {{}, "(1)"},         {Sequence(127), "(1)"}, {Bytes(127, 0x31), "(1)"}, {Sequence(3073), "(1)"},
        {noSequence, "(2)"},
    };
    for (const auto& [data, suffix] : rows) {
        m_Log.Clear();
        m_Error.clear();
        m_Data = data;
        PlanCard();
        EXPECT_FALSE(Update());
        EXPECT_EQ(m_Error, "Falsche Update Daten für die Smartcard");
        EXPECT_THAT(m_Log.Errors(),
                    ElementsAre(std::string("Falsche Update Daten für die Smartcard ") + suffix));
    }
}

TEST_F(UpdateOfIdentityLink, NeedsASession) {
    PlanCard();
    PlanOpen(101, 0);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_Error, "Fehler beim öffnen der Kartensession");
    EXPECT_THAT(m_Log.Errors(),
                ElementsAre("PKCS11 Proc_C_OpenSession ERROR0x32", "Fehler beim öffnen der Kartensession"));
}

TEST_F(UpdateOfIdentityLink, EndsItsSessionWhenTheSearchFails) {
    PlanCard();
    PlanOpen(101, 12);
    PlanFailedSearch(1, CKR_DEVICE_ERROR);
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_Error, "PKCS11 FindObjects");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjects0x30", "PKCS11 FindObjects"));
}

TEST_F(UpdateOfIdentityLink, EndsItsSessionWhenTheObjectIsMissing) {
    PlanCard();
    PlanOpen(101, 12);
    PlanSearch(IDENTITY_LINK, {});
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_Error, "Das Objekt 'PERSONENBINDUNG' wurde nicht gefunden.");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Das Objekt 'PERSONENBINDUNG' wurde nicht gefunden."));
}

TEST_F(UpdateOfIdentityLink, DoesNotLogOutWhenTheLoginFails) {
    PlanObject();
    PlanLogin(CKR_FUNCTION_CANCELED);
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_Error, "Fehler beim Initialisieren des Kartenobjektes. (CLogin)");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_Login0x50"));
}

TEST_F(UpdateOfIdentityLink, LogsOutWhenTheWriteFails) {
    PlanObject();
    PlanLogin(CKR_OK);
    PlanWrite(OBJECT, m_Data, CKR_DEVICE_MEMORY);
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_Error, "Fehler beim modifizieren des Kartenobjektes. (C_SetAttributeValue)");
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_SetAttributeValue0x31"));
}

// --- Replacing a certificate -------------------------------------------------------------------------------

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
