// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_PERSONENBINDUNG_H
#define ORSEL_FORMATS_PERSONENBINDUNG_H

#include <string>

namespace Velmor {

/// The identity link, which ties a citizen's identity number and name to the certificate, as a card holds it:
/// a signed ASN.1 structure. Its signature is not verified. Texts are UTF-8 as on the card.
///
/// Errors go to the default logger.
class Personenbindung {
public:
    Personenbindung() = default;
    /// Wipes the identity data.
    ~Personenbindung();

    /// Wipes all texts and byte fields. The version and the lengths keep their values.
    void MemSetNull();

    /// Replaces the record with the one in `size` bytes. Whatever the structure may lack stays empty, and so
    /// does a part that is too long for its field. False, with all texts and byte fields empty, for data that
    /// is no such structure or is cut off.
    bool parse(unsigned char* data, int size);

    int getVersion() const;
    std::string getAssertionID() const;
    std::string getIssuerTemplate() const;
    std::string getBaseId() const;
    std::string getGivenName() const;
    std::string getFamilyName() const;
    std::string getDateOfBirth() const;
    std::string getIssueInstant() const;

    // `len` becomes the number of bytes that are copied to `out`: up to 1024 for the signature, 256 for the
    // others.
    void getSignatureValue(unsigned char* out, int& len) const;
    void getReferenceDigest(unsigned char* out, int& len) const;
    void getReferenceManifestDigest(unsigned char* out, int& len) const;
    void getManifestReferenceDigest(unsigned char* out, int& len) const;

    // Steps of parse. A block is as long as the field that it stands in; bytes behind its content are zero.

    /// Splits the person data. False for a block that is no SEQUENCE or has a text that overruns it.
    bool _doPersonData(unsigned char* block);
    /// Walks the block of the citizen's key and keeps nothing of it. Always true.
    bool _doCitizenPublicKey(unsigned char* block);

protected:
    int m_Version = 0;
    std::string m_IssuerTemplate;
    std::string m_AssertionID;
    std::string m_IssueInstant;
    std::string m_BaseId;
    std::string m_GivenName;
    std::string m_FamilyName;
    std::string m_DateOfBirth;
    unsigned char m_PersonData[256] = {};
    unsigned char m_CitizenPublicKey[256] = {};
    unsigned char m_SignatureValue[1024] = {};
    unsigned char m_ReferenceDigest[256] = {};
    unsigned char m_ReferenceManifestDigest[256] = {};
    unsigned char m_ManifestReferenceDigest[256] = {};
    int m_SignatureValueLength = 0;
    int m_ReferenceDigestLength = 0;
    int m_ReferenceManifestDigestLength = 0;
    int m_ManifestReferenceDigestLength = 0;

private:
    class Cursor;

    void ReadHead(Cursor& cursor);
    void ReadBlocks(Cursor& cursor);
    void ReadDigests(Cursor& cursor, int end);
};

} // namespace Velmor

#endif
