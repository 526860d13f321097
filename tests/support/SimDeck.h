// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_SUPPORT_SIMDECK_H
#define ORSEL_TESTS_SUPPORT_SIMDECK_H

#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "simulator/deck/DeckMaker.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

namespace orseltest {

/// How a card differs from a plain one of its kind.
class CardOptions {
public:
    CardOptions& Holder(const std::string& name);
    CardOptions& Serial(const std::string& text);
    CardOptions& Label(const std::string& text);
    CardOptions& Model(const std::string& text);
    CardOptions& Directory(const std::string& name);
    CardOptions& Slot(unsigned long id);
    CardOptions& DelayMs(unsigned milliseconds);
    CardOptions& FixedReader(); ///< a slot that is not flagged as removable
    CardOptions& DataPin();     ///< private data is read and data is written with a PIN only

private:
    friend class SimDeck;
    orselsim::CardWish m_Wish;
};

/// One line of the trace taken apart.
struct TraceRecord {
    long m_Thread = 0;
    std::string m_Function;
    std::map<std::string, std::string> m_Values; ///< the arguments by key
    std::string m_Result;                        ///< name of the return code, such as "CKR_OK"
    long m_Microseconds = 0;

    /// Empty when the call has no such argument.
    std::string Value(const std::string& key) const;
};

/// A deck of simulated cards in a temporary folder of its own, and the environment that makes the
/// token library use it. The library reads the environment at C_Initialize, so a test makes its
/// deck first, plans its faults, and loads the library then; cards may come and go at any time.
/// Everything is gone, and the environment as it was, when the object dies.
class SimDeck {
public:
    /// An empty deck with a trace, without faults and without answers to PIN questions.
    SimDeck();
    SimDeck(const SimDeck&) = delete; // one folder, one owner
    SimDeck& operator=(const SimDeck&) = delete;

    /// The deck directory, and the folder around it, where a test may leave files of its own.
    std::string GetPath() const;
    const std::string& Folder() const { return m_Dir.Path(); }

    // Cards. Kinds: acos-a03 acos-a04 acos-a05 ecard-g2 ecard-g3a ecard-g3b ecard-g4 cardos-53 empty
    // unknown. A card is named by its directory.

    /// Puts in a new card and gives its name: the next number and the kind, such as "02-acos-a04".
    /// Without a serial in the options it gets a random one.
    std::string Add(const std::string& kind, const CardOptions& options = CardOptions());

    /// Puts in the ten cards of the demo deck.
    void AddDemoCards();

    /// Takes a card out of its reader with its state, and puts it back.
    void TakeOut(const std::string& card);
    void PutBack(const std::string& card);

    /// Throws a card away.
    void Remove(const std::string& card);

    /// Cuts the card's record in half.
    void Damage(const std::string& card);

    // What a card holds.

    orselsim::Card Read(const std::string& card) const;

    /// Reads the card, lets `change` work on it, and writes it back.
    void Change(const std::string& card, const std::function<void(orselsim::Card&)>& change);

    /// Gives the first object with this label another content. Throws when there is none.
    void ReplaceObject(const std::string& card, const std::string& label, const orselsim::Bytes& content);

    /// Removes every object with this label.
    void RemoveObject(const std::string& card, const std::string& label);

    void AddData(const std::string& card, const std::string& label, const orselsim::Bytes& content,
                 bool isPrivate = false);

    /// Adds a certificate; the content need not be one.
    void AddCertificate(const std::string& card, const std::string& label, const orselsim::Bytes& content,
                        const orselsim::Bytes& id);

    /// Content of the first object with this label. Throws when there is none.
    orselsim::Bytes ObjectContent(const std::string& card, const std::string& label) const;

    // The card's PINs: "signature" and "encryption". A new card has 123456 and 1234, the PUK 12345678.

    /// Tries left; 0 blocks the PIN.
    void SetTries(const std::string& card, const std::string& pin, unsigned tries);
    unsigned TriesLeft(const std::string& card, const std::string& pin) const;

    /// As before the first use.
    void UnsetPin(const std::string& card, const std::string& pin);

    /// Whether these digits are the PIN; costs no try.
    bool HasPin(const std::string& card, const std::string& pin, const std::string& digits) const;

    // What the library meets.

    /// Writes the fault file, a fault a line, as docs/simulator.md tells.
    void PlanFaults(const std::vector<std::string>& faults);

    /// Appends answers to the questions for PINs: a PIN or "cancel" each.
    void AnswerPins(const std::vector<std::string>& answers);

    /// The trace so far, of all functions or of one.
    std::vector<TraceRecord> GetTrace() const;
    std::vector<TraceRecord> GetTrace(const std::string& function) const;

    /// The trace as it stands in the file.
    std::string TraceText() const;

    /// Begins the trace anew.
    void ClearTrace();

private:
    std::string File(const char* name) const { return m_Dir.Path(name); }

    TempDir m_Dir;
    std::list<ScopedVariable> m_Variables;
    std::vector<std::string> m_Answers;
};

} // namespace orseltest

#endif
