// SPDX-License-Identifier: MIT
// Starts the card manager, or the command line, on the bridge; lists tokens and roles.
#include <cstdlib>
#include <exception>
#include <iostream>

#include "bridge/Launcher.h"
#include "bridge/TokenList.h"
#include "tokenlib/Runtime.h"

using orselbridge::Request;

namespace {

constexpr int FAILED = 1;
constexpr int MISUSED = 2;

constexpr const char* HELP_ENGLISH = R"(Usage: orselcards-bridge [--module FILE] [--list | -- COMMAND...]

Starts the card manager on real cards, through any other PKCS#11 library.

  --module FILE   the library; otherwise as bridge.json has it, or p11-kit's, or OpenSC's
  --list          print the tokens, and which key plays which role, with the reason
  -- COMMAND...   run this command of orselcards-cli in place of the card manager
  -h, --help      print this help
  --version       print the version
)";

constexpr const char* HELP_GERMAN = R"(Aufruf: orselcards-bridge [--module DATEI] [--list | -- BEFEHL...]

Startet die Kartenverwaltung mit echten Karten, über eine beliebige andere PKCS#11-Bibliothek.

  --module DATEI  die Bibliothek; sonst wie in bridge.json, oder die von p11-kit, oder die von OpenSC
  --list          die Karten ausgeben, und welcher Schlüssel welche Rolle hat, mit dem Grund
  -- BEFEHL...    diesen Befehl von orselcards-cli ausführen, statt der Kartenverwaltung
  -h, --help      diese Hilfe ausgeben
  --version       die Version ausgeben
)";

int List(bool inGerman) {
    try {
        const auto runtime = orselbridge::StartRuntime();
        orselbridge::PrintTokens(static_cast<orselbridge::Runtime&>(*runtime), std::cout, inGerman);
        tokenlib::StopRuntime();
        return EXIT_SUCCESS;
    } catch (const tokenlib::Refusal&) {
        return FAILED; // whose reason is on standard error already
    }
}

int Fail(const std::string& reason) {
    std::cerr << "orselcards-bridge: " << reason << '\n';
    return FAILED;
}

int Run(const Request& request, bool inGerman) {
    if (!request.m_Module.empty()) {
        setenv("ORSELBRIDGE_MODULE", request.m_Module.c_str(), 1);
    }
    switch (request.m_Kind) {
    case Request::Kind::HELP:
        std::cout << (inGerman ? HELP_GERMAN : HELP_ENGLISH);
        return EXIT_SUCCESS;
    case Request::Kind::VERSION:
        std::cout << "orselcards-bridge " ORSEL_VERSION "\n";
        return EXIT_SUCCESS;
    case Request::Kind::LIST:
        return List(inGerman);
    case Request::Kind::COMMAND:
        return Fail(orselbridge::Become("orselcards-cli", request.m_Words));
    case Request::Kind::START:
        break;
    }
    // The window's signature test offers hashes by the kind of card, and none for a card of no known kind.
    setenv("ORSELBRIDGE_MODEL", "CardOS 5.3", 0);
    return Fail(orselbridge::Become("orselcards", request.m_Words));
}

} // namespace

int main(int argc, char** argv) {
    const bool inGerman = orselbridge::IsGermanWanted();
    try {
        return Run(orselbridge::ReadRequest({argv + 1, argv + argc}), inGerman);
    } catch (const std::exception& error) {
        std::cerr << "orselcards-bridge: " << error.what() << "?\n"
                  << (inGerman ? HELP_GERMAN : HELP_ENGLISH);
        return MISUSED;
    }
}
