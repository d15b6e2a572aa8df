// Traffic shaping measurements of a video flow (SMPTE ST 2110-21).
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

/// Counters and measurements. On the wire the second counter comes first.
struct VideoIp2110_21
{
    qint32 counter1 = 0;
    qint32 counter2 = 0;
    qint32 counter3 = 0;
    qint32 counter4 = 0;
    qint32 counter5 = 0;
    qint32 counter6 = 0;
    double measurement1 = 0;
    double measurement2 = 0;
    double measurement3 = 0;
    double measurement4 = 0;
    quint16 videoWord1 = 0;
    quint16 videoWord2 = 0;
    qint32 videoField1 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::fields<qint32>(&VideoIp2110_21::counter2, &VideoIp2110_21::counter1,
                                     &VideoIp2110_21::counter3, &VideoIp2110_21::counter4,
                                     &VideoIp2110_21::counter5, &VideoIp2110_21::counter6),
        RecordLayout::fields<double>(&VideoIp2110_21::measurement1, &VideoIp2110_21::measurement2,
                                     &VideoIp2110_21::measurement3, &VideoIp2110_21::measurement4),
        RecordLayout::fields<quint16>(&VideoIp2110_21::videoWord1, &VideoIp2110_21::videoWord2),
        RecordLayout::field<qint32>(&VideoIp2110_21::videoField1));
};

class VideoIp2110_21DataPacket
    : public TypedPacket<RecordPayload<VideoIp2110_21>, RawPacketType_VideoIp2110_21>
{
public:
    using TypedPacket::TypedPacket;
};
