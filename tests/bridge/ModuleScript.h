// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_BRIDGE_MODULESCRIPT_H
#define ORSEL_TESTS_BRIDGE_MODULESCRIPT_H

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tokenlib/AttributeValues.h"

namespace orseltest {

/// What the scripted module answers, and what it has heard. One for each process; the module's slots are the
/// keys of its tokens.
struct ModuleScript {
    struct Token {
        std::string m_Label = "Script";
        std::string m_Serial = "0123456789ABCDEF";
        std::string m_Model = "Model";
        CK_FLAGS m_Flags = CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED;
        CK_ULONG m_ShortestPin = 4;
        CK_ULONG m_LongestPin = 8;
    };

    static constexpr CK_SLOT_ID SLOT = 5;
    static constexpr CK_SESSION_HANDLE FIRST_SESSION = 101; ///< of the module's own, which count from here

    std::map<CK_SLOT_ID, Token> m_Tokens = {{SLOT, Token()}};
    std::map<CK_OBJECT_HANDLE, tokenlib::AttributeMap> m_Objects;
    std::map<std::string, std::vector<CK_RV>>
        m_Codes;                               ///< by function, for its next calls in turn; then CKR_OK
    std::set<std::string> m_Missing;           ///< functions that the list lacks, while it is asked for
    std::map<std::string, CK_ULONG> m_Lengths; ///< by function: what it writes into its last argument
    std::function<void(const std::string&)> m_Before; ///< told of each function before it answers
    CK_FLAGS m_MechanismFlags = CKF_SIGN;
    std::string m_Signature = "signature";

    std::vector<std::string> m_Heard; ///< "C_Login 101 1 1234": the function and its arguments
    bool m_IsLoggedIn = false;
    CK_SESSION_HANDLE m_LastSession = FIRST_SESSION - 1;
    std::vector<CK_OBJECT_HANDLE> m_Found; ///< not handed out yet
};

/// The script of the module, exported under this name.
using ScriptGetter = ModuleScript* (*)();
constexpr const char* SCRIPT_GETTER = "ScriptOfTheModule";

} // namespace orseltest

#endif
