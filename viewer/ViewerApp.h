// SPDX-License-Identifier: MIT
#ifndef ORSEL_VIEWER_VIEWERAPP_H
#define ORSEL_VIEWER_VIEWERAPP_H

#include <string>

#include <wx/app.h>

namespace viewer {
struct CommandLine;
}

/// The viewer's application object: language and the one window's life.
class ViewerApp : public wxApp {
public:
    explicit ViewerApp(const std::string& path);
    ~ViewerApp() override;

    bool OnInit() override;
    /// Shows the certificate, or a message why there is none. The process's exit code.
    int OnRun() override;

private:
    std::string m_Path; ///< of the certificate, in the bytes of the command line
};

namespace viewer {

/// The whole program.
int Main(int argc, char** argv);

} // namespace viewer

#endif
