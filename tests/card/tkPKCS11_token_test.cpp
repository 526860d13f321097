// SPDX-License-Identifier: MIT
// The card class on the simulated token library.
#include "card/tkPKCS11.h"

#include "tests/card/TokenTest.h"

using orseltest::CardOptions;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using namespace Velmor;

namespace {

class TheCardClass : public TokenTest {
protected:
    std::vector<std::string> Serials(bool withEmptyCards) {
        std::vector<SlotStruct*> slots;
        EXPECT_TRUE(Card().GetSlots(slots, withEmptyCards));
        std::vector<std::string> serials;
        for (const SlotStruct* slot : slots) {
            serials.push_back(slot->m_Serial);
        }
        return serials;
    }
};

} // namespace

// --- Binding -----------------------------------------------------------------------------------------------

TEST_F(TheCardClass, BindsTheLibraryAndTellsAboutIt) {
    const LogCapture log;
    ProbedCard& card = Card();
    EXPECT_TRUE(ProbedCard::m_bInitialized);
    EXPECT_NE(card.m_hLibrary, nullptr);
    EXPECT_EQ(card.m_Manufacturer.size(), 32U); // padding kept
    EXPECT_EQ(card.m_Description.size(), 32U);
    EXPECT_THAT(card.m_Version, testing::MatchesRegex("[0-9]+\\.[0-9]+"));
    EXPECT_THAT(log.Lines(),
                ElementsAre("M PKCS11 INIT", "M PKCS11 LoadLibrary", "M PKCS11 Proc_C_Initialize",
                            "M m_Manufacturer: " + card.m_Manufacturer,
                            "M m_Description: " + card.m_Description, "M m_Version: " + card.m_Version));
    std::vector<std::string> calls;
    for (const auto& record : m_Deck.GetTrace()) {
        calls.push_back(record.m_Function);
    }
    EXPECT_THAT(calls, ElementsAre("C_Initialize", "C_GetInfo"));
}

TEST_F(TheCardClass, ResolvesEveryEntryPoint) {
    Card();
    EXPECT_NE(tkPKCS11::Proc_C_WaitForSlotEvent, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_DigestInit, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_DigestUpdate, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_DigestFinal, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_Login, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_Logout, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_FindObjectsInit, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_FindObjects, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_FindObjectsFinal, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_SignInit, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_Sign, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_VerifyInit, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_Verify, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_GenerateKey, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_EncryptInit, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_EncryptUpdate, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_Encrypt, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_EncryptFinal, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_WrapKey, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_UnwrapKey, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_DecryptInit, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_DecryptUpdate, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_Decrypt, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_DecryptFinal, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_GetAttributeValue, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_DestroyObject, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_CreateObject, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_SetPIN, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_SetAttributeValue, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_SeedRandom, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_GenerateRandom, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_GetMechanismList, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_GetMechanismInfo, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_CardTransmit, nullptr);
    EXPECT_NE(tkPKCS11::Proc_C_CardAttribute, nullptr);
}

TEST_F(TheCardClass, SharesTheBindingWithASecondObjectThatCannotEndIt) {
    Card();
    ProbedCard second;
    EXPECT_TRUE(second.Init());
    EXPECT_EQ(second.m_hLibrary, nullptr);
    EXPECT_TRUE(second.Destroy());
    EXPECT_TRUE(ProbedCard::m_bInitialized);
    EXPECT_THAT(m_Deck.GetTrace("C_Finalize"), IsEmpty());
}

TEST_F(TheCardClass, IsFinalisedOnceAndMayBeBoundAgain) {
    ProbedCard& card = Card();
    EXPECT_TRUE(card.Destroy());
    EXPECT_FALSE(ProbedCard::m_bInitialized);
    EXPECT_EQ(card.m_hLibrary, nullptr);
    EXPECT_TRUE(card.Destroy());
    EXPECT_THAT(m_Deck.GetTrace("C_Finalize"), testing::SizeIs(1));
    EXPECT_TRUE(card.init());
    EXPECT_TRUE(card.init()); // safe to repeat
    EXPECT_THAT(m_Deck.GetTrace("C_Initialize"), testing::SizeIs(2));
}

TEST_F(TheCardClass, ReportsALibraryThatDoesNotInitialiseAndTriesAgain) {
    m_Deck.PlanFaults({"C_Initialize call=1 rv=CKR_DEVICE_ERROR"});
    const LogCapture log;
    ProbedCard& card = Card();
    EXPECT_FALSE(ProbedCard::m_bInitialized);
    EXPECT_NE(card.m_hLibrary, nullptr);
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Aufruf Proc_C_Initialize() ERROR0x30"));
}

TEST_F(TheCardClass, ReportsALibraryThatCannotTellAboutItself) {
    m_Deck.PlanFaults({"C_GetInfo call=1 rv=CKR_GENERAL_ERROR"});
    const LogCapture log;
    EXPECT_FALSE((Card(), ProbedCard::m_bInitialized));
    EXPECT_THAT(log.Errors(), ElementsAre("PKCS11 Aufruf Proc_C_GetInfo(&info) ERROR0x5"));
}

// --- Slots -------------------------------------------------------------------------------------------------

TEST_F(TheCardClass, ListsCardsAsTheyComeAndGo) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444"));
    const std::string second = m_Deck.Add("cardos-53", CardOptions().Serial("5555666677778888"));
    m_Deck.Add("empty");
    EXPECT_THAT(Serials(true), ElementsAre("1111222233334444", "5555666677778888", "0000000000000000"));
    EXPECT_THAT(Serials(false), ElementsAre("1111222233334444", "5555666677778888"));
    m_Deck.TakeOut(second);
    EXPECT_THAT(Serials(false), ElementsAre("1111222233334444"));
}

TEST_F(TheCardClass, NeverListsADeviceThatIsNotRemovable) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444").FixedReader());
    m_Deck.Add("acos-a04", CardOptions().Serial("5555666677778888"));
    EXPECT_THAT(Serials(true), ElementsAre("5555666677778888"));
}

TEST_F(TheCardClass, ListsNothingOnAnEmptyDeck) {
    EXPECT_THAT(Serials(true), IsEmpty());
}

TEST_F(TheCardClass, PassesOverADamagedCard) {
    const std::string damaged = m_Deck.Add("acos-a04");
    m_Deck.Add("acos-a04", CardOptions().Serial("5555666677778888"));
    m_Deck.Damage(damaged);
    EXPECT_THAT(Serials(true), ElementsAre("5555666677778888"));
}

// --- Kinds -------------------------------------------------------------------------------------------------

TEST_F(TheCardClass, TellsEveryKindOfTheDemoDeckByTokenAndByAtr) {
    struct Row {
        int m_TokenType;
        int m_CardType;
    };
    const Row rows[] = {
        {TOKEN_ACOS_03, CARD_ACOS_A03},    {TOKEN_ACOS_04, CARD_ACOS_A04},
        {TOKEN_ACOS_05, CARD_ACOS_A05},    {TOKEN_ECARD_G2, CARD_ECARD_G2},
        {TOKEN_ECARD_G3A, CARD_ECARD_G3A}, {TOKEN_ECARD_G3B, CARD_ECARD_G3B},
        {TOKEN_ECARD_G4, CARD_UNKNOWN},    {TOKEN_CARDOS_53, CARD_CARDOS},
        {TOKEN_ACOS_04, CARD_ACOS_A04},    {TOKEN_TYPE_COUNT, CARD_UNKNOWN},
    };
    m_Deck.AddDemoCards();
    ASSERT_EQ(Serials(true).size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        TokenInfoStruct2 info;
        ASSERT_TRUE(Card().GetTokenInfo(i, info));
        EXPECT_EQ(info.m_TokenType, rows[i].m_TokenType);
        ASSERT_TRUE(Card().OpenSession(static_cast<int>(i), false));
        Card().ReadATR(true);
        Card().LoadCardType();
        EXPECT_EQ(Card().m_CardType, rows[i].m_CardType);
        EXPECT_TRUE(Card().CloseSession());
    }
}

TEST_F(TheCardClass, ReadsTheAtrAgainAfterAReset) {
    m_Deck.Add("ecard-g2");
    Serials(true);
    ASSERT_TRUE(Card().OpenSession(0, false));
    const std::string atr = Card().ReadATR(false);
    EXPECT_THAT(atr, StartsWith("3BBD18008131FE45805102"));
    EXPECT_EQ(Card().Reset(), atr);
}

// --- Objects -----------------------------------------------------------------------------------------------

TEST_F(TheCardClass, FindsTheObjectsOfACardByTheirLabels) {
    m_Deck.Add("acos-a03");
    Serials(true);
    ASSERT_TRUE(Card().OpenSession(0, false));
    const std::pair<const char*, unsigned long> objects[] = {
        {"SK.CH.SIG", CKO_PRIVATE_KEY}, {"SK.CH.EKEY", CKO_PRIVATE_KEY}, {"PK.CH.SIG", CKO_PUBLIC_KEY},
        {"PK.CH.EKEY", CKO_PUBLIC_KEY}, {"C.CH.SIG", CKO_CERTIFICATE},   {"C.CH.EKEY", CKO_CERTIFICATE},
        {"PERSONENBINDUNG", CKO_DATA},
    };
    for (const auto& [label, objectClass] : objects) {
        unsigned long handle = 0;
        EXPECT_TRUE(Card().FindObject(label, objectClass, &handle)) << label;
        EXPECT_NE(handle, 0U) << label;
    }
    unsigned long handle = 0;
    EXPECT_FALSE(Card().FindObject("fehlt", CKO_DATA, &handle));
}

TEST_F(TheCardClass, ReportsASearchOnACardThatIsGone) {
    const std::string card = m_Deck.Add("acos-a03");
    Serials(true);
    ASSERT_TRUE(Card().OpenSession(0, false));
    m_Deck.TakeOut(card);
    const LogCapture log;
    unsigned long handle = 0;
    EXPECT_FALSE(Card().FindObject("SK.CH.SIG", CKO_PRIVATE_KEY, &handle));
    EXPECT_THAT(log.Errors(), testing::Not(IsEmpty()));
}
