// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_SHOWNOBJECTS_H
#define ORSEL_BRIDGE_SHOWNOBJECTS_H

#include <map>
#include <string>
#include <vector>

#include "bridge/InnerSession.h"
#include "bridge/Roles.h"

namespace orselbridge {

/// An object that the bridge shows in another way than the module does: under the label of a role,
/// or although the module hides it until somebody logs in.
struct ShownObject {
    CK_SLOT_ID m_Slot = 0;
    CK_OBJECT_CLASS m_Class = 0;
    CK_OBJECT_HANDLE m_Inner = 0; ///< of the module; 0: hidden
    Bytes m_Id;
    std::string m_OwnLabel;
    std::string m_Label; ///< as it is shown
    AttributeMap m_Made; ///< what is shown of a hidden object

    /// Whether both are one object of one token, which the module may call by another handle now.
    bool IsSame(const ShownObject& other) const;
};

/// What is shown in another way gets handles of the bridge's own, the same ones in every session.
/// Every other object goes by the module's handle.
class ShownObjects {
public:
    /// The handle of this object, which is known from now on as it is given; a new handle for an
    /// object that has none yet. Throws Refusal when a module makes up objects without end.
    CK_OBJECT_HANDLE HandleOf(const ShownObject& object);

    /// Null for a handle of the module.
    const ShownObject* Find(CK_OBJECT_HANDLE handle) const;

private:
    std::map<CK_OBJECT_HANDLE, ShownObject> m_Objects;
};

/// What one session knows of its token: the key pairs, the roles that they play, and the objects
/// that it shows in its own way.
struct TokenView {
    std::vector<KeyPair> m_Pairs;
    Roles m_Roles;
    std::vector<CK_OBJECT_HANDLE> m_Shown;
};

TokenView MakeView(const InnerSession& session, CK_SLOT_ID slot, const RoleNames& names,
                   ShownObjects& objects);

/// The module's handle of an object that is hidden without a login; 0 while nobody is logged in.
CK_OBJECT_HANDLE Reveal(const InnerSession& session, const ShownObject& object);

/// Handles of all objects with these attributes, as the bridge shows them.
std::vector<CK_OBJECT_HANDLE> FindShown(const InnerSession& session, const TokenView& view,
                                        const ShownObjects& objects, const AttributeMap& wanted);

} // namespace orselbridge

#endif
