// SPDX-License-Identifier: MIT
#ifndef ORSEL_TOKENLIB_ATTRIBUTEVALUES_H
#define ORSEL_TOKENLIB_ATTRIBUTEVALUES_H

#include <map>

#include "tokenlib/Hex.h"
#include "tokenlib/OpenSslHandles.h"
#include "tokenlib/Pkcs11.h"
#include "tokenlib/PublicParts.h"

namespace tokenlib {

/// The values of an object's attributes in the standard's binary forms: numbers as CK_ULONG,
/// flags as one byte, names and serial numbers as DER.
using AttributeMap = std::map<CK_ATTRIBUTE_TYPE, Bytes>;

Bytes NumberValue(CK_ULONG number);
Bytes FlagValue(bool flag);
Bytes DerOf(const X509_NAME* name);
Bytes DerOf(const ASN1_INTEGER* integer);

/// The kind of key and its public numbers; the number of bits goes with public keys alone.
void AddPublicParts(AttributeMap& attributes, const PublicParts& parts, bool isPublicKey);

/// A template as a map; throws Refusal for one that has a size and no value.
AttributeMap TemplateOf(const CK_ATTRIBUTE* attributes, CK_ULONG count);

} // namespace tokenlib

#endif
