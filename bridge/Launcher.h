// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_LAUNCHER_H
#define ORSEL_BRIDGE_LAUNCHER_H

#include <string>
#include <vector>

namespace orselbridge {

/// What orselcards-bridge was asked for.
struct Request {
    enum class Kind { START, COMMAND, LIST, HELP, VERSION };

    Kind m_Kind = Kind::START;
    std::string m_Module;             ///< empty: as the settings have it
    std::vector<std::string> m_Words; ///< for the card manager, or the command line behind "--"
};

/// Reads the arguments; throws std::runtime_error, with the reason, for those that make no sense.
Request ReadRequest(const std::vector<std::string>& arguments);

/// Puts a program of this name into the place of this process, on the bridge: the library's folder
/// before all others on the loader's path. Both are found from where this program stands. Returns
/// only when that failed, with the reason.
std::string Become(const std::string& program, const std::vector<std::string>& words);

} // namespace orselbridge

#endif
