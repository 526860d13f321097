// SPDX-License-Identifier: MIT
#include "simulator/deck/CardText.h"

#include <exception>
#include <iomanip>
#include <sstream>

#include "simulator/store/Card.h"
#include "tokenlib/OpenSslHandles.h"

namespace orselsim {

namespace {

/// Common name in the first certificate that has one, in UTF-8; empty for none.
std::string HolderOf(const Card& card) {
    for (const ObjectRecord& object : card.m_Record.m_Objects) {
        if (object.m_Kind != ObjectKind::CERTIFICATE) {
            continue;
        }
        const Bytes& content = card.Content(object.m_File);
        const unsigned char* der = content.data();
        const X509Ptr certificate(d2i_X509(nullptr, &der, static_cast<long>(content.size())));
        if (!certificate) {
            continue;
        }
        X509_NAME* subject = X509_get_subject_name(certificate.get());
        const int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
        if (index < 0) {
            continue;
        }
        unsigned char* text = nullptr;
        const int size =
            ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index)));
        if (size < 0) {
            continue;
        }
        const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(
            text, [](unsigned char* pointer) { OPENSSL_free(pointer); });
        return std::string(text, text + size);
    }
    return "";
}

const char* KindName(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::DATA:
        return "data";
    case ObjectKind::CERTIFICATE:
        return "certificate";
    case ObjectKind::PUBLIC_KEY:
        return "public key";
    case ObjectKind::PRIVATE_KEY:
        return "private key";
    }
    return "";
}

std::string SecretState(const CountedSecret& secret) {
    if (!secret.m_Secret) {
        return "not set";
    }
    if (secret.IsBlocked()) {
        return "blocked";
    }
    return std::to_string(secret.m_TriesLeft) + " of " + std::to_string(secret.m_MaxTries) + " tries left";
}

void DescribeToken(const CardRecord& record, std::ostream& out) {
    out << "Label         " << record.m_Label << '\n'
        << "Model         " << record.m_Model << '\n'
        << "Manufacturer  " << record.m_Manufacturer << '\n'
        << "Serial        " << record.m_Serial << '\n'
        << "ATR           " << ToHex(record.m_Atr) << '\n'
        << "Reader        " << (record.m_IsRemovable ? "card can be taken out" : "card is fixed") << '\n';
    if (record.m_SlotId) {
        out << "Slot          " << *record.m_SlotId << '\n';
    }
    if (record.m_DelayMs > 0) {
        out << "Delay         " << record.m_DelayMs << " ms\n";
    }
}

} // namespace

std::string CardLine(const std::string& name, const std::string& directory) {
    std::ostringstream line;
    line << std::left << std::setw(14) << name << "  ";
    try {
        const Card card = LoadCard(directory);
        line << std::setw(16) << card.m_Record.m_Model << "  " << std::setw(16) << card.m_Record.m_Serial
             << "  " << HolderOf(card);
    } catch (const std::exception& error) {
        line << "damaged: " << error.what();
    }
    return line.str();
}

std::string PinLines(const CardRecord& record) {
    std::string lines;
    for (const auto& [name, pin] : record.m_Pins) {
        lines += "PIN           " + name + ": " + SecretState(pin.m_Pin) +
                 ", PUK: " + (pin.m_Puk ? SecretState(*pin.m_Puk) : "none") + "\n";
    }
    return lines;
}

std::string CardText(const std::string& directory) {
    const Card card = LoadCard(directory);
    std::ostringstream text;
    DescribeToken(card.m_Record, text);
    text << "Holder        " << HolderOf(card) << '\n';
    text << PinLines(card.m_Record);
    for (const ObjectRecord& object : card.m_Record.m_Objects) {
        text << "Object        " << KindName(object.m_Kind) << " \"" << object.m_Label << "\", "
             << card.Content(object.m_File).size() << " bytes" << (object.m_IsPrivate ? ", private" : "")
             << '\n';
    }
    for (const auto& [name, file] : card.m_Record.m_Properties) {
        text << "Property      " << name << ", " << card.Content(file).size() << " bytes\n";
    }
    return text.str();
}

} // namespace orselsim
