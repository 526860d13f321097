// SPDX-License-Identifier: MIT
// Every command interrupted in each call that it makes, by Ctrl-C, by the signal of a closed pipe, and by the
// reader of its output going away: the session is closed, the library let go, the card and the file of --out
// are either as they were or as they were to be, and the exit code tells which.
#include <array>
#include <csignal>
#include <iostream>
#include <map>
#include <memory>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include "cli/Interruption.h"
#include "tests/cli/CommandCases.h"
#include "tests/support/ScopedVariable.h"

using orselcli::Interruption;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A pipe whose reading end is closed by somebody else.
class Pipe {
public:
    Pipe() { EXPECT_EQ(pipe(m_Ends.data()), 0); }
    ~Pipe() {
        if (IsRead()) {
            close(m_Ends[0]);
        }
        close(m_Ends[1]);
    }
    Pipe(const Pipe&) = delete; // one owner
    Pipe& operator=(const Pipe&) = delete;

    int Reading() const { return m_Ends[0]; }
    int Writing() const { return m_Ends[1]; }
    bool IsRead() const { return fcntl(m_Ends[0], F_GETFD) >= 0; }

private:
    std::array<int, 2> m_Ends = {-1, -1};
};

class AnInterruption : public ACommand {
protected:
    void SetUp() override {
        ACommand::SetUp();
        std::signal(SIGINT, SIG_DFL); // whoever started the test may ignore it
        Interruption::Watch();
        m_Library.reset(dlopen("libOrselP11.so", RTLD_LAZY)); // loading it anew takes longer than a case
    }

    bool WritesFile() const { return m_GoodFile != OLD_FILE; }

    void LearnTheCalls() {
        FileOf("OUT", OLD_FILE);
        m_Good = Run();
        ASSERT_EQ(m_Good.m_Code, 0) << m_Good.m_Error;
        m_GoodFile = Out();
        ASSERT_EQ(IsChanged(), GetParam().m_Changes);
        for (const orseltest::TraceRecord& record : m_Deck.GetTrace()) {
            m_Calls.push_back(record.m_Function);
        }
        ASSERT_GT(m_Calls.size(), 5U);
        ASSERT_EQ(m_Calls.back(), "C_Finalize");
    }

    /// Whatever was opened is closed: each session, and the library last.
    void ExpectAllClosed() {
        m_Trace = m_Deck.GetTrace();
        std::map<std::string, int> calls;
        for (const orseltest::TraceRecord& record : m_Trace) {
            ++calls[record.m_Function];
        }
        EXPECT_THAT(orseltest::SessionsNobodyClosed(m_Trace), IsEmpty());
        EXPECT_EQ(calls["C_OpenSession"], calls["C_CloseSession"]);
        EXPECT_EQ(calls["C_Initialize"], calls["C_Finalize"]);
        EXPECT_EQ(m_Trace.back().m_Function, "C_Finalize");
        ExpectNoRemains();
    }
    /// Behind the interruption the library only ends what it has begun; binding it comes first in any case.
    void ExpectNothingBegun(size_t call) {
        for (size_t next = call + 1; next < m_Trace.size(); ++next) {
            EXPECT_THAT(m_Trace[next].m_Function,
                        testing::AnyOf("C_CloseSession", "C_Logout", "C_Finalize", "C_GetInfo"));
        }
    }
    void ExpectNothingDone() {
        EXPECT_FALSE(IsChanged());
        EXPECT_EQ(Out(), OLD_FILE);
    }
    void ExpectAllDone() {
        EXPECT_EQ(IsChanged(), GetParam().m_Changes);
        EXPECT_EQ(Out(), m_GoodFile);
    }

    void InterruptBySignal(size_t call, int signal) {
        const ScopedVariable plan("ORSEL_INTERRUPT",
                                  std::to_string(call) + " signal " + std::to_string(signal));
        FileOf("OUT", OLD_FILE);
        const CliResult result = Run();
        ASSERT_EQ(Interruption::Signal(), signal) << "it did not come";
        ExpectAllClosed();
        ExpectNothingBegun(call);
        if (result.m_Code == 0) {
            ExpectAllDone();
            EXPECT_EQ(result.m_Out, m_Good.m_Out);
            EXPECT_EQ(result.m_Error, m_Good.m_Error);
            const bool hasLasted = GetParam().m_Changes || WritesFile();
            EXPECT_TRUE(hasLasted || m_Calls[call] == "C_Finalize") << "what was done nobody keeps";
        } else {
            EXPECT_EQ(result.m_Code, 128 + signal);
            ExpectNothingDone();
            EXPECT_THAT(result.m_Out, IsEmpty());
            EXPECT_THAT(result.m_Error, HasSubstr("The command was interrupted."));
        }
    }

    /// The command learns of it when it prints, if it prints anything.
    void LetTheReaderGo(size_t call) {
        const Pipe output;
        const ScopedVariable plan("ORSEL_INTERRUPT",
                                  std::to_string(call) + " close " + std::to_string(output.Reading()));
        FileOf("OUT", OLD_FILE);
        const CliResult result = Run(output.Writing());
        ASSERT_FALSE(output.IsRead()) << "it did not go";
        ExpectAllClosed();
        ExpectAllDone();
        EXPECT_EQ(result.m_Code, m_Good.m_Out.empty() ? 0 : 128 + SIGPIPE);
        EXPECT_EQ(result.m_Error, m_Good.m_Error);
    }

    static constexpr const char* OLD_FILE = "old";

    struct LibraryCloser {
        void operator()(void* library) const { dlclose(library); }
    };
    std::unique_ptr<void, LibraryCloser> m_Library;
    CliResult m_Good;
    std::string m_GoodFile;
    std::vector<std::string> m_Calls;
    std::vector<orseltest::TraceRecord> m_Trace; ///< of the last run
};

} // namespace

TEST_P(AnInterruption, LeavesNothingHalfDone) {
    ASSERT_NO_FATAL_FAILURE(LearnTheCalls());
    for (size_t call = 0; call < m_Calls.size(); ++call) {
        SCOPED_TRACE(std::to_string(call) + " " + m_Calls[call]);
        InterruptBySignal(call, SIGINT);
        InterruptBySignal(call, SIGPIPE);
        LetTheReaderGo(call);
    }
    std::cout << GetParam().m_Name << ": " << m_Calls.size() << " calls, " << m_Calls.size() * 3
              << " cases\n";
}

INSTANTIATE_TEST_SUITE_P(Of, AnInterruption, testing::ValuesIn(CommandCasesWithout({"ShowOfAnAcosCard"})),
                         NameOfCase);
