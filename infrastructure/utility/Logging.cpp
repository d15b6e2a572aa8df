#include "infrastructure/utility/Logging.h"

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* LINE_PATTERN = "[%C/%m/%d][tid:%t][%L]> %v";

} // namespace

bool setupLogging(bool logToStdout, const char* logDirectory)
{
    try {
        const std::string logName = std::string(logDirectory ? logDirectory : "") + "velapp";
        static_cast<void>(logName); // composed for the callers' sake; there is no file sink

        std::vector<spdlog::sink_ptr> sinks;
        if (logToStdout) {
            sinks.push_back(std::make_shared<spdlog::sinks::stdout_sink_mt>());
        }
        constexpr bool formatLines = true;
        const auto syslogSink =
            std::make_shared<spdlog::sinks::syslog_sink_mt>("", 0, LOG_USER, formatLines);
        sinks.push_back(syslogSink);

        spdlog::register_logger(
            std::make_shared<spdlog::logger>(LOGGER_NAME(), sinks.begin(), sinks.end()));
        spdlog::set_pattern(LINE_PATTERN);
        // A syslog message is a line by itself, so its text has no line end.
        syslogSink->set_formatter(std::make_unique<spdlog::pattern_formatter>(
            LINE_PATTERN, spdlog::pattern_time_type::local, std::string()));
        return true;
    } catch (const spdlog::spdlog_ex&) {
        return false;
    }
}

void tearDownLogging()
{
    spdlog::drop(LOGGER_NAME());
}
