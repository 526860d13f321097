// SPDX-License-Identifier: MIT
#include "simulator/deck/CardMaker.h"

#include "simulator/deck/DerWriter.h"
#include "simulator/deck/IdentityLink.h"
#include "simulator/store/InfoboxFile.h"

namespace orselsim {

namespace {

constexpr std::size_t infoboxSize = 64;

/// Labels of the objects of one application, and the files that they lie in.
struct KeyNames {
    const char* privateKey;
    const char* publicKey;
    const char* certificate;
    const char* keyFile;
    const char* certificateFile;
    const char* pin;
    unsigned char id;
    CertificateUse use;
};

constexpr KeyNames signatureNames = {
    "SK.CH.SIG",          "PK.CH.SIG",  "C.CH.SIG", "signature-key.pem",
    "signature-cert.der", signaturePin, 0x01,       CertificateUse::Signature};
constexpr KeyNames encryptionNames = {
    "SK.CH.EKEY",          "PK.CH.EKEY",  "C.CH.EKEY", "encryption-key.pem",
    "encryption-cert.der", encryptionPin, 0x02,        CertificateUse::Encryption};

void addKeyPair(Card& card, const KeyNames& names, KeyForm form, const std::string& holder,
                const DemoAuthority& authority) {
    const KeyPtr key = makeKey(form);
    card.contents[names.keyFile] = printPrivateKey(key.get());
    card.contents[names.certificateFile] = authority.issue(holder, card.record.serial, key.get(), names.use);
    const Bytes id = {names.id};
    auto& objects = card.record.objects;
    objects.push_back({ObjectKind::PrivateKey, names.privateKey, id, names.keyFile, true, names.pin});
    objects.push_back({ObjectKind::PublicKey, names.publicKey, id, names.keyFile, false, ""});
    objects.push_back({ObjectKind::Certificate, names.certificate, id, names.certificateFile, false, ""});
}

void addData(Card& card, const std::string& label, const Bytes& content, bool isPrivate) {
    const std::string file = "data-" + label + ".bin";
    card.contents[file] = content;
    card.record.objects.push_back({ObjectKind::Data, label, {}, file, isPrivate, encryptionPin});
}

/// A card whose entries are found through the directory in "INFOBOX".
void addInfobox(Card& card, const Bytes& identityLink) {
    const auto fileId = [](unsigned char tag) { return Bytes{0xC0, tag}; };
    const std::vector<infobox::Entry> entries = {
        {0x01, 0x00, fileId(0x01)},
        {0x02, infobox::isPrivate, fileId(0x02)},
        {0x0a, 0x00, fileId(0x0a)},
    };
    addData(card, infobox::directoryLabel, infobox::makeFile(entries, infoboxSize), false);
    addData(card, infobox::objectLabel(0x01), identityLink, false);
    addData(card, infobox::objectLabel(0x02), bytesOf("Notfallkontakt: 0660 0000000"), true);
    addData(card, infobox::objectLabel(0x0a), {'A', 'B', 0x00, 'C', 'D', 0xFE, 0xFF}, false);
}

/// A card with three objects of fixed names, the last of them blank.
void addFixedData(Card& card, const Bytes& identityLink) {
    addData(card, "PERSONENBINDUNG", identityLink, false);
    addData(card, "RFU1", bytesOf("Bibliotheksausweis 4711"), false);
    addData(card, "RFU2", Bytes(64), false);
}

void addCardFile(Card& card, const std::vector<std::uint16_t>& path, const Bytes& content) {
    std::string name = "file";
    for (const std::uint16_t id : path)
        name += "-" + toHex({static_cast<unsigned char>(id >> 8), static_cast<unsigned char>(id & 0xFF)});
    name += ".bin";
    card.contents[name] = content;
    card.record.files.push_back({path, name});
}

/// The card's number in eight bytes, so that it reads as the serial in hexadecimal.
Bytes numberOfCard(const std::string& serial) {
    Bytes number = fromHex(serial).value_or(bytesOf(serial));
    number.resize(8);
    return number;
}

void addCardFiles(Card& card, NumberFile layout) {
    const Bytes number = numberOfCard(card.record.serial);
    const Bytes content = number + bytesOf("ORSEL");
    switch (layout) {
    case NumberFile::None:
        return;
    case NumberFile::InDirectory:
        addCardFile(card, {0xDF71, 0xD001}, content);
        return;
    case NumberFile::InRoot:
        addCardFile(card, {0xD001}, content);
        addCardFile(card, {0x2F02}, Bytes{0x5A, 0x0A, 0x80, 0x04} + number); // 12 bytes, the chip's number
        return;
    }
}

void addPersonData(Card& card, const std::string& holder) {
    card.contents["ehic.bin"] =
        der::sequence(der::utf8(holder) + der::utf8("80040000010" + card.record.serial.substr(0, 9)));
    card.contents["grunddaten.bin"] = der::sequence(der::utf8(holder) + der::utf8(card.record.serial));
    card.record.properties["SV-Personendaten/EHIC"] = "ehic.bin";
    card.record.properties["SV-Personendaten/Grunddaten"] = "grunddaten.bin";
}

PinRecord demoPin(const char* pin, unsigned minLength, bool hasPuk) {
    PinRecord record;
    record.minLength = minLength;
    record.set(pin);
    if (hasPuk) {
        record.puk.emplace();
        record.puk->secret = HashedSecret::of(demoPuk);
        record.puk->maxTries = record.puk->triesLeft = 10;
    }
    return record;
}

CardRecord makeRecord(const CardKind& kind, const std::string& serial) {
    CardRecord record;
    record.label = kind.label;
    record.manufacturer = "Orsel Kartenwerk";
    record.model = kind.model;
    record.serial = serial;
    record.atr = *fromHex(kind.atr);
    record.reportsPinStatus = kind.isECard;
    if (kind.hasChipId)
        record.chipId = numberOfCard(serial);
    record.pins = demoPins(kind);
    return record;
}

} // namespace

std::map<std::string, PinRecord> demoPins(const CardKind& kind) {
    if (!kind.signatureKey)
        return {};
    const bool hasPuk = !kind.isECard;
    return {{signaturePin, demoPin(demoSignaturePin, 6, hasPuk)},
            {encryptionPin, demoPin(demoEncryptionPin, 4, hasPuk)}};
}

Card makeCard(const CardKind& kind, const std::string& holder, const std::string& serial,
              const DemoAuthority& authority) {
    Card card;
    card.record = makeRecord(kind, serial);
    if (kind.signatureKey)
        addKeyPair(card, signatureNames, *kind.signatureKey, holder, authority);
    if (kind.encryptionKey)
        addKeyPair(card, encryptionNames, *kind.encryptionKey, holder, authority);
    if (kind.hasIdentityLink) {
        const Bytes identityLink = makeIdentityLink(holder, serial, authority);
        if (kind.hasInfobox)
            addInfobox(card, identityLink);
        else
            addFixedData(card, identityLink);
    }
    addCardFiles(card, kind.numberFile);
    if (kind.isECard)
        addPersonData(card, holder);
    return card;
}

} // namespace orselsim
