// The AES channel status words of each audio channel (AES3, IEC 60958-4).
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

#include <QVector>

/// One channel.
struct AudioChannelStatus
{
    quint8 channel = 0;
    qint32 channelWord1 = 0;
    qint32 channelWord2 = 0;
    qint32 channelWord3 = 0;
    qint32 statusWord1 = 0;
    qint32 statusWord2 = 0;
    qint32 statusWord3 = 0;
    qint32 statusWord4 = 0;
    qint32 statusWord5 = 0;
    qint32 statusWord6 = 0;
    qint32 channelWord4 = 0;
    qint32 channelWord5 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::field<qint32>(&AudioChannelStatus::channel),
        RecordLayout::fields<qint32>(&AudioChannelStatus::channelWord1,
                                     &AudioChannelStatus::channelWord2,
                                     &AudioChannelStatus::channelWord3),
        RecordLayout::fields<qint32>(
            &AudioChannelStatus::statusWord1, &AudioChannelStatus::statusWord2,
            &AudioChannelStatus::statusWord3, &AudioChannelStatus::statusWord4,
            &AudioChannelStatus::statusWord5, &AudioChannelStatus::statusWord6),
        RecordLayout::placeholder<qint32>(0),
        RecordLayout::fields<qint32>(&AudioChannelStatus::channelWord4,
                                     &AudioChannelStatus::channelWord5));
};

/// All channels.
struct AudioChannelStatusList
{
    qint32 statusField1 = 0;
    qint32 statusField2 = 0;
    QVector<AudioChannelStatus> channels;
    bool statusFlag = false;

    static constexpr auto LAYOUT =
        RecordLayout::layout(RecordLayout::fields<qint32>(&AudioChannelStatusList::statusField1,
                                                          &AudioChannelStatusList::statusField2),
                             RecordLayout::list(&AudioChannelStatusList::channels),
                             RecordLayout::field<bool>(&AudioChannelStatusList::statusFlag));
};

class AudioChannelStatusDataPacket
    : public TypedPacket<RecordPayload<AudioChannelStatusList>, RawPacketType_AudioChannelStatus>
{
public:
    using TypedPacket::TypedPacket;
};
