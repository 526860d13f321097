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
            m_Context.LetGo();
        }
        for (long round = 0; round < ROUNDS_OF_A_BINDING; ++round) {
            m_Context.m_Deck.AnswerPins(operation.m_Pins);
        }
        m_Pristine = m_Context.m_Deck.Read(m_Context.m_CardName);
    }

    void Run(long rounds) {
        for (long round = 0; round < rounds; ++round) {
            if (round % ROUNDS_OF_A_BINDING == 0) {
                m_Context.LetGo();
            }
            RunOnce();
        }
        m_Context.LetGo();
    }

private:
    void RunOnce() {
        if (!m_Operation.m_Pins.empty()) {
            m_Context.m_Deck.Change(m_Context.m_CardName,
                                    [this](orselsim::Card& card) { card = m_Pristine; });
        }
        m_Context.GoTo(std::min(m_Operation.m_Stage, Stage::BOUND));
        CountSessions();
        m_Context.GoTo(m_Operation.m_Stage);
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
            m_Context.LetGo();
        }
    }

    const MatrixOperation& m_Operation;
    MatrixContext m_Context;
    orselsim::Card m_Pristine;
};

bool Soak(const MatrixOperation& operation, long rounds) {
    Soaked soaked(operation);
    soaked.Run(WarmUpOf(rounds));
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
