// SPDX-License-Identifier: MIT
// Certificates as an independent reader sees them: the openssl command.
#include "formats/slCertificate.h"

#include <array>
#include <ctime>
#include <functional>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "foundation/Conversion.h"
#include "tests/support/CertificateBuilder.h"
#include "tests/support/CommandOutput.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TempDir.h"

using Velmor::slCertificate;
using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;

namespace {

using Profile = std::function<void(CertificateBuilder&)>;

/// What the certificates differ in beside their keys.
const std::map<std::string, Profile> PROFILES = {
    {"plain", [](CertificateBuilder&) {}},
    {"umlauts",
     [](CertificateBuilder& builder) {
         builder.Subject({{"C", "AT"}, {"CN", "Jörg Müßig"}, {"GN", "Jörg"}, {"SN", "Müßig"}})
             .Issuer({{"C", "DE"}, {"O", "Größte, <alte> \"CA\" + Söhne"}})
             .ValidFrom(V_ASN1_GENERALIZEDTIME, "20160229235959Z")
             .ValidTo(V_ASN1_GENERALIZEDTIME, "20371231000000Z");
     }},
    {"nameless",
     [](CertificateBuilder& builder) {
         builder.Subject({})
             .Serial("FFEEDDCCBBAA99887766554433221100")
             .Extension("subjectAltName", "DNS:b.example,email:x@example,DNS:a.example");
     }},
    {"access",
     [](CertificateBuilder& builder) {
         builder.Serial("-7F")
             .Extension("authorityInfoAccess",
                        "OCSP;URI:http://ocsp.example,caIssuers;URI:http://ca.example/1.cer,"
                        "OCSP;URI:http://ocsp2.example")
             .Extension("crlDistributionPoints", "URI:http://crl.example/1.crl,URI:ldap://crl.example/2");
     }},
    {"authority",
     [](CertificateBuilder& builder) {
         builder.Subject({{"CN", "Wurzel"}})
             .Issuer({{"CN", "Wurzel"}})
             .Extension("basicConstraints", "critical,CA:TRUE")
             .Extension("subjectKeyIdentifier", "hash")
             .RawExtension("2.5.29.35", {0x30, 0x06, 0x80, 0x04, 0x11, 0x22, 0x33, 0xab})
             .ValidFrom(V_ASN1_UTCTIME, "700101000000Z")
             .ValidTo(V_ASN1_UTCTIME, "371231235959Z");
     }},
    {"responder",
     [](CertificateBuilder& builder) {
         builder.Serial("0")
             .Extension("basicConstraints", "CA:FALSE")
             .Extension("extendedKeyUsage", "clientAuth,OCSPSigning")
             .Subject({{"OU", "eins"}, {"OU", "zwei"}, {"serialNumber", "4711"}, {"CN", "a/b=c"}});
     }},
};

/// The output of "openssl x509" on one certificate.
class OpenSslCommand {
public:
    explicit OpenSslCommand(const Bytes& der) { m_Dir.File("cert.der", std::string(der.begin(), der.end())); }

    std::string Run(const std::string& options) const {
        return OutputOf("openssl x509 -inform DER -noout -in '" + m_Dir.Path("cert.der") + "' " + options +
                        " 2>/dev/null");
    }

    /// What the lines of the output have behind their first "=", by what they have before it.
    std::map<std::string, std::string> Values(const std::string& options) const {
        std::istringstream output(Run(options));
        std::map<std::string, std::string> values;
        for (std::string line; std::getline(output, line);) {
            const std::size_t equals = line.find('=');
            values[line.substr(0, equals)] = line.substr(equals + 1);
        }
        return values;
    }

    /// The words of an extension that are bytes, as in "keyid:AB:CD".
    Texts BytesOf(const std::string& name) const {
        std::istringstream output(Run("-ext " + name));
        Texts found;
        for (std::string word; output >> word;) {
            word.erase(0, word.find("keyid:") == 0 ? 6 : 0);
            if (word.find(':') == 2 && word.find_first_not_of("0123456789ABCDEF:") == std::string::npos) {
                found.push_back(word);
            }
        }
        return found;
    }

private:
    TempDir m_Dir;
};

/// The words that follow the marker.
Texts Behind(const std::string& marker, const std::string& output) {
    Texts words;
    for (std::size_t begin = 0; (begin = output.find(marker, begin)) != std::string::npos;) {
        begin += marker.size();
        words.push_back(output.substr(begin, output.find_first_of(", \n", begin) - begin));
    }
    return words;
}

/// "Jan 31 08:15:02 2016 GMT" as the wrapper writes it.
std::string Date(const std::string& text) {
    std::tm fields{};
    strptime(text.c_str(), "%b %d %H:%M:%S %Y", &fields);
    std::array<char, 32> date;
    std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &fields);
    return date.data();
}

/// "AB:CD" as the command writes bytes.
std::string Colons(const Bytes& bytes) {
    std::string hex;
    Velmor::BinData2HexStr(bytes, hex);
    for (std::size_t i = 2; i < hex.size(); i += 3) {
        hex.insert(i, ":");
    }
    return hex;
}

using Values = std::map<std::string, std::string>;

void CompareNames(const OpenSslCommand& command, const slCertificate& certificate) {
    const std::string names = "-subject -issuer -nameopt ";
    EXPECT_EQ((Values{{"subject", certificate.GetSubjectWithFormat(XN_FLAG_RFC2253)},
                      {"issuer", certificate.GetIssuerSepByComa()}}),
              command.Values(names + "RFC2253"));
    EXPECT_EQ((Values{{"subject", certificate.GetSubjectWithFormat(XN_FLAG_ONELINE)},
                      {"issuer", certificate.GetIssuerWithFormat(XN_FLAG_ONELINE)}}),
              command.Values(names + "oneline"));
    EXPECT_EQ((Values{{"subject", certificate.GetSubject()}, {"issuer", certificate.GetIssuer()}}),
              command.Values(names + "compat"));
    EXPECT_EQ(certificate.GetSubjectNameHash() + "\n", command.Run("-subject_hash"));
    EXPECT_EQ(certificate.GetIssuerNameHash() + "\n", command.Run("-issuer_hash"));
}

void CompareNumbers(const OpenSslCommand& command, const slCertificate& certificate) {
    Values values = command.Values("-serial -startdate -enddate -modulus");
    // The command writes a zero with two digits.
    EXPECT_EQ("0x" + (values["serial"] == "00" ? "0" : values["serial"]), certificate.GetSerialNumber());
    EXPECT_EQ(Date(values["notBefore"]), certificate.ValidFrom());
    EXPECT_EQ(Date(values["notAfter"]), certificate.ValidTo());
    if (certificate.IsRsaKey()) {
        Bytes modulus;
        Bytes exponent;
        EXPECT_TRUE(certificate.GetRsaPubKeyComponents(modulus, exponent));
        std::string hex;
        Velmor::BinData2HexStr(modulus, hex);
        EXPECT_EQ(values["Modulus"], hex);
    }
}

void CompareFingerprints(const OpenSslCommand& command, const slCertificate& certificate) {
    const struct {
        const char* m_Option;
        Velmor::HashAlgorithm m_Algorithm;
    } table[] = {{"-sha1", Velmor::HASH_SHA1}, {"-sha256", Velmor::HASH_SHA256}, {"-md5", Velmor::HASH_MD5}};
    for (const auto& row : table) {
        Bytes thumbprint;
        EXPECT_TRUE(certificate.GetThumbprint(thumbprint, row.m_Algorithm));
        const Values values = command.Values(std::string("-fingerprint ") + row.m_Option);
        ASSERT_EQ(1u, values.size());
        EXPECT_EQ(values.begin()->second, Colons(thumbprint));
    }
}

void CompareExtensions(const OpenSslCommand& command, const slCertificate& certificate) {
    const std::string output =
        command.Run("-ext subjectAltName,authorityInfoAccess,basicConstraints,extendedKeyUsage");
    EXPECT_EQ(Behind("DNS:", output), certificate.Get_SAN_DNS());
    EXPECT_EQ(Behind("OCSP - URI:", output), certificate.Get_AIA_OCSP());
    EXPECT_EQ(Behind("CA Issuers - URI:", output), certificate.Get_AIA_CAIssuers());
    EXPECT_EQ(Behind("URI:", command.Run("-ext crlDistributionPoints")), certificate.Get_CRL_Dp());
    EXPECT_EQ(output.find("CA:TRUE") != std::string::npos, certificate.IsCaCert());
    EXPECT_EQ(output.find("OCSP Signing") != std::string::npos, certificate.IsOcspSigner());

    const Texts subjectKey = command.BytesOf("subjectKeyIdentifier");
    const Bytes ski = certificate.GetSKI();
    ASSERT_EQ(subjectKey.empty(), ski.empty());
    if (!ski.empty()) {
        EXPECT_EQ(subjectKey, (Texts{Colons(Bytes(ski.begin() + 2, ski.end()))}));
    }
    const Texts authorityKey = command.BytesOf("authorityKeyIdentifier");
    const Bytes aki = certificate.GetAKI();
    ASSERT_EQ(authorityKey.empty(), aki.empty());
    if (!aki.empty()) {
        EXPECT_EQ(authorityKey, (Texts{Colons(Bytes(aki.begin() + 4, aki.end()))}));
    }
}

} // namespace

class SlCertificateAndOpenSslCommand : public testing::TestWithParam<TestKey> {};

TEST_P(SlCertificateAndOpenSslCommand, Agree) {
    const ScopedVariable utc("TZ", "UTC0"); // the command does not shift dates
    for (const auto& [name, profile] : PROFILES) {
        SCOPED_TRACE(name);
        CertificateBuilder builder;
        builder.Key(GetParam());
        profile(builder);
        const slCertificate certificate = builder.Wrapped();
        const OpenSslCommand command(certificate.ToBin());
        CompareNames(command, certificate);
        CompareNumbers(command, certificate);
        CompareFingerprints(command, certificate);
        CompareExtensions(command, certificate);
    }
}

INSTANTIATE_TEST_SUITE_P(TwentyFourCertificates, SlCertificateAndOpenSslCommand,
                         testing::Values(TestKey::RSA1536, TestKey::RSA2048, TestKey::P192, TestKey::P256));
