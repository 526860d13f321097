// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_INFOBOXFSENTRY_H
#define ORSEL_FORMATS_INFOBOXFSENTRY_H

#include <cstdint>

#include "foundation/ByteArray.h"

namespace LibInfobox {

/// One entry of an infobox file.
struct InfoboxFSEntry {
    std::uint8_t m_Tag = 0;
    std::uint8_t m_Attributes = 0; ///< INFOBOX_ATTR_ENCRYPTED; the other bits are carried as they stand
    Velmor::ByteArray m_Data;
};

} // namespace LibInfobox

#endif
