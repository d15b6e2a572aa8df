// The table of packet classes by raw type. It is here, above them all, so that the packets' folder
// need not know the records.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"
#include "infrastructure/utility/records/AncillaryStatusDataPacket.h"
#include "infrastructure/utility/records/AudioChannelStatusDataPacket.h"
#include "infrastructure/utility/records/Captions608bytePairsRawDataPacket.h"
#include "infrastructure/utility/records/EyeHistogramData.h"
#include "infrastructure/utility/records/LoudnessEngineRawDataPacket.h"
#include "infrastructure/utility/records/MetersData.h"
#include "infrastructure/utility/records/PitHistogramPacket.h"
#include "infrastructure/utility/records/PtpMediaLatencyPacket.h"
#include "infrastructure/utility/records/RawSdiJitterSpectrumDataPacket.h"
#include "infrastructure/utility/records/RawSdiSampleGridPacket.h"
#include "infrastructure/utility/records/RefVsPtpPacket.h"
#include "infrastructure/utility/records/SCTE104RawDataPacket.h"
#include "infrastructure/utility/records/ST337DolbyDetectData.h"
#include "infrastructure/utility/records/TeletextRawDataPacket.h"
#include "infrastructure/utility/records/VideoIp2110_21DataPacket.h"

#include <tuple>

/// The class of each raw type, in the order of the numbers.
// clang-format off
using RawDataPackets = std::tuple<
    SerialisableDataPacket,
    EyeVerticalHistogramData,
    EyeHorizontalHistogramData,
    PpmMetersData,
    PeakHoldMetersData,
    PhaseMetersData,
    InstantPeakDbMetersData,
    InstantPeakLinearMetersData,
    ST337DolbyDetectData,
    RawSdiSampleGridPacket,
    RawSdiJitterSpectrumDataPacket,
    JitterVerticalHistogramData,
    VideoPitHistogramPacket,
    AudioPitHistogramPacket,
    AncPitHistogramPacket,
    AncillaryStatusDataPacket,
    AudioChannelStatusDataPacket,
    AesPresenceDataPacket,
    TeletextRawDataPacket,
    EyeWindowedVerticalHistogramData,
    VideoIp2110_21DataPacket,
    PtpMediaLatencyPacket,
    Captions608bytePairsRawDataPacket,
    RefVsPtpPacket,
    SCTE104RawDataPacket,
    LoudnessEngineRawDataPacket>;
// clang-format on

template <typename Packets>
constexpr bool IS_WHOLE_VOCABULARY = false;
template <typename... Packets>
constexpr bool IS_WHOLE_VOCABULARY<std::tuple<Packets...>> = [] {
    int next = RawPacketType_First;
    return ((Packets::PACKET_TYPE == next++) && ...) && next == RawPacketType_End;
}();

static_assert(IS_WHOLE_VOCABULARY<RawDataPackets>,
              "every type of the vocabulary has its class, in the order of the numbers");
