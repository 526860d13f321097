// SPDX-License-Identifier: MIT
#include "simulator/deck/DeckTool.h"

#include <sstream>

#include <gmock/gmock.h>

#include "simulator/deck/CardKinds.h"
#include "tests/support/SimDeck.h"

using orseltest::CardOptions;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

Outcome run(const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = orselsim::runDeckTool(words, out, err);
    return {code, out.str(), err.str()};
}

} // namespace

class TheDeckTool : public testing::Test {
protected:
    orseltest::SimDeck deck;
};

TEST_F(TheDeckTool, MakesADeckOfTheKindsThatAreNamed) {
    const std::string fresh = deck.folder() + "/fresh";
    const Outcome made = run({"create", fresh, "--cards", "empty,ecard-g2"});
    EXPECT_EQ(0, made.code) << made.err;
    EXPECT_EQ("Made a deck of 2 cards in " + fresh + ".\n", made.out);
    const Outcome listed = run({"list", fresh});
    EXPECT_EQ(0, listed.code);
    EXPECT_EQ("01-empty        ACOS EMV-A04      0000000000000000  \n"
              "02-ecard-g2     Starcos SPK 3.1   8004000112233445  Franziska Müßig\n",
              listed.out);
}

TEST_F(TheDeckTool, MakesAnEmptyDeck) {
    const Outcome made = run({"create", deck.folder() + "/fresh", "--empty"});
    EXPECT_EQ("Made a deck of 0 cards in " + deck.folder() + "/fresh.\n", made.out);
    EXPECT_EQ("", run({"list", deck.folder() + "/fresh"}).out);
}

TEST_F(TheDeckTool, ReplacesADeckByForce) {
    deck.add("empty");
    const Outcome refused = run({"create", deck.path(), "--empty"});
    EXPECT_EQ(1, refused.code);
    EXPECT_EQ("orselsim-deck: \"" + deck.path() +
                  "\" is a deck already. With --force its cards are replaced.\n",
              refused.err);
    EXPECT_EQ(0, run({"create", deck.path(), "--empty", "--force"}).code);
    EXPECT_EQ("", run({"list", deck.path()}).out);
}

TEST_F(TheDeckTool, PutsInACardAsDescribed) {
    const Outcome done =
        run({"insert", deck.path(), "ecard-g2", "--holder", "Jörg Groß", "--serial", "1234567890123456",
             "--label", "Orsel Carta extra", "--model", "Starcos SPK 3.4", "--name", "mine", "--slot", "12",
             "--delay", "7", "--fixed-reader", "--data-pin"});
    EXPECT_EQ(0, done.code) << done.err;
    EXPECT_EQ("Put in the card mine.\n", done.out);
    const orselsim::CardRecord card = deck.read("mine").record;
    EXPECT_EQ("1234567890123456", card.serial);
    EXPECT_EQ("Orsel Carta extra", card.label);
    EXPECT_EQ("Starcos SPK 3.4", card.model);
    EXPECT_EQ(12U, card.slotId);
    EXPECT_EQ(7U, card.delayMs);
    EXPECT_FALSE(card.isRemovable);
    EXPECT_TRUE(card.asksPinForData);
}

TEST_F(TheDeckTool, ShowsEverythingAboutACard) {
    deck.add("ecard-g2", CardOptions().holder("Jörg Groß").serial("8004000112233445").slot(5).delayMs(20));
    const Outcome shown = run({"show", deck.path(), "01-ecard-g2"});
    EXPECT_EQ(0, shown.code) << shown.err;
    EXPECT_THAT(shown.out, StartsWith("Label         Orsel Carta e-Card\n"
                                      "Model         Starcos SPK 3.1\n"
                                      "Manufacturer  Orsel Kartenwerk\n"
                                      "Serial        8004000112233445\n"
                                      "ATR           3BBD18008131FE458051024F5253454C2D3030303215\n"
                                      "Reader        card can be taken out\n"
                                      "Slot          5\n"
                                      "Delay         20 ms\n"
                                      "Holder        Jörg Groß\n"
                                      "PIN           encryption: 3 of 3 tries left, PUK: none\n"
                                      "PIN           signature: 3 of 3 tries left, PUK: none\n"
                                      "Object        private key \"SK.CH.SIG\", "));
    EXPECT_THAT(shown.out, HasSubstr("Object        data \"RFU2\", 64 bytes\n"));
    EXPECT_THAT(shown.out, HasSubstr("Property      SV-Personendaten/EHIC, "));
}

TEST_F(TheDeckTool, TellsWhatIsWrongWithADamagedCard) {
    deck.add("empty");
    deck.damage("01-empty");
    const Outcome listed = run({"list", deck.path()});
    EXPECT_EQ(0, listed.code);
    EXPECT_THAT(listed.out, StartsWith("01-empty        damaged: card.json: "));
    EXPECT_EQ(1, run({"show", deck.path(), "01-empty"}).code);
}

TEST_F(TheDeckTool, TakesOutACard) {
    deck.add("empty");
    EXPECT_EQ("Took out the card 01-empty.\n", run({"remove", deck.path(), "01-empty"}).out);
    const Outcome again = run({"remove", deck.path(), "01-empty"});
    EXPECT_EQ(1, again.code);
    EXPECT_EQ("orselsim-deck: The deck has no card \"01-empty\".\n", again.err);
}

TEST_F(TheDeckTool, HelpsWithEveryCommandKindAndPin) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(0, help.code);
    for (const char* word : {"create DIR", "list DIR", "show DIR CARD", "insert DIR KIND", "remove DIR CARD",
                             "123456", "1234", "12345678"})
        EXPECT_THAT(help.out, HasSubstr(word));
    for (const orselsim::CardKind& kind : orselsim::cardKinds())
        EXPECT_THAT(help.out, HasSubstr(kind.name));
    EXPECT_EQ(help.out, run({"-h"}).out);
}

TEST_F(TheDeckTool, RefusesCommandLinesThatMakeNoSense) {
    struct Case {
        std::vector<std::string> words;
        const char* reason;
    };
    const Case cases[] = {
        {{}, "What is to be done?"},
        {{"shuffle"}, "There is no command \"shuffle\"."},
        {{"create"}, "DIR is missing."},
        {{"create", "a", "b"}, "\"b\" is one word too many."},
        {{"create", "a", "--cards"}, "The option --cards needs a value."},
        {{"create", "a", "--cards", "visa"}, "There is no kind of card \"visa\"."},
        {{"create", "a", "--empty", "--empty"}, "The option --empty is given twice."},
        {{"list", "a", "--force"}, "There is no option --force here."},
        {{"show", "a"}, "CARD is missing."},
        {{"insert", "a"}, "KIND is missing."},
        {{"insert", "a", "empty", "--slot", "-1"},
         "The option --slot needs a whole number from 0 to 2147483647."},
        {{"insert", "a", "empty", "--delay", "1s"},
         "The option --delay needs a whole number from 0 to 2147483647."},
    };
    for (const Case& c : cases) {
        const Outcome outcome = run(c.words);
        EXPECT_EQ(2, outcome.code) << c.reason;
        EXPECT_EQ("", outcome.out) << c.reason;
        EXPECT_EQ(std::string("orselsim-deck: ") + c.reason +
                      " \"orselsim-deck --help\" shows what there is.\n",
                  outcome.err);
    }
}

TEST_F(TheDeckTool, ChangesAPinBehindTheCardsBack) {
    const std::string card = deck.add("acos-a03");
    struct Case {
        std::vector<std::string> options;
        const char* pin; ///< line of the PIN that was changed
    };
    const Case cases[] = {
        {{"--tries", "0"}, "signature: blocked, PUK: 10 of 10 tries left"},
        {{"--tries", "1"}, "signature: 1 of 3 tries left, PUK: 10 of 10 tries left"},
        {{"--tries", "5"}, "signature: 5 of 5 tries left, PUK: 10 of 10 tries left"},
        {{"--unset"}, "signature: not set, PUK: 10 of 10 tries left"},
        {{"--pin", "999999"}, "signature: 5 of 5 tries left, PUK: 10 of 10 tries left"},
        {{"--puk-tries", "0"}, "signature: 5 of 5 tries left, PUK: blocked"},
        {{"--puk", "1111"}, "signature: 5 of 5 tries left, PUK: 10 of 10 tries left"},
        {{"--no-puk"}, "signature: 5 of 5 tries left, PUK: none"},
        {{"--puk", "2222", "--puk-tries", "2"}, "signature: 5 of 5 tries left, PUK: 2 of 10 tries left"},
        {{}, "signature: 5 of 5 tries left, PUK: 2 of 10 tries left"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> words = {"pin", deck.path(), card, "signature"};
        words.insert(words.end(), c.options.begin(), c.options.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ(std::string("PIN           encryption: 3 of 3 tries left, PUK: 10 of 10 tries left\n"
                              "PIN           ") +
                      c.pin + "\n",
                  outcome.out);
    }
    EXPECT_TRUE(deck.hasPin(card, "signature", "999999"));
    EXPECT_TRUE(deck.read(card).record.pins.at("signature").puk->secret->matches("2222"));
}

TEST_F(TheDeckTool, RefusesAPinThatCannotBe) {
    const std::string card = deck.add("ecard-g2");
    const auto refusal = [&](const std::vector<std::string>& options, int code) {
        std::vector<std::string> words = {"pin", deck.path(), card};
        words.insert(words.end(), options.begin(), options.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(code, outcome.code);
        return outcome.err;
    };
    EXPECT_EQ("orselsim-deck: The card has no PIN \"third\".\n", refusal({"third", "--tries", "1"}, 1));
    EXPECT_EQ("orselsim-deck: This PIN has 6 to 12 digits.\n",
              refusal({"signature", "--pin", "12345", "--tries", "0"}, 1));
    EXPECT_EQ("orselsim-deck: This PIN has no PUK.\n",
              refusal({"signature", "--tries", "0", "--puk-tries", "1"}, 1));
    EXPECT_THAT(refusal({"signature", "--pin", "123456", "--unset"}, 2),
                HasSubstr("--pin and --unset exclude each other."));
    EXPECT_THAT(refusal({"signature", "--no-puk", "--puk", "1"}, 2),
                HasSubstr("--no-puk excludes the other options"));
    EXPECT_THAT(refusal({"signature", "--tries", "255"}, 2), HasSubstr("a whole number from 0 to 254."));
    EXPECT_EQ(3U, deck.triesLeft(card, "signature")) << "nothing was changed";
}

TEST_F(TheDeckTool, GivesACardItsFirstPinsBack) {
    const std::string card = deck.add("acos-a03");
    run({"pin", deck.path(), card, "signature", "--unset", "--tries", "0", "--puk", "1", "--puk-tries", "0"});
    run({"pin", deck.path(), card, "encryption", "--pin", "5555", "--no-puk"});
    const Outcome outcome = run({"reset", deck.path(), card});
    EXPECT_EQ(0, outcome.code) << outcome.err;
    EXPECT_EQ("PIN           encryption: 3 of 3 tries left, PUK: none\n"
              "PIN           signature: 3 of 3 tries left, PUK: 10 of 10 tries left\n",
              outcome.out);
    EXPECT_TRUE(deck.hasPin(card, "signature", "123456"));
    EXPECT_TRUE(deck.hasPin(card, "encryption", "1234"));
    EXPECT_TRUE(deck.read(card).record.pins.at("signature").puk->secret->matches("12345678"));
}

TEST_F(TheDeckTool, ChangesHowACardBehaves) {
    const std::string card = deck.add("empty");
    const Outcome outcome = run({"set", deck.path(), card, "--delay", "15", "--data-pin", "yes",
                                 "--software-pin", "no", "--removable", "no"});
    EXPECT_EQ(0, outcome.code) << outcome.err;
    EXPECT_EQ("Changed the card 01-empty.\n", outcome.out);
    EXPECT_EQ(15U, deck.read(card).record.delayMs);
    EXPECT_TRUE(deck.read(card).record.asksPinForData);
    EXPECT_FALSE(deck.read(card).record.allowsSoftwarePin);
    EXPECT_FALSE(deck.read(card).record.isRemovable);
    run({"set", deck.path(), card, "--removable", "yes"});
    EXPECT_EQ(15U, deck.read(card).record.delayMs) << "what is not given stays";
    EXPECT_TRUE(deck.read(card).record.isRemovable);
    const Outcome refused = run({"set", deck.path(), card, "--data-pin", "maybe"});
    EXPECT_EQ(2, refused.code);
    EXPECT_THAT(refused.err, HasSubstr("The option --data-pin needs yes or no."));
}
