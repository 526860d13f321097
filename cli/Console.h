// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_CONSOLE_H
#define ORSEL_CLI_CONSOLE_H

#include "cli/Reason.h"

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace orselcli {

/// How a console writes.
struct ConsoleStyle {
    bool m_Json = false;
    bool m_Quiet = false;
};

/// Standard output and standard error of a command. What a command prints is kept until the command is
/// through, so that an interrupted one prints nothing half.
class Console {
public:
    /// Over these descriptors, which stay the caller's.
    Console(int in, int out, int error);

    void SetStyle(const ConsoleStyle& style) { m_Style = style; }

    /// UTF-8 text for people.
    void Print(const std::string& text);
    /// Bytes as they are.
    void PrintBytes(const std::vector<unsigned char>& bytes);
    void PrintJson(const nlohmann::ordered_json& value);

    /// Words beside the result, to standard error at once; not when quiet.
    void Note(const std::string& text);
    /// The reason in one line and what to do next, to standard error. Nothing for an outcome that is done.
    void Report(const Outcome& outcome);

    /// Asks for yes or no on the terminal. Only a whole line counts: false also when nobody answers.
    bool Ask(const std::string& question);
    bool CanAsk() const;

    /// Writes what was printed.
    Outcome Flush();
    void Drop() { m_Printed.clear(); }

    /// Columns of the terminal that the output goes to; 0 for no terminal, so for no limit.
    size_t Width() const;
    /// The text emphasised where the output is a terminal that may have colours.
    std::string Strong(const std::string& text) const;
    std::string Warning(const std::string& text) const;

private:
    bool HasColours() const;
    void WriteError(const std::string& text) const;

    int m_In;
    int m_Out;
    int m_Error;
    ConsoleStyle m_Style;
    std::string m_Printed;
};

} // namespace orselcli

#endif
