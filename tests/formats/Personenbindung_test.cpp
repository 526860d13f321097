// SPDX-License-Identifier: MIT
#include "formats/Personenbindung.h"

#include <algorithm>
#include <new>

#include "tests/formats/OpenRecord.h"
#include "tests/foundation/DefaultLog.h"

using Velmor::Personenbindung;

namespace {

const Texts NO_DATA = {"Keine Personenbindungsdaten"};
const Texts NO_PERSON_DATA = {"Personenbindung::_doPersonData keine Sequence"};

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
    alignas(OpenRecord) unsigned char memory[sizeof(OpenRecord)] = {};
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
