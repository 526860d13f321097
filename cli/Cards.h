// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_CARDS_H
#define ORSEL_CLI_CARDS_H

#include "card/tkPKCS11.h"
#include "cli/Reason.h"

#include <memory>
#include <string>
#include <vector>

namespace orselcli {

/// One card of the list.
struct CardRow {
    int m_Index = 0; ///< in the card class's list
    CK_SLOT_ID m_SlotId = 0;
    std::string m_Serial;   ///< as the card class compares it
    std::string m_Number;   ///< the same without padding
    std::string m_Label;    ///< without padding
    bool m_IsEmpty = false; ///< nobody has personalised it

    int Position() const { return m_Index + 1; }
};

/// The card class with what a command line wants to know of it beside.
class Cards : public Velmor::tkPKCS11 {
public:
    /// Loads the token library. Null when there is none that can be used; the outcome then says why.
    static std::unique_ptr<Cards> Bind(Outcome& outcome);
    /// Lets the library go.
    ~Cards() override;

    /// All cards, empty ones too, in the library's order.
    Outcome List(std::vector<CardRow>& rows);

    /// What the token says of itself, with the classification. An unknown kind keeps a fresh record's fields.
    bool InfoOf(const CardRow& row, Velmor::TokenInfoStruct2& info);
    /// The kind in words, as the card manager's window has them; the label for a kind without.
    std::string KindOf(const CardRow& row);
    /// Common name in the encryption certificate, in the open session. Empty when it cannot be read.
    std::string Holder();

    /// DER of one of the two certificates, in the open session. Only what can be parsed counts.
    Outcome ReadCertificate(bool isSignature, std::vector<unsigned char>& der);

    /// All objects of a class, in the open session, however many a card can have.
    Outcome FindAll(CK_OBJECT_CLASS objectClass, std::vector<CK_OBJECT_HANDLE>& handles);

    /// Tries that a PIN has left, in the open session; -1 when the card does not tell.
    int TriesLeft(Velmor::ApplType pin);

    // Of the library.
    std::string Manufacturer() const;
    std::string Description() const;
    std::string Version() const { return m_Version; }
    std::string File() const;
    /// Names of the entry points that it does not have.
    const std::vector<std::string>& Lacking() const { return m_Lacking; }

private:
    Cards() = default;
    void NoteWhatIsLacking();

    std::vector<std::string> m_Lacking;
};

/// Why an operation of the card class failed: what the library said of the last call that went wrong, or the
/// given reason when every call went well. A signal that has come is the reason before all others.
Outcome FailureOf(Reason otherwise = Reason::NO_ANSWER, const std::string& detail = "");

/// The same for an operation that asks for a PIN, with the tries that are left, in the open session.
Outcome FailureOfPin(Cards& cards, Velmor::ApplType pin, Reason otherwise = Reason::NO_ANSWER);

/// A session on one card for as long as the object lives.
class CardSession {
public:
    CardSession(Cards& cards, const CardRow& row);
    ~CardSession();
    CardSession(const CardSession&) = delete; // one session, one owner
    CardSession& operator=(const CardSession&) = delete;

    bool IsOpen() const { return m_IsOpen; }
    void Close();

private:
    Cards& m_Cards;
    bool m_IsOpen;
};

} // namespace orselcli

#endif
