// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_CARDKINDS_H
#define ORSEL_SIMULATOR_DECK_CARDKINDS_H

#include <optional>
#include <string>
#include <vector>

#include "simulator/store/KeyMaterial.h"

namespace orselsim {

/// Where a card keeps the file that begins with its number.
enum class NumberFile {
    NONE,
    IN_DIRECTORY, ///< DF71/D001
    IN_ROOT,      ///< D001 beside the file 2F02 with the number of the chip
};

/// What all cards of one product have in common.
struct CardKind {
    const char* m_Name; ///< as the tool's user types it
    const char* m_Label;
    const char* m_Model;
    const char* m_Atr;
    std::optional<KeyForm> m_EncryptionKey; ///< nothing: a card without objects
    std::optional<KeyForm> m_SignatureKey;
    bool m_HasInfobox;
    bool m_HasIdentityLink;
    bool m_IsECard;   ///< reports the state of its PINs, has person data, cannot be unblocked
    bool m_HasChipId; ///< knows the chip id command
    NumberFile m_NumberFile;
};

/// The eight known kinds in their order, then "empty" and "unknown".
const std::vector<CardKind>& CardKinds();

/// Null for a name that is no kind.
const CardKind* FindCardKind(const std::string& name);

} // namespace orselsim

#endif
