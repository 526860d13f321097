// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_ROLES_H
#define ORSEL_BRIDGE_ROLES_H

#include <optional>
#include <string>
#include <vector>

#include "bridge/KeyPairs.h"
#include "bridge/Settings.h"

namespace orselbridge {

/// The two parts that a card's key pairs play for the card manager.
enum class Role { SIGNATURE, ENCRYPTION };

/// Why a key pair plays a role.
enum class RoleReason {
    BY_SETTING,
    ASKS_AT_EACH_USE,
    NON_REPUDIATION,
    FIRST_SIGNING_KEY, ///< nothing marks a signature key
    OTHER_SIGNING_KEY, ///< the first one beside the signature key
    ONLY_KEY,          ///< it plays both
};

struct RoleChoice {
    std::size_t m_Pair; ///< index into the pairs
    RoleReason m_Reason;
};

/// Which pair plays which role; nothing: none does.
struct Roles {
    std::optional<RoleChoice> m_Signature;
    std::optional<RoleChoice> m_Encryption;

    const std::optional<RoleChoice>& Of(Role role) const {
        return role == Role::SIGNATURE ? m_Signature : m_Encryption;
    }
};

/// Gives the roles by setting where there is one that fits; else the signature role to the key that
/// asks at each use or is for non-repudiation, and the encryption role to the first other signing
/// key. One key alone plays both.
Roles ChooseRoles(const std::vector<KeyPair>& pairs, const RoleNames& names);

/// The label that an object of this class has in a role, empty for a class without roles.
std::string RoleLabel(Role role, CK_OBJECT_CLASS objectClass);

} // namespace orselbridge

#endif
