// SPDX-License-Identifier: MIT
#include "app/MyApp.h"

#include <wx/image.h>
#include <wx/log.h>
#include <wx/utils.h>

#include "app/I18N.h"
#include "app/MainFrame.h"
#include "app/OrselCardsLogger.h"
#include "foundation/Config.h"
#include "foundation/FileSystem.h"
#include "foundation/Logging.h"
#include "foundation/ProgramConfig.h"

/// No options of our own; the toolkit's remain.
static const wxCmdLineEntryDesc g_CmdLineDesc[] = {wxCMD_LINE_DESC_END};

MyApp::MyApp() {
    Velmor::GenerateConfig();
    Velmor::GenerateFileSystem();
    long language = 0;
    if (Velmor::Config::GetHandle()->GetInteger(Velmor::KEY_LANGUAGE, language)) {
        I18N::GetHandle()->Initialize(language);
    } else {
        I18N::GetHandle()->Initialize();
    }
    OrselCardsLogger::GetHandle()->Enabled(false);
}

MyApp::~MyApp() {
    Velmor::Config::GetHandle()->Destroy();
    Velmor::FileSystem::Destroy();
    OrselCardsLogger::GetHandle()->Destroy();
    I18N::Destroy();
}

bool MyApp::OnInit() {
    if (!wxApp::OnInit()) {
        return false;
    }
    SetAppName("OrselClient");
    SetVendorName("Velmor GmbH");
    wxInitAllImageHandlers();
    CreateInstanceChecker();
    return !m_instanceChecker.IsAnotherRunning();
}

/// A guard that cannot be made must not keep the user out, and one left behind by a crash is no news: the
/// toolkit's own messages about both stay off the screen.
void MyApp::CreateInstanceChecker() {
    const wxLogNull silence;
    if (!m_instanceChecker.Create(wxString::Format("OrselCards-%s", wxGetUserId()))) {
        m_instanceChecker.CreateDefault();
    }
}

int MyApp::OnRun() {
    auto* frame = new MainFrame(nullptr);
    SetTopWindow(frame);
    frame->Show(true);
    return wxApp::OnRun();
}

int MyApp::OnExit() {
    return 0;
}

void MyApp::OnInitCmdLine(wxCmdLineParser& parser) {
    wxApp::OnInitCmdLine(parser);
    parser.SetDesc(g_CmdLineDesc);
    parser.SetSwitchChars("-");
}

bool MyApp::OnCmdLineParsed(wxCmdLineParser& /*parser*/) {
    return true;
}
