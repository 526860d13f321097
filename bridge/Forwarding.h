// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_FORWARDING_H
#define ORSEL_BRIDGE_FORWARDING_H

#include "bridge/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Names.h"
#include "tokenlib/Output.h"

// What the entry points that lead straight to the module have in common.
namespace orselbridge {

/// The module's session for one of the bridge's; throws Refusal.
inline CK_SESSION_HANDLE InnerOf(Runtime& runtime, CK_SESSION_HANDLE session) {
    return runtime.SessionOf(session).m_Inner.Handle();
}

/// Calls an entry point that fills a buffer, whose length is the last argument, and refuses a
/// length beyond the buffer.
template <class Function, class... Arguments>
void DoOutput(const tokenlib::Call& call, Runtime& runtime, const char* name,
              Function CK_FUNCTION_LIST::*entry, CK_ULONG* length, const void* out, Arguments... arguments) {
    tokenlib::Require(length);
    const CK_ULONG capacity = *length;
    runtime.GetModule().Do(entry, arguments..., length);
    if (out != nullptr) {
        runtime.GetModule().CheckLength(name, *length, capacity);
    }
    call.Bend(*length);
}

inline std::string MechanismText(const CK_MECHANISM* mechanism) {
    return mechanism == nullptr ? "" : tokenlib::MechanismName(mechanism->mechanism);
}

} // namespace orselbridge

#endif
