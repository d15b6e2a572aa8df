// Times of the precision time protocol as text: offsets and delays in nanoseconds with a unit that
// suits their size, and timestamps.
#pragma once

#include <QString>
#include <QStringView>

namespace Tessorn {
namespace IpTypes {

/// How offsets of a size are shown: from `threshold` nanoseconds on, in hundredths of `unit`, which
/// are `divisor` nanoseconds each.
struct PtpTimingTimePresentation
{
    qint32 threshold = 0;
    qint32 divisor = 1;
    QStringView unit;
};

/// The largest unit first. A unit begins where the rounded text is 1.00; below the last row it is
/// nanoseconds.
inline constexpr PtpTimingTimePresentation PTP_TIMING_TIME_PRESENTATIONS[] = {
    {995000000, 10000000, u"s"},
    {995000, 10000, u"ms"},
    {995, 10, u"μs"},
};

/// -3000000 => "-3.00 ms", 995 => "1.00 μs" (Greek mu), 994 => "994 ns". Half a hundredth rounds
/// away from zero. All values have a text.
QString ptpTimeToString(qint64 nanoseconds);
QString ptpTimeToString(qint32 nanoseconds);

/// A point in time as seconds and nanoseconds since 1970-01-01 00:00:00, on the time scale of
/// whoever fills it in. The texts take it as UTC. PTP's own time scale is TAI, which is ahead of
/// UTC (IEEE 1588-2008, 7.2): a time on it is shown in UTC by way of toUtc.
struct PtpTimestamp
{
    qint64 seconds = 0;
    qint64 nanoseconds = 0;

    /// "2025-11-23 01:02:03", with " (UTC)" behind it when `withUtc` asks for it. "Error" where a
    /// part is negative, or the year has more than four digits.
    QString toString(bool withUtc = false) const;

    /// A time on PTP's own scale as UTC, which is earlier by the grandmaster's `currentUtcOffset`
    /// seconds (GrandmasterInfo). Seconds that 64 bits do not hold become the nearest value that
    /// they do.
    ///
    ///   PtpTimestamp{1763859760, 5}.toUtc(37) => {1763859723, 5}
    PtpTimestamp toUtc(qint32 currentUtcOffset) const;

    /// Nanoseconds since 1970. Where a part is negative, minus the sum of the parts' absolute
    /// values. What 64 bits do not hold becomes the nearest value that they do.
    qint64 toNanoseconds() const;

    /// toNanoseconds with its unit: "1000000005 ns".
    QString toNanosecondsString() const;
};

inline bool operator==(const PtpTimestamp& a, const PtpTimestamp& b)
{
    return a.seconds == b.seconds && a.nanoseconds == b.nanoseconds;
}
inline bool operator!=(const PtpTimestamp& a, const PtpTimestamp& b)
{
    return !(a == b);
}

} // namespace IpTypes
} // namespace Tessorn
