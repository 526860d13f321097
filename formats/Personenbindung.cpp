// SPDX-License-Identifier: MIT
#include "formats/Personenbindung.h"

#include <algorithm>

#include <openssl/crypto.h>

#include "formats/asn1.h"
#include "foundation/Logging.h"

namespace Velmor {

namespace {

constexpr unsigned char INTEGER_TAG = 0x02;
constexpr unsigned char BIT_STRING_TAG = 0x03;
constexpr unsigned char UTF8_STRING_TAG = 0x0C;
constexpr unsigned char SEQUENCE_TAG = 0x30;
constexpr unsigned char CONTEXT_TAG0 = 0xA0;
constexpr unsigned char CONTEXT_TAG1 = 0xA1;
constexpr unsigned char CONTEXT_TAG2 = 0xA2;

void LogError(const char* text) {
    LibLogging::GetHandle()->LogError(text);
}

void Wipe(std::string& text) {
    OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

template <std::size_t Size>
void Wipe(unsigned char (&field)[Size]) {
    OPENSSL_cleanse(field, Size);
}

} // namespace

/// Walks over ASN.1 without leaving its buffer. Anything that would is cut off: from there on no tag is next.
class Personenbindung::Cursor {
public:
    Cursor(unsigned char* data, int size, int position) : m_Data(data), m_Size(size), m_Position(position) {}

    int Position() const { return m_Position; }
    bool IsCutOff() const { return m_CutOff; }

    bool IsNext(unsigned char tag) const {
        return !m_CutOff && m_Position < m_Size && m_Data[m_Position] == tag;
    }

    /// Passes the tag if it is next, so that its length is.
    bool Pass(unsigned char tag) {
        const bool isNext = IsNext(tag);
        m_Position += isNext ? 1 : 0;
        return isNext;
    }

    /// The length that is next; 0 if it is cut off.
    int ReadLength() {
        return Require(HasWholeLength(m_Data, m_Position, m_Size)) ? getLen(m_Data, m_Position) : 0;
    }

    /// An integer of two bytes if its length says 2, else of one byte, whatever the length says.
    int ReadShortInteger() {
        if (!Require(m_Position < m_Size)) {
            return 0;
        }
        const int count = m_Data[m_Position++] == 2 ? 2 : 1;
        if (!Require(count <= m_Size - m_Position)) {
            return 0;
        }
        const unsigned char* value = m_Data + m_Position;
        m_Position += count;
        return count == 2 ? value[0] << 8 | value[1] : value[0];
    }

    /// Reads a text if its tag is next.
    bool ReadText(std::string& out) {
        if (!PassWholeValue(UTF8_STRING_TAG)) {
            return false;
        }
        out = ReadUtf8String(m_Data, m_Position);
        return true;
    }

    /// Copies a value as it stands if its tag is next. One that is too long is passed over.
    template <std::size_t Size>
    void ReadRaw(unsigned char tag, unsigned char (&field)[Size]) {
        if (!PassWholeValue(tag)) {
            return;
        }
        const int length = getLen(m_Data, m_Position);
        if (length <= static_cast<int>(Size)) {
            std::copy_n(m_Data + m_Position, length, field);
        }
        m_Position += length;
    }

    /// Reads a BIT STRING if its tag is next. One that cannot be taken leaves the field alone; a length of
    /// the whole field then says that it was too long.
    template <std::size_t Size>
    void ReadBits(unsigned char (&field)[Size], int& fieldLength) {
        if (PassWholeValue(BIT_STRING_TAG)) {
            fieldLength = Size;
            ReadBitString(m_Data, m_Position, field, fieldLength);
        }
    }

private:
    bool Require(bool isWithin) {
        m_CutOff = m_CutOff || !isWithin;
        return !m_CutOff;
    }

    /// Passes the tag if it is next and its value is all there.
    bool PassWholeValue(unsigned char tag) {
        return Pass(tag) && Require(HasWholeValue(m_Data, m_Position, m_Size));
    }

    unsigned char* m_Data;
    int m_Size;
    int m_Position;
    bool m_CutOff = false;
};

Personenbindung::~Personenbindung() {
    MemSetNull();
}

void Personenbindung::MemSetNull() {
    for (std::string* text : {&m_IssuerTemplate, &m_AssertionID, &m_IssueInstant, &m_BaseId, &m_GivenName,
                              &m_FamilyName, &m_DateOfBirth}) {
        Wipe(*text);
    }
    Wipe(m_PersonData);
    Wipe(m_CitizenPublicKey);
    Wipe(m_SignatureValue);
    Wipe(m_ReferenceDigest);
    Wipe(m_ReferenceManifestDigest);
    Wipe(m_ManifestReferenceDigest);
}

bool Personenbindung::parse(unsigned char* data, int size) {
    MemSetNull();
    Cursor cursor(data, data != nullptr ? size : 0, 0);
    if (!cursor.Pass(SEQUENCE_TAG)) {
        LogError("Keine Personenbindungsdaten");
        return false;
    }
    const int length = cursor.ReadLength();
    if (!cursor.IsCutOff() && length <= size) {
        ReadHead(cursor);
        ReadBlocks(cursor);
        ReadDigests(cursor, length);
    }
    if (cursor.IsCutOff() || length > size) {
        MemSetNull();
        LogError("Fehler beim Lesen der Personenbindung Lnge passt nicht"); // logged without the umlaut
        return false;
    }
    _doPersonData(m_PersonData);
    _doCitizenPublicKey(m_CitizenPublicKey);
    return true;
}

void Personenbindung::ReadHead(Cursor& cursor) {
    if (cursor.Pass(INTEGER_TAG)) {
        m_Version = cursor.ReadShortInteger();
    }
    if (cursor.ReadText(m_IssuerTemplate) && cursor.ReadText(m_AssertionID)) {
        cursor.ReadText(m_IssueInstant);
    }
}

void Personenbindung::ReadBlocks(Cursor& cursor) {
    cursor.ReadRaw(CONTEXT_TAG0, m_PersonData);
    cursor.ReadRaw(SEQUENCE_TAG, m_CitizenPublicKey);
    cursor.ReadBits(m_SignatureValue, m_SignatureValueLength);
}

/// `end` does not count the structure's own tag and length while positions do, so reading ends up to four
/// bytes early. No real digest is that short.
void Personenbindung::ReadDigests(Cursor& cursor, int end) {
    const auto read = [&](unsigned char tag, auto& field, int& fieldLength) {
        if (cursor.Position() < end && cursor.Pass(tag)) {
            cursor.ReadLength(); // the BIT STRING inside tells its own
            cursor.ReadBits(field, fieldLength);
        }
    };
    read(CONTEXT_TAG0, m_ReferenceDigest, m_ReferenceDigestLength);
    read(CONTEXT_TAG1, m_ReferenceManifestDigest, m_ReferenceManifestDigestLength);
    read(CONTEXT_TAG2, m_ManifestReferenceDigest, m_ManifestReferenceDigestLength);
}

bool Personenbindung::_doPersonData(unsigned char* block) {
    if (block[0] == SEQUENCE_TAG) {
        // The length is taken to be one byte; behind a longer one no text is found.
        Cursor cursor(block, sizeof(m_PersonData), 2);
        for (std::string* text : {&m_BaseId, &m_GivenName, &m_FamilyName, &m_DateOfBirth}) {
            if (!cursor.ReadText(*text)) {
                break;
            }
        }
        if (!cursor.IsCutOff()) {
            return true;
        }
    }
    LogError("Personenbindung::_doPersonData keine Sequence");
    return false;
}

bool Personenbindung::_doCitizenPublicKey(unsigned char* block) {
    Cursor cursor(block, sizeof(m_CitizenPublicKey), 0);
    for (;;) {
        if (cursor.Pass(CONTEXT_TAG0)) {
            cursor.ReadLength();
        } else if (cursor.Pass(INTEGER_TAG)) {
            cursor.ReadShortInteger();
        } else {
            return true;
        }
    }
}

int Personenbindung::getVersion() const {
    return m_Version;
}

std::string Personenbindung::getAssertionID() const {
    return m_AssertionID;
}

std::string Personenbindung::getIssuerTemplate() const {
    return m_IssuerTemplate;
}

std::string Personenbindung::getBaseId() const {
    return m_BaseId;
}

std::string Personenbindung::getGivenName() const {
    return m_GivenName;
}

std::string Personenbindung::getFamilyName() const {
    return m_FamilyName;
}

std::string Personenbindung::getDateOfBirth() const {
    return m_DateOfBirth;
}

std::string Personenbindung::getIssueInstant() const {
    return m_IssueInstant;
}

void Personenbindung::getSignatureValue(unsigned char* out, int& len) const {
    len = m_SignatureValueLength;
    std::copy_n(m_SignatureValue, len, out);
}

void Personenbindung::getReferenceDigest(unsigned char* out, int& len) const {
    len = m_ReferenceDigestLength;
    std::copy_n(m_ReferenceDigest, len, out);
}

void Personenbindung::getReferenceManifestDigest(unsigned char* out, int& len) const {
    len = m_ReferenceManifestDigestLength;
    std::copy_n(m_ReferenceManifestDigest, len, out);
}

void Personenbindung::getManifestReferenceDigest(unsigned char* out, int& len) const {
    len = m_ManifestReferenceDigestLength;
    std::copy_n(m_ManifestReferenceDigest, len, out);
}

} // namespace Velmor
