// SPDX-License-Identifier: MIT
// The certificate of the selected card, handed to a viewer, over the simulated token library.
#include "app/MainFrame.h"

#include <filesystem>
#include <fstream>

#include "foundation/FileAndDirectory.h"
#include "tests/app/CardWindow.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

namespace {

/// A certificate viewer on the PATH that writes down its arguments and keeps a copy of the file.
class ShowingACertificate : public CardWindowTest<> {
protected:
    void SetUp() override {
        const std::string viewer = m_Deck.Folder() + "/certViewerApp";
        std::ofstream(viewer) << "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$1\" >'" << Seen()
                              << ".part'\ncp \"$1\" '" << m_Deck.Folder() << "/shown.cer'\nmv '" << Seen()
                              << ".part' '" << Seen() << "'\n";
        std::filesystem::permissions(viewer, std::filesystem::perms::owner_all);
    }
    std::string Seen() { return m_Deck.Folder() + "/seen.txt"; }
    std::string File() { return Velmor::CombinePaths(Velmor::GetTempDir(), "orselcards_cert.cer"); }

    /// What the viewer was shown, once it has run; empty when it does not.
    std::string Shown(int milliseconds = 10000) {
        if (!RunUntil([this] { return std::filesystem::exists(Seen()); }, milliseconds)) {
            return "";
        }
        std::filesystem::remove(Seen());
        return ContentOf(m_Deck.Folder() + "/shown.cer");
    }
    std::string OnCard(const std::string& card, const char* label) {
        const auto bytes = m_Deck.ObjectContent(card, label);
        return std::string(bytes.begin(), bytes.end());
    }
    const FolderOnPath m_Path{m_Deck.Folder()};
    const ScopedVariable m_Temp{"TMPDIR", m_Deck.Folder()};
};

} // namespace

TEST_F(ShowingACertificate, HandsTheCardsBytesToTheViewerInOneFile) {
    const std::string card = m_Deck.Add("ecard-g4");
    Open();
    Press(ID_SIG_SHOW_CERT);
    ASSERT_TRUE(RunUntil([this] { return std::filesystem::exists(Seen()); }));
    EXPECT_EQ(ContentOf(Seen()), "1\n" + File() + "\n");
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.SIG"));
    Press(ID_ENC_SHOW);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.EKEY"));
    EXPECT_TRUE(std::filesystem::exists(File())); // stays for the viewer
    EXPECT_TRUE(EverySessionIsClosed());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(Status(), "");
}

TEST_F(ShowingACertificate, OnADoubleClickTakesTheEncryptionCertificate) {
    const std::string card = m_Deck.Add("acos-a04");
    Open();
    wxListEvent doubleClick(wxEVT_LIST_ITEM_ACTIVATED, ID_CARD_LIST);
    m_Frame->list_cards->GetEventHandler()->ProcessEvent(doubleClick);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.EKEY"));
    EXPECT_EQ(Shown(500), ""); // and only that one
}

TEST_F(ShowingACertificate, OnADoubleClickTakesTheOtherOneWhereThereIsNone) {
    const std::string card = m_Deck.Add("acos-a04");
    m_Deck.RemoveObject(card, "C.CH.EKEY");
    Open();
    wxListEvent doubleClick(wxEVT_LIST_ITEM_ACTIVATED, ID_CARD_LIST);
    m_Frame->list_cards->GetEventHandler()->ProcessEvent(doubleClick);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.SIG"));
}

TEST_F(ShowingACertificate, OfAnEmptyCardIsRefusedTwiceOnADoubleClick) {
    class Frame : public ProbedFrame {};
    m_Deck.Add("empty");
    Open();
    wxListEvent doubleClick(wxEVT_LIST_ITEM_ACTIVATED, ID_CARD_LIST);
    m_Frame->list_cards->GetEventHandler()->ProcessEvent(doubleClick);
    EXPECT_EQ(Status(), REFUSAL);
    EXPECT_EQ(Shown(500), "");
}

TEST_F(ShowingACertificate, RemovesTheFileOfTheOneBeforeAlsoWhenItFails) {
    const std::string card = m_Deck.Add("acos-a04");
    Open();
    Press(ID_SIG_SHOW_CERT);
    Shown();
    m_Deck.RemoveObject(card, "C.CH.SIG");
    EXPECT_FALSE(m_Frame->ShowCert(true));
    EXPECT_FALSE(std::filesystem::exists(File()));
    EXPECT_TRUE(EverySessionIsClosed());
    EXPECT_FALSE(wxIsBusy());
    EXPECT_EQ(Status(), "");
}

TEST_F(ShowingACertificate, MakesTheFileForThisUserAloneAndNeverWritesThroughALink) {
    const std::string card = m_Deck.Add("acos-a04");
    const std::string other = m_Deck.Folder() + "/other.txt";
    std::ofstream(other) << "mine";
    std::filesystem::create_symlink(other, File());
    Open();
    const auto before = umask(0);
    Press(ID_SIG_SHOW_CERT);
    umask(before);
    EXPECT_EQ(Shown(), OnCard(card, "C.CH.SIG"));
    EXPECT_EQ(ContentOf(other), "mine");
    EXPECT_FALSE(std::filesystem::is_symlink(File()));
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(File()).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(ShowingACertificate, FailsWhereItsFileCannotBeWritten) {
    m_Deck.Add("acos-a04");
    Open();
    std::filesystem::create_directory(File()); // nothing can be removed or written there
    std::ofstream(File() + "/x") << "x";
    EXPECT_FALSE(m_Frame->ShowCert(true));
    EXPECT_TRUE(EverySessionIsClosed());
    EXPECT_EQ(Shown(300), "");
}

TEST_F(ShowingACertificate, CountsAsStartedWithoutAViewer) {
    m_Deck.Add("acos-a04");
    Open();
    const ScopedVariable path("PATH", "/nowhere");
    EXPECT_TRUE(m_Frame->ShowCert(true));
}
