// SPDX-License-Identifier: MIT
#include "simulator/deck/DeckMaker.h"

#include <filesystem>
#include <fstream>
#include <set>

#include <gmock/gmock.h>

#include "tests/support/SimDeck.h"

using orselsim::CardWish;
using orselsim::DeckError;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

CardWish EmptyCard(const std::string& directory) {
    CardWish wish;
    wish.m_Kind = "empty";
    wish.m_Directory = directory;
    return wish;
}

std::string Refusal(const std::function<void()>& work) {
    try {
        work();
        return "";
    } catch (const DeckError& error) {
        return error.what();
    }
}

} // namespace

TEST(TheDemoDeck, HasTheEightKindsAnEmptyCardAndAnUnknownOne) {
    std::vector<std::string> kinds;
    std::set<std::string> holders;
    std::set<std::string> serials;
    for (const CardWish& wish : orselsim::DemoCards()) {
        kinds.push_back(wish.m_Kind);
        holders.insert(*wish.m_Holder);
        serials.insert(wish.m_Serial->substr(0, 12));
        EXPECT_EQ(16U, wish.m_Serial->size());
    }
    EXPECT_THAT(kinds, ElementsAre("acos-a03", "acos-a04", "acos-a05", "ecard-g2", "ecard-g3a", "ecard-g3b",
                                   "ecard-g4", "cardos-53", "empty", "unknown"));
    EXPECT_EQ(10U, holders.size());
    EXPECT_EQ(10U, serials.size()) << "told apart by their first twelve characters";
    EXPECT_EQ("0000000000000000", orselsim::DemoCards().at(8).m_Serial);
}

class ADeck : public testing::Test {
protected:
    orseltest::SimDeck m_Deck;
};

TEST_F(ADeck, IsMadeInANewOrAnEmptyDirectoryOnly) {
    const std::string fresh = m_Deck.Folder() + "/a/b/c";
    orselsim::CreateDeck(fresh, false);
    EXPECT_TRUE(orselsim::IsDeck(fresh));

    const std::string full = m_Deck.Folder() + "/full";
    fs::create_directory(full);
    std::ofstream(full + "/letter") << "dear";
    EXPECT_EQ("\"" + full + "\" is not empty and is not a deck; nothing was changed.",
              Refusal([&] { orselsim::CreateDeck(full, false); }));
    EXPECT_EQ("\"" + full + "\" is not empty and is not a deck; nothing was changed.",
              Refusal([&] { orselsim::CreateDeck(full, true); }));
    EXPECT_TRUE(fs::exists(full + "/letter"));
    EXPECT_EQ("\"" + full + "/letter\" is not a directory.",
              Refusal([&] { orselsim::CreateDeck(full + "/letter", true); }));
}

TEST_F(ADeck, IsReplacedByForceOnly) {
    orselsim::InsertCard(m_Deck.GetPath(), EmptyCard("old"));
    EXPECT_EQ("\"" + m_Deck.GetPath() + "\" is a deck already. With --force its cards are replaced.",
              Refusal([&] { orselsim::CreateDeck(m_Deck.GetPath(), false); }));
    EXPECT_THAT(orselsim::CardsOf(m_Deck.GetPath()), ElementsAre("old"));
    orselsim::CreateDeck(m_Deck.GetPath(), true);
    EXPECT_THAT(orselsim::CardsOf(m_Deck.GetPath()), ElementsAre());
}

TEST_F(ADeck, NumbersItsCards) {
    EXPECT_EQ("01-empty", m_Deck.Add("empty"));
    EXPECT_EQ("02-empty", m_Deck.Add("empty"));
    orselsim::InsertCard(m_Deck.GetPath(), EmptyCard("41-mine"));
    EXPECT_EQ("42-empty", m_Deck.Add("empty"));
    m_Deck.Remove("01-empty");
    EXPECT_THAT(orselsim::CardsOf(m_Deck.GetPath()), ElementsAre("02-empty", "41-mine", "42-empty"));
}

TEST_F(ADeck, LeavesNothingBehindWhenCardsComeAndGo) {
    m_Deck.Add("empty");
    const auto count = [&] {
        return std::distance(fs::directory_iterator(m_Deck.GetPath()), fs::directory_iterator());
    };
    const auto before = count();
    m_Deck.Remove(m_Deck.Add("ecard-g2"));
    EXPECT_EQ(before, count());
}

TEST_F(ADeck, RefusesCardsThatCannotBe) {
    const auto refuse = [&](const std::function<void(CardWish&)>& spoil) {
        CardWish wish = EmptyCard("new");
        spoil(wish);
        const std::string reason = Refusal([&] { orselsim::InsertCard(m_Deck.GetPath(), wish); });
        EXPECT_THAT(orselsim::CardsOf(m_Deck.GetPath()), ElementsAre()) << reason;
        return reason;
    };
    EXPECT_THAT(refuse([](CardWish& w) { w.m_Kind = "visa"; }),
                testing::StartsWith("There is no kind of card \"visa\". The kinds are: acos-a03, "));
    EXPECT_EQ("The serial \"12345678901234567\" is longer than 16 bytes.",
              refuse([](CardWish& w) { w.m_Serial = "12345678901234567"; }));
    EXPECT_EQ("The label \"" + std::string(33, 'x') + "\" is longer than 32 bytes.",
              refuse([](CardWish& w) { w.m_Label = std::string(33, 'x'); }));
    EXPECT_EQ("The model \"" + std::string(17, 'x') + "\" is longer than 16 bytes.",
              refuse([](CardWish& w) { w.m_Model = std::string(17, 'x'); }));
    EXPECT_EQ("The holder \"\" cannot be used: the holder has no name.",
              refuse([](CardWish& w) { w.m_Holder = ""; }));
    EXPECT_THAT(refuse([](CardWish& w) { w.m_Holder = std::string(65, 'x'); }),
                HasSubstr("too long for a certificate"));
    EXPECT_THAT(refuse([](CardWish& w) { w.m_Holder = "\xFF"; }), HasSubstr("or is not UTF-8"));
    EXPECT_EQ("\"../x\" cannot be the name of a card's directory.",
              refuse([](CardWish& w) { w.m_Directory = "../x"; }));
    EXPECT_EQ("\".x\" cannot be the name of a card's directory.",
              refuse([](CardWish& w) { w.m_Directory = ".x"; }));
    EXPECT_EQ("\"\" cannot be the name of a card's directory.",
              refuse([](CardWish& w) { w.m_Directory = ""; }));
}

TEST_F(ADeck, TakesACardOfAName) {
    orselsim::InsertCard(m_Deck.GetPath(), EmptyCard("mine"));
    EXPECT_EQ("The deck has a card \"mine\" already.",
              Refusal([&] { orselsim::InsertCard(m_Deck.GetPath(), EmptyCard("mine")); }));
    EXPECT_EQ("The deck has no card \"yours\".",
              Refusal([&] { orselsim::RemoveCard(m_Deck.GetPath(), "yours"); }));
    EXPECT_EQ("The deck has no card \"../deck\".",
              Refusal([&] { orselsim::RemoveCard(m_Deck.GetPath(), "../deck"); }));
}

TEST_F(ADeck, IsToldFromOtherDirectories) {
    EXPECT_EQ("\"" + m_Deck.Folder() + "\" is not a deck. \"orselsim-deck create\" makes one.",
              Refusal([&] { orselsim::CardsOf(m_Deck.Folder()); }));
    EXPECT_EQ("\"" + m_Deck.Folder() + "\" is not a deck. \"orselsim-deck create\" makes one.",
              Refusal([&] { orselsim::InsertCard(m_Deck.Folder(), EmptyCard("x")); }));
}
