// SPDX-License-Identifier: MIT
// Certificates, signatures and PINs; judged by the openssl command, which knows nothing of cards.
#include <nlohmann/json.hpp>

#include "foundation/Base64.h"
#include "tests/card/OpenSslCommand.h"
#include "tests/cli/CliTest.h"

using nlohmann::json;
using orseltest::CardOptions;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

struct KeyCase {
    std::string m_Kind;
    std::string m_Key;
    std::string m_Hash;
};

void PrintTo(const KeyCase& keyCase, std::ostream* out) {
    *out << keyCase.m_Kind << " " << keyCase.m_Key << " " << keyCase.m_Hash;
}

std::vector<KeyCase> KeyCases() {
    std::vector<KeyCase> cases;
    for (const char* kind : {"acos-a03", "acos-a05", "ecard-g2", "cardos-53"}) {
        for (const char* key : {"signature", "encryption"}) {
            for (const char* hash : {"sha1", "ripemd160", "sha256", "sha384", "sha512"}) {
                cases.push_back({kind, key, hash});
            }
        }
    }
    return cases;
}

class AKeyOfACard : public CliTest, public testing::WithParamInterface<KeyCase> {
protected:
    static std::string PinOf(const std::string& key) { return key == "signature" ? "123456" : "1234"; }
    static std::string LabelOf(const std::string& key) {
        return key == "signature" ? "C.CH.SIG" : "C.CH.EKEY";
    }
};

class AnECard : public CliTest {
protected:
    void SetUp() override { m_Card = m_Deck.Add("ecard-g3b", CardOptions().Serial("8004000334455667")); }

    std::string m_Card;
};

} // namespace

TEST_P(AKeyOfACard, SignsWhatOpensslVerifies) {
    const auto& [kind, key, hash] = GetParam();
    const std::string card = m_Deck.Add(kind);
    m_Deck.AnswerPins({PinOf(key), PinOf(key), PinOf(key)});
    for (const std::string& text : {std::string("a short text"), std::string(5000, 'x'), std::string()}) {
        const std::string file = FileOf("text", text);
        const std::string signature = Good({"sign", key, file, "--hash", hash});
        const OpenSslCommand openssl(m_Deck.Folder());
        EXPECT_TRUE(openssl.Verifies(m_Deck.ObjectContent(card, LabelOf(key)), hash, BytesOf(text),
                                     BytesOf(signature)))
            << text.size();
        const std::string signatureFile = FileOf("signature", signature);
        EXPECT_EQ(Good({"verify", key, file, "--signature", signatureFile, "--hash", hash}),
                  "The signature is good.\n");
        EXPECT_EQ(
            Good({"verify", key, file, "--signature", signatureFile, "--hash", hash, "--offline", "-q"}), "");
        const std::string other = FileOf("other", text + "!");
        for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--offline"}}) {
            std::vector<std::string> line = {"verify",      key,      other, "--signature",
                                             signatureFile, "--hash", hash};
            line.insert(line.end(), more.begin(), more.end());
            const CliResult result = RunCli(line);
            EXPECT_EQ(result.m_Code, 1);
            EXPECT_THAT(result.m_Error, HasSubstr("does not belong to this data"));
        }
        ExpectNoSession();
    }
}

INSTANTIATE_TEST_SUITE_P(Of, AKeyOfACard, testing::ValuesIn(KeyCases()));

TEST_F(AnECard, SignsWithTheHashThatItNeeds) {
    m_Deck.AnswerPins({"1234"});
    EXPECT_EQ(json::parse(Good({"sign", "encryption", FileOf("text", "a text"), "--json"}))["hash"],
              "ripemd160");
}

TEST_F(AnECard, SignsWithTheHashThatItsOtherKeyNeeds) {
    m_Deck.AnswerPins({"123456"});
    EXPECT_EQ(json::parse(Good({"sign", "signature", FileOf("text", "a text"), "--json"}))["hash"], "sha256");
}

TEST_F(AnECard, SignsAFinishedHashAsItIs) {
    m_Deck.AnswerPins({"123456"});
    const std::string hash(32, 'h');
    const std::string signature = Good({"sign", "signature", FileOf("hash", hash), "--hash", "raw"});
    const OpenSslCommand openssl(m_Deck.Folder());
    EXPECT_TRUE(
        openssl.Verifies(m_Deck.ObjectContent(m_Card, "C.CH.SIG"), "", BytesOf(hash), BytesOf(signature)));
}

TEST_F(AnECard, WritesItsSignatureToAFileOrInBase64) {
    m_Deck.AnswerPins({"123456", "123456"});
    const std::string file = FileOf("text", "a text");
    EXPECT_EQ(Good({"sign", "signature", file, "--out", PathOf("out")}), "");
    EXPECT_EQ(ContentOf(PathOf("out")).size(), 64U);
    FileOf("base64", Good({"sign", "signature", file, "--base64"}));
    EXPECT_EQ(Good({"verify", "signature", file, "--signature", PathOf("base64"), "--base64"}),
              "The signature is good.\n");
}

TEST_F(AnECard, TellsAWrongPinWithTheTriesThatAreLeft) {
    m_Deck.AnswerPins({"000000", "000000", "000000"});
    const std::string file = FileOf("text", "a text");
    EXPECT_THAT(RunCli({"sign", "signature", file}).m_Error,
                StartsWith("orselcards-cli: The PIN is wrong; 2 tries are left.\n"));
    const CliResult second = RunCli({"sign", "signature", file, "--json"});
    EXPECT_EQ(json::parse(second.m_Error)["error"]["reason"], "wrong-pin");
    EXPECT_EQ(json::parse(second.m_Error)["error"]["triesLeft"], 1);
}

TEST_F(AnECard, GivesEachCauseAnErrorOfItsOwn) {
    const std::string file = FileOf("text", "a text");
    const auto reasonOf = [](const std::vector<std::string>& line) {
        std::vector<std::string> whole = line;
        whole.emplace_back("--json");
        const CliResult result = RunCli(whole);
        EXPECT_THAT(result.m_Out, IsEmpty());
        return json::parse(result.m_Error)["error"]["reason"].get<std::string>();
    };
    m_Deck.AnswerPins({"cancel"});
    EXPECT_EQ(reasonOf({"sign", "signature", file}), "cancelled");
    m_Deck.SetTries(m_Card, "signature", 0);
    EXPECT_EQ(reasonOf({"sign", "signature", file}), "pin-blocked");
    EXPECT_EQ(reasonOf({"pin", "unblock", "signature"}), "not-supported"); // an e-card has no PUK
    m_Deck.UnsetPin(m_Card, "signature");
    EXPECT_EQ(reasonOf({"sign", "signature", file}), "pin-not-set");
    m_Deck.PlanFaults({"C_Sign rv=CKR_DEVICE_REMOVED"});
    EXPECT_EQ(reasonOf({"sign", "encryption", file}), "card-gone");
    m_Deck.PlanFaults({"C_Sign rv=0x80000123"});
    EXPECT_EQ(reasonOf({"sign", "encryption", file}), "unknown-code");
    m_Deck.PlanFaults({});
    m_Deck.RemoveObject(m_Card, "SK.CH.EKEY");
    EXPECT_EQ(reasonOf({"sign", "encryption", file}), "no-key");
    EXPECT_EQ(reasonOf({"sign", "signature", PathOf("none")}), "input-unreadable");
}

TEST_F(AnECard, ChangesAndUnblocksPins) {
    m_Deck.AnswerPins({"123456", "654321", "654321", "0000"});
    EXPECT_EQ(Good({"pin", "change", "signature"}), "The PIN is changed.\n");
    EXPECT_TRUE(m_Deck.HasPin(m_Card, "signature", "654321"));
    const CliResult wrong = RunCli({"pin", "change", "encryption"}); // the script begins anew
    EXPECT_EQ(wrong.m_Code, 1);
    EXPECT_THAT(wrong.m_Error, HasSubstr("2 tries are left"));
    EXPECT_THAT(RunCli({"pin", "change", "identity-link"}).m_Error, HasSubstr("in the infobox area"));
    ExpectNoSession();
}

TEST_F(AnECard, ShowsItsIdentityLinkWhereverItKeepsIt) {
    const orselsim::Bytes link = m_Deck.ObjectContent(m_Card, "0x01");
    EXPECT_EQ(Good({"identity-link", "--raw"}), std::string(link.begin(), link.end()));
}

TEST_F(AnECard, NeverTakesAPinFromTheCommandLine) {
    for (const char* word : {"--pin", "--puk", "--password"}) {
        EXPECT_EQ(RunCli({"pin", "change", "signature", word, "123456"}).m_Code, 2) << word;
    }
}

TEST_F(AnECard, GivesTheCertificatesThatItHolds) {
    for (const std::string& key : {std::string("signature"), std::string("encryption")}) {
        const orselsim::Bytes content =
            m_Deck.ObjectContent(m_Card, key == "signature" ? "C.CH.SIG" : "C.CH.EKEY");
        const std::string der(content.begin(), content.end());
        EXPECT_EQ(Good({"certificate", key, "--der"}), der);
        Good({"certificate", key, "--out", PathOf("pem")});
        EXPECT_EQ(ContentOf(PathOf("pem")), Good({"certificate", key}));
        const std::string command = "openssl x509 -in " + PathOf("pem") + " -out " + PathOf("again") +
                                    " && cmp " + PathOf("pem") + " " + PathOf("again");
        EXPECT_EQ(std::system(command.c_str()), 0); // the same armour, byte by byte
        EXPECT_EQ(json::parse(Good({"certificate", key, "--json"}))["pem"], ContentOf(PathOf("pem")));
    }
    EXPECT_THAT(Good({"certificate", "signature", "--text"}), HasSubstr("EC 256"));
    m_Deck.ReplaceObject(m_Card, "C.CH.SIG", {1, 2, 3});
    EXPECT_THAT(RunCli({"certificate", "signature"}).m_Error, HasSubstr("is none"));
    m_Deck.RemoveObject(m_Card, "C.CH.SIG");
    EXPECT_THAT(RunCli({"certificate", "signature"}).m_Error, HasSubstr("no such certificate"));
}
