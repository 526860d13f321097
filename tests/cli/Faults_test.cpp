// SPDX-License-Identifier: MIT
// Every command with every call that it makes going wrong in every way: nothing falls over, no session stays
// open, a command that says it is done has given what it gives without a fault, and one that is not says why.
#include <iostream>

#include "cli/Reason.h"
#include "tests/cli/CliTest.h"

using orseltest::CardCall;
using orseltest::CardFault;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

struct CommandCase {
    std::string m_Name;
    std::string m_Kind; ///< of the card
    std::vector<std::string> m_Line;
    std::string m_Pin;           ///< answer to each question
    bool m_MayBePartial = false; ///< shows what it can get, and marks what it cannot
    bool m_Writes = false;       ///< changes the card without a PIN
};

void PrintTo(const CommandCase& commandCase, std::ostream* out) {
    *out << commandCase.m_Name;
}

/// "FILE" stands for a file with a text, "OUT" for one to be written, "SIGNATURE" for a good signature of the
/// text, "LINK" and "CERTIFICATE" for what the card holds.
const std::vector<CommandCase>& Cases() {
    static const std::vector<CommandCase> cases = {
        {"List", "ecard-g3b", {"list"}, "", true},
        {"Show", "ecard-g3b", {"show"}, "", true},
        {"ShowOfAnAcosCard", "acos-a04", {"show", "--json"}, "", true},
        {"Certificate", "acos-a04", {"certificate", "signature"}, ""},
        {"CertificateToAFile", "acos-a04", {"certificate", "encryption", "--out", "OUT"}, ""},
        {"PinStates", "ecard-g3b", {"pin"}, "", true},
        {"PinChange", "ecard-g3b", {"pin", "change", "encryption"}, "1234"},
        {"PinUnblock", "acos-a04", {"pin", "unblock", "signature"}, "12345678"},
        {"Sign", "acos-a04", {"sign", "encryption", "FILE", "--out", "OUT"}, "1234"},
        {"SignRaw", "acos-a04", {"sign", "encryption", "FILE", "--hash", "raw", "--out", "OUT"}, "1234"},
        {"Verify", "acos-a04", {"verify", "encryption", "FILE", "--signature", "SIGNATURE"}, ""},
        {"VerifyOffline",
         "acos-a04",
         {"verify", "encryption", "FILE", "--signature", "SIGNATURE", "--offline"},
         ""},
        {"Infobox", "acos-a04", {"infobox"}, ""},
        {"InfoboxRead", "acos-a04", {"infobox", "read", "02", "--out", "OUT"}, ""},
        {"InfoboxProtect", "acos-a04", {"infobox", "protect", "0a"}, "", false, true},
        {"IdentityLink", "acos-a03", {"identity-link"}, ""},
        {"Insurance", "ecard-g3b", {"insurance"}, ""},
        {"UpdateIdentityLink", "acos-a03", {"update", "identity-link", "LINK", "--yes"}, "1234"},
        {"UpdateCertificate", "acos-a04", {"update", "certificate", "CERTIFICATE", "--yes"}, "", false, true},
        {"Apdu", "acos-a04", {"apdu", "80F6000008", "00A4000C023F00"}, ""},
        {"Doctor", "acos-a04", {"doctor"}, "", true},
    };
    return cases;
}

class AFaultyLibrary : public CliTest, public testing::WithParamInterface<CommandCase> {
protected:
    void SetUp() override {
        m_card = m_deck.add(GetParam().m_Kind, orseltest::CardOptions().serial("8004000011112222"));
        FileOf("FILE", "twenty characters...");
        const auto certificate = m_deck.objectContent(m_card, "C.CH.EKEY");
        FileOf("CERTIFICATE", {certificate.begin(), certificate.end()});
        if (GetParam().m_Kind == "acos-a03") {
            const auto link = m_deck.objectContent(m_card, "PERSONENBINDUNG");
            FileOf("LINK", {link.begin(), link.end()});
        }
        if (GetParam().m_Name.find("Verify") == 0) {
            m_deck.answerPins({"1234"});
            Good(Line({"sign", "encryption", "FILE", "--out", "SIGNATURE"}));
        }
        if (!GetParam().m_Pin.empty()) {
            m_deck.answerPins(std::vector<std::string>(4, GetParam().m_Pin));
        }
        m_pristine = m_deck.read(m_card);
    }

    std::vector<std::string> Line(const std::vector<std::string>& words) const {
        std::vector<std::string> line;
        for (const std::string& word : words) {
            const bool isFile = word == "FILE" || word == "OUT" || word == "SIGNATURE" || word == "LINK" ||
                                word == "CERTIFICATE";
            line.push_back(isFile ? PathOf(word) : word);
        }
        return line;
    }

    CliResult Run() {
        if (!GetParam().m_Pin.empty() || GetParam().m_Writes) {
            m_deck.change(m_card, [this](orselsim::Card& card) { card = m_pristine; });
        }
        std::remove(PathOf("OUT").c_str());
        m_deck.clearTrace();
        return RunCli(Line(GetParam().m_Line));
    }

    /// A temporary file has the name of the one to be written and more.
    void ExpectNoRemains() const {
        for (const std::string& name : Files()) {
            EXPECT_THAT(name, Not(testing::StartsWith("OUT.")));
        }
    }

    void ExpectAGoodEnd(const CardFault& fault) {
        m_deck.planFaults({fault.line()});
        const CliResult result = Run();
        ExpectNoSession();
        ExpectNoRemains();
        EXPECT_THAT(result.m_Code, testing::AnyOf(0, 1, 3, 4));
        if (result.m_Code == 0 && !GetParam().m_MayBePartial) {
            EXPECT_EQ(result.m_Out, m_good.m_Out);
            EXPECT_EQ(ContentOf(PathOf("OUT")), m_goodFile);
        }
        if (result.m_Code != 0) {
            EXPECT_THAT(result.m_Error,
                        testing::AnyOf(HasSubstr("orselcards-cli: "), HasSubstr("{\"error\":")));
            EXPECT_THAT(result.m_Error, Not(HasSubstr("cannot be used: Done.")));
            EXPECT_EQ(ContentOf(PathOf("OUT")), "");
        }
    }

    std::string m_card;
    orselsim::Card m_pristine;
    CliResult m_good;
    std::string m_goodFile;
};

} // namespace

TEST_P(AFaultyLibrary, LetsEveryCommandEndWell) {
    m_good = Run();
    m_goodFile = ContentOf(PathOf("OUT"));
    const bool mayRefuse = GetParam().m_Name == "PinChange" || GetParam().m_Name == "PinUnblock";
    if (!mayRefuse) {
        ASSERT_EQ(m_good.m_Code, 0) << m_good.m_Error;
    }
    const std::vector<CardCall> calls = orseltest::callsOfCommand(m_deck.trace(), 0);
    ASSERT_THAT(calls, Not(IsEmpty()));
    size_t cases = 0;
    for (const CardCall& call : calls) {
        for (const CardFault& fault : orseltest::faultsOf(call)) {
            SCOPED_TRACE(fault.line());
            ExpectAGoodEnd(fault);
            ++cases;
        }
    }
    std::cout << GetParam().m_Name << ": " << calls.size() << " calls, " << cases << " cases\n";
}

INSTANTIATE_TEST_SUITE_P(Under, AFaultyLibrary, testing::ValuesIn(Cases()),
                         [](const testing::TestParamInfo<CommandCase>& command) {
                             return command.param.m_Name;
                         });

namespace {

class ACardThatGoes : public CliTest {};

} // namespace

TEST_F(ACardThatGoes, InTheMiddleIsToldAsSuch) {
    m_deck.add("acos-a04");
    FileOf("text", "a text");
    m_deck.answerPins({"123456"});
    for (const char* function :
         {"C_OpenSession", "C_FindObjectsInit", "C_GetAttributeValue", "C_SignInit", "C_Sign"}) {
        m_deck.planFaults({std::string(function) + " rv=CKR_DEVICE_REMOVED"});
        const CliResult result =
            RunCli({"sign", "signature", PathOf("text"), "--hash", "sha256", "--out", PathOf("out")});
        EXPECT_EQ(result.m_Code, 1) << function;
        EXPECT_THAT(result.m_Error, HasSubstr("The card was taken out.")) << function;
        EXPECT_EQ(ContentOf(PathOf("out")), "");
        ExpectNoSession();
    }
}

TEST_F(ACardThatGoes, LeavesTheOthersInTheList) {
    m_deck.add("acos-a04", orseltest::CardOptions().serial("0512380917624502"));
    m_deck.add("ecard-g4", orseltest::CardOptions().serial("8004000445566778"));
    m_deck.planFaults({"C_OpenSession call=1 rv=CKR_DEVICE_REMOVED"});
    const CliResult result = RunCli({"list"});
    EXPECT_EQ(result.m_Code, 0);
    EXPECT_THAT(result.m_Out, testing::AllOf(HasSubstr("0512380917624502"), HasSubstr("8004000445566778")));
    EXPECT_THAT(result.m_Error, HasSubstr("@1: The card was taken out."));
}
