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
        m_card = m_deck.add(kind, options);
        Bind();
    }

    /// Binds the library anew, with the faults that are planned by now, and begins the trace anew.
    void Bind() {
        BindTraced();
        m_deck.clearTrace();
    }
    /// The same with a trace that begins with the binding.
    void BindTraced() {
        Unbind();
        m_deck.clearTrace();
        m_p11 = std::make_unique<Velmor::tkPKCS11>();
        std::vector<Velmor::SlotStruct*> slots;
        EXPECT_TRUE(m_p11->GetSlots(slots, true));
    }
    void BindWithFault(const std::string& fault) {
        m_deck.planFaults({fault});
        Bind();
    }
    void Unbind() {
        if (m_p11 != nullptr)
            m_p11->destroy();
        m_p11.reset();
    }

    /// Names of the entry points that were called since the library was bound or the trace began anew.
    std::vector<std::string> Calls() const {
        std::vector<std::string> names;
        for (const auto& record : m_deck.trace())
            names.push_back(record.function);
        return names;
    }
    /// The sessions that were opened and those that were closed, in order.
    std::vector<std::string> SessionsOf(const std::string& function) const {
        std::vector<std::string> sessions;
        for (const auto& record : m_deck.trace(function))
            sessions.push_back(record.value("session"));
        return sessions;
    }

    orseltest::SimDeck m_deck;
    std::string m_card; ///< the card's name in the deck
    std::unique_ptr<Velmor::tkPKCS11> m_p11;
};

#endif
