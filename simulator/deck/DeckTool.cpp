// SPDX-License-Identifier: MIT
#include "simulator/deck/DeckTool.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <ostream>
#include <sstream>

#include "simulator/deck/Arguments.h"
#include "simulator/deck/CardKinds.h"
#include "simulator/deck/CardMaker.h"
#include "simulator/deck/CardText.h"
#include "simulator/deck/DeckMaker.h"
#include "simulator/deck/PinChange.h"

namespace orselsim {

namespace {

using Words = std::vector<std::string>;

constexpr unsigned long largestNumber = 2147483647;
constexpr unsigned long largestTries = 254;

void printHelp(std::ostream& out) {
    out << "orselsim-deck makes and changes decks: directories of simulated cards.\n"
           "\n"
           "  orselsim-deck create DIR [--cards KIND,KIND,...] [--empty] [--force]\n"
           "      Makes the demo deck, or a deck of some of its cards, or one without cards.\n"
           "      --force replaces the cards of a deck that is there.\n"
           "  orselsim-deck list DIR\n"
           "      Shows the cards of a deck, one a line.\n"
           "  orselsim-deck show DIR CARD\n"
           "      Shows everything about one card.\n"
           "  orselsim-deck insert DIR KIND [--holder NAME] [--serial TEXT] [--label TEXT]\n"
           "          [--model TEXT] [--name CARD] [--slot NUMBER] [--delay MILLISECONDS]\n"
           "          [--fixed-reader] [--data-pin]\n"
           "      Puts a new card into a deck.\n"
           "  orselsim-deck remove DIR CARD\n"
           "      Takes a card out for good.\n"
           "  orselsim-deck pin DIR CARD signature|encryption [--pin DIGITS] [--unset]\n"
           "          [--tries NUMBER] [--puk DIGITS] [--no-puk] [--puk-tries NUMBER]\n"
           "      Changes a PIN and its tries behind the card's back, and shows them.\n"
           "  orselsim-deck reset DIR CARD\n"
           "      Gives all PINs and PUKs of a card the values of a new one, with all tries.\n"
           "  orselsim-deck set DIR CARD [--delay MILLISECONDS] [--data-pin yes|no]\n"
           "          [--software-pin yes|no] [--removable yes|no]\n"
           "      Changes how a card and its reader behave.\n"
           "  orselsim-deck --help\n"
           "\n"
           "CARD is the name of the card's directory, as \"list\" shows it. The kinds are:\n";
    for (const CardKind& kind : cardKinds())
        out << "  " << std::left << std::setw(10) << kind.name << "  " << kind.model << '\n';
    out << "\nA new card has the signature PIN " << demoSignaturePin << ", the encryption PIN "
        << demoEncryptionPin << " and the PUK " << demoPuk << ".\n";
}

Words splitAtCommas(const std::string& text) {
    Words words;
    std::istringstream rest(text);
    for (std::string word; std::getline(rest, word, ',');)
        words.push_back(word);
    return words;
}

/// The demo card of a kind, or a plain one for a kind that the demo deck does not have.
CardWish demoCard(const std::string& kind) {
    for (const CardWish& wish : demoCards())
        if (wish.kind == kind)
            return wish;
    CardWish wish;
    wish.kind = kind;
    return wish;
}

std::vector<CardWish> wishesFor(const Arguments& arguments) {
    if (arguments.has("--empty"))
        return {};
    const auto kinds = arguments.value("--cards");
    if (!kinds)
        return demoCards();
    std::vector<CardWish> wishes;
    for (const std::string& kind : splitAtCommas(*kinds)) {
        if (findCardKind(kind) == nullptr)
            throw UsageError("There is no kind of card \"" + kind + "\".");
        wishes.push_back(demoCard(kind));
    }
    return wishes;
}

void create(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {"--cards"}, {"--empty", "--force"});
    arguments.requirePlaces({"DIR"});
    const std::vector<CardWish> wishes = wishesFor(arguments);
    const std::string& deck = arguments.place(0);
    createDeck(deck, arguments.has("--force"));
    for (const CardWish& wish : wishes)
        insertCard(deck, wish);
    out << "Made a deck of " << wishes.size() << (wishes.size() == 1 ? " card" : " cards") << " in " << deck
        << ".\n";
}

void list(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.requirePlaces({"DIR"});
    for (const std::string& card : cardsOf(arguments.place(0)))
        out << cardLine(card, cardDirectory(arguments.place(0), card)) << '\n';
}

void show(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.requirePlaces({"DIR", "CARD"});
    out << cardText(cardDirectory(arguments.place(0), arguments.place(1)));
}

void insert(const Words& words, std::ostream& out) {
    const Arguments arguments(words,
                              {"--holder", "--serial", "--label", "--model", "--name", "--slot", "--delay"},
                              {"--fixed-reader", "--data-pin"});
    arguments.requirePlaces({"DIR", "KIND"});
    CardWish wish;
    wish.kind = arguments.place(1);
    wish.holder = arguments.value("--holder");
    wish.serial = arguments.value("--serial");
    wish.label = arguments.value("--label");
    wish.model = arguments.value("--model");
    wish.directory = arguments.value("--name");
    wish.slotId = arguments.number("--slot", largestNumber);
    wish.delayMs = static_cast<unsigned>(arguments.number("--delay", largestNumber).value_or(0));
    wish.isRemovable = !arguments.has("--fixed-reader");
    wish.asksPinForData = arguments.has("--data-pin");
    out << "Put in the card " << insertCard(arguments.place(0), wish) << ".\n";
}

void remove(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.requirePlaces({"DIR", "CARD"});
    removeCard(arguments.place(0), arguments.place(1));
    out << "Took out the card " << arguments.place(1) << ".\n";
}

std::optional<bool> yesOrNo(const Arguments& arguments, const std::string& option) {
    const auto value = arguments.value(option);
    if (!value)
        return std::nullopt;
    if (*value != "yes" && *value != "no")
        throw UsageError("The option " + option + " needs yes or no.");
    return *value == "yes";
}

void setBehaviour(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {"--delay", "--data-pin", "--software-pin", "--removable"}, {});
    arguments.requirePlaces({"DIR", "CARD"});
    const auto delay = arguments.number("--delay", largestNumber);
    const auto dataPin = yesOrNo(arguments, "--data-pin");
    const auto softwarePin = yesOrNo(arguments, "--software-pin");
    const auto removable = yesOrNo(arguments, "--removable");
    changeRecord(cardDirectory(arguments.place(0), arguments.place(1)), [&](CardRecord& record) {
        record.delayMs = static_cast<unsigned>(delay.value_or(record.delayMs));
        record.asksPinForData = dataPin.value_or(record.asksPinForData);
        record.allowsSoftwarePin = softwarePin.value_or(record.allowsSoftwarePin);
        record.isRemovable = removable.value_or(record.isRemovable);
    });
    out << "Changed the card " << arguments.place(1) << ".\n";
}

PinChange pinChangeOf(const Arguments& arguments) {
    PinChange change;
    change.pin = arguments.value("--pin");
    change.unset = arguments.has("--unset");
    change.tries = arguments.number("--tries", largestTries);
    change.puk = arguments.value("--puk");
    change.removePuk = arguments.has("--no-puk");
    change.pukTries = arguments.number("--puk-tries", largestTries);
    if (change.pin && change.unset)
        throw UsageError("The options --pin and --unset exclude each other.");
    if (change.removePuk && (change.puk || change.pukTries))
        throw UsageError("The option --no-puk excludes the other options of the PUK.");
    return change;
}

void changePin(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {"--pin", "--tries", "--puk", "--puk-tries"}, {"--unset", "--no-puk"});
    arguments.requirePlaces({"DIR", "CARD", "signature or encryption"});
    const PinChange change = pinChangeOf(arguments);
    const std::string directory = cardDirectory(arguments.place(0), arguments.place(1));
    changeRecord(directory, [&](CardRecord& record) { applyPinChange(record, arguments.place(2), change); });
    out << pinLines(loadCard(directory).record);
}

void resetPins(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.requirePlaces({"DIR", "CARD"});
    const std::string directory = cardDirectory(arguments.place(0), arguments.place(1));
    changeRecord(directory, resetToDemoPins);
    out << pinLines(loadCard(directory).record);
}

void run(const Words& words, std::ostream& out) {
    static const std::map<std::string, void (*)(const Words&, std::ostream&)> commands = {
        {"create", create}, {"list", list},     {"show", show},       {"insert", insert},
        {"remove", remove}, {"pin", changePin}, {"reset", resetPins}, {"set", setBehaviour},
    };
    if (words.empty())
        throw UsageError("What is to be done?");
    if (words[0] == "--help" || words[0] == "-h") {
        printHelp(out);
        return;
    }
    const auto command = commands.find(words[0]);
    if (command == commands.end())
        throw UsageError("There is no command \"" + words[0] + "\".");
    command->second(Words(words.begin() + 1, words.end()), out);
}

} // namespace

int runDeckTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err) {
    try {
        run(words, out);
        return 0;
    } catch (const UsageError& error) {
        err << "orselsim-deck: " << error.what() << " \"orselsim-deck --help\" shows what there is.\n";
        return 2;
    } catch (const std::exception& error) {
        err << "orselsim-deck: " << error.what() << '\n';
        return 1;
    }
}

} // namespace orselsim
