// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "cli/CallWitness.h"
#include "cli/Commands.h"
#include "cli/Files.h"
#include "cli/Interruption.h"
#include "cli/Words.h"
#include "foundation/StringUtils.h"

namespace orselcli {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds BETWEEN_LOOKS(200);

Outcome ByPosition(const std::vector<CardRow>& rows, const std::string& wanted, CardRow& row) {
    char* end = nullptr;
    const long position = std::strtol(wanted.c_str() + 1, &end, 10);
    if (*end != '\0' || position < 1 || static_cast<size_t>(position) > rows.size()) {
        return Outcome(Reason::NO_SUCH_CARD, wanted);
    }
    row = rows[static_cast<size_t>(position) - 1];
    return {};
}

/// A whole number before a beginning of one.
Outcome ByNumber(const std::vector<CardRow>& rows, const std::string& wanted, CardRow& row) {
    std::vector<CardRow> whole;
    std::vector<CardRow> begun;
    for (const CardRow& candidate : rows) {
        if (candidate.m_Number == wanted) {
            whole.push_back(candidate);
        } else if (Velmor::StartsWith(candidate.m_Number, wanted)) {
            begun.push_back(candidate);
        }
    }
    const std::vector<CardRow>& found = whole.empty() ? begun : whole;
    if (found.size() != 1) {
        return Outcome(found.empty() ? Reason::NO_SUCH_CARD : Reason::AMBIGUOUS_CARD, wanted);
    }
    row = found[0];
    return {};
}

Outcome Choose(const std::vector<CardRow>& rows, const std::string& wanted, CardRow& row) {
    if (rows.empty()) {
        return Reason::NO_CARDS;
    }
    if (!wanted.empty()) {
        return wanted[0] == '@' ? ByPosition(rows, wanted, row) : ByNumber(rows, wanted, row);
    }
    if (rows.size() > 1) {
        return Reason::SEVERAL_CARDS;
    }
    row = rows[0];
    return {};
}

} // namespace

Outcome ChooseCard(Context& context, CardRow& row) {
    const auto deadline = Clock::now() + std::chrono::seconds(context.m_Request.m_WaitSeconds);
    while (true) {
        std::vector<CardRow> rows;
        Outcome outcome = context.m_Cards.List(rows);
        if (outcome.IsDone()) {
            outcome = Choose(rows, context.m_Request.m_Card, row);
        }
        const bool mayStillCome = outcome.Why() == Reason::NO_CARDS || outcome.Why() == Reason::NO_SUCH_CARD;
        if (!mayStillCome || Clock::now() >= deadline) {
            return outcome;
        }
        std::this_thread::sleep_for(BETWEEN_LOOKS);
        if (Interruption::HasCome()) {
            return FailureOf();
        }
    }
}

Outcome WithSession(Context& context, const std::function<Outcome(const CardRow&)>& work) {
    CardRow row;
    const Outcome outcome = ChooseCard(context, row);
    if (!outcome.IsDone()) {
        return outcome;
    }
    const CardSession session(context.m_Cards, row);
    if (!session.IsOpen()) {
        return FailureOf();
    }
    CallWitness::Forget();
    return work(row);
}

Outcome Deliver(Context& context, const Bytes& bytes) {
    if (!context.m_Request.m_Out.empty()) {
        const Outcome outcome = WriteOutput(context.m_Request.m_Out, bytes);
        context.m_HasActed = outcome.IsDone();
        return outcome;
    }
    context.m_Console.PrintBytes(bytes);
    return {};
}

} // namespace orselcli
