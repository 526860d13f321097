// SPDX-License-Identifier: MIT
// Entry points that find objects and read their attributes.
#include <algorithm>
#include <array>

#include "simulator/token/Authorisation.h"
#include "simulator/token/Call.h"
#include "simulator/token/Output.h"

using orselsim::AttributeMap;
using orselsim::Bytes;
using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::Search;
using orselsim::SessionView;
using orselsim::TokenObject;

namespace {

AttributeMap templateOf(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    if (count > 0)
        orselsim::require(attributes);
    AttributeMap wanted;
    for (CK_ULONG i = 0; i < count; ++i) {
        const CK_ATTRIBUTE& attribute = attributes[i];
        if (attribute.ulValueLen > 0)
            orselsim::require(attribute.pValue);
        const auto* bytes = static_cast<const unsigned char*>(attribute.pValue);
        wanted[attribute.type] = bytes == nullptr ? Bytes() : Bytes(bytes, bytes + attribute.ulValueLen);
    }
    return wanted;
}

const TokenObject& objectOf(const SessionView& view, CK_OBJECT_HANDLE handle) {
    const TokenObject* object = view.card->object(handle);
    if (object == nullptr)
        throw Refusal{CKR_OBJECT_HANDLE_INVALID};
    return *object;
}

Search& searchOf(const SessionView& view) {
    if (!view.session.search)
        throw Refusal{CKR_OPERATION_NOT_INITIALIZED};
    return *view.session.search;
}

/// What never leaves the card.
bool isSecret(const TokenObject& object, CK_ATTRIBUTE_TYPE type) {
    static constexpr std::array<CK_ATTRIBUTE_TYPE, 7> secrets = {
        CKA_VALUE,      CKA_PRIVATE_EXPONENT, CKA_PRIME_1,     CKA_PRIME_2,
        CKA_EXPONENT_1, CKA_EXPONENT_2,       CKA_COEFFICIENT,
    };
    return object.record.kind == orselsim::ObjectKind::PrivateKey &&
           std::find(secrets.begin(), secrets.end(), type) != secrets.end();
}

/// Answers one entry of the template; an entry that fails says so by its length, and the others
/// are answered all the same.
CK_RV readAttribute(const TokenObject& object, CK_ATTRIBUTE& asked) {
    const CK_ULONG capacity = asked.ulValueLen;
    const auto own = object.attributes.find(asked.type);
    asked.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    if (isSecret(object, asked.type))
        return CKR_ATTRIBUTE_SENSITIVE;
    if (own == object.attributes.end())
        return CKR_ATTRIBUTE_TYPE_INVALID;
    const Bytes& value = own->second;
    if (asked.pValue != nullptr && capacity < value.size())
        return CKR_BUFFER_TOO_SMALL;
    if (asked.pValue != nullptr)
        std::copy(value.begin(), value.end(), static_cast<unsigned char*>(asked.pValue));
    asked.ulValueLen = value.size();
    return CKR_OK;
}

/// A planned fault may report any length, for all attributes or for one.
void bendLengths(const Call& call, CK_ATTRIBUTE* attributes, CK_ULONG count) {
    const auto& only = call.fault().only;
    for (CK_ULONG i = 0; i < count; ++i)
        if (!only || *only == attributes[i].type)
            call.bend(attributes[i].ulValueLen);
}

/// Some cards give private data to somebody with the PIN only.
void authoriseReading(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle) {
    const SessionView view = runtime.session(session);
    const orselsim::ObjectRecord& record = objectOf(view, handle).record;
    if (view.card->record().asksPinForData && record.kind == orselsim::ObjectKind::Data && record.isPrivate)
        orselsim::authorise(call, runtime, session, record.pin);
}

bool readsValue(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    return attributes != nullptr && std::any_of(attributes, attributes + count, [](const CK_ATTRIBUTE& a) {
               return a.type == CKA_VALUE && a.pValue != nullptr;
           });
}

} // namespace

CK_RV C_FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
    Call call("C_FindObjectsInit");
    return call.session(session).given(attributes, count).run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        if (view.session.search)
            throw Refusal{CKR_OPERATION_ACTIVE};
        view.session.search = Search{view.card->find(templateOf(attributes, count)), 0};
    });
}

CK_RV C_FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG capacity,
                    CK_ULONG* count) {
    Call call("C_FindObjects");
    return call.session(session).number("max", capacity).run([&](Runtime& runtime) {
        Search& search = searchOf(runtime.session(session));
        orselsim::require(objects);
        orselsim::require(count);
        *count = std::min<CK_ULONG>(capacity, search.found.size() - search.handedOut);
        std::copy_n(search.found.data() + search.handedOut, *count, objects);
        search.handedOut += *count;
        call.number("count", *count);
        call.bend(*count);
    });
}

CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE session) {
    return Call("C_FindObjectsFinal").session(session).run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        searchOf(view);
        view.session.search.reset();
    });
}

CK_RV C_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* attributes,
                          CK_ULONG count) {
    Call call("C_GetAttributeValue");
    call.session(session).number("object", handle).asked(attributes, count);
    if (readsValue(attributes, count))
        call.slow();
    return call.run([&](Runtime& runtime) {
        if (readsValue(attributes, count))
            authoriseReading(call, runtime, session, handle);
        const SessionView view = runtime.session(session);
        const TokenObject& object = objectOf(view, handle);
        if (count > 0)
            orselsim::require(attributes);
        CK_RV first = CKR_OK;
        for (CK_ULONG i = 0; i < count; ++i) {
            const CK_RV result = readAttribute(object, attributes[i]);
            first = first == CKR_OK ? result : first;
        }
        if (first != CKR_OK)
            throw Refusal{first};
        bendLengths(call, attributes, count);
    });
}

CK_RV C_GetObjectSize(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ULONG* size) {
    return Call("C_GetObjectSize").session(session).number("object", handle).run([&](Runtime& runtime) {
        objectOf(runtime.session(session), handle);
        orselsim::require(size);
        *size = CK_UNAVAILABLE_INFORMATION;
    });
}
