// SPDX-License-Identifier: MIT
// Programs that know nothing of the bridge but the standard, on the bare module and through the bridge; and
// the bridge's own launcher.
#include <regex>

#include <gmock/gmock.h>

#include "tests/bridge/SoftHsm.h"
#include "tests/support/CommandOutput.h"

using orseltest::SoftHsm;
using testing::HasSubstr;

namespace {

std::string OutputOfTool(const std::string& command) {
    return OutputOf("env " ORSELSIM_TOOL_ENVIRONMENT " " + command +
                    " 2>&1 >/dev/null </dev/null | sort; env " ORSELSIM_TOOL_ENVIRONMENT " " + command +
                    " 2>/dev/null </dev/null; echo \"=> $?\"");
}

/// Labels are the roles' and numbers of the moment differ; all the rest is to be the same.
std::string WithoutOwnWords(const std::string& output) {
    const std::pair<const char*, const char*> changes[] = {
        {"C\\.CH\\.SIG|SK\\.CH\\.SIG|PK\\.CH\\.SIG", "sign"},
        {"C\\.CH\\.EKEY|SK\\.CH\\.EKEY|PK\\.CH\\.EKEY", "auth"},
        {"--provider=[^ ]*", ""},
        {"source_ptr=0x[0-9a-f]+", "source_ptr="}, // where a newer tool keeps a label
    };
    std::string result = output;
    for (const auto& [from, to] : changes) {
        result = std::regex_replace(result, std::regex(from), to);
    }
    return result;
}

} // namespace

class ToolsThroughTheBridge : public testing::Test {
protected:
    ToolsThroughTheBridge() { m_Hsm.AddUsualToken(); }

    static std::string Pkcs11Tool(const std::string& module, const std::string& arguments) {
        return OutputOfTool("pkcs11-tool --module " + module + " " + arguments);
    }
    static void ExpectSame(const std::string& arguments) {
        const std::string bare = Pkcs11Tool(SoftHsm::ModuleFile(), arguments);
        EXPECT_THAT(bare, HasSubstr("=> "));
        EXPECT_EQ(WithoutOwnWords(bare), WithoutOwnWords(Pkcs11Tool(ORSELSIM_LIBRARY, arguments)));
    }

    SoftHsm m_Hsm;
};

TEST_F(ToolsThroughTheBridge, TestTheTokenWithTheSameResults) {
    ExpectSame("--token-label 'Maria Muster' --login --pin 1234 --test");
}

TEST_F(ToolsThroughTheBridge, ReadTheSameCertificates) {
    for (const char* id : {"01", "02"}) {
        ExpectSame(std::string("--token-label 'Maria Muster' --read-object --type cert --id ") + id);
    }
}

TEST_F(ToolsThroughTheBridge, ListTheSameMechanisms) {
    ExpectSame("--token-label 'Maria Muster' --list-mechanisms");
}

TEST_F(ToolsThroughTheBridge, ListTheSameCertificatesOfAUri) {
    const std::string arguments = " --list-all-certs 'pkcs11:token=Maria%20Muster'";
    const std::string bare = OutputOfTool("p11tool --provider=" + SoftHsm::ModuleFile() + arguments);
    EXPECT_THAT(bare, HasSubstr("X.509 Certificate"));
    EXPECT_EQ(bare, WithoutOwnWords(OutputOfTool("p11tool --provider=" ORSELSIM_LIBRARY + arguments)));
}

TEST_F(ToolsThroughTheBridge, TestASignatureOfEachKey) {
    for (const char* id : {"01", "02"}) {
        const std::string uri = std::string("pkcs11:token=Maria%20Muster;id=%") + id + ";type=private";
        EXPECT_THAT(OutputOfTool("p11tool --provider=" ORSELSIM_LIBRARY
                                 " --login --set-pin=1234 --test-sign '" +
                                 uri + "'"),
                    HasSubstr("=> 0\n"));
    }
}

class TheLauncherOfTheBridge : public ToolsThroughTheBridge {};

TEST_F(TheLauncherOfTheBridge, TellsWhichKeyPlaysWhichRole) {
    const std::string list = OutputOf("LC_ALL=C.UTF-8 " ORSEL_BRIDGE_PROGRAM " --list 2>&1");
    EXPECT_THAT(list,
                HasSubstr("    signature   \"sign\" (id 02): its certificate is for non-repudiation\n"));
    EXPECT_THAT(list, HasSubstr("    encryption  \"auth\" (id 01): the first key that may sign beside"));
    EXPECT_THAT(OutputOf("LC_ALL=de_DE.UTF-8 " ORSEL_BRIDGE_PROGRAM " --list 2>&1"),
                HasSubstr("Nichtabstreitbarkeit"));
}

TEST_F(TheLauncherOfTheBridge, RefusesWhatMakesNoSense) {
    EXPECT_THAT(OutputOf(ORSEL_BRIDGE_PROGRAM " --lost 2>&1; echo \"=> $?\""), HasSubstr("=> 2\n"));
    EXPECT_THAT(OutputOf(ORSEL_BRIDGE_PROGRAM " --module /no/such.so --list 2>&1; echo \"=> $?\""),
                HasSubstr("OrselP11: no module: /no/such.so"));
}
