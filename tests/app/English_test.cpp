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

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Texts = std::set<wxString>;

/// Every text that a window and all that is in it show.
void Collect(const wxWindow& window, Texts& texts) {
    texts.insert(window.GetLabel());
    if (const auto* list = dynamic_cast<const wxListCtrl*>(&window)) {
        wxListItem column;
        column.SetMask(wxLIST_MASK_TEXT);
        for (int i = 0; i < list->GetColumnCount() && list->GetColumn(i, column); ++i)
            texts.insert(column.GetText());
    }
    if (const auto* rows = dynamic_cast<const wxItemContainerImmutable*>(&window)) {
        for (const wxString& row : rows->GetStrings())
            texts.insert(row);
    }
    if (const auto* pages = dynamic_cast<const wxNotebook*>(&window)) {
        for (size_t i = 0; i < pages->GetPageCount(); ++i)
            texts.insert(pages->GetPageText(i));
    }
    if (const auto* field = dynamic_cast<const wxTextCtrl*>(&window))
        texts.insert(field->GetValue());
    for (const wxWindow* child : window.GetChildren()) {
        if (!child->IsTopLevel())
            Collect(*child, texts);
    }
}

void Collect(const wxMenu& menu, Texts& texts) {
    for (const wxMenuItem* item : menu.GetMenuItems()) {
        texts.insert(item->GetItemLabelText());
        if (item->GetSubMenu() != nullptr)
            Collect(*item->GetSubMenu(), texts);
    }
}

/// The quoted part of a line of the template.
std::string Unquoted(const std::string& line) {
    const size_t start = line.find('"') + 1;
    std::string text;
    for (size_t i = start; i < line.rfind('"'); ++i) {
        if (line[i] == '\\')
            text += line[++i] == 'n' ? '\n' : line[i];
        else
            text += line[i];
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
    void SetUp() override { m_card = m_deck.add("acos-a03"); }

    void CollectMainWindow() {
        Collect(*m_frame, m_texts);
        Collect(m_frame->m_pleaseWait, m_texts);
        wxMenu menu;
        FrameWithMenu::FillCardMenu(menu, Velmor::TOKEN_ACOS_03);
        Collect(menu, m_texts);
        for (int result = Velmor::P11_NOT_SUPPORTED; result <= Velmor::P11_PIN_LOCKED; ++result) {
            m_frame->SetStatusPinChange(static_cast<Velmor::PKCS11Return>(result));
            m_texts.insert(Status());
            m_frame->SetStatusPinUnblock(static_cast<Velmor::PKCS11Return>(result));
            m_texts.insert(Status());
        }
    }
    void CollectRefusal() {
        m_frame->list_cards->DeleteAllItems();
        Press(ID_SIG_CHANGE_PIN);
        m_texts.insert(Status());
    }
    /// The signature test of both keys as the buttons open it.
    void CollectSignatureTests() {
        const ModalDialogsClosed<TestDialog> closer(ID_TEST_CLOSE,
                                                    [this](TestDialog& dialog) { Collect(dialog, m_texts); });
        Press(ID_SIG_TEST);
        Press(ID_ENC_TEST);
    }
    void CollectSignatureTestStatuses() {
        m_deck.answerPins({"cancel", "123456"});
        ProbedTestDialog dialog(m_frame.get());
        dialog.SetP11(m_frame->m_p11, 0, Velmor::ApplIdentityLink);
        m_texts.insert(dialog.Status());
        dialog.SetP11(m_frame->m_p11, 0, Velmor::ApplSignature);
        const auto press = [&](void (ProbedTestDialog::*button)()) {
            (dialog.*button)();
            m_texts.insert(dialog.Status());
        };
        press(&ProbedTestDialog::Sign); // cancelled
        press(&ProbedTestDialog::Sign);
        press(&ProbedTestDialog::Verify);
        dialog.text_document->SetValue("x");
        press(&ProbedTestDialog::Verify);
        m_deck.takeOut(m_card);
        press(&ProbedTestDialog::Verify);
        dialog.text_document->SetValue("");
        press(&ProbedTestDialog::Verify);
        dialog.combo_hash->SetSelection(dialog.combo_hash->Append("MD5"));
        press(&ProbedTestDialog::Verify);
        dialog.combo_hash->SetSelection(wxNOT_FOUND);
        press(&ProbedTestDialog::Verify);
        m_deck.putBack(m_card);
    }
    void CollectNoPersB() {
        const NoPersB dialog(m_frame.get(), wxID_ANY, "");
        Collect(dialog, m_texts);
    }

    std::string m_card;
    Texts m_texts;
};

} // namespace

TEST_F(TheProgramInEnglish, ShowsEveryWordOfTheTemplateInEnglish) {
    Open();
    CollectMainWindow();
    CollectSignatureTests();
    CollectSignatureTestStatuses();
    CollectNoPersB();
    CollectRefusal();

    EXPECT_EQ(m_frame->GetTitle(), "Card manager (x86)");
    const std::set<std::string> ofTheTitle = {"Kartenverwaltung", "x86"};
    const std::set<std::string> captions = {"Hashalgorithmus", "Signaturalgorithmus"};
    const std::vector<std::string> words = Words();
    EXPECT_GT(words.size(), 50U);
    for (const std::string& word : words) {
        const wxString english = Translate(word.c_str());
        EXPECT_EQ(english == Utf8(word.c_str()), IsAlikeInBoth(word)) << word;
        if (ofTheTitle.count(word) == 0) {
            EXPECT_THAT(m_texts, Contains(english + (captions.count(word) != 0 ? ":" : ""))) << word;
        }
    }
    EXPECT_THAT(GermanIn(m_texts), IsEmpty());
}

TEST_F(TheProgramInEnglish, KeepsTheOneMessageThatStandsInNoCatalogue) {
    Open();
    m_frame->SetStatusPinUnblock(Velmor::P11_ERROR);
    EXPECT_EQ(Status(), Utf8("Fehler beim PIN entsperren!"));
    EXPECT_EQ(m_frame->Row(0).back(), "Orsel Carta ACOS 03");
}

TEST_F(TheProgramInEnglish, KeepsTheInfoboxDialogGerman) {
    Open();
    const ModalDialogsClosed<InfoboxBereich> closer(
        ID_INFOBOX_CLOSE, [this](InfoboxBereich& dialog) { Collect(dialog, m_texts); },
        [](InfoboxBereich& dialog) { return ChildOf<wxListBox>(dialog)->GetCount() == 3; });
    Press(ID_PERS_SHOW);
    EXPECT_THAT(GermanIn(m_texts), ElementsAre("Infoboxbereich", "Personenbindung", "Schließen"));
    for (const char* text : {"Inhalt", "Binary", "unverschlüsselt speichern"})
        EXPECT_THAT(m_texts, Contains(Utf8(text)));
}
