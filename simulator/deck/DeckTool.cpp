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

constexpr unsigned long LARGEST_NUMBER = 2147483647;
constexpr unsigned long LARGEST_TRIES = 254;

void PrintHelp(std::ostream& out) {
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
    for (const CardKind& kind : CardKinds()) {
        out << "  " << std::left << std::setw(10) << kind.m_Name << "  " << kind.m_Model << '\n';
    }
    out << "\nA new card has the signature PIN " << DEMO_SIGNATURE_PIN << ", the encryption PIN "
        << DEMO_ENCRYPTION_PIN << " and the PUK " << DEMO_PUK << ".\n";
}

Words SplitAtCommas(const std::string& text) {
    Words words;
    std::istringstream rest(text);
    for (std::string word; std::getline(rest, word, ',');) {
        words.push_back(word);
    }
    return words;
}

/// The demo card of a kind, or a plain one for a kind that the demo deck does not have.
CardWish DemoCard(const std::string& kind) {
    for (const CardWish& wish : DemoCards()) {
        if (wish.m_Kind == kind) {
            return wish;
        }
    }
    CardWish wish;
    wish.m_Kind = kind;
    return wish;
}

std::vector<CardWish> WishesFor(const Arguments& arguments) {
    if (arguments.Has("--empty")) {
        return {};
    }
    const auto kinds = arguments.Value("--cards");
    if (!kinds) {
        return DemoCards();
    }
    std::vector<CardWish> wishes;
    for (const std::string& kind : SplitAtCommas(*kinds)) {
        if (FindCardKind(kind) == nullptr) {
            throw UsageError("There is no kind of card \"" + kind + "\".");
        }
        wishes.push_back(DemoCard(kind));
    }
    return wishes;
}

void Create(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {"--cards"}, {"--empty", "--force"});
    arguments.RequirePlaces({"DIR"});
    const std::vector<CardWish> wishes = WishesFor(arguments);
    const std::string& deck = arguments.Place(0);
    CreateDeck(deck, arguments.Has("--force"));
    for (const CardWish& wish : wishes) {
        InsertCard(deck, wish);
    }
    out << "Made a deck of " << wishes.size() << (wishes.size() == 1 ? " card" : " cards") << " in " << deck
        << ".\n";
}

void List(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.RequirePlaces({"DIR"});
    for (const std::string& card : CardsOf(arguments.Place(0))) {
        out << CardLine(card, CardDirectory(arguments.Place(0), card)) << '\n';
    }
}

void Show(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.RequirePlaces({"DIR", "CARD"});
    out << CardText(CardDirectory(arguments.Place(0), arguments.Place(1)));
}

void Insert(const Words& words, std::ostream& out) {
    const Arguments arguments(words,
                              {"--holder", "--serial", "--label", "--model", "--name", "--slot", "--delay"},
                              {"--fixed-reader", "--data-pin"});
    arguments.RequirePlaces({"DIR", "KIND"});
    CardWish wish;
    wish.m_Kind = arguments.Place(1);
    wish.m_Holder = arguments.Value("--holder");
    wish.m_Serial = arguments.Value("--serial");
    wish.m_Label = arguments.Value("--label");
    wish.m_Model = arguments.Value("--model");
    wish.m_Directory = arguments.Value("--name");
    wish.m_SlotId = arguments.Number("--slot", LARGEST_NUMBER);
    wish.m_DelayMs = static_cast<unsigned>(arguments.Number("--delay", LARGEST_NUMBER).value_or(0));
    wish.m_IsRemovable = !arguments.Has("--fixed-reader");
    wish.m_AsksPinForData = arguments.Has("--data-pin");
    out << "Put in the card " << InsertCard(arguments.Place(0), wish) << ".\n";
}

void Remove(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.RequirePlaces({"DIR", "CARD"});
    RemoveCard(arguments.Place(0), arguments.Place(1));
    out << "Took out the card " << arguments.Place(1) << ".\n";
}

std::optional<bool> YesOrNo(const Arguments& arguments, const std::string& option) {
    const auto value = arguments.Value(option);
    if (!value) {
        return std::nullopt;
    }
    if (*value != "yes" && *value != "no") {
        throw UsageError("The option " + option + " needs yes or no.");
    }
    return *value == "yes";
}

void SetBehaviour(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {"--delay", "--data-pin", "--software-pin", "--removable"}, {});
    arguments.RequirePlaces({"DIR", "CARD"});
    const auto delay = arguments.Number("--delay", LARGEST_NUMBER);
    const auto dataPin = YesOrNo(arguments, "--data-pin");
    const auto softwarePin = YesOrNo(arguments, "--software-pin");
    const auto removable = YesOrNo(arguments, "--removable");
    ChangeRecord(CardDirectory(arguments.Place(0), arguments.Place(1)), [&](CardRecord& record) {
        record.m_DelayMs = static_cast<unsigned>(delay.value_or(record.m_DelayMs));
        record.m_AsksPinForData = dataPin.value_or(record.m_AsksPinForData);
        record.m_AllowsSoftwarePin = softwarePin.value_or(record.m_AllowsSoftwarePin);
        record.m_IsRemovable = removable.value_or(record.m_IsRemovable);
    });
    out << "Changed the card " << arguments.Place(1) << ".\n";
}

PinChange PinChangeOf(const Arguments& arguments) {
    PinChange change;
    change.m_Pin = arguments.Value("--pin");
    change.m_Unset = arguments.Has("--unset");
    change.m_Tries = arguments.Number("--tries", LARGEST_TRIES);
    change.m_Puk = arguments.Value("--puk");
    change.m_RemovePuk = arguments.Has("--no-puk");
    change.m_PukTries = arguments.Number("--puk-tries", LARGEST_TRIES);
    if (change.m_Pin && change.m_Unset) {
        throw UsageError("The options --pin and --unset exclude each other.");
    }
    if (change.m_RemovePuk && (change.m_Puk || change.m_PukTries)) {
        throw UsageError("The option --no-puk excludes the other options of the PUK.");
    }
    return change;
}

void ChangePin(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {"--pin", "--tries", "--puk", "--puk-tries"}, {"--unset", "--no-puk"});
    arguments.RequirePlaces({"DIR", "CARD", "signature or encryption"});
    const PinChange change = PinChangeOf(arguments);
    const std::string directory = CardDirectory(arguments.Place(0), arguments.Place(1));
    ChangeRecord(directory, [&](CardRecord& record) { ApplyPinChange(record, arguments.Place(2), change); });
    out << PinLines(LoadCard(directory).m_Record);
}

void ResetPins(const Words& words, std::ostream& out) {
    const Arguments arguments(words, {}, {});
    arguments.RequirePlaces({"DIR", "CARD"});
    const std::string directory = CardDirectory(arguments.Place(0), arguments.Place(1));
    ChangeRecord(directory, ResetToDemoPins);
    out << PinLines(LoadCard(directory).m_Record);
}

void Run(const Words& words, std::ostream& out) {
    static const std::map<std::string, void (*)(const Words&, std::ostream&)> commands = {
        {"create", Create}, {"list", List},     {"show", Show},       {"insert", Insert},
        {"remove", Remove}, {"pin", ChangePin}, {"reset", ResetPins}, {"set", SetBehaviour},
    };
    if (words.empty()) {
        throw UsageError("What is to be done?");
    }
    if (words[0] == "--help" || words[0] == "-h") {
        PrintHelp(out);
        return;
    }
    const auto command = commands.find(words[0]);
    if (command == commands.end()) {
        throw UsageError("There is no command \"" + words[0] + "\".");
    }
    command->second(Words(words.begin() + 1, words.end()), out);
}

} // namespace

int RunDeckTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err) {
    try {
        Run(words, out);
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
