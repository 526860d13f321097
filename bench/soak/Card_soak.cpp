// SPDX-License-Identifier: MIT
// Every operation of the card class that calls the token library, again and again over the simulated one,
// each on a card of its kind and with the right result. The operations and their results are those of the
// fault matrix.
//   Card_soak ROUNDS [OPERATION...]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "bench/soak/Holdings.h"
#include "tests/card/FaultMatrix.h"

namespace {

constexpr long ROUNDS_OF_A_BINDING =
    50; ///< the answers to questions for PINs are read from the start each time

/// One operation over a card of its own.
class Soaked {
public:
    explicit Soaked(const MatrixOperation& operation) : m_Operation(operation) {
        unsetenv("ORSELSIM_TRACE"); // it would fill the memory that is measured
        m_Context.m_CardName =
            m_Context.m_Deck.Add(operation.m_Kind, orseltest::CardOptions().Serial(m_Context.m_Serial));
        if (operation.m_Prepare) {
            operation.m_Prepare(m_Context);
            LetGo();
        }
        for (long round = 0; round < ROUNDS_OF_A_BINDING; ++round) {
            m_Context.m_Deck.AnswerPins(operation.m_Pins);
        }
        m_Pristine = m_Context.m_Deck.Read(m_Context.m_CardName);
    }

    void Run(long rounds) {
        for (long round = 0; round < rounds; ++round) {
            if (round % ROUNDS_OF_A_BINDING == 0) {
                LetGo();
            }
            RunOnce();
        }
        LetGo();
    }

private:
    void RunOnce() {
        if (!m_Operation.m_Pins.empty()) {
            m_Context.m_Deck.Change(m_Context.m_CardName,
                                    [this](orselsim::Card& card) { card = m_Pristine; });
        }
        Prepare();
        const std::string result = m_Operation.m_Run(m_Context);
        CountSessions(); // in case it has bound the library
        if (result != m_Operation.m_Good) {
            throw std::runtime_error(m_Operation.m_Name + " gives \"" + result + "\"");
        }
        if (m_Operation.m_SessionsWhenGood > 0) {
            m_Context.m_Card->CloseSession();
        }
        if (m_Context.m_Card) {
            m_Context.m_Card->ClearCertVector(); // which one of them appends to
        }
        if (m_Operation.m_Stage == Stage::UNBOUND || !ProbedCard::m_bInitialized) {
            LetGo();
        }
    }

    void Prepare() {
        if (m_Operation.m_Stage >= Stage::BOUND && !m_Context.m_Card) {
            m_Context.m_Card = std::make_unique<ProbedCard>();
            CountSessions();
        }
        if (m_Operation.m_Stage >= Stage::LISTED) {
            std::vector<Velmor::SlotStruct*> slots;
            m_Context.m_Card->GetSlots(slots);
        }
        if (m_Operation.m_Stage >= Stage::SESSION) {
            m_Context.m_Card->OpenSession(0, false);
            m_Context.m_Card->LoadCardType();
        }
    }

    void LetGo() {
        if (m_Context.m_Card) {
            m_Context.m_Card->Destroy();
        }
        m_Context.m_Card.reset();
    }

    const MatrixOperation& m_Operation;
    MatrixContext m_Context;
    orselsim::Card m_Pristine;
};

bool Soak(const MatrixOperation& operation, long rounds) {
    Soaked soaked(operation);
    soaked.Run(std::max(rounds / 10, 2 * ROUNDS_OF_A_BINDING));
    const Holdings before = OwnHoldings();
    soaked.Run(rounds);
    return TellGrowth(operation.m_Name, rounds, before, OwnHoldings());
}

} // namespace

int main(int argc, char** argv) {
    try {
        const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
        bool isSound = rounds > 0;
        for (const MatrixOperation& operation : MatrixOperations()) {
            if (argc < 3 || std::find(argv + 2, argv + argc, operation.m_Name) != argv + argc) {
                isSound = Soak(operation, rounds) && isSound;
            }
        }
        return TellSessions() && isSound ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Card_soak: %s\n", error.what());
        return 1;
    }
}
