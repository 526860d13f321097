// SPDX-License-Identifier: MIT
#include "viewer/CommandLine.h"

#include <cstdio>

#include "app/I18N.h"
#include "viewer/CertificateFile.h"
#include "viewer/CertificateRows.h"
#include "viewer/LongText.h"
#include "viewer/VisibleText.h"

namespace viewer {

namespace {

constexpr int FAILURE = 1;
constexpr int MISUSE = 2;

/// False, too, when the reader is gone or the disk full.
bool Print(FILE* stream, const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
}

int PrintText(const std::string& path) {
    Velmor::slCertificate certificate;
    const wxString failure = LoadCertificate(path, certificate);
    if (!failure.empty()) {
        Print(stderr, "orselcards-certviewer: " + ToUtf8(failure) + "\n");
        return FAILURE;
    }
    return Print(stdout, LongText(RowsOf(certificate))) ? 0 : FAILURE;
}

} // namespace

CommandLine CommandLine::Of(const std::vector<std::string>& arguments) {
    CommandLine command;
    Action action = Action::SHOW;
    bool areOptionsOver = false;
    std::vector<std::string> paths;
    for (const std::string& argument : arguments) {
        if (areOptionsOver || argument.size() < 2 || argument[0] != '-') {
            paths.push_back(argument);
        } else if (argument == "--") {
            areOptionsOver = true;
        } else if (argument == "--text") {
            action = Action::TEXT;
        } else if (argument == "--help" || argument == "-h") {
            command.m_Action = Action::HELP;
            return command;
        } else if (argument == "--version") {
            command.m_Action = Action::VERSION;
            return command;
        } else {
            return command;
        }
    }
    if (paths.size() == 1) {
        command.m_Action = action;
        command.m_Path = paths.front();
    }
    return command;
}

wxString Usage() {
    return Translate("Aufruf: orselcards-certviewer [--text] DATEI\n"
                     "\n"
                     "Zeigt das Zertifikat in DATEI (PEM oder DER).\n"
                     "\n"
                     "  --text     schreibt alles als Text auf die Standardausgabe; braucht kein Fenster\n"
                     "  --help     zeigt diese Hilfe\n"
                     "  --version  zeigt die Version\n");
}

int RunOnTerminal(const CommandLine& command) {
    switch (command.m_Action) {
    case Action::TEXT:
        return PrintText(command.m_Path);
    case Action::HELP:
        return Print(stdout, ToUtf8(Usage())) ? 0 : FAILURE;
    case Action::VERSION:
        return Print(stdout, "orselcards-certviewer " ORSEL_VERSION "\n") ? 0 : FAILURE;
    default:
        Print(stderr, ToUtf8(Usage()));
        return MISUSE;
    }
}

} // namespace viewer
