// SPDX-License-Identifier: MIT
#include "simulator/token/TokenCard.h"

#include <algorithm>

#include "simulator/store/KeyMaterial.h"

namespace orselsim {

namespace {

// Far from zero and from the numbers of slots and sessions, so that a mix-up is noticed.
constexpr CK_OBJECT_HANDLE FIRST_HANDLE = 0x1001;

/// A key bears the subject of its certificate, as tools that pair them expect.
void ShareSubjects(std::vector<TokenObject>& objects) {
    for (TokenObject& key : objects) {
        if (!key.m_Key) {
            continue;
        }
        for (const TokenObject& other : objects) {
            if (other.m_Record.m_Kind == ObjectKind::CERTIFICATE &&
                other.m_Record.m_Id == key.m_Record.m_Id) {
                key.m_Attributes[CKA_SUBJECT] = other.m_Attributes.at(CKA_SUBJECT);
            }
        }
    }
}

} // namespace

bool TokenObject::Matches(const AttributeMap& wanted) const {
    return std::all_of(wanted.begin(), wanted.end(), [this](const auto& entry) {
        const auto own = m_Attributes.find(entry.first);
        return own != m_Attributes.end() && own->second == entry.second;
    });
}

TokenCard::TokenCard(Card card) : m_Card(std::move(card)) {
    for (const ObjectRecord& record : m_Card.m_Record.m_Objects) {
        m_Objects.push_back(MakeObject(record));
    }
    ShareSubjects(m_Objects);
}

std::shared_ptr<const TokenCard> TokenCard::Load(const std::string& directory) {
    return std::shared_ptr<const TokenCard>(new TokenCard(LoadCard(directory)));
}

const TokenCard::KeyInFile& TokenCard::KeyOf(const ObjectRecord& record) {
    KeyInFile& key = m_Keys[record.m_File];
    if (key.m_Key == nullptr) {
        key.m_Key = ReadKey(m_Card.Content(record.m_File));
        if (key.m_Key == nullptr) {
            throw DamagedCard(record.m_File + " holds no key");
        }
        key.m_Parts = PublicPartsOf(key.m_Key.get());
    }
    return key;
}

TokenObject TokenCard::MakeObject(const ObjectRecord& record) {
    TokenObject object;
    object.m_Record = record;
    const Bytes& content = m_Card.Content(record.m_File);
    switch (record.m_Kind) {
    case ObjectKind::DATA:
        object.m_Attributes = DataAttributes(record, content);
        break;
    case ObjectKind::CERTIFICATE:
        object.m_Attributes = CertificateAttributes(record, content);
        break;
    case ObjectKind::PUBLIC_KEY:
    case ObjectKind::PRIVATE_KEY:
        object.m_Key = KeyOf(record).m_Key;
        object.m_Attributes = KeyAttributes(record, KeyOf(record).m_Parts);
        break;
    }
    return object;
}

const TokenObject* TokenCard::Object(CK_OBJECT_HANDLE handle) const {
    const CK_OBJECT_HANDLE index = handle - FIRST_HANDLE; // a handle below the first wraps to a huge index
    return index < m_Objects.size() ? &m_Objects[index] : nullptr;
}

std::vector<CK_OBJECT_HANDLE> TokenCard::Find(const AttributeMap& wanted) const {
    std::vector<CK_OBJECT_HANDLE> handles;
    for (std::size_t i = 0; i < m_Objects.size(); ++i) {
        if (m_Objects[i].Matches(wanted)) {
            handles.push_back(FIRST_HANDLE + i);
        }
    }
    return handles;
}

} // namespace orselsim
