// SPDX-License-Identifier: MIT
#include "bridge/Runtime.h"

#include <algorithm>
#include <atomic>

#include "bridge/Serials.h"
#include "tokenlib/Output.h"

namespace orselbridge {

namespace {

// Handles are never used twice in a process, so that a stale one is always noticed.
std::atomic<CK_SESSION_HANDLE> g_LastSessionHandle{0};

constexpr CK_ULONG MOST_SLOTS = 4096;

/// The system's trusted certificates, which p11-kit shows as tokens.
constexpr const char* TRUST_STORE_MODEL = "p11-kit-trust";

/// p11-kit's proxy loads every library that it is told of, and the bridge may be one of them.
thread_local bool g_IsStarting = false;

class StartingMark {
public:
    StartingMark() {
        if (g_IsStarting) {
            throw Refusal{CKR_FUNCTION_FAILED};
        }
        g_IsStarting = true;
    }
    ~StartingMark() { g_IsStarting = false; }
    StartingMark(const StartingMark&) = delete; // one mark a thread
    StartingMark& operator=(const StartingMark&) = delete;
};

} // namespace

Runtime::Runtime(const tokenlib::Environment& environment, Settings settings)
    : tokenlib::Runtime(environment),
      m_Settings(std::move(settings)),
      m_Module(std::make_unique<Module>(m_Settings.m_Modules)) {}

void Runtime::Close() {
    tokenlib::Runtime::Close();
    m_Sessions.clear();
    m_Module->Finalise();
}

std::optional<CK_SLOT_ID> Runtime::SlotIdOf(CK_SESSION_HANDLE session) {
    const auto found = m_Sessions.find(session);
    return found == m_Sessions.end() ? std::nullopt : std::make_optional(found->second.m_Slot);
}

std::vector<CK_SLOT_ID> Runtime::Slots(bool withToken) {
    const auto present = static_cast<CK_BBOOL>(withToken ? CK_TRUE : CK_FALSE);
    CK_ULONG count = 0;
    m_Module->Do(&CK_FUNCTION_LIST::C_GetSlotList, present, static_cast<CK_SLOT_ID*>(nullptr), &count);
    m_Module->CheckLength("C_GetSlotList", count, MOST_SLOTS);
    std::vector<CK_SLOT_ID> slots(count + 1); // never without room, which would be another question
    CK_ULONG capacity = slots.size();
    m_Module->Do(&CK_FUNCTION_LIST::C_GetSlotList, present, slots.data(), &capacity);
    m_Module->CheckLength("C_GetSlotList", capacity, slots.size());
    slots.resize(capacity);
    const auto isTrustStore = [this](CK_SLOT_ID slot) {
        CK_TOKEN_INFO info = {};
        return m_Module->Call(&CK_FUNCTION_LIST::C_GetTokenInfo, slot, &info) == CKR_OK &&
               FieldText(info.model) == TRUST_STORE_MODEL;
    };
    slots.erase(std::remove_if(slots.begin(), slots.end(), isTrustStore), slots.end());
    return slots;
}

CK_SLOT_INFO Runtime::SlotInfo(CK_SLOT_ID slot) const {
    CK_SLOT_INFO info = {};
    m_Module->Do(&CK_FUNCTION_LIST::C_GetSlotInfo, slot, &info);
    if (m_Settings.m_ShowsFixedSlots) {
        info.flags |= CKF_REMOVABLE_DEVICE;
    }
    return info;
}

CK_TOKEN_INFO Runtime::ModulesTokenInfo(CK_SLOT_ID slot) const {
    CK_TOKEN_INFO info = {};
    m_Module->Do(&CK_FUNCTION_LIST::C_GetTokenInfo, slot, &info);
    return info;
}

CK_TOKEN_INFO Runtime::TokenInfo(CK_SLOT_ID slot) {
    CK_TOKEN_INFO info = ModulesTokenInfo(slot);
    const auto known = m_Serials.find(slot);
    if (known == m_Serials.end() || known->second.m_Token != MadeSerial(info, "")) {
        RenewSerials(slot);
    }
    if (m_Serials.count(slot) != 0) {
        tokenlib::FillField(info.serialNumber, m_Serials[slot].m_Serial);
    }
    if (!m_Settings.m_Model.empty() && !IsOfTheFamily(info)) {
        tokenlib::FillField(info.model, m_Settings.m_Model);
    }
    return info;
}

// Whether a serial is somebody else's as well is seen from all tokens alone.
void Runtime::RenewSerials(CK_SLOT_ID asked) {
    std::vector<ListedToken> tokens;
    std::vector<CK_SLOT_ID> slots = Slots(true);
    if (std::find(slots.begin(), slots.end(), asked) == slots.end()) {
        slots.push_back(asked);
    }
    for (const CK_SLOT_ID slot : slots) {
        ListedToken token;
        token.m_Slot = slot;
        CK_SLOT_INFO info = {};
        if (m_Module->Call(&CK_FUNCTION_LIST::C_GetTokenInfo, slot, &token.m_Info) == CKR_OK &&
            m_Module->Call(&CK_FUNCTION_LIST::C_GetSlotInfo, slot, &info) == CKR_OK) {
            token.m_SlotDescription = FieldText(info.slotDescription);
            tokens.push_back(token);
        }
    }
    m_Serials.clear();
    const auto serials = SerialsOf(tokens);
    for (std::size_t i = 0; i < serials.size(); ++i) {
        m_Serials[serials[i].first] = {MadeSerial(tokens[i].m_Info, ""), serials[i].second};
    }
}

CK_SESSION_HANDLE Runtime::OpenSession(CK_SLOT_ID slot, CK_FLAGS flags) {
    const CK_SESSION_HANDLE handle = ++g_LastSessionHandle;
    m_Sessions.try_emplace(handle, *m_Module, slot, flags);
    return handle;
}

void Runtime::CloseSession(CK_SESSION_HANDLE handle) {
    const CK_SESSION_HANDLE inner = SessionOf(handle).m_Inner.Release();
    m_Sessions.erase(handle);
    m_Module->Do(&CK_FUNCTION_LIST::C_CloseSession, inner);
}

void Runtime::CloseAllSessions(CK_SLOT_ID slot) {
    SlotInfo(slot); // throws for one that there is not
    for (auto it = m_Sessions.begin(); it != m_Sessions.end();) {
        it = it->second.m_Slot == slot ? m_Sessions.erase(it) : std::next(it);
    }
}

Session& Runtime::SessionOf(CK_SESSION_HANDLE handle) {
    const auto found = m_Sessions.find(handle);
    if (found == m_Sessions.end()) {
        throw Refusal{CKR_SESSION_HANDLE_INVALID};
    }
    return found->second;
}

std::vector<Session*> Runtime::SessionsOn(CK_SLOT_ID slot) {
    std::vector<Session*> sessions;
    for (auto& [handle, session] : m_Sessions) {
        if (session.m_Slot == slot) {
            sessions.push_back(&session);
        }
    }
    return sessions;
}

const TokenView& Runtime::ViewOf(Session& session) {
    if (!session.m_View) {
        const CK_TOKEN_INFO info = ModulesTokenInfo(session.m_Slot);
        const RoleNames& names = m_Settings.RolesFor(FieldText(info.label), FieldText(info.serialNumber));
        session.m_View = MakeView(session.m_Inner, session.m_Slot, names, m_Shown);
    }
    return *session.m_View;
}

CK_OBJECT_HANDLE Runtime::InnerObject(const Session& session, CK_OBJECT_HANDLE object) const {
    const ShownObject* shown = m_Shown.Find(object);
    if (shown == nullptr) {
        return object;
    }
    if (shown->m_Slot != session.m_Slot) {
        throw Refusal{CKR_OBJECT_HANDLE_INVALID};
    }
    const CK_OBJECT_HANDLE inner =
        shown->m_Inner == 0 && !session.m_Inner.IsLoggedIn() ? 0 : Reveal(session.m_Inner, *shown);
    if (inner == 0) {
        throw Refusal{CKR_USER_NOT_LOGGED_IN};
    }
    return inner;
}

std::shared_ptr<tokenlib::Runtime> StartRuntime() {
    const StartingMark mark;
    return tokenlib::StartRuntime([] {
        return std::make_shared<Runtime>(
            tokenlib::Environment::Read(
                {"ORSELBRIDGE_TRACE", "ORSELBRIDGE_FAULTS", "ORSELBRIDGE_PIN_SCRIPT"}),
            Settings::Read());
    });
}

} // namespace orselbridge
