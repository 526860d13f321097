// SPDX-License-Identifier: MIT
#include "simulator/deck/CardText.h"

#include <exception>
#include <iomanip>
#include <sstream>

#include "simulator/store/Card.h"
#include "simulator/store/OpenSslHandles.h"

namespace orselsim {

namespace {

/// Common name in the first certificate that has one, in UTF-8; empty for none.
std::string holderOf(const Card& card) {
    for (const ObjectRecord& object : card.record.objects) {
        if (object.kind != ObjectKind::Certificate)
            continue;
        const Bytes& content = card.content(object.file);
        const unsigned char* der = content.data();
        const X509Ptr certificate(d2i_X509(nullptr, &der, static_cast<long>(content.size())));
        if (!certificate)
            continue;
        X509_NAME* subject = X509_get_subject_name(certificate.get());
        const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
        if (index < 0)
            continue;
        unsigned char* text = nullptr;
        const int size =
            ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)));
        if (size < 0)
            continue;
        const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(
            text, [](unsigned char* pointer) { OPENSSL_free(pointer); });
        return std::string(text, text + size);
    }
    return "";
}

const char* kindName(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::Data:
        return "data";
    case ObjectKind::Certificate:
        return "certificate";
    case ObjectKind::PublicKey:
        return "public key";
    case ObjectKind::PrivateKey:
        return "private key";
    }
    return "";
}

std::string secretState(const CountedSecret& secret) {
    if (!secret.secret)
        return "not set";
    if (secret.isBlocked())
        return "blocked";
    return std::to_string(secret.triesLeft) + " of " + std::to_string(secret.maxTries) + " tries left";
}

void describeToken(const CardRecord& record, std::ostream& out) {
    out << "Label         " << record.label << '\n'
        << "Model         " << record.model << '\n'
        << "Manufacturer  " << record.manufacturer << '\n'
        << "Serial        " << record.serial << '\n'
        << "ATR           " << toHex(record.atr) << '\n'
        << "Reader        " << (record.isRemovable ? "card can be taken out" : "card is fixed") << '\n';
    if (record.slotId)
        out << "Slot          " << *record.slotId << '\n';
    if (record.delayMs > 0)
        out << "Delay         " << record.delayMs << " ms\n";
}

} // namespace

std::string cardLine(const std::string& name, const std::string& directory) {
    std::ostringstream line;
    line << std::left << std::setw(14) << name << "  ";
    try {
        const Card card = loadCard(directory);
        line << std::setw(16) << card.record.model << "  " << std::setw(16) << card.record.serial << "  "
             << holderOf(card);
    } catch (const std::exception& error) {
        line << "damaged: " << error.what();
    }
    return line.str();
}

std::string pinLines(const CardRecord& record) {
    std::string lines;
    for (const auto& [name, pin] : record.pins)
        lines += "PIN           " + name + ": " + secretState(pin.pin) +
                 ", PUK: " + (pin.puk ? secretState(*pin.puk) : "none") + "\n";
    return lines;
}

std::string cardText(const std::string& directory) {
    const Card card = loadCard(directory);
    std::ostringstream text;
    describeToken(card.record, text);
    text << "Holder        " << holderOf(card) << '\n';
    text << pinLines(card.record);
    for (const ObjectRecord& object : card.record.objects)
        text << "Object        " << kindName(object.kind) << " \"" << object.label << "\", "
             << card.content(object.file).size() << " bytes" << (object.isPrivate ? ", private" : "") << '\n';
    for (const auto& [name, file] : card.record.properties)
        text << "Property      " << name << ", " << card.content(file).size() << " bytes\n";
    return text.str();
}

} // namespace orselsim
