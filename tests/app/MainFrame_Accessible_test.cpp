// SPDX-License-Identifier: MIT
// What the windows say to people who hear them.
#include <algorithm>
#include <set>

#include "dialogs/NoPersB.h"
#include "tests/app/CardWindow.h"
#include "tests/dialogs/ProbedInfobox.h"
#include "tests/dialogs/ProbedTestDialog.h"
#include "tests/support/Widgets.h"

using orseltest::CardOptions;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class WhatIsHeard : public CardWindowTest<> {
protected:
    /// Each control that can have the focus has a name, and no two have the same.
    static void ExpectNames(wxWindow& window) {
        ASSERT_TRUE(RunUntil([&window] { return widgets::IsUp(window); }));
        const std::vector<std::string> names = widgets::NamesOfFocusable(window);
        EXPECT_FALSE(names.empty());
        EXPECT_THAT(names, Not(Contains("")));
        EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size())
            << testing::PrintToString(names);
    }
    std::string Selected() { return widgets::DescriptionOf(*m_Frame->list_cards); }
};

} // namespace

TEST_F(WhatIsHeard, NamesEveryControl) {
    m_Deck.Add("acos-a04");
    Open();
    ExpectNames(*m_Frame);
    const std::vector<std::string> names = widgets::NamesOfFocusable(*m_Frame);
    EXPECT_THAT(names, Contains("Zertifikat anzeigen, Signaturzertifikat"));
    EXPECT_THAT(names, Contains("Zertifikat anzeigen, Geheimhaltungszertifikat"));
    EXPECT_THAT(names, Contains("Infobox anzeigen, Infoboxbereich"));
    EXPECT_THAT(names, Contains("Karten neu einlesen"));
    EXPECT_THAT(names, Contains("Karten: 1"));
    ProbedTestDialog test(m_Frame.get());
    test.Show(true);
    ExpectNames(test);
    ProbedInfobox infobox(m_Frame.get(), Velmor::TOKEN_ACOS_04);
    infobox.Show(true);
    ExpectNames(infobox);
    NoPersB noPersB(m_Frame.get(), wxID_ANY, "");
    noPersB.Show(true);
    ExpectNames(noPersB);
}

TEST_F(WhatIsHeard, TellsTheSelectedCardAndHowManyThereAre) {
    m_Deck.Add("acos-a04", CardOptions().Serial("0512380917624502").Holder("Käthe Grünbichler"));
    m_Deck.Add("acos-a03", CardOptions().Serial("0401270843567891").Holder("Jörg Weißenböck"));
    Open();
    EXPECT_EQ(Selected(), "0401270843567891, Jörg Weißenböck, Orsel Carta ACOS 03, Zeile 1 von 2");
    Select(1);
    EXPECT_EQ(Selected(), "0512380917624502, Käthe Grünbichler, Orsel Carta ACOS 04, Zeile 2 von 2");
}

TEST_F(WhatIsHeard, TellsThatThereIsNoCard) {
    Open();
    EXPECT_EQ(Selected(), "Keine Karte");
    EXPECT_THAT(widgets::NamesOfFocusable(*m_Frame), Contains("Karten: 0"));
}

TEST_F(WhatIsHeard, TellsTheCardThatIsSelectedAndOfNoneWhereNoneIs) {
    wxListEvent selected(wxEVT_LIST_ITEM_SELECTED, ID_CARD_LIST);
    const auto select = [&] { m_Frame->list_cards->GetEventHandler()->ProcessEvent(selected); };
    Open();
    EXPECT_THAT(widgets::HeardDuring(*m_Frame->list_cards, select), IsEmpty());
    m_Deck.Add("acos-a03", CardOptions().Serial("0401270843567891").Holder("Jörg Weißenböck"));
    Reload();
    if (widgets::HasAnnouncements()) {
        EXPECT_THAT(widgets::HeardDuring(*m_Frame->list_cards, select),
                    ElementsAre("0401270843567891, Jörg Weißenböck, Orsel Carta ACOS 03"));
    }
}

TEST_F(WhatIsHeard, TellsTheNewsOfTheStatusLine) {
    Open();
    m_Frame->SetStatus("Erste Nachricht", false); // shows the line
    const auto heard = widgets::HeardDuring(*m_Frame->label_status,
                                            [this] { m_Frame->SetStatus("Zweite Nachricht", true); });
    EXPECT_THAT(heard, Contains("showing"));
    if (widgets::HasAnnouncements()) {
        EXPECT_THAT(heard, Contains("Zweite Nachricht"));
    }
}

TEST_F(WhatIsHeard, TellsNewsFromDecoration) {
    Open();
    EXPECT_EQ(widgets::RoleOf(*m_Frame->label_status), "notification");
    EXPECT_EQ(widgets::RoleOf(m_Frame->m_pleaseWait), "alert");
    EXPECT_EQ(widgets::RoleOf(*m_Frame->bitmap_banner), "filler");
    EXPECT_EQ(widgets::RoleOf(*m_Frame->panel_status_left), "filler");
}
