// SPDX-License-Identifier: MIT
// A card that is found by its number and written to, planned call by call.
#ifndef ORSEL_TESTS_CARD_CARDDATATEST_H
#define ORSEL_TESTS_CARD_CARDDATATEST_H

#include <string>

#include "tests/card/MockedObjects.h"

/// Two cards in their readers, of which the second has the number; or the first one alone.
class CardData : public MockedObjectsTest {
protected:
    static constexpr CK_OBJECT_HANDLE OBJECT = 61;
    const std::string m_Cin = "123456789012";

    /// The search for the card with the number m_Cin finds one, in slot 101.
    void PlanCard() {
        BindLibrary();
        PlanSlots({Token("a", "1"), Token("b", m_Cin + "3456")});
    }
    void PlanNoCard() {
        BindLibrary();
        PlanSlots({Token("a", "1")});
    }
    void PlanLogin(CK_RV rv) {
        EXPECT_CALL(m_Library, Login(TheSession(), CKU_USER, testing::Pointee(0), 0))
            .WillOnce(testing::Return(rv));
    }
    void PlanLogout() {
        EXPECT_CALL(m_Library, Logout(TheSession()))
            .WillOnce(testing::Return(CKR_USER_NOT_LOGGED_IN)); // ignored
    }
    void PlanWrite(CK_OBJECT_HANDLE handle, const Bytes& value, CK_RV rv) {
        EXPECT_CALL(m_Library, SetAttributeValue(TheSession(), handle, testing::_, 1))
            .WillOnce([=](auto, auto, CK_ATTRIBUTE* written, auto) {
                EXPECT_EQ(written->type, CKA_VALUE);
                const auto* bytes = static_cast<const unsigned char*>(written->pValue);
                EXPECT_EQ(Bytes(bytes, bytes + written->ulValueLen), value);
                return rv;
            });
    }
    std::string m_Error = "unberührt";
};

#endif
