// SPDX-License-Identifier: MIT
// The entry point that changes objects, and that PIN commands come through.
#include <algorithm>
#include <optional>

#include <openssl/err.h>

#include "simulator/store/Files.h"
#include "simulator/store/InfoboxFile.h"
#include "simulator/token/Authorisation.h"
#include "simulator/token/PinCommands.h"
#include "simulator/token/Runtime.h"
#include "tokenlib/Call.h"
#include "tokenlib/Output.h"

using orselsim::Bytes;
using orselsim::Call;
using orselsim::Card;
using orselsim::ObjectKind;
using orselsim::ObjectRecord;
using orselsim::PinCommand;
using orselsim::Refusal;
using orselsim::Runtime;
using orselsim::SessionView;
using orselsim::TokenObject;

namespace {

/// A template taken apart.
struct Changes {
    std::optional<Bytes> m_Value;
    std::optional<bool> m_IsPrivate;
    std::optional<PinCommand> m_Command;
    bool m_WantsSoftwarePin = false;
};

bool FlagOf(const CK_ATTRIBUTE& attribute) {
    if (attribute.pValue == nullptr || attribute.ulValueLen != sizeof(CK_BBOOL)) {
        throw Refusal{CKR_ATTRIBUTE_VALUE_INVALID};
    }
    return *static_cast<const CK_BBOOL*>(attribute.pValue) != CK_FALSE;
}

Bytes ValueOf(const CK_ATTRIBUTE& attribute) {
    if (attribute.ulValueLen > 0) {
        orselsim::Require(attribute.pValue);
    }
    if (attribute.ulValueLen > orselsim::LARGEST_FILE) {
        throw Refusal{CKR_DEVICE_MEMORY};
    }
    const auto* bytes = static_cast<const unsigned char*>(attribute.pValue);
    return bytes == nullptr ? Bytes() : Bytes(bytes, bytes + attribute.ulValueLen);
}

void AddChange(const CK_ATTRIBUTE& attribute, const TokenObject& object, Changes& changes) {
    switch (attribute.type) {
    case CKA_VALUE:
        changes.m_Value = ValueOf(attribute);
        return;
    case CKA_PRIVATE:
        changes.m_IsPrivate = FlagOf(attribute);
        return;
    case orselsim::CHANGE_PIN_COMMAND:
    case orselsim::UNBLOCK_PIN_COMMAND:
        if (changes.m_Command) {
            throw Refusal{CKR_TEMPLATE_INCONSISTENT};
        }
        changes.m_Command = PinCommand{attribute.type, FlagOf(attribute), false};
        return;
    case orselsim::FORCE_SOFTWARE_PIN:
        changes.m_WantsSoftwarePin = FlagOf(attribute);
        return;
    default:
        throw Refusal{object.m_Attributes.count(attribute.type) != 0 ? CKR_ATTRIBUTE_READ_ONLY
                                                                     : CKR_ATTRIBUTE_TYPE_INVALID};
    }
}

Changes ChangesOf(const CK_ATTRIBUTE* attributes, CK_ULONG count, const TokenObject& object) {
    orselsim::Require(attributes);
    Changes changes;
    for (CK_ULONG i = 0; i < count; ++i) {
        AddChange(attributes[i], object, changes);
    }
    const bool writes = changes.m_Value || changes.m_IsPrivate;
    if (changes.m_Command && writes) {
        throw Refusal{CKR_TEMPLATE_INCONSISTENT};
    }
    if (!changes.m_Command && !writes) {
        throw Refusal{CKR_ARGUMENTS_BAD}; // an empty template, or the wish for a software PIN alone
    }
    if (changes.m_Command) {
        changes.m_Command->m_WantsSoftwarePin = changes.m_WantsSoftwarePin;
    }
    return changes;
}

bool IsCertificate(const Bytes& bytes) {
    const unsigned char* der = bytes.data();
    const orselsim::X509Ptr certificate(d2i_X509(nullptr, &der, static_cast<long>(bytes.size())));
    ERR_clear_error(); // the host program's error queue is not ours to fill
    return certificate && der == bytes.data() + bytes.size();
}

void CheckWritable(const ObjectRecord& object, const Changes& changes) {
    if (object.m_Kind == ObjectKind::PRIVATE_KEY || object.m_Kind == ObjectKind::PUBLIC_KEY) {
        throw Refusal{CKR_ATTRIBUTE_READ_ONLY};
    }
    if (object.m_Kind == ObjectKind::CERTIFICATE && changes.m_Value && !IsCertificate(*changes.m_Value)) {
        throw Refusal{CKR_ATTRIBUTE_VALUE_INVALID};
    }
}

/// The directory of the infobox area shows which of its objects are private.
void MarkInfobox(Card& card, const ObjectRecord& written) {
    for (const ObjectRecord& object : card.m_Record.m_Objects) {
        if (object.m_Kind == ObjectKind::DATA && object.m_Label == orselsim::infobox::DIRECTORY_LABEL) {
            orselsim::infobox::MarkEntry(card.m_Contents[object.m_File], written.m_Label,
                                         written.m_IsPrivate);
        }
    }
}

CK_RV ApplyChanges(Card& card, const ObjectRecord& wanted, const Changes& changes) {
    auto& objects = card.m_Record.m_Objects;
    const auto object = std::find_if(objects.begin(), objects.end(), [&](const ObjectRecord& candidate) {
        return candidate.m_Kind == wanted.m_Kind && candidate.m_File == wanted.m_File;
    });
    if (object == objects.end()) {
        return CKR_OBJECT_HANDLE_INVALID; // another process took it away
    }
    if (changes.m_Value) {
        card.m_Contents[object->m_File] = *changes.m_Value;
    }
    if (changes.m_IsPrivate) {
        object->m_IsPrivate = *changes.m_IsPrivate;
        if (object->m_Kind == ObjectKind::DATA) {
            MarkInfobox(card, *object);
        }
    }
    return CKR_OK;
}

void WriteObject(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const ObjectRecord& object,
                 const Changes& changes) {
    CheckWritable(object, changes);
    if (runtime.ViewOf(session).m_Card->Record().m_AsksPinForData) {
        orselsim::Authorise(call, runtime, session, object.m_Pin);
    }
    const SessionView view = runtime.ViewOf(session);
    orselsim::ChangeCard(runtime.GetDeck(), view.m_Slot,
                         [&](Card& card) { return ApplyChanges(card, object, changes); });
}

} // namespace

// A read-only session will do, and no login is needed: this library asks for a PIN itself where the
// card wants one.
CK_RV C_SetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* attributes,
                          CK_ULONG count) {
    Call call("C_SetAttributeValue");
    call.Session(session).Number("object", handle).Given(attributes, count).Slow();
    return call.Run([&](Runtime& runtime) {
        const SessionView view = runtime.ViewOf(session);
        const TokenObject* object = view.m_Card->Object(handle);
        if (object == nullptr) {
            throw Refusal{CKR_OBJECT_HANDLE_INVALID};
        }
        const Changes changes = ChangesOf(attributes, count, *object);
        if (changes.m_Command) {
            orselsim::RunPinCommand(call, runtime, session, object->m_Record.m_Pin, *changes.m_Command);
        } else {
            WriteObject(call, runtime, session, object->m_Record, changes);
        }
    });
}
