// SPDX-License-Identifier: MIT
// Binding to libraries that lack entry points.
#include "card/tkPKCS11.h"

#include <gmock/gmock.h>

#include "tests/card/ProbedCard.h"

using testing::ElementsAre;
using namespace Velmor;

#ifdef WITH_INITIALIZE

TEST(ALibraryWithC_InitializeAlone, IsInitialisedAndThenFailsToTellAboutItself) {
    const LogCapture log;
    ProbedCard card;
    EXPECT_NE(card.m_hLibrary, nullptr);
    EXPECT_FALSE(ProbedCard::m_bInitialized);
    EXPECT_THAT(log.Lines(),
                ElementsAre("M PKCS11 INIT", "M PKCS11 LoadLibrary", "M PKCS11 Proc_C_Initialize",
                            "E PKCS11 Aufruf Proc_C_GetInfo(&info) ERROR0x54"));
    EXPECT_NE(tkPKCS11::Proc_C_Initialize, nullptr);
    EXPECT_EQ(tkPKCS11::Proc_C_GetSlotList, nullptr);
    EXPECT_EQ(tkPKCS11::Proc_C_CardAttribute, nullptr);
    card.Destroy();
}

TEST(ALibraryWithC_InitializeAlone, LeavesEveryOperationFailingQuietly) {
    ProbedCard card;
    std::vector<SlotStruct*> slots;
    TokenInfoStruct2 info;
    EXPECT_FALSE(card.GetSlots(slots, true));
    EXPECT_FALSE(card.GetTokenInfo(0, info));
    EXPECT_EQ(card.ReadATR(true), "");
    EXPECT_EQ(card.Reset(), "");
    EXPECT_TRUE(card.CloseSession());
    EXPECT_TRUE(card.Destroy());
    EXPECT_EQ(card.m_hLibrary, nullptr);
}

#else

TEST(ALibraryWithoutC_Initialize, StaysLoadedButUnbound) {
    const LogCapture log;
    ProbedCard card;
    EXPECT_NE(card.m_hLibrary, nullptr);
    EXPECT_FALSE(ProbedCard::m_bInitialized);
    EXPECT_THAT(log.Lines(), ElementsAre("M PKCS11 INIT", "M PKCS11 LoadLibrary",
                                         "M PKCS11 Proc_C_Initialize", "E PKCS11 Proc_C_Initialize ERROR"));
    EXPECT_TRUE(card.Destroy());
    EXPECT_EQ(card.m_hLibrary, nullptr);
}

#endif
