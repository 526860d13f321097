// SPDX-License-Identifier: MIT
#include "simulator/store/InfoboxFile.h"

#include <algorithm>
#include <cstdio>

namespace orselsim::infobox {

namespace {

constexpr unsigned char magic[] = {'V', 'I', 'K'};
constexpr unsigned char version = 1;
constexpr std::size_t headSize = 4;      ///< magic and version
constexpr std::size_t entryHeadSize = 4; ///< tag, attribute byte, length

} // namespace

std::string objectLabel(unsigned char tag) {
    char text[sizeof "0xff"];
    std::snprintf(text, sizeof text, "0x%02x", tag);
    return text;
}

Bytes makeFile(const std::vector<Entry>& entries, std::size_t size) {
    Bytes file(std::begin(magic), std::end(magic));
    file.push_back(version);
    for (const Entry& entry : entries) {
        file.push_back(entry.tag);
        file.push_back(entry.attributes);
        file.push_back(static_cast<unsigned char>(entry.data.size() & 0xFF));
        file.push_back(static_cast<unsigned char>(entry.data.size() >> 8));
        file.insert(file.end(), entry.data.begin(), entry.data.end());
    }
    file.resize(std::max(file.size(), size));
    return file;
}

void markEntry(Bytes& file, const std::string& label, bool makePrivate) {
    if (file.size() < headSize || !std::equal(std::begin(magic), std::end(magic), file.begin()))
        return;
    std::size_t position = headSize;
    while (position + entryHeadSize <= file.size() && file[position] != 0) {
        if (objectLabel(file[position]) == label) {
            unsigned char& attributes = file[position + 1];
            attributes =
                static_cast<unsigned char>(makePrivate ? attributes | isPrivate : attributes & ~isPrivate);
            return;
        }
        const std::size_t length = static_cast<std::size_t>(file[position + 2] | file[position + 3] << 8);
        position += entryHeadSize + length;
    }
}

} // namespace orselsim::infobox
