// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "cli/CallWitness.h"
#include "cli/Commands.h"
#include "cli/DataObjects.h"
#include "cli/IdentityLink.h"
#include "cli/Infobox.h"
#include "cli/Names.h"
#include "cli/Table.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

using Json = nlohmann::ordered_json;

Json JsonOf(const InfoboxEntry& entry, bool hasContainer) {
    return {{"tag", entry.m_Tag},
            {"name", entry.m_Name.empty() ? Json(nullptr) : Json(entry.m_Name)},
            {"protected", hasContainer ? Json(entry.m_IsProtected) : Json(nullptr)}};
}

Outcome ShowEntries(Context& context, const CardRow& row, const Infobox& infobox) {
    if (context.m_Request.m_Json) {
        Json entries = Json::array();
        for (const InfoboxEntry& entry : infobox.Entries()) {
            entries.push_back(JsonOf(entry, infobox.HasContainer()));
        }
        context.m_Console.PrintJson({{"card", row.m_Number}, {"entries", entries}});
        return {};
    }
    if (context.m_Request.m_Quiet) {
        for (const InfoboxEntry& entry : infobox.Entries()) {
            context.m_Console.Print(entry.m_Tag + "\n");
        }
        return {};
    }
    Table table({Tr("Tag"), Tr("Name"), Tr("Stored")});
    for (const InfoboxEntry& entry : infobox.Entries()) {
        const std::string stored = entry.m_IsProtected ? Tr("protected") : Tr("plain");
        table.Add({entry.m_Tag, entry.m_Name, infobox.HasContainer() ? stored : ""});
    }
    table.PrintTo(context.m_Console);
    return {};
}

/// The content of an entry; empty for one that nobody has written.
Outcome ReadEntry(Cards& cards, const InfoboxEntry& entry, DataObject& object, Bytes& content) {
    CallWitness::Forget();
    const Outcome outcome = FindData(cards, entry.m_Label, object);
    if (!outcome.IsDone()) {
        return outcome;
    }
    if (!object.m_IsFound) {
        return Outcome(entry.m_IsIdentityLink ? Reason::NO_IDENTITY_LINK : Reason::NO_ENTRY, entry.m_Tag);
    }
    return ReadData(cards, object, content);
}

std::string ContentInWords(const InfoboxEntry& entry, const Bytes& content) {
    IdentityLink link;
    if (entry.m_IsIdentityLink && IdentityLink::Parse(content, link).IsDone()) {
        return link.InWords();
    }
    return HexDump(content);
}

Outcome Read(Context& context, const CardRow& row, const InfoboxEntry& entry) {
    Bytes content;
    DataObject object;
    const Outcome outcome = ReadEntry(context.m_Cards, entry, object, content);
    if (!outcome.IsDone()) {
        return outcome;
    }
    const Request& request = context.m_Request;
    if (request.m_Raw) {
        return Deliver(context, content);
    }
    if (IsBlank(content)) {
        content.clear();
    }
    if (request.m_Json) {
        context.m_Console.PrintJson({{"card", row.m_Number},
                                     {"tag", entry.m_Tag},
                                     {"size", content.size()},
                                     {"content", HexOf(content)}});
        return outcome;
    }
    const std::string text = request.m_Hex ? HexOf(content) + "\n" : ContentInWords(entry, content);
    if (!request.m_Out.empty()) {
        return Deliver(context, Bytes(text.begin(), text.end()));
    }
    context.m_Console.Print(text);
    if (content.empty()) {
        context.m_Console.Note(Tr("The entry is empty."));
    }
    return outcome;
}

/// Writes the entry's data object back with the other protection. The container tells what came of it.
Outcome ChangeProtection(Context& context, const CardRow& row, const InfoboxEntry& entry, bool isWanted) {
    Bytes content;
    DataObject object;
    Outcome outcome = ReadEntry(context.m_Cards, entry, object, content);
    if (outcome.IsDone()) {
        outcome = WriteProtected(context.m_Cards, object, content, isWanted);
    }
    if (!outcome.IsDone()) {
        return outcome;
    }
    context.m_HasActed = true;
    Infobox after;
    outcome = after.Load(context.m_Cards, row);
    if (outcome.Why() == Reason::INTERRUPTED) {
        return {}; // the card has taken the change; only the look at it is missing
    }
    if (!outcome.IsDone()) {
        return outcome;
    }
    const InfoboxEntry* changed = after.Find(entry.m_Tag);
    return changed != nullptr && changed->m_IsProtected == isWanted ? Outcome()
                                                                    : Outcome(Reason::CHANGE_NOT_SEEN);
}

Outcome Protect(Context& context, const CardRow& row, const Infobox& infobox, const InfoboxEntry& entry) {
    if (!infobox.HasContainer()) {
        return Reason::NO_PROTECTION;
    }
    const bool isWanted = context.m_Request.Word(0) == "protect";
    if (entry.m_IsProtected != isWanted) {
        const Outcome outcome = ChangeProtection(context, row, entry, isWanted);
        if (!outcome.IsDone()) {
            return outcome;
        }
    }
    if (context.m_Request.m_Json) {
        context.m_Console.PrintJson({{"card", row.m_Number}, {"tag", entry.m_Tag}, {"protected", isWanted}});
    } else if (!context.m_Request.m_Quiet) {
        const std::string text =
            isWanted ? Tr("Entry {} is protected by the PIN.") : Tr("Entry {} is stored plain.");
        context.m_Console.Print(Filled(text, {entry.m_Tag}) + "\n");
    }
    return {};
}

} // namespace

Outcome RunInfobox(Context& context) {
    return WithSession(context, [&context](const CardRow& row) {
        Infobox infobox;
        const Outcome outcome = infobox.Load(context.m_Cards, row);
        if (!outcome.IsDone()) {
            return outcome;
        }
        const std::string what = context.m_Request.Word(0);
        if (what.empty()) {
            return ShowEntries(context, row, infobox);
        }
        const InfoboxEntry* entry = infobox.Find(context.m_Request.Word(1));
        if (entry == nullptr) {
            return Outcome(Reason::NO_ENTRY, context.m_Request.Word(1));
        }
        return what == "read" ? Read(context, row, *entry) : Protect(context, row, infobox, *entry);
    });
}

} // namespace orselcli
