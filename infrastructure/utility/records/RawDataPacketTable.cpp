// The one table of packet classes by raw type. It is here, above all of them, so that the packets'
// own folder knows none of the records.
#include "infrastructure/utility/packets/RawDataPacketFactory.h"

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

#include <iterator>

namespace {

template <typename Packet>
std::shared_ptr<RawDataPacket> make(const QByteArray& view, const RawDataPacketHeader& header)
{
    return std::make_shared<Packet>(view, header);
}

struct Row
{
    quint16 packetType;
    std::shared_ptr<RawDataPacket> (*make)(const QByteArray& view,
                                           const RawDataPacketHeader& header);
};

template <typename Packet>
constexpr Row row()
{
    return {Packet::PACKET_TYPE, make<Packet>};
}

/// A row for each type, in the order of the numbers.
constexpr Row ROWS[] = {
    row<SerialisableDataPacket>(),
    row<EyeVerticalHistogramData>(),
    row<EyeHorizontalHistogramData>(),
    row<PpmMetersData>(),
    row<PeakHoldMetersData>(),
    row<PhaseMetersData>(),
    row<InstantPeakDbMetersData>(),
    row<InstantPeakLinearMetersData>(),
    row<ST337DolbyDetectData>(),
    row<RawSdiSampleGridPacket>(),
    row<RawSdiJitterSpectrumDataPacket>(),
    row<JitterVerticalHistogramData>(),
    row<VideoPitHistogramPacket>(),
    row<AudioPitHistogramPacket>(),
    row<AncPitHistogramPacket>(),
    row<AncillaryStatusDataPacket>(),
    row<AudioChannelStatusDataPacket>(),
    row<AesPresenceDataPacket>(),
    row<TeletextRawDataPacket>(),
    row<EyeWindowedVerticalHistogramData>(),
    row<VideoIp2110_21DataPacket>(),
    row<PtpMediaLatencyPacket>(),
    row<Captions608bytePairsRawDataPacket>(),
    row<RefVsPtpPacket>(),
    row<SCTE104RawDataPacket>(),
    row<LoudnessEngineRawDataPacket>(),
};

} // namespace

std::shared_ptr<RawDataPacket> createRawDataPacket(const QByteArray& view,
                                                   const RawDataPacketHeader& header)
{
    static_assert(std::size(ROWS) == RawPacketType_Last - RawPacketType_First + 1,
                  "every type of the vocabulary has its class");
    for (const Row& entry : ROWS) {
        if (entry.packetType == header.packetType) {
            return entry.make(view, header);
        }
    }
    return nullptr;
}
