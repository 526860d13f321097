// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_PINENTRY_H
#define ORSEL_TOKENLIB_PINENTRY_H

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

#include "tokenlib/Secret.h"

namespace tokenlib {

/// What the user is asked for.
struct PinQuestion {
    std::string m_Description; ///< which card, which PIN, how many tries; lines divided by "\n"
    std::string m_Prompt;      ///< in front of the entry field
    bool m_IsNew = false;      ///< a new PIN, to be entered twice
};

/// Asks the user for PINs: from a file of answers where one is named, by the program "pinentry" of
/// the search path otherwise. Questions of several threads come one after the other.
class PinEntry {
public:
    /// Path of a file with an answer a line, a PIN or "cancel"; empty: ask the user.
    explicit PinEntry(std::string scriptPath) : m_ScriptPath(std::move(scriptPath)) {}

    /// Blocks until there is an answer; nothing when the user cancels. Throws Refusal when a new
    /// PIN was entered in two different ways, and when nobody can be asked.
    std::optional<Secret> Ask(const PinQuestion& question);

private:
    std::optional<Secret> NextAnswer();

    std::mutex m_Mutex;
    std::string m_ScriptPath;
    std::size_t m_AnswersUsed = 0;
};

} // namespace tokenlib

#endif
