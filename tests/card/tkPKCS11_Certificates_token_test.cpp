// SPDX-License-Identifier: MIT
// Certificates on the simulated token library.
#include "card/tkPKCS11.h"

#include "formats/slCertificate.h"
#include "tests/card/TokenTest.h"

using orseltest::CardOptions;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using namespace Velmor;

namespace {

class CertificatesOfACard : public TokenTest {
protected:
    Bytes Loaded() {
        Bytes der;
        Card().GetSigningCertificate(der);
        return der;
    }
    /// Puts this many certificates of 5013 bytes before all other objects.
    void PutBefore(size_t count, const std::string& label) {
        const Bytes tooLarge(5013, 0x30);
        for (size_t i = 0; i < count; ++i) {
            m_Deck.AddCertificate(m_Name, label, tooLarge, {7});
        }
        m_Deck.Change(m_Name, [count](orselsim::Card& card) {
            auto& objects = card.m_Record.m_Objects;
            std::rotate(objects.begin(), objects.end() - static_cast<std::ptrdiff_t>(count), objects.end());
        });
    }
};

} // namespace

TEST_F(CertificatesOfACard, AreLoadedFromEveryKind) {
    std::vector<std::string> names;
    for (const std::string& kind : KnownKinds()) {
        names.push_back(m_Deck.Add(kind, CardOptions().Holder("Besitzer " + kind)));
    }
    for (size_t index = 0; index < names.size(); ++index) {
        SCOPED_TRACE(names[index]);
        Open(static_cast<int>(index));
        for (const bool sigCert : {false, true}) {
            EXPECT_TRUE(Card().LoadSigningCertificate(sigCert));
            EXPECT_EQ(Loaded(), m_Deck.ObjectContent(names[index], sigCert ? "C.CH.SIG" : "C.CH.EKEY"));
            EXPECT_EQ(Card().GetSubjectCN(), "Besitzer " + KnownKinds()[index]);
            EXPECT_THAT(Card().GetSubject(), HasSubstr("CN=Besitzer " + KnownKinds()[index]));
            EXPECT_THAT(Card().GetIssuer(), HasSubstr("CN="));
            EXPECT_THAT(Card().GetSerialNumber(), testing::MatchesRegex("0x[0-9A-F]+"));
        }
        Card().CloseSession();
    }
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(CertificatesOfACard, HaveTheKeyThatTheTokenTells) {
    for (const std::string& kind : KnownKinds()) {
        m_Deck.Add(kind);
    }
    ASSERT_EQ(ListCards(), KnownKinds().size());
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        SCOPED_TRACE(KnownKinds()[index]);
        TokenInfoStruct2 info;
        ASSERT_TRUE(Card().GetTokenInfo(index, info));
        ASSERT_TRUE(Card().OpenSession(static_cast<int>(index), false));
        for (const auto& [sigCert, type, bits] : {std::tuple(true, info.m_SigKeyType, info.m_SigKeyBits),
                                                  std::tuple(false, info.m_EncKeyType, info.m_EncKeyBits)}) {
            EXPECT_TRUE(Card().LoadSigningCertificate(sigCert));
            const PublicKeyData* const key = Card().GetPublicKeyData();
            EXPECT_EQ(key->m_KeyType, type);
            const int bytes = type == KEY_RSA ? key->m_ModulusLength : key->m_CoordinateLength;
            EXPECT_EQ(bytes * 8, static_cast<int>(bits));
        }
        Card().CloseSession();
    }
}

TEST_F(CertificatesOfACard, ReadByIndexLeaveNoSession) {
    m_Deck.Add("acos-a03", CardOptions().Holder("Anna"));
    m_Deck.Add("empty");
    m_Deck.Add("ecard-g4", CardOptions().Holder("Eva"));
    slCertificate certificate;
    EXPECT_TRUE(Card().GetCertificate(1, true, certificate)); // the empty card does not count
    EXPECT_EQ(certificate.GetSubjectCN(), "Eva");
    EXPECT_FALSE(Card().GetCertificate(2, true, certificate));
    EXPECT_FALSE(Card().GetCertificate(3, true, certificate));
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(CertificatesOfACard, ThatAreMissingLeaveTheLastOnesHolder) {
    PutIn("acos-a03", CardOptions().Holder("Anna"));
    EXPECT_TRUE(Card().LoadSigningCertificate(true));
    m_Deck.RemoveObject(m_Name, "C.CH.EKEY");
    const LogCapture log;
    EXPECT_FALSE(Card().LoadSigningCertificate(false));
    EXPECT_EQ(log.Lines().back(), "M Key not found !!!");
    EXPECT_EQ(Card().GetSubjectCN(), "Anna");
    EXPECT_EQ(Card().getSigningCertificateHandle(false), 0U);
    EXPECT_NE(Card().getSigningCertificateHandle(true), 0U);
}

TEST_F(CertificatesOfACard, WithALongerLabelAreFoundForWritingAlone) {
    PutIn("acos-a03");
    m_Deck.ReplaceObject(m_Name, "C.CH.SIG", {1, 2, 3});
    m_Deck.Change(m_Name, [](orselsim::Card& card) {
        for (orselsim::ObjectRecord& object : card.m_Record.m_Objects) {
            object.m_Label += object.m_Label == "C.CH.SIG" ? " (alt)" : "";
        }
    });
    EXPECT_FALSE(Card().LoadSigningCertificate(true)); // this library matches whole labels
    EXPECT_NE(Card().getSigningCertificateHandle(true), 0U);
}

TEST_F(CertificatesOfACard, AreLookedAtUpToTheTenth) {
    PutIn("acos-a03");
    PutBefore(9, "C.CH.SIG");
    EXPECT_TRUE(Card().LoadSigningCertificate(true)); // passes over those that are too large
    PutBefore(1, "C.CH.SIG");
    EXPECT_FALSE(Card().LoadSigningCertificate(true));
    EXPECT_EQ(Card().getSigningCertificateHandle(false), 0U);
}

TEST_F(CertificatesOfACard, AreCollectedFromAllCardsThatOpen) {
    m_Deck.AddDemoCards();
    m_Deck.PlanFaults({"C_OpenSession slot=2 rv=CKR_DEVICE_ERROR"});
    EXPECT_TRUE(Card().LoadAllCerts());
    EXPECT_THAT(Card().m_CertVector, SizeIs(16)); // of nine personalised cards, two each, but for one card
    for (const slCertificate* certificate : Card().m_CertVector) {
        EXPECT_NE(certificate->GetSubjectCN(), "");
    }
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(CertificatesOfACard, AreNoneWithoutACard) {
    m_Deck.Add("empty");
    EXPECT_FALSE(Card().LoadAllCerts());
    EXPECT_THAT(m_Deck.GetTrace("C_OpenSession"), IsEmpty());
}

TEST_F(CertificatesOfACard, ThatAreTooLargeArePassedOverWhenTheyAreCollected) {
    PutIn("acos-a03");
    PutBefore(1, "C.CH.EKEY");
    m_Deck.AddCertificate(m_Name, "C.CH.X", {1, 2, 3}, {8}); // and what is none stays in the list
    const LogCapture log;
    EXPECT_TRUE(Card().loadAllCertsInSession());
    EXPECT_THAT(Card().m_CertVector, SizeIs(3));
    EXPECT_EQ(Card().m_CertVector.back()->GetX509(), nullptr);
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Proc_C_GetAttributeValue0x150"));
}

TEST_F(CertificatesOfACard, WhoseLengthIsAbsurdEndTheCollectionButNotTheLoad) {
    m_Deck.PlanFaults({"C_GetAttributeValue call=2 attribute=CKA_VALUE length=1000000"});
    PutIn("acos-a03");
    EXPECT_FALSE(Card().loadAllCertsInSession());
    EXPECT_THAT(Card().m_CertVector, SizeIs(1));
    Card().ClearCertVector();
    EXPECT_TRUE(Card().loadAllCertsInSession());
    EXPECT_THAT(Card().m_CertVector, SizeIs(2));
}

TEST_F(CertificatesOfACard, AreNotReadFromACardThatIsGone) {
    PutIn("acos-a03", CardOptions().Holder("Anna"));
    EXPECT_TRUE(Card().LoadSigningCertificate(true));
    m_Deck.TakeOut(m_Name);
    const LogCapture log;
    EXPECT_FALSE(Card().LoadSigningCertificate(true));
    EXPECT_FALSE(Card().loadAllCertsInSession());
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjectsInit0x32", "PKCS11 FindObjects ERROR",
                                          "PKCS11 Proc_C_FindObjectsInit0x32", "PKCS11 FindObjects"));
    EXPECT_EQ(Card().GetSubjectCN(), "Anna");
    m_Deck.PutBack(m_Name);
}
