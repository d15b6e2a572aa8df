// Dolby bursts found in SMPTE ST 337 audio.
#pragma once

#include "infrastructure/utility/records/MetersData.h"

/// What was found in one channel, 24 bytes. On the wire the order is different.
struct DolbyDetectChannel
{
    quint8 channel = 0;
    quint8 channelByte1 = 0;
    bool channelFlag1 = false;
    bool channelFlag2 = false;
    qint32 channelWord1 = 0;
    qint32 channelWord2 = 0;
    qint32 channelWord3 = 0;
    quint16 channelWord4 = 0;
    bool channelFlag3 = false;
    bool channelFlag4 = false;
    bool channelFlag5 = false;
    bool channelFlag6 = false;

    static constexpr auto LAYOUT =
        RecordLayout::layout(RecordLayout::field<quint16>(&DolbyDetectChannel::channel),
                             RecordLayout::fields<qint32>(&DolbyDetectChannel::channelWord1,
                                                          &DolbyDetectChannel::channelWord2,
                                                          &DolbyDetectChannel::channelWord3),
                             RecordLayout::fields<bool>(&DolbyDetectChannel::channelFlag1,
                                                        &DolbyDetectChannel::channelFlag2),
                             RecordLayout::field<quint16>(&DolbyDetectChannel::channelWord4),
                             RecordLayout::field<quint16>(&DolbyDetectChannel::channelByte1),
                             RecordLayout::fields<bool>(&DolbyDetectChannel::channelFlag3,
                                                        &DolbyDetectChannel::channelFlag4,
                                                        &DolbyDetectChannel::channelFlag5,
                                                        &DolbyDetectChannel::channelFlag6));
};
static_assert(sizeof(DolbyDetectChannel) == 24, "many channels are held at a time");

/// One burst.
struct DolbyDetectBurst
{
    qint16 burstWord1 = 0;
    qint16 burstWord2 = 0;
    qint16 burstWord3 = 0;
    quint8 burstByte1 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::fields<qint16>(&DolbyDetectBurst::burstWord1, &DolbyDetectBurst::burstWord2,
                                     &DolbyDetectBurst::burstWord3),
        RecordLayout::field<quint16>(&DolbyDetectBurst::burstByte1));
};

/// The channels and the bursts, after the header words.
struct ST337DolbyDetect
{
    QVector<DolbyDetectChannel> channels;
    QVector<DolbyDetectBurst> bursts;

    static constexpr auto LAYOUT =
        RecordLayout::layout(RecordLayout::list(&ST337DolbyDetect::channels),
                             RecordLayout::list(&ST337DolbyDetect::bursts));
};

class ST337DolbyDetectData
    : public TypedPacket<RecordPayload<ST337DolbyDetect, AudioMetersDataPacket>,
                         RawPacketType_ST337DolbyDetect>
{
public:
    using TypedPacket::TypedPacket;
};
