// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_DECK_IDENTITYLINK_H
#define ORSEL_SIMULATOR_DECK_IDENTITYLINK_H

#include <string>

#include "simulator/deck/DemoAuthority.h"
#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"

namespace orselsim {

/// The signed record that ties a person to the card, in the ASN.1 form in which cards hold it. A
/// long name is cut: the record of the person has room for 127 bytes.
Bytes MakeIdentityLink(const std::string& holder, const std::string& cardSerial,
                       const DemoAuthority& authority);

} // namespace orselsim

#endif
