// SPDX-License-Identifier: MIT
#include <functional>
#include <set>

#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/SimDeck.h"

using orseltest::Bytes;
using orseltest::CardOptions;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;

namespace {

Rv openWith(const TokenLibrary& library, CK_SLOT_ID slot, CK_FLAGS flags, CK_SESSION_HANDLE* session) {
    return library->C_OpenSession(slot, flags, nullptr, nullptr, session);
}

CK_STATE stateOf(const TokenLibrary& library, CK_SESSION_HANDLE session) {
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), library->C_GetSessionInfo(session, &info));
    return info.state;
}

} // namespace

class Sessions : public testing::Test {
protected:
    Sessions() : card(deck.add("empty")), library(), slot(library.slots().at(0)) {}

    SimDeck deck;
    const std::string card;
    const TokenLibrary library;
    const CK_SLOT_ID slot;
};

TEST_F(Sessions, HaveHandlesThatAreNeverZeroAndNeverUsedAgain) {
    std::set<CK_SESSION_HANDLE> handles;
    for (int i = 0; i < 20; ++i) {
        const CK_SESSION_HANDLE session = library.open(slot);
        EXPECT_TRUE(handles.insert(session).second);
        EXPECT_EQ(Rv(CKR_OK), library->C_CloseSession(session));
    }
    EXPECT_EQ(0U, handles.count(0));
}

TEST_F(Sessions, AreRefusedForWrongArguments) {
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(Rv(CKR_SLOT_ID_INVALID), openWith(library, slot + 1, CKF_SERIAL_SESSION, &session));
    EXPECT_EQ(Rv(CKR_SESSION_PARALLEL_NOT_SUPPORTED), openWith(library, slot, CKF_RW_SESSION, &session));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), openWith(library, slot, CKF_SERIAL_SESSION, nullptr));
    EXPECT_EQ(0U, session);
}

TEST_F(Sessions, TellTheirStateAndSlot) {
    const CK_SESSION_HANDLE readOnly = library.open(slot);
    const CK_SESSION_HANDLE readWrite = library.open(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION);
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, stateOf(library, readOnly));
    EXPECT_EQ(CKS_RW_PUBLIC_SESSION, stateOf(library, readWrite));
    CK_SESSION_INFO info = {};
    ASSERT_EQ(Rv(CKR_OK), library->C_GetSessionInfo(readWrite, &info));
    EXPECT_EQ(slot, info.slotID);
    EXPECT_EQ(CKF_SERIAL_SESSION | CKF_RW_SESSION, info.flags);
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), library->C_GetSessionInfo(readWrite, nullptr));
}

TEST_F(Sessions, AreClosedOnce) {
    const CK_SESSION_HANDLE session = library.open(slot);
    EXPECT_EQ(Rv(CKR_OK), library->C_CloseSession(session));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_CloseSession(session));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_CloseSession(0));
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_GetSessionInfo(session, &info));
}

TEST_F(Sessions, OfOneSlotAreClosedTogether) {
    deck.add("empty");
    const CK_SLOT_ID otherSlot = library.slots().at(1);
    const CK_SESSION_HANDLE first = library.open(slot);
    const CK_SESSION_HANDLE second = library.open(slot);
    const CK_SESSION_HANDLE other = library.open(otherSlot);
    EXPECT_EQ(Rv(CKR_OK), library->C_CloseAllSessions(slot));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_CloseSession(first));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_CloseSession(second));
    EXPECT_EQ(Rv(CKR_OK), library->C_CloseSession(other));
    EXPECT_EQ(Rv(CKR_SLOT_ID_INVALID), library->C_CloseAllSessions(99));
}

TEST_F(Sessions, EndWithTheLibrary) {
    const CK_SESSION_HANDLE session = library.open(slot);
    EXPECT_EQ(Rv(CKR_OK), library->C_Finalize(nullptr));
    EXPECT_EQ(Rv(CKR_OK), library->C_Initialize(nullptr));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_CloseSession(session));
}

TEST_F(Sessions, OfACardThatWasTakenOutSaySoInEveryCall) {
    const CK_SESSION_HANDLE session = library.open(slot);
    deck.takeOut(card);
    CK_SESSION_INFO info = {};
    CK_OBJECT_HANDLE object = 0;
    CK_ULONG count = 0;
    CK_ATTRIBUTE attribute = {CKA_LABEL, nullptr, 0};
    Bytes bytes;
    const std::pair<const char*, std::function<Rv()>> calls[] = {
        {"C_GetSessionInfo", [&] { return library->C_GetSessionInfo(session, &info); }},
        {"C_FindObjectsInit", [&] { return library->C_FindObjectsInit(session, nullptr, 0); }},
        {"C_FindObjects", [&] { return library->C_FindObjects(session, &object, 1, &count); }},
        {"C_FindObjectsFinal", [&] { return library->C_FindObjectsFinal(session); }},
        {"C_GetAttributeValue", [&] { return library->C_GetAttributeValue(session, 1, &attribute, 1); }},
        {"C_GetObjectSize", [&] { return library->C_GetObjectSize(session, 1, &count); }},
        {"C_GenerateRandom", [&] { return library->C_GenerateRandom(session, nullptr, 0); }},
        {"C_CardAttribute", [&] { return library.cardAttribute(session, "ATR", bytes); }},
        {"C_CardTransmit",
         [&] {
             return library.transmit(session, Bytes{0, 0xA4, 0, 0x0C}, bytes);
         }},
        {"C_CloseSession", [&] { return library->C_CloseSession(session); }},
    };
    for (const auto& [name, call] : calls)
        EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), call()) << name;
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), library->C_CloseSession(session)) << "closed all the same";
}

TEST_F(Sessions, StayDeadWhenTheirCardComesBack) {
    const CK_SESSION_HANDLE session = library.open(slot);
    deck.takeOut(card);
    library.slots();
    deck.putBack(card);
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), library->C_GetSessionInfo(session, &info));
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, stateOf(library, library.open(slot)));
}

TEST_F(Sessions, DieWhenAnotherCardTakesThePlace) {
    const CK_SESSION_HANDLE session = library.open(slot);
    deck.remove(card);
    deck.add("empty", CardOptions().directory(card).serial("1234567890123456"));
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), library->C_GetSessionInfo(session, &info));
}

TEST_F(Sessions, OutliveAChangeOfTheCardsState) {
    const CK_SESSION_HANDLE session = library.open(slot);
    deck.change(card, [](orselsim::Card& changed) { changed.record.label = "Renamed"; });
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, stateOf(library, session));
    EXPECT_EQ("Renamed                         ", orseltest::field(library.tokenInfo(slot).label));
}

TEST_F(Sessions, GiveRandomBytes) {
    const CK_SESSION_HANDLE session = library.open(slot);
    Bytes first(32);
    Bytes second(32);
    EXPECT_EQ(Rv(CKR_OK), library->C_GenerateRandom(session, first.data(), first.size()));
    EXPECT_EQ(Rv(CKR_OK), library->C_GenerateRandom(session, second.data(), second.size()));
    EXPECT_NE(first, second);
    EXPECT_EQ(Rv(CKR_RANDOM_SEED_NOT_SUPPORTED), library->C_SeedRandom(session, first.data(), first.size()));
}
