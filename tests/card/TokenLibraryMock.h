// SPDX-License-Identifier: MIT
// A token library made of single entry points. Calls that a test does not plan fail it.
#ifndef ORSEL_TESTS_CARD_TOKENLIBRARYMOCK_H
#define ORSEL_TESTS_CARD_TOKENLIBRARYMOCK_H

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/card/ProbedCard.h"

// The templates behind the mocked methods are large. They are instantiated in TokenLibraryMock.cpp alone.
#define ORSEL_MOCKED_SIGNATURES(DO)                                                                          \
    DO(CK_RV(void*))                                                                                         \
    DO(CK_RV(CK_INFO*))                                                                                      \
    DO(CK_RV(CK_BBOOL, CK_SLOT_ID*, CK_ULONG*))                                                              \
    DO(CK_RV(CK_SLOT_ID, CK_SLOT_INFO*))                                                                     \
    DO(CK_RV(CK_SLOT_ID, CK_TOKEN_INFO*))                                                                    \
    DO(CK_RV(CK_SLOT_ID, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE*))                                    \
    DO(CK_RV(CK_SESSION_HANDLE))                                                                             \
    DO(CK_RV(CK_SESSION_HANDLE, CK_USER_TYPE, CK_UTF8CHAR*, CK_ULONG))                                       \
    DO(CK_RV(CK_SESSION_HANDLE, CK_ATTRIBUTE*, CK_ULONG))                                                    \
    DO(CK_RV(CK_SESSION_HANDLE, CK_OBJECT_HANDLE*, CK_ULONG, CK_ULONG*))                                     \
    DO(CK_RV(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG))                                  \
    DO(CK_RV(CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE))                                            \
    DO(CK_RV(CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*))                                    \
    DO(CK_RV(CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG))                                     \
    DO(CK_RV(CK_SESSION_HANDLE, const unsigned char*, unsigned long, unsigned char*, unsigned long*))        \
    DO(CK_RV(CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*))
#define ORSEL_DECLARE_MOCKER(...)                                                                            \
    extern template class testing::internal::FunctionMocker<__VA_ARGS__>;                                    \
    extern template class testing::internal::TypedExpectation<__VA_ARGS__>;                                  \
    extern template class testing::internal::MockSpec<__VA_ARGS__>;
ORSEL_MOCKED_SIGNATURES(ORSEL_DECLARE_MOCKER)

/// One planned or unplanned call for each entry point that the card class calls.
class TokenLibrary {
public:
    TokenLibrary();
    ~TokenLibrary();

    MOCK_METHOD(CK_RV, Initialize, (void*));
    MOCK_METHOD(CK_RV, Finalize, (void*));
    MOCK_METHOD(CK_RV, GetInfo, (CK_INFO*));
    MOCK_METHOD(CK_RV, GetSlotList, (CK_BBOOL, CK_SLOT_ID*, CK_ULONG*));
    MOCK_METHOD(CK_RV, GetSlotInfo, (CK_SLOT_ID, CK_SLOT_INFO*));
    MOCK_METHOD(CK_RV, GetTokenInfo, (CK_SLOT_ID, CK_TOKEN_INFO*));
    MOCK_METHOD(CK_RV, OpenSession, (CK_SLOT_ID, CK_FLAGS, void*, CK_NOTIFY, CK_SESSION_HANDLE*));
    MOCK_METHOD(CK_RV, CloseSession, (CK_SESSION_HANDLE));
    MOCK_METHOD(CK_RV, Login, (CK_SESSION_HANDLE, CK_USER_TYPE, CK_UTF8CHAR*, CK_ULONG));
    MOCK_METHOD(CK_RV, Logout, (CK_SESSION_HANDLE));
    MOCK_METHOD(CK_RV, FindObjectsInit, (CK_SESSION_HANDLE, CK_ATTRIBUTE*, CK_ULONG));
    MOCK_METHOD(CK_RV, FindObjects, (CK_SESSION_HANDLE, CK_OBJECT_HANDLE*, CK_ULONG, CK_ULONG*));
    MOCK_METHOD(CK_RV, FindObjectsFinal, (CK_SESSION_HANDLE));
    MOCK_METHOD(CK_RV, GetAttributeValue, (CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG));
    MOCK_METHOD(CK_RV, SetAttributeValue, (CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE*, CK_ULONG));
    MOCK_METHOD(CK_RV, SignInit, (CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE));
    MOCK_METHOD(CK_RV, Sign, (CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG*));
    MOCK_METHOD(CK_RV, VerifyInit, (CK_SESSION_HANDLE, CK_MECHANISM*, CK_OBJECT_HANDLE));
    MOCK_METHOD(CK_RV, Verify, (CK_SESSION_HANDLE, CK_BYTE*, CK_ULONG, CK_BYTE*, CK_ULONG));
    MOCK_METHOD(CK_RV, CardTransmit,
                (CK_SESSION_HANDLE, const unsigned char*, unsigned long, unsigned char*, unsigned long*));
    MOCK_METHOD(CK_RV, CardAttribute, (CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*));

    /// Puts these entry points into the function table, respectively takes everything out of it.
    void Install();
    static void Remove();
};

/// A card object over mocked entry points; there is no library on the loader path.
class MockedCardTest : public testing::Test {
protected:
    void SetUp() override { m_Library.Install(); }
    void TearDown() override { TokenLibrary::Remove(); }

    /// Plans the calls of a GetSlots over these tokens; slot ids are 100, 101, ...
    void PlanSlots(const std::vector<CK_TOKEN_INFO>& tokens);

    ProbedCard m_Card; ///< its constructor finds no library
    testing::StrictMock<TokenLibrary> m_Library;
    LogCapture m_Log;
};

/// A token record with its texts blank-padded.
CK_TOKEN_INFO Token(const std::string& label, const std::string& serial,
                    const std::string& model = "ACOS EMV-A04", const std::string& manufacturer = "Orsel");
CK_SLOT_INFO RemovableSlot();

template <size_t Width>
void FillField(CK_UTF8CHAR (&field)[Width], const std::string& text) {
    std::fill(field, field + Width, ' ');
    std::memcpy(field, text.data(), std::min(Width, text.size()));
}

#endif
