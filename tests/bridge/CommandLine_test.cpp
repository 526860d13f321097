// SPDX-License-Identifier: MIT
// The project's own command line, on the bridge.
#include <gmock/gmock.h>

#include "tests/bridge/SoftHsm.h"
#include "tests/support/CommandOutput.h"
#include "tests/support/ScopedVariable.h"

using orseltest::SoftHsm;
using testing::HasSubstr;
using testing::Not;

class TheCommandLineOnTheBridge : public testing::Test {
protected:
    TheCommandLineOnTheBridge() { m_Hsm.AddUsualToken(); }

    /// On the bridge, which the loader finds by its bare name.
    static std::string Cli(const std::string& arguments) {
        return OutputOf("LC_ALL=C.UTF-8 " ORSEL_BRIDGE_PROGRAM " -- " + arguments +
                        " 2>&1 </dev/null; echo \"=> $?\"");
    }

    SoftHsm m_Hsm;
};

TEST_F(TheCommandLineOnTheBridge, ListsACardWithItsHolder) {
    EXPECT_THAT(Cli("list"), HasSubstr("Maria Muster  Maria Muster  Maria Muster"));
}

TEST_F(TheCommandLineOnTheBridge, SignsAndVerifiesAFile) {
    const std::string data = m_Hsm.Folder() + "/data";
    const std::string signature = m_Hsm.Folder() + "/signature";
    EXPECT_EQ("", OutputOf("echo hello >" + data));
    for (const std::string key : {"signature", "encryption"}) {
        m_Hsm.Answer("1234\n");
        const std::string card = "@1 " + key + " " + data + " --hash sha256";
        const std::string verify = "verify " + card + " --signature " + signature;
        EXPECT_EQ("=> 0\n", Cli("sign " + card + " --out " + signature));
        EXPECT_THAT(Cli(verify), HasSubstr("=> 0\n"));
        EXPECT_EQ("", OutputOf("echo more >>" + data));
        EXPECT_THAT(Cli(verify), Not(HasSubstr("=> 0\n")));
    }
}

TEST_F(TheCommandLineOnTheBridge, ChangesAPin) {
    m_Hsm.Answer("1234\n56789\n56789\n");
    EXPECT_THAT(Cli("pin @1 change signature"), HasSubstr("=> 0\n"));
    m_Hsm.Answer("1234\n");
    EXPECT_THAT(Cli("pin @1 change signature"), HasSubstr("=> 1\n"));
}

TEST_F(TheCommandLineOnTheBridge, FindsTheTokensOfP11KitsProxy) {
    const std::string config = m_Hsm.Folder() + "/home/.config/pkcs11/modules";
    EXPECT_EQ("", OutputOf("mkdir -p " + config + " && echo 'module: " + SoftHsm::ModuleFile() + "' >" +
                           config + "/softhsm.module"));
    const ScopedVariable home("HOME", m_Hsm.Folder() + "/home");
    const ScopedVariable noModule("ORSELBRIDGE_MODULE", nullptr);
    const ScopedVariable ownConfig("XDG_CONFIG_HOME", m_Hsm.Folder() + "/home/.config");
    EXPECT_THAT(Cli("list"), HasSubstr("Maria Muster  Maria Muster  Maria Muster"));
    EXPECT_THAT(Cli("list"), Not(HasSubstr("Trust")));
    const std::string list = OutputOf("LC_ALL=C.UTF-8 " ORSEL_BRIDGE_PROGRAM " --list 2>&1");
    EXPECT_THAT(list, HasSubstr("Library: p11-kit-proxy.so\n"));
}
