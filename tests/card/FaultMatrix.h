// SPDX-License-Identifier: MIT
#ifndef ORSEL_TESTS_CARD_FAULTMATRIX_H
#define ORSEL_TESTS_CARD_FAULTMATRIX_H

#include "tests/card/TokenTest.h"

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

/// What stands before an operation of the card class begins.
enum class Stage {
    UNBOUND, ///< no card object
    BOUND,   ///< a card object with the library
    LISTED,  ///< and with the slots of its cards
    SESSION, ///< and with a session on the one card, whose type is told
};

/// What an operation works with, the same in all its runs but for the card object.
struct MatrixContext {
    orseltest::SimDeck m_Deck;
    std::string m_CardName;
    const std::string m_Serial = "8004000011112222";
    std::unique_ptr<ProbedCard> m_Card;
    const Bytes m_Data = Bytes(20, 0x5A);
    Bytes m_Signature; ///< of the data, for operations that verify

    Bytes OnCard(const std::string& label) const { return m_Deck.ObjectContent(m_CardName, label); }

    /// Goes on to a stage, by what does not stand of it yet.
    void GoTo(Stage stage);
    /// Lets the library go.
    void LetGo();
};

/// One operation of the card class, and the results that are right for it.
///
/// A result is a text: what came back, and behind it the outputs. The one for a failing call is looked up in
/// `otherwise` from the narrowest key to the widest: "C_Sign#2 length", "C_Sign#2", "C_Sign length",
/// "C_Sign", where the number counts the calls of this function within the operation, and the word is the
/// name of the return code, or "length". Without a row it is `bad`. "{rv}" stands for the code in
/// hexadecimal.
struct MatrixOperation {
    std::string m_Name;
    std::string m_Kind = "acos-a03"; ///< of the card
    Stage m_Stage = Stage::SESSION;
    std::vector<std::string> m_Pins; ///< the answers to its questions
    std::function<std::string(MatrixContext&)> m_Run;
    std::string m_Good;
    std::string m_Bad;
    std::map<std::string, std::string> m_Otherwise;
    size_t m_SessionsWhenGood = 1; ///< that it leaves open, the one of its stage included
    size_t m_SessionsWhenBad = 1;
    std::function<void(MatrixContext&)> m_Prepare; ///< once, with the card in the deck

    // The parts by name, to be chained.
    MatrixOperation& On(const std::string& cardKind);
    /// Stages without a session leave none.
    MatrixOperation& From(Stage start);
    MatrixOperation& Asking(const std::vector<std::string>& answers);
    MatrixOperation& Gives(const std::string& whenGood, const std::string& whenBad);
    MatrixOperation& But(const std::map<std::string, std::string>& rows);
    MatrixOperation& LeavesSessions(size_t whenGood, size_t whenBad);
    MatrixOperation& After(std::function<void(MatrixContext&)> preparation);
    MatrixOperation& Runs(std::function<std::string(MatrixContext&)> operation);
};

/// Its name in the output of the tests.
inline void PrintTo(const MatrixOperation& operation, std::ostream* out) {
    *out << operation.m_Name;
}

class MatrixTable {
public:
    /// A new row. Good until the next one is added.
    MatrixOperation& Add(const std::string& name) {
        m_Operations.emplace_back();
        m_Operations.back().m_Name = name;
        return m_Operations.back();
    }
    const std::vector<MatrixOperation>& Operations() const { return m_Operations; }

private:
    std::vector<MatrixOperation> m_Operations;
};

/// Every operation of the card class that calls the token library.
const std::vector<MatrixOperation>& MatrixOperations();

// Its parts.
void AddCardOperations(MatrixTable& table);   ///< binding, slots, sessions, kinds, PINs, commands
void AddObjectOperations(MatrixTable& table); ///< what is searched for and read on the card

inline std::string Text(bool result) {
    return result ? "true" : "false";
}

template <typename Output>
std::string Text(bool result, const Output& output) {
    if constexpr (std::is_arithmetic_v<Output> || std::is_enum_v<Output>) {
        return Text(result) + " " + std::to_string(output);
    } else {
        return Text(result) + " " + output;
    }
}

#endif
