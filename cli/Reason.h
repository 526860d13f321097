// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_REASON_H
#define ORSEL_CLI_REASON_H

#include <p11-kit/pkcs11.h>

#include <string>
#include <vector>

namespace orselcli {

/// What the process ends with. A signal that ended the work adds its number to EXIT_SIGNAL.
constexpr int EXIT_DONE = 0;
constexpr int EXIT_REFUSED = 1;    ///< the card or the library said no
constexpr int EXIT_SENSELESS = 2;  ///< the command line makes no sense
constexpr int EXIT_NO_CARD = 3;    ///< no such card
constexpr int EXIT_NO_LIBRARY = 4; ///< no usable token library
constexpr int EXIT_SIGNAL = 128;

/// Why a command did not do what was asked. Each has a text of its own, see REASONS in Reason.cpp.
enum class Reason {
    DONE,
    // The person.
    CANCELLED,
    WRONG_PIN,
    PIN_BLOCKED,
    PIN_NOT_SET,
    PIN_EXPIRED,
    PIN_LENGTH,
    PIN_CHARACTERS,
    DECLINED,
    INTERRUPTED,
    OUTPUT_CLOSED,
    // The card.
    CARD_GONE,
    NO_CARD_IN_READER,
    CARD_UNKNOWN_TO_LIBRARY,
    CARD_WRITE_PROTECTED,
    EMPTY_CARD,
    NO_CERTIFICATE,
    BROKEN_CERTIFICATE,
    NO_KEY,
    NO_IDENTITY_LINK,
    BROKEN_IDENTITY_LINK,
    LINK_IN_INFOBOX,
    NO_CONTAINER,
    BROKEN_CONTAINER,
    NO_ENTRY,
    NO_INSURANCE,
    NO_PROTECTION,
    CHANGE_NOT_SEEN,
    // The token library's word.
    NOT_SUPPORTED,
    MECHANISM_NOT_SUPPORTED,
    MECHANISM_PARAMETER,
    FUNCTION_FAILED,
    FUNCTION_REJECTED,
    DEVICE_FAILED,
    DEVICE_MEMORY,
    HOST_MEMORY,
    GENERAL_FAILURE,
    SESSION_LOST,
    SESSION_CLOSED,
    TOO_MANY_SESSIONS,
    SESSION_READ_ONLY,
    LOGIN_MISSING,
    OTHER_USER,
    BUFFER_TOO_SMALL,
    ANSWER_BEYOND_REASON,
    DATA_LENGTH,
    DATA_INVALID,
    KEY_LOST,
    KEY_WRONG_KIND,
    KEY_WRONG_SIZE,
    KEY_USE_FORBIDDEN,
    OBJECT_LOST,
    ATTRIBUTE_READ_ONLY,
    ATTRIBUTE_SECRET,
    ATTRIBUTE_UNKNOWN,
    ATTRIBUTE_INVALID,
    ARGUMENTS_BAD,
    OPERATION_ACTIVE,
    OPERATION_NOT_STARTED,
    SIGNATURE_INVALID,
    SIGNATURE_LENGTH,
    READER_LOST,
    NOT_INITIALISED,
    UNKNOWN_CODE,
    NO_ANSWER,
    // The command line and its files.
    USAGE,
    SEVERAL_CARDS,
    BAD_HEX,
    INPUT_UNREADABLE,
    INPUT_TOO_LARGE,
    OUTPUT_UNWRITABLE,
    OUTPUT_FAILED,
    NEEDS_YES,
    NEW_CERTIFICATE_UNREADABLE,
    NEW_LINK_UNREADABLE,
    KEYS_DIFFER,
    HASH_FAILED,
    // Finding a card.
    NO_CARDS,
    NO_SUCH_CARD,
    AMBIGUOUS_CARD,
    // The library as a whole.
    LIBRARY_MISSING,
    LIBRARY_UNUSABLE,
    UNHEALTHY,
    NO_LIBRARY_FOUND,
};

/// The words of one reason, untranslated. "{}" in a text stands for the outcome's detail.
struct ReasonWords {
    Reason m_Reason;
    const char* m_Id; ///< stable name in JSON
    int m_ExitCode;
    const char* m_Text;
    const char* m_Next; ///< what to do about it
};

const std::vector<ReasonWords>& Reasons();
const ReasonWords& WordsOf(Reason reason);

/// The reason behind a return code of PKCS#11; UNKNOWN_CODE for one without words.
Reason ReasonOf(CK_RV code);

/// How a command ended.
class Outcome {
public:
    Outcome() = default;
    Outcome(Reason reason, std::string detail = "") : m_Reason(reason), m_Detail(std::move(detail)) {}

    bool IsDone() const { return m_Reason == Reason::DONE; }
    Reason Why() const { return m_Reason; }
    const char* Id() const { return WordsOf(m_Reason).m_Id; }
    int ExitCode() const;
    /// One line in the language of the process, in UTF-8.
    std::string Text() const;
    std::string Next() const;
    /// Tries that a PIN has left, -1 when the card does not tell.
    int TriesLeft() const { return m_TriesLeft; }

    Outcome& WithTries(int tries);
    Outcome& WithSignal(int number);

private:
    Reason m_Reason = Reason::DONE;
    std::string m_Detail;
    int m_TriesLeft = -1;
    int m_Signal = 0;
};

} // namespace orselcli

#endif
