// The state of the loudness measurement.
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

/// Stamps, words and flags, passed on as they are.
struct LoudnessEngineRaw
{
    quint64 loudnessStamp1 = 0;
    quint64 loudnessStamp2 = 0;
    quint16 loudnessWord1 = 0;
    quint16 loudnessWord2 = 0;
    quint16 loudnessWord3 = 0;
    quint16 loudnessWord4 = 0;
    bool loudnessFlag1 = false;
    bool loudnessFlag2 = false;
    bool loudnessFlag3 = false;
    bool loudnessFlag4 = false;
    bool loudnessFlag5 = false;
    quint8 loudnessByte1 = 0;
    quint16 loudnessWord5 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::fields<quint64>(&LoudnessEngineRaw::loudnessStamp1,
                                      &LoudnessEngineRaw::loudnessStamp2),
        RecordLayout::fields<quint16>(
            &LoudnessEngineRaw::loudnessWord1, &LoudnessEngineRaw::loudnessWord2,
            &LoudnessEngineRaw::loudnessWord3, &LoudnessEngineRaw::loudnessWord4),
        RecordLayout::fields<bool>(
            &LoudnessEngineRaw::loudnessFlag1, &LoudnessEngineRaw::loudnessFlag2,
            &LoudnessEngineRaw::loudnessFlag3, &LoudnessEngineRaw::loudnessFlag4,
            &LoudnessEngineRaw::loudnessFlag5),
        RecordLayout::field<quint8>(&LoudnessEngineRaw::loudnessByte1),
        RecordLayout::field<quint16>(&LoudnessEngineRaw::loudnessWord5));
};

class LoudnessEngineRawDataPacket
    : public TypedPacket<RecordPayload<LoudnessEngineRaw>, RawPacketType_LoudnessEngineRaw>
{
public:
    using TypedPacket::TypedPacket;
};
