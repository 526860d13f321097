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

constexpr const char* markFile = ".deck"; ///< tells a deck from any other directory
constexpr const char* emptySerial = "0000000000000000";

std::string kindList() {
    std::string list;
    for (const CardKind& kind : cardKinds())
        list += (list.empty() ? "" : ", ") + std::string(kind.name);
    return list;
}

const CardKind& kindOf(const CardWish& wish) {
    const CardKind* kind = findCardKind(wish.kind);
    if (kind == nullptr)
        throw DeckError("There is no kind of card \"" + wish.kind + "\". The kinds are: " + kindList() + ".");
    return *kind;
}

std::string randomSerial() {
    unsigned char random[15];
    if (RAND_bytes(random, sizeof random) != 1)
        throw DeckError("There are no random numbers for a serial.");
    std::string serial = "8"; // all zeros would be an empty card
    for (const unsigned char byte : random)
        serial += static_cast<char>('0' + byte % 10);
    return serial;
}

/// One above the greatest number that a card directory starts with.
std::string nextDirectory(const std::string& deck, const std::string& kind) {
    unsigned long last = 0;
    for (const std::string& name : cardsOf(deck))
        last = std::max(last, std::strtoul(name.c_str(), nullptr, 10));
    const std::string number = std::to_string(last + 1);
    return (number.size() < 2 ? "0" : "") + number + "-" + kind;
}

void checkDirectoryName(const std::string& name) {
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos)
        throw DeckError("\"" + name + "\" cannot be the name of a card's directory.");
}

void checkFits(const char* what, const std::string& text, std::size_t size) {
    if (text.size() > size)
        throw DeckError(std::string("The ") + what + " \"" + text + "\" is longer than " +
                        std::to_string(size) + " bytes.");
}

Card makeWishedCard(const std::string& deck, const CardWish& wish) {
    const CardKind& kind = kindOf(wish);
    const std::string holder = wish.holder.value_or("Maxi Musterfrau");
    const std::string serial = wish.serial.value_or(kind.signatureKey ? randomSerial() : emptySerial);
    checkFits("serial", serial, 16);
    checkFits("label", wish.label.value_or(""), 32);
    checkFits("model", wish.model.value_or(""), 16);
    try {
        checkHolderName(holder);
    } catch (const std::runtime_error& error) {
        throw DeckError("The holder \"" + holder + "\" cannot be used: " + error.what() + ".");
    }
    Card card = makeCard(kind, holder, serial, DemoAuthority::of(deck));
    card.record.label = wish.label.value_or(card.record.label);
    card.record.model = wish.model.value_or(card.record.model);
    card.record.slotId = wish.slotId;
    card.record.delayMs = wish.delayMs;
    card.record.isRemovable = wish.isRemovable;
    card.record.asksPinForData = wish.asksPinForData;
    return card;
}

void requireDeck(const std::string& directory) {
    if (!isDeck(directory))
        throw DeckError("\"" + directory + "\" is not a deck. \"orselsim-deck create\" makes one.");
}

} // namespace

std::vector<CardWish> demoCards() {
    const auto card = [](const char* kind, const char* holder, const char* serial) {
        CardWish wish;
        wish.kind = kind;
        wish.holder = holder;
        wish.serial = serial;
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
        card("empty", "Niemand", emptySerial),
        card("unknown", "Rosa Jägerstätter", "F000000000000017"),
    };
    return cards;
}

bool isDeck(const std::string& directory) {
    return fs::is_regular_file(joinPath(directory, markFile));
}

void createDeck(const std::string& directory, bool force) {
    if (fs::exists(directory) && !fs::is_directory(directory))
        throw DeckError("\"" + directory + "\" is not a directory.");
    if (fs::exists(directory) && !fs::is_empty(directory)) {
        if (!isDeck(directory))
            throw DeckError("\"" + directory + "\" is not empty and is not a deck; nothing was changed.");
        if (!force)
            throw DeckError("\"" + directory + "\" is a deck already. With --force its cards are replaced.");
        for (const std::string& card : cardsOf(directory))
            fs::remove_all(joinPath(directory, card));
    }
    fs::create_directories(directory);
    replaceFile(joinPath(directory, markFile), bytesOf("A deck of simulated cards.\n"));
}

std::vector<std::string> cardsOf(const std::string& deck) {
    requireDeck(deck);
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(deck)) {
        const std::string name = entry.path().filename().string();
        std::error_code ignored; // a link in a circle is no card
        if (name.front() != '.' && entry.is_directory(ignored))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string insertCard(const std::string& deck, const CardWish& wish) {
    requireDeck(deck);
    std::string name = wish.directory.value_or(nextDirectory(deck, wish.kind));
    checkDirectoryName(name);
    if (fs::exists(joinPath(deck, name)))
        throw DeckError("The deck has a card \"" + name + "\" already.");
    const Card card = makeWishedCard(deck, wish);
    const std::string unfinished = joinPath(deck, ".new-" + name); // a leading point: not a card yet
    fs::remove_all(unfinished);
    fs::create_directory(unfinished);
    saveCard(unfinished, card);
    fs::rename(unfinished, joinPath(deck, name));
    return name;
}

std::string cardDirectory(const std::string& deck, const std::string& card) {
    const auto cards = cardsOf(deck);
    if (std::find(cards.begin(), cards.end(), card) == cards.end())
        throw DeckError("The deck has no card \"" + card + "\".");
    return joinPath(deck, card);
}

void changeRecord(const std::string& cardDirectory, const std::function<void(CardRecord&)>& change) {
    const DirectoryLock lock(cardDirectory);
    const Card before = loadCard(cardDirectory);
    Card after = before;
    change(after.record);
    saveChanges(cardDirectory, before, after);
}

void removeCard(const std::string& deck, const std::string& card) {
    const std::string directory = cardDirectory(deck, card);
    // Renamed first, so that the card is gone at once and not file by file.
    const std::string doomed = joinPath(deck, ".old-" + card);
    fs::remove_all(doomed);
    fs::rename(directory, doomed);
    fs::remove_all(doomed);
}

} // namespace orselsim
