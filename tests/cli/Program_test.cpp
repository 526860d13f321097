// SPDX-License-Identifier: MIT
// The built program as a process: its exits, languages, and what is written about it.
#include <array>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/cli/CliTest.h"
#include "tests/cli/Process.h"
#include "tests/support/ScopedVariable.h"

using orseltest::CardOptions;
using testing::HasSubstr;

namespace {

class TheProgram : public CliTest {
protected:
    void SetUp() override {
        m_Deck.Add("acos-a04", CardOptions().Serial("0512380917624502").Holder("Käthe Grünbichler"));
        FileOf("FILE", "a text");
        m_Deck.AnswerPins({"123456"});
    }

    /// Runs one of the scripts beside this test in a folder of its own, on the demo deck.
    int RunScript(const std::string& script, const std::vector<std::string>& arguments) {
        const std::string work = PathOf("work");
        std::filesystem::create_directory(work);
        m_Deck.Remove("01-acos-a04");
        m_Deck.AddDemoCards();
        std::string command = std::string("cd ") + work + " && PATH=" + ORSEL_CLI_DIR +
                              ":$PATH LD_LIBRARY_PATH=" + ORSEL_SIMULATOR_DIR + " LC_ALL=C.UTF-8 " +
                              ORSEL_TESTS_DIR + "/" + script;
        for (const std::string& argument : arguments) {
            command += " " + argument;
        }
        return std::system(command.c_str());
    }
};

} // namespace

TEST_F(TheProgram, EndsWithTheCodeThatTells) {
    const std::map<int, std::vector<std::string>> lines = {
        {0, {"list"}}, {1, {"insurance"}}, {2, {"certificate"}}, {3, {"show", "77"}}};
    for (const auto& [code, line] : lines) {
        Process process(m_Deck.Folder(), line);
        EXPECT_EQ(process.Wait(), code) << line[0];
        EXPECT_EQ(process.Error().empty(), code == 0) << process.Error();
    }
}

TEST_F(TheProgram, SaysThatThereIsNoLibrary) {
    const std::string command =
        std::string("env -u LD_LIBRARY_PATH ") + ORSEL_CLI + " list 2>" + PathOf("error");
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 4);
    EXPECT_THAT(ContentOf(PathOf("error")),
                testing::StartsWith("orselcards-cli: The token library libOrselP11.so is "
                                    "not there"));
    const std::string doctor = std::string("env -u LD_LIBRARY_PATH ") + ORSEL_CLI + " doctor >/dev/null 2>&1";
    EXPECT_EQ(WEXITSTATUS(std::system(doctor.c_str())), 4);
}

TEST_F(TheProgram, TellsAFullDisk) {
    const int full = open("/dev/full", O_WRONLY);
    Process::Wish wish;
    wish.m_Out = full;
    Process process(m_Deck.Folder(), {"list"}, wish);
    close(full);
    EXPECT_EQ(process.Wait(), 1);
    EXPECT_THAT(process.Error(), HasSubstr("output cannot be written"));
}

TEST_F(TheProgram, SpeaksGerman) {
    const ScopedVariable locale("LC_ALL", "C.UTF-8");
    const ScopedVariable language("LANGUAGE", "de");
    Process process(m_Deck.Folder(), {"show", "77"});
    EXPECT_EQ(process.Wait(), 3);
    EXPECT_EQ(process.Error(), "orselcards-cli: Es gibt keine Karte „77“.\n"
                               "„orselcards-cli list“ zeigt die Karten.\n");
    Process list(m_Deck.Folder(), {"list"});
    EXPECT_EQ(list.Wait(), 0);
    EXPECT_THAT(list.Out(), HasSubstr("Inhaber"));
    Process doctor(m_Deck.Folder(), {"doctor"});
    EXPECT_EQ(doctor.Wait(), 0);
    EXPECT_THAT(doctor.Out(), HasSubstr("/de/LC_MESSAGES/orselcards-cli.mo"));
}

TEST_F(TheProgram, FitsATerminalAndHasColoursThereUnlessTheyAreRefused) {
    const ScopedVariable terminal("TERM", "xterm");
    for (const bool isRefused : {false, true}) {
        const ScopedVariable refusal("NO_COLOR", isRefused ? "1" : "");
        winsize size = {};
        size.ws_col = 60;
        size.ws_row = 24;
        int master = -1;
        int slave = -1;
        ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, &size), 0);
        Process::Wish wish;
        wish.m_Out = slave;
        Process process(m_Deck.Folder(), {"list"}, wish);
        EXPECT_EQ(process.Wait(), 0);
        close(slave);
        std::array<char, 4096> buffer = {};
        const ssize_t count = read(master, buffer.data(), buffer.size());
        close(master);
        const std::string text(buffer.data(), count > 0 ? static_cast<size_t>(count) : 0);
        EXPECT_EQ(text.find('\033') != std::string::npos, !isRefused);
        const std::string row =
            text.substr(text.find("@1"), text.find('\r', text.find("@1")) - text.find("@1"));
        EXPECT_THAT(row, HasSubstr("0512"));
        EXPECT_LT(row.size(), 75U); // sixty columns, some of them of several bytes
    }
}

TEST_F(TheProgram, DoesWhatItsPageSays) {
    m_Deck.AnswerPins({});
    EXPECT_EQ(RunScript("run-examples", {ORSEL_SOURCE_DIR "/docs/command-line.md", PathOf("work")}), 0);
}

TEST_F(TheProgram, PrintsTheJsonThatTheSchemaDescribes) {
    EXPECT_EQ(RunScript("check-json", {ORSEL_SOURCE_DIR "/cli/output.schema.json", PathOf("work")}), 0);
}

TEST_F(TheProgram, LeavesNoPinAnywhereAndWritesNowhereElse) {
    EXPECT_EQ(RunScript("leaves-no-pin", {ORSEL_CLI, ORSEL_DECK_TOOL, ORSEL_SIMULATOR_DIR}), 0);
}

TEST_F(TheProgram, IsToldInTheManPagesAndInTheCompletion) {
    EXPECT_EQ(RunScript("check-help", {ORSEL_SOURCE_DIR "/packaging"}), 0);
}

TEST_F(TheProgram, IsCompletedByBash) {
    const auto completed = [this](const std::string& words) {
        const std::string command =
            std::string("PATH=") + ORSEL_CLI_DIR + ":$PATH LD_LIBRARY_PATH=" + ORSEL_SIMULATOR_DIR +
            " bash -c '. " + ORSEL_SOURCE_DIR + "/packaging/completion/orselcards-cli; COMP_WORDS=(" + words +
            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _orselcards_cli; "
            "printf \"%s \" \"${COMPREPLY[@]}\"' >" +
            PathOf("reply");
        EXPECT_EQ(std::system(command.c_str()), 0);
        return ContentOf(PathOf("reply"));
    };
    EXPECT_EQ(completed("orselcards-cli ce"), "certificate ");
    EXPECT_EQ(completed("orselcards-cli show 0"), "0512380917624502 ");
    EXPECT_EQ(completed("orselcards-cli infobox 0512 read \"\""), "01 02 0a ");
    EXPECT_EQ(completed("orselcards-cli sign --hash sha3"), "sha384 ");
    EXPECT_EQ(completed("orselcards-cli pin change id"), "identity-link ");
}
