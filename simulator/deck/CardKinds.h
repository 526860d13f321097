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
    None,
    InDirectory, ///< DF71/D001
    InRoot,      ///< D001 beside the file 2F02 with the number of the chip
};

/// What all cards of one product have in common.
struct CardKind {
    const char* name; ///< as the tool's user types it
    const char* label;
    const char* model;
    const char* atr;
    std::optional<KeyForm> encryptionKey; ///< nothing: a card without objects
    std::optional<KeyForm> signatureKey;
    bool hasInfobox;
    bool hasIdentityLink;
    bool isECard;   ///< reports the state of its PINs, has person data, cannot be unblocked
    bool hasChipId; ///< knows the chip id command
    NumberFile numberFile;
};

/// The eight known kinds in their order, then "empty" and "unknown".
const std::vector<CardKind>& cardKinds();

/// Null for a name that is no kind.
const CardKind* findCardKind(const std::string& name);

} // namespace orselsim

#endif
