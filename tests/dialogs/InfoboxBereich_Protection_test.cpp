// SPDX-License-Identifier: MIT
// The switch between stored plain and stored encrypted, over the simulated token library.
#include "dialogs/InfoboxBereich.h"

#include <algorithm>

#include "tests/dialogs/ProbedInfobox.h"

using orselsim::Bytes;
using orseltest::CardOptions;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TheEncryptButton : public AnInfoboxOnACard {
protected:
    /// Selects the row of a card in the reader, and begins the trace anew.
    void OpenRow(int row) {
        OpenAndLoad();
        m_Dialog->Select(row);
        m_Deck.ClearTrace();
    }
    void Encrypt() { m_Dialog->Encrypt(); }
    void Type(int code, bool shift = false) {
        wxKeyEvent key(wxEVT_CHAR_HOOK);
        key.m_keyCode = code;
        key.SetShiftDown(shift);
        m_Dialog->GetEventHandler()->ProcessEvent(key);
    }
    bool IsPrivate(const std::string& label) {
        const orselsim::Card card = m_Deck.Read(m_Card);
        const auto& objects = card.m_Record.m_Objects;
        return std::find_if(objects.begin(), objects.end(),
                            [&](const auto& object) { return object.m_Label == label; })
            ->m_IsPrivate;
    }
    /// Everything on display, to tell whether it has changed.
    std::vector<wxString> Display() {
        std::vector<wxString> display = m_Dialog->Pages();
        for (const std::string& row : m_Dialog->Rows()) {
            display.push_back(row);
        }
        display.push_back(m_Dialog->list_box->GetStringSelection());
        display.push_back(m_Dialog->m_LastSelection);
        display.push_back(m_Dialog->button_encrypt->GetLabel());
        display.push_back(m_Dialog->button_encrypt->IsThisEnabled() ? "enabled" : "disabled");
        return display;
    }
    /// The button does nothing that the user sees, and closes its session.
    void ExpectNothingHappens() {
        const auto before = Display();
        Encrypt();
        EXPECT_EQ(Display(), before);
        EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled()); // may be pressed again
        EXPECT_EQ(Calls().back(), "C_CloseSession");
        EXPECT_EQ(m_Deck.GetTrace("C_CloseSession").size(), 1U);
    }
};

} // namespace

TEST_F(TheEncryptButton, RewritesTheEntryWithItsFlagFlipped) {
    Insert("acos-a04");
    for (const bool toPrivate : {true, false}) {
        const Bytes before = m_Deck.ObjectContent(m_Card, "0x0a");
        OpenRow(2);
        Encrypt();
        EXPECT_EQ(IsPrivate("0x0a"), toPrivate);
        EXPECT_EQ(m_Deck.ObjectContent(m_Card, "0x0a"), before);
        m_Dialog->Select(2);
        EXPECT_EQ(m_Dialog->button_encrypt->GetLabel(),
                  Utf8(toPrivate ? "unverschlüsselt speichern" : "verschlüsselt speichern"));
    }
}

TEST_F(TheEncryptButton, HasAKeyOfItsOwn) {
    Insert("acos-a04");
    OpenRow(2);
    Type(WXK_F6, true);
    Type(WXK_F7);
    m_Dialog->button_encrypt->Enable(false);
    Type(WXK_F6);
    EXPECT_FALSE(IsPrivate("0x0a")); // by another key, or while the button cannot be pressed
    m_Dialog->button_encrypt->Enable(true);
    Type(WXK_F6);
    EXPECT_TRUE(IsPrivate("0x0a"));
}

TEST_F(TheEncryptButton, WritesValueAndFlagInOneCallAndThenReadsTheContainerAnew) {
    Insert("acos-a04");
    OpenRow(2);
    Encrypt();
    EXPECT_THAT(Calls(),
                ElementsAre("C_OpenSession", "C_FindObjectsInit", "C_FindObjects", "C_FindObjectsFinal",
                            "C_SetAttributeValue", "C_CloseSession", "C_OpenSession", "C_FindObjectsInit",
                            "C_FindObjects", "C_FindObjectsFinal", "C_GetAttributeValue", "C_CloseSession"));
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
              "CKA_CLASS:CKO_DATA,CKA_LABEL:0x0a");
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjects").front().Value("max"), "10");
    EXPECT_EQ(m_Deck.GetTrace("C_SetAttributeValue").front().Value("attributes"),
              "CKA_VALUE[7],CKA_PRIVATE:1"); // the bytes that were read when the row was selected
    EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").back().Value("attributes"),
              "CKA_CLASS:CKO_DATA,CKA_LABEL:INFOBOX");
    EXPECT_EQ(SessionsOf("C_OpenSession"), SessionsOf("C_CloseSession"));
    for (const auto& record : m_Deck.GetTrace("C_OpenSession")) {
        EXPECT_EQ(record.Value("flags"), "4"); // read-only, although a writing one is asked for
    }
}

TEST_F(TheEncryptButton, FlipsTheFlagOfTheContainerAndNotThatOfTheObject) {
    struct Row {
        unsigned char m_Attributes;
        const char* m_Written;
    };
    Insert("acos-a04");
    for (const Row& row :
         {Row{0, "1"}, Row{1, "0"}, Row{2, "1"}, Row{3, "0"}, Row{0xFE, "1"}, Row{0xFF, "0"}}) {
        ReplaceContainer({{0x0a, row.m_Attributes, {1}}});
        OpenRow(0);
        Encrypt();
        EXPECT_EQ(m_Deck.GetTrace("C_SetAttributeValue").front().Value("attributes"),
                  std::string("CKA_VALUE[7],CKA_PRIVATE:") + row.m_Written);
    }
}

TEST_F(TheEncryptButton, ClearsThePagesAndNeedsTheRowToBeSelectedAgain) {
    Insert("acos-a04");
    OpenRow(2);
    Encrypt();
    EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
    EXPECT_THAT(m_Dialog->Rows(), ElementsAre("01 PERSONENBINDUNG", "02 RFU1", "0a RFU2"));
    EXPECT_EQ(m_Dialog->list_box->GetSelection(), wxNOT_FOUND);
    EXPECT_EQ(m_Dialog->m_LastSelection, "");
    EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
    m_Dialog->Select(2); // the same row as before, and yet it is read
    EXPECT_EQ(m_Dialog->text_binary->GetValue(), "41 42 00 43 44 FE FF");
    EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled());
}

TEST_F(TheEncryptButton, ShrinksABlankEntryToFourZeroBytes) {
    Insert("acos-a04");
    for (const Bytes& blank : {Bytes(64), Bytes(5012), Bytes(4), Bytes(2), Bytes()}) {
        m_Deck.ReplaceObject(m_Card, "0x0a", blank);
        OpenRow(2);
        Encrypt();
        EXPECT_EQ(m_Deck.GetTrace("C_GetAttributeValue").front().Value("attributes"),
                  "CKA_VALUE,CKA_PRIVATE");
        EXPECT_THAT(Calls()[4], "C_GetAttributeValue"); // in the same session, before it writes
        EXPECT_EQ(m_Deck.ObjectContent(m_Card, "0x0a"), Bytes(4));
    }
}

TEST_F(TheEncryptButton, WritesFourBytesOfAnEntryThatHasBytesBehindItsBlankBeginning) {
    Insert("acos-a04");
    Bytes content(200);
    content[150] = 0xAA;
    m_Deck.ReplaceObject(m_Card, "0x0a", content);
    OpenRow(2);
    Encrypt();
    EXPECT_EQ(m_Deck.ObjectContent(m_Card, "0x0a"), Bytes(4));
    EXPECT_TRUE(IsPrivate("0x0a"));
}

TEST_F(TheEncryptButton, ReadsTheEntryAfreshWhenItsLastReadFailed) {
    Insert("acos-a04");
    OpenRow(2);
    const Bytes content = m_Deck.ObjectContent(m_Card, "0x02");
    m_Deck.RemoveObject(m_Card, "0x02");
    m_Dialog->Select(1);
    m_Deck.AddData(m_Card, "0x02", content);
    EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled()); // from the row before
    Encrypt();
    EXPECT_EQ(m_Deck.ObjectContent(m_Card, "0x02"), Bytes(content.begin(), content.begin() + 4));
}

TEST_F(TheEncryptButton, WritesTheFirstOfTheObjectsWithThisLabel) {
    Insert("acos-a04");
    m_Deck.AddData(m_Card, "0x0a", {'z'});
    OpenRow(2);
    Encrypt();
    EXPECT_TRUE(IsPrivate("0x0a"));
    EXPECT_FALSE(m_Deck.Read(m_Card).m_Record.m_Objects.back().m_IsPrivate);
}

// --- Failures ----------------------------------------------------------------------------------------------

TEST_F(TheEncryptButton, ClosesTheSessionEvenWhenItNeverOpensOne) {
    Insert("acos-a04");
    OpenRow(2);
    m_Dialog->list_box->SetSelection(wxNOT_FOUND);
    Encrypt();
    EXPECT_THAT(Calls(), ElementsAre("C_CloseSession"));
    m_Dialog->m_InfoboxFS.Clear();
    m_Dialog->list_box->SetSelection(2);
    Encrypt();
    EXPECT_THAT(Calls(), ElementsAre("C_CloseSession", "C_CloseSession"));
}

TEST_F(TheEncryptButton, ChangesNothingWhenTheCardIsGone) {
    Insert("acos-a04");
    OpenRow(2);
    m_Deck.TakeOut(m_Card);
    ExpectNothingHappens();
    EXPECT_THAT(Calls(), ElementsAre("C_OpenSession", "C_CloseSession"));
    m_Deck.PutBack(m_Card);
    Encrypt();
    EXPECT_TRUE(IsPrivate("0x0a"));
}

TEST_F(TheEncryptButton, ChangesNothingWhenTheObjectIsGone) {
    Insert("acos-a04");
    OpenRow(2);
    m_Deck.RemoveObject(m_Card, "0x0a");
    ExpectNothingHappens();
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
}

TEST_F(TheEncryptButton, ChangesNothingWhenTheUserRefusesThePin) {
    Insert("acos-a04", CardOptions().DataPin());
    OpenRow(2);
    m_Deck.AnswerPins({"cancel"});
    ExpectNothingHappens();
    EXPECT_FALSE(IsPrivate("0x0a"));
    m_Deck.AnswerPins({"1234"});
    Encrypt();
    EXPECT_TRUE(IsPrivate("0x0a"));
}

TEST_F(TheEncryptButton, ChangesNothingWithoutTheEntryPointsItNeeds) {
    Insert("acos-a04");
    m_Deck.ReplaceObject(m_Card, "0x0a", Bytes(64));
    OpenRow(2);
    const auto write = Velmor::tkPKCS11::Proc_C_SetAttributeValue;
    const auto read = Velmor::tkPKCS11::Proc_C_GetAttributeValue;
    Velmor::tkPKCS11::Proc_C_SetAttributeValue = nullptr;
    ExpectNothingHappens();
    Velmor::tkPKCS11::Proc_C_SetAttributeValue = write;
    Velmor::tkPKCS11::Proc_C_GetAttributeValue = nullptr;
    m_Deck.ClearTrace();
    ExpectNothingHappens();
    Velmor::tkPKCS11::Proc_C_GetAttributeValue = read;
    Encrypt();
    EXPECT_TRUE(IsPrivate("0x0a"));
}

TEST_F(TheEncryptButton, ChangesNothingWhenTheLibraryReportsALengthBeyondTheBuffer) {
    Insert("acos-a04");
    m_Deck.ReplaceObject(m_Card, "0x0a", Bytes(64));
    for (const char* attribute : {"CKA_VALUE", "CKA_PRIVATE"}) {
        // The first two reads are those of the container and of the row.
        const std::string call = std::string(attribute) == "CKA_VALUE" ? "3" : "1";
        BindWithFault("C_GetAttributeValue attribute=" + std::string(attribute) + " call=" + call +
                      " length=5013");
        OpenRow(2);
        ExpectNothingHappens();
        EXPECT_EQ(m_Deck.GetTrace("C_GetAttributeValue").size(), 1U);
        EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
        m_Dialog.reset();
    }
}

TEST_F(TheEncryptButton, LeavesAnEmptyListWhenTheContainerCannotBeReadAnew) {
    Insert("acos-a04");
    OpenRow(2);
    m_Deck.RemoveObject(m_Card, "INFOBOX");
    Encrypt();
    EXPECT_TRUE(IsPrivate("0x0a"));
    EXPECT_THAT(m_Dialog->Rows(), IsEmpty());
    EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
    EXPECT_EQ(m_NoPersB.m_Count, 0);
}
