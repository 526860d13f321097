// SPDX-License-Identifier: MIT
// Two threads in two sessions; ThreadSanitizer watches them too.
#include <array>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>

#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SimDeck.h"
#include "tests/support/TempDir.h"

using orseltest::Bytes;
using orseltest::Rv;
using orseltest::SimDeck;
using orseltest::TokenLibrary;

namespace {

constexpr int ROUNDS = 10;

/// Lists the cards, finds the key and signs, over and over.
void SignOverAndOver(const TokenLibrary& bridge, CK_SLOT_ID slot) {
    for (int i = 0; i < ROUNDS; ++i) {
        EXPECT_EQ(2U, bridge.Slots().size());
        bridge.TokenInfo(slot);
        const CK_SESSION_HANDLE session = bridge.Open(slot);
        const CK_OBJECT_HANDLE key = bridge.FindOne(session, CKO_PRIVATE_KEY, "SK.CH.EKEY");
        EXPECT_FALSE(bridge.Attribute(session, key, CKA_ID).empty());
        CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
        EXPECT_EQ(Rv(CKR_OK), bridge->C_SignInit(session, &mechanism, key));
        Bytes data(32, 0x5A);
        Bytes signature(512);
        CK_ULONG length = signature.size();
        EXPECT_EQ(Rv(CKR_OK), bridge->C_Sign(session, data.data(), data.size(), signature.data(), &length));
        EXPECT_EQ(Rv(CKR_OK), bridge->C_CloseSession(session));
    }
}

} // namespace

TEST(TwoThreads, SignInTwoSessions) {
    SimDeck deck;
    deck.Add("cardos-53");
    deck.Add("cardos-53");
    const TempDir folder;
    std::string answers;
    for (int i = 0; i < 2 * ROUNDS; ++i) {
        answers += "1234\n";
    }
    deck.AnswerPins(std::vector<std::string>(2 * ROUNDS, "1234"));
    const ScopedVariable settings("XDG_CONFIG_HOME", folder.Path());
    const ScopedVariable module("ORSELBRIDGE_MODULE", ORSEL_SIMULATED_MODULE);
    const ScopedVariable script("ORSELBRIDGE_PIN_SCRIPT", folder.File("answers", answers));
    const TokenLibrary bridge;
    const std::vector<CK_SLOT_ID> slots = bridge.Slots();
    ASSERT_EQ(2U, slots.size());
    std::thread other([&] { SignOverAndOver(bridge, slots[0]); });
    SignOverAndOver(bridge, slots[1]);
    other.join();
}
