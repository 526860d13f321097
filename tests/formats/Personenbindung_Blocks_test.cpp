// SPDX-License-Identifier: MIT
#include "formats/Personenbindung.h"

#include "tests/formats/OpenRecord.h"
#include "tests/foundation/DefaultLog.h"

using Velmor::Personenbindung;

TEST(PersonenbindungBlocks, UpTo256BytesAreKeptAndLongerOnesPassedOver) {
    for (const std::size_t size : {255u, 256u, 257u, 1000u}) {
        OpenRecord record;
        EXPECT_TRUE(record.Parse(
            Structure(Tlv(0xa0, Bytes(size, 0x11)) + Tlv(0x30, Bytes(size, 0x22)) + Bits({0x51}))));
        const bool isKept = size <= 256;
        EXPECT_EQ(Padded(isKept ? Bytes(size, 0x11) : Bytes{}, 256), Content(record.m_PersonData));
        EXPECT_EQ(Padded(isKept ? Bytes(size, 0x22) : Bytes{}, 256), Content(record.m_CitizenPublicKey));
        EXPECT_EQ((Bytes{0x51}), Value(record, &Personenbindung::getSignatureValue));
    }
}

TEST(PersonenbindungBlocks, WalkingTheCitizenKeyChangesNothing) {
    const Bytes table[] = {
        {},
        {0xa0, 0x04, 0x02, 0x02, 0x01, 0x02},
        {0xa0, 0x02, 0xa0, 0x00, 0x02, 0x01, 0x05, 0xa0, 0x00, 0x02, 0x03, 0x01, 0x02},
        {0x06, 0x01, 0x2a},
        Bytes(256, 0xa0),
        Bytes(256, 0x02),
        Bytes(255, 0x04) + Bytes{0x02},
        Bytes(254, 0x02) + Bytes{0xa0, 0x82},
    };
    for (const Bytes& block : table) {
        const DefaultLog log;
        OpenRecord record;
        Bytes field = Padded(block, 256);
        EXPECT_TRUE(record._doCitizenPublicKey(field.data()));
        EXPECT_EQ(Padded(block, 256), field);
        ExpectEmpty(record);
        EXPECT_EQ(0, record.getVersion());
        EXPECT_EQ((Texts{}), log.Errors());
    }
}

TEST(PersonenbindungSignature, OneThatIsTooLongLeavesTheFieldEmptyAndItsLengthAt1024) {
    OpenRecord record;
    EXPECT_TRUE(record.Parse(Structure(Bits(Bytes(1024, 0x51)) + Tlv(0xa0, Bits({0xd1})) + TRAILER)));
    EXPECT_TRUE(IsEmpty(record.m_SignatureValue));
    EXPECT_EQ(1024, record.m_SignatureValueLength);
    EXPECT_EQ(Bytes(1024), Value(record, &Personenbindung::getSignatureValue));
    EXPECT_EQ((Bytes{0xd1}), Value(record, &Personenbindung::getReferenceDigest));
}

TEST(PersonenbindungSignature, TheLongestOneIsRead) {
    OpenRecord record;
    EXPECT_TRUE(record.Parse(Structure(Bits(Bytes(1023, 0x51)))));
    EXPECT_EQ(Bytes(1023, 0x51), Value(record, &Personenbindung::getSignatureValue));
}

TEST(PersonenbindungSignature, OneWithUnusedBitsLeavesTheFieldEmptyAndItsLengthSet) {
    OpenRecord record;
    EXPECT_TRUE(record.Parse(Structure({0x03, 0x03, 0x04, 0xaa, 0xb0})));
    EXPECT_TRUE(IsEmpty(record.m_SignatureValue));
    EXPECT_EQ(2, record.m_SignatureValueLength);
}

TEST(PersonenbindungDigests, EachIsLookedForInOrder) {
    const Bytes first = Tlv(0xa0, Bits({0xd1}));
    const Bytes second = Tlv(0xa1, Bits({0xd2}));
    const Bytes third = Tlv(0xa2, Bits({0xd3}));
    const struct {
        Bytes m_Given;
        Bytes m_Digests[3];
    } table[] = {
        {first + second + third, {{0xd1}, {0xd2}, {0xd3}}},
        {second + third, {{}, {0xd2}, {0xd3}}},
        {first + third, {{0xd1}, {}, {0xd3}}},
        {third, {{}, {}, {0xd3}}},
        {third + second + first, {{}, {}, {0xd3}}},
        {second + first, {{}, {0xd2}, {}}},
        {Bytes{0x05, 0x00} + first, {{}, {}, {}}},
    };
    for (const auto& row : table) {
        OpenRecord record;
        EXPECT_TRUE(record.Parse(Structure(Person({"base"}) + Bits({0x51}) + row.m_Given + TRAILER)));
        EXPECT_EQ(row.m_Digests[0], Value(record, &Personenbindung::getReferenceDigest));
        EXPECT_EQ(row.m_Digests[1], Value(record, &Personenbindung::getReferenceManifestDigest));
        EXPECT_EQ(row.m_Digests[2], Value(record, &Personenbindung::getManifestReferenceDigest));
    }
}

TEST(PersonenbindungDigests, AWrapperWithoutABitStringLeavesTheReaderAtItsContent) {
    OpenRecord record;
    const Bytes third = Tlv(0xa2, Bits({0xd3}));
    EXPECT_TRUE(record.Parse(Structure(Bits({0x51}) + Tlv(0xa1, third) + TRAILER)));
    EXPECT_EQ(0, record.m_ReferenceManifestDigestLength);
    EXPECT_EQ((Bytes{0xd3}), Value(record, &Personenbindung::getManifestReferenceDigest));
    OpenRecord other;
    EXPECT_TRUE(other.Parse(Structure(Bits({0x51}) + Tlv(0xa1, {0x04, 0x01, 0x00}) + third + TRAILER)));
    EXPECT_EQ(0, other.m_ManifestReferenceDigestLength);
}

/// A digest of four bytes that cannot be read: the length of its field tells whether it was looked at.
const Bytes BAD_DIGEST0 = {0xa0, 0x02, 0x03, 0x00};
const Bytes BAD_DIGEST1 = {0xa1, 0x02, 0x03, 0x00};

TEST(PersonenbindungDigests, OneThatBeginsInTheLastBytesIsNotLookedAt) {
    // Positions count the header of the structure, its end does not.
    const struct {
        std::size_t m_SignatureSize;
        std::size_t m_HeaderSize;
        Bytes m_Digest;
        int m_Length;
    } table[] = {
        {1, 2, BAD_DIGEST0, 0},    {1, 2, {0xa0, 0x00}, 20},
        {150, 3, BAD_DIGEST0, 0},  {150, 3, {0xa0, 0x01, 0x03}, 20},
        {300, 4, BAD_DIGEST0, 20}, {300, 4, {0xa0, 0x03, 0x03, 0x01, 0x00}, 0},
    };
    for (const auto& row : table) {
        const Bytes content = Bits(Bytes(row.m_SignatureSize, 0x51)) + row.m_Digest;
        const Bytes whole = Structure(content);
        ASSERT_EQ(row.m_HeaderSize, whole.size() - content.size());
        OpenRecord record;
        ASSERT_TRUE(record.Parse(WholeRecord()));
        ASSERT_TRUE(record.Parse(whole));
        EXPECT_EQ(row.m_Length, record.m_ReferenceDigestLength) << testing::PrintToString(row.m_Digest);
    }
}

TEST(PersonenbindungDigests, OneThatIsTooLongLeavesTheFieldEmptyAndItsLengthAt256) {
    OpenRecord record;
    EXPECT_TRUE(record.Parse(Structure(Bits({0x51}) + Tlv(0xa0, Bits(Bytes(256, 0xd1))) +
                                       Tlv(0xa1, Bits(Bytes(255, 0xd2))) + TRAILER)));
    EXPECT_TRUE(IsEmpty(record.m_ReferenceDigest));
    EXPECT_EQ(256, record.m_ReferenceDigestLength);
    EXPECT_EQ(Bytes(255, 0xd2), Value(record, &Personenbindung::getReferenceManifestDigest));
}

TEST(PersonenbindungDigests, TheEndIsLookedForBehindEachOne) {
    OpenRecord record;
    ASSERT_TRUE(record.Parse(WholeRecord()));
    ASSERT_TRUE(record.Parse(Structure(Bits(Bytes(300, 0x51)) + Tlv(0xa0, Bits({0xd1})) + BAD_DIGEST1)));
    EXPECT_EQ((Bytes{0xd1}), Value(record, &Personenbindung::getReferenceDigest));
    EXPECT_EQ(32, record.m_ReferenceManifestDigestLength);
    ASSERT_TRUE(record.Parse(Structure(Bits({0x51}) + Tlv(0xa0, Bits({0xd1})) + BAD_DIGEST1)));
    EXPECT_EQ(0, record.m_ReferenceManifestDigestLength);
}

TEST(PersonenbindungHostile, ValuesThatOverrunTheDataAreRefused) {
    const Bytes table[] = {
        {0x02},
        {0x02, 0x01},
        {0x02, 0x02, 0x01},
        {0x0c},
        {0x0c, 0x7f, 'A'},
        {0x0c, 0x82, 0x01},
        {0xa0, 0x05, 0x30},
        {0x30, 0x81},
        {0x30, 0x84, 0x00},
        {0x03, 0x20, 0x00},
        {0x03, 0x82, 0xff, 0xff},
        Bytes(16, 0x0c), // texts of 12 bytes each
    };
    for (const Bytes& content : table) {
        const DefaultLog log;
        OpenRecord record;
        EXPECT_FALSE(record.Parse(Bytes{0x30, 0x00} + content)) << testing::PrintToString(content);
        EXPECT_EQ(BAD_LENGTH, log.Errors());
        ExpectEmpty(record);
    }
}

TEST(PersonenbindungHostile, ARecordThatIsCutOffAnywhereIsRefusedOrReadAsFarAsItGoes) {
    const Bytes whole = WholeRecord();
    int refused = 0;
    for (std::size_t size = 4; size < whole.size(); ++size) {
        Bytes cut(whole.data(), whole.data() + size); // in storage of exactly this size
        OpenRecord record;
        EXPECT_FALSE(record.Parse(cut));
        cut[2] = static_cast<unsigned char>(size >> 8); // a length that passes
        cut[3] = static_cast<unsigned char>(size);
        if (!record.Parse(cut)) {
            ++refused;
            ExpectEmpty(record);
        }
    }
    EXPECT_LT(static_cast<int>(whole.size()) * 9 / 10, refused);
}
