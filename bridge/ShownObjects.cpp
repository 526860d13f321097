// SPDX-License-Identifier: MIT
#include "bridge/ShownObjects.h"

#include <algorithm>
#include <tuple>

namespace orselbridge {

namespace {

using tokenlib::FlagValue;
using tokenlib::NumberValue;

/// Far from the small numbers that modules count from, and still a number of 32 bits.
constexpr CK_OBJECT_HANDLE FIRST_HANDLE = 0xF0520000;
constexpr std::size_t MOST_OBJECTS = 16384;

AttributeMap MadeOf(const KeyPair& pair, const std::string& label) {
    AttributeMap made = pair.m_Public;
    made[CKA_CLASS] = NumberValue(CKO_PRIVATE_KEY);
    made[CKA_LABEL] = tokenlib::BytesOf(label);
    made[CKA_ID] = pair.m_Id;
    for (const CK_ATTRIBUTE_TYPE flag : {CKA_TOKEN, CKA_PRIVATE, CKA_SIGN, CKA_SENSITIVE}) {
        made[flag] = FlagValue(true);
    }
    return made;
}

/// Adds the objects of key pairs to a view.
class ViewMaker {
public:
    ViewMaker(CK_SLOT_ID slot, TokenView& view, ShownObjects& objects)
        : m_Slot(slot), m_View(view), m_Objects(objects) {}

    void AddRole(Role role) {
        if (const auto& choice = m_View.m_Roles.Of(role)) {
            const KeyPair& pair = m_View.m_Pairs[choice->m_Pair];
            AddIfThere(pair, CKO_CERTIFICATE, pair.m_Certificate, role);
            AddIfThere(pair, CKO_PUBLIC_KEY, pair.m_PublicKey, role);
            Add(pair, CKO_PRIVATE_KEY, pair.m_PrivateKey, RoleLabel(role, CKO_PRIVATE_KEY));
        }
    }

    /// Hidden keys without a role are shown under their own names.
    void AddOthers() {
        for (std::size_t i = 0; i < m_View.m_Pairs.size(); ++i) {
            const KeyPair& pair = m_View.m_Pairs[i];
            if (pair.m_PrivateKey == 0 && !HasRole(i)) {
                Add(pair, CKO_PRIVATE_KEY, 0, pair.m_Label);
            }
        }
    }

private:
    bool HasRole(std::size_t pair) const {
        const auto isThis = [&](const std::optional<RoleChoice>& choice) {
            return choice && choice->m_Pair == pair;
        };
        return isThis(m_View.m_Roles.m_Signature) || isThis(m_View.m_Roles.m_Encryption);
    }

    void AddIfThere(const KeyPair& pair, CK_OBJECT_CLASS objectClass, CK_OBJECT_HANDLE inner, Role role) {
        if (inner != 0) {
            Add(pair, objectClass, inner, RoleLabel(role, objectClass));
        }
    }

    void Add(const KeyPair& pair, CK_OBJECT_CLASS objectClass, CK_OBJECT_HANDLE inner,
             const std::string& label) {
        const AttributeMap made = inner == 0 ? MadeOf(pair, label) : AttributeMap();
        m_View.m_Shown.push_back(
            m_Objects.HandleOf({m_Slot, objectClass, inner, pair.m_Id, pair.m_Label, label, made}));
    }

    CK_SLOT_ID m_Slot;
    TokenView& m_View;
    ShownObjects& m_Objects;
};

bool HasAll(const AttributeMap& attributes, const AttributeMap& wanted) {
    return std::all_of(wanted.begin(), wanted.end(), [&](const auto& entry) {
        const auto own = attributes.find(entry.first);
        return own != attributes.end() && own->second == entry.second;
    });
}

/// One search over a view. Where the bridge shows an object in its own way, the module's own label
/// does not count.
class ShownSearch {
public:
    ShownSearch(const InnerSession& session, const TokenView& view, const ShownObjects& objects,
                const AttributeMap& wanted)
        : m_Session(session), m_Wanted(wanted), m_Others(wanted) {
        m_Others.erase(CKA_LABEL);
        const bool isLoggedIn = session.IsLoggedIn();
        for (const CK_OBJECT_HANDLE handle : view.m_Shown) {
            const ShownObject* object = objects.Find(handle);
            const CK_OBJECT_HANDLE inner = isLoggedIn ? Reveal(session, *object) : object->m_Inner;
            if (inner != 0 || !isLoggedIn) { // a certificate need not have a key on this token
                m_Shown.push_back({handle, inner, object});
            }
        }
    }

    std::vector<CK_OBJECT_HANDLE> Run() {
        const std::vector<CK_OBJECT_HANDLE> all = m_Session.Find(m_Others);
        const std::vector<CK_OBJECT_HANDLE> own = HasLabel() ? m_Session.Find(m_Wanted) : all;
        for (const CK_OBJECT_HANDLE inner : all) {
            if (!AddShown(inner) && std::find(own.begin(), own.end(), inner) != own.end()) {
                m_Found.push_back(inner);
            }
        }
        for (const Entry& entry : m_Shown) {
            if (entry.m_Inner == 0 && HasAll(entry.m_Object->m_Made, m_Others)) {
                Add(entry);
            }
        }
        return std::move(m_Found);
    }

private:
    struct Entry {
        CK_OBJECT_HANDLE m_Handle;
        CK_OBJECT_HANDLE m_Inner;
        const ShownObject* m_Object;
    };

    bool HasLabel() const { return m_Wanted.count(CKA_LABEL) != 0; }

    /// Whether the bridge shows this object of the module in its own way.
    bool AddShown(CK_OBJECT_HANDLE inner) {
        bool isShown = false;
        for (const Entry& entry : m_Shown) {
            if (entry.m_Inner == inner) {
                isShown = true;
                Add(entry);
            }
        }
        return isShown;
    }

    void Add(const Entry& entry) {
        const ShownObject& object = *entry.m_Object;
        const bool isNamed = !HasLabel() || m_Wanted.at(CKA_LABEL) == tokenlib::BytesOf(object.m_Label);
        if (isNamed && !IsThereById(object)) {
            m_Found.push_back(entry.m_Handle);
            m_Added.push_back(&object);
        }
    }

    /// Who asks by the id asks for one key, also where that key plays both roles: all that is found has that
    /// id.
    bool IsThereById(const ShownObject& object) const {
        return m_Wanted.count(CKA_ID) != 0 &&
               std::any_of(m_Added.begin(), m_Added.end(), [&](const ShownObject* added) {
                   return added->m_Class == object.m_Class && added->m_Inner == object.m_Inner &&
                          added->m_OwnLabel == object.m_OwnLabel;
               });
    }

    const InnerSession& m_Session;
    const AttributeMap& m_Wanted;
    AttributeMap m_Others; ///< what is wanted beside the label
    std::vector<Entry> m_Shown;
    std::vector<CK_OBJECT_HANDLE> m_Found;
    std::vector<const ShownObject*> m_Added;
};

} // namespace

bool ShownObject::IsSame(const ShownObject& other) const {
    return std::tie(m_Slot, m_Class, m_Id, m_OwnLabel, m_Label) ==
           std::tie(other.m_Slot, other.m_Class, other.m_Id, other.m_OwnLabel, other.m_Label);
}

CK_OBJECT_HANDLE ShownObjects::HandleOf(const ShownObject& object) {
    for (auto& [handle, known] : m_Objects) {
        if (known.IsSame(object)) {
            known = object;
            return handle;
        }
    }
    if (m_Objects.size() >= MOST_OBJECTS) {
        throw Refusal{CKR_HOST_MEMORY};
    }
    const CK_OBJECT_HANDLE handle = FIRST_HANDLE + m_Objects.size();
    m_Objects.emplace(handle, object);
    return handle;
}

const ShownObject* ShownObjects::Find(CK_OBJECT_HANDLE handle) const {
    const auto found = m_Objects.find(handle);
    return found == m_Objects.end() ? nullptr : &found->second;
}

TokenView MakeView(const InnerSession& session, CK_SLOT_ID slot, const RoleNames& names,
                   ShownObjects& objects) {
    TokenView view;
    view.m_Pairs = ReadKeyPairs(session);
    view.m_Roles = ChooseRoles(view.m_Pairs, names);
    ViewMaker maker(slot, view, objects);
    maker.AddRole(Role::SIGNATURE);
    maker.AddRole(Role::ENCRYPTION);
    maker.AddOthers();
    return view;
}

CK_OBJECT_HANDLE Reveal(const InnerSession& session, const ShownObject& object) {
    if (object.m_Inner != 0) {
        return object.m_Inner;
    }
    const bool hasId = !object.m_Id.empty();
    const std::vector<CK_OBJECT_HANDLE> found = session.Find({
        {CKA_CLASS, NumberValue(object.m_Class)},
        {hasId ? CKA_ID : CKA_LABEL, hasId ? object.m_Id : tokenlib::BytesOf(object.m_OwnLabel)},
    });
    // An object with an id may bear the label of one that has none.
    const auto own = std::find_if(found.begin(), found.end(), [&](CK_OBJECT_HANDLE inner) {
        return hasId || session.Read(inner, CKA_ID).value_or(Bytes()).empty();
    });
    return own == found.end() ? 0 : *own;
}

std::vector<CK_OBJECT_HANDLE> FindShown(const InnerSession& session, const TokenView& view,
                                        const ShownObjects& objects, const AttributeMap& wanted) {
    return ShownSearch(session, view, objects, wanted).Run();
}

} // namespace orselbridge
