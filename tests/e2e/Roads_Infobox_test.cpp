// SPDX-License-Identifier: MIT
// The infobox area in the built program: its entries read from the screen and switched on the card.
#include "simulator/store/InfoboxFile.h"
#include "tests/e2e/Person.h"

using orseltest::CardOptions;
using testing::AllOf;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

class APersonWithAnInfobox : public APerson {
protected:
    void OpenOn(const char* kind) {
        m_Card = m_Deck.Add(kind, CardOptions().Holder("Erika Probe"));
        Start(1);
        Open(IDENTITY_LINK, SHOW, INFOBOX);
    }
    /// Clicks a row of the list, until the object behind it is read once more.
    void Select(int row, const std::string& label) {
        const size_t before = Searches(label);
        EXPECT_TRUE(ActUntil(
            [=] {
                ClickIn(INFOBOX, {60, 17 + 25 * row});
            },
            [=] { return Searches(label) == before + 1; }));
    }
    /// Whether the page in front comes to show a text that matches.
    static void ExpectPage(const testing::Matcher<std::string>& matcher) {
        EXPECT_TRUE(desktop::WaitFor([&] { return matcher.Matches(TextIn(INFOBOX, CONTENT)); }))
            << desktop::Clipboard();
    }
    void ExpectIdentityLink() {
        ExpectPage(AllOf(HasSubstr("Vorname: Erika"), HasSubstr("Nachname: Probe"),
                         HasSubstr("IssueInstant: 2024-03-01T10:15:00+01:00")));
    }
    bool IsPrivate(const std::string& label) {
        for (const auto& object : m_Deck.Read(m_Card).m_Record.m_Objects) {
            if (object.m_Label == label) {
                return object.m_IsPrivate;
            }
        }
        ADD_FAILURE() << "no object " << label;
        return false;
    }
    /// Presses the button that switches an entry's protection, and waits for the list to be read anew.
    void Toggle() {
        const size_t before = Searches("INFOBOX");
        EXPECT_TRUE(ActUntil([] { ClickIn(INFOBOX, ENCRYPT_BUTTON); },
                             [=] { return Searches("INFOBOX") == before + 1; }));
    }

    std::string m_Card;
};

} // namespace

TEST_F(APersonWithAnInfobox, ReadsTheEntriesOfACardWithFixedOnes) {
    OpenOn("acos-a03");
    Select(0, "PERSONENBINDUNG");
    ExpectIdentityLink();
    Select(1, "RFU1");
    ExpectPage(testing::Eq("Bibliotheksausweis 4711"));
    CloseWindow(INFOBOX);
}

TEST_F(APersonWithAnInfobox, ReadsTheEntriesOfACardWithAContainer) {
    OpenOn("ecard-g4");
    ASSERT_TRUE(desktop::WaitFor([this] { return Searches("INFOBOX") == 1; }));
    Select(0, "0x01");
    ExpectIdentityLink();
    Select(1, "0x02");
    ExpectPage(testing::Eq("Notfallkontakt: 0660 0000000"));
    Select(2, "0x0a");
    EXPECT_TRUE(desktop::WaitFor([] {
        ClickIn(INFOBOX, BINARY_TAB);
        return TextIn(INFOBOX, CONTENT) == "41 42 00 43 44 FE FF";
    })) << desktop::Clipboard();
    CloseWindow(INFOBOX);
}

TEST_F(APersonWithAnInfobox, TogglesAnEntryAndSeesTheListComeBack) {
    OpenOn("acos-a04");
    ASSERT_TRUE(desktop::WaitFor([this] { return Searches("INFOBOX") == 1; }));
    ASSERT_TRUE(IsPrivate("0x02"));
    for (const bool isPrivate : {false, true}) {
        Select(1, "0x02"); // the list has come back with no row selected, so that this reads the entry
        ExpectPage(testing::Eq("Notfallkontakt: 0660 0000000"));
        Toggle();
        EXPECT_EQ(IsPrivate("0x02"), isPrivate);
    }
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), SizeIs(2));
    EXPECT_EQ(Calls("C_SetAttributeValue"), 2U);
    EXPECT_EQ(OnCard(m_Card, "0x02"), "Notfallkontakt: 0660 0000000");
    Select(0, "0x01");
    ExpectIdentityLink();
    CloseWindow(INFOBOX);
}
