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
    ProbedInfobox m_dialog;
};

} // namespace

// --- Filling the pages -------------------------------------------------------------------------------------

TEST_F(ThePagesOfTheInfoboxDialog, ShowAnIdentityLinkAsNamedFields) {
    m_dialog.SetContent(IdentityLink(), CONTENT_PERSONENBINDUNG);
    EXPECT_EQ(m_dialog.text_inhalt->GetValue(),
              Utf8("Vorname: Käthe\r\nNachname: Müller\r\nGeburtsdatum: 1959-02-20\r\n\r\n"
                   "IssuerTemplate: Vorlage\r\nIssueInstant: 2024-03-01T10:15:00\r\n"));
    EXPECT_EQ(m_dialog.text_binary->GetValue(), IdentityLink().ToHexString(ByteArray::UPPERCASE));
    EXPECT_EQ(m_dialog.text_text->GetValue(), Utf8(IdentityLink().ToString().c_str()));
}

TEST_F(ThePagesOfTheInfoboxDialog, ShowTheLabelsAloneForAnIdentityLinkThatCannotBeParsed) {
    m_dialog.SetContent(BytesOf("keine"), CONTENT_PERSONENBINDUNG);
    EXPECT_THAT(m_dialog.Pages(), ElementsAre(NO_FIELDS, "6B 65 69 6E 65", "keine"));
}

TEST_F(ThePagesOfTheInfoboxDialog, ShowAnythingElseAsItIs) {
    struct Row {
        std::string bytes;
        const char* binary;
        const char* text;
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
        m_dialog.SetContent(BytesOf("davor"), CONTENT_RAW);
        m_dialog.SetContent(BytesOf(row.bytes), CONTENT_RAW);
        EXPECT_THAT(m_dialog.Pages(), ElementsAre(Utf8(row.text), row.binary, Utf8(row.text)));
    }
}

TEST_F(ThePagesOfTheInfoboxDialog, DoNotLookAtTheBytesToTellWhatTheyAre) {
    m_dialog.SetContent(IdentityLink(), CONTENT_RAW);
    EXPECT_EQ(m_dialog.text_inhalt->GetValue(), Utf8(IdentityLink().ToString().c_str()));
}

TEST_F(ThePagesOfTheInfoboxDialog, AreClearedByNoContentAndByNoBytes) {
    const std::pair<ByteArray, ContentType> rows[] = {
        {ByteArray(), CONTENT_NONE},
        {BytesOf("Abc"), CONTENT_NONE},
        {ByteArray(), CONTENT_RAW},
        {ByteArray(), CONTENT_PERSONENBINDUNG},
    };
    for (const auto& [bytes, type] : rows) {
        m_dialog.SetContent(BytesOf("davor"), CONTENT_RAW);
        m_dialog.SetContent(bytes, type);
        EXPECT_THAT(m_dialog.Pages(), Each(wxString()));
    }
}

TEST(ContentTypes, HaveTheirNumbers) {
    EXPECT_THAT((std::vector<int>{CONTENT_NONE, CONTENT_PERSONENBINDUNG, CONTENT_RAW}), ElementsAre(0, 1, 2));
}

// --- Selection ---------------------------------------------------------------------------------------------

TEST_F(AnInfoboxOnACard, ReadsARowOnceHoweverOftenItIsClicked) {
    for (const char* kind : {"acos-a03", "acos-a04"}) {
        OpenOn(kind);
        m_dialog->Select(1);
        ExpectOneSession();
        m_dialog->Select(1);
        EXPECT_EQ(m_deck.trace("C_OpenSession").size(), 1U);
        EXPECT_EQ(m_dialog->m_LastSelection, m_dialog->list_box->GetString(1));
        m_dialog->Select(2);
        EXPECT_EQ(m_deck.trace("C_OpenSession").size(), 2U);
        m_dialog->Select(1);
        EXPECT_EQ(m_deck.trace("C_OpenSession").size(), 3U);
        m_dialog.reset();
        m_deck.remove(m_card);
    }
}

TEST_F(AnInfoboxOnACard, DoesNothingWhenNoRowIsSelected) {
    OpenOn("acos-a03");
    m_dialog->Select(1);
    m_deck.clearTrace();
    m_dialog->Select(wxNOT_FOUND);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(m_dialog->m_LastSelection, "RFU1");
    EXPECT_EQ(m_dialog->text_inhalt->GetValue(), "Bibliotheksausweis 4711");
}

TEST_F(AnInfoboxOnACard, LeavesThePagesBlankAndNotStaleWhenARowCannotBeRead) {
    for (const char* kind : {"acos-a03", "acos-a04"}) {
        OpenOn(kind);
        m_dialog->Select(1);
        EXPECT_FALSE(m_dialog->text_inhalt->GetValue().empty());
        m_deck.takeOut(m_card);
        m_dialog->Select(2);
        EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
        EXPECT_EQ(m_noPersB.count, 0);
        m_dialog.reset();
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
        m_deck.clearTrace();
        m_dialog->listbox(row);
        EXPECT_EQ(m_deck.trace("C_FindObjectsInit").front().value("attributes"),
                  std::string("CKA_CLASS:CKO_DATA,CKA_LABEL:") + label);
        ExpectOneSession();
    }
}

TEST_F(AnInfoboxOnACard, ShowsAFixedRowAsWhatItIs) {
    OpenOn("acos-a03");
    m_dialog->Select(0);
    EXPECT_TRUE(m_dialog->text_inhalt->GetValue().StartsWith("Vorname: "));
    EXPECT_NE(m_dialog->text_inhalt->GetValue(), NO_FIELDS);
    m_dialog->Select(1);
    EXPECT_THAT(m_dialog->Pages(),
                ElementsAre("Bibliotheksausweis 4711", testing::_, "Bibliotheksausweis 4711"));
    m_dialog->Select(2); // blank
    EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
    EXPECT_EQ(m_noPersB.count, 0);
    EXPECT_FALSE(m_dialog->button_encrypt->IsThisEnabled()); // no switch without a container
    EXPECT_EQ(m_dialog->button_encrypt->GetLabel(), Utf8("unverschlüsselt speichern"));
}

TEST_F(AnInfoboxOnACard, TellsOfAFixedIdentityLinkThatIsMissingOrBlank) {
    Insert("acos-a03");
    m_deck.replaceObject(m_card, "PERSONENBINDUNG", Bytes(64));
    OpenAndLoad();
    m_dialog->Select(0);
    EXPECT_EQ(m_noPersB.count, 1);
    m_deck.removeObject(m_card, "PERSONENBINDUNG");
    m_dialog->listbox("Personenbindung");
    EXPECT_EQ(m_noPersB.count, 2);
    EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
}

TEST_F(AnInfoboxOnACard, SaysNothingOfAFixedRowThatIsMissing) {
    Insert("acos-a03");
    m_deck.removeObject(m_card, "RFU1");
    OpenAndLoad();
    m_dialog->Select(1);
    EXPECT_EQ(m_noPersB.count, 0);
    EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
}

TEST_F(AnInfoboxOnACard, OffersNoIdentityLinkOnAnECardWithFixedRows) {
    for (const char* kind : {"ecard-g2", "ecard-g3a"}) {
        Insert(kind);
        m_deck.removeObject(m_card, "PERSONENBINDUNG");
        OpenAndLoad();
        m_dialog->Select(0);
        EXPECT_EQ(m_noPersB.count, 0);
        m_dialog.reset();
        m_deck.remove(m_card);
    }
}

// --- Rows of a container -----------------------------------------------------------------------------------

TEST_F(AnInfoboxOnACard, ReadsTheObjectOfAContainersRow) {
    Insert("acos-a04");
    ReplaceContainer({{0x01, 0, {1}}, {0x0a, 0, {1}}, {0xab, 0, {1}}});
    m_deck.addData(m_card, "0xab", {'x'});
    OpenAndLoad();
    const char* const labels[] = {"0x01", "0x0a", "0xab"};
    for (int row = 0; row < 3; ++row) {
        m_deck.clearTrace();
        m_dialog->Select(row);
        EXPECT_EQ(m_deck.trace("C_FindObjectsInit").front().value("attributes"),
                  std::string("CKA_CLASS:CKO_DATA,CKA_LABEL:") + labels[row]);
        ExpectOneSession();
        EXPECT_TRUE(m_dialog->button_encrypt->IsThisEnabled());
    }
    EXPECT_EQ(m_dialog->text_inhalt->GetValue(), "x");
}

TEST_F(AnInfoboxOnACard, ShowsAContainersRowByItsTag) {
    OpenOn("acos-a04");
    m_dialog->Select(0);
    EXPECT_TRUE(m_dialog->text_inhalt->GetValue().StartsWith("Vorname: "));
    EXPECT_NE(m_dialog->text_inhalt->GetValue(), NO_FIELDS);
    m_dialog->Select(1);
    EXPECT_EQ(m_dialog->text_inhalt->GetValue(), "Notfallkontakt: 0660 0000000");
    m_dialog->Select(2);
    EXPECT_THAT(m_dialog->Pages(), ElementsAre("AB", "41 42 00 43 44 FE FF", "AB"));
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
        m_dialog->Select(row);
        EXPECT_EQ(m_dialog->button_encrypt->GetLabel(), Utf8(labels[row])) << row;
    }
}

TEST_F(AnInfoboxOnACard, DoesNothingForARowThatTheContainerDoesNotKnow) {
    OpenOn("acos-a04");
    m_dialog->Select(0);
    m_dialog->button_encrypt->Enable(false);
    m_deck.clearTrace();
    for (const char* row : {"07 RFU2", "RFU1", "", "x", "00 NICHTS"})
        m_dialog->listboxInfoboxKonzept(row);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_FALSE(m_dialog->button_encrypt->IsThisEnabled());
    EXPECT_TRUE(m_dialog->text_inhalt->GetValue().StartsWith("Vorname: "));
}

TEST_F(AnInfoboxOnACard, ReadsTheTagFromThreeCharactersAndKeepsItsLowByte) {
    OpenOn("acos-a04");
    for (const char* row : {"101 RFU1", " 1 egal", "1"}) { // a tag is a byte
        m_deck.clearTrace();
        m_dialog->listboxInfoboxKonzept(row);
        ASSERT_FALSE(m_deck.trace("C_FindObjectsInit").empty()) << row;
        EXPECT_EQ(m_deck.trace("C_FindObjectsInit").front().value("attributes"),
                  "CKA_CLASS:CKO_DATA,CKA_LABEL:0x01");
    }
}

TEST_F(AnInfoboxOnACard, OffersTheSwitchForABlankEntryWithEmptyPages) {
    Insert("acos-a04");
    m_deck.replaceObject(m_card, "0x01", Bytes(64));
    OpenAndLoad();
    m_dialog->Select(0);
    EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
    EXPECT_TRUE(m_dialog->button_encrypt->IsThisEnabled());
    EXPECT_EQ(m_noPersB.count, 0); // a blank identity link is one here
}

TEST_F(AnInfoboxOnACard, TellsOfAContainersIdentityLinkThatCannotBeRead) {
    Insert("acos-a04");
    m_deck.removeObject(m_card, "0x01");
    OpenAndLoad();
    m_dialog->Select(0);
    EXPECT_EQ(m_noPersB.count, 1);
    EXPECT_FALSE(m_dialog->button_encrypt->IsThisEnabled());
    EXPECT_EQ(m_dialog->button_encrypt->GetLabel(), Utf8("verschlüsselt speichern")); // set before the read
}

TEST_F(AnInfoboxOnACard, OffersNoIdentityLinkOnAnECardWithAContainer) {
    Insert("ecard-g4");
    m_deck.removeObject(m_card, "0x01");
    OpenAndLoad();
    m_dialog->Select(0);
    EXPECT_EQ(m_noPersB.count, 0);
}

TEST_F(AnInfoboxOnACard, LeavesTheSwitchAsItIsWhenAnotherEntryCannotBeRead) {
    Insert("acos-a04");
    m_deck.removeObject(m_card, "0x02");
    OpenAndLoad();
    m_dialog->Select(1);
    EXPECT_FALSE(m_dialog->button_encrypt->IsThisEnabled());
    m_dialog->Select(2);
    EXPECT_TRUE(m_dialog->button_encrypt->IsThisEnabled());
    m_dialog->Select(1);
    EXPECT_TRUE(m_dialog->button_encrypt->IsThisEnabled());
    EXPECT_EQ(m_noPersB.count, 0);
    EXPECT_THAT(m_dialog->Pages(), Each(wxString()));
}

TEST_F(AnInfoboxOnACard, ClosesWhenTheExternalProgramIsStartedForARow) {
    Insert("acos-a04");
    m_deck.removeObject(m_card, "0x01");
    Open().Show(false);
    m_noPersB.answer = 1;
    const auto isLoaded = [this] {
        return m_dialog->Rows().size() == 3 && m_dialog->list_box->IsThisEnabled();
    };
    const int result = RunModal(
        *m_dialog, [this] { m_dialog->Select(0); }, isLoaded);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(m_noPersB.count, 1);
}
