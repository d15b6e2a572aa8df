#include "infrastructure/utility/Log.h"

#include "infrastructure/utility/Logging.h"

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <QJsonDocument>

#include <string_view>
#include <utility>

namespace {

spdlog::level::level_enum toSpdlog(LogLevel level)
{
    static_assert(int(LogLevel_Trace) == SPDLOG_LEVEL_TRACE &&
                      int(LogLevel_Critical) == SPDLOG_LEVEL_CRITICAL,
                  "the two enumerations run in step");
    return static_cast<spdlog::level::level_enum>(level);
}

/// C0 and DEL.
bool isControl(char character)
{
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

/// The first byte of a control character, including C1 in UTF-8 (C2 80 to C2 9F), or the end.
const char* findControl(const char* from, const char* end, bool withLineFeeds)
{
    for (; from != end; ++from) {
        if (isControl(*from) ? withLineFeeds || *from != '\n'
                             : *from == '\xC2' && from + 1 != end &&
                                   (static_cast<unsigned char>(from[1]) & 0xE0) == 0x80) {
            break;
        }
    }
    return from;
}

void appendEscape(fmt::memory_buffer& text, char control)
{
    constexpr std::string_view named = "\tt\nn\rr";
    const std::size_t found = named.find(control);
    if (found != std::string_view::npos) {
        const char escape[] = {'\\', named[found + 1]};
        text.append(escape, escape + sizeof escape);
    } else {
        fmt::format_to(fmt::appender(text), "\\x{:02X}", static_cast<unsigned char>(control));
    }
}

} // namespace

LogLine::LogLine(LogLevel lineLevel)
    : logger(spdlog::get(LOGGER_NAME()))
    , level(lineLevel)
{
    if (logger && !logger->should_log(toSpdlog(level))) {
        logger.reset();
    }
}

LogLine::~LogLine()
{
    if (logger) {
        logger->log(toSpdlog(level), spdlog::string_view_t(line.data(), line.size()));
    }
}

LogLine& LogLine::operator<<(const char* text)
{
    const std::string_view shown = text ? text : "(null)";
    append(shown.data(), shown.size());
    return *this;
}

LogLine& LogLine::operator<<(const QString& text)
{
    return *this << text.toUtf8();
}

LogLine& LogLine::operator<<(QLatin1String text)
{
    return *this << QString(text);
}

LogLine& LogLine::operator<<(const QByteArray& bytes)
{
    append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return *this;
}

LogLine& LogLine::operator<<(const QJsonObject& object)
{
    return *this << QJsonDocument(object).toJson(QJsonDocument::Compact);
}

LogLine& LogLine::operator<<(const QStringList& strings)
{
    return *this << strings.join(QLatin1String(", "));
}

void LogLine::append(const char* text, std::size_t size)
{
    const std::size_t start = line.size();
    line.append(text, text + size);
    escapeFrom(start);
}

void LogLine::escapeFrom(std::size_t start, bool withLineFeeds)
{
    const char* const end = line.data() + line.size();
    const char* control = findControl(line.data() + start, end, withLineFeeds);
    if (control == end) {
        return;
    }
    fmt::memory_buffer text;
    for (const char* next = line.data(); next != end;) {
        text.append(next, control);
        if (control == end) {
            break;
        }
        control += *control == '\xC2' ? 1 : 0;
        appendEscape(text, *control);
        next = control + 1;
        control = findControl(next, end, withLineFeeds);
    }
    line = std::move(text);
}
