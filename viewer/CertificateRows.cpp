// SPDX-License-Identifier: MIT
// What every certificate has: names, number, period, key, fingerprints, signature.
#include "viewer/CertificateRows.h"

#include <algorithm>

#include <openssl/objects.h>

#include "app/I18N.h"
#include "viewer/State.h"
#include "viewer/VisibleText.h"

using Velmor::CertificateNameField;
using Velmor::CertificateOid;
using Velmor::slCertificate;

namespace viewer {

using intern::Word;

namespace {

struct AttributeWord {
    int m_Nid;
    const char* m_Word;
};

constexpr AttributeWord ATTRIBUTES[] = {
    {NID_commonName, Word("Name")},
    {NID_surname, Word("Familienname")},
    {NID_givenName, Word("Vorname")},
    {NID_title, Word("Titel")},
    {NID_pseudonym, Word("Pseudonym")},
    {NID_serialNumber, Word("Kennnummer")},
    {NID_organizationName, Word("Organisation")},
    {NID_organizationalUnitName, Word("Abteilung")},
    {NID_streetAddress, Word("Straße")},
    {NID_postalCode, Word("Postleitzahl")},
    {NID_localityName, Word("Ort")},
    {NID_stateOrProvinceName, Word("Bundesland")},
    {NID_countryName, Word("Land")},
    {NID_domainComponent, Word("Domäne")},
    {NID_pkcs9_emailAddress, Word("E-Mail")},
};

/// The attributes that tell a person most about who it is, the best first.
constexpr int TELLING[] = {NID_commonName, NID_pseudonym, NID_surname, NID_organizationName,
                           NID_organizationalUnitName};

/// "Name (CN)"; without a word of ours the object's own name or numbers.
wxString AttributeLabel(const CertificateOid& oid) {
    for (const AttributeWord& attribute : ATTRIBUTES) {
        if (attribute.m_Nid == oid.m_Nid) {
            return Translate(attribute.m_Word) + " (" + FromUtf8(oid.m_ShortName) + ")";
        }
    }
    return FromUtf8(intern::OidText(oid));
}

void AddName(const wxString& heading, const std::vector<CertificateNameField>& fields,
             std::vector<Row>& rows) {
    rows.push_back(Row::Heading(heading));
    for (std::size_t i = 0; i < fields.size(); ++i) {
        // Parts of one multi-valued attribute are read together.
        const bool isContinued = i > 0 && fields[i].m_RelativeName == fields[i - 1].m_RelativeName;
        const wxString label = AttributeLabel(fields[i].m_Oid);
        rows.push_back(Row::OfText(isContinued ? "+ " + label : label, VisibleText(fields[i].m_Text)));
    }
    if (fields.empty()) {
        rows.push_back(Row::OfText(Translate("Name"), ToUtf8(Translate("keiner"))));
    }
}

std::string BestOf(const std::vector<CertificateNameField>& fields) {
    for (const int nid : TELLING) {
        const auto found =
            std::find_if(fields.begin(), fields.end(), [nid](const CertificateNameField& field) {
                return field.m_Oid.m_Nid == nid && !field.m_Text.empty();
            });
        if (found != fields.end()) {
            return VisibleText(found->m_Text);
        }
    }
    return fields.empty() ? ToUtf8(Translate("ohne Namen")) : VisibleText(fields.back().m_Text);
}

void AddCertificate(const slCertificate& certificate, std::vector<Row>& rows) {
    rows.push_back(Row::Heading(Translate("Zertifikat")));
    rows.push_back(Row::OfText(Translate("Gültig von"), ToUtf8(LocalTime(certificate.GetNotBefore()))));
    rows.push_back(Row::OfText(Translate("Gültig bis"), ToUtf8(LocalTime(certificate.GetNotAfter()))));
    rows.push_back(Row::OfText(Translate("Seriennummer"), certificate.GetSerialNumber()));
    rows.push_back(Row::OfText(Translate("Version"), std::to_string(certificate.GetVersion())));
    rows.push_back(Row::OfText(Translate("Selbst ausgestellt"),
                               ToUtf8(certificate.IsSelfSigned() ? Translate("ja") : Translate("nein"))));
}

wxString KeyKind(const CertificateOid& algorithm) {
    switch (algorithm.m_Nid) {
    case NID_rsaEncryption:
        return "RSA";
    case NID_X9_62_id_ecPublicKey:
        return Translate("Elliptische Kurve");
    default:
        return FromUtf8(intern::OidText(algorithm));
    }
}

void AddKey(const slCertificate& certificate, std::vector<Row>& rows) {
    const Velmor::CertificateKey key = certificate.GetKey();
    rows.push_back(Row::Heading(Translate("Öffentlicher Schlüssel")));
    rows.push_back(Row::OfText(Translate("Art"), ToUtf8(KeyKind(key.m_Algorithm))));
    if (!key.m_Curve.empty()) {
        rows.push_back(Row::OfText(Translate("Kurve"), key.m_NistCurve.empty()
                                                           ? key.m_Curve
                                                           : key.m_NistCurve + " (" + key.m_Curve + ")"));
    }
    rows.push_back(Row::OfText(Translate("Größe"),
                               ToUtf8(key.m_Bits > 0 ? wxString::Format(Translate("%d Bit"), key.m_Bits)
                                                     : Translate("nicht lesbar"))));
    std::vector<unsigned char> modulus;
    std::vector<unsigned char> exponent;
    if (certificate.IsRsaKey() && certificate.GetRsaPubKeyComponents(modulus, exponent)) {
        rows.push_back(Row::OfBytes(Translate("Modul"), modulus));
        rows.push_back(Row::OfBytes(Translate("Exponent"), exponent));
        return;
    }
    std::vector<unsigned char> value;
    if (certificate.GetPublicKeyValue(value)) {
        rows.push_back(Row::OfBytes(Translate("Wert"), value));
    }
}

void AddFingerprint(const slCertificate& certificate, const char* name, Velmor::HashAlgorithm algorithm,
                    std::vector<Row>& rows) {
    std::vector<unsigned char> fingerprint;
    if (certificate.GetThumbprint(fingerprint, algorithm)) {
        rows.push_back(Row::OfBytes(name, fingerprint));
    }
}

void AddSignature(const slCertificate& certificate, std::vector<Row>& rows) {
    rows.push_back(Row::Heading(Translate("Fingerabdrücke")));
    AddFingerprint(certificate, "SHA-1", Velmor::HASH_SHA1, rows);
    AddFingerprint(certificate, "SHA-256", Velmor::HASH_SHA256, rows);
    rows.push_back(Row::Heading(Translate("Signatur des Ausstellers")));
    rows.push_back(
        Row::OfText(Translate("Algorithmus"), intern::OidText(certificate.GetSignatureAlgorithm())));
    rows.push_back(Row::OfBytes(Translate("Wert"), certificate.GetSignatureValue()));
}

} // namespace

namespace intern {

std::string OidText(const CertificateOid& oid) {
    return oid.m_LongName.empty() || oid.m_LongName == oid.m_Dotted
               ? oid.m_Dotted
               : oid.m_LongName + " (" + oid.m_Dotted + ")";
}

} // namespace intern

std::vector<Row> RowsOf(const slCertificate& certificate) {
    std::vector<Row> rows;
    AddName(Translate("Inhaber"), certificate.GetSubjectFields(), rows);
    AddName(Translate("Aussteller"), certificate.GetIssuerFields(), rows);
    AddCertificate(certificate, rows);
    AddKey(certificate, rows);
    intern::AddExtensions(certificate, rows);
    AddSignature(certificate, rows);
    return rows;
}

std::string HolderOf(const slCertificate& certificate) {
    return BestOf(certificate.GetSubjectFields());
}

std::string IssuerOf(const slCertificate& certificate) {
    return BestOf(certificate.GetIssuerFields());
}

} // namespace viewer
