// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_TOKENCARD_H
#define ORSEL_SIMULATOR_TOKEN_TOKENCARD_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "simulator/store/Card.h"
#include "simulator/store/Shared.h"
#include "simulator/token/ObjectAttributes.h"
#include "tokenlib/OpenSslHandles.h"
#include "tokenlib/PublicParts.h"

namespace orselsim {

/// One object as a session sees it.
struct TokenObject {
    ObjectRecord m_Record;
    AttributeMap m_Attributes;
    std::shared_ptr<EVP_PKEY> m_Key; ///< null for data and certificates

    /// Whether every attribute of the template is there with exactly this value.
    bool Matches(const AttributeMap& wanted) const;
};

/// A card that was read, ready to be shown as a token. Never changes: a write goes to the card's
/// directory, and the card is read anew.
class TokenCard {
public:
    /// Throws std::exception, naming the reason, when the directory holds no whole card.
    static std::shared_ptr<const TokenCard> Load(const std::string& directory);

    const Card& GetCard() const { return m_Card; }
    const CardRecord& Record() const { return m_Card.m_Record; }

    /// Null for a handle that belongs to no object.
    const TokenObject* Object(CK_OBJECT_HANDLE handle) const;

    /// Handles of all objects that match, in the card's order.
    std::vector<CK_OBJECT_HANDLE> Find(const AttributeMap& wanted) const;

private:
    explicit TokenCard(Card card);

    /// What a file holds for both keys of a pair: reading it is most of what a card costs.
    struct KeyInFile {
        std::shared_ptr<EVP_PKEY> m_Key;
        PublicParts m_Parts;
    };

    TokenObject MakeObject(const ObjectRecord& record);
    const KeyInFile& KeyOf(const ObjectRecord& record);

    Card m_Card;
    std::map<std::string, KeyInFile> m_Keys; ///< by the name of the file
    std::vector<TokenObject> m_Objects;
};

} // namespace orselsim

#endif
