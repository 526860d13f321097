// SPDX-License-Identifier: MIT
#include "formats/slCertificate.h"

#include "fuzz/FuzzInput.h"

using Velmor::slCertificate;

namespace {

template <typename... Getters>
void CallAll(const slCertificate& certificate, Getters... getters) {
    (static_cast<void>((certificate.*getters)()), ...);
}

void ReadNamesAndKey(const slCertificate& certificate) {
    using C = slCertificate;
    CallAll(certificate, &C::GetSubject, &C::GetIssuer, &C::GetIssuerSepByComa, &C::GetIssuerCN,
            &C::GetIssuerC, &C::GetIssuerO, &C::GetIssuerOU, &C::GetSubjectCN, &C::GetSubjectOU,
            &C::GetSubjectGN, &C::GetSubjectSN, &C::GetSubjectSerial, &C::GetSubjectNameHash,
            &C::GetIssuerNameHash, &C::GetSerialNumber, &C::GetSerialNumberInt, &C::GetKeyAlgorithm,
            &C::GetPubKeyHashHex, &C::GetPubKeyHashB64, &C::ToB64);
    certificate.GetSubjectWithFormat(XN_FLAG_RFC2253);
    certificate.GetIssuerWithFormat(XN_FLAG_MULTILINE);
    Bytes first;
    Bytes second;
    certificate.GetRsaPubKeyComponents(first, second);
    certificate.GetPublicKeyValue(first);
    Require(!certificate.GetThumbprint().empty());
    unsigned int size = 0;
    Require(certificate.GetSerialNumberDER(nullptr, size));
    Bytes number(size);
    Require(certificate.GetSerialNumberDER(number.data(), size) && size == number.size());
}

void ReadDatesAndExtensions(const slCertificate& certificate) {
    using C = slCertificate;
    CallAll(certificate, &C::GetSKI, &C::GetAKI, &C::Get_SAN_DNS, &C::Get_AIA_OCSP, &C::Get_AIA_CAIssuers,
            &C::Get_CRL_Dp, &C::IsCaCert, &C::IsSelfSigned, &C::IsOcspSigner);
    for (const char* oid : {"2.5.29.15", "2.5.29.19", "1.2.40.0.10.1.1.1"}) {
        Require(certificate.GetExtAvailable(oid) || !certificate.GetBoolExt(oid));
    }
    certificate.ValidFrom();
    certificate.ValidTo();
    certificate.IsValid(0);
}

/// Everything that the viewer shows.
void ReadForTheViewer(const slCertificate& certificate) {
    using C = slCertificate;
    CallAll(certificate, &C::ToPem, &C::GetVersion, &C::GetSubjectFields, &C::GetIssuerFields,
            &C::GetNotBefore, &C::GetNotAfter, &C::GetKey, &C::GetSignatureAlgorithm, &C::GetSignatureValue,
            &C::GetExtensions, &C::GetKeyUsage, &C::GetExtendedKeyUsage, &C::GetSubjectAltNames,
            &C::GetIssuerAltNames, &C::GetSubjectKeyId, &C::GetPolicies, &C::GetAccess, &C::GetCrlNames,
            &C::IsRsaKey);
    Velmor::CertificateBasicConstraints constraints;
    certificate.GetBasicConstraints(constraints);
    Velmor::CertificateAuthorityKey authority;
    certificate.GetAuthorityKeyId(authority);
    Bytes fingerprint;
    Require(certificate.GetThumbprint(fingerprint, Velmor::HASH_SHA256) && fingerprint.size() == 32);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    slCertificate certificate;
    if (certificate.LoadFromBuffer(data, static_cast<unsigned int>(size))) {
        ReadNamesAndKey(certificate);
        ReadDatesAndExtensions(certificate);
        ReadForTheViewer(certificate);
        certificate.LogCertificate("fuzz");
    }
    slCertificate().LoadFromB64(TextOf(data, size));
    return 0;
}
