// SPDX-License-Identifier: MIT
// A person presses the buttons of the built program with the pointer, thousands of times, while cards come
// and go. Needs a display.
//   Person_soak PRESSES
#include <cstdlib>

#include "bench/soak/Holdings.h"
#include "tests/e2e/Person.h"

namespace {

constexpr const char* SIGNATURE_PIN = "123456";
constexpr const char* ENCRYPTION_PIN = "1234";
constexpr const char* PUK = "12345678";

long g_Presses = 0;

/// A person with a card that stays and one that comes and goes above it.
class ATirelessPerson : public APerson {
protected:
    /// All that the window offers, once around, with another card in the reader each time. Gives the presses.
    long GoAround() {
        m_IsGuestIn ? m_Deck.TakeOut(m_Guest) : m_Deck.PutBack(m_Guest);
        m_IsGuestIn = !m_IsGuestIn;
        CountAndForgetCalls();
        Reload();
        m_Deck.AnswerPins({SIGNATURE_PIN, SIGNATURE_PIN, SIGNATURE_PIN});
        Command(SIGNATURE, CHANGE_PIN, "C_SetAttributeValue");
        m_Deck.AnswerPins({PUK, ENCRYPTION_PIN, ENCRYPTION_PIN});
        Command(ENCRYPTION, UNBLOCK_PIN, "C_SetAttributeValue");
        Command(SIGNATURE, SHOW, "C_GetAttributeValue");
        EXPECT_NE(WhatTheViewerShows(), "");
        Command(ENCRYPTION, SHOW, "C_GetAttributeValue");
        EXPECT_NE(WhatTheViewerShows(), "");
        Open(SIGNATURE, TEST, SIGNATURE_TEST);
        m_Deck.AnswerPins({SIGNATURE_PIN});
        EXPECT_TRUE(
            ActUntil([] { ClickIn(SIGNATURE_TEST, SIGN_BUTTON); }, [this] { return Calls("C_Sign") == 2; }));
        CloseWindow(SIGNATURE_TEST);
        Open(IDENTITY_LINK, SHOW, INFOBOX);
        CloseWindow(INFOBOX);
        return 8;
    }

    void CountAndForgetCalls() {
        const size_t opened = Calls("C_OpenSession");
        const size_t closed = Calls("C_CloseSession");
        EXPECT_EQ(opened, closed);
        m_Opened += opened;
        m_Deck.ClearTrace();
    }

    std::string m_Guest;
    bool m_IsGuestIn = true;
    size_t m_Opened = 0;

private:
    void Reload() {
        const size_t cards = m_IsGuestIn ? 2 : 1;
        EXPECT_TRUE(ActUntil([this] { PressReload(); }, [this] { return Calls("C_OpenSession") > 0; }));
        EXPECT_TRUE(WaitForCalls("C_CloseSession", "CKR_OK", cards));
        EXPECT_TRUE(desktop::WaitFor([] { return desktop::Windows("^(Bitte warten|Please wait)").empty(); }));
    }
    /// Presses until the command has made such a call and closed its session.
    void Command(Column column, Row row, const char* function) {
        const size_t calls = Calls(function);
        const size_t closed = Calls("C_CloseSession");
        Press(column, row);
        EXPECT_TRUE(desktop::WaitFor([=] { return Calls(function) > calls; }));
        EXPECT_TRUE(desktop::WaitFor([=] { return Calls("C_CloseSession") > closed; }));
    }
};

} // namespace

TEST_F(ATirelessPerson, MakesNothingGrow) {
    m_Deck.Add("acos-a03");
    m_Guest = m_Deck.Add("acos-a04");
    Start(2);
    long presses = 0;
    while (presses < WarmUpOf(g_Presses)) {
        presses += GoAround();
    }
    const Holdings before = HoldingsOf(m_Program->Id());
    const long warm = presses;
    while (presses < warm + g_Presses && !HasFailure()) {
        presses += GoAround();
    }
    EXPECT_TRUE(TellGrowth("Presses", presses - warm, before, HoldingsOf(m_Program->Id())));
    std::printf("\nSessions: %zu opened, as many closed\n", m_Opened);
}

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    g_Presses = argc > 1 ? std::atol(argv[1]) : 0;
    return g_Presses > 0 ? RUN_ALL_TESTS() : 1;
}
