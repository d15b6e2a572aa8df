// An event of the PTP clock, with the time at which it happened.
#pragma once

#include "infrastructure/utility/packets/LogSerialisableDataPacket.h"

class QDateTime;

/// Keys: "ptp_event" (text), "msecsSinceStartOfDay" (milliseconds since midnight, 0 for an invalid
/// time), "julianDate" (Julian day number).
class PtpEventPacket : public LogSerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("PtpEventPacket"); }

    /// A packet without event.
    PtpEventPacket();
    PtpEventPacket(const QString& event, const QDateTime& when);
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    PtpEventPacket(const SerialisableDataPacket& source, bool& ok);

    /// The event's text; null if there is none.
    QString getLogLine() const override;
};
