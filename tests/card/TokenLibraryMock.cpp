// SPDX-License-Identifier: MIT
#include "tests/card/TokenLibraryMock.h"

#define ORSEL_INSTANTIATE_MOCKER(...)                                                                        \
    template class testing::internal::FunctionMocker<__VA_ARGS__>;                                           \
    template class testing::internal::TypedExpectation<__VA_ARGS__>;                                         \
    template class testing::internal::MockSpec<__VA_ARGS__>;
ORSEL_MOCKED_SIGNATURES(ORSEL_INSTANTIATE_MOCKER)

using testing::_;
using testing::DoAll;
using testing::IsNull;
using testing::NotNull;
using testing::Return;
using testing::SetArgPointee;
using Velmor::tkPKCS11;

namespace {

TokenLibrary* g_Library = nullptr;

/// The plain function that forwards to one mocked method.
template <auto Method>
struct Forward;

template <typename... Parameters, CK_RV (TokenLibrary::*Method)(Parameters...)>
struct Forward<Method> {
    static CK_RV Call(Parameters... arguments) { return (g_Library->*Method)(arguments...); }
};

} // namespace

TokenLibrary::TokenLibrary() = default;
TokenLibrary::~TokenLibrary() = default;

void TokenLibrary::Install() {
    g_Library = this;
    tkPKCS11::Proc_C_Initialize = Forward<&TokenLibrary::Initialize>::Call;
    tkPKCS11::Proc_C_Finalize = Forward<&TokenLibrary::Finalize>::Call;
    tkPKCS11::Proc_C_GetInfo = Forward<&TokenLibrary::GetInfo>::Call;
    tkPKCS11::Proc_C_GetSlotList = Forward<&TokenLibrary::GetSlotList>::Call;
    tkPKCS11::Proc_C_GetSlotInfo = Forward<&TokenLibrary::GetSlotInfo>::Call;
    tkPKCS11::Proc_C_GetTokenInfo = Forward<&TokenLibrary::GetTokenInfo>::Call;
    tkPKCS11::Proc_C_OpenSession = Forward<&TokenLibrary::OpenSession>::Call;
    tkPKCS11::Proc_C_CloseSession = Forward<&TokenLibrary::CloseSession>::Call;
    tkPKCS11::Proc_C_Login = Forward<&TokenLibrary::Login>::Call;
    tkPKCS11::Proc_C_Logout = Forward<&TokenLibrary::Logout>::Call;
    tkPKCS11::Proc_C_FindObjectsInit = Forward<&TokenLibrary::FindObjectsInit>::Call;
    tkPKCS11::Proc_C_FindObjects = Forward<&TokenLibrary::FindObjects>::Call;
    tkPKCS11::Proc_C_FindObjectsFinal = Forward<&TokenLibrary::FindObjectsFinal>::Call;
    tkPKCS11::Proc_C_GetAttributeValue = Forward<&TokenLibrary::GetAttributeValue>::Call;
    tkPKCS11::Proc_C_SetAttributeValue = Forward<&TokenLibrary::SetAttributeValue>::Call;
    tkPKCS11::Proc_C_SignInit = Forward<&TokenLibrary::SignInit>::Call;
    tkPKCS11::Proc_C_Sign = Forward<&TokenLibrary::Sign>::Call;
    tkPKCS11::Proc_C_VerifyInit = Forward<&TokenLibrary::VerifyInit>::Call;
    tkPKCS11::Proc_C_Verify = Forward<&TokenLibrary::Verify>::Call;
    tkPKCS11::Proc_C_CardTransmit = Forward<&TokenLibrary::CardTransmit>::Call;
    tkPKCS11::Proc_C_CardAttribute = Forward<&TokenLibrary::CardAttribute>::Call;
}

void TokenLibrary::Remove() {
    g_Library = nullptr;
    tkPKCS11::Proc_C_Initialize = nullptr;
    tkPKCS11::Proc_C_Finalize = nullptr;
    tkPKCS11::Proc_C_GetInfo = nullptr;
    tkPKCS11::Proc_C_GetSlotList = nullptr;
    tkPKCS11::Proc_C_GetSlotInfo = nullptr;
    tkPKCS11::Proc_C_GetTokenInfo = nullptr;
    tkPKCS11::Proc_C_OpenSession = nullptr;
    tkPKCS11::Proc_C_CloseSession = nullptr;
    tkPKCS11::Proc_C_Login = nullptr;
    tkPKCS11::Proc_C_Logout = nullptr;
    tkPKCS11::Proc_C_FindObjectsInit = nullptr;
    tkPKCS11::Proc_C_FindObjects = nullptr;
    tkPKCS11::Proc_C_FindObjectsFinal = nullptr;
    tkPKCS11::Proc_C_GetAttributeValue = nullptr;
    tkPKCS11::Proc_C_SetAttributeValue = nullptr;
    tkPKCS11::Proc_C_SignInit = nullptr;
    tkPKCS11::Proc_C_Sign = nullptr;
    tkPKCS11::Proc_C_VerifyInit = nullptr;
    tkPKCS11::Proc_C_Verify = nullptr;
    tkPKCS11::Proc_C_CardTransmit = nullptr;
    tkPKCS11::Proc_C_CardAttribute = nullptr;
}

CK_TOKEN_INFO Token(const std::string& label, const std::string& serial, const std::string& model,
                    const std::string& manufacturer) {
    CK_TOKEN_INFO token = {};
    FillField(token.label, label);
    FillField(token.manufacturerID, manufacturer);
    FillField(token.model, model);
    FillField(token.serialNumber, serial);
    return token;
}

CK_SLOT_INFO RemovableSlot() {
    CK_SLOT_INFO slot = {};
    slot.flags = CKF_REMOVABLE_DEVICE | CKF_TOKEN_PRESENT;
    return slot;
}

void MockedCardTest::PlanSlots(const std::vector<CK_TOKEN_INFO>& tokens) {
    const testing::InSequence inThisOrder;
    const CK_ULONG count = tokens.size();
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, IsNull(), NotNull()))
        .WillOnce(DoAll(SetArgPointee<2>(count), Return(CKR_OK)));
    EXPECT_CALL(m_Library, GetSlotList(CK_TRUE, NotNull(), testing::Pointee(count)))
        .WillOnce([count](CK_BBOOL, CK_SLOT_ID* ids, CK_ULONG*) {
            for (CK_ULONG i = 0; i < count; ++i) {
                ids[i] = 100 + i;
            }
            return CKR_OK;
        });
    for (CK_ULONG i = 0; i < count; ++i) {
        EXPECT_CALL(m_Library, GetTokenInfo(100 + i, _))
            .WillOnce(DoAll(SetArgPointee<1>(tokens[i]), Return(CKR_OK)));
        EXPECT_CALL(m_Library, GetSlotInfo(100 + i, _))
            .WillOnce(DoAll(SetArgPointee<1>(RemovableSlot()), Return(CKR_OK)));
    }
}
