// SPDX-License-Identifier: MIT
#ifndef ORSEL_SIMULATOR_STORE_CARDRECORD_H
#define ORSEL_SIMULATOR_STORE_CARDRECORD_H

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/store/PinRecord.h"
#include "simulator/store/Shared.h"
#include "tokenlib/Hex.h"

namespace orselsim {

/// A card directory that does not hold a card; what() says why.
class DamagedCard : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Names of the two PINs in `CardRecord::pins`.
constexpr const char* SIGNATURE_PIN = "signature";   ///< six digits, asked for at each signature
constexpr const char* ENCRYPTION_PIN = "encryption"; ///< four digits, also the PIN of a login

/// The file that makes a directory a card; everything else it holds is named in there.
constexpr const char* RECORD_FILE_NAME = "card.json";

enum class ObjectKind { DATA, CERTIFICATE, PUBLIC_KEY, PRIVATE_KEY };

/// One object of the token, its content in a file of its own.
struct ObjectRecord {
    ObjectKind m_Kind = ObjectKind::DATA;
    std::string m_Label;
    Bytes m_Id; ///< links a certificate with its keys, empty for data
    std::string m_File;
    bool m_IsPrivate = false;
    std::string m_Pin; ///< name of the PIN that protects it, empty for none
};

/// One elementary file of the card's own file system.
struct CardFileRecord {
    std::vector<std::uint16_t> m_Path; ///< file ids below the root, the last one is the file's own
    std::string m_File;
};

/// What the JSON file of a card says.
struct CardRecord {
    std::string m_Label;        ///< at most 32 bytes
    std::string m_Manufacturer; ///< at most 32 bytes
    std::string m_Model;        ///< at most 16 bytes
    std::string m_Serial;       ///< at most 16 bytes
    Bytes m_Atr;
    std::optional<unsigned long> m_SlotId; ///< nothing: the library picks a free one
    bool m_IsRemovable = true;
    unsigned m_DelayMs = 0;        ///< spent at each access that takes long on a real card
    bool m_AsksPinForData = false; ///< private data is read and any data is written with a PIN only
    bool m_AllowsSoftwarePin = true;
    bool m_ReportsPinStatus = false; ///< the card answers the two PIN status queries
    Bytes m_ChipId;                  ///< answer to the chip id command, empty: the card lacks it
    std::map<std::string, PinRecord> m_Pins;
    std::map<std::string, std::string> m_Properties; ///< property name, file
    std::vector<CardFileRecord> m_Files;
    std::vector<ObjectRecord> m_Objects;

    const PinRecord* Pin(const std::string& name) const;
    PinRecord* Pin(const std::string& name);
};

/// Reads the text of a card's JSON file; throws DamagedCard when anything in it is not as it has
/// to be.
CardRecord ParseCardRecord(const Bytes& json);

/// The text that `parseCardRecord` reads. Throws DamagedCard for text that is not UTF-8.
Bytes PrintCardRecord(const CardRecord& record);

} // namespace orselsim

#endif
