// SPDX-License-Identifier: MIT
#include "simulator/token/CardProperties.h"

#include "tokenlib/Refusal.h"

namespace orselsim {

namespace {

constexpr unsigned char UNKNOWN_TRIES = 0xFF; ///< the PIN has not been set yet

/// The number of tries left in one byte, 0 for a blocked PIN.
Bytes PinStatus(const CardRecord& record, const char* pinName) {
    const PinRecord* pin = record.Pin(pinName);
    if (!record.m_ReportsPinStatus || pin == nullptr) {
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    }
    return {pin->IsInitialised() ? static_cast<unsigned char>(pin->m_Pin.m_TriesLeft) : UNKNOWN_TRIES};
}

} // namespace

Bytes CardProperty(const Card& card, const std::string& name) {
    if (name == "ATR" || name == RESET_PROPERTY) {
        if (card.m_Record.m_Atr.empty()) {
            throw Refusal{CKR_DEVICE_ERROR};
        }
        return card.m_Record.m_Atr;
    }
    if (name == "SicSig/PIN-Status") {
        return PinStatus(card.m_Record, SIGNATURE_PIN);
    }
    if (name == "GewSig/PIN-Status") {
        return PinStatus(card.m_Record, ENCRYPTION_PIN);
    }
    const auto property = card.m_Record.m_Properties.find(name);
    if (property == card.m_Record.m_Properties.end()) {
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    }
    return card.Content(property->second);
}

} // namespace orselsim
