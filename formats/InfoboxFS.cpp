// SPDX-License-Identifier: MIT
#include "formats/InfoboxFS.h"

#include <algorithm>

using Velmor::ByteArray;

namespace LibInfobox {

namespace {

constexpr unsigned char MAGIC[] = {'V', 'I', 'K'};
constexpr unsigned char WRITTEN_VERSION = 1;
constexpr unsigned char NEWEST_VERSION = 1;
constexpr std::size_t FILE_HEAD_SIZE = 4;
constexpr std::size_t ENTRY_HEAD_SIZE = 4;
constexpr unsigned char END_TAG = 0;

} // namespace

void InfoboxFS::Clear() {
    m_Entries.clear();
}

int InfoboxFS::GetEntryCount() const {
    return static_cast<int>(m_Entries.size());
}

bool InfoboxFS::GetEntryId(unsigned char tag, unsigned int& id) const {
    const auto found = std::find_if(m_Entries.begin(), m_Entries.end(),
                                    [tag](const auto& entry) { return entry && entry->m_Tag == tag; });
    id = static_cast<unsigned int>(found - m_Entries.begin());
    return found != m_Entries.end();
}

bool InfoboxFS::HasEntry(unsigned char tag) const {
    unsigned int ignored = 0;
    return GetEntryId(tag, ignored);
}

bool InfoboxFS::HasEntry(std::string label) const {
    return HasEntry(static_cast<unsigned char>(LabelToTag(label)));
}

bool InfoboxFS::GetEntry(unsigned char tag, unsigned char& attributes, ByteArray& data) const {
    unsigned int id = 0;
    if (!GetEntryId(tag, id)) {
        return false;
    }
    attributes = m_Entries[id]->m_Attributes;
    data = m_Entries[id]->m_Data;
    return true;
}

int InfoboxFS::LabelToTag(std::string label) const {
    // Both spare labels are told by their first three characters, which they share, and by no more. So "RFU"
    // is a label, "RFU1" and "RFU2" are none, and RFU2_INDEX never comes out: this is not the inverse of
    // TagToLabel.
    if (label == "RFU") {
        return RFU1_INDEX;
    }
    return label == IDENTITY_LINK_LABEL ? PERSONENBINDUNG_INDEX : 0;
}

std::string InfoboxFS::TagToLabel(unsigned char tag) const {
    switch (tag) {
    case PERSONENBINDUNG_INDEX:
        return IDENTITY_LINK_LABEL;
    case RFU1_INDEX:
        return RFU1_LABEL;
    default:
        return RFU2_LABEL;
    }
}

bool InfoboxFS::ParseInfoboxData(ByteArray& file) {
    if (file.size() < FILE_HEAD_SIZE || !std::equal(std::begin(MAGIC), std::end(MAGIC), file.begin()) ||
        file[3] > NEWEST_VERSION) {
        return false;
    }
    return ReadDataField(file, FILE_HEAD_SIZE);
}

bool InfoboxFS::ReadDataField(ByteArray& file, unsigned long position) {
    // A head that ends exactly with the file is not read: an empty last entry is dropped.
    while (file.size() > ENTRY_HEAD_SIZE && position < file.size() - ENTRY_HEAD_SIZE &&
           file[position] != END_TAG) {
        const std::size_t length = file[position + 2] | file[position + 3] << 8;
        const std::size_t begin = position + ENTRY_HEAD_SIZE;
        if (length > file.size() - begin) {
            return false;
        }
        auto entry = std::make_shared<InfoboxFSEntry>();
        entry->m_Tag = file[position];
        entry->m_Attributes = file[position + 1];
        entry->m_Data.Add(file.data() + begin, length);
        m_Entries.push_back(std::move(entry));
        position = begin + length;
    }
    return true;
}

std::vector<unsigned char> InfoboxFS::GetTagList() const {
    std::vector<unsigned char> tags;
    for (const auto& entry : m_Entries) {
        if (entry) {
            tags.push_back(entry->m_Tag);
        }
    }
    return tags;
}

bool InfoboxFS::GetCompleteFile(ByteArray& out) const {
    out.insert(out.end(), std::begin(MAGIC), std::end(MAGIC));
    out.push_back(WRITTEN_VERSION);
    for (const auto& entry : m_Entries) {
        if (entry) {
            const std::size_t length = entry->m_Data.size();
            out.push_back(entry->m_Tag);
            out.push_back(entry->m_Attributes);
            out.push_back(static_cast<unsigned char>(length));
            out.push_back(static_cast<unsigned char>(length >> 8));
            out.Add(entry->m_Data);
        }
    }
    return true;
}

bool InfoboxFS::AddEntry(unsigned char tag, unsigned char attributes, ByteArray& data) {
    unsigned int id = 0;
    if (!GetEntryId(tag, id)) {
        m_Entries.push_back(std::make_shared<InfoboxFSEntry>());
    }
    m_Entries[id]->m_Tag = tag;
    m_Entries[id]->m_Attributes = attributes;
    m_Entries[id]->m_Data = data;
    return true;
}

} // namespace LibInfobox
