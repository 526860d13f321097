// SPDX-License-Identifier: MIT
// PINs changed, blocked and unblocked in the built program. The token library's questions are answered from a
// script, and what has become of the card is read with the tool that makes decks.
#include "images/Images.h"
#include "tests/e2e/Person.h"

using testing::HasSubstr;
using testing::SizeIs;

namespace {

struct PinOfACard {
    const char* m_Name;
    Column m_Column;
    const char* m_Pin; ///< that protects the column's object
    const char* m_Digits;
    const char* m_NewDigits;
};

void PrintTo(const PinOfACard& row, std::ostream* out) {
    *out << row.m_Name;
}

class APersonWithAPin : public APerson, public testing::WithParamInterface<PinOfACard> {
protected:
    /// Presses a button of the PIN and waits until the window has told the result and may be pressed again.
    void Run(Row row, const char* result, const char* const* picture) {
        const size_t before = Calls("C_SetAttributeValue", result);
        const size_t closed = Calls("C_CloseSession");
        Press(GetParam().m_Column, row);
        EXPECT_TRUE(WaitForCalls("C_SetAttributeValue", result, before + 1));
        EXPECT_TRUE(WaitForCalls("C_CloseSession", "CKR_OK", closed + 1));
        EXPECT_TRUE(Shows(picture));
        EXPECT_TRUE(ButtonsAreReady());
    }
    /// The PIN's line of what the tool shows of the card.
    std::string State(const std::string& card) {
        return desktop::OutputOf(std::string(ORSEL_DECK_TOOL) + " show '" + m_Deck.GetPath() + "' '" + card +
                                 "' | grep 'PIN *" + GetParam().m_Pin + "'");
    }
};

INSTANTIATE_TEST_SUITE_P(Pins, APersonWithAPin,
                         testing::Values(PinOfACard{"Signature", SIGNATURE, "signature", "123456", "654321"},
                                         PinOfACard{"Encryption", ENCRYPTION, "encryption", "1234", "4321"},
                                         PinOfACard{"IdentityLink", IDENTITY_LINK, "encryption", "1234",
                                                    "9876"}),
                         [](const auto& row) { return row.param.m_Name; });

} // namespace

TEST_P(APersonWithAPin, ChangesIt) {
    const std::string card = m_Deck.Add("acos-a03");
    m_Deck.AnswerPins({GetParam().m_Digits, GetParam().m_NewDigits, GetParam().m_NewDigits, "cancel"});
    Start(1);
    Run(CHANGE_PIN, "CKR_OK", ButtonOk);
    EXPECT_TRUE(m_Deck.HasPin(card, GetParam().m_Pin, GetParam().m_NewDigits));
    Run(CHANGE_PIN, "CKR_FUNCTION_CANCELED", ButtonCancel);
    EXPECT_TRUE(m_Deck.HasPin(card, GetParam().m_Pin, GetParam().m_NewDigits));
    EXPECT_THAT(State(card), HasSubstr("3 of 3 tries left"));
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), SizeIs(2)); // no command ran twice
}

TEST_P(APersonWithAPin, BlocksItAndUnblocksIt) {
    const std::string card = m_Deck.Add("acos-a03");
    for (int tries = 0; tries < 3; ++tries) {
        m_Deck.AnswerPins({"000000", GetParam().m_NewDigits, GetParam().m_NewDigits});
    }
    m_Deck.AnswerPins({"12345678", GetParam().m_NewDigits, GetParam().m_NewDigits});
    Start(1);
    Run(CHANGE_PIN, "CKR_PIN_INCORRECT", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr("2 of 3 tries left"));
    Run(CHANGE_PIN, "CKR_PIN_INCORRECT", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr("1 of 3 tries left"));
    Run(CHANGE_PIN, "CKR_PIN_LOCKED", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr(": blocked"));
    Run(UNBLOCK_PIN, "CKR_OK", ButtonOk);
    EXPECT_THAT(State(card), HasSubstr("3 of 3 tries left"));
    EXPECT_TRUE(m_Deck.HasPin(card, GetParam().m_Pin, GetParam().m_NewDigits));
    EXPECT_THAT(m_Deck.GetTrace("C_SetAttributeValue"), SizeIs(4));
}

TEST_P(APersonWithAPin, LosesTriesOfThePukToo) {
    const std::string card = m_Deck.Add("acos-a03");
    m_Deck.AnswerPins({"99999999", GetParam().m_NewDigits, GetParam().m_NewDigits});
    Start(1);
    Run(UNBLOCK_PIN, "CKR_PIN_INCORRECT", ButtonCancel);
    EXPECT_THAT(State(card), HasSubstr("PUK: 9 of 10 tries left"));
    EXPECT_TRUE(m_Deck.HasPin(card, GetParam().m_Pin, GetParam().m_Digits));
}
