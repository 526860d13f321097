// SPDX-License-Identifier: MIT
#include "bridge/InnerSession.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace orselbridge {

namespace {

constexpr CK_ULONG OBJECTS_AT_ONCE = 64;

/// Far above what tokens hold: a module that never comes to an end of its objects is stopped here.
constexpr std::size_t MOST_OBJECTS = 4096;

/// No attribute that the bridge reads for itself is longer.
constexpr CK_ULONG LARGEST_VALUE = 65536;

std::vector<CK_ATTRIBUTE> TemplateOf(AttributeMap& wanted) {
    std::vector<CK_ATTRIBUTE> attributes;
    for (auto& [type, value] : wanted) {
        attributes.push_back({type, value.data(), value.size()});
    }
    return attributes;
}

/// A search of the module, ended with the object.
class InnerSearch {
public:
    InnerSearch(const Module& module, CK_SESSION_HANDLE session, AttributeMap wanted)
        : m_Module(module), m_Session(session) {
        std::vector<CK_ATTRIBUTE> attributes = TemplateOf(wanted);
        m_Module.Do(&CK_FUNCTION_LIST::C_FindObjectsInit, m_Session, attributes.data(), attributes.size());
    }
    ~InnerSearch() { m_Module.Call(&CK_FUNCTION_LIST::C_FindObjectsFinal, m_Session); }
    InnerSearch(const InnerSearch&) = delete; // ends it once
    InnerSearch& operator=(const InnerSearch&) = delete;

    /// Appends the next objects; false when there are no more.
    bool Next(std::vector<CK_OBJECT_HANDLE>& objects) {
        CK_OBJECT_HANDLE some[OBJECTS_AT_ONCE] = {};
        CK_ULONG count = 0;
        m_Module.Do(&CK_FUNCTION_LIST::C_FindObjects, m_Session, some, OBJECTS_AT_ONCE, &count);
        m_Module.CheckLength("C_FindObjects", count, OBJECTS_AT_ONCE);
        m_Module.CheckLength("C_FindObjects", objects.size() + count, MOST_OBJECTS);
        objects.insert(objects.end(), some, some + count);
        return count > 0;
    }

private:
    const Module& m_Module;
    CK_SESSION_HANDLE m_Session;
};

std::vector<CK_OBJECT_HANDLE> FindIn(const Module& module, CK_SESSION_HANDLE session,
                                     const AttributeMap& wanted) {
    std::vector<CK_OBJECT_HANDLE> objects;
    InnerSearch search(module, session, wanted);
    while (search.Next(objects)) {
    }
    return objects;
}

} // namespace

InnerSession::InnerSession(const Module& module, CK_SLOT_ID slot, CK_FLAGS flags)
    : m_Module(module), m_Slot(slot), m_Flags(flags) {
    Reopen();
}

InnerSession::InnerSession(InnerSession&& other) noexcept
    : m_Module(other.m_Module),
      m_Slot(other.m_Slot),
      m_Flags(other.m_Flags),
      m_Handle(std::exchange(other.m_Handle, 0)) {}

InnerSession::~InnerSession() {
    Close();
}

CK_SESSION_HANDLE InnerSession::Release() {
    return std::exchange(m_Handle, 0);
}

void InnerSession::Close() {
    const CK_SESSION_HANDLE handle = Release();
    if (handle != 0) {
        m_Module.Call(&CK_FUNCTION_LIST::C_CloseSession, handle);
    }
}

void InnerSession::Reopen() {
    m_Module.Do(&CK_FUNCTION_LIST::C_OpenSession, m_Slot, m_Flags, static_cast<void*>(nullptr),
                static_cast<CK_NOTIFY>(nullptr), &m_Handle);
    if (m_Handle == 0) {
        throw Refusal{CKR_DEVICE_ERROR}; // no handle at all
    }
}

bool InnerSession::IsLoggedIn() const {
    CK_SESSION_INFO info = {};
    m_Module.Do(&CK_FUNCTION_LIST::C_GetSessionInfo, m_Handle, &info);
    return info.state != CKS_RO_PUBLIC_SESSION && info.state != CKS_RW_PUBLIC_SESSION;
}

// Some modules have one operation a session, of whatever kind: the caller's signature is not to keep the
// bridge from looking for an object.
std::vector<CK_OBJECT_HANDLE> InnerSession::Find(const AttributeMap& wanted) const {
    try {
        return FindIn(m_Module, m_Handle, wanted);
    } catch (const Refusal& refusal) {
        if (refusal.m_Code != CKR_OPERATION_ACTIVE) {
            throw;
        }
    }
    const InnerSession other(m_Module, m_Slot, m_Flags);
    return FindIn(m_Module, other.Handle(), wanted);
}

std::optional<Bytes> InnerSession::Read(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const {
    CK_ATTRIBUTE asked = {type, nullptr, 0};
    CK_RV code = m_Module.Call(&CK_FUNCTION_LIST::C_GetAttributeValue, m_Handle, object, &asked, CK_ULONG{1});
    if (code != CKR_OK || asked.ulValueLen > LARGEST_VALUE) {
        return std::nullopt;
    }
    Bytes value(asked.ulValueLen);
    asked.pValue = value.data();
    code = m_Module.Call(&CK_FUNCTION_LIST::C_GetAttributeValue, m_Handle, object, &asked, CK_ULONG{1});
    if (code != CKR_OK || asked.ulValueLen > value.size()) {
        return std::nullopt;
    }
    value.resize(asked.ulValueLen);
    return value;
}

std::string InnerSession::ReadText(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const {
    return tokenlib::TextOf(Read(object, type).value_or(Bytes()));
}

std::optional<CK_ULONG> InnerSession::ReadNumber(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const {
    const std::optional<Bytes> value = Read(object, type);
    CK_ULONG number = 0;
    if (!value || value->size() != sizeof number) {
        return std::nullopt;
    }
    std::memcpy(&number, value->data(), sizeof number);
    return number;
}

bool InnerSession::ReadFlag(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const {
    const std::optional<Bytes> value = Read(object, type);
    return value && value->size() == sizeof(CK_BBOOL) && value->front() != CK_FALSE;
}

} // namespace orselbridge
