// SPDX-License-Identifier: MIT
#include "bridge/Roles.h"

#include <functional>

namespace orselbridge {

namespace {

using Test = std::function<bool(const KeyPair&)>;

std::optional<RoleChoice> First(const std::vector<KeyPair>& pairs, RoleReason reason, const Test& test,
                                const std::optional<RoleChoice>& otherThan = std::nullopt) {
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (test(pairs[i]) && (!otherThan || otherThan->m_Pair != i)) {
            return RoleChoice{i, reason};
        }
    }
    return std::nullopt;
}

std::optional<RoleChoice> Named(const std::vector<KeyPair>& pairs, const KeyName& name) {
    return First(pairs, RoleReason::BY_SETTING,
                 [&](const KeyPair& pair) { return name.Names(pair.m_Label, pair.m_Id); });
}

bool MaySign(const KeyPair& pair) {
    return pair.m_MaySign;
}

/// A key that is set for the other role is left to it, unless it is the only one.
std::optional<RoleChoice> ChooseSignature(const std::vector<KeyPair>& pairs,
                                          const std::optional<RoleChoice>& other) {
    const std::pair<RoleReason, Test> ways[] = {
        {RoleReason::ASKS_AT_EACH_USE, [](const KeyPair& pair) { return pair.m_AsksAtEachUse; }},
        {RoleReason::NON_REPUDIATION, [](const KeyPair& pair) { return pair.m_IsForNonRepudiation; }},
        {RoleReason::FIRST_SIGNING_KEY, MaySign},
    };
    for (const auto& [reason, test] : ways) {
        if (const auto choice = First(pairs, reason, test, other)) {
            return choice;
        }
    }
    return other ? std::make_optional(RoleChoice{other->m_Pair, RoleReason::ONLY_KEY}) : std::nullopt;
}

} // namespace

Roles ChooseRoles(const std::vector<KeyPair>& pairs, const RoleNames& names) {
    Roles roles;
    roles.m_Encryption = Named(pairs, names.m_Encryption);
    roles.m_Signature = Named(pairs, names.m_Signature);
    if (!roles.m_Signature) {
        roles.m_Signature = ChooseSignature(pairs, roles.m_Encryption);
    }
    if (!roles.m_Encryption) {
        roles.m_Encryption = First(pairs, RoleReason::OTHER_SIGNING_KEY, MaySign, roles.m_Signature);
    }
    if (!roles.m_Encryption && roles.m_Signature) {
        roles.m_Encryption = RoleChoice{roles.m_Signature->m_Pair, RoleReason::ONLY_KEY};
    }
    const bool isOne = roles.m_Signature && roles.m_Signature->m_Pair == roles.m_Encryption->m_Pair;
    if (isOne && roles.m_Signature->m_Reason != RoleReason::BY_SETTING) {
        roles.m_Signature->m_Reason = RoleReason::ONLY_KEY;
    }
    return roles;
}

std::string RoleLabel(Role role, CK_OBJECT_CLASS objectClass) {
    const bool isSignature = role == Role::SIGNATURE;
    switch (objectClass) {
    case CKO_PRIVATE_KEY:
        return isSignature ? "SK.CH.SIG" : "SK.CH.EKEY";
    case CKO_PUBLIC_KEY:
        return isSignature ? "PK.CH.SIG" : "PK.CH.EKEY";
    case CKO_CERTIFICATE:
        return isSignature ? "C.CH.SIG" : "C.CH.EKEY";
    default:
        return "";
    }
}

} // namespace orselbridge
