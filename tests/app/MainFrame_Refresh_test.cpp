// SPDX-License-Identifier: MIT
// A refresh of the card list, over the simulated token library.
#include "app/MainFrame.h"

#include <wx/app.h>
#include <wx/utils.h>
#include <wx/weakref.h>

#include <cstdlib>

#include "app/ControlIds.h"
#include "tests/app/GuiTest.h"
#include "tests/app/ProbedFrame.h"
#include "tests/app/ThreadStart.h"
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
        m_frame.reset(new ProbedFrame);
        m_frame->Show(true);
        ASSERT_TRUE(RunUntil([this] { return !m_frame->m_startTimer.IsRunning() && Idle(); }));
    }
    void Reload() {
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        m_frame->button_reload->GetEventHandler()->ProcessEvent(click);
        ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    }
    bool Idle() { return m_frame->m_refreshThread == nullptr && m_frame->IsThisEnabled(); }

    std::vector<std::vector<wxString>> Rows() {
        std::vector<std::vector<wxString>> rows;
        for (long row = 0; row < m_frame->list_cards->GetItemCount(); ++row)
            rows.push_back(m_frame->Row(row));
        return rows;
    }
    std::vector<wxString> Column(size_t column) {
        std::vector<wxString> texts;
        for (const auto& row : Rows())
            texts.push_back(row[column]);
        return texts;
    }
    bool EverythingIsEnabled() {
        for (const wxWindow* control : m_frame->Commands()) {
            if (!control->IsThisEnabled())
                return false;
        }
        return m_frame->IsThisEnabled();
    }
    long SelectedRow() {
        return m_frame->list_cards->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED);
    }

    SimDeck m_deck;
    FramePtr m_frame;
};

/// A window whose cards have been read, with the news of it waiting.
class AWindowBeforeItsRowsCome : public ARefresh {
protected:
    void SetUp() override {
        m_deck.add("acos-a03");
        Open();
        ProbedFrame* const frame = m_frame.release(); // it goes by itself
        m_window = frame;
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        frame->ProcessEvent(click);
    }
    wxWeakRef<ProbedFrame> m_window;
};

} // namespace

TEST_F(ARefresh, ShowsTheCardsInTheReverseOfTheSlotOrder) {
    m_deck.add("acos-a04", CardOptions().serial("1111222233334444"));
    m_deck.add("cardos-53", CardOptions().serial("5555666677778888"));
    Open();
    EXPECT_THAT(Column(0), ElementsAre("5555666677778888", "1111222233334444"));
    EXPECT_THAT(Column(2), ElementsAre("Orsel Carta CardOS 5.3", "Orsel Carta ACOS 04"));
}

TEST_F(ARefresh, SelectsTheRowOnTop) {
    m_deck.add("acos-a04");
    m_deck.add("cardos-53");
    Open();
    EXPECT_EQ(SelectedRow(), 0);
    EXPECT_EQ(m_frame->list_cards->GetItemData(0), static_cast<wxUIntPtr>(Velmor::TOKEN_CARDOS_53));
    EXPECT_EQ(m_frame->list_cards->GetItemData(1), static_cast<wxUIntPtr>(Velmor::TOKEN_ACOS_04));
}

TEST_F(ARefresh, NamesEachOfTheEightKindsAndTheUnknownTokenByItsLabel) {
    m_deck.addDemoCards();
    Open();
    EXPECT_THAT(Column(2),
                ElementsAre("Firmenausweis                   ", "Orsel Carta ACOS 04",
                            "Orsel Carta CardOS 5.3", "Orsel Carta e-Card G4", "Orsel Carta e-Card G3B",
                            "Orsel Carta e-Card G3A", "Orsel Carta e-Card G2", "Orsel Carta ACOS 05",
                            "Orsel Carta ACOS 04", "Orsel Carta ACOS 03"));
    std::vector<wxUIntPtr> types;
    for (long row = 0; row < 10; ++row)
        types.push_back(m_frame->list_cards->GetItemData(row));
    EXPECT_THAT(types, ElementsAre(8, 1, 7, 6, 5, 4, 3, 2, 1, 0));
}

TEST_F(ARefresh, GivesEveryRowTheChip) {
    m_deck.add("acos-a04");
    Open();
    wxListItem item;
    item.SetId(0);
    item.SetMask(wxLIST_MASK_IMAGE);
    ASSERT_TRUE(m_frame->list_cards->GetItem(item));
    EXPECT_EQ(item.GetImage(), m_frame->m_chipImage);
}

TEST_F(ARefresh, NamesTheHolderByTheCommonNameOfTheEncryptionCertificate) {
    m_deck.add("acos-a04", CardOptions().holder("Björn Straßgschwandtner"));
    m_deck.add("ecard-g4", CardOptions().holder("Žofia Čapek"));
    Open();
    EXPECT_THAT(Column(1), ElementsAre(Utf8("Žofia Čapek"), Utf8("Björn Straßgschwandtner")));
}

TEST_F(ARefresh, ShowsTheKindOfACardWhoseCertificateCannotBeRead) {
    const std::string missing = m_deck.add("acos-a04");
    const std::string garbled = m_deck.add("ecard-g4");
    m_deck.add("cardos-53", CardOptions().slot(77));
    m_deck.removeObject(missing, "C.CH.EKEY");
    m_deck.replaceObject(garbled, "C.CH.EKEY", {0x30, 0x82, 0xFF, 0xFF, 0x00});
    m_deck.planFaults({"C_GetAttributeValue slot=77 rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_THAT(Column(1), Each("unbekannt"));
    EXPECT_THAT(Column(2),
                ElementsAre("Orsel Carta CardOS 5.3", "Orsel Carta e-Card G4", "Orsel Carta ACOS 04"));
}

TEST_F(ARefresh, TakesTheHolderOfEachCardFromThatCardAlone) {
    m_deck.add("acos-a04", CardOptions().holder("Erste Person"));
    const std::string second = m_deck.add("acos-a04", CardOptions().holder("Zweite Person"));
    m_deck.removeObject(second, "C.CH.EKEY");
    Open();
    EXPECT_THAT(Column(1), ElementsAre("unbekannt", "Erste Person"));
}

TEST_F(ARefresh, ShowsAnEmptyCardWithAnUnknownHolder) {
    m_deck.add("empty");
    Open();
    EXPECT_THAT(Rows(), ElementsAre(ElementsAre("0000000000000000", "unbekannt", "Orsel Carta ACOS 04")));
}

TEST_F(ARefresh, WithoutACardLeavesAnEmptyListAndEveryCommandEnabled) {
    Open();
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 0);
    EXPECT_EQ(SelectedRow(), -1);
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(m_frame->m_pleaseWait.IsShown());
    EXPECT_FALSE(wxIsBusy());
}

TEST_F(ARefresh, SeesCardsThatCameAndWent) {
    m_deck.add("acos-a04", CardOptions().serial("1111222233334444"));
    const std::string second = m_deck.add("cardos-53", CardOptions().serial("5555666677778888"));
    Open();
    m_deck.takeOut(second);
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 2); // nobody polls
    Reload();
    EXPECT_THAT(Column(0), ElementsAre("1111222233334444"));
    m_deck.putBack(second);
    Reload();
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 2);
}

TEST_F(ARefresh, KeepsTheWindowDisabledBehindTheBusyDialogUntilItIsDone) {
    m_deck.add("acos-a03", CardOptions().delayMs(400));
    Open();
    wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
    m_frame->button_reload->GetEventHandler()->ProcessEvent(click);
    ASSERT_NE(m_frame->m_refreshThread, nullptr);
    for (const wxWindow* control : m_frame->Commands())
        EXPECT_FALSE(control->IsThisEnabled()) << control->GetId();
    EXPECT_FALSE(m_frame->IsThisEnabled());
    EXPECT_TRUE(m_frame->m_pleaseWait.IsShown());
    EXPECT_TRUE(wxIsBusy());
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 0); // the old rows go first
    ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(m_frame->m_pleaseWait.IsShown());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 1);
}

TEST_F(ARefresh, HasItsBusyDialogInTheMiddleOfTheWindowWhereverThatIs) {
    m_deck.add("acos-a03", CardOptions().delayMs(1500));
    Open();
    for (const wxPoint place : {wxPoint(0, 30), wxPoint(400, 200)}) {
        const wxPoint before = m_frame->ClientToScreen(wxPoint(0, 0));
        m_frame->Move(place);
        ASSERT_TRUE(RunUntil([&] { return m_frame->ClientToScreen(wxPoint(0, 0)) != before; }));
        wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
        m_frame->button_reload->GetEventHandler()->ProcessEvent(click);
        EXPECT_TRUE(RunUntil([this] {
            const wxPoint middle = m_frame->m_pleaseWait.ClientToScreen(wxPoint(110, 50));
            const wxPoint off = middle - (m_frame->GetPosition() + m_frame->GetSize() / 2);
            return m_frame->m_pleaseWait.IsShown() && std::abs(off.x) < 30 && std::abs(off.y) < 30;
        })) << place.x;
        ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    }
}

TEST_F(ARefresh, LeavesNoBusyDialogBehindHoweverShortItWas) {
    Open();
    for (int i = 0; i < 10; ++i)
        Reload();
    RunFor(1500); // longer than a window manager may take to show it
    EXPECT_FALSE(m_frame->m_pleaseWait.IsShown());
    EXPECT_TRUE(RunUntil([] { return !IsOnScreen("Bitte warten"); }));
}

// --- Failures ----------------------------------------------------------------------------------------------

TEST_F(ARefresh, WhoseSlotListCannotBeReadEndsWithAnEmptyList) {
    m_deck.add("acos-a04");
    m_deck.planFaults({"C_GetSlotList rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 0);
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(m_frame->label_status->IsShown()); // nothing reaches the status line
}

TEST_F(ARefresh, LeavesOutACardWhoseSessionDoesNotOpen) {
    m_deck.add("acos-a04", CardOptions().serial("1111222233334444").slot(1));
    m_deck.add("cardos-53", CardOptions().serial("5555666677778888").slot(2));
    m_deck.planFaults({"C_OpenSession slot=1 rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_THAT(Column(0), ElementsAre("5555666677778888"));
    EXPECT_FALSE(m_frame->label_status->IsShown());
}

TEST_F(ARefresh, ShowsTheLabelOfACardWhoseTokenInformationIsGoneByThen) {
    m_deck.add("acos-a04", CardOptions().serial("1111222233334444").label("Meine Karte").holder("Käthe Süß"));
    // The first call belongs to the list of slots, the second to the row.
    m_deck.planFaults({"C_GetTokenInfo call=2 rv=CKR_DEVICE_ERROR"});
    Open();
    EXPECT_THAT(Rows(), ElementsAre(ElementsAre("1111222233334444", Utf8("Käthe Süß"),
                                                "Meine Karte                     ")));
    EXPECT_EQ(m_frame->list_cards->GetItemData(0), 8U);
}

TEST_F(ARefresh, ShowsNoNumberAndNoLabelThatIsNoUtf8) {
    m_deck.add("acos-a04");
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
    ASSERT_EQ(m_frame->list_cards->GetItemCount(), 1);
    EXPECT_EQ(Column(0).front(), "");
    EXPECT_NE(Column(1).front(), "");
    EXPECT_EQ(Column(2).front(), "");
    EXPECT_EQ(m_frame->list_cards->GetItemData(0), 8U);
}

TEST_F(ARefresh, IsNotStartedAgainWhileItRuns) {
    m_deck.add("acos-a03", CardOptions().delayMs(400));
    Open();
    wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
    m_frame->button_reload->GetEventHandler()->ProcessEvent(click);
    const RefreshCardThread* const worker = m_frame->m_refreshThread;
    ASSERT_NE(worker, nullptr);
    m_frame->evt_reload(click);
    EXPECT_EQ(m_frame->m_refreshThread, worker);
    ASSERT_TRUE(RunUntil([this] { return Idle(); }));
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 1);
}

TEST_F(ARefresh, WhoseThreadDoesNotStartKeepsTheBusyDialogOnTheScreen) {
    m_deck.add("acos-a04");
    Open();
    {
        const NoThreadStarts none;
        Reload();
    }
    EXPECT_EQ(m_frame->m_refreshThread, nullptr);
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 0);
    EXPECT_TRUE(EverythingIsEnabled());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_TRUE(m_frame->m_pleaseWait.IsShown());

    Reload(); // a refresh that works takes it away
    EXPECT_FALSE(m_frame->m_pleaseWait.IsShown());
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 1);
}

TEST_F(ARefresh, EndsWithTheWindowThatStartedIt) {
    m_deck.add("acos-a04", CardOptions().delayMs(300));
    Open();
    wxCommandEvent click(wxEVT_BUTTON, ID_RELOAD);
    m_frame->button_reload->GetEventHandler()->ProcessEvent(click);
    m_frame.reset();
    RunFor(500);
    EXPECT_EQ(m_deck.trace("C_Finalize").size(), 1U);
    EXPECT_EQ(m_deck.trace("C_OpenSession").size(), m_deck.trace("C_CloseSession").size());
}

// --- Calls -------------------------------------------------------------------------------------------------

TEST_F(ARefresh, MakesExactlyItsCallsAndAllOfThemOnOneOtherThread) {
    m_deck.addDemoCards();
    Open();
    const long mainThread = m_deck.trace("C_Initialize").front().thread;
    m_deck.clearTrace();
    Reload();
    const auto trace = m_deck.trace();
    const auto calls = orseltest::callsOfOneRefresh({"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"},
                                                    {"9"}); // 9: empty card
    EXPECT_THAT(orseltest::callsIn(trace), testing::ElementsAreArray(calls));
    for (const auto& record : trace) {
        EXPECT_EQ(record.thread, trace.front().thread);
        EXPECT_NE(record.thread, mainThread);
        EXPECT_EQ(record.result, "CKR_OK");
    }
}

TEST_F(ARefresh, OpensReadOnlySessionsAndLeavesNoneOpen) {
    m_deck.addDemoCards();
    Open();
    std::vector<std::string> opened;
    std::vector<std::string> closed;
    for (const auto& record : m_deck.trace("C_OpenSession")) {
        EXPECT_EQ(record.value("flags"), "4");
        opened.push_back(record.value("session"));
    }
    for (const auto& record : m_deck.trace("C_CloseSession"))
        closed.push_back(record.value("session"));
    EXPECT_EQ(opened.size(), 10U);
    EXPECT_EQ(opened, closed);
}

TEST_F(ARefresh, BindsTheLibraryOnceAndUnbindsItWithTheWindow) {
    m_deck.add("acos-a04");
    Open();
    Reload();
    EXPECT_EQ(m_deck.trace("C_Initialize").size(), 1U);
    EXPECT_EQ(m_deck.trace("C_GetInfo").size(), 1U);
    EXPECT_EQ(m_deck.trace("C_Finalize").size(), 0U);
    m_frame.reset();
    RunFor(100);
    EXPECT_EQ(m_deck.trace("C_Finalize").size(), 1U);
    EXPECT_EQ(m_deck.trace().back().function, "C_Finalize");
}

// --- Threads -----------------------------------------------------------------------------------------------

TEST_F(ARefresh, OfTenCardsMayBeRepeatedFiftyTimes) {
    m_deck.addDemoCards();
    Open();
    for (int i = 0; i < 50; ++i)
        Reload();
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 10);
    EXPECT_THAT(m_deck.trace("C_CloseSession"), testing::SizeIs(510));
    EXPECT_FALSE(m_frame->m_pleaseWait.IsShown());
}

TEST_F(AWindowBeforeItsRowsCome, GoesWhenTheyStandThereIfItIsClosedMeanwhile) {
    m_window->CallAfter([this] { m_window->Close(); }); // by the handler's own wait for the screen
    wxCommandEvent finished(wxEVT_MENU, ID_THREAD_FINISHED);
    m_window->ProcessEvent(finished);
    ASSERT_TRUE(m_window);
    EXPECT_EQ(m_window->list_cards->GetItemCount(), 1);
    EXPECT_TRUE(RunUntil([this] { return !m_window; }));
}
