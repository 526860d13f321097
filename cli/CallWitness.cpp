// SPDX-License-Identifier: MIT
#include "cli/CallWitness.h"

#include "card/CardLimits.h"
#include "card/tkPKCS11.h"
#include "cli/Interruption.h"
#include "cli/StrayOutput.h"

namespace orselcli {

using Velmor::tkPKCS11;

namespace {

struct Seen {
    CK_RV m_Code = CKR_OK;
    const char* m_Function = "";
    bool m_BeyondReason = false;
};

Seen g_Seen;

/// More cards than any reader stack offers.
constexpr CK_ULONG MAX_PLAUSIBLE_SLOTS = 0x10000;

/// The lengths that a call may report, as they were offered before it.
struct Room {
    CK_ULONG* m_Reported = nullptr;
    CK_ULONG m_Offered = 0;
    bool IsOverrun() const { return m_Reported != nullptr && *m_Reported > m_Offered; }
};

template <typename... Arguments>
Room RoomOf(const Arguments&...) {
    return {};
}
/// C_FindObjects.
Room RoomOf(CK_SESSION_HANDLE, CK_OBJECT_HANDLE*, CK_ULONG max, CK_ULONG* count) {
    return {count, max};
}
/// C_GetSlotList.
Room RoomOf(unsigned char, CK_SLOT_ID* slots, CK_ULONG* count) {
    return {count, slots != nullptr ? *count : MAX_PLAUSIBLE_SLOTS};
}
/// C_Sign, and C_CardTransmit, whose command is constant.
template <typename Bytes>
Room RoomOf(CK_SESSION_HANDLE, Bytes*, CK_ULONG, unsigned char* out, CK_ULONG* length) {
    return {length, out != nullptr ? *length : Velmor::MAX_PLAUSIBLE_SIGNATURE};
}
/// C_CardAttribute.
Room RoomOf(CK_SESSION_HANDLE, const char*, unsigned char* out, CK_ULONG* length) {
    return {length, out != nullptr ? *length : ~CK_ULONG{0}};
}

/// Capacities of an attribute template, which the call overwrites.
class TemplateRoom {
public:
    template <typename... Arguments>
    explicit TemplateRoom(const Arguments&...) {}
    TemplateRoom(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* attributes, CK_ULONG count)
        : m_Attributes(attributes), m_Count(count < MOST ? count : MOST) {
        for (CK_ULONG i = 0; i < m_Count; ++i) {
            m_Offered[i] = attributes[i].ulValueLen;
        }
    }
    bool IsOverrun() const {
        for (CK_ULONG i = 0; i < m_Count; ++i) {
            if (m_Attributes[i].ulValueLen > m_Offered[i]) {
                return true;
            }
        }
        return false;
    }

private:
    static constexpr CK_ULONG MOST = 4; ///< no search of the card class asks for more
    CK_ATTRIBUTE* m_Attributes = nullptr;
    CK_ULONG m_Count = 0;
    CK_ULONG m_Offered[MOST] = {};
};

/// A function that stands for one entry point in the table.
template <auto* EntryPoint, auto Ends>
struct Stand;

template <typename... Parameters, CK_RV (**EntryPoint)(Parameters...), bool Ends>
struct Stand<EntryPoint, Ends> {
    static inline CK_RV (*m_Original)(Parameters...) = nullptr;
    static inline const char* m_Name = "";

    static CK_RV Call(Parameters... arguments) {
        if (!Ends && Interruption::HasCome()) {
            g_Seen = {CKR_FUNCTION_CANCELED, m_Name, false};
            return CKR_FUNCTION_CANCELED;
        }
        const Room room = RoomOf(arguments...);
        const TemplateRoom attributes(arguments...);
        const CK_RV code = CallOriginal(arguments...);
        const bool beyondReason = code == CKR_OK && (room.IsOverrun() || attributes.IsOverrun());
        if ((code != CKR_OK || beyondReason) && !Ends) {
            g_Seen = {code, m_Name, beyondReason};
        }
        return code;
    }

    static CK_RV CallOriginal(Parameters... arguments) {
        const StrayOutput stray;
        return m_Original(arguments...);
    }

    static void Take(const char* name) {
        m_Name = name;
        if (*EntryPoint != nullptr && *EntryPoint != Call) {
            m_Original = *EntryPoint;
            *EntryPoint = Call;
        }
    }
};

} // namespace

void CallWitness::Take() {
    Stand<&tkPKCS11::Proc_C_GetSlotList, false>::Take("C_GetSlotList");
    Stand<&tkPKCS11::Proc_C_GetSlotInfo, false>::Take("C_GetSlotInfo");
    Stand<&tkPKCS11::Proc_C_GetTokenInfo, false>::Take("C_GetTokenInfo");
    Stand<&tkPKCS11::Proc_C_OpenSession, false>::Take("C_OpenSession");
    Stand<&tkPKCS11::Proc_C_CloseSession, true>::Take("C_CloseSession");
    Stand<&tkPKCS11::Proc_C_Login, false>::Take("C_Login");
    Stand<&tkPKCS11::Proc_C_Logout, true>::Take("C_Logout");
    Stand<&tkPKCS11::Proc_C_FindObjectsInit, false>::Take("C_FindObjectsInit");
    Stand<&tkPKCS11::Proc_C_FindObjects, false>::Take("C_FindObjects");
    Stand<&tkPKCS11::Proc_C_FindObjectsFinal, false>::Take("C_FindObjectsFinal");
    Stand<&tkPKCS11::Proc_C_GetAttributeValue, false>::Take("C_GetAttributeValue");
    Stand<&tkPKCS11::Proc_C_SetAttributeValue, false>::Take("C_SetAttributeValue");
    Stand<&tkPKCS11::Proc_C_SignInit, false>::Take("C_SignInit");
    Stand<&tkPKCS11::Proc_C_Sign, false>::Take("C_Sign");
    Stand<&tkPKCS11::Proc_C_VerifyInit, false>::Take("C_VerifyInit");
    Stand<&tkPKCS11::Proc_C_Verify, false>::Take("C_Verify");
    Stand<&tkPKCS11::Proc_C_CardTransmit, false>::Take("C_CardTransmit");
    Stand<&tkPKCS11::Proc_C_CardAttribute, false>::Take("C_CardAttribute");
}

void CallWitness::Forget() {
    g_Seen = {};
}

bool CallWitness::HasSeenFailure() {
    return g_Seen.m_Code != CKR_OK || g_Seen.m_BeyondReason;
}

CK_RV CallWitness::LastCode() {
    return g_Seen.m_Code;
}

std::string CallWitness::LastFunction() {
    return g_Seen.m_Function;
}

bool CallWitness::WasBeyondReason() {
    return g_Seen.m_BeyondReason;
}

} // namespace orselcli
