// SPDX-License-Identifier: MIT
#include "viewer/ViewerApp.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include <langinfo.h>
#include <wx/debug.h>
#include <wx/log.h>
#include <wx/msgdlg.h>

#include "app/I18N.h"
#include "foundation/Config.h"
#include "foundation/FileSystem.h"
#include "foundation/ProgramConfig.h"
#include "viewer/CertificateFile.h"
#include "viewer/CertificateFrame.h"
#include "viewer/CommandLine.h"
#include "viewer/VisibleText.h"

using viewer::CommandLine;

namespace {

constexpr char PROGRAM[] = "orselcards-certviewer";

/// Where there is no display.
class TerminalApp : public wxAppConsole {
public:
    int OnRun() override { return 0; }
};

/// The language that the card manager is set to, too.
void StartWords(wxAppConsole& app) {
    app.SetAppName(PROGRAM); // the catalogue stands below this name, whatever name the program was called by
    Velmor::GenerateConfig();
    long language = 0;
    if (Velmor::Config::GetHandle()->GetInteger(Velmor::KEY_LANGUAGE, language)) {
        I18N::GetHandle()->Initialize(language);
    } else {
        I18N::GetHandle()->Initialize();
    }
}

void EndWords() {
    Velmor::Config::GetHandle()->Destroy();
    I18N::Destroy();
}

/// The words and the names in certificates need a locale with UTF-8.
void WantUtf8() {
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        setenv("LC_ALL", "C.UTF-8", 1);
        std::setlocale(LC_ALL, "");
    }
}

bool HasDisplay() {
    const auto isSet = [](const char* name) {
        const char* value = std::getenv(name);
        return value != nullptr && *value != '\0';
    };
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY");
}

int RunWithoutDisplay(const CommandLine& command) {
    TerminalApp app;
    wxAppConsole::SetInstance(&app);
    StartWords(app);
    const int result = viewer::RunOnTerminal(command);
    EndWords();
    wxAppConsole::SetInstance(nullptr);
    return result;
}

int RunWithDisplay(const CommandLine& command, char* program) {
    wxApp::SetInstance(new ViewerApp(command.m_Path)); // wxEntry deletes it
    int argc = 1;                                      // the toolkit gets no options of ours
    char* argv[] = {program, nullptr};
    const int result = wxEntry(argc, argv);
    return result < 0 ? 1 : result;
}

} // namespace

ViewerApp::ViewerApp(const std::string& path) : m_Path(path) {
    StartWords(*this);
}

ViewerApp::~ViewerApp() {
    EndWords();
}

bool ViewerApp::OnInit() {
    return true; // and no command line of the toolkit's
}

int ViewerApp::OnRun() {
    Velmor::slCertificate certificate;
    const wxString failure = viewer::LoadCertificate(m_Path, certificate);
    if (!failure.empty()) {
        wxMessageBox(failure, Translate("Zertifikat anzeigen"), wxOK | wxICON_ERROR);
        return 1;
    }
    auto* frame = new CertificateFrame(nullptr, certificate, std::time(nullptr));
    SetTopWindow(frame);
    frame->Show(true);
    return wxApp::OnRun();
}

int viewer::Main(int argc, char** argv) {
    static char program[] = "orselcards-certviewer"; // the windows' name for docks, also behind a link
    wxDisableAsserts();
    wxLog::SetLogLevel(wxLOG_Info);
    WantUtf8();
    CommandLine command = CommandLine::Of(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
    if (command.m_Action != Action::SHOW) {
        return RunWithoutDisplay(command);
    }
    if (!HasDisplay()) {
        std::fprintf(stderr, "%s: no display; --text needs none\n", program);
        return 1;
    }
    return RunWithDisplay(command, program);
}
