// SPDX-License-Identifier: MIT
// The built program on the bridge, over tokens of SoftHSM 2: the library's questions are answered from a
// script.
#include <cstdlib>

#include "images/Images.h"
#include "tests/bridge/SoftHsm.h"
#include "tests/e2e/Person.h"

using orseltest::KeyOptions;
using orseltest::SoftHsm;
using testing::HasSubstr;

namespace {

/// The list leaves out the token that SoftHSM keeps for the next one to be made, on which no session opens.
class APersonWithAnotherLibrary : public APerson {
protected:
    void StartWithToken() {
        m_Hsm.AddUsualToken();
        Start(1);
    }
    void Sign(const char* result, const char* const* picture) {
        const size_t before = Calls("C_Sign", result);
        EXPECT_TRUE(ActUntil([] { ClickIn(SIGNATURE_TEST, SIGN_BUTTON); },
                             [=] { return Calls("C_Sign", result) > before; }));
        EXPECT_TRUE(Shows(picture));
    }
    void Verify() {
        const size_t before = Calls("C_Verify");
        EXPECT_TRUE(ActUntil([] { ClickIn(SIGNATURE_TEST, VERIFY_BUTTON); },
                             [=] { return Calls("C_Verify") == before + 1; }));
        EXPECT_TRUE(Shows(ButtonOk));
    }
    void RunPinCommand(Row row, const char* result, const char* const* picture) {
        const size_t before = Calls("C_SetAttributeValue", result);
        const size_t closed = Calls("C_CloseSession");
        Press(SIGNATURE, row);
        EXPECT_TRUE(WaitForCalls("C_SetAttributeValue", result, before + 1));
        EXPECT_TRUE(WaitForCalls("C_CloseSession", "CKR_OK", closed + 1));
        EXPECT_TRUE(Shows(picture));
        EXPECT_TRUE(ButtonsAreReady());
    }

    SoftHsm m_Hsm;
    const ScopedVariable m_Model{"ORSELBRIDGE_MODEL", "CardOS 5.3"}; ///< as orselcards-bridge has it
    /// Where the deck's helpers look for it.
    const ScopedVariable m_Trace{"ORSELBRIDGE_TRACE", std::string(std::getenv("ORSELSIM_TRACE"))};
};

} // namespace

TEST_F(APersonWithAnotherLibrary, SeesTheCertificateOfEachRole) {
    StartWithToken();
    std::string shown[2];
    for (const Column column : {SIGNATURE, ENCRYPTION}) {
        Press(column, SHOW);
        shown[column] = WhatTheViewerShows();
        EXPECT_THAT(shown[column], HasSubstr("Maria Muster"));
        EXPECT_TRUE(ButtonsAreReady());
    }
    EXPECT_NE(shown[SIGNATURE], shown[ENCRYPTION]);
}

TEST_F(APersonWithAnotherLibrary, SignsAndVerifiesWithBothKeys) {
    m_Hsm.Answer("1234\n1234\n");
    StartWithToken();
    for (const Column column : {SIGNATURE, ENCRYPTION}) {
        Open(column, TEST, SIGNATURE_TEST);
        Sign("CKR_OK", ButtonOk);
        Verify();
        CloseWindow(SIGNATURE_TEST);
    }
}

TEST_F(APersonWithAnotherLibrary, IsToldOfAWrongPin) {
    m_Hsm.Answer("4321\n1234\n");
    StartWithToken();
    Open(SIGNATURE, TEST, SIGNATURE_TEST);
    Sign("CKR_PIN_INCORRECT", ButtonCancel);
    CloseWindow(SIGNATURE_TEST);
}

TEST_F(APersonWithAnotherLibrary, ChangesThePinAndHasItSetAnew) {
    m_Hsm.Answer("1234\n56789\n56789\n"             // old, new, repeated
                 "1234\n1111\n1111\n"               // the old one again
                 "12345678\n2468\n2468\ncancel\n"); // by the officer's
    StartWithToken();
    RunPinCommand(CHANGE_PIN, "CKR_OK", ButtonOk);
    RunPinCommand(CHANGE_PIN, "CKR_PIN_INCORRECT", ButtonCancel);
    RunPinCommand(UNBLOCK_PIN, "CKR_OK", ButtonOk);
    RunPinCommand(CHANGE_PIN, "CKR_FUNCTION_CANCELED", ButtonCancel);
}

TEST_F(APersonWithAnotherLibrary, WorksWithLargerKeysToo) {
    m_Hsm.AddToken("Karl Klein");
    KeyOptions key;
    key.m_Type = "rsa:3072";
    key.m_Holder = "Karl Klein";
    m_Hsm.AddKey("Karl Klein", key);
    key.m_Type = "EC:secp384r1";
    key.m_Id = "02";
    key.m_Label = "curve";
    m_Hsm.AddKey("Karl Klein", key);
    m_Hsm.Answer("1234\n1234\n");
    Start(1);
    for (const Column column : {SIGNATURE, ENCRYPTION}) {
        Open(column, TEST, SIGNATURE_TEST);
        Sign("CKR_OK", ButtonOk);
        Verify();
        CloseWindow(SIGNATURE_TEST);
    }
}
