// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/CallWitness.h"
#include "cli/CertificateSummary.h"
#include "cli/Commands.h"
#include "cli/DataObjects.h"
#include "cli/IdentityLink.h"
#include "cli/Words.h"
#include "formats/slCertificate.h"

namespace orselcli {

namespace {

constexpr size_t SMALLEST_LINK = 128;
constexpr size_t LARGEST_LINK = 3072;
constexpr size_t LARGEST_CERTIFICATE = 5012;
constexpr size_t LARGEST_FILE = 65536;

/// Shows what is there and what would come, and asks unless that was answered on the command line.
Outcome Agree(Context& context, const std::string& present, const std::string& coming) {
    const std::string both =
        Tr("On the card now:") + "\n" + present + "\n" + Tr("To be written:") + "\n" + coming;
    if (context.m_Request.m_Yes) {
        context.m_Console.Note(both);
        return {};
    }
    if (!context.m_Console.CanAsk()) {
        return Reason::NEEDS_YES;
    }
    const bool agrees = context.m_Console.Ask(both + "\n" + Tr("Write it to the card?")); // also when quiet
    const Outcome interrupted = FailureOf(Reason::DECLINED);
    return agrees && interrupted.Why() != Reason::INTERRUPTED ? Outcome() : interrupted;
}

void PrintDone(Context& context, const CardRow& row) {
    context.m_HasActed = true;
    if (context.m_Request.m_Json) {
        context.m_Console.PrintJson({{"card", row.m_Number}, {"updated", context.m_Request.Word(0)}});
    } else if (!context.m_Request.m_Quiet) {
        context.m_Console.Print(Tr("The card is up to date.") + "\n");
    }
}

/// The identity link on the card in words; a card without one may well get one.
std::string PresentLink(Cards& cards, const CardRow& row, Outcome& outcome) {
    const CardSession session(cards, row);
    if (!session.IsOpen()) {
        outcome = FailureOf();
        return "";
    }
    DataObject object;
    Bytes content;
    outcome = FindIdentityLink(cards, object);
    if (outcome.IsDone()) {
        outcome = object.m_IsFound ? ReadData(cards, object, content) : MissingIdentityLink(cards);
    }
    IdentityLink link;
    return IdentityLink::Parse(content, link).IsDone() ? link.InWords()
                                                       : Tr("nothing that can be read") + "\n";
}

// The class opens a session of its own, so the one for looking is closed before.
Outcome UpdateLink(Context& context, const CardRow& row, const Bytes& data) {
    IdentityLink coming;
    if (data.size() < SMALLEST_LINK || data.size() > LARGEST_LINK ||
        !IdentityLink::Parse(data, coming).IsDone()) {
        return Outcome(Reason::NEW_LINK_UNREADABLE, context.m_Request.Word(1));
    }
    Outcome outcome;
    const std::string present = PresentLink(context.m_Cards, row, outcome);
    if (outcome.IsDone()) {
        outcome = Agree(context, present, coming.InWords());
    }
    if (!outcome.IsDone()) {
        return outcome;
    }
    std::string german; // for a window's user; the reason is told from what the library said
    CallWitness::Forget();
    if (!context.m_Cards.UpdatePersonenbindung(row.m_Serial, data, german)) {
        const Outcome failure = FailureOf(Reason::CARD_GONE);
        if (failure.Why() != Reason::WRONG_PIN) {
            return failure;
        }
        const CardSession session(context.m_Cards, row);
        return session.IsOpen()
                   ? Outcome(failure).WithTries(context.m_Cards.TriesLeft(Velmor::ApplEncryption))
                   : failure;
    }
    PrintDone(context, row);
    return {};
}

/// Which of the card's certificates is for the same key, in the open session.
Outcome FindSameKey(Cards& cards, Velmor::slCertificate& coming, bool& isSignature, Bytes& present) {
    for (const bool candidate : {true, false}) {
        const Outcome outcome = cards.ReadCertificate(candidate, present);
        const bool isNone =
            outcome.Why() == Reason::NO_CERTIFICATE || outcome.Why() == Reason::BROKEN_CERTIFICATE;
        if (!outcome.IsDone() && !isNone) {
            return outcome;
        }
        Velmor::slCertificate certificate;
        if (outcome.IsDone() && certificate.LoadFromBuffer(present) &&
            certificate.GetPubKeyHashHex() == coming.GetPubKeyHashHex()) {
            isSignature = candidate;
            return {};
        }
    }
    return Reason::KEYS_DIFFER;
}

Outcome UpdateCertificate(Context& context, const CardRow& row, const Bytes& data) {
    Velmor::slCertificate coming;
    if (!coming.LoadFromB64(std::string(data.begin(), data.end())) && !coming.LoadFromBuffer(data)) {
        return Outcome(Reason::NEW_CERTIFICATE_UNREADABLE, context.m_Request.Word(1));
    }
    const Bytes der = coming.ToBin();
    if (der.size() > LARGEST_CERTIFICATE) {
        return Outcome(Reason::INPUT_TOO_LARGE, context.m_Request.Word(1));
    }
    const CardSession session(context.m_Cards, row);
    if (!session.IsOpen()) {
        return FailureOf();
    }
    bool isSignature = false;
    Bytes present;
    Outcome outcome = FindSameKey(context.m_Cards, coming, isSignature, present);
    if (outcome.IsDone()) {
        outcome =
            Agree(context, CertificateSummary::Of(present).InWords(), CertificateSummary::Of(der).InWords());
    }
    if (!outcome.IsDone()) {
        return outcome;
    }
    std::string german; // for a window's user
    CallWitness::Forget();
    if (!context.m_Cards.updateCertInSession(der, isSignature, german)) {
        return FailureOfPin(context.m_Cards, Velmor::ApplEncryption);
    }
    PrintDone(context, row);
    return {};
}

} // namespace

Outcome RunUpdate(Context& context) {
    Bytes data;
    Outcome outcome = ReadInput(context.m_Request.Word(1), data, LARGEST_FILE);
    CardRow row;
    if (outcome.IsDone()) {
        outcome = ChooseCard(context, row);
    }
    if (!outcome.IsDone()) {
        return outcome;
    }
    if (row.m_IsEmpty) {
        return Reason::EMPTY_CARD;
    }
    return context.m_Request.Word(0) == "certificate" ? UpdateCertificate(context, row, data)
                                                      : UpdateLink(context, row, data);
}

} // namespace orselcli
