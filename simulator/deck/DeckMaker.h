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
    std::string m_Kind;
    std::optional<std::string> m_Directory; ///< default: the next number and the kind, "03-acos-a05"
    std::optional<std::string> m_Holder;
    std::optional<std::string> m_Serial;
    std::optional<std::string> m_Label;
    std::optional<std::string> m_Model;
    std::optional<unsigned long> m_SlotId;
    unsigned m_DelayMs = 0;
    bool m_IsRemovable = true;
    bool m_AsksPinForData = false;
};

/// The cards of the demo deck, in slot order.
std::vector<CardWish> DemoCards();

/// Makes an empty deck; the directory may exist if it is empty. With `force` the cards of a deck
/// that is there are thrown away first. Never touches a directory that is not a deck.
void CreateDeck(const std::string& directory, bool force);

bool IsDeck(const std::string& directory);

/// Directory names of everything in the deck that looks like a card, damaged or not, in order.
std::vector<std::string> CardsOf(const std::string& deck);

/// Puts in a new card and gives its directory name. The card appears as a whole: a library that
/// watches the deck never sees half of it.
std::string InsertCard(const std::string& deck, const CardWish& wish);

void RemoveCard(const std::string& deck, const std::string& card);

/// Reads a card's record, lets `change` work on it and writes it back, undisturbed by a library
/// that uses the card.
void ChangeRecord(const std::string& cardDirectory, const std::function<void(CardRecord&)>& change);

/// Path of a card's directory; throws DeckError when the deck has no such card.
std::string CardDirectory(const std::string& deck, const std::string& card);

} // namespace orselsim

#endif
