// SPDX-License-Identifier: MIT
// Raw commands and card numbers on the simulated token library.
#include "card/tkPKCS11.h"

#include "foundation/Conversion.h"
#include "tests/card/TokenTest.h"

using orseltest::CardOptions;
using orseltest::TraceRecord;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace Velmor;

namespace {

class NumbersOfACard : public TokenTest {
protected:
    static std::string Hex(const Bytes& bytes) {
        std::string text;
        BinData2HexStr(bytes, text);
        return text;
    }
    /// Every command so far with its status word.
    std::vector<std::string> Commands() const {
        std::vector<std::string> commands;
        for (const TraceRecord& record : m_Deck.GetTrace("C_CardTransmit")) {
            commands.push_back(record.Value("apdu") + " " + record.Value("sw"));
        }
        return commands;
    }
    std::string CinCsn() {
        std::string cin;
        EXPECT_TRUE(Card().GetCinCsn(cin));
        return cin;
    }
};

} // namespace

TEST_F(NumbersOfACard, AreFilesThatCommandsRead) {
    PutIn("acos-a03", CardOptions().Serial("1111222233334444"));
    Bytes response;
    EXPECT_TRUE(Card().SendAPDU({0x00, 0xA4, 0x00, 0x0C, 0x02, 0xDF, 0x71}, response));
    EXPECT_TRUE(Card().SendAPDU({0x00, 0xA4, 0x00, 0x0C, 0x02, 0xD0, 0x01}, response));
    EXPECT_TRUE(Card().SendAPDU({0x00, 0xB0, 0x00, 0x00, 0x04}, response));
    EXPECT_EQ(Hex(response), "90009000111122229000"); // one behind the other
    std::string text;
    EXPECT_TRUE(Card().SendAPDU_HEX("00B0000404", text));
    EXPECT_EQ(text, "333344449000");
    EXPECT_TRUE(Card().SendAPDU_HEX("00200000", text)); // an error of the card is an answer
    EXPECT_EQ(text, "6D00");
}

TEST_F(NumbersOfACard, AreCutToTheCallersRoom) {
    PutIn("acos-a03", CardOptions().Serial("1111222233334444"));
    unsigned char command[] = {0x80, 0xF6, 0x00, 0x00, 0x08};
    unsigned char response[10] = {};
    unsigned long length = 4;
    EXPECT_TRUE(Card().SendAPDU(command, sizeof(command), response, length));
    EXPECT_EQ(length, 4U);
    EXPECT_EQ(Hex(Bytes(response, response + 10)), "11112222000000000000");
    length = 100;
    EXPECT_TRUE(Card().SendAPDU(command, sizeof(command), response, length));
    EXPECT_EQ(length, 10U);
    EXPECT_EQ(Hex(Bytes(response, response + 10)), "11112222333344449000");
}

TEST_F(NumbersOfACard, CannotBeReadFromACardThatIsGone) {
    PutIn("acos-a03");
    m_Deck.TakeOut(m_Name);
    const LogCapture log;
    Bytes response;
    EXPECT_FALSE(Card().SendAPDU({0x00, 0xB0, 0x00, 0x00, 0x00}, response));
    EXPECT_THAT(response, IsEmpty());
    EXPECT_THAT(log.Errors(), ElementsAre("Failed C_CardTransmit, rv = 0x32"));
    m_Deck.PutBack(m_Name);
}

TEST_F(NumbersOfACard, HaveACinOnEveryKind) {
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        m_Deck.Add(KnownKinds()[index], CardOptions().Serial("800400001111000" + std::to_string(index)));
    }
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        SCOPED_TRACE(KnownKinds()[index]);
        Open(static_cast<int>(index));
        EXPECT_EQ(CinCsn(), Card().m_Slots[index]->m_Serial);
        Card().CloseSession();
    }
}

TEST_F(NumbersOfACard, HaveACinThatLiesInTheRootOfACardOsCard) {
    PutIn("cardos-53", CardOptions().Serial("8004001122334455"));
    EXPECT_EQ(CinCsn(), "8004001122334455");
    EXPECT_THAT(Commands(), ElementsAre("00A4000C023F00 9000", "00A4000C02D001 9000", "00B0000000 9000"));
}

TEST_F(NumbersOfACard, HaveNoCinOnACardWithoutItsFile) {
    PutIn("unknown");
    const LogCapture log;
    std::string cin = "alt";
    EXPECT_FALSE(Card().GetCinCsn(cin));
    EXPECT_EQ(cin, "alt");
    EXPECT_THAT(log.Errors(), ElementsAre("Unknown atr=3B6800004649524D412D3031"));
    EXPECT_THAT(Commands(), ElementsAre("00A4000C02DF71 6A82", "00A4000C02D001 6A82", "00B0000000 6986"));
}

TEST_F(NumbersOfACard, HaveTheNewCardsTypeAndAtrAfterACin) {
    m_Deck.Add("acos-a05");
    m_Deck.Add("cardos-53");
    Open(0);
    Card().CloseSession();
    EXPECT_EQ(Card().m_CardType, CARD_ACOS_A05);
    ASSERT_TRUE(Card().OpenSession(1, false));
    CinCsn();
    EXPECT_EQ(Card().m_CardType, CARD_CARDOS);
}

TEST_F(NumbersOfACard, HaveAChipIdOnAcosAndCardOsCards) {
    for (const std::string& kind : KnownKinds()) {
        m_Deck.Add(kind, CardOptions().Serial("AABBCCDD00112233"));
    }
    for (size_t index = 0; index < KnownKinds().size(); ++index) {
        const std::string kind = KnownKinds()[index];
        SCOPED_TRACE(kind);
        Open(static_cast<int>(index));
        std::string id = "alt";
        const bool isAcos = kind.rfind("acos", 0) == 0;
        EXPECT_EQ(Card().GetChipId(id), isAcos || kind == "cardos-53");
        EXPECT_EQ(id, isAcos ? "AABBCCDD00112233" : kind == "cardos-53" ? "5A0A8004AABBCCDD00112233" : "alt");
        Card().CloseSession();
    }
}

TEST_F(NumbersOfACard, FindTheirCardByItsChipIdOnceTheTypeIsKnown) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111111111111111"));
    m_Deck.Add("empty");
    m_Deck.Add("acos-a03", CardOptions().Serial("2222222222222222"));
    Open(0);
    Card().CloseSession();
    EXPECT_TRUE(Card().OpenSessionWithChipId("2222222222222222", false));
    EXPECT_EQ(Card().m_SlotIndex, 1);
    EXPECT_EQ(OpenSessions(), 1U);
    EXPECT_FALSE(Card().OpenSessionWithChipId("3333333333333333", true));
    EXPECT_EQ(OpenSessions(), 0U);
}

TEST_F(NumbersOfACard, FindTheirCardByItsSerial) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111111111111111"));
    m_Deck.Add("empty");
    m_Deck.Add("ecard-g4", CardOptions().Serial("2222222222220000"));
    EXPECT_EQ(Card().findSlotForCin("222222222222"), 1);
    EXPECT_EQ(Card().findSlotForCin("2222222222220000"), 1);
    EXPECT_EQ(Card().findSlotForCin("2222222222220"), -1);
    EXPECT_EQ(Card().findSlotForCin("000000000000"), -1);
    EXPECT_TRUE(Card().OpenGlobalSession("222222222222"));
    EXPECT_EQ(Card().m_SlotIndex, 1);
    EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").back().Value("flags"), "4"); // read-only
    EXPECT_FALSE(Card().OpenGlobalSession("333333333333"));
    EXPECT_EQ(OpenSessions(), 1U);
}

TEST_F(NumbersOfACard, BindTheLibraryAgainAfterItWasLetGo) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111111111111111"));
    EXPECT_TRUE(Card().Destroy());
    EXPECT_EQ(Card().findSlotForCin("111111111111"), 0);
    EXPECT_TRUE(ProbedCard::m_bInitialized);
}
