// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "formats/Personenbindung.h"
#include "tests/card/CardDataTest.h"

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::Pointee;
using testing::Return;
using testing::SetArgPointee;
using testing::StrEq;
using namespace Velmor;

namespace {

const Wanted IDENTITY_LINK = {CKO_DATA, "PERSONENBINDUNG"};

/// An identity link that ends behind its version.
const Bytes VERSION_5 = {0x30, 0x03, 0x02, 0x01, 0x05};

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
        if (size > 0) {
            bytes[0] = 0x30;
        }
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

TEST_F(UpdateOfIdentityLink, TakesTheCardFromWhicheverReaderItIsIn) {
    for (const CK_SLOT_ID slot : {100U, 102U}) {
        std::vector<CK_TOKEN_INFO> tokens(3, Token("a", "1"));
        tokens[slot - 100] = Token("b", m_Cin + "3456");
        BindLibrary();
        PlanSlots(tokens);
        PlanOpen(slot, 12);
        PlanSearch(IDENTITY_LINK, {OBJECT});
        PlanLogin(CKR_OK);
        PlanWrite(OBJECT, m_Data, CKR_OK);
        PlanLogout();
        PlanClose(12);
        EXPECT_TRUE(Update());
    }
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
