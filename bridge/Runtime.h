// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_RUNTIME_H
#define ORSEL_BRIDGE_RUNTIME_H

#include <map>
#include <string>
#include <vector>

#include "bridge/Module.h"
#include "bridge/Session.h"
#include "bridge/Settings.h"
#include "bridge/ShownObjects.h"
#include "tokenlib/Runtime.h"

namespace orselbridge {

/// Everything between C_Initialize and C_Finalize. Its lock is held during each call of the module,
/// so that a login for one signature is nobody else's.
class Runtime : public tokenlib::Runtime {
public:
    Runtime(const tokenlib::Environment& environment, Settings settings);

    // The mutex is held for all of the following.

    void Close() override;
    std::optional<CK_SLOT_ID> SlotIdOf(CK_SESSION_HANDLE session) override;

    const Module& GetModule() const { return *m_Module; }
    ShownObjects& GetShown() { return m_Shown; }

    /// The module's slots, without those that are no card's; throws Refusal.
    std::vector<CK_SLOT_ID> Slots(bool withToken);

    CK_SLOT_INFO SlotInfo(CK_SLOT_ID slot) const;
    CK_TOKEN_INFO ModulesTokenInfo(CK_SLOT_ID slot) const;

    /// The token's information with the serial that it is known by here. Serials are compared
    /// with those of all other tokens once between two calls of ForgetSerials.
    CK_TOKEN_INFO TokenInfo(CK_SLOT_ID slot);
    void ForgetSerials() { m_Serials.clear(); }

    CK_SESSION_HANDLE OpenSession(CK_SLOT_ID slot, CK_FLAGS flags);
    void CloseSession(CK_SESSION_HANDLE handle);
    void CloseAllSessions(CK_SLOT_ID slot);

    /// Throws Refusal for a handle that is not open.
    Session& SessionOf(CK_SESSION_HANDLE handle);
    std::vector<Session*> SessionsOn(CK_SLOT_ID slot);

    /// The session's view of its token, made at the first call.
    const TokenView& ViewOf(Session& session);

    /// The object for the module: for one that is hidden without a login, the handle that the login
    /// reveals. Throws Refusal with CKR_USER_NOT_LOGGED_IN while nobody is logged in.
    CK_OBJECT_HANDLE InnerObject(const Session& session, CK_OBJECT_HANDLE object) const;

private:
    struct KnownSerial {
        std::string m_Token; ///< what that token says about itself
        std::string m_Serial;
    };

    void RenewSerials(CK_SLOT_ID asked);

    const Settings m_Settings;
    std::unique_ptr<Module> m_Module;
    ShownObjects m_Shown;
    std::map<CK_SESSION_HANDLE, Session> m_Sessions;
    std::map<CK_SLOT_ID, KnownSerial> m_Serials;
};

/// Makes the runtime from the process's environment and the settings. Throws Refusal when there is
/// one already, and when there is no module.
std::shared_ptr<tokenlib::Runtime> StartRuntime();

} // namespace orselbridge

#endif
