// SPDX-License-Identifier: MIT
// A token library made of single entry points. Calls that a test does not plan fail it.
#ifndef ORSEL_TESTS_CARD_TOKENLIBRARYMOCK_H
#define ORSEL_TESTS_CARD_TOKENLIBRARYMOCK_H

#include "card/tkPKCS11.h"
#include "card/tkPKCS11Logging.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

/// One planned or unplanned call for each entry point that the card class calls.
class TokenLibrary {
public:
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

/// The card class with its state in sight.
class ProbedCard : public Velmor::tkPKCS11 {
public:
    using tkPKCS11::m_Atr;
    using tkPKCS11::m_bInitialized;
    using tkPKCS11::m_CardType;
    using tkPKCS11::m_CertVector;
    using tkPKCS11::m_ClientVersion;
    using tkPKCS11::m_Description;
    using tkPKCS11::m_hLibrary;
    using tkPKCS11::m_Manufacturer;
    using tkPKCS11::m_SlotIndex;
    using tkPKCS11::m_Slots;
    using tkPKCS11::m_Version;
};

/// Everything the card class reports while this stands, errors with "E " and messages with "M " before them.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    static std::vector<std::string> Lines();
    static std::vector<std::string> Errors();
    static void Clear();
};

/// A card object over mocked entry points; there is no library on the loader path.
class MockedCardTest : public testing::Test {
protected:
    void SetUp() override { m_library.Install(); }
    void TearDown() override { TokenLibrary::Remove(); }

    /// Plans the calls of a GetSlots over these tokens; slot ids are 100, 101, ...
    void PlanSlots(const std::vector<CK_TOKEN_INFO>& tokens);

    ProbedCard m_card; ///< its constructor finds no library
    testing::StrictMock<TokenLibrary> m_library;
    LogCapture m_log;
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
