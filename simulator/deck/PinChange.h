// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_PINCHANGE_H
#define ORSEL_SIMULATOR_DECK_PINCHANGE_H

#include <optional>
#include <string>

#include "simulator/store/CardRecord.h"

namespace orselsim {

/// A change of a PIN behind the card's back. What is not given stays.
struct PinChange {
    std::optional<std::string> m_Pin; ///< a new PIN, with all tries
    bool m_Unset = false;             ///< as before the first use
    std::optional<unsigned long> m_Tries;
    std::optional<std::string> m_Puk; ///< a new PUK, with all tries
    bool m_RemovePuk = false;
    std::optional<unsigned long> m_PukTries;
};

/// Throws DeckError, with the record as it was, when the card has no such PIN or PUK or the new
/// value does not fit.
void ApplyPinChange(CardRecord& record, const std::string& pinName, const PinChange& change);

/// The values of a new card for the PINs and PUKs that this one has, with all tries.
void ResetToDemoPins(CardRecord& record);

} // namespace orselsim

#endif
