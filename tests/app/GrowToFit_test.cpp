// SPDX-License-Identifier: MIT
#include "app/GrowToFit.h"

#include <wx/frame.h>
#include <wx/imaglist.h>
#include <wx/listctrl.h>
#include <wx/panel.h>
#include <wx/sizer.h>

#include "tests/support/GuiTest.h"

namespace {

class AWindowThatGrows : public testing::Test {
protected:
    AWindowThatGrows() : m_Frame(new wxFrame(nullptr, wxID_ANY, "", wxPoint(50, 50), wxSize(300, 200))) {}
    ~AWindowThatGrows() override {
        m_Frame->Destroy();
        RunFor(1);
    }
    int Width() const { return m_Frame->GetSize().x; }

    wxFrame* m_Frame;
};

} // namespace

TEST_F(AWindowThatGrows, IsWiderByWhatIsMissing) {
    Widen(*m_Frame, 100);
    EXPECT_EQ(400, Width());
    Widen(*m_Frame, 0);
    EXPECT_EQ(400, Width());
}

TEST_F(AWindowThatGrows, IsNoWiderThanTheScreen) {
    Widen(*m_Frame, 100000);
    EXPECT_GT(Width(), 300);
    EXPECT_LT(Width(), 10000);
}

TEST_F(AWindowThatGrows, HasTheRoomThatItsSizerNeeds) {
    auto* panel = new wxPanel(m_Frame);
    panel->SetMinSize(wxSize(500, 100));
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    sizer->Add(panel, 1, wxEXPAND);
    m_Frame->SetSizer(sizer);
    GrowToFit(*m_Frame);
    EXPECT_GE(m_Frame->GetClientSize().x, 500);
    EXPECT_EQ(200, m_Frame->GetSize().y) << "what fits stays";
}

TEST_F(AWindowThatGrows, HasAListWhoseColumnsFitTheirTextsAndPictures) {
    auto* list = new wxListCtrl(m_Frame, wxID_ANY, wxDefaultPosition, wxSize(280, 150), wxLC_REPORT);
    list->InsertColumn(0, "Name", wxLIST_FORMAT_LEFT, 20);
    list->InsertColumn(1, "x", wxLIST_FORMAT_LEFT, 200);
    const wxString text = "a text that is far wider than its column";
    list->InsertItem(0, text + "          ");
    GrowColumns(*list);
    const int bare = list->GetColumnWidth(0);
    EXPECT_GT(bare, list->GetTextExtent(text).x);
    EXPECT_LT(bare, list->GetTextExtent(text + "          ").x) << "nobody misses the blanks";
    EXPECT_EQ(200, list->GetColumnWidth(1)) << "what fits stays";
    EXPECT_GT(MissingForColumns(*list), 0);

    auto* pictures = new wxImageList(16, 16);
    pictures->Add(wxBitmap(16, 16));
    list->AssignImageList(pictures, wxIMAGE_LIST_SMALL);
    list->SetItem(0, 0, text, 0);
    GrowColumns(*list);
    EXPECT_GE(list->GetColumnWidth(0), bare + 16);
}
