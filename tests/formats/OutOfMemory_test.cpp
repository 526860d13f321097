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
#include "formats/slCertificate.h"
#include "tests/support/CertificateBuilder.h"
#include "tests/support/ScarceMemory.h"

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

slCertificate Everything() {
    return CertificateBuilder()
        .Key(TestKey::P256)
        .Extension("subjectAltName",
                   "otherName:1.2.3;UTF8:u@b.example,email:a@b.example,RID:1.2.3,IP:192.0.2.1")
        .Extension("keyUsage", "digitalSignature")
        .Extension("crlDistributionPoints", "URI:http://c.example/1")
        .Wrapped();
}

/// Operations whose result is whole or nothing.
const std::map<std::string, std::function<std::string(const slCertificate&)>> WHOLE_OR_NOTHING = {
    {"subject", [](const slCertificate& c) { return c.GetSubject(); }},
    {"common name", [](const slCertificate& c) { return c.GetSubjectCN(); }},
    {"serial", [](const slCertificate& c) { return c.GetSerialNumber(); }},
    {"PEM", [](const slCertificate& c) { return c.ToPem(); }},
    {"curve", [](const slCertificate& c) { return c.GetKey().m_Curve; }},
    {"CRL", [](const slCertificate& c) { return Joined(c.GetCrlNames()); }},
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
    const std::string whole = Joined(certificate.GetSubjectAltNames());
    const auto results = scarcememory::ResultsOf([&] { return Joined(certificate.GetSubjectAltNames()); });
    EXPECT_FALSE(results.empty());
    EXPECT_EQ(whole, Joined(certificate.GetSubjectAltNames()));
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
