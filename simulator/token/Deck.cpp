// SPDX-License-Identifier: MIT
#include "simulator/token/Deck.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>

#include "simulator/token/Refusal.h"

namespace orselsim {

namespace {

std::vector<std::optional<FileStamp>> stampsOf(const std::string& directory, const Card& card) {
    std::vector<std::optional<FileStamp>> stamps = {stampOf(recordPath(directory))};
    for (const auto& [file, content] : card.contents)
        stamps.push_back(stampOf(joinPath(directory, file)));
    return stamps;
}

/// A message of one line, whatever a damaged file made of it.
std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; },
        ' ');
    return text;
}

} // namespace

std::vector<std::string> Deck::directoryNames() const {
    namespace fs = std::filesystem;
    std::vector<std::string> names;
    if (m_directory.empty())
        return names;
    std::error_code error;
    for (fs::directory_iterator it(m_directory, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        std::error_code ignored; // a link that leads nowhere or round in circles is no directory
        if (name.front() != '.' && it->is_directory(ignored))
            names.push_back(name);
    }
    return names;
}

void Deck::rescan() {
    for (const std::string& name : directoryNames()) {
        Entry& entry = m_entries[name];
        entry.slot.name = name;
        entry.slot.directory = joinPath(m_directory, name);
    }
    for (auto& [name, entry] : m_entries)
        look(entry);
    giveIds();
}

void Deck::refresh(Slot& slot) {
    look(m_entries.at(slot.name));
}

void Deck::look(Entry& entry) {
    Slot& slot = entry.slot;
    const auto directory = stampOf(slot.directory);
    const bool isSame = slot.card && directory && directory->inode == entry.inode &&
                        stampsOf(slot.directory, slot.card->card()) == entry.stamps;
    if (isSame)
        return;
    const std::shared_ptr<const TokenCard> before = std::move(slot.card);
    const ino_t inodeBefore = entry.inode;
    slot.card = nullptr;
    if (directory) {
        entry.inode = directory->inode;
        read(entry);
    }
    const bool isOtherCard =
        before && slot.card &&
        (entry.inode != inodeBefore || before->record().serial != slot.card->record().serial);
    if (isOtherCard || !before != !slot.card) {
        ++slot.insertion;
        slot.hasEvent = true;
        slot.isLoggedIn = false;
        slot.files.reset();
    }
}

void Deck::read(Entry& entry) {
    const std::string& shown = entry.slot.directory;
    const OpenDirectory directory(shown);
    if (directory.isMissing())
        return; // taken out, which is no damage; a card that goes from here on is still read as a whole
    std::string complaint;
    try {
        // Taken first: a record that is replaced while the card is read makes the next look read again.
        const auto recordStamp = stampOf(recordPath(directory.path()));
        entry.slot.card = TokenCard::load(directory.path());
        entry.stamps = stampsOf(directory.path(), entry.slot.card->card());
        entry.stamps.front() = recordStamp;
    } catch (const std::exception& error) {
        if (!stampOf(shown))
            return; // thrown away while it was read
        std::string reason = error.what();
        const size_t place = reason.find(directory.path());
        if (place != std::string::npos)
            reason.replace(place, directory.path().size(), shown);
        complaint = "OrselP11: card " + entry.slot.name + " is skipped: " + reason;
    }
    if (!complaint.empty() && complaint != entry.complaint)
        std::cerr << oneLine(complaint) + "\n";
    entry.complaint = complaint;
}

bool Deck::isTaken(CK_SLOT_ID id) const {
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [id](const auto& named) { return named.second.hasId && named.second.slot.id == id; });
}

// Chosen ids go first, so that no card without a wish takes one of them.
void Deck::giveIds() {
    for (auto& [name, entry] : m_entries) {
        if (entry.hasId || !entry.slot.card || !entry.slot.card->record().slotId)
            continue;
        const CK_SLOT_ID wanted = *entry.slot.card->record().slotId;
        if (isTaken(wanted)) {
            std::cerr << oneLine("OrselP11: card " + name + ": slot " + std::to_string(wanted) +
                                 " is taken") +
                             "\n";
            continue;
        }
        entry.slot.id = wanted;
        entry.hasId = true;
    }
    CK_SLOT_ID next = 1;
    for (auto& [name, entry] : m_entries) {
        if (entry.hasId || !entry.slot.card)
            continue;
        while (isTaken(next))
            ++next;
        entry.slot.id = next;
        entry.hasId = true;
    }
}

std::vector<Slot*> Deck::slots() {
    std::vector<Slot*> slots;
    for (auto& [name, entry] : m_entries)
        if (entry.hasId)
            slots.push_back(&entry.slot);
    return slots;
}

Slot* Deck::find(CK_SLOT_ID id) {
    for (auto& [name, entry] : m_entries)
        if (entry.hasId && entry.slot.id == id)
            return &entry.slot;
    return nullptr;
}

Slot& Deck::slot(CK_SLOT_ID id) {
    Slot* found = find(id);
    if (found == nullptr)
        throw Refusal{CKR_SLOT_ID_INVALID};
    return *found;
}

} // namespace orselsim
