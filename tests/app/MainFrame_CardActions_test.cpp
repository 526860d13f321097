// SPDX-License-Identifier: MIT
// Selection and commands on the selected card, over the simulated token library.
#include "app/MainFrame.h"

#include <wx/combobox.h>
#include <wx/listbox.h>

#include <cstdlib>

#include "dialogs/InfoboxBereich.h"
#include "dialogs/TestDialog.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ModalDialogs.h"

using orseltest::CardOptions;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int ALL_COMMANDS[] = {ID_SIG_CHANGE_PIN, ID_SIG_PUK,  ID_SIG_SHOW_CERT, ID_SIG_TEST,
                                ID_ENC_CHANGE_PIN, ID_ENC_PUK,  ID_ENC_SHOW,      ID_ENC_TEST,
                                ID_PERS_CHANGE,    ID_PERS_PUK, ID_PERS_SHOW};

class TheSelectedCard : public CardWindowTest<> {
protected:
    /// Each command says why it does nothing, and none asks the card.
    void ExpectThatAllIsRefused() {
        m_Deck.ClearTrace();
        for (const int id : ALL_COMMANDS) {
            m_Frame->SetStatus("", false);
            Press(id);
            EXPECT_EQ(Status(), REFUSAL) << id;
        }
        EXPECT_THAT(m_Deck.GetTrace(), IsEmpty());
    }
};

} // namespace

// --- Selection ---------------------------------------------------------------------------------------------

TEST_F(TheSelectedCard, IsTheRowOnTopWhenNoneIsSelected) {
    m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444"));
    m_Deck.Add("cardos-53", CardOptions().Serial("5555666677778888"));
    Open();
    Deselect();
    ASSERT_EQ(SelectedRow(), -1);
    std::string number = "alt";
    Velmor::TokenType type = Velmor::TOKEN_ACOS_03;
    m_Frame->GetSelectedItem(number, type);
    EXPECT_EQ(number, "5555666677778888");
    EXPECT_EQ(type, Velmor::TOKEN_CARDOS_53);
    EXPECT_EQ(SelectedRow(), 0); // asking selects
}

TEST_F(TheSelectedCard, IsNoneOnAnEmptyListWhichLeavesTheTypeAlone) {
    Open();
    std::string number = "alt";
    Velmor::TokenType type = Velmor::TOKEN_ECARD_G4;
    m_Frame->GetSelectedItem(number, type);
    EXPECT_EQ(number, "");
    EXPECT_EQ(type, Velmor::TOKEN_ECARD_G4);
}

TEST_F(TheSelectedCard, AllowsTheCommandsOfItsKind) {
    struct Row {
        const char* m_Kind;
        bool m_PersPin;
        bool m_Unblock;
    };
    const Row rows[] = {
        {"acos-a03", true, true},    {"acos-a04", false, true},  {"acos-a05", false, true},
        {"cardos-53", false, true},  {"ecard-g2", false, false}, {"ecard-g3a", false, false},
        {"ecard-g3b", false, false}, {"ecard-g4", false, false}, {"unknown", true, true},
    };
    Open();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.m_Kind);
        const std::string card = m_Deck.Add(row.m_Kind);
        Reload();
        EXPECT_EQ(m_Frame->button_pers_change->IsEnabled(), row.m_PersPin);
        EXPECT_EQ(m_Frame->button_pers_puk->IsEnabled(), row.m_PersPin);
        EXPECT_EQ(m_Frame->button_sig_puk->IsEnabled(), row.m_Unblock);
        EXPECT_EQ(m_Frame->button_enc_puk->IsEnabled(), row.m_Unblock);
        for (wxWindow* other : {static_cast<wxWindow*>(m_Frame->button_sig_change_pin),
                                static_cast<wxWindow*>(m_Frame->button_sig_show_cert),
                                static_cast<wxWindow*>(m_Frame->button_sig_test),
                                static_cast<wxWindow*>(m_Frame->button_enc_change_pin),
                                static_cast<wxWindow*>(m_Frame->button_enc_show),
                                static_cast<wxWindow*>(m_Frame->button_enc_test),
                                static_cast<wxWindow*>(m_Frame->button_pers_show),
                                static_cast<wxWindow*>(m_Frame->button_reload)}) {
            EXPECT_TRUE(other->IsEnabled()) << other->GetId();
        }
        m_Deck.Remove(card);
    }
}

TEST_F(TheSelectedCard, KeepsUnblockingSwitchedOffAfterAnECardUntilTheNextRefresh) {
    m_Deck.Add("acos-a03");
    m_Deck.Add("acos-a04");
    const std::string eCard = m_Deck.Add("ecard-g2");
    Open(); // the e-card is on top
    EXPECT_FALSE(m_Frame->button_sig_puk->IsEnabled());
    Select(1);
    EXPECT_FALSE(m_Frame->button_sig_puk->IsEnabled());
    EXPECT_FALSE(m_Frame->button_enc_puk->IsEnabled());
    EXPECT_FALSE(m_Frame->button_pers_change->IsEnabled());
    Select(2); // switched on for the one kind that has it
    EXPECT_TRUE(m_Frame->button_pers_change->IsEnabled());
    EXPECT_TRUE(m_Frame->button_pers_puk->IsEnabled());
    EXPECT_FALSE(m_Frame->button_sig_puk->IsEnabled());
    m_Deck.TakeOut(eCard);
    Reload();
    EXPECT_TRUE(m_Frame->button_sig_puk->IsEnabled());
    EXPECT_TRUE(m_Frame->button_enc_puk->IsEnabled());
}

TEST_F(TheSelectedCard, LeavesButtonsAloneWhenItIsNotRecognised) {
    m_Deck.Add("unknown");
    m_Deck.Add("acos-a04");
    Open();
    EXPECT_FALSE(m_Frame->button_pers_change->IsEnabled());
    Select(1);
    EXPECT_FALSE(m_Frame->button_pers_change->IsEnabled());
}

// --- Finding the card again --------------------------------------------------------------------------------

TEST_F(TheSelectedCard, IsFoundByItsNumberAlsoAfterTheSlotsHaveChangedOrder) {
    const std::string first = m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444"));
    m_Deck.Add("acos-a04", CardOptions().Serial("5555666677778888"));
    Open();
    int slot = -1;
    Velmor::TokenType type = Velmor::TOKEN_ACOS_03;
    ASSERT_TRUE(m_Frame->GetSlotIdxForSelectedCard(slot, type));
    EXPECT_EQ(slot, 1);
    EXPECT_EQ(type, Velmor::TOKEN_ACOS_04);
    m_Deck.TakeOut(first);
    ASSERT_TRUE(m_Frame->GetSlotIdxForSelectedCard(slot, type));
    EXPECT_EQ(slot, 0);
}

TEST_F(TheSelectedCard, GetsTheCommandOnItsOwnSlotAfterTheSlotsHaveChangedOrder) {
    const std::string first = m_Deck.Add("acos-a04", CardOptions().Serial("1111222233334444").Slot(7));
    m_Deck.Add("acos-a04", CardOptions().Serial("5555666677778888").Slot(9));
    Open(); // the second is on top and selected
    m_Deck.TakeOut(first);
    m_Deck.Add("acos-a04", CardOptions().Serial("9999000011112222").Slot(3).Directory("00-new"));
    m_Deck.AnswerPins({"123456", "654321", "654321"});
    m_Deck.ClearTrace();
    Press(ID_SIG_CHANGE_PIN);
    ASSERT_EQ(m_Deck.GetTrace("C_SetAttributeValue").size(), 1U);
    EXPECT_EQ(m_Deck.GetTrace("C_SetAttributeValue").front().Value("slot"), "9");
    EXPECT_EQ(Status(), Utf8("PIN Änderung erfolgreich!"));
}

TEST_F(TheSelectedCard, ThatHasGoneDoesNothingVisible) {
    const std::string card = m_Deck.Add("acos-a03");
    Open();
    m_Deck.TakeOut(card);
    m_Deck.ClearTrace();
    for (const int id : ALL_COMMANDS) {
        Press(id);
    }
    EXPECT_EQ(Status(), "");
    EXPECT_THAT(m_Deck.GetTrace("C_OpenSession"), IsEmpty());
    EXPECT_EQ(m_Frame->list_cards->GetItemCount(), 1);
}

TEST_F(TheSelectedCard, IsRefusedWhenNobodyHasPersonalisedIt) {
    m_Deck.Add("empty");
    Open();
    ExpectThatAllIsRefused();
}

TEST_F(TheSelectedCard, IsRefusedOnAnEmptyListToo) {
    Open();
    ExpectThatAllIsRefused();
}

TEST_F(TheSelectedCard, IsLeftAloneWhenTheSlotsCannotBeListed) {
    m_Deck.Add("acos-a03");
    m_Deck.PlanFaults({"C_GetSlotList call=5 rv=CKR_DEVICE_ERROR"}); // four belong to the first refresh
    Open();
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), "");
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
}

TEST_F(TheSelectedCard, IsLeftAloneWhenItsSessionDoesNotOpen) {
    m_Deck.Add("acos-a03");
    m_Deck.PlanFaults({"C_OpenSession call=2 rv=CKR_DEVICE_ERROR"});
    Open();
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), "");
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
    EXPECT_TRUE(EverySessionIsClosed());
}

// --- PINs --------------------------------------------------------------------------------------------------

TEST_F(TheSelectedCard, ChangesAndUnblocksEachOfItsPins) {
    struct Row {
        int m_Id;
        const char* m_Attribute;
        std::vector<std::string> m_Answers;
        const char* m_Status;
    };
    const Row rows[] = {
        {ID_SIG_CHANGE_PIN, "0x200", {"123456", "111111", "111111"}, "PIN Änderung erfolgreich!"},
        {ID_ENC_CHANGE_PIN, "0x200", {"1234", "2222", "2222"}, "PIN Änderung erfolgreich!"},
        {ID_PERS_CHANGE, "0x200", {"2222", "3333", "3333"}, "PIN Änderung erfolgreich!"},
        {ID_SIG_PUK, "0x201", {"12345678", "444444", "444444"}, "PIN Entsperren erfolgreich!"},
        {ID_ENC_PUK, "0x201", {"12345678", "5555", "5555"}, "PIN Entsperren erfolgreich!"},
        {ID_PERS_PUK, "0x201", {"12345678", "6666", "6666"}, "PIN Entsperren erfolgreich!"},
    };
    m_Deck.Add("acos-a03");
    Open();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.m_Id);
        m_Deck.ClearTrace();
        m_Deck.AnswerPins(row.m_Answers);
        Press(row.m_Id);
        EXPECT_EQ(Status(), Utf8(row.m_Status));
        ASSERT_EQ(m_Deck.GetTrace("C_SetAttributeValue").size(), 1U);
        EXPECT_EQ(m_Deck.GetTrace("C_SetAttributeValue").front().m_Result, "CKR_OK");
        EXPECT_EQ(m_Deck.GetTrace("C_SetAttributeValue").front().Value("attributes").substr(0, 5),
                  row.m_Attribute);
        EXPECT_TRUE(EverySessionIsClosed());
        EXPECT_THAT(m_Deck.GetTrace("C_FindObjectsInit"), testing::SizeIs(1)); // and no refresh follows
    }
}

TEST_F(TheSelectedCard, TellsWhatWentWrongWithItsPin) {
    m_Deck.Add("acos-a03");
    Open();
    m_Deck.AnswerPins({"cancel"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), "Abbruch durch Benutzer");
    m_Deck.AnswerPins({"999999", "111111", "111111"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), Utf8("Fehler beim PIN Ändern! PIN falsch!"));
    m_Deck.AnswerPins({"999999", "111111", "111111"});
    Press(ID_SIG_CHANGE_PIN);
    m_Deck.AnswerPins({"999999", "111111", "111111"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), Utf8("Fehler beim PIN Ändern! PIN Gesperrt"));
    m_Deck.AnswerPins({"12345678", "777777", "777777"});
    Press(ID_SIG_PUK);
    EXPECT_EQ(Status(), Utf8("PIN Entsperren erfolgreich!"));
    m_Deck.AnswerPins({"777777", "888888", "888888"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), Utf8("PIN Änderung erfolgreich!"));
    EXPECT_TRUE(EverySessionIsClosed());
}

// --- Dialogs -----------------------------------------------------------------------------------------------

namespace {

using InfoboxOfACard = CardWindowTest<>;

/// Opens the dialogs by their buttons and closes them once they have read the card.
class OpeningADialog : public CardWindowTest<> {
protected:
    void Open(int button) {
        m_Deck.ClearTrace();
        m_Rows.clear();
        Press(button);
    }

    std::vector<wxString> m_Rows; ///< of the hashes, or of the infobox
    ModalDialogsAnswered m_NoPersB{"Keine Personenbindung", 0};

private:
    void Keep(const wxArrayString& rows) { m_Rows.assign(rows.begin(), rows.end()); }

    ModalDialogsClosed<TestDialog> m_Tests{
        ID_TEST_CLOSE, [this](TestDialog& dialog) { Keep(ChildOf<wxComboBox>(dialog)->GetStrings()); }};
    ModalDialogsClosed<InfoboxBereich> m_Infoboxes{
        ID_INFOBOX_CLOSE, [this](InfoboxBereich& dialog) { Keep(ChildOf<wxListBox>(dialog)->GetStrings()); },
        [this](InfoboxBereich& dialog) {
            return ChildOf<wxListBox>(dialog)->GetCount() > 0 || !m_Deck.GetTrace("C_CloseSession").empty();
        }};
};

} // namespace

TEST_F(OpeningADialog, ReadsTheSelectedCardAndNotTheFirst) {
    m_Deck.Add("acos-a03");
    m_Deck.Add("acos-a04");
    CardWindowTest::Open(); // the second is on top and selected
    Open(ID_SIG_TEST);
    EXPECT_THAT(m_Rows, ElementsAre("SHA-1", "RIPEMD-160", "SHA-256"));
    Open(ID_PERS_SHOW);
    EXPECT_THAT(m_Rows, ElementsAre("01 PERSONENBINDUNG", "02 RFU1", "0a RFU2"));
    Select(1);
    Open(ID_SIG_TEST);
    EXPECT_THAT(m_Rows, ElementsAre("SHA-1", "RIPEMD-160"));
    Open(ID_PERS_SHOW);
    EXPECT_THAT(m_Rows, ElementsAre("Personenbindung", "RFU1", "RFU2"));
}

TEST_F(OpeningADialog, TellsOfAMissingIdentityLinkButNotOnAnECard) {
    for (const auto& [kind, told] : {std::pair<const char*, int>{"acos-a04", 1}, {"ecard-g4", 0}}) {
        SCOPED_TRACE(kind);
        const std::string card = m_Deck.Add(kind);
        m_Deck.RemoveObject(card, "INFOBOX");
        if (m_Frame == nullptr) {
            CardWindowTest::Open();
        } else {
            Reload();
        }
        m_NoPersB.m_Count = 0;
        Open(ID_PERS_SHOW);
        EXPECT_THAT(m_Rows, IsEmpty());
        EXPECT_EQ(m_NoPersB.m_Count, told);
        m_Deck.Remove(card);
    }
}

TEST_F(InfoboxOfACard, OpensInTheMiddleOfTheScreenWhereverTheWindowIs) {
    m_Deck.Add("acos-a04");
    Open();
    m_Frame->Move(0, 30);
    RunFor(200);
    bool isInTheMiddle = false;
    const ModalDialogsClosed<InfoboxBereich> infobox(
        ID_INFOBOX_CLOSE, [&isInTheMiddle](InfoboxBereich&) { isInTheMiddle = true; },
        [](InfoboxBereich& dialog) {
            const wxRect screen = wxGetClientDisplayRect();
            const wxRect window = dialog.GetScreenRect();
            const wxPoint off =
                window.GetPosition() + window.GetSize() / 2 - (screen.GetPosition() + screen.GetSize() / 2);
            return std::abs(off.x) < 40 && std::abs(off.y) < 40;
        });
    Press(ID_PERS_SHOW);
    EXPECT_TRUE(isInTheMiddle);
}
