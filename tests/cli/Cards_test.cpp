// SPDX-License-Identifier: MIT
// Finding a card, and what is read from it without a PIN.
#include <nlohmann/json.hpp>

#include <csignal>
#include <thread>

#include "cli/Interruption.h"
#include "tests/cli/CliTest.h"

using nlohmann::json;
using orseltest::CardOptions;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class ADeckOfThree : public CliTest {
protected:
    void SetUp() override {
        m_Deck.Add("acos-a04", CardOptions().Serial("0512380917624502").Holder("Käthe Grünbichler"));
        m_Deck.Add("ecard-g3b", CardOptions().Serial("8004000334455667").Holder("Anneliese Süßmaier"));
        m_Deck.Add("empty");
    }
};

class ACardAlone : public CliTest {};

} // namespace

TEST_F(ADeckOfThree, IsListedAsTheWindowListsIt) {
    EXPECT_EQ(Good({"list"}),
              "    Number            Kind                    Label               Holder\n"
              "@1  0512380917624502  Orsel Carta ACOS 04     Orsel Carta ACOS    Käthe Grünbichler\n"
              "@2  8004000334455667  Orsel Carta e-Card G3B  Orsel Carta e-Card  Anneliese Süßmaier\n"
              "@3  0000000000000000  Orsel Carta ACOS 04     Orsel Carta ACOS    unknown\n");
    ExpectNoSession();
}

TEST_F(ADeckOfThree, IsListedInJson) {
    const json list = json::parse(Good({"list", "--json"}));
    ASSERT_EQ(list["cards"].size(), 3U);
    EXPECT_EQ(list["cards"][1]["holder"], "Anneliese Süßmaier");
    EXPECT_EQ(list["cards"][2]["holder"], nullptr);
    EXPECT_EQ(list["cards"][2]["empty"], true);
}

TEST_F(ADeckOfThree, IsListedByNumbersAloneWhenQuiet) {
    EXPECT_EQ(Good({"list", "-q"}), "0512380917624502\n8004000334455667\n0000000000000000\n");
}

TEST_F(ADeckOfThree, GivesACardByNumberBeginningOrPosition) {
    for (const char* card : {"8004000334455667", "8", "8004", "@2"}) {
        EXPECT_EQ(json::parse(Good({"show", card, "--json"}))["number"], "8004000334455667") << card;
        ExpectNoSession();
    }
}

TEST_F(ADeckOfThree, GivesNoCardThatIsNotTheOne) {
    const std::map<std::string, std::string> expected = {
        {"9", "There is no card \"9\"."},
        {"0", "Several cards have a number that begins with \"0\"."},
        {"@4", "There is no card \"@4\"."},
        {"@0", "There is no card \"@0\"."},
        {"@1x", "There is no card \"@1x\"."},
        {"05123809176245020", "There is no card \"05123809176245020\"."},
    };
    for (const auto& [card, text] : expected) {
        const CliResult result = RunCli({"show", card});
        EXPECT_EQ(result.m_Code, 3) << card;
        EXPECT_THAT(result.m_Error, StartsWith("orselcards-cli: " + text + "\n")) << card;
        EXPECT_THAT(result.m_Out, IsEmpty());
    }
}

TEST_F(ADeckOfThree, IsNotWaitedForToBecomeUnambiguous) {
    EXPECT_EQ(RunCli({"show", "0", "--wait", "86400"}).m_Code, 3);
}

TEST_F(ADeckOfThree, WantsToBeToldWhichCardIsMeant) {
    const CliResult result = RunCli({"show"});
    EXPECT_EQ(result.m_Code, 2);
    EXPECT_THAT(result.m_Error, HasSubstr("several cards"));
}

TEST_F(ADeckOfThree, KeepsNumberAndKindTogetherBesideAFixedReader) {
    m_Deck.Add("cardos-53", CardOptions().Directory("00-first").FixedReader());
    const json list = json::parse(Good({"list", "--json"}));
    ASSERT_EQ(list["cards"].size(), 3U);
    EXPECT_EQ(list["cards"][0]["kind"], "Orsel Carta ACOS 04");
    EXPECT_EQ(list["cards"][1]["kind"], "Orsel Carta e-Card G3B");
}

TEST_F(ACardAlone, NeedsNoName) {
    m_Deck.Add("acos-a03", CardOptions().Serial("0401270843567891").Holder("Jörg Weißenböck"));
    const json card = json::parse(Good({"show", "--json"}));
    EXPECT_EQ(card["cin"], "0401270843567891");
    EXPECT_EQ(card["kind"], "Orsel Carta ACOS 03");
    EXPECT_THAT(card["chipId"].get<std::string>(), testing::SizeIs(16));
    EXPECT_EQ(card["pins"][0]["state"], "not-told");
    EXPECT_EQ(card["signatureCertificate"]["key"], "EC 192");
    EXPECT_EQ(card["privateKeys"], json({"SK.CH.SIG", "SK.CH.EKEY"}));
    ExpectNoSession();
}

TEST_F(ACardAlone, ThatIsAnECardTellsTheStateOfItsPins) {
    const std::string card = m_Deck.Add("ecard-g3a");
    m_Deck.SetTries(card, "signature", 0);
    m_Deck.SetTries(card, "encryption", 1);
    EXPECT_EQ(Good({"pin"}), "Signature PIN:      blocked\n"
                             "Encryption PIN:     good, 1 try is left\n"
                             "Identity link PIN:  good, 1 try is left\n");
    m_Deck.UnsetPin(card, "signature");
    EXPECT_EQ(json::parse(Good({"pin", "--json"}))["pins"][0],
              json({{"pin", "signature"}, {"state", "not-set"}, {"triesLeft", nullptr}}));
}

TEST_F(ACardAlone, ThatNobodyHasPersonalisedIsShownWithoutFailure) {
    m_Deck.Add("empty");
    const json card = json::parse(Good({"show", "--json"}));
    EXPECT_EQ(card["empty"], true);
    EXPECT_EQ(card["signatureCertificate"], nullptr);
    for (const std::vector<std::string>& line : {std::vector<std::string>{"certificate", "signature"},
                                                 {"pin", "change", "signature"},
                                                 {"infobox"},
                                                 {"identity-link"}}) {
        const CliResult result = RunCli(line);
        EXPECT_EQ(result.m_Code, 1) << line[0];
        EXPECT_THAT(result.m_Error, HasSubstr("personalised")) << line[0];
    }
}

TEST_F(ACardAlone, CannotSteerTheTerminal) {
    const std::string name = m_Deck.Add("acos-a04", CardOptions().Label("\033[31mred"));
    EXPECT_THAT(Good({"list"}), Not(HasSubstr("\033")));
    EXPECT_THAT(Good({"show"}), Not(HasSubstr("\033")));
    EXPECT_EQ(json::parse(Good({"list", "--json"}))["cards"][0]["label"], "\033[31mred");
}

TEST_F(ACardAlone, ThatIsPutInIsWaitedFor) {
    const std::string name = m_Deck.Add("ecard-g4");
    m_Deck.TakeOut(name);
    EXPECT_EQ(RunCli({"show"}).m_Code, 3);
    std::thread person([this, &name] {
        while (m_Deck.GetTrace("C_GetSlotList").size() < 6) { // the command has looked and waits
            std::this_thread::yield();
        }
        m_Deck.PutBack(name);
    });
    const CliResult result = RunCli({"show", "--wait", "60"});
    person.join();
    EXPECT_EQ(result.m_Code, 0) << result.m_Error;
}

TEST_F(ACardAlone, IsListedWhenItComes) {
    const std::string name = m_Deck.Add("ecard-g4", CardOptions().Serial("8004000334455667"));
    m_Deck.TakeOut(name);
    EXPECT_EQ(Good({"list", "-q"}), "");
    m_Deck.ClearTrace();
    std::thread person([this, &name] {
        while (m_Deck.GetTrace("C_GetSlotList").size() < 6) { // the command has looked and waits
            std::this_thread::yield();
        }
        m_Deck.PutBack(name);
    });
    EXPECT_EQ(Good({"list", "-q", "--wait", "60"}), "8004000334455667\n");
    person.join();
    m_Deck.TakeOut(name);
    EXPECT_EQ(RunCli({"list", "--wait", "1"}).m_Code, 3);
}

TEST_F(ACardAlone, IsMissedAfterTheTimeThatWasGiven) {
    const CliResult result = RunCli({"show", "--wait", "1"});
    EXPECT_EQ(result.m_Code, 3);
    EXPECT_THAT(result.m_Error, HasSubstr("no card in any reader"));
    EXPECT_THAT(RunCli({"list"}).m_Error, HasSubstr("no card in any reader"));
    EXPECT_EQ(json::parse(Good({"list", "--json"}))["cards"], json::array());
}

TEST_F(ACardAlone, GivesItsNumberAndFilesToRawCommands) {
    m_Deck.Add("acos-a05", CardOptions().Serial("0623491026733613"));
    const std::string answer = Good({"apdu", "80F6000008", "00 A4 00 0C 02 12 34"});
    EXPECT_THAT(answer, HasSubstr(" 9000  done\n"));
    EXPECT_THAT(answer, HasSubstr("6A82  file not found\n"));
    const json answers = json::parse(Good({"apdu", "--json", "00A4000C023F00"}));
    EXPECT_EQ(answers["answers"][0],
              json({{"command", "00A4000C023F00"}, {"data", ""}, {"status", "9000"}, {"words", "done"}}));
    EXPECT_EQ(RunCli({"apdu", "00A4"}).m_Code, 2);
    EXPECT_EQ(RunCli({"apdu", "00A400ZZ"}).m_Code, 2);
    ExpectNoSession();
}

TEST_F(ACardAlone, IsShownWithAllThatItHolds) {
    const std::string card = m_Deck.Add("acos-a03");
    const size_t before = json::parse(Good({"show", "--json"}))["dataObjects"].size();
    std::vector<std::string> labels;
    for (const size_t count : {40U, 70U}) { // more than are asked for at once, the second time
        m_Deck.Change(card, [&](orselsim::Card& changed) {
            changed.m_Contents["record"] = {1};
            while (labels.size() < count) {
                labels.push_back("record " + std::to_string(labels.size() + 100));
                changed.m_Record.m_Objects.push_back(
                    {orselsim::ObjectKind::DATA, labels.back(), {}, "record", false, ""});
            }
        });
        const auto objects =
            json::parse(Good({"show", "--json"}))["dataObjects"].get<std::vector<std::string>>();
        EXPECT_EQ(objects.size(), before + count);
        const std::string text = Good({"show"});
        for (const std::string& label : labels) {
            EXPECT_THAT(text, HasSubstr(label));
            EXPECT_THAT(objects, testing::Contains(label));
        }
    }
    ExpectNoSession();
}

TEST_F(ACardAlone, WhoseObjectsNeverComeToAnEndIsShownWithoutThem) {
    m_Deck.Add("acos-a03");
    m_Deck.PlanFaults({"C_FindObjects length=10"}); // as many as the card class asks for, again and again
    const CliResult result = RunCli({"show"});
    EXPECT_EQ(result.m_Code, 1);
    EXPECT_THAT(result.m_Out,
                HasSubstr("Data objects:            The token library gave an answer that cannot be "
                          "right (C_FindObjects).\n"));
    EXPECT_LT(m_Deck.GetTrace("C_FindObjects").size(), 1300U);
    ExpectNoSession();
}

TEST_F(ACardAlone, GivesInsuranceDataIfItIsAnECard) {
    const std::string card = m_Deck.Add("ecard-g4", CardOptions().Holder("Björn Straßgschwandtner"));
    const json data = json::parse(Good({"insurance", "--json"}));
    EXPECT_THAT(data["ehic"].get<std::string>(), HasSubstr("426AC3B6726E"));
    EXPECT_THAT(Good({"insurance"}), HasSubstr("Grunddaten"));
    m_Deck.Remove(card);
    m_Deck.Add("acos-a04");
    const CliResult result = RunCli({"insurance"});
    EXPECT_EQ(result.m_Code, 1);
    EXPECT_THAT(result.m_Error, HasSubstr("only e-cards"));
}

TEST_F(ACardAlone, GivesItsIdentityLinkInWordsAndAsItIs) {
    const std::string card = m_Deck.Add("acos-a03", CardOptions().Holder("Jörg Weißenböck"));
    EXPECT_THAT(Good({"identity-link"}), HasSubstr("Weißenböck"));
    const orselsim::Bytes link = m_Deck.ObjectContent(card, "PERSONENBINDUNG");
    EXPECT_EQ(Good({"identity-link", "--raw"}), std::string(link.begin(), link.end()));
    EXPECT_EQ(json::parse(Good({"identity-link", "--json"}))["familyName"], "Weißenböck");
    m_Deck.ReplaceObject(card, "PERSONENBINDUNG", orselsim::Bytes(200, 0x41));
    EXPECT_THAT(RunCli({"identity-link"}).m_Error, HasSubstr("damaged"));
    m_Deck.ReplaceObject(card, "PERSONENBINDUNG", orselsim::Bytes(200, 0));
    EXPECT_THAT(RunCli({"identity-link"}).m_Error, HasSubstr("no identity link"));
    m_Deck.RemoveObject(card, "PERSONENBINDUNG");
    EXPECT_THAT(RunCli({"identity-link"}).m_Error, HasSubstr("no identity link"));
}

TEST_F(ACardAlone, IsLeftInPeaceOnceASignalHasCome) {
    m_Deck.Add("acos-a04");
    m_Deck.PlanFaults({"C_FindObjects call=1 delay=300"});
    std::thread person([this] {
        while (m_Deck.GetTrace("C_FindObjectsInit").empty()) {
            std::this_thread::yield();
        }
        orselcli::Interruption::Note(SIGINT);
    });
    const CliResult result = RunCli({"certificate", "signature"});
    person.join();
    EXPECT_EQ(result.m_Code, 130);
    EXPECT_THAT(result.m_Out, IsEmpty());
    EXPECT_THAT(result.m_Error, HasSubstr("interrupted"));
    EXPECT_THAT(m_Deck.GetTrace("C_GetAttributeValue"), IsEmpty());
    ExpectNoSession();
}

TEST_F(ADeckOfThree, HasNoKeysOnItsEmptyCard) {
    const std::string data = FileOf("data", "a text");
    const std::vector<std::vector<std::string>> lines = {
        {"sign", "@3", "signature", data},
        {"verify", "@3", "signature", data, "--signature", data},
        {"certificate", "@3", "signature"},
    };
    for (const auto& line : lines) {
        const CliResult result = RunCli(line);
        EXPECT_EQ(result.m_Code, 1) << line[0] << ": " << result.m_Error;
        EXPECT_THAT(result.m_Out, IsEmpty());
        EXPECT_THAT(result.m_Error, StartsWith("orselcards-cli: ")) << line[0];
    }
    ExpectNoSession();
}
