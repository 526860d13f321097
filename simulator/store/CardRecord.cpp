// SPDX-License-Identifier: MIT
#include "simulator/store/CardRecord.h"

#include <array>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace orselsim {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::pair<ObjectKind, const char*>, 4> kindNames = {{
    {ObjectKind::Data, "data"},
    {ObjectKind::Certificate, "certificate"},
    {ObjectKind::PublicKey, "public_key"},
    {ObjectKind::PrivateKey, "private_key"},
}};

/// Typed access to the members of one JSON object; a member of a wrong type damages the card.
class Reader {
public:
    explicit Reader(const Json& object) : m_object(object) {
        if (!object.is_object())
            throw DamagedCard("a JSON object is expected where there is none");
    }

    bool has(const char* key) const { return m_object.contains(key); }

    const Json& member(const char* key) const {
        const auto found = m_object.find(key);
        if (found == m_object.end())
            throw DamagedCard(std::string("'") + key + "' is missing");
        return *found;
    }

    std::string text(const char* key, std::size_t maxSize = 255) const {
        const Json& value = member(key);
        if (!value.is_string())
            wrongType(key, "a text");
        const auto& text = value.get_ref<const std::string&>();
        if (text.size() > maxSize)
            throw DamagedCard(std::string("'") + key + "' is longer than " + std::to_string(maxSize) +
                              " bytes");
        return text;
    }

    std::string textOr(const char* key, const char* fallback) const {
        return has(key) ? text(key) : fallback;
    }

    bool flagOr(const char* key, bool fallback) const {
        if (!has(key))
            return fallback;
        const Json& value = member(key);
        if (!value.is_boolean())
            wrongType(key, "true or false");
        return value.get<bool>();
    }

    unsigned numberOr(const char* key, unsigned fallback) const {
        if (!has(key))
            return fallback;
        const Json& value = member(key);
        if (!value.is_number_unsigned() ||
            value.get<std::uint64_t>() > std::numeric_limits<std::int32_t>::max())
            wrongType(key, "a whole number from 0 to 2147483647");
        return value.get<unsigned>();
    }

    Bytes hexOr(const char* key, const Bytes& fallback) const {
        if (!has(key))
            return fallback;
        const auto bytes = fromHex(text(key, 65536));
        if (!bytes)
            wrongType(key, "hexadecimal digits");
        return *bytes;
    }

    const Json& list(const char* key) const {
        static const Json nothing = Json::array();
        if (!has(key))
            return nothing;
        const Json& value = member(key);
        if (!value.is_array())
            wrongType(key, "a list");
        return value;
    }

    const Json& object(const char* key) const {
        static const Json nothing = Json::object();
        if (!has(key))
            return nothing;
        const Json& value = member(key);
        if (!value.is_object())
            wrongType(key, "an object");
        return value;
    }

private:
    [[noreturn]] static void wrongType(const char* key, const char* wanted) {
        throw DamagedCard(std::string("'") + key + "' is not " + wanted);
    }

    const Json& m_object;
};

/// A card keeps to its own directory.
std::string simpleFileName(const std::string& name) {
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos ||
        name.find('\0') != std::string::npos)
        throw DamagedCard("'" + name + "' is not the name of a file beside " + recordFileName);
    return name;
}

CountedSecret readSecret(const Reader& reader) {
    CountedSecret secret;
    secret.maxTries = reader.numberOr("max_tries", secret.maxTries);
    secret.triesLeft = reader.numberOr("tries_left", secret.maxTries);
    if (secret.triesLeft > secret.maxTries || secret.maxTries > 0xFE)
        throw DamagedCard("'tries_left' is above 'max_tries', or that is above 254");
    if (reader.has("hash"))
        secret.secret = HashedSecret{reader.hexOr("salt", {}), reader.hexOr("hash", {})};
    return secret;
}

PinRecord readPin(const Json& json) {
    const Reader reader(json);
    PinRecord pin;
    pin.pin = readSecret(reader);
    pin.minLength = reader.numberOr("min_length", pin.minLength);
    pin.maxLength = reader.numberOr("max_length", pin.maxLength);
    if (reader.has("puk"))
        pin.puk = readSecret(Reader(reader.member("puk")));
    return pin;
}

ObjectKind readKind(const std::string& name) {
    for (const auto& [kind, kindName] : kindNames)
        if (name == kindName)
            return kind;
    throw DamagedCard("'" + name + "' is no kind of object");
}

ObjectRecord readObject(const Json& json, const CardRecord& card) {
    const Reader reader(json);
    ObjectRecord object;
    object.kind = readKind(reader.text("kind"));
    object.label = reader.text("label");
    object.id = reader.hexOr("id", {});
    object.file = simpleFileName(reader.text("file"));
    object.isPrivate = reader.flagOr("private", false);
    object.pin = reader.textOr("pin", "");
    if (!object.pin.empty() && card.pin(object.pin) == nullptr)
        throw DamagedCard("object '" + object.label + "' names a PIN that the card does not have");
    return object;
}

CardFileRecord readCardFile(const Json& json) {
    const Reader reader(json);
    const Bytes path = reader.hexOr("path", {});
    if (path.empty() || path.size() % 2 != 0)
        throw DamagedCard("'path' is not a row of file ids of two bytes");
    CardFileRecord file;
    for (std::size_t i = 0; i < path.size(); i += 2)
        file.path.push_back(static_cast<std::uint16_t>(path[i] << 8 | path[i + 1]));
    file.file = simpleFileName(reader.text("file"));
    return file;
}

void readTokenFields(const Reader& reader, CardRecord& record) {
    record.label = reader.text("label", 32);
    record.manufacturer = reader.text("manufacturer", 32);
    record.model = reader.text("model", 16);
    record.serial = reader.text("serial", 16);
    record.atr = reader.hexOr("atr", {});
    if (reader.has("slot"))
        record.slotId = reader.numberOr("slot", 0);
    record.isRemovable = reader.flagOr("removable", record.isRemovable);
    record.delayMs = reader.numberOr("delay_ms", record.delayMs);
    record.asksPinForData = reader.flagOr("data_pin", record.asksPinForData);
    record.allowsSoftwarePin = reader.flagOr("software_pin", record.allowsSoftwarePin);
    record.reportsPinStatus = reader.flagOr("pin_status", record.reportsPinStatus);
    record.chipId = reader.hexOr("chip_id", {});
}

CardRecord readRecord(const Json& json) {
    const Reader reader(json);
    CardRecord record;
    readTokenFields(reader, record);
    for (const auto& [name, pin] : reader.object("pins").items())
        record.pins.emplace(name, readPin(pin));
    for (const auto& [name, value] : reader.object("properties").items())
        record.properties.emplace(name,
                                  simpleFileName(Reader(reader.object("properties")).text(name.c_str())));
    for (const Json& file : reader.list("files"))
        record.files.push_back(readCardFile(file));
    for (const Json& object : reader.list("objects"))
        record.objects.push_back(readObject(object, record));
    return record;
}

void printSecret(const CountedSecret& secret, Json& json) {
    json["tries_left"] = secret.triesLeft;
    json["max_tries"] = secret.maxTries;
    if (secret.secret) {
        json["salt"] = toHex(secret.secret->salt);
        json["hash"] = toHex(secret.secret->hash);
    }
}

Json printPin(const PinRecord& pin) {
    Json json = {{"min_length", pin.minLength}, {"max_length", pin.maxLength}};
    printSecret(pin.pin, json);
    if (pin.puk)
        printSecret(*pin.puk, json["puk"]);
    return json;
}

Json printObject(const ObjectRecord& object) {
    Json json = Json::object();
    for (const auto& [kind, name] : kindNames)
        if (kind == object.kind)
            json["kind"] = name;
    json["label"] = object.label;
    if (!object.id.empty())
        json["id"] = toHex(object.id);
    json["file"] = object.file;
    json["private"] = object.isPrivate;
    if (!object.pin.empty())
        json["pin"] = object.pin;
    return json;
}

Json printCardFile(const CardFileRecord& file) {
    Bytes path;
    for (const std::uint16_t id : file.path) {
        path.push_back(static_cast<unsigned char>(id >> 8));
        path.push_back(static_cast<unsigned char>(id & 0xFF));
    }
    return {{"path", toHex(path)}, {"file", file.file}};
}

Json printTokenFields(const CardRecord& record) {
    Json json = {{"label", record.label},
                 {"manufacturer", record.manufacturer},
                 {"model", record.model},
                 {"serial", record.serial},
                 {"atr", toHex(record.atr)}};
    if (record.slotId)
        json["slot"] = *record.slotId;
    json["removable"] = record.isRemovable;
    json["delay_ms"] = record.delayMs;
    json["data_pin"] = record.asksPinForData;
    json["software_pin"] = record.allowsSoftwarePin;
    json["pin_status"] = record.reportsPinStatus;
    if (!record.chipId.empty())
        json["chip_id"] = toHex(record.chipId);
    return json;
}

} // namespace

const PinRecord* CardRecord::pin(const std::string& name) const {
    const auto found = pins.find(name);
    return found == pins.end() ? nullptr : &found->second;
}

PinRecord* CardRecord::pin(const std::string& name) {
    const auto found = pins.find(name);
    return found == pins.end() ? nullptr : &found->second;
}

CardRecord parseCardRecord(const Bytes& json) {
    try {
        return readRecord(Json::parse(json));
    } catch (const Json::exception& error) {
        throw DamagedCard(std::string(recordFileName) + ": " + error.what());
    }
}

Bytes printCardRecord(const CardRecord& record) {
    try {
        Json json = printTokenFields(record);
        json["pins"] = Json::object();
        for (const auto& [name, pin] : record.pins)
            json["pins"][name] = printPin(pin);
        json["properties"] = record.properties;
        json["files"] = Json::array();
        for (const CardFileRecord& file : record.files)
            json["files"].push_back(printCardFile(file));
        json["objects"] = Json::array();
        for (const ObjectRecord& object : record.objects)
            json["objects"].push_back(printObject(object));
        return bytesOf(json.dump(2) + "\n");
    } catch (const Json::exception& error) {
        throw DamagedCard(std::string(recordFileName) + ": " + error.what());
    }
}

} // namespace orselsim
