#include "sw/infrastructure_test/TestSupport.h"

#include "infrastructure/utility/Logging.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <mutex>

bool waitFor(const std::function<bool()>& condition, int deadlineMs)
{
    QTimer deadline; // no other clock beside it: a timer may be early, and nothing wakes us later
    deadline.setSingleShot(true);
    deadline.start(deadlineMs);
    while (!condition()) {
        if (!deadline.isActive()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

namespace {

class LineSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    QStringList lines()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return received;
    }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        const auto level = spdlog::level::to_string_view(message.level);
        received.append(
            QString::fromLatin1(level.data(), static_cast<int>(level.size())) + ": "_s +
            QString::fromUtf8(message.payload.data(), static_cast<int>(message.payload.size())));
    }
    void flush_() override {}

private:
    QStringList received;
};

} // namespace

struct LogCapture::State
{
    std::shared_ptr<LineSink> sink = std::make_shared<LineSink>();
    std::shared_ptr<spdlog::logger> original = spdlog::get(LOGGER_NAME());
};

LogCapture::LogCapture()
    : state(std::make_unique<State>())
{
    // A logger's sinks may not change while others write, so another logger replaces it.
    std::vector<spdlog::sink_ptr> sinks;
    if (state->original) {
        sinks = state->original->sinks();
    }
    sinks.push_back(state->sink);
    auto logger = std::make_shared<spdlog::logger>(LOGGER_NAME(), sinks.begin(), sinks.end());
    if (state->original) {
        logger->set_level(state->original->level());
    }
    spdlog::drop(LOGGER_NAME());
    spdlog::register_logger(logger);
}

LogCapture::~LogCapture()
{
    spdlog::drop(LOGGER_NAME());
    if (state->original) {
        spdlog::register_logger(state->original);
    }
}

QStringList LogCapture::lines() const
{
    return state->sink->lines();
}

bool LogCapture::contains(const QString& line) const
{
    return lines().contains(line);
}
