// SPDX-License-Identifier: MIT
// Construction and layout of the main window. There is no token library on the loader path.
#include "app/MainFrame.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "app/ControlIds.h"
#include "images/Images.h"
#include "tests/app/GuiTest.h"
#include "tests/app/ProbedFrame.h"

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Property;

class TheMainWindow : public testing::Test {
protected:
    /// Shown, and with its first refresh done.
    void Show() {
        m_frame->Show(true);
        ASSERT_TRUE(RunUntil([this] { return Refreshed(); }));
    }
    bool Refreshed() {
        return !m_frame->m_startTimer.IsRunning() && m_frame->m_refreshThread == nullptr &&
               m_frame->IsEnabled();
    }

    FramePtr m_frame{new ProbedFrame};
};

// --- Frame -------------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, IsTitledWithAFixedArchitectureWhenNoVersionIsKnown) {
    EXPECT_EQ(m_frame->GetTitle(), "Kartenverwaltung (x86)");
}

TEST_F(TheMainWindow, IsAnOrdinaryFrameWithoutParentMenuToolOrStatusBar) {
    EXPECT_EQ(m_frame->GetParent(), nullptr);
    EXPECT_EQ(m_frame->GetWindowStyle(), wxDEFAULT_FRAME_STYLE);
    EXPECT_EQ(m_frame->GetMenuBar(), nullptr);
    EXPECT_EQ(m_frame->GetStatusBar(), nullptr);
    EXPECT_EQ(m_frame->GetToolBar(), nullptr);
    EXPECT_TRUE(m_frame->GetIcon().IsOk());
    EXPECT_EQ(m_frame->GetIcon().GetSize(), wxSize(32, 32));
}

TEST_F(TheMainWindow, CannotBeMadeSmallerThan800By600) {
    EXPECT_EQ(m_frame->GetMinSize(), wxSize(800, 600));
    Show();
    m_frame->SetSize(300, 200);
    RunFor(300); // in which it could become as small as that
    EXPECT_TRUE(RunUntil([this] {
        return m_frame->GetSize().GetWidth() >= 800 && m_frame->GetSize().GetHeight() >= 600;
    })) << m_frame->GetSize().GetWidth();
}

TEST_F(TheMainWindow, StandsInTheMiddleOfTheScreen) {
    Show();
    EXPECT_TRUE(RunUntil([this] {
        const wxRect screen = wxGetClientDisplayRect();
        const wxRect window = m_frame->GetScreenRect();
        return std::abs(window.x + window.width / 2 - (screen.x + screen.width / 2)) <= 30 &&
               std::abs(window.y + window.height / 2 - (screen.y + screen.height / 2)) <= 30;
    }));
}

// --- Controls ----------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, HasElevenCommandsWithTheirIdsAndLabels) {
    struct Row {
        wxButton* button;
        int id;
        const char* label;
    };
    const Row rows[] = {
        {m_frame->button_sig_change_pin, 5440, "6 stellige PIN ändern"},
        {m_frame->button_sig_puk, 5441, "6 stellige PIN entsperren"},
        {m_frame->button_sig_show_cert, 5442, "Zertifikat anzeigen"},
        {m_frame->button_sig_test, 5443, "Signatur testen"},
        {m_frame->button_enc_change_pin, 5436, "4 stellige PIN ändern"},
        {m_frame->button_enc_puk, 5437, "4 stellige PIN entsperren"},
        {m_frame->button_enc_show, 5438, "Zertifikat anzeigen"},
        {m_frame->button_enc_test, 5439, "Signatur testen"},
        {m_frame->button_pers_change, 5433, "4 stellige PIN ändern"},
        {m_frame->button_pers_puk, 5434, "4 stellige PIN entsperren"},
        {m_frame->button_pers_show, 5435, "Infobox anzeigen"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.button->GetId(), row.id);
        EXPECT_EQ(row.button->GetLabel(), Utf8(row.label));
        EXPECT_EQ(row.button->GetParent(), m_frame->panel_main);
        EXPECT_EQ(row.button->GetWindowStyle() & wxBORDER_MASK, 0);
        EXPECT_EQ(wxWindow::FindWindowById(row.id, m_frame.get()), row.button);
    }
}

TEST_F(TheMainWindow, HasItsMembersInTheirOrder) {
    const ProbedFrame& frame = *m_frame;
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
    EXPECT_EQ(m_frame->sizer_sig_box->GetLabel(), "Signaturzertifikat");
    EXPECT_EQ(m_frame->sizer_enc_box->GetLabel(), "Geheimhaltungszertifikat");
    EXPECT_EQ(m_frame->sizer_pers_box->GetLabel(), "Infoboxbereich");
}

TEST_F(TheMainWindow, HasItsControlsInAFixedOrderOnOnePanel) {
    const std::vector<wxWindow*> expected = {
        m_frame->sizer_enc_box,
        m_frame->sizer_pers_box,
        m_frame->sizer_sig_box,
        m_frame->bitmap_banner,
        m_frame->list_cards,
        m_frame->button_reload,
        m_frame->button_sig_change_pin,
        m_frame->button_sig_puk,
        m_frame->button_sig_show_cert,
        m_frame->button_sig_test,
        m_frame->button_enc_change_pin,
        m_frame->button_enc_puk,
        m_frame->button_enc_show,
        m_frame->button_enc_test,
        m_frame->button_pers_change,
        m_frame->button_pers_puk,
        m_frame->button_pers_show,
        m_frame->bitmap_status,
        m_frame->label_status,
        m_frame->panel_status_left,
        m_frame->panel_status_right,
        m_frame->panel_status_height,
    };
    EXPECT_THAT(ChildrenOf(*m_frame->panel_main), ElementsAreArray(expected));
}

TEST_F(TheMainWindow, ShowsTheBannerAndTheReloadPicture) {
    EXPECT_EQ(m_frame->bitmap_banner->GetBitmap().GetSize(), wxSize(769, 170));
    EXPECT_EQ(m_frame->button_reload->GetId(), 5432);
    EXPECT_EQ(m_frame->button_reload->GetBitmapLabel().GetSize(), wxSize(32, 32));
}

TEST_F(TheMainWindow, HasAListInReportModeForOneSelection) {
    EXPECT_EQ(m_frame->list_cards->GetId(), 5446);
    EXPECT_EQ(m_frame->list_cards->GetWindowStyle() & (wxLC_MASK_TYPE | wxLC_SINGLE_SEL | wxBORDER_MASK),
              wxLC_REPORT | wxLC_SINGLE_SEL | wxBORDER_SUNKEN);
}

TEST_F(TheMainWindow, ListsNumberHolderAndKindInThreeColumns) {
    struct Column {
        const char* header;
        int width;
    };
    const Column columns[] = {{"Kartennummer", 170}, {"Ausgestellt für", 350}, {"Kartentyp", 190}};
    ASSERT_EQ(m_frame->list_cards->GetColumnCount(), 3);
    for (int i = 0; i < 3; ++i) {
        wxListItem item;
        item.SetMask(wxLIST_MASK_TEXT | wxLIST_MASK_FORMAT | wxLIST_MASK_WIDTH);
        ASSERT_TRUE(m_frame->list_cards->GetColumn(i, item));
        EXPECT_EQ(item.GetText(), Utf8(columns[i].header));
        EXPECT_EQ(item.GetAlign(), wxLIST_FORMAT_LEFT);
        EXPECT_EQ(m_frame->list_cards->GetColumnWidth(i), columns[i].width);
    }
}

TEST_F(TheMainWindow, HasOneListOfChipImagesForBothSizes) {
    EXPECT_EQ(m_frame->m_chipImage, 0);
    EXPECT_EQ(m_frame->m_imageList->GetImageCount(), 1);
    int width = 0;
    int height = 0;
    ASSERT_TRUE(m_frame->m_imageList->GetSize(0, width, height));
    EXPECT_EQ(wxSize(width, height), wxSize(31, 22));
    EXPECT_EQ(m_frame->list_cards->GetImageList(wxIMAGE_LIST_NORMAL), m_frame->m_imageList);
    EXPECT_EQ(m_frame->list_cards->GetImageList(wxIMAGE_LIST_SMALL), m_frame->m_imageList);
}

TEST_F(TheMainWindow, StartsWithAHiddenStatusLine) {
    EXPECT_FALSE(m_frame->label_status->IsShown());
    EXPECT_FALSE(m_frame->bitmap_status->IsShown());
    EXPECT_FALSE(m_frame->m_fadeTimer.IsRunning());
    EXPECT_EQ(m_frame->label_status->GetLabel(), "");
    EXPECT_NE(m_frame->label_status->GetWindowStyle() & wxALIGN_CENTRE, 0);
}

// --- Layout ------------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, FillsTheFrameWithOnePanel) {
    EXPECT_THAT(PlacementsIn(*m_frame->GetSizer()),
                ElementsAre(Placement{m_frame->panel_main, 1, wxEXPAND, 0}));
    EXPECT_EQ(m_frame->panel_main->GetWindowStyle() & (wxTAB_TRAVERSAL | wxBORDER_MASK),
              wxTAB_TRAVERSAL | wxBORDER_NONE);
}

TEST_F(TheMainWindow, PlacesBannerListCommandsAndStatusRowBelowEachOther) {
    EXPECT_THAT(PlacementsIn(*m_frame->panel_main->GetSizer()),
                ElementsAre(Placement{m_frame->bitmap_banner, 0, wxALIGN_CENTER, 0},
                            Placement{nullptr, 1, wxEXPAND, 0}, Placement{nullptr, 0, wxEXPAND, 0},
                            Placement{nullptr, 0, wxALL | wxALIGN_CENTER_HORIZONTAL, 3}));
    EXPECT_EQ(dynamic_cast<wxBoxSizer*>(m_frame->panel_main->GetSizer())->GetOrientation(), wxVERTICAL);
}

TEST_F(TheMainWindow, PlacesTheReloadButtonBesideTheList) {
    EXPECT_THAT(PlacementsIn(*m_frame->list_cards->GetContainingSizer()),
                ElementsAre(Placement{m_frame->list_cards, 1, wxEXPAND | wxTOP | wxLEFT, 6},
                            Placement{m_frame->button_reload, 0, wxALIGN_BOTTOM | wxLEFT | wxRIGHT, 6}));
}

TEST_F(TheMainWindow, PlacesTheThreeBoxesInTheOrderSignatureEncryptionInfobox) {
    wxSizer& row = *m_frame->panel_main->GetSizer()->GetItem(2)->GetSizer();
    EXPECT_THAT(PlacementsIn(row),
                testing::AllOf(testing::SizeIs(3), Each(Placement{nullptr, 1, wxEXPAND | wxALL, 12})));
    std::vector<wxWindow*> boxes;
    for (const wxSizerItem* item : row.GetChildren())
        boxes.push_back(dynamic_cast<wxStaticBoxSizer&>(*item->GetSizer()).GetStaticBox());
    EXPECT_THAT(boxes, ElementsAre(m_frame->sizer_sig_box, m_frame->sizer_enc_box, m_frame->sizer_pers_box));
}

TEST_F(TheMainWindow, PlacesTheCommandsOfABoxWithTheirGaps) {
    const int first = wxEXPAND | wxALL;
    const int second = wxEXPAND | wxLEFT | wxRIGHT | wxBOTTOM;
    const int third = wxEXPAND | wxLEFT | wxRIGHT | wxTOP;
    const int fourth = wxEXPAND | wxALL;
    EXPECT_THAT(PlacementsIn(*m_frame->button_sig_puk->GetContainingSizer()),
                ElementsAre(Placement{m_frame->button_sig_change_pin, 0, first, 6},
                            Placement{m_frame->button_sig_puk, 0, second, 6},
                            Placement{m_frame->button_sig_show_cert, 0, third, 6},
                            Placement{m_frame->button_sig_test, 0, fourth, 6}));
    EXPECT_THAT(PlacementsIn(*m_frame->button_enc_puk->GetContainingSizer()),
                ElementsAre(Placement{m_frame->button_enc_change_pin, 0, first, 6},
                            Placement{m_frame->button_enc_puk, 0, second, 6},
                            Placement{m_frame->button_enc_show, 0, third, 6},
                            Placement{m_frame->button_enc_test, 0, fourth, 6}));
    EXPECT_THAT(PlacementsIn(*m_frame->button_pers_puk->GetContainingSizer()),
                ElementsAre(Placement{m_frame->button_pers_change, 0, first, 6},
                            Placement{m_frame->button_pers_puk, 0, second, 6},
                            Placement{m_frame->button_pers_show, 0, third, 6}));
}

TEST_F(TheMainWindow, PlacesIconAndTextBetweenTwoFillers) {
    EXPECT_THAT(PlacementsIn(*m_frame->label_status->GetContainingSizer()),
                ElementsAre(Placement{m_frame->panel_status_left, 1, wxEXPAND, 0},
                            Placement{m_frame->bitmap_status, 0, wxALL, 0},
                            Placement{m_frame->label_status, 0,
                                      wxALIGN_CENTER_VERTICAL | wxRESERVE_SPACE_EVEN_IF_HIDDEN, 6},
                            Placement{m_frame->panel_status_right, 1, wxEXPAND, 0},
                            Placement{m_frame->panel_status_height, 0, 0, 0}));
    EXPECT_EQ(m_frame->bitmap_status->GetMinSize(), wxSize(32, 32));
}

TEST_F(TheMainWindow, KeepsAStatusRowOf32PixelsWithNothingInIt) {
    Show();
    EXPECT_EQ(m_frame->panel_status_height->GetSize().GetHeight(), 32);
    EXPECT_EQ(m_frame->label_status->GetContainingSizer()->GetSize().GetHeight(), 32);
}

// --- Enabling ----------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, DisablesEveryCommandAndItself) {
    m_frame->MyEnable(false);
    for (const wxWindow* control : m_frame->Commands())
        EXPECT_FALSE(control->IsThisEnabled()) << control->GetId();
    EXPECT_FALSE(m_frame->IsThisEnabled());
}

TEST_F(TheMainWindow, EnablesEverythingWhenTheListIsEmpty) {
    m_frame->MyEnable(false);
    m_frame->MyEnable(true);
    for (const wxWindow* control : m_frame->Commands())
        EXPECT_TRUE(control->IsThisEnabled()) << control->GetId();
    EXPECT_TRUE(m_frame->IsThisEnabled());
}

TEST(EnablingTheMainWindow, AsksForWhatTheSelectedCardDoesNotAllow) {
    class Frame : public ProbedFrame {
    public:
        void evt_ItemSelected(wxListEvent& event) override {
            ++calls;
            index = event.GetIndex();
        }
        int calls = 0;
        long index = 0;
    };
    const std::unique_ptr<Frame, DestroyWindow> frame(new Frame);
    frame->MyEnable(false);
    EXPECT_EQ(frame->calls, 0);
    frame->MyEnable(true);
    EXPECT_EQ(frame->calls, 1);
    EXPECT_EQ(frame->index, wxListEvent().GetIndex());
}

// --- Start -------------------------------------------------------------------------------------------------

TEST_F(TheMainWindow, StartsItsFirstRefreshByItselfOnceAfterTwoMilliseconds) {
    EXPECT_TRUE(m_frame->m_startTimer.IsRunning());
    EXPECT_TRUE(m_frame->m_startTimer.IsOneShot());
    EXPECT_EQ(m_frame->m_startTimer.GetInterval(), 2);
    EXPECT_EQ(m_frame->m_startTimer.GetId(), 5444);
    EXPECT_EQ(m_frame->m_fadeTimer.GetId(), 5445);
    EXPECT_EQ(m_frame->m_startTimer.GetOwner(), m_frame.get());
    EXPECT_EQ(m_frame->m_fadeTimer.GetOwner(), m_frame.get());
}

TEST_F(TheMainWindow, ComesUpWithAnEmptyListWhenThereIsNoTokenLibrary) {
    Show();
    EXPECT_NE(m_frame->m_p11, nullptr);
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 0);
    EXPECT_FALSE(m_frame->m_pleaseWait.IsShown());
    EXPECT_FALSE(wxIsBusy());
    for (const wxWindow* control : m_frame->Commands())
        EXPECT_TRUE(control->IsEnabled()) << control->GetId();
}

TEST_F(TheMainWindow, EndsEveryCommandQuietlyWhenThereIsNoTokenLibrary) {
    Show();
    for (wxWindow* control : m_frame->Commands()) {
        if (control == m_frame->list_cards)
            continue;
        wxCommandEvent click(wxEVT_BUTTON, control->GetId());
        EXPECT_TRUE(control->GetEventHandler()->ProcessEvent(click)) << control->GetId();
        ASSERT_TRUE(RunUntil([this] { return Refreshed(); }));
    }
    EXPECT_TRUE(m_frame->IsEnabled());
}

TEST(AStrayCompletionEvent, IsIgnored) {
    const FramePtr frame(new ProbedFrame);
    wxCommandEvent stray(wxEVT_MENU, ID_THREAD_FINISHED);
    EXPECT_TRUE(frame->GetEventHandler()->ProcessEvent(stray));
    EXPECT_EQ(frame->m_refreshThread, nullptr);
}
