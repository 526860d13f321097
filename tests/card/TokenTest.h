// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_CARD_TOKENTEST_H
#define ORSEL_TESTS_CARD_TOKENTEST_H

#include <gmock/gmock.h>

#include "tests/card/ProbedCard.h"
#include "tests/support/SimDeck.h"

#include <memory>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// The eight known kinds of card, in the order of their token types.
inline const std::vector<std::string>& KnownKinds() {
    static const std::vector<std::string> kinds = {"acos-a03",  "acos-a04",  "acos-a05", "ecard-g2",
                                                   "ecard-g3a", "ecard-g3b", "ecard-g4", "cardos-53"};
    return kinds;
}

/// The card class on the simulated token library, over a deck of the test's own.
class TokenTest : public testing::Test {
protected:
    void TearDown() override {
        if (m_Card) {
            m_Card->Destroy();
        }
    }

    /// Binds the library to the deck as it stands now.
    ProbedCard& Card() {
        if (!m_Card) {
            m_Card = std::make_unique<ProbedCard>();
        }
        return *m_Card;
    }

    /// Number of cards in the deck that somebody has personalised, listed anew.
    size_t ListCards() {
        std::vector<Velmor::SlotStruct*> slots;
        EXPECT_TRUE(Card().GetSlots(slots));
        return slots.size();
    }

    /// Lists the cards and opens a session on one, whose type is told anew.
    void Open(int index) {
        ListCards();
        ASSERT_TRUE(Card().OpenSession(index, false));
        Card().ReadATR(true);
        Card().LoadCardType();
    }

    /// Puts in a card of this kind and opens a session on it, which is the only card then.
    void PutIn(const std::string& kind, const orseltest::CardOptions& options = {}) {
        m_Name = m_Deck.Add(kind, options);
        Open(0);
    }

    /// Number of sessions that were opened and not closed.
    size_t OpenSessions() const {
        size_t opened = 0;
        for (const auto& record : m_Deck.GetTrace("C_OpenSession")) {
            opened += record.m_Result == "CKR_OK" ? 1 : 0;
        }
        for (const auto& record : m_Deck.GetTrace("C_CloseSession")) {
            opened -= record.m_Result == "CKR_OK" ? 1 : 0;
        }
        return opened;
    }

    orseltest::SimDeck m_Deck;
    std::unique_ptr<ProbedCard> m_Card;
    std::string m_Name; ///< of the card that was put in
};

#endif
