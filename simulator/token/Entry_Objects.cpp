// SPDX-License-Identifier: MIT
// Entry points that find objects and read their attributes.
#include <algorithm>
#include <array>

#include "simulator/token/Authorisation.h"
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Output.h"

using orselsim::Bytes;
using orselsim::Call;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::SessionView;
using orselsim::TokenObject;
using tokenlib::ActiveSearch;
using tokenlib::Search;

namespace {

const TokenObject& ObjectOf(const SessionView& view, CK_OBJECT_HANDLE handle) {
    const TokenObject* object = view.m_Card->Object(handle);
    if (object == nullptr) {
        throw Refusal{CKR_OBJECT_HANDLE_INVALID};
    }
    return *object;
}

/// What never leaves the card.
bool IsSecret(const TokenObject& object, CK_ATTRIBUTE_TYPE type) {
    static constexpr std::array<CK_ATTRIBUTE_TYPE, 7> SECRETS = {
        CKA_VALUE,      CKA_PRIVATE_EXPONENT, CKA_PRIME_1,     CKA_PRIME_2,
        CKA_EXPONENT_1, CKA_EXPONENT_2,       CKA_COEFFICIENT,
    };
    return object.m_Record.m_Kind == orselsim::ObjectKind::PRIVATE_KEY &&
           std::find(SECRETS.begin(), SECRETS.end(), type) != SECRETS.end();
}

/// Answers one entry of the template; an entry that fails says so by its length, and the others
/// are answered all the same.
CK_RV ReadAttribute(const TokenObject& object, CK_ATTRIBUTE& asked) {
    const CK_ULONG capacity = asked.ulValueLen;
    const auto own = object.m_Attributes.find(asked.type);
    asked.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    if (IsSecret(object, asked.type)) {
        return CKR_ATTRIBUTE_SENSITIVE;
    }
    if (own == object.m_Attributes.end()) {
        return CKR_ATTRIBUTE_TYPE_INVALID;
    }
    const Bytes& value = own->second;
    if (asked.pValue != nullptr && capacity < value.size()) {
        return CKR_BUFFER_TOO_SMALL;
    }
    if (asked.pValue != nullptr) {
        std::copy(value.begin(), value.end(), static_cast<unsigned char*>(asked.pValue));
    }
    asked.ulValueLen = value.size();
    return CKR_OK;
}

/// Some cards give private data to somebody with the PIN only.
void AuthoriseReading(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle) {
    const SessionView view = runtime.ViewOf(session);
    const orselsim::ObjectRecord& record = ObjectOf(view, handle).m_Record;
    if (view.m_Card->Record().m_AsksPinForData && record.m_Kind == orselsim::ObjectKind::DATA &&
        record.m_IsPrivate) {
        orselsim::Authorise(call, runtime, session, record.m_Pin);
    }
}

bool ReadsValue(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    return attributes != nullptr && std::any_of(attributes, attributes + count, [](const CK_ATTRIBUTE& a) {
               return a.type == CKA_VALUE && a.pValue != nullptr;
           });
}

} // namespace

CK_RV C_FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
    Call call("C_FindObjectsInit");
    return call.Session(session).Given(attributes, count).Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        if (view.m_Session.m_Search) {
            throw Refusal{CKR_OPERATION_ACTIVE};
        }
        view.m_Session.m_Search = Search(view.m_Card->Find(tokenlib::TemplateOf(attributes, count)));
    });
}

CK_RV C_FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG capacity,
                    CK_ULONG* count) {
    Call call("C_FindObjects");
    return call.Session(session).Number("max", capacity).Run([&](Runtime& runtime) {
        ActiveSearch(runtime.ViewOf(session).m_Session.m_Search).HandOut(objects, capacity, count);
        call.Number("count", *count);
        call.Bend(*count);
    });
}

CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE session) {
    return Call("C_FindObjectsFinal").Session(session).Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        ActiveSearch(view.m_Session.m_Search);
        view.m_Session.m_Search.reset();
    });
}

CK_RV C_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* attributes,
                          CK_ULONG count) {
    Call call("C_GetAttributeValue");
    call.Session(session).Number("object", handle).Asked(attributes, count);
    if (ReadsValue(attributes, count)) {
        call.Slow();
    }
    return call.Run([&](Runtime& runtime) {
        if (ReadsValue(attributes, count)) {
            AuthoriseReading(call, runtime, session, handle);
        }
        const SessionView view = runtime.ViewOf(session);
        const TokenObject& object = ObjectOf(view, handle);
        if (count > 0) {
            orselsim::Require(attributes);
        }
        CK_RV first = CKR_OK;
        for (CK_ULONG i = 0; i < count; ++i) {
            const CK_RV result = ReadAttribute(object, attributes[i]);
            first = first == CKR_OK ? result : first;
        }
        if (first != CKR_OK) {
            throw Refusal{first};
        }
        call.Bend(attributes, count);
    });
}

CK_RV C_GetObjectSize(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ULONG* size) {
    return Call("C_GetObjectSize").Session(session).Number("object", handle).Run([&](Runtime& runtime) {
        ObjectOf(runtime.ViewOf(session), handle);
        orselsim::Require(size);
        *size = CK_UNAVAILABLE_INFORMATION;
    });
}
