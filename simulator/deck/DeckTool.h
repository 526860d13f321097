// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_DECKTOOL_H
#define ORSEL_SIMULATOR_DECK_DECKTOOL_H

#include <iosfwd>
#include <string>
#include <vector>

namespace orselsim {

/// The command line tool without its process: `words` are the arguments behind the program's name.
/// Gives the exit code: 0 for done, 1 for a command that failed, 2 for a command line that makes no
/// sense.
int RunDeckTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err);

} // namespace orselsim

#endif
