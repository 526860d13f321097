// SPDX-License-Identifier: MIT
#include "card/CardObjects.h"

#include <vector>

#include "card/CallP11.h"
#include "card/tkPKCS11.h"
#include "card/tkPKCS11Logging.h"

namespace Velmor {

CK_RV CheckedLength(CK_RV answer, CK_ULONG length, CK_ULONG offered) {
    return answer == CKR_OK && length > offered ? CKR_BUFFER_TOO_SMALL : answer;
}

ObjectTemplate::ObjectTemplate(CK_OBJECT_CLASS objectClass)
    : m_Class(objectClass), m_Attributes{{{CKA_CLASS, &m_Class, sizeof(m_Class)}, {}}}, m_Count(1) {}

ObjectTemplate::ObjectTemplate(CK_OBJECT_CLASS objectClass, const CK_ATTRIBUTE& attribute)
    : m_Class(objectClass), m_Attributes{{{CKA_CLASS, &m_Class, sizeof(m_Class)}, attribute}}, m_Count(2) {}

// A search leaves its template alone, but PKCS#11 declares it writable.
ObjectTemplate::ObjectTemplate(CK_OBJECT_CLASS objectClass, CK_ATTRIBUTE_TYPE type, const std::string& text)
    : ObjectTemplate(objectClass, {type, const_cast<char*>(text.data()), text.size()}) {}

/// Whether the call has succeeded; if not, reports it.
static bool Succeeded(CK_RV answer, const char* failure) {
    if (answer != CKR_OK && failure != nullptr) {
        tkPKCS11Logging::LogError(failure, answer);
    }
    return answer == CKR_OK;
}

bool SearchObjects(CK_SESSION_HANDLE session, CK_ATTRIBUTE* wanted, CK_ULONG wantedCount,
                   unsigned long* handles, unsigned long maxHandles, unsigned long* found,
                   const SearchTexts& texts) {
    return Succeeded(CallP11(tkPKCS11::Proc_C_FindObjectsInit, session, wanted, wantedCount), texts.m_Init) &&
           Succeeded(CallP11(tkPKCS11::Proc_C_FindObjects, session, handles, maxHandles, found),
                     texts.m_Objects) &&
           Succeeded(CallP11(tkPKCS11::Proc_C_FindObjectsFinal, session), texts.m_Finish) &&
           Succeeded(CheckedLength(CKR_OK, *found, maxHandles), texts.m_TooMany);
}

CK_RV ReadAttributes(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                     std::initializer_list<WantedAttribute> wanted) {
    std::vector<CK_ATTRIBUTE> attributes;
    for (const WantedAttribute& attribute : wanted) {
        attributes.push_back({attribute.m_Type, attribute.m_Bytes, attribute.m_Capacity});
    }
    CK_RV answer =
        CallP11(tkPKCS11::Proc_C_GetAttributeValue, session, object, attributes.data(), attributes.size());
    if (answer != CKR_OK) {
        return answer;
    }
    auto read = attributes.begin();
    for (const WantedAttribute& attribute : wanted) {
        if (attribute.m_Length != nullptr) {
            *attribute.m_Length = read->ulValueLen;
        }
        answer = CheckedLength(answer, read->ulValueLen, attribute.m_Capacity);
        ++read;
    }
    return answer;
}

CK_RV WriteAttributes(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                      CK_ULONG count) {
    return CallP11(tkPKCS11::Proc_C_SetAttributeValue, session, object, attributes, count);
}

} // namespace Velmor
