// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_CARD_H
#define ORSEL_SIMULATOR_STORE_CARD_H

#include <map>
#include <string>

#include "simulator/store/CardRecord.h"

namespace orselsim {

/// A card as its directory holds it: the record and the content of every file that it names.
struct Card {
    CardRecord record;
    std::map<std::string, Bytes> contents; ///< by file name

    const Bytes& content(const std::string& file) const { return contents.at(file); }
};

/// Reads a card directory. Throws DamagedCard or FileError, and nothing else, when it holds no
/// whole card.
Card loadCard(const std::string& directory);

/// Writes every content and then the record, each by rename. The record comes last, since a
/// changed record is what tells other processes to read the card anew.
void saveCard(const std::string& directory, const Card& card);

/// Writes only what differs, in the same order; nothing at all when nothing does.
void saveChanges(const std::string& directory, const Card& before, const Card& after);

/// The path of the file that tells by its stamp whether a card has changed.
std::string recordPath(const std::string& directory);

} // namespace orselsim

#endif
