// SPDX-License-Identifier: MIT
#include "app/GrowToFit.h"

#include <wx/debug.h>
#include <wx/display.h>
#include <wx/frame.h>
#include <wx/imaglist.h>
#include <wx/listctrl.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

#include <algorithm>
#include <memory>

#include "tests/support/GuiTest.h"

namespace {

int g_Complaints = 0;
bool g_IsOnAnyDisplay = true;

} // namespace

// The linker sends the program's own question for a window's display here.
extern "C" int __real__ZN9wxDisplay13GetFromWindowEPK8wxWindow(const wxWindow* window);
extern "C" int __wrap__ZN9wxDisplay13GetFromWindowEPK8wxWindow(const wxWindow* window) {
    return g_IsOnAnyDisplay ? __real__ZN9wxDisplay13GetFromWindowEPK8wxWindow(window) : wxNOT_FOUND;
}

namespace {

/// Counts what the toolkit complains of while it stands.
class Complaints {
public:
    Complaints() : m_Before(wxSetAssertHandler(&Complaints::Count)) { g_Complaints = 0; }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;
    ~Complaints() { wxSetAssertHandler(m_Before); }

private:
    static void Count(const wxString&, int, const wxString&, const wxString&, const wxString&) {
        ++g_Complaints;
    }

    wxAssertHandler_t m_Before;
};

/// A list of two columns that are too narrow for any text.
class AListThatGrows : public testing::Test {
protected:
    void SetUp() override {
        m_List.InsertColumn(0, "A", wxLIST_FORMAT_LEFT, 2);
        m_List.InsertColumn(1, "B", wxLIST_FORMAT_LEFT, 2);
    }
    void Add(const wxString& first, const wxString& second, int picture = -1) {
        const long row = m_List.InsertItem(m_List.GetItemCount(), first, picture);
        m_List.SetItem(row, 1, second);
    }
    /// What a column needs for this text.
    int Needed(const wxString& text) const { return m_List.GetTextExtent(text).x + 8; }

    wxFrame m_Frame{nullptr, wxID_ANY, "", wxDefaultPosition, wxSize(400, 300)};
    wxListCtrl m_List{&m_Frame, wxID_ANY, wxDefaultPosition, wxSize(300, 200), wxLC_REPORT};
};

} // namespace

// --- Columns -----------------------------------------------------------------------------------------------

TEST_F(AListThatGrows, HasColumnsAsWideAsTheirLongestTextWhicheverRowItIsIn) {
    const wxString longest = "ein sehr langer Text in der Spalte";
    for (int row = 0; row < 3; ++row) {
        m_List.DeleteAllItems();
        m_List.SetColumnWidth(1, 2);
        for (int other = 0; other < 3; ++other) {
            Add("kurz", other == row ? longest : wxString("b"));
        }
        GrowColumns(m_List);
        EXPECT_EQ(m_List.GetColumnWidth(0), Needed("kurz"));
        EXPECT_EQ(m_List.GetColumnWidth(1), Needed(longest)) << row;
    }
}

TEST_F(AListThatGrows, HasColumnsAsWideAsTheirHeaders) {
    GrowColumns(m_List);
    EXPECT_EQ(m_List.GetColumnWidth(0), Needed("A"));
    EXPECT_EQ(m_List.GetColumnWidth(1), Needed("B"));
}

TEST_F(AListThatGrows, LeavesRoomForThePictureBeforeAText) {
    wxImageList pictures(31, 22);
    pictures.Add(wxBitmap(31, 22));
    m_List.SetImageList(&pictures, wxIMAGE_LIST_SMALL);
    Add("kurz", "kurz", 0);
    GrowColumns(m_List);
    EXPECT_EQ(m_List.GetColumnWidth(0), Needed("kurz") + 31 + 5);
    EXPECT_EQ(m_List.GetColumnWidth(1), Needed("kurz")); // without one
    m_List.SetImageList(nullptr, wxIMAGE_LIST_SMALL);
}

TEST_F(AListThatGrows, LeavesNoRoomForBlanksBehindATextAndTakesNoneAway) {
    m_List.SetColumnWidth(1, 250);
    Add("kurz                ", "kurz");
    GrowColumns(m_List);
    EXPECT_EQ(m_List.GetColumnWidth(0), Needed("kurz"));
    EXPECT_EQ(m_List.GetColumnWidth(1), 250);
}

TEST_F(AListThatGrows, TellsWhatItLacksForAllOfItsColumns) {
    const Complaints complaints;
    const int room = m_List.GetClientSize().x;
    m_List.SetColumnWidth(0, 100);
    m_List.SetColumnWidth(1, room - 100);
    EXPECT_EQ(MissingForColumns(m_List), 0);
    m_List.SetColumnWidth(1, room - 60);
    EXPECT_EQ(MissingForColumns(m_List), 40);
    m_List.SetColumnWidth(0, 50);
    EXPECT_EQ(MissingForColumns(m_List), 0);
    EXPECT_EQ(g_Complaints, 0); // of a column that is not there
}

// --- Windows -----------------------------------------------------------------------------------------------

TEST(AWindowThatGrows, WidensByWhatIsMissingAlsoBeforeItIsOnAnyDisplay) {
    for (const bool isOnAnyDisplay : {true, false}) {
        g_IsOnAnyDisplay = isOnAnyDisplay;
        wxFrame frame(nullptr, wxID_ANY, "", wxDefaultPosition, wxSize(400, 300));
        Widen(frame, 30);
        EXPECT_EQ(frame.GetSize(), wxSize(430, 300));
        Widen(frame, 0);
        EXPECT_EQ(frame.GetSize(), wxSize(430, 300));
        Widen(frame, 100000);
        EXPECT_EQ(frame.GetSize(), wxSize(wxDisplay(0U).GetClientArea().width, 300));
    }
    g_IsOnAnyDisplay = true;
}

TEST(AWindowThatGrows, HasTheRoomThatItsSizerNeeds) {
    wxFrame frame(nullptr, wxID_ANY, "", wxDefaultPosition, wxSize(300, 200));
    auto* panel = new wxPanel(&frame);
    panel->SetMinSize(wxSize(500, 100));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(panel, 1, wxEXPAND);
    frame.SetSizer(sizer);
    GrowToFit(frame);
    EXPECT_GE(frame.GetClientSize().x, 500);
    EXPECT_EQ(200, frame.GetSize().y) << "what fits stays";
}

TEST(AGrowingItem, AsksForTheBestWidthAndTheHeightOfALineAndItsRim) {
    wxFrame frame(nullptr, wxID_ANY, "");
    wxTextCtrl text(&frame, wxID_ANY, "");
    text.SetMinSize(wxSize(4, 5));
    const std::unique_ptr<wxSizerItem> item(NewGrowingItem(&text, wxSizerFlags().Border(wxLEFT | wxTOP, 7)));
    EXPECT_EQ(item->CalcMin(), wxSize(text.GetBestSize().x + 7, text.GetCharHeight() + 6 + 7));
    text.SetMinSize(wxSize(900, 800));
    EXPECT_EQ(item->CalcMin(), wxSize(900 + 7, 800 + 7));
}
