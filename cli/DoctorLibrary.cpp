// SPDX-License-Identifier: MIT
#include <algorithm>

#include "card/CallP11.h"
#include "cli/CallWitness.h"
#include "cli/Cards.h"
#include "cli/Doctor.h"
#include "cli/Words.h"
#include "foundation/StringUtils.h"

namespace orselcli {

namespace {

/// Entry points that a library may lack: they are no part of the standard.
bool IsOptional(const std::string& entryPoint) {
    return Velmor::StartsWith(entryPoint, "C_Card") || entryPoint == "C_Logout" || entryPoint == "C_Finalize";
}

void ExamineEntryPoints(const Cards& cards, Findings& findings) {
    std::string list;
    for (const std::string& name : cards.Lacking()) {
        list += (list.empty() ? "" : ", ") + name;
    }
    if (list.empty()) {
        findings.push_back(
            {"entry-points", Health::GOOD, Tr("The token library has every entry point."), ""});
        return;
    }
    const bool isUsable = std::all_of(cards.Lacking().begin(), cards.Lacking().end(), IsOptional);
    findings.push_back(
        {"entry-points", isUsable ? Health::WARNING : Health::FAILURE,
         Filled(Tr("The token library lacks {}."), {list}),
         isUsable ? Tr("Numbers, PIN states, insurance data and raw commands cannot be had with this "
                       "library; another version may have them.")
                  : Tr("Install another version of the token library.")});
}

void ExamineReaders(Findings& findings) {
    CK_ULONG count = 0;
    CallWitness::Forget();
    const CK_RV code = Velmor::CallP11(Cards::Proc_C_GetSlotList, CK_FALSE, nullptr, &count);
    if (code != CKR_OK || CallWitness::HasSeenFailure()) {
        findings.push_back(
            {"readers", Health::FAILURE,
             Filled(Tr("The readers cannot be listed: {}"), {FailureOf(Reason::NOT_SUPPORTED).Text()}),
             Tr("Restart the reader service (pcscd) and plug the readers in again.")});
        return;
    }
    if (count == 0) {
        findings.push_back({"readers", Health::FAILURE, Tr("There is no card reader."),
                            Tr("Plug a reader in and see that the reader service (pcscd) runs.")});
        return;
    }
    const std::string text = TrCount("There is {} card reader.", "There are {} card readers.", count);
    findings.push_back({"readers", Health::GOOD, Filled(text, {std::to_string(count)}), ""});
}

void ExamineCard(Cards& cards, const CardRow& row, Findings& findings) {
    const std::string name = "@" + std::to_string(row.Position()) + " " + Harmless(row.m_Number);
    const CardSession session(cards, row);
    if (session.IsOpen()) {
        const std::string kind = Harmless(cards.KindOf(row));
        findings.push_back({"card", Health::GOOD, Filled(Tr("Card {}: {}."), {name, kind}), ""});
    } else {
        const Outcome outcome = FailureOf();
        findings.push_back({"card", Health::FAILURE,
                            Filled(Tr("Card {} cannot be used: {}"), {name, outcome.Text()}),
                            outcome.Next()});
    }
}

void ExamineCards(Cards& cards, Findings& findings) {
    std::vector<CardRow> rows;
    const Outcome outcome = cards.List(rows);
    if (!outcome.IsDone()) {
        findings.push_back({"cards", Health::FAILURE,
                            Filled(Tr("The cards cannot be listed: {}"), {outcome.Text()}), outcome.Next()});
    } else if (rows.empty()) {
        findings.push_back(
            {"cards", Health::WARNING, Outcome(Reason::NO_CARDS).Text(), Tr("Put a card in.")});
    }
    for (const CardRow& row : rows) {
        ExamineCard(cards, row, findings);
    }
}

} // namespace

void ExamineLibrary(Findings& findings) {
    Outcome outcome;
    const std::unique_ptr<Cards> cards = Cards::Bind(outcome);
    if (cards == nullptr) {
        findings.push_back({"library", Health::FAILURE, outcome.Text(),
                            Tr("Install a token library, or name its directory in LD_LIBRARY_PATH.")});
        return;
    }
    findings.push_back({"library", Health::GOOD,
                        Filled(Tr("Token library {}: {}, {}, version {}."),
                               {cards->File(), Harmless(cards->Manufacturer()),
                                Harmless(cards->Description()), cards->Version()}),
                        ""});
    ExamineEntryPoints(*cards, findings);
    ExamineReaders(findings);
    ExamineCards(*cards, findings);
}

} // namespace orselcli
