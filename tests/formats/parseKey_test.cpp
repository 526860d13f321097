// SPDX-License-Identifier: MIT
#include "formats/parseKey.h"

#include <algorithm>
#include <climits>
#include <cstddef>

#include <gtest/gtest.h>

#include "tests/formats/Bytes.h"
#include "tests/support/CertificateBuilder.h"

using Velmor::ParseEccKey;
using Velmor::ParseKey;
using Velmor::ParseRsaKey;
using Velmor::PublicKeyData;

namespace {

constexpr char P192[] = "1.2.840.10045.3.1.1";
constexpr char P256[] = "1.2.840.10045.3.1.7";

Bytes Integer(const Bytes& content) {
    const std::size_t size = content.size();
    const auto low = static_cast<unsigned char>(size);
    const auto high = static_cast<unsigned char>(size >> 8);
    return (size < 128 ? Bytes{0x02, low} : Bytes{0x02, 0x82, high, low}) + content;
}

/// The length of the sequence is not used, so any will do.
Bytes RsaKey(const Bytes& modulus, const Bytes& exponent) {
    return Bytes{0x30, 0x82, 0x00, 0x00} + Integer(modulus) + Integer(exponent);
}

Bytes Modulus(const PublicKeyData& key) {
    return Bytes(key.m_Modulus, key.m_Modulus + key.m_ModulusLength);
}

Bytes Exponent(const PublicKeyData& key) {
    return Bytes(key.m_Exponent, key.m_Exponent + key.m_ExponentLength);
}

std::string Text(const unsigned char (&field)[256]) {
    return std::string(field, std::find(field, field + 256, 0));
}

bool IsZero(const unsigned char* begin, const unsigned char* end) {
    return std::all_of(begin, end, [](unsigned char byte) { return byte == 0; });
}

void ExpectNoRsaFields(const PublicKeyData& key) {
    EXPECT_TRUE(IsZero(std::begin(key.m_Modulus), std::end(key.m_Modulus)));
    EXPECT_TRUE(IsZero(std::begin(key.m_Exponent), std::end(key.m_Exponent)));
    EXPECT_EQ(0, key.m_ModulusLength);
    EXPECT_EQ(0, key.m_ExponentLength);
}

void ExpectNoEccFields(const PublicKeyData& key) {
    EXPECT_TRUE(IsZero(std::begin(key.m_X), std::end(key.m_X)));
    EXPECT_TRUE(IsZero(std::begin(key.m_Y), std::end(key.m_Y)));
    EXPECT_EQ(0, key.m_CoordinateLength);
    EXPECT_EQ("", key.m_CurveOid);
}

Bytes Point(int coordinateSize) {
    return Bytes{0x04} + Bytes(coordinateSize, 0x11) + Bytes(coordinateSize, 0x22);
}

} // namespace

static_assert(sizeof(PublicKeyData::m_Modulus) == 512);
static_assert(sizeof(PublicKeyData::m_Exponent) == 256);
static_assert(sizeof(PublicKeyData::m_X) == 256);
static_assert(sizeof(PublicKeyData::m_Y) == 256);

// The order of its fields is part of the interface.
static_assert(offsetof(PublicKeyData, m_KeyType) == 0);
static_assert(offsetof(PublicKeyData, m_KeyType) < offsetof(PublicKeyData, m_Modulus));
static_assert(offsetof(PublicKeyData, m_Modulus) < offsetof(PublicKeyData, m_ModulusLength));
static_assert(offsetof(PublicKeyData, m_ModulusLength) < offsetof(PublicKeyData, m_Exponent));
static_assert(offsetof(PublicKeyData, m_Exponent) < offsetof(PublicKeyData, m_ExponentLength));
static_assert(offsetof(PublicKeyData, m_ExponentLength) < offsetof(PublicKeyData, m_CoordinateLength));
static_assert(offsetof(PublicKeyData, m_CoordinateLength) < offsetof(PublicKeyData, m_X));
static_assert(offsetof(PublicKeyData, m_X) < offsetof(PublicKeyData, m_Y));
static_assert(offsetof(PublicKeyData, m_Y) < offsetof(PublicKeyData, m_CurveOid));

TEST(ParseKey, TakesASequenceForAnRsaKeyAndAllElseForAPoint) {
    EXPECT_EQ(Velmor::KEY_RSA, ParseKey(RsaKey({0x11}, {0x03}), 0).m_KeyType);
    Bytes point = Point(32);
    for (const int format : {0x04, 0x02, 0x00, 0x31, 0xff}) {
        point[0] = static_cast<unsigned char>(format);
        EXPECT_EQ(Velmor::KEY_ECC, ParseKey(point, 0).m_KeyType);
    }
    EXPECT_EQ(Velmor::KEY_RSA, ParseKey(Bytes{0xee} + RsaKey({0x11}, {0x03}), 1).m_KeyType);
    EXPECT_EQ((Bytes{0x11}), Modulus(ParseKey(Bytes{0xee} + RsaKey({0x11}, {0x03}), 1)));
}

TEST(ParseKey, ReadsTheKeysOfRealCertificates) {
    for (const TestKey kind : {TestKey::RSA1536, TestKey::RSA2048, TestKey::P192, TestKey::P256}) {
        const Velmor::slCertificate certificate = CertificateBuilder().Key(kind).Wrapped();
        Bytes value;
        ASSERT_TRUE(certificate.GetPublicKeyValue(value));
        const PublicKeyData key = ParseKey(value, 0);
        if (certificate.IsRsaKey()) {
            Bytes modulus;
            Bytes exponent;
            ASSERT_TRUE(certificate.GetRsaPubKeyComponents(modulus, exponent));
            EXPECT_EQ(modulus, Modulus(key));
            EXPECT_EQ(exponent, Exponent(key));
            ExpectNoEccFields(key);
        } else {
            const auto middle = value.begin() + 1 + key.m_CoordinateLength;
            EXPECT_EQ(DecimalOf(Bytes(value.begin() + 1, middle)), Text(key.m_X));
            EXPECT_EQ(DecimalOf(Bytes(middle, value.end())), Text(key.m_Y));
            EXPECT_EQ(kind == TestKey::P192 ? P192 : P256, key.m_CurveOid);
            ExpectNoRsaFields(key);
        }
    }
}

TEST(ParseKey, TheFormWithALengthReadsSoManyBytes) {
    Bytes rsa = RsaKey({0x11}, {0x03}) + Bytes{0xee};
    const int size = static_cast<int>(rsa.size()) - 1;
    EXPECT_EQ((Bytes{0x03}), Exponent(ParseKey(rsa.data(), 0, size)));
    EXPECT_EQ((Bytes{0x03}), Exponent(ParseRsaKey(rsa.data(), 0, size)));
    EXPECT_EQ((Bytes{}), Exponent(ParseRsaKey(rsa.data(), 0, size - 1)));
    Bytes point = Point(24) + Bytes{0xee};
    EXPECT_EQ(P192, ParseKey(point.data(), 0, 49).m_CurveOid);
    EXPECT_EQ(P192, ParseEccKey(point.data(), 0, 49).m_CurveOid);
    EXPECT_EQ(P256, ParseEccKey(point.data(), 0, 50).m_CurveOid);
}

TEST(ParseKey, TheFormWithALengthTakesNothingFromNowhere) {
    EXPECT_EQ(Velmor::KEY_ECC, ParseKey(nullptr, 0, 10).m_KeyType);
    unsigned char byte = 0x30;
    EXPECT_EQ(Velmor::KEY_ECC, ParseKey(&byte, 0, 0).m_KeyType);
    EXPECT_EQ(Velmor::KEY_ECC, ParseKey(&byte, 0, -1).m_KeyType);
    EXPECT_EQ(Velmor::KEY_RSA, ParseKey(&byte, 0, 1).m_KeyType);
}

TEST(ParseRsaKey, DropsTheSignByte) {
    const PublicKeyData key = ParseRsaKey(RsaKey({0x00, 0x80, 0x00, 0x01}, {0x01, 0x00, 0x01}), 0);
    EXPECT_EQ((Bytes{0x80, 0x00, 0x01}), Modulus(key));
    EXPECT_TRUE(IsZero(key.m_Modulus + 3, std::end(key.m_Modulus)));
    EXPECT_EQ((Bytes{0x01, 0x00, 0x01}), Exponent(key));
    EXPECT_TRUE(IsZero(key.m_Exponent + 3, std::end(key.m_Exponent)));
    ExpectNoEccFields(key);
}

TEST(ParseRsaKey, OfANumberOfZeroBytesIsEmpty) {
    const PublicKeyData key = ParseRsaKey(RsaKey({0x00, 0x00}, {0x00}), 0);
    ExpectNoRsaFields(key);
    EXPECT_EQ(Velmor::KEY_RSA, key.m_KeyType);
}

TEST(ParseRsaKey, TheLargestNumbersFillTheirFields) {
    const Bytes sign = {0x00};
    const PublicKeyData key = ParseRsaKey(RsaKey(sign + Bytes(512, 0xab), sign + Bytes(256, 0xcd)), 0);
    EXPECT_EQ(Bytes(512, 0xab), Modulus(key));
    EXPECT_EQ(Bytes(256, 0xcd), Exponent(key));
}

TEST(ParseRsaKey, NumbersLargerThanTheirFieldsAreRefused) {
    ExpectNoRsaFields(ParseRsaKey(RsaKey(Bytes(513, 0xab), {0x03}), 0));
    const PublicKeyData key = ParseRsaKey(RsaKey({0x11}, Bytes(257, 0xcd)), 0);
    EXPECT_EQ((Bytes{0x11}), Modulus(key));
    EXPECT_EQ((Bytes{}), Exponent(key));
    ExpectNoEccFields(key);
}

TEST(ParseRsaKey, WithoutASequenceSetsNothing) {
    for (const Bytes& data : {Bytes{}, Bytes{0x02, 0x01, 0x11}, Bytes{0x04}}) {
        const PublicKeyData key = ParseRsaKey(data, 0);
        ExpectNoRsaFields(key);
        ExpectNoEccFields(key);
    }
}

TEST(ParseRsaKey, StopsAtTheFirstThingThatIsNoInteger) {
    ExpectNoRsaFields(ParseRsaKey({0x30, 0x06, 0x04, 0x01, 0x11, 0x02, 0x01, 0x03}, 0));
    const PublicKeyData key = ParseRsaKey({0x30, 0x06, 0x02, 0x01, 0x11, 0x04, 0x01, 0x03}, 0);
    EXPECT_EQ((Bytes{0x11}), Modulus(key));
    EXPECT_EQ(0, key.m_ExponentLength);
}

TEST(ParseRsaKey, DoesNotUseTheLengthOfTheSequence) {
    for (const Bytes& header : {Bytes{0x30, 0x00}, Bytes{0x30, 0x7f}, Bytes{0x30, 0x81, 0xff}}) {
        const PublicKeyData key = ParseRsaKey(header + Integer({0x11}) + Integer({0x03}), 0);
        EXPECT_EQ((Bytes{0x11}), Modulus(key));
        EXPECT_EQ((Bytes{0x03}), Exponent(key));
    }
}

TEST(ParseRsaKey, OneThatIsCutOffAnywhereIsReadAsFarAsItGoes) {
    const Bytes whole = RsaKey(Bytes(200, 0xab), {0x01, 0x00, 0x01});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const PublicKeyData key = ParseRsaKey(Bytes(whole.data(), whole.data() + size), 0);
        const bool hasModulus = size >= whole.size() - 5;
        EXPECT_EQ(hasModulus ? 200 : 0, key.m_ModulusLength) << size;
        EXPECT_EQ(0, key.m_ExponentLength) << size;
    }
}

TEST(ParseEccKey, TellsTheCurveByTheSizeOfTheWholeData) {
    const struct {
        int m_Size;
        int m_Coordinate;
        const char* m_Curve;
    } table[] = {
        {49, 24, P192}, {65, 32, P256}, {133, 66, P256}, {97, 48, P256}, {50, 24, P256},
        {64, 31, P256}, {66, 32, P256}, {3, 1, P256},    {2, 0, P256},   {1, 0, P256},
    };
    for (const auto& row : table) {
        const PublicKeyData key = ParseEccKey(Bytes(row.m_Size, 0x04), 0);
        EXPECT_EQ(Velmor::KEY_ECC, key.m_KeyType);
        EXPECT_EQ(row.m_Coordinate, key.m_CoordinateLength) << row.m_Size;
        EXPECT_EQ(row.m_Curve, key.m_CurveOid) << row.m_Size;
        ExpectNoRsaFields(key);
    }
}

TEST(ParseEccKey, WritesTheCoordinatesInDecimalDigits) {
    for (const int coordinate : {1, 24, 32, 48, 66}) {
        const PublicKeyData key = ParseEccKey(Point(coordinate), 0);
        EXPECT_EQ(DecimalOf(Bytes(coordinate, 0x11)), Text(key.m_X));
        EXPECT_EQ(DecimalOf(Bytes(coordinate, 0x22)), Text(key.m_Y));
    }
}

TEST(ParseEccKey, AnOffsetMovesThePointButNotTheSize) {
    const PublicKeyData key = ParseEccKey(Bytes(16, 0xee) + Point(24), 16);
    EXPECT_EQ(32, key.m_CoordinateLength);
    EXPECT_EQ(P256, key.m_CurveOid);
    EXPECT_EQ(DecimalOf(Bytes(24, 0x11) + Bytes(8, 0x22)), Text(key.m_X));
    EXPECT_EQ("", Text(key.m_Y)); // cut off
}

TEST(ParseEccKey, OffsetsOutsideTheDataGiveEmptyCoordinates) {
    for (const int offset : {-1, 65, 66, 1000000, INT_MAX, INT_MIN}) {
        const PublicKeyData key = ParseEccKey(Point(32), offset);
        EXPECT_EQ(32, key.m_CoordinateLength);
        EXPECT_EQ("", Text(key.m_X));
        EXPECT_EQ("", Text(key.m_Y));
    }
    ExpectNoRsaFields(ParseRsaKey(RsaKey({0x11}, {0x03}), INT_MAX));
    ExpectNoRsaFields(ParseRsaKey(RsaKey({0x11}, {0x03}), -1));
}

TEST(ParseEccKey, TextThatDoesNotFitItsFieldLeavesItEmpty) {
    const struct {
        int m_Coordinate;
        bool m_Fits;
    } table[] = {{105, true}, {106, false}, {128, false}, {129, false}, {5000, false}};
    for (const auto& row : table) {
        const Bytes point = Bytes{0x04} + Bytes(row.m_Coordinate, 0xff) + Bytes(row.m_Coordinate, 0xff);
        const PublicKeyData key = ParseEccKey(point, 0);
        EXPECT_EQ(row.m_Coordinate, key.m_CoordinateLength);
        EXPECT_EQ(row.m_Fits ? DecimalOf(Bytes(row.m_Coordinate, 0xff)) : "", Text(key.m_X));
        EXPECT_EQ(row.m_Fits ? DecimalOf(Bytes(row.m_Coordinate, 0xff)) : "", Text(key.m_Y));
        EXPECT_EQ(P256, key.m_CurveOid); // the neighbour
    }
    const Bytes small = Bytes{0x04} + Bytes(128, 0x00) + Bytes(127, 0x00) + Bytes{0x07};
    EXPECT_EQ("0", Text(ParseEccKey(small, 0).m_X));
    EXPECT_EQ("7", Text(ParseEccKey(small, 0).m_Y));
}
