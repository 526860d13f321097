// SPDX-License-Identifier: MIT
#include "foundation/Logging.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <mutex>

#include <sys/syscall.h>
#include <unistd.h>

#include "foundation/LoggerVector.h"

namespace Velmor {

namespace {

using Guard = std::lock_guard<Mutex>;

/// The field of a line's word: what leaves a blank after the time for the longest one.
constexpr std::size_t WORD_WIDTH = 13;

constexpr const char* WORDS_BY_LEVEL[] = {"ERROR",        "MESSAGE",    "DEBUG",  "IN FUNCTION",
                                          "OUT FUNCTION", "STACKTRACE", "WARNING"};

const char* WordOf(DebugLevel level) {
    const bool named = level >= DEBUG_LEVEL_ERROR && level <= DEBUG_LEVEL_WARNING;
    return WORDS_BY_LEVEL[named ? level : DEBUG_LEVEL_MESSAGE];
}

/// More than a line's time, word, thread id and blanks take.
constexpr std::size_t LONGEST_PREFIX = 80;

/// Writes the last digits of a number, zero-filled, and returns the position behind them.
char* WriteDigits(char* out, int number, int digits) {
    for (int place = digits - 1; place >= 0; --place, number /= 10) {
        out[place] = static_cast<char>('0' + number % 10);
    }
    return out + digits;
}

/// Writes the time as "%Y-%m-%d %H:%M:%S". By hand, since this stands in the way of each line.
char* WriteLocalTimeOfNow(char* out) {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    out = WriteDigits(out, local.tm_year + 1900, 4);
    *out++ = '-';
    out = WriteDigits(out, local.tm_mon + 1, 2);
    *out++ = '-';
    out = WriteDigits(out, local.tm_mday, 2);
    *out++ = ' ';
    out = WriteDigits(out, local.tm_hour, 2);
    *out++ = ':';
    out = WriteDigits(out, local.tm_min, 2);
    *out++ = ':';
    return WriteDigits(out, local.tm_sec, 2);
}

thread_local long g_CachedThreadId = 0;

/// The kernel's id of the calling thread. A child process made by fork() asks again.
long ThreadId() {
    static const int forkHandler = pthread_atfork(nullptr, nullptr, [] { g_CachedThreadId = 0; });
    if (g_CachedThreadId == 0 || forkHandler != 0) {
        g_CachedThreadId = syscall(SYS_gettid);
    }
    return g_CachedThreadId;
}

} // namespace

LibLogging::LibLogging(unsigned int id) : m_Id(id), m_FileLock(std::make_unique<Mutex>()) {}

unsigned int LibLogging::Register() {
    const Guard guard(mutexCreateLibLogging);
    LoggerVector& loggers = LoggerVector::vector();
    if (loggers.empty()) {
        loggers.push_back(nullptr);
    }
    const auto id = static_cast<unsigned int>(loggers.size());
    loggers.push_back(new LibLogging(id));
    return id;
}

LibLogging* LibLogging::GetHandle(unsigned int id) {
    std::unique_lock<Mutex> guard(mutexCreateLibLogging);
    LoggerVector& loggers = LoggerVector::vector();
    if (id > loggers.size()) {
        guard.release(); // the registry stays locked: a caller with such an id is broken
        return nullptr;
    }
    if (loggers.empty()) {
        loggers.push_back(nullptr);
    }
    if (id == loggers.size()) {
        return nullptr;
    }
    if (loggers[id] == nullptr) {
        loggers[id] = new LibLogging(id);
    }
    return loggers[id];
}

void LibLogging::Destroy() {
    const Guard guard(mutexCreateLibLogging);
    LoggerVector& loggers = LoggerVector::vector();
    if (m_Id >= loggers.size() || loggers[m_Id] == nullptr) {
        return;
    }
    LogDebug("Destroy()");
    Log("close LibLogging", DEBUG_LEVEL_DEBUG);
    {
        const Guard fileGuard(*m_FileLock);
        m_Stream.close();
    }
    loggers[m_Id] = nullptr;
    m_Id = static_cast<std::uint32_t>(-1);
    delete this;
}

void LibLogging::Init(const std::string& path, unsigned int maxEntries, bool rotate) {
    m_MaxEntries = maxEntries;
    m_LoggedEntries = 0;
    m_LoggedFileSize = 0;
    m_SplitCounter = 0;
    m_LogThreadId = false;
    m_Verbose = true;
    m_OutputDbgString = true;
    m_Level = LOG_LEVEL_ALL;
    m_Path = AppendLogExtension(path);
    if (rotate) {
        OpenFileAndRotate(m_Path);
        return;
    }
    const Guard guard(*m_FileLock);
    OpenFile(m_Path);
}

void LibLogging::SetLoggingLevel(LOG_LEVEL level) {
    m_Level = level;
}

bool LibLogging::IsEnabled() const {
    return m_Enabled;
}

void LibLogging::Enabled(bool enabled) {
    m_Enabled = enabled;
}

bool LibLogging::IsVerbose() const {
    return m_Verbose;
}

void LibLogging::Verbose(bool verbose) {
    m_Verbose = verbose;
}

bool LibLogging::IsOutputDbgString() const {
    return m_OutputDbgString;
}

void LibLogging::OutputDbgString(bool output) {
    m_OutputDbgString = output;
}

bool LibLogging::IsLogThreadId() const {
    return m_LogThreadId;
}

void LibLogging::LogThreadId(bool logThreadId) {
    m_LogThreadId = logThreadId;
}

void LibLogging::LogRotation(bool rotate, unsigned int maxEntries) {
    m_RotateByEntries = rotate;
    m_MaxEntries = maxEntries;
}

void LibLogging::LogRotationFileSize(bool rotate, unsigned long maxBytes) {
    m_RotateBySize = rotate;
    m_MaxFileSize = static_cast<std::uint32_t>(maxBytes);
}

bool LibLogging::IsLogRotationEnabled() const {
    return m_RotateByEntries || m_RotateBySize;
}

bool LibLogging::IsLogToBuffer() const {
    return m_RingMode != LOG_BUFFER_OFF;
}

void LibLogging::LogToBuffer(LOG_BUFFER_MODE mode, int capacity) {
    m_RingMode = mode;
    m_RingCapacity = capacity;
}

void LibLogging::LogError(const std::string& text) {
    if (m_Level >= LOG_LEVEL_ERRORS) {
        Log(text, DEBUG_LEVEL_ERROR);
    }
}

void LibLogging::LogWarning(const std::string& text) {
    if (m_Level >= LOG_LEVEL_WARNINGS) {
        Log(text, DEBUG_LEVEL_WARNING);
    }
}

void LibLogging::LogMessage(const std::string& text) {
    if (m_Level >= LOG_LEVEL_MESSAGES) {
        Log(text, DEBUG_LEVEL_MESSAGE);
    }
}

void LibLogging::LogRaw(const std::string& text) {
    if (m_Level >= LOG_LEVEL_MESSAGES) {
        Log(text, DEBUG_LEVEL_RAW);
    }
}

void LibLogging::LogDebug(const std::string& text) {
    if (m_Level >= LOG_LEVEL_DEBUG) {
        Log(text, DEBUG_LEVEL_DEBUG);
    }
}

void LibLogging::LogFunction(const std::string& name, FunctionInOut direction) {
    if (m_Level < LOG_LEVEL_DEBUG) {
        return;
    }
    if (direction == FUNCTION_IN) {
        m_FunctionStack.push_back(name);
        Log(name, DEBUG_LEVEL_IN_FUNCTION);
    } else if (direction == FUNCTION_OUT) {
        if (!m_FunctionStack.empty()) {
            m_FunctionStack.pop_back();
        }
        Log(name, DEBUG_LEVEL_OUT_FUNCTION);
    }
}

void LibLogging::LogStackTrace() {
    if (m_Level < LOG_LEVEL_DEBUG) {
        return;
    }
    while (!m_FunctionStack.empty()) {
        Log(m_FunctionStack.back(), DEBUG_LEVEL_STACKTRACE);
        m_FunctionStack.pop_back();
    }
}

void LibLogging::Log(const std::string& text, DebugLevel level) {
    if (!m_Enabled || !IsFileOpen()) {
        return;
    }
    if (IsSplitDue()) { // before the new line, so the line that trips the limit is the first of the new file
        SplitLog();
    }
    if (m_RingMode != LOG_BUFFER_OFF) {
        LogToBuffer(level, text);
    }
    const std::string line = GetLogEntry(level, text);
    LogToWinDbgView(line);
    if (m_RingMode != LOG_BUFFER_ONLY) {
        WriteLine(line);
    }
}

bool LibLogging::IsFileOpen() {
    const Guard guard(*m_FileLock);
    return m_Stream.is_open();
}

bool LibLogging::IsSplitDue() const {
    return (m_RotateByEntries && m_LoggedEntries >= m_MaxEntries) ||
           (m_RotateBySize && m_LoggedFileSize >= m_MaxFileSize);
}

void LibLogging::WriteLine(const std::string& line) {
    {
        const Guard guard(*m_FileLock);
        m_Stream.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
    }
    if (m_RotateByEntries) {
        ++m_LoggedEntries;
    }
    if (m_RotateBySize) {
        m_LoggedFileSize += static_cast<std::uint32_t>(line.size());
    }
}

void LibLogging::LogToWinDbgView(const std::string& /*line*/) const {}

std::list<LogEntry> LibLogging::GetLogBuffer() const {
    return m_Ring;
}

std::size_t LibLogging::GetLogBufferSize() const {
    return m_Ring.size();
}

void LibLogging::ClearLogBuffer() {
    m_Ring.clear();
}

void LibLogging::LogBufferToFile() {
    for (const LogEntry& entry : GetLogBuffer()) { // a copy: Log() may add to the ring
        Log(entry.m_Text, entry.m_Level);
    }
}

void LibLogging::LogToBuffer(DebugLevel level, const std::string& text) {
    if (!m_Ring.empty() && m_RingCapacity <= static_cast<std::int64_t>(m_Ring.size())) {
        m_Ring.pop_back();
    }
    m_Ring.push_front({std::time(nullptr), level, text});
}

std::string LibLogging::LogTypeToString(DebugLevel level) {
    return WordOf(level);
}

std::string LibLogging::GetLogEntry(DebugLevel level, const std::string& text) const {
    char prefix[LONGEST_PREFIX];
    char* end = prefix;
    if (level != DEBUG_LEVEL_RAW) {
        const char* const word = WordOf(level);
        end = WriteLocalTimeOfNow(end);
        end = std::fill_n(end, WORD_WIDTH - std::strlen(word), ' ');
        end = std::copy(word, word + std::strlen(word), end);
        if (m_LogThreadId) {
            *end++ = ' ';
            *end++ = '(';
            end = std::to_chars(end, std::end(prefix), ThreadId()).ptr;
            *end++ = ')';
        }
    }
    *end++ = ' ';
    const auto length = static_cast<std::size_t>(end - prefix);
    std::string line;
    line.reserve(length + text.size() + 1);
    return line.append(prefix, length).append(text).append(1, '\n');
}

} // namespace Velmor
