// SPDX-License-Identifier: MIT
// Keys of a card over mocked entry points, and signing with them.
#ifndef ORSEL_TESTS_CARD_MOCKEDSIGNING_H
#define ORSEL_TESTS_CARD_MOCKEDSIGNING_H

#include "tests/card/MockedObjects.h"

#include <string>
#include <vector>

class MockedSigningTest : public MockedObjectsTest {
protected:
    static constexpr CK_OBJECT_HANDLE KEY = 21;

    void PlanKeys(const std::vector<CK_OBJECT_HANDLE>& handles) { PlanSearch({CKO_PRIVATE_KEY}, handles); }
    void PlanReadOfKey(CK_OBJECT_HANDLE handle, const std::string& label, CK_KEY_TYPE keyType) {
        PlanRead(handle, {Label(label), KeyType(keyType)});
    }
    /// One key, which is the wanted one.
    void PlanKey(const std::string& label, CK_KEY_TYPE keyType) {
        PlanKeys({KEY});
        PlanReadOfKey(KEY, label, keyType);
    }

    void PlanSignInit(CK_MECHANISM_TYPE mechanism, CK_RV rv = CKR_OK) {
        EXPECT_CALL(m_Library, SignInit(TheSession(), Plain(mechanism), KEY)).WillOnce(testing::Return(rv));
    }
    /// The call that makes the signature. `length` is what the library reports, the signature's size unless
    /// it is told.
    void PlanSign(const Bytes& data, CK_ULONG capacity, const Bytes& signature) {
        PlanSignReporting(data, capacity, signature, signature.size());
    }
    void PlanSignReporting(const Bytes& data, CK_ULONG capacity, const Bytes& signature, CK_ULONG length) {
        EXPECT_CALL(m_Library, Sign(TheSession(), testing::_, data.size(), testing::NotNull(),
                                    testing::Pointee(capacity)))
            .WillOnce([=](auto, CK_BYTE* given, CK_ULONG size, CK_BYTE* out, CK_ULONG* outLength) {
                EXPECT_EQ(Bytes(given, given + size), data);
                std::copy(signature.begin(), signature.end(), out);
                *outLength = length;
                return CKR_OK;
            });
    }
    /// The question for the size of a signature.
    void PlanSize(const Bytes& data, CK_ULONG size) {
        EXPECT_CALL(m_Library,
                    Sign(TheSession(), testing::_, data.size(), testing::IsNull(), testing::Pointee(0U)))
            .WillOnce([=](auto, CK_BYTE* given, CK_ULONG length, auto, CK_ULONG* outLength) {
                EXPECT_EQ(Bytes(given, given + length), data);
                *outLength = size;
                return CKR_OK;
            });
    }
    /// Everything that Sign calls for one signature.
    void PlanSigning(const std::string& label, CK_KEY_TYPE keyType, CK_MECHANISM_TYPE mechanism,
                     const Bytes& data, const Bytes& signature) {
        PlanKey(label, keyType);
        PlanSignInit(mechanism);
        PlanSize(data, signature.size());
        PlanSign(data, signature.size(), signature);
    }
    void PlanFailedSign(CK_RV rv) {
        EXPECT_CALL(m_Library, Sign(testing::_, testing::_, testing::_, testing::NotNull(), testing::_))
            .WillOnce(testing::Return(rv));
    }

    /// A mechanism without a parameter.
    static testing::Matcher<CK_MECHANISM*> Plain(CK_MECHANISM_TYPE type) {
        return testing::Pointee(testing::AllOf(testing::Field(&CK_MECHANISM::mechanism, type),
                                               testing::Field(&CK_MECHANISM::pParameter, testing::IsNull()),
                                               testing::Field(&CK_MECHANISM::ulParameterLen, 0U)));
    }
};

#endif
