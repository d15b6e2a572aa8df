#include "infrastructure/utility/packets/PtpEventPacket.h"

#include <QDateTime>

#include <algorithm>

namespace {

QString eventKey()
{
    return QStringLiteral("ptp_event");
}

} // namespace

PtpEventPacket::PtpEventPacket()
    : LogSerialisableDataPacket(CLASSNAME())
{
}

PtpEventPacket::PtpEventPacket(const QString& event, const QDateTime& when)
    : PtpEventPacket()
{
    insert(QStringLiteral("msecsSinceStartOfDay"), std::max(when.time().msecsSinceStartOfDay(), 0));
    insert(QStringLiteral("julianDate"), when.date().toJulianDay());
    insert(eventKey(), event);
}

PtpEventPacket::PtpEventPacket(const SerialisableDataPacket& source, bool& ok)
    : LogSerialisableDataPacket(CLASSNAME(), source, ok)
{
}

QString PtpEventPacket::getLogLine() const
{
    return value(eventKey()).toString();
}
