// SPDX-License-Identifier: MIT
#include "simulator/store/CardRecord.h"

#include <array>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace orselsim {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::pair<ObjectKind, const char*>, 4> KIND_NAMES = {{
    {ObjectKind::DATA, "data"},
    {ObjectKind::CERTIFICATE, "certificate"},
    {ObjectKind::PUBLIC_KEY, "public_key"},
    {ObjectKind::PRIVATE_KEY, "private_key"},
}};

/// Typed access to the members of one JSON object; a member of a wrong type damages the card.
class Reader {
public:
    explicit Reader(const Json& object) : m_Object(object) {
        if (!object.is_object()) {
            throw DamagedCard("a JSON object is expected where there is none");
        }
    }

    bool Has(const char* key) const { return m_Object.contains(key); }

    const Json& Member(const char* key) const {
        const auto found = m_Object.find(key);
        if (found == m_Object.end()) {
            throw DamagedCard(std::string("'") + key + "' is missing");
        }
        return *found;
    }

    std::string Text(const char* key, std::size_t maxSize = 255) const {
        const Json& value = Member(key);
        if (!value.is_string()) {
            WrongType(key, "a text");
        }
        const auto& text = value.get_ref<const std::string&>();
        if (text.size() > maxSize) {
            throw DamagedCard(std::string("'") + key + "' is longer than " + std::to_string(maxSize) +
                              " bytes");
        }
        return text;
    }

    std::string TextOr(const char* key, const char* fallback) const {
        return Has(key) ? Text(key) : fallback;
    }

    bool FlagOr(const char* key, bool fallback) const {
        if (!Has(key)) {
            return fallback;
        }
        const Json& value = Member(key);
        if (!value.is_boolean()) {
            WrongType(key, "true or false");
        }
        return value.get<bool>();
    }

    unsigned NumberOr(const char* key, unsigned fallback) const {
        if (!Has(key)) {
            return fallback;
        }
        const Json& value = Member(key);
        if (!value.is_number_unsigned() ||
            value.get<std::uint64_t>() > std::numeric_limits<std::int32_t>::max()) {
            WrongType(key, "a whole number from 0 to 2147483647");
        }
        return value.get<unsigned>();
    }

    Bytes HexOr(const char* key, const Bytes& fallback) const {
        if (!Has(key)) {
            return fallback;
        }
        const auto bytes = FromHex(Text(key, 65536));
        if (!bytes) {
            WrongType(key, "hexadecimal digits");
        }
        return *bytes;
    }

    const Json& List(const char* key) const {
        static const Json nothing = Json::array();
        return OfTheKindOf(nothing, key, "a list");
    }

    const Json& Object(const char* key) const {
        static const Json nothing = Json::object();
        return OfTheKindOf(nothing, key, "an object");
    }

private:
    const Json& OfTheKindOf(const Json& nothing, const char* key, const char* wanted) const {
        if (!Has(key)) {
            return nothing;
        }
        const Json& value = Member(key);
        if (value.type() != nothing.type()) {
            WrongType(key, wanted);
        }
        return value;
    }

    [[noreturn]] static void WrongType(const char* key, const char* wanted) {
        throw DamagedCard(std::string("'") + key + "' is not " + wanted);
    }

    const Json& m_Object;
};

/// A card keeps to its own directory.
std::string SimpleFileName(const std::string& name) {
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos ||
        name.find('\0') != std::string::npos) {
        throw DamagedCard("'" + name + "' is not the name of a file beside " + RECORD_FILE_NAME);
    }
    return name;
}

CountedSecret ReadSecret(const Reader& reader) {
    CountedSecret secret;
    secret.m_MaxTries = reader.NumberOr("max_tries", secret.m_MaxTries);
    secret.m_TriesLeft = reader.NumberOr("tries_left", secret.m_MaxTries);
    if (secret.m_TriesLeft > secret.m_MaxTries || secret.m_MaxTries > 0xFE) {
        throw DamagedCard("'tries_left' is above 'max_tries', or that is above 254");
    }
    if (reader.Has("hash")) {
        secret.m_Secret = HashedSecret{reader.HexOr("salt", {}), reader.HexOr("hash", {})};
    }
    return secret;
}

PinRecord ReadPin(const Json& json) {
    const Reader reader(json);
    PinRecord pin;
    pin.m_Pin = ReadSecret(reader);
    pin.m_MinLength = reader.NumberOr("min_length", pin.m_MinLength);
    pin.m_MaxLength = reader.NumberOr("max_length", pin.m_MaxLength);
    if (reader.Has("puk")) {
        pin.m_Puk = ReadSecret(Reader(reader.Member("puk")));
    }
    return pin;
}

ObjectKind ReadKind(const std::string& name) {
    for (const auto& [kind, kindName] : KIND_NAMES) {
        if (name == kindName) {
            return kind;
        }
    }
    throw DamagedCard("'" + name + "' is no kind of object");
}

ObjectRecord ReadObject(const Json& json, const CardRecord& card) {
    const Reader reader(json);
    ObjectRecord object;
    object.m_Kind = ReadKind(reader.Text("kind"));
    object.m_Label = reader.Text("label");
    object.m_Id = reader.HexOr("id", {});
    object.m_File = SimpleFileName(reader.Text("file"));
    object.m_IsPrivate = reader.FlagOr("private", false);
    object.m_Pin = reader.TextOr("pin", "");
    if (!object.m_Pin.empty() && card.Pin(object.m_Pin) == nullptr) {
        throw DamagedCard("object '" + object.m_Label + "' names a PIN that the card does not have");
    }
    return object;
}

CardFileRecord ReadCardFile(const Json& json) {
    const Reader reader(json);
    const Bytes path = reader.HexOr("path", {});
    if (path.empty() || path.size() % 2 != 0) {
        throw DamagedCard("'path' is not a row of file ids of two bytes");
    }
    CardFileRecord file;
    for (std::size_t i = 0; i < path.size(); i += 2) {
        file.m_Path.push_back(static_cast<std::uint16_t>(path[i] << 8 | path[i + 1]));
    }
    file.m_File = SimpleFileName(reader.Text("file"));
    return file;
}

void ReadTokenFields(const Reader& reader, CardRecord& record) {
    record.m_Label = reader.Text("label", 32);
    record.m_Manufacturer = reader.Text("manufacturer", 32);
    record.m_Model = reader.Text("model", 16);
    record.m_Serial = reader.Text("serial", 16);
    record.m_Atr = reader.HexOr("atr", {});
    if (reader.Has("slot")) {
        record.m_SlotId = reader.NumberOr("slot", 0);
    }
    record.m_IsRemovable = reader.FlagOr("removable", record.m_IsRemovable);
    record.m_DelayMs = reader.NumberOr("delay_ms", record.m_DelayMs);
    record.m_AsksPinForData = reader.FlagOr("data_pin", record.m_AsksPinForData);
    record.m_AllowsSoftwarePin = reader.FlagOr("software_pin", record.m_AllowsSoftwarePin);
    record.m_ReportsPinStatus = reader.FlagOr("pin_status", record.m_ReportsPinStatus);
    record.m_ChipId = reader.HexOr("chip_id", {});
}

CardRecord ReadRecord(const Json& json) {
    const Reader reader(json);
    CardRecord record;
    ReadTokenFields(reader, record);
    for (const auto& [name, pin] : reader.Object("pins").items()) {
        record.m_Pins.emplace(name, ReadPin(pin));
    }
    for (const auto& [name, value] : reader.Object("properties").items()) {
        record.m_Properties.emplace(name,
                                    SimpleFileName(Reader(reader.Object("properties")).Text(name.c_str())));
    }
    for (const Json& file : reader.List("files")) {
        record.m_Files.push_back(ReadCardFile(file));
    }
    for (const Json& object : reader.List("objects")) {
        record.m_Objects.push_back(ReadObject(object, record));
    }
    return record;
}

void PrintSecret(const CountedSecret& secret, Json& json) {
    json["tries_left"] = secret.m_TriesLeft;
    json["max_tries"] = secret.m_MaxTries;
    if (secret.m_Secret) {
        json["salt"] = ToHex(secret.m_Secret->m_Salt);
        json["hash"] = ToHex(secret.m_Secret->m_Hash);
    }
}

Json PrintPin(const PinRecord& pin) {
    Json json = {{"min_length", pin.m_MinLength}, {"max_length", pin.m_MaxLength}};
    PrintSecret(pin.m_Pin, json);
    if (pin.m_Puk) {
        PrintSecret(*pin.m_Puk, json["puk"]);
    }
    return json;
}

Json PrintObject(const ObjectRecord& object) {
    Json json = Json::object();
    for (const auto& [kind, name] : KIND_NAMES) {
        if (kind == object.m_Kind) {
            json["kind"] = name;
        }
    }
    json["label"] = object.m_Label;
    if (!object.m_Id.empty()) {
        json["id"] = ToHex(object.m_Id);
    }
    json["file"] = object.m_File;
    json["private"] = object.m_IsPrivate;
    if (!object.m_Pin.empty()) {
        json["pin"] = object.m_Pin;
    }
    return json;
}

Json PrintCardFile(const CardFileRecord& file) {
    Bytes path;
    for (const std::uint16_t id : file.m_Path) {
        path.push_back(static_cast<unsigned char>(id >> 8));
        path.push_back(static_cast<unsigned char>(id & 0xFF));
    }
    return {{"path", ToHex(path)}, {"file", file.m_File}};
}

Json PrintTokenFields(const CardRecord& record) {
    Json json = {{"label", record.m_Label},
                 {"manufacturer", record.m_Manufacturer},
                 {"model", record.m_Model},
                 {"serial", record.m_Serial},
                 {"atr", ToHex(record.m_Atr)}};
    if (record.m_SlotId) {
        json["slot"] = *record.m_SlotId;
    }
    json["removable"] = record.m_IsRemovable;
    json["delay_ms"] = record.m_DelayMs;
    json["data_pin"] = record.m_AsksPinForData;
    json["software_pin"] = record.m_AllowsSoftwarePin;
    json["pin_status"] = record.m_ReportsPinStatus;
    if (!record.m_ChipId.empty()) {
        json["chip_id"] = ToHex(record.m_ChipId);
    }
    return json;
}

} // namespace

const PinRecord* CardRecord::Pin(const std::string& name) const {
    const auto found = m_Pins.find(name);
    return found == m_Pins.end() ? nullptr : &found->second;
}

PinRecord* CardRecord::Pin(const std::string& name) {
    const auto found = m_Pins.find(name);
    return found == m_Pins.end() ? nullptr : &found->second;
}

CardRecord ParseCardRecord(const Bytes& json) {
    try {
        return ReadRecord(Json::parse(json));
    } catch (const Json::exception& error) {
        throw DamagedCard(std::string(RECORD_FILE_NAME) + ": " + error.what());
    }
}

Bytes PrintCardRecord(const CardRecord& record) {
    try {
        Json json = PrintTokenFields(record);
        json["pins"] = Json::object();
        for (const auto& [name, pin] : record.m_Pins) {
            json["pins"][name] = PrintPin(pin);
        }
        json["properties"] = record.m_Properties;
        json["files"] = Json::array();
        for (const CardFileRecord& file : record.m_Files) {
            json["files"].push_back(PrintCardFile(file));
        }
        json["objects"] = Json::array();
        for (const ObjectRecord& object : record.m_Objects) {
            json["objects"].push_back(PrintObject(object));
        }
        return BytesOf(json.dump(2) + "\n");
    } catch (const Json::exception& error) {
        throw DamagedCard(std::string(RECORD_FILE_NAME) + ": " + error.what());
    }
}

} // namespace orselsim
