// SPDX-License-Identifier: MIT
#include "tests/simulator/token/TokenLibrary.h"

#include <cstring>
#include <stdexcept>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tokenlib/Names.h"

namespace orseltest {

namespace {

constexpr const char* LIBRARY_PATH = ORSELSIM_LIBRARY; // given by the build

template <class Function>
Function EntryPoint(const TokenLibrary& library, const char* name) {
    return reinterpret_cast<Function>(library.Symbol(name));
}

} // namespace

bool operator==(const Rv& a, const Rv& b) {
    return a.m_Code == b.m_Code;
}

std::ostream& operator<<(std::ostream& out, const Rv& rv) {
    return out << orselsim::ReturnName(rv.m_Code);
}

void TokenLibrary::Closer::operator()(void* library) const {
    dlclose(library);
}

TokenLibrary::TokenLibrary(bool initialise) : m_Library(dlopen(LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL)) {
    if (!m_Library) {
        throw std::runtime_error(dlerror());
    }
    const auto getFunctionList = EntryPoint<CK_C_GetFunctionList>(*this, "C_GetFunctionList");
    EXPECT_EQ(Rv(CKR_OK), getFunctionList(&m_Functions));
    if (initialise) {
        EXPECT_EQ(Rv(CKR_OK), m_Functions->C_Initialize(nullptr));
    }
}

TokenLibrary::~TokenLibrary() {
    m_Functions->C_Finalize(nullptr);
}

void* TokenLibrary::Symbol(const char* name) const {
    return dlsym(m_Library.get(), name);
}

std::vector<CK_SLOT_ID> TokenLibrary::Slots() const {
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_GetSlotList(CK_TRUE, nullptr, &count));
    std::vector<CK_SLOT_ID> ids(count);
    CK_SLOT_ID none = 0;
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_GetSlotList(CK_TRUE, count == 0 ? &none : ids.data(), &count));
    ids.resize(count);
    return ids;
}

CK_SESSION_HANDLE TokenLibrary::Open(CK_SLOT_ID slot, CK_FLAGS flags) const {
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_OpenSession(slot, flags, nullptr, nullptr, &session));
    EXPECT_NE(0U, session);
    return session;
}

CK_SESSION_HANDLE TokenLibrary::OpenFirst() const {
    return Open(Slots().at(0));
}

std::vector<CK_OBJECT_HANDLE> TokenLibrary::Find(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                                                 const std::optional<std::string>& label) const {
    Bytes text = orselsim::BytesOf(label.value_or(""));
    CK_ATTRIBUTE wanted[] = {{CKA_CLASS, &objectClass, sizeof objectClass}, AttributeOver(CKA_LABEL, text)};
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_FindObjectsInit(session, wanted, label ? 2 : 1));
    std::vector<CK_OBJECT_HANDLE> handles(64);
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_FindObjects(session, handles.data(), handles.size(), &count));
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_FindObjectsFinal(session));
    handles.resize(count);
    return handles;
}

CK_OBJECT_HANDLE TokenLibrary::FindOne(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                                       const std::string& label) const {
    const auto handles = Find(session, objectClass, label);
    EXPECT_EQ(1U, handles.size()) << label;
    return handles.empty() ? 0 : handles[0];
}

Bytes TokenLibrary::Attribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                              CK_ATTRIBUTE_TYPE type) const {
    CK_ATTRIBUTE asked = {type, nullptr, 0};
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_GetAttributeValue(session, object, &asked, 1));
    Bytes value(asked.ulValueLen);
    unsigned char none = 0;
    asked.pValue = value.empty() ? &none : value.data();
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_GetAttributeValue(session, object, &asked, 1));
    EXPECT_EQ(value.size(), asked.ulValueLen);
    return value;
}

CK_ULONG TokenLibrary::NumberAttribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                                       CK_ATTRIBUTE_TYPE type) const {
    const Bytes value = Attribute(session, object, type);
    CK_ULONG number = 0;
    EXPECT_EQ(sizeof number, value.size());
    if (value.size() == sizeof number) {
        std::memcpy(&number, value.data(), sizeof number);
    }
    return number;
}

Rv TokenLibrary::CardAttribute(CK_SESSION_HANDLE session, const char* name, Bytes& value) const {
    using Function = CK_RV (*)(CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*);
    value.resize(1024);
    unsigned long size = value.size();
    const Rv rv = EntryPoint<Function>(*this, "C_CardAttribute")(session, name, value.data(), &size);
    value.resize(rv == CKR_OK ? size : 0);
    return rv;
}

Rv TokenLibrary::Transmit(CK_SESSION_HANDLE session, const Bytes& apdu, Bytes& response) const {
    using Function =
        CK_RV (*)(CK_SESSION_HANDLE, const unsigned char*, unsigned long, unsigned char*, unsigned long*);
    response.resize(4096);
    unsigned long size = response.size();
    const Rv rv = EntryPoint<Function>(*this, "C_CardTransmit")(session, apdu.data(), apdu.size(),
                                                                response.data(), &size);
    response.resize(rv == CKR_OK ? size : 0);
    return rv;
}

std::string TokenLibrary::Transmit(CK_SESSION_HANDLE session, const std::string& apdu) const {
    Bytes response;
    EXPECT_EQ(Rv(CKR_OK), Transmit(session, orselsim::FromHex(apdu).value(), response));
    return orselsim::ToHex(response);
}

CK_TOKEN_INFO TokenLibrary::TokenInfo(CK_SLOT_ID slot) const {
    CK_TOKEN_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), m_Functions->C_GetTokenInfo(slot, &info));
    return info;
}

CK_ATTRIBUTE AttributeOver(CK_ATTRIBUTE_TYPE type, Bytes& value) {
    return {type, value.data(), value.size()};
}

} // namespace orseltest
