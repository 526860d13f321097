// SPDX-License-Identifier: MIT
#include "tests/simulator/token/TokenLibrary.h"

#include <cstring>
#include <stdexcept>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "simulator/token/Names.h"

namespace orseltest {

namespace {

constexpr const char* libraryPath = ORSELSIM_LIBRARY; // given by the build

template <class Function>
Function entryPoint(const TokenLibrary& library, const char* name) {
    return reinterpret_cast<Function>(library.symbol(name));
}

} // namespace

bool operator==(const Rv& a, const Rv& b) {
    return a.code == b.code;
}

std::ostream& operator<<(std::ostream& out, const Rv& rv) {
    return out << orselsim::returnName(rv.code);
}

void TokenLibrary::Closer::operator()(void* library) const {
    dlclose(library);
}

TokenLibrary::TokenLibrary(bool initialise) : m_library(dlopen(libraryPath, RTLD_NOW | RTLD_LOCAL)) {
    if (!m_library)
        throw std::runtime_error(dlerror());
    const auto getFunctionList = entryPoint<CK_C_GetFunctionList>(*this, "C_GetFunctionList");
    EXPECT_EQ(Rv(CKR_OK), getFunctionList(&m_functions));
    if (initialise) {
        EXPECT_EQ(Rv(CKR_OK), m_functions->C_Initialize(nullptr));
    }
}

TokenLibrary::~TokenLibrary() {
    m_functions->C_Finalize(nullptr);
}

void* TokenLibrary::symbol(const char* name) const {
    return dlsym(m_library.get(), name);
}

std::vector<CK_SLOT_ID> TokenLibrary::slots() const {
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_GetSlotList(CK_TRUE, nullptr, &count));
    std::vector<CK_SLOT_ID> ids(count);
    CK_SLOT_ID none = 0;
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_GetSlotList(CK_TRUE, count == 0 ? &none : ids.data(), &count));
    ids.resize(count);
    return ids;
}

CK_SESSION_HANDLE TokenLibrary::open(CK_SLOT_ID slot, CK_FLAGS flags) const {
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_OpenSession(slot, flags, nullptr, nullptr, &session));
    EXPECT_NE(0U, session);
    return session;
}

CK_SESSION_HANDLE TokenLibrary::openFirst() const {
    return open(slots().at(0));
}

std::vector<CK_OBJECT_HANDLE> TokenLibrary::find(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                                                 const std::optional<std::string>& label) const {
    Bytes text = orselsim::bytesOf(label.value_or(""));
    CK_ATTRIBUTE wanted[] = {{CKA_CLASS, &objectClass, sizeof objectClass}, attributeOver(CKA_LABEL, text)};
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_FindObjectsInit(session, wanted, label ? 2 : 1));
    std::vector<CK_OBJECT_HANDLE> handles(64);
    CK_ULONG count = 0;
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_FindObjects(session, handles.data(), handles.size(), &count));
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_FindObjectsFinal(session));
    handles.resize(count);
    return handles;
}

CK_OBJECT_HANDLE TokenLibrary::findOne(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                                       const std::string& label) const {
    const auto handles = find(session, objectClass, label);
    EXPECT_EQ(1U, handles.size()) << label;
    return handles.empty() ? 0 : handles[0];
}

Bytes TokenLibrary::attribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                              CK_ATTRIBUTE_TYPE type) const {
    CK_ATTRIBUTE asked = {type, nullptr, 0};
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_GetAttributeValue(session, object, &asked, 1));
    Bytes value(asked.ulValueLen);
    unsigned char none = 0;
    asked.pValue = value.empty() ? &none : value.data();
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_GetAttributeValue(session, object, &asked, 1));
    EXPECT_EQ(value.size(), asked.ulValueLen);
    return value;
}

CK_ULONG TokenLibrary::numberAttribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                                       CK_ATTRIBUTE_TYPE type) const {
    const Bytes value = attribute(session, object, type);
    CK_ULONG number = 0;
    EXPECT_EQ(sizeof number, value.size());
    if (value.size() == sizeof number)
        std::memcpy(&number, value.data(), sizeof number);
    return number;
}

Rv TokenLibrary::cardAttribute(CK_SESSION_HANDLE session, const char* name, Bytes& value) const {
    using Function = CK_RV (*)(CK_SESSION_HANDLE, const char*, unsigned char*, unsigned long*);
    value.resize(1024);
    unsigned long size = value.size();
    const Rv rv = entryPoint<Function>(*this, "C_CardAttribute")(session, name, value.data(), &size);
    value.resize(rv == CKR_OK ? size : 0);
    return rv;
}

Rv TokenLibrary::transmit(CK_SESSION_HANDLE session, const Bytes& apdu, Bytes& response) const {
    using Function =
        CK_RV (*)(CK_SESSION_HANDLE, const unsigned char*, unsigned long, unsigned char*, unsigned long*);
    response.resize(4096);
    unsigned long size = response.size();
    const Rv rv = entryPoint<Function>(*this, "C_CardTransmit")(session, apdu.data(), apdu.size(),
                                                                response.data(), &size);
    response.resize(rv == CKR_OK ? size : 0);
    return rv;
}

std::string TokenLibrary::transmit(CK_SESSION_HANDLE session, const std::string& apdu) const {
    Bytes response;
    EXPECT_EQ(Rv(CKR_OK), transmit(session, orselsim::fromHex(apdu).value(), response));
    return orselsim::toHex(response);
}

CK_TOKEN_INFO TokenLibrary::tokenInfo(CK_SLOT_ID slot) const {
    CK_TOKEN_INFO info = {};
    EXPECT_EQ(Rv(CKR_OK), m_functions->C_GetTokenInfo(slot, &info));
    return info;
}

CK_ATTRIBUTE attributeOver(CK_ATTRIBUTE_TYPE type, Bytes& value) {
    return {type, value.data(), value.size()};
}

} // namespace orseltest
