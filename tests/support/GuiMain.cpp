// SPDX-License-Identifier: MIT
// Runs the tests inside the toolkit, which listing them does without.
#include "tests/support/GuiTest.h"

#include <wx/app.h>
#include <wx/debug.h>
#include <wx/evtloop.h>
#include <wx/image.h>
#include <wx/stopwatch.h>
#include <wx/utils.h>

#include <cstring>

#include "app/I18N.h"

// Named in public, as the toolkit's macro below wants it.
class TestApp : public wxApp {
public:
    bool OnInit() override {
        wxInitAllImageHandlers();
        I18N::GetHandle()->Initialize();
        return true;
    }
    int OnRun() override {
        SetExitOnFrameDelete(false);
        wxGUIEventLoop loop;
        const wxEventLoopActivator active(&loop);
        return RUN_ALL_TESTS();
    }
    int OnExit() override {
        I18N::Destroy();
        return 0;
    }
};

wxIMPLEMENT_APP_NO_MAIN(TestApp);

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--gtest_list_tests") == 0) {
            testing::InitGoogleMock(&argc, argv);
            return RUN_ALL_TESTS();
        }
    }
    testing::InitGoogleMock(&argc, argv);
    wxDisableAsserts(); // as the program itself does
    return wxEntry(argc, argv);
}

bool RunUntil(const std::function<bool()>& condition, int milliseconds) {
    const wxStopWatch watch;
    while (!condition()) {
        if (watch.Time() > milliseconds) {
            return false;
        }
        wxTheApp->Yield(true);
        wxTheApp->ProcessIdle();
        wxTheApp->ProcessPendingEvents();
        wxMilliSleep(1);
    }
    return true;
}

void RunFor(int milliseconds) {
    const wxStopWatch watch;
    RunUntil([&watch, milliseconds] { return watch.Time() >= milliseconds; }, milliseconds + 1000);
}

bool HasBorder(const wxWindow& window) {
    return window.GetSize() != window.GetClientSize();
}

bool Placement::operator==(const Placement& other) const {
    return m_Window == other.m_Window && m_Proportion == other.m_Proportion && m_Flags == other.m_Flags &&
           m_Border == other.m_Border;
}

void PrintTo(const Placement& placement, std::ostream* out) {
    *out << "{"
         << (placement.m_Window != nullptr ? placement.m_Window->GetLabel().utf8_str().data() : "sizer")
         << ", " << placement.m_Proportion << ", 0x" << std::hex << placement.m_Flags << std::dec << ", "
         << placement.m_Border << "}";
}

std::vector<wxWindow*> ChildrenOf(const wxWindow& window) {
    std::vector<wxWindow*> children;
    for (wxWindow* child : window.GetChildren()) {
        children.push_back(child);
    }
    return children;
}

std::vector<Placement> PlacementsIn(const wxSizer& sizer) {
    std::vector<Placement> placements;
    for (const wxSizerItem* item : sizer.GetChildren()) {
        placements.push_back({item->GetWindow(), item->GetProportion(), item->GetFlag(), item->GetBorder()});
    }
    return placements;
}
