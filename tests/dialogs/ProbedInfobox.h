// SPDX-License-Identifier: MIT
// The infobox dialog with its controls in sight.
#ifndef ORSEL_TESTS_DIALOGS_PROBEDINFOBOX_H
#define ORSEL_TESTS_DIALOGS_PROBEDINFOBOX_H

#include "dialogs/InfoboxBereich.h"

#include <wx/button.h>
#include <wx/listbox.h>
#include <wx/notebook.h>
#include <wx/panel.h>
#include <wx/textctrl.h>

#include <memory>
#include <string>
#include <vector>

#include "dialogs/NoPersB.h"
#include "simulator/store/InfoboxFile.h"
#include "tests/dialogs/CardInReader.h"
#include "tests/dialogs/ModalDialogs.h"
#include "tests/support/GuiTest.h"

class ProbedInfobox : public InfoboxBereich {
public:
    explicit ProbedInfobox(Velmor::TokenType type = Velmor::TOKEN_ACOS_04) : InfoboxBereich(nullptr, type) {}
    using InfoboxBereich::button_close;
    using InfoboxBereich::button_encrypt;
    using InfoboxBereich::InfoboxBereich;
    using InfoboxBereich::list_box;
    using InfoboxBereich::m_bInfoboxKonzept;
    using InfoboxBereich::m_CachedContent;
    using InfoboxBereich::m_InfoboxFS;
    using InfoboxBereich::m_LastSelection;
    using InfoboxBereich::m_nSlot;
    using InfoboxBereich::m_pP11;
    using InfoboxBereich::m_startTimer;
    using InfoboxBereich::m_TokenInfo;
    using InfoboxBereich::m_TokenType;
    using InfoboxBereich::notebook;
    using InfoboxBereich::panel_binary;
    using InfoboxBereich::panel_inhalt;
    using InfoboxBereich::panel_text;
    using InfoboxBereich::text_binary;
    using InfoboxBereich::text_inhalt;
    using InfoboxBereich::text_text;

    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        for (const wxString& row : list_box->GetStrings()) {
            rows.emplace_back(row.utf8_str());
        }
        return rows;
    }
    /// The texts of the pages "Inhalt", "Binary" and of the one that is not seen.
    std::vector<wxString> Pages() {
        return {text_inhalt->GetValue(), text_binary->GetValue(), text_text->GetValue()};
    }

    /// What the start timer does.
    void Load() {
        wxTimerEvent tick(m_startTimer);
        evt_OnTimer(tick);
    }
    /// Clicks a row, as the toolkit reports it.
    void Select(int row) {
        list_box->SetSelection(row);
        wxCommandEvent click(wxEVT_LISTBOX, 5451);
        list_box->GetEventHandler()->ProcessEvent(click);
    }
    void Encrypt() { Press(*this, 5452); }
};

/// The dialog over a card, with NoPersB answered by its closing button.
class AnInfoboxOnACard : public CardInReader {
protected:
    /// Makes the dialog for the card that is in the reader, without reading it.
    ProbedInfobox& Open() {
        Velmor::TokenInfoStruct2 info;
        m_P11->GetTokenInfo(0, info);
        m_Dialog = std::make_unique<ProbedInfobox>(info.m_TokenType);
        m_Dialog->SetP11(m_P11.get(), 0);
        m_Dialog->Show(true);
        m_Deck.ClearTrace();
        return *m_Dialog;
    }
    /// Also reads it.
    ProbedInfobox& OpenAndLoad() {
        Open().Load();
        m_Deck.ClearTrace();
        return *m_Dialog;
    }
    ProbedInfobox& OpenOn(const std::string& kind) {
        Insert(kind);
        return OpenAndLoad();
    }
    /// Gives the card another container.
    void ReplaceContainer(const std::vector<orselsim::infobox::Entry>& entries) {
        m_Deck.ReplaceObject(m_Card, "INFOBOX", orselsim::infobox::MakeFile(entries, 64));
    }
    /// One session, read-only, and closed again at the end.
    void ExpectOneSession() {
        ASSERT_EQ(m_Deck.GetTrace("C_OpenSession").size(), 1U);
        EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").front().Value("flags"), "4");
        EXPECT_EQ(SessionsOf("C_OpenSession"), SessionsOf("C_CloseSession"));
        EXPECT_EQ(Calls().back(), "C_CloseSession");
    }

    ModalDialogsAnswered m_NoPersB{"Keine Personenbindung", 0};
    std::unique_ptr<ProbedInfobox> m_Dialog;
};

#endif
