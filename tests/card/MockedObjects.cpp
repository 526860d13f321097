// SPDX-License-Identifier: MIT
#include "tests/card/MockedObjects.h"

using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

namespace {

ReadAttribute Attribute(CK_ATTRIBUTE_TYPE type, CK_ULONG capacity, const Bytes& value) {
    return {type, capacity, value, value.size()};
}

std::string TextOf(const CK_ATTRIBUTE& attribute) {
    return std::string(static_cast<const char*>(attribute.pValue), attribute.ulValueLen);
}

void ExpectTemplate(const CK_ATTRIBUTE* attributes, const Wanted& wanted) {
    EXPECT_EQ(attributes[0].type, CKA_CLASS);
    ASSERT_EQ(attributes[0].ulValueLen, sizeof(CK_ULONG));
    CK_OBJECT_CLASS objectClass = 0;
    std::memcpy(&objectClass, attributes[0].pValue, sizeof(objectClass));
    EXPECT_EQ(objectClass, wanted.m_ObjectClass);
    if (!wanted.m_Label.empty()) {
        EXPECT_EQ(attributes[1].type, CKA_LABEL);
        EXPECT_EQ(TextOf(attributes[1]), wanted.m_Label);
    }
    if (!wanted.m_Id.empty()) {
        EXPECT_EQ(attributes[1].type, CKA_ID);
        EXPECT_EQ(TextOf(attributes[1]), wanted.m_Id);
    }
}

void Answer(CK_ATTRIBUTE& asked, const ReadAttribute& planned) {
    EXPECT_EQ(asked.type, planned.m_Type);
    EXPECT_EQ(asked.ulValueLen, planned.m_Capacity);
    ASSERT_NE(asked.pValue, nullptr);
    if (planned.m_Value.size() <= planned.m_Capacity) {
        std::copy(planned.m_Value.begin(), planned.m_Value.end(), static_cast<unsigned char*>(asked.pValue));
    }
    asked.ulValueLen = planned.m_Length;
}

} // namespace

Bytes BytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

ReadAttribute Label(const std::string& text) {
    return Attribute(CKA_LABEL, 256, BytesOf(text));
}

ReadAttribute Value(const Bytes& bytes) {
    return Attribute(CKA_VALUE, 5012, bytes);
}

ReadAttribute Id(const std::string& bytes) {
    return Attribute(CKA_ID, 256, BytesOf(bytes));
}

ReadAttribute KeyType(CK_KEY_TYPE keyType) {
    Bytes bytes(sizeof(keyType));
    std::memcpy(bytes.data(), &keyType, sizeof(keyType));
    return Attribute(CKA_KEY_TYPE, sizeof(keyType), bytes);
}

ReadAttribute Claiming(CK_ULONG length, ReadAttribute attribute) {
    attribute.m_Length = length;
    return attribute;
}

void MockedObjectsTest::SetUp() {
    MockedCardTest::SetUp();
    m_Card.m_hSession = SESSION;
}

void MockedObjectsTest::TearDown() {
    ProbedCard::m_bInitialized = false;
    MockedCardTest::TearDown();
}

void MockedObjectsTest::PlanSearchInit(const Wanted& wanted) {
    const CK_ULONG count = wanted.m_Label.empty() && wanted.m_Id.empty() ? 1 : 2;
    EXPECT_CALL(m_Library, FindObjectsInit(TheSession(), _, count))
        .WillOnce([wanted](auto, CK_ATTRIBUTE* list, auto) {
            ExpectTemplate(list, wanted);
            return CKR_OK;
        });
}

void MockedObjectsTest::PlanSearch(const Wanted& wanted, const std::vector<CK_OBJECT_HANDLE>& handles,
                                   CK_ULONG capacity) {
    PlanSearchInit(wanted);
    EXPECT_CALL(m_Library, FindObjects(TheSession(), _, capacity, _))
        .WillOnce([handles](auto, CK_OBJECT_HANDLE* out, auto, CK_ULONG* found) {
            std::copy(handles.begin(), handles.end(), out);
            *found = handles.size();
            return CKR_OK;
        });
    EXPECT_CALL(m_Library, FindObjectsFinal(TheSession())).WillOnce(Return(CKR_OK));
}

void MockedObjectsTest::PlanSearchClaiming(CK_ULONG claimed, const Wanted& wanted, CK_ULONG capacity) {
    PlanSearchInit(wanted);
    EXPECT_CALL(m_Library, FindObjects(TheSession(), _, capacity, _))
        .WillOnce(DoAll(SetArgPointee<3>(claimed), Return(CKR_OK)));
    EXPECT_CALL(m_Library, FindObjectsFinal(TheSession())).WillOnce(Return(CKR_OK));
}

void MockedObjectsTest::PlanFailedSearch(size_t failingCall, CK_RV rv) {
    EXPECT_CALL(m_Library, FindObjectsInit(TheSession(), _, _))
        .WillOnce(Return(failingCall == 0 ? rv : CKR_OK));
    if (failingCall >= 1) {
        EXPECT_CALL(m_Library, FindObjects(TheSession(), _, _, _))
            .WillOnce(Return(failingCall == 1 ? rv : CKR_OK));
    }
    if (failingCall >= 2) {
        EXPECT_CALL(m_Library, FindObjectsFinal(TheSession())).WillOnce(Return(rv));
    }
}

void MockedObjectsTest::PlanRead(CK_OBJECT_HANDLE handle, const std::vector<ReadAttribute>& attributes) {
    EXPECT_CALL(m_Library, GetAttributeValue(TheSession(), handle, _, attributes.size()))
        .WillOnce([attributes](auto, auto, CK_ATTRIBUTE* asked, auto) {
            for (size_t i = 0; i < attributes.size(); ++i) {
                Answer(asked[i], attributes[i]);
            }
            return CKR_OK;
        });
}

void MockedObjectsTest::PlanFailedRead(CK_OBJECT_HANDLE handle, CK_RV rv) {
    EXPECT_CALL(m_Library, GetAttributeValue(TheSession(), handle, _, _)).WillOnce(Return(rv));
}

void MockedObjectsTest::PlanOpen(CK_SLOT_ID slot, CK_SESSION_HANDLE session) {
    EXPECT_CALL(m_Library, OpenSession(slot, CKF_SERIAL_SESSION, nullptr, nullptr, _))
        .WillOnce(DoAll(SetArgPointee<4>(session), Return(session != 0 ? CKR_OK : CKR_DEVICE_REMOVED)));
}

void MockedObjectsTest::PlanClose(CK_SESSION_HANDLE session) {
    EXPECT_CALL(m_Library, CloseSession(session)).WillOnce(Return(CKR_OK));
}
