// SPDX-License-Identifier: MIT
#include "tests/cli/CommandCases.h"

#include <algorithm>
#include <iterator>

using orseltest::CardOptions;

namespace {

constexpr const char* FILES[] = {"FILE", "OUT", "SIGNATURE", "LINK", "CERTIFICATE"};

std::string TextOf(const orselsim::Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

const std::vector<CommandCase>& AllCases() {
    static const std::vector<CommandCase> cases = {
        {"List", "ecard-g3b", {"list"}, {}, true},
        {"Show", "ecard-g3b", {"show"}, {}, true},
        {"ShowOfAnAcosCard", "acos-a04", {"show", "--json"}, {}, true},
        {"Certificate", "acos-a04", {"certificate", "signature"}},
        {"CertificateToAFile", "acos-a04", {"certificate", "encryption", "--out", "OUT"}},
        {"PinStates", "ecard-g3b", {"pin"}, {}, true},
        {"PinChange", "ecard-g3b", {"pin", "change", "encryption"}, {"1234", "4321", "4321"}, false, true},
        {"PinUnblock",
         "acos-a04",
         {"pin", "unblock", "signature"},
         {"12345678", "654321", "654321"},
         false,
         true},
        {"Sign", "acos-a04", {"sign", "encryption", "FILE", "--out", "OUT"}, {"1234"}},
        {"SignRaw", "acos-a04", {"sign", "encryption", "FILE", "--hash", "raw", "--base64"}, {"1234"}},
        {"Verify", "acos-a04", {"verify", "encryption", "FILE", "--signature", "SIGNATURE"}},
        {"VerifyOffline",
         "acos-a04",
         {"verify", "encryption", "FILE", "--signature", "SIGNATURE", "--offline"}},
        {"Infobox", "acos-a04", {"infobox"}},
        {"InfoboxRead", "acos-a04", {"infobox", "read", "02", "--out", "OUT"}},
        {"InfoboxProtect", "acos-a04", {"infobox", "protect", "0a"}, {}, false, true},
        {"InfoboxUnprotect", "acos-a04", {"infobox", "unprotect", "02"}, {}, false, true},
        {"IdentityLink", "acos-a03", {"identity-link"}},
        {"IdentityLinkToAFile", "acos-a03", {"identity-link", "--raw", "--out", "OUT"}},
        {"Insurance", "ecard-g3b", {"insurance"}},
        {"UpdateIdentityLink",
         "acos-a03",
         {"update", "identity-link", "LINK", "--yes"},
         {"1234"},
         false,
         true},
        {"UpdateCertificate", "acos-a04", {"update", "certificate", "CERTIFICATE", "--yes"}, {}, false, true},
        {"Apdu", "acos-a04", {"apdu", "80F6000008", "00A4000C023F00"}},
        {"Doctor", "acos-a04", {"doctor"}, {}, true},
    };
    return cases;
}

} // namespace

std::vector<CommandCase> CommandCasesWithout(const std::vector<std::string>& names) {
    std::vector<CommandCase> cases;
    std::copy_if(AllCases().begin(), AllCases().end(), std::back_inserter(cases),
                 [&names](const CommandCase& candidate) {
                     return std::find(names.begin(), names.end(), candidate.m_Name) == names.end();
                 });
    return cases;
}

void PrintTo(const CommandCase& commandCase, std::ostream* out) {
    *out << commandCase.m_Name;
}

std::string NameOfCase(const testing::TestParamInfo<CommandCase>& command) {
    return command.param.m_Name;
}

void ACommand::SetUp() {
    MakeFiles();
    for (const std::string& word : GetParam().m_Line) {
        const bool isFile = std::find(std::begin(FILES), std::end(FILES), word) != std::end(FILES);
        m_Line.push_back(isFile ? PathOf(word) : word);
    }
    m_Pristine = m_Deck.Read(m_Card);
    m_PristineState = StateOf(m_Pristine);
}

void ACommand::MakeFiles() {
    const std::string& kind = GetParam().m_Kind;
    FileOf("FILE", "twenty characters...");
    if (GetParam().m_Name == "UpdateIdentityLink") {
        const std::string other = m_Deck.Add(kind, CardOptions().Holder("Otto Anders"));
        FileOf("LINK", TextOf(m_Deck.ObjectContent(other, "PERSONENBINDUNG")));
        m_Deck.Remove(other);
    }
    m_Card = m_Deck.Add(kind, CardOptions().Serial("8004000011112222"));
    orselsim::Bytes certificate = m_Deck.ObjectContent(m_Card, "C.CH.EKEY");
    certificate.back() ^= 1; // of the issuer's signature: another certificate for the same key
    FileOf("CERTIFICATE", TextOf(certificate));
    if (GetParam().m_Name.find("Verify") == 0) {
        m_Deck.AnswerPins({"1234"});
        Good({"sign", "encryption", PathOf("FILE"), "--out", PathOf("SIGNATURE")});
    }
    m_Deck.AnswerPins(GetParam().m_Answers);
}

CliResult ACommand::Run(int out) {
    if (GetParam().m_Changes) {
        m_Deck.Change(m_Card, [this](orselsim::Card& card) { card = m_Pristine; });
    }
    m_Deck.ClearTrace();
    return out >= 0 ? RunCliInto(out, m_Line) : RunCli(m_Line);
}

std::string ACommand::StateOf(const orselsim::Card& card) {
    std::string state = TextOf(orselsim::PrintCardRecord(card.m_Record));
    for (const auto& [file, content] : card.m_Contents) {
        state += "\n" + file + "\n" + TextOf(content);
    }
    return state;
}

void ACommand::ExpectNoRemains() const {
    for (const std::string& name : Files()) {
        EXPECT_THAT(name, testing::Not(testing::StartsWith("OUT.")));
    }
}
