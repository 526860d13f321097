// SPDX-License-Identifier: MIT
// The built program as a process.
#ifndef ORSEL_TESTS_E2E_PROGRAM_H
#define ORSEL_TESTS_E2E_PROGRAM_H

#include <string>

#include <sys/types.h>

/// Starts the program with the test's environment and ends it, by force if need be, when the object dies.
/// Its output goes to a file in the folder that it is given, which is its home too. A command in the
/// environment's ORSEL_TOOL, such as "valgrind --quiet", runs the program instead of the system alone.
class Program {
public:
    /// With a text for the system's configuration file the program sees an "/etc" of its own that has it. A
    /// machine that allows none is found out before, by privateetc::Obstacle().
    explicit Program(const std::string& folder, const std::string& systemConfiguration = "",
                     const std::string& libraries = ORSEL_SIMULATOR_DIR);
    ~Program();
    Program(const Program&) = delete; // one process, one owner
    Program& operator=(const Program&) = delete;

    pid_t Id() const { return m_Pid; }
    bool Runs();
    /// Waits for the end. The exit code, or 1000 and the signal's number, or -1 when it does not end.
    int WaitForEnd(int seconds = 30);
    void Kill(int signal);

    /// Everything that it has written to standard output and standard error so far.
    std::string Output() const;

private:
    std::string m_OutputFile;
    pid_t m_Pid = -1;
    int m_Status = 0;
};

#endif
