// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_SIMDECK_H
#define ORSEL_TESTS_SUPPORT_SIMDECK_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/deck/DeckMaker.h"

namespace orseltest {

/// How a card differs from a plain one of its kind.
class CardOptions {
public:
    CardOptions& holder(const std::string& name);
    CardOptions& serial(const std::string& text);
    CardOptions& label(const std::string& text);
    CardOptions& model(const std::string& text);
    CardOptions& directory(const std::string& name);
    CardOptions& slot(unsigned long id);
    CardOptions& delayMs(unsigned milliseconds);
    CardOptions& fixedReader(); ///< a slot that is not flagged as removable
    CardOptions& dataPin();     ///< private data is read and data is written with a PIN only

private:
    friend class SimDeck;
    orselsim::CardWish m_wish;
};

/// One line of the trace taken apart.
struct TraceRecord {
    long thread = 0;
    std::string function;
    std::map<std::string, std::string> values; ///< the arguments by key
    std::string result;                        ///< name of the return code, such as "CKR_OK"
    long microseconds = 0;

    /// Empty when the call has no such argument.
    std::string value(const std::string& key) const;
};

/// A deck of simulated cards in a temporary folder of its own, and the environment that makes the
/// token library use it. The library reads the environment at C_Initialize, so a test makes its
/// deck first, plans its faults, and loads the library then; cards may come and go at any time.
/// Everything is gone, and the environment as it was, when the object dies.
class SimDeck {
public:
    /// An empty deck with a trace, without faults and without answers to PIN questions.
    SimDeck();
    ~SimDeck();
    SimDeck(const SimDeck&) = delete; // one folder, one owner
    SimDeck& operator=(const SimDeck&) = delete;

    /// The deck directory, and the folder around it, where a test may leave files of its own.
    std::string path() const;
    const std::string& folder() const { return m_folder; }

    // Cards. Kinds: acos-a03 acos-a04 acos-a05 ecard-g2 ecard-g3a ecard-g3b ecard-g4 cardos-53 empty
    // unknown. A card is named by its directory.

    /// Puts in a new card and gives its name: the next number and the kind, such as "02-acos-a04".
    /// Without a serial in the options it gets a random one.
    std::string add(const std::string& kind, const CardOptions& options = CardOptions());

    /// Puts in the ten cards of the demo deck.
    void addDemoCards();

    /// Takes a card out of its reader with its state, and puts it back.
    void takeOut(const std::string& card);
    void putBack(const std::string& card);

    /// Throws a card away.
    void remove(const std::string& card);

    /// Cuts the card's record in half.
    void damage(const std::string& card);

    // What a card holds.

    orselsim::Card read(const std::string& card) const;

    /// Reads the card, lets `change` work on it, and writes it back.
    void change(const std::string& card, const std::function<void(orselsim::Card&)>& change);

    /// Gives the first object with this label another content. Throws when there is none.
    void replaceObject(const std::string& card, const std::string& label, const orselsim::Bytes& content);

    /// Removes every object with this label.
    void removeObject(const std::string& card, const std::string& label);

    void addData(const std::string& card, const std::string& label, const orselsim::Bytes& content,
                 bool isPrivate = false);

    /// Adds a certificate; the content need not be one.
    void addCertificate(const std::string& card, const std::string& label, const orselsim::Bytes& content,
                        const orselsim::Bytes& id);

    /// Content of the first object with this label. Throws when there is none.
    orselsim::Bytes objectContent(const std::string& card, const std::string& label) const;

    // The card's PINs: "signature" and "encryption". A new card has 123456 and 1234, the PUK 12345678.

    /// Tries left; 0 blocks the PIN.
    void setTries(const std::string& card, const std::string& pin, unsigned tries);
    unsigned triesLeft(const std::string& card, const std::string& pin) const;

    /// As before the first use.
    void unsetPin(const std::string& card, const std::string& pin);

    /// Whether these digits are the PIN; costs no try.
    bool hasPin(const std::string& card, const std::string& pin, const std::string& digits) const;

    // What the library meets.

    /// Writes the fault file, a fault a line, as docs/simulator.md tells.
    void planFaults(const std::vector<std::string>& faults);

    /// Appends answers to the questions for PINs: a PIN or "cancel" each.
    void answerPins(const std::vector<std::string>& answers);

    /// The trace so far, of all functions or of one.
    std::vector<TraceRecord> trace() const;
    std::vector<TraceRecord> trace(const std::string& function) const;

    /// The trace as it stands in the file.
    std::string traceText() const;

    /// Begins the trace anew.
    void clearTrace();

private:
    void setVariable(const char* name, const std::string& value);
    std::string file(const char* name) const { return m_folder + "/" + name; }

    std::string m_folder;
    std::map<std::string, std::optional<std::string>> m_variablesBefore;
    std::vector<std::string> m_answers;
};

} // namespace orseltest

#endif
