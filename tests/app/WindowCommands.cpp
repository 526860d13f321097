// SPDX-License-Identifier: MIT
#include "tests/app/WindowCommands.h"

#include <wx/combobox.h>
#include <wx/listbox.h>
#include <wx/utils.h>

#include "foundation/FileAndDirectory.h"

using orseltest::CardCall;
using orseltest::CardFault;
using orseltest::CardOptions;
using testing::IsEmpty;

namespace {

constexpr const char* LABEL = "Karte von Erika, mit 32 Zeichen."; // fills its field
constexpr const char* CARD_IN_LIST = "8004000011112222 | Erika Probe | Orsel Carta ACOS 03";

constexpr int NONE = 0;
constexpr int PATIENCE_MS = 60000; // a card may take ten seconds for a call

/// What every command does first and last. A card that is not found is passed over without a word, and so is
/// a session that does not open. Too great a number of slots is none that harms.
Table WithCardFound(const std::string& done, const Table& more = {}) {
    Table table = {
        {"C_GetSlotList#1", ""},
        {"C_GetSlotList#2", ""},
        {"C_GetSlotList#1 length", done},
        {"C_GetSlotList#2 length", done},
        {"C_GetSlotInfo", ""},
        {"C_GetTokenInfo#1", ""},
        {"C_OpenSession", ""},
        {"C_CloseSession", done},
    };
    for (const auto& [key, outcome] : more) {
        table[key] = outcome;
    }
    return table;
}

WindowCommand Change(const char* name, int button, int menuEntry, const char* pin) {
    const std::string done = "PIN Änderung erfolgreich!";
    return {name, button, menuEntry, done, "Fehler beim PIN Ändern!", WithCardFound(done), {pin, pin, pin}};
}

WindowCommand Unblock(const char* name, int button, int menuEntry, const char* pin) {
    const std::string done = "PIN Entsperren erfolgreich!";
    return {name,
            button,
            menuEntry,
            done,
            "Fehler beim PIN entsperren!",
            WithCardFound(done),
            {"12345678", pin, pin}};
}

WindowCommand Show(const char* name, int button, int menuEntry, const char* certificate) {
    return {name, button, menuEntry, certificate, "", WithCardFound(certificate)};
}

/// Another certificate is shown when anything is amiss with the first.
WindowCommand DoubleClick() {
    return {"DoubleClick", NONE,
            NONE,          "C.CH.EKEY",
            "C.CH.SIG",    {{"C_GetSlotList length", "C.CH.EKEY"}, {"C_CloseSession", "C.CH.EKEY"}}};
}

/// A card that cannot be queried is one without hashes.
WindowCommand Test(const char* name, int button, int menuEntry, const std::string& title,
                   const std::string& hashes) {
    const std::string done = title + ":" + hashes;
    return {name, button,      menuEntry,
            done, title + ":", WithCardFound(done, {{"C_GetSlotList#4 length", done}})};
}

/// A card that cannot be queried is one without a container.
WindowCommand OpenInfobox(const char* name, const char* card, const std::string& rows,
                          const std::string& failed) {
    const std::string done = "Infoboxbereich:" + rows;
    const std::string fixed = "Infoboxbereich: Personenbindung RFU1 RFU2";
    return {name,
            ID_PERS_SHOW,
            ID_POPUP_INFOBOX,
            done,
            failed,
            WithCardFound(done, {{"C_GetSlotList", fixed},
                                 {"C_GetSlotList#4 length", done},
                                 {"C_GetTokenInfo", fixed},
                                 {"C_OpenSession", failed}}),
            {},
            card};
}

/// A card that does not answer has no row, one without a certificate has no holder, one that cannot be
/// queried only its label.
WindowCommand Reload() {
    const std::string unnamed = "8004000011112222 | unbekannt | Orsel Carta ACOS 03";
    const std::string unknown = "8004000011112222 | Erika Probe | " + std::string(LABEL);
    return {"Reload",
            ID_RELOAD,
            NONE,
            CARD_IN_LIST,
            unnamed,
            WithCardFound(CARD_IN_LIST, {{"C_GetSlotList", unknown},
                                         {"C_GetSlotList#4 length", CARD_IN_LIST},
                                         {"C_GetTokenInfo", unknown}})};
}

const WindowCommand COMMANDS[] = {
    Change("ChangeSignaturePin", ID_SIG_CHANGE_PIN, ID_POPUP_SIG_CHANGE, "123456"),
    Change("ChangeEncryptionPin", ID_ENC_CHANGE_PIN, ID_POPUP_ENC_CHANGE, "1234"),
    Change("ChangeIdentityLinkPin", ID_PERS_CHANGE, ID_POPUP_PERS_CHANGE, "1234"),
    Unblock("UnblockSignaturePin", ID_SIG_PUK, ID_POPUP_SIG_PUK, "123456"),
    Unblock("UnblockEncryptionPin", ID_ENC_PUK, ID_POPUP_ENC_PUK, "1234"),
    Unblock("UnblockIdentityLinkPin", ID_PERS_PUK, ID_POPUP_PERS_PUK, "1234"),
    Show("ShowSignatureCertificate", ID_SIG_SHOW_CERT, ID_POPUP_SIG_SHOW, "C.CH.SIG"),
    Show("ShowEncryptionCertificate", ID_ENC_SHOW, ID_POPUP_ENC_SHOW, "C.CH.EKEY"),
    DoubleClick(),
    Test("TestSignatureKey", ID_SIG_TEST, ID_POPUP_SIG_TEST,
         "Unterschriftentest mit Signaturschlüssel (6-stellige PIN)", " SHA-1 RIPEMD-160"),
    Test("TestEncryptionKey", ID_ENC_TEST, ID_POPUP_ENC_TEST,
         "Unterschriftentest mit Geheimhaltungsschlüssel (4-stellige PIN)", " SHA-1 RIPEMD-160 SHA-256"),
    OpenInfobox("OpenFixedInfobox", "acos-a03", " Personenbindung RFU1 RFU2", ""),
    OpenInfobox("OpenInfobox", "acos-a04", " 01 PERSONENBINDUNG 02 RFU1 0a RFU2",
                "Infoboxbereich: Keine Personenbindung"),
    Reload(),
};

std::string Rows(const wxArrayString& rows) {
    std::string text;
    for (const wxString& row : rows) {
        text += " " + std::string(row.utf8_str());
    }
    return text;
}

wxListBox* ListOf(const wxWindow& dialog) {
    return ChildOf<wxListBox>(dialog);
}

std::string CertificateFile() {
    return Velmor::CombinePaths(Velmor::GetTempDir(), "orselcards_cert.cer");
}

} // namespace

void PrintTo(const WindowCommand& command, std::ostream* out) {
    *out << command.m_Name;
}

const std::vector<WindowCommand>& WindowCommands() {
    static const std::vector<WindowCommand> commands(std::begin(COMMANDS), std::end(COMMANDS));
    return commands;
}

ACommandOfTheWindow::ACommandOfTheWindow()
    : m_Tests(ID_TEST_CLOSE,
              [this](TestDialog& dialog) {
                  m_Dialogs += std::string(dialog.GetTitle().utf8_str()) + ":" +
                               Rows(ChildOf<wxComboBox>(dialog)->GetStrings());
              }),
      m_Infoboxes(
          ID_INFOBOX_CLOSE,
          [this](InfoboxBereich& dialog) {
              m_Dialogs += "Infoboxbereich:" + Rows(ListOf(dialog)->GetStrings());
          },
          [this](InfoboxBereich& dialog) {
              const bool isLoaded = ListOf(dialog)->GetCount() > 0 || m_NoPersB.m_Count > 0;
              return isLoaded && ListOf(dialog)->IsThisEnabled();
          }) {}

void ACommandOfTheWindow::SetUp() {
    m_Card = AddCard(SERIAL);
    m_Pristine = m_Deck.Read(m_Card);
    for (int run = 0; run < 2; ++run) {
        m_Deck.AnswerPins(GetParam().m_Answers);
    }
    Open();
    for (const wxWindow* control : m_Frame->Commands()) {
        m_Enabled.push_back(control->IsThisEnabled());
    }
}

std::string ACommandOfTheWindow::AddCard(const std::string& serial) {
    return m_Deck.Add(GetParam().m_Card, CardOptions().Serial(serial).Holder("Erika Probe").Label(LABEL));
}

std::string ACommandOfTheWindow::RunAnew(const std::vector<std::string>& faults) {
    m_Deck.Change(m_Card, [this](orselsim::Card& card) { card = m_Pristine; });
    m_Deck.PlanFaults(faults);
    return RunAnewOnWhatIsThere();
}

void ACommandOfTheWindow::BindAnew() {
    m_Frame->m_p11->destroy();
    delete m_Frame->m_p11;
    m_Deck.ClearTrace();
    m_Frame->m_p11 = new Velmor::tkPKCS11;
}

std::string ACommandOfTheWindow::RunAnewOnWhatIsThere() {
    BindAnew();
    return Run([this] { PressOrDoubleClick(); });
}

std::string ACommandOfTheWindow::RunAgain() {
    return Run([this] {
        if (GetParam().m_MenuEntry == NONE) {
            return PressOrDoubleClick();
        }
        wxCommandEvent click(wxEVT_MENU, GetParam().m_MenuEntry);
        m_Frame->evt_OnPopupClick(click);
    });
}

std::string ACommandOfTheWindow::Run(const std::function<void()>& command) {
    m_Frame->SetStatus("", false);
    Velmor::RemoveFile(CertificateFile());
    m_Dialogs.clear();
    m_NoPersB.m_Count = 0;
    command();
    EXPECT_TRUE(RunUntil([this] { return Idle(); }, PATIENCE_MS));
    return Outcome();
}

void ACommandOfTheWindow::PressOrDoubleClick() {
    if (GetParam().m_Button != NONE) {
        return Press(GetParam().m_Button);
    }
    wxListEvent doubleClick(wxEVT_LIST_ITEM_ACTIVATED, ID_CARD_LIST);
    m_Frame->list_cards->GetEventHandler()->ProcessEvent(doubleClick);
}

std::string ACommandOfTheWindow::Outcome() {
    std::string outcome(Status().utf8_str());
    for (const char* label : {"C.CH.SIG", "C.CH.EKEY"}) {
        Velmor::ByteArray file;
        if (Velmor::LoadFromFile(CertificateFile(), file) && file == m_Deck.ObjectContent(m_Card, label)) {
            outcome += label;
        }
    }
    outcome += m_Dialogs;
    if (m_NoPersB.m_Count > 0) {
        outcome += " Keine Personenbindung";
    }
    if (GetParam().m_Button == ID_RELOAD) {
        outcome += CardList();
    }
    return outcome;
}

std::string ACommandOfTheWindow::CardList() {
    std::string list;
    for (long row = 0; row < m_Frame->list_cards->GetItemCount(); ++row) {
        for (const wxString& text : m_Frame->Row(row)) {
            list += (list.empty() ? "" : " | ") + std::string(text.utf8_str());
        }
    }
    return list;
}

void ACommandOfTheWindow::ExpectAlive() {
    EXPECT_TRUE(m_Frame->IsShown());
    EXPECT_TRUE(m_Frame->IsThisEnabled());
    std::vector<bool> enabled;
    for (const wxWindow* control : m_Frame->Commands()) {
        enabled.push_back(control->IsThisEnabled());
    }
    EXPECT_EQ(enabled, m_Enabled);
    for (const wxWindow* window : wxTopLevelWindows) {
        EXPECT_TRUE(window == m_Frame.get() || !window->IsShown()) << window->GetLabel();
    }
    EXPECT_FALSE(wxIsBusy());
    EXPECT_THAT(orseltest::SessionsNobodyClosed(m_Deck.GetTrace()), IsEmpty());
}

std::vector<CardCall> ACommandOfTheWindow::FindCalls() {
    EXPECT_EQ(RunAnew({}), GetParam().m_Done);
    ExpectAlive();
    const std::vector<std::string> binding = {"C_Initialize", "C_GetInfo"};
    return orseltest::CallsOfCommand(m_Deck.GetTrace(), binding.size());
}

void ACommandOfTheWindow::ExpectStatedOutcome(const CardFault& fault) {
    SCOPED_TRACE(fault.GetLine());
    EXPECT_EQ(RunAnew({fault.GetLine()}), fault.LookUp(GetParam().m_Otherwise, GetParam().m_Failed));
    EXPECT_TRUE(fault.IsMetIn(m_Deck.GetTrace()));
    ExpectAlive();
    EXPECT_EQ(RunAgain(), GetParam().m_Done);
    ExpectAlive();
}
