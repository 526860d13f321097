// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_STRAYOUTPUT_H
#define ORSEL_CLI_STRAYOUTPUT_H

namespace orselcli {

/// While one lives, whatever anybody writes to standard output comes out of standard error. One stands around
/// every call of the token library, so that a library that talks does not spoil a result in a file or a pipe.
/// Where no descriptor is left to keep standard output with, nothing is changed.
class StrayOutput {
public:
    StrayOutput();
    ~StrayOutput();
    StrayOutput(const StrayOutput&) = delete; // puts back once
    StrayOutput& operator=(const StrayOutput&) = delete;

private:
    int m_Kept; ///< standard output; negative when nothing is changed
};

} // namespace orselcli

#endif
