// SPDX-License-Identifier: MIT
// With the English catalogue every text that passes through the lookup is replaced in the windows themselves:
// each is looked for where a person sees it.
#include "app/I18N.h"

#include <wx/ctrlsub.h>
#include <wx/listbox.h>
#include <wx/menu.h>
#include <wx/notebook.h>

#include <fstream>
#include <set>

#include "dialogs/InfoboxBereich.h"
#include "dialogs/NoPersB.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/Widgets.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Texts = std::set<wxString>;

/// Every text that a window and all that is in it show.
void Collect(const wxWindow& window, Texts& texts) {
    texts.insert(window.GetLabel());
    texts.insert(Utf8(widgets::DescriptionOf(window).c_str()));
    for (const std::string& name : widgets::NamesOfFocusable(window)) {
        texts.insert(Utf8(name.c_str()));
    }
    if (const auto* list = dynamic_cast<const wxListCtrl*>(&window)) {
        wxListItem column;
        column.SetMask(wxLIST_MASK_TEXT);
        for (int i = 0; i < list->GetColumnCount() && list->GetColumn(i, column); ++i) {
            texts.insert(column.GetText());
        }
    }
    if (const auto* rows = dynamic_cast<const wxItemContainerImmutable*>(&window)) {
        for (const wxString& row : rows->GetStrings()) {
            texts.insert(row);
        }
    }
    if (const auto* pages = dynamic_cast<const wxNotebook*>(&window)) {
        for (size_t i = 0; i < pages->GetPageCount(); ++i) {
            texts.insert(pages->GetPageText(i));
        }
    }
    if (const auto* field = dynamic_cast<const wxTextCtrl*>(&window)) {
        texts.insert(field->GetValue());
    }
    for (const wxWindow* child : window.GetChildren()) {
        if (!child->IsTopLevel()) {
            Collect(*child, texts);
        }
    }
}

void Collect(const wxMenu& menu, Texts& texts) {
    for (const wxMenuItem* item : menu.GetMenuItems()) {
        texts.insert(item->GetItemLabelText());
        if (item->GetSubMenu() != nullptr) {
            Collect(*item->GetSubMenu(), texts);
        }
    }
}

/// The quoted part of a line of the template.
std::string Unquoted(const std::string& line) {
    const size_t start = line.find('"') + 1;
    std::string text;
    for (size_t i = start; i < line.rfind('"'); ++i) {
        if (line[i] == '\\') {
            text += line[++i] == 'n' ? '\n' : line[i];
        } else {
            text += line[i];
        }
    }
    return text;
}

/// Every word of the card manager in the template, without its header.
std::vector<std::string> Words() {
    std::ifstream file(ORSEL_TEMPLATE);
    std::vector<std::string> words;
    bool isWord = false;
    bool isOurs = false; // and not of the certificate viewer alone
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, 2, "#:") == 0) {
            isOurs = line.find(" app/") != std::string::npos || line.find(" dialogs/") != std::string::npos;
        } else if (line.compare(0, 6, "msgid ") == 0) {
            isWord = isOurs;
            if (isWord) {
                words.push_back(Unquoted(line));
            }
        } else if (isWord && line.compare(0, 1, "\"") == 0) {
            words.back() += Unquoted(line);
        } else {
            isWord = false;
        }
    }
    return words;
}

bool IsAlikeInBoth(const std::string& word) {
    return word == "x86";
}

/// The words of the template that are still seen in German, alone or within a text.
std::vector<std::string> GermanIn(const Texts& texts) {
    std::vector<std::string> german;
    for (const std::string& word : Words()) {
        for (const wxString& text : texts) {
            if (!IsAlikeInBoth(word) && text.Contains(Utf8(word.c_str()))) {
                german.push_back(word);
                break;
            }
        }
    }
    return german;
}

class FrameWithMenu : public ProbedFrame {
public:
    using MainFrame::FillCardMenu;
};

class TheProgramInEnglish : public CardWindowTest<FrameWithMenu> {
protected:
    void SetUp() override { m_Card = m_Deck.Add("acos-a03"); }

    void CollectMainWindow() {
        Collect(*m_Frame, m_Texts);
        Collect(m_Frame->m_pleaseWait, m_Texts);
        wxMenu menu;
        FrameWithMenu::FillCardMenu(menu, Velmor::TOKEN_ACOS_03);
        Collect(menu, m_Texts);
        for (int result = Velmor::P11_NOT_SUPPORTED; result <= Velmor::P11_PIN_LOCKED; ++result) {
            m_Frame->SetStatusPinChange(static_cast<Velmor::PKCS11Return>(result));
            m_Texts.insert(Status());
            m_Frame->SetStatusPinUnblock(static_cast<Velmor::PKCS11Return>(result));
            m_Texts.insert(Status());
        }
    }
    void CollectRefusal() {
        m_Deck.TakeOut(m_Card);
        Reload();
        Collect(*m_Frame, m_Texts);
        Press(ID_SIG_CHANGE_PIN);
        m_Texts.insert(Status());
    }
    /// The signature test of both keys as the buttons open it.
    void CollectSignatureTests() {
        const ModalDialogsClosed<TestDialog> closer(ID_TEST_CLOSE,
                                                    [this](TestDialog& dialog) { Collect(dialog, m_Texts); });
        Press(ID_SIG_TEST);
        Press(ID_ENC_TEST);
    }
    void CollectSignatureTestStatuses() {
        m_Deck.AnswerPins({"cancel", "123456"});
        ProbedTestDialog dialog(m_Frame.get());
        dialog.SetP11(m_Frame->m_p11, 0, Velmor::ApplIdentityLink);
        m_Texts.insert(dialog.Status());
        dialog.SetP11(m_Frame->m_p11, 0, Velmor::ApplSignature);
        const auto press = [&](void (ProbedTestDialog::*button)()) {
            (dialog.*button)();
            m_Texts.insert(dialog.Status());
        };
        press(&ProbedTestDialog::Sign); // cancelled
        press(&ProbedTestDialog::Sign);
        press(&ProbedTestDialog::Verify);
        dialog.text_document->SetValue("x");
        press(&ProbedTestDialog::Verify);
        m_Deck.TakeOut(m_Card);
        press(&ProbedTestDialog::Verify);
        dialog.text_document->SetValue("");
        press(&ProbedTestDialog::Verify);
        dialog.combo_hash->SetSelection(dialog.combo_hash->Append("MD5"));
        press(&ProbedTestDialog::Verify);
        dialog.combo_hash->SetSelection(wxNOT_FOUND);
        press(&ProbedTestDialog::Verify);
        m_Deck.PutBack(m_Card);
    }
    void CollectNoPersB() {
        const NoPersB dialog(m_Frame.get(), wxID_ANY, "");
        Collect(dialog, m_Texts);
    }

    std::string m_Card;
    Texts m_Texts;
};

} // namespace

TEST_F(TheProgramInEnglish, ShowsEveryWordOfTheTemplateInEnglish) {
    Open();
    CollectMainWindow();
    CollectSignatureTests();
    CollectSignatureTestStatuses();
    CollectNoPersB();
    CollectRefusal();

    EXPECT_EQ(m_Frame->GetTitle(), "Card manager (x86)");
    const std::set<std::string> ofTheTitle = {"Kartenverwaltung", "x86"};
    const std::set<std::string> captions = {"Hashalgorithmus", "Signaturalgorithmus"};
    const std::vector<std::string> words = Words();
    EXPECT_GT(words.size(), 50U);
    for (const std::string& word : words) {
        const wxString english = Translate(word.c_str());
        EXPECT_EQ(english == Utf8(word.c_str()), IsAlikeInBoth(word)) << word;
        if (ofTheTitle.count(word) == 0 && word.find('%') == std::string::npos) {
            EXPECT_THAT(m_Texts, Contains(english + (captions.count(word) != 0 ? ":" : ""))) << word;
        }
    }
    EXPECT_THAT(GermanIn(m_Texts), IsEmpty());
    EXPECT_THAT(m_Texts, Contains("Cards: 1"));
    EXPECT_THAT(m_Texts,
                Contains(testing::Truly([](const wxString& text) { return text.EndsWith(", row 1 of 1"); })));
}

TEST_F(TheProgramInEnglish, KeepsTheOneMessageThatStandsInNoCatalogue) {
    Open();
    m_Frame->SetStatusPinUnblock(Velmor::P11_ERROR);
    EXPECT_EQ(Status(), Utf8("Fehler beim PIN entsperren!"));
    EXPECT_EQ(m_Frame->Row(0).back(), "Orsel Carta ACOS 03");
}

TEST_F(TheProgramInEnglish, KeepsTheInfoboxDialogGerman) {
    Open();
    const ModalDialogsClosed<InfoboxBereich> closer(
        ID_INFOBOX_CLOSE, [this](InfoboxBereich& dialog) { Collect(dialog, m_Texts); },
        [](InfoboxBereich& dialog) { return ChildOf<wxListBox>(dialog)->GetCount() == 3; });
    Press(ID_PERS_SHOW);
    EXPECT_THAT(GermanIn(m_Texts), ElementsAre("Infoboxbereich", "Personenbindung", "Schließen"));
    for (const char* text : {"Inhalt", "Binary", "unverschlüsselt speichern"}) {
        EXPECT_THAT(m_Texts, Contains(Utf8(text)));
    }
}
