// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_CLI_CLITEST_H
#define ORSEL_TESTS_CLI_CLITEST_H

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/FaultCases.h"
#include "tests/support/SimDeck.h"

/// What one run of the command line left behind.
struct CliResult {
    int m_Code = -1;
    std::string m_Out;
    std::string m_Error;
};

/// Runs the command line in this process.
CliResult RunCli(const std::vector<std::string>& arguments);
/// The same with this descriptor for standard output; what was printed is not in the result then.
CliResult RunCliInto(int out, const std::vector<std::string>& arguments);

/// The command line over a deck of the test's own.
class CliTest : public testing::Test {
protected:
    /// Runs a command that is to end with 0, and gives what it printed.
    std::string Good(const std::vector<std::string>& arguments);

    /// A file of the test's own; the path of one that is not made yet.
    std::string FileOf(const std::string& name, const std::string& content);
    std::string PathOf(const std::string& name) const { return m_Deck.Folder() + "/" + name; }
    /// Names of what lies in the test's folder.
    std::vector<std::string> Files() const;

    /// Nobody left a session open.
    void ExpectNoSession() {
        EXPECT_THAT(orseltest::SessionsNobodyClosed(m_Deck.GetTrace()), testing::IsEmpty());
    }

    orseltest::SimDeck m_Deck;
};

#endif
