// SPDX-License-Identifier: MIT
// Signatures made and verified in the built program.
#include <algorithm>

#include "images/Images.h"
#include "tests/e2e/Person.h"

namespace {

class APersonWithAKey : public APerson {
protected:
    /// Presses the button that signs. The library is asked for the size of the signature first.
    void Sign() {
        const size_t before = Calls("C_Sign");
        EXPECT_TRUE(ActUntil([] { ClickIn(SIGNATURE_TEST, SIGN_BUTTON); },
                             [=] { return Calls("C_Sign") == before + 2; }));
        EXPECT_TRUE(Shows(ButtonOk));
    }
    /// Presses the button that verifies, and expects this answer of the card.
    void Verify(const char* result, const char* const* picture) {
        const size_t before = Calls("C_Verify", result);
        EXPECT_TRUE(ActUntil([] { ClickIn(SIGNATURE_TEST, VERIFY_BUTTON); },
                             [=] { return Calls("C_Verify", result) == before + 1; }));
        EXPECT_TRUE(Shows(picture));
    }
    /// Presses a key at the end of the text, once the dialog has shown by giving the text that it listens.
    static void Edit(const char* key, const std::string& before, const std::string& after) {
        EXPECT_TRUE(desktop::WaitFor([&] { return TextIn(SIGNATURE_TEST, DOCUMENT) == before; }));
        desktop::Press(std::string("ctrl+End ") + key);
        EXPECT_TRUE(desktop::WaitFor([&] { return TextIn(SIGNATURE_TEST, DOCUMENT) == after; }));
    }
};

class APersonWithACardOfAKind : public APersonWithAKey, public testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(Kinds, APersonWithACardOfAKind,
                         testing::Values("acos-a03", "acos-a04", "acos-a05", "ecard-g2", "ecard-g3a",
                                         "ecard-g3b", "ecard-g4", "cardos-53"),
                         [](const auto& row) {
                             std::string name = row.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace

TEST_P(APersonWithACardOfAKind, SignsAndVerifiesWithBothKeys) {
    m_Deck.Add(GetParam());
    m_Deck.AnswerPins({"123456", "1234"});
    Start(1);
    size_t sessions = 0;
    for (const Column column : {SIGNATURE, ENCRYPTION}) {
        SCOPED_TRACE(column == SIGNATURE ? "signature key" : "encryption key");
        Open(column, TEST, SIGNATURE_TEST);
        Sign();
        Verify("CKR_OK", ButtonOk);
        CloseWindow(SIGNATURE_TEST);
        sessions += 2;
        EXPECT_EQ(Calls("C_CloseSession"), sessions + 1); // one was for the list
    }
    EXPECT_EQ(m_Deck.GetTrace("C_SignInit").size(), 2U);
}

TEST_F(APersonWithAKey, SeesTheVerificationFailAsLongAsTheTextIsAnotherOne) {
    m_Deck.Add("acos-a04");
    m_Deck.AnswerPins({"123456"});
    Start(1);
    Open(SIGNATURE, TEST, SIGNATURE_TEST);
    std::string text;
    EXPECT_TRUE(desktop::WaitFor([&text] {
        text = TextIn(SIGNATURE_TEST, DOCUMENT);
        return text.rfind("Das ist ein Test!", 0) == 0;
    })) << text;
    Sign();
    Edit("x", text, text + "x");
    Verify("CKR_SIGNATURE_INVALID", ButtonCancel);
    Edit("BackSpace", text + "x", text);
    Verify("CKR_OK", ButtonOk);
    CloseWindow(SIGNATURE_TEST);
}

TEST_F(APersonWithAKey, SignsByTheKeyboardAlone) {
    m_Deck.Add("ecard-g3b");
    m_Deck.AnswerPins({"123456"});
    Start(1);
    Open(SIGNATURE, TEST, SIGNATURE_TEST);
    ASSERT_TRUE(WaitForFocus(SIGNATURE_TEST));
    EXPECT_TRUE(ActUntil([] { desktop::Press("space"); }, // the focus is on the button that signs
                         [this] { return Calls("C_Sign") == 2; }));
    EXPECT_TRUE(Shows(ButtonOk));
    CloseWindow(SIGNATURE_TEST);
}
