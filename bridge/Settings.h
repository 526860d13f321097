// SPDX-License-Identifier: MIT
#ifndef ORSEL_BRIDGE_SETTINGS_H
#define ORSEL_BRIDGE_SETTINGS_H

#include <optional>
#include <string>
#include <vector>

#include "tokenlib/Hex.h"

namespace orselbridge {

using tokenlib::Bytes;

/// How a setting names a key: by its label or by its id, or by both.
struct KeyName {
    std::optional<std::string> m_Label;
    std::optional<Bytes> m_Id;

    bool IsEmpty() const { return !m_Label && !m_Id; }
    bool Names(const std::string& label, const Bytes& id) const;
};

/// The keys that are to play the two roles; an empty name leaves the choice to the bridge.
struct RoleNames {
    KeyName m_Signature;
    KeyName m_Encryption;
};

/// Roles for some tokens alone. A token has to have everything that is set here.
struct TokenRoles {
    std::optional<std::string> m_Label;
    std::optional<std::string> m_Serial; ///< as the token gives it, without trailing blanks
    RoleNames m_Roles;
};

/// What the user has set in bridge.json and in the environment.
struct Settings {
    /// Files of libraries to bridge to; the first that can be loaded is taken.
    std::vector<std::string> m_Modules;
    bool m_ShowsFixedSlots = true; ///< as removable ones, since the card list skips the others
    /// Model that tokens of no known kind are shown as; empty: their own.
    std::string m_Model;
    RoleNames m_Roles;
    std::vector<TokenRoles> m_Tokens;

    /// The roles set for a token: of the first entry of `m_Tokens` that fits, else those for all.
    const RoleNames& RolesFor(const std::string& label, const std::string& serial) const;

    /// Reads ORSELBRIDGE_MODULE, ORSELBRIDGE_MODEL and the first of $XDG_CONFIG_HOME/orselcards/bridge.json
    /// and /etc/orselcards/bridge.json that is there. A file that makes no sense is reported on standard
    /// error and passed over whole.
    static Settings Read();

    /// The same from this text; throws std::runtime_error with the reason when it makes no sense.
    static Settings Parse(const std::string& json);
};

} // namespace orselbridge

#endif
