// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SimDeck.h"

using orseltest::CardOptions;
using orseltest::Field;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

std::string SerialOf(const TokenLibrary& library, CK_SLOT_ID slot) {
    return Field(library.TokenInfo(slot).serialNumber);
}

std::vector<std::string> Serials(const TokenLibrary& library) {
    std::vector<std::string> result;
    for (const CK_SLOT_ID slot : library.Slots()) {
        result.push_back(SerialOf(library, slot));
    }
    return result;
}

CK_FLAGS SlotFlags(const TokenLibrary& library, CK_SLOT_ID slot) {
    CK_SLOT_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), library->C_GetSlotInfo(slot, &info));
    return info.flags;
}

Rv PollEvent(const TokenLibrary& library, CK_SLOT_ID& slot) {
    return library->C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr);
}

} // namespace

TEST(SlotList, IsEmptyForADeckWithoutCards) {
    const SimDeck deck;
    const TokenLibrary library;
    EXPECT_THAT(library.Slots(), IsEmpty());
}

TEST(SlotList, IsEmptyForADeckThatIsNotThere) {
    const SimDeck deck;
    const ScopedVariable nowhere("ORSELSIM_DECK", deck.Folder() + "/nowhere");
    EXPECT_THAT(TokenLibrary().Slots(), IsEmpty());
    const ScopedVariable nothing("ORSELSIM_DECK", nullptr);
    EXPECT_THAT(TokenLibrary().Slots(), IsEmpty());
}

TEST(SlotList, FollowsTheNamesOfTheCardDirectories) {
    SimDeck deck;
    deck.Add("empty", CardOptions().Directory("20-second").Serial("2222222222222222"));
    deck.Add("empty", CardOptions().Directory("10-first").Serial("1111111111111111"));
    deck.Add("empty", CardOptions().Directory("30-third").Serial("3333333333333333"));
    const TokenLibrary library;
    EXPECT_THAT(library.Slots(), ElementsAre(1, 2, 3));
    EXPECT_THAT(Serials(library), ElementsAre("1111111111111111", "2222222222222222", "3333333333333333"));
}

TEST(SlotList, AsksForTheSizeAndRefusesTooSmallABuffer) {
    SimDeck deck;
    deck.Add("empty");
    deck.Add("empty");
    const TokenLibrary library;
    CK_ULONG count = 77;
    EXPECT_EQ(Rv(CKR_OK), library->C_GetSlotList(CK_TRUE, nullptr, &count));
    EXPECT_EQ(2U, count);
    CK_SLOT_ID ids[3] = {99, 99, 99};
    count = 1;
    EXPECT_EQ(Rv(CKR_BUFFER_TOO_SMALL), library->C_GetSlotList(CK_TRUE, ids, &count));
    EXPECT_EQ(2U, count);
    EXPECT_THAT(ids, ElementsAre(99, 99, 99));
    count = 3;
    EXPECT_EQ(Rv(CKR_OK), library->C_GetSlotList(CK_TRUE, ids, &count));
    EXPECT_EQ(2U, count);
    EXPECT_THAT(ids, ElementsAre(1, 2, 99));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_GetSlotList(CK_TRUE, ids, nullptr));
}

TEST(SlotList, HoldsMoreThanAHundredTokens) {
    SimDeck deck;
    for (int i = 0; i < 129; ++i) {
        deck.Add("empty", CardOptions().Directory("card-" + std::to_string(1000 + i)));
    }
    EXPECT_THAT(TokenLibrary().Slots(), SizeIs(129));
}

TEST(SlotList, GivesACardTheIdThatItsRecordChooses) {
    SimDeck deck;
    deck.Add("empty", CardOptions().Directory("1"));
    deck.Add("empty", CardOptions().Directory("2").Slot(1));
    deck.Add("empty", CardOptions().Directory("3").Slot(4000));
    EXPECT_THAT(TokenLibrary().Slots(), ElementsAre(2, 1, 4000));
}

TEST(SlotList, GivesAnotherIdWhenTheChosenOneIsTaken) {
    SimDeck deck;
    deck.Add("empty", CardOptions().Directory("1").Slot(7));
    deck.Add("empty", CardOptions().Directory("2").Slot(7));
    testing::internal::CaptureStderr();
    EXPECT_THAT(TokenLibrary().Slots(), ElementsAre(7, 1));
    EXPECT_EQ("OrselP11: card 2: slot 7 is taken\n", testing::internal::GetCapturedStderr());
}

TEST(ACardThatIsPutIn, ShowsAtTheNextCall) {
    SimDeck deck;
    const TokenLibrary library;
    EXPECT_THAT(library.Slots(), IsEmpty());
    deck.Add("empty");
    EXPECT_THAT(library.Slots(), ElementsAre(1));
}

TEST(ACardThatIsTakenOut, LeavesAnEmptyReader) {
    SimDeck deck;
    deck.Add("empty", CardOptions().Directory("1"));
    deck.Add("empty", CardOptions().Directory("2"));
    const TokenLibrary library;
    EXPECT_THAT(library.Slots(), ElementsAre(1, 2));
    deck.TakeOut("1");
    CK_TOKEN_INFO info = {};
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_PRESENT), library->C_GetTokenInfo(1, &info));
    EXPECT_EQ(Rv(CKR_TOKEN_NOT_PRESENT),
              library->C_OpenSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &session));
    EXPECT_EQ(0U, SlotFlags(library, 1) & CKF_TOKEN_PRESENT);
    EXPECT_THAT(library.Slots(), ElementsAre(2));
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), library->C_GetSlotList(CK_FALSE, nullptr, &count));
    EXPECT_EQ(2U, count) << "the reader itself is still there";
}

TEST(ACardThatIsTakenOut, ComesBackInTheSameSlot) {
    SimDeck deck;
    deck.Add("empty", CardOptions().Directory("1"));
    deck.Add("empty", CardOptions().Directory("2"));
    const TokenLibrary library;
    library.Slots();
    deck.TakeOut("1");
    EXPECT_THAT(library.Slots(), ElementsAre(2));
    deck.Add("empty", CardOptions().Directory("0"));
    EXPECT_THAT(library.Slots(), ElementsAre(3, 2)) << "the id of the empty reader is not given away";
    deck.PutBack("1");
    EXPECT_THAT(library.Slots(), ElementsAre(3, 1, 2));
}

TEST(SlotInfo, TellsTheReader) {
    SimDeck deck;
    deck.Add("empty", CardOptions().Directory("01-removable"));
    deck.Add("empty", CardOptions().Directory("02-fixed").FixedReader());
    const TokenLibrary library;
    library.Slots();
    CK_SLOT_INFO info = {};
    ASSERT_EQ(Rv(CKR_OK), library->C_GetSlotInfo(1, &info));
    EXPECT_EQ(CKF_TOKEN_PRESENT | CKF_REMOVABLE_DEVICE | CKF_HW_SLOT, info.flags);
    EXPECT_THAT(Field(info.slotDescription), StartsWith("Simulated reader of 01-removable  "));
    EXPECT_EQ(CKF_TOKEN_PRESENT | CKF_HW_SLOT, SlotFlags(library, 2));
    EXPECT_EQ(Rv(CKR_SLOT_ID_INVALID), library->C_GetSlotInfo(3, &info));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_GetSlotInfo(1, nullptr));
}

TEST(TokenInfo, PadsItsFieldsWithBlanks) {
    SimDeck deck;
    deck.Add("ecard-g2", CardOptions().Serial("8004000112233445"));
    const TokenLibrary library;
    const CK_TOKEN_INFO info = library.TokenInfo(library.Slots().at(0));
    EXPECT_EQ("Orsel Carta e-Card              ", Field(info.label));
    EXPECT_EQ("Orsel Kartenwerk                ", Field(info.manufacturerID));
    EXPECT_EQ("Starcos SPK 3.1 ", Field(info.model));
    EXPECT_EQ("8004000112233445", Field(info.serialNumber));
    EXPECT_EQ(CKF_RNG | CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED | CKF_PROTECTED_AUTHENTICATION_PATH |
                  CKF_TOKEN_INITIALIZED,
              info.flags);
    EXPECT_EQ(CK_UNAVAILABLE_INFORMATION, info.ulTotalPublicMemory);
    EXPECT_EQ(4U, info.ulMinPinLen);
}

TEST(TokenInfo, CountsTheSessions) {
    SimDeck deck;
    deck.Add("empty");
    const TokenLibrary library;
    const CK_SLOT_ID slot = library.Slots().at(0);
    library.Open(slot);
    library.Open(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION);
    EXPECT_EQ(2U, library.TokenInfo(slot).ulSessionCount);
    EXPECT_EQ(1U, library.TokenInfo(slot).ulRwSessionCount);
}

TEST(TokenInfo, TellsHowThePinStands) {
    struct Case {
        unsigned m_TriesLeft;
        CK_FLAGS m_Expected;
    };
    const Case cases[] = {
        {3, 0},
        {2, CKF_USER_PIN_COUNT_LOW},
        {1, CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY},
        {0, CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_LOCKED},
    };
    SimDeck deck;
    const std::string card = deck.Add("ecard-g2");
    const TokenLibrary library;
    const CK_SLOT_ID slot = library.Slots().at(0);
    for (const Case& c : cases) {
        deck.Change(card, [&](orselsim::Card& changed) {
            changed.m_Record.m_Pins.at("encryption").m_Pin.m_TriesLeft = c.m_TriesLeft;
        });
        const CK_FLAGS mask = CKF_USER_PIN_COUNT_LOW | CKF_USER_PIN_FINAL_TRY | CKF_USER_PIN_LOCKED;
        EXPECT_EQ(c.m_Expected, library.TokenInfo(slot).flags & mask) << c.m_TriesLeft;
    }
}

TEST(TokenInfo, OfAnEmptyCardHasTheSerialOfZeros) {
    SimDeck deck;
    deck.Add("empty");
    const TokenLibrary library;
    EXPECT_THAT(Serials(library), ElementsAre("0000000000000000"));
    EXPECT_EQ(0U, library.TokenInfo(1).flags & CKF_USER_PIN_INITIALIZED);
}

TEST(SlotEvents, TellOfEachCardThatCameOrWentOnce) {
    SimDeck deck;
    deck.Add("empty", CardOptions().Directory("1"));
    const TokenLibrary library;
    CK_SLOT_ID slot = 0;
    EXPECT_EQ(Rv(CKR_NO_EVENT), PollEvent(library, slot)) << "a card that was there from the start";
    deck.Add("empty", CardOptions().Directory("2"));
    EXPECT_EQ(Rv(CKR_OK), PollEvent(library, slot));
    EXPECT_EQ(2U, slot);
    EXPECT_EQ(Rv(CKR_NO_EVENT), PollEvent(library, slot));
    deck.TakeOut("1");
    library.Slots(); // noticing is not telling
    EXPECT_EQ(Rv(CKR_OK), PollEvent(library, slot));
    EXPECT_EQ(1U, slot);
    EXPECT_EQ(Rv(CKR_NO_EVENT), PollEvent(library, slot));
}

TEST(SlotEvents, AreNotWaitedFor) {
    const SimDeck deck;
    const TokenLibrary library;
    CK_SLOT_ID slot = 0;
    EXPECT_EQ(Rv(CKR_FUNCTION_NOT_SUPPORTED), library->C_WaitForSlotEvent(0, &slot, nullptr));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_WaitForSlotEvent(CKF_DONT_BLOCK, nullptr, nullptr));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, &slot));
}

TEST(Mechanisms, AreThoseOfTheCards) {
    SimDeck deck;
    deck.Add("empty");
    const TokenLibrary library;
    const CK_SLOT_ID slot = library.Slots().at(0);
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), library->C_GetMechanismList(slot, nullptr, &count));
    ASSERT_EQ(8U, count);
    std::vector<CK_MECHANISM_TYPE> types(count);
    EXPECT_EQ(Rv(CKR_OK), library->C_GetMechanismList(slot, types.data(), &count));
    EXPECT_THAT(types,
                ElementsAre(CKM_RSA_PKCS, CKM_SHA1_RSA_PKCS, CKM_RIPEMD160_RSA_PKCS, CKM_SHA256_RSA_PKCS,
                            CKM_SHA384_RSA_PKCS, CKM_SHA512_RSA_PKCS, CKM_ECDSA, CKM_ECDSA_SHA1));
    CK_MECHANISM_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), library->C_GetMechanismInfo(slot, CKM_ECDSA, &info));
    EXPECT_EQ(192U, info.ulMinKeySize);
    EXPECT_EQ(256U, info.ulMaxKeySize);
    EXPECT_NE(0U, info.flags & CKF_SIGN);
    EXPECT_EQ(Rv(CKR_MECHANISM_INVALID), library->C_GetMechanismInfo(slot, CKM_AES_CBC, &info));
    EXPECT_EQ(Rv(CKR_SLOT_ID_INVALID), library->C_GetMechanismInfo(slot + 1, CKM_ECDSA, &info));
}
