// SPDX-License-Identifier: MIT
#include "tests/support/SimDeck.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "simulator/store/Files.h"

namespace orseltest {

namespace {

namespace fs = std::filesystem;

constexpr const char* traceFile = "trace";
constexpr const char* faultsFile = "faults";
constexpr const char* answersFile = "answers";

std::string makeFolder() {
    std::string pattern = (fs::temp_directory_path() / "orsel-deck-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    return pattern;
}

void writeLines(const std::string& path, const std::vector<std::string>& lines) {
    std::ofstream file(path, std::ios::trunc);
    for (const std::string& line : lines)
        file << line << '\n';
}

TraceRecord parseLine(const std::string& line) {
    TraceRecord record;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            record.function = word;
            continue;
        }
        const std::string key = word.substr(0, equals);
        const std::string value = word.substr(equals + 1);
        if (key == "tid")
            record.thread = std::stol(value);
        else if (key == "rv")
            record.result = value;
        else if (key == "us")
            record.microseconds = std::stol(value);
        else
            record.values[key] = value;
    }
    return record;
}

const orselsim::ObjectRecord& objectNamed(const orselsim::Card& card, const std::string& label) {
    for (const orselsim::ObjectRecord& object : card.record.objects)
        if (object.label == label)
            return object;
    throw std::runtime_error("no object " + label);
}

void addObject(orselsim::Card& card, orselsim::ObjectRecord object, const orselsim::Bytes& content) {
    object.file = "extra-" + std::to_string(card.record.objects.size()) + ".bin";
    card.contents[object.file] = content;
    card.record.objects.push_back(std::move(object));
}

} // namespace

CardOptions& CardOptions::holder(const std::string& name) {
    m_wish.holder = name;
    return *this;
}

CardOptions& CardOptions::serial(const std::string& text) {
    m_wish.serial = text;
    return *this;
}

CardOptions& CardOptions::label(const std::string& text) {
    m_wish.label = text;
    return *this;
}

CardOptions& CardOptions::model(const std::string& text) {
    m_wish.model = text;
    return *this;
}

CardOptions& CardOptions::directory(const std::string& name) {
    m_wish.directory = name;
    return *this;
}

CardOptions& CardOptions::slot(unsigned long id) {
    m_wish.slotId = id;
    return *this;
}

CardOptions& CardOptions::delayMs(unsigned milliseconds) {
    m_wish.delayMs = milliseconds;
    return *this;
}

CardOptions& CardOptions::fixedReader() {
    m_wish.isRemovable = false;
    return *this;
}

CardOptions& CardOptions::dataPin() {
    m_wish.asksPinForData = true;
    return *this;
}

std::string TraceRecord::value(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? "" : found->second;
}

SimDeck::SimDeck() : m_folder(makeFolder()) {
    orselsim::createDeck(path(), false);
    setVariable("ORSELSIM_DECK", path());
    setVariable("ORSELSIM_TRACE", file(traceFile));
    setVariable("ORSELSIM_FAULTS", "");
    setVariable("ORSELSIM_PIN_SCRIPT", file(answersFile));
    writeLines(file(answersFile), {});
}

SimDeck::~SimDeck() {
    for (const auto& [name, value] : m_variablesBefore) {
        if (value)
            setenv(name.c_str(), value->c_str(), 1);
        else
            unsetenv(name.c_str());
    }
    std::error_code ignored; // nothing to be done about it in a destructor
    fs::remove_all(m_folder, ignored);
}

void SimDeck::setVariable(const char* name, const std::string& value) {
    const char* before = std::getenv(name);
    m_variablesBefore.emplace(name, before == nullptr ? std::nullopt : std::optional<std::string>(before));
    setenv(name, value.c_str(), 1);
}

std::string SimDeck::path() const {
    return m_folder + "/deck";
}

std::string SimDeck::add(const std::string& kind, const CardOptions& options) {
    orselsim::CardWish wish = options.m_wish;
    wish.kind = kind;
    return orselsim::insertCard(path(), wish);
}

void SimDeck::addDemoCards() {
    for (const orselsim::CardWish& wish : orselsim::demoCards())
        orselsim::insertCard(path(), wish);
}

void SimDeck::takeOut(const std::string& card) {
    fs::rename(path() + "/" + card, m_folder + "/" + card);
}

void SimDeck::putBack(const std::string& card) {
    fs::rename(m_folder + "/" + card, path() + "/" + card);
}

void SimDeck::remove(const std::string& card) {
    orselsim::removeCard(path(), card);
}

void SimDeck::damage(const std::string& card) {
    const std::string record = orselsim::recordPath(path() + "/" + card);
    orselsim::Bytes json = orselsim::readFile(record);
    json.resize(json.size() / 2);
    orselsim::replaceFile(record, json);
}

orselsim::Card SimDeck::read(const std::string& card) const {
    return orselsim::loadCard(path() + "/" + card);
}

void SimDeck::change(const std::string& card, const std::function<void(orselsim::Card&)>& change) {
    orselsim::Card content = read(card);
    change(content);
    orselsim::saveCard(path() + "/" + card, content);
}

void SimDeck::replaceObject(const std::string& card, const std::string& label,
                            const orselsim::Bytes& content) {
    change(card,
           [&](orselsim::Card& changed) { changed.contents[objectNamed(changed, label).file] = content; });
}

void SimDeck::removeObject(const std::string& card, const std::string& label) {
    change(card, [&](orselsim::Card& changed) {
        auto& objects = changed.record.objects;
        objects.erase(
            std::remove_if(objects.begin(), objects.end(),
                           [&](const orselsim::ObjectRecord& object) { return object.label == label; }),
            objects.end());
    });
}

void SimDeck::addData(const std::string& card, const std::string& label, const orselsim::Bytes& content,
                      bool isPrivate) {
    change(card, [&](orselsim::Card& changed) {
        addObject(changed, {orselsim::ObjectKind::Data, label, {}, "", isPrivate, ""}, content);
    });
}

void SimDeck::addCertificate(const std::string& card, const std::string& label,
                             const orselsim::Bytes& content, const orselsim::Bytes& id) {
    change(card, [&](orselsim::Card& changed) {
        addObject(changed, {orselsim::ObjectKind::Certificate, label, id, "", false, ""}, content);
    });
}

orselsim::Bytes SimDeck::objectContent(const std::string& card, const std::string& label) const {
    const orselsim::Card content = read(card);
    return content.content(objectNamed(content, label).file);
}

void SimDeck::setTries(const std::string& card, const std::string& pin, unsigned tries) {
    change(card, [&](orselsim::Card& changed) { changed.record.pins.at(pin).pin.triesLeft = tries; });
}

unsigned SimDeck::triesLeft(const std::string& card, const std::string& pin) const {
    return read(card).record.pins.at(pin).pin.triesLeft;
}

void SimDeck::unsetPin(const std::string& card, const std::string& pin) {
    change(card, [&](orselsim::Card& changed) { changed.record.pins.at(pin).pin.secret.reset(); });
}

bool SimDeck::hasPin(const std::string& card, const std::string& pin, const std::string& digits) const {
    const auto secret = read(card).record.pins.at(pin).pin.secret;
    return secret && secret->matches(digits);
}

// A new file each time: one rewritten in the same moment could look like the old one to the library.
void SimDeck::planFaults(const std::vector<std::string>& faults) {
    std::string text;
    for (const std::string& fault : faults)
        text += fault + '\n';
    orselsim::replaceFile(file(faultsFile), orselsim::bytesOf(text));
    setVariable("ORSELSIM_FAULTS", file(faultsFile));
}

void SimDeck::answerPins(const std::vector<std::string>& answers) {
    m_answers.insert(m_answers.end(), answers.begin(), answers.end());
    writeLines(file(answersFile), m_answers);
}

std::vector<TraceRecord> SimDeck::trace() const {
    std::vector<TraceRecord> records;
    std::istringstream lines(traceText());
    for (std::string line; std::getline(lines, line);)
        records.push_back(parseLine(line));
    return records;
}

std::vector<TraceRecord> SimDeck::trace(const std::string& function) const {
    std::vector<TraceRecord> records = trace();
    records.erase(std::remove_if(records.begin(), records.end(),
                                 [&](const TraceRecord& record) { return record.function != function; }),
                  records.end());
    return records;
}

std::string SimDeck::traceText() const {
    std::ifstream file(this->file(traceFile));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The library holds the file open and appends, so it is emptied and not replaced.
void SimDeck::clearTrace() {
    writeLines(file(traceFile), {});
}

} // namespace orseltest
