#include "infrastructure/utility/Log.h"

#include "infrastructure/utility/Logging.h"

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <QJsonDocument>

#include <algorithm>
#include <string_view>

namespace {

spdlog::level::level_enum toSpdlog(LogLevel level)
{
    static_assert(int(LogLevel_Trace) == SPDLOG_LEVEL_TRACE &&
                      int(LogLevel_Critical) == SPDLOG_LEVEL_CRITICAL,
                  "the two enumerations run in step");
    return static_cast<spdlog::level::level_enum>(level);
}

void append(fmt::memory_buffer& line, const QByteArray& bytes)
{
    line.append(bytes.constData(), bytes.constData() + bytes.size());
}

/// C0 and DEL.
bool isControl(char character)
{
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

/// The first byte of a control character, C1 in UTF-8 (C2 80 to C2 9F) included, or the end.
const char* findControl(const char* from, const char* end)
{
    return std::find_if(from, end, [end](const char& character) {
        return isControl(character) ||
               (character == '\xC2' && &character + 1 != end &&
                (static_cast<unsigned char>(*(&character + 1)) & 0xE0) == 0x80);
    });
}

/// The line with an escape in place of each control character.
fmt::memory_buffer escaped(const char* from, const char* end)
{
    fmt::memory_buffer text;
    for (const char* next = from; next != end;) {
        const char* control = findControl(next, end);
        text.append(next, control);
        if (control == end) {
            break;
        }
        control += *control == '\xC2' ? 1 : 0;
        switch (*control) {
        case '\t':
            text.append(std::string_view("\\t"));
            break;
        case '\n':
            text.append(std::string_view("\\n"));
            break;
        case '\r':
            text.append(std::string_view("\\r"));
            break;
        default:
            fmt::format_to(fmt::appender(text), "\\x{:02X}", static_cast<unsigned char>(*control));
        }
        next = control + 1;
    }
    return text;
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
    if (!logger) {
        return;
    }
    const char* const end = line.data() + line.size();
    if (findControl(line.data(), end) != end) {
        line = escaped(line.data(), end);
    }
    logger->log(toSpdlog(level), spdlog::string_view_t(line.data(), line.size()));
}

LogLine& LogLine::operator<<(const char* text)
{
    const std::string_view shown = text ? text : "(null)";
    line.append(shown.data(), shown.data() + shown.size());
    return *this;
}

LogLine& LogLine::operator<<(const QString& text)
{
    append(line, text.toUtf8());
    return *this;
}

LogLine& LogLine::operator<<(QLatin1String text)
{
    return *this << QString(text);
}

LogLine& LogLine::operator<<(const QByteArray& bytes)
{
    append(line, bytes);
    return *this;
}

LogLine& LogLine::operator<<(const QJsonObject& object)
{
    append(line, QJsonDocument(object).toJson(QJsonDocument::Compact));
    return *this;
}

LogLine& LogLine::operator<<(const QStringList& strings)
{
    return *this << strings.join(QLatin1String(", "));
}
