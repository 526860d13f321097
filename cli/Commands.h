// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_COMMANDS_H
#define ORSEL_CLI_COMMANDS_H

#include "cli/Cards.h"
#include "cli/Console.h"
#include "cli/Request.h"

#include <functional>

namespace orselcli {

/// What a command works with.
struct Context {
    const Request& m_Request;
    Console& m_Console;
    Cards& m_Cards;
    bool m_HasActed = false; ///< something was written that a late interruption cannot undo
};

// The commands. Each leaves no session open, whatever its outcome.
Outcome RunList(Context& context);
Outcome RunShow(Context& context);
Outcome RunCertificate(Context& context);
Outcome RunPin(Context& context);
Outcome RunSign(Context& context);
Outcome RunVerify(Context& context);
Outcome RunInfobox(Context& context);
Outcome RunIdentityLink(Context& context);
Outcome RunInsurance(Context& context);
Outcome RunUpdate(Context& context);
Outcome RunApdu(Context& context);
/// Without a library too, so it binds its own.
Outcome RunDoctor(const Request& request, Console& console);

/// Finds the card that was asked for, and waits for it as long as was asked.
Outcome ChooseCard(Context& context, CardRow& row);

/// Finds the card, opens a session on it, lets the work be done and closes the session.
Outcome WithSession(Context& context, const std::function<Outcome(const CardRow&)>& work);

/// Prints bytes, or writes them to the file of --out.
Outcome Deliver(Context& context, const std::vector<unsigned char>& bytes);

} // namespace orselcli

#endif
