// SPDX-License-Identifier: MIT
#include "cli/IdentityLink.h"

#include <nlohmann/json.hpp>

#include "cli/Table.h"
#include "cli/Words.h"
#include "formats/Personenbindung.h"

namespace orselcli {

Outcome IdentityLink::Parse(Bytes bytes, IdentityLink& link) {
    Velmor::Personenbindung record;
    if (!record.parse(bytes.data(), static_cast<int>(bytes.size()))) {
        return Reason::BROKEN_IDENTITY_LINK;
    }
    link = {record.getGivenName(),      record.getFamilyName(),  record.getDateOfBirth(),
            record.getBaseId(),         record.getAssertionID(), record.getIssueInstant(),
            record.getIssuerTemplate(), record.getVersion()};
    return {};
}

std::string IdentityLink::InWords() const {
    return Fields({{Tr("Given name"), Harmless(m_GivenName)},
                   {Tr("Family name"), Harmless(m_FamilyName)},
                   {Tr("Date of birth"), Harmless(m_DateOfBirth)},
                   {Tr("Identity number"), Harmless(m_BaseId)},
                   {Tr("Assertion"), Harmless(m_AssertionId)},
                   {Tr("Issued"), Harmless(m_IssueInstant)},
                   {Tr("Issuer's template"), Harmless(m_IssuerTemplate)}});
}

nlohmann::ordered_json IdentityLink::AsJson() const {
    return {{"givenName", m_GivenName},           {"familyName", m_FamilyName},
            {"dateOfBirth", m_DateOfBirth},       {"identityNumber", m_BaseId},
            {"assertion", m_AssertionId},         {"issued", m_IssueInstant},
            {"issuerTemplate", m_IssuerTemplate}, {"version", m_Version}};
}

} // namespace orselcli
