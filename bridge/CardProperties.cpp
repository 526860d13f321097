// SPDX-License-Identifier: MIT
#include "bridge/CardProperties.h"

#include "bridge/CardReader.h"
#include "bridge/Serials.h"

namespace orselbridge {

namespace {

constexpr unsigned char UNKNOWN_TRIES = 0xFF;

/// The number of tries left in one byte. The standard's flags tell the last try and a PIN that has been
/// entered wrongly; with none of them it is as many as cards commonly give.
unsigned char TriesOf(CK_FLAGS flags) {
    constexpr unsigned char COMMON_TRIES = 3;
    if ((flags & CKF_USER_PIN_LOCKED) != 0) {
        return 0;
    }
    if ((flags & CKF_USER_PIN_INITIALIZED) == 0) {
        return UNKNOWN_TRIES;
    }
    if ((flags & CKF_USER_PIN_FINAL_TRY) != 0) {
        return 1;
    }
    return (flags & CKF_USER_PIN_COUNT_LOW) != 0 ? COMMON_TRIES - 1 : COMMON_TRIES;
}

CardReader ReaderOf(const Runtime& runtime, CK_SLOT_ID slot) {
    return CardReader(FieldText(runtime.SlotInfo(slot).slotDescription));
}

} // namespace

Bytes TransmitToCard(Runtime& runtime, CK_SLOT_ID slot, const Bytes& apdu) {
    return ReaderOf(runtime, slot).Transmit(apdu);
}

Bytes CardProperty(Runtime& runtime, CK_SLOT_ID slot, const std::string& name) {
    if (name == "SicSig/PIN-Status" || name == "GewSig/PIN-Status") {
        return {TriesOf(runtime.ModulesTokenInfo(slot).flags)};
    }
    if (name == "ATR") {
        return ReaderOf(runtime, slot).Atr();
    }
    if (name == "Reset") {
        CardReader reader = ReaderOf(runtime, slot);
        reader.Reset();
        return reader.Atr();
    }
    throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
}

} // namespace orselbridge
