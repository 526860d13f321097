// SPDX-License-Identifier: MIT
// The built program as a process: its exits, signals, languages, and what is written about it.
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/cli/CliTest.h"

using orseltest::CardCall;
using orseltest::CardOptions;
using orseltest::TraceRecord;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// A run of the program, with its output in files.
class Process {
public:
    Process(const std::string& folder, const std::vector<std::string>& arguments, int out = -1)
        : m_OutFile(folder + "/stdout"), m_ErrorFile(folder + "/stderr") {
        m_Pid = fork();
        if (m_Pid == 0) {
            Become(arguments, out);
        }
    }
    ~Process() {
        if (m_Pid > 0) {
            kill(m_Pid, SIGKILL);
            waitpid(m_Pid, nullptr, 0);
        }
    }
    Process(const Process&) = delete; // one process, one owner
    Process& operator=(const Process&) = delete;

    void Signal(int signal) const { kill(m_Pid, signal); }

    /// The exit code, or 128 and the number of the signal that ended it.
    int Wait() {
        int status = 0;
        waitpid(m_Pid, &status, 0);
        m_Pid = -1;
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    std::string Out() const { return Content(m_OutFile); }
    std::string Error() const { return Content(m_ErrorFile); }

private:
    [[noreturn]] void Become(const std::vector<std::string>& arguments, int out) const {
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(out >= 0 ? out : open(m_OutFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
        dup2(open(m_ErrorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        setenv("LD_LIBRARY_PATH", ORSEL_SIMULATOR_DIR, 1);
        std::vector<char*> words = {const_cast<char*>(ORSEL_CLI)};
        for (const std::string& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        execv(ORSEL_CLI, words.data());
        _exit(127);
    }
    static std::string Content(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string m_OutFile;
    std::string m_ErrorFile;
    pid_t m_Pid = -1;
};

/// A variable of the environment for as long as a test runs.
class Variable {
public:
    Variable(const char* name, const std::string& value) : m_Name(name) {
        const char* before = std::getenv(name);
        m_Before = before != nullptr ? before : "";
        m_WasSet = before != nullptr;
        setenv(name, value.c_str(), 1);
    }
    ~Variable() { m_WasSet ? setenv(m_Name, m_Before.c_str(), 1) : unsetenv(m_Name); }
    Variable(const Variable&) = delete; // the environment has it once
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_Name;
    std::string m_Before;
    bool m_WasSet;
};

class TheProgram : public CliTest {
protected:
    void SetUp() override {
        m_deck.add("acos-a04", CardOptions().serial("0512380917624502").holder("Käthe Grünbichler"));
        FileOf("FILE", "a text");
        m_deck.answerPins({"123456"});
    }

    /// Waits until the library has begun this call of the command, which a planned delay holds up.
    void WaitForCall(size_t callsBefore) {
        while (m_deck.trace().size() < callsBefore) {
            std::this_thread::yield();
        }
    }

    /// Whatever has been opened is closed, and the file is as it was.
    void ExpectNothingHalf() {
        ExpectNoSession();
        for (const std::string& name : Files()) {
            EXPECT_THAT(name, Not(testing::StartsWith("OUT.")));
        }
    }

    /// Runs one of the scripts beside this test in a folder of its own, on the demo deck.
    int RunScript(const std::string& script, const std::vector<std::string>& arguments) {
        const std::string work = PathOf("work");
        std::filesystem::create_directory(work);
        m_deck.remove("01-acos-a04");
        m_deck.addDemoCards();
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
        Process process(m_deck.folder(), line);
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

TEST_F(TheProgram, ClosesItsSessionWhereverItIsInterrupted) {
    const std::vector<std::string> line = {"sign", "signature", PathOf("FILE"), "--out", PathOf("OUT")};
    ASSERT_EQ(Process(m_deck.folder(), line).Wait(), 0);
    const std::vector<CardCall> calls = orseltest::callsOfCommand(m_deck.trace(), 0);
    ASSERT_GT(calls.size(), 10U);
    FileOf("OUT", "old");
    for (const CardCall& call : calls) {
        SCOPED_TRACE(call.function + " " + std::to_string(call.numberInTotal));
        FileOf("OUT", "old");
        m_deck.clearTrace();
        m_deck.planFaults({call.function + " call=" + std::to_string(call.numberInTotal) + " delay=300"});
        Process process(m_deck.folder(), line);
        WaitForCall(call.position);
        process.Signal(SIGINT);
        const int code = process.Wait();
        ExpectNothingHalf();
        const bool isWritten = ContentOf(PathOf("OUT")) != "old";
        EXPECT_EQ(code, isWritten ? 0 : 128 + SIGINT);
        EXPECT_TRUE(!isWritten || ContentOf(PathOf("OUT")).size() == 64);
    }
}

TEST_F(TheProgram, EndsAtOnceAtASecondSignalAndLeavesNoHalfFile) {
    m_deck.planFaults({"C_Sign delay=60000"});
    Process process(m_deck.folder(), {"sign", "signature", PathOf("FILE"), "--out", PathOf("OUT")});
    while (m_deck.trace("C_SignInit").empty()) {
        std::this_thread::yield();
    }
    process.Signal(SIGTERM);
    process.Signal(SIGINT); // one of them is the second, in whichever order they are handled
    EXPECT_THAT(process.Wait(), testing::AnyOf(128 + SIGINT, 128 + SIGTERM));
    EXPECT_FALSE(std::filesystem::exists(PathOf("OUT")));
}

TEST_F(TheProgram, EndsByTheSignalOfAPipeThatNobodyReads) {
    for (const std::vector<std::string>& line :
         {std::vector<std::string>{"list"}, {"show"}, {"certificate", "signature"}, {"doctor"}, {"--help"}}) {
        std::array<int, 2> ends = {};
        ASSERT_EQ(pipe(ends.data()), 0);
        close(ends[0]);
        Process process(m_deck.folder(), line, ends[1]);
        close(ends[1]);
        EXPECT_EQ(process.Wait(), 128 + SIGPIPE) << line[0];
        EXPECT_EQ(process.Error(), "") << line[0];
        ExpectNoSession();
    }
}

TEST_F(TheProgram, TellsAFullDisk) {
    const int full = open("/dev/full", O_WRONLY);
    Process process(m_deck.folder(), {"list"}, full);
    close(full);
    EXPECT_EQ(process.Wait(), 1);
    EXPECT_THAT(process.Error(), HasSubstr("output cannot be written"));
}

TEST_F(TheProgram, SpeaksGerman) {
    const Variable locale("LC_ALL", "C.UTF-8");
    const Variable language("LANGUAGE", "de");
    Process process(m_deck.folder(), {"show", "77"});
    EXPECT_EQ(process.Wait(), 3);
    EXPECT_EQ(process.Error(), "orselcards-cli: Es gibt keine Karte „77“.\n"
                               "„orselcards-cli list“ zeigt die Karten.\n");
    Process list(m_deck.folder(), {"list"});
    EXPECT_EQ(list.Wait(), 0);
    EXPECT_THAT(list.Out(), HasSubstr("Inhaber"));
}

TEST_F(TheProgram, FitsATerminalAndHasColoursThereUnlessTheyAreRefused) {
    const Variable terminal("TERM", "xterm");
    for (const bool isRefused : {false, true}) {
        const Variable refusal("NO_COLOR", isRefused ? "1" : "");
        winsize size = {};
        size.ws_col = 60;
        size.ws_row = 24;
        int master = -1;
        int slave = -1;
        ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, &size), 0);
        Process process(m_deck.folder(), {"list"}, slave);
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
    m_deck.answerPins({});
    EXPECT_EQ(RunScript("run-examples", {ORSEL_SOURCE_DIR "/docs/command-line.md", PathOf("work")}), 0);
}

TEST_F(TheProgram, PrintsTheJsonThatTheSchemaDescribes) {
    EXPECT_EQ(RunScript("check-json", {ORSEL_SOURCE_DIR "/cli/output.schema.json", PathOf("work")}), 0);
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
