// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_TRACE_H
#define ORSEL_TOKENLIB_TRACE_H

#include <string>

namespace tokenlib {

/// Appends one line per call to a file. Every line is written by one system call, so that lines of
/// several threads and processes do not mix and nothing is lost when the process dies.
class Trace {
public:
    /// An empty path writes nothing; a file that cannot be opened is reported on standard error.
    explicit Trace(const std::string& path);
    ~Trace();
    Trace(const Trace&) = delete; // owns the open file
    Trace& operator=(const Trace&) = delete;

    bool IsOn() const { return m_Descriptor >= 0; }

    /// Writes `line` and a line end, behind the number of the calling thread.
    void Write(const std::string& line) const;

    /// `text` as it stands in a line: blanks, quotes, "%" and everything outside printable ASCII
    /// become "%" and two digits, so that a line falls apart at its blanks.
    static std::string Encoded(const std::string& text);

private:
    int m_Descriptor;
};

} // namespace tokenlib

#endif
