// SPDX-License-Identifier: MIT
// Entry points of slots and tokens: which readers there are, and what lies in them.
#include "simulator/token/Mechanisms.h"
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Names.h"
#include "tokenlib/Output.h"

using orselsim::Call;
using orselsim::CardRecord;
using orselsim::CountedSecret;
using orselsim::PinRecord;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::Slot;

namespace {

/// Directory names are any bytes; descriptions are text.
std::string Printable(std::string text) {
    for (char& c : text) {
        if (c < ' ' || c > '~') {
            c = '?';
        }
    }
    return text;
}

CK_FLAGS PinFlags(const PinRecord* pin) {
    if (pin == nullptr || !pin->IsInitialised()) {
        return 0;
    }
    CK_FLAGS flags = CKF_USER_PIN_INITIALIZED;
    const CountedSecret& secret = pin->m_Pin;
    if (secret.IsBlocked()) {
        flags |= CKF_USER_PIN_LOCKED;
    } else if (secret.m_TriesLeft == 1) {
        flags |= CKF_USER_PIN_FINAL_TRY;
    }
    if (secret.m_TriesLeft < secret.m_MaxTries) {
        flags |= CKF_USER_PIN_COUNT_LOW;
    }
    return flags;
}

void FillTokenInfo(CK_TOKEN_INFO& info, const CardRecord& record) {
    info = {};
    orselsim::FillField(info.label, record.m_Label);
    orselsim::FillField(info.manufacturerID, record.m_Manufacturer);
    orselsim::FillField(info.model, record.m_Model);
    orselsim::FillField(info.serialNumber, record.m_Serial);
    const PinRecord* pin = record.Pin(orselsim::ENCRYPTION_PIN);
    info.flags = CKF_RNG | CKF_LOGIN_REQUIRED | CKF_PROTECTED_AUTHENTICATION_PATH | CKF_TOKEN_INITIALIZED;
    info.flags |= PinFlags(pin);
    info.ulMaxSessionCount = CK_EFFECTIVELY_INFINITE;
    info.ulMaxRwSessionCount = CK_EFFECTIVELY_INFINITE;
    info.ulMinPinLen = pin == nullptr ? 0 : pin->m_MinLength;
    info.ulMaxPinLen = pin == nullptr ? 0 : pin->m_MaxLength;
    info.ulTotalPublicMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulFreePublicMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulTotalPrivateMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulFreePrivateMemory = CK_UNAVAILABLE_INFORMATION;
    info.hardwareVersion = {1, 0};
    info.firmwareVersion = {1, 0};
    orselsim::FillField(info.utcTime, "");
}

} // namespace

CK_RV C_GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* list, CK_ULONG* count) {
    Call call("C_GetSlotList");
    call.Number("present", tokenPresent).Number("query", list == nullptr ? 1 : 0);
    return call.Run([&](Runtime& runtime) {
        orselsim::Require(count);
        runtime.GetDeck().Rescan();
        std::vector<CK_SLOT_ID> ids;
        for (const Slot* slot : runtime.GetDeck().Slots()) {
            if (tokenPresent == CK_FALSE || slot->m_Card) {
                ids.push_back(slot->m_Id);
            }
        }
        call.Number("count", ids.size());
        orselsim::HandOut(ids, list, count);
        call.Bend(*count);
    });
}

CK_RV C_GetSlotInfo(CK_SLOT_ID id, CK_SLOT_INFO* info) {
    return Call("C_GetSlotInfo").Slot(id).Run([&](Runtime& runtime) {
        orselsim::Require(info);
        Slot& slot = runtime.GetDeck().SlotOf(id);
        runtime.GetDeck().Refresh(slot);
        *info = {};
        orselsim::FillField(info->slotDescription, "Simulated reader of " + Printable(slot.m_Name));
        orselsim::FillField(info->manufacturerID, "Orsel");
        info->flags = CKF_HW_SLOT;
        if (!slot.m_Card || slot.m_Card->Record().m_IsRemovable) {
            info->flags |= CKF_REMOVABLE_DEVICE;
        }
        if (slot.m_Card) {
            info->flags |= CKF_TOKEN_PRESENT;
        }
        info->hardwareVersion = {1, 0};
        info->firmwareVersion = {1, 0};
    });
}

CK_RV C_GetTokenInfo(CK_SLOT_ID id, CK_TOKEN_INFO* info) {
    return Call("C_GetTokenInfo").Slot(id).Run([&](Runtime& runtime) {
        orselsim::Require(info);
        const Slot& slot = runtime.SlotWithToken(id);
        FillTokenInfo(*info, slot.m_Card->Record());
        info->ulSessionCount = runtime.SessionCount(id, false);
        info->ulRwSessionCount = runtime.SessionCount(id, true);
    });
}

CK_RV C_WaitForSlotEvent(CK_FLAGS flags, CK_SLOT_ID* id, void* reserved) {
    Call call("C_WaitForSlotEvent");
    return call.Number("flags", flags).Run([&](Runtime& runtime) {
        orselsim::Require(id);
        if (reserved != nullptr) {
            throw Refusal{CKR_ARGUMENTS_BAD};
        }
        if ((flags & CKF_DONT_BLOCK) == 0) {
            throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
        }
        runtime.GetDeck().Rescan();
        for (Slot* slot : runtime.GetDeck().Slots()) {
            if (!slot->m_HasEvent) {
                continue;
            }
            slot->m_HasEvent = false;
            *id = slot->m_Id;
            call.Number("slot", slot->m_Id);
            return;
        }
        throw Refusal{CKR_NO_EVENT};
    });
}

CK_RV C_GetMechanismList(CK_SLOT_ID id, CK_MECHANISM_TYPE* list, CK_ULONG* count) {
    Call call("C_GetMechanismList");
    return call.Slot(id).Run([&](Runtime& runtime) {
        orselsim::Require(count);
        runtime.SlotWithToken(id);
        std::vector<CK_MECHANISM_TYPE> types;
        for (const orselsim::Mechanism& mechanism : orselsim::Mechanisms()) {
            types.push_back(mechanism.m_Type);
        }
        orselsim::HandOut(types, list, count);
        call.Bend(*count);
    });
}

CK_RV C_GetMechanismInfo(CK_SLOT_ID id, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO* info) {
    Call call("C_GetMechanismInfo");
    return call.Slot(id).Text("mechanism", orselsim::MechanismName(type)).Run([&](Runtime& runtime) {
        orselsim::Require(info);
        runtime.SlotWithToken(id);
        *info = orselsim::MechanismInfo(type);
    });
}
