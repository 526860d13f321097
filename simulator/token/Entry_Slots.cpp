// SPDX-License-Identifier: MIT
// Entry points of slots and tokens: which readers there are, and what lies in them.
#include "simulator/token/Call.h"
#include "simulator/token/Mechanisms.h"
#include "simulator/token/Names.h"
#include "simulator/token/Output.h"

using orselsim::Call;
using orselsim::CardRecord;
using orselsim::CountedSecret;
using orselsim::PinRecord;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::Slot;

namespace {

/// Directory names are any bytes; descriptions are text.
std::string printable(std::string text) {
    for (char& c : text)
        if (c < ' ' || c > '~')
            c = '?';
    return text;
}

CK_FLAGS pinFlags(const PinRecord* pin) {
    if (pin == nullptr || !pin->isInitialised())
        return 0;
    CK_FLAGS flags = CKF_USER_PIN_INITIALIZED;
    const CountedSecret& secret = pin->pin;
    if (secret.isBlocked())
        flags |= CKF_USER_PIN_LOCKED;
    else if (secret.triesLeft == 1)
        flags |= CKF_USER_PIN_FINAL_TRY;
    if (secret.triesLeft < secret.maxTries)
        flags |= CKF_USER_PIN_COUNT_LOW;
    return flags;
}

void fillTokenInfo(CK_TOKEN_INFO& info, const CardRecord& record) {
    info = {};
    orselsim::fillField(info.label, record.label);
    orselsim::fillField(info.manufacturerID, record.manufacturer);
    orselsim::fillField(info.model, record.model);
    orselsim::fillField(info.serialNumber, record.serial);
    const PinRecord* pin = record.pin(orselsim::encryptionPin);
    info.flags = CKF_RNG | CKF_LOGIN_REQUIRED | CKF_PROTECTED_AUTHENTICATION_PATH | CKF_TOKEN_INITIALIZED;
    info.flags |= pinFlags(pin);
    info.ulMaxSessionCount = CK_EFFECTIVELY_INFINITE;
    info.ulMaxRwSessionCount = CK_EFFECTIVELY_INFINITE;
    info.ulMinPinLen = pin == nullptr ? 0 : pin->minLength;
    info.ulMaxPinLen = pin == nullptr ? 0 : pin->maxLength;
    info.ulTotalPublicMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulFreePublicMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulTotalPrivateMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulFreePrivateMemory = CK_UNAVAILABLE_INFORMATION;
    info.hardwareVersion = {1, 0};
    info.firmwareVersion = {1, 0};
    orselsim::fillField(info.utcTime, "");
}

} // namespace

CK_RV C_GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID* list, CK_ULONG* count) {
    Call call("C_GetSlotList");
    call.number("present", tokenPresent).number("query", list == nullptr ? 1 : 0);
    return call.run([&](Runtime& runtime) {
        orselsim::require(count);
        runtime.deck().rescan();
        std::vector<CK_SLOT_ID> ids;
        for (const Slot* slot : runtime.deck().slots())
            if (tokenPresent == CK_FALSE || slot->card)
                ids.push_back(slot->id);
        call.number("count", ids.size());
        orselsim::handOut(ids, list, count);
        call.bend(*count);
    });
}

CK_RV C_GetSlotInfo(CK_SLOT_ID id, CK_SLOT_INFO* info) {
    return Call("C_GetSlotInfo").slot(id).run([&](Runtime& runtime) {
        orselsim::require(info);
        Slot& slot = runtime.deck().slot(id);
        runtime.deck().refresh(slot);
        *info = {};
        orselsim::fillField(info->slotDescription, "Simulated reader of " + printable(slot.name));
        orselsim::fillField(info->manufacturerID, "Orsel");
        info->flags = CKF_HW_SLOT;
        if (!slot.card || slot.card->record().isRemovable)
            info->flags |= CKF_REMOVABLE_DEVICE;
        if (slot.card)
            info->flags |= CKF_TOKEN_PRESENT;
        info->hardwareVersion = {1, 0};
        info->firmwareVersion = {1, 0};
    });
}

CK_RV C_GetTokenInfo(CK_SLOT_ID id, CK_TOKEN_INFO* info) {
    return Call("C_GetTokenInfo").slot(id).run([&](Runtime& runtime) {
        orselsim::require(info);
        const Slot& slot = runtime.slotWithToken(id);
        fillTokenInfo(*info, slot.card->record());
        info->ulSessionCount = runtime.sessionCount(id, false);
        info->ulRwSessionCount = runtime.sessionCount(id, true);
    });
}

CK_RV C_WaitForSlotEvent(CK_FLAGS flags, CK_SLOT_ID* id, void* reserved) {
    Call call("C_WaitForSlotEvent");
    return call.number("flags", flags).run([&](Runtime& runtime) {
        orselsim::require(id);
        if (reserved != nullptr)
            throw Refusal{CKR_ARGUMENTS_BAD};
        if ((flags & CKF_DONT_BLOCK) == 0)
            throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
        runtime.deck().rescan();
        for (Slot* slot : runtime.deck().slots()) {
            if (!slot->hasEvent)
                continue;
            slot->hasEvent = false;
            *id = slot->id;
            call.number("slot", slot->id);
            return;
        }
        throw Refusal{CKR_NO_EVENT};
    });
}

CK_RV C_GetMechanismList(CK_SLOT_ID id, CK_MECHANISM_TYPE* list, CK_ULONG* count) {
    Call call("C_GetMechanismList");
    return call.slot(id).run([&](Runtime& runtime) {
        orselsim::require(count);
        runtime.slotWithToken(id);
        std::vector<CK_MECHANISM_TYPE> types;
        for (const orselsim::Mechanism& mechanism : orselsim::mechanisms())
            types.push_back(mechanism.type);
        orselsim::handOut(types, list, count);
        call.bend(*count);
    });
}

CK_RV C_GetMechanismInfo(CK_SLOT_ID id, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO* info) {
    Call call("C_GetMechanismInfo");
    return call.slot(id).text("mechanism", orselsim::mechanismName(type)).run([&](Runtime& runtime) {
        orselsim::require(info);
        runtime.slotWithToken(id);
        *info = orselsim::mechanismInfo(type);
    });
}
