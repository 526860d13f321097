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
        m_card = m_deck.add("acos-a04", CardOptions().serial("0512380917624502").holder("Käthe Grünbichler"));
    }

    json Entries() { return json::parse(Good({"infobox", "--json"}))["entries"]; }
    std::string Reason(std::vector<std::string> line) {
        line.emplace_back("--json");
        const CliResult result = RunCli(line);
        EXPECT_NE(result.m_Code, 0);
        return json::parse(result.m_Error)["error"]["reason"];
    }

    std::string m_card;
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
    const std::string content = TextOf(m_deck.objectContent(m_card, "0x01"));
    for (const char* tag : {"01", "1", "0x01", "PERSONENBINDUNG", "personenbindung"}) {
        EXPECT_EQ(Good({"infobox", "read", tag, "--raw"}), content) << tag;
    }
    EXPECT_THAT(Good({"infobox", "read", "01"}), HasSubstr("Grünbichler"));
    EXPECT_THAT(Good({"infobox", "read", "0a", "--hex"}), testing::MatchesRegex("[0-9A-F]+\n"));
    Good({"infobox", "read", "0a", "--raw", "--out", PathOf("out")});
    EXPECT_EQ(ContentOf(PathOf("out")), TextOf(m_deck.objectContent(m_card, "0x0a")));
    EXPECT_EQ(Reason({"infobox", "read", "77"}), "no-entry");
    EXPECT_EQ(Reason({"infobox", "read", "1ff"}), "no-entry");
}

TEST_F(ACardWithAnInfobox, ProtectsAnEntryAndTakesTheProtectionAway) {
    const std::string before = TextOf(m_deck.objectContent(m_card, "0x0a"));
    EXPECT_EQ(Good({"infobox", "protect", "0a"}), "Entry 0a is protected by the PIN.\n");
    EXPECT_EQ(Entries()[2]["protected"], true);
    m_deck.clearTrace();
    Good({"infobox", "protect", "0a"}); // is so already
    EXPECT_THAT(m_deck.trace("C_SetAttributeValue"), IsEmpty());
    EXPECT_EQ(Good({"infobox", "unprotect", "0a"}), "Entry 0a is stored plain.\n");
    EXPECT_EQ(Entries()[2]["protected"], false);
    EXPECT_EQ(TextOf(m_deck.objectContent(m_card, "0x0a")), before);
    ExpectNoSession();
}

TEST_F(ACardWithAnInfobox, SaysWhenItIsDamagedOrMissing) {
    m_deck.replaceObject(m_card, "INFOBOX", {'V', 'I'});
    EXPECT_EQ(Reason({"infobox"}), "broken-infobox");
    m_deck.removeObject(m_card, "INFOBOX");
    EXPECT_EQ(Reason({"infobox"}), "no-infobox");
}

TEST_F(ACardWithAnInfobox, OfTheOldKindHasThreeEntriesThatCannotBeProtected) {
    m_deck.remove(m_card);
    m_deck.add("acos-a03");
    EXPECT_EQ(Good({"infobox", "-q"}), "PERSONENBINDUNG\nRFU1\nRFU2\n");
    EXPECT_EQ(Entries()[0]["protected"], nullptr);
    EXPECT_EQ(Reason({"infobox", "protect", "RFU1"}), "no-protection");
}

TEST_F(ACardWithAnInfobox, AsksForThePinOfWhatIsProtected) {
    m_deck.remove(m_card);
    const std::string card = m_deck.add("acos-a04", CardOptions().dataPin());
    EXPECT_EQ(Reason({"infobox", "read", "02"}), "cancelled");
    m_deck.answerPins({"1234"});
    EXPECT_EQ(Good({"infobox", "read", "02", "--raw"}), TextOf(m_deck.objectContent(card, "0x02")));
}

TEST_F(ACardWithAnInfobox, GetsNoIdentityLinkWithoutAWordOrAPin) {
    m_deck.remove(m_card);
    const std::string other = m_deck.add("acos-a03", CardOptions().holder("Otto Anders"));
    const std::string file = FileOf("link", TextOf(m_deck.objectContent(other, "PERSONENBINDUNG")));
    m_deck.remove(other);
    const std::string card = m_deck.add("acos-a03");
    const orselsim::Bytes before = m_deck.objectContent(card, "PERSONENBINDUNG");
    m_deck.answerPins({"0000"});
    EXPECT_EQ(Reason({"update", "identity-link", file}), "needs-yes");
    EXPECT_EQ(Reason({"update", "identity-link", file, "--yes"}), "wrong-pin");
    EXPECT_EQ(Reason({"update", "identity-link", FileOf("bad", std::string(200, 'x')), "--yes"}),
              "new-identity-link-unreadable");
    EXPECT_EQ(Reason({"update", "identity-link", FileOf("short", "0"), "--yes"}),
              "new-identity-link-unreadable");
    EXPECT_EQ(m_deck.objectContent(card, "PERSONENBINDUNG"), before);
    ExpectNoSession();
}

TEST_F(ACardWithAnInfobox, ShowsTheOldAndTheNewIdentityLinkBeforeItIsWritten) {
    m_deck.remove(m_card);
    const std::string other = m_deck.add("acos-a03", CardOptions().holder("Otto Anders"));
    const orselsim::Bytes link = m_deck.objectContent(other, "PERSONENBINDUNG");
    m_deck.remove(other);
    const std::string card = m_deck.add("acos-a03", CardOptions().holder("Käthe Grünbichler"));
    m_deck.answerPins({"1234"});
    const CliResult result = RunCli({"update", "identity-link", FileOf("link", TextOf(link)), "--yes"});
    EXPECT_EQ(result.m_Code, 0) << result.m_Error;
    EXPECT_THAT(result.m_Error, testing::AllOf(HasSubstr("Grünbichler"), HasSubstr("Anders")));
    EXPECT_EQ(m_deck.objectContent(card, "PERSONENBINDUNG"), link);
    ExpectNoSession();
}

TEST_F(ACardWithAnInfobox, TakesACertificateForItsKeyAlone) {
    const std::string other = m_deck.add("acos-a04");
    const std::string foreign = FileOf("foreign", TextOf(m_deck.objectContent(other, "C.CH.SIG")));
    m_deck.remove(other);
    EXPECT_EQ(Reason({"update", "certificate", foreign, "--yes"}), "keys-differ");
    const std::string own = FileOf("own", Good({"certificate", "encryption"}));
    EXPECT_EQ(Good({"update", "certificate", own, "--yes", "-q"}), "");
    EXPECT_EQ(Reason({"update", "certificate", FileOf("none", "no certificate"), "--yes"}),
              "new-certificate-unreadable");
    ExpectNoSession();
}
