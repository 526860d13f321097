// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_PINSTATE_H
#define ORSEL_CLI_PINSTATE_H

#include "cli/Cards.h"

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace orselcli {

/// What a card tells of one of its PINs.
struct PinState {
    Velmor::ApplType m_Pin = Velmor::ApplSignature;
    bool m_IsTold = false; ///< the card has such a query at all
    Velmor::PINState m_State = Velmor::PIN_STATE_UNKNOWN;
    int m_Tries = -1;
    Outcome m_Problem; ///< why the query failed on a card that has it

    std::string InWords() const;
    nlohmann::ordered_json AsJson() const;
};

/// The three PINs of the card in the open session.
std::vector<PinState> PinStates(Cards& cards);

} // namespace orselcli

#endif
