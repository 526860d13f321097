// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_PROGRAM_H
#define ORSEL_CLI_PROGRAM_H

#include "cli/Console.h"

#include <string>
#include <vector>

namespace orselcli {

/// Does what a command line asks for and gives the exit code. The arguments are without the program's name.
/// Nothing of the token library is left loaded.
int RunProgram(const std::vector<std::string>& arguments, Console& console);

} // namespace orselcli

#endif
