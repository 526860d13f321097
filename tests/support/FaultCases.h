// SPDX-License-Identifier: MIT
// Every call of a command going wrong in turn: which calls there are is found out by a run without faults.
#ifndef ORSEL_TESTS_SUPPORT_FAULTCASES_H
#define ORSEL_TESTS_SUPPORT_FAULTCASES_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tests/support/SimDeck.h"

namespace orseltest {

/// One call of a command to the token library.
struct CardCall {
    std::string m_Function;
    size_t m_Number;        ///< among the command's calls of this function, from 1
    size_t m_NumberInTotal; ///< among those since the library was bound
    size_t m_Position;      ///< among all calls of the command, from 0
};

/// The calls of a command, from a trace that begins with the binding of the library. So many calls of it
/// came before the command.
std::vector<CardCall> CallsOfCommand(const std::vector<TraceRecord>& trace, size_t before);

/// What goes wrong with one call.
struct CardFault {
    CardCall m_Call;
    std::string m_Effect; ///< name of a return code, or "length" for one beyond reason

    /// As a line of the fault file.
    std::string GetLine() const;
    /// Whether a trace that begins with the command shows that this happened. A length stands in no trace.
    bool IsMetIn(const std::vector<TraceRecord>& trace) const;
    /// What a table says of it, looked up from the narrowest key to the widest: "C_Sign#2 length",
    /// "C_Sign#2", "C_Sign length", "C_Sign". Without such a row it is the text given.
    std::string LookUp(const std::map<std::string, std::string>& table, const std::string& otherwise) const;
};

/// Each way in which token libraries fail in this call.
std::vector<CardFault> FaultsOf(const CardCall& call);

/// Sessions that were opened and that nobody tried to close, whatever came of the try.
std::vector<std::string> SessionsNobodyClosed(const std::vector<TraceRecord>& trace);

} // namespace orseltest

#endif
