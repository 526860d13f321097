// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_PINENTRY_H
#define ORSEL_SIMULATOR_TOKEN_PINENTRY_H

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

#include "simulator/token/Secret.h"

namespace orselsim {

/// What the user is asked for.
struct PinQuestion {
    std::string description; ///< which card, which PIN, how many tries; lines divided by "\n"
    std::string prompt;      ///< in front of the entry field
    bool isNew = false;      ///< a new PIN, to be entered twice
};

/// Asks the user for PINs: from a file of answers where one is named, by the program "pinentry" of
/// the search path otherwise. Questions of several threads come one after the other.
class PinEntry {
public:
    /// Path of a file with an answer a line, a PIN or "cancel"; empty: ask the user.
    explicit PinEntry(std::string scriptPath) : m_scriptPath(std::move(scriptPath)) {}

    /// Blocks until there is an answer; nothing when the user cancels. Throws Refusal when a new
    /// PIN was entered in two different ways, and when nobody can be asked.
    std::optional<Secret> ask(const PinQuestion& question);

private:
    std::optional<Secret> nextAnswer();

    std::mutex m_mutex;
    std::string m_scriptPath;
    std::size_t m_answersUsed = 0;
};

} // namespace orselsim

#endif
