// SPDX-License-Identifier: MIT
#include "card/CallP11.h"

#include <gtest/gtest.h>

namespace {

CK_RV AddOne(CK_SLOT_ID slot, CK_ULONG* result) {
    *result = slot + 1;
    return CKR_OK;
}

} // namespace

TEST(CallP11, AMissingEntryPointAnswersThatTheFunctionIsNotSupported) {
    CK_ULONG result = 7;
    CK_RV (*missing)(CK_SLOT_ID, CK_ULONG*) = nullptr;
    EXPECT_EQ(Velmor::CallP11(missing, 1, &result), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(result, 7U);
}

TEST(CallP11, AnEntryPointIsCalledWithItsArguments) {
    CK_ULONG result = 0;
    EXPECT_EQ(Velmor::CallP11(&AddOne, 41, &result), CKR_OK);
    EXPECT_EQ(result, 42U);
}
