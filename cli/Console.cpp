// SPDX-License-Identifier: MIT
#include "cli/Console.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <unistd.h>

#include "cli/Interruption.h"
#include "cli/Words.h"
#include "foundation/StringUtils.h"

namespace orselcli {

namespace {

/// The number of the error; 0 when everything is written.
int WriteWhole(int descriptor, const std::string& bytes) {
    for (size_t written = 0; written < bytes.size();) {
        const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno == EINTR) {
            if (Interruption::HasCome()) {
                return EINTR;
            }
            continue;
        }
        if (count < 0) {
            return errno;
        }
        written += static_cast<size_t>(count);
    }
    return 0;
}

/// A line without its end. False when there is none, or when a signal has come.
bool ReadLine(int descriptor, std::string& line) {
    char letter = 0;
    while (Interruption::WaitForInput(descriptor) && read(descriptor, &letter, 1) == 1) {
        if (letter == '\n') {
            return true;
        }
        line += letter;
    }
    return false;
}

std::string JsonText(const nlohmann::ordered_json& value, int indent) {
    return value.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace

Console::Console(int in, int out, int error) : m_In(in), m_Out(out), m_Error(error) {}

void Console::Print(const std::string& text) {
    m_Printed += InLocaleCharacters(text);
}

void Console::PrintBytes(const std::vector<unsigned char>& bytes) {
    m_Printed.append(bytes.begin(), bytes.end());
}

void Console::PrintJson(const nlohmann::ordered_json& value) {
    m_Printed += JsonText(value, 2);
}

void Console::WriteError(const std::string& text) const {
    WriteWhole(m_Error, InLocaleCharacters(text)); // nobody is left to be told of a failure
}

void Console::Note(const std::string& text) {
    if (!m_Style.m_Quiet && !m_Style.m_Json) {
        WriteError(text + "\n");
    }
}

void Console::Report(const Outcome& outcome) {
    if (outcome.IsDone()) {
        return;
    }
    if (m_Style.m_Json) {
        nlohmann::ordered_json error = {{"reason", outcome.Id()},
                                        {"exit", outcome.ExitCode()},
                                        {"text", outcome.Text()},
                                        {"next", outcome.Next()}};
        if (outcome.Why() == Reason::WRONG_PIN) {
            error["triesLeft"] =
                outcome.TriesLeft() >= 0 ? nlohmann::ordered_json(outcome.TriesLeft()) : nullptr;
        }
        WriteError(JsonText({{"error", error}}, -1));
        return;
    }
    std::string text = "orselcards-cli: " + outcome.Text() + "\n";
    if (!outcome.Next().empty() && !m_Style.m_Quiet) {
        text += outcome.Next() + "\n";
    }
    WriteError(text);
}

bool Console::CanAsk() const {
    return isatty(m_In) == 1;
}

bool Console::Ask(const std::string& question) {
    WriteError(question + " " + Tr("[y/N]") + " ");
    std::string line;
    if (!ReadLine(m_In, line)) {
        WriteError("\n"); // what follows does not stand behind the question
        return false;
    }
    line = Velmor::Str2Lower(line);
    return line == "y" || line == "yes" || line == Tr("y") || line == Tr("yes");
}

Outcome Console::Flush() {
    const int failure = WriteWhole(m_Out, m_Printed);
    m_Printed.clear();
    if (failure == 0) {
        return {};
    }
    if (failure == EPIPE) {
        Interruption::Note(SIGPIPE);
    }
    return Outcome(Reason::OUTPUT_CLOSED, std::strerror(failure));
}

size_t Console::Width() const {
    winsize size = {};
    return isatty(m_Out) == 1 && ioctl(m_Out, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

/// NO_COLOR counts when it is set to anything.
bool Console::HasColours() const {
    const char* refusal = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return isatty(m_Out) == 1 && (refusal == nullptr || *refusal == '\0') && terminal != nullptr &&
           *terminal != '\0' && std::strcmp(terminal, "dumb") != 0;
}

std::string Console::Strong(const std::string& text) const {
    return HasColours() ? "\033[1m" + text + "\033[0m" : text;
}

std::string Console::Warning(const std::string& text) const {
    return HasColours() ? "\033[31m" + text + "\033[0m" : text;
}

} // namespace orselcli
