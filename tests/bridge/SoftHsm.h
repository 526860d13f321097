// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_BRIDGE_SOFTHSM_H
#define ORSEL_TESTS_BRIDGE_SOFTHSM_H

#include <string>

#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

namespace orseltest {

/// What keys there are and what makes them.
struct KeyOptions {
    std::string m_Type = "rsa:2048"; ///< as pkcs11-tool has it; "EC:secp384r1" for a curve
    std::string m_Id = "01";         ///< two digits
    std::string m_Label = "key";
    std::string m_Holder = "Maria Muster"; ///< of the certificate; empty: there is none
    bool m_IsForNonRepudiation = false;
    bool m_IsMadeByP11tool = false;
    bool m_AsksAtEachUse = false; ///< made by pkcs11-tool, and without a certificate
};

/// Tokens of SoftHSM 2 in a folder of the test's own, made by programs that others wrote. The
/// bridge leads to them as long as the object lives, and answers for PINs come from a file.
class SoftHsm {
public:
    static constexpr const char* PIN = "1234";
    static constexpr const char* OFFICER_PIN = "12345678";

    /// Throws std::runtime_error when SoftHSM is not installed.
    SoftHsm();

    void AddToken(const std::string& label);
    void AddKey(const std::string& token, const KeyOptions& options = {});
    void RemoveToken(const std::string& label);

    /// The token that most tests use, made once in a process: "Maria Muster" with an RSA key of the
    /// id 01, made by pkcs11-tool, and one on P-256 of the id 02 for signatures that bind, made by
    /// p11tool, each with a certificate.
    void AddUsualToken();

    /// Answers to questions for PINs, one a line.
    void Answer(const std::string& answers);
    /// The user's settings.
    void Set(const std::string& json);

    std::string TraceFile() const { return m_Folder.Path("trace"); }
    const std::string& Folder() const { return m_Folder.Path(); }
    static std::string ModuleFile();

private:
    void AddCertificate(const std::string& token, const KeyOptions& options);
    void Run(const std::string& command) const;

    TempDir m_Folder;
    ScopedVariable m_Configuration;
    ScopedVariable m_Module;
    ScopedVariable m_PinScript;
    ScopedVariable m_Trace;
    ScopedVariable m_Settings;
};

} // namespace orseltest

#endif
