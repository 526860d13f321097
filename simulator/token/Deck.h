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
    CK_SLOT_ID m_Id = 0;
    std::string m_Name; ///< of the card directory
    std::string m_Directory;
    std::shared_ptr<const TokenCard> m_Card; ///< null: no card in the reader
    unsigned long m_Insertion = 0;           ///< grows with each card put in: sessions die with theirs
    bool m_HasEvent = false;                 ///< a card came or went since C_WaitForSlotEvent said so
    bool m_IsLoggedIn = false;
    CardFileSystem m_Files;
};

/// The deck directory and the readers that its cards lie in. Looks at the disk only when asked to.
class Deck {
public:
    /// A directory that is missing or empty, and an empty name too, is a deck without cards.
    explicit Deck(std::string directory) : m_Directory(std::move(directory)) {}

    /// Looks for cards that came, went or changed.
    void Rescan();

    /// The same for the one card of a known reader.
    void Refresh(Slot& slot);

    /// All readers, in the order of their directory names.
    std::vector<Slot*> Slots();

    /// Null for an id that no reader has; `slot` throws Refusal with CKR_SLOT_ID_INVALID instead.
    Slot* Find(CK_SLOT_ID id);
    Slot& SlotOf(CK_SLOT_ID id);

private:
    using Stamps = std::vector<std::optional<FileStamp>>;

    /// One directory of the deck, whether it holds a card or not.
    struct Entry {
        Slot m_Slot;
        bool m_HasId = false;
        ino_t m_Inode = 0; ///< of the directory when the card was read
        Stamps m_Stamps;   ///< of every file that the card was read from
        std::string m_Complaint;
    };

    std::vector<std::string> DirectoryNames() const;
    void Look(Entry& entry);
    void Read(Entry& entry);
    void GiveIds();
    bool IsTaken(CK_SLOT_ID id) const;

    std::string m_Directory;
    std::map<std::string, Entry> m_Entries; ///< by directory name
};

} // namespace orselsim

#endif
