// SPDX-License-Identifier: MIT
// Selection and commands on the selected card, over the simulated token library.
#include "app/MainFrame.h"

#include <wx/combobox.h>
#include <wx/listbox.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "dialogs/InfoboxBereich.h"
#include "dialogs/TestDialog.h"
#include "foundation/FileAndDirectory.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ModalDialogs.h"

using orseltest::CardOptions;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using TheSelectedCard = CardWindowTest<>;

const wxString REFUSAL = Utf8("Dieser Befehl ist mit einer leeren Karte nicht erlaubt!");

constexpr int ALL_COMMANDS[] = {ID_SIG_CHANGE_PIN, ID_SIG_PUK,  ID_SIG_SHOW_CERT, ID_SIG_TEST,
                                ID_ENC_CHANGE_PIN, ID_ENC_PUK,  ID_ENC_SHOW,      ID_ENC_TEST,
                                ID_PERS_CHANGE,    ID_PERS_PUK, ID_PERS_SHOW};

} // namespace

// --- Selection ---------------------------------------------------------------------------------------------

TEST_F(TheSelectedCard, IsTheRowOnTopWhenNoneIsSelected) {
    m_deck.add("acos-a04", CardOptions().serial("1111222233334444"));
    m_deck.add("cardos-53", CardOptions().serial("5555666677778888"));
    Open();
    Deselect();
    ASSERT_EQ(SelectedRow(), -1);
    std::string number = "alt";
    Velmor::TokenType type = Velmor::TOKEN_ACOS_03;
    m_frame->GetSelectedItem(number, type);
    EXPECT_EQ(number, "5555666677778888");
    EXPECT_EQ(type, Velmor::TOKEN_CARDOS_53);
    EXPECT_EQ(SelectedRow(), 0); // asking selects
}

TEST_F(TheSelectedCard, IsNoneOnAnEmptyListWhichLeavesTheTypeAlone) {
    Open();
    std::string number = "alt";
    Velmor::TokenType type = Velmor::TOKEN_ECARD_G4;
    m_frame->GetSelectedItem(number, type);
    EXPECT_EQ(number, "");
    EXPECT_EQ(type, Velmor::TOKEN_ECARD_G4);
}

TEST_F(TheSelectedCard, AllowsTheCommandsOfItsKind) {
    struct Row {
        const char* kind;
        bool persPin;
        bool unblock;
    };
    const Row rows[] = {
        {"acos-a03", true, true},    {"acos-a04", false, true},  {"acos-a05", false, true},
        {"cardos-53", false, true},  {"ecard-g2", false, false}, {"ecard-g3a", false, false},
        {"ecard-g3b", false, false}, {"ecard-g4", false, false}, {"unknown", true, true},
    };
    Open();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.kind);
        const std::string card = m_deck.add(row.kind);
        Reload();
        EXPECT_EQ(m_frame->button_pers_change->IsEnabled(), row.persPin);
        EXPECT_EQ(m_frame->button_pers_puk->IsEnabled(), row.persPin);
        EXPECT_EQ(m_frame->button_sig_puk->IsEnabled(), row.unblock);
        EXPECT_EQ(m_frame->button_enc_puk->IsEnabled(), row.unblock);
        for (wxWindow* other : {static_cast<wxWindow*>(m_frame->button_sig_change_pin),
                                static_cast<wxWindow*>(m_frame->button_sig_show_cert),
                                static_cast<wxWindow*>(m_frame->button_sig_test),
                                static_cast<wxWindow*>(m_frame->button_enc_change_pin),
                                static_cast<wxWindow*>(m_frame->button_enc_show),
                                static_cast<wxWindow*>(m_frame->button_enc_test),
                                static_cast<wxWindow*>(m_frame->button_pers_show),
                                static_cast<wxWindow*>(m_frame->button_reload)})
            EXPECT_TRUE(other->IsEnabled()) << other->GetId();
        m_deck.remove(card);
    }
}

TEST_F(TheSelectedCard, KeepsUnblockingSwitchedOffAfterAnECardUntilTheNextRefresh) {
    m_deck.add("acos-a03");
    m_deck.add("acos-a04");
    const std::string eCard = m_deck.add("ecard-g2");
    Open(); // the e-card is on top
    EXPECT_FALSE(m_frame->button_sig_puk->IsEnabled());
    Select(1);
    EXPECT_FALSE(m_frame->button_sig_puk->IsEnabled());
    EXPECT_FALSE(m_frame->button_enc_puk->IsEnabled());
    EXPECT_FALSE(m_frame->button_pers_change->IsEnabled());
    Select(2); // switched on for the one kind that has it
    EXPECT_TRUE(m_frame->button_pers_change->IsEnabled());
    EXPECT_TRUE(m_frame->button_pers_puk->IsEnabled());
    EXPECT_FALSE(m_frame->button_sig_puk->IsEnabled());
    m_deck.takeOut(eCard);
    Reload();
    EXPECT_TRUE(m_frame->button_sig_puk->IsEnabled());
    EXPECT_TRUE(m_frame->button_enc_puk->IsEnabled());
}

TEST_F(TheSelectedCard, LeavesButtonsAloneWhenItIsNotRecognised) {
    m_deck.add("unknown");
    m_deck.add("acos-a04");
    Open();
    EXPECT_FALSE(m_frame->button_pers_change->IsEnabled());
    Select(1);
    EXPECT_FALSE(m_frame->button_pers_change->IsEnabled());
}

// --- Finding the card again --------------------------------------------------------------------------------

TEST_F(TheSelectedCard, IsFoundByItsNumberAlsoAfterTheSlotsHaveChangedOrder) {
    const std::string first = m_deck.add("acos-a04", CardOptions().serial("1111222233334444"));
    m_deck.add("acos-a04", CardOptions().serial("5555666677778888"));
    Open();
    int slot = -1;
    Velmor::TokenType type = Velmor::TOKEN_ACOS_03;
    ASSERT_TRUE(m_frame->GetSlotIdxForSelectedCard(slot, type));
    EXPECT_EQ(slot, 1);
    EXPECT_EQ(type, Velmor::TOKEN_ACOS_04);
    m_deck.takeOut(first);
    ASSERT_TRUE(m_frame->GetSlotIdxForSelectedCard(slot, type));
    EXPECT_EQ(slot, 0);
}

TEST_F(TheSelectedCard, GetsTheCommandOnItsOwnSlotAfterTheSlotsHaveChangedOrder) {
    const std::string first = m_deck.add("acos-a04", CardOptions().serial("1111222233334444").slot(7));
    m_deck.add("acos-a04", CardOptions().serial("5555666677778888").slot(9));
    Open(); // the second is on top and selected
    m_deck.takeOut(first);
    m_deck.add("acos-a04", CardOptions().serial("9999000011112222").slot(3).directory("00-new"));
    m_deck.answerPins({"123456", "654321", "654321"});
    m_deck.clearTrace();
    Press(ID_SIG_CHANGE_PIN);
    ASSERT_EQ(m_deck.trace("C_SetAttributeValue").size(), 1U);
    EXPECT_EQ(m_deck.trace("C_SetAttributeValue").front().value("slot"), "9");
    EXPECT_EQ(Status(), Utf8("PIN Änderung erfolgreich!"));
}

TEST_F(TheSelectedCard, ThatHasGoneDoesNothingVisible) {
    const std::string card = m_deck.add("acos-a03");
    Open();
    m_deck.takeOut(card);
    m_deck.clearTrace();
    for (const int id : ALL_COMMANDS)
        Press(id);
    EXPECT_EQ(Status(), "");
    EXPECT_THAT(m_deck.trace("C_OpenSession"), IsEmpty());
    EXPECT_EQ(m_frame->list_cards->GetItemCount(), 1);
}

TEST_F(TheSelectedCard, IsRefusedWhenNobodyHasPersonalisedIt) {
    m_deck.add("empty");
    Open();
    m_deck.clearTrace();
    for (const int id : ALL_COMMANDS) {
        m_frame->SetStatus("", false);
        Press(id);
        EXPECT_EQ(Status(), REFUSAL) << id;
    }
    EXPECT_THAT(m_deck.trace(), IsEmpty());
}

TEST_F(TheSelectedCard, IsRefusedOnAnEmptyListToo) {
    Open();
    m_deck.clearTrace();
    for (const int id : ALL_COMMANDS) {
        m_frame->SetStatus("", false);
        Press(id);
        EXPECT_EQ(Status(), REFUSAL) << id;
    }
    EXPECT_THAT(m_deck.trace(), IsEmpty());
}

TEST_F(TheSelectedCard, IsLeftAloneWhenTheSlotsCannotBeListed) {
    m_deck.add("acos-a03");
    m_deck.planFaults({"C_GetSlotList call=5 rv=CKR_DEVICE_ERROR"}); // four belong to the first refresh
    Open();
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), "");
    EXPECT_THAT(m_deck.trace("C_SetAttributeValue"), IsEmpty());
}

TEST_F(TheSelectedCard, IsLeftAloneWhenItsSessionDoesNotOpen) {
    m_deck.add("acos-a03");
    m_deck.planFaults({"C_OpenSession call=2 rv=CKR_DEVICE_ERROR"});
    Open();
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), "");
    EXPECT_THAT(m_deck.trace("C_SetAttributeValue"), IsEmpty());
    EXPECT_TRUE(EverySessionIsClosed());
}

// --- PINs --------------------------------------------------------------------------------------------------

TEST_F(TheSelectedCard, ChangesAndUnblocksEachOfItsPins) {
    struct Row {
        int id;
        const char* attribute;
        std::vector<std::string> answers;
        const char* status;
    };
    const Row rows[] = {
        {ID_SIG_CHANGE_PIN, "0x200", {"123456", "111111", "111111"}, "PIN Änderung erfolgreich!"},
        {ID_ENC_CHANGE_PIN, "0x200", {"1234", "2222", "2222"}, "PIN Änderung erfolgreich!"},
        {ID_PERS_CHANGE, "0x200", {"2222", "3333", "3333"}, "PIN Änderung erfolgreich!"},
        {ID_SIG_PUK, "0x201", {"12345678", "444444", "444444"}, "PIN Entsperren erfolgreich!"},
        {ID_ENC_PUK, "0x201", {"12345678", "5555", "5555"}, "PIN Entsperren erfolgreich!"},
        {ID_PERS_PUK, "0x201", {"12345678", "6666", "6666"}, "PIN Entsperren erfolgreich!"},
    };
    m_deck.add("acos-a03");
    Open();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id);
        m_deck.clearTrace();
        m_deck.answerPins(row.answers);
        Press(row.id);
        EXPECT_EQ(Status(), Utf8(row.status));
        ASSERT_EQ(m_deck.trace("C_SetAttributeValue").size(), 1U);
        EXPECT_EQ(m_deck.trace("C_SetAttributeValue").front().result, "CKR_OK");
        EXPECT_EQ(m_deck.trace("C_SetAttributeValue").front().value("attributes").substr(0, 5),
                  row.attribute);
        EXPECT_TRUE(EverySessionIsClosed());
        EXPECT_THAT(m_deck.trace("C_FindObjectsInit"), testing::SizeIs(1)); // and no refresh follows
    }
}

TEST_F(TheSelectedCard, TellsWhatWentWrongWithItsPin) {
    m_deck.add("acos-a03");
    Open();
    m_deck.answerPins({"cancel"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), "Abbruch durch Benutzer");
    m_deck.answerPins({"999999", "111111", "111111"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), Utf8("Fehler beim PIN Ändern! PIN falsch!"));
    m_deck.answerPins({"999999", "111111", "111111"});
    Press(ID_SIG_CHANGE_PIN);
    m_deck.answerPins({"999999", "111111", "111111"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), Utf8("Fehler beim PIN Ändern! PIN Gesperrt"));
    m_deck.answerPins({"12345678", "777777", "777777"});
    Press(ID_SIG_PUK);
    EXPECT_EQ(Status(), Utf8("PIN Entsperren erfolgreich!"));
    m_deck.answerPins({"777777", "888888", "888888"});
    Press(ID_SIG_CHANGE_PIN);
    EXPECT_EQ(Status(), Utf8("PIN Änderung erfolgreich!"));
    EXPECT_TRUE(EverySessionIsClosed());
}

// --- Certificates ------------------------------------------------------------------------------------------

namespace {

/// A certificate viewer on the PATH that writes down its arguments and keeps a copy of the file.
class ShowingACertificate : public CardWindowTest<> {
protected:
    void SetUp() override {
        m_oldPath = std::getenv("PATH");
        const std::string viewer = m_deck.folder() + "/certViewerApp";
        std::ofstream(viewer) << "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$1\" >'" << Seen()
                              << ".part'\ncp \"$1\" '" << m_deck.folder() << "/shown.cer'\nmv '" << Seen()
                              << ".part' '" << Seen() << "'\n";
        std::filesystem::permissions(viewer, std::filesystem::perms::owner_all);
        setenv("PATH", (m_deck.folder() + ":" + m_oldPath).c_str(), 1);
        setenv("TMPDIR", m_deck.folder().c_str(), 1);
    }
    void TearDown() override {
        setenv("PATH", m_oldPath.c_str(), 1);
        unsetenv("TMPDIR");
    }
    std::string Seen() { return m_deck.folder() + "/seen.txt"; }
    std::string File() { return Velmor::CombinePaths(Velmor::GetTempDir(), "orselcards_cert.cer"); }

    static std::string Content(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    /// What the viewer was shown, once it has run; empty when it does not.
    std::string Shown(int milliseconds = 10000) {
        if (!RunUntil([this] { return std::filesystem::exists(Seen()); }, milliseconds))
            return "";
        std::filesystem::remove(Seen());
        return Content(m_deck.folder() + "/shown.cer");
    }
    std::string OnCard(const std::string& card, const char* label) {
        const auto bytes = m_deck.objectContent(card, label);
        return std::string(bytes.begin(), bytes.end());
    }
    std::string m_oldPath;
};

} // namespace

TEST_F(ShowingACertificate, HandsTheCardsBytesToTheViewerInOneFile) {
    const std::string card = m_deck.add("ecard-g4");
    Open();
    Press(ID_SIG_SHOW_CERT);
    ASSERT_TRUE(RunUntil([this] { return std::filesystem::exists(Seen()); }));
    EXPECT_EQ(Content(Seen()), "1\n" + File() + "\n");
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.SIG"));
    Press(ID_ENC_SHOW);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.EKEY"));
    EXPECT_TRUE(std::filesystem::exists(File())); // stays for the viewer
    EXPECT_TRUE(EverySessionIsClosed());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(Status(), "");
}

TEST_F(ShowingACertificate, OnADoubleClickTakesTheEncryptionCertificate) {
    const std::string card = m_deck.add("acos-a04");
    Open();
    wxListEvent doubleClick(wxEVT_LIST_ITEM_ACTIVATED, ID_CARD_LIST);
    m_frame->list_cards->GetEventHandler()->ProcessEvent(doubleClick);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.EKEY"));
    EXPECT_EQ(Shown(500), ""); // and only that one
}

TEST_F(ShowingACertificate, OnADoubleClickTakesTheOtherOneWhereThereIsNone) {
    const std::string card = m_deck.add("acos-a04");
    m_deck.removeObject(card, "C.CH.EKEY");
    Open();
    wxListEvent doubleClick(wxEVT_LIST_ITEM_ACTIVATED, ID_CARD_LIST);
    m_frame->list_cards->GetEventHandler()->ProcessEvent(doubleClick);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.SIG"));
}

TEST_F(ShowingACertificate, OfAnEmptyCardIsRefusedTwiceOnADoubleClick) {
    class Frame : public ProbedFrame {};
    m_deck.add("empty");
    Open();
    wxListEvent doubleClick(wxEVT_LIST_ITEM_ACTIVATED, ID_CARD_LIST);
    m_frame->list_cards->GetEventHandler()->ProcessEvent(doubleClick);
    EXPECT_EQ(Status(), REFUSAL);
    EXPECT_EQ(Shown(500), "");
}

TEST_F(ShowingACertificate, RemovesTheFileOfTheOneBeforeAlsoWhenItFails) {
    const std::string card = m_deck.add("acos-a04");
    Open();
    Press(ID_SIG_SHOW_CERT);
    Shown();
    m_deck.removeObject(card, "C.CH.SIG");
    EXPECT_FALSE(m_frame->ShowCert(true));
    EXPECT_FALSE(std::filesystem::exists(File()));
    EXPECT_TRUE(EverySessionIsClosed());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(Status(), "");
}

TEST_F(ShowingACertificate, MakesTheFileForThisUserAloneAndNeverWritesThroughALink) {
    const std::string card = m_deck.add("acos-a04");
    const std::string other = m_deck.folder() + "/other.txt";
    std::ofstream(other) << "mine";
    std::filesystem::create_symlink(other, File());
    Open();
    const auto before = umask(0);
    Press(ID_SIG_SHOW_CERT);
    umask(before);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.SIG"));
    EXPECT_EQ(Content(other), "mine");
    EXPECT_FALSE(std::filesystem::is_symlink(File()));
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(File()).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(ShowingACertificate, FailsWhereItsFileCannotBeWritten) {
    m_deck.add("acos-a04");
    Open();
    std::filesystem::create_directory(File()); // nothing can be removed or written there
    std::ofstream(File() + "/x") << "x";
    EXPECT_FALSE(m_frame->ShowCert(true));
    EXPECT_TRUE(EverySessionIsClosed());
    EXPECT_EQ(Shown(300), "");
}

TEST_F(ShowingACertificate, CountsAsStartedWithoutAViewer) {
    m_deck.add("acos-a04");
    Open();
    setenv("PATH", "/nowhere", 1);
    EXPECT_TRUE(m_frame->ShowCert(true));
}

// --- Dialogs -----------------------------------------------------------------------------------------------

namespace {

using InfoboxOfACard = CardWindowTest<>;

/// Opens the dialogs by their buttons and closes them once they have read the card.
class OpeningADialog : public CardWindowTest<> {
protected:
    void Open(int button) {
        m_deck.clearTrace();
        m_rows.clear();
        Press(button);
    }

    std::vector<wxString> m_rows; ///< of the hashes, or of the infobox
    ModalDialogsAnswered m_noPersB{"Keine Personenbindung", 0};

private:
    void Keep(const wxArrayString& rows) { m_rows.assign(rows.begin(), rows.end()); }

    ModalDialogsClosed<TestDialog> m_tests{
        ID_TEST_CLOSE, [this](TestDialog& dialog) { Keep(ChildOf<wxComboBox>(dialog)->GetStrings()); }};
    ModalDialogsClosed<InfoboxBereich> m_infoboxes{
        ID_INFOBOX_CLOSE, [this](InfoboxBereich& dialog) { Keep(ChildOf<wxListBox>(dialog)->GetStrings()); },
        [this](InfoboxBereich& dialog) {
            return ChildOf<wxListBox>(dialog)->GetCount() > 0 || !m_deck.trace("C_CloseSession").empty();
        }};
};

} // namespace

TEST_F(OpeningADialog, ReadsTheSelectedCardAndNotTheFirst) {
    m_deck.add("acos-a03");
    m_deck.add("acos-a04");
    CardWindowTest::Open(); // the second is on top and selected
    Open(ID_SIG_TEST);
    EXPECT_THAT(m_rows, ElementsAre("SHA-1", "RIPEMD-160", "SHA-256"));
    Open(ID_PERS_SHOW);
    EXPECT_THAT(m_rows, ElementsAre("01 PERSONENBINDUNG", "02 RFU1", "0a RFU2"));
    Select(1);
    Open(ID_SIG_TEST);
    EXPECT_THAT(m_rows, ElementsAre("SHA-1", "RIPEMD-160"));
    Open(ID_PERS_SHOW);
    EXPECT_THAT(m_rows, ElementsAre("Personenbindung", "RFU1", "RFU2"));
}

TEST_F(OpeningADialog, TellsOfAMissingIdentityLinkButNotOnAnECard) {
    for (const auto& [kind, told] : {std::pair<const char*, int>{"acos-a04", 1}, {"ecard-g4", 0}}) {
        SCOPED_TRACE(kind);
        const std::string card = m_deck.add(kind);
        m_deck.removeObject(card, "INFOBOX");
        if (m_frame == nullptr)
            CardWindowTest::Open();
        else
            Reload();
        m_noPersB.count = 0;
        Open(ID_PERS_SHOW);
        EXPECT_THAT(m_rows, IsEmpty());
        EXPECT_EQ(m_noPersB.count, told);
        m_deck.remove(card);
    }
}

TEST_F(InfoboxOfACard, OpensInTheMiddleOfTheScreenWhereverTheWindowIs) {
    m_deck.add("acos-a04");
    Open();
    m_frame->Move(0, 30);
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
