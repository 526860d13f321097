// SPDX-License-Identifier: MIT
#include "tests/bridge/SoftHsm.h"

#include <array>
#include <filesystem>
#include <stdexcept>

#include "tests/support/CommandOutput.h"

namespace orseltest {

namespace fs = std::filesystem;

namespace {

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

/// As it stands in a PKCS#11 URI (RFC 7512).
std::string InUri(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == ' ' ? "%20" : std::string(1, c);
    }
    return result;
}

} // namespace

std::string SoftHsm::ModuleFile() {
    for (const char* folder :
         {"/usr/lib/softhsm", "/usr/lib/x86_64-linux-gnu/softhsm", "/usr/lib/arm-linux-gnueabihf/softhsm",
          "/usr/lib/aarch64-linux-gnu/softhsm", "/usr/lib64/pkcs11"}) {
        const std::string file = std::string(folder) + "/libsofthsm2.so";
        if (fs::exists(file)) {
            return file;
        }
    }
    throw std::runtime_error("there is no SoftHSM 2 on this machine");
}

SoftHsm::SoftHsm()
    : m_Configuration("SOFTHSM2_CONF", m_Folder.Path("softhsm2.conf").c_str()),
      m_Module("ORSELBRIDGE_MODULE", ModuleFile().c_str()),
      m_PinScript("ORSELBRIDGE_PIN_SCRIPT", m_Folder.Path("answers").c_str()),
      m_Trace("ORSELBRIDGE_TRACE", m_Folder.Path("trace").c_str()),
      m_Settings("XDG_CONFIG_HOME", m_Folder.Path().c_str()) {
    fs::create_directory(m_Folder.Path("tokens"));
    m_Folder.File("softhsm2.conf",
                  "directories.tokendir = " + m_Folder.Path("tokens") +
                      "\nobjectstore.backend = file\nlog.level = ERROR\nslots.removable = false\n");
    Answer("");
}

void SoftHsm::AddToken(const std::string& label) {
    Run("softhsm2-util --init-token --free --label " + Quoted(label) + " --pin " + PIN + " --so-pin " +
        OFFICER_PIN);
}

void SoftHsm::AddUsualToken() {
    static const TempDir kept;
    static const bool isMade = [] {
        SoftHsm maker;
        maker.AddToken("Maria Muster");
        KeyOptions first;
        first.m_Label = "auth";
        maker.AddKey("Maria Muster", first);
        KeyOptions second;
        second.m_Type = "EC:secp256r1";
        second.m_Id = "02";
        second.m_Label = "sign";
        second.m_IsForNonRepudiation = true;
        second.m_IsMadeByP11tool = true;
        maker.AddKey("Maria Muster", second);
        fs::copy(maker.m_Folder.Path("tokens"), kept.Path(), fs::copy_options::recursive);
        return true;
    }();
    if (isMade) {
        fs::copy(kept.Path(), m_Folder.Path("tokens"), fs::copy_options::recursive);
    }
}

void SoftHsm::RemoveToken(const std::string& label) {
    Run("softhsm2-util --delete-token --token " + Quoted(label));
}

void SoftHsm::AddKey(const std::string& token, const KeyOptions& options) {
    if (options.m_IsMadeByP11tool) {
        const bool isCurve = options.m_Type.compare(0, 3, "EC:") == 0;
        const std::string kind =
            isCurve ? "ecdsa --curve=" + options.m_Type.substr(3) : "rsa --bits=" + options.m_Type.substr(4);
        Run("p11tool --provider=" + ModuleFile() + " --login --set-pin=" + PIN +
            " --generate-privkey=" + kind + " --id=" + options.m_Id + " --label=" + Quoted(options.m_Label) +
            " --outfile=/dev/null " + Quoted("pkcs11:token=" + InUri(token)));
    } else {
        Run("pkcs11-tool --module " + ModuleFile() + " --token-label " + Quoted(token) + " --login --pin " +
            PIN + " --keypairgen --key-type " + options.m_Type +
            (options.m_AsksAtEachUse ? " --always-auth" : "") + " --id " + options.m_Id + " --label " +
            Quoted(options.m_Label));
    }
    if (!options.m_Holder.empty()) {
        AddCertificate(token, options);
    }
}

void SoftHsm::AddCertificate(const std::string& token, const KeyOptions& options) {
    const std::string uri = "pkcs11:token=" + InUri(token) + ";id=%" + options.m_Id + ";type=";
    const std::string wish =
        m_Folder.File("template", "cn = \"" + options.m_Holder + "\"\nserial = 0" + options.m_Id +
                                      "\nexpiration_days = 3650\nsigning_key\n" +
                                      (options.m_IsForNonRepudiation ? "non_repudiation\n" : ""));
    const std::string file = m_Folder.Path("certificate.der");
    Run(std::string("GNUTLS_PIN=") + PIN + " certtool --provider=" + ModuleFile() +
        " --generate-self-signed --hash=SHA256 --outder --load-privkey " + Quoted(uri + "private") +
        " --load-pubkey " + Quoted(uri + "public") + " --template " + wish + " --outfile " + file);
    Run("pkcs11-tool --module " + ModuleFile() + " --token-label " + Quoted(token) + " --login --pin " + PIN +
        " --write-object " + file + " --type cert --id " + options.m_Id + " --label " +
        Quoted(options.m_Label));
}

void SoftHsm::Answer(const std::string& answers) {
    m_Folder.File("answers", answers);
}

void SoftHsm::Set(const std::string& json) {
    fs::create_directory(m_Folder.Path("orselcards"));
    m_Folder.File("orselcards/bridge.json", json);
}

void SoftHsm::Run(const std::string& command) const {
    const std::string output = OutputOf("{ " + command + "; } 2>&1 </dev/null && echo DONE");
    if (output.size() < 5 || output.compare(output.size() - 5, 5, "DONE\n") != 0) {
        throw std::runtime_error(command + ":\n" + output);
    }
}

} // namespace orseltest
