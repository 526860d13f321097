// SPDX-License-Identifier: MIT
#include "card/tkPKCS11.h"

#include "tests/card/TokenLibraryMock.h"

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::InSequence;
using testing::IsEmpty;
using testing::Return;
using testing::SetArgPointee;
using namespace Velmor;

namespace {

using Bytes = std::vector<unsigned char>;

const Bytes SELECT_ROOT = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00};
const Bytes SELECT_DF_DEC = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0xDF, 0x71};
const Bytes SELECT_EF_DEC = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0xD0, 0x01};
const Bytes SELECT_EF_GDO = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x2F, 0x02};
const Bytes READ_BINARY = {0x00, 0xB0, 0x00, 0x00, 0x00};
const Bytes ACOS_CHIP_ID = {0x80, 0xF6, 0x00, 0x00, 0x08};
const Bytes OK = {0x90, 0x00};

/// Bytes 1, 2, 3, ... with a good status word behind them.
Bytes Counting(size_t size) {
    Bytes bytes;
    for (size_t i = 1; i <= size; ++i) {
        bytes.push_back(static_cast<unsigned char>(i));
    }
    bytes.insert(bytes.end(), OK.begin(), OK.end());
    return bytes;
}

class Apdus : public MockedCardTest {
protected:
    void SetUp() override {
        MockedCardTest::SetUp();
        m_Card.m_hSession = 9;
    }
    /// Plans one command, in order, and its response.
    void Plan(const Bytes& apdu, const Bytes& response) {
        EXPECT_CALL(m_Library, CardTransmit(9, _, apdu.size(), _, testing::Pointee(4096U)))
            .InSequence(m_Order)
            .WillOnce([=](auto, const unsigned char* sent, auto length, unsigned char* out,
                          unsigned long* outLength) {
                EXPECT_THAT(Bytes(sent, sent + length), ElementsAreArray(apdu));
                std::copy(response.begin(), response.end(), out);
                *outLength = response.size();
                return CKR_OK;
            });
    }
    void PlanFailure() {
        EXPECT_CALL(m_Library, CardTransmit(_, _, _, _, _))
            .InSequence(m_Order)
            .WillOnce(Return(CKR_DEVICE_REMOVED));
    }
    testing::Sequence m_Order;
};

} // namespace

// --- The channel -------------------------------------------------------------------------------------------

TEST_F(Apdus, AResponseIsAppended) {
    Plan({0x01, 0x02}, {0xAA});
    Plan({0x01, 0x02}, {0xBB, 0xCC});
    Bytes response = {0x11};
    EXPECT_TRUE(m_Card.SendAPDU({0x01, 0x02}, response));
    EXPECT_TRUE(m_Card.SendAPDU({0x01, 0x02}, response));
    EXPECT_THAT(response, ElementsAre(0x11, 0xAA, 0xBB, 0xCC));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 SendAPDU", "M PKCS11 SendAPDU"));
}

TEST_F(Apdus, AnErrorStatusWordIsASuccess) {
    Plan(READ_BINARY, {0x6A, 0x82});
    Bytes response;
    EXPECT_TRUE(m_Card.SendAPDU(READ_BINARY, response));
    EXPECT_THAT(response, ElementsAre(0x6A, 0x82));
}

TEST_F(Apdus, AFailureIsReportedAndLeavesTheResponseAlone) {
    PlanFailure();
    Bytes response = {0x11};
    EXPECT_FALSE(m_Card.SendAPDU(READ_BINARY, response));
    EXPECT_THAT(response, ElementsAre(0x11));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Failed C_CardTransmit, rv = 0x32"));
}

TEST_F(Apdus, AMissingEntryPointIsReported) {
    tkPKCS11::Proc_C_CardTransmit = nullptr;
    Bytes response;
    EXPECT_FALSE(m_Card.SendAPDU(READ_BINARY, response));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M PKCS11 SendAPDU", "E Failed C_CardTransmit, not implemented"));
}

TEST_F(Apdus, ALengthAboveTheBufferIsAFailure) {
    EXPECT_CALL(m_Library, CardTransmit(_, _, _, _, _))
        .WillOnce(DoAll(SetArgPointee<4>(4097), Return(CKR_OK)));
    Bytes response;
    EXPECT_FALSE(m_Card.SendAPDU(READ_BINARY, response));
    EXPECT_THAT(response, IsEmpty());
}

TEST_F(Apdus, TheBufferFormCutsTheResponseToItsCapacity) {
    Bytes apdu = READ_BINARY;
    for (const auto& [capacity, copied] :
         {std::pair<unsigned long, unsigned long>{4, 4}, {10, 10}, {20, 10}}) {
        Plan(READ_BINARY, Counting(8));
        unsigned char out[20] = {};
        unsigned long length = capacity;
        EXPECT_TRUE(m_Card.SendAPDU(apdu.data(), apdu.size(), out, length));
        EXPECT_EQ(length, copied);
        EXPECT_EQ(out[3], 4);
        EXPECT_EQ(out[4], copied > 4 ? 5 : 0);
    }
}

TEST_F(Apdus, TheBufferFormReportsAFailureAndKeepsTheLength) {
    PlanFailure();
    Bytes apdu = READ_BINARY;
    unsigned char out[4] = {7};
    unsigned long length = 4;
    EXPECT_FALSE(m_Card.SendAPDU(apdu.data(), apdu.size(), out, length));
    EXPECT_EQ(length, 4U);
    EXPECT_EQ(out[0], 7);
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Failed C_CardTransmit, rv = 0x32", "sendAPDU failed"));
}

TEST_F(Apdus, TheHexFormSpeaksText) {
    Plan(READ_BINARY, {0xAB, 0x90, 0x00});
    std::string response = "alt";
    EXPECT_TRUE(m_Card.SendAPDU_HEX("00b0000000", response));
    EXPECT_EQ(response, "AB9000");
}

TEST_F(Apdus, TheHexFormReportsWhatCannotBeConverted) {
    std::string response;
    EXPECT_FALSE(m_Card.SendAPDU_HEX("", response));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("E Fehler bei HexStr2BinData"));
    m_Log.Clear();
    Plan({0x00}, {});
    EXPECT_FALSE(m_Card.SendAPDU_HEX("00", response));
    PlanFailure();
    EXPECT_FALSE(m_Card.SendAPDU_HEX("00", response));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("Fehler bei BinData2HexStr", "Failed C_CardTransmit, rv = 0x32",
                                            "Fehler bei BinData2HexStr"));
    EXPECT_THROW(m_Card.SendAPDU_HEX("00b", response), std::out_of_range);
}

// --- CIN/CSN -----------------------------------------------------------------------------------------------

class CinCsn : public Apdus {
protected:
    void PlanAtr(const Bytes& atr) {
        m_Card.m_Slots.push_back(new SlotStruct{100, "Karte", "1"});
        m_Card.m_SlotIndex = 0;
        m_Card.m_Atr = "alt";
        EXPECT_CALL(m_Library, CardAttribute(9, testing::StrEq("ATR"), _, _))
            .InSequence(m_Order)
            .WillOnce([=](auto, auto, unsigned char* out, unsigned long* length) {
                std::copy(atr.begin(), atr.end(), out);
                *length = atr.size();
                return CKR_OK;
            });
    }
    const Bytes m_ECard = {0x3B, 0xBD, 0x18, 0x00, 0x81, 0x31, 0xFE, 0x45, 0x80, 0x51, 0x02};
    const Bytes m_CardOs = {0x3B, 0xDF, 0x18, 0x00, 0x81, 0x31, 0xFE, 0x58, 0x80, 0x31, 0x90, 0x52,
                            0x41, 0x01, 0x64, 0x05, 0xC9, 0x03, 0xAC, 0x73, 0xB7, 0xB1, 0xD4, 0x44};
};

TEST_F(CinCsn, IsReadFromTheDecDirectory) {
    PlanAtr(m_ECard);
    Plan(SELECT_DF_DEC, OK);
    Plan(SELECT_EF_DEC, OK);
    Plan(READ_BINARY, {0x80, 0x04, 0x0A, 0xFF, 0x00, 0x11, 0x22, 0x33, 0x44, 0x90, 0x00});
    std::string cin;
    EXPECT_TRUE(m_Card.GetCinCsn(cin));
    EXPECT_EQ(cin, "80040AFF00112233");
    EXPECT_EQ(m_Card.m_CardType, CARD_ECARD_G2);
}

TEST_F(CinCsn, IsReadFromTheRootOnCardOs) {
    PlanAtr(m_CardOs);
    Plan(SELECT_ROOT, OK);
    Plan(SELECT_EF_DEC, OK);
    Plan(READ_BINARY, Counting(8)); // exactly ten bytes
    std::string cin;
    EXPECT_TRUE(m_Card.GetCinCsn(cin));
    EXPECT_EQ(cin, "0102030405060708");
}

TEST_F(CinCsn, OfAnUnknownCardIsReadLikeThatOfMost) {
    PlanAtr({0xFF});
    Plan(SELECT_DF_DEC, OK);
    Plan(SELECT_EF_DEC, OK);
    Plan(READ_BINARY, Counting(8));
    std::string cin;
    EXPECT_TRUE(m_Card.GetCinCsn(cin));
}

TEST_F(CinCsn, AsksForTheAtrASecondTimeWhenTheFirstAnswerIsAFailure) {
    EXPECT_CALL(m_Library, CardAttribute(9, testing::StrEq("ATR"), _, _))
        .InSequence(m_Order)
        .WillOnce(testing::Return(CKR_DEVICE_ERROR));
    PlanAtr(m_CardOs);
    Plan(SELECT_ROOT, OK); // so the second answer has told the card's type
    Plan(SELECT_EF_DEC, OK);
    Plan(READ_BINARY, Counting(8));
    std::string cin;
    EXPECT_TRUE(m_Card.GetCinCsn(cin));
    EXPECT_EQ(m_Card.m_CardType, CARD_CARDOS);
}

TEST_F(CinCsn, NeedsTenBytes) {
    PlanAtr(m_ECard);
    Plan(SELECT_DF_DEC, OK);
    Plan(SELECT_EF_DEC, {0x6A, 0x82}); // nobody looks at it
    Plan(READ_BINARY, Counting(7));
    std::string cin = "alt";
    EXPECT_FALSE(m_Card.GetCinCsn(cin));
    EXPECT_EQ(cin, "alt");
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(CinCsn, AFailedCommandIsReportedByItsStep) {
    const char* const texts[] = {"error select DF DEC", "error select EF DEC", "error read binary"};
    const Bytes commands[] = {SELECT_DF_DEC, SELECT_EF_DEC};
    for (size_t failing = 0; failing < 3; ++failing) {
        m_Log.Clear();
        PlanAtr(m_ECard);
        for (size_t i = 0; i < failing; ++i) {
            Plan(commands[i], OK);
        }
        PlanFailure();
        std::string cin;
        EXPECT_FALSE(m_Card.GetCinCsn(cin));
        EXPECT_THAT(m_Log.Errors(),
                    ElementsAre("Failed C_CardTransmit, rv = 0x32", "sendAPDU failed", texts[failing]));
    }
}

// --- Chip id -----------------------------------------------------------------------------------------------

using ChipId = Apdus;

TEST_F(ChipId, OfAnAcosCardHasEightBytes) {
    for (const int type : {CARD_ACOS_A03, CARD_ACOS_A04, CARD_ACOS_A05}) {
        m_Card.m_CardType = type;
        Plan(ACOS_CHIP_ID, Counting(8));
        Bytes id = {0x77};
        EXPECT_TRUE(m_Card.GetChipId(id));
        EXPECT_THAT(id, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    }
}

TEST_F(ChipId, OfACardOsCardHasTwelveBytes) {
    m_Card.m_CardType = CARD_CARDOS;
    Plan(SELECT_ROOT, OK);
    Plan(SELECT_EF_GDO, OK);
    Plan(READ_BINARY, Counting(12));
    Bytes id;
    EXPECT_TRUE(m_Card.GetChipId(id));
    EXPECT_THAT(id, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12));
}

TEST_F(ChipId, NeedsAllItsBytes) {
    m_Card.m_CardType = CARD_ACOS_A03;
    Plan(ACOS_CHIP_ID, Counting(5)); // seven bytes with the status word
    Bytes id = {0x77};
    EXPECT_FALSE(m_Card.GetChipId(id));
    EXPECT_THAT(id, IsEmpty());
    m_Card.m_CardType = CARD_CARDOS;
    Plan(SELECT_ROOT, OK);
    Plan(SELECT_EF_GDO, OK);
    Plan(READ_BINARY, Counting(9));
    EXPECT_FALSE(m_Card.GetChipId(id));
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
}

TEST_F(ChipId, AFailedCommandOfACardOsCardIsReportedByItsStep) {
    m_Card.m_CardType = CARD_CARDOS;
    const char* const texts[] = {"error select DF DEC", "error select EF DEC", "error read binary"};
    const Bytes commands[] = {SELECT_ROOT, SELECT_EF_GDO};
    for (size_t failing = 0; failing < 3; ++failing) {
        m_Log.Clear();
        for (size_t i = 0; i < failing; ++i) {
            Plan(commands[i], OK);
        }
        PlanFailure();
        Bytes id;
        EXPECT_FALSE(m_Card.GetChipId(id));
        EXPECT_EQ(m_Log.Errors().back(), texts[failing]);
    }
}

TEST_F(ChipId, OtherCardsHaveNone) {
    for (const int type : {CARD_UNKNOWN, CARD_ECARD_G2, CARD_ECARD_G3A, CARD_ECARD_G3B, CARD_ELU}) {
        m_Log.Clear();
        m_Card.m_CardType = type;
        Bytes id = {0x77};
        EXPECT_FALSE(m_Card.GetChipId(id));
        EXPECT_THAT(id, IsEmpty());
        EXPECT_THAT(m_Log.Lines(), ElementsAre("M GetChipId"));
    }
}

TEST_F(ChipId, NeedsASession) {
    m_Card.m_hSession = 0;
    m_Card.m_CardType = CARD_ACOS_A03;
    Bytes id;
    EXPECT_FALSE(m_Card.GetChipId(id));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("M GetChipId", "E PKCS11 Session nicht offen"));
}

TEST_F(ChipId, AsTextHasTwoUpperCaseDigitsAByte) {
    m_Card.m_CardType = CARD_ACOS_A03;
    Plan(ACOS_CHIP_ID, {0x00, 0x0A, 0xFF, 0x10, 0x01, 0x02, 0x03, 0x04, 0x90, 0x00});
    std::string id = "alt";
    EXPECT_TRUE(m_Card.GetChipId(id));
    EXPECT_EQ(id, "000AFF1001020304");
    PlanFailure();
    EXPECT_FALSE(m_Card.GetChipId(id));
    EXPECT_EQ(id, "000AFF1001020304");
}

// --- Finding a card by its number --------------------------------------------------------------------------

class FindingACard : public Apdus {
protected:
    void PlanOpen(CK_SLOT_ID slot, CK_SESSION_HANDLE handle) {
        EXPECT_CALL(m_Library, OpenSession(slot, 4, _, _, _))
            .WillOnce(DoAll(SetArgPointee<4>(handle), Return(handle != 0 ? CKR_OK : CKR_DEVICE_REMOVED)));
    }
};

TEST_F(FindingACard, ByChipIdLeavesTheSessionOpenOnIt) {
    m_Card.m_CardType = CARD_ACOS_A04;
    const InSequence inThisOrder;
    PlanSlots({Token("a", "1"), Token("b", "2"), Token("c", "3")});
    PlanOpen(100, 0); // does not open
    PlanOpen(101, 9);
    Plan(ACOS_CHIP_ID, {1, 1, 1, 1, 1, 1, 1, 1});
    EXPECT_CALL(m_Library, CloseSession(9)).WillOnce(Return(CKR_OK));
    PlanOpen(102, 9);
    Plan(ACOS_CHIP_ID, {2, 2, 2, 2, 2, 2, 2, 2});
    EXPECT_TRUE(m_Card.OpenSessionWithChipId("0202020202020202", false));
    EXPECT_EQ(m_Card.m_SlotIndex, 2);
    EXPECT_EQ(m_Card.m_hSession, 9U);
}

TEST_F(FindingACard, ByChipIdClosesTheOpenSessionFirstIfAsked) {
    const InSequence inThisOrder;
    EXPECT_CALL(m_Library, CloseSession(9)).WillOnce(Return(CKR_OK));
    PlanSlots({});
    EXPECT_FALSE(m_Card.OpenSessionWithChipId("00", true));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("OpenSessionWithChipId failed, chipid not found"));
    EXPECT_EQ(m_Log.Lines().front(), "M PKCS11 OpenSessionWithChipId");
}

TEST_F(FindingACard, ByChipIdReportsASlotListThatCannotBeRead) {
    EXPECT_CALL(m_Library, GetSlotList(_, _, _)).WillOnce(Return(CKR_DEVICE_ERROR));
    EXPECT_FALSE(m_Card.OpenSessionWithChipId("00", false));
    EXPECT_THAT(m_Log.Errors(), ElementsAre("PKCS11 Proc_C_GetSlotList ERROR0x30", "error loading slots"));
}

TEST_F(FindingACard, ByChipIdComparesAnEmptyTextWhereNoTypeIsKnown) {
    PlanSlots({Token("a", "1")});
    PlanOpen(100, 9);
    EXPECT_TRUE(m_Card.OpenSessionWithChipId("", false));
    EXPECT_EQ(m_Card.m_SlotIndex, 0);
}

TEST_F(FindingACard, ByCinTakesTwelveCharactersAsABeginningAndMoreAsTheWhole) {
    const std::vector<CK_TOKEN_INFO> tokens = {Token("a", "111122223333444"), Token("b", "1234567890123456"),
                                               Token("c", "1234567890129999")};
    const std::pair<const char*, int> rows[] = {
        {"123456789012", 1},
        {"1234567890129999", 2},
        {"1234567890123", -1},
        {"12345678901", -1},
        {"", -1},
        {"111122223333444 ", 0},
        {"111122223333444", -1},
        {"999999999999", -1},
    };
    for (const auto& [cin, index] : rows) {
        ProbedCard::m_bInitialized = true; // another object has bound the library
        PlanSlots(tokens);
        EXPECT_EQ(m_Card.findSlotForCin(cin), index) << cin;
        testing::Mock::VerifyAndClearExpectations(&m_Library);
    }
    ProbedCard::m_bInitialized = false;
}

TEST_F(FindingACard, ByCinDoesNotMatchASerialThatIsTooShort) {
    CK_TOKEN_INFO shortSerial = Token("a", "12345678901");
    shortSerial.serialNumber[11] = 0;
    ProbedCard::m_bInitialized = true;
    PlanSlots({shortSerial});
    EXPECT_EQ(m_Card.findSlotForCin("12345678901"), -1);
    ProbedCard::m_bInitialized = false;
}

TEST_F(FindingACard, ByCinLeavesEmptyCardsOut) {
    ProbedCard::m_bInitialized = true;
    PlanSlots({Token("a", "0000000000000000")});
    EXPECT_EQ(m_Card.findSlotForCin("000000000000"), -1);
    ProbedCard::m_bInitialized = false;
}

TEST_F(FindingACard, ByCinTriesToBindTheLibraryAndGoesOnWithoutIt) {
    EXPECT_CALL(m_Library, GetSlotList(_, _, _)).WillOnce(Return(CKR_CRYPTOKI_NOT_INITIALIZED));
    EXPECT_EQ(m_Card.findSlotForCin("123456789012"), -1);
    EXPECT_THAT(m_Log.Lines(), testing::Contains("E PKCS11 LoadLibrary ERROR"));
}

TEST_F(FindingACard, AGlobalSessionIsAReadOnlyOneThatClosesNothing) {
    ProbedCard::m_bInitialized = true;
    PlanSlots({Token("a", "111122223333444"), Token("b", "1234567890123456")});
    PlanOpen(101, 12);
    EXPECT_TRUE(m_Card.OpenGlobalSession("123456789012"));
    EXPECT_EQ(m_Card.m_hSession, 12U);
    m_Log.Clear();
    PlanSlots({Token("a", "1")});
    EXPECT_FALSE(m_Card.OpenGlobalSession("123456789012"));
    EXPECT_THAT(m_Log.Errors(), IsEmpty());
    ProbedCard::m_bInitialized = false;
}
