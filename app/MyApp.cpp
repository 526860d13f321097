// SPDX-License-Identifier: MIT
#include "app/MyApp.h"

#include <wx/image.h>
#include <wx/log.h>
#include <wx/utils.h>

#include "app/I18N.h"
#include "app/MainFrame.h"

/// No options of our own; the toolkit's remain.
static const wxCmdLineEntryDesc g_CmdLineDesc[] = {wxCMD_LINE_DESC_END};

MyApp::MyApp() {
    I18N::GetHandle()->Initialize();
}

MyApp::~MyApp() {
    I18N::Destroy();
}

bool MyApp::OnInit() {
    if (!wxApp::OnInit())
        return false;
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
    if (!m_instanceChecker.Create(wxString::Format("OrselCards-%s", wxGetUserId())))
        m_instanceChecker.CreateDefault();
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
