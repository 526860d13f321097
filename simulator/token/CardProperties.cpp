// SPDX-License-Identifier: MIT
#include "simulator/token/CardProperties.h"

#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

constexpr unsigned char unknownTries = 0xFF; ///< the PIN has not been set yet

/// The number of tries left in one byte, 0 for a blocked PIN.
Bytes pinStatus(const CardRecord& record, const char* pinName) {
    const PinRecord* pin = record.pin(pinName);
    if (!record.reportsPinStatus || pin == nullptr)
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    return {pin->isInitialised() ? static_cast<unsigned char>(pin->pin.triesLeft) : unknownTries};
}

} // namespace

Bytes cardProperty(const Card& card, const std::string& name) {
    if (name == "ATR" || name == resetProperty) {
        if (card.record.atr.empty())
            throw Refusal{CKR_DEVICE_ERROR};
        return card.record.atr;
    }
    if (name == "SicSig/PIN-Status")
        return pinStatus(card.record, signaturePin);
    if (name == "GewSig/PIN-Status")
        return pinStatus(card.record, encryptionPin);
    const auto property = card.record.properties.find(name);
    if (property == card.record.properties.end())
        throw Refusal{CKR_FUNCTION_NOT_SUPPORTED};
    return card.content(property->second);
}

} // namespace orselsim
