#include "infrastructure/utility/packets/PtpEventPacket.h"

#include <QDateTime>

#include <algorithm>

namespace {

constexpr PacketKey<int> MSECS_KEY{"msecsSinceStartOfDay"};
constexpr PacketKey<qint64> JULIAN_DATE_KEY{"julianDate"};
constexpr PacketKey<QString> EVENT_KEY{"ptp_event"};

} // namespace

PtpEventPacket::PtpEventPacket()
    : LogSerialisableDataPacket(CLASSNAME())
{
}

PtpEventPacket::PtpEventPacket(const QString& event, const QDateTime& when)
    : PtpEventPacket()
{
    set(MSECS_KEY, std::max(when.time().msecsSinceStartOfDay(), 0));
    set(JULIAN_DATE_KEY, when.date().toJulianDay());
    set(EVENT_KEY, event);
}

PtpEventPacket::PtpEventPacket(const SerialisableDataPacket& source, bool& ok)
    : LogSerialisableDataPacket(CLASSNAME(), source, ok)
{
}

QString PtpEventPacket::getLogLine() const
{
    return get(EVENT_KEY);
}
