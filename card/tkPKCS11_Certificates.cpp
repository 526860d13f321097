// SPDX-License-Identifier: MIT
// The certificates on the card: loading one of the two into the members, collecting them all.
#include "card/tkPKCS11.h"

#include <algorithm>
#include <cstdlib>

#include <openssl/x509.h>

#include "card/CallP11.h"
#include "card/CardLimits.h"
#include "card/tkPKCS11Logging.h"
#include "formats/slCertificate.h"

namespace Velmor {

using namespace tkPKCS11Logging;

namespace {

const char* CertificateLabel(bool sigCert) {
    return sigCert ? "C.CH.SIG" : "C.CH.EKEY";
}

/// Label and value of one object, in one call through buffers of fixed size. CKR_OK does not yet mean that
/// the reported lengths fit.
CK_RV ReadLabelAndValue(CK_SESSION_HANDLE session, unsigned long handle, ObjectText& label,
                        ObjectValue& value) {
    CK_ATTRIBUTE attributes[] = {
        {CKA_LABEL, label.bytes, sizeof(label.bytes)},
        {CKA_VALUE, value.bytes, sizeof(value.bytes)},
    };
    const CK_RV rv = CallP11(tkPKCS11::Proc_C_GetAttributeValue, session, handle, attributes, 2);
    label.length = attributes[0].ulValueLen;
    value.length = attributes[1].ulValueLen;
    return rv;
}

} // namespace

bool tkPKCS11::LoadSigningCertificate(bool sigCert) {
    if (!RequireSession())
        return false;
    std::string wanted = CertificateLabel(sigCert);
    CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
    CK_ATTRIBUTE tmpl[] = {
        {CKA_CLASS, &objectClass, sizeof(objectClass)},
        {CKA_LABEL, wanted.data(), wanted.size()},
    };
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjects(tmpl, 2, handles, MAX_OBJECTS, &found)) {
        LogError("PKCS11 FindObjects ERROR");
        return false;
    }
    LogMessage("Objects Found Final Fertig");
    for (unsigned long i = 0; i < found; ++i) {
        ObjectText label;
        ObjectValue value;
        if (ReadLabelAndValue(m_hSession, handles[i], label, value) != CKR_OK || !label.fits() ||
            !value.fits())
            continue;
        LogMessage("Label:", label.text());
        if (!label.contains(wanted))
            continue;
        LogMessage("PKCS11 Key Found");
        m_SigningCert.assign(value.bytes, value.bytes + value.length);
        return TakeCertificateApart();
    }
    LogMessage("Key not found !!!");
    return false;
}

/// Fills the members that describe m_SigningCert. A certificate that cannot be parsed leaves them as they
/// are.
bool tkPKCS11::TakeCertificateApart() {
    slCertificate certificate;
    if (!certificate.LoadFromBuffer(m_SigningCert))
        return false;
    certificate.GetThumbprint(m_Fingerprint, HASH_SHA1);
    m_SerialNumber = certificate.GetSerialNumber();
    m_Issuer = certificate.GetIssuerWithFormat(XN_FLAG_RFC2253);
    m_SubjectCN = certificate.GetSubjectCN();
    m_Subject = certificate.GetSubjectWithFormat(XN_FLAG_RFC2253);
    std::vector<unsigned char> publicKey;
    certificate.GetPublicKeyValue(publicKey);
    m_PublicKey = ParseKey(publicKey, 0);
    return true;
}

unsigned long tkPKCS11::getSigningCertificateHandle(bool sigCert) {
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjectsOfClass(CKO_CERTIFICATE, handles, &found)) {
        LogError("PKCS11 FindObjects ERROR");
        return 0;
    }
    for (unsigned long i = 0; i < found; ++i) {
        ObjectText label;
        CK_ATTRIBUTE attribute = {CKA_LABEL, label.bytes, sizeof(label.bytes)};
        const CK_RV rv = CallP11(Proc_C_GetAttributeValue, m_hSession, handles[i], &attribute, 1);
        label.length = attribute.ulValueLen;
        if (rv == CKR_OK && label.fits() && label.contains(CertificateLabel(sigCert)))
            return handles[i];
    }
    return 0;
}

bool tkPKCS11::GetSigningCertificate(unsigned char* out, unsigned long& len) {
    if (out != nullptr)
        std::copy(m_SigningCert.begin(), m_SigningCert.end(), out);
    len = m_SigningCert.size();
    return true;
}

bool tkPKCS11::GetSigningCertificate(std::vector<unsigned char>& out) {
    out = m_SigningCert;
    return true;
}

bool tkPKCS11::GetCertificate(bool sigCert, slCertificate& cert) {
    return LoadSigningCertificate(sigCert) && cert.LoadFromBuffer(m_SigningCert);
}

bool tkPKCS11::GetCertificate(unsigned long slot, bool sigCert, slCertificate& cert) {
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots) || slots.empty()) {
        LogError("nSlot < 0"); // misleading as it is
        return false;
    }
    if (slot > slots.size()) {
        LogError("nSlot is larger then slot vector size");
        return false;
    }
    if (!OpenSession(static_cast<int>(slot), false)) {
        LogError("error open session");
        return false;
    }
    const bool loaded = GetCertificate(sigCert, cert);
    CloseSession();
    return loaded;
}

bool tkPKCS11::LoadAllCerts() {
    ClearCertVector();
    if (!init())
        return false;
    std::vector<SlotStruct*> slots;
    if (!GetSlots(slots) || slots.empty())
        return false;
    bool loaded = true;
    for (int index = 0; index < std::min(static_cast<int>(slots.size()), MAX_CARDS); ++index) {
        if (!OpenSession(index, false))
            continue; // and does not count as a failure
        loaded = loadAllCertsInSession() && loaded;
        CloseSession();
    }
    return loaded;
}

bool tkPKCS11::loadAllCertsInSession() {
    if (m_hSession == 0)
        return false;
    unsigned long handles[MAX_OBJECTS] = {};
    unsigned long found = 0;
    if (!FindObjectsOfClass(CKO_CERTIFICATE, handles, &found)) {
        LogError("PKCS11 FindObjects");
        return false;
    }
    for (unsigned long i = 0; i < found; ++i) {
        ObjectText label;
        ObjectValue value;
        CK_RV rv = ReadLabelAndValue(m_hSession, handles[i], label, value);
        if (rv == CKR_OK && !value.fits()) {
            LogError("buffer to short", rv);
            return false;
        }
        if (rv == CKR_OK && !label.fits())
            rv = CKR_BUFFER_TOO_SMALL;
        if (rv != CKR_OK) {
            LogError("PKCS11 Proc_C_GetAttributeValue", rv);
            continue;
        }
        auto* certificate = new slCertificate;
        certificate->LoadFromBuffer(std::vector<unsigned char>(value.bytes, value.bytes + value.length));
        m_CertVector.push_back(certificate); // also when it could not be parsed
    }
    return true;
}

void tkPKCS11::ClearCertVector() {
    for (slCertificate* certificate : m_CertVector)
        delete certificate;
    m_CertVector.clear();
}

std::vector<slCertificate*>::iterator tkPKCS11::CertVectorBegin() {
    return m_CertVector.begin();
}

std::vector<slCertificate*>::iterator tkPKCS11::CertVectorEnd() {
    return m_CertVector.end();
}

std::string tkPKCS11::GetSubject() {
    return m_Subject;
}

std::string tkPKCS11::GetSubjectCN() {
    return m_SubjectCN;
}

std::string tkPKCS11::GetIssuer() {
    return m_Issuer;
}

std::string tkPKCS11::GetSerialNumber() {
    return m_SerialNumber;
}

long tkPKCS11::GetSerialNumberInt() {
    return std::strtol(m_SerialNumber.c_str(), nullptr, 16);
}

void tkPKCS11::GetFingerprint(HashAlgorithm& algo, std::vector<unsigned char>& out) {
    algo = HASH_SHA1;
    out = m_Fingerprint;
}

PublicKeyData* tkPKCS11::GetPublicKeyData() {
    return &m_PublicKey;
}

} // namespace Velmor
