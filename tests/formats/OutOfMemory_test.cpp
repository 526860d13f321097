// SPDX-License-Identifier: MIT
// libcrypto gets no memory: each of its requests within an operation fails once, in turn. The operation ends,
// says nothing that is not so, and works the next time.
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include "formats/Hash.h"
#include "formats/slCertLogging.h"
#include "formats/slCertificate.h"
#include "tests/support/CertificateBuilder.h"
#include "tests/support/ScarceMemory.h"
#include "tests/support/TempDir.h"

using namespace Velmor;
using Bytes = std::vector<unsigned char>;

namespace {

void* Allocate(std::size_t size, const char* /*file*/, int /*line*/) {
    return scarcememory::IsRefused() ? nullptr : std::malloc(size);
}

void* Reallocate(void* memory, std::size_t size, const char* /*file*/, int /*line*/) {
    return scarcememory::IsRefused() ? nullptr : std::realloc(memory, size);
}

void Free(void* memory, const char* /*file*/, int /*line*/) {
    std::free(memory);
}

/// Before main(), since libcrypto takes no others once it has asked.
const bool IS_SET = CRYPTO_set_mem_functions(Allocate, Reallocate, Free) == 1;

std::string Joined(const std::vector<CertificateName>& names) {
    std::string text;
    for (const CertificateName& name : names) {
        text += name.m_Text + ";";
    }
    return text;
}

Bytes Tagged(unsigned char tag, const Bytes& content) {
    Bytes der = {tag, 0x81, static_cast<unsigned char>(content.size())};
    der.insert(der.end(), content.begin(), content.end());
    return der;
}

/// Alternative names of the issuer of two seldom kinds: a directory's and an EDI party's.
Bytes SeldomNames() {
    const slCertificate plain = CertificateBuilder().Subject({{"CN", "Directory"}}).Wrapped();
    unsigned int size = 0;
    plain.GetSubjectDER(nullptr, size);
    Bytes name(size);
    plain.GetSubjectDER(name.data(), size);
    Bytes names = Tagged(0xA4, name);
    const Bytes party = Tagged(0xA5, Tagged(0xA1, {0x0C, 0x01, 'p'}));
    names.insert(names.end(), party.begin(), party.end());
    return Tagged(0x30, names);
}

slCertificate Everything() {
    return CertificateBuilder()
        .Key(TestKey::P256)
        .Extension("subjectAltName",
                   "otherName:1.2.3;UTF8:u@b.example,email:a@b.example,RID:1.2.3,IP:192.0.2.1,"
                   "otherName:1.2.4;INTEGER:5")
        .RawExtension("issuerAltName", SeldomNames())
        .Extension("keyUsage", "digitalSignature")
        .Extension("crlDistributionPoints", "URI:http://c.example/1")
        .Wrapped();
}

/// Operations whose result is whole or nothing.
const std::map<std::string, std::function<std::string(const slCertificate&)>> WHOLE_OR_NOTHING = {
    {"subject", [](const slCertificate& c) { return c.GetSubject(); }},
    {"subject, formatted", [](const slCertificate& c) { return c.GetSubjectWithFormat(XN_FLAG_RFC2253); }},
    {"issuer, formatted", [](const slCertificate& c) { return c.GetIssuerSepByComa(); }},
    {"DER", [](const slCertificate& c) { return c.ToB64(); }},
    {"common name", [](const slCertificate& c) { return c.GetSubjectCN(); }},
    {"serial", [](const slCertificate& c) { return c.GetSerialNumber(); }},
    {"PEM", [](const slCertificate& c) { return c.ToPem(); }},
    {"curve", [](const slCertificate& c) { return c.GetKey().m_Curve; }},
    {"CRL", [](const slCertificate& c) { return Joined(c.GetCrlNames()); }},
    {"thumbprint",
     [](const slCertificate& c) {
         Bytes thumbprint;
         return c.GetThumbprint(thumbprint, HASH_SHA256) ? std::string(thumbprint.begin(), thumbprint.end())
                                                         : std::string();
     }},
    {"key hash", [](const slCertificate& c) { return c.GetPubKeyHashB64(); }},
};

} // namespace

TEST(WithoutMemory, LibcryptoAsksHere) {
    ASSERT_TRUE(IS_SET);
    const slCertificate certificate = Everything();
    EXPECT_FALSE(scarcememory::ResultsOf([&] { return certificate.ToPem(); }).empty());
}

TEST(WithoutMemory, AGetterSaysAllOrNothingAndAllTheNextTime) {
    const slCertificate certificate = Everything();
    for (const auto& [name, getter] : WHOLE_OR_NOTHING) {
        SCOPED_TRACE(name);
        const std::string whole = getter(certificate);
        for (const std::string& result :
             scarcememory::ResultsOf([&, get = getter] { return get(certificate); })) {
            EXPECT_TRUE(result == whole || result.empty()) << result;
        }
        EXPECT_EQ(whole, getter(certificate));
    }
}

TEST(WithoutMemory, AListOfNamesEndsAndIsWholeTheNextTime) {
    const slCertificate certificate = Everything();
    for (const auto names : {&slCertificate::GetSubjectAltNames, &slCertificate::GetIssuerAltNames}) {
        const std::string whole = Joined((certificate.*names)());
        EXPECT_NE("", whole);
        const auto results = scarcememory::ResultsOf([&] { return Joined((certificate.*names)()); });
        EXPECT_FALSE(results.empty());
        EXPECT_EQ(whole, Joined((certificate.*names)()));
    }
}

// The key's old form is made when it is first asked for, and kept.
TEST(WithoutMemory, TheCurveOfAKeyThatIsNewIsTheRightOneOrNone) {
    const std::string whole = Everything().GetKey().m_Curve;
    EXPECT_EQ("prime256v1", whole);
    for (const std::string& result : scarcememory::ResultsOf([] {
             const slCertificate certificate = scarcememory::Granted(Everything);
             return certificate.GetKey().m_Curve;
         })) {
        EXPECT_TRUE(result == whole || result.empty()) << result;
    }
}

TEST(WithoutMemory, TheNumbersOfAnRsaKeyAreBothThereOrItFails) {
    const slCertificate certificate = CertificateBuilder().Wrapped();
    for (const bool isSound : scarcememory::ResultsOf([&] {
             Bytes modulus;
             Bytes exponent;
             const bool isRead = certificate.GetRsaPubKeyComponents(modulus, exponent);
             return !isRead || (modulus.size() == 256 && exponent == Bytes{1, 0, 1});
         })) {
        EXPECT_TRUE(isSound);
    }
}

TEST(WithoutMemory, ACertificateIsLoggedWholeOrNotAtAll) {
    static std::string logged;
    SLCERT_SetDebugLoggingFunc([](const char* text) { logged = text; });
    const slCertificate certificate = CertificateBuilder().Wrapped();
    ASSERT_TRUE(certificate.LogCertificate("c"));
    const std::string whole = logged;
    for (const bool isSound : scarcememory::ResultsOf([&] {
             logged.clear();
             const bool isLogged = certificate.LogCertificate("c");
             return logged == (isLogged ? whole : "");
         })) {
        EXPECT_TRUE(isSound);
    }
    SLCERT_SetDebugLoggingFunc(nullptr);
}

TEST(WithoutMemory, ACertificateIsSavedWholeOrItFails) {
    const TempDir dir;
    slCertificate certificate = CertificateBuilder().Wrapped();
    const std::string whole = certificate.ToPem();
    bool hasFailed = false;
    for (const bool isSaved :
         scarcememory::ResultsOf([&] { return certificate.SaveCert(dir.Path("saved")); })) {
        hasFailed = hasFailed || !isSaved;
    }
    EXPECT_TRUE(hasFailed);
    EXPECT_TRUE(certificate.SaveCert(dir.Path("saved")));
    EXPECT_EQ(whole, ContentOf(dir.Path("saved")));
}

TEST(WithoutMemory, ACertificateIsReadWholeOrNotAtAll) {
    const Bytes der = CertificateBuilder().Der();
    const std::string pem = CertificateBuilder().Pem();
    const slCertificate original = CertificateBuilder().Wrapped();
    const std::string whole = original.ToPem();
    for (const auto& load : std::vector<std::function<bool(slCertificate&)>>{
             [&](slCertificate& certificate) { return certificate.LoadFromBuffer(der); },
             [&](slCertificate& certificate) { return certificate.LoadFromB64(pem); },
         }) {
        for (const std::string& result : scarcememory::ResultsOf([&] {
                 slCertificate certificate;
                 const bool isLoaded = load(certificate);
                 scarcememory::GrantTheRest(); // the text is not what this is about
                 return isLoaded ? certificate.ToPem() : std::string();
             })) {
            EXPECT_TRUE(result == whole || result.empty()) << result;
        }
    }
}

TEST(WithoutMemory, AHashIsTheRightOneOrNone) {
    const Bytes data = {'a', 'b', 'c'};
    for (const HashAlgorithm algorithm : {HASH_SHA1, HASH_SHA256}) {
        Bytes whole;
        ASSERT_TRUE(Hash(data, whole, algorithm, true));
        for (const std::string& result : scarcememory::ResultsOf([&] {
                 Bytes hash;
                 return Hash(data, hash, algorithm, true) ? std::string(hash.begin(), hash.end())
                                                          : std::string();
             })) {
            EXPECT_TRUE(result == std::string(whole.begin(), whole.end()) || result.empty());
        }
    }
}
