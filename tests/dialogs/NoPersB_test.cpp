// SPDX-License-Identifier: MIT
#include "dialogs/NoPersB.h"

#include <wx/button.h>
#include <wx/frame.h>
#include <wx/panel.h>
#include <wx/stattext.h>

#include "foundation/Config.h"
#include "foundation/ProgramConfig.h"
#include "tests/dialogs/ModalDialogs.h"
#include "tests/support/GuiTest.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using testing::ElementsAre;

namespace {

class ProbedNoPersB : public NoPersB {
public:
    explicit ProbedNoPersB(wxWindow* parent = nullptr)
        : NoPersB(parent, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxDEFAULT_DIALOG_STYLE) {
    }
    using NoPersB::button_close;
    using NoPersB::button_write;
    using NoPersB::NoPersB;
    using NoPersB::panel_left;
    using NoPersB::panel_right;

    wxStaticText& Text(size_t position) {
        return dynamic_cast<wxStaticText&>(*GetSizer()->GetItem(position)->GetWindow());
    }
};

class TheDialogForACardWithoutIdentityLink : public testing::Test {
protected:
    ProbedNoPersB m_Dialog;
};

} // namespace

// --- Window ------------------------------------------------------------------------------------------------

TEST_F(TheDialogForACardWithoutIdentityLink, HasItsOwnTitleWhateverItIsGiven) {
    EXPECT_EQ(m_Dialog.GetTitle(), "Keine Personenbindung");
    const ProbedNoPersB other(nullptr, wxID_ANY, "Etwas anderes");
    EXPECT_EQ(other.GetTitle(), "Keine Personenbindung");
}

TEST_F(TheDialogForACardWithoutIdentityLink, TakesParentIdPositionAndStyleAsGiven) {
    EXPECT_EQ(m_Dialog.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxDEFAULT_DIALOG_STYLE);
    EXPECT_EQ(m_Dialog.GetParent(), nullptr);
    wxFrame parent(nullptr, wxID_ANY, "");
    const ProbedNoPersB child(&parent, 4711, "", wxPoint(30, 40), wxDefaultSize, wxCAPTION);
    EXPECT_EQ(child.GetParent(), &parent);
    EXPECT_EQ(child.GetId(), 4711);
    EXPECT_EQ(child.GetPosition(), wxPoint(30, 40));
    EXPECT_EQ(child.GetWindowStyle() & ~wxTAB_TRAVERSAL, wxCAPTION);
}

TEST_F(TheDialogForACardWithoutIdentityLink, HasTwoButtonsBetweenTwoSpringsAndThenItsTexts) {
    EXPECT_EQ(m_Dialog.button_write->GetId(), 5465);
    EXPECT_EQ(m_Dialog.button_write->GetLabel(), "Personenbindung aufbringen");
    EXPECT_EQ(m_Dialog.button_close->GetId(), 5466);
    EXPECT_EQ(m_Dialog.button_close->GetLabel(), Utf8("Schließen"));
    for (const wxPanel* spring : {m_Dialog.panel_left, m_Dialog.panel_right}) {
        EXPECT_EQ(spring->GetWindowStyle() & (wxTAB_TRAVERSAL | wxBORDER_MASK),
                  wxTAB_TRAVERSAL | wxBORDER_NONE);
    }
    EXPECT_THAT(ChildrenOf(m_Dialog),
                ElementsAre(m_Dialog.panel_left, m_Dialog.button_write, m_Dialog.button_close,
                            m_Dialog.panel_right, &m_Dialog.Text(0), &m_Dialog.Text(1), &m_Dialog.Text(2)));
}

TEST_F(TheDialogForACardWithoutIdentityLink, SaysWhatIsMissingAndWhatItIsFor) {
    EXPECT_EQ(m_Dialog.Text(0).GetLabel(),
              "Sie haben noch keine \nZMR Stammzahl (Personenbindung)\nauf Ihrer Karte.");
    EXPECT_EQ(m_Dialog.Text(1).GetLabel(),
              Utf8("Die Personenbindung stellt eine Verbindung zwischen Ihrem \nqualifizierten Zertifikat "
                   "und Ihrer Stammzahl her.\nDa Sie im Zertifikat nur durch Ihren Namen identifiziert "
                   "sind, \nwären sonst Verwechslungen zwischen mehreren Personen möglich."));
    EXPECT_EQ(m_Dialog.Text(2).GetLabel(), "Zum Aufbringen der Personenbindung auf Ihre Karte muss ein "
                                           "\nexternes Program gestartet werden.");
}

TEST_F(TheDialogForACardWithoutIdentityLink, SetsOnlyTheFirstTextCentredAndBold) {
    const wxFont bold = m_Dialog.Text(0).GetFont();
    EXPECT_EQ(bold.GetPointSize(), 10);
    EXPECT_EQ(bold.GetStyle(), wxFONTSTYLE_NORMAL);
    EXPECT_EQ(bold.GetWeight(), wxFONTWEIGHT_BOLD);
    EXPECT_FALSE(bold.GetUnderlined());
    EXPECT_EQ(m_Dialog.Text(0).GetWindowStyle() & wxALIGN_MASK, wxALIGN_CENTRE);
    for (const size_t position : {1U, 2U}) {
        EXPECT_EQ(m_Dialog.Text(position).GetWindowStyle() & wxALIGN_MASK, 0);
        EXPECT_EQ(m_Dialog.Text(position).GetFont().GetWeight(), wxFONTWEIGHT_NORMAL);
        EXPECT_EQ(m_Dialog.Text(position).GetFont(), m_Dialog.GetFont());
    }
}

TEST_F(TheDialogForACardWithoutIdentityLink, PlacesTextsAndButtonsBelowEachOther) {
    const auto& outer = dynamic_cast<wxBoxSizer&>(*m_Dialog.GetSizer());
    EXPECT_EQ(outer.GetOrientation(), wxVERTICAL);
    EXPECT_THAT(PlacementsIn(outer), ElementsAre(Placement{&m_Dialog.Text(0), 0, wxEXPAND | wxALL, 6},
                                                 Placement{&m_Dialog.Text(1), 0, wxALL, 6},
                                                 Placement{&m_Dialog.Text(2), 0, wxALL, 6},
                                                 Placement{nullptr, 0, wxEXPAND | wxTOP, 3}));
    const auto& buttons = dynamic_cast<wxBoxSizer&>(*m_Dialog.button_close->GetContainingSizer());
    EXPECT_EQ(buttons.GetOrientation(), wxHORIZONTAL);
    EXPECT_THAT(PlacementsIn(buttons), ElementsAre(Placement{m_Dialog.panel_left, 1, wxEXPAND, 0},
                                                   Placement{m_Dialog.button_write, 0, wxALL, 12},
                                                   Placement{m_Dialog.button_close, 0, wxALL, 12},
                                                   Placement{m_Dialog.panel_right, 1, wxEXPAND, 0}));
}

TEST_F(TheDialogForACardWithoutIdentityLink, ShowsOneButtonInTheMiddleAndAllOfItsTexts) {
    m_Dialog.Show(true);
    ASSERT_TRUE(RunUntil([this] {
        return HasBorder(m_Dialog) && m_Dialog.button_close->IsShownOnScreen() &&
               m_Dialog.panel_left->GetSize().GetWidth() > 1;
    }));
    RunFor(100);
    EXPECT_NEAR(m_Dialog.panel_left->GetSize().GetWidth(), m_Dialog.panel_right->GetSize().GetWidth(), 1);
    for (const size_t position : {0U, 1U, 2U}) {
        const wxStaticText& text = m_Dialog.Text(position);
        EXPECT_GE(text.GetSize().GetWidth(), text.GetBestSize().GetWidth());
        EXPECT_GE(text.GetSize().GetHeight(), text.GetBestSize().GetHeight());
        EXPECT_LE(text.GetRect().GetRight(), m_Dialog.GetClientSize().GetWidth());
    }
    EXPECT_LE(m_Dialog.button_close->GetRect().GetBottom() + 12, m_Dialog.GetClientSize().GetHeight());
}

TEST_F(TheDialogForACardWithoutIdentityLink, KeepsTheWayToTheProgramClosed) {
    EXPECT_FALSE(m_Dialog.button_write->IsThisEnabled());
    EXPECT_FALSE(m_Dialog.button_write->IsShown());
    m_Dialog.Show(true);
    RunFor(200);
    EXPECT_FALSE(m_Dialog.button_write->IsShownOnScreen());
    EXPECT_FALSE(m_Dialog.button_write->CanAcceptFocus());
}

// --- Ending ------------------------------------------------------------------------------------------------

TEST_F(TheDialogForACardWithoutIdentityLink, EndsWithZeroWhenItIsClosed) {
    EXPECT_EQ(RunModal(m_Dialog, [this] { Press(m_Dialog, 5466); }), 0);
}

TEST_F(TheDialogForACardWithoutIdentityLink, HidesWhenItIsClosedWithoutAModalRun) {
    m_Dialog.Show(true);
    Press(m_Dialog, 5466);
    EXPECT_FALSE(m_Dialog.IsShown());
}

TEST(TheButtonsOfTheDialogForACardWithoutIdentityLink, CallHandlersThatMayBeReplaced) {
    class Counting : public ProbedNoPersB {
    public:
        void evt_write_persb(wxCommandEvent&) override { m_Calls += "write "; }
        void evt_close_dlg(wxCommandEvent&) override { m_Calls += "close "; }
        std::string m_Calls;
    };
    Counting dialog;
    EXPECT_TRUE(Press(dialog, 5465));
    EXPECT_TRUE(Press(dialog, 5466));
    EXPECT_EQ(dialog.m_Calls, "write close ");
}

// --- The external program ----------------------------------------------------------------------------------

namespace {

/// A configuration of the test's own, and a program that writes down how it was called.
class TheExternalProgram : public testing::Test {
protected:
    TheExternalProgram() : m_Home("HOME", m_Folder.Path().c_str()) {
        Velmor::Config::GetHandle(0)->Destroy();
    }
    ~TheExternalProgram() override { Velmor::Config::GetHandle(0)->Destroy(); }

    /// Makes the setting read "directory", from the user's own file.
    void InstallIn(const std::string& directory) {
        std::filesystem::create_directories(m_Folder.Path(".velmor/orselclient"));
        m_Folder.File(".velmor/orselclient/config",
                      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<orselclient><Kundenpforte><InstallDir>" +
                          directory + "</InstallDir></Kundenpforte></orselclient>");
        Velmor::Config* config = Velmor::Config::GetHandle(0);
        config->Init("orselclient");
        config->AddConfig(26, Velmor::CONFIG_TYPE_USER, "InstallDir", "Kundenpforte", Velmor::SYS_TYPE_0);
    }

    /// Puts the program into a directory below the test's own.
    std::string MakeProgram(const std::string& directory, const std::string& lastCommand = "") {
        std::filesystem::create_directories(m_Folder.Path(directory));
        const std::string program = m_Folder.File(
            directory + "/OrselPlus", "#!/bin/sh\nprintf '%s|' \"$0\" \"$@\" >'" + Record() + ".new'\nmv '" +
                                          Record() + ".new' '" + Record() + "'\n" + lastCommand + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        return program;
    }
    std::string Record() const { return m_Folder.Path("record"); }

    /// Runs the dialog as if its hidden button were pressed; the result of the run.
    int Write() {
        return RunModal(m_Dialog, [this] {
            wxCommandEvent event;
            m_Dialog.evt_write_persb(event);
        });
    }
    /// How the program was called: its path and its arguments, a bar behind each.
    std::string Called() {
        RunUntil([this] { return std::filesystem::exists(Record()); });
        return ContentOf(Record());
    }

    TempDir m_Folder;
    ScopedVariable m_Home;
    ProbedNoPersB m_Dialog;
};

} // namespace

TEST_F(TheExternalProgram, IsStartedFromItsDirectoryWithOneOption) {
    const std::string program = MakeProgram("bin");
    InstallIn(m_Folder.Path("bin"));
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Called(), program + "|-z|");
}

TEST_F(TheExternalProgram, MayLieInADirectoryWithBlanksAndUmlauts) {
    const std::string program = MakeProgram("Orsel Plus für alle");
    InstallIn(m_Folder.Path("Orsel Plus für alle/"));
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Called(), program + "|-z|");
}

TEST_F(TheExternalProgram, IsLookedForOnTheSearchPathWithoutASetting) {
    const std::string program = MakeProgram("bin");
    const FolderOnPath path(m_Folder.Path("bin"));
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Called(), program + "|-z|");
}

TEST_F(TheExternalProgram, IsNotWaitedFor) {
    MakeProgram("bin", "while [ ! -e '" + m_Folder.Path("go") + "' ]; do sleep 0.05; done; touch '" +
                           m_Folder.Path("ended") + "'");
    InstallIn(m_Folder.Path("bin"));
    EXPECT_EQ(Write(), 1);
    EXPECT_NE(Called(), "");
    EXPECT_FALSE(std::filesystem::exists(m_Folder.Path("ended")));
    m_Folder.File("go", "");
    EXPECT_TRUE(RunUntil([this] { return std::filesystem::exists(m_Folder.Path("ended")); }));
}

TEST_F(TheExternalProgram, ThatIsMissingClosesTheDialogAsOneThatStarts) {
    InstallIn(m_Folder.Path("nowhere"));
    EXPECT_EQ(Write(), 1);
    RunFor(200);
    EXPECT_FALSE(std::filesystem::exists(Record()));
}
