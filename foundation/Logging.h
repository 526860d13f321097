// SPDX-License-Identifier: MIT
#ifndef ORSEL_FOUNDATION_LOGGING_H
#define ORSEL_FOUNDATION_LOGGING_H

#include <atomic>
#include <cstdint>
#include <ctime>
#include <deque>
#include <fstream>
#include <list>
#include <memory>
#include <string>

#include "foundation/Mutex.h"

namespace Velmor {

/// The gate: each level lets pass what the one below does, and more.
enum LOG_LEVEL : int {
    LOG_LEVEL_NOTHING = 0,
    LOG_LEVEL_ERRORS = 1,
    LOG_LEVEL_WARNINGS = 2,
    LOG_LEVEL_MESSAGES = 3, ///< and raw lines
    LOG_LEVEL_DEBUG = 4,    ///< and function lines and stack traces
    LOG_LEVEL_ALL = 5,      ///< as 4; no gate looks for more
};

/// The type of a line.
enum DebugLevel : int {
    DEBUG_LEVEL_ERROR = 0,
    DEBUG_LEVEL_MESSAGE = 1,
    DEBUG_LEVEL_DEBUG = 2,
    DEBUG_LEVEL_IN_FUNCTION = 3,
    DEBUG_LEVEL_OUT_FUNCTION = 4,
    DEBUG_LEVEL_STACKTRACE = 5,
    DEBUG_LEVEL_WARNING = 6,
    DEBUG_LEVEL_RAW = 7, ///< a line without time and word
};

/// Where lines go beside the file. Any other number means ring and file.
enum LOG_BUFFER_MODE : int {
    LOG_BUFFER_OFF = 0,
    LOG_BUFFER_ONLY = 1, ///< to the ring and not to the file
    LOG_BUFFER_AND_FILE = 2,
};

enum FunctionInOut : int {
    FUNCTION_IN = 0,
    FUNCTION_OUT = 1,
};

/// One entry of the ring.
struct LogEntry {
    std::time_t m_Time = 0;
    DebugLevel m_Level = DEBUG_LEVEL_ERROR;
    std::string m_Text; ///< without the line's time and word
};

/// One of several independent loggers, each of which writes one text file. Code in different libraries
/// reaches the same logger by a small number.
///
/// A new logger is disabled and has no file: it writes nothing until both Init() and Enabled(true) were
/// called. No operation reports a failure: a logger whose file cannot be opened or written stays silent.
///
/// Several threads may write to one logger. The settings, the ring and the function stack have no lock: they
/// belong to one thread at a time.
class LibLogging {
public:
    LibLogging(const LibLogging&) = delete; // the registry holds each logger once
    LibLogging& operator=(const LibLogging&) = delete;

    /// Makes a logger and returns its id, 1 for the first: slot 0 is kept for the default logger.
    static unsigned int Register();
    /// The logger of an id from Register(), made anew after Destroy(), or the default logger of id 0. Null
    /// for any other id.
    /// An id greater than the size of the registry leaves the registry locked for good.
    static LibLogging* GetHandle(unsigned int id = 0);
    /// Writes two last lines, closes the file and frees the logger. Its id may be asked for again.
    void Destroy();

    /// Opens the file and sets the level to 5; truncates it, with `rotate` after putting it aside together
    /// with the numbered parts of the run before. `path` gets the extension ".log" unless it has one.
    void Init(const std::string& path, unsigned int maxEntries, bool rotate);

    void SetLoggingLevel(LOG_LEVEL level);
    bool IsEnabled() const;
    void Enabled(bool enabled);
    bool IsVerbose() const;
    void Verbose(bool verbose);
    bool IsOutputDbgString() const;
    void OutputDbgString(bool output);
    bool IsLogThreadId() const;
    void LogThreadId(bool logThreadId);
    /// Split the file when it holds so many lines, respectively bytes.
    void LogRotation(bool rotate, unsigned int maxEntries);
    void LogRotationFileSize(bool rotate, unsigned long maxBytes);
    /// Whether either of the two is on.
    bool IsLogRotationEnabled() const;
    bool IsLogToBuffer() const;
    /// `capacity` is the number of entries the ring keeps, at least 1.
    void LogToBuffer(LOG_BUFFER_MODE mode, int capacity);

    void LogError(const std::string& text);
    void LogWarning(const std::string& text);
    void LogMessage(const std::string& text);
    void LogRaw(const std::string& text);
    void LogDebug(const std::string& text);
    /// Entering pushes `name` on the function stack, leaving pops whatever is on top.
    void LogFunction(const std::string& name, FunctionInOut direction);
    /// Prints the function stack, innermost call first, and empties it.
    void LogStackTrace();
    /// Writes a line whatever the level is.
    void Log(const std::string& text, DebugLevel level);

    /// A copy of the ring, newest entry first.
    std::list<LogEntry> GetLogBuffer() const;
    std::size_t GetLogBufferSize() const;
    void ClearLogBuffer();
    /// Logs every entry, newest first and with the time of now. Does not empty the ring, and while the ring
    /// is on each line is added to it again: switch it off first.
    void LogBufferToFile();
    /// Adds an entry to the ring; the oldest one makes room.
    void LogToBuffer(DebugLevel level, const std::string& text);

    static std::string LogTypeToString(DebugLevel level);
    /// A whole line as it goes to the file, line feed included.
    std::string GetLogEntry(DebugLevel level, const std::string& text) const;

    /// Cuts ".log" and what follows it from a path; failing that ".txt"; failing that an extension of up to
    /// four characters. `ext` is "log" in all three cases and empty when there is nothing to cut.
    static void GetExtension(const std::string& path, std::string& base, std::string& ext);
    /// `path` itself if GetExtension() finds one, else with ".log" behind it.
    static std::string AppendLogExtension(const std::string& path);
    /// `name` if no readable file has it, else the first free one of base_0.ext, base_1.ext and so on.
    static std::string NumberedName(const std::string& name);
    /// `name` with the time of now, in UTC, before its extension.
    static std::string NameWithTimeStamp(const std::string& name);
    /// Copies a file over whatever `to` is, and removes `from` if asked to, whether or not the copy worked.
    static void BackupFile(const std::string& from, const std::string& to, bool removeSource);
    /// Copies the file to the next numbered name and starts it anew.
    void SplitLog();
    /// Gives the file at `path` and its numbered parts time-stamped names, then opens an empty file.
    void OpenFileAndRotate(const std::string& path);

private:
    explicit LibLogging(unsigned int id);
    ~LibLogging() = default;

    bool IsFileOpen();
    bool IsSplitDue() const;
    void WriteLine(const std::string& line);
    /// A hook for systems with a debugger's log view; this one has none.
    void LogToWinDbgView(const std::string& line) const;
    /// Closes what is open; the caller holds the file lock. An open failure leaves the stream closed.
    void OpenFile(const std::string& path);

    std::uint32_t m_Id; ///< -1 when destroyed
    bool m_Enabled = false;
    bool m_Verbose = false;
    bool m_RotateByEntries = true;
    bool m_RotateBySize = false;
    bool m_OutputDbgString = false;
    bool m_LogThreadId = true;
    std::uint32_t m_MaxEntries = 10000;
    std::atomic<std::uint32_t> m_LoggedEntries{0};
    std::uint32_t m_MaxFileSize = 10000; ///< bytes
    std::atomic<std::uint32_t> m_LoggedFileSize{0};
    std::ofstream m_Stream;
    std::string m_Path;
    std::atomic<std::uint32_t> m_SplitCounter{0};
    std::deque<std::string> m_FunctionStack; ///< the innermost call is the last one
    LOG_LEVEL m_Level = LOG_LEVEL_DEBUG;
    std::list<LogEntry> m_Ring; ///< newest entry first
    std::int32_t m_RingCapacity = 200;
    LOG_BUFFER_MODE m_RingMode = LOG_BUFFER_OFF;
    std::unique_ptr<Mutex> m_FileLock; ///< covers the stream and nothing else
};

} // namespace Velmor

#endif
