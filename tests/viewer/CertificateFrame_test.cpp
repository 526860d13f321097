// SPDX-License-Identifier: MIT
#include "viewer/CertificateFrame.h"

#include <memory>
#include <set>

#include <gtk/gtk.h>
#include <wx/clipbrd.h>
#include <wx/dataobj.h>
#include <wx/filedlg.h>
#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/notebook.h>
#include <wx/stattext.h>
#include <wx/testing.h>
#include <wx/textctrl.h>

#include "tests/support/CertificateBuilder.h"
#include "tests/support/GuiTest.h"
#include "tests/support/TempDir.h"
#include "viewer/Icons.h"
#include "viewer/RowList.h"
#include "viewer/ViewerIds.h"
#include "viewer/VisibleText.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr std::time_t WHEN_VALID = 1751371200; // 2025-07-01 12:00:00 UTC
constexpr std::time_t DAY = 86400;

class ProbedFrame : public CertificateFrame {
public:
    using CertificateFrame::button_close;
    using CertificateFrame::CertificateFrame;
    using CertificateFrame::label_holder;
    using CertificateFrame::label_issuer;
    using CertificateFrame::label_note;
    using CertificateFrame::label_period;
    using CertificateFrame::label_state;
    using CertificateFrame::list_rows;
    using CertificateFrame::m_Notebook;
    using CertificateFrame::text_all;
    using CertificateFrame::text_value;

    /// What a person chooses in the file dialog; without a path the dialog itself comes up.
    std::string m_Target;
    int m_Filter = 0;

protected:
    std::string AskForTarget(int& filter) override {
        filter = m_Filter;
        return m_Target.empty() ? CertificateFrame::AskForTarget(filter) : m_Target;
    }
};

class ACertificateWindow : public testing::Test {
protected:
    ~ACertificateWindow() override {
        if (!m_IsClosed) {
            m_Frame->Destroy();
        }
        RunFor(1);
    }

    void Open(const CertificateBuilder& builder, std::time_t now = WHEN_VALID) {
        m_Frame = new ProbedFrame(nullptr, builder.Wrapped(), now);
        m_Frame->Bind(wxEVT_DESTROY, [this](wxWindowDestroyEvent& event) {
            m_IsClosed = m_IsClosed || event.GetEventObject() == m_Frame;
            event.Skip();
        });
        m_Frame->Show();
        ASSERT_TRUE(RunUntil([this] { return m_Frame->IsShownOnScreen(); }));
    }

    /// As the keyboard would: to the window first.
    bool PressKey(int code, int modifiers = wxMOD_NONE) {
        wxKeyEvent key(wxEVT_CHAR_HOOK);
        key.m_keyCode = code;
        key.SetControlDown((modifiers & wxMOD_CONTROL) != 0);
        key.SetEventObject(m_Frame);
        return m_Frame->GetEventHandler()->ProcessEvent(key);
    }
    void PressButton(int id) {
        wxCommandEvent press(wxEVT_BUTTON, id);
        m_Frame->GetEventHandler()->ProcessEvent(press);
    }
    void ChooseInMenu(int id) {
        wxCommandEvent choice(wxEVT_MENU, id);
        m_Frame->GetEventHandler()->ProcessEvent(choice);
    }
    bool Closes() {
        return RunUntil([this] { return m_IsClosed; });
    }

    static std::string Clipboard() {
        wxTextDataObject text;
        if (wxTheClipboard->Open()) {
            wxTheClipboard->GetData(text);
            wxTheClipboard->Close();
        }
        return viewer::ToUtf8(text.GetText());
    }

    ProbedFrame* m_Frame = nullptr;
    bool m_IsClosed = false;
};

} // namespace

TEST_F(ACertificateWindow, TellsAboveWhatAPersonWantsToKnow) {
    Open(CertificateBuilder());
    EXPECT_EQ("Erika Muster – Zertifikat", viewer::ToUtf8(m_Frame->GetTitle()));
    EXPECT_EQ("Erika Muster", m_Frame->label_holder->GetLabelText());
    EXPECT_EQ(Utf8("Gültig, noch 184 Tage"), m_Frame->label_state->GetLabelText());
    EXPECT_EQ("Ausgestellt von: Muster Sign 01", m_Frame->label_issuer->GetLabelText());
    EXPECT_EQ(Utf8("Gültig von 01.01.2016, 12:00:00 UTC bis 01.01.2026, 12:00:00 UTC"),
              m_Frame->label_period->GetLabelText());
    EXPECT_TRUE(m_Frame->label_note->IsShown());
}

TEST_F(ACertificateWindow, SaysThatAnExpiredOneIsNoMore) {
    Open(CertificateBuilder(), WHEN_VALID + (184 + 12) * DAY);
    EXPECT_EQ("Abgelaufen seit 12 Tagen", m_Frame->label_state->GetLabelText());
    EXPECT_FALSE(m_Frame->label_note->IsShown());
}

TEST_F(ACertificateWindow, ShowsNamesAsTheyAreWithTheirAmpersands) {
    Open(CertificateBuilder().Subject({{"CN", "A&B && C\u202e"}}));
    EXPECT_EQ("A&B && C<U+202E>", m_Frame->label_holder->GetLabelText());
}

TEST_F(ACertificateWindow, StartsOnTheFirstRowOfItsList) {
    Open(CertificateBuilder());
    EXPECT_EQ(m_Frame->list_rows, wxWindow::FindFocus());
    ASSERT_NE(nullptr, m_Frame->list_rows->Selected());
    EXPECT_EQ("Land (C)", m_Frame->list_rows->Selected()->Label());
    EXPECT_EQ("AT", m_Frame->text_value->GetValue());
}

TEST_F(ACertificateWindow, ShowsTheWholeValueOfTheSelectedRow) {
    const std::string longName(1000, 'x');
    Open(CertificateBuilder().Subject({{"C", "AT"}, {"1.2.3.4.5", longName}}));
    m_Frame->list_rows->Select(2);
    EXPECT_EQ(longName, m_Frame->text_value->GetValue());
    EXPECT_LT(m_Frame->list_rows->GetItemText(2, 1).length(), 210U); // and no more than a line in the list
}

TEST_F(ACertificateWindow, ShowsEverythingAsTextOnItsOtherPage) {
    const CertificateBuilder builder;
    Open(builder);
    EXPECT_EQ("", m_Frame->text_all->GetValue()); // and not before
    PressKey(WXK_PAGEDOWN, wxMOD_CONTROL);
    EXPECT_EQ(1, m_Frame->m_Notebook->GetSelection());
    const std::string text = viewer::ToUtf8(m_Frame->text_all->GetValue());
    EXPECT_THAT(text, StartsWith("Inhaber\n    Land (C): AT\n"));
    EXPECT_THAT(text, EndsWith("-----END CERTIFICATE-----\n"));
    EXPECT_THAT(text, HasSubstr("\n-----BEGIN CERTIFICATE-----\n"));
    m_Frame->text_all->SetInsertionPoint(20);
    PressKey(WXK_PAGEUP, wxMOD_CONTROL);
    EXPECT_EQ(0, m_Frame->m_Notebook->GetSelection());
    PressKey(WXK_PAGEDOWN, wxMOD_CONTROL);
    EXPECT_EQ(20, m_Frame->text_all->GetInsertionPoint()) << "it is not written anew";
}

TEST_F(ACertificateWindow, CopiesNothingWhereNoRowIsSelected) {
    Open(CertificateBuilder());
    PressKey('C', wxMOD_CONTROL);
    m_Frame->list_rows->SetItemState(1, 0, wxLIST_STATE_SELECTED);
    ASSERT_EQ(nullptr, m_Frame->list_rows->Selected());
    PressButton(ID_VIEWER_COPY_ROW);
    ChooseInMenu(ID_VIEWER_COPY_VALUE);
    EXPECT_EQ("Land (C): AT", Clipboard()) << "as before";
}

TEST_F(ACertificateWindow, OffersItsCommandsInAMenu) {
    Open(CertificateBuilder());
    std::vector<std::string> entries;
    m_Frame->Bind(wxEVT_MENU_OPEN, [&entries](wxMenuEvent& event) {
        for (const wxMenuItem* item : event.GetMenu()->GetMenuItems()) {
            entries.push_back(item->IsSeparator() ? "-" : viewer::ToUtf8(item->GetItemLabelText()));
        }
        // A menu waits for the person.
        g_idle_add(
            [](void* menu) -> gboolean {
                gtk_menu_popdown(GTK_MENU(menu));
                return G_SOURCE_REMOVE;
            },
            event.GetMenu()->m_menu);
    });
    wxContextMenuEvent wish(wxEVT_CONTEXT_MENU, m_Frame->list_rows->GetId());
    m_Frame->list_rows->GetEventHandler()->ProcessEvent(wish);
    EXPECT_THAT(entries, testing::ElementsAre("Zeile kopieren", "Wert kopieren", "Alles kopieren", "-",
                                              "Speichern unter..."));
}

TEST_F(ACertificateWindow, HasASignOfItsOwnForEachState) {
    std::set<std::vector<unsigned char>> signs;
    for (const auto validity : {viewer::Validity::VALID, viewer::Validity::EXPIRED,
                                viewer::Validity::NOT_YET_VALID, viewer::Validity::UNREADABLE}) {
        const wxImage sign = viewer::StateIcon(validity, 32).ConvertToImage();
        signs.insert({sign.GetData(), sign.GetData() + 3UL * 32 * 32});
    }
    EXPECT_EQ(4U, signs.size());
    Open(CertificateBuilder(), 1);
    EXPECT_THAT(viewer::ToUtf8(m_Frame->label_state->GetLabelText()), StartsWith("Noch nicht gültig: "));
    EXPECT_FALSE(m_Frame->label_note->IsShown());
}

TEST_F(ACertificateWindow, MeasuresNoMoreLabelsThanAWindowShows) {
    NameFields fields;
    for (int i = 0; i < 600; ++i) {
        fields.emplace_back("1.2.3." + std::to_string(i), "x");
    }
    CertificateBuilder certificate;
    Open(certificate.Subject(fields));
    const int width = m_Frame->list_rows->GetColumnWidth(0);
    m_Frame->Destroy();
    ASSERT_TRUE(Closes());
    m_IsClosed = false;
    fields.emplace_back("1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17.18.19.20.21", "x");
    Open(certificate.Subject(fields));
    EXPECT_EQ(width, m_Frame->list_rows->GetColumnWidth(0));
}

TEST_F(ACertificateWindow, CopiesARowItsValueOrEverything) {
    Open(CertificateBuilder());
    PressKey('C', wxMOD_CONTROL);
    EXPECT_EQ("Land (C): AT", Clipboard());
    m_Frame->list_rows->Select(3);
    PressButton(ID_VIEWER_COPY_ROW);
    EXPECT_EQ("Name (CN): Erika Muster", Clipboard());
    ChooseInMenu(ID_VIEWER_COPY_VALUE);
    EXPECT_EQ("Erika Muster", Clipboard());
    ChooseInMenu(ID_VIEWER_COPY_ROW);
    EXPECT_EQ("Name (CN): Erika Muster", Clipboard());
    PressButton(ID_VIEWER_COPY_ALL);
    EXPECT_THAT(Clipboard(), StartsWith("Inhaber\n"));
    EXPECT_THAT(Clipboard(), EndsWith("-----END CERTIFICATE-----\n"));
}

TEST_F(ACertificateWindow, LeavesCtrlCToATextField) {
    Open(CertificateBuilder());
    PressKey('C', wxMOD_CONTROL);
    m_Frame->text_value->SetFocus();
    ASSERT_TRUE(RunUntil([this] { return wxWindow::FindFocus() == m_Frame->text_value; }));
    EXPECT_FALSE(PressKey('C', wxMOD_CONTROL));
}

TEST_F(ACertificateWindow, SavesAsPemOrDer) {
    const TempDir dir;
    const CertificateBuilder builder;
    Open(builder);
    const auto choose = [&](const char* name, int filter) {
        m_Frame->m_Target = dir.Path(name);
        m_Frame->m_Filter = filter;
    };
    choose("a.pem", 1);
    PressButton(ID_VIEWER_SAVE);
    choose("b.der", 0);
    ChooseInMenu(ID_VIEWER_SAVE);
    choose("c.cer", 0);
    PressKey('S', wxMOD_CONTROL);
    choose("d.cer", 1);
    PressKey('S', wxMOD_CONTROL);
    Velmor::slCertificate saved;
    EXPECT_TRUE(saved.LoadFromB64(ContentOf(dir.Path("a.pem"))));
    const auto bytes = builder.Wrapped().ToBin();
    EXPECT_EQ(bytes, saved.ToBin());
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), ContentOf(dir.Path("b.der")));
    EXPECT_EQ(ContentOf(dir.Path("a.pem")), ContentOf(dir.Path("c.cer")));
    EXPECT_EQ(ContentOf(dir.Path("b.der")), ContentOf(dir.Path("d.cer")));
}

TEST_F(ACertificateWindow, TellsWhyItCannotSave) {
    const TempDir dir;
    Open(CertificateBuilder());
    m_Frame->m_Target = dir.Path("no/a.pem");
    wxTEST_DIALOG(PressButton(ID_VIEWER_SAVE), wxExpectModal<wxMessageDialog>(wxID_OK));
}

TEST_F(ACertificateWindow, SavesNothingWhenThePersonThinksBetterOfIt) {
    class Cancel : public wxExpectModalBase<wxFileDialog> {
    protected:
        int OnInvoked(wxFileDialog* /*dialog*/) const override { return wxID_CANCEL; }
    };
    Open(CertificateBuilder());
    wxTEST_DIALOG(PressButton(ID_VIEWER_SAVE), Cancel());
}

TEST_F(ACertificateWindow, SavesWhereThePersonChooses) {
    class Choose : public wxExpectModalBase<wxFileDialog> {
    public:
        explicit Choose(const std::string& path) : m_Path(path) {}

    protected:
        int OnInvoked(wxFileDialog* dialog) const override {
            dialog->SetPath(m_Path);
            wxYield(); // the dialog takes it in an event of its own
            return wxID_OK;
        }

    private:
        std::string m_Path;
    };
    const TempDir dir;
    Open(CertificateBuilder());
    wxTEST_DIALOG(PressButton(ID_VIEWER_SAVE), Choose(dir.Path("chosen.pem")));
    EXPECT_EQ(CertificateBuilder().Wrapped().ToPem().substr(0, 27),
              ContentOf(dir.Path("chosen.pem")).substr(0, 27));
}

TEST_F(ACertificateWindow, ClosesOnEscape) {
    Open(CertificateBuilder());
    PressKey(WXK_ESCAPE);
    EXPECT_TRUE(Closes());
}

TEST_F(ACertificateWindow, ClosesOnCtrlW) {
    Open(CertificateBuilder());
    PressKey('W', wxMOD_CONTROL);
    EXPECT_TRUE(Closes());
}

TEST_F(ACertificateWindow, ClosesByItsButton) {
    Open(CertificateBuilder());
    PressButton(ID_VIEWER_CLOSE);
    EXPECT_TRUE(Closes());
}

TEST_F(ACertificateWindow, StaysUsableWithTenThousandAlternativeNames) {
    std::string names;
    for (int i = 0; i < 10000; ++i) {
        names += (i == 0 ? "DNS:n" : ",DNS:n") + std::to_string(i) + ".example";
    }
    Open(CertificateBuilder().Extension("subjectAltName", names));
    ASSERT_GT(m_Frame->list_rows->GetItemCount(), 10000);
    m_Frame->list_rows->Select(10010);
    EXPECT_THAT(viewer::ToUtf8(m_Frame->text_value->GetValue()), StartsWith("DNS: n99"));
}

TEST_F(ACertificateWindow, ShowsNoMoreOfATenMegabyteExtensionThanAPersonCanRead) {
    constexpr std::size_t SIZE = 10UL * 1024 * 1024;
    Open(CertificateBuilder().RawExtension("1.2.3.4", std::vector<unsigned char>(SIZE, 0xab)));
    for (int row = 0; row < m_Frame->list_rows->GetItemCount(); ++row) {
        m_Frame->list_rows->Select(row);
        EXPECT_LT(m_Frame->text_value->GetValue().length(), 20000U);
    }
    m_Frame->m_Notebook->SetSelection(1);
    EXPECT_LT(m_Frame->text_all->GetValue().length(), 1000000U);
    PressButton(ID_VIEWER_COPY_ALL); // has no limit
    EXPECT_GT(Clipboard().size(), 3 * SIZE);
}

TEST_F(ACertificateWindow, CutsNothingThatItSays) {
    Open(CertificateBuilder());
    for (const wxStaticText* label : {m_Frame->label_holder, m_Frame->label_state, m_Frame->label_issuer,
                                      m_Frame->label_period, m_Frame->label_note}) {
        EXPECT_GE(label->GetSize().x, label->GetTextExtent(label->GetLabelText()).x) << label->GetLabelText();
        EXPECT_GE(label->GetSize().y, label->GetCharHeight()) << label->GetLabelText();
    }
}
