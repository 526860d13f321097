// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_BRIDGE_SCRIPTTEST_H
#define ORSEL_TESTS_BRIDGE_SCRIPTTEST_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/bridge/ModuleScript.h"
#include "tests/simulator/token/TokenLibrary.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

namespace orseltest {

/// The bridge to a module whose every answer the test writes, with no settings and a file of answers for
/// PINs.
class ScriptTest : public testing::Test {
protected:
    ScriptTest();
    ~ScriptTest() override;

    /// Loads the bridge and opens a session; what was heard until then is forgotten.
    void Start();

    void Answer(const std::string& answers) { m_Folder.File("answers", answers); }
    void Set(const std::string& json);

    /// Adds an object of this class to the module's; a private key is hidden until somebody logs in.
    void Add(CK_OBJECT_HANDLE handle, CK_OBJECT_CLASS objectClass, const std::string& label,
             tokenlib::AttributeMap others = {});
    /// A key pair of this id: private key, public key 100 behind it.
    void AddPair(CK_OBJECT_HANDLE handle, unsigned char id, const std::string& label);

    /// The calls of one function that the module has heard.
    std::vector<std::string> HeardOf(const std::string& function) const;

    CK_FUNCTION_LIST& Call() const { return *m_Bridge->operator->(); }

    /// Writes command attributes on an object, each with this flag.
    Rv Command(CK_OBJECT_HANDLE object, const std::vector<CK_ATTRIBUTE_TYPE>& types, bool flag = false) const;

private:
    struct Closer {
        void operator()(void* library) const;
    };
    std::unique_ptr<void, Closer> m_Library;

protected:
    ModuleScript& m_Script;
    const TempDir m_Folder;

private:
    const ScopedVariable m_Module{"ORSELBRIDGE_MODULE", ORSEL_SCRIPTED_MODULE};
    const ScopedVariable m_Settings{"XDG_CONFIG_HOME", m_Folder.Path()};
    const ScopedVariable m_PinScript{"ORSELBRIDGE_PIN_SCRIPT", m_Folder.Path("answers")};
    const ScopedVariable m_NoService{"PCSCLITE_CSOCK_NAME", "/no/such/socket"};

protected:
    std::optional<TokenLibrary> m_Bridge;
    CK_SESSION_HANDLE m_Session = 0;
};

} // namespace orseltest

#endif
