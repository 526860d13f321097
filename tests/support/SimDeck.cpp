// SPDX-License-Identifier: MIT
#include "tests/support/SimDeck.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "simulator/store/Files.h"

namespace orseltest {

namespace {

namespace fs = std::filesystem;

constexpr const char* TRACE_FILE = "trace";
constexpr const char* FAULTS_FILE = "faults";
constexpr const char* ANSWERS_FILE = "answers";

void WriteLines(const std::string& path, const std::vector<std::string>& lines) {
    std::ofstream file(path, std::ios::trunc);
    for (const std::string& line : lines) {
        file << line << '\n';
    }
}

TraceRecord ParseLine(const std::string& line) {
    TraceRecord record;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            record.m_Function = word;
            continue;
        }
        const std::string key = word.substr(0, equals);
        const std::string value = word.substr(equals + 1);
        if (key == "tid") {
            record.m_Thread = std::stol(value);
        } else if (key == "rv") {
            record.m_Result = value;
        } else if (key == "us") {
            record.m_Microseconds = std::stol(value);
        } else {
            record.m_Values[key] = value;
        }
    }
    return record;
}

const orselsim::ObjectRecord& ObjectNamed(const orselsim::Card& card, const std::string& label) {
    for (const orselsim::ObjectRecord& object : card.m_Record.m_Objects) {
        if (object.m_Label == label) {
            return object;
        }
    }
    throw std::runtime_error("no object " + label);
}

void AddObject(orselsim::Card& card, orselsim::ObjectRecord object, const orselsim::Bytes& content) {
    object.m_File = "extra-" + std::to_string(card.m_Record.m_Objects.size()) + ".bin";
    card.m_Contents[object.m_File] = content;
    card.m_Record.m_Objects.push_back(std::move(object));
}

} // namespace

CardOptions& CardOptions::Holder(const std::string& name) {
    m_Wish.m_Holder = name;
    return *this;
}

CardOptions& CardOptions::Serial(const std::string& text) {
    m_Wish.m_Serial = text;
    return *this;
}

CardOptions& CardOptions::Label(const std::string& text) {
    m_Wish.m_Label = text;
    return *this;
}

CardOptions& CardOptions::Model(const std::string& text) {
    m_Wish.m_Model = text;
    return *this;
}

CardOptions& CardOptions::Directory(const std::string& name) {
    m_Wish.m_Directory = name;
    return *this;
}

CardOptions& CardOptions::Slot(unsigned long id) {
    m_Wish.m_SlotId = id;
    return *this;
}

CardOptions& CardOptions::DelayMs(unsigned milliseconds) {
    m_Wish.m_DelayMs = milliseconds;
    return *this;
}

CardOptions& CardOptions::FixedReader() {
    m_Wish.m_IsRemovable = false;
    return *this;
}

CardOptions& CardOptions::DataPin() {
    m_Wish.m_AsksPinForData = true;
    return *this;
}

std::string TraceRecord::Value(const std::string& key) const {
    const auto found = m_Values.find(key);
    return found == m_Values.end() ? "" : found->second;
}

SimDeck::SimDeck() {
    orselsim::CreateDeck(GetPath(), false);
    m_Variables.emplace_back("ORSELSIM_DECK", GetPath());
    m_Variables.emplace_back("ORSELSIM_TRACE", File(TRACE_FILE));
    m_Variables.emplace_back("ORSELSIM_FAULTS", "");
    m_Variables.emplace_back("ORSELSIM_PIN_SCRIPT", File(ANSWERS_FILE));
    WriteLines(File(ANSWERS_FILE), {});
}

std::string SimDeck::GetPath() const {
    return m_Dir.Path() + "/deck";
}

std::string SimDeck::Add(const std::string& kind, const CardOptions& options) {
    orselsim::CardWish wish = options.m_Wish;
    wish.m_Kind = kind;
    return orselsim::InsertCard(GetPath(), wish);
}

void SimDeck::AddDemoCards() {
    for (const orselsim::CardWish& wish : orselsim::DemoCards()) {
        orselsim::InsertCard(GetPath(), wish);
    }
}

void SimDeck::TakeOut(const std::string& card) {
    fs::rename(GetPath() + "/" + card, m_Dir.Path() + "/" + card);
}

void SimDeck::PutBack(const std::string& card) {
    fs::rename(m_Dir.Path() + "/" + card, GetPath() + "/" + card);
}

void SimDeck::Remove(const std::string& card) {
    orselsim::RemoveCard(GetPath(), card);
}

void SimDeck::Damage(const std::string& card) {
    const std::string record = orselsim::RecordPath(GetPath() + "/" + card);
    orselsim::Bytes json = orselsim::ReadFile(record);
    json.resize(json.size() / 2);
    orselsim::ReplaceFile(record, json);
}

orselsim::Card SimDeck::Read(const std::string& card) const {
    return orselsim::LoadCard(GetPath() + "/" + card);
}

void SimDeck::Change(const std::string& card, const std::function<void(orselsim::Card&)>& change) {
    orselsim::Card content = Read(card);
    change(content);
    orselsim::SaveCard(GetPath() + "/" + card, content);
}

void SimDeck::ReplaceObject(const std::string& card, const std::string& label,
                            const orselsim::Bytes& content) {
    Change(card, [&](orselsim::Card& changed) {
        changed.m_Contents[ObjectNamed(changed, label).m_File] = content;
    });
}

void SimDeck::RemoveObject(const std::string& card, const std::string& label) {
    Change(card, [&](orselsim::Card& changed) {
        auto& objects = changed.m_Record.m_Objects;
        objects.erase(
            std::remove_if(objects.begin(), objects.end(),
                           [&](const orselsim::ObjectRecord& object) { return object.m_Label == label; }),
            objects.end());
    });
}

void SimDeck::AddData(const std::string& card, const std::string& label, const orselsim::Bytes& content,
                      bool isPrivate) {
    Change(card, [&](orselsim::Card& changed) {
        AddObject(changed, {orselsim::ObjectKind::DATA, label, {}, "", isPrivate, ""}, content);
    });
}

void SimDeck::AddCertificate(const std::string& card, const std::string& label,
                             const orselsim::Bytes& content, const orselsim::Bytes& id) {
    Change(card, [&](orselsim::Card& changed) {
        AddObject(changed, {orselsim::ObjectKind::CERTIFICATE, label, id, "", false, ""}, content);
    });
}

orselsim::Bytes SimDeck::ObjectContent(const std::string& card, const std::string& label) const {
    const orselsim::Card content = Read(card);
    return content.Content(ObjectNamed(content, label).m_File);
}

void SimDeck::SetTries(const std::string& card, const std::string& pin, unsigned tries) {
    Change(card, [&](orselsim::Card& changed) { changed.m_Record.m_Pins.at(pin).m_Pin.m_TriesLeft = tries; });
}

unsigned SimDeck::TriesLeft(const std::string& card, const std::string& pin) const {
    return Read(card).m_Record.m_Pins.at(pin).m_Pin.m_TriesLeft;
}

void SimDeck::UnsetPin(const std::string& card, const std::string& pin) {
    Change(card, [&](orselsim::Card& changed) { changed.m_Record.m_Pins.at(pin).m_Pin.m_Secret.reset(); });
}

bool SimDeck::HasPin(const std::string& card, const std::string& pin, const std::string& digits) const {
    const auto secret = Read(card).m_Record.m_Pins.at(pin).m_Pin.m_Secret;
    return secret && secret->Matches(digits);
}

// A new file each time: one rewritten in the same moment could look like the old one to the library.
void SimDeck::PlanFaults(const std::vector<std::string>& faults) {
    std::string text;
    for (const std::string& fault : faults) {
        text += fault + '\n';
    }
    orselsim::ReplaceFile(File(FAULTS_FILE), orselsim::BytesOf(text));
    m_Variables.emplace_back("ORSELSIM_FAULTS", File(FAULTS_FILE));
}

void SimDeck::AnswerPins(const std::vector<std::string>& answers) {
    m_Answers.insert(m_Answers.end(), answers.begin(), answers.end());
    WriteLines(File(ANSWERS_FILE), m_Answers);
}

std::vector<TraceRecord> SimDeck::GetTrace() const {
    std::vector<TraceRecord> records;
    std::istringstream lines(TraceText());
    for (std::string line; std::getline(lines, line);) {
        records.push_back(ParseLine(line));
    }
    return records;
}

std::vector<TraceRecord> SimDeck::GetTrace(const std::string& function) const {
    std::vector<TraceRecord> records = GetTrace();
    records.erase(std::remove_if(records.begin(), records.end(),
                                 [&](const TraceRecord& record) { return record.m_Function != function; }),
                  records.end());
    return records;
}

std::string SimDeck::TraceText() const {
    std::ifstream file(this->File(TRACE_FILE));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The library holds the file open and appends, so it is emptied and not replaced.
void SimDeck::ClearTrace() {
    WriteLines(File(TRACE_FILE), {});
}

} // namespace orseltest
