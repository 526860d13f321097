// SPDX-License-Identifier: MIT
#include "formats/InfoboxFS.h"

#include <climits>
#include <cstddef>
#include <type_traits>

#include <gtest/gtest.h>

using LibInfobox::InfoboxFS;
using LibInfobox::InfoboxFSEntry;
using Velmor::ByteArray;
using Bytes = std::vector<unsigned char>;

namespace {

/// A container whose slots are within reach.
class OpenInfobox : public InfoboxFS {
public:
    using InfoboxFS::m_Entries;
};

ByteArray File(const Bytes& entries, unsigned char version = 1) {
    ByteArray file(Bytes{0x56, 0x49, 0x4b, version});
    file.Add(entries);
    return file;
}

/// The entries of a container as the writer writes them.
Bytes Written(const InfoboxFS& infobox) {
    ByteArray file;
    EXPECT_TRUE(infobox.GetCompleteFile(file));
    EXPECT_EQ((Bytes{0x56, 0x49, 0x4b, 1}), Bytes(file.begin(), file.begin() + 4));
    return Bytes(file.begin() + 4, file.end());
}

void Add(InfoboxFS& infobox, unsigned char tag, unsigned char attributes, const Bytes& data) {
    ByteArray bytes(data);
    EXPECT_TRUE(infobox.AddEntry(tag, attributes, bytes));
}

} // namespace

static_assert(std::has_virtual_destructor_v<InfoboxFS>);
static_assert(std::is_base_of_v<LibInfobox::Uncopyable, InfoboxFS>);
static_assert(!std::is_copy_constructible_v<InfoboxFS> && !std::is_copy_assignable_v<InfoboxFS>);
static_assert(!std::is_polymorphic_v<InfoboxFSEntry>);
static_assert(LibInfobox::PERSONENBINDUNG_INDEX == 1 && LibInfobox::RFU1_INDEX == 2 &&
              LibInfobox::RFU2_INDEX == 3 && LibInfobox::INFOBOX_ATTR_ENCRYPTED == 1);

TEST(InfoboxFsEntry, ANewOneIsEmpty) {
    static_assert(offsetof(InfoboxFSEntry, m_Tag) == 0);
    static_assert(offsetof(InfoboxFSEntry, m_Tag) < offsetof(InfoboxFSEntry, m_Attributes));
    static_assert(offsetof(InfoboxFSEntry, m_Attributes) < offsetof(InfoboxFSEntry, m_Data));
    const InfoboxFSEntry entry;
    EXPECT_EQ(0, entry.m_Tag);
    EXPECT_EQ(0, entry.m_Attributes);
    EXPECT_TRUE(entry.m_Data.empty());
}

TEST(InfoboxFsReader, AcceptsTheHeadAlone) {
    for (const int version : {0, 1}) {
        InfoboxFS infobox;
        ByteArray file = File({}, static_cast<unsigned char>(version));
        EXPECT_TRUE(infobox.ParseInfoboxData(file));
        EXPECT_EQ(0, infobox.GetEntryCount());
    }
}

TEST(InfoboxFsReader, RefusesWhatIsNoInfoboxFile) {
    const Bytes entry = {1, 0, 1, 0, 0xaa};
    const Bytes table[] = {
        {},
        {0x56},
        {0x56, 0x49},
        {0x56, 0x49, 0x4b},
        {0x57, 0x49, 0x4b, 1},
        {0x56, 0x4a, 0x4b, 1},
        {0x56, 0x49, 0x4c, 1},
        {0x56, 0x49, 0x4b, 2},
        {0x56, 0x49, 0x4b, 0xff},
    };
    for (const Bytes& head : table) {
        ByteArray file(head);
        InfoboxFS infobox;
        EXPECT_FALSE(infobox.ParseInfoboxData(file));
        if (head.size() == 4) {
            file.Add(entry);
            EXPECT_FALSE(infobox.ParseInfoboxData(file));
        }
        EXPECT_EQ(0, infobox.GetEntryCount());
    }
}

TEST(InfoboxFsReader, ReadsEntriesOneBehindTheOther) {
    const struct {
        Bytes m_Entries;
        bool m_Result;
        Bytes m_Kept;
    } table[] = {
        // An entry that ends exactly with the file.
        {{1, 0, 2, 0, 0xaa, 0xbb}, true, {1, 0, 2, 0, 0xaa, 0xbb}},
        // A head that does is not read.
        {{1, 0, 0, 0}, true, {}},
        {{1, 0, 0, 0, 0}, true, {1, 0, 0, 0}},
        {{1, 0, 0}, true, {}},
        {{1}, true, {}},
        {{1, 0, 1, 0, 0xaa, 2, 1, 0, 0}, true, {1, 0, 1, 0, 0xaa}},
        {{1, 0, 1, 0, 0xaa, 2, 1, 0, 0, 0}, true, {1, 0, 1, 0, 0xaa, 2, 1, 0, 0}},
        // Attribute bits are carried as they stand.
        {{200, 0xff, 1, 0, 0xaa, 3, 0x80, 1, 0, 0xbb}, true, {200, 0xff, 1, 0, 0xaa, 3, 0x80, 1, 0, 0xbb}},
        // An overrunning entry; the ones before it stay.
        {{1, 0, 5, 0, 0xaa}, false, {}},
        {{1, 0, 2, 0, 0xaa}, false, {}},
        {{1, 0, 0, 1, 0xaa}, false, {}},
        {{1, 0, 0xff, 0xff, 0xaa}, false, {}},
        {{1, 0, 1, 0, 0xaa, 2, 0, 2, 0, 0xbb}, false, {1, 0, 1, 0, 0xaa}},
        // A tag of 0 ends the list.
        {{0, 1, 2, 3, 4, 5, 6}, true, {}},
        {{0, 0, 0, 0, 0}, true, {}},
        {{1, 0, 1, 0, 0xaa, 0, 0xff, 0xff, 0xff, 0xff, 0xff}, true, {1, 0, 1, 0, 0xaa}},
        // Duplicates are kept.
        {{2, 0, 1, 0, 0xaa, 2, 1, 1, 0, 0xbb}, true, {2, 0, 1, 0, 0xaa, 2, 1, 1, 0, 0xbb}},
    };
    for (const auto& row : table) {
        InfoboxFS infobox;
        ByteArray file = File(row.m_Entries);
        EXPECT_EQ(row.m_Result, infobox.ParseInfoboxData(file)) << testing::PrintToString(row.m_Entries);
        EXPECT_EQ(row.m_Kept, Written(infobox));
    }
}

TEST(InfoboxFsReader, TheLengthHasItsLowByteFirst) {
    Bytes entries = {1, 0, 0x02, 0x01};
    entries.resize(4 + 258, 0xaa);
    ByteArray file = File(entries);
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.ParseInfoboxData(file));
    unsigned char attributes = 0;
    ByteArray data;
    ASSERT_TRUE(infobox.GetEntry(1, attributes, data));
    EXPECT_EQ(Bytes(258, 0xaa), data);
    EXPECT_EQ(entries, Written(infobox));
}

TEST(InfoboxFsReader, AppendsToWhatIsThere) {
    InfoboxFS infobox;
    Add(infobox, 9, 0, {0x11});
    ByteArray file = File({1, 0, 1, 0, 0xaa});
    EXPECT_TRUE(infobox.ParseInfoboxData(file));
    EXPECT_TRUE(infobox.ParseInfoboxData(file));
    EXPECT_EQ((Bytes{9, 1, 1}), infobox.GetTagList());
}

TEST(InfoboxFsReader, KeepsACopyOfTheData) {
    InfoboxFS infobox;
    ByteArray file = File({1, 0, 1, 0, 0xaa});
    EXPECT_TRUE(infobox.ParseInfoboxData(file));
    file.assign(file.size(), 0);
    EXPECT_EQ((Bytes{1, 0, 1, 0, 0xaa}), Written(infobox));
}

TEST(InfoboxFsReader, BeginsAtAnyPosition) {
    const struct {
        unsigned long m_Position;
        bool m_Result;
        Bytes m_Tags;
    } table[] = {
        {0, true, {1, 2}},
        {5, true, {2}},
        {6, true, {}},
        {9, true, {}},
        {10, true, {}},
        {11, true, {}},
        {ULONG_MAX - 3, true, {}},
        {ULONG_MAX, true, {}},
    };
    for (const auto& row : table) {
        InfoboxFS infobox;
        ByteArray fields(Bytes{1, 0, 1, 0, 0xaa, 2, 0, 1, 0, 0xbb});
        EXPECT_EQ(row.m_Result, infobox.ReadDataField(fields, row.m_Position)) << row.m_Position;
        EXPECT_EQ(row.m_Tags, infobox.GetTagList()) << row.m_Position;
    }
}

TEST(InfoboxFsReader, AFileShorterThanAHeadHasNoFields) {
    for (unsigned int size = 0; size <= 4; ++size) {
        InfoboxFS infobox;
        ByteArray fields(Bytes(size, 0x01));
        EXPECT_TRUE(infobox.ReadDataField(fields, 0));
        EXPECT_EQ(0, infobox.GetEntryCount());
    }
}

TEST(InfoboxFsReader, HowManyEntriesThereAreIsNoMatterOfTheStack) {
    Bytes entries;
    for (int i = 0; i < 500000; ++i) {
        entries.insert(entries.end(), {1, 0, 0, 0});
    }
    entries.push_back(0);
    ByteArray file = File(entries);
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.ParseInfoboxData(file));
    EXPECT_EQ(500000, infobox.GetEntryCount());
}

TEST(InfoboxFsWriter, AnEmptyContainerIsTheHeadAlone) {
    const InfoboxFS infobox;
    ByteArray file;
    EXPECT_TRUE(infobox.GetCompleteFile(file));
    EXPECT_EQ((Bytes{0x56, 0x49, 0x4b, 0x01}), file);
}

TEST(InfoboxFsWriter, AppendsToTheOutput) {
    InfoboxFS infobox;
    Add(infobox, 3, 1, {0xaa});
    ByteArray file(Bytes{0xee});
    EXPECT_TRUE(infobox.GetCompleteFile(file));
    EXPECT_EQ((Bytes{0xee, 0x56, 0x49, 0x4b, 1, 3, 1, 1, 0, 0xaa}), file);
}

TEST(InfoboxFsWriter, WritesTheNewestVersionWhateverWasRead) {
    InfoboxFS infobox;
    ByteArray file = File({1, 0, 1, 0, 0xaa}, 0);
    EXPECT_TRUE(infobox.ParseInfoboxData(file));
    EXPECT_EQ((Bytes{1, 0, 1, 0, 0xaa}), Written(infobox));
}

TEST(InfoboxFsWriter, DataAboveTheLimitGetsTheLowBitsOfItsLength) {
    InfoboxFS infobox;
    Add(infobox, 1, 0, Bytes(0x10002, 0xaa));
    const Bytes written = Written(infobox);
    ASSERT_EQ(4u + 0x10002u, written.size());
    EXPECT_EQ((Bytes{1, 0, 0x02, 0x00}), Bytes(written.begin(), written.begin() + 4));
}

TEST(InfoboxFsWriter, WhatItWritesIsReadBack) {
    InfoboxFS infobox;
    Add(infobox, 1, 0, Bytes(65535, 0xaa));
    Add(infobox, 2, 1, {});
    Add(infobox, 3, 0xfe, {1, 2, 3});
    ByteArray file;
    EXPECT_TRUE(infobox.GetCompleteFile(file));
    InfoboxFS copy;
    EXPECT_TRUE(copy.ParseInfoboxData(file));
    EXPECT_EQ(Written(infobox), Written(copy));
}

TEST(InfoboxFsEntries, AddingAnotherTagAppends) {
    InfoboxFS infobox;
    Add(infobox, 2, 0, {0xaa});
    Add(infobox, 1, 1, {});
    EXPECT_EQ(2, infobox.GetEntryCount());
    EXPECT_EQ((Bytes{2, 0, 1, 0, 0xaa, 1, 1, 0, 0}), Written(infobox));
}

TEST(InfoboxFsEntries, AddingATagAgainReplacesInItsPlace) {
    InfoboxFS infobox;
    Add(infobox, 2, 0, {0xaa});
    Add(infobox, 1, 0, {0xbb});
    Add(infobox, 2, 1, {0xcc, 0xdd});
    EXPECT_EQ((Bytes{2, 1, 2, 0, 0xcc, 0xdd, 1, 0, 1, 0, 0xbb}), Written(infobox));
}

TEST(InfoboxFsEntries, OfDuplicatesTheFirstIsFoundAndReplaced) {
    InfoboxFS infobox;
    ByteArray file = File({1, 0, 1, 0, 0x11, 2, 1, 1, 0, 0xaa, 2, 0, 1, 0, 0xbb});
    EXPECT_TRUE(infobox.ParseInfoboxData(file));
    EXPECT_EQ((Bytes{1, 2, 2}), infobox.GetTagList());
    unsigned int id = 42;
    EXPECT_TRUE(infobox.GetEntryId(2, id));
    EXPECT_EQ(1u, id);
    unsigned char attributes = 42;
    ByteArray data(Bytes{9, 9, 9});
    EXPECT_TRUE(infobox.GetEntry(2, attributes, data));
    EXPECT_EQ(1, attributes);
    EXPECT_EQ((Bytes{0xaa}), data);
    Add(infobox, 2, 0, {0xcc});
    EXPECT_EQ((Bytes{1, 0, 1, 0, 0x11, 2, 0, 1, 0, 0xcc, 2, 0, 1, 0, 0xbb}), Written(infobox));
}

TEST(InfoboxFsEntries, AMissingTagLeavesTheOutputsAlone) {
    InfoboxFS infobox;
    Add(infobox, 2, 0, {0xaa});
    unsigned char attributes = 42;
    ByteArray data(Bytes{9, 9});
    EXPECT_FALSE(infobox.GetEntry(1, attributes, data));
    EXPECT_EQ(42, attributes);
    EXPECT_EQ((Bytes{9, 9}), data);
}

TEST(InfoboxFsEntries, AMissingTagGivesTheNumberOfSlotsAsItsPosition) {
    OpenInfobox infobox;
    unsigned int id = 42;
    EXPECT_FALSE(infobox.GetEntryId(1, id));
    EXPECT_EQ(0u, id);
    Add(infobox, 2, 0, {0xaa});
    infobox.m_Entries.push_back(nullptr);
    EXPECT_FALSE(infobox.GetEntryId(1, id));
    EXPECT_EQ(2u, id);
}

TEST(InfoboxFsEntries, EmptySlotsCountButArePassedOver) {
    OpenInfobox infobox;
    infobox.m_Entries.push_back(nullptr);
    Add(infobox, 2, 0, {0xaa});
    infobox.m_Entries.push_back(nullptr);
    Add(infobox, 3, 1, {});
    EXPECT_EQ(4, infobox.GetEntryCount());
    EXPECT_EQ((Bytes{2, 3}), infobox.GetTagList());
    EXPECT_EQ((Bytes{2, 0, 1, 0, 0xaa, 3, 1, 0, 0}), Written(infobox));
    EXPECT_FALSE(infobox.HasEntry(0));
    unsigned int id = 42;
    EXPECT_TRUE(infobox.GetEntryId(3, id));
    EXPECT_EQ(3u, id);
}

TEST(InfoboxFsEntries, AreFoundByTagAndByLabel) {
    InfoboxFS infobox;
    Add(infobox, 1, 0, {});
    Add(infobox, 2, 0, {});
    EXPECT_TRUE(infobox.HasEntry(1));
    EXPECT_TRUE(infobox.HasEntry("PERSONENBINDUNG"));
    EXPECT_TRUE(infobox.HasEntry("RFU"));
    EXPECT_FALSE(infobox.HasEntry("RFU1"));
    EXPECT_FALSE(infobox.HasEntry(3));
    EXPECT_FALSE(infobox.HasEntry("unknown"));
}

TEST(InfoboxFsEntries, ClearLeavesAUsableContainer) {
    OpenInfobox infobox;
    Add(infobox, 1, 0, {0xaa});
    const std::weak_ptr<InfoboxFSEntry> entry = infobox.m_Entries[0];
    infobox.Clear();
    EXPECT_TRUE(entry.expired());
    EXPECT_EQ(0, infobox.GetEntryCount());
    Add(infobox, 2, 0, {});
    EXPECT_EQ((Bytes{2}), infobox.GetTagList());
}

TEST(InfoboxFsEntries, AnEntryInFlightOutlivesTheContainer) {
    std::shared_ptr<InfoboxFSEntry> entry;
    {
        OpenInfobox infobox;
        Add(infobox, 1, 0, {0xaa});
        entry = infobox.m_Entries[0];
    }
    EXPECT_EQ((Bytes{0xaa}), entry->m_Data);
}

TEST(InfoboxFsLabels, LabelToTagGoesByTheLengthFirst) {
    const struct {
        std::string m_Label;
        int m_Tag;
    } table[] = {
        {"PERSONENBINDUNG", 1},
        {"RFU", 2},
        {"RFU1", 0},
        {"RFU2", 0},
        {"PERSONENBINDUNg", 0},
        {"RFX", 0},
        {"rfu", 0},
        {"PERSONENBINDUNG1", 0},
        {"PERSONENBINDUN", 0},
        {"", 0},
        {"RF", 0},
        {"INFOBOX", 0},
        {"RFU3", 0},
        {"0x04", 0},
    };
    const InfoboxFS infobox;
    for (const auto& row : table) {
        EXPECT_EQ(row.m_Tag, infobox.LabelToTag(row.m_Label)) << row.m_Label;
    }
}

TEST(InfoboxFsLabels, TagToLabelKnowsNoUnknownTag) {
    const InfoboxFS infobox;
    for (int tag = 0; tag < 256; ++tag) {
        const std::string expected = tag == 1 ? "PERSONENBINDUNG" : tag == 2 ? "RFU1" : "RFU2";
        EXPECT_EQ(expected, infobox.TagToLabel(static_cast<unsigned char>(tag)));
    }
}
