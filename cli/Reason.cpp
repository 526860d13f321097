// SPDX-License-Identifier: MIT
#include "cli/Reason.h"

#include <algorithm>
#include <iterator>

#include "cli/Words.h"

namespace orselcli {

namespace {

// Next steps that several reasons share.
constexpr const char* NOTHING_TO_DO = "";
constexpr const char* PUT_CARD_BACK = ORSEL_WORD("Put the card back, wait for the reader and try again.");
constexpr const char* ASK_DOCTOR = ORSEL_WORD("Run \"orselcards-cli doctor\" to see what is missing.");
constexpr const char* TRY_AGAIN = ORSEL_WORD("Try again; if it stays, take the card out and put it back.");
constexpr const char* OTHER_LIBRARY = ORSEL_WORD("This needs another version of the token library.");
constexpr const char* SEE_HELP = ORSEL_WORD("Run \"orselcards-cli --help\" to see what can be asked.");
constexpr const char* SEE_CARDS = ORSEL_WORD("Run \"orselcards-cli list\" to see the cards.");
constexpr const char* SEE_ENTRIES = ORSEL_WORD("Run \"orselcards-cli infobox\" to see what the card holds.");
constexpr const char* SEE_SHOW = ORSEL_WORD("Run \"orselcards-cli show\" to see what this card holds.");
constexpr const char* OTHER_HASH = ORSEL_WORD("Choose another one with --hash.");
constexpr const char* CHECK_FILE = ORSEL_WORD("Check the file's name and its rights.");
constexpr const char* ASK_ISSUER = ORSEL_WORD("Ask whoever issued the card.");

const ReasonWords REASONS[] = {
    {Reason::DONE, "done", EXIT_DONE, ORSEL_WORD("Done."), NOTHING_TO_DO},
    {Reason::CANCELLED, "cancelled", EXIT_REFUSED, ORSEL_WORD("The question for the PIN was cancelled."),
     ORSEL_WORD("Run the command again when you have the PIN at hand.")},
    {Reason::WRONG_PIN, "wrong-pin", EXIT_REFUSED, ORSEL_WORD("The PIN is wrong; {}."),
     ORSEL_WORD("Check which of the card's PINs was asked for, then try again.")},
    {Reason::PIN_BLOCKED, "pin-blocked", EXIT_REFUSED, ORSEL_WORD("The PIN is blocked."),
     ORSEL_WORD("Unblock it with \"orselcards-cli pin unblock\" and the PUK.")},
    {Reason::PIN_NOT_SET, "pin-not-set", EXIT_REFUSED, ORSEL_WORD("The PIN has never been set."),
     ORSEL_WORD("Set it with \"orselcards-cli pin change\".")},
    {Reason::PIN_EXPIRED, "pin-expired", EXIT_REFUSED, ORSEL_WORD("The PIN has expired."),
     ORSEL_WORD("Set a new one with \"orselcards-cli pin change\".")},
    {Reason::PIN_LENGTH, "pin-length", EXIT_REFUSED, ORSEL_WORD("The new PIN has the wrong length."),
     ORSEL_WORD("Choose one with as many digits as the card wants.")},
    {Reason::PIN_CHARACTERS, "pin-characters", EXIT_REFUSED,
     ORSEL_WORD("The new PIN was entered in two ways or has other characters than digits."),
     ORSEL_WORD("Enter the same digits twice.")},
    {Reason::DECLINED, "declined", EXIT_REFUSED, ORSEL_WORD("Nothing was changed, since you did not agree."),
     NOTHING_TO_DO},
    {Reason::INTERRUPTED, "interrupted", EXIT_SIGNAL, ORSEL_WORD("The command was interrupted."),
     NOTHING_TO_DO},
    {Reason::OUTPUT_CLOSED, "output-closed", EXIT_REFUSED, ORSEL_WORD("The output cannot be written: {}."),
     ORSEL_WORD("Check where it goes to.")},

    {Reason::CARD_GONE, "card-gone", EXIT_REFUSED, ORSEL_WORD("The card was taken out."), PUT_CARD_BACK},
    {Reason::NO_CARD_IN_READER, "no-card-in-reader", EXIT_REFUSED,
     ORSEL_WORD("There is no card in this reader any more."), PUT_CARD_BACK},
    {Reason::CARD_UNKNOWN_TO_LIBRARY, "card-not-recognised", EXIT_REFUSED,
     ORSEL_WORD("The token library does not know this kind of card."), OTHER_LIBRARY},
    {Reason::CARD_WRITE_PROTECTED, "card-write-protected", EXIT_REFUSED,
     ORSEL_WORD("The card is protected against writing."), ASK_ISSUER},
    {Reason::EMPTY_CARD, "empty-card", EXIT_REFUSED,
     ORSEL_WORD("Nobody has personalised this card: there is nothing on it to work with."), ASK_ISSUER},
    {Reason::NO_CERTIFICATE, "no-certificate", EXIT_REFUSED,
     ORSEL_WORD("The card holds no such certificate."), SEE_SHOW},
    {Reason::BROKEN_CERTIFICATE, "broken-certificate", EXIT_REFUSED,
     ORSEL_WORD("What the card holds in place of the certificate is none."), ASK_ISSUER},
    {Reason::NO_KEY, "no-key", EXIT_REFUSED, ORSEL_WORD("The card holds no such key."), SEE_SHOW},
    {Reason::NO_IDENTITY_LINK, "no-identity-link", EXIT_REFUSED,
     ORSEL_WORD("The card holds no identity link."), ASK_ISSUER},
    {Reason::BROKEN_IDENTITY_LINK, "broken-identity-link", EXIT_REFUSED,
     ORSEL_WORD("The card's identity link cannot be read: its content is damaged."),
     ORSEL_WORD("Look at its bytes with --raw.")},
    {Reason::LINK_IN_INFOBOX, "identity-link-in-infobox", EXIT_REFUSED,
     ORSEL_WORD("This card keeps its identity link in the infobox area, where this command cannot reach it."),
     ORSEL_WORD("Where it is about the PIN, name the encryption PIN: it is the same one.")},
    {Reason::NO_CONTAINER, "no-infobox", EXIT_REFUSED, ORSEL_WORD("The card's infobox area is missing."),
     ASK_ISSUER},
    {Reason::BROKEN_CONTAINER, "broken-infobox", EXIT_REFUSED,
     ORSEL_WORD("The list of the card's infobox area is damaged."), ASK_ISSUER},
    {Reason::NO_ENTRY, "no-entry", EXIT_REFUSED, ORSEL_WORD("The infobox area has no entry \"{}\"."),
     SEE_ENTRIES},
    {Reason::NO_INSURANCE, "no-insurance", EXIT_REFUSED,
     ORSEL_WORD("The card holds no insurance data: only e-cards do."), SEE_CARDS},
    {Reason::NO_PROTECTION, "no-protection", EXIT_REFUSED,
     ORSEL_WORD("The entries of this kind of card cannot be protected."), SEE_ENTRIES},
    {Reason::CHANGE_NOT_SEEN, "change-not-seen", EXIT_REFUSED,
     ORSEL_WORD("The card took the change, but does not show it."), SEE_ENTRIES},

    {Reason::NOT_SUPPORTED, "not-supported", EXIT_REFUSED,
     ORSEL_WORD("The token library or the card does not support this ({})."),
     ORSEL_WORD("Run \"orselcards-cli doctor\" to see what the library lacks.")},
    {Reason::MECHANISM_NOT_SUPPORTED, "mechanism-not-supported", EXIT_REFUSED,
     ORSEL_WORD("The card's key cannot sign in this way."), OTHER_HASH},
    {Reason::MECHANISM_PARAMETER, "mechanism-parameter", EXIT_REFUSED,
     ORSEL_WORD("The token library wants parameters for this way of signing."), OTHER_HASH},
    {Reason::FUNCTION_FAILED, "function-failed", EXIT_REFUSED,
     ORSEL_WORD("The token library could not do what it was asked ({})."), TRY_AGAIN},
    {Reason::FUNCTION_REJECTED, "function-rejected", EXIT_REFUSED,
     ORSEL_WORD("The card rejects this now ({})."),
     ORSEL_WORD("Look at the state of the PINs with \"orselcards-cli pin\".")},
    {Reason::DEVICE_FAILED, "device-failed", EXIT_REFUSED,
     ORSEL_WORD("The card or the reader failed, or nobody could be asked for the PIN ({})."), ASK_DOCTOR},
    {Reason::DEVICE_MEMORY, "device-memory", EXIT_REFUSED,
     ORSEL_WORD("The card has too little memory for this ({})."), ASK_ISSUER},
    {Reason::HOST_MEMORY, "host-memory", EXIT_REFUSED,
     ORSEL_WORD("This machine has too little memory for this ({})."),
     ORSEL_WORD("End other programs and try again.")},
    {Reason::GENERAL_FAILURE, "general-failure", EXIT_REFUSED,
     ORSEL_WORD("The token library failed and does not say why ({})."), TRY_AGAIN},
    {Reason::SESSION_LOST, "session-lost", EXIT_REFUSED,
     ORSEL_WORD("The connection to the card was lost ({})."), TRY_AGAIN},
    {Reason::SESSION_CLOSED, "session-closed", EXIT_REFUSED,
     ORSEL_WORD("The connection to the card was closed by somebody else ({})."), TRY_AGAIN},
    {Reason::TOO_MANY_SESSIONS, "too-many-sessions", EXIT_REFUSED,
     ORSEL_WORD("Too many programs use the card at once."), ORSEL_WORD("End other programs that use cards.")},
    {Reason::SESSION_READ_ONLY, "session-read-only", EXIT_REFUSED,
     ORSEL_WORD("The token library does not let anything be written in this way."), OTHER_LIBRARY},
    {Reason::LOGIN_MISSING, "login-missing", EXIT_REFUSED,
     ORSEL_WORD("The card wants the PIN first, and the token library did not ask for it."), OTHER_LIBRARY},
    {Reason::OTHER_USER, "other-user", EXIT_REFUSED,
     ORSEL_WORD("The PIN has been given to the card already."), TRY_AGAIN},
    {Reason::BUFFER_TOO_SMALL, "value-too-large", EXIT_REFUSED,
     ORSEL_WORD("What the card holds is larger than expected ({})."), ASK_ISSUER},
    {Reason::ANSWER_BEYOND_REASON, "answer-beyond-reason", EXIT_REFUSED,
     ORSEL_WORD("The token library gave an answer that cannot be right ({})."), OTHER_LIBRARY},
    {Reason::DATA_LENGTH, "data-length", EXIT_REFUSED,
     ORSEL_WORD("The data has a length that the key cannot sign."),
     ORSEL_WORD("With --hash raw, give a finished hash.")},
    {Reason::DATA_INVALID, "data-invalid", EXIT_REFUSED, ORSEL_WORD("The key cannot sign this data."),
     ORSEL_WORD("With --hash raw, give the data in the form that the key wants.")},
    {Reason::KEY_LOST, "key-lost", EXIT_REFUSED, ORSEL_WORD("The token library has lost the key."),
     TRY_AGAIN},
    {Reason::KEY_WRONG_KIND, "key-wrong-kind", EXIT_REFUSED,
     ORSEL_WORD("The key is of a kind that cannot be used for this."), OTHER_HASH},
    {Reason::KEY_WRONG_SIZE, "key-wrong-size", EXIT_REFUSED,
     ORSEL_WORD("The key has a size that cannot be used for this."), OTHER_HASH},
    {Reason::KEY_USE_FORBIDDEN, "key-use-forbidden", EXIT_REFUSED,
     ORSEL_WORD("The card does not let the key be used for this."), ORSEL_WORD("Use the card's other key.")},
    {Reason::OBJECT_LOST, "object-lost", EXIT_REFUSED, ORSEL_WORD("The token library has lost the object."),
     TRY_AGAIN},
    {Reason::ATTRIBUTE_READ_ONLY, "attribute-read-only", EXIT_REFUSED,
     ORSEL_WORD("The card does not let this be changed."), ASK_ISSUER},
    {Reason::ATTRIBUTE_SECRET, "attribute-secret", EXIT_REFUSED,
     ORSEL_WORD("The card does not give this out."), NOTHING_TO_DO},
    {Reason::ATTRIBUTE_UNKNOWN, "attribute-unknown", EXIT_REFUSED,
     ORSEL_WORD("The token library does not know the command, or the object has no such value ({})."),
     OTHER_LIBRARY},
    {Reason::ATTRIBUTE_INVALID, "attribute-invalid", EXIT_REFUSED,
     ORSEL_WORD("The card refuses the new content."),
     ORSEL_WORD("Check that the file is meant for this card.")},
    {Reason::ARGUMENTS_BAD, "arguments-bad", EXIT_REFUSED,
     ORSEL_WORD("The token library refuses the call ({})."), OTHER_LIBRARY},
    {Reason::OPERATION_ACTIVE, "operation-active", EXIT_REFUSED,
     ORSEL_WORD("The card is still busy with something else ({})."), TRY_AGAIN},
    {Reason::OPERATION_NOT_STARTED, "operation-not-started", EXIT_REFUSED,
     ORSEL_WORD("The card has dropped what it had begun ({})."), TRY_AGAIN},
    {Reason::SIGNATURE_INVALID, "signature-wrong", EXIT_REFUSED,
     ORSEL_WORD("The signature does not belong to this data and this key."),
     ORSEL_WORD("Check the file, the key and the hash.")},
    {Reason::SIGNATURE_LENGTH, "signature-length", EXIT_REFUSED,
     ORSEL_WORD("The signature has a length that none of this key has."),
     ORSEL_WORD("Check the signature file; --base64 reads one in base64.")},
    {Reason::READER_LOST, "reader-lost", EXIT_REFUSED, ORSEL_WORD("The card reader is gone."),
     ORSEL_WORD("Plug the reader in again.")},
    {Reason::NOT_INITIALISED, "not-initialised", EXIT_REFUSED,
     ORSEL_WORD("The token library has let go of the cards ({})."), TRY_AGAIN},
    {Reason::UNKNOWN_CODE, "unknown-code", EXIT_REFUSED,
     ORSEL_WORD("The token library failed with a code of its own: {}."),
     ORSEL_WORD("Look the code up in the library's own documents.")},
    {Reason::NO_ANSWER, "no-answer", EXIT_REFUSED, ORSEL_WORD("The card gave nothing that can be used."),
     SEE_SHOW},

    {Reason::USAGE, "usage", EXIT_SENSELESS, "{}", SEE_HELP},
    {Reason::SEVERAL_CARDS, "several-cards", EXIT_SENSELESS,
     ORSEL_WORD("There are several cards: say which one, by number or position."), SEE_CARDS},
    {Reason::BAD_HEX, "bad-hex", EXIT_SENSELESS, ORSEL_WORD("\"{}\" is no command in hexadecimal digits."),
     ORSEL_WORD("A command has at least four bytes of two digits each.")},
    {Reason::INPUT_UNREADABLE, "input-unreadable", EXIT_SENSELESS, ORSEL_WORD("The file cannot be read: {}."),
     CHECK_FILE},
    {Reason::INPUT_TOO_LARGE, "input-too-large", EXIT_SENSELESS,
     ORSEL_WORD("The file is too large for this: {}."), CHECK_FILE},
    {Reason::OUTPUT_UNWRITABLE, "output-unwritable", EXIT_SENSELESS,
     ORSEL_WORD("The file cannot be made: {}."), ORSEL_WORD("Check the directory's name and its rights.")},
    {Reason::OUTPUT_FAILED, "output-failed", EXIT_REFUSED,
     ORSEL_WORD("The file could not be written whole and was left out: {}."),
     ORSEL_WORD("Make room on the disk and try again.")},
    {Reason::NEEDS_YES, "needs-yes", EXIT_SENSELESS, ORSEL_WORD("There is nobody to ask whether to go on."),
     ORSEL_WORD("Give --yes if you mean it.")},
    {Reason::NEW_CERTIFICATE_UNREADABLE, "new-certificate-unreadable", EXIT_SENSELESS,
     ORSEL_WORD("There is no certificate in the file: {}."), ORSEL_WORD("Give a certificate in PEM or DER.")},
    {Reason::NEW_LINK_UNREADABLE, "new-identity-link-unreadable", EXIT_SENSELESS,
     ORSEL_WORD("There is no identity link in the file: {}."),
     ORSEL_WORD("Give a record of 128 to 3072 bytes, as --raw gives one out.")},
    {Reason::KEYS_DIFFER, "keys-differ", EXIT_REFUSED,
     ORSEL_WORD("The new certificate is for a key that this card does not have."),
     ORSEL_WORD("Check that the file is meant for this card.")},
    {Reason::HASH_FAILED, "hash-failed", EXIT_REFUSED,
     ORSEL_WORD("This machine's crypto library does not offer the hash {}."), OTHER_HASH},

    {Reason::NO_CARDS, "no-cards", EXIT_NO_CARD, ORSEL_WORD("There is no card in any reader."),
     ORSEL_WORD("Put a card in, or wait for one with --wait.")},
    {Reason::NO_SUCH_CARD, "no-such-card", EXIT_NO_CARD, ORSEL_WORD("There is no card \"{}\"."), SEE_CARDS},
    {Reason::AMBIGUOUS_CARD, "ambiguous-card", EXIT_NO_CARD,
     ORSEL_WORD("Several cards have a number that begins with \"{}\"."),
     ORSEL_WORD("Give more digits, or the position, such as @3.")},

    {Reason::LIBRARY_MISSING, "library-missing", EXIT_NO_LIBRARY,
     ORSEL_WORD("The token library libOrselP11.so is not there: {}."), ASK_DOCTOR},
    {Reason::LIBRARY_UNUSABLE, "library-unusable", EXIT_NO_LIBRARY,
     ORSEL_WORD("The token library libOrselP11.so cannot be used: {}."), ASK_DOCTOR},
    {Reason::UNHEALTHY, "unhealthy", EXIT_REFUSED, ORSEL_WORD("Cards cannot be used yet."),
     ORSEL_WORD("See to what is marked above.")},
    {Reason::NO_LIBRARY_FOUND, "no-library-found", EXIT_NO_LIBRARY,
     ORSEL_WORD("Cards cannot be used without a token library."), ORSEL_WORD("See to what is marked above.")},
};

struct CodeRow {
    CK_RV m_Code;
    Reason m_Reason;
};

constexpr CodeRow CODES[] = {
    {CKR_OK, Reason::DONE},
    {CKR_CANCEL, Reason::CANCELLED},
    {CKR_FUNCTION_CANCELED, Reason::CANCELLED},
    {CKR_PIN_INCORRECT, Reason::WRONG_PIN},
    {CKR_PIN_LOCKED, Reason::PIN_BLOCKED},
    {CKR_USER_PIN_NOT_INITIALIZED, Reason::PIN_NOT_SET},
    {CKR_PIN_EXPIRED, Reason::PIN_EXPIRED},
    {CKR_PIN_LEN_RANGE, Reason::PIN_LENGTH},
    {CKR_PIN_INVALID, Reason::PIN_CHARACTERS},
    {CKR_DEVICE_REMOVED, Reason::CARD_GONE},
    {CKR_TOKEN_NOT_PRESENT, Reason::NO_CARD_IN_READER},
    {CKR_TOKEN_NOT_RECOGNIZED, Reason::CARD_UNKNOWN_TO_LIBRARY},
    {CKR_TOKEN_WRITE_PROTECTED, Reason::CARD_WRITE_PROTECTED},
    {CKR_DEVICE_MEMORY, Reason::DEVICE_MEMORY},
    {CKR_DEVICE_ERROR, Reason::DEVICE_FAILED},
    {CKR_HOST_MEMORY, Reason::HOST_MEMORY},
    {CKR_GENERAL_ERROR, Reason::GENERAL_FAILURE},
    {CKR_FUNCTION_FAILED, Reason::FUNCTION_FAILED},
    {CKR_FUNCTION_NOT_SUPPORTED, Reason::NOT_SUPPORTED},
    {CKR_FUNCTION_REJECTED, Reason::FUNCTION_REJECTED},
    {CKR_MECHANISM_INVALID, Reason::MECHANISM_NOT_SUPPORTED},
    {CKR_MECHANISM_PARAM_INVALID, Reason::MECHANISM_PARAMETER},
    {CKR_SESSION_HANDLE_INVALID, Reason::SESSION_LOST},
    {CKR_SESSION_CLOSED, Reason::SESSION_CLOSED},
    {CKR_SESSION_COUNT, Reason::TOO_MANY_SESSIONS},
    {CKR_SESSION_READ_ONLY, Reason::SESSION_READ_ONLY},
    {CKR_USER_NOT_LOGGED_IN, Reason::LOGIN_MISSING},
    {CKR_USER_ALREADY_LOGGED_IN, Reason::OTHER_USER},
    {CKR_USER_ANOTHER_ALREADY_LOGGED_IN, Reason::OTHER_USER},
    {CKR_BUFFER_TOO_SMALL, Reason::BUFFER_TOO_SMALL},
    {CKR_DATA_LEN_RANGE, Reason::DATA_LENGTH},
    {CKR_DATA_INVALID, Reason::DATA_INVALID},
    {CKR_KEY_HANDLE_INVALID, Reason::KEY_LOST},
    {CKR_KEY_TYPE_INCONSISTENT, Reason::KEY_WRONG_KIND},
    {CKR_KEY_SIZE_RANGE, Reason::KEY_WRONG_SIZE},
    {CKR_KEY_FUNCTION_NOT_PERMITTED, Reason::KEY_USE_FORBIDDEN},
    {CKR_OBJECT_HANDLE_INVALID, Reason::OBJECT_LOST},
    {CKR_ATTRIBUTE_READ_ONLY, Reason::ATTRIBUTE_READ_ONLY},
    {CKR_ATTRIBUTE_SENSITIVE, Reason::ATTRIBUTE_SECRET},
    {CKR_ATTRIBUTE_TYPE_INVALID, Reason::ATTRIBUTE_UNKNOWN},
    {CKR_ATTRIBUTE_VALUE_INVALID, Reason::ATTRIBUTE_INVALID},
    {CKR_ARGUMENTS_BAD, Reason::ARGUMENTS_BAD},
    {CKR_OPERATION_ACTIVE, Reason::OPERATION_ACTIVE},
    {CKR_OPERATION_NOT_INITIALIZED, Reason::OPERATION_NOT_STARTED},
    {CKR_SIGNATURE_INVALID, Reason::SIGNATURE_INVALID},
    {CKR_SIGNATURE_LEN_RANGE, Reason::SIGNATURE_LENGTH},
    {CKR_SLOT_ID_INVALID, Reason::READER_LOST},
    {CKR_CRYPTOKI_NOT_INITIALIZED, Reason::NOT_INITIALISED},
};

std::string TriesInWords(int tries) {
    if (tries < 0) {
        return Tr("the card does not tell how many tries are left");
    }
    if (tries == 0) {
        return Tr("no try is left, the PIN is blocked now");
    }
    return Filled(TrCount("{} try is left", "{} tries are left", static_cast<unsigned long>(tries)),
                  {std::to_string(tries)});
}

} // namespace

const std::vector<ReasonWords>& Reasons() {
    static const std::vector<ReasonWords> all(std::begin(REASONS), std::end(REASONS));
    return all;
}

const ReasonWords& WordsOf(Reason reason) {
    return *std::find_if(std::begin(REASONS), std::end(REASONS) - 1,
                         [reason](const ReasonWords& row) { return row.m_Reason == reason; });
}

Reason ReasonOf(CK_RV code) {
    const auto row = std::find_if(std::begin(CODES), std::end(CODES),
                                  [code](const CodeRow& candidate) { return candidate.m_Code == code; });
    return row != std::end(CODES) ? row->m_Reason : Reason::UNKNOWN_CODE;
}

int Outcome::ExitCode() const {
    return WordsOf(m_Reason).m_ExitCode + m_Signal;
}

std::string Outcome::Text() const {
    const std::string detail = m_Reason == Reason::WRONG_PIN ? TriesInWords(m_TriesLeft) : m_Detail;
    return Filled(Tr(WordsOf(m_Reason).m_Text), {detail});
}

std::string Outcome::Next() const {
    const char* next = WordsOf(m_Reason).m_Next;
    return *next != '\0' ? Tr(next) : ""; // an empty text has the catalogue's head for a translation
}

Outcome& Outcome::WithTries(int tries) {
    m_TriesLeft = tries;
    return *this;
}

Outcome& Outcome::WithSignal(int number) {
    m_Signal = number;
    return *this;
}

} // namespace orselcli
