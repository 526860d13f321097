// SPDX-License-Identifier: MIT
// PINs: change, unblock, first-time initialisation, state. No PIN passes through here: the token library
// asks for it while a command attribute is written to the object that the PIN protects.
#include "card/tkPKCS11.h"

#include "card/CallP11.h"
#include "card/CardLabels.h"
#include "card/CardObjects.h"
#include "card/tkPKCS11Logging.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

// Numbers of the standard with the token library's own meaning.
constexpr CK_ATTRIBUTE_TYPE CK_ATTR_CHANGE_PIN = 0x200;
constexpr CK_ATTRIBUTE_TYPE CK_ATTR_UNBLOCK_PIN = 0x201;
/// Asks for the PIN on the screen rather than on the reader's keypad.
constexpr CK_ATTRIBUTE_TYPE CK_ATTR_FORCE_SOFTWARE_PIN = CKA_VENDOR_DEFINED + 2;

struct ProtectedObject {
    const char* m_Label;
    CK_OBJECT_CLASS m_ObjectClass;
    const char* m_PinStatus; ///< name of the card property
};

/// By ApplType.
constexpr ProtectedObject PROTECTED_OBJECTS[] = {
    {SIGNATURE_LABELS.m_PrivateKey, CKO_PRIVATE_KEY, "SicSig/PIN-Status"},
    {ENCRYPTION_LABELS.m_PrivateKey, CKO_PRIVATE_KEY, "GewSig/PIN-Status"},
    {IDENTITY_LINK_LABEL, CKO_DATA, "GewSig/PIN-Status"},
};

/// Null for a number that names no application.
const ProtectedObject* ObjectOf(ApplType appl) {
    return appl >= ApplSignature && appl <= ApplIdentityLink ? &PROTECTED_OBJECTS[appl] : nullptr;
}

PKCS11Return Reported(const char* outcome, PKCS11Return result) {
    LogError(std::string("Proc_C_SetAttributeValue returned ") + outcome);
    return result;
}

PKCS11Return ResultOf(CK_RV rv) {
    switch (rv) {
    case CKR_OK:
        return P11_OK;
    case CKR_FUNCTION_CANCELED:
        return Reported("CKR_FUNCTION_CANCELED", P11_CANCELLED);
    case CKR_PIN_INCORRECT:
        return Reported("CKR_PIN_INCORRECT", P11_PIN_INCORRECT);
    case CKR_PIN_LOCKED:
        return Reported("CKR_PIN_LOCKED", P11_PIN_LOCKED);
    default:
        LogError("Proc_C_SetAttributeValue returned ", rv);
        return P11_ERROR;
    }
}

/// The form with flags logs nothing and tells the wrong PIN as a locked one and everything else as a wrong
/// one: its callers go by these results.
PKCS11Return ResultOfFormWithFlags(CK_RV rv) {
    switch (rv) {
    case CKR_OK:
        return P11_OK;
    case CKR_FUNCTION_CANCELED:
        return P11_CANCELLED;
    case CKR_PIN_INCORRECT:
        return P11_PIN_LOCKED;
    default:
        return P11_PIN_INCORRECT;
    }
}

} // namespace

bool tkPKCS11::RequireSession() {
    if (m_hSession != 0) {
        return true;
    }
    LogError("PKCS11 Session nicht offen");
    return false;
}

PKCS11Return tkPKCS11::ChangePIN(ApplType appl) {
    LogMessage("ChangePIN");
    return RequireSession() ? GenericPINCommand(appl, CK_ATTR_CHANGE_PIN) : P11_ERROR;
}

PKCS11Return tkPKCS11::UnblockPIN(ApplType appl) {
    LogMessage("UnblockPIN");
    return RequireSession() ? GenericPINCommand(appl, CK_ATTR_UNBLOCK_PIN) : P11_ERROR;
}

PKCS11Return tkPKCS11::InitPIN(ApplType appl) {
    LogMessage("InitPIN");
    if (!RequireSession()) {
        return P11_ERROR;
    }
    if (m_CardType == CARD_UNKNOWN) {
        LoadCardType();
    }
    if (m_CardType == CARD_UNKNOWN) {
        LogError("InitPIN for unknown card not allowed");
        return P11_NOT_SUPPORTED;
    }
    const bool initialise = IsAcos() && appl == ApplSignature;
    return GenericPINCommand(appl, CK_ATTR_CHANGE_PIN, initialise, initialise);
}

bool tkPKCS11::FindProtectedObject(ApplType appl, unsigned long* handle) {
    const ProtectedObject* object = ObjectOf(appl);
    return object != nullptr && FindObject(object->m_Label, object->m_ObjectClass, handle);
}

PKCS11Return tkPKCS11::GenericPINCommand(ApplType appl, unsigned long attribute) {
    unsigned long handle = 0;
    if (!FindProtectedObject(appl, &handle)) {
        return P11_ERROR;
    }
    CK_BBOOL value = CK_FALSE;
    CK_ATTRIBUTE command = {attribute, &value, sizeof(value)};
    return ResultOf(WriteAttributes(m_hSession, handle, &command, 1));
}

PKCS11Return tkPKCS11::GenericPINCommand(ApplType appl, unsigned long attribute, bool value,
                                         bool forceSoftwarePin) {
    CK_BBOOL commandValue = value ? CK_TRUE : CK_FALSE;
    CK_BBOOL softwarePin = CK_TRUE;
    CK_ATTRIBUTE attributes[] = {
        {attribute, &commandValue, sizeof(commandValue)},
        {CK_ATTR_FORCE_SOFTWARE_PIN, &softwarePin, sizeof(softwarePin)},
    };
    CK_ULONG count = 1;
    CK_ULONG retryCount = 0; // a client that is too old repeats with an empty list
    if (forceSoftwarePin && ClientSupportForceSofwarePin()) {
        LogMessage("tkPKCS11::_GenericPINCommand: force Software Pin");
        count = 2;
        retryCount = 1; // without the vendor attribute, for a library that refuses it
    }
    unsigned long handle = 0;
    if (!FindProtectedObject(appl, &handle)) {
        return P11_ERROR;
    }
    CK_RV rv = WriteAttributes(m_hSession, handle, attributes, count);
    if (rv == CKR_FUNCTION_FAILED && forceSoftwarePin) {
        rv = WriteAttributes(m_hSession, handle, attributes, retryCount);
    }
    return ResultOfFormWithFlags(rv);
}

int tkPKCS11::GetPINStatus(ApplType appl, PINState& state, int& tries) {
    LogMessage("GetPINStatus");
    if (!RequireSession()) {
        return -1;
    }
    state = PIN_STATE_UNKNOWN;
    tries = -1;
    const ProtectedObject* object = ObjectOf(appl);
    if (!IsECard() || object == nullptr) {
        return -1;
    }

    unsigned char status[5] = {};
    unsigned long length = sizeof(status);
    const CK_RV rv = CallP11(Proc_C_CardAttribute, m_hSession, object->m_PinStatus, status, &length);
    // The first byte counts whatever the call returned, so a failed one reads as a blocked PIN.
    if (status[0] != 0xFF) {
        state = status[0] == 0 ? PIN_STATE_BLOCKED : PIN_STATE_OK;
        tries = status[0];
    }
    if (CheckedLength(rv, length, sizeof(status)) == CKR_OK) {
        return 0;
    }
    return rv == CKR_FUNCTION_NOT_SUPPORTED ? -2 : -1;
}

} // namespace Velmor
