#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <spdlog/spdlog.h>

TEST_CASE("A log line takes text, numbers, JSON and packets", "[utility]")
{
    const LogCapture log;
    BasicTestPacket packet;
    packet.setTestInt(-7);

    VELLOG_INFO() << "text "
                  << "µ♯ "_s << QByteArray("bytes ") << 42 << ' ' << -1.5 << ' '
                  << quint64(18446744073709551615u) << ' ' << true << " {}";
    VELLOG_ERR() << QJsonObject{{"a"_s, 1}} << QStringList{"x"_s, {}};
    VELLOG_WARN() << packet;
    VELLOG_CRITICAL() << QString();
    char text[] = "text";
    VELLOG_INFO() << static_cast<const char*>(nullptr) << static_cast<char*>(nullptr) << text
                  << '\n'
                  << std::string("\nb") << std::string_view("\nv") << QStringList{"\n"_s} << "\n";
    // What could end the line or drive a terminal (C0, DEL, C1); backslashes and other text stay.
    VELLOG_INFO() << QByteArray("\0\x01\t\n\r\x1B[2J\x1F \x7E\x7F", 13)
                  << QByteArray("\xC2\x80\xC2\x9F\xC2\xA0\xE2\x82\x80 \\n\xC2");

    CHECK(log.lines() ==
          QStringList{
              "info: text µ♯ bytes 42 -1.5 18446744073709551615 true {}"_s,
              "error: {\"a\":1}x, "_s,
              "warning: {\n    \"Class\": \"BasicTestPacket\",\n    \"TestInt\": -7\n}\n"_s,
              "critical: "_s,
              QStringLiteral(R"(info: (null)(null)text\n\nb\nv\n\n)"),
              QString::fromUtf8("info: \\x00\\x01\\t\\n\\r\\x1B[2J\\x1F ~\\x7F"
                                "\\x80\\x9F\xC2\xA0\xE2\x82\x80 \\n\xC2"),
          });
}

TEST_CASE("A log call below the level evaluates nothing", "[utility]")
{
    const LogCapture log;
    int evaluated = 0;
    const auto piece = [&evaluated] { return ++evaluated; };

    VELLOG_DEBUG() << piece();
    VELLOG_TRACE() << piece();
    CHECK(evaluated == 0);
    CHECK(log.lines().isEmpty());

    // The macro is one statement: an else behind it belongs to the if in front.
    if (evaluated == 0)
        VELLOG_INFO() << piece();
    else
        VELLOG_ERR() << piece();
    CHECK(log.lines() == QStringList{"info: 1"_s});
}

TEST_CASE("Without a logger a log call does nothing, and a second set-up fails", "[utility]")
{
    const std::shared_ptr<spdlog::logger> before = spdlog::get(LOGGER_NAME());
    tearDownLogging();
    int evaluated = 0;
    VELLOG_CRITICAL() << ++evaluated;
    CHECK(evaluated == 0);

    CHECK(setupLogging(false, nullptr));
    CHECK(spdlog::get(LOGGER_NAME())->level() == spdlog::level::info);
    CHECK_FALSE(setupLogging(false, "/nowhere/"));

    tearDownLogging();
    if (before != nullptr) {
        spdlog::register_logger(before);
    }
}
