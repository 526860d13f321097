// SPDX-License-Identifier: MIT
#include "tests/viewer/OpenSslView.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <sstream>
#include <stdexcept>

#include "tests/support/CommandOutput.h"

namespace {

using Lines = std::vector<std::string>;
using WordTable = std::map<std::string, std::string>;

const WordTable ATTRIBUTES = {
    {"CN", "Name (CN)"},
    {"SN", "Familienname (SN)"},
    {"GN", "Vorname (GN)"},
    {"title", "Titel (title)"},
    {"pseudonym", "Pseudonym (pseudonym)"},
    {"serialNumber", "Kennnummer (serialNumber)"},
    {"O", "Organisation (O)"},
    {"OU", "Abteilung (OU)"},
    {"street", "Straße (street)"},
    {"postalCode", "Postleitzahl (postalCode)"},
    {"L", "Ort (L)"},
    {"ST", "Bundesland (ST)"},
    {"C", "Land (C)"},
    {"DC", "Domäne (DC)"},
    {"emailAddress", "E-Mail (emailAddress)"},
    {"organizationIdentifier", "organizationIdentifier (2.5.4.97)"},
    {"1.2.3.4.5", "1.2.3.4.5"},
};

const WordTable USAGES = {
    {"Digital Signature", "Digitale Signatur"},      {"Non Repudiation", "Nichtabstreitbarkeit"},
    {"Key Encipherment", "Schlüssel verschlüsseln"}, {"Data Encipherment", "Daten verschlüsseln"},
    {"Key Agreement", "Schlüssel vereinbaren"},      {"Certificate Sign", "Zertifikate signieren"},
    {"CRL Sign", "Sperrlisten signieren"},           {"Encipher Only", "nur verschlüsseln"},
    {"Decipher Only", "nur entschlüsseln"},
};

const WordTable PURPOSES = {
    {"TLS Web Server Authentication", "Anmeldung eines Servers (TLS)"},
    {"TLS Web Client Authentication", "Anmeldung eines Benutzers (TLS)"},
    {"Code Signing", "Programme signieren"},
    {"E-mail Protection", "E-Mails schützen"},
    {"Time Stamping", "Zeitstempel"},
    {"OCSP Signing", "Statusauskünfte signieren (OCSP)"},
    {"Microsoft Smartcard Login", "Anmeldung mit Chipkarte"},
    {"Any Extended Key Usage", "jeder Zweck"},
    {"1.2.3.4", "1.2.3.4"},
};

const WordTable NAME_KINDS = {
    {"email", "E-Mail"},
    {"DNS", "DNS"},
    {"URI", "Adresse (URI)"},
    {"IP Address", "IP"},
    {"Registered ID", "Registrierte Kennung"},
};

std::size_t IndentationOf(const std::string& line) {
    return std::min(line.find_first_not_of(' '), line.size());
}

std::string Trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

Lines Split(const std::string& text, const std::string& separator) {
    Lines parts;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find(separator, begin)) != std::string::npos;
         begin = end + separator.size()) {
        parts.push_back(text.substr(begin, end - begin));
    }
    parts.push_back(text.substr(begin));
    return parts;
}

std::string Upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

/// "0000 - 30 0a 30 08 06 06 04 00-8e 46 ..." as "30:0A:...".
std::string BytesOfDump(const Lines& dump) {
    std::string bytes;
    for (const std::string& line : dump) {
        const std::string behindOffset = line.substr(line.find(" - ") + 3);
        std::istringstream words(behindOffset.substr(0, behindOffset.find("   ")));
        for (std::string word; std::getline(words, word, ' ');) {
            for (const std::string& byte : Split(word, "-")) {
                bytes += byte.empty() ? "" : (bytes.empty() ? "" : ":") + Upper(byte);
            }
        }
    }
    return bytes;
}

/// "6d:7b:" and further lines as "6D:7B:..."
std::string BytesOfLines(const Lines& lines) {
    std::string bytes;
    for (const std::string& line : lines) {
        bytes += Upper(line);
    }
    return bytes;
}

/// The command's "-text" output, line by line.
class Text {
public:
    explicit Text(const std::string& output) {
        std::istringstream stream(output);
        for (std::string line; std::getline(stream, line);) {
            m_Lines.push_back(line);
        }
    }

    /// What stands behind "name:" on its own line.
    std::string Value(const std::string& name) const {
        for (const std::string& line : m_Lines) {
            if (Trimmed(line).compare(0, name.size() + 1, name + ":") == 0) {
                return Trimmed(Trimmed(line).substr(name.size() + 1));
            }
        }
        return "";
    }

    /// The deeper lines below the line "name:", the last such line if `last`.
    Lines Below(const std::string& name, bool last = false) const {
        Lines found;
        for (std::size_t i = 0; i < m_Lines.size(); ++i) {
            if (Trimmed(m_Lines[i]) == name + ":") {
                found = BelowLine(i);
                if (!last) {
                    break;
                }
            }
        }
        return found;
    }

    /// Name (with ": critical" or ":") and lines of each extension.
    std::vector<std::pair<std::string, Lines>> Extensions() const {
        constexpr std::size_t DEPTH = 12;
        std::vector<std::pair<std::string, Lines>> extensions;
        bool isThere = false;
        for (std::size_t i = 0; i < m_Lines.size(); ++i) {
            isThere = Trimmed(m_Lines[i]) == "X509v3 extensions:" ||
                      (isThere && (m_Lines[i].empty() || IndentationOf(m_Lines[i]) >= DEPTH));
            if (isThere && IndentationOf(m_Lines[i]) == DEPTH && !m_Lines[i].empty()) {
                extensions.emplace_back(Trimmed(m_Lines[i]), BelowLine(i));
            }
        }
        return extensions;
    }

private:
    Lines BelowLine(std::size_t parent) const {
        Lines below;
        for (std::size_t i = parent + 1; i < m_Lines.size(); ++i) {
            if (!m_Lines[i].empty() && IndentationOf(m_Lines[i]) <= IndentationOf(m_Lines[parent])) {
                break;
            }
            if (!Trimmed(m_Lines[i]).empty()) {
                below.push_back(Trimmed(m_Lines[i]));
            }
        }
        return below;
    }

    Lines m_Lines;
};

void AddNames(const std::string& heading, const Lines& lines, Fields& fields) {
    for (const std::string& line : lines) {
        std::string plus;
        for (const std::string& part : Split(line, " + ")) {
            const std::size_t equals = part.find('=');
            fields[heading + "/" + plus + ATTRIBUTES.at(part.substr(0, equals))].push_back(
                part.substr(equals + 1));
            plus = "+ ";
        }
    }
    if (lines.empty()) {
        fields[heading + "/Name"].push_back("keiner");
    }
}

/// "notBefore=2026-11-21 22:37:06Z" as the viewer writes it.
std::string Date(const std::string& line) {
    const std::string date = line.substr(line.find('=') + 1);
    return date.substr(8, 2) + "." + date.substr(5, 2) + "." + date.substr(0, 4) + ", " + date.substr(11, 8) +
           " UTC";
}

std::string Behind(const std::string& text, const std::string& separator) {
    return Trimmed(text.substr(text.find(separator) + separator.size()));
}

void AddCertificate(const std::string& command, const Text& text, Fields& fields) {
    const std::string heading = "Zertifikat/";
    const auto line = [&command](const std::string& options) { return Trimmed(OutputOf(command + options)); };
    fields[heading + "Gültig von"] = {Date(line("-startdate -dateopt iso_8601"))};
    fields[heading + "Gültig bis"] = {Date(line("-enddate -dateopt iso_8601"))};
    const std::string serial = Behind(Split(line("-serial"), "\n").front(), "=");
    fields[heading + "Seriennummer"] = {"0x" + (serial == "00" ? "0" : serial)};
    fields[heading + "Version"] = {text.Value("Version").substr(0, 1)};
    const bool isSelfIssued =
        line("-subject -nameopt RFC2253").substr(8) == line("-issuer -nameopt RFC2253").substr(7);
    fields[heading + "Selbst ausgestellt"] = {isSelfIssued ? "ja" : "nein"};
}

void AddKey(const Text& text, Fields& fields) {
    const std::string heading = "Öffentlicher Schlüssel/";
    const std::string algorithm = text.Value("Public Key Algorithm");
    const WordTable kinds = {{"rsaEncryption", "RSA"},
                             {"id-ecPublicKey", "Elliptische Kurve"},
                             {"ED25519", "ED25519 (1.3.101.112)"}};
    fields[heading + "Art"] = {kinds.at(algorithm)};
    // The command tells no size of an Ed25519 key: it has 32 bytes.
    const std::string size = text.Value("Public-Key"); // "(2048 bit)"
    fields[heading + "Größe"] = {(size.empty() ? "256" : size.substr(1, size.find(' ') - 1)) + " Bit"};
    if (algorithm == "rsaEncryption") {
        const std::string modulus = BytesOfLines(text.Below("Modulus"));
        fields[heading + "Modul"] = {modulus.compare(0, 3, "00:") == 0 ? modulus.substr(3) : modulus};
        fields[heading + "Exponent"] = {text.Value("Exponent") == "65537 (0x10001)" ? "01:00:01" : "other"};
        return;
    }
    fields[heading + "Wert"] = {BytesOfLines(text.Below("pub"))};
    if (algorithm == "id-ecPublicKey") {
        fields[heading + "Kurve"] = {text.Value("NIST CURVE") + " (" + text.Value("ASN1 OID") + ")"};
    }
}

std::string Name(const std::string& text) {
    const std::size_t colon = text.find(':');
    std::string value = text.substr(colon + 1);
    if (value == "2001:DB8:0:0:0:0:0:1") { // which is the long form of
        value = "2001:db8::1";
    }
    return NAME_KINDS.at(text.substr(0, colon)) + ": " + value;
}

void AddAll(const Lines& parts, const std::function<std::string(const std::string&)>& convert,
            std::vector<std::string>& values) {
    for (const std::string& part : parts) {
        values.push_back(convert(part));
    }
}

void AddPolicies(const Lines& lines, const std::string& mark, Fields& fields) {
    for (const std::string& line : lines) {
        if (line.compare(0, 8, "Policy: ") == 0) {
            fields["Richtlinien/Zertifizierungsrichtlinie" + mark].push_back(line.substr(8));
        } else if (line.compare(0, 5, "CPS: ") == 0) {
            fields["Richtlinien/Text der Richtlinie"].push_back(line.substr(5));
        } else if (line.compare(0, 15, "Explicit Text: ") == 0) {
            fields["Richtlinien/Hinweis der Richtlinie"].push_back(line.substr(15));
        }
    }
}

void AddAccess(const Lines& lines, const std::string& mark, Fields& fields) {
    for (const std::string& line : lines) {
        const std::string method =
            line.compare(0, 4, "OCSP") == 0 ? "Statusauskunft (OCSP)" : "Zertifikat des Ausstellers";
        fields["Auskünfte/" + method + mark].push_back(Behind(line, "URI:"));
    }
}

void AddConstraints(const std::string& line, std::vector<std::string>& values) {
    std::string text = line.compare(0, 7, "CA:TRUE") == 0 ? "ja" : "nein";
    if (line.find("pathlen:") != std::string::npos) {
        text += ", höchstens " + Behind(line, "pathlen:") + " weitere darunter";
    }
    values.push_back(text);
}

void AddUsages(const std::string& line, std::vector<std::string>& values) {
    std::string text;
    for (const std::string& usage : Split(line, ", ")) {
        text += (text.empty() ? "" : ", ") + USAGES.at(usage);
    }
    values.push_back(text);
}

void AddCrl(const Lines& lines, std::vector<std::string>& values) {
    for (const std::string& line : lines) {
        if (line.compare(0, 4, "URI:") == 0) {
            values.push_back(line.substr(4));
        }
    }
}

void AddExtension(const std::string& name, const Lines& lines, const std::string& mark, Fields& fields) {
    if (name == "X509v3 Key Usage") {
        AddUsages(lines.at(0), fields["Verwendung/Schlüsselverwendung" + mark]);
    } else if (name == "X509v3 Extended Key Usage") {
        AddAll(
            Split(lines.at(0), ", "), [](const std::string& purpose) { return PURPOSES.at(purpose); },
            fields["Verwendung/Erweiterte Verwendung" + mark]);
    } else if (name == "X509v3 Basic Constraints") {
        AddConstraints(lines.at(0), fields["Verwendung/Zertifizierungsstelle" + mark]);
    } else if (name == "X509v3 Subject Alternative Name") {
        AddAll(Split(lines.at(0), ", "), Name, fields["Weitere Namen/Alternativer Name" + mark]);
    } else if (name == "X509v3 Issuer Alternative Name") {
        AddAll(Split(lines.at(0), ", "), Name,
               fields["Weitere Namen/Alternativer Name des Ausstellers" + mark]);
    } else if (name == "X509v3 Subject Key Identifier") {
        fields["Kennungen/Kennung des Schlüssels" + mark] = lines;
    } else if (name == "X509v3 Authority Key Identifier") {
        fields["Kennungen/Kennung des Ausstellerschlüssels" + mark] = {lines.at(0)};
    } else if (name == "X509v3 Certificate Policies") {
        AddPolicies(lines, mark, fields);
    } else if (name == "Authority Information Access") {
        AddAccess(lines, mark, fields);
    } else if (name == "X509v3 CRL Distribution Points") {
        AddCrl(lines, fields["Auskünfte/Sperrliste" + mark]);
    } else {
        const std::string label = name == "qcStatements" ? "qcStatements (1.3.6.1.5.5.7.1.3)" : name;
        fields["Weitere Erweiterungen/" + label + mark] = {BytesOfDump(lines)};
    }
}

void AddSignature(const std::string& command, const Text& text, Fields& fields) {
    for (const auto& [name, option] : WordTable{{"SHA-1", "-sha1"}, {"SHA-256", "-sha256"}}) {
        const std::string line = Trimmed(OutputOf(command + "-fingerprint " + option));
        fields["Fingerabdrücke/" + name] = {Split(line.substr(line.find('=') + 1), "\n").front()};
    }
    const WordTable algorithms = {
        {"sha256WithRSAEncryption", "sha256WithRSAEncryption (1.2.840.113549.1.1.11)"},
        {"ecdsa-with-SHA256", "ecdsa-with-SHA256 (1.2.840.10045.4.3.2)"},
        {"ED25519", "ED25519 (1.3.101.112)"}};
    fields["Signatur des Ausstellers/Algorithmus"] = {algorithms.at(text.Value("Signature Algorithm"))};
    fields["Signatur des Ausstellers/Wert"] = {BytesOfLines(text.Below("Signature Value", true))};
}

} // namespace

Fields FieldsByOpenSsl(const std::string& derFile) {
    const std::string command = "openssl x509 -inform DER -noout -in '" + derFile + "' ";
    const std::string output =
        OutputOf(command + "-text -nameopt sep_multiline,utf8,sname -certopt ext_dump");
    if (output.empty()) {
        throw std::runtime_error("the openssl command says nothing");
    }
    const Text text(output);
    Fields fields;
    AddNames("Inhaber", text.Below("Subject"), fields);
    AddNames("Aussteller", text.Below("Issuer"), fields);
    AddCertificate(command, text, fields);
    AddKey(text, fields);
    for (const auto& [header, lines] : text.Extensions()) {
        const std::size_t colon = header.rfind(':');
        const bool isCritical = header.find(": critical") != std::string::npos;
        AddExtension(header.substr(0, colon), lines, isCritical ? " – kritisch" : "", fields);
    }
    AddSignature(command, text, fields);
    return fields;
}
