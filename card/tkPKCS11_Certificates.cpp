// SPDX-License-Identifier: MIT
// The certificates on the card: loading one of the two into the members, collecting them all.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <openssl/x509.h>

#include "card/CardLabels.h"
#include "card/CardObjects.h"
#include "card/SessionGuard.h"
#include "card/tkPKCS11Logging.h"
#include "formats/slCertificate.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

/// One certificate object of the card.
struct CertificateObject {
    ObjectText m_Label;
    ObjectValue m_Value;
    ObjectText m_Id; ///< read for those alone who look for the key
};

CK_RV ReadLabelAndValue(CK_SESSION_HANDLE session, unsigned long handle, CertificateObject& object) {
    return ReadAttributes(session, handle,
                          {Wanted(CKA_LABEL, object.m_Label), Wanted(CKA_VALUE, object.m_Value)});
}

CK_RV ReadLabelValueAndId(CK_SESSION_HANDLE session, unsigned long handle, CertificateObject& object) {
    return ReadAttributes(
        session, handle,
        {Wanted(CKA_LABEL, object.m_Label), Wanted(CKA_VALUE, object.m_Value), Wanted(CKA_ID, object.m_Id)});
}

enum class Walk {
    ENDED,
    STOPPED,  ///< by the visitor
    TOO_LONG, ///< a value that fits in no buffer ends it
};

/// Shows each certificate that can be read to a visitor, which returns true to stop. A failed read is
/// reported and passed over.
template <typename Read, typename Visit>
Walk WalkCertificates(CK_SESSION_HANDLE session, const FoundObjects& found, Read read, Visit visit) {
    for (const unsigned long handle : found) {
        CertificateObject object;
        const CK_RV rv = read(session, handle, object);
        if (!object.m_Value.Fits()) {
            return Walk::TOO_LONG;
        }
        if (rv != CKR_OK) {
            LogError("PKCS11 Proc_C_GetAttributeValue", rv);
        } else if (visit(object)) {
            return Walk::STOPPED;
        }
    }
    return Walk::ENDED;
}

} // namespace

bool tkPKCS11::LoadSigningCertificate(bool sigCert) {
    if (!RequireSession()) {
        return false;
    }
    const std::string wantedLabel = LabelsOf(sigCert).m_Certificate;
    ObjectTemplate wanted(CKO_CERTIFICATE, CKA_LABEL, wantedLabel);
    FoundObjects found;
    if (!Search(wanted, found)) {
        LogError("PKCS11 FindObjects ERROR");
        return false;
    }
    LogMessage("Objects Found Final Fertig");
    for (const unsigned long handle : found) {
        CertificateObject object;
        if (ReadLabelAndValue(m_hSession, handle, object) != CKR_OK) {
            continue;
        }
        LogMessage("Label:", object.m_Label.text());
        if (!object.m_Label.Contains(wantedLabel)) {
            continue;
        }
        LogMessage("PKCS11 Key Found");
        m_SigningCert = object.m_Value.data();
        return TakeCertificateApart();
    }
    LogMessage("Key not found !!!");
    return false;
}

/// Fills the members that describe m_SigningCert. A certificate that cannot be parsed leaves them as they
/// are.
bool tkPKCS11::TakeCertificateApart() {
    slCertificate certificate;
    if (!certificate.LoadFromBuffer(m_SigningCert)) {
        return false;
    }
    certificate.GetThumbprint(m_Fingerprint, HASH_SHA1);
    m_SerialNumber = certificate.GetSerialNumber();
    m_Issuer = certificate.GetIssuerWithFormat(XN_FLAG_RFC2253);
    m_SubjectCN = certificate.GetSubjectCN();
    m_Subject = certificate.GetSubjectWithFormat(XN_FLAG_RFC2253);
    std::vector<unsigned char> publicKey;
    certificate.GetPublicKeyValue(publicKey);
    m_PublicKey = ParseKey(publicKey, 0);
    certificate.LeaveToNextLoad(m_SigningCert); // callers mostly want the object as well
    return true;
}

unsigned long tkPKCS11::getSigningCertificateHandle(bool sigCert) {
    FoundObjects found;
    if (!SearchClass(CKO_CERTIFICATE, found, "PKCS11 FindObjects ERROR")) {
        return 0;
    }
    const std::string wantedLabel = LabelsOf(sigCert).m_Certificate;
    for (const unsigned long handle : found) {
        ObjectText label;
        if (ReadAttributes(m_hSession, handle, {Wanted(CKA_LABEL, label)}) == CKR_OK &&
            label.Contains(wantedLabel)) {
            return handle;
        }
    }
    return 0;
}

bool tkPKCS11::GetSigningCertificate(unsigned char* out, unsigned long& len) const {
    if (out != nullptr) {
        std::copy(m_SigningCert.begin(), m_SigningCert.end(), out);
    }
    len = m_SigningCert.size();
    return true;
}

bool tkPKCS11::GetSigningCertificate(std::vector<unsigned char>& out) const {
    out = m_SigningCert;
    return true;
}

bool tkPKCS11::GetCertificate(bool sigCert, slCertificate& cert) {
    return LoadSigningCertificate(sigCert) && cert.LoadFromBuffer(m_SigningCert);
}

bool tkPKCS11::GetCertificate(unsigned long slot, bool sigCert, slCertificate& cert) {
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots) || slots.empty()) {
        LogError("nSlot < 0"); // the text of a missing card, whatever the index
        return false;
    }
    if (slot > slots.size()) {
        LogError("nSlot is larger then slot vector size");
        return false;
    }
    const SessionGuard session(this, OpenSession(static_cast<int>(slot), false));
    if (!session.IsOpen()) {
        LogError("error open session");
        return false;
    }
    return GetCertificate(sigCert, cert);
}

bool tkPKCS11::LoadAllCerts() {
    ClearCertVector();
    if (!init()) {
        return false;
    }
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots) || slots.empty()) {
        return false;
    }
    bool loaded = true;
    for (int index = 0; index < std::min(static_cast<int>(slots.size()), MAX_CARDS); ++index) {
        const SessionGuard session(this, OpenSession(index, false));
        if (session.IsOpen()) { // one that does not open is no failure
            loaded = loadAllCertsInSession() && loaded;
        }
    }
    return loaded;
}

bool tkPKCS11::loadAllCertsInSession() {
    if (m_hSession == 0) {
        return false;
    }
    FoundObjects found;
    if (!SearchClass(CKO_CERTIFICATE, found, "PKCS11 FindObjects")) {
        return false;
    }
    const Walk walk =
        WalkCertificates(m_hSession, found, ReadLabelAndValue, [this](const CertificateObject& object) {
            auto certificate = std::make_unique<slCertificate>();
            certificate->LoadFromBuffer(object.m_Value.data());
            m_CertVector.push_back(certificate.get()); // also when it could not be parsed
            static_cast<void>(certificate.release());
            return false;
        });
    if (walk == Walk::TOO_LONG) {
        LogError("buffer to short", CKR_OK);
    }
    return walk != Walk::TOO_LONG;
}

bool tkPKCS11::findCertAndKey(const std::wstring& thumbprint, slCertificate& cert, std::string& label) {
    if (m_hSession == 0) {
        return false;
    }
    FoundObjects found;
    if (!SearchClass(CKO_CERTIFICATE, found, "PKCS11 FindObjects")) {
        return false;
    }
    std::string id;
    const Walk walk =
        WalkCertificates(m_hSession, found, ReadLabelValueAndId, [&](const CertificateObject& object) {
            slCertificate candidate;
            candidate.LoadFromBuffer(object.m_Value.data());
            if (candidate.GetThumbprint() != thumbprint) {
                return false;
            }
            cert = candidate;
            id = object.m_Id.text();
            return true;
        });
    if (walk == Walk::TOO_LONG) {
        LogError("buffer to short"); // without the code that the other walk reports
    }
    return walk == Walk::STOPPED && findPrivateKeyFromID(id, label);
}

void tkPKCS11::ClearCertVector() {
    for (slCertificate* certificate : m_CertVector) {
        delete certificate;
    }
    m_CertVector.clear();
}

std::vector<slCertificate*>::iterator tkPKCS11::CertVectorBegin() {
    return m_CertVector.begin();
}

std::vector<slCertificate*>::iterator tkPKCS11::CertVectorEnd() {
    return m_CertVector.end();
}

std::string tkPKCS11::GetSubject() const {
    return m_Subject;
}

std::string tkPKCS11::GetSubjectCN() const {
    return m_SubjectCN;
}

std::string tkPKCS11::GetIssuer() const {
    return m_Issuer;
}

std::string tkPKCS11::GetSerialNumber() const {
    return m_SerialNumber;
}

long tkPKCS11::GetSerialNumberInt() const {
    return std::strtol(m_SerialNumber.c_str(), nullptr, 16);
}

void tkPKCS11::GetFingerprint(HashAlgorithm& algo, std::vector<unsigned char>& out) const {
    algo = HASH_SHA1;
    out = m_Fingerprint;
}

PublicKeyData* tkPKCS11::GetPublicKeyData() {
    return &m_PublicKey;
}

} // namespace Velmor
