// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_CLI_PROCESS_H
#define ORSEL_TESTS_CLI_PROCESS_H

#include <string>
#include <vector>

#include <sys/types.h>

/// A run of the built program over the simulated token library. Standard input is empty unless it comes
/// from elsewhere; standard error, and standard output unless it goes elsewhere, are in files of the folder.
class Process {
public:
    /// Where a run differs from others.
    struct Wish {
        int m_In = -1;                                 ///< descriptor for standard input
        int m_Out = -1;                                ///< the same for standard output
        std::vector<int> m_Closed;                     ///< standard descriptors that it does not have
        std::string m_Libraries = ORSEL_SIMULATOR_DIR; ///< directory of the token library
        bool m_IgnoresInterrupt = false;               ///< as one behind nohup or in a script's background
    };

    Process(const std::string& folder, const std::vector<std::string>& arguments, const Wish& wish);
    Process(const std::string& folder, const std::vector<std::string>& arguments)
        : Process(folder, arguments, Wish()) {}
    ~Process();
    Process(const Process&) = delete; // one process, one owner
    Process& operator=(const Process&) = delete;

    void Signal(int signal) const;
    /// The exit code, or 128 and the number of the signal that ended it.
    int Wait();

    std::string Out() const;
    std::string Error() const;

    /// Puts the program in the place of this process.
    [[noreturn]] static void Become(const std::vector<std::string>& arguments);
    /// Likewise of a process whose end was waited for.
    static int CodeOf(int status);

private:
    [[noreturn]] void Begin(const std::vector<std::string>& arguments, const Wish& wish) const;

    std::string m_OutFile;
    std::string m_ErrorFile;
    pid_t m_Pid = -1;
};

#endif
