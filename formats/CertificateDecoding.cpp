// SPDX-License-Identifier: MIT
#include "formats/CertificateDecoding.h"

#include <algorithm>
#include <array>

#include <arpa/inet.h>
#include <openssl/objects.h>

#include "formats/OpenSslHandle.h"
#include "foundation/Conversion.h"

namespace Velmor::intern {

namespace {

constexpr std::size_t IP4_SIZE = 4;
constexpr std::size_t IP6_SIZE = 16;

std::string DottedOf(const ASN1_OBJECT* object) {
    const int length = std::max(0, OBJ_obj2txt(nullptr, 0, object, 1));
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    OBJ_obj2txt(text.data(), static_cast<int>(text.size()), object, 1);
    text.pop_back();
    return text;
}

/// Digits of what is no IP address, such as a network with its mask.
std::string AddressOf(const ASN1_STRING* string) {
    const std::vector<unsigned char> bytes = BytesOf(string);
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (bytes.size() == IP4_SIZE) {
        return inet_ntop(AF_INET, bytes.data(), text.data(), text.size());
    }
    if (bytes.size() == IP6_SIZE) {
        return inet_ntop(AF_INET6, bytes.data(), text.data(), text.size());
    }
    return HexOf(bytes);
}

bool IsText(int type) {
    return (ASN1_tag2bit(type) & (B_ASN1_DIRECTORYSTRING)) != 0 || type == V_ASN1_IA5STRING;
}

/// Digits of what libcrypto has encoded, which is freed; none if it could not, which a negative size tells.
std::string HexOfEncoded(unsigned char* der, int size) {
    const BytesHandle owned(der);
    return HexOf(std::vector<unsigned char>(der, der + std::max(0, size)));
}

std::string OtherNameOf(const OTHERNAME* name) {
    const int type = name->value->type;
    const std::string prefix = OidOf(name->type_id).m_Dotted + ":";
    if (IsText(type)) {
        return prefix + Utf8Of(name->value->value.asn1_string);
    }
    unsigned char* der = nullptr;
    const int size = i2d_ASN1_TYPE(name->value, &der);
    return prefix + HexOfEncoded(der, size);
}

/// The whole name in DER as digits: for kinds that nobody uses.
std::string EncodedNameOf(const GENERAL_NAME* name) {
    unsigned char* der = nullptr;
    // libcrypto 1.1 does not promise to leave the name alone, but does.
    const int size = i2d_GENERAL_NAME(const_cast<GENERAL_NAME*>(name), &der);
    return HexOfEncoded(der, size);
}

std::string NameTextOf(const GENERAL_NAME* name) {
    switch (name->type) {
    case GEN_OTHERNAME:
        return OtherNameOf(name->d.otherName);
    case GEN_EMAIL:
    case GEN_DNS:
    case GEN_URI:
        return RawTextOf(name->d.ia5);
    case GEN_DIRNAME:
        return DirectoryNameOf(name->d.directoryName);
    case GEN_IPADD:
        return AddressOf(name->d.iPAddress);
    case GEN_RID:
        return OidOf(name->d.registeredID).m_Dotted;
    default:
        return EncodedNameOf(name);
    }
}

} // namespace

std::vector<unsigned char> BytesOf(const ASN1_STRING* string) {
    const unsigned char* data = string != nullptr ? ASN1_STRING_get0_data(string) : nullptr;
    return data != nullptr ? std::vector<unsigned char>(data, data + ASN1_STRING_length(string))
                           : std::vector<unsigned char>();
}

std::string RawTextOf(const ASN1_STRING* string) {
    const std::vector<unsigned char> bytes = BytesOf(string);
    return std::string(bytes.begin(), bytes.end());
}

std::string Utf8Of(const ASN1_STRING* string) {
    if (string == nullptr) {
        return {};
    }
    unsigned char* text = nullptr;
    const int size = ASN1_STRING_to_UTF8(&text, string);
    const BytesHandle owned(text);
    return size >= 0 ? std::string(text, text + size) : "#" + HexOf(BytesOf(string));
}

std::string HexOf(const std::vector<unsigned char>& bytes) {
    std::string hex;
    BinData2HexStr(bytes, hex);
    return hex;
}

std::string NumberOf(const ::ASN1_INTEGER* number) {
    const BnHandle value(number != nullptr ? ASN1_INTEGER_to_BN(number, nullptr) : nullptr);
    const BnTextHandle digits(value ? BN_bn2hex(value.get()) : nullptr);
    return digits ? std::string("0x") + digits.get() : std::string();
}

CertificateOid OidOf(const ASN1_OBJECT* object) {
    CertificateOid oid;
    if (object == nullptr) {
        return oid;
    }
    oid.m_Dotted = DottedOf(object);
    oid.m_Nid = OBJ_obj2nid(object);
    if (oid.m_Nid != NID_undef) {
        oid.m_ShortName = OBJ_nid2sn(oid.m_Nid);
        oid.m_LongName = OBJ_nid2ln(oid.m_Nid);
    }
    return oid;
}

CertificateName NameOf(const GENERAL_NAME* name) {
    if (name == nullptr) {
        return {};
    }
    return {static_cast<CertificateNameKind>(name->type), NameTextOf(name)};
}

std::vector<CertificateName> NamesOf(const GENERAL_NAMES* names) {
    std::vector<CertificateName> all;
    all.reserve(static_cast<std::size_t>(std::max(sk_GENERAL_NAME_num(names), 0)));
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        all.push_back(NameOf(sk_GENERAL_NAME_value(names, i)));
    }
    return all;
}

std::string DirectoryNameOf(const X509_NAME* name) {
    constexpr unsigned long READABLE = XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    return PrintedNameOf(name, READABLE);
}

std::string PrintedNameOf(const X509_NAME* name, unsigned long flags) {
    const BioHandle stream(BIO_new(BIO_s_mem()));
    if (name == nullptr || !stream || X509_NAME_print_ex(stream.get(), name, 0, flags) < 0) {
        return {};
    }
    char* text = nullptr;
    const long size = BIO_get_mem_data(stream.get(), &text);
    return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

} // namespace Velmor::intern
