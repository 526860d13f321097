// SPDX-License-Identifier: MIT
#include "bridge/ObjectAttributes.h"

#include <algorithm>
#include <array>

#include "tokenlib/Output.h"

namespace orselbridge {

namespace {

CK_RV Give(const Bytes& value, CK_ATTRIBUTE& asked) {
    const CK_ULONG capacity = asked.ulValueLen;
    asked.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    if (asked.pValue != nullptr && capacity < value.size()) {
        return CKR_BUFFER_TOO_SMALL;
    }
    if (asked.pValue != nullptr) {
        std::copy(value.begin(), value.end(), static_cast<unsigned char*>(asked.pValue));
    }
    asked.ulValueLen = value.size();
    return CKR_OK;
}

/// What never leaves a token.
bool IsSecret(CK_ATTRIBUTE_TYPE type) {
    static constexpr std::array<CK_ATTRIBUTE_TYPE, 7> SECRETS = {
        CKA_VALUE,      CKA_PRIVATE_EXPONENT, CKA_PRIME_1,     CKA_PRIME_2,
        CKA_EXPONENT_1, CKA_EXPONENT_2,       CKA_COEFFICIENT,
    };
    return std::find(SECRETS.begin(), SECRETS.end(), type) != SECRETS.end();
}

CK_RV GiveMade(const AttributeMap& made, CK_ATTRIBUTE& asked) {
    const auto own = made.find(asked.type);
    if (own != made.end()) {
        return Give(own->second, asked);
    }
    asked.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    return IsSecret(asked.type) ? CKR_ATTRIBUTE_SENSITIVE : CKR_ATTRIBUTE_TYPE_INVALID;
}

/// Reads from the module, which may report any length.
CK_RV ReadInModule(const Module& module, const Session& session, CK_OBJECT_HANDLE object,
                   std::vector<CK_ATTRIBUTE>& attributes) {
    const std::vector<CK_ATTRIBUTE> before = attributes;
    CK_ATTRIBUTE* start = attributes.empty() ? nullptr : attributes.data();
    const CK_RV code = module.Call(&CK_FUNCTION_LIST::C_GetAttributeValue, session.m_Inner.Handle(), object,
                                   start, CK_ULONG{attributes.size()});
    for (std::size_t i = 0; code == CKR_OK && i < attributes.size(); ++i) {
        if (before[i].pValue != nullptr) {
            module.CheckLength("C_GetAttributeValue", attributes[i].ulValueLen, before[i].ulValueLen);
        }
    }
    return code;
}

/// The object for the module; 0 while it is hidden.
CK_OBJECT_HANDLE Visible(const Session& session, const ShownObject& object) {
    const bool canBeSeen = object.m_Inner != 0 || session.m_Inner.IsLoggedIn();
    return canBeSeen ? Reveal(session.m_Inner, object) : 0;
}

/// The label from here, everything else from the module or, of a hidden object, from what was made up for it.
CK_RV ReadShown(const Module& module, const Session& session, const ShownObject& object,
                CK_ATTRIBUTE* attributes, CK_ULONG count) {
    const CK_OBJECT_HANDLE inner = Visible(session, object);
    std::vector<CK_ATTRIBUTE> forModule;
    std::vector<CK_ATTRIBUTE*> places;
    CK_RV first = CKR_OK;
    for (CK_ULONG i = 0; i < count; ++i) {
        if (inner != 0 && attributes[i].type != CKA_LABEL) {
            forModule.push_back(attributes[i]);
            places.push_back(&attributes[i]);
            continue;
        }
        const CK_RV code = inner != 0 ? Give(tokenlib::BytesOf(object.m_Label), attributes[i])
                                      : GiveMade(object.m_Made, attributes[i]);
        first = first == CKR_OK ? code : first;
    }
    if (forModule.empty()) {
        return first;
    }
    const CK_RV code = ReadInModule(module, session, inner, forModule);
    for (std::size_t i = 0; i < places.size(); ++i) {
        places[i]->ulValueLen = forModule[i].ulValueLen;
    }
    return code != CKR_OK ? code : first;
}

} // namespace

void ReadAttributes(Runtime& runtime, const Session& session, CK_OBJECT_HANDLE object,
                    CK_ATTRIBUTE* attributes, CK_ULONG count) {
    if (count > 0) {
        tokenlib::Require(attributes);
    }
    const ShownObject* shown = runtime.GetShown().Find(object);
    CK_RV code = CKR_OK;
    if (shown == nullptr) {
        std::vector<CK_ATTRIBUTE> forModule(attributes, attributes + count);
        code = ReadInModule(runtime.GetModule(), session, object, forModule);
        std::copy(forModule.begin(), forModule.end(), attributes);
    } else if (shown->m_Slot != session.m_Slot) {
        code = CKR_OBJECT_HANDLE_INVALID;
    } else {
        code = ReadShown(runtime.GetModule(), session, *shown, attributes, count);
    }
    if (code != CKR_OK) {
        throw Refusal{code};
    }
}

} // namespace orselbridge
