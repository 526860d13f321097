// SPDX-License-Identifier: MIT
// The token library in the hands of programs that know nothing of it but the standard.
#include <array>
#include <cstdio>
#include <fstream>
#include <memory>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "simulator/store/Files.h"
#include "tests/support/SimDeck.h"

using orseltest::CardOptions;
using orseltest::SimDeck;
using testing::AllOf;
using testing::HasSubstr;

namespace {

struct Outcome {
    int m_Code;
    std::string m_Out; ///< standard output and error
};

Outcome RunCommand(const std::string& command) {
    // The tools are not instrumented: a sanitizer in the library has to be loaded before them.
    const std::string line =
        std::string("env " ORSELSIM_TOOL_ENVIRONMENT " " ORSELSIM_TOOLS) + command + " 2>&1 </dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(line.c_str(), "r"), [](FILE*) { return 0; });
    std::string out;
    std::array<char, 4096> block{};
    for (std::size_t count; (count = fread(block.data(), 1, block.size(), pipe.get())) > 0;) {
        out.append(block.data(), count);
    }
    const int status = pclose(pipe.get());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

Outcome Pkcs11Tool(const std::string& arguments) {
    return RunCommand("pkcs11-tool --module " ORSELSIM_LIBRARY " " + arguments);
}

Outcome P11tool(const std::string& arguments) {
    return RunCommand("p11tool --provider=" ORSELSIM_LIBRARY " " + arguments);
}

} // namespace

class ThirdPartyTools : public testing::Test {
protected:
    ThirdPartyTools() {
        m_Deck.Add("ecard-g2", CardOptions().Serial("8004000112233445").Holder("Franziska Müßig"));
        m_Deck.Add("acos-a04", CardOptions().Serial("0512380917624502").Holder("Käthe Grünbichler"));
        m_Deck.Add("empty");
    }

    SimDeck m_Deck;
};

TEST_F(ThirdPartyTools, ListTheSlots) {
    const Outcome slots = Pkcs11Tool("-L");
    EXPECT_EQ(0, slots.m_Code) << slots.m_Out;
    EXPECT_THAT(slots.m_Out, AllOf(HasSubstr("Slot 0 (0x1): Simulated reader of 01-ecard-g2"),
                                   HasSubstr("token label        : Orsel Carta e-Card\n"),
                                   HasSubstr("token model        : Starcos SPK 3.1\n"),
                                   HasSubstr("serial num         : 8004000112233445\n"),
                                   HasSubstr("Slot 2 (0x3): Simulated reader of 03-empty"),
                                   HasSubstr("serial num         : 0000000000000000\n")));
}

TEST_F(ThirdPartyTools, ListTheObjectsOfASlot) {
    const Outcome objects = Pkcs11Tool("-O --slot 2");
    EXPECT_EQ(0, objects.m_Code) << objects.m_Out;
    for (const char* label :
         {"SK.CH.SIG", "PK.CH.SIG", "C.CH.SIG", "SK.CH.EKEY", "PK.CH.EKEY", "C.CH.EKEY"}) {
        EXPECT_THAT(objects.m_Out, HasSubstr(std::string("label:      ") + label + "\n"));
    }
    for (const char* label : {"INFOBOX", "0x01", "0x02", "0x0a"}) {
        EXPECT_THAT(objects.m_Out, HasSubstr(std::string("label:          '") + label + "'\n"));
    }
    EXPECT_THAT(objects.m_Out,
                AllOf(HasSubstr("Public Key Object; RSA 1536 bits"), HasSubstr("EC_POINT 256 bits")));
}

TEST_F(ThirdPartyTools, ListTheMechanisms) {
    const Outcome mechanisms = Pkcs11Tool("-M --slot 1");
    EXPECT_EQ(0, mechanisms.m_Code) << mechanisms.m_Out;
    for (const char* name : {"RSA-PKCS,", "SHA1-RSA-PKCS,", "RIPEMD160-RSA-PKCS,", "SHA256-RSA-PKCS,",
                             "ECDSA,", "ECDSA-SHA1,"}) {
        EXPECT_THAT(mechanisms.m_Out, HasSubstr(name));
    }
}

TEST_F(ThirdPartyTools, ListTheTokens) {
    const Outcome tokens = P11tool("--list-tokens");
    EXPECT_EQ(0, tokens.m_Code) << tokens.m_Out;
    EXPECT_THAT(tokens.m_Out,
                AllOf(HasSubstr("Label: Orsel Carta e-Card\n"), HasSubstr("Model: ACOS EMV-A04\n"),
                      HasSubstr("Serial: 0512380917624502\n")));
}

TEST_F(ThirdPartyTools, ListEverythingOnAToken) {
    const Outcome all = P11tool("--list-all 'pkcs11:serial=0512380917624502'");
    EXPECT_EQ(0, all.m_Code) << all.m_Out;
    EXPECT_THAT(all.m_Out,
                AllOf(HasSubstr("object=SK.CH.SIG;type=private"), HasSubstr("Type: Public key (RSA-1536)"),
                      HasSubstr("Type: X.509 Certificate (EC/ECDSA-SECP256R1)"),
                      HasSubstr("object=0x0a;type=data")));
}

/// The two tools at work with a PIN: the library asks for it, since its readers have keypads.
class ThirdPartyToolsWithAPin : public ThirdPartyTools {
protected:
    ThirdPartyToolsWithAPin()
        : m_Data(m_Deck.Folder() + "/data"), m_Signature(m_Deck.Folder() + "/signature") {
        std::ofstream(m_Data) << "12345678901234567890"; // as long as a SHA-1 hash
    }

    /// Signs with one tool and lets OpenSSL's part of it verify.
    void SignAndVerify(int slot, const std::string& id, const std::string& mechanism) {
        const std::string where =
            "--slot " + std::to_string(slot) + " --id " + id + " -m " + mechanism + " -i " + m_Data;
        const Outcome made = Pkcs11Tool("--login --sign " + where + " -o " + m_Signature);
        EXPECT_EQ(0, made.m_Code) << made.m_Out;
        const Outcome verified = Pkcs11Tool("--verify " + where + " --signature-file " + m_Signature);
        EXPECT_EQ(0, verified.m_Code) << verified.m_Out;
        EXPECT_THAT(verified.m_Out, HasSubstr("Signature is valid"));
        std::ofstream(m_Signature, std::ios::in | std::ios::out) << "spoilt";
        EXPECT_THAT(Pkcs11Tool("--verify " + where + " --signature-file " + m_Signature).m_Out,
                    HasSubstr("Invalid signature"));
    }

    const std::string m_Data;
    const std::string m_Signature;
};

TEST_F(ThirdPartyToolsWithAPin, SignAndVerifyWithRsa) {
    m_Deck.AnswerPins({"1234"});
    SignAndVerify(2, "02", "RSA-PKCS");
    SignAndVerify(2, "02", "SHA256-RSA-PKCS");
}

TEST_F(ThirdPartyToolsWithAPin, SignAndVerifyWithEc) {
    m_Deck.AnswerPins({"1234", "123456"}); // the login, and then the PIN of the qualified signature
    SignAndVerify(1, "01", "ECDSA");
    SignAndVerify(2, "01", "ECDSA-SHA1");
}

TEST_F(ThirdPartyToolsWithAPin, FailToSignWithAWrongPin) {
    m_Deck.AnswerPins({"4321"});
    const Outcome refused = Pkcs11Tool("--slot 1 --login --sign --id 02 -m ECDSA -i " + m_Data);
    EXPECT_NE(0, refused.m_Code);
    EXPECT_THAT(refused.m_Out, HasSubstr("CKR_PIN_INCORRECT"));
    EXPECT_EQ(2U, m_Deck.TriesLeft("01-ecard-g2", "encryption"));
}

TEST_F(ThirdPartyToolsWithAPin, ReadDataObjectsAndCertificates) {
    const std::string out = m_Deck.Folder() + "/object";
    EXPECT_EQ(0, Pkcs11Tool("--slot 1 --read-object --type data --label RFU1 -o " + out).m_Code);
    EXPECT_EQ(m_Deck.ObjectContent("01-ecard-g2", "RFU1"), orselsim::ReadFile(out));
    EXPECT_EQ(0, Pkcs11Tool("--slot 1 --read-object --type cert --id 02 -o " + out).m_Code);
    EXPECT_EQ(m_Deck.ObjectContent("01-ecard-g2", "C.CH.EKEY"), orselsim::ReadFile(out));
}

TEST_F(ThirdPartyToolsWithAPin, ExportACertificate) {
    const std::string object = "'pkcs11:serial=0512380917624502;object=C.CH.EKEY;type=cert'";
    const Outcome exported =
        P11tool("--export " + object + " --outder --outfile " + m_Deck.Folder() + "/object");
    EXPECT_EQ(0, exported.m_Code) << exported.m_Out;
    EXPECT_EQ(m_Deck.ObjectContent("02-acos-a04", "C.CH.EKEY"),
              orselsim::ReadFile(m_Deck.Folder() + "/object"));
}
