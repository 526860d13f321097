// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_INFOBOXFILE_H
#define ORSEL_SIMULATOR_STORE_INFOBOXFILE_H

#include <string>
#include <vector>

#include "simulator/store/Hex.h"

namespace orselsim {

/// The directory of a card's infobox area: the file "VIK" with one entry for each data object.
namespace infobox {

/// Label of the data object that holds the directory.
constexpr const char* directoryLabel = "INFOBOX";

/// The bit of the attribute byte that says that the entry's object is private.
constexpr unsigned char isPrivate = 0x01;

struct Entry {
    unsigned char tag;
    unsigned char attributes;
    Bytes data; ///< at most 65535 bytes
};

/// Label of the data object of an entry, such as "0x0a".
std::string objectLabel(unsigned char tag);

/// The directory file, padded with zero bytes as far as it is shorter than `size`.
Bytes makeFile(const std::vector<Entry>& entries, std::size_t size);

/// Sets or clears the private bit of the first entry whose object has this label. A file that is
/// no directory, or has no such entry, stays as it is.
void markEntry(Bytes& file, const std::string& objectLabel, bool makePrivate);

} // namespace infobox

} // namespace orselsim

#endif
