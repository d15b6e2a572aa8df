// Histograms of the time between the packets of an IP flow (packet inter-arrival time, PIT).
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

#include <array>

/// One flow's histogram and what it belongs to.
struct PitHistogram
{
    static constexpr std::size_t BIN_COUNT = 64;

    qint32 pitField1 = 0;
    qint32 pitField2 = 0;
    quint64 pitTotal = 0;
    qint32 pitField3 = 0;
    qint32 pitField4 = 0;
    qint32 pitField5 = 0;
    qint32 pitField6 = 0;
    bool pitFlag1 = false;
    bool pitFlag2 = false;
    std::array<qint32, BIN_COUNT> bins{};
    qint32 pitField7 = 0;
    QHostAddress sourceAddress; ///< null if there is none, like the two others
    QHostAddress destinationAddress;
    qint32 pitField8 = 0;
    qint32 pitField9 = 0;
    qint32 pitField10 = 0;
    QHostAddress thirdAddress;
    qint32 pitField11 = 0;
    qint32 pitField12 = 0;
    quint16 flowIndex = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::fields<qint32>(&PitHistogram::pitField1, &PitHistogram::pitField2),
        RecordLayout::field<quint64>(&PitHistogram::pitTotal),
        RecordLayout::fields<qint32>(&PitHistogram::pitField3, &PitHistogram::pitField4,
                                     &PitHistogram::pitField5, &PitHistogram::pitField6),
        RecordLayout::fields<bool>(&PitHistogram::pitFlag1, &PitHistogram::pitFlag2),
        RecordLayout::run<qint32>(&PitHistogram::bins),
        RecordLayout::field<qint32>(&PitHistogram::pitField7),
        RecordLayout::address(&PitHistogram::sourceAddress),
        RecordLayout::address(&PitHistogram::destinationAddress),
        RecordLayout::fields<qint32>(&PitHistogram::pitField8, &PitHistogram::pitField9,
                                     &PitHistogram::pitField10),
        RecordLayout::address(&PitHistogram::thirdAddress),
        RecordLayout::fields<qint32>(&PitHistogram::pitField11, &PitHistogram::pitField12),
        RecordLayout::field<quint16>(&PitHistogram::flowIndex));
};

/// The base of the three histograms, which differ in the kind of flow.
class PitHistogramPacket : public RecordPayload<PitHistogram>
{
public:
    using RecordPayload::RecordPayload;
};

class VideoPitHistogramPacket
    : public TypedPacket<PitHistogramPacket, RawPacketType_VideoPitHistogram>
{
public:
    using TypedPacket::TypedPacket;
};

class AudioPitHistogramPacket
    : public TypedPacket<PitHistogramPacket, RawPacketType_AudioPitHistogram, 1>
{
public:
    using TypedPacket::TypedPacket;
};

class AncPitHistogramPacket
    : public TypedPacket<PitHistogramPacket, RawPacketType_AncPitHistogram, 3>
{
public:
    using TypedPacket::TypedPacket;
};
