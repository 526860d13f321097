// SPDX-License-Identifier: MIT
// Process entry of orselcards-cli.
#include <fcntl.h>
#include <unistd.h>

#include "cli/Console.h"
#include "cli/Interruption.h"
#include "cli/Program.h"
#include "cli/Reason.h"
#include "cli/Words.h"

namespace {

/// Fills the places of standard descriptors that whoever started the process has closed, so that no file,
/// socket or card is taken for one of them. Each is opened the wrong way round: using it fails as it would
/// have.
void KeepStandardPlaces() {
    for (int place = STDIN_FILENO; place <= STDERR_FILENO; ++place) {
        if (fcntl(place, F_GETFD) < 0) {
            open("/dev/null", place == STDIN_FILENO ? O_WRONLY : O_RDONLY); // takes the lowest free one: this
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    KeepStandardPlaces();
    orselcli::ChooseLanguage();
    orselcli::Interruption::Watch();
    orselcli::Console console(STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO);
    const int code = orselcli::RunProgram({argv + 1, argv + argc}, console);
    if (code > orselcli::EXIT_SIGNAL) {
        orselcli::Interruption::EndBy(code - orselcli::EXIT_SIGNAL);
    }
    return code;
}
