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
    int code;
    std::string out; ///< standard output and error
};

Outcome runCommand(const std::string& command) {
    // The tools are not instrumented: a sanitizer in the library has to be loaded before them.
    const std::string line =
        std::string("env " ORSELSIM_TOOL_ENVIRONMENT " " ORSELSIM_TOOLS) + command + " 2>&1 </dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(line.c_str(), "r"), [](FILE*) { return 0; });
    std::string out;
    std::array<char, 4096> block{};
    for (std::size_t count; (count = fread(block.data(), 1, block.size(), pipe.get())) > 0;)
        out.append(block.data(), count);
    const int status = pclose(pipe.get());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

Outcome pkcs11Tool(const std::string& arguments) {
    return runCommand("pkcs11-tool --module " ORSELSIM_LIBRARY " " + arguments);
}

Outcome p11tool(const std::string& arguments) {
    return runCommand("p11tool --provider=" ORSELSIM_LIBRARY " " + arguments);
}

} // namespace

class ThirdPartyTools : public testing::Test {
protected:
    ThirdPartyTools() {
        deck.add("ecard-g2", CardOptions().serial("8004000112233445").holder("Franziska Müßig"));
        deck.add("acos-a04", CardOptions().serial("0512380917624502").holder("Käthe Grünbichler"));
        deck.add("empty");
    }

    SimDeck deck;
};

TEST_F(ThirdPartyTools, ListTheSlots) {
    const Outcome slots = pkcs11Tool("-L");
    EXPECT_EQ(0, slots.code) << slots.out;
    EXPECT_THAT(slots.out, AllOf(HasSubstr("Slot 0 (0x1): Simulated reader of 01-ecard-g2"),
                                 HasSubstr("token label        : Orsel Carta e-Card\n"),
                                 HasSubstr("token model        : Starcos SPK 3.1\n"),
                                 HasSubstr("serial num         : 8004000112233445\n"),
                                 HasSubstr("Slot 2 (0x3): Simulated reader of 03-empty"),
                                 HasSubstr("serial num         : 0000000000000000\n")));
}

TEST_F(ThirdPartyTools, ListTheObjectsOfASlot) {
    const Outcome objects = pkcs11Tool("-O --slot 2");
    EXPECT_EQ(0, objects.code) << objects.out;
    for (const char* label : {"SK.CH.SIG", "PK.CH.SIG", "C.CH.SIG", "SK.CH.EKEY", "PK.CH.EKEY", "C.CH.EKEY"})
        EXPECT_THAT(objects.out, HasSubstr(std::string("label:      ") + label + "\n"));
    for (const char* label : {"INFOBOX", "0x01", "0x02", "0x0a"})
        EXPECT_THAT(objects.out, HasSubstr(std::string("label:          '") + label + "'\n"));
    EXPECT_THAT(objects.out,
                AllOf(HasSubstr("Public Key Object; RSA 1536 bits"), HasSubstr("EC_POINT 256 bits")));
}

TEST_F(ThirdPartyTools, ListTheMechanisms) {
    const Outcome mechanisms = pkcs11Tool("-M --slot 1");
    EXPECT_EQ(0, mechanisms.code) << mechanisms.out;
    for (const char* name :
         {"RSA-PKCS,", "SHA1-RSA-PKCS,", "RIPEMD160-RSA-PKCS,", "SHA256-RSA-PKCS,", "ECDSA,", "ECDSA-SHA1,"})
        EXPECT_THAT(mechanisms.out, HasSubstr(name));
}

TEST_F(ThirdPartyTools, ListTheTokens) {
    const Outcome tokens = p11tool("--list-tokens");
    EXPECT_EQ(0, tokens.code) << tokens.out;
    EXPECT_THAT(tokens.out,
                AllOf(HasSubstr("Label: Orsel Carta e-Card\n"), HasSubstr("Model: ACOS EMV-A04\n"),
                      HasSubstr("Serial: 0512380917624502\n")));
}

TEST_F(ThirdPartyTools, ListEverythingOnAToken) {
    const Outcome all = p11tool("--list-all 'pkcs11:serial=0512380917624502'");
    EXPECT_EQ(0, all.code) << all.out;
    EXPECT_THAT(all.out,
                AllOf(HasSubstr("object=SK.CH.SIG;type=private"), HasSubstr("Type: Public key (RSA-1536)"),
                      HasSubstr("Type: X.509 Certificate (EC/ECDSA-SECP256R1)"),
                      HasSubstr("object=0x0a;type=data")));
}

/// The two tools at work with a PIN: the library asks for it, since its readers have keypads.
class ThirdPartyToolsWithAPin : public ThirdPartyTools {
protected:
    ThirdPartyToolsWithAPin() : data(deck.folder() + "/data"), signature(deck.folder() + "/signature") {
        std::ofstream(data) << "12345678901234567890"; // as long as a SHA-1 hash
    }

    /// Signs with one tool and lets OpenSSL's part of it verify.
    void signAndVerify(int slot, const std::string& id, const std::string& mechanism) {
        const std::string where =
            "--slot " + std::to_string(slot) + " --id " + id + " -m " + mechanism + " -i " + data;
        const Outcome made = pkcs11Tool("--login --sign " + where + " -o " + signature);
        EXPECT_EQ(0, made.code) << made.out;
        const Outcome verified = pkcs11Tool("--verify " + where + " --signature-file " + signature);
        EXPECT_EQ(0, verified.code) << verified.out;
        EXPECT_THAT(verified.out, HasSubstr("Signature is valid"));
        std::ofstream(signature, std::ios::in | std::ios::out) << "spoilt";
        EXPECT_THAT(pkcs11Tool("--verify " + where + " --signature-file " + signature).out,
                    HasSubstr("Invalid signature"));
    }

    const std::string data;
    const std::string signature;
};

TEST_F(ThirdPartyToolsWithAPin, SignAndVerifyWithRsa) {
    deck.answerPins({"1234"});
    signAndVerify(2, "02", "RSA-PKCS");
    signAndVerify(2, "02", "SHA256-RSA-PKCS");
}

TEST_F(ThirdPartyToolsWithAPin, SignAndVerifyWithEc) {
    deck.answerPins({"1234", "123456"}); // the login, and then the PIN of the qualified signature
    signAndVerify(1, "01", "ECDSA");
    signAndVerify(2, "01", "ECDSA-SHA1");
}

TEST_F(ThirdPartyToolsWithAPin, FailToSignWithAWrongPin) {
    deck.answerPins({"4321"});
    const Outcome refused = pkcs11Tool("--slot 1 --login --sign --id 02 -m ECDSA -i " + data);
    EXPECT_NE(0, refused.code);
    EXPECT_THAT(refused.out, HasSubstr("CKR_PIN_INCORRECT"));
    EXPECT_EQ(2U, deck.triesLeft("01-ecard-g2", "encryption"));
}

TEST_F(ThirdPartyToolsWithAPin, ReadDataObjectsAndCertificates) {
    const std::string out = deck.folder() + "/object";
    EXPECT_EQ(0, pkcs11Tool("--slot 1 --read-object --type data --label RFU1 -o " + out).code);
    EXPECT_EQ(deck.objectContent("01-ecard-g2", "RFU1"), orselsim::readFile(out));
    EXPECT_EQ(0, pkcs11Tool("--slot 1 --read-object --type cert --id 02 -o " + out).code);
    EXPECT_EQ(deck.objectContent("01-ecard-g2", "C.CH.EKEY"), orselsim::readFile(out));
}

TEST_F(ThirdPartyToolsWithAPin, ExportACertificate) {
    const std::string object = "'pkcs11:serial=0512380917624502;object=C.CH.EKEY;type=cert'";
    const Outcome exported =
        p11tool("--export " + object + " --outder --outfile " + deck.folder() + "/object");
    EXPECT_EQ(0, exported.code) << exported.out;
    EXPECT_EQ(deck.objectContent("02-acos-a04", "C.CH.EKEY"), orselsim::readFile(deck.folder() + "/object"));
}
