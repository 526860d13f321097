// SPDX-License-Identifier: MIT
// How a log file is named, split while the program runs and put aside when the next run starts. The live
// file always keeps its name, so a reader knows where the newest lines are.
#include "foundation/Logging.h"

#include <cstdio>
#include <mutex>

namespace Velmor {

namespace {

constexpr char EXTENSION[] = "log";
/// Longest text that still counts as an extension, its dot included.
constexpr std::size_t LONGEST_EXTENSION = 5;

bool IsReadable(const std::string& path) {
    return std::ifstream(path).is_open();
}

/// Splits as GetExtension() does and keeps both halves.
struct SplitName {
    std::string m_Base;
    std::string m_Ext;

    explicit SplitName(const std::string& path) { LibLogging::GetExtension(path, m_Base, m_Ext); }
    std::string Numbered(unsigned int number) const {
        return m_Base + "_" + std::to_string(number) + "." + m_Ext;
    }
};

} // namespace

void LibLogging::GetExtension(const std::string& path, std::string& base, std::string& ext) {
    std::size_t cut = path.rfind(".log");
    if (cut == std::string::npos) {
        cut = path.rfind(".txt");
    }
    if (cut == std::string::npos) {
        cut = path.rfind('.');
        if (cut != std::string::npos && path.size() - cut > LONGEST_EXTENSION) {
            cut = std::string::npos;
        }
    }
    const bool found = cut != std::string::npos;
    ext = found ? EXTENSION : ""; // "log" for ".txt" and the others too, so that all derived names end in it
    base = path.substr(0, cut);
}

std::string LibLogging::AppendLogExtension(const std::string& path) {
    return SplitName(path).m_Ext.empty() ? path + "." + EXTENSION : path;
}

std::string LibLogging::NumberedName(const std::string& name) {
    const SplitName split(name);
    std::string free = name;
    for (unsigned int number = 0; IsReadable(free); ++number) {
        free = split.Numbered(number);
    }
    return free;
}

std::string LibLogging::NameWithTimeStamp(const std::string& name) {
    const std::time_t now = std::time(nullptr);
    std::tm utc = {};
    gmtime_r(&now, &utc); // not local time, unlike the lines in the file
    char stamp[32];
    std::strftime(stamp, sizeof(stamp), "%Y-%m-%d_%H-%M-%S", &utc);
    const SplitName split(name);
    return split.m_Base + "_" + stamp + "." + split.m_Ext;
}

void LibLogging::BackupFile(const std::string& from, const std::string& to, bool removeSource) {
    {
        std::ifstream source(from, std::ios::binary);
        std::ofstream target(to, std::ios::binary | std::ios::trunc);
        target << source.rdbuf();
    }
    if (removeSource) {
        std::remove(from.c_str());
    }
}

void LibLogging::SplitLog() {
    const std::string part = SplitName(m_Path).Numbered(m_SplitCounter++);
    m_LoggedEntries = 0;
    m_LoggedFileSize = 0;
    const std::lock_guard<Mutex> guard(*m_FileLock);
    m_Stream.close();
    BackupFile(m_Path, part, false);
    OpenFile(m_Path);
}

void LibLogging::OpenFileAndRotate(const std::string& path) {
    const SplitName split(path);
    const std::lock_guard<Mutex> guard(*m_FileLock);
    m_Stream.close();
    if (IsReadable(path)) {
        BackupFile(path, NumberedName(NameWithTimeStamp(path)), false);
    }
    unsigned int number = 0;
    for (std::string part = split.Numbered(number); IsReadable(part); part = split.Numbered(++number)) {
        BackupFile(part, NameWithTimeStamp(part), true);
    }
    OpenFile(path);
}

void LibLogging::OpenFile(const std::string& path) {
    m_Stream.close();
    m_Stream.open(path, std::ios::out | std::ios::trunc);
}

} // namespace Velmor
