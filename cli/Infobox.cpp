// SPDX-License-Identifier: MIT
#include "cli/Infobox.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "cli/CallWitness.h"
#include "cli/DataObjects.h"
#include "formats/InfoboxFS.h"
#include "foundation/StringUtils.h"

namespace orselcli {

namespace {

std::string TwoDigits(unsigned char tag) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02x", tag);
    return digits;
}

/// The tag that a text in hexadecimal digits stands for, in the form of the list; the text itself otherwise.
std::string ListedTag(const std::string& text) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 16);
    const bool isTag = !text.empty() && *end == '\0' && number <= 0xFF;
    return isTag ? TwoDigits(static_cast<unsigned char>(number)) : text;
}

} // namespace

Outcome Infobox::Load(Cards& cards, const CardRow& row) {
    m_Entries.clear();
    if (row.m_IsEmpty) {
        return Reason::EMPTY_CARD;
    }
    CallWitness::Forget();
    Velmor::TokenInfoStruct2 info;
    if (!cards.InfoOf(row, info)) {
        return FailureOf(Reason::CARD_GONE);
    }
    m_HasContainer = info.m_HasInfobox;
    if (m_HasContainer) {
        return LoadContainer(cards);
    }
    for (const char* name : {"PERSONENBINDUNG", "RFU1", "RFU2"}) {
        m_Entries.push_back({name, name, name, false, std::string(name) == "PERSONENBINDUNG"});
    }
    return {};
}

Outcome Infobox::LoadContainer(Cards& cards) {
    DataObject object;
    Outcome outcome = FindData(cards, "INFOBOX", object);
    if (!outcome.IsDone() || !object.m_IsFound) {
        return outcome.IsDone() ? Outcome(Reason::NO_CONTAINER) : outcome;
    }
    Bytes content;
    outcome = ReadData(cards, object, content);
    if (!outcome.IsDone()) {
        return outcome;
    }
    Velmor::ByteArray file;
    file.Add(content.data(), content.size());
    LibInfobox::InfoboxFS container;
    if (!container.ParseInfoboxData(file)) {
        return Reason::BROKEN_CONTAINER;
    }
    for (const unsigned char tag : container.GetTagList()) {
        unsigned char attributes = 0;
        Velmor::ByteArray unused;
        container.GetEntry(tag, attributes, unused);
        const std::string name = tag <= LibInfobox::RFU2_INDEX ? container.TagToLabel(tag) : "";
        m_Entries.push_back({TwoDigits(tag), name, "0x" + TwoDigits(tag),
                             (attributes & LibInfobox::INFOBOX_ATTR_ENCRYPTED) != 0,
                             tag == LibInfobox::PERSONENBINDUNG_INDEX});
    }
    return {};
}

const InfoboxEntry* Infobox::Find(const std::string& tag) const {
    const std::string listed = ListedTag(tag);
    const auto found = std::find_if(m_Entries.begin(), m_Entries.end(), [&](const InfoboxEntry& entry) {
        return entry.m_Tag == listed || Velmor::Str2Lower(entry.m_Name) == Velmor::Str2Lower(tag);
    });
    return found != m_Entries.end() ? &*found : nullptr;
}

} // namespace orselcli
