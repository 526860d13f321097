// SPDX-License-Identifier: MIT
#include "tokenlib/InitArguments.h"

#include <gmock/gmock.h>

#include "tokenlib/Refusal.h"

namespace {

CK_RV Checked(const CK_C_INITIALIZE_ARGS& args) {
    try {
        tokenlib::CheckInitArguments(&args);
        return CKR_OK;
    } catch (const tokenlib::Refusal& refusal) {
        return refusal.m_Code;
    }
}

CK_RV Create(void**) {
    return CKR_OK;
}
CK_RV Use(void*) {
    return CKR_OK;
}

CK_C_INITIALIZE_ARGS WithMutexes(CK_FLAGS flags) {
    CK_C_INITIALIZE_ARGS args = {};
    args.CreateMutex = Create;
    args.DestroyMutex = Use;
    args.LockMutex = Use;
    args.UnlockMutex = Use;
    args.flags = flags;
    return args;
}

} // namespace

TEST(ArgumentsOfInitialize, MayBeLeftOut) {
    EXPECT_NO_THROW(tokenlib::CheckInitArguments(nullptr));
    EXPECT_EQ(CKR_OK, Checked({}));
}

TEST(ArgumentsOfInitialize, WithMutexesNeedTheSystemsAsAChoice) {
    EXPECT_EQ(CKR_CANT_LOCK, Checked(WithMutexes(0)));
    EXPECT_EQ(CKR_OK, Checked(WithMutexes(CKF_OS_LOCKING_OK)));
}

TEST(ArgumentsOfInitialize, ThatAreIncompleteAreRefused) {
    CK_C_INITIALIZE_ARGS args = WithMutexes(CKF_OS_LOCKING_OK);
    args.UnlockMutex = nullptr;
    EXPECT_EQ(CKR_ARGUMENTS_BAD, Checked(args));
    args = {};
    args.pReserved = &args;
    EXPECT_EQ(CKR_ARGUMENTS_BAD, Checked(args));
}

TEST(TheArgumentOfFinalize, IsKeptForLater) {
    EXPECT_NO_THROW(tokenlib::CheckFinalArguments(nullptr));
    int anything = 0;
    EXPECT_THROW(tokenlib::CheckFinalArguments(&anything), tokenlib::Refusal);
}
