// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_TOKEN_TOKENCARD_H
#define ORSEL_SIMULATOR_TOKEN_TOKENCARD_H

#include <memory>
#include <string>
#include <vector>

#include "simulator/store/Card.h"
#include "simulator/store/OpenSslHandles.h"
#include "simulator/token/ObjectAttributes.h"

namespace orselsim {

/// One object as a session sees it.
struct TokenObject {
    ObjectRecord record;
    AttributeMap attributes;
    std::shared_ptr<EVP_PKEY> key; ///< null for data and certificates

    /// Whether every attribute of the template is there with exactly this value.
    bool matches(const AttributeMap& wanted) const;
};

/// A card that was read, ready to be shown as a token. Never changes: a write goes to the card's
/// directory, and the card is read anew.
class TokenCard {
public:
    /// Throws std::exception, naming the reason, when the directory holds no whole card.
    static std::shared_ptr<const TokenCard> load(const std::string& directory);

    const Card& card() const { return m_card; }
    const CardRecord& record() const { return m_card.record; }

    /// Null for a handle that belongs to no object.
    const TokenObject* object(CK_OBJECT_HANDLE handle) const;

    /// Handles of all objects that match, in the card's order.
    std::vector<CK_OBJECT_HANDLE> find(const AttributeMap& wanted) const;

private:
    explicit TokenCard(Card card);

    TokenObject makeObject(const ObjectRecord& record) const;

    Card m_card;
    std::vector<TokenObject> m_objects;
};

} // namespace orselsim

#endif
