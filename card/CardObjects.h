// SPDX-License-Identifier: MIT
#ifndef ORSEL_CARD_CARDOBJECTS_H
#define ORSEL_CARD_CARDOBJECTS_H

#include "card/CardLimits.h"

#include <p11-kit/pkcs11.h>

#include <array>
#include <initializer_list>
#include <string>

/// Searching the objects of a card, reading and writing their attributes: the only places that call these
/// entry points of the token library.
namespace Velmor {

/// The library's answer, made a failure (CKR_BUFFER_TOO_SMALL) where it claims more than it was offered.
CK_RV CheckedLength(CK_RV answer, CK_ULONG length, CK_ULONG offered);

/// A search template: a class and, where wanted, one attribute more, whose value must outlive the template.
class ObjectTemplate {
public:
    explicit ObjectTemplate(CK_OBJECT_CLASS objectClass);
    ObjectTemplate(CK_OBJECT_CLASS objectClass, const CK_ATTRIBUTE& attribute);
    ObjectTemplate(CK_OBJECT_CLASS objectClass, CK_ATTRIBUTE_TYPE type, const std::string& text);
    /// A temporary text would be gone before the search.
    ObjectTemplate(CK_OBJECT_CLASS objectClass, CK_ATTRIBUTE_TYPE type, std::string&& text) = delete;

    // Points into itself.
    ObjectTemplate(const ObjectTemplate&) = delete;
    ObjectTemplate& operator=(const ObjectTemplate&) = delete;

    CK_ATTRIBUTE* Attributes() { return m_Attributes.data(); }
    CK_ULONG Count() const { return m_Count; }

private:
    CK_OBJECT_CLASS m_Class;
    std::array<CK_ATTRIBUTE, 2> m_Attributes;
    CK_ULONG m_Count;
};

/// Handles that a search has found, in the library's order.
struct FoundObjects {
    unsigned long m_Handles[MAX_OBJECTS] = {};
    unsigned long m_Count = 0;

    const unsigned long* begin() const { return m_Handles; }
    const unsigned long* end() const { return m_Handles + m_Count; }
    bool empty() const { return m_Count == 0; }
    unsigned long First() const { return m_Handles[0]; }
};

/// What a search reports when one of its calls fails, each with the code. Null: that failure is silent.
struct SearchTexts {
    const char* m_Init;
    const char* m_Objects;
    const char* m_Finish;
    const char* m_TooMany; ///< the library claims more handles than it was offered room for
};

/// The texts of the operations that search without tkPKCS11::FindObjects.
constexpr SearchTexts DIRECT_SEARCH_TEXTS = {
    "PKCS11 Proc_C_FindObjectsInit ERROR",
    "PKCS11 Proc_C_FindObjects ERROR",
    "PKCS11 Proc_C_FindObjectsFinal ERROR",
    "PKCS11 Proc_C_FindObjects ERROR",
};

/// C_FindObjectsInit, one C_FindObjects, C_FindObjectsFinal. True also for no match. A failed C_FindObjects
/// leaves the search open; it ends with the session.
bool SearchObjects(CK_SESSION_HANDLE session, CK_ATTRIBUTE* wanted, CK_ULONG wantedCount,
                   unsigned long* handles, unsigned long maxHandles, unsigned long* found,
                   const SearchTexts& texts);

/// One attribute that is to be read, and where to.
struct WantedAttribute {
    CK_ATTRIBUTE_TYPE m_Type;
    void* m_Bytes;
    CK_ULONG m_Capacity;
    CK_ULONG* m_Length; ///< set by a call that succeeds; may be null
};

template <size_t Capacity>
WantedAttribute Wanted(CK_ATTRIBUTE_TYPE type, AttributeBuffer<Capacity>& buffer) {
    return {type, buffer.m_Bytes, Capacity, &buffer.m_Length};
}

template <typename Number>
WantedAttribute WantedNumber(CK_ATTRIBUTE_TYPE type, Number& number) {
    return {type, &number, sizeof(number), nullptr};
}

/// Reads attributes of one object in one call. CKR_OK says that every length fits as well. A call that the
/// library refuses leaves the lengths alone, so one that does not fit tells of a call that it granted.
CK_RV ReadAttributes(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                     std::initializer_list<WantedAttribute> wanted);

/// Writes attributes of one object in one call.
CK_RV WriteAttributes(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                      CK_ULONG count);

} // namespace Velmor

#endif
