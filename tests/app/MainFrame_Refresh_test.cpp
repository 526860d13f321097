// SPDX-License-Identifier: MIT
// A refresh of the card list, over the simulated token library.
#include "app/MainFrame.h"

#include <wx/app.h>
#include <wx/utils.h>
#include <wx/weakref.h>

#include <cstdlib>

#include "app/ControlIds.h"
#include "tests/app/ProbedFrame.h"
#include "tests/app/ThreadStart.h"
#include "tests/support/GuiTest.h"
#include "tests/support/RefreshCalls.h"
#include "tests/support/SimDeck.h"

using orseltest::CardOptions;
using orseltest::SimDeck;
using testing::Each;
using testing::ElementsAre;

namespace {

/// Whether the display itself shows a window of this name, whatever the toolkit believes.
bool IsOnScreen(const std::string& name) {
    return std::system(("xwininfo -name '" + name + "' 2>/dev/null | grep -q IsViewable").c_str()) == 0;
}

class ARefresh : public testing::Test {
protected:
    /// Opens the window and lets its first refresh end.
    void Open() {
        m_Frame.reset(new ProbedFrame);
        m_Frame->Show(true);
        ASSERT_TRUE(RunUntil([this] { return !m_Frame->m_startTimer.IsRunning() && Idle(); }));
    }
    void Reload() {
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        m_Frame->button_reload->GetEventHandler()->ProcessEvent(click);
        ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    }
    bool Idle() { return m_Frame->m_refreshThread == nullptr && m_Frame->IsThisEnabled(); }

    std::vector<std::vector<wxString>> Rows() {
        std::vector<std::vector<wxString>> rows;
        for (long row = 0; row < m_Frame->list_cards->GetItemCount(); ++row) {
            rows.push_back(m_Frame->Row(row));
        }
        return rows;
    }
    std::vector<wxString> Column(size_t column) {
        std::vector<wxString> texts;
        for (const auto& row : Rows()) {
            texts.push_back(row[column]);
        }
        return texts;
    }
    bool EverythingIsEnabled() {
        for (const wxWindow* control : m_Frame->Commands()) {
            if (!control->IsThisEnabled()) {
                return false;
            }
        }
        return m_Frame->IsThisEnabled();
    }
    long SelectedRow() {
        return m_Frame->list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    }

    SimDeck m_Deck;
    FramePtr m_Frame;
};

/// A window whose cards have been read, with the news of it waiting.
class AWindowBeforeItsRowsCome : public ARefresh {
protected:
    void SetUp() override {
        m_Deck.Add("acos-a03");
        Open();
        ProbedFrame* const frame = m_Frame.release(); // it goes by itself
        m_Window = frame;
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        frame->ProcessEvent(click);
    }
    wxWeakRef<ProbedFrame> m_Window;
};

} // namespace

TEST_F(ARefresh, ShowsTheCardsInTheReverseOfTheSlotOrder) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444"));
    m_Deck.Add("cardos-53", CardOptions().Serial("5555666677778888"));
    Open();
    EXPECT_THAT(Column(0), ElementsAre("5555666677778888", "1111222233334444"));
    EXPECT_THAT(Column(2), ElementsAre("Orsel Carta CardOS 5.3", "Orsel Carta ACOS 04"));
}

TEST_F(ARefresh, SelectsTheRowOnTop) {
    m_Deck.Add("acos-a04");
    m_Deck.Add("cardos-53");
    Open();
    EXPECT_EQ(SelectedRow(), 0);
    EXPECT_EQ(m_Frame->list_cards->GetItemData(0), static_cast<wxUIntPtr>(Velmor::TOKEN_CARDOS_53));
    EXPECT_EQ(m_Frame->list_cards->GetItemData(1), static_cast<wxUIntPtr>(Velmor::TOKEN_ACOS_04));
}

TEST_F(ARefresh, NamesEachOfTheEightKindsAndTheUnknownTokenByItsLabel) {
    m_Deck.AddDemoCards();
    Open();
    EXPECT_THAT(Column(2),
                ElementsAre("Firmenausweis                   ", "Orsel Carta ACOS 04",
                            "Orsel Carta CardOS 5.3", "Orsel Carta e-Card G4", "Orsel Carta e-Card G3B",
                            "Orsel Carta e-Card G3A", "Orsel Carta e-Card G2", "Orsel Carta ACOS 05",
                            "Orsel Carta ACOS 04", "Orsel Carta ACOS 03"));
    std::vector<wxUIntPtr> types;
    for (long row = 0; row < 10; ++row) {
        types.push_back(m_Frame->list_cards->GetItemData(row));
    }
    EXPECT_THAT(types, ElementsAre(8, 1, 7, 6, 5, 4, 3, 2, 1, 0));
}

TEST_F(ARefresh, GivesEveryRowTheChip) {
    m_Deck.Add("acos-a04");
    Open();
    wxListItem item;
    item.SetId(0);
    item.SetMask(wxLIST_MASK_IMAGE);
    ASSERT_TRUE(m_Frame->list_cards->GetItem(item));
    EXPECT_EQ(item.GetImage(), m_Frame->m_chipImage);
}

TEST_F(ARefresh, NamesTheHolderByTheCommonNameOfTheEncryptionCertificate) {
    m_Deck.Add("acos-a04", CardOptions().Holder("Björn Straßgschwandtner"));
    m_Deck.Add("ecard-g4", CardOptions().Holder("Žofia Čapek"));
    Open();
    EXPECT_THAT(Column(1), ElementsAre(Utf8("Žofia Čapek"), Utf8("Björn Straßgschwandtner")));
}

TEST_F(ARefresh, ShowsTheKindOfACardWhoseCertificateCannotBeRead) {
    const std::string missing = m_Deck.Add("acos-a04");
    const std::string garbled = m_Deck.Add("ecard-g4");
    m_Deck.Add("cardos-53", CardOptions().Slot(77));
    m_Deck.RemoveObject(missing, "C.CH.EKEY");
    m_Deck.ReplaceObject(garbled, "C.CH.EKEY", {0x30, 0x82, 0xFF, 0xFF, 0x00});
    m_Deck.PlanFaults({"C_GetAttributeValue slot=77 rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_THAT(Column(1), Each("unbekannt"));
    EXPECT_THAT(Column(2),
                ElementsAre("Orsel Carta CardOS 5.3", "Orsel Carta e-Card G4", "Orsel Carta ACOS 04"));
}

TEST_F(ARefresh, TakesTheHolderOfEachCardFromThatCardAlone) {
    m_Deck.Add("acos-a04", CardOptions().Holder("Erste Person"));
    const std::string second = m_Deck.Add("acos-a04", CardOptions().Holder("Zweite Person"));
    m_Deck.RemoveObject(second, "C.CH.EKEY");
    Open();
    EXPECT_THAT(Column(1), ElementsAre("unbekannt", "Erste Person"));
}

TEST_F(ARefresh, ShowsAnEmptyCardWithAnUnknownHolder) {
    m_Deck.Add("empty");
    Open();
    EXPECT_THAT(Rows(), ElementsAre(ElementsAre("0000000000000000", "unbekannt", "Orsel Carta ACOS 04")));
}

TEST_F(ARefresh, WithoutACardLeavesAnEmptyListAndEveryCommandEnabled) {
    Open();
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 0);
    EXPECT_EQ(SelectedRow(), -1);
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(m_Frame->m_pleaseWait.IsShown());
    EXPECT_FALSE(wxIsBusy());
}

TEST_F(ARefresh, SeesCardsThatCameAndWent) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444"));
    const std::string second = m_Deck.Add("cardos-53", CardOptions().Serial("5555666677778888"));
    Open();
    m_Deck.TakeOut(second);
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 2); // nobody polls
    Reload();
    EXPECT_THAT(Column(0), ElementsAre("1111222233334444"));
    m_Deck.PutBack(second);
    Reload();
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 2);
}

TEST_F(ARefresh, KeepsTheWindowDisabledBehindTheBusyDialogUntilItIsDone) {
    m_Deck.Add("acos-a03", CardOptions().DelayMs(400));
    Open();
    wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
    m_Frame->button_reload->GetEventHandler()->ProcessEvent(click);
    ASSERT_NE(m_Frame->m_refreshThread, nullptr);
    for (const wxWindow* control : m_Frame->Commands()) {
        EXPECT_FALSE(control->IsThisEnabled()) << control->GetId();
    }
    EXPECT_FALSE(m_Frame->IsThisEnabled());
    EXPECT_TRUE(m_Frame->m_pleaseWait.IsShown());
    EXPECT_TRUE(wxIsBusy());
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 0); // the old rows go first
    ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(m_Frame->m_pleaseWait.IsShown());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 1);
}

namespace {

bool IsNear(const wxPoint& one, const wxPoint& other) {
    return std::abs(one.x - other.x) < 30 && std::abs(one.y - other.y) < 30;
}

} // namespace

TEST_F(ARefresh, HasItsBusyDialogInTheMiddleOfTheWindowWhereverThatIs) {
    m_Deck.Add("acos-a03", CardOptions().DelayMs(1500));
    Open();
    ASSERT_TRUE(RunUntil([this] { return HasBorder(*m_Frame); }));
    for (const wxPoint place : {wxPoint(0, 30), wxPoint(400, 200)}) {
        m_Frame->Move(place);
        ASSERT_TRUE(RunUntil([&] { return IsNear(m_Frame->ClientToScreen(wxPoint(0, 0)), place); }));
        RunFor(100); // the toolkit hears of it later than the display
        ASSERT_TRUE(IsNear(m_Frame->GetPosition(), place));
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        m_Frame->button_reload->GetEventHandler()->ProcessEvent(click);
        EXPECT_TRUE(RunUntil([this] {
            const wxPoint middle = m_Frame->m_pleaseWait.ClientToScreen(wxPoint(110, 50));
            return m_Frame->m_pleaseWait.IsShown() &&
                   IsNear(middle, m_Frame->GetPosition() + m_Frame->GetSize() / 2);
        })) << place.x;
        ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    }
}

TEST_F(ARefresh, LeavesNoBusyDialogBehindHoweverShortItWas) {
    Open();
    for (int i = 0; i < 10; ++i) {
        Reload();
    }
    RunFor(1500); // longer than a window manager may take to show it
    EXPECT_FALSE(m_Frame->m_pleaseWait.IsShown());
    EXPECT_TRUE(RunUntil([] { return !IsOnScreen("Bitte warten"); }));
}

// --- Failures ----------------------------------------------------------------------------------------------

TEST_F(ARefresh, WhoseSlotListCannotBeReadEndsWithAnEmptyList) {
    m_Deck.Add("acos-a04");
    m_Deck.PlanFaults({"C_GetSlotList rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 0);
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(m_Frame->label_status->IsShown()); // nothing reaches the status line
}

TEST_F(ARefresh, LeavesOutACardWhoseSessionDoesNotOpen) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444").Slot(1));
    m_Deck.Add("cardos-53", CardOptions().Serial("5555666677778888").Slot(2));
    m_Deck.PlanFaults({"C_OpenSession slot=1 rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_THAT(Column(0), ElementsAre("5555666677778888"));
    EXPECT_FALSE(m_Frame->label_status->IsShown());
}

TEST_F(ARefresh, ShowsTheLabelOfACardWhoseTokenInformationIsGoneByThen) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444").Label("Meine Karte").Holder("Käthe Süß"));
    // The first call belongs to the list of slots, the second to the row.
    m_Deck.PlanFaults({"C_GetTokenInfo call=2 rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_THAT(Rows(), ElementsAre(ElementsAre("1111222233334444", Utf8("Käthe Süß"),
                                                "Meine Karte                     ")));
    EXPECT_EQ(m_Frame->list_cards->GetItemData(0), 8U);
}

TEST_F(ARefresh, ShowsNoNumberAndNoLabelThatIsNoUtf8) {
    m_Deck.Add("acos-a04");
    Open();
    static const auto getTokenInfo = Velmor::tkPKCS11::Proc_C_GetTokenInfo;
    Velmor::tkPKCS11::Proc_C_GetTokenInfo = [](CK_SLOT_ID slot, CK_TOKEN_INFO* info) {
        const CK_RV rv = getTokenInfo(slot, info);
        info->label[0] = info->serialNumber[0] = 0xFC; // an umlaut of another encoding
        info->model[0] = '?';                          // so that the label stands for the kind
        return rv;
    };
    Reload();
    Velmor::tkPKCS11::Proc_C_GetTokenInfo = getTokenInfo;
    ASSERT_EQ(m_Frame->list_cards->GetItemCount(), 1);
    EXPECT_EQ(Column(0).front(), "");
    EXPECT_NE(Column(1).front(), "");
    EXPECT_EQ(Column(2).front(), "");
    EXPECT_EQ(m_Frame->list_cards->GetItemData(0), 8U);
}

TEST_F(ARefresh, IsNotStartedAgainWhileItRuns) {
    m_Deck.Add("acos-a03", CardOptions().DelayMs(400));
    Open();
    wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
    m_Frame->button_reload->GetEventHandler()->ProcessEvent(click);
    const RefreshCardThread* const worker = m_Frame->m_refreshThread;
    ASSERT_NE(worker, nullptr);
    m_Frame->evt_reload(click);
    EXPECT_EQ(m_Frame->m_refreshThread, worker);
    ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 1);
}

TEST_F(ARefresh, WhoseThreadDoesNotStartKeepsTheBusyDialogOnTheScreen) {
    m_Deck.Add("acos-a04");
    Open();
    {
        const NoThreadStarts none;
        Reload();
    }
    EXPECT_EQ(m_Frame->m_refreshThread, nullptr);
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 0);
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_TRUE(m_Frame->m_pleaseWait.IsShown());

    Reload(); // a refresh that works takes it away
    EXPECT_FALSE(m_Frame->m_pleaseWait.IsShown());
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 1);
}

TEST_F(ARefresh, EndsWithTheWindowThatStartedIt) {
    m_Deck.Add("acos-a04", CardOptions().DelayMs(300));
    Open();
    wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
    m_Frame->button_reload->GetEventHandler()->ProcessEvent(click);
    m_Frame.reset();
    RunFor(500);
    EXPECT_EQ(m_Deck.GetTrace("C_Finalize").size(), 1U);
    EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").size(), m_Deck.GetTrace("C_CloseSession").size());
}

// --- Calls -------------------------------------------------------------------------------------------------

TEST_F(ARefresh, MakesExactlyItsCallsAndAllOfThemOnOneOtherThread) {
    m_Deck.AddDemoCards();
    Open();
    const long mainThread = m_Deck.GetTrace("C_Initialize").front().m_Thread;
    m_Deck.ClearTrace();
    Reload();
    const auto trace = m_Deck.GetTrace();
    const auto calls = orseltest::CallsOfOneRefresh({"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"},
                                                    {"9"}); // 9: empty card
    EXPECT_THAT(orseltest::CallsIn(trace), testing::ElementsAreArray(calls));
    for (const auto& record : trace) {
        EXPECT_EQ(record.m_Thread, trace.front().m_Thread);
        EXPECT_NE(record.m_Thread, mainThread);
        EXPECT_EQ(record.m_Result, "CKR_OK");
    }
}

TEST_F(ARefresh, OpensReadOnlySessionsAndLeavesNoneOpen) {
    m_Deck.AddDemoCards();
    Open();
    std::vector<std::string> opened;
    std::vector<std::string> closed;
    for (const auto& record : m_Deck.GetTrace("C_OpenSession")) {
        EXPECT_EQ(record.Value("flags"), "4");
        opened.push_back(record.Value("session"));
    }
    for (const auto& record : m_Deck.GetTrace("C_CloseSession")) {
        closed.push_back(record.Value("session"));
    }
    EXPECT_EQ(opened.size(), 10U);
    EXPECT_EQ(opened, closed);
}

TEST_F(ARefresh, BindsTheLibraryOnceAndUnbindsItWithTheWindow) {
    m_Deck.Add("acos-a04");
    Open();
    Reload();
    EXPECT_EQ(m_Deck.GetTrace("C_Initialize").size(), 1U);
    EXPECT_EQ(m_Deck.GetTrace("C_GetInfo").size(), 1U);
    EXPECT_EQ(m_Deck.GetTrace("C_Finalize").size(), 0U);
    m_Frame.reset();
    RunFor(100);
    EXPECT_EQ(m_Deck.GetTrace("C_Finalize").size(), 1U);
    EXPECT_EQ(m_Deck.GetTrace().back().m_Function, "C_Finalize");
}

// --- Threads -----------------------------------------------------------------------------------------------

TEST_F(ARefresh, OfTenCardsMayBeRepeatedFiftyTimes) {
    m_Deck.AddDemoCards();
    Open();
    for (int i = 0; i < 50; ++i) {
        Reload();
    }
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 10);
    EXPECT_THAT(m_Deck.GetTrace("C_CloseSession"), testing::SizeIs(510));
    EXPECT_FALSE(m_Frame->m_pleaseWait.IsShown());
}

TEST_F(AWindowBeforeItsRowsCome, GoesWhenTheyStandThereIfItIsClosedMeanwhile) {
    m_Window->CallAfter([this] { m_Window->Close(); }); // by the handler's own wait for the screen
    wxCommandEvent finished(wxEVT_MENU, ID_THREAD_FINISHED);
    m_Window->ProcessEvent(finished);
    ASSERT_TRUE(m_Window);
    EXPECT_EQ(m_Window->list_cards->GetItemCount(), 1);
    EXPECT_TRUE(RunUntil([this] { return !m_Window; }));
}
