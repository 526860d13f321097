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

CardWish emptyCard(const std::string& directory) {
    CardWish wish;
    wish.kind = "empty";
    wish.directory = directory;
    return wish;
}

std::string refusal(const std::function<void()>& work) {
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
    for (const CardWish& wish : orselsim::demoCards()) {
        kinds.push_back(wish.kind);
        holders.insert(*wish.holder);
        serials.insert(wish.serial->substr(0, 12));
        EXPECT_EQ(16U, wish.serial->size());
    }
    EXPECT_THAT(kinds, ElementsAre("acos-a03", "acos-a04", "acos-a05", "ecard-g2", "ecard-g3a", "ecard-g3b",
                                   "ecard-g4", "cardos-53", "empty", "unknown"));
    EXPECT_EQ(10U, holders.size());
    EXPECT_EQ(10U, serials.size()) << "told apart by their first twelve characters";
    EXPECT_EQ("0000000000000000", orselsim::demoCards().at(8).serial);
}

class ADeck : public testing::Test {
protected:
    orseltest::SimDeck deck;
};

TEST_F(ADeck, IsMadeInANewOrAnEmptyDirectoryOnly) {
    const std::string fresh = deck.folder() + "/a/b/c";
    orselsim::createDeck(fresh, false);
    EXPECT_TRUE(orselsim::isDeck(fresh));

    const std::string full = deck.folder() + "/full";
    fs::create_directory(full);
    std::ofstream(full + "/letter") << "dear";
    EXPECT_EQ("\"" + full + "\" is not empty and is not a deck; nothing was changed.",
              refusal([&] { orselsim::createDeck(full, false); }));
    EXPECT_EQ("\"" + full + "\" is not empty and is not a deck; nothing was changed.",
              refusal([&] { orselsim::createDeck(full, true); }));
    EXPECT_TRUE(fs::exists(full + "/letter"));
    EXPECT_EQ("\"" + full + "/letter\" is not a directory.",
              refusal([&] { orselsim::createDeck(full + "/letter", true); }));
}

TEST_F(ADeck, IsReplacedByForceOnly) {
    orselsim::insertCard(deck.path(), emptyCard("old"));
    EXPECT_EQ("\"" + deck.path() + "\" is a deck already. With --force its cards are replaced.",
              refusal([&] { orselsim::createDeck(deck.path(), false); }));
    EXPECT_THAT(orselsim::cardsOf(deck.path()), ElementsAre("old"));
    orselsim::createDeck(deck.path(), true);
    EXPECT_THAT(orselsim::cardsOf(deck.path()), ElementsAre());
}

TEST_F(ADeck, NumbersItsCards) {
    EXPECT_EQ("01-empty", deck.add("empty"));
    EXPECT_EQ("02-empty", deck.add("empty"));
    orselsim::insertCard(deck.path(), emptyCard("41-mine"));
    EXPECT_EQ("42-empty", deck.add("empty"));
    deck.remove("01-empty");
    EXPECT_THAT(orselsim::cardsOf(deck.path()), ElementsAre("02-empty", "41-mine", "42-empty"));
}

TEST_F(ADeck, LeavesNothingBehindWhenCardsComeAndGo) {
    deck.add("empty");
    const auto count = [&] {
        return std::distance(fs::directory_iterator(deck.path()), fs::directory_iterator());
    };
    const auto before = count();
    deck.remove(deck.add("ecard-g2"));
    EXPECT_EQ(before, count());
}

TEST_F(ADeck, RefusesCardsThatCannotBe) {
    const auto refuse = [&](const std::function<void(CardWish&)>& spoil) {
        CardWish wish = emptyCard("new");
        spoil(wish);
        const std::string reason = refusal([&] { orselsim::insertCard(deck.path(), wish); });
        EXPECT_THAT(orselsim::cardsOf(deck.path()), ElementsAre()) << reason;
        return reason;
    };
    EXPECT_THAT(refuse([](CardWish& w) { w.kind = "visa"; }),
                testing::StartsWith("There is no kind of card \"visa\". The kinds are: acos-a03, "));
    EXPECT_EQ("The serial \"12345678901234567\" is longer than 16 bytes.",
              refuse([](CardWish& w) { w.serial = "12345678901234567"; }));
    EXPECT_EQ("The label \"" + std::string(33, 'x') + "\" is longer than 32 bytes.",
              refuse([](CardWish& w) { w.label = std::string(33, 'x'); }));
    EXPECT_EQ("The model \"" + std::string(17, 'x') + "\" is longer than 16 bytes.",
              refuse([](CardWish& w) { w.model = std::string(17, 'x'); }));
    EXPECT_EQ("The holder \"\" cannot be used: the holder has no name.",
              refuse([](CardWish& w) { w.holder = ""; }));
    EXPECT_THAT(refuse([](CardWish& w) { w.holder = std::string(65, 'x'); }),
                HasSubstr("too long for a certificate"));
    EXPECT_THAT(refuse([](CardWish& w) { w.holder = "\xFF"; }), HasSubstr("or is not UTF-8"));
    EXPECT_EQ("\"../x\" cannot be the name of a card's directory.",
              refuse([](CardWish& w) { w.directory = "../x"; }));
    EXPECT_EQ("\".x\" cannot be the name of a card's directory.",
              refuse([](CardWish& w) { w.directory = ".x"; }));
    EXPECT_EQ("\"\" cannot be the name of a card's directory.",
              refuse([](CardWish& w) { w.directory = ""; }));
}

TEST_F(ADeck, TakesACardOfAName) {
    orselsim::insertCard(deck.path(), emptyCard("mine"));
    EXPECT_EQ("The deck has a card \"mine\" already.",
              refusal([&] { orselsim::insertCard(deck.path(), emptyCard("mine")); }));
    EXPECT_EQ("The deck has no card \"yours\".",
              refusal([&] { orselsim::removeCard(deck.path(), "yours"); }));
    EXPECT_EQ("The deck has no card \"../deck\".",
              refusal([&] { orselsim::removeCard(deck.path(), "../deck"); }));
}

TEST_F(ADeck, IsToldFromOtherDirectories) {
    EXPECT_EQ("\"" + deck.folder() + "\" is not a deck. \"orselsim-deck create\" makes one.",
              refusal([&] { orselsim::cardsOf(deck.folder()); }));
    EXPECT_EQ("\"" + deck.folder() + "\" is not a deck. \"orselsim-deck create\" makes one.",
              refusal([&] { orselsim::insertCard(deck.folder(), emptyCard("x")); }));
}
