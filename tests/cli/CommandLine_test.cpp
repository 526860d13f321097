// SPDX-License-Identifier: MIT
#include "cli/CommandLine.h"

#include <gmock/gmock.h>

#include "tests/cli/CliTest.h"

using orselcli::CommandLine;
using orselcli::Outcome;
using orselcli::Reason;
using orselcli::Request;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Line = std::vector<std::string>;

Request Parsed(const Line& line) {
    CommandLine commandLine;
    const Outcome outcome = commandLine.Parse(line);
    EXPECT_TRUE(outcome.IsDone()) << outcome.Text();
    return commandLine.Asked();
}

std::string Complaint(const Line& line) {
    CommandLine commandLine;
    const Outcome outcome = commandLine.Parse(line);
    EXPECT_EQ(outcome.Why(), Reason::USAGE);
    EXPECT_EQ(outcome.ExitCode(), 2);
    return outcome.Text();
}

} // namespace

TEST(TheCommandLine, MayLeaveTheCardOut) {
    const Request request = Parsed({"certificate", "signature"});
    EXPECT_EQ(request.m_Card, "");
    EXPECT_THAT(request.m_Words, ElementsAre("signature"));
}

TEST(TheCommandLine, HasTheCardBeforeTheWords) {
    const Request request = Parsed({"pin", "@3", "change", "identity-link"});
    EXPECT_EQ(request.m_Card, "@3");
    EXPECT_THAT(request.m_Words, ElementsAre("change", "identity-link"));
}

TEST(TheCommandLine, TakesTheCardAsAnOptionToo) {
    const Request request = Parsed({"--card", "8004", "apdu", "00A40000"});
    EXPECT_EQ(request.m_Card, "8004");
    EXPECT_THAT(request.m_Words, ElementsAre("00A40000"));
}

TEST(TheCommandLine, TellsAShortCardNumberFromACommand) {
    EXPECT_EQ(Parsed({"apdu", "8004", "80F6000008"}).m_Card, "8004");
    EXPECT_EQ(Parsed({"apdu", "@2", "80F6000008"}).m_Card, "@2");
    EXPECT_THAT(Parsed({"apdu", "80F60000", "00A40000"}).m_Words, ElementsAre("80F60000", "00A40000"));
}

TEST(TheCommandLine, TakesOptionsBeforeAndBehindTheCommand) {
    EXPECT_TRUE(Parsed({"--json", "list"}).m_Json);
    EXPECT_TRUE(Parsed({"list", "--json"}).m_Json);
    EXPECT_EQ(Parsed({"show", "--wait", "7"}).m_WaitSeconds, 7U);
}

TEST(TheCommandLine, TakesADashForStandardInput) {
    EXPECT_THAT(Parsed({"sign", "signature", "-"}).m_Words, ElementsAre("signature", "-"));
}

TEST(TheCommandLine, RefusesWhatMakesNoSense) {
    EXPECT_THAT(Complaint({}), HasSubstr("no command"));
    EXPECT_THAT(Complaint({"frobnicate"}), testing::Not(IsEmpty()));
    EXPECT_THAT(Complaint({"list", "8004"}), HasSubstr("8004"));
    EXPECT_THAT(Complaint({"certificate"}), HasSubstr("certificate [CARD]"));
    EXPECT_THAT(Complaint({"certificate", "@1", "other"}), HasSubstr("other"));
    EXPECT_THAT(Complaint({"certificate", "signature", "--der", "--text"}), HasSubstr("--der"));
    EXPECT_THAT(Complaint({"pin", "change"}), HasSubstr("pin [CARD]"));
    EXPECT_THAT(Complaint({"pin", "change", "puk"}), HasSubstr("puk"));
    EXPECT_THAT(Complaint({"sign", "signature", "a", "b"}), HasSubstr("b"));
    EXPECT_THAT(Complaint({"sign", "signature", "--hash", "md5"}), HasSubstr("--hash"));
    EXPECT_THAT(Complaint({"verify", "signature"}), HasSubstr("--signature"));
    EXPECT_THAT(Complaint({"infobox", "--raw"}), HasSubstr("infobox read"));
    EXPECT_THAT(Complaint({"infobox", "read", "01", "--raw", "--hex"}), HasSubstr("--hex"));
    EXPECT_THAT(Complaint({"identity-link", "--out", "x"}), HasSubstr("--raw"));
    EXPECT_THAT(Complaint({"certificate", "signature", "--json", "--out", "x"}), HasSubstr("--json"));
    EXPECT_THAT(Complaint({"certificate", "signature", "--json", "--der"}), HasSubstr("--der"));
    EXPECT_THAT(Complaint({"certificate", "signature", "--json", "--text"}), HasSubstr("--text"));
    EXPECT_THAT(Complaint({"infobox", "read", "01", "--json", "--raw"}), HasSubstr("--raw"));
    EXPECT_THAT(Complaint({"infobox", "read", "01", "--json", "--hex"}), HasSubstr("--hex"));
    EXPECT_THAT(Complaint({"identity-link", "--json", "--raw"}), HasSubstr("--raw"));
    EXPECT_THAT(Complaint({"apdu"}), HasSubstr("apdu [CARD]"));
    EXPECT_THAT(Complaint({"show", "@1", "--card", "@2"}), HasSubstr("@1"));
    EXPECT_THAT(Complaint({"list", "--wait", "soon"}), HasSubstr("--wait"));
    EXPECT_THAT(Complaint({"list", "--wait"}), HasSubstr("--wait"));
    EXPECT_THAT(Complaint({"--card", "@1", "list"}), HasSubstr("@1"));
    EXPECT_THAT(Complaint({"infobox", "--hex"}), HasSubstr("infobox read"));
    EXPECT_THAT(Complaint({"infobox", "--out", "x"}), HasSubstr("infobox read"));
    EXPECT_THAT(Complaint({"list", "--pin", "1234"}), testing::Not(IsEmpty()));
}

TEST(TheCommandLine, TellsItsVersion) {
    const CliResult result = RunCli({"--version"});
    EXPECT_EQ(result.m_Code, 0);
    EXPECT_THAT(result.m_Out, testing::MatchesRegex("orselcards-cli [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(TheCommandLine, HasAHelpForEachCommand) {
    for (const std::string& name : CommandLine::Commands()) {
        const CliResult result = RunCli({name, "--help"});
        EXPECT_EQ(result.m_Code, 0);
        EXPECT_THAT(result.m_Out, HasSubstr("orselcards-cli " + name));
        EXPECT_THAT(result.m_Error, IsEmpty());
    }
}

TEST(TheCommandLine, TellsWhatIsWrongInOneLineAndWhatToDoNext) {
    const CliResult result = RunCli({"certificate"});
    EXPECT_EQ(result.m_Code, 2);
    EXPECT_EQ(result.m_Error,
              "orselcards-cli: Something is missing. Write: certificate [CARD] signature|encryption\n"
              "Run \"orselcards-cli --help\" to see what can be asked.\n");
    EXPECT_THAT(result.m_Out, IsEmpty());
}
