// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_IDENTITYLINK_H
#define ORSEL_CLI_IDENTITYLINK_H

#include "cli/Files.h"
#include "cli/Reason.h"

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace orselcli {

/// The person in an identity link. Texts are UTF-8 as on the card.
struct IdentityLink {
    std::string m_GivenName;
    std::string m_FamilyName;
    std::string m_DateOfBirth;
    std::string m_BaseId;
    std::string m_AssertionId;
    std::string m_IssueInstant;
    std::string m_IssuerTemplate;
    int m_Version = 0;

    /// BROKEN_IDENTITY_LINK for bytes that are none.
    static Outcome Parse(Bytes bytes, IdentityLink& link);

    /// In words, a field a line.
    std::string InWords() const;
    nlohmann::ordered_json AsJson() const;
};

} // namespace orselcli

#endif
