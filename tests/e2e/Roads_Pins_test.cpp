// SPDX-License-Identifier: MIT
// PINs changed, blocked and unblocked in the built program. The token library's questions are answered from a
// script, and what has become of the card is read with the tool that makes decks.
#include "images/Images.h"
#include "tests/e2e/Person.h"

using testing::HasSubstr;
using testing::SizeIs;

namespace {

struct PinOfACard {
    const char* name;
    Column column;
    const char* pin; ///< that protects the column's object
    const char* digits;
    const char* newDigits;
};

void PrintTo(const PinOfACard& row, std::ostream* out) {
    *out << row.name;
}

class APersonWithAPin : public APerson, public testing::WithParamInterface<PinOfACard> {
protected:
    /// Presses a button of the PIN and waits until the window has told the result and may be pressed again.
    void Run(Row row, const char* result, const char* const* picture) {
        const size_t before = Calls("C_SetAttributeValue", result);
        const size_t closed = Calls("C_CloseSession");
        Press(GetParam().column, row);
        EXPECT_TRUE(WaitForCalls("C_SetAttributeValue", result, before + 1));
        EXPECT_TRUE(WaitForCalls("C_CloseSession", "CKR_OK", closed + 1));
        EXPECT_TRUE(Shows(picture));
        EXPECT_TRUE(ButtonsAreReady());
    }
    /// The PIN's line of what the tool shows of the card.
    std::string State(const std::string& card) {
        return desktop::outputOf(std::string(ORSEL_DECK_TOOL) + " show '" + m_deck.path() + "' '" + card +
                                 "' | grep 'PIN *" + GetParam().pin + "'");
    }
};

INSTANTIATE_TEST_SUITE_P(Pins, APersonWithAPin,
                         testing::Values(PinOfACard{"Signature", SIGNATURE, "signature", "123456", "654321"},
                                         PinOfACard{"Encryption", ENCRYPTION, "encryption", "1234", "4321"},
                                         PinOfACard{"IdentityLink", IDENTITY_LINK, "encryption", "1234",
                                                    "9876"}),
                         [](const auto& row) { return row.param.name; });

} // namespace

TEST_P(APersonWithAPin, ChangesIt) {
    const std::string card = m_deck.add("acos-a03");
    m_deck.answerPins({GetParam().digits, GetParam().newDigits, GetParam().newDigits, "cancel"});
    Start(1);
    Run(CHANGE_PIN, "CKR_OK", ButtonOk);
    EXPECT_TRUE(m_deck.hasPin(card, GetParam().pin, GetParam().newDigits));
    Run(CHANGE_PIN, "CKR_FUNCTION_CANCELED", ButtonCancel);
    EXPECT_TRUE(m_deck.hasPin(card, GetParam().pin, GetParam().newDigits));
    EXPECT_THAT(State(card), HasSubstr("3 of 3 tries left"));
    EXPECT_THAT(m_deck.trace("C_SetAttributeValue"), SizeIs(2)); // no command ran twice
}

TEST_P(APersonWithAPin, BlocksItAndUnblocksIt) {
    const std::string card = m_deck.add("acos-a03");
    for (int tries = 0; tries < 3; ++tries)
        m_deck.answerPins({"000000", GetParam().newDigits, GetParam().newDigits});
    m_deck.answerPins({"12345678", GetParam().newDigits, GetParam().newDigits});
    Start(1);
    Run(CHANGE_PIN, "CKR_PIN_INCORRECT", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr("2 of 3 tries left"));
    Run(CHANGE_PIN, "CKR_PIN_INCORRECT", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr("1 of 3 tries left"));
    Run(CHANGE_PIN, "CKR_PIN_LOCKED", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr(": blocked"));
    Run(UNBLOCK_PIN, "CKR_OK", ButtonOk);
    EXPECT_THAT(State(card), HasSubstr("3 of 3 tries left"));
    EXPECT_TRUE(m_deck.hasPin(card, GetParam().pin, GetParam().newDigits));
    EXPECT_THAT(m_deck.trace("C_SetAttributeValue"), SizeIs(4));
}

TEST_P(APersonWithAPin, LosesTriesOfThePukToo) {
    const std::string card = m_deck.add("acos-a03");
    m_deck.answerPins({"99999999", GetParam().newDigits, GetParam().newDigits});
    Start(1);
    Run(UNBLOCK_PIN, "CKR_PIN_INCORRECT", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr("PUK: 9 of 10 tries left"));
    EXPECT_TRUE(m_deck.hasPin(card, GetParam().pin, GetParam().digits));
}
