// SPDX-License-Identifier: MIT
// Every command that turns to a card, each with what it needs.
#ifndef ORSEL_TESTS_CLI_COMMANDCASES_H
#define ORSEL_TESTS_CLI_COMMANDCASES_H

#include <ostream>
#include <string>
#include <vector>

#include "tests/cli/CliTest.h"

struct CommandCase {
    std::string m_Name;
    std::string m_Kind; ///< of the card
    /// "FILE" stands for a file with a text, "OUT" for one to be written, "SIGNATURE" for a good signature of
    /// the text, "LINK" for another holder's identity link, "CERTIFICATE" for a renewed certificate of the
    /// card.
    std::vector<std::string> m_Line;
    std::vector<std::string> m_Answers = {}; ///< to the questions for PINs
    bool m_MayBePartial = false;             ///< shows what it can get, and marks what it cannot
    bool m_Changes = false;                  ///< leaves the card in another state
};

void PrintTo(const CommandCase& commandCase, std::ostream* out);

/// All but those with these names, which take the same road through the program as another one.
std::vector<CommandCase> CommandCasesWithout(const std::vector<std::string>& names);
/// For the name of a test.
std::string NameOfCase(const testing::TestParamInfo<CommandCase>& command);

/// A command with its card in the deck.
class ACommand : public CliTest, public testing::WithParamInterface<CommandCase> {
protected:
    void SetUp() override;

    /// Runs the command on the card as it was in the beginning, with a new trace. Standard output goes to the
    /// descriptor, if one is given.
    CliResult Run(int out = -1);

    /// Whether the card is in another state than in the beginning.
    bool IsChanged() const { return StateOf(m_Deck.Read(m_Card)) != m_PristineState; }
    std::string Out() const { return ContentOf(PathOf("OUT")); }
    /// A temporary file has the name of the one to be written and more.
    void ExpectNoRemains() const;

    std::string m_Card;

private:
    static std::string StateOf(const orselsim::Card& card);
    void MakeFiles();

    std::vector<std::string> m_Line;
    orselsim::Card m_Pristine;
    std::string m_PristineState;
};

#endif
