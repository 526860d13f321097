// SPDX-License-Identifier: MIT
// The card's data objects: reading the insurance data and the identity link, writing an identity link or a
// renewed certificate. The texts of the updates go back to the caller for the user.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <locale>
#include <sstream>

#include "card/CallP11.h"
#include "card/CardLabels.h"
#include "card/CardObjects.h"
#include "card/SessionGuard.h"
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

/// Template of the identity link object.
ObjectTemplate IdentityLink() {
    static char cLabelPersonenbindung[] = "PERSONENBINDUNG"; // writable, as PKCS#11 declares templates
    return ObjectTemplate(CKO_DATA, {CKA_LABEL, cLabelPersonenbindung, sizeof(cLabelPersonenbindung) - 1});
}

/// Searches with texts of its own; a search that does not even begin is silent.
bool FindIdentityLink(CK_SESSION_HANDLE session, unsigned long& handle) {
    SearchTexts texts = DIRECT_SEARCH_TEXTS;
    texts.m_Init = nullptr;
    ObjectTemplate wanted = IdentityLink();
    unsigned long count = 0;
    if (!SearchObjects(session, wanted.Attributes(), wanted.Count(), &handle, 1, &count, texts)) {
        return false;
    }
    if (count == 0) {
        LogError("PKCS11 Anzahl Objekte <1");
    }
    return count != 0;
}

} // namespace

/// Reads a property straight into the caller's buffer. Without a buffer, or with one of no capacity, this
/// asks for the length.
bool tkPKCS11::ReadProperty(const char* name, const char* failure, unsigned char* out, unsigned long& len) {
    if (Proc_C_CardAttribute == nullptr) {
        return false;
    }
    const unsigned long capacity = len;
    CK_RV rv = Proc_C_CardAttribute(m_hSession, name, out, &len);
    if (out != nullptr && capacity != 0) {
        rv = CheckedLength(rv, len, capacity);
    }
    if (rv != CKR_OK) {
        LogError(failure, rv);
    }
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
    if (!RequireSession() || !FindIdentityLink(m_hSession, handle)) {
        return false;
    }
    ObjectValue value;
    const CK_RV rv = ReadAttributes(m_hSession, handle, {Wanted(CKA_VALUE, value)});
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_GetAttributeValue(2) ERROR", rv);
        return false;
    }
    // A buffer of exactly the value's size, so that the parser meets its end where the value ends.
    std::vector<unsigned char> bytes = value.data();
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
    const SessionGuard session(this, OpenSession(index, true));
    if (!session.IsOpen()) {
        return Refuse(error, "Fehler beim öffnen der Kartensession");
    }
    return UpdateIdentityLinkInSession(data, error);
}

/// Writes the object and logs out on every way out but that of a failed log-in.
bool tkPKCS11::UpdateIdentityLinkInSession(const std::vector<unsigned char>& data, std::string& error) {
    ObjectTemplate wanted = IdentityLink();
    FoundObjects found;
    if (!Search(wanted, found)) {
        return LogOut(Refuse(error, "PKCS11 FindObjects"));
    }
    if (found.empty()) {
        return LogOut(Refuse(error, "Das Objekt 'PERSONENBINDUNG' wurde nicht gefunden."));
    }
    unsigned char noPin[] = ""; // the library asks for the PIN itself
    CK_RV rv = CallP11(Proc_C_Login, m_hSession, CKU_USER, noPin, 0);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_Login", rv);
        error = "Fehler beim Initialisieren des Kartenobjektes. (CLogin)";
        return false;
    }
    std::vector<unsigned char> buffer(UPDATE_CAPACITY, 0xFF);
    std::copy(data.begin(), data.end(), buffer.begin());
    CK_ATTRIBUTE attribute = {CKA_VALUE, buffer.data(), data.size()}; // the filling does not go to the card
    rv = WriteAttributes(m_hSession, found.First(), &attribute, 1);
    if (rv != CKR_OK) {
        LogError("PKCS11 Proc_C_SetAttributeValue", rv);
        error = "Fehler beim modifizieren des Kartenobjektes. (C_SetAttributeValue)";
    }
    return LogOut(rv == CKR_OK);
}

/// The result of a log-out is nobody's business; hands the given result through.
bool tkPKCS11::LogOut(bool result) {
    CallP11(Proc_C_Logout, m_hSession);
    return result;
}

bool tkPKCS11::UpdateCertificate(const std::string& cin, const std::vector<unsigned char>& cert, bool sigCert,
                                 std::string& error) {
    const int index = findSlotForCin(cin);
    if (index < 0) {
        return Refuse(error, "Keine Smartcard gefunden für CIN=" + cin);
    }
    const SessionGuard session(this, OpenSession(index, false));
    if (!session.IsOpen()) {
        return true; // counts as success: the log line of the open alone tells of it
    }
    return LogOut(updateCertInSession(cert, sigCert, error));
}

bool tkPKCS11::updateCertInSession(const std::vector<unsigned char>& cert, bool sigCert, std::string& error) {
    slCertificate renewed;
    if (!renewed.LoadFromBuffer(cert)) {
        return Refuse(error, "Zertifikat konnte nicht gelesen werden");
    }
    if (!LoadSigningCertificate(sigCert)) {
        return Refuse(error, "Zertifikat auf der Karte nicht gefunden");
    }
    slCertificate present;
    if (!present.LoadFromBuffer(m_SigningCert)) {
        return Refuse(error, "Zertifikat auf der Karte nicht lesbar");
    }
    if (renewed.GetPubKeyHashHex() != present.GetPubKeyHashHex()) {
        return Refuse(error, "Public Key Hashwerte stimmen nicht überein");
    }

    std::vector<unsigned char> value = cert;
    CK_ATTRIBUTE attribute = {CKA_VALUE, value.data(), value.size()};
    const CK_RV rv = WriteAttributes(m_hSession, getSigningCertificateHandle(sigCert), &attribute, 1);
    if (rv == CKR_OK) {
        return true;
    }
    std::ostringstream text;
    text.imbue(std::locale::classic()); // no grouping of digits, whatever the process asks for
    text << "Fehler beim Modifizieren des Kartenobjektes. Code = 0x" << std::hex << rv;
    return Refuse(error, text.str());
}

} // namespace Velmor
