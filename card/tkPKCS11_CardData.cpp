// SPDX-License-Identifier: MIT
// The card's data objects: reading the insurance data and the identity link, writing an identity link or a
// renewed certificate. The texts of the updates go back to the caller for the user.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <locale>
#include <sstream>

#include "card/CallP11.h"
#include "card/CardLimits.h"
#include "card/tkPKCS11Logging.h"
#include "formats/Personenbindung.h"
#include "formats/slCertificate.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

constexpr size_t UPDATE_CAPACITY = 3072;
constexpr size_t SMALLEST_UPDATE = 128;
constexpr unsigned char SEQUENCE_TAG = 0x30;

bool Refuse(std::string& error, const std::string& text) {
    error = text;
    LogError(text);
    return false;
}

/// The identity link object's label; writable, as the templates of PKCS#11 want it.
CK_ATTRIBUTE LabelOfIdentityLink() {
    static char cLabelPersonenbindung[] = "PERSONENBINDUNG";
    return {CKA_LABEL, cLabelPersonenbindung, sizeof(cLabelPersonenbindung) - 1};
}

/// Searches with calls of its own, each of which reports its failure but the first.
bool FindIdentityLink(CK_SESSION_HANDLE session, unsigned long& handle) {
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    CK_ATTRIBUTE tmpl[] = {{CKA_CLASS, &objectClass, sizeof(objectClass)}, LabelOfIdentityLink()};
    if (CallP11(tkPKCS11::Proc_C_FindObjectsInit, session, tmpl, 2) != CKR_OK)
        return false;
    unsigned long count = 0;
    CK_RV rv = CallP11(tkPKCS11::Proc_C_FindObjects, session, &handle, 1, &count);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjects ERROR", rv);
        return false;
    }
    rv = CallP11(tkPKCS11::Proc_C_FindObjectsFinal, session);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_FindObjectsFinal ERROR", rv);
        return false;
    }
    if (count > 1) {
        LogError("PKCS11 Proc_C_FindObjects ERROR", CKR_BUFFER_TOO_SMALL);
        return false;
    }
    if (count == 0) {
        LogError("PKCS11 Anzahl Objekte <1");
        return false;
    }
    return true;
}

} // namespace

/// Reads a property straight into the caller's buffer. Without a buffer, or with one of no capacity, this
/// asks for the length.
bool tkPKCS11::ReadProperty(const char* name, const char* failure, unsigned char* out, unsigned long& len) {
    if (Proc_C_CardAttribute == nullptr)
        return false;
    const unsigned long capacity = len;
    CK_RV rv = Proc_C_CardAttribute(m_hSession, name, out, &len);
    if (rv == CKR_OK && out != nullptr && capacity != 0 && len > capacity)
        rv = CKR_BUFFER_TOO_SMALL;
    if (rv != CKR_OK)
        LogError(failure, rv);
    return rv == CKR_OK;
}

bool tkPKCS11::ReadEHIC(unsigned char* out, unsigned long& len) {
    return ReadProperty("SV-Personendaten/EHIC", "Failed get EHIC, rv = ", out, len);
}

bool tkPKCS11::ReadGrunddaten(unsigned char* out, unsigned long& len) {
    return ReadProperty("SV-Personendaten/Grunddaten", "Failed get Grunddaten, rv = ", out, len);
}

bool tkPKCS11::ReadPers(Personenbindung* pers) {
    LogMessage("ReadPers");
    unsigned long handle = 0;
    if (!RequireSession() || !FindIdentityLink(m_hSession, handle))
        return false;
    ObjectValue value;
    CK_ATTRIBUTE attribute = {CKA_VALUE, value.bytes, sizeof(value.bytes)};
    CK_RV rv = CallP11(Proc_C_GetAttributeValue, m_hSession, handle, &attribute, 1);
    value.length = attribute.ulValueLen;
    if (rv == CKR_OK && !value.fits())
        rv = CKR_BUFFER_TOO_SMALL;
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetAttributeValue(2) ERROR", rv);
        return false;
    }
    // A buffer of exactly the value's size, so that the parser meets its end where the value ends.
    std::vector<unsigned char> bytes(value.bytes, value.bytes + value.length);
    return pers->parse(bytes.data(), static_cast<int>(bytes.size()));
}

bool tkPKCS11::UpdatePersonenbindung(const std::string& cin, const std::vector<unsigned char>& data,
                                     std::string& error) {
    const char* const wrongData = "Falsche Update Daten für die Smartcard";
    const int index = findSlotForCin(cin);
    if (index < 0) {
        error = "Keine Smartcard gefunden für CIN=" + cin;
        LogError("Keine Smartcard gefunden für CIN=", cin);
        return false;
    }
    if (data.size() < SMALLEST_UPDATE || data.size() > UPDATE_CAPACITY) {
        error = wrongData;
        LogError("Falsche Update Daten für die Smartcard (1)");
        return false;
    }
    if (data[0] != SEQUENCE_TAG) {
        error = wrongData;
        LogError("Falsche Update Daten für die Smartcard (2)");
        return false;
    }
    if (!OpenSession(index, true))
        return Refuse(error, "Fehler beim öffnen der Kartensession");
    return UpdateIdentityLinkInSession(data, error);
}

/// Writes the object and closes the session on every way out.
bool tkPKCS11::UpdateIdentityLinkInSession(const std::vector<unsigned char>& data, std::string& error) {
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    CK_ATTRIBUTE tmpl[] = {{CKA_CLASS, &objectClass, sizeof(objectClass)}, LabelOfIdentityLink()};
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjects(tmpl, 2, handles, MAX_OBJECTS, &found)) {
        Refuse(error, "PKCS11 FindObjects");
        return LogoutAndClose(false);
    }
    if (found == 0) {
        Refuse(error, "Das Objekt 'PERSONENBINDUNG' wurde nicht gefunden.");
        return LogoutAndClose(false);
    }
    unsigned char noPin[] = ""; // the library asks for the PIN itself
    CK_RV rv = CallP11(Proc_C_Login, m_hSession, CKU_USER, noPin, 0);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_Login", rv);
        error = "Fehler beim Initialisieren des Kartenobjektes. (CLogin)";
        CloseSession(); // without a logout: nobody is logged in
        return false;
    }
    std::vector<unsigned char> buffer(UPDATE_CAPACITY, 0xFF);
    std::copy(data.begin(), data.end(), buffer.begin());
    CK_ATTRIBUTE attribute = {CKA_VALUE, buffer.data(), data.size()}; // the filling does not go to the card
    rv = CallP11(Proc_C_SetAttributeValue, m_hSession, handles[0], &attribute, 1);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_SetAttributeValue", rv);
        error = "Fehler beim modifizieren des Kartenobjektes. (C_SetAttributeValue)";
    }
    return LogoutAndClose(rv == CKR_OK);
}

/// The result of a log-out is nobody's business; hands the given result through.
bool tkPKCS11::LogoutAndClose(bool result) {
    CallP11(Proc_C_Logout, m_hSession);
    CloseSession();
    return result;
}

bool tkPKCS11::UpdateCertificate(const std::string& cin, const std::vector<unsigned char>& cert, bool sigCert,
                                 std::string& error) {
    const int index = findSlotForCin(cin);
    if (index < 0)
        return Refuse(error, "Keine Smartcard gefunden für CIN=" + cin);
    if (!OpenSession(index, false))
        return true; // a failed open counts as success, on purpose; its own log line tells of it
    return LogoutAndClose(updateCertInSession(cert, sigCert, error));
}

bool tkPKCS11::updateCertInSession(const std::vector<unsigned char>& cert, bool sigCert, std::string& error) {
    slCertificate renewed;
    if (!renewed.LoadFromBuffer(cert))
        return Refuse(error, "Zertifikat konnte nicht gelesen werden");
    if (!LoadSigningCertificate(sigCert))
        return Refuse(error, "Zertifikat auf der Karte nicht gefunden");
    slCertificate present;
    if (!present.LoadFromBuffer(m_SigningCert))
        return Refuse(error, "Zertifikat auf der Karte nicht lesbar");
    if (renewed.GetPubKeyHashHex() != present.GetPubKeyHashHex())
        return Refuse(error, "Public Key Hashwerte stimmen nicht überein");

    std::vector<unsigned char> value = cert;
    CK_ATTRIBUTE attribute = {CKA_VALUE, value.data(), value.size()};
    const CK_RV rv =
        CallP11(Proc_C_SetAttributeValue, m_hSession, getSigningCertificateHandle(sigCert), &attribute, 1);
    if (rv == CKR_OK)
        return true;
    std::ostringstream text;
    text.imbue(std::locale::classic()); // no grouping of digits, whatever the process asks for
    text << "Fehler beim Modifizieren des Kartenobjektes. Code = 0x" << std::hex << rv;
    return Refuse(error, text.str());
}

} // namespace Velmor
