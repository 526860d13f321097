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

Rv OpenWith(const TokenLibrary& library, CK_SLOT_ID slot, CK_FLAGS flags, CK_SESSION_HANDLE* session) {
    return library->C_OpenSession(slot, flags, nullptr, nullptr, session);
}

CK_STATE StateOf(const TokenLibrary& library, CK_SESSION_HANDLE session) {
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), library->C_GetSessionInfo(session, &info));
    return info.state;
}

} // namespace

class Sessions : public testing::Test {
protected:
    Sessions() : m_Card(m_Deck.Add("empty")), m_Library(), m_Slot(m_Library.Slots().at(0)) {}

    SimDeck m_Deck;
    const std::string m_Card;
    const TokenLibrary m_Library;
    const CK_SLOT_ID m_Slot;
};

TEST_F(Sessions, HaveHandlesThatAreNeverZeroAndNeverUsedAgain) {
    std::set<CK_SESSION_HANDLE> handles;
    for (int i = 0; i < 20; ++i) {
        const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
        EXPECT_TRUE(handles.insert(session).second);
        EXPECT_EQ(Rv(CKR_OK), m_Library->C_CloseSession(session));
    }
    EXPECT_EQ(0U, handles.count(0));
}

TEST_F(Sessions, AreRefusedForWrongArguments) {
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(Rv(CKR_SLOT_ID_INVALID), OpenWith(m_Library, m_Slot + 1, CKF_SERIAL_SESSION, &session));
    EXPECT_EQ(Rv(CKR_SESSION_PARALLEL_NOT_SUPPORTED), OpenWith(m_Library, m_Slot, CKF_RW_SESSION, &session));
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), OpenWith(m_Library, m_Slot, CKF_SERIAL_SESSION, nullptr));
    EXPECT_EQ(0U, session);
}

TEST_F(Sessions, TellTheirStateAndSlot) {
    const CK_SESSION_HANDLE readOnly = m_Library.Open(m_Slot);
    const CK_SESSION_HANDLE readWrite = m_Library.Open(m_Slot, CKF_SERIAL_SESSION | CKF_RW_SESSION);
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, StateOf(m_Library, readOnly));
    EXPECT_EQ(CKS_RW_PUBLIC_SESSION, StateOf(m_Library, readWrite));
    CK_SESSION_INFO info = {};
    ASSERT_EQ(Rv(CKR_OK), m_Library->C_GetSessionInfo(readWrite, &info));
    EXPECT_EQ(m_Slot, info.slotID);
    EXPECT_EQ(CKF_SERIAL_SESSION | CKF_RW_SESSION, info.flags);
    EXPECT_EQ(Rv(CKR_ARGUMENTS_BAD), m_Library->C_GetSessionInfo(readWrite, nullptr));
}

TEST_F(Sessions, AreClosedOnce) {
    const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_CloseSession(session));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_CloseSession(session));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_CloseSession(0));
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_GetSessionInfo(session, &info));
}

TEST_F(Sessions, OfOneSlotAreClosedTogether) {
    m_Deck.Add("empty");
    const CK_SLOT_ID otherSlot = m_Library.Slots().at(1);
    const CK_SESSION_HANDLE first = m_Library.Open(m_Slot);
    const CK_SESSION_HANDLE second = m_Library.Open(m_Slot);
    const CK_SESSION_HANDLE other = m_Library.Open(otherSlot);
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_CloseAllSessions(m_Slot));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_CloseSession(first));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_CloseSession(second));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_CloseSession(other));
    EXPECT_EQ(Rv(CKR_SLOT_ID_INVALID), m_Library->C_CloseAllSessions(99));
}

TEST_F(Sessions, EndWithTheLibrary) {
    const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_Finalize(nullptr));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_Initialize(nullptr));
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_CloseSession(session));
}

TEST_F(Sessions, OfACardThatWasTakenOutSaySoInEveryCall) {
    const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
    m_Deck.TakeOut(m_Card);
    CK_SESSION_INFO info = {};
    CK_OBJECT_HANDLE object = 0;
    CK_ULONG count = 0;
    CK_ATTRIBUTE attribute = {CKA_LABEL, nullptr, 0};
    Bytes bytes;
    const std::pair<const char*, std::function<Rv()>> calls[] = {
        {"C_GetSessionInfo", [&] { return m_Library->C_GetSessionInfo(session, &info); }},
        {"C_FindObjectsInit", [&] { return m_Library->C_FindObjectsInit(session, nullptr, 0); }},
        {"C_FindObjects", [&] { return m_Library->C_FindObjects(session, &object, 1, &count); }},
        {"C_FindObjectsFinal", [&] { return m_Library->C_FindObjectsFinal(session); }},
        {"C_GetAttributeValue", [&] { return m_Library->C_GetAttributeValue(session, 1, &attribute, 1); }},
        {"C_GetObjectSize", [&] { return m_Library->C_GetObjectSize(session, 1, &count); }},
        {"C_GenerateRandom", [&] { return m_Library->C_GenerateRandom(session, nullptr, 0); }},
        {"C_CardAttribute", [&] { return m_Library.CardAttribute(session, "ATR", bytes); }},
        {"C_CardTransmit",
         [&] {
             return m_Library.Transmit(session, Bytes{0, 0xA4, 0, 0x0C}, bytes);
         }},
        {"C_CloseSession", [&] { return m_Library->C_CloseSession(session); }},
    };
    for (const auto& [name, call] : calls) {
        EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), call()) << name;
    }
    EXPECT_EQ(Rv(CKR_SESSION_HANDLE_INVALID), m_Library->C_CloseSession(session)) << "closed all the same";
}

TEST_F(Sessions, StayDeadWhenTheirCardComesBack) {
    const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
    m_Deck.TakeOut(m_Card);
    m_Library.Slots();
    m_Deck.PutBack(m_Card);
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), m_Library->C_GetSessionInfo(session, &info));
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, StateOf(m_Library, m_Library.Open(m_Slot)));
}

TEST_F(Sessions, DieWhenAnotherCardTakesThePlace) {
    const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
    m_Deck.Remove(m_Card);
    m_Deck.Add("empty", CardOptions().Directory(m_Card).Serial("1234567890123456"));
    CK_SESSION_INFO info = {};
    EXPECT_EQ(Rv(CKR_DEVICE_REMOVED), m_Library->C_GetSessionInfo(session, &info));
}

TEST_F(Sessions, OutliveAChangeOfTheCardsState) {
    const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
    m_Deck.Change(m_Card, [](orselsim::Card& changed) { changed.m_Record.m_Label = "Renamed"; });
    EXPECT_EQ(CKS_RO_PUBLIC_SESSION, StateOf(m_Library, session));
    EXPECT_EQ("Renamed                         ", orseltest::Field(m_Library.TokenInfo(m_Slot).label));
}

TEST_F(Sessions, GiveRandomBytes) {
    const CK_SESSION_HANDLE session = m_Library.Open(m_Slot);
    Bytes first(32);
    Bytes second(32);
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_GenerateRandom(session, first.data(), first.size()));
    EXPECT_EQ(Rv(CKR_OK), m_Library->C_GenerateRandom(session, second.data(), second.size()));
    EXPECT_NE(first, second);
    EXPECT_EQ(Rv(CKR_RANDOM_SEED_NOT_SUPPORTED),
              m_Library->C_SeedRandom(session, first.data(), first.size()));
}
