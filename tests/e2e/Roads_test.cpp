// SPDX-License-Identifier: MIT
// The roads that a person takes through the built program, with real pointer and key events.
#include "images/Images.h"
#include "tests/e2e/Person.h"

using testing::IsEmpty;

TEST_F(APerson, LooksAtBothCertificates) {
    const std::string card = m_Deck.Add("ecard-g4");
    Start(1);
    Press(SIGNATURE, SHOW);
    EXPECT_EQ(WhatTheViewerShows(), OnCard(card, "C.CH.SIG"));
    Press(ENCRYPTION, SHOW);
    EXPECT_EQ(WhatTheViewerShows(), OnCard(card, "C.CH.EKEY"));
}

TEST_F(APerson, IsToldThatACardHasNoIdentityLink) {
    const std::string card = m_Deck.Add("acos-a04");
    m_Deck.RemoveObject(card, "INFOBOX");
    Start(1);
    Open(IDENTITY_LINK, SHOW, NO_IDENTITY_LINK);
    CloseWindow(NO_IDENTITY_LINK);
    CloseWindow(INFOBOX);
}

TEST_F(APerson, IsRefusedOnAnEmptyCard) {
    m_Deck.Add("empty");
    Start(1);
    PressOn(SIGNATURE, CHANGE_PIN);
    EXPECT_TRUE(Shows(ButtonCancel));
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
}

TEST_F(APerson, PullsACardOutAndNothingHappens) {
    const std::string card = m_Deck.Add("acos-a04");
    Start(1);
    m_Deck.TakeOut(card);
    Press(SIGNATURE, CHANGE_PIN);
    EXPECT_TRUE(ButtonsAreReady());
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
}

TEST_F(APerson, ClosesTheWindowRightAfterTheStart) {
    m_Deck.Add("acos-a04");
    m_Program = std::make_unique<Program>(m_Deck.Folder());
    ASSERT_TRUE(WaitForWindow(MAIN_WINDOW));
}
