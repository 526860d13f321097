// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_INFOBOXFILE_H
#define ORSEL_SIMULATOR_STORE_INFOBOXFILE_H

#include <string>
#include <vector>

#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"

namespace orselsim {

/// The directory of a card's infobox area: the file "VIK" with one entry for each data object.
namespace infobox {

/// Label of the data object that holds the directory.
constexpr const char* DIRECTORY_LABEL = "INFOBOX";

/// The bit of the attribute byte that says that the entry's object is private.
constexpr unsigned char IS_PRIVATE = 0x01;

struct Entry {
    unsigned char m_Tag;
    unsigned char m_Attributes;
    Bytes m_Data; ///< at most 65535 bytes
};

/// Label of the data object of an entry, such as "0x0a".
std::string ObjectLabel(unsigned char tag);

/// The directory file, padded with zero bytes as far as it is shorter than `size`.
Bytes MakeFile(const std::vector<Entry>& entries, std::size_t size);

/// Sets or clears the private bit of the first entry whose object has this label. A file that is
/// no directory, or has no such entry, is not changed.
void MarkEntry(Bytes& file, const std::string& objectLabel, bool makePrivate);

} // namespace infobox

} // namespace orselsim

#endif
