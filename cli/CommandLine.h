// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_COMMANDLINE_H
#define ORSEL_CLI_COMMANDLINE_H

#include "cli/Reason.h"
#include "cli/Request.h"

#include <string>
#include <vector>

namespace orselcli {

/// Takes the command line apart. Without the program's own name in front.
class CommandLine {
public:
    /// The outcome is USAGE for a line that makes no sense.
    Outcome Parse(const std::vector<std::string>& arguments);

    /// What the line asks for, after a good parse.
    const Request& Asked() const { return m_Request; }
    /// Text to print and be done with, for --help and --version; empty for anything else.
    const std::string& Answer() const { return m_Answer; }

    /// The commands by name, in the order of the help.
    static std::vector<std::string> Commands();

private:
    Request m_Request;
    std::string m_Answer;
};

} // namespace orselcli

#endif
