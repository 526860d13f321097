// SPDX-License-Identifier: MIT
#include "simulator/token/Deck.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>

#include "tokenlib/Refusal.h"

namespace orselsim {

namespace {

std::vector<std::optional<FileStamp>> StampsOf(const std::string& directory, const Card& card) {
    std::vector<std::optional<FileStamp>> stamps = {StampOf(RecordPath(directory))};
    for (const auto& [file, content] : card.m_Contents) {
        stamps.push_back(StampOf(JoinPath(directory, file)));
    }
    return stamps;
}

/// A message of one line, whatever a damaged file made of it.
std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; },
        ' ');
    return text;
}

} // namespace

std::vector<std::string> Deck::DirectoryNames() const {
    namespace fs = std::filesystem;
    std::vector<std::string> names;
    if (m_Directory.empty()) {
        return names;
    }
    std::error_code error;
    for (fs::directory_iterator it(m_Directory, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        std::error_code ignored; // a link that leads nowhere or round in circles is no directory
        if (name.front() != '.' && it->is_directory(ignored)) {
            names.push_back(name);
        }
    }
    return names;
}

void Deck::Rescan() {
    for (const std::string& name : DirectoryNames()) {
        Entry& entry = m_Entries[name];
        entry.m_Slot.m_Name = name;
        entry.m_Slot.m_Directory = JoinPath(m_Directory, name);
    }
    for (auto& [name, entry] : m_Entries) {
        Look(entry);
    }
    GiveIds();
}

void Deck::Refresh(Slot& slot) {
    Look(m_Entries.at(slot.m_Name));
}

void Deck::Look(Entry& entry) {
    Slot& slot = entry.m_Slot;
    const auto directory = StampOf(slot.m_Directory);
    const bool isSame = slot.m_Card && directory && directory->m_Inode == entry.m_Inode &&
                        StampsOf(slot.m_Directory, slot.m_Card->GetCard()) == entry.m_Stamps;
    if (isSame) {
        return;
    }
    const std::shared_ptr<const TokenCard> before = std::move(slot.m_Card);
    const ino_t inodeBefore = entry.m_Inode;
    slot.m_Card = nullptr;
    if (directory) {
        entry.m_Inode = directory->m_Inode;
        Read(entry);
    }
    const bool isOtherCard =
        before && slot.m_Card &&
        (entry.m_Inode != inodeBefore || before->Record().m_Serial != slot.m_Card->Record().m_Serial);
    if (isOtherCard || !before != !slot.m_Card) {
        ++slot.m_Insertion;
        slot.m_HasEvent = true;
        slot.m_IsLoggedIn = false;
        slot.m_Files.Reset();
    }
}

void Deck::Read(Entry& entry) {
    const std::string& shown = entry.m_Slot.m_Directory;
    const OpenDirectory directory(shown);
    if (directory.IsMissing()) {
        return; // taken out, which is no damage; a card that goes from here on is still read as a whole
    }
    std::string complaint;
    try {
        // Taken first: a record that is replaced while the card is read makes the next look read again.
        const auto recordStamp = StampOf(RecordPath(directory.GetPath()));
        entry.m_Slot.m_Card = TokenCard::Load(directory.GetPath());
        entry.m_Stamps = StampsOf(directory.GetPath(), entry.m_Slot.m_Card->GetCard());
        entry.m_Stamps.front() = recordStamp;
    } catch (const std::exception& error) {
        if (!StampOf(shown)) {
            return; // thrown away while it was read
        }
        std::string reason = error.what();
        const size_t place = reason.find(directory.GetPath());
        if (place != std::string::npos) {
            reason.replace(place, directory.GetPath().size(), shown);
        }
        complaint = "OrselP11: card " + entry.m_Slot.m_Name + " is skipped: " + reason;
    }
    if (!complaint.empty() && complaint != entry.m_Complaint) {
        std::cerr << OneLine(complaint) + "\n";
    }
    entry.m_Complaint = complaint;
}

bool Deck::IsTaken(CK_SLOT_ID id) const {
    return std::any_of(m_Entries.begin(), m_Entries.end(), [id](const auto& named) {
        return named.second.m_HasId && named.second.m_Slot.m_Id == id;
    });
}

// Chosen ids go first, so that no card without a wish takes one of them.
void Deck::GiveIds() {
    for (auto& [name, entry] : m_Entries) {
        if (entry.m_HasId || !entry.m_Slot.m_Card || !entry.m_Slot.m_Card->Record().m_SlotId) {
            continue;
        }
        const CK_SLOT_ID wanted = *entry.m_Slot.m_Card->Record().m_SlotId;
        if (IsTaken(wanted)) {
            std::cerr << OneLine("OrselP11: card " + name + ": slot " + std::to_string(wanted) +
                                 " is taken") +
                             "\n";
            continue;
        }
        entry.m_Slot.m_Id = wanted;
        entry.m_HasId = true;
    }
    CK_SLOT_ID next = 1;
    for (auto& [name, entry] : m_Entries) {
        if (entry.m_HasId || !entry.m_Slot.m_Card) {
            continue;
        }
        while (IsTaken(next)) {
            ++next;
        }
        entry.m_Slot.m_Id = next;
        entry.m_HasId = true;
    }
}

std::vector<Slot*> Deck::Slots() {
    std::vector<Slot*> slots;
    for (auto& [name, entry] : m_Entries) {
        if (entry.m_HasId) {
            slots.push_back(&entry.m_Slot);
        }
    }
    return slots;
}

Slot* Deck::Find(CK_SLOT_ID id) {
    for (auto& [name, entry] : m_Entries) {
        if (entry.m_HasId && entry.m_Slot.m_Id == id) {
            return &entry.m_Slot;
        }
    }
    return nullptr;
}

Slot& Deck::SlotOf(CK_SLOT_ID id) {
    Slot* found = Find(id);
    if (found == nullptr) {
        throw Refusal{CKR_SLOT_ID_INVALID};
    }
    return *found;
}

} // namespace orselsim
