// The latency of media against PTP time.
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

/// Stamps and measurements of one flow, passed on as they are.
struct PtpMediaLatency
{
    quint64 latencyStamp = 0;
    qint32 latencyField1 = 0;
    qint32 latencyField2 = 0;
    qint32 latencyField3 = 0;
    qint32 latencyField4 = 0;
    qint32 latencyField5 = 0;
    qint32 latencyField6 = 0;
    quint64 latencyStamp2 = 0;
    quint16 latencyWord = 0;
    quint8 latencyByte1 = 0;
    quint8 latencyByte2 = 0;
    quint64 latencyStamp3 = 0;
    quint64 latencyStamp4 = 0;
    qint32 latencyField7 = 0;
    qint32 latencyField8 = 0;
    quint64 latencyStamp5 = 0;
    qint32 latencyField9 = 0;
    qint32 latencyField10 = 0;
    quint64 latencyStamp6 = 0;
    qint32 latencyField11 = 0;
    qint32 latencyField12 = 0;
    qint32 latencyField13 = 0;
    qint32 latencyField14 = 0;
    qint32 latencyField15 = 0;
    qint32 latencyField16 = 0;
    qint32 latencyField17 = 0;
    qint32 latencyField18 = 0;
    qint32 latencyField19 = 0;
    qint32 latencyField20 = 0;
    qint32 latencyField21 = 0;
    qint32 latencyField22 = 0;
    qint32 latencyField23 = 0;
    qint32 latencyField24 = 0;
    qint32 latencyField25 = 0;
    qint32 latencyField26 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::field<quint64>(&PtpMediaLatency::latencyStamp),
        RecordLayout::fields<qint32>(
            &PtpMediaLatency::latencyField1, &PtpMediaLatency::latencyField2,
            &PtpMediaLatency::latencyField3, &PtpMediaLatency::latencyField4,
            &PtpMediaLatency::latencyField5, &PtpMediaLatency::latencyField6),
        RecordLayout::field<quint64>(&PtpMediaLatency::latencyStamp2),
        RecordLayout::field<quint16>(&PtpMediaLatency::latencyWord),
        RecordLayout::fields<quint8>(&PtpMediaLatency::latencyByte1,
                                     &PtpMediaLatency::latencyByte2),
        RecordLayout::fields<quint64>(&PtpMediaLatency::latencyStamp3,
                                      &PtpMediaLatency::latencyStamp4),
        RecordLayout::fields<qint32>(&PtpMediaLatency::latencyField7,
                                     &PtpMediaLatency::latencyField8),
        RecordLayout::field<quint64>(&PtpMediaLatency::latencyStamp5),
        RecordLayout::fields<qint32>(&PtpMediaLatency::latencyField9,
                                     &PtpMediaLatency::latencyField10),
        RecordLayout::field<quint64>(&PtpMediaLatency::latencyStamp6),
        RecordLayout::fields<qint32>(
            &PtpMediaLatency::latencyField11, &PtpMediaLatency::latencyField12,
            &PtpMediaLatency::latencyField13, &PtpMediaLatency::latencyField14,
            &PtpMediaLatency::latencyField15, &PtpMediaLatency::latencyField16,
            &PtpMediaLatency::latencyField17, &PtpMediaLatency::latencyField18,
            &PtpMediaLatency::latencyField19, &PtpMediaLatency::latencyField20,
            &PtpMediaLatency::latencyField21, &PtpMediaLatency::latencyField22,
            &PtpMediaLatency::latencyField23, &PtpMediaLatency::latencyField24,
            &PtpMediaLatency::latencyField25, &PtpMediaLatency::latencyField26));
};

class PtpMediaLatencyPacket
    : public TypedPacket<RecordPayload<PtpMediaLatency>, RawPacketType_PtpMediaLatency>
{
public:
    using TypedPacket::TypedPacket;
};
