// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/Commands.h"
#include "cli/DataObjects.h"
#include "cli/IdentityLink.h"

namespace orselcli {

Outcome RunIdentityLink(Context& context) {
    return WithSession(context, [&context](const CardRow& row) {
        if (row.m_IsEmpty) {
            return Outcome(Reason::EMPTY_CARD);
        }
        DataObject object;
        Bytes content;
        Outcome outcome = FindAnyIdentityLink(context.m_Cards, object);
        if (outcome.IsDone() && object.m_IsFound) {
            outcome = ReadData(context.m_Cards, object, content);
        }
        if (!outcome.IsDone()) {
            return outcome;
        }
        if (IsBlank(content)) {
            return Outcome(Reason::NO_IDENTITY_LINK);
        }
        if (context.m_Request.m_Raw) {
            return Deliver(context, content);
        }
        IdentityLink link;
        outcome = IdentityLink::Parse(content, link);
        if (!outcome.IsDone()) {
            return outcome;
        }
        if (context.m_Request.m_Json) {
            nlohmann::ordered_json json = {{"card", row.m_Number}};
            json.update(link.AsJson());
            context.m_Console.PrintJson(json);
        } else {
            context.m_Console.Print(link.InWords());
        }
        return outcome;
    });
}

} // namespace orselcli
