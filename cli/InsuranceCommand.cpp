// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/CallWitness.h"
#include "cli/Commands.h"
#include "cli/Names.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

constexpr unsigned long PROPERTY_CAPACITY = 65536;

using Reading = bool (Velmor::tkPKCS11::*)(unsigned char*, unsigned long&);

Outcome ReadProperty(Cards& cards, Reading read, Bytes& content) {
    CallWitness::Forget();
    content.assign(PROPERTY_CAPACITY, 0);
    unsigned long length = content.size();
    const bool isRead = (cards.*read)(content.data(), length);
    content.resize(isRead ? length : 0);
    if (isRead) {
        return {};
    }
    const Outcome failure = FailureOf(Reason::NO_INSURANCE);
    return failure.Why() == Reason::NOT_SUPPORTED ? Outcome(Reason::NO_INSURANCE) : failure;
}

} // namespace

// What the two records mean is told by nobody, so they are shown as they are.
Outcome RunInsurance(Context& context) {
    return WithSession(context, [&context](const CardRow& row) {
        Bytes ehic;
        Bytes grunddaten;
        Outcome outcome = ReadProperty(context.m_Cards, &Velmor::tkPKCS11::ReadEHIC, ehic);
        if (outcome.IsDone()) {
            outcome = ReadProperty(context.m_Cards, &Velmor::tkPKCS11::ReadGrunddaten, grunddaten);
        }
        if (!outcome.IsDone()) {
            return outcome;
        }
        if (context.m_Request.m_Json) {
            context.m_Console.PrintJson(
                {{"card", row.m_Number}, {"ehic", HexOf(ehic)}, {"grunddaten", HexOf(grunddaten)}});
        } else {
            context.m_Console.Print(Tr("European health insurance card (EHIC)") + "\n" + HexDump(ehic) +
                                    Tr("Basic data (Grunddaten)") + "\n" + HexDump(grunddaten));
        }
        return outcome;
    });
}

} // namespace orselcli
