// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_CARDFILESYSTEM_H
#define ORSEL_SIMULATOR_TOKEN_CARDFILESYSTEM_H

#include <cstdint>
#include <vector>

#include "simulator/store/Card.h"

namespace orselsim {

/// The card's own operating system, as far as command APDUs reach it: which file is selected, and
/// the answers to the few commands that it knows.
class CardFileSystem {
public:
    /// Back to the root, as after a reset of the card.
    void Reset();

    /// Runs one short command; the response ends in the status word of ISO 7816-4.
    Bytes Transmit(const Card& card, const Bytes& apdu);

private:
    struct Command;
    using Path = std::vector<std::uint16_t>;

    Bytes Select(const Card& card, const Command& command);
    Bytes ReadBinary(const Card& card, const Command& command) const;
    bool Enter(const Card& card, const Path& path);

    Path m_Directory; ///< selected directory, empty: the root
    Path m_File;      ///< selected file, empty: none
};

} // namespace orselsim

#endif
