// SPDX-License-Identifier: MIT
#include "cli/Program.h"

#include <algorithm>
#include <memory>

#include "cli/CommandLine.h"
#include "cli/Commands.h"
#include "cli/Interruption.h"

namespace orselcli {

namespace {

struct CommandEntry {
    const char* m_Name;
    Outcome (*m_Run)(Context&);
};

constexpr CommandEntry COMMANDS[] = {
    {"list", RunList},
    {"show", RunShow},
    {"certificate", RunCertificate},
    {"pin", RunPin},
    {"sign", RunSign},
    {"verify", RunVerify},
    {"infobox", RunInfobox},
    {"identity-link", RunIdentityLink},
    {"insurance", RunInsurance},
    {"update", RunUpdate},
    {"apdu", RunApdu},
};

Outcome Work(const Request& request, Console& console) {
    if (request.m_Command == "doctor") {
        return RunDoctor(request, console);
    }
    Outcome outcome;
    const std::unique_ptr<Cards> cards = Cards::Bind(outcome);
    if (cards == nullptr) {
        return outcome;
    }
    const auto* entry =
        std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                     [&request](const CommandEntry& row) { return request.m_Command == row.m_Name; });
    Context context{request, console, *cards};
    outcome = entry->m_Run(context);
    const bool isUseless = !outcome.IsDone() || !context.m_HasActed;
    return Interruption::HasCome() && isUseless ? FailureOf() : outcome;
}

int Finish(const Outcome& outcome, Console& console) {
    const Outcome written = console.Flush();
    if (Interruption::HasCome() && !written.IsDone()) { // nobody reads any more
        return EXIT_SIGNAL + Interruption::Signal();
    }
    console.Report(outcome.IsDone() ? written : outcome);
    return outcome.IsDone() ? written.ExitCode() : outcome.ExitCode();
}

} // namespace

int RunProgram(const std::vector<std::string>& arguments, Console& console) {
    CommandLine line;
    const Outcome parsed = line.Parse(arguments);
    console.SetStyle({line.Asked().m_Json, line.Asked().m_Quiet});
    if (!parsed.IsDone() || !line.Answer().empty()) {
        console.Print(line.Answer());
        return Finish(parsed, console);
    }
    const Outcome outcome = Work(line.Asked(), console);
    if (outcome.Why() == Reason::INTERRUPTED) {
        console.Drop();
    }
    return Finish(outcome, console);
}

} // namespace orselcli
