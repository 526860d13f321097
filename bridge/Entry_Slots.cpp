// SPDX-License-Identifier: MIT
// Entry points of slots and tokens.
#include "bridge/Forwarding.h"

using orselbridge::Runtime;
using tokenlib::Call;

CK_RV C_GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* list, CK_ULONG* count) {
    Call call("C_GetSlotList");
    call.Number("present", tokenPresent).Number("query", list == nullptr ? 1 : 0);
    return call.Run([&](Runtime& runtime) {
        tokenlib::Require(count);
        const std::vector<CK_SLOT_ID> slots = runtime.Slots(tokenPresent != CK_FALSE);
        runtime.ForgetSerials();
        call.Number("count", slots.size());
        tokenlib::HandOut(slots, list, count);
        call.Bend(*count);
    });
}

CK_RV C_GetSlotInfo(CK_SLOT_ID id, CK_SLOT_INFO* info) {
    return Call("C_GetSlotInfo").Slot(id).Run([&](Runtime& runtime) {
        tokenlib::Require(info);
        *info = runtime.SlotInfo(id);
    });
}

CK_RV C_GetTokenInfo(CK_SLOT_ID id, CK_TOKEN_INFO* info) {
    return Call("C_GetTokenInfo").Slot(id).Run([&](Runtime& runtime) {
        tokenlib::Require(info);
        *info = runtime.TokenInfo(id);
    });
}

// May wait for as long as nobody puts a card in.
CK_RV C_WaitForSlotEvent(CK_FLAGS flags, CK_SLOT_ID* id, void* reserved) {
    Call call("C_WaitForSlotEvent");
    return call.Number("flags", flags).Run([&](Runtime& runtime) {
        tokenlib::Require(id);
        call.WithoutLock(
            [&] { runtime.GetModule().Do(&CK_FUNCTION_LIST::C_WaitForSlotEvent, flags, id, reserved); });
        runtime.ForgetSerials();
        call.Number("slot", *id);
    });
}

CK_RV C_GetMechanismList(CK_SLOT_ID id, CK_MECHANISM_TYPE* list, CK_ULONG* count) {
    Call call("C_GetMechanismList");
    return call.Slot(id).Run([&](Runtime& runtime) {
        orselbridge::DoOutput(call, runtime, "C_GetMechanismList", &CK_FUNCTION_LIST::C_GetMechanismList,
                              count, list, id, list);
    });
}

CK_RV C_GetMechanismInfo(CK_SLOT_ID id, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO* info) {
    Call call("C_GetMechanismInfo");
    return call.Slot(id).Text("mechanism", tokenlib::MechanismName(type)).Run([&](Runtime& runtime) {
        tokenlib::Require(info);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_GetMechanismInfo, id, type, info);
    });
}

CK_RV C_InitToken(CK_SLOT_ID id, CK_BYTE* pin, CK_ULONG pinLen, CK_BYTE* label) {
    return Call("C_InitToken").Slot(id).Slow().Run([&](Runtime& runtime) {
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_InitToken, id, pin, pinLen, label);
        runtime.ForgetSerials();
    });
}
