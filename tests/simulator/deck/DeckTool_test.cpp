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

struct ToolRun {
    int m_Code;
    std::string m_Out;
    std::string m_Err;
};

ToolRun RunTool(const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = orselsim::RunDeckTool(words, out, err);
    return {code, out.str(), err.str()};
}

} // namespace

class TheDeckTool : public testing::Test {
protected:
    orseltest::SimDeck m_Deck;
};

TEST_F(TheDeckTool, MakesADeckOfTheKindsThatAreNamed) {
    const std::string fresh = m_Deck.Folder() + "/fresh";
    const ToolRun made = RunTool({"create", fresh, "--cards", "empty,ecard-g2"});
    EXPECT_EQ(0, made.m_Code) << made.m_Err;
    EXPECT_EQ("Made a deck of 2 cards in " + fresh + ".\n", made.m_Out);
    const ToolRun listed = RunTool({"list", fresh});
    EXPECT_EQ(0, listed.m_Code);
    EXPECT_EQ("01-empty        ACOS EMV-A04      0000000000000000  \n"
              "02-ecard-g2     Starcos SPK 3.1   8004000112233445  Franziska Müßig\n",
              listed.m_Out);
}

TEST_F(TheDeckTool, MakesAnEmptyDeck) {
    const ToolRun made = RunTool({"create", m_Deck.Folder() + "/fresh", "--empty"});
    EXPECT_EQ("Made a deck of 0 cards in " + m_Deck.Folder() + "/fresh.\n", made.m_Out);
    EXPECT_EQ("", RunTool({"list", m_Deck.Folder() + "/fresh"}).m_Out);
}

TEST_F(TheDeckTool, ReplacesADeckByForce) {
    m_Deck.Add("empty");
    const ToolRun refused = RunTool({"create", m_Deck.GetPath(), "--empty"});
    EXPECT_EQ(1, refused.m_Code);
    EXPECT_EQ("orselsim-deck: \"" + m_Deck.GetPath() +
                  "\" is a deck already. With --force its cards are replaced.\n",
              refused.m_Err);
    EXPECT_EQ(0, RunTool({"create", m_Deck.GetPath(), "--empty", "--force"}).m_Code);
    EXPECT_EQ("", RunTool({"list", m_Deck.GetPath()}).m_Out);
}

TEST_F(TheDeckTool, PutsInACardAsDescribed) {
    const ToolRun done =
        RunTool({"insert", m_Deck.GetPath(), "ecard-g2", "--holder", "Jörg Groß", "--serial",
                 "1234567890123456", "--label", "Orsel Carta extra", "--model", "Starcos SPK 3.4", "--name",
                 "mine", "--slot", "12", "--delay", "7", "--fixed-reader", "--data-pin"});
    EXPECT_EQ(0, done.m_Code) << done.m_Err;
    EXPECT_EQ("Put in the card mine.\n", done.m_Out);
    const orselsim::CardRecord card = m_Deck.Read("mine").m_Record;
    EXPECT_EQ("1234567890123456", card.m_Serial);
    EXPECT_EQ("Orsel Carta extra", card.m_Label);
    EXPECT_EQ("Starcos SPK 3.4", card.m_Model);
    EXPECT_EQ(12U, card.m_SlotId);
    EXPECT_EQ(7U, card.m_DelayMs);
    EXPECT_FALSE(card.m_IsRemovable);
    EXPECT_TRUE(card.m_AsksPinForData);
}

TEST_F(TheDeckTool, ShowsEverythingAboutACard) {
    m_Deck.Add("ecard-g2", CardOptions().Holder("Jörg Groß").Serial("8004000112233445").Slot(5).DelayMs(20));
    const ToolRun shown = RunTool({"show", m_Deck.GetPath(), "01-ecard-g2"});
    EXPECT_EQ(0, shown.m_Code) << shown.m_Err;
    EXPECT_THAT(shown.m_Out, StartsWith("Label         Orsel Carta e-Card\n"
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
    EXPECT_THAT(shown.m_Out, HasSubstr("Object        data \"RFU2\", 64 bytes\n"));
    EXPECT_THAT(shown.m_Out, HasSubstr("Property      SV-Personendaten/EHIC, "));
}

TEST_F(TheDeckTool, TellsWhatIsWrongWithADamagedCard) {
    m_Deck.Add("empty");
    m_Deck.Damage("01-empty");
    const ToolRun listed = RunTool({"list", m_Deck.GetPath()});
    EXPECT_EQ(0, listed.m_Code);
    EXPECT_THAT(listed.m_Out, StartsWith("01-empty        damaged: card.json: "));
    EXPECT_EQ(1, RunTool({"show", m_Deck.GetPath(), "01-empty"}).m_Code);
}

TEST_F(TheDeckTool, TakesOutACard) {
    m_Deck.Add("empty");
    EXPECT_EQ("Took out the card 01-empty.\n", RunTool({"remove", m_Deck.GetPath(), "01-empty"}).m_Out);
    const ToolRun again = RunTool({"remove", m_Deck.GetPath(), "01-empty"});
    EXPECT_EQ(1, again.m_Code);
    EXPECT_EQ("orselsim-deck: The deck has no card \"01-empty\".\n", again.m_Err);
}

TEST_F(TheDeckTool, HelpsWithEveryCommandKindAndPin) {
    const ToolRun help = RunTool({"--help"});
    EXPECT_EQ(0, help.m_Code);
    for (const char* word : {"create DIR", "list DIR", "show DIR CARD", "insert DIR KIND", "remove DIR CARD",
                             "123456", "1234", "12345678"}) {
        EXPECT_THAT(help.m_Out, HasSubstr(word));
    }
    for (const orselsim::CardKind& kind : orselsim::CardKinds()) {
        EXPECT_THAT(help.m_Out, HasSubstr(kind.m_Name));
    }
    EXPECT_EQ(help.m_Out, RunTool({"-h"}).m_Out);
}

TEST_F(TheDeckTool, RefusesCommandLinesThatMakeNoSense) {
    struct Case {
        std::vector<std::string> m_Words;
        const char* m_Reason;
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
        const ToolRun outcome = RunTool(c.m_Words);
        EXPECT_EQ(2, outcome.m_Code) << c.m_Reason;
        EXPECT_EQ("", outcome.m_Out) << c.m_Reason;
        EXPECT_EQ(std::string("orselsim-deck: ") + c.m_Reason +
                      " \"orselsim-deck --help\" shows what there is.\n",
                  outcome.m_Err);
    }
}

TEST_F(TheDeckTool, ChangesAPinBehindTheCardsBack) {
    const std::string card = m_Deck.Add("acos-a03");
    struct Case {
        std::vector<std::string> m_Options;
        const char* m_Pin; ///< line of the PIN that was changed
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
        std::vector<std::string> words = {"pin", m_Deck.GetPath(), card, "signature"};
        words.insert(words.end(), c.m_Options.begin(), c.m_Options.end());
        const ToolRun outcome = RunTool(words);
        EXPECT_EQ(0, outcome.m_Code) << outcome.m_Err;
        EXPECT_EQ(std::string("PIN           encryption: 3 of 3 tries left, PUK: 10 of 10 tries left\n"
                              "PIN           ") +
                      c.m_Pin + "\n",
                  outcome.m_Out);
    }
    EXPECT_TRUE(m_Deck.HasPin(card, "signature", "999999"));
    EXPECT_TRUE(m_Deck.Read(card).m_Record.m_Pins.at("signature").m_Puk->m_Secret->Matches("2222"));
}

TEST_F(TheDeckTool, RefusesAPinThatCannotBe) {
    const std::string card = m_Deck.Add("ecard-g2");
    const auto refusal = [&](const std::vector<std::string>& options, int code) {
        std::vector<std::string> words = {"pin", m_Deck.GetPath(), card};
        words.insert(words.end(), options.begin(), options.end());
        const ToolRun outcome = RunTool(words);
        EXPECT_EQ(code, outcome.m_Code);
        return outcome.m_Err;
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
    EXPECT_EQ(3U, m_Deck.TriesLeft(card, "signature")) << "nothing was changed";
}

TEST_F(TheDeckTool, GivesACardItsFirstPinsBack) {
    const std::string card = m_Deck.Add("acos-a03");
    RunTool({"pin", m_Deck.GetPath(), card, "signature", "--unset", "--tries", "0", "--puk", "1",
             "--puk-tries", "0"});
    RunTool({"pin", m_Deck.GetPath(), card, "encryption", "--pin", "5555", "--no-puk"});
    const ToolRun outcome = RunTool({"reset", m_Deck.GetPath(), card});
    EXPECT_EQ(0, outcome.m_Code) << outcome.m_Err;
    EXPECT_EQ("PIN           encryption: 3 of 3 tries left, PUK: none\n"
              "PIN           signature: 3 of 3 tries left, PUK: 10 of 10 tries left\n",
              outcome.m_Out);
    EXPECT_TRUE(m_Deck.HasPin(card, "signature", "123456"));
    EXPECT_TRUE(m_Deck.HasPin(card, "encryption", "1234"));
    EXPECT_TRUE(m_Deck.Read(card).m_Record.m_Pins.at("signature").m_Puk->m_Secret->Matches("12345678"));
}

TEST_F(TheDeckTool, ChangesHowACardBehaves) {
    const std::string card = m_Deck.Add("empty");
    const ToolRun outcome = RunTool({"set", m_Deck.GetPath(), card, "--delay", "15", "--data-pin", "yes",
                                     "--software-pin", "no", "--removable", "no"});
    EXPECT_EQ(0, outcome.m_Code) << outcome.m_Err;
    EXPECT_EQ("Changed the card 01-empty.\n", outcome.m_Out);
    EXPECT_EQ(15U, m_Deck.Read(card).m_Record.m_DelayMs);
    EXPECT_TRUE(m_Deck.Read(card).m_Record.m_AsksPinForData);
    EXPECT_FALSE(m_Deck.Read(card).m_Record.m_AllowsSoftwarePin);
    EXPECT_FALSE(m_Deck.Read(card).m_Record.m_IsRemovable);
    RunTool({"set", m_Deck.GetPath(), card, "--removable", "yes"});
    EXPECT_EQ(15U, m_Deck.Read(card).m_Record.m_DelayMs) << "what is not given stays";
    EXPECT_TRUE(m_Deck.Read(card).m_Record.m_IsRemovable);
    const ToolRun refused = RunTool({"set", m_Deck.GetPath(), card, "--data-pin", "maybe"});
    EXPECT_EQ(2, refused.m_Code);
    EXPECT_THAT(refused.m_Err, HasSubstr("The option --data-pin needs yes or no."));
}
