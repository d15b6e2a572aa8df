// Times of the precision time protocol as text: offsets and delays in nanoseconds, with a unit that
// suits their size, and timestamps.
#pragma once

#include <QString>
#include <QStringView>

namespace Tessorn {
namespace IpTypes {

/// How offsets of a certain size are shown: from `threshold` nanoseconds on, in hundredths of
/// `unit`, each of which is `divisor` nanoseconds.
struct PtpTimingTimePresentation
{
    qint32 threshold = 0;
    qint32 divisor = 1;
    QStringView unit;
};

/// The largest unit first. A unit begins where the rounded text is 1.00; below the last row
/// nanoseconds are shown.
inline constexpr PtpTimingTimePresentation PTP_TIMING_TIME_PRESENTATIONS[] = {
    {995000000, 10000000, u"s"},
    {995000, 10000, u"ms"},
    {995, 10, u"μs"},
};

/// -3000000 => "-3.00 ms", 995 => "1.00 μs" (Greek mu), 994 => "994 ns". Half a hundredth rounds
/// away from zero. All values have a text.
QString ptpTimeToString(qint64 nanoseconds);
QString ptpTimeToString(qint32 nanoseconds);

/// A point in time as seconds and nanoseconds since 1970-01-01 00:00:00, on whatever time scale the
/// producer uses. The texts take it as UTC. PTP's own time scale is TAI, which is ahead of UTC
/// (IEEE 1588-2008, 7.2): use toUtc to show such a time in UTC.
struct PtpTimestamp
{
    qint64 seconds = 0;
    qint64 nanoseconds = 0;

    /// "2025-11-23 01:02:03", followed by " (UTC)" if `withUtc` is set. "Error" if a part is
    /// negative or the year has more than four digits.
    QString toString(bool withUtc = false) const;

    /// A time on PTP's own scale as UTC, which is earlier by the grandmaster's `currentUtcOffset`
    /// seconds (GrandmasterInfo). Seconds beyond 64 bits become the nearest value that fits.
    ///
    ///   PtpTimestamp{1763859760, 5}.toUtc(37) => {1763859723, 5}
    PtpTimestamp toUtc(qint32 currentUtcOffset) const;

    /// Nanoseconds since 1970. If a part is negative, minus the sum of the parts' absolute values.
    /// A result beyond 64 bits becomes the nearest value that fits.
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
