// SPDX-License-Identifier: MIT
// The token library in the hands of programs that know nothing of it but the standard.
#include <array>
#include <cstdio>
#include <memory>

#include <gmock/gmock.h>
#include <sys/wait.h>

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
        std::string("env ") + ORSELSIM_TOOL_ENVIRONMENT + " " + command + " 2>&1 </dev/null";
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
