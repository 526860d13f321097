// SPDX-License-Identifier: MIT
#include "formats/Personenbindung.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/foundation/DefaultLog.h"

using Velmor::Personenbindung;
using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;

namespace {

const Texts NO_DATA = {"Keine Personenbindungsdaten"};
const Texts BAD_LENGTH = {"Fehler beim Lesen der Personenbindung Lnge passt nicht"};
const Texts NO_PERSON_DATA = {"Personenbindung::_doPersonData keine Sequence"};

/// A record whose fields are within reach.
class OpenRecord : public Personenbindung {
public:
    bool Parse(Bytes data) { return parse(data.data(), static_cast<int>(data.size())); }

    Texts Names() const { return {m_BaseId, m_GivenName, m_FamilyName, m_DateOfBirth}; }
    Texts Head() const { return {m_IssuerTemplate, m_AssertionID, m_IssueInstant}; }

    using Personenbindung::m_CitizenPublicKey;
    using Personenbindung::m_ManifestReferenceDigest;
    using Personenbindung::m_ManifestReferenceDigestLength;
    using Personenbindung::m_PersonData;
    using Personenbindung::m_ReferenceDigest;
    using Personenbindung::m_ReferenceDigestLength;
    using Personenbindung::m_ReferenceManifestDigest;
    using Personenbindung::m_ReferenceManifestDigestLength;
    using Personenbindung::m_SignatureValue;
    using Personenbindung::m_SignatureValueLength;
    using Personenbindung::m_Version;
};

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// Tag, length in its shortest form, content.
Bytes Tlv(unsigned char tag, const Bytes& content) {
    const std::size_t size = content.size();
    const auto low = static_cast<unsigned char>(size);
    if (size < 128) {
        return Bytes{tag, low} + content;
    }
    return (size < 256 ? Bytes{tag, 0x81, low}
                       : Bytes{tag, 0x82, static_cast<unsigned char>(size >> 8), low}) +
           content;
}

Bytes Text(const std::string& text) {
    return Tlv(0x0c, Bytes(text.begin(), text.end()));
}

Bytes Bits(const Bytes& content) {
    return Tlv(0x03, Bytes{0x00} + content);
}

Bytes Structure(const Bytes& content) {
    return Tlv(0x30, content);
}

Bytes Person(const Texts& names) {
    Bytes content;
    for (const std::string& name : names) {
        content = content + Text(name);
    }
    return Tlv(0xa0, Tlv(0x30, content));
}

/// Long enough for the digests behind it to lie before the end that the reader takes for the end.
const Bytes TRAILER = Bytes(8, 0x05);

const Bytes CITIZEN_KEY = {0x30, 0x06, 0xa0, 0x04, 0x02, 0x02, 0x01, 0x02};

Bytes WholeRecord() {
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

void ExpectEmpty(const OpenRecord& record) {
    EXPECT_EQ(Texts(4), record.Names());
    EXPECT_EQ(Texts(3), record.Head());
    EXPECT_TRUE(IsEmpty(record.m_PersonData));
    EXPECT_TRUE(IsEmpty(record.m_CitizenPublicKey));
    EXPECT_TRUE(IsEmpty(record.m_SignatureValue));
    EXPECT_TRUE(IsEmpty(record.m_ReferenceDigest));
    EXPECT_TRUE(IsEmpty(record.m_ReferenceManifestDigest));
    EXPECT_TRUE(IsEmpty(record.m_ManifestReferenceDigest));
}

Bytes Value(const OpenRecord& record, void (Personenbindung::*get)(unsigned char*, int&) const) {
    Bytes out(1024);
    int size = -1;
    (record.*get)(out.data(), size);
    out.resize(size);
    return out;
}

Bytes Padded(const Bytes& content, std::size_t size) {
    return content + Bytes(size - content.size());
}

} // namespace

TEST(Personenbindung, ANewRecordIsEmpty) {
    const OpenRecord record;
    ExpectEmpty(record);
    EXPECT_EQ(0, record.getVersion());
    EXPECT_EQ((Bytes{}), Value(record, &Personenbindung::getSignatureValue));
    EXPECT_EQ((Bytes{}), Value(record, &Personenbindung::getReferenceDigest));
    EXPECT_EQ((Bytes{}), Value(record, &Personenbindung::getReferenceManifestDigest));
    EXPECT_EQ((Bytes{}), Value(record, &Personenbindung::getManifestReferenceDigest));
}

TEST(Personenbindung, AWholeRecordIsRead) {
    const DefaultLog log;
    OpenRecord record;
    ASSERT_TRUE(record.Parse(WholeRecord()));
    EXPECT_EQ(1, record.getVersion());
    EXPECT_EQ("template", record.getIssuerTemplate());
    EXPECT_EQ("assertion", record.getAssertionID());
    EXPECT_EQ("2016-05-04", record.getIssueInstant());
    EXPECT_EQ("base", record.getBaseId());
    EXPECT_EQ("Jörg", record.getGivenName());
    EXPECT_EQ("Müller", record.getFamilyName());
    EXPECT_EQ("1970-01-31", record.getDateOfBirth());
    EXPECT_EQ(Bytes(128, 0x51), Value(record, &Personenbindung::getSignatureValue));
    EXPECT_EQ(Bytes(20, 0xd1), Value(record, &Personenbindung::getReferenceDigest));
    EXPECT_EQ(Bytes(32, 0xd2), Value(record, &Personenbindung::getReferenceManifestDigest));
    EXPECT_EQ(Bytes(64, 0xd3), Value(record, &Personenbindung::getManifestReferenceDigest));
    EXPECT_EQ(Padded(Bytes(CITIZEN_KEY.begin() + 2, CITIZEN_KEY.end()), 256),
              Content(record.m_CitizenPublicKey));
    EXPECT_EQ((Texts{}), log.Errors());
}

TEST(Personenbindung, AnEmptyStructureIsARecordWithNothingInIt) {
    const DefaultLog log;
    OpenRecord record;
    EXPECT_TRUE(record.Parse({0x30, 0x00}));
    ExpectEmpty(record);
    EXPECT_EQ(0, record.getVersion());
    EXPECT_EQ(NO_PERSON_DATA, log.Errors());
}

TEST(Personenbindung, DataThatIsNoSequenceIsRefused) {
    for (const Bytes& data : {Bytes{}, Bytes{0x31, 0x00}, Bytes{0x00}, Bytes{0x0c, 0x01, 'A'}}) {
        const DefaultLog log;
        OpenRecord record;
        EXPECT_FALSE(record.Parse(data));
        EXPECT_EQ(NO_DATA, log.Errors());
        ExpectEmpty(record);
    }
    const DefaultLog log;
    OpenRecord record;
    EXPECT_FALSE(record.parse(nullptr, 100));
    EXPECT_EQ(NO_DATA, log.Errors());
}

TEST(Personenbindung, ALengthAboveTheSizeOfTheDataIsRefused) {
    Bytes data = {0x30, 0x82, 0xff, 0xff};
    data.resize(100);
    for (const Bytes& given : {data, Bytes{0x30, 0x03}, Bytes{0x30}, Bytes{0x30, 0x82, 0x00}}) {
        const DefaultLog log;
        OpenRecord record;
        EXPECT_FALSE(record.Parse(given));
        EXPECT_EQ(BAD_LENGTH, log.Errors());
        ExpectEmpty(record);
    }
}

TEST(Personenbindung, ALengthEqualToTheSizeOfTheDataPasses) {
    OpenRecord record;
    EXPECT_TRUE(record.Parse({0x30, 0x02}));
}

TEST(Personenbindung, AFailedParseEmptiesTheRecordButKeepsItsNumbers) {
    OpenRecord record;
    ASSERT_TRUE(record.Parse(WholeRecord()));
    EXPECT_FALSE(record.Parse({0x31}));
    ExpectEmpty(record);
    EXPECT_EQ(1, record.m_Version);
    EXPECT_EQ(128, record.m_SignatureValueLength);
    EXPECT_EQ(20, record.m_ReferenceDigestLength);
    EXPECT_EQ(32, record.m_ReferenceManifestDigestLength);
    EXPECT_EQ(64, record.m_ManifestReferenceDigestLength);
}

TEST(Personenbindung, MemSetNullKeepsTheNumbers) {
    OpenRecord record;
    ASSERT_TRUE(record.Parse(WholeRecord()));
    record.MemSetNull();
    ExpectEmpty(record);
    EXPECT_EQ(1, record.m_Version);
    EXPECT_EQ(128, record.m_SignatureValueLength);
    EXPECT_EQ(64, record.m_ManifestReferenceDigestLength);
}

TEST(Personenbindung, ASecondParseStartsAfresh) {
    OpenRecord record;
    ASSERT_TRUE(record.Parse(WholeRecord()));
    EXPECT_TRUE(record.Parse(Structure(Person({"other"}))));
    EXPECT_EQ((Texts{"other", "", "", ""}), record.Names());
    EXPECT_EQ(Texts(3), record.Head());
    EXPECT_TRUE(IsEmpty(record.m_SignatureValue));
}

TEST(Personenbindung, TheDestructorWipesTheIdentity) {
    alignas(OpenRecord) unsigned char memory[sizeof(OpenRecord)];
    auto* record = new (memory) OpenRecord;
    ASSERT_TRUE(record->Parse(WholeRecord()));
    const auto holds = [&memory](const std::string& word) {
        const Bytes text(word.begin(), word.end());
        return std::search(std::begin(memory), std::end(memory), text.begin(), text.end()) !=
               std::end(memory);
    };
    EXPECT_TRUE(holds("Müller"));
    record->~OpenRecord();
    for (const char* text : {"base", "Jörg", "Müller", "1970-01-31", "template", "assertion", "2016-05-04",
                             "QQQQ", "\xd1\xd1\xd1", "\xd2\xd2\xd2", "\xd3\xd3\xd3"}) {
        EXPECT_FALSE(holds(text)) << text;
    }
}

TEST(PersonenbindungVersion, IsOneByteUnlessItsLengthIsTwo) {
    const struct {
        Bytes m_Given;
        int m_Version;
    } table[] = {
        {{0x02, 0x02, 0x01, 0x00}, 256}, {{0x02, 0x02, 0xff, 0xfe}, 0xfffe},  {{0x02, 0x01, 0x05}, 5},
        {{0x02, 0x01, 0xff}, 255},       {{0x02, 0x03, 0x01, 0x02, 0x03}, 1}, {{0x02, 0x00, 0x07}, 7},
        {{0x02, 0x82, 0x09}, 9},
    };
    for (const auto& row : table) {
        OpenRecord record;
        EXPECT_TRUE(record.Parse(Structure(row.m_Given)));
        EXPECT_EQ(row.m_Version, record.getVersion()) << testing::PrintToString(row.m_Given);
    }
}

TEST(PersonenbindungVersion, BehindALongerOneTheReaderStandsAtItsSecondByte) {
    OpenRecord record;
    // The second byte is taken for the tag of the next text.
    EXPECT_TRUE(record.Parse(Structure({0x02, 0x03, 0x01, 0x0c, 0x02, 'A', 'B'})));
    EXPECT_EQ((Texts{"AB", "", ""}), record.Head());
    OpenRecord stuck;
    EXPECT_TRUE(stuck.Parse(Structure(Bytes{0x02, 0x03, 0x01, 0x02, 0x03} + Text("template"))));
    EXPECT_EQ(Texts(3), stuck.Head());
}

TEST(PersonenbindungHead, EachTextIsReadOnlyBehindTheOneBefore) {
    const struct {
        Texts m_Given;
        Texts m_Head;
    } table[] = {
        {{}, {"", "", ""}},
        {{"a"}, {"a", "", ""}},
        {{"a", "b"}, {"a", "b", ""}},
        {{"a", "b", "c"}, {"a", "b", "c"}},
    };
    for (const auto& row : table) {
        Bytes content;
        for (const std::string& text : row.m_Given) {
            content = content + Text(text);
        }
        OpenRecord record;
        EXPECT_TRUE(record.Parse(Structure(content + Person({"base"}))));
        EXPECT_EQ(row.m_Head, record.Head());
        EXPECT_EQ("base", record.getBaseId());
    }
}

TEST(PersonenbindungHead, AFourthTextEndsTheReading) {
    OpenRecord record;
    EXPECT_TRUE(record.Parse(Structure(Text("a") + Text("b") + Text("c") + Text("d") + Person({"base"}))));
    EXPECT_EQ((Texts{"a", "b", "c"}), record.Head());
    EXPECT_EQ("", record.getBaseId());
}

TEST(PersonenbindungPersonData, IsSplitAsFarAsItsTextsGo) {
    const struct {
        Bytes m_Block;
        Texts m_Names;
    } table[] = {
        {{0x30, 0x05, 0x0c, 0x03, 0x41, 0x42, 0x43}, {"ABC", "", "", ""}},
        {Tlv(0x30, Text("a") + Text("b")), {"a", "b", "", ""}},
        {Tlv(0x30, Text("a") + Text("b") + Text("c")), {"a", "b", "c", ""}},
        {Tlv(0x30, Text("a") + Text("b") + Text("c") + Text("d")), {"a", "b", "c", "d"}},
        {Tlv(0x30, Text("a") + Text("b") + Text("c") + Text("d") + Text("e")), {"a", "b", "c", "d"}},
        {Tlv(0x30, Text("a") + Bytes{0x13, 0x01, 'b'} + Text("c")), {"a", "", "", ""}},
        {Tlv(0x30, Bytes{0x13, 0x01, 'a'} + Text("b")), {"", "", "", ""}},
        {{0x30, 0x00}, {"", "", "", ""}},
        // The sequence's own length is not used.
        {Bytes{0x30, 0x00} + Text("a"), {"a", "", "", ""}},
        // A longer form of the length hides all names.
        {Bytes{0x30, 0x81, 0x03} + Text("a"), {"", "", "", ""}},
        {Bytes{0x30, 0x82, 0x00, 0x03} + Text("a"), {"", "", "", ""}},
    };
    for (const auto& row : table) {
        const DefaultLog log;
        OpenRecord record;
        EXPECT_TRUE(record.Parse(Structure(Tlv(0xa0, row.m_Block))));
        EXPECT_EQ(row.m_Names, record.Names()) << testing::PrintToString(row.m_Block);
        EXPECT_EQ(Padded(row.m_Block, 256), Content(record.m_PersonData));
        EXPECT_EQ((Texts{}), log.Errors());
        Bytes block = Padded(row.m_Block, 256);
        OpenRecord step;
        EXPECT_TRUE(step._doPersonData(block.data()));
        EXPECT_EQ(row.m_Names, step.Names());
    }
}

TEST(PersonenbindungPersonData, ThatIsNoSequenceIsLoggedAndTheParseGoesOn) {
    const DefaultLog log;
    OpenRecord record;
    EXPECT_TRUE(record.Parse(Structure(Tlv(0xa0, Text("a")) + Bits({0x51}))));
    EXPECT_EQ(Texts(4), record.Names());
    EXPECT_EQ((Bytes{0x51}), Value(record, &Personenbindung::getSignatureValue));
    EXPECT_EQ(NO_PERSON_DATA, log.Errors());
    Bytes block(256);
    EXPECT_FALSE(record._doPersonData(block.data()));
}

TEST(PersonenbindungPersonData, ATextThatOverrunsTheBlockIsRefused) {
    const DefaultLog log;
    Bytes block = Padded(Bytes{0x30, 0x00} + Text("a") + Bytes{0x0c, 0x81, 0xff}, 256);
    OpenRecord record;
    EXPECT_FALSE(record._doPersonData(block.data()));
    EXPECT_EQ((Texts{"a", "", "", ""}), record.Names());
    EXPECT_EQ(NO_PERSON_DATA, log.Errors());
}

TEST(PersonenbindungPersonData, ATextMayEndWithTheBlock) {
    Bytes block = Bytes{0x30, 0x00, 0x0c, 0x81, 251} + Bytes(251, 'x');
    ASSERT_EQ(256u, block.size());
    OpenRecord record;
    EXPECT_TRUE(record._doPersonData(block.data()));
    EXPECT_EQ(std::string(251, 'x'), record.getBaseId());
}

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
        Bytes cut(whole.begin(), whole.begin() + size); // in storage of exactly this size
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
