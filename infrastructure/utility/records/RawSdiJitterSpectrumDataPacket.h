// The spectrum of a signal's jitter.
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

#include <vector>

/// Three runs of numbers and three parameters, passed on as they are.
struct RawSdiJitterSpectrum
{
    std::vector<double> spectrumVector1;
    std::vector<double> spectrumVector2;
    std::vector<double> spectrumVector3;
    qint32 spectrumParameter1 = 0;
    bool spectrumFlag = false;
    qint32 spectrumParameter2 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::list<double>(&RawSdiJitterSpectrum::spectrumVector1),
        RecordLayout::list<double>(&RawSdiJitterSpectrum::spectrumVector2),
        RecordLayout::list<double>(&RawSdiJitterSpectrum::spectrumVector3),
        RecordLayout::field<qint32>(&RawSdiJitterSpectrum::spectrumParameter1),
        RecordLayout::field<bool>(&RawSdiJitterSpectrum::spectrumFlag),
        RecordLayout::field<qint32>(&RawSdiJitterSpectrum::spectrumParameter2));
};

class RawSdiJitterSpectrumDataPacket
    : public TypedPacket<RecordPayload<RawSdiJitterSpectrum>, RawPacketType_RawSdiJitterSpectrum>
{
public:
    using TypedPacket::TypedPacket;
};
