// SPDX-License-Identifier: MIT
// The extensions in words: what the key is for, other names, identifiers, policies, addresses, and the rest.
#include "viewer/CertificateRows.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include <openssl/objects.h>

#include "app/I18N.h"
#include "viewer/VisibleText.h"

using Velmor::CertificateExtension;
using Velmor::CertificateName;
using Velmor::CertificateOid;
using Velmor::slCertificate;

namespace viewer::intern {

namespace {

using Rows = std::vector<Row>;

/// By the number of the bit (RFC 5280, section 4.2.1.3).
constexpr const char* KEY_USAGES[] = {
    Word("Digitale Signatur"),     Word("Nichtabstreitbarkeit"),  Word("Schlüssel verschlüsseln"),
    Word("Daten verschlüsseln"),   Word("Schlüssel vereinbaren"), Word("Zertifikate signieren"),
    Word("Sperrlisten signieren"), Word("nur verschlüsseln"),     Word("nur entschlüsseln"),
};

struct PurposeWord {
    int m_Nid;
    const char* m_Word;
};

constexpr PurposeWord PURPOSES[] = {
    {NID_server_auth, Word("Anmeldung eines Servers (TLS)")},
    {NID_client_auth, Word("Anmeldung eines Benutzers (TLS)")},
    {NID_code_sign, Word("Programme signieren")},
    {NID_email_protect, Word("E-Mails schützen")},
    {NID_time_stamp, Word("Zeitstempel")},
    {NID_OCSP_sign, Word("Statusauskünfte signieren (OCSP)")},
    {NID_ms_smartcard_login, Word("Anmeldung mit Chipkarte")},
    {NID_anyExtendedKeyUsage, Word("jeder Zweck")},
};

/// By CertificateNameKind.
constexpr const char* NAME_KINDS[] = {
    Word("Anderer Name"), Word("E-Mail"),        "DNS", Word("X.400-Adresse"),        Word("Verzeichnisname"),
    Word("EDI-Name"),     Word("Adresse (URI)"), "IP",  Word("Registrierte Kennung"),
};

wxString Marked(const wxString& label, const CertificateExtension& extension) {
    return extension.m_IsCritical ? label + " – " + Translate("kritisch") : label;
}

wxString KindOf(const CertificateName& name) {
    const auto kind = static_cast<std::size_t>(name.m_Kind);
    return kind < std::size(NAME_KINDS) ? Translate(NAME_KINDS[kind]) : wxString();
}

std::string NameText(const CertificateName& name) {
    return ToUtf8(KindOf(name)) + ": " + VisibleText(name.m_Text);
}

/// Commas between them.
void Append(wxString& list, const wxString& word) {
    list += list.empty() ? word : ", " + word;
}

// Each of these adds the rows of one extension, or none when it cannot be read.

void AddKeyUsage(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    wxString usages;
    for (const int bit : certificate.GetKeyUsage()) {
        Append(usages, Translate(KEY_USAGES[bit]));
    }
    if (!usages.empty()) {
        rows.push_back(Row::OfText(Marked(Translate("Schlüsselverwendung"), extension), ToUtf8(usages)));
    }
}

wxString PurposeText(const CertificateOid& oid) {
    const auto* purpose = std::find_if(std::begin(PURPOSES), std::end(PURPOSES),
                                       [&oid](const PurposeWord& word) { return word.m_Nid == oid.m_Nid; });
    return purpose != std::end(PURPOSES) ? Translate(purpose->m_Word) : FromUtf8(OidText(oid));
}

void AddExtendedKeyUsage(const slCertificate& certificate, const CertificateExtension& extension,
                         Rows& rows) {
    for (const CertificateOid& oid : certificate.GetExtendedKeyUsage()) {
        rows.push_back(
            Row::OfText(Marked(Translate("Erweiterte Verwendung"), extension), ToUtf8(PurposeText(oid))));
    }
}

void AddBasicConstraints(const slCertificate& certificate, const CertificateExtension& extension,
                         Rows& rows) {
    Velmor::CertificateBasicConstraints constraints;
    if (!certificate.GetBasicConstraints(constraints)) {
        return;
    }
    wxString text = constraints.m_IsCa ? Translate("ja") : Translate("nein");
    if (constraints.m_PathLength >= 0) {
        text +=
            ", " + wxString::Format(Translate("höchstens %ld weitere darunter"), constraints.m_PathLength);
    }
    rows.push_back(Row::OfText(Marked(Translate("Zertifizierungsstelle"), extension), ToUtf8(text)));
}

void AddNames(const char* label, const std::vector<CertificateName>& names,
              const CertificateExtension& extension, Rows& rows) {
    const wxString marked = Marked(Translate(label), extension);
    for (const CertificateName& name : names) {
        rows.push_back(Row::OfText(marked, NameText(name)));
    }
}

void AddSubjectNames(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    AddNames(Word("Alternativer Name"), certificate.GetSubjectAltNames(), extension, rows);
}

void AddIssuerNames(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    AddNames(Word("Alternativer Name des Ausstellers"), certificate.GetIssuerAltNames(), extension, rows);
}

void AddSubjectKey(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    const std::vector<unsigned char> id = certificate.GetSubjectKeyId();
    if (!id.empty()) {
        rows.push_back(Row::OfBytes(Marked(Translate("Kennung des Schlüssels"), extension), id));
    }
}

void AddAuthorityKey(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    Velmor::CertificateAuthorityKey authority;
    if (!certificate.GetAuthorityKeyId(authority)) {
        return;
    }
    if (!authority.m_KeyId.empty()) {
        rows.push_back(Row::OfBytes(Marked(Translate("Kennung des Ausstellerschlüssels"), extension),
                                    authority.m_KeyId));
    }
    AddNames(Word("Aussteller des Ausstellers"), authority.m_Issuer, extension, rows);
    if (!authority.m_Serial.empty()) {
        rows.push_back(
            Row::OfText(Marked(Translate("Seriennummer des Ausstellers"), extension), authority.m_Serial));
    }
}

void AddPolicies(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    for (const Velmor::CertificatePolicy& policy : certificate.GetPolicies()) {
        rows.push_back(
            Row::OfText(Marked(Translate("Zertifizierungsrichtlinie"), extension), OidText(policy.m_Oid)));
        for (const std::string& statement : policy.m_Statements) {
            rows.push_back(Row::OfText(Translate("Text der Richtlinie"), VisibleText(statement)));
        }
        for (const std::string& notice : policy.m_Notices) {
            rows.push_back(Row::OfText(Translate("Hinweis der Richtlinie"), VisibleText(notice)));
        }
    }
}

wxString MethodText(const CertificateOid& method) {
    switch (method.m_Nid) {
    case NID_ad_OCSP:
        return Translate("Statusauskunft (OCSP)");
    case NID_ad_ca_issuers:
        return Translate("Zertifikat des Ausstellers");
    default:
        return FromUtf8(OidText(method));
    }
}

/// An address stands alone, a name of another kind with its kind before it.
std::string PlaceText(const CertificateName& name) {
    return name.m_Kind == Velmor::CertificateNameKind::URI ? VisibleText(name.m_Text) : NameText(name);
}

void AddAccess(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    for (const Velmor::CertificateAccess& access : certificate.GetAccess()) {
        rows.push_back(
            Row::OfText(Marked(MethodText(access.m_Method), extension), PlaceText(access.m_Location)));
    }
}

void AddCrl(const slCertificate& certificate, const CertificateExtension& extension, Rows& rows) {
    for (const CertificateName& name : certificate.GetCrlNames()) {
        rows.push_back(Row::OfText(Marked(Translate("Sperrliste"), extension), PlaceText(name)));
    }
}

/// Takes the bytes out of the extension: they may be many.
void AddBytes(CertificateExtension& extension, Rows& rows) {
    const wxString label = Marked(FromUtf8(OidText(extension.m_Oid)), extension);
    rows.push_back(extension.m_Content.empty() ? Row::OfText(label, ToUtf8(Translate("ohne Inhalt")))
                                               : Row::OfBytes(label, std::move(extension.m_Content)));
}

/// The extensions that have words, by heading, in the order in which they are shown.
struct Section {
    const char* m_Heading; ///< null: below the same heading as the one before
    int m_Nid;
    void (*m_Add)(const slCertificate&, const CertificateExtension&, Rows&);
};

constexpr Section SECTIONS[] = {
    {Word("Verwendung"), NID_key_usage, AddKeyUsage},
    {nullptr, NID_ext_key_usage, AddExtendedKeyUsage},
    {nullptr, NID_basic_constraints, AddBasicConstraints},
    {Word("Weitere Namen"), NID_subject_alt_name, AddSubjectNames},
    {nullptr, NID_issuer_alt_name, AddIssuerNames},
    {Word("Kennungen"), NID_subject_key_identifier, AddSubjectKey},
    {nullptr, NID_authority_key_identifier, AddAuthorityKey},
    {Word("Richtlinien"), NID_certificate_policies, AddPolicies},
    {Word("Auskünfte"), NID_info_access, AddAccess},
    {nullptr, NID_crl_distribution_points, AddCrl},
};

/// Adds a heading above the first row that comes below it.
class Headed {
public:
    explicit Headed(Rows& rows) : m_Rows(rows) {}
    void SetHeading(const char* heading) { m_Heading = heading; }
    void Add(Rows&& rows) {
        if (!rows.empty() && m_Heading != nullptr) {
            m_Rows.push_back(Row::Heading(Translate(m_Heading)));
            m_Heading = nullptr;
        }
        std::move(rows.begin(), rows.end(), std::back_inserter(m_Rows));
    }

private:
    Rows& m_Rows;
    const char* m_Heading = nullptr;
};

} // namespace

void AddExtensions(const slCertificate& certificate, std::vector<Row>& rows) {
    std::vector<CertificateExtension> extensions = certificate.GetExtensions();
    std::vector<bool> isShown(extensions.size(), false);
    Headed headed(rows);
    for (const Section& section : SECTIONS) {
        if (section.m_Heading != nullptr) {
            headed.SetHeading(section.m_Heading);
        }
        for (std::size_t i = 0; i < extensions.size(); ++i) {
            Rows own;
            if (extensions[i].m_Oid.m_Nid == section.m_Nid) {
                section.m_Add(certificate, extensions[i], own);
            }
            isShown[i] = isShown[i] || !own.empty();
            headed.Add(std::move(own));
        }
    }
    headed.SetHeading(Word("Weitere Erweiterungen"));
    for (std::size_t i = 0; i < extensions.size(); ++i) {
        Rows own;
        if (!isShown[i]) {
            AddBytes(extensions[i], own);
        }
        headed.Add(std::move(own));
    }
}

} // namespace viewer::intern
