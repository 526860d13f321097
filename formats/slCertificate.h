// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_SLCERTIFICATE_H
#define ORSEL_FORMATS_SLCERTIFICATE_H

#include <ctime>
#include <string>
#include <vector>

#include <openssl/ec.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include "formats/CertificateFields.h"
#include "formats/KeyTypes.h"

namespace Velmor {

/// One X.509 certificate, held by value and read field by field. Nothing is verified: no signature, no chain.
///
/// Empty until something is loaded. Unless said otherwise an operation on an empty object returns an empty
/// text or vector, or false, and leaves its output arguments untouched. Texts are in the encoding that the
/// certificate has them in.
///
/// Not for several threads at once.
class slCertificate {
public:
    slCertificate() = default;
    /// A duplicate; empty from null, respectively from an empty object.
    slCertificate(const X509* source);
    slCertificate(const slCertificate& source);
    /// Takes a duplicate of the source's certificate. The certificate held until now is not freed: pointers
    /// from GetX509() stay good.
    slCertificate& operator=(const slCertificate& source);
    ~slCertificate();

    /// True only for the very same certificate object, which two slCertificates never share: so only for an
    /// object with itself, and for two empty ones.
    bool operator==(const slCertificate& other) const;

    // --- Loading and saving --------------------------------------------------------------------------------

    /// DER. Replaces the certificate, on failure with nothing, and does not free the one held until now.
    bool LoadFromBuffer(const unsigned char* data, unsigned int len);
    bool LoadFromBuffer(const std::vector<unsigned char>& data);
    /// PEM, else bare base64 of DER.
    bool LoadFromB64(std::string text);
    /// PEM, else DER. A file that cannot be opened leaves the object untouched, any other failure empty.
    bool LoadFromFile(std::string path);
    /// Takes a duplicate and frees the certificate held until now.
    bool LoadFromX509(X509* source);
    /// Leaves the certificate, which was read from this DER and is as it was then, to whichever object of
    /// this thread loads the same bytes next, and is empty itself. Reading the key out of a certificate is
    /// the dearest step of a card's reading.
    void LeaveToNextLoad(std::vector<unsigned char> der);
    /// Writes PEM over whatever the file holds.
    bool SaveCert(std::string path);

    /// The certificate itself, which stays owned by this object.
    X509* GetX509();
    /// A duplicate that the caller frees.
    X509* GetX509Copy() const;
    /// DER.
    std::vector<unsigned char> ToBin() const;
    /// DER in base64 on one line.
    std::string ToB64() const;

    // --- Names ---------------------------------------------------------------------------------------------

    /// The form "/C=AT/O=.../CN=...", at most 1023 characters.
    std::string GetSubject() const;
    std::string GetIssuer() const;
    /// A null `out` asks for the size in bytes. `len` is the capacity of `out` and becomes the size; one that
    /// is too small fails.
    bool GetSubjectDER(unsigned char* out, unsigned int& len) const;
    bool GetIssuerDER(unsigned char* out, unsigned int& len) const;
    /// `flags` are libcrypto's XN_FLAG_ and ASN1_STRFLGS_ bits.
    std::string GetSubjectWithFormat(unsigned long flags) const;
    std::string GetIssuerWithFormat(unsigned long flags) const;
    /// The form of RFC 2253.
    std::string GetIssuerSepByComa() const;

    /// The first field of this kind, at most 1023 characters; empty if there is none.
    std::string GetIssuerVal(int nid) const;
    std::string GetSubjectVal(int nid) const;
    std::string GetIssuerCN() const;
    std::string GetIssuerC() const;
    std::string GetIssuerO() const;
    std::string GetIssuerOU() const;
    std::string GetSubjectCN() const;
    std::string GetSubjectOU() const;
    std::string GetSubjectGN() const;
    std::string GetSubjectSN() const;
    /// The field serialNumber of the name, not the certificate's number.
    std::string GetSubjectSerial() const;

    /// Eight hexadecimal digits, as certificate directories name their files.
    std::string GetSubjectNameHash() const;
    std::string GetIssuerNameHash() const;

    // --- Serial number -------------------------------------------------------------------------------------

    /// Owned by the certificate; null for an empty object.
    ::ASN1_INTEGER* GetSerialNumberAsn1() const; // qualified: asn1.h has an enumerator of this name
    /// "0x" and upper-case digits, an even number of them.
    std::string GetSerialNumber() const;
    /// Saturated if the number does not fit; 0 for an empty object.
    long GetSerialNumberInt() const;
    /// The number's bytes, without a sign byte. Sizes as for GetSubjectDER.
    bool GetSerialNumberDER(unsigned char* out, unsigned int& len) const;

    // --- Validity ------------------------------------------------------------------------------------------

    // All dates are shifted by the local time zone, see ASN1_TIME_to_time_t: users know them in this form.

    /// The form "2016-01-31 12:00:00".
    std::string ValidFrom() const;
    std::string ValidTo() const;
    /// All six are 0 for an empty object.
    void ValidFrom(unsigned short& year, unsigned short& month, unsigned short& day, unsigned short& hour,
                   unsigned short& minute, unsigned short& second) const;
    void ValidTo(unsigned short& year, unsigned short& month, unsigned short& day, unsigned short& hour,
                 unsigned short& minute, unsigned short& second) const;
    /// Whether `t`, in seconds since 1970, lies in the period, both ends included. The object must not be
    /// empty.
    bool IsValid(const long& t) const;
    void Asn1TimeToTimeParts(ASN1_STRING* time, unsigned short& year, unsigned short& month,
                             unsigned short& day, unsigned short& hour, unsigned short& minute,
                             unsigned short& second) const;
    std::string Asn1TimeToString(ASN1_STRING* time) const;

    // --- Public key ----------------------------------------------------------------------------------------

    bool IsRsaKey() const;
    bool IsEcdsaKey() const;
    /// 1 for RSA, 0 for ECDSA, 3 for anything else, an empty object included. Not the numbers of SignKey.
    int GetKeyAlgorithm() const;
    /// Replaces `out` with the content of subjectPublicKey, without the byte that counts unused bits.
    bool GetPublicKeyValue(std::vector<unsigned char>& out) const;
    /// The same in a new array that the caller frees with delete[].
    bool GetPublicKeyValue(unsigned char** out, unsigned long* len) const;
    /// A duplicate that the caller frees; null, and false, for a key of another kind.
    bool GetRsaPublicKey(RSA** out) const;
    bool GetEcdsaPublicKey(EC_KEY** out) const;
    /// Big-endian numbers without a sign byte. Both are empty when it fails.
    bool GetRsaPubKeyComponents(std::vector<unsigned char>& modulus,
                                std::vector<unsigned char>& exponent) const;
    /// SHA-1 of what GetPublicKeyValue gives.
    std::vector<unsigned char> GetPubKeyHashBytes() const;
    /// The 20 raw bytes of the hash, not hexadecimal digits: good for comparing and nothing else.
    std::string GetPubKeyHashHex() const;
    std::string GetPubKeyHashB64() const;

    // --- Thumbprints ---------------------------------------------------------------------------------------

    /// Replaces `out` with the digest of the DER form.
    bool GetThumbprint(std::vector<unsigned char>& out, HashAlgorithm algo) const;
    /// SHA-1 in a new array that the caller frees with delete[].
    bool GetThumbprint(unsigned char** out, unsigned long* len) const;
    /// SHA-1, each byte in as many upper-case digits as it needs: 0A is "A". Shorter than 40 digits whenever
    /// a byte is below 16.
    std::wstring GetThumbprint() const;

    // --- Extensions ----------------------------------------------------------------------------------------

    /// The whole content of the extension, its inner DER header included.
    std::vector<unsigned char> GetSKI() const;
    std::vector<unsigned char> GetAKI() const;
    /// Whether an extension is there. `oid` is a name or dotted numbers. The certificate's first extension is
    /// never found by this operation and the next.
    bool GetExtAvailable(std::string oid) const;
    /// Whether the extension's content is the BOOLEAN TRUE.
    bool GetBoolExt(std::string oid) const;
    bool IsCaCert() const;
    /// Whether subject and issuer are the same name.
    bool IsSelfSigned() const;
    bool IsOcspSigner() const;
    std::vector<std::string> Get_SAN_DNS() const;
    /// URIs with "ocsp:" respectively "ca:" before them.
    std::vector<std::string> Get_AIA() const;
    /// URIs alone.
    std::vector<std::string> Get_AIA_OCSP() const;
    std::vector<std::string> Get_AIA_CAIssuers() const;
    std::vector<std::string> Get_CRL_Dp() const;

    // --- Everything, for somebody to look at ---------------------------------------------------------------

    // A getter of an extension gives nothing also for one that is malformed or there twice.

    /// PEM with its armour.
    std::string ToPem() const;
    /// 1 to 3; 0 for an empty object.
    long GetVersion() const;
    /// In the certificate's order.
    std::vector<CertificateNameField> GetSubjectFields() const;
    std::vector<CertificateNameField> GetIssuerFields() const;
    /// Unlike ValidFrom and ValidTo without a shift by the local zone.
    CertificateTime GetNotBefore() const;
    CertificateTime GetNotAfter() const;
    CertificateKey GetKey() const;
    CertificateOid GetSignatureAlgorithm() const;
    std::vector<unsigned char> GetSignatureValue() const;

    /// All of them, in the certificate's order.
    std::vector<CertificateExtension> GetExtensions() const;
    /// Numbers of the bits that are set, ascending (RFC 5280, section 4.2.1.3).
    std::vector<int> GetKeyUsage() const;
    std::vector<CertificateOid> GetExtendedKeyUsage() const;
    bool GetBasicConstraints(CertificateBasicConstraints& out) const;
    std::vector<CertificateName> GetSubjectAltNames() const;
    std::vector<CertificateName> GetIssuerAltNames() const;
    /// Without the DER header that GetSKI has.
    std::vector<unsigned char> GetSubjectKeyId() const;
    bool GetAuthorityKeyId(CertificateAuthorityKey& out) const;
    std::vector<CertificatePolicy> GetPolicies() const;
    std::vector<CertificateAccess> GetAccess() const;
    /// The names of all distribution points.
    std::vector<CertificateName> GetCrlNames() const;

    /// Sends `message`, ": " and the PEM text, of which at most 8000 bytes, to SLCERT_LogDebug.
    bool LogCertificate(std::string message) const;

private:
    std::vector<unsigned char> GetExtensionValue(int nid) const;
    const X509_EXTENSION* FindExtension(const std::string& oid) const;

    X509* m_X509 = nullptr;
};

/// A copy by way of the DER form, which the caller frees. Null for null and for a certificate that cannot be
/// encoded.
X509* myX509_duplicate(const X509* source);

/// Starts the certificate viewer on a file and does not wait for it. False only if no process could be
/// started: a viewer that is missing shows on standard error alone.
bool ShowCertificate(std::string path);

/// Seconds since 1970 of a UTCTime or GeneralizedTime; 0 for another tag and for a UTCTime of up to 9
/// characters. The fields are taken for local time, and the offset of a UTCTime is not applied.
std::time_t ASN1_TIME_to_time_t(const ASN1_STRING* time);

/// The value of `count` decimal digits from `offset` on; 0 for more than 4.
int SubStrToInt(unsigned char* text, int offset, int count);

} // namespace Velmor

#endif
