// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_OBJECTATTRIBUTES_H
#define ORSEL_SIMULATOR_TOKEN_OBJECTATTRIBUTES_H

#include "simulator/store/Card.h"
#include "simulator/store/Shared.h"
#include "tokenlib/AttributeValues.h"
#include "tokenlib/PublicParts.h"

namespace orselsim {

/// Attributes of a data object with this content.
AttributeMap DataAttributes(const ObjectRecord& object, const Bytes& content);

/// Attributes of a certificate. Content that is no certificate is shown all the same, as a card
/// would; it merely lacks the attributes that are taken from inside.
AttributeMap CertificateAttributes(const ObjectRecord& object, const Bytes& content);

/// Attributes of a public or a private key with these public numbers.
AttributeMap KeyAttributes(const ObjectRecord& object, const PublicParts& parts);

} // namespace orselsim

#endif
