#include "infrastructure/ptp/PtpVocabulary.h"

#include "infrastructure/utility/video/Vocabulary.h"

#include <QStringView>

#include <cmath>

namespace Tessorn {
namespace IpTypes {

namespace {

constexpr Vocabulary::Row<PtpDaemonState> DAEMON_STATES[] = {
    {PtpDaemonState(0), "No PTP"},
    {PtpDaemonState_INITIALIZING, "Initializing"},
    {PtpDaemonState_FAULTY, "Faulty"},
    {PtpDaemonState_DISABLED, "Disabled"},
    {PtpDaemonState_LISTENING, "Listening"},
    {PtpDaemonState_PRE_MASTER, "Pre Lead"},
    {PtpDaemonState_MASTER, "Lead"},
    {PtpDaemonState_PASSIVE, "Passive"},
    {PtpDaemonState_UNCALIBRATED, "Uncalibrated"},
    {PtpDaemonState_SLAVE, "Follow"},
    {PtpDaemonState(10), "Unknown"},
    {PtpDaemonState(11), "Follow"},
};

struct LockStateRow
{
    PtpClockLockState value;
    std::string_view token;
    std::string_view text;
};

constexpr LockStateRow LOCK_STATES[] = {
    {PtpClockLockState_NotLocked, "Notlocked", "Not locked"},
    {PtpClockLockState_InHoldover, "InHoldover", "In Holdover"},
    {PtpClockLockState_FrequencyLockedButNotPhaseLocked, "FrequencyLockedButNotPhaseLocked",
     "Frequency Locked, But Not Phase Locked"},
    {PtpClockLockState_FrequencyAndPhaseLocked, "FrequencyAndPhaseLocked",
     "Frequency And Phase Locked"},
};

constexpr Vocabulary::Row<PtpTimeSource> TIME_SOURCES[] = {
    {PtpTimeSource_AtomicClock, "Atomic Clock"},
    {PtpTimeSource_Gps, "GPS"},
    {PtpTimeSource_TerrestrialRadio, "Terrestrial Radio"},
    {PtpTimeSource_Ptp, "PTP"},
    {PtpTimeSource_Ntp, "NTP"},
    {PtpTimeSource_HandSet, "Hand Set"},
    {PtpTimeSource_Other, "Other"},
    {PtpTimeSource_InternalOscillator, "Internal Oscillator"},
    {PtpTimeSource_Unknown, "Unknown"},
};

/// A code whose text is not pure ASCII.
struct CodeRow
{
    quint32 value = 0;
    QStringView text;
};

constexpr CodeRow ACCURACIES[] = {
    {32, u"< 25 ns"},  {33, u"< 100 ns"}, {34, u"< 250 ns"}, {35, u"< 1 µs"},   {36, u"< 2.5 µs"},
    {37, u"< 10 µs"},  {38, u"< 25 µs"},  {39, u"< 100 µs"}, {40, u"< 250 µs"}, {41, u"< 1ms"},
    {42, u"< 2.5 ms"}, {43, u"< 10 ms"},  {44, u"< 25 ms"},  {45, u"< 100 ms"}, {46, u"< 250 ms"},
    {47, u"< 1 s"},    {48, u"< 10 s"},   {49, u"> 10 s"},   {254, u"Unknown"},
};
constexpr quint32 FIRST_PROFILE_ACCURACY = 128;
constexpr quint32 LAST_PROFILE_ACCURACY = 253;

constexpr CodeRow AUDIO_PACKET_TIMES[] = {
    {0, u"125 μs"}, {1, u"250 μs"}, {2, u"330 μs"},
    {3, u"1 ms"},   {4, u"4 ms"},   {INVALID_AUDIO_PACKET_TIME, u"Invalid"},
};

struct LogIntervalRow
{
    int value;
    std::string_view text;
    std::string_view milliseconds;
};

constexpr LogIntervalRow LOG_INTERVALS[] = {
    {-8, "4 ms", "4"},    {-7, "8 ms", "8"},     {-6, "16 ms", "16"},   {-5, "32 ms", "32"},
    {-4, "64 ms", "64"},  {-3, "125 ms", "125"}, {-2, "250 ms", "250"}, {-1, "500 ms", "500"},
    {0, "1 s", "1000"},   {1, "2 s", "2000"},    {2, "4 s", "4000"},    {3, "8 s", "8000"},
    {4, "16 s", "16000"}, {5, "32 s", "32000"},
};

QString powerOfTwo(int exponent)
{
    return QString::number(std::ldexp(1.0, exponent), 'g', 6);
}

} // namespace

QLatin1String toString(PtpDaemonState state)
{
    return Vocabulary::text(DAEMON_STATES, state, "Error");
}

QLatin1String toString(PtpClockLockState state)
{
    return Vocabulary::text(LOCK_STATES, state, "Error");
}

QLatin1String toToken(PtpClockLockState state)
{
    const LockStateRow* row = Vocabulary::find(LOCK_STATES, state);
    return Vocabulary::latin1(row != nullptr ? row->token : "Error");
}

QLatin1String toString(PtpTimeSource source)
{
    return Vocabulary::text(TIME_SOURCES, source, "Error");
}

QString clockAccuracyToString(quint32 code)
{
    if (code >= FIRST_PROFILE_ACCURACY && code <= LAST_PROFILE_ACCURACY) {
        return QStringLiteral("Use alternate PTP Profile");
    }
    const CodeRow* row = Vocabulary::find(ACCURACIES, code);
    return row != nullptr ? row->text.toString() : QStringLiteral("Reserved");
}

QString logMessageIntervalToString(int logInterval)
{
    const LogIntervalRow* row = Vocabulary::find(LOG_INTERVALS, logInterval);
    return row != nullptr ? QString(Vocabulary::latin1(row->text))
                          : powerOfTwo(logInterval) + QLatin1String(" s");
}

QString logMessageIntervalToMilliseconds(int logInterval)
{
    const LogIntervalRow* row = Vocabulary::find(LOG_INTERVALS, logInterval);
    return row != nullptr ? QString(Vocabulary::latin1(row->milliseconds))
                          : powerOfTwo(logInterval);
}

QString audioPacketTimeToString(quint32 code)
{
    const CodeRow* row = Vocabulary::find(AUDIO_PACKET_TIMES, code);
    return row != nullptr ? row->text.toString() : QStringLiteral("Error");
}

} // namespace IpTypes
} // namespace Tessorn
