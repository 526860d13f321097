// SPDX-License-Identifier: MIT
// Process entry of orselcards-cli.
#include <unistd.h>

#include "cli/Console.h"
#include "cli/Interruption.h"
#include "cli/Program.h"
#include "cli/Reason.h"
#include "cli/Words.h"

int main(int argc, char** argv) {
    orselcli::ChooseLanguage();
    orselcli::Interruption::Watch();
    orselcli::Console console(STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO);
    const int code = orselcli::RunProgram({argv + 1, argv + argc}, console);
    if (code > orselcli::EXIT_SIGNAL) {
        orselcli::Interruption::EndBy(code - orselcli::EXIT_SIGNAL);
    }
    return code;
}
