#include "infrastructure/utility/Log.h"

#include "infrastructure/utility/Logging.h"

#include <spdlog/logger.h>
#include <spdlog/spdlog.h>

#include <QJsonDocument>

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
