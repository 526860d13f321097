// SPDX-License-Identifier: MIT
// The entry point that changes objects, and that PIN commands come through.
#include <algorithm>
#include <optional>

#include <openssl/err.h>

#include "simulator/store/Files.h"
#include "simulator/store/InfoboxFile.h"
#include "simulator/token/Authorisation.h"
#include "simulator/token/Call.h"
#include "simulator/token/Output.h"
#include "simulator/token/PinCommands.h"

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
    std::optional<Bytes> value;
    std::optional<bool> isPrivate;
    std::optional<PinCommand> command;
    bool wantsSoftwarePin = false;
};

bool flagOf(const CK_ATTRIBUTE& attribute) {
    if (attribute.pValue == nullptr || attribute.ulValueLen != sizeof(CK_BBOOL))
        throw Refusal{CKR_ATTRIBUTE_VALUE_INVALID};
    return *static_cast<const CK_BBOOL*>(attribute.pValue) != CK_FALSE;
}

Bytes valueOf(const CK_ATTRIBUTE& attribute) {
    if (attribute.ulValueLen > 0)
        orselsim::require(attribute.pValue);
    if (attribute.ulValueLen > orselsim::largestFile)
        throw Refusal{CKR_DEVICE_MEMORY};
    const auto* bytes = static_cast<const unsigned char*>(attribute.pValue);
    return bytes == nullptr ? Bytes() : Bytes(bytes, bytes + attribute.ulValueLen);
}

void addChange(const CK_ATTRIBUTE& attribute, const TokenObject& object, Changes& changes) {
    switch (attribute.type) {
    case CKA_VALUE:
        changes.value = valueOf(attribute);
        return;
    case CKA_PRIVATE:
        changes.isPrivate = flagOf(attribute);
        return;
    case orselsim::changePinCommand:
    case orselsim::unblockPinCommand:
        if (changes.command)
            throw Refusal{CKR_TEMPLATE_INCONSISTENT};
        changes.command = PinCommand{attribute.type, flagOf(attribute), false};
        return;
    case orselsim::forceSoftwarePin:
        changes.wantsSoftwarePin = flagOf(attribute);
        return;
    default:
        throw Refusal{object.attributes.count(attribute.type) != 0 ? CKR_ATTRIBUTE_READ_ONLY
                                                                   : CKR_ATTRIBUTE_TYPE_INVALID};
    }
}

Changes changesOf(const CK_ATTRIBUTE* attributes, CK_ULONG count, const TokenObject& object) {
    orselsim::require(attributes);
    Changes changes;
    for (CK_ULONG i = 0; i < count; ++i)
        addChange(attributes[i], object, changes);
    const bool writes = changes.value || changes.isPrivate;
    if (changes.command && writes)
        throw Refusal{CKR_TEMPLATE_INCONSISTENT};
    if (!changes.command && !writes)
        throw Refusal{CKR_ARGUMENTS_BAD}; // an empty template, or the wish for a software PIN alone
    if (changes.command)
        changes.command->wantsSoftwarePin = changes.wantsSoftwarePin;
    return changes;
}

bool isCertificate(const Bytes& bytes) {
    const unsigned char* der = bytes.data();
    const orselsim::X509Ptr certificate(d2i_X509(nullptr, &der, static_cast<long>(bytes.size())));
    ERR_clear_error(); // the host program's error queue is not ours to fill
    return certificate && der == bytes.data() + bytes.size();
}

void checkWritable(const ObjectRecord& object, const Changes& changes) {
    if (object.kind == ObjectKind::PrivateKey || object.kind == ObjectKind::PublicKey)
        throw Refusal{CKR_ATTRIBUTE_READ_ONLY};
    if (object.kind == ObjectKind::Certificate && changes.value && !isCertificate(*changes.value))
        throw Refusal{CKR_ATTRIBUTE_VALUE_INVALID};
}

/// The directory of the infobox area shows which of its objects are private.
void markInfobox(Card& card, const ObjectRecord& written) {
    for (const ObjectRecord& object : card.record.objects)
        if (object.kind == ObjectKind::Data && object.label == orselsim::infobox::directoryLabel)
            orselsim::infobox::markEntry(card.contents[object.file], written.label, written.isPrivate);
}

CK_RV applyChanges(Card& card, const ObjectRecord& wanted, const Changes& changes) {
    auto& objects = card.record.objects;
    const auto object = std::find_if(objects.begin(), objects.end(), [&](const ObjectRecord& candidate) {
        return candidate.kind == wanted.kind && candidate.file == wanted.file;
    });
    if (object == objects.end())
        return CKR_OBJECT_HANDLE_INVALID; // another process took it away
    if (changes.value)
        card.contents[object->file] = *changes.value;
    if (changes.isPrivate) {
        object->isPrivate = *changes.isPrivate;
        if (object->kind == ObjectKind::Data)
            markInfobox(card, *object);
    }
    return CKR_OK;
}

void writeObject(Call& call, Runtime& runtime, CK_SESSION_HANDLE session, const ObjectRecord& object,
                 const Changes& changes) {
    checkWritable(object, changes);
    if (runtime.session(session).card->record().asksPinForData)
        orselsim::authorise(call, runtime, session, object.pin);
    const SessionView view = runtime.session(session);
    orselsim::changeCard(runtime.deck(), view.slot,
                         [&](Card& card) { return applyChanges(card, object, changes); });
}

} // namespace

// A read-only session will do, and no login is needed: this library asks for a PIN itself where the
// card wants one.
CK_RV C_SetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE handle, CK_ATTRIBUTE* attributes,
                          CK_ULONG count) {
    Call call("C_SetAttributeValue");
    call.session(session).number("object", handle).given(attributes, count).slow();
    return call.run([&](Runtime& runtime) {
        const SessionView view = runtime.session(session);
        const TokenObject* object = view.card->object(handle);
        if (object == nullptr)
            throw Refusal{CKR_OBJECT_HANDLE_INVALID};
        const Changes changes = changesOf(attributes, count, *object);
        if (changes.command)
            orselsim::runPinCommand(call, runtime, session, object->record.pin, *changes.command);
        else
            writeObject(call, runtime, session, object->record, changes);
    });
}
