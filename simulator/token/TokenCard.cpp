// SPDX-License-Identifier: MIT
#include "simulator/token/TokenCard.h"

#include <algorithm>

#include "simulator/store/KeyMaterial.h"

namespace orselsim {

namespace {

// Far from zero and from the numbers of slots and sessions, so that a mix-up is noticed.
constexpr CK_OBJECT_HANDLE firstHandle = 0x1001;

/// A key bears the subject of its certificate, as tools that pair them expect.
void shareSubjects(std::vector<TokenObject>& objects) {
    for (TokenObject& key : objects) {
        if (!key.key)
            continue;
        for (const TokenObject& other : objects)
            if (other.record.kind == ObjectKind::Certificate && other.record.id == key.record.id)
                key.attributes[CKA_SUBJECT] = other.attributes.at(CKA_SUBJECT);
    }
}

} // namespace

bool TokenObject::matches(const AttributeMap& wanted) const {
    return std::all_of(wanted.begin(), wanted.end(), [this](const auto& entry) {
        const auto own = attributes.find(entry.first);
        return own != attributes.end() && own->second == entry.second;
    });
}

TokenCard::TokenCard(Card card) : m_card(std::move(card)) {
    for (const ObjectRecord& record : m_card.record.objects)
        m_objects.push_back(makeObject(record));
    shareSubjects(m_objects);
}

std::shared_ptr<const TokenCard> TokenCard::load(const std::string& directory) {
    return std::shared_ptr<const TokenCard>(new TokenCard(loadCard(directory)));
}

TokenObject TokenCard::makeObject(const ObjectRecord& record) const {
    TokenObject object;
    object.record = record;
    const Bytes& content = m_card.content(record.file);
    switch (record.kind) {
    case ObjectKind::Data:
        object.attributes = dataAttributes(record, content);
        break;
    case ObjectKind::Certificate:
        object.attributes = certificateAttributes(record, content);
        break;
    case ObjectKind::PublicKey:
    case ObjectKind::PrivateKey:
        object.key = readKey(content);
        if (!object.key)
            throw DamagedCard(record.file + " holds no key");
        object.attributes = keyAttributes(record, object.key.get());
        break;
    }
    return object;
}

const TokenObject* TokenCard::object(CK_OBJECT_HANDLE handle) const {
    const CK_OBJECT_HANDLE index = handle - firstHandle; // a handle below the first wraps to a huge index
    return index < m_objects.size() ? &m_objects[index] : nullptr;
}

std::vector<CK_OBJECT_HANDLE> TokenCard::find(const AttributeMap& wanted) const {
    std::vector<CK_OBJECT_HANDLE> handles;
    for (std::size_t i = 0; i < m_objects.size(); ++i)
        if (m_objects[i].matches(wanted))
            handles.push_back(firstHandle + i);
    return handles;
}

} // namespace orselsim
