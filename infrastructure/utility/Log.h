// The logging front: fetch the logger "VELLOG" by name, test the level, then stream.
//
//   VELLOG_INFO() << "Running " << name;
//   VELLOG_ERR() << "Incoming buffer size " << size << " Discarding raw data packets";
//
// Any thread may log. Before setupLogging and after tearDownLogging a line goes nowhere. Text from
// files and peers can't forge a line: control characters are written as "\n", "\x1B" and so on,
// other text unchanged.
#pragma once

#include <fmt/format.h>

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <memory>
#include <string_view>
#include <type_traits>

namespace spdlog {
class logger;
}

/// Severity of a line, lowest first.
enum LogLevel {
    LogLevel_Trace,
    LogLevel_Debug,
    LogLevel_Info,
    LogLevel_Warn,
    LogLevel_Err,
    LogLevel_Critical,
};

/// One line of the log, written when the object is destroyed. Use it through the macros below: they
/// evaluate the pieces only if the level passes.
class LogLine
{
public:
    explicit LogLine(LogLevel lineLevel);
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;
    ~LogLine();

    /// True if there is a logger and it accepts this level.
    explicit operator bool() const { return logger != nullptr; }

    /// The text, "(null)" for a null pointer.
    LogLine& operator<<(const char* text);
    LogLine& operator<<(char* text) { return *this << static_cast<const char*>(text); }
    /// The text as UTF-8.
    LogLine& operator<<(const QString& text);
    LogLine& operator<<(QLatin1String text);
    /// The bytes unchanged.
    LogLine& operator<<(const QByteArray& bytes);
    /// Compact JSON.
    LogLine& operator<<(const QJsonObject& object);
    /// The strings, joined by ", ".
    LogLine& operator<<(const QStringList& strings);

    /// Anything that fmt formats with "{}": numbers, text, packets. Anything but text keeps the
    /// line feeds of its layout, such as those of a packet's indented JSON.
    template <typename T>
    LogLine& operator<<(const T& value)
    {
        const std::size_t start = line.size();
        fmt::format_to(fmt::appender(line), "{}", value);
        if constexpr (!std::is_arithmetic_v<T> || std::is_same_v<T, char>) {
            constexpr bool isText =
                std::is_same_v<T, char> || std::is_convertible_v<const T&, std::string_view>;
            escapeFrom(start, isText);
        }
        return *this;
    }

private:
    /// Escapes the control characters from there on: all of them, or all but line feeds.
    void escapeFrom(std::size_t start, bool withLineFeeds = true);
    void append(const char* text, std::size_t size);

    std::shared_ptr<spdlog::logger> logger; ///< null when the line is not wanted
    LogLevel level;
    fmt::memory_buffer line;
};

/// A LogLine of a given level, as a statement: what is streamed into it is evaluated only if the
/// level passes. The switch keeps a following `else` from binding to the `if` inside.
#define VELLOG_AT(LEVEL)                                                                           \
    switch (0)                                                                                     \
    case 0:                                                                                        \
    default:                                                                                       \
        if (LogLine vellogLine(LEVEL); !vellogLine) {                                              \
        } else                                                                                     \
            vellogLine

/// These begin a line of the level they name.
#define VELLOG_TRACE() VELLOG_AT(LogLevel_Trace)
#define VELLOG_DEBUG() VELLOG_AT(LogLevel_Debug)
#define VELLOG_INFO() VELLOG_AT(LogLevel_Info)
#define VELLOG_WARN() VELLOG_AT(LogLevel_Warn)
#define VELLOG_ERR() VELLOG_AT(LogLevel_Err)
#define VELLOG_CRITICAL() VELLOG_AT(LogLevel_Critical)
