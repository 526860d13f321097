// SPDX-License-Identifier: MIT
// Entry points that find objects, read and change them, and that PIN commands come through.
#include <optional>

#include "bridge/Forwarding.h"
#include "bridge/ObjectAttributes.h"
#include "bridge/PinCommands.h"

using orselbridge::PinCommand;
using orselbridge::Runtime;
using orselbridge::Session;
using tokenlib::ActiveSearch;
using tokenlib::Call;
using tokenlib::Refusal;
using tokenlib::Search;

namespace {

bool FlagOf(const CK_ATTRIBUTE& attribute) {
    if (attribute.pValue == nullptr || attribute.ulValueLen != sizeof(CK_BBOOL)) {
        throw Refusal{CKR_ATTRIBUTE_VALUE_INVALID};
    }
    return *static_cast<const CK_BBOOL*>(attribute.pValue) != CK_FALSE;
}

bool IsCommand(CK_ATTRIBUTE_TYPE type) {
    return type == tokenlib::CHANGE_PIN_COMMAND || type == tokenlib::UNBLOCK_PIN_COMMAND ||
           type == tokenlib::FORCE_SOFTWARE_PIN;
}

/// The command of a template; nothing where the template changes an object.
std::optional<PinCommand> CommandOf(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    const auto commands = std::count_if(attributes, attributes + count,
                                        [](const CK_ATTRIBUTE& each) { return IsCommand(each.type); });
    if (commands == 0) {
        return std::nullopt;
    }
    if (static_cast<CK_ULONG>(commands) != count) {
        throw Refusal{CKR_TEMPLATE_INCONSISTENT};
    }
    std::optional<CK_ATTRIBUTE_TYPE> type;
    PinCommand command;
    for (CK_ULONG i = 0; i < count; ++i) {
        const bool flag = FlagOf(attributes[i]);
        if (attributes[i].type == tokenlib::FORCE_SOFTWARE_PIN) {
            command.m_WantsSoftwarePin = flag;
        } else if (type) {
            throw Refusal{CKR_TEMPLATE_INCONSISTENT};
        } else {
            type = attributes[i].type;
        }
    }
    if (!type) {
        throw Refusal{CKR_ARGUMENTS_BAD}; // the wish for a software PIN alone
    }
    command.m_Type = *type;
    return command;
}

/// The object has to be there, for a command on the PIN that protects it as well.
void RequireObject(Runtime& runtime, const Session& session, CK_OBJECT_HANDLE object) {
    CK_OBJECT_CLASS objectClass = 0;
    CK_ATTRIBUTE asked = {CKA_CLASS, &objectClass, sizeof objectClass};
    orselbridge::ReadAttributes(runtime, session, object, &asked, 1);
}

} // namespace

CK_RV C_FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
    Call call("C_FindObjectsInit");
    return call.Session(session).Given(attributes, count).Run([&](Runtime& runtime) {
        Session& known = runtime.SessionOf(session);
        if (known.m_Search) {
            throw Refusal{CKR_OPERATION_ACTIVE};
        }
        const auto wanted = tokenlib::TemplateOf(attributes, count);
        const orselbridge::TokenView& view = runtime.ViewOf(known);
        known.m_Search = Search(FindShown(known.m_Inner, view, runtime.GetShown(), wanted));
    });
}

CK_RV C_FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* objects, CK_ULONG capacity,
                    CK_ULONG* count) {
    Call call("C_FindObjects");
    return call.Session(session).Number("max", capacity).Run([&](Runtime& runtime) {
        ActiveSearch(runtime.SessionOf(session).m_Search).HandOut(objects, capacity, count);
        call.Number("count", *count);
        call.Bend(*count);
    });
}

CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE session) {
    return Call("C_FindObjectsFinal").Session(session).Run([&](Runtime& runtime) {
        auto& search = runtime.SessionOf(session).m_Search;
        ActiveSearch(search);
        search.reset();
    });
}

CK_RV C_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* attributes,
                          CK_ULONG count) {
    Call call("C_GetAttributeValue");
    call.Session(session).Number("object", handle).Asked(attributes, count);
    return call.Run([&](Runtime& runtime) {
        orselbridge::ReadAttributes(runtime, runtime.SessionOf(session), handle, attributes, count);
        call.Bend(attributes, count);
    });
}

CK_RV C_SetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* attributes,
                          CK_ULONG count) {
    Call call("C_SetAttributeValue");
    call.Session(session).Number("object", handle).Given(attributes, count);
    return call.Run([&](Runtime& runtime) {
        const Session& known = runtime.SessionOf(session);
        tokenlib::Require(attributes);
        if (const auto command = CommandOf(attributes, count)) {
            RequireObject(runtime, known, handle);
            orselbridge::RunPinCommand(call, runtime, session, *command);
            return;
        }
        if (count == 0) {
            throw Refusal{CKR_ARGUMENTS_BAD};
        }
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_SetAttributeValue, known.m_Inner.Handle(),
                               runtime.InnerObject(known, handle), attributes, count);
    });
}

CK_RV C_GetObjectSize(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ULONG* size) {
    return Call("C_GetObjectSize").Session(session).Number("object", handle).Run([&](Runtime& runtime) {
        const Session& known = runtime.SessionOf(session);
        tokenlib::Require(size);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_GetObjectSize, known.m_Inner.Handle(),
                               runtime.InnerObject(known, handle), size);
    });
}

CK_RV C_CreateObject(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count,
                     CK_OBJECT_HANDLE* object) {
    Call call("C_CreateObject");
    return call.Session(session).Asked(attributes, count).Run([&](Runtime& runtime) {
        tokenlib::Require(object);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_CreateObject, orselbridge::InnerOf(runtime, session),
                               attributes, count, object);
    });
}

CK_RV C_CopyObject(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* attributes,
                   CK_ULONG count, CK_OBJECT_HANDLE* copy) {
    Call call("C_CopyObject");
    return call.Session(session).Number("object", handle).Run([&](Runtime& runtime) {
        const Session& known = runtime.SessionOf(session);
        tokenlib::Require(copy);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_CopyObject, known.m_Inner.Handle(),
                               runtime.InnerObject(known, handle), attributes, count, copy);
    });
}

CK_RV C_DestroyObject(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle) {
    return Call("C_DestroyObject").Session(session).Number("object", handle).Run([&](Runtime& runtime) {
        const Session& known = runtime.SessionOf(session);
        runtime.GetModule().Do(&CK_FUNCTION_LIST::C_DestroyObject, known.m_Inner.Handle(),
                               runtime.InnerObject(known, handle));
    });
}
