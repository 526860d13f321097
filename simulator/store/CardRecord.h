// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_CARDRECORD_H
#define ORSEL_SIMULATOR_STORE_CARDRECORD_H

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/store/Hex.h"
#include "simulator/store/PinRecord.h"

namespace orselsim {

/// A card directory that does not hold a card; what() says why.
class DamagedCard : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Names of the two PINs in `CardRecord::pins`.
constexpr const char* signaturePin = "signature";   ///< six digits, asked for at each signature
constexpr const char* encryptionPin = "encryption"; ///< four digits, also the PIN of a login

/// The file that makes a directory a card; everything else it holds is named in there.
constexpr const char* recordFileName = "card.json";

enum class ObjectKind { Data, Certificate, PublicKey, PrivateKey };

/// One object of the token, its content in a file of its own.
struct ObjectRecord {
    ObjectKind kind = ObjectKind::Data;
    std::string label;
    Bytes id; ///< links a certificate with its keys, empty for data
    std::string file;
    bool isPrivate = false;
    std::string pin; ///< name of the PIN that protects it, empty for none
};

/// One elementary file of the card's own file system.
struct CardFileRecord {
    std::vector<std::uint16_t> path; ///< file ids below the root, the last one is the file's own
    std::string file;
};

/// What the JSON file of a card says.
struct CardRecord {
    std::string label;        ///< at most 32 bytes
    std::string manufacturer; ///< at most 32 bytes
    std::string model;        ///< at most 16 bytes
    std::string serial;       ///< at most 16 bytes
    Bytes atr;
    std::optional<unsigned long> slotId; ///< nothing: the library picks a free one
    bool isRemovable = true;
    unsigned delayMs = 0;        ///< spent at each access that takes long on a real card
    bool asksPinForData = false; ///< private data is read and any data is written with a PIN only
    bool allowsSoftwarePin = true;
    bool reportsPinStatus = false; ///< the card answers the two PIN status queries
    Bytes chipId;                  ///< answer to the chip id command, empty: the card lacks it
    std::map<std::string, PinRecord> pins;
    std::map<std::string, std::string> properties; ///< property name, file
    std::vector<CardFileRecord> files;
    std::vector<ObjectRecord> objects;

    const PinRecord* pin(const std::string& name) const;
    PinRecord* pin(const std::string& name);
};

/// Reads the text of a card's JSON file; throws DamagedCard when anything in it is not as it has
/// to be.
CardRecord parseCardRecord(const Bytes& json);

/// The text that `parseCardRecord` reads. Throws DamagedCard for text that is not UTF-8.
Bytes printCardRecord(const CardRecord& record);

} // namespace orselsim

#endif
