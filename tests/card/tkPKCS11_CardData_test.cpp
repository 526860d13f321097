// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "formats/Personenbindung.h"
#include "formats/slCertificate.h"
#include "tests/card/MockedObjects.h"
#include "tests/formats/CertificateBuilder.h"
#include "tests/foundation/GlobalLocale.h"

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
    const std::string m_cin = "123456789012";

    /// The search for the card with the number m_cin finds one, in slot 101.
    void PlanCard() {
        BindLibrary();
        PlanSlots({Token("a", "1"), Token("b", m_cin + "3456")});
    }
    void PlanNoCard() {
        BindLibrary();
        PlanSlots({Token("a", "1")});
    }
    void PlanLogin(CK_RV rv) {
        EXPECT_CALL(m_library, Login(TheSession(), CKU_USER, Pointee(0), 0)).WillOnce(Return(rv));
    }
    void PlanLogout() {
        EXPECT_CALL(m_library, Logout(TheSession())).WillOnce(Return(CKR_USER_NOT_LOGGED_IN)); // ignored
    }
    void PlanWrite(CK_OBJECT_HANDLE handle, const Bytes& value, CK_RV rv) {
        EXPECT_CALL(m_library, SetAttributeValue(TheSession(), handle, _, 1))
            .WillOnce([=](auto, auto, CK_ATTRIBUTE* written, auto) {
                EXPECT_EQ(written->type, CKA_VALUE);
                const auto* bytes = static_cast<const unsigned char*>(written->pValue);
                EXPECT_EQ(Bytes(bytes, bytes + written->ulValueLen), value);
                return rv;
            });
    }
    std::string m_error = "unberührt";
};

} // namespace

// --- Insurance data ----------------------------------------------------------------------------------------

class InsuranceData : public CardData {
protected:
    struct Row {
        bool (tkPKCS11::*read)(unsigned char*, unsigned long&);
        const char* property;
        const char* failure;
    };
    const Row ROWS[2] = {
        {&tkPKCS11::ReadEHIC, "SV-Personendaten/EHIC", "Failed get EHIC, rv = "},
        {&tkPKCS11::ReadGrunddaten, "SV-Personendaten/Grunddaten", "Failed get Grunddaten, rv = "},
    };
    unsigned char m_out[8] = {};
    unsigned long m_length = sizeof(m_out);
};

TEST_F(InsuranceData, IsReadStraightIntoTheCallersBuffer) {
    for (const Row& row : ROWS) {
        m_length = sizeof(m_out);
        EXPECT_CALL(m_library, CardAttribute(TheSession(), StrEq(row.property), m_out, Pointee(8U)))
            .WillOnce(DoAll(SetArgPointee<2>(0x42), SetArgPointee<3>(3), Return(CKR_OK)));
        EXPECT_TRUE((m_card.*row.read)(m_out, m_length));
        EXPECT_EQ(m_length, 3U);
        EXPECT_EQ(m_out[0], 0x42);
    }
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(InsuranceData, MayFillItsBufferAndTellsItsSizeWithoutOne) {
    for (const Row& row : ROWS) {
        m_length = sizeof(m_out);
        EXPECT_CALL(m_library, CardAttribute(_, _, _, _))
            .WillOnce(DoAll(SetArgPointee<3>(8), Return(CKR_OK)));
        EXPECT_TRUE((m_card.*row.read)(m_out, m_length));
        m_length = 0;
        EXPECT_CALL(m_library, CardAttribute(_, _, IsNull(), Pointee(0U)))
            .WillOnce(DoAll(SetArgPointee<3>(700), Return(CKR_OK)));
        EXPECT_TRUE((m_card.*row.read)(nullptr, m_length));
        EXPECT_EQ(m_length, 700U);
    }
}

TEST_F(InsuranceData, TellsItsSizeToABufferOfNoCapacityToo) {
    for (const Row& row : ROWS) {
        m_length = 0;
        EXPECT_CALL(m_library, CardAttribute(_, _, m_out, Pointee(0U)))
            .WillOnce(DoAll(SetArgPointee<3>(700), Return(CKR_OK)));
        EXPECT_TRUE((m_card.*row.read)(m_out, m_length));
        EXPECT_EQ(m_length, 700U);
    }
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(InsuranceData, ReportsAFailureWithItsCode) {
    for (const Row& row : ROWS) {
        m_log.Clear();
        EXPECT_CALL(m_library, CardAttribute(_, _, _, _)).WillOnce(Return(CKR_FUNCTION_NOT_SUPPORTED));
        EXPECT_FALSE((m_card.*row.read)(m_out, m_length));
        EXPECT_EQ(m_length, 8U);
        EXPECT_THAT(m_log.Lines(), ElementsAre(std::string("E ") + row.failure + "0x54"));
    }
}

TEST_F(InsuranceData, ThatIsLongerThanItsBufferIsAFailure) {
    for (const Row& row : ROWS) {
        m_log.Clear();
        m_length = sizeof(m_out);
        EXPECT_CALL(m_library, CardAttribute(_, _, _, _))
            .WillOnce(DoAll(SetArgPointee<3>(9), Return(CKR_OK)));
        EXPECT_FALSE((m_card.*row.read)(m_out, m_length));
        EXPECT_THAT(m_log.Lines(), ElementsAre(std::string("E ") + row.failure + "0x150"));
    }
}

TEST_F(InsuranceData, NeedsAnEntryPointButNoTestedSession) {
    for (const Row& row : ROWS) {
        m_card.m_hSession = 0; // the library refuses it by itself
        EXPECT_CALL(m_library, CardAttribute(0, _, _, _)).WillOnce(Return(CKR_SESSION_HANDLE_INVALID));
        EXPECT_FALSE((m_card.*row.read)(m_out, m_length));
        const CK_C_CardAttribute entryPoint = tkPKCS11::Proc_C_CardAttribute;
        tkPKCS11::Proc_C_CardAttribute = nullptr;
        m_log.Clear();
        EXPECT_FALSE((m_card.*row.read)(m_out, m_length));
        EXPECT_THAT(m_log.Lines(), IsEmpty());
        tkPKCS11::Proc_C_CardAttribute = entryPoint;
    }
}

// --- Reading the identity link -----------------------------------------------------------------------------

class IdentityLink : public CardData {
protected:
    void PlanObject() { PlanSearch(IDENTITY_LINK, {OBJECT}, 1); }

    Personenbindung m_record;
};

TEST_F(IdentityLink, IsReadAndParsed) {
    PlanObject();
    PlanRead(OBJECT, {Value(VERSION_5)});
    EXPECT_TRUE(m_card.ReadPers(&m_record));
    EXPECT_EQ(m_record.getVersion(), 5);
    EXPECT_THAT(m_log.Lines(), ElementsAre("M ReadPers"));
}

TEST_F(IdentityLink, IsReadInItsReportedLength) {
    PlanObject();
    PlanRead(OBJECT, {Claiming(4, Value(VERSION_5))}); // cuts the version's value off
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    Bytes longest(5012);
    std::copy(VERSION_5.begin(), VERSION_5.end(), longest.begin());
    PlanObject();
    PlanRead(OBJECT, {Value(longest)});
    EXPECT_TRUE(m_card.ReadPers(&m_record));
    EXPECT_EQ(m_record.getVersion(), 5);
}

TEST_F(IdentityLink, ThatIsNoneFailsAsTheParserDoes) {
    for (const Bytes& junk : {Bytes{}, Bytes{0x31, 0x00}, Bytes{0x30, 0x82, 0xFF, 0xFF}}) {
        PlanObject();
        PlanRead(OBJECT, {Value(junk)});
        EXPECT_FALSE(m_card.ReadPers(&m_record));
    }
    EXPECT_THAT(m_log.Errors(), IsEmpty());
}

TEST_F(IdentityLink, NeedsASession) {
    m_card.m_hSession = 0;
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    EXPECT_THAT(m_log.Lines(), ElementsAre("M ReadPers", "E PKCS11 Session nicht offen"));
}

TEST_F(IdentityLink, ThatCannotBeSearchedForIsReportedFromTheSecondCallOn) {
    PlanFailedSearch(0, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    EXPECT_THAT(m_log.Errors(), IsEmpty());
    PlanFailedSearch(1, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    PlanFailedSearch(2, CKR_DEVICE_ERROR);
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    EXPECT_THAT(m_log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjects ERROR0x30",
                                            "PKCS11 Proc_C_FindObjectsFinal ERROR0x30"));
}

TEST_F(IdentityLink, OfASearchThatClaimsMoreThanItCouldHandOutIsNotRead) {
    PlanSearchClaiming(2, IDENTITY_LINK, 1);
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    EXPECT_THAT(m_log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjects ERROR0x150"));
}

TEST_F(IdentityLink, ThatTheCardDoesNotHaveIsReportedAndLeavesTheRecordAlone) {
    PlanObject();
    PlanRead(OBJECT, {Value(VERSION_5)});
    EXPECT_TRUE(m_card.ReadPers(&m_record));
    m_log.Clear();
    PlanSearch(IDENTITY_LINK, {}, 1);
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    EXPECT_THAT(m_log.Lines(), ElementsAre("M ReadPers", "E PKCS11 Anzahl Objekte <1"));
    EXPECT_EQ(m_record.getVersion(), 5);
}

TEST_F(IdentityLink, ThatCannotBeReadIsReportedAndLeavesTheRecordAlone) {
    PlanObject();
    PlanFailedRead(OBJECT, CKR_ATTRIBUTE_SENSITIVE);
    EXPECT_FALSE(m_card.ReadPers(&m_record));
    for (const CK_ULONG length : {5013UL, static_cast<CK_ULONG>(CK_UNAVAILABLE_INFORMATION)}) {
        PlanObject();
        PlanRead(OBJECT, {Claiming(length, Value(VERSION_5))});
        EXPECT_FALSE(m_card.ReadPers(&m_record));
    }
    EXPECT_EQ(m_record.getVersion(), 0);
    EXPECT_THAT(m_log.Errors(), ElementsAre("PKCS11 Proc_C_GetAttributeValue(2) ERROR0x11",
                                            "PKCS11 Proc_C_GetAttributeValue(2) ERROR0x150",
                                            "PKCS11 Proc_C_GetAttributeValue(2) ERROR0x150"));
}

// --- Writing the identity link -----------------------------------------------------------------------------

class UpdateOfIdentityLink : public CardData {
protected:
    bool Update() { return m_card.UpdatePersonenbindung(m_cin, m_data, m_error); }

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
    Bytes m_data = Sequence(128);
};

TEST_F(UpdateOfIdentityLink, WritesTheFirstObjectWithExactlyItsBytes) {
    for (const size_t size : {128U, 3071U, 3072U}) {
        m_data = Sequence(size);
        PlanObject();
        PlanLogin(CKR_OK);
        PlanWrite(OBJECT, m_data, CKR_OK);
        PlanLogout();
        PlanClose(12);
        EXPECT_TRUE(Update());
    }
    EXPECT_EQ(m_error, "unberührt");
    EXPECT_THAT(m_log.Errors(), IsEmpty());
}

TEST_F(UpdateOfIdentityLink, NeedsTheCard) {
    m_data.clear(); // not looked at yet
    PlanNoCard();
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_error, "Keine Smartcard gefunden für CIN=123456789012");
    EXPECT_THAT(m_log.Errors(), ElementsAre("Keine Smartcard gefunden für CIN= 123456789012"));
}

TEST_F(UpdateOfIdentityLink, RefusesDataOfAWrongSizeOrKind) {
    Bytes noSequence = Sequence(128);
    noSequence[0] = 0x31;
    const std::pair<Bytes, const char*> rows[] = {
        {{}, "(1)"},         {Sequence(127), "(1)"}, {Bytes(127, 0x31), "(1)"}, {Sequence(3073), "(1)"},
        {noSequence, "(2)"},
    };
    for (const auto& [data, suffix] : rows) {
        m_log.Clear();
        m_error.clear();
        m_data = data;
        PlanCard();
        EXPECT_FALSE(Update());
        EXPECT_EQ(m_error, "Falsche Update Daten für die Smartcard");
        EXPECT_THAT(m_log.Errors(),
                    ElementsAre(std::string("Falsche Update Daten für die Smartcard ") + suffix));
    }
}

TEST_F(UpdateOfIdentityLink, NeedsASession) {
    PlanCard();
    PlanOpen(101, 0);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_error, "Fehler beim öffnen der Kartensession");
    EXPECT_THAT(m_log.Errors(),
                ElementsAre("PKCS11 Proc_C_OpenSession ERROR0x32", "Fehler beim öffnen der Kartensession"));
}

TEST_F(UpdateOfIdentityLink, EndsItsSessionWhenTheSearchFails) {
    PlanCard();
    PlanOpen(101, 12);
    PlanFailedSearch(1, CKR_DEVICE_ERROR);
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_error, "PKCS11 FindObjects");
    EXPECT_THAT(m_log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjects0x30", "PKCS11 FindObjects"));
}

TEST_F(UpdateOfIdentityLink, EndsItsSessionWhenTheObjectIsMissing) {
    PlanCard();
    PlanOpen(101, 12);
    PlanSearch(IDENTITY_LINK, {});
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_error, "Das Objekt 'PERSONENBINDUNG' wurde nicht gefunden.");
    EXPECT_THAT(m_log.Errors(), ElementsAre("Das Objekt 'PERSONENBINDUNG' wurde nicht gefunden."));
}

TEST_F(UpdateOfIdentityLink, DoesNotLogOutWhenTheLoginFails) {
    PlanObject();
    PlanLogin(CKR_FUNCTION_CANCELED);
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_error, "Fehler beim Initialisieren des Kartenobjektes. (CLogin)");
    EXPECT_THAT(m_log.Errors(), ElementsAre("PKCS11 Proc_C_Login0x50"));
}

TEST_F(UpdateOfIdentityLink, LogsOutWhenTheWriteFails) {
    PlanObject();
    PlanLogin(CKR_OK);
    PlanWrite(OBJECT, m_data, CKR_DEVICE_MEMORY);
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(Update());
    EXPECT_EQ(m_error, "Fehler beim modifizieren des Kartenobjektes. (C_SetAttributeValue)");
    EXPECT_THAT(m_log.Errors(), ElementsAre("PKCS11 Proc_C_SetAttributeValue0x31"));
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

    const Bytes m_old = CertificateBuilder().Serial("01").Der();
    const Bytes m_new = CertificateBuilder().Serial("02").Der();
    const Bytes m_ofOtherKey = CertificateBuilder().Key(TestKey::P256).Der();
};

TEST_F(UpdateOfCertificate, WritesTheWholeOfItInTheSession) {
    PlanCertificateOnCard(m_old);
    PlanHandle(63);
    PlanWrite(63, m_new, CKR_OK);
    EXPECT_TRUE(m_card.updateCertInSession(m_new, true, m_error));
    EXPECT_EQ(m_error, "unberührt");
    EXPECT_THAT(m_log.Errors(), IsEmpty());
    Bytes held;
    m_card.GetSigningCertificate(held);
    EXPECT_EQ(held, m_old); // the one that was on the card
}

TEST_F(UpdateOfCertificate, TakesTheEncryptionCertificateToo) {
    PlanSearch({CKO_CERTIFICATE, "C.CH.EKEY"}, {OBJECT});
    PlanRead(OBJECT, {Label("C.CH.EKEY"), Value(m_old)});
    PlanSearch(ANY_CERT, {1, 2});
    PlanRead(1, {Label("C.CH.SIG")});
    PlanRead(2, {Label("C.CH.EKEY")});
    PlanWrite(2, m_new, CKR_OK);
    EXPECT_TRUE(m_card.updateCertInSession(m_new, false, m_error));
}

TEST_F(UpdateOfCertificate, RefusesBytesThatAreNone) {
    EXPECT_FALSE(m_card.updateCertInSession({1, 2, 3}, true, m_error));
    EXPECT_EQ(m_error, "Zertifikat konnte nicht gelesen werden");
    EXPECT_FALSE(m_card.updateCertInSession({}, true, m_error));
    EXPECT_THAT(m_log.Lines(), ElementsAre("E Zertifikat konnte nicht gelesen werden",
                                           "E Zertifikat konnte nicht gelesen werden"));
}

TEST_F(UpdateOfCertificate, NeedsOneOnTheCard) {
    PlanSearch(SIG_CERT, {});
    EXPECT_FALSE(m_card.updateCertInSession(m_new, true, m_error));
    EXPECT_EQ(m_error, "Zertifikat auf der Karte nicht gefunden");
    m_error.clear();
    PlanCertificateOnCard({1, 2, 3}); // which cannot be parsed, so that it does not load
    EXPECT_FALSE(m_card.updateCertInSession(m_new, true, m_error));
    EXPECT_EQ(m_error, "Zertifikat auf der Karte nicht gefunden");
    EXPECT_THAT(m_log.Errors(), Each(StrEq("Zertifikat auf der Karte nicht gefunden")));
    EXPECT_THAT(m_log.Errors(), SizeIs(2));
}

TEST_F(UpdateOfCertificate, RefusesOneForAnotherKey) {
    PlanCertificateOnCard(m_old);
    EXPECT_FALSE(m_card.updateCertInSession(m_ofOtherKey, true, m_error));
    EXPECT_EQ(m_error, "Public Key Hashwerte stimmen nicht überein");
    EXPECT_THAT(m_log.Errors(), ElementsAre("Public Key Hashwerte stimmen nicht überein"));
}

TEST_F(UpdateOfCertificate, TellsTheCodeOfAFailedWrite) {
    PlanCertificateOnCard(m_old);
    PlanHandle(63);
    PlanWrite(63, m_new, CKR_USER_NOT_LOGGED_IN);
    EXPECT_FALSE(m_card.updateCertInSession(m_new, true, m_error));
    EXPECT_EQ(m_error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0x101");
    EXPECT_THAT(m_log.Errors(), ElementsAre("Fehler beim Modifizieren des Kartenobjektes. Code = 0x101"));
    PlanCertificateOnCard(m_old);
    PlanHandle(63);
    PlanWrite(63, m_new, CKR_PIN_INCORRECT + 0xB);
    EXPECT_FALSE(m_card.updateCertInSession(m_new, true, m_error));
    EXPECT_EQ(m_error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0xab");
}

TEST_F(UpdateOfCertificate, TellsTheCodeTheSameInEveryLocale) {
    const GlobalLocale locale(new PointsBetweenDigits<char>);
    PlanCertificateOnCard(m_old);
    PlanHandle(63);
    PlanWrite(63, m_new, CKR_VENDOR_DEFINED | 1);
    EXPECT_FALSE(m_card.updateCertInSession(m_new, true, m_error));
    EXPECT_EQ(m_error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0x80000001");
}

TEST_F(UpdateOfCertificate, GivesAHandleOfZeroToTheLibraryAsItIs) {
    PlanCertificateOnCard(m_old);
    PlanSearch(ANY_CERT, {});
    PlanWrite(0, m_new, CKR_OBJECT_HANDLE_INVALID);
    EXPECT_FALSE(m_card.updateCertInSession(m_new, true, m_error));
    EXPECT_EQ(m_error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0x82");
}

TEST_F(UpdateOfCertificate, OpensASessionAndLogsOutWithoutALogin) {
    PlanCard();
    PlanOpen(101, 12);
    PlanCertificateOnCard(m_old);
    PlanHandle(63);
    PlanWrite(63, m_new, CKR_OK);
    PlanLogout();
    PlanClose(12);
    EXPECT_TRUE(m_card.UpdateCertificate(m_cin, m_new, true, m_error));
    EXPECT_EQ(m_error, "unberührt");
}

TEST_F(UpdateOfCertificate, EndsItsSessionWhenItFails) {
    PlanCard();
    PlanOpen(101, 12);
    PlanCertificateOnCard(m_old);
    PlanLogout();
    PlanClose(12);
    EXPECT_FALSE(m_card.UpdateCertificate(m_cin, m_ofOtherKey, true, m_error));
    EXPECT_EQ(m_error, "Public Key Hashwerte stimmen nicht überein");
}

TEST_F(UpdateOfCertificate, NeedsTheCard) {
    PlanNoCard();
    EXPECT_FALSE(m_card.UpdateCertificate(m_cin, m_new, true, m_error));
    EXPECT_EQ(m_error, "Keine Smartcard gefunden für CIN=123456789012");
    EXPECT_THAT(m_log.Errors(), ElementsAre("Keine Smartcard gefunden für CIN=123456789012"));
}

TEST_F(UpdateOfCertificate, TakesACardThatDoesNotOpenForASuccess) {
    PlanCard();
    PlanOpen(101, 0);
    m_error.clear();
    EXPECT_TRUE(m_card.UpdateCertificate(m_cin, m_new, true, m_error));
    EXPECT_EQ(m_error, "");
    EXPECT_THAT(m_log.Errors(), ElementsAre("PKCS11 Proc_C_OpenSession ERROR0x32"));
}
