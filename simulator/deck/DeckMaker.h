// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_DECKMAKER_H
#define ORSEL_SIMULATOR_DECK_DECKMAKER_H

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/store/Card.h"

namespace orselsim {

/// A deck that cannot be made or changed as asked; what() is a sentence for the user.
class DeckError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A card that is to be put into a deck. What is not given follows from the kind.
struct CardWish {
    std::string kind;
    std::optional<std::string> directory; ///< default: the next number and the kind, "03-acos-a05"
    std::optional<std::string> holder;
    std::optional<std::string> serial;
    std::optional<std::string> label;
    std::optional<std::string> model;
    std::optional<unsigned long> slotId;
    unsigned delayMs = 0;
    bool isRemovable = true;
    bool asksPinForData = false;
};

/// The cards of the demo deck, in slot order.
std::vector<CardWish> demoCards();

/// Makes an empty deck; the directory may exist if it is empty. With `force` the cards of a deck
/// that is there are thrown away first. Never touches a directory that is not a deck.
void createDeck(const std::string& directory, bool force);

bool isDeck(const std::string& directory);

/// Directory names of everything in the deck that looks like a card, damaged or not, in order.
std::vector<std::string> cardsOf(const std::string& deck);

/// Puts in a new card and gives its directory name. The card appears as a whole: a library that
/// watches the deck never sees half of it.
std::string insertCard(const std::string& deck, const CardWish& wish);

void removeCard(const std::string& deck, const std::string& card);

/// Reads a card's record, lets `change` work on it and writes it back, undisturbed by a library
/// that uses the card.
void changeRecord(const std::string& cardDirectory, const std::function<void(CardRecord&)>& change);

/// Path of a card's directory; throws DeckError when the deck has no such card.
std::string cardDirectory(const std::string& deck, const std::string& card);

} // namespace orselsim

#endif
