// SPDX-License-Identifier: MIT
// Identity links, put together piece by piece and looked into.
#ifndef ORSEL_TESTS_FORMATS_OPENRECORD_H
#define ORSEL_TESTS_FORMATS_OPENRECORD_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "formats/Personenbindung.h"
#include "tests/formats/Bytes.h"

using Texts = std::vector<std::string>;

inline const Texts BAD_LENGTH = {"Fehler beim Lesen der Personenbindung Lnge passt nicht"};

/// A record whose fields are within reach.
class OpenRecord : public Velmor::Personenbindung {
public:
    bool Parse(Bytes data) { return parse(data.data(), static_cast<int>(data.size())); }

    Texts Names() const { return {m_BaseId, m_GivenName, m_FamilyName, m_DateOfBirth}; }
    Texts Head() const { return {m_IssuerTemplate, m_AssertionID, m_IssueInstant}; }

    using Velmor::Personenbindung::m_CitizenPublicKey;
    using Velmor::Personenbindung::m_ManifestReferenceDigest;
    using Velmor::Personenbindung::m_ManifestReferenceDigestLength;
    using Velmor::Personenbindung::m_PersonData;
    using Velmor::Personenbindung::m_ReferenceDigest;
    using Velmor::Personenbindung::m_ReferenceDigestLength;
    using Velmor::Personenbindung::m_ReferenceManifestDigest;
    using Velmor::Personenbindung::m_ReferenceManifestDigestLength;
    using Velmor::Personenbindung::m_SignatureValue;
    using Velmor::Personenbindung::m_SignatureValueLength;
    using Velmor::Personenbindung::m_Version;
};

/// Tag, length in its shortest form, content.
inline Bytes Tlv(unsigned char tag, const Bytes& content) {
    const std::size_t size = content.size();
    const auto low = static_cast<unsigned char>(size);
    if (size < 128) {
        return Bytes{tag, low} + content;
    }
    return (size < 256 ? Bytes{tag, 0x81, low}
                       : Bytes{tag, 0x82, static_cast<unsigned char>(size >> 8), low}) +
           content;
}

inline Bytes Text(const std::string& text) {
    return Tlv(0x0c, Bytes(text.begin(), text.end()));
}

inline Bytes Bits(const Bytes& content) {
    return Tlv(0x03, Bytes{0x00} + content);
}

inline Bytes Structure(const Bytes& content) {
    return Tlv(0x30, content);
}

inline Bytes Person(const Texts& names) {
    Bytes content;
    for (const std::string& name : names) {
        content = content + Text(name);
    }
    return Tlv(0xa0, Tlv(0x30, content));
}

/// Long enough for the digests behind it to lie before the end that the reader takes for the end.
inline const Bytes TRAILER = Bytes(8, 0x05);

inline const Bytes CITIZEN_KEY = {0x30, 0x06, 0xa0, 0x04, 0x02, 0x02, 0x01, 0x02};

inline Bytes WholeRecord() {
    return Structure(Bytes{0x02, 0x01, 0x01} + Text("template") + Text("assertion") + Text("2016-05-04") +
                     Person({"base", "Jörg", "Müller", "1970-01-31"}) + CITIZEN_KEY + Bits(Bytes(128, 0x51)) +
                     Tlv(0xa0, Bits(Bytes(20, 0xd1))) + Tlv(0xa1, Bits(Bytes(32, 0xd2))) +
                     Tlv(0xa2, Bits(Bytes(64, 0xd3))));
}

template <std::size_t Size>
Bytes Content(const unsigned char (&field)[Size]) {
    return Bytes(field, field + Size);
}

template <std::size_t Size>
bool IsEmpty(const unsigned char (&field)[Size]) {
    return Content(field) == Bytes(Size);
}

inline void ExpectEmpty(const OpenRecord& record) {
    EXPECT_EQ(Texts(4), record.Names());
    EXPECT_EQ(Texts(3), record.Head());
    EXPECT_TRUE(IsEmpty(record.m_PersonData));
    EXPECT_TRUE(IsEmpty(record.m_CitizenPublicKey));
    EXPECT_TRUE(IsEmpty(record.m_SignatureValue));
    EXPECT_TRUE(IsEmpty(record.m_ReferenceDigest));
    EXPECT_TRUE(IsEmpty(record.m_ReferenceManifestDigest));
    EXPECT_TRUE(IsEmpty(record.m_ManifestReferenceDigest));
}

inline Bytes Value(const OpenRecord& record,
                   void (Velmor::Personenbindung::*get)(unsigned char*, int&) const) {
    Bytes out(1024);
    int size = -1;
    (record.*get)(out.data(), size);
    out.resize(size);
    return out;
}

inline Bytes Padded(const Bytes& content, std::size_t size) {
    return content + Bytes(size - content.size());
}

#endif
