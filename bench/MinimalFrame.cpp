// SPDX-License-Identifier: MIT
// The least that a program of the toolkit can be: one empty window. Start_bench starts it beside ours.
#include <wx/app.h>
#include <wx/frame.h>

class MinimalApp : public wxApp {
public:
    bool OnInit() override {
        auto* frame = new wxFrame(nullptr, wxID_ANY, "Minimal");
        frame->Show(true);
        return true;
    }
};

wxIMPLEMENT_APP(MinimalApp);
