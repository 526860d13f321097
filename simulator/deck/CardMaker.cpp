// SPDX-License-Identifier: MIT
#include "simulator/deck/CardMaker.h"

#include "simulator/deck/DerWriter.h"
#include "simulator/deck/IdentityLink.h"
#include "simulator/store/InfoboxFile.h"

namespace orselsim {

namespace {

constexpr std::size_t INFOBOX_SIZE = 64;

/// Labels of the objects of one application, and the files that they lie in.
struct KeyNames {
    const char* m_PrivateKey;
    const char* m_PublicKey;
    const char* m_Certificate;
    const char* m_KeyFile;
    const char* m_CertificateFile;
    const char* m_Pin;
    unsigned char m_Id;
    CertificateUse m_Use;
};

constexpr KeyNames SIGNATURE_NAMES = {
    "SK.CH.SIG",          "PK.CH.SIG",   "C.CH.SIG", "signature-key.pem",
    "signature-cert.der", SIGNATURE_PIN, 0x01,       CertificateUse::SIGNATURE};
constexpr KeyNames ENCRYPTION_NAMES = {
    "SK.CH.EKEY",          "PK.CH.EKEY",   "C.CH.EKEY", "encryption-key.pem",
    "encryption-cert.der", ENCRYPTION_PIN, 0x02,        CertificateUse::ENCRYPTION};

void AddKeyPair(Card& card, const KeyNames& names, KeyForm form, const std::string& holder,
                const DemoAuthority& authority) {
    const KeyPtr key = MakeKey(form);
    card.m_Contents[names.m_KeyFile] = PrintPrivateKey(key.get());
    card.m_Contents[names.m_CertificateFile] =
        authority.Issue(holder, card.m_Record.m_Serial, key.get(), names.m_Use);
    const Bytes id = {names.m_Id};
    auto& objects = card.m_Record.m_Objects;
    objects.push_back({ObjectKind::PRIVATE_KEY, names.m_PrivateKey, id, names.m_KeyFile, true, names.m_Pin});
    objects.push_back({ObjectKind::PUBLIC_KEY, names.m_PublicKey, id, names.m_KeyFile, false, ""});
    objects.push_back({ObjectKind::CERTIFICATE, names.m_Certificate, id, names.m_CertificateFile, false, ""});
}

void AddData(Card& card, const std::string& label, const Bytes& content, bool isPrivate) {
    const std::string file = "data-" + label + ".bin";
    card.m_Contents[file] = content;
    card.m_Record.m_Objects.push_back({ObjectKind::DATA, label, {}, file, isPrivate, ENCRYPTION_PIN});
}

/// A card whose entries are found through the directory in "INFOBOX".
void AddInfobox(Card& card, const Bytes& identityLink) {
    const auto fileId = [](unsigned char tag) { return Bytes{0xC0, tag}; };
    const std::vector<infobox::Entry> entries = {
        {0x01, 0x00, fileId(0x01)},
        {0x02, infobox::IS_PRIVATE, fileId(0x02)},
        {0x0a, 0x00, fileId(0x0a)},
    };
    AddData(card, infobox::DIRECTORY_LABEL, infobox::MakeFile(entries, INFOBOX_SIZE), false);
    AddData(card, infobox::ObjectLabel(0x01), identityLink, false);
    AddData(card, infobox::ObjectLabel(0x02), BytesOf("Notfallkontakt: 0660 0000000"), true);
    AddData(card, infobox::ObjectLabel(0x0a), {'A', 'B', 0x00, 'C', 'D', 0xFE, 0xFF}, false);
}

/// A card with three objects of fixed names, the last of them blank.
void AddFixedData(Card& card, const Bytes& identityLink) {
    AddData(card, "PERSONENBINDUNG", identityLink, false);
    AddData(card, "RFU1", BytesOf("Bibliotheksausweis 4711"), false);
    AddData(card, "RFU2", Bytes(64), false);
}

void AddCardFile(Card& card, const std::vector<std::uint16_t>& path, const Bytes& content) {
    std::string name = "file";
    for (const std::uint16_t id : path) {
        name += "-" + ToHex({static_cast<unsigned char>(id >> 8), static_cast<unsigned char>(id & 0xFF)});
    }
    name += ".bin";
    card.m_Contents[name] = content;
    card.m_Record.m_Files.push_back({path, name});
}

/// The card's number in eight bytes, so that it reads as the serial in hexadecimal.
Bytes NumberOfCard(const std::string& serial) {
    Bytes number = FromHex(serial).value_or(BytesOf(serial));
    number.resize(8);
    return number;
}

void AddCardFiles(Card& card, NumberFile layout) {
    const Bytes number = NumberOfCard(card.m_Record.m_Serial);
    const Bytes content = number + BytesOf("ORSEL");
    switch (layout) {
    case NumberFile::NONE:
        return;
    case NumberFile::IN_DIRECTORY:
        AddCardFile(card, {0xDF71, 0xD001}, content);
        return;
    case NumberFile::IN_ROOT:
        AddCardFile(card, {0xD001}, content);
        AddCardFile(card, {0x2F02}, Bytes{0x5A, 0x0A, 0x80, 0x04} + number); // 12 bytes, the chip's number
        return;
    }
}

void AddPersonData(Card& card, const std::string& holder) {
    card.m_Contents["ehic.bin"] =
        der::Sequence(der::Utf8(holder) + der::Utf8("80040000010" + card.m_Record.m_Serial.substr(0, 9)));
    card.m_Contents["grunddaten.bin"] = der::Sequence(der::Utf8(holder) + der::Utf8(card.m_Record.m_Serial));
    card.m_Record.m_Properties["SV-Personendaten/EHIC"] = "ehic.bin";
    card.m_Record.m_Properties["SV-Personendaten/Grunddaten"] = "grunddaten.bin";
}

PinRecord DemoPin(const char* pin, unsigned minLength, bool hasPuk) {
    PinRecord record;
    record.m_MinLength = minLength;
    record.Set(pin);
    if (hasPuk) {
        record.m_Puk.emplace();
        record.m_Puk->m_Secret = HashedSecret::Of(DEMO_PUK);
        record.m_Puk->m_MaxTries = record.m_Puk->m_TriesLeft = 10;
    }
    return record;
}

CardRecord MakeRecord(const CardKind& kind, const std::string& serial) {
    CardRecord record;
    record.m_Label = kind.m_Label;
    record.m_Manufacturer = "Orsel Kartenwerk";
    record.m_Model = kind.m_Model;
    record.m_Serial = serial;
    record.m_Atr = *FromHex(kind.m_Atr);
    record.m_ReportsPinStatus = kind.m_IsECard;
    if (kind.m_HasChipId) {
        record.m_ChipId = NumberOfCard(serial);
    }
    record.m_Pins = DemoPins(kind);
    return record;
}

} // namespace

std::map<std::string, PinRecord> DemoPins(const CardKind& kind) {
    if (!kind.m_SignatureKey) {
        return {};
    }
    const bool hasPuk = !kind.m_IsECard;
    return {{SIGNATURE_PIN, DemoPin(DEMO_SIGNATURE_PIN, 6, hasPuk)},
            {ENCRYPTION_PIN, DemoPin(DEMO_ENCRYPTION_PIN, 4, hasPuk)}};
}

Card MakeCard(const CardKind& kind, const std::string& holder, const std::string& serial,
              const DemoAuthority& authority) {
    Card card;
    card.m_Record = MakeRecord(kind, serial);
    if (kind.m_SignatureKey) {
        AddKeyPair(card, SIGNATURE_NAMES, *kind.m_SignatureKey, holder, authority);
    }
    if (kind.m_EncryptionKey) {
        AddKeyPair(card, ENCRYPTION_NAMES, *kind.m_EncryptionKey, holder, authority);
    }
    if (kind.m_HasIdentityLink) {
        const Bytes identityLink = MakeIdentityLink(holder, serial, authority);
        if (kind.m_HasInfobox) {
            AddInfobox(card, identityLink);
        } else {
            AddFixedData(card, identityLink);
        }
    }
    AddCardFiles(card, kind.m_NumberFile);
    if (kind.m_IsECard) {
        AddPersonData(card, holder);
    }
    return card;
}

} // namespace orselsim
