// SPDX-License-Identifier: MIT
// Objects of a card over mocked entry points: what a test plans is searched for and read in this order.
#ifndef ORSEL_TESTS_CARD_MOCKEDOBJECTS_H
#define ORSEL_TESTS_CARD_MOCKEDOBJECTS_H

#include "tests/card/TokenLibraryMock.h"

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(const std::string& text);

/// What a search asks for: a class, and a label or an id unless these are empty.
struct Wanted {
    CK_OBJECT_CLASS m_ObjectClass;
    std::string m_Label = "";
    std::string m_Id = "";
};

inline const Wanted SIG_CERT = {CKO_CERTIFICATE, "C.CH.SIG"};
inline const Wanted ENC_CERT = {CKO_CERTIFICATE, "C.CH.EKEY"};
inline const Wanted ANY_CERT = {CKO_CERTIFICATE};

/// One attribute of a planned read: the room that the caller has to offer, what the library writes into it,
/// and the length that it reports. A value that does not fit is not written.
struct ReadAttribute {
    CK_ATTRIBUTE_TYPE m_Type;
    CK_ULONG m_Capacity;
    Bytes m_Value;
    CK_ULONG m_Length;
};

ReadAttribute Label(const std::string& text); ///< into 256 bytes
ReadAttribute Value(const Bytes& bytes);      ///< into 5012 bytes
ReadAttribute Id(const std::string& bytes);   ///< into 256 bytes
ReadAttribute KeyType(CK_KEY_TYPE keyType);
/// The same attribute with another length reported.
ReadAttribute Claiming(CK_ULONG length, ReadAttribute attribute);

/// A session on a card over mocked entry points. All calls have to come in the order of their planning.
class MockedObjectsTest : public MockedCardTest {
protected:
    static constexpr CK_SESSION_HANDLE SESSION = 9;

    void SetUp() override;
    void TearDown() override;

    /// As if another object had bound the library.
    void BindLibrary() { ProbedCard::m_bInitialized = true; }

    /// A search and the handles that it finds.
    void PlanSearch(const Wanted& wanted, const std::vector<CK_OBJECT_HANDLE>& handles,
                    CK_ULONG capacity = 10);
    /// A search that claims this many handles and hands out none.
    void PlanSearchClaiming(CK_ULONG claimed, const Wanted& wanted, CK_ULONG capacity = 10);
    /// A search of which the call with this number (0 to 2) is answered with this code.
    void PlanFailedSearch(size_t failingCall, CK_RV rv);

    void PlanRead(CK_OBJECT_HANDLE handle, const std::vector<ReadAttribute>& attributes);
    void PlanFailedRead(CK_OBJECT_HANDLE handle, CK_RV rv);

    /// Opens a read-only session, without one the slot does not open.
    void PlanOpen(CK_SLOT_ID slot, CK_SESSION_HANDLE session);
    void PlanClose(CK_SESSION_HANDLE session);

    /// The card object's session at the time of the call.
    testing::Matcher<CK_SESSION_HANDLE> TheSession() {
        return testing::Truly([this](CK_SESSION_HANDLE session) { return session == m_Card.m_hSession; });
    }

private:
    void PlanSearchInit(const Wanted& wanted);

    testing::InSequence m_InThisOrder;
};

#endif
