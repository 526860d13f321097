// SPDX-License-Identifier: MIT
// From the selected row to the pages.
#include "dialogs/InfoboxBereich.h"

#include "tests/dialogs/ProbedInfobox.h"

using orselsim::Bytes;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using Velmor::ByteArray;

namespace {

const wxString NO_FIELDS =
    "Vorname: \r\nNachname: \r\nGeburtsdatum: \r\n\r\nIssuerTemplate: \r\nIssueInstant: \r\n";

ByteArray BytesOf(const std::string& text) {
    return ByteArray(text);
}

std::string Tlv(unsigned char tag, const std::string& content) {
    return std::string(1, static_cast<char>(tag)) + static_cast<char>(content.size()) + content;
}

/// An identity link of an invented person.
ByteArray IdentityLink() {
    const std::string person =
        Tlv(0x30, Tlv(0x0C, "bPK") + Tlv(0x0C, "Käthe") + Tlv(0x0C, "Müller") + Tlv(0x0C, "1959-02-20"));
    return BytesOf(Tlv(0x30, Tlv(0x02, "\x01") + Tlv(0x0C, "Vorlage") + Tlv(0x0C, "Zusage") +
                                 Tlv(0x0C, "2024-03-01T10:15:00") + Tlv(0xA0, person)));
}

class ThePagesOfTheInfoboxDialog : public testing::Test {
protected:
    ProbedInfobox m_Dialog;
};

} // namespace

// --- Filling the pages -------------------------------------------------------------------------------------

TEST_F(ThePagesOfTheInfoboxDialog, ShowAnIdentityLinkAsNamedFields) {
    m_Dialog.SetContent(IdentityLink(), CONTENT_PERSONENBINDUNG);
    EXPECT_EQ(m_Dialog.text_inhalt->GetValue(),
              Utf8("Vorname: Käthe\r\nNachname: Müller\r\nGeburtsdatum: 1959-02-20\r\n\r\n"
                   "IssuerTemplate: Vorlage\r\nIssueInstant: 2024-03-01T10:15:00\r\n"));
    EXPECT_EQ(m_Dialog.text_binary->GetValue(), IdentityLink().ToHexString(ByteArray::UPPERCASE));
    EXPECT_EQ(m_Dialog.text_text->GetValue(), Utf8(IdentityLink().ToString().c_str()));
}

TEST_F(ThePagesOfTheInfoboxDialog, ShowTheLabelsAloneForAnIdentityLinkThatCannotBeParsed) {
    m_Dialog.SetContent(BytesOf("keine"), CONTENT_PERSONENBINDUNG);
    EXPECT_THAT(m_Dialog.Pages(), ElementsAre(NO_FIELDS, "6B 65 69 6E 65", "keine"));
}

TEST_F(ThePagesOfTheInfoboxDialog, ShowAnythingElseAsItIs) {
    struct Row {
        std::string m_Bytes;
        const char* m_Binary;
        const char* m_Text;
    };
    const Row rows[] = {
        {"Abc", "41 62 63", "Abc"},
        {std::string("AB\0CD", 5), "41 42 00 43 44", "AB"}, // up to the first zero byte
        {"\x30\x82\x01\x0A", "30 82 01 0A", ""},            // no text in this character set
        {"Grüße", "47 72 C3 BC C3 9F 65", "Grüße"},
        {"\xFE", "FE", ""},
        {std::string(1, '\0'), "00", ""},
        {"zwei\nZeilen", "7A 77 65 69 0A 5A 65 69 6C 65 6E", "zwei\nZeilen"},
    };
    for (const Row& row : rows) {
        m_Dialog.SetContent(BytesOf("davor"), CONTENT_RAW);
        m_Dialog.SetContent(BytesOf(row.m_Bytes), CONTENT_RAW);
        EXPECT_THAT(m_Dialog.Pages(), ElementsAre(Utf8(row.m_Text), row.m_Binary, Utf8(row.m_Text)));
    }
}

TEST_F(ThePagesOfTheInfoboxDialog, DoNotLookAtTheBytesToTellWhatTheyAre) {
    m_Dialog.SetContent(IdentityLink(), CONTENT_RAW);
    EXPECT_EQ(m_Dialog.text_inhalt->GetValue(), Utf8(IdentityLink().ToString().c_str()));
}

TEST_F(ThePagesOfTheInfoboxDialog, AreClearedByNoContentAndByNoBytes) {
    const std::pair<ByteArray, ContentType> rows[] = {
        {ByteArray(), CONTENT_NONE},
        {BytesOf("Abc"), CONTENT_NONE},
        {ByteArray(), CONTENT_RAW},
        {ByteArray(), CONTENT_PERSONENBINDUNG},
    };
    for (const auto& [bytes, type] : rows) {
        m_Dialog.SetContent(BytesOf("davor"), CONTENT_RAW);
        m_Dialog.SetContent(bytes, type);
        EXPECT_THAT(m_Dialog.Pages(), Each(wxString()));
    }
}

TEST(ContentTypes, HaveTheirNumbers) {
    EXPECT_THAT((std::vector<int>{CONTENT_NONE, CONTENT_PERSONENBINDUNG, CONTENT_RAW}), ElementsAre(0, 1, 2));
}

// --- Selection ---------------------------------------------------------------------------------------------

TEST_F(AnInfoboxOnACard, ReadsARowOnceHoweverOftenItIsClicked) {
    for (const char* kind : {"acos-a03", "acos-a04"}) {
        OpenOn(kind);
        m_Dialog->Select(1);
        ExpectOneSession();
        m_Dialog->Select(1);
        EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").size(), 1U);
        EXPECT_EQ(m_Dialog->m_LastSelection, m_Dialog->list_box->GetString(1));
        m_Dialog->Select(2);
        EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").size(), 2U);
        m_Dialog->Select(1);
        EXPECT_EQ(m_Deck.GetTrace("C_OpenSession").size(), 3U);
        m_Dialog.reset();
        m_Deck.Remove(m_Card);
    }
}

TEST_F(AnInfoboxOnACard, DoesNothingWhenNoRowIsSelected) {
    OpenOn("acos-a03");
    m_Dialog->Select(1);
    m_Deck.ClearTrace();
    m_Dialog->Select(wxNOT_FOUND);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(m_Dialog->m_LastSelection, "RFU1");
    EXPECT_EQ(m_Dialog->text_inhalt->GetValue(), "Bibliotheksausweis 4711");
}

TEST_F(AnInfoboxOnACard, LeavesThePagesBlankAndNotStaleWhenARowCannotBeRead) {
    for (const char* kind : {"acos-a03", "acos-a04"}) {
        OpenOn(kind);
        m_Dialog->Select(1);
        EXPECT_FALSE(m_Dialog->text_inhalt->GetValue().empty());
        m_Deck.TakeOut(m_Card);
        m_Dialog->Select(2);
        EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
        EXPECT_EQ(m_NoPersB.m_Count, 0);
        m_Dialog.reset();
    }
}

// --- Fixed rows --------------------------------------------------------------------------------------------

TEST_F(AnInfoboxOnACard, ReadsTheObjectOfAFixedRow) {
    OpenOn("acos-a03");
    const std::pair<const char*, const char*> rows[] = {
        {"Personenbindung", "PERSONENBINDUNG"},
        {"RFU1", "RFU1"},
        {"RFU2", "RFU2"},
        {"personenBINDUNG", "PERSONENBINDUNG"},
        {"rfu1", "RFU1"},
        {"Rfu2", "RFU2"},
        {"Etwas anderes", ""},
    };
    for (const auto& [row, label] : rows) {
        m_Deck.ClearTrace();
        m_Dialog->listbox(row);
        EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
                  std::string("CKA_CLASS:CKO_DATA,CKA_LABEL:") + label);
        ExpectOneSession();
    }
}

TEST_F(AnInfoboxOnACard, ShowsAFixedRowAsWhatItIs) {
    OpenOn("acos-a03");
    m_Dialog->Select(0);
    EXPECT_TRUE(m_Dialog->text_inhalt->GetValue().StartsWith("Vorname: "));
    EXPECT_NE(m_Dialog->text_inhalt->GetValue(), NO_FIELDS);
    m_Dialog->Select(1);
    EXPECT_THAT(m_Dialog->Pages(),
                ElementsAre("Bibliotheksausweis 4711", testing::_, "Bibliotheksausweis 4711"));
    m_Dialog->Select(2); // blank
    EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
    EXPECT_EQ(m_NoPersB.m_Count, 0);
    EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled()); // no switch without a container
    EXPECT_EQ(m_Dialog->button_encrypt->GetLabel(), Utf8("unverschlüsselt speichern"));
}

TEST_F(AnInfoboxOnACard, TellsOfAFixedIdentityLinkThatIsMissingOrBlank) {
    Insert("acos-a03");
    m_Deck.ReplaceObject(m_Card, "PERSONENBINDUNG", Bytes(64));
    OpenAndLoad();
    m_Dialog->Select(0);
    EXPECT_EQ(m_NoPersB.m_Count, 1);
    m_Deck.RemoveObject(m_Card, "PERSONENBINDUNG");
    m_Dialog->listbox("Personenbindung");
    EXPECT_EQ(m_NoPersB.m_Count, 2);
    EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
}

TEST_F(AnInfoboxOnACard, SaysNothingOfAFixedRowThatIsMissing) {
    Insert("acos-a03");
    m_Deck.RemoveObject(m_Card, "RFU1");
    OpenAndLoad();
    m_Dialog->Select(1);
    EXPECT_EQ(m_NoPersB.m_Count, 0);
    EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
}

TEST_F(AnInfoboxOnACard, OffersNoIdentityLinkOnAnECardWithFixedRows) {
    for (const char* kind : {"ecard-g2", "ecard-g3a"}) {
        Insert(kind);
        m_Deck.RemoveObject(m_Card, "PERSONENBINDUNG");
        OpenAndLoad();
        m_Dialog->Select(0);
        EXPECT_EQ(m_NoPersB.m_Count, 0);
        m_Dialog.reset();
        m_Deck.Remove(m_Card);
    }
}

// --- Rows of a container -----------------------------------------------------------------------------------

TEST_F(AnInfoboxOnACard, ReadsTheObjectOfAContainersRow) {
    Insert("acos-a04");
    ReplaceContainer({{0x01, 0, {1}}, {0x0a, 0, {1}}, {0xab, 0, {1}}});
    m_Deck.AddData(m_Card, "0xab", {'x'});
    OpenAndLoad();
    const char* const labels[] = {"0x01", "0x0a", "0xab"};
    for (int row = 0; row < 3; ++row) {
        m_Deck.ClearTrace();
        m_Dialog->Select(row);
        EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
                  std::string("CKA_CLASS:CKO_DATA,CKA_LABEL:") + labels[row]);
        ExpectOneSession();
        EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled());
    }
    EXPECT_EQ(m_Dialog->text_inhalt->GetValue(), "x");
}

TEST_F(AnInfoboxOnACard, ShowsAContainersRowByItsTag) {
    OpenOn("acos-a04");
    m_Dialog->Select(0);
    EXPECT_TRUE(m_Dialog->text_inhalt->GetValue().StartsWith("Vorname: "));
    EXPECT_NE(m_Dialog->text_inhalt->GetValue(), NO_FIELDS);
    m_Dialog->Select(1);
    EXPECT_EQ(m_Dialog->text_inhalt->GetValue(), "Notfallkontakt: 0660 0000000");
    m_Dialog->Select(2);
    EXPECT_THAT(m_Dialog->Pages(), ElementsAre("AB", "41 42 00 43 44 FE FF", "AB"));
}

TEST_F(AnInfoboxOnACard, LabelsTheEncryptButtonByTheContainersAttributes) {
    constexpr const char* ENCRYPT = "verschlüsselt speichern";
    constexpr const char* DECRYPT = "unverschlüsselt speichern";
    Insert("acos-a04");
    ReplaceContainer({{0x10, 2, {1}},
                      {0x11, 0, {1}},
                      {0x12, 2, {1}},
                      {0x13, 1, {1}},
                      {0x14, 0xFE, {1}},
                      {0x15, 3, {1}},
                      {0x16, 0, {1}},
                      {0x17, 0xFF, {1}}});
    OpenAndLoad();
    const char* const labels[] = {DECRYPT, ENCRYPT, ENCRYPT, DECRYPT, DECRYPT, DECRYPT, ENCRYPT, DECRYPT};
    for (int row = 0; row < 8; ++row) {
        m_Dialog->Select(row);
        EXPECT_EQ(m_Dialog->button_encrypt->GetLabel(), Utf8(labels[row])) << row;
    }
}

TEST_F(AnInfoboxOnACard, DoesNothingForARowThatTheContainerDoesNotKnow) {
    OpenOn("acos-a04");
    m_Dialog->Select(0);
    m_Dialog->button_encrypt->Enable(false);
    m_Deck.ClearTrace();
    for (const char* row : {"07 RFU2", "RFU1", "", "x", "00 NICHTS"}) {
        m_Dialog->listboxInfoboxKonzept(row);
    }
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
    EXPECT_TRUE(m_Dialog->text_inhalt->GetValue().StartsWith("Vorname: "));
}

TEST_F(AnInfoboxOnACard, ReadsTheTagFromThreeCharactersAndKeepsItsLowByte) {
    OpenOn("acos-a04");
    for (const char* row : {"101 RFU1", " 1 egal", "1"}) { // a tag is a byte
        m_Deck.ClearTrace();
        m_Dialog->listboxInfoboxKonzept(row);
        ASSERT_FALSE(m_Deck.GetTrace("C_FindObjectsInit").empty()) << row;
        EXPECT_EQ(m_Deck.GetTrace("C_FindObjectsInit").front().Value("attributes"),
                  "CKA_CLASS:CKO_DATA,CKA_LABEL:0x01");
    }
}

TEST_F(AnInfoboxOnACard, OffersTheSwitchForABlankEntryWithEmptyPages) {
    Insert("acos-a04");
    m_Deck.ReplaceObject(m_Card, "0x01", Bytes(64));
    OpenAndLoad();
    m_Dialog->Select(0);
    EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
    EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled());
    EXPECT_EQ(m_NoPersB.m_Count, 0); // a blank identity link is one here
}

TEST_F(AnInfoboxOnACard, TellsOfAContainersIdentityLinkThatCannotBeRead) {
    Insert("acos-a04");
    m_Deck.RemoveObject(m_Card, "0x01");
    OpenAndLoad();
    m_Dialog->Select(0);
    EXPECT_EQ(m_NoPersB.m_Count, 1);
    EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
    EXPECT_EQ(m_Dialog->button_encrypt->GetLabel(), Utf8("verschlüsselt speichern")); // set before the read
}

TEST_F(AnInfoboxOnACard, OffersNoIdentityLinkOnAnECardWithAContainer) {
    Insert("ecard-g4");
    m_Deck.RemoveObject(m_Card, "0x01");
    OpenAndLoad();
    m_Dialog->Select(0);
    EXPECT_EQ(m_NoPersB.m_Count, 0);
}

TEST_F(AnInfoboxOnACard, LeavesTheSwitchAsItIsWhenAnotherEntryCannotBeRead) {
    Insert("acos-a04");
    m_Deck.RemoveObject(m_Card, "0x02");
    OpenAndLoad();
    m_Dialog->Select(1);
    EXPECT_FALSE(m_Dialog->button_encrypt->IsThisEnabled());
    m_Dialog->Select(2);
    EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled());
    m_Dialog->Select(1);
    EXPECT_TRUE(m_Dialog->button_encrypt->IsThisEnabled());
    EXPECT_EQ(m_NoPersB.m_Count, 0);
    EXPECT_THAT(m_Dialog->Pages(), Each(wxString()));
}

TEST_F(AnInfoboxOnACard, ClosesWhenTheExternalProgramIsStartedForARow) {
    Insert("acos-a04");
    m_Deck.RemoveObject(m_Card, "0x01");
    Open().Show(false);
    m_NoPersB.m_Answer = 1;
    const auto isLoaded = [this] {
        return m_Dialog->Rows().size() == 3 && m_Dialog->list_box->IsThisEnabled();
    };
    const int result = RunModal(
        *m_Dialog, [this] { m_Dialog->Select(0); }, isLoaded);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(m_NoPersB.m_Count, 1);
}
