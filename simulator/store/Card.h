// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_CARD_H
#define ORSEL_SIMULATOR_STORE_CARD_H

#include <map>
#include <string>

#include "simulator/store/CardRecord.h"

namespace orselsim {

/// A card as its directory holds it: the record and the content of every file that it names.
struct Card {
    CardRecord m_Record;
    std::map<std::string, Bytes> m_Contents; ///< by file name

    const Bytes& Content(const std::string& file) const { return m_Contents.at(file); }
};

/// Reads a card directory. Throws DamagedCard or FileError, and nothing else, when it holds no
/// whole card.
Card LoadCard(const std::string& directory);

/// Writes every content and then the record, each by rename. The record comes last, since a
/// changed record is what tells other processes to read the card anew.
void SaveCard(const std::string& directory, const Card& card);

/// Writes only what differs, in the same order; nothing at all when nothing does.
void SaveChanges(const std::string& directory, const Card& before, const Card& after);

/// The path of the file that tells by its stamp whether a card has changed.
std::string RecordPath(const std::string& directory);

} // namespace orselsim

#endif
