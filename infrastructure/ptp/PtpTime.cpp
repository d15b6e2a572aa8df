#include "infrastructure/ptp/PtpTime.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <iterator>
#include <limits>

namespace Tessorn {
namespace IpTypes {

namespace {

constexpr qint64 NANOSECONDS_PER_SECOND = 1000000000;
constexpr qint64 LAST_SHOWN_SECOND = 253402300799; ///< 9999-12-31 23:59:59

/// Every qint64 has a magnitude here, even the most negative one.
quint64 magnitude(qint64 value)
{
    return value < 0 ? 0 - static_cast<quint64>(value) : static_cast<quint64>(value);
}

} // namespace

QString ptpTimeToString(qint64 nanoseconds)
{
    const QLatin1String sign(nanoseconds < 0 ? "-" : "");
    const quint64 size = magnitude(nanoseconds);
    const auto row = std::find_if(
        std::begin(PTP_TIMING_TIME_PRESENTATIONS), std::end(PTP_TIMING_TIME_PRESENTATIONS),
        [size](const auto& unit) { return size >= static_cast<quint64>(unit.threshold); });
    if (row == std::end(PTP_TIMING_TIME_PRESENTATIONS)) {
        return sign + QString::number(size) + QLatin1String(" ns");
    }
    const auto divisor = static_cast<quint64>(row->divisor);
    const quint64 hundredths = (size + divisor / 2) / divisor;
    return QStringLiteral("%1%2.%3 %4")
        .arg(sign)
        .arg(hundredths / 100)
        .arg(hundredths % 100, 2, 10, QLatin1Char('0'))
        .arg(row->unit);
}

QString ptpTimeToString(qint32 nanoseconds)
{
    // The most negative 32-bit value has no positive counterpart there, but has one in 64 bits.
    return ptpTimeToString(qint64{nanoseconds});
}

QString PtpTimestamp::toString(bool withUtc) const
{
    if (seconds < 0 || nanoseconds < 0 || seconds > LAST_SHOWN_SECOND) {
        return QStringLiteral("Error");
    }
    // QDateTime's own texts use the digits of the machine's language.
    return QLocale::c().toString(QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC),
                                 QStringLiteral("yyyy-MM-dd hh:mm:ss")) +
           QLatin1String(withUtc ? " (UTC)" : "");
}

PtpTimestamp PtpTimestamp::toUtc(qint32 currentUtcOffset) const
{
    PtpTimestamp utc = *this;
    if (__builtin_sub_overflow(seconds, qint64{currentUtcOffset}, &utc.seconds)) {
        utc.seconds = currentUtcOffset < 0 ? std::numeric_limits<qint64>::max()
                                           : std::numeric_limits<qint64>::min();
    }
    return utc;
}

qint64 PtpTimestamp::toNanoseconds() const
{
    const bool negative = seconds < 0 || nanoseconds < 0;
    const quint64 limit = magnitude(negative ? std::numeric_limits<qint64>::min()
                                             : std::numeric_limits<qint64>::max());
    quint64 sum = 0;
    if (__builtin_mul_overflow(magnitude(seconds), quint64{NANOSECONDS_PER_SECOND}, &sum) ||
        __builtin_add_overflow(sum, magnitude(nanoseconds), &sum)) {
        sum = limit;
    }
    sum = std::min(sum, limit);
    return static_cast<qint64>(negative ? 0 - sum : sum);
}

QString PtpTimestamp::toNanosecondsString() const
{
    return QString::number(toNanoseconds()) + QLatin1String(" ns");
}

} // namespace IpTypes
} // namespace Tessorn
