// SPDX-License-Identifier: MIT
#include "simulator/deck/DeckMaker.h"

#include <algorithm>
#include <filesystem>

#include <openssl/rand.h>

#include "simulator/deck/CardMaker.h"
#include "simulator/store/Files.h"

namespace orselsim {

namespace {

namespace fs = std::filesystem;

constexpr const char* MARK_FILE = ".deck"; ///< tells a deck from any other directory
constexpr const char* EMPTY_SERIAL = "0000000000000000";

std::string KindList() {
    std::string list;
    for (const CardKind& kind : CardKinds()) {
        list += (list.empty() ? "" : ", ") + std::string(kind.m_Name);
    }
    return list;
}

const CardKind& KindOf(const CardWish& wish) {
    const CardKind* kind = FindCardKind(wish.m_Kind);
    if (kind == nullptr) {
        throw DeckError("There is no kind of card \"" + wish.m_Kind + "\". The kinds are: " + KindList() +
                        ".");
    }
    return *kind;
}

std::string RandomSerial() {
    unsigned char random[15];
    if (RAND_bytes(random, sizeof random) != 1) {
        throw DeckError("There are no random numbers for a serial.");
    }
    std::string serial = "8"; // all zeros would be an empty card
    for (const unsigned char byte : random) {
        serial += static_cast<char>('0' + byte % 10);
    }
    return serial;
}

/// One above the greatest number that a card directory starts with.
std::string NextDirectory(const std::string& deck, const std::string& kind) {
    unsigned long last = 0;
    for (const std::string& name : CardsOf(deck)) {
        last = std::max(last, std::strtoul(name.c_str(), nullptr, 10));
    }
    const std::string number = std::to_string(last + 1);
    return (number.size() < 2 ? "0" : "") + number + "-" + kind;
}

void CheckDirectoryName(const std::string& name) {
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos) {
        throw DeckError("\"" + name + "\" cannot be the name of a card's directory.");
    }
}

void CheckFits(const char* what, const std::string& text, std::size_t size) {
    if (text.size() > size) {
        throw DeckError(std::string("The ") + what + " \"" + text + "\" is longer than " +
                        std::to_string(size) + " bytes.");
    }
}

Card MakeWishedCard(const std::string& deck, const CardWish& wish) {
    const CardKind& kind = KindOf(wish);
    const std::string holder = wish.m_Holder.value_or("Maxi Musterfrau");
    const std::string serial = wish.m_Serial.value_or(kind.m_SignatureKey ? RandomSerial() : EMPTY_SERIAL);
    CheckFits("serial", serial, 16);
    CheckFits("label", wish.m_Label.value_or(""), 32);
    CheckFits("model", wish.m_Model.value_or(""), 16);
    try {
        CheckHolderName(holder);
    } catch (const std::runtime_error& error) {
        throw DeckError("The holder \"" + holder + "\" cannot be used: " + error.what() + ".");
    }
    Card card = MakeCard(kind, holder, serial, DemoAuthority::Of(deck));
    card.m_Record.m_Label = wish.m_Label.value_or(card.m_Record.m_Label);
    card.m_Record.m_Model = wish.m_Model.value_or(card.m_Record.m_Model);
    card.m_Record.m_SlotId = wish.m_SlotId;
    card.m_Record.m_DelayMs = wish.m_DelayMs;
    card.m_Record.m_IsRemovable = wish.m_IsRemovable;
    card.m_Record.m_AsksPinForData = wish.m_AsksPinForData;
    return card;
}

void RequireDeck(const std::string& directory) {
    if (!IsDeck(directory)) {
        throw DeckError("\"" + directory + "\" is not a deck. \"orselsim-deck create\" makes one.");
    }
}

} // namespace

std::vector<CardWish> DemoCards() {
    const auto card = [](const char* kind, const char* holder, const char* serial) {
        CardWish wish;
        wish.m_Kind = kind;
        wish.m_Holder = holder;
        wish.m_Serial = serial;
        return wish;
    };
    std::vector<CardWish> cards = {
        card("acos-a03", "Jörg Weißenböck", "0401270843567891"),
        card("acos-a04", "Käthe Grünbichler", "0512380917624502"),
        card("acos-a05", "Leopold Öhlinger", "0623491026733613"),
        card("ecard-g2", "Franziska Müßig", "8004000112233445"),
        card("ecard-g3a", "Tobias Haslacher", "8004000223344556"),
        card("ecard-g3b", "Anneliese Süßmaier", "8004000334455667"),
        card("ecard-g4", "Björn Straßgschwandtner", "8004000445566778"),
        card("cardos-53", "Magdalena Fürnholzer", "8004100556677889"),
        card("empty", "Niemand", EMPTY_SERIAL),
        card("unknown", "Rosa Jägerstätter", "F000000000000017"),
    };
    return cards;
}

bool IsDeck(const std::string& directory) {
    return fs::is_regular_file(JoinPath(directory, MARK_FILE));
}

void CreateDeck(const std::string& directory, bool force) {
    if (fs::exists(directory) && !fs::is_directory(directory)) {
        throw DeckError("\"" + directory + "\" is not a directory.");
    }
    if (fs::exists(directory) && !fs::is_empty(directory)) {
        if (!IsDeck(directory)) {
            throw DeckError("\"" + directory + "\" is not empty and is not a deck; nothing was changed.");
        }
        if (!force) {
            throw DeckError("\"" + directory + "\" is a deck already. With --force its cards are replaced.");
        }
        for (const std::string& card : CardsOf(directory)) {
            fs::remove_all(JoinPath(directory, card));
        }
    }
    fs::create_directories(directory);
    ReplaceFile(JoinPath(directory, MARK_FILE), BytesOf("A deck of simulated cards.\n"));
}

std::vector<std::string> CardsOf(const std::string& deck) {
    RequireDeck(deck);
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(deck)) {
        const std::string name = entry.path().filename().string();
        std::error_code ignored; // a link in a circle is no card
        if (name.front() != '.' && entry.is_directory(ignored)) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string InsertCard(const std::string& deck, const CardWish& wish) {
    RequireDeck(deck);
    std::string name = wish.m_Directory.value_or(NextDirectory(deck, wish.m_Kind));
    CheckDirectoryName(name);
    if (fs::exists(JoinPath(deck, name))) {
        throw DeckError("The deck has a card \"" + name + "\" already.");
    }
    const Card card = MakeWishedCard(deck, wish);
    const std::string unfinished = JoinPath(deck, ".new-" + name); // a leading point: not a card yet
    fs::remove_all(unfinished);
    fs::create_directory(unfinished);
    SaveCard(unfinished, card);
    fs::rename(unfinished, JoinPath(deck, name));
    return name;
}

std::string CardDirectory(const std::string& deck, const std::string& card) {
    const auto cards = CardsOf(deck);
    if (std::find(cards.begin(), cards.end(), card) == cards.end()) {
        throw DeckError("The deck has no card \"" + card + "\".");
    }
    return JoinPath(deck, card);
}

void ChangeRecord(const std::string& cardDirectory, const std::function<void(CardRecord&)>& change) {
    const DirectoryLock lock(cardDirectory);
    const Card before = LoadCard(cardDirectory);
    Card after = before;
    change(after.m_Record);
    SaveChanges(cardDirectory, before, after);
}

void RemoveCard(const std::string& deck, const std::string& card) {
    const std::string directory = CardDirectory(deck, card);
    // Renamed first, so that the card is gone at once and not file by file.
    const std::string doomed = JoinPath(deck, ".old-" + card);
    fs::remove_all(doomed);
    fs::rename(directory, doomed);
    fs::remove_all(doomed);
}

} // namespace orselsim
