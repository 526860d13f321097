// SPDX-License-Identifier: MIT
// Construction and layout of the main window. There is no token library on the loader path.
#include "app/MainFrame.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <utility>

#include <wx/weakref.h>

#include "app/ControlIds.h"
#include "images/Images.h"
#include "tests/app/ProbedFrame.h"
#include "tests/support/GuiTest.h"
#include "tests/support/Widgets.h"

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

class TheMainWindow : public testing::Test {
protected:
    /// Shown, and with its first refresh done.
    void Show() {
        m_Frame->Show(true);
        ASSERT_TRUE(RunUntil([this] { return Refreshed(); }));
    }
    bool Refreshed() {
        return !m_Frame->m_startTimer.IsRunning() && m_Frame->m_refreshThread == nullptr &&
               m_Frame->IsEnabled();
    }

    FramePtr m_Frame{new ProbedFrame};
};

// --- Frame -------------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, IsTitledWithAFixedArchitectureWhenNoVersionIsKnown) {
    EXPECT_EQ(m_Frame->GetTitle(), "Kartenverwaltung (x86)");
}

TEST_F(TheMainWindow, IsAnOrdinaryFrameWithoutParentMenuToolOrStatusBar) {
    EXPECT_EQ(m_Frame->GetParent(), nullptr);
    EXPECT_EQ(m_Frame->GetWindowStyle(), wxDEFAULT_FRAME_STYLE);
    EXPECT_EQ(m_Frame->GetMenuBar(), nullptr);
    EXPECT_EQ(m_Frame->GetStatusBar(), nullptr);
    EXPECT_EQ(m_Frame->GetToolBar(), nullptr);
    EXPECT_TRUE(m_Frame->GetIcon().IsOk());
    EXPECT_EQ(m_Frame->GetIcon().GetSize(), wxSize(32, 32));
}

TEST_F(TheMainWindow, CannotBeMadeSmallerThan800By600) {
    EXPECT_EQ(m_Frame->GetMinSize(), wxSize(800, 600));
    Show();
    m_Frame->SetSize(300, 200);
    RunFor(300); // in which it could become as small as that
    EXPECT_TRUE(RunUntil([this] {
        return m_Frame->GetSize().GetWidth() >= 800 && m_Frame->GetSize().GetHeight() >= 600;
    })) << m_Frame->GetSize().GetWidth();
}

TEST_F(TheMainWindow, StandsInTheMiddleOfTheScreen) {
    Show();
    EXPECT_TRUE(RunUntil([this] {
        const wxRect screen = wxGetClientDisplayRect();
        const wxRect window = m_Frame->GetScreenRect();
        return std::abs(window.x + window.width / 2 - (screen.x + screen.width / 2)) <= 30 &&
               std::abs(window.y + window.height / 2 - (screen.y + screen.height / 2)) <= 30;
    }));
}

// --- Controls ----------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, HasElevenCommandsWithTheirIdsAndLabels) {
    struct Row {
        wxButton* m_Button;
        int m_Id;
        const char* m_Label;
    };
    const Row rows[] = {
        {m_Frame->button_sig_change_pin, 5440, "6 stellige PIN ändern"},
        {m_Frame->button_sig_puk, 5441, "6 stellige PIN entsperren"},
        {m_Frame->button_sig_show_cert, 5442, "Zertifikat anzeigen"},
        {m_Frame->button_sig_test, 5443, "Signatur testen"},
        {m_Frame->button_enc_change_pin, 5436, "4 stellige PIN ändern"},
        {m_Frame->button_enc_puk, 5437, "4 stellige PIN entsperren"},
        {m_Frame->button_enc_show, 5438, "Zertifikat anzeigen"},
        {m_Frame->button_enc_test, 5439, "Signatur testen"},
        {m_Frame->button_pers_change, 5433, "4 stellige PIN ändern"},
        {m_Frame->button_pers_puk, 5434, "4 stellige PIN entsperren"},
        {m_Frame->button_pers_show, 5435, "Infobox anzeigen"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.m_Button->GetId(), row.m_Id);
        EXPECT_EQ(row.m_Button->GetLabel(), Utf8(row.m_Label));
        EXPECT_EQ(row.m_Button->GetParent(), m_Frame->panel_main);
        EXPECT_EQ(row.m_Button->GetWindowStyle() & wxBORDER_MASK, 0);
        EXPECT_EQ(wxWindow::FindWindowById(row.m_Id, m_Frame.get()), row.m_Button);
    }
}

TEST_F(TheMainWindow, HasItsMembersInTheirOrder) {
    const ProbedFrame& frame = *m_Frame;
    const void* const members[] = {
        &frame.sizer_pers_box,
        &frame.sizer_enc_box,
        &frame.sizer_sig_box,
        &frame.bitmap_banner,
        &frame.list_cards,
        &frame.button_reload,
        &frame.button_sig_change_pin,
        &frame.button_sig_puk,
        &frame.button_sig_show_cert,
        &frame.button_sig_test,
        &frame.button_enc_change_pin,
        &frame.button_enc_puk,
        &frame.button_enc_show,
        &frame.button_enc_test,
        &frame.button_pers_change,
        &frame.button_pers_puk,
        &frame.button_pers_show,
        &frame.panel_status_left,
        &frame.bitmap_status,
        &frame.label_status,
        &frame.panel_status_right,
        &frame.panel_main,
        &frame.panel_status_height,
        &frame.m_imageList,
        &frame.m_chipImage,
        &frame.m_startTimer,
        &frame.m_p11,
        &frame.m_refreshThread,
        &frame.m_pleaseWait,
        &frame.m_fadeTimer,
        &frame.m_fade,
    };
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members)));
}

TEST_F(TheMainWindow, HasThreeLabelledBoxes) {
    EXPECT_EQ(m_Frame->sizer_sig_box->GetLabel(), "Signaturzertifikat");
    EXPECT_EQ(m_Frame->sizer_enc_box->GetLabel(), "Geheimhaltungszertifikat");
    EXPECT_EQ(m_Frame->sizer_pers_box->GetLabel(), "Infoboxbereich");
}

TEST_F(TheMainWindow, HasItsControlsInAFixedOrderOnOnePanel) {
    const std::vector<wxWindow*> expected = {
        m_Frame->sizer_enc_box,
        m_Frame->sizer_pers_box,
        m_Frame->sizer_sig_box,
        m_Frame->bitmap_banner,
        m_Frame->list_cards,
        m_Frame->button_reload,
        m_Frame->button_sig_change_pin,
        m_Frame->button_sig_puk,
        m_Frame->button_sig_show_cert,
        m_Frame->button_sig_test,
        m_Frame->button_enc_change_pin,
        m_Frame->button_enc_puk,
        m_Frame->button_enc_show,
        m_Frame->button_enc_test,
        m_Frame->button_pers_change,
        m_Frame->button_pers_puk,
        m_Frame->button_pers_show,
        m_Frame->bitmap_status,
        m_Frame->label_status,
        m_Frame->panel_status_left,
        m_Frame->panel_status_right,
        m_Frame->panel_status_height,
    };
    EXPECT_THAT(ChildrenOf(*m_Frame->panel_main), ElementsAreArray(expected));
}

TEST_F(TheMainWindow, ShowsTheBannerAndTheReloadPicture) {
    EXPECT_EQ(m_Frame->bitmap_banner->GetBitmap().GetSize(), wxSize(769, 170));
    EXPECT_EQ(m_Frame->button_reload->GetId(), 5432);
    EXPECT_EQ(m_Frame->button_reload->GetBitmapLabel().GetSize(), wxSize(32, 32));
}

TEST_F(TheMainWindow, HasAListInReportModeForOneSelection) {
    EXPECT_EQ(m_Frame->list_cards->GetId(), 5446);
    EXPECT_EQ(m_Frame->list_cards->GetWindowStyle() & (wxLC_MASK_TYPE | wxLC_SINGLE_SEL | wxBORDER_MASK),
              wxLC_REPORT | wxLC_SINGLE_SEL | wxBORDER_SUNKEN);
}

TEST_F(TheMainWindow, ListsNumberHolderAndKindInThreeColumns) {
    struct Column {
        const char* m_Header;
        int m_Width;
    };
    const Column columns[] = {{"Kartennummer", 170}, {"Ausgestellt für", 350}, {"Kartentyp", 190}};
    ASSERT_EQ(m_Frame->list_cards->GetColumnCount(), 3);
    for (int i = 0; i < 3; ++i) {
        wxListItem item;
        item.SetMask(wxLIST_MASK_TEXT | wxLIST_MASK_FORMAT | wxLIST_MASK_WIDTH);
        ASSERT_TRUE(m_Frame->list_cards->GetColumn(i, item));
        EXPECT_EQ(item.GetText(), Utf8(columns[i].m_Header));
        EXPECT_EQ(item.GetAlign(), wxLIST_FORMAT_LEFT);
        EXPECT_EQ(m_Frame->list_cards->GetColumnWidth(i), columns[i].m_Width);
    }
}

TEST_F(TheMainWindow, HasOneListOfChipImagesForBothSizes) {
    EXPECT_EQ(m_Frame->m_chipImage, 0);
    EXPECT_EQ(m_Frame->m_imageList->GetImageCount(), 1);
    int width = 0;
    int height = 0;
    ASSERT_TRUE(m_Frame->m_imageList->GetSize(0, width, height));
    EXPECT_EQ(wxSize(width, height), wxSize(31, 22));
    EXPECT_NE(m_Frame->m_imageList->GetBitmap(0).GetMask(), nullptr); // the row is seen around the chip
    EXPECT_EQ(m_Frame->list_cards->GetImageList(wxIMAGE_LIST_NORMAL), m_Frame->m_imageList);
    EXPECT_EQ(m_Frame->list_cards->GetImageList(wxIMAGE_LIST_SMALL), m_Frame->m_imageList);
}

TEST_F(TheMainWindow, StartsWithoutItsBusyDialogAndSaysThatThereIsNoCard) {
    EXPECT_FALSE(m_Frame->m_pleaseWait.IsShown());
    EXPECT_EQ(widgets::DescriptionOf(*m_Frame->list_cards), "Keine Karte");
}

TEST_F(TheMainWindow, StartsWithAHiddenStatusLine) {
    EXPECT_FALSE(m_Frame->label_status->IsShown());
    EXPECT_FALSE(m_Frame->bitmap_status->IsShown());
    EXPECT_FALSE(m_Frame->m_fadeTimer.IsRunning());
    EXPECT_EQ(m_Frame->label_status->GetLabel(), "");
    EXPECT_NE(m_Frame->label_status->GetWindowStyle() & wxALIGN_CENTRE, 0);
}

// --- Layout ------------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, FillsTheFrameWithOnePanel) {
    EXPECT_THAT(PlacementsIn(*m_Frame->GetSizer()),
                ElementsAre(Placement{m_Frame->panel_main, 1, wxEXPAND, 0}));
    EXPECT_EQ(m_Frame->panel_main->GetWindowStyle() & (wxTAB_TRAVERSAL | wxBORDER_MASK),
              wxTAB_TRAVERSAL | wxBORDER_NONE);
}

TEST_F(TheMainWindow, PlacesBannerListCommandsAndStatusRowBelowEachOther) {
    EXPECT_THAT(PlacementsIn(*m_Frame->panel_main->GetSizer()),
                ElementsAre(Placement{m_Frame->bitmap_banner, 0, wxALIGN_CENTER, 0},
                            Placement{nullptr, 1, wxEXPAND, 0}, Placement{nullptr, 0, wxEXPAND, 0},
                            Placement{nullptr, 0, wxALL | wxALIGN_CENTER_HORIZONTAL, 3}));
    EXPECT_EQ(dynamic_cast<wxBoxSizer*>(m_Frame->panel_main->GetSizer())->GetOrientation(), wxVERTICAL);
}

TEST_F(TheMainWindow, PlacesTheReloadButtonBesideTheList) {
    EXPECT_THAT(PlacementsIn(*m_Frame->list_cards->GetContainingSizer()),
                ElementsAre(Placement{m_Frame->list_cards, 1, wxEXPAND | wxTOP | wxLEFT, 6},
                            Placement{m_Frame->button_reload, 0, wxALIGN_BOTTOM | wxLEFT | wxRIGHT, 6}));
}

TEST_F(TheMainWindow, PlacesTheThreeBoxesInTheOrderSignatureEncryptionInfobox) {
    wxSizer& row = *m_Frame->panel_main->GetSizer()->GetItem(2)->GetSizer();
    EXPECT_THAT(PlacementsIn(row),
                testing::AllOf(testing::SizeIs(3), Each(Placement{nullptr, 1, wxEXPAND | wxALL, 12})));
    std::vector<wxWindow*> boxes;
    for (const wxSizerItem* item : row.GetChildren()) {
        boxes.push_back(dynamic_cast<wxStaticBoxSizer&>(*item->GetSizer()).GetStaticBox());
    }
    EXPECT_THAT(boxes, ElementsAre(m_Frame->sizer_sig_box, m_Frame->sizer_enc_box, m_Frame->sizer_pers_box));
}

TEST_F(TheMainWindow, PlacesTheCommandsOfABoxWithTheirGaps) {
    const int first = wxEXPAND | wxALL;
    const int second = wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM;
    const int third = wxEXPAND | wxLEFT | wxRIGHT | wxTOP;
    const int fourth = wxEXPAND | wxALL;
    EXPECT_THAT(PlacementsIn(*m_Frame->button_sig_puk->GetContainingSizer()),
                ElementsAre(Placement{m_Frame->button_sig_change_pin, 0, first, 6},
                            Placement{m_Frame->button_sig_puk, 0, second, 6},
                            Placement{m_Frame->button_sig_show_cert, 0, third, 6},
                            Placement{m_Frame->button_sig_test, 0, fourth, 6}));
    EXPECT_THAT(PlacementsIn(*m_Frame->button_enc_puk->GetContainingSizer()),
                ElementsAre(Placement{m_Frame->button_enc_change_pin, 0, first, 6},
                            Placement{m_Frame->button_enc_puk, 0, second, 6},
                            Placement{m_Frame->button_enc_show, 0, third, 6},
                            Placement{m_Frame->button_enc_test, 0, fourth, 6}));
    EXPECT_THAT(PlacementsIn(*m_Frame->button_pers_puk->GetContainingSizer()),
                ElementsAre(Placement{m_Frame->button_pers_change, 0, first, 6},
                            Placement{m_Frame->button_pers_puk, 0, second, 6},
                            Placement{m_Frame->button_pers_show, 0, third, 6}));
}

TEST_F(TheMainWindow, PlacesIconAndTextBetweenTwoFillers) {
    EXPECT_THAT(PlacementsIn(*m_Frame->label_status->GetContainingSizer()),
                ElementsAre(Placement{m_Frame->panel_status_left, 1, wxEXPAND, 0},
                            Placement{m_Frame->bitmap_status, 0, wxALL, 0},
                            Placement{m_Frame->label_status, 0,
                                      wxALIGN_CENTER_VERTICAL | wxRESERVE_SPACE_EVEN_IF_HIDDEN, 6},
                            Placement{m_Frame->panel_status_right, 1, wxEXPAND, 0},
                            Placement{m_Frame->panel_status_height, 0, 0, 0}));
    EXPECT_EQ(m_Frame->bitmap_status->GetMinSize(), wxSize(32, 32));
}

TEST_F(TheMainWindow, KeepsAStatusRowOf32PixelsWithNothingInIt) {
    Show();
    EXPECT_EQ(m_Frame->panel_status_height->GetSize().GetHeight(), 32);
    EXPECT_EQ(m_Frame->label_status->GetContainingSizer()->GetSize().GetHeight(), 32);
}

// --- Enabling ----------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, DisablesEveryCommandAndItself) {
    m_Frame->MyEnable(false);
    for (const wxWindow* control : m_Frame->Commands()) {
        EXPECT_FALSE(control->IsThisEnabled()) << control->GetId();
    }
    EXPECT_FALSE(m_Frame->IsThisEnabled());
}

TEST_F(TheMainWindow, EnablesEverythingWhenTheListIsEmpty) {
    m_Frame->MyEnable(false);
    m_Frame->MyEnable(true);
    for (const wxWindow* control : m_Frame->Commands()) {
        EXPECT_TRUE(control->IsThisEnabled()) << control->GetId();
    }
    EXPECT_TRUE(m_Frame->IsThisEnabled());
}

TEST_F(TheMainWindow, StopsEnablingAtAControlThatIsMissing) {
    wxButton* const missing = std::exchange(m_Frame->button_enc_puk, nullptr);
    m_Frame->MyEnable(false);
    EXPECT_FALSE(m_Frame->button_sig_change_pin->IsThisEnabled());
    EXPECT_FALSE(m_Frame->button_enc_change_pin->IsThisEnabled());
    for (const wxWindow* behind : std::vector<wxWindow*>{missing, m_Frame->button_enc_show,
                                                         m_Frame->button_reload, m_Frame->list_cards}) {
        EXPECT_TRUE(behind->IsThisEnabled());
    }
    EXPECT_TRUE(m_Frame->IsThisEnabled());
    m_Frame->button_enc_puk = missing;
}

TEST(EnablingTheMainWindow, AsksForWhatTheSelectedCardDoesNotAllow) {
    class Frame : public ProbedFrame {
    public:
        void evt_ItemSelected(wxListEvent& event) override {
            ++m_Calls;
            m_Index = event.GetIndex();
        }
        int m_Calls = 0;
        long m_Index = 0;
    };
    const std::unique_ptr<Frame, DestroyWindow> frame(new Frame);
    frame->MyEnable(false);
    EXPECT_EQ(frame->m_Calls, 0);
    frame->MyEnable(true);
    EXPECT_EQ(frame->m_Calls, 1);
    EXPECT_EQ(frame->m_Index, wxListEvent().GetIndex());
}

// --- Menu and end ------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, LeavesAMenuThatIsAskedForWithThePointerToTheList) {
    wxContextMenuEvent event(wxEVT_CONTEXT_MENU, ID_CARD_LIST, wxPoint(10, 10));
    m_Frame->list_cards->GetEventHandler()->ProcessEvent(event);
    EXPECT_TRUE(event.GetSkipped());
}

TEST(TheEndOfTheMainWindow, ComesByItselfAfterItWasAskedForOutsideAnyEvent) {
    const wxWeakRef<ProbedFrame> frame(new ProbedFrame);
    EXPECT_TRUE(frame->Destroy());
    EXPECT_TRUE(RunUntil([&frame] { return frame.get() == nullptr; }));
}

TEST(TheEndOfTheMainWindow, LetsNothingBeginAnyMore) {
    const wxWeakRef<ProbedFrame> frame(new ProbedFrame);
    EXPECT_TRUE(frame->Destroy());
    // A refresh lets the toolkit work, which would end the window under it.
    wxTimerEvent tick(frame->m_startTimer);
    EXPECT_FALSE(frame->GetEventHandler()->ProcessEvent(tick));
    wxCommandEvent finished(wxEVT_MENU, ID_THREAD_FINISHED);
    EXPECT_FALSE(frame->GetEventHandler()->ProcessEvent(finished));
    EXPECT_TRUE(RunUntil([&frame] { return frame.get() == nullptr; }));
}

TEST(TheEndOfTheMainWindow, NeedsNoCardObject) {
    FramePtr frame(new ProbedFrame);
    const std::unique_ptr<Velmor::tkPKCS11> card(std::exchange(frame->m_p11, nullptr));
    frame.reset();
    EXPECT_EQ(wxWindow::FindWindowById(ID_CARD_LIST), nullptr);
    card->destroy();
}

// --- Start -------------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, StartsItsFirstRefreshByItselfOnceAfterTwoMilliseconds) {
    EXPECT_TRUE(m_Frame->m_startTimer.IsRunning());
    EXPECT_TRUE(m_Frame->m_startTimer.IsOneShot());
    EXPECT_EQ(m_Frame->m_startTimer.GetInterval(), 2);
    EXPECT_EQ(m_Frame->m_startTimer.GetId(), 5444);
    EXPECT_EQ(m_Frame->m_fadeTimer.GetId(), 5445);
    EXPECT_EQ(m_Frame->m_startTimer.GetOwner(), m_Frame.get());
    EXPECT_EQ(m_Frame->m_fadeTimer.GetOwner(), m_Frame.get());
}

TEST_F(TheMainWindow, ComesUpWithAnEmptyListWhenThereIsNoTokenLibrary) {
    Show();
    EXPECT_NE(m_Frame->m_p11, nullptr);
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 0);
    EXPECT_FALSE(m_Frame->m_pleaseWait.IsShown());
    EXPECT_FALSE(wxIsBusy());
    for (const wxWindow* control : m_Frame->Commands()) {
        EXPECT_TRUE(control->IsEnabled()) << control->GetId();
    }
}

TEST_F(TheMainWindow, EndsEveryCommandQuietlyWhenThereIsNoTokenLibrary) {
    Show();
    for (wxWindow* control : m_Frame->Commands()) {
        if (control == m_Frame->list_cards) {
            continue;
        }
        wxCommandEvent click(wxEVT_BUTTON, control->GetId());
        EXPECT_TRUE(control->GetEventHandler()->ProcessEvent(click)) << control->GetId();
        ASSERT_TRUE(RunUntil([this] { return Refreshed(); }));
    }
    EXPECT_TRUE(m_Frame->IsEnabled());
}

TEST(AStrayCompletionEvent, IsIgnored) {
    const FramePtr frame(new ProbedFrame);
    wxCommandEvent stray(wxEVT_MENU, ID_THREAD_FINISHED);
    EXPECT_TRUE(frame->GetEventHandler()->ProcessEvent(stray));
    EXPECT_EQ(frame->m_refreshThread, nullptr);
}
