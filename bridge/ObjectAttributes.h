// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_OBJECTATTRIBUTES_H
#define ORSEL_BRIDGE_OBJECTATTRIBUTES_H

#include "bridge/Runtime.h"

namespace orselbridge {

/// Answers an attribute read as the bridge shows the object: its label by its role, and a hidden
/// object's attributes from what can be seen of it. Each entry that fails says so by its length, and
/// the first failure's code is thrown as a Refusal in the end.
void ReadAttributes(Runtime& runtime, const Session& session, CK_OBJECT_HANDLE object,
                    CK_ATTRIBUTE* attributes, CK_ULONG count);

} // namespace orselbridge

#endif
