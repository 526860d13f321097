// SPDX-License-Identifier: MIT
// Data objects of the simulated cards: reading them, writing them, and what is on the card afterwards.
#include "card/tkPKCS11.h"

#include <openssl/pem.h>

#include "formats/OpenSslHandle.h"
#include "formats/Personenbindung.h"
#include "formats/slCertificate.h"
#include "tests/card/TokenTest.h"
#include "tests/support/CertificateBuilder.h"

using orseltest::CardOptions;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace Velmor;

namespace {

using KeyOfCard = OpenSslHandle<EVP_PKEY, EVP_PKEY_free>;
using Memory = OpenSslHandle<BIO, BIO_free_all>;

class DataOfACard : public TokenTest {
protected:
    /// The functions that were called since this trace was begun, without the listing of cards.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls;
        for (const auto& record : m_Deck.GetTrace()) {
            const std::string& name = record.m_Function;
            if (name != "C_GetSlotList" && name != "C_GetTokenInfo" && name != "C_GetSlotInfo") {
                calls.push_back(name);
            }
        }
        return calls;
    }
    const std::string m_Cin = "800400001111";
    std::string m_Error;
};

} // namespace

// --- Insurance data ----------------------------------------------------------------------------------------

TEST_F(DataOfACard, HoldsInsuranceDataOnECards) {
    std::vector<std::string> names;
    for (const std::string& kind : KnownKinds()) {
        names.push_back(m_Deck.Add(kind, CardOptions().Holder("Käthe")));
    }
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        const std::string kind = KnownKinds()[index];
        SCOPED_TRACE(kind);
        Open(static_cast<int>(index));
        const bool isECard = kind.rfind("ecard", 0) == 0;
        const LogCapture log;
        for (const auto& [read, file] : {std::pair(&tkPKCS11::ReadEHIC, "ehic.bin"),
                                         std::pair(&tkPKCS11::ReadGrunddaten, "grunddaten.bin")}) {
            Bytes out(1024);
            unsigned long length = out.size();
            EXPECT_EQ((Card().*read)(out.data(), length), isECard);
            out.resize(isECard ? length : 0);
            EXPECT_EQ(out, isECard ? m_Deck.Read(names[index]).m_Contents.at(file) : Bytes{});
        }
        EXPECT_THAT(log.Errors(), SizeIs(isECard ? 0 : 2));
        Card().CloseSession();
    }
}

TEST_F(DataOfACard, NeedsRoomForInsuranceData) {
    PutIn("ecard-g4");
    unsigned char out[4];
    unsigned long length = sizeof(out);
    const LogCapture log;
    EXPECT_FALSE(Card().ReadEHIC(out, length));
    EXPECT_FALSE(Card().ReadGrunddaten(out, length = sizeof(out)));
    EXPECT_THAT(log.Errors(),
                ElementsAre("Failed get EHIC, rv = 0x150", "Failed get Grunddaten, rv = 0x150"));
}

// --- Reading the identity link -----------------------------------------------------------------------------

TEST_F(DataOfACard, HoldsAnIdentityLinkOfItsHolderWhereThereIsNoInfobox) {
    for (const std::string& kind : KnownKinds()) {
        m_Deck.Add(kind,
                   CardOptions().Holder("Franziska Müßig").Serial("800400001111222" + kind.substr(7, 1)));
    }
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        SCOPED_TRACE(KnownKinds()[index]);
        Open(static_cast<int>(index));
        TokenInfoStruct2 info;
        ASSERT_TRUE(Card().GetTokenInfo(index, info));
        const LogCapture log;
        Personenbindung record;
        EXPECT_EQ(Card().ReadPers(&record), !info.m_HasInfobox);
        EXPECT_EQ(record.getGivenName(), info.m_HasInfobox ? "" : "Franziska");
        EXPECT_EQ(record.getFamilyName(), info.m_HasInfobox ? "" : "Müßig");
        EXPECT_THAT(log.Errors(), SizeIs(info.m_HasInfobox ? 1 : 0));
        Card().CloseSession();
    }
}

TEST_F(DataOfACard, IsReadInOneSearchAndOneRead) {
    PutIn("acos-a03");
    m_Deck.ClearTrace();
    Personenbindung record;
    EXPECT_TRUE(Card().ReadPers(&record));
    EXPECT_THAT(Calls(), ElementsAre("C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal",
                                     "C_GetAttributeValue"));
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjects").front().Value("max"), "1");
}

TEST_F(DataOfACard, ThatIsNoIdentityLinkIsRefused) {
    PutIn("acos-a03");
    Personenbindung record;
    for (const Bytes& junk : {Bytes{}, Bytes{0x31}, Bytes(5012, 0x41)}) {
        m_Deck.ReplaceObject(m_Name, "PERSONENBINDUNG", junk);
        EXPECT_FALSE(Card().ReadPers(&record));
    }
    const LogCapture log;
    m_Deck.ReplaceObject(m_Name, "PERSONENBINDUNG", Bytes(5013, 0x30));
    EXPECT_FALSE(Card().ReadPers(&record));
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Proc_C_GetAttributeValue(2) ERROR0x150"));
}

// --- Writing the identity link -----------------------------------------------------------------------------

class WrittenIdentityLink : public DataOfACard {
protected:
    void SetUp() override {
        m_Deck.Add("ecard-g2");
        m_Name = m_Deck.Add("acos-a03", CardOptions().Serial(m_Cin + "2222"));
        m_Before = OnCard();
    }
    Bytes OnCard() const { return m_Deck.ObjectContent(m_Name, "PERSONENBINDUNG"); }
    bool Update(const Bytes& data) { return Card().UpdatePersonenbindung(m_Cin, data, m_Error); }
    static Bytes Sequence(size_t size) {
        Bytes bytes(size, 0x55);
        bytes[0] = 0x30;
        return bytes;
    }
    Bytes m_Before;
};

TEST_F(WrittenIdentityLink, IsOnTheCardToTheByte) {
    for (const size_t size : {128U, 3072U}) {
        m_Deck.AnswerPins({"1234"});
        EXPECT_TRUE(Update(Sequence(size)));
        EXPECT_EQ(OnCard(), Sequence(size));
    }
    EXPECT_EQ(m_Error, "");
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(WrittenIdentityLink, CanBeReadAgain) {
    Open(1);
    Personenbindung before;
    EXPECT_TRUE(Card().ReadPers(&before));
    Card().CloseSession();
    Bytes longer = m_Before;
    longer.push_back(0); // behind the structure
    m_Deck.AnswerPins({"1234"});
    EXPECT_TRUE(Update(longer));
    Open(1);
    Personenbindung after;
    EXPECT_TRUE(Card().ReadPers(&after));
    EXPECT_EQ(after.getBaseId(), before.getBaseId());
}

TEST_F(WrittenIdentityLink, TakesOneSessionWithALoginAndALogout) {
    Card();
    m_Deck.ClearTrace();
    m_Deck.AnswerPins({"1234"});
    EXPECT_TRUE(Update(Sequence(200)));
    EXPECT_THAT(Calls(),
                ElementsAre("C_OpenSession", "C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal",
                            "C_Login", "C_SetAttributeValue", "C_Logout", "C_CloseSession"));
    EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").front().Value("flags"), "4");
    EXPECT_EQ(m_Deck.GetTrace("C_Login").front().Value("pin"), "asked");
    EXPECT_EQ(m_Deck.GetTrace("C_SetAttributeValue").front().Value("attributes"), "CKA_VALUE[200]");
}

TEST_F(WrittenIdentityLink, IsNotWrittenWithoutThePin) {
    const LogCapture log;
    for (const char* const answer : {"cancel", "9999"}) {
        m_Deck.ClearTrace();
        m_Deck.AnswerPins({answer});
        m_Error.clear();
        EXPECT_FALSE(Update(Sequence(200)));
        EXPECT_EQ(m_Error, "Fehler beim Initialisieren des Kartenobjektes. (CLogin)");
        EXPECT_THAT(m_Deck.GetTrace("C_Logout"), IsEmpty());
    }
    EXPECT_EQ(OnCard(), m_Before);
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Proc_C_Login0x50", "PKCS11 Proc_C_Login0xa0"));
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(WrittenIdentityLink, IsNotWrittenToAnyOtherCard) {
    EXPECT_FALSE(Card().UpdatePersonenbindung("999999999999", Sequence(200), m_Error));
    EXPECT_EQ(m_Error, "Keine Smartcard gefunden für CIN=999999999999");
    EXPECT_THAT(m_Deck.GetTrace("C_OpenSession"), IsEmpty());
}

TEST_F(WrittenIdentityLink, NeedsTheObject) {
    m_Deck.RemoveObject(m_Name, "PERSONENBINDUNG");
    EXPECT_FALSE(Update(Sequence(200)));
    EXPECT_EQ(m_Error, "Das Objekt 'PERSONENBINDUNG' wurde nicht gefunden.");
    EXPECT_THAT(m_Deck.GetTrace("C_Login"), IsEmpty());
    EXPECT_THAT(m_Deck.GetTrace("C_Logout"), SizeIs(1));
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(WrittenIdentityLink, IsTheOldOneWhenTheWriteFails) {
    m_Deck.PlanFaults({"C_SetAttributeValue rv=CKR_DEVICE_MEMORY"});
    m_Deck.AnswerPins({"1234"});
    EXPECT_FALSE(Update(Sequence(200)));
    EXPECT_EQ(m_Error, "Fehler beim modifizieren des Kartenobjektes. (C_SetAttributeValue)");
    EXPECT_EQ(OnCard(), m_Before);
    EXPECT_EQ(m_Deck.GetTrace("C_Logout").front().m_Result, "CKR_OK");
    EXPECT_EQ(OpenSessions(), 0U);
}

// --- Replacing a certificate -------------------------------------------------------------------------------

class ReplacedCertificate : public DataOfACard {
protected:
    void SetUp() override { m_Name = m_Deck.Add("acos-a04", CardOptions().Serial(m_Cin + "2222")); }

    Bytes OnCard(const std::string& label) const { return m_Deck.ObjectContent(m_Name, label); }
    bool Update(const Bytes& der, bool sigCert) {
        return Card().UpdateCertificate(m_Cin, der, sigCert, m_Error);
    }
    /// A certificate of the card under another number, signed with the card's own key.
    Bytes Renewed(const std::string& certificate, const std::string& key) const {
        const Bytes pem = OnCard(key);
        const Memory memory(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
        const KeyOfCard privateKey(PEM_read_bio_PrivateKey(memory.get(), nullptr, nullptr, nullptr));
        slCertificate old;
        EXPECT_TRUE(old.LoadFromBuffer(OnCard(certificate)));
        ASN1_INTEGER_set(X509_get_serialNumber(old.GetX509()), 4711);
        EXPECT_GT(X509_sign(old.GetX509(), privateKey.get(), EVP_sha256()), 0);
        return old.ToBin();
    }
};

TEST_F(ReplacedCertificate, IsOnTheCardToTheByte) {
    for (const auto& [sigCert, label, key] :
         {std::tuple(true, "C.CH.SIG", "SK.CH.SIG"), std::tuple(false, "C.CH.EKEY", "SK.CH.EKEY")}) {
        const Bytes before = OnCard(label);
        const Bytes renewed = Renewed(label, key);
        ASSERT_NE(renewed, before);
        EXPECT_TRUE(Update(renewed, sigCert)) << m_Error;
        EXPECT_EQ(OnCard(label), renewed);
        Bytes held;
        Card().GetSigningCertificate(held);
        EXPECT_EQ(held, before);
        Open(0);
        EXPECT_TRUE(Card().LoadSigningCertificate(sigCert));
        EXPECT_EQ(Card().GetSerialNumber(), "0x1267");
        Card().CloseSession();
    }
    EXPECT_THAT(m_Deck.GetTrace("C_Login"), IsEmpty());
    EXPECT_THAT(m_Deck.GetTrace("C_Logout"), SizeIs(2));
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(ReplacedCertificate, HasToBeForTheSameKey) {
    const Bytes before = OnCard("C.CH.SIG");
    EXPECT_FALSE(Update(CertificateBuilder().Key(TestKey::P256).Der(), true));
    EXPECT_EQ(m_Error, "Public Key Hashwerte stimmen nicht überein");
    EXPECT_FALSE(Update(OnCard("C.CH.EKEY"), true));
    EXPECT_EQ(OnCard("C.CH.SIG"), before);
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(ReplacedCertificate, HasToBeOneAndToReplaceOne) {
    EXPECT_FALSE(Update({1, 2, 3}, true));
    EXPECT_EQ(m_Error, "Zertifikat konnte nicht gelesen werden");
    const Bytes renewed = Renewed("C.CH.SIG", "SK.CH.SIG");
    m_Deck.RemoveObject(m_Name, "C.CH.SIG");
    EXPECT_FALSE(Update(renewed, true));
    EXPECT_EQ(m_Error, "Zertifikat auf der Karte nicht gefunden");
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(ReplacedCertificate, OfACardThatDoesNotOpenCountsAsASuccess) {
    m_Deck.PlanFaults({"C_OpenSession rv=CKR_DEVICE_ERROR"});
    const Bytes before = OnCard("C.CH.SIG");
    EXPECT_TRUE(Update(Renewed("C.CH.SIG", "SK.CH.SIG"), true));
    EXPECT_EQ(m_Error, "");
    EXPECT_EQ(OnCard("C.CH.SIG"), before);
}

TEST_F(ReplacedCertificate, IsTheOldOneWhenTheWriteFails) {
    m_Deck.PlanFaults({"C_SetAttributeValue rv=CKR_USER_NOT_LOGGED_IN"});
    const Bytes before = OnCard("C.CH.SIG");
    EXPECT_FALSE(Update(Renewed("C.CH.SIG", "SK.CH.SIG"), true));
    EXPECT_EQ(m_Error, "Fehler beim Modifizieren des Kartenobjektes. Code = 0x101");
    EXPECT_EQ(OnCard("C.CH.SIG"), before);
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(ReplacedCertificate, LeavesASessionThatWasOpenBeforeToTheLibrary) {
    Open(0);
    EXPECT_TRUE(Update(Renewed("C.CH.SIG", "SK.CH.SIG"), true));
    EXPECT_EQ(OpenSessions(), 1U);
}
