// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_INTERRUPTION_H
#define ORSEL_CLI_INTERRUPTION_H

#include <string>

namespace orselcli {

/// Signals that end a command. The first one is only noted: the next call to the token library is then not
/// made, the session is closed and nothing is half written. A second one ends the process at once, after
/// the file that is being written has been removed.
class Interruption {
public:
    /// Takes SIGINT, SIGTERM, SIGHUP and SIGPIPE from now on. One that whoever started the process has told
    /// to ignore, as nohup does, stays ignored.
    static void Watch();

    /// Number of the signal that has come; 0 for none.
    static int Signal();
    static bool HasCome() { return Signal() != 0; }

    /// Notes one that came in another way, such as a write to a closed pipe.
    static void Note(int signal);
    /// As before the first one.
    static void Forget();

    /// Waits until the descriptor can be read. False when a signal has come, also one from before the
    /// waiting.
    static bool WaitForInput(int descriptor);

    /// Ends the process by this signal, as its parent expects of an interrupted program.
    [[noreturn]] static void EndBy(int signal);

    /// The file to remove when the process is ended at once; empty for none.
    static void GuardFile(const std::string& path);
};

} // namespace orselcli

#endif
