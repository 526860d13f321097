// SPDX-License-Identifier: MIT
// A dialog's card: a deck of simulated cards and the card access object over it.
#ifndef ORSEL_TESTS_DIALOGS_CARDINREADER_H
#define ORSEL_TESTS_DIALOGS_CARDINREADER_H

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "card/tkPKCS11.h"
#include "tests/support/SimDeck.h"

class CardInReader : public testing::Test {
protected:
    ~CardInReader() override { Unbind(); }

    /// Puts one card in, named by its kind, binds the library and lists the slots.
    void Insert(const std::string& kind, const orseltest::CardOptions& options = orseltest::CardOptions()) {
        m_Card = m_Deck.Add(kind, options);
        Bind();
    }

    /// Binds the library anew, with the faults that are planned by now, and begins the trace anew.
    void Bind() {
        BindTraced();
        m_Deck.ClearTrace();
    }
    /// The same with a trace that begins with the binding.
    void BindTraced() {
        Unbind();
        m_Deck.ClearTrace();
        m_P11 = std::make_unique<Velmor::tkPKCS11>();
        std::vector<Velmor::SlotStruct*> slots;
        EXPECT_TRUE(m_P11->GetSlots(slots, true));
    }
    void BindWithFault(const std::string& fault) {
        m_Deck.PlanFaults({fault});
        Bind();
    }
    void Unbind() {
        if (m_P11 != nullptr) {
            m_P11->destroy();
        }
        m_P11.reset();
    }

    /// Names of the entry points that were called since the library was bound or the trace began anew.
    std::vector<std::string> Calls() const {
        std::vector<std::string> names;
        for (const auto& record : m_Deck.GetTrace()) {
            names.push_back(record.m_Function);
        }
        return names;
    }
    /// The sessions that were opened and those that were closed, in order.
    std::vector<std::string> SessionsOf(const std::string& function) const {
        std::vector<std::string> sessions;
        for (const auto& record : m_Deck.GetTrace(function)) {
            sessions.push_back(record.Value("session"));
        }
        return sessions;
    }

    orseltest::SimDeck m_Deck;
    std::string m_Card; ///< the card's name in the deck
    std::unique_ptr<Velmor::tkPKCS11> m_P11;
};

#endif
