// Words of the precision time protocol.
#include "infrastructure/ptp/PtpVocabulary.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

TEST_CASE("A PTP daemon's port state is shown by its number", "[ptp]")
{
    // The port states of IEEE 1588-2008 table 8 are 1 to 9; 0, 10 and 11 are the instrument's.
    const char* const texts[] = {"No PTP",       "Initializing", "Faulty",  "Disabled",
                                 "Listening",    "Pre Lead",     "Lead",    "Passive",
                                 "Uncalibrated", "Follow",       "Unknown", "Follow"};
    for (quint32 state = 0; state < std::size(texts); ++state) {
        CHECK(toString(PtpDaemonState(state)) == QLatin1String(texts[state]));
    }
    CHECK(toString(PtpDaemonState(12)) == QLatin1String("Error"));
    CHECK(toString(PtpDaemonState(0xFFFFFFFF)) == QLatin1String("Error"));
    STATIC_REQUIRE(PtpDaemonState_INITIALIZING == 1);
    STATIC_REQUIRE(PtpDaemonState_PRE_MASTER == 5);
    STATIC_REQUIRE(PtpDaemonState_SLAVE == 9);
}

TEST_CASE("A lock state has a token and a text", "[ptp]")
{
    CHECK(toToken(PtpClockLockState(0)) == QLatin1String("Notlocked"));
    CHECK(toString(PtpClockLockState(0)) == QLatin1String("Not locked"));
    CHECK(toToken(PtpClockLockState(2)) == QLatin1String("FrequencyLockedButNotPhaseLocked"));
    CHECK(toString(PtpClockLockState(2)) ==
          QLatin1String("Frequency Locked, But Not Phase Locked"));
    CHECK(toToken(PtpClockLockState(3)) == QLatin1String("FrequencyAndPhaseLocked"));
    CHECK(toToken(PtpClockLockState(4)) == QLatin1String("Error"));
    CHECK(toString(PtpClockLockState(4)) == QLatin1String("Error"));
}

TEST_CASE("Clock accuracy codes fall into bands", "[ptp]")
{
    const QString reserved = QStringLiteral("Reserved");
    const QString profile = QStringLiteral("Use alternate PTP Profile");
    for (quint32 code = 0; code < 300; ++code) {
        CAPTURE(code);
        const QString text = clockAccuracyToString(code);
        const bool named = (code >= 32 && code <= 49) || code == 254;
        CHECK((text == profile) == (code >= 128 && code <= 253));
        CHECK((text == reserved) == (!named && text != profile));
    }
    CHECK(clockAccuracyToString(32) == QStringLiteral("< 25 ns"));
    CHECK(clockAccuracyToString(36) == QString::fromUtf8("< 2.5 \xC2\xB5s")); // micro sign
    CHECK(clockAccuracyToString(40) == QString::fromUtf8("< 250 \xC2\xB5s"));
    CHECK(clockAccuracyToString(41) == QStringLiteral("< 1ms"));
    CHECK(clockAccuracyToString(42) == QStringLiteral("< 2.5 ms"));
    CHECK(clockAccuracyToString(49) == QStringLiteral("> 10 s"));
    CHECK(clockAccuracyToString(254) == QStringLiteral("Unknown"));
    CHECK(clockAccuracyToString(0xFFFFFFFF) == reserved);
}

TEST_CASE("Time sources are known by code, one of them beyond a byte", "[ptp]")
{
    CHECK(toString(PtpTimeSource(0x10)) == QLatin1String("Atomic Clock"));
    CHECK(toString(PtpTimeSource(0x60)) == QLatin1String("Hand Set"));
    CHECK(toString(PtpTimeSource(0x90)) == QLatin1String("Other"));
    CHECK(toString(PtpTimeSource(0xA0)) == QLatin1String("Internal Oscillator"));
    CHECK(toString(PtpTimeSource(0x100)) == QLatin1String("Unknown"));
    for (const quint32 other : {0x00u, 0x11u, 0x70u, 0xFFu, 0x110u}) {
        CHECK(toString(PtpTimeSource(other)) == QLatin1String("Error"));
    }
}

TEST_CASE("Message intervals are powers of two in seconds", "[ptp]")
{
    struct Row
    {
        int logInterval;
        const char* text;
        const char* milliseconds;
    };
    const Row rows[] = {
        {-8, "4 ms", "4"},
        {-7, "8 ms", "8"},
        {-4, "64 ms", "64"},
        {-3, "125 ms", "125"},
        {-1, "500 ms", "500"},
        {0, "1 s", "1000"},
        {1, "2 s", "2000"},
        {5, "32 s", "32000"},
        {6, "64 s", "64"},
        {-9, "0.00195313 s", "0.00195313"},
        {20, "1.04858e+06 s", "1.04858e+06"},
        {-20, "9.53674e-07 s", "9.53674e-07"},
        {127, "1.70141e+38 s", "1.70141e+38"},
    };
    for (const Row& row : rows) {
        CHECK(logMessageIntervalToString(row.logInterval) == QLatin1String(row.text));
        CHECK(logMessageIntervalToMilliseconds(row.logInterval) == QLatin1String(row.milliseconds));
    }
    // What no double holds still has a text.
    CHECK(logMessageIntervalToString(std::numeric_limits<int>::max()) == QStringLiteral("inf s"));
    CHECK(logMessageIntervalToString(std::numeric_limits<int>::min()) == QStringLiteral("0 s"));
}

TEST_CASE("Audio packet times are written with the Greek letter", "[ptp]")
{
    CHECK(audioPacketTimeToString(0) == QString::fromUtf8("125 \xCE\xBCs"));
    CHECK(audioPacketTimeToString(1) == QString::fromUtf8("250 \xCE\xBCs"));
    CHECK(audioPacketTimeToString(2) == QString::fromUtf8("330 \xCE\xBCs"));
    CHECK(audioPacketTimeToString(3) == QStringLiteral("1 ms"));
    CHECK(audioPacketTimeToString(4) == QStringLiteral("4 ms"));
    CHECK(audioPacketTimeToString(255) == QStringLiteral("Invalid"));
    CHECK(audioPacketTimeToString(5) == QStringLiteral("Error"));
    CHECK(audioPacketTimeToString(256) == QStringLiteral("Error"));
}
