// SPDX-License-Identifier: MIT
// The infobox area, and what is written to a card.
#include <nlohmann/json.hpp>

#include "tests/cli/CliTest.h"

using nlohmann::json;
using orseltest::CardOptions;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string TextOf(const orselsim::Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

class ACardWithAnInfobox : public CliTest {
protected:
    void SetUp() override {
        m_Card = m_Deck.Add("acos-a04", CardOptions().Serial("0512380917624502").Holder("Käthe Grünbichler"));
    }

    json Entries() { return json::parse(Good({"infobox", "--json"}))["entries"]; }
    std::string Reason(std::vector<std::string> line) {
        line.emplace_back("--json");
        const CliResult result = RunCli(line);
        EXPECT_NE(result.m_Code, 0);
        return json::parse(result.m_Error)["error"]["reason"];
    }

    std::string m_Card;
};

} // namespace

TEST_F(ACardWithAnInfobox, ListsItsEntries) {
    EXPECT_EQ(Good({"infobox"}), "Tag  Name             Stored\n"
                                 "01   PERSONENBINDUNG  plain\n"
                                 "02   RFU1             protected\n"
                                 "0a                    plain\n");
    EXPECT_EQ(Good({"infobox", "-q"}), "01\n02\n0a\n");
    ExpectNoSession();
}

TEST_F(ACardWithAnInfobox, ReadsAnEntryByTagOrName) {
    const std::string content = TextOf(m_Deck.ObjectContent(m_Card, "0x01"));
    for (const char* tag : {"01", "1", "0x01", "PERSONENBINDUNG", "personenbindung"}) {
        EXPECT_EQ(Good({"infobox", "read", tag, "--raw"}), content) << tag;
    }
    EXPECT_THAT(Good({"infobox", "read", "01"}), HasSubstr("Grünbichler"));
    EXPECT_THAT(Good({"infobox", "read", "0a", "--hex"}), testing::MatchesRegex("[0-9A-F]+\n"));
    Good({"infobox", "read", "0a", "--raw", "--out", PathOf("out")});
    EXPECT_EQ(ContentOf(PathOf("out")), TextOf(m_Deck.ObjectContent(m_Card, "0x0a")));
    EXPECT_EQ(Reason({"infobox", "read", "77"}), "no-entry");
    EXPECT_EQ(Reason({"infobox", "read", "1ff"}), "no-entry");
}

TEST_F(ACardWithAnInfobox, SaysThatAnEntryIsEmptyOrLost) {
    m_Deck.ReplaceObject(m_Card, "0x0a", orselsim::Bytes(16, 0));
    const CliResult empty = RunCli({"infobox", "read", "0a"});
    EXPECT_EQ(empty.m_Code, 0);
    EXPECT_EQ(empty.m_Out, "");
    EXPECT_EQ(empty.m_Error, "The entry is empty.\n");
    EXPECT_EQ(json::parse(Good({"infobox", "read", "0a", "--json"}))["size"], 0);
    EXPECT_EQ(Good({"infobox", "read", "0a", "--raw"}), std::string(16, '\0')) << "as it is stored";
    m_Deck.RemoveObject(m_Card, "0x0a");
    EXPECT_EQ(Reason({"infobox", "read", "0a"}), "no-entry");
    m_Deck.RemoveObject(m_Card, "0x01");
    EXPECT_EQ(Reason({"infobox", "read", "01"}), "no-identity-link");
}

TEST_F(ACardWithAnInfobox, ProtectsAnEntryAndTakesTheProtectionAway) {
    const std::string before = TextOf(m_Deck.ObjectContent(m_Card, "0x0a"));
    EXPECT_EQ(Good({"infobox", "protect", "0a"}), "Entry 0a is protected by the PIN.\n");
    EXPECT_EQ(Entries()[2]["protected"], true);
    m_Deck.ClearTrace();
    Good({"infobox", "protect", "0a"}); // is so already
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), IsEmpty());
    EXPECT_EQ(Good({"infobox", "unprotect", "0a"}), "Entry 0a is stored plain.\n");
    EXPECT_EQ(Entries()[2]["protected"], false);
    EXPECT_EQ(TextOf(m_Deck.ObjectContent(m_Card, "0x0a")), before);
    ExpectNoSession();
}

TEST_F(ACardWithAnInfobox, SaysWhenItIsDamagedOrMissing) {
    m_Deck.ReplaceObject(m_Card, "INFOBOX", {'V', 'I'});
    EXPECT_EQ(Reason({"infobox"}), "broken-infobox");
    m_Deck.RemoveObject(m_Card, "INFOBOX");
    EXPECT_EQ(Reason({"infobox"}), "no-infobox");
}

TEST_F(ACardWithAnInfobox, OfTheOldKindHasThreeEntriesThatCannotBeProtected) {
    m_Deck.Remove(m_Card);
    m_Deck.Add("acos-a03");
    EXPECT_EQ(Good({"infobox", "-q"}), "PERSONENBINDUNG\nRFU1\nRFU2\n");
    EXPECT_EQ(Entries()[0]["protected"], nullptr);
    EXPECT_EQ(Reason({"infobox", "protect", "RFU1"}), "no-protection");
}

TEST_F(ACardWithAnInfobox, AsksForThePinOfWhatIsProtected) {
    m_Deck.Remove(m_Card);
    const std::string card = m_Deck.Add("acos-a04", CardOptions().DataPin());
    EXPECT_EQ(Reason({"infobox", "read", "02"}), "cancelled");
    m_Deck.AnswerPins({"1234"});
    EXPECT_EQ(Good({"infobox", "read", "02", "--raw"}), TextOf(m_Deck.ObjectContent(card, "0x02")));
}

TEST_F(ACardWithAnInfobox, GetsNoIdentityLinkWithoutAWordOrAPin) {
    m_Deck.Remove(m_Card);
    const std::string other = m_Deck.Add("acos-a03", CardOptions().Holder("Otto Anders"));
    const std::string file = FileOf("link", TextOf(m_Deck.ObjectContent(other, "PERSONENBINDUNG")));
    m_Deck.Remove(other);
    const std::string card = m_Deck.Add("acos-a03");
    const orselsim::Bytes before = m_Deck.ObjectContent(card, "PERSONENBINDUNG");
    m_Deck.AnswerPins({"0000"});
    EXPECT_EQ(Reason({"update", "identity-link", file}), "needs-yes");
    EXPECT_EQ(Reason({"update", "identity-link", file, "--yes"}), "wrong-pin");
    EXPECT_EQ(Reason({"update", "identity-link", FileOf("bad", std::string(200, 'x')), "--yes"}),
              "new-identity-link-unreadable");
    EXPECT_EQ(Reason({"update", "identity-link", FileOf("short", "0"), "--yes"}),
              "new-identity-link-unreadable");
    EXPECT_EQ(m_Deck.ObjectContent(card, "PERSONENBINDUNG"), before);
    ExpectNoSession();
}

TEST_F(ACardWithAnInfobox, ShowsTheOldAndTheNewIdentityLinkBeforeItIsWritten) {
    m_Deck.Remove(m_Card);
    const std::string other = m_Deck.Add("acos-a03", CardOptions().Holder("Otto Anders"));
    const orselsim::Bytes link = m_Deck.ObjectContent(other, "PERSONENBINDUNG");
    m_Deck.Remove(other);
    const std::string card = m_Deck.Add("acos-a03", CardOptions().Holder("Käthe Grünbichler"));
    m_Deck.AnswerPins({"1234"});
    const CliResult result = RunCli({"update", "identity-link", FileOf("link", TextOf(link)), "--yes"});
    EXPECT_EQ(result.m_Code, 0) << result.m_Error;
    EXPECT_THAT(result.m_Error, testing::AllOf(HasSubstr("Grünbichler"), HasSubstr("Anders")));
    EXPECT_EQ(m_Deck.ObjectContent(card, "PERSONENBINDUNG"), link);
    ExpectNoSession();
}

TEST_F(ACardWithAnInfobox, TakesACertificateForItsKeyAlone) {
    const std::string other = m_Deck.Add("acos-a04");
    const std::string foreign = FileOf("foreign", TextOf(m_Deck.ObjectContent(other, "C.CH.SIG")));
    m_Deck.Remove(other);
    EXPECT_EQ(Reason({"update", "certificate", foreign, "--yes"}), "keys-differ");
    const std::string own = FileOf("own", Good({"certificate", "encryption"}));
    EXPECT_EQ(Good({"update", "certificate", own, "--yes", "-q"}), "");
    EXPECT_EQ(Reason({"update", "certificate", FileOf("none", "no certificate"), "--yes"}),
              "new-certificate-unreadable");
    ExpectNoSession();
}
