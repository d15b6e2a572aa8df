// Histograms of the eye pattern and of jitter.
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

#include <QVector>

/// The base of everything the eye measurement sends.
class EyeDataPacket : public RawDataPacket
{
public:
    using RawDataPacket::RawDataPacket;
};

/// A histogram: a count and that many bins.
struct EyeHistogram
{
    QVector<int> histogram; ///< bins, in order

    static constexpr auto LAYOUT =
        RecordLayout::layout(RecordLayout::list<qint32>(&EyeHistogram::histogram));
};

/// The base of the four histograms, which differ in what their bins mean.
class EyeHistogramData : public RecordPayload<EyeHistogram, EyeDataPacket>
{
public:
    using RecordPayload::RecordPayload;
};

class EyeVerticalHistogramData
    : public TypedPacket<EyeHistogramData, RawPacketType_EyeVerticalHistogram>
{
public:
    using TypedPacket::TypedPacket;
};

class EyeHorizontalHistogramData
    : public TypedPacket<EyeHistogramData, RawPacketType_EyeHorizontalHistogram>
{
public:
    using TypedPacket::TypedPacket;
};

class JitterVerticalHistogramData
    : public TypedPacket<EyeHistogramData, RawPacketType_JitterVerticalHistogram>
{
public:
    using TypedPacket::TypedPacket;
};

class EyeWindowedVerticalHistogramData
    : public TypedPacket<EyeHistogramData, RawPacketType_EyeWindowedVerticalHistogram>
{
public:
    using TypedPacket::TypedPacket;
};
