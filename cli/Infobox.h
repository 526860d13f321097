// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_INFOBOX_H
#define ORSEL_CLI_INFOBOX_H

#include "cli/Cards.h"
#include "cli/Files.h"

#include <string>
#include <vector>

namespace orselcli {

/// One entry of a card's infobox area.
struct InfoboxEntry {
    std::string m_Tag;   ///< what the entry is named by: two hexadecimal digits, or its name on older cards
    std::string m_Name;  ///< empty for one without
    std::string m_Label; ///< of its data object
    bool m_IsProtected = false;
    bool m_IsIdentityLink = false;
};

/// The infobox area of the card in the open session. Cards with a container have one entry for each entry of
/// it; older ones have three data objects at fixed labels.
class Infobox {
public:
    Outcome Load(Cards& cards, const CardRow& row);

    const std::vector<InfoboxEntry>& Entries() const { return m_Entries; }
    bool HasContainer() const { return m_HasContainer; }
    /// By tag, "01", "1" or "0x01", or by name in any case; null when there is none.
    const InfoboxEntry* Find(const std::string& tag) const;

private:
    Outcome LoadContainer(Cards& cards);

    std::vector<InfoboxEntry> m_Entries;
    bool m_HasContainer = false;
};

} // namespace orselcli

#endif
