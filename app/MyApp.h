// SPDX-License-Identifier: MIT
#ifndef ORSEL_APP_MYAPP_H
#define ORSEL_APP_MYAPP_H

#include <wx/app.h>
#include <wx/cmdline.h>
#include <wx/snglinst.h>

/// The application: names, language, one instance per user, and the main window's life.
class MyApp : public wxApp {
public:
    MyApp();
    ~MyApp() override;

    /// False, and with it a silent end, when this user runs the program already.
    bool OnInit() override;
    /// Shows the main window and runs the main loop.
    int OnRun() override;
    int OnExit() override;
    void OnInitCmdLine(wxCmdLineParser& parser) override;
    bool OnCmdLineParsed(wxCmdLineParser& parser) override;

private:
    void CreateInstanceChecker();

    wxSingleInstanceChecker m_instanceChecker; ///< empty until OnInit
};

#endif
