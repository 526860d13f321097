// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "formats/slCertificate.h"
#include "tests/card/CardCertificates.h"

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using namespace Velmor;

namespace {

int g_FreedMarks = 0;

/// Called by libcrypto for each certificate that it frees, with the mark that a test has put on it.
void CountMark(void*, void* mark, CRYPTO_EX_DATA*, int, long, void*) {
    g_FreedMarks += mark != nullptr ? 1 : 0;
}

} // namespace

class AllCertificates : public CardCertificates {
protected:
    std::vector<std::string> Holders() {
        std::vector<std::string> names;
        for (auto certificate = m_Card.CertVectorBegin(); certificate != m_Card.CertVectorEnd();
             ++certificate) {
            names.push_back((*certificate)->GetSubjectCN());
        }
        return names;
    }
    /// A card's only certificate.
    void PlanCertificateOf(const std::string& holder) {
        PlanSearch(ANY_CERT, {31});
        PlanRead(31, {Label("egal"), Value(OfHolder(holder).Der())});
    }
};

TEST_F(AllCertificates, AreCollectedFromCardToCard) {
    BindLibrary();
    PlanSlots({Token("a", "1"), Token("b", "2")});
    PlanOpen(100, 11);
    PlanCertificateOf("Anna");
    PlanClose(11);
    PlanOpen(101, 12);
    PlanCertificateOf("Eva");
    PlanClose(12);
    EXPECT_TRUE(m_Card.LoadAllCerts());
    EXPECT_THAT(Holders(), ElementsAre("Anna", "Eva"));
    PlanSlots({});
    EXPECT_FALSE(m_Card.LoadAllCerts());
    EXPECT_THAT(Holders(), IsEmpty());
}

TEST_F(AllCertificates, PassOverACardThatDoesNotOpen) {
    BindLibrary();
    PlanSlots({Token("a", "1"), Token("b", "2")});
    PlanOpen(100, 0);
    PlanOpen(101, 12);
    PlanCertificateOf("Eva");
    PlanClose(12);
    EXPECT_TRUE(m_Card.LoadAllCerts());
    EXPECT_THAT(Holders(), ElementsAre("Eva"));
}

TEST_F(AllCertificates, OfCardsThatNeverOpenAreNoneAndNoFailure) {
    BindLibrary();
    PlanSlots({Token("a", "1"), Token("b", "2")});
    PlanOpen(100, 0);
    PlanOpen(101, 0);
    EXPECT_TRUE(m_Card.LoadAllCerts());
    EXPECT_THAT(Holders(), IsEmpty());
}

TEST_F(AllCertificates, GoOnBehindACardThatFails) {
    BindLibrary();
    PlanSlots({Token("a", "1"), Token("b", "2")});
    PlanOpen(100, 11);
    PlanFailedSearch(0, CKR_DEVICE_ERROR);
    PlanClose(11);
    PlanOpen(101, 12);
    PlanCertificateOf("Eva");
    PlanClose(12);
    EXPECT_FALSE(m_Card.LoadAllCerts());
    EXPECT_THAT(Holders(), ElementsAre("Eva"));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_FindObjectsInit0x30", "PKCS11 FindObjects"));
}

TEST_F(AllCertificates, AreFreedWithTheCardObject) {
    const int index = X509_get_ex_new_index(0, nullptr, nullptr, nullptr, CountMark);
    BindLibrary();
    {
        ProbedCard card;
        for (const char* const holder : {"Anna", "Eva"}) {
            card.m_CertVector.push_back(new slCertificate(OfHolder(holder).Wrapped()));
            X509_set_ex_data(card.m_CertVector.back()->GetX509(), index, &g_FreedMarks);
        }
        EXPECT_EQ(g_FreedMarks, 0);
    }
    EXPECT_EQ(g_FreedMarks, 2);
    CRYPTO_free_ex_index(CRYPTO_EX_INDEX_X509, index);
}

TEST_F(AllCertificates, NeedALibraryAndASlotList) {
    m_Card.m_CertVector.push_back(new slCertificate);
    EXPECT_FALSE(m_Card.LoadAllCerts());
    EXPECT_THAT(m_Card.m_CertVector, IsEmpty());
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 LoadLibrary ERROR"));
    BindLibrary();
    EXPECT_CALL(m_Library, GetSlotList(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_FALSE(m_Card.LoadAllCerts());
}

TEST_F(AllCertificates, OfASessionNeedOne) {
    m_Card.m_hSession = 0;
    EXPECT_FALSE(m_Card.loadAllCertsInSession());
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(AllCertificates, OfACardWithoutAnyAreNone) {
    PlanSearch(ANY_CERT, {});
    EXPECT_TRUE(m_Card.loadAllCertsInSession());
    EXPECT_THAT(Holders(), IsEmpty());
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(AllCertificates, ReportASearchThatFails) {
    for (size_t call = 0; call < 3; ++call) {
        m_Log.Clear();
        PlanFailedSearch(call, CKR_DEVICE_ERROR);
        EXPECT_FALSE(m_Card.loadAllCertsInSession());
        EXPECT_THAT(m_Log.Errors(), ElementsAre(FAILED_CALLS[call], "PKCS11 FindObjects"));
    }
}

TEST_F(AllCertificates, PassOverOneThatCannotBeReadAndKeepOneThatCannotBeParsed) {
    PlanSearch(ANY_CERT, {1, 2, 3});
    PlanFailedRead(1, CKR_BUFFER_TOO_SMALL);
    PlanRead(2, {Label("C.CH.SIG"), Value({1, 2, 3})});
    PlanRead(3, {Label("C.CH.EKEY"), Value(OfHolder("Eva").Der())});
    EXPECT_TRUE(m_Card.loadAllCertsInSession());
    EXPECT_THAT(Holders(), ElementsAre("", "Eva"));
    EXPECT_EQ(m_Card.m_CertVector.front()->GetX509(), nullptr);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x150"));
}

TEST_F(AllCertificates, EndAtOneThatClaimsToBeTooLong) {
    PlanSearch(ANY_CERT, {1, 2, 3});
    PlanRead(1, {Label("C.CH.SIG"), Value(OfHolder("Anna").Der())});
    PlanRead(2, {Label("C.CH.EKEY"), Claiming(5013, Value({}))});
    EXPECT_FALSE(m_Card.loadAllCertsInSession());
    EXPECT_THAT(Holders(), ElementsAre("Anna"));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E buffer to short0x0"));
}

TEST_F(AllCertificates, PassOverOneWhoseLabelClaimsToBeTooLong) {
    PlanSearch(ANY_CERT, {1, 2});
    PlanRead(1, {Claiming(257, Label("C.CH.SIG")), Value(OfHolder("Anna").Der())});
    PlanRead(2, {Label("C.CH.EKEY"), Value(OfHolder("Eva").Der())});
    EXPECT_TRUE(m_Card.loadAllCertsInSession());
    EXPECT_THAT(Holders(), ElementsAre("Eva"));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E PKCS11 Proc_C_GetAttributeValue0x150"));
}
