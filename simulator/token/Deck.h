// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_DECK_H
#define ORSEL_SIMULATOR_TOKEN_DECK_H

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/store/Files.h"
#include "simulator/token/CardFileSystem.h"
#include "simulator/token/TokenCard.h"

namespace orselsim {

/// One reader: made when its card directory first holds a card, and kept with the same id while
/// the library is initialised, with or without the card in it.
struct Slot {
    CK_SLOT_ID id = 0;
    std::string name; ///< of the card directory
    std::string directory;
    std::shared_ptr<const TokenCard> card; ///< null: no card in the reader
    unsigned long insertion = 0;           ///< grows with each card put in: sessions die with theirs
    bool hasEvent = false;                 ///< a card came or went since C_WaitForSlotEvent said so
    bool isLoggedIn = false;
    CardFileSystem files;
};

/// The deck directory and the readers that its cards lie in. Looks at the disk only when asked to.
class Deck {
public:
    /// A directory that is missing or empty, and an empty name too, is a deck without cards.
    explicit Deck(std::string directory) : m_directory(std::move(directory)) {}

    /// Looks for cards that came, went or changed.
    void rescan();

    /// The same for the one card of a known reader.
    void refresh(Slot& slot);

    /// All readers, in the order of their directory names.
    std::vector<Slot*> slots();

    /// Null for an id that no reader has; `slot` throws Refusal with CKR_SLOT_ID_INVALID instead.
    Slot* find(CK_SLOT_ID id);
    Slot& slot(CK_SLOT_ID id);

private:
    using Stamps = std::vector<std::optional<FileStamp>>;

    /// One directory of the deck, whether it holds a card or not.
    struct Entry {
        Slot slot;
        bool hasId = false;
        ino_t inode = 0; ///< of the directory when the card was read
        Stamps stamps;   ///< of every file that the card was read from
        std::string complaint;
    };

    std::vector<std::string> directoryNames() const;
    void look(Entry& entry);
    void read(Entry& entry);
    void giveIds();
    bool isTaken(CK_SLOT_ID id) const;

    std::string m_directory;
    std::map<std::string, Entry> m_entries; ///< by directory name
};

} // namespace orselsim

#endif
