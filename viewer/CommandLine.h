// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_COMMANDLINE_H
#define ORSEL_VIEWER_COMMANDLINE_H

#include <string>
#include <vector>

#include <wx/string.h>

namespace viewer {

enum class Action { SHOW, TEXT, HELP, VERSION, MISUSE };

/// What the program was asked for.
struct CommandLine {
    Action m_Action = Action::MISUSE;
    std::string m_Path; ///< in the bytes of the command line

    /// `arguments` without the program's name. "--" ends the options.
    static CommandLine Of(const std::vector<std::string>& arguments);
};

/// How the program is called.
wxString Usage();

/// Does what needs no display: everything but SHOW. The exit code: 0, 1 for a file that is no certificate, 2
/// for a command line that makes no sense.
int RunOnTerminal(const CommandLine& command);

} // namespace viewer

#endif
