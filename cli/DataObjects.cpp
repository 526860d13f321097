// SPDX-License-Identifier: MIT
#include "cli/DataObjects.h"

#include <algorithm>

#include "card/CallP11.h"
#include "card/CardLimits.h"

namespace orselcli {

using Velmor::CallP11;

namespace {

constexpr const char* LINK_LABEL = "PERSONENBINDUNG";
constexpr const char* LINK_ENTRY_LABEL = "0x01";

/// How far an object is looked at to tell whether it is blank.
constexpr size_t BLANK_SPAN = 128;

} // namespace

Outcome FindData(Cards& cards, const std::string& label, DataObject& object) {
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    CK_ATTRIBUTE wanted[] = {
        {CKA_CLASS, &objectClass, sizeof(objectClass)},
        {CKA_LABEL, const_cast<char*>(label.data()), label.size()},
    };
    unsigned long handles[Velmor::MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!cards.FindObjects(wanted, 2, handles, Velmor::MAX_OBJECTS, &found)) {
        return FailureOf();
    }
    object = {handles[0], found != 0};
    return {};
}

Outcome FindIdentityLink(Cards& cards, DataObject& object) {
    return FindData(cards, LINK_LABEL, object);
}

Outcome FindAnyIdentityLink(Cards& cards, DataObject& object) {
    const Outcome outcome = FindIdentityLink(cards, object);
    return outcome.IsDone() && !object.m_IsFound ? FindData(cards, LINK_ENTRY_LABEL, object) : outcome;
}

Outcome MissingIdentityLink(Cards& cards) {
    DataObject entry;
    const Outcome outcome = FindData(cards, LINK_ENTRY_LABEL, entry);
    if (!outcome.IsDone()) {
        return outcome;
    }
    return entry.m_IsFound ? Reason::LINK_IN_INFOBOX : Reason::NO_IDENTITY_LINK;
}

Outcome ReadData(Cards& cards, const DataObject& object, Bytes& content) {
    Velmor::ObjectValue value;
    CK_ATTRIBUTE asked = {CKA_VALUE, value.m_Bytes, sizeof(value.m_Bytes)};
    const CK_RV code = CallP11(Cards::Proc_C_GetAttributeValue, cards.m_hSession, object.m_Handle, &asked, 1);
    value.m_Length = asked.ulValueLen;
    if (code != CKR_OK || !value.Fits()) {
        return FailureOfPin(cards, Velmor::ApplEncryption);
    }
    content.assign(value.m_Bytes, value.m_Bytes + value.m_Length);
    return {};
}

bool IsBlank(const Bytes& content) {
    const auto end = content.begin() + static_cast<std::ptrdiff_t>(std::min(content.size(), BLANK_SPAN));
    return std::all_of(content.begin(), end, [](unsigned char byte) { return byte == 0; });
}

Outcome WriteProtected(Cards& cards, const DataObject& object, Bytes content, bool isProtected) {
    CK_BBOOL isPrivate = isProtected ? CK_TRUE : CK_FALSE;
    CK_ATTRIBUTE changes[] = {
        {CKA_VALUE, content.data(), content.size()},
        {CKA_PRIVATE, &isPrivate, sizeof(isPrivate)},
    };
    const CK_RV code =
        CallP11(Cards::Proc_C_SetAttributeValue, cards.m_hSession, object.m_Handle, changes, 2);
    return code == CKR_OK ? Outcome() : FailureOfPin(cards, Velmor::ApplEncryption);
}

} // namespace orselcli
