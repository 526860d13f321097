// SPDX-License-Identifier: MIT
#ifndef ORSEL_FORMATS_NEWFILE_H
#define ORSEL_FORMATS_NEWFILE_H

#include <cstddef>
#include <string>

namespace Velmor {

/// Makes a file for this user alone (mode 0600) and writes it. False, with whatever is at the path left
/// alone, if there is something already, be it a link that leads nowhere: the name may be known and the
/// folder everybody's. False, too, with a part of the file, if it cannot be written whole.
bool WriteNewFile(const std::string& path, const unsigned char* bytes, std::size_t size);

} // namespace Velmor

#endif
