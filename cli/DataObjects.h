// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_DATAOBJECTS_H
#define ORSEL_CLI_DATAOBJECTS_H

#include "cli/Cards.h"
#include "cli/Files.h"

#include <string>

namespace orselcli {

/// A data object of the card in the open session.
struct DataObject {
    CK_OBJECT_HANDLE m_Handle = 0;
    bool m_IsFound = false;
};

/// The first data object with this label. Done also when there is none.
Outcome FindData(Cards& cards, const std::string& label, DataObject& object);

/// The object of the identity link alone, at the label that the card class works with.
Outcome FindIdentityLink(Cards& cards, DataObject& object);

/// The same, or the infobox area's entry with the identity link.
Outcome FindAnyIdentityLink(Cards& cards, DataObject& object);

/// Why there is no object at the identity link's own label.
Outcome MissingIdentityLink(Cards& cards);

/// Its whole content. The token library asks for a PIN where the card wants one.
Outcome ReadData(Cards& cards, const DataObject& object, Bytes& content);

/// Whether the first bytes are zeros, as in an object that nobody has written yet.
bool IsBlank(const Bytes& content);

/// Writes the content back, protected by the PIN or not.
Outcome WriteProtected(Cards& cards, const DataObject& object, Bytes content, bool isProtected);

} // namespace orselcli

#endif
