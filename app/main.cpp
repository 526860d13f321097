// SPDX-License-Identifier: MIT
// Process entry.
#include <wx/app.h>
#include <wx/debug.h>
#include <wx/log.h>

#include "app/MyApp.h"

wxIMPLEMENT_APP_NO_MAIN(MyApp);

int main(int argc, char** argv) {
    wxDisableAsserts();
    wxLog::SetLogLevel(wxLOG_Info);
    return wxEntry(argc, argv);
}
