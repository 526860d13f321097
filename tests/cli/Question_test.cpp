// SPDX-License-Identifier: MIT
// The question before a card is written, answered by typing on a terminal.
#include <array>
#include <csignal>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/cli/CliTest.h"
#include "tests/cli/Process.h"
#include "tests/support/ScopedVariable.h"

using orseltest::CardOptions;
using testing::HasSubstr;
using testing::Not;

namespace {

using Line = std::vector<std::string>;

constexpr const char* CTRL_C = "\003";
constexpr const char* CTRL_D = "\004";

/// The program on a terminal of its own, where all three standard descriptors lead to.
class Terminal {
public:
    explicit Terminal(const Line& line) {
        m_Pid = forkpty(&m_Master, nullptr, nullptr, nullptr);
        if (m_Pid == 0) {
            std::signal(SIGINT, SIG_DFL); // whoever started the test may ignore it
            setenv("LD_LIBRARY_PATH", ORSEL_SIMULATOR_DIR, 1);
            Process::Become(line);
        }
    }
    ~Terminal() {
        close(m_Master);
        if (m_Pid > 0) {
            kill(m_Pid, SIGKILL);
            waitpid(m_Pid, nullptr, 0);
        }
    }
    Terminal(const Terminal&) = delete; // one process, one owner
    Terminal& operator=(const Terminal&) = delete;

    /// Reads until the screen shows this, or the program is gone.
    bool Shows(const std::string& text) {
        while (m_Screen.find(text) == std::string::npos && Read()) {
        }
        return m_Screen.find(text) != std::string::npos;
    }
    void Type(const std::string& keys) const {
        EXPECT_EQ(write(m_Master, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    /// Reads to the end; the exit code, or 128 and the number of the signal.
    int Wait() {
        while (Read()) {
        }
        int status = 0;
        waitpid(m_Pid, &status, 0);
        m_Pid = -1;
        return Process::CodeOf(status);
    }
    const std::string& Screen() const { return m_Screen; }

private:
    bool Read() {
        std::array<char, 4096> block = {};
        const ssize_t count =
            read(m_Master, block.data(), block.size()); // an error when the other end is gone
        m_Screen.append(block.data(), count > 0 ? static_cast<size_t>(count) : 0);
        return count > 0;
    }

    int m_Master = -1;
    pid_t m_Pid = -1;
    std::string m_Screen;
};

class TheQuestion : public CliTest {
protected:
    void SetUp() override {
        const std::string other = m_Deck.Add("acos-a03", CardOptions().Holder("Otto Anders"));
        m_New = m_Deck.ObjectContent(other, "PERSONENBINDUNG");
        FileOf("LINK", {m_New.begin(), m_New.end()});
        m_Deck.Remove(other);
        m_Card = m_Deck.Add("acos-a03", CardOptions().Holder("Lena Huber"));
        m_Old = Link();
        orselsim::Bytes certificate = m_Deck.ObjectContent(m_Card, "C.CH.EKEY");
        certificate.back() ^= 1; // of the issuer's signature: another certificate for the same key
        FileOf("CERTIFICATE", {certificate.begin(), certificate.end()});
        m_Deck.AnswerPins({"1234"});
    }

    orselsim::Bytes Link() const { return m_Deck.ObjectContent(m_Card, "PERSONENBINDUNG"); }

    /// Types the keys at the question; gives the exit code. The card may then only have changed if it is 0.
    int CodeFor(const std::string& question, const std::string& keys, const Line& more = {}) {
        m_Deck.ReplaceObject(m_Card, "PERSONENBINDUNG", m_Old);
        m_Deck.ClearTrace();
        Line line = {"update", "identity-link", PathOf("LINK")};
        line.insert(line.end(), more.begin(), more.end());
        Terminal terminal(line);
        EXPECT_TRUE(terminal.Shows(question)) << terminal.Screen();
        EXPECT_THAT(terminal.Screen(), testing::AllOf(HasSubstr("Huber"), HasSubstr("Anders")));
        terminal.Type(keys);
        const int code = terminal.Wait();
        m_Screen = terminal.Screen();
        EXPECT_EQ(Link(), code == 0 ? m_New : m_Old) << m_Screen;
        ExpectNoSession();
        EXPECT_EQ(m_Deck.GetTrace("C_Finalize").size(), 1U);
        return code;
    }

    const ScopedVariable m_Locale{"LC_ALL", "C.UTF-8"};
    std::string m_Card;
    orselsim::Bytes m_Old;
    orselsim::Bytes m_New;
    std::string m_Screen;
};

constexpr const char* ENGLISH = "Write it to the card? [y/N] ";
constexpr const char* GERMAN = "[j/N] ";

} // namespace

TEST_F(TheQuestion, TakesAYesInEnglish) {
    for (const char* yes : {"y\n", "yes\n", "Y\n", "Yes\n"}) {
        EXPECT_EQ(CodeFor(ENGLISH, yes), 0) << yes;
        EXPECT_THAT(m_Screen, HasSubstr("The card is up to date."));
    }
}

TEST_F(TheQuestion, TakesEverythingElseForANo) {
    for (const char* no : {"n\n", "\n", "no\n", "j\n", "yess\n", " y\n"}) {
        EXPECT_EQ(CodeFor(ENGLISH, no), 1) << no;
        EXPECT_THAT(m_Screen, HasSubstr("Nothing was changed, since you did not agree."));
    }
}

TEST_F(TheQuestion, TakesAYesAndANoInGerman) {
    const ScopedVariable language("LANGUAGE", "de");
    for (const char* yes : {"j\n", "ja\n", "Ja\n", "y\n"}) {
        EXPECT_EQ(CodeFor(GERMAN, yes), 0) << yes;
    }
    for (const char* no : {"n\n", "nein\n", "\n"}) {
        EXPECT_EQ(CodeFor(GERMAN, no), 1) << no;
        EXPECT_THAT(m_Screen, HasSubstr("orselcards-cli: "));
        EXPECT_THAT(m_Screen, Not(HasSubstr("Nothing was changed")));
    }
}

TEST_F(TheQuestion, TakesTheEndOfTheInputForANoAlsoBehindAYesThatWasNotEntered) {
    EXPECT_EQ(CodeFor(ENGLISH, CTRL_D), 1);
    EXPECT_EQ(CodeFor(ENGLISH, std::string("y") + CTRL_D + CTRL_D), 1);
    EXPECT_THAT(m_Screen, HasSubstr("\norselcards-cli: Nothing was changed")); // on a line of its own
}

TEST_F(TheQuestion, IsEndedByCtrlC) {
    EXPECT_EQ(CodeFor(ENGLISH, CTRL_C), 128 + SIGINT);
    EXPECT_THAT(m_Screen, HasSubstr("\norselcards-cli: The command was interrupted."));
    EXPECT_EQ(CodeFor(ENGLISH, std::string("y") + CTRL_C), 128 + SIGINT);
    const ScopedVariable language("LANGUAGE", "de");
    EXPECT_EQ(CodeFor(GERMAN, CTRL_C), 128 + SIGINT);
}

TEST_F(TheQuestion, ShowsWhatItIsAboutAlsoWhenQuietOrInJson) {
    EXPECT_EQ(CodeFor(ENGLISH, "n\n", {"--quiet"}), 1);
    EXPECT_EQ(CodeFor(ENGLISH, "y\n", {"--json"}), 0);
}

TEST_F(TheQuestion, IsAskedBeforeACertificateIsWrittenToo) {
    const orselsim::Bytes before = m_Deck.ObjectContent(m_Card, "C.CH.EKEY");
    for (const auto& [keys, code] : std::vector<std::pair<std::string, int>>{
             {"n\n", 1}, {CTRL_D, 1}, {CTRL_C, 128 + SIGINT}, {"y\n", 0}}) {
        Terminal terminal({"update", "certificate", PathOf("CERTIFICATE")});
        EXPECT_TRUE(terminal.Shows(ENGLISH));
        terminal.Type(keys);
        EXPECT_EQ(terminal.Wait(), code) << terminal.Screen();
        EXPECT_EQ(m_Deck.ObjectContent(m_Card, "C.CH.EKEY") == before, code != 0);
        ExpectNoSession();
    }
}

TEST_F(TheQuestion, IsNotAskedWithoutATerminalNorBehindAYesOnTheCommandLine) {
    const Line line = {"update", "identity-link", PathOf("LINK")};
    Process refused(m_Deck.Folder(), line);
    EXPECT_EQ(refused.Wait(), 2);
    EXPECT_EQ(refused.Error(), "orselcards-cli: There is nobody to ask whether to go on.\n"
                               "Give --yes if you mean it.\n");
    {
        const ScopedVariable language("LANGUAGE", "de");
        Process german(m_Deck.Folder(), line);
        EXPECT_EQ(german.Wait(), 2);
        EXPECT_THAT(german.Error(), HasSubstr("--yes"));
        EXPECT_THAT(german.Error(), Not(HasSubstr("There is nobody")));
    }
    EXPECT_EQ(Link(), m_Old);
    Process agreed(m_Deck.Folder(), {"update", "identity-link", PathOf("LINK"), "--yes"});
    EXPECT_EQ(agreed.Wait(), 0);
    EXPECT_THAT(agreed.Error(), testing::AllOf(HasSubstr("Huber"), HasSubstr("Anders")));
    EXPECT_EQ(Link(), m_New);
    ExpectNoSession();
}
