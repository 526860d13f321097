// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_CARDTYPES_H
#define ORSEL_CARD_CARDTYPES_H

#include "formats/KeyTypes.h"

#include <p11-kit/pkcs11.h>

#include <iterator>
#include <string>

namespace Velmor {

/// The application on a card that a command works with.
enum ApplType : int {
    ApplSignature = 0,    ///< key "SK.CH.SIG", the 6-digit PIN
    ApplEncryption = 1,   ///< key "SK.CH.EKEY", the 4-digit PIN
    ApplIdentityLink = 2, ///< data object "PERSONENBINDUNG", the 4-digit PIN
};

/// Result of a PIN command.
enum PKCS11Return : int {
    P11_NOT_SUPPORTED = -2, ///< not possible on this card
    P11_ERROR = -1,         ///< any failure without a value of its own
    P11_OK = 0,
    P11_CANCELLED = 1, ///< by the user, in the PIN dialog
    P11_PIN_INCORRECT = 2,
    P11_PIN_LOCKED = 3,
};

enum PINState : int {
    PIN_STATE_BLOCKED = 0,
    PIN_STATE_OK = 1,
    PIN_STATE_UNKNOWN = 2,
};

/// Card product as told by the token's model and label; what the card list and its commands go by.
enum TokenType : int {
    TOKEN_ACOS_03 = 0,
    TOKEN_ACOS_04 = 1,
    TOKEN_ACOS_05 = 2,
    TOKEN_ECARD_G2 = 3,
    TOKEN_ECARD_G3A = 4,
    TOKEN_ECARD_G3B = 5,
    TOKEN_ECARD_G4 = 6,
    TOKEN_CARDOS_53 = 7,
};

/// What people are shown for a token type, in its order. Fixed words that no catalogue replaces.
inline constexpr const char* CARD_TYPE_TEXTS[] = {
    "Orsel Carta ACOS 03",    "Orsel Carta ACOS 04",    "Orsel Carta ACOS 05",   "Orsel Carta e-Card G2",
    "Orsel Carta e-Card G3A", "Orsel Carta e-Card G3B", "Orsel Carta e-Card G4", "Orsel Carta CardOS 5.3",
};

/// Number of known token types. Every value from here on stands for a token that is not recognised.
constexpr int TOKEN_TYPE_COUNT = static_cast<int>(std::size(CARD_TYPE_TEXTS));
static_assert(TOKEN_TYPE_COUNT == TOKEN_CARDOS_53 + 1, "each token type has its words");

/// Card product as told by the ATR; what the operations on a card go by. A numbering of its own beside
/// TokenType. 2 is not assigned.
enum CardType : int {
    CARD_UNKNOWN = 0,
    CARD_ACOS_A03 = 1,
    CARD_ECARD_G2 = 3,
    CARD_ELU = 4,
    CARD_ACOS_A04 = 5,
    CARD_ACOS_A05 = 6,
    CARD_ECARD_G3A = 7,
    CARD_ECARD_G3B = 8,
    CARD_CARDOS = 9,
};

/// Serial of a card that nobody has personalised.
inline constexpr char EMPTY_SERIAL[] = "0000000000000000";

/// Whether this is one of the e-cards, on which nobody unblocks a PIN with a PUK and which are not offered an
/// identity link.
constexpr bool IsECardToken(TokenType type) {
    return type >= TOKEN_ECARD_G2 && type <= TOKEN_ECARD_G4;
}

/// Whether the card has a PIN of the identity link's own.
constexpr bool HasIdentityLinkPin(TokenType type) {
    return type == TOKEN_ACOS_03;
}

/// One token that was present at the last tkPKCS11::GetSlots.
struct SlotStruct {
    CK_SLOT_ID m_SlotId = 0;
    std::string m_Label;  ///< up to the first zero byte, at most 32 characters, trailing blanks kept
    std::string m_Serial; ///< likewise, at most 16 characters
};

/// Token information as the library gives it, every text in its whole fixed width with its padding.
struct TokenInfoStruct {
    std::string m_Label;          ///< 32 characters
    std::string m_ManufacturerId; ///< 32 characters
    std::string m_Model;          ///< 16 characters
    std::string m_Serial;         ///< 16 characters
};

/// Token information with the classification by model and label. A token that no rule recognises keeps the
/// key and type fields that the caller put in, so a fresh record stands for an unknown card.
struct TokenInfoStruct2 {
    std::string m_Label;          ///< 32 characters
    std::string m_ManufacturerId; ///< 32 characters
    std::string m_Model;          ///< 16 characters
    std::string m_Serial;         ///< 16 characters
    SignKey m_EncKeyType = KEY_RSA;
    unsigned int m_EncKeyBits = 0;
    SignKey m_SigKeyType = KEY_RSA;
    unsigned int m_SigKeyBits = 0;
    TokenType m_TokenType = static_cast<TokenType>(TOKEN_TYPE_COUNT);
    bool m_HasInfobox = false; ///< false: the card holds the identity link alone
};

/// Fills the key and type fields by model and label. A token that no rule recognises keeps them as they are.
void ClassifyToken(TokenInfoStruct2& info);

} // namespace Velmor

#endif
