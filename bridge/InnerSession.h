// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_INNERSESSION_H
#define ORSEL_BRIDGE_INNERSESSION_H

#include <optional>
#include <string>
#include <vector>

#include "bridge/Module.h"
#include "tokenlib/AttributeValues.h"

namespace orselbridge {

using tokenlib::AttributeMap;
using tokenlib::Bytes;

/// A session of the module, closed with the object, and what the bridge itself asks in it. What the
/// module answers is bounded: so many objects, so many bytes.
class InnerSession {
public:
    /// Opens it; throws Refusal with the module's code.
    InnerSession(const Module& module, CK_SLOT_ID slot, CK_FLAGS flags);
    ~InnerSession();
    InnerSession(InnerSession&& other) noexcept;
    InnerSession& operator=(InnerSession&&) = delete;
    InnerSession(const InnerSession&) = delete; // closes it once
    InnerSession& operator=(const InnerSession&) = delete;

    CK_SESSION_HANDLE Handle() const { return m_Handle; }

    /// Lets go of the session, for somebody who wants to hear how its closing goes.
    CK_SESSION_HANDLE Release();

    /// Closes the session and opens it anew, for what is possible with no other session alone.
    void Close();
    void Reopen();

    /// Whether the user, or the security officer, is logged in on the token.
    bool IsLoggedIn() const;

    /// All objects with these attributes; throws Refusal with the module's code.
    std::vector<CK_OBJECT_HANDLE> Find(const AttributeMap& wanted) const;

    /// The value of one attribute; nothing when the module does not give it.
    std::optional<Bytes> Read(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;

    // The same as a text, a number and a flag; empty, none or false when the module does not give it.
    std::string ReadText(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;
    std::optional<CK_ULONG> ReadNumber(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;
    bool ReadFlag(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;

private:
    const Module& m_Module;
    const CK_SLOT_ID m_Slot;
    const CK_FLAGS m_Flags;
    CK_SESSION_HANDLE m_Handle = 0; ///< 0: closed
};

} // namespace orselbridge

#endif
