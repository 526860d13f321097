// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_CARDMAKER_H
#define ORSEL_SIMULATOR_DECK_CARDMAKER_H

#include <string>

#include "simulator/deck/CardKinds.h"
#include "simulator/deck/DemoAuthority.h"
#include "simulator/store/Card.h"

namespace orselsim {

// The PINs of every card that is made; a person who tries the demo has to know them.
constexpr const char* DEMO_SIGNATURE_PIN = "123456";
constexpr const char* DEMO_ENCRYPTION_PIN = "1234";
constexpr const char* DEMO_PUK = "12345678";

/// A whole card with new keys, certificates, data objects and card files, as its kind has them.
Card MakeCard(const CardKind& kind, const std::string& holder, const std::string& serial,
              const DemoAuthority& authority);

/// The PINs that such a card starts with.
std::map<std::string, PinRecord> DemoPins(const CardKind& kind);

} // namespace orselsim

#endif
