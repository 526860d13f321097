// SPDX-License-Identifier: MIT
#include "simulator/store/InfoboxFile.h"

#include <algorithm>
#include <cstdio>

namespace orselsim::infobox {

namespace {

constexpr unsigned char MAGIC[] = {'V', 'I', 'K'};
constexpr unsigned char VERSION = 1;
constexpr std::size_t HEAD_SIZE = 4;       ///< magic and version
constexpr std::size_t ENTRY_HEAD_SIZE = 4; ///< tag, attribute byte, length

} // namespace

std::string ObjectLabel(unsigned char tag) {
    char text[sizeof "0xff"];
    std::snprintf(text, sizeof text, "0x%02x", tag);
    return text;
}

Bytes MakeFile(const std::vector<Entry>& entries, std::size_t size) {
    Bytes file(std::begin(MAGIC), std::end(MAGIC));
    file.push_back(VERSION);
    for (const Entry& entry : entries) {
        file.push_back(entry.m_Tag);
        file.push_back(entry.m_Attributes);
        file.push_back(static_cast<unsigned char>(entry.m_Data.size() & 0xFF));
        file.push_back(static_cast<unsigned char>(entry.m_Data.size() >> 8));
        file.insert(file.end(), entry.m_Data.begin(), entry.m_Data.end());
    }
    file.resize(std::max(file.size(), size));
    return file;
}

void MarkEntry(Bytes& file, const std::string& label, bool makePrivate) {
    if (file.size() < HEAD_SIZE || !std::equal(std::begin(MAGIC), std::end(MAGIC), file.begin())) {
        return;
    }
    std::size_t position = HEAD_SIZE;
    while (position + ENTRY_HEAD_SIZE <= file.size() && file[position] != 0) {
        if (ObjectLabel(file[position]) == label) {
            unsigned char& attributes = file[position + 1];
            attributes =
                static_cast<unsigned char>(makePrivate ? attributes | IS_PRIVATE : attributes & ~IS_PRIVATE);
            return;
        }
        const std::size_t length = static_cast<std::size_t>(file[position + 2] | file[position + 3] << 8);
        position += ENTRY_HEAD_SIZE + length;
    }
}

} // namespace orselsim::infobox
