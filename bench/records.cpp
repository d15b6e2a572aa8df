// Serialising and parsing of each record beside a memcpy of its payload.
#include "bench/Compare.h"
#include "infrastructure/utility/packets/RawDataPacketFactory.h"
#include "infrastructure/utility/records/AncillaryStatusDataPacket.h"
#include "infrastructure/utility/records/AudioChannelStatusDataPacket.h"
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
#include "infrastructure/utility/records/VideoIp2110_21DataPacket.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int BATCH_BYTES = 64 << 20; ///< payload bytes handled in one measurement

/// A record of a usual size.
template <typename Packet>
Packet usual()
{
    return Packet();
}

template <>
EyeVerticalHistogramData usual()
{
    EyeVerticalHistogramData packet;
    packet.histogram.fill(12345, 4096);
    return packet;
}

template <>
RawSdiJitterSpectrumDataPacket usual()
{
    RawSdiJitterSpectrumDataPacket packet;
    packet.spectrumVector1.assign(1024, 0.5);
    packet.spectrumVector2.assign(1024, -0.5);
    packet.spectrumVector3.assign(1024, 1.5);
    return packet;
}

template <>
PpmMetersData usual()
{
    PpmMetersData packet;
    packet.readings.fill({1, 2, 3, 4, -18.5f}, 64);
    return packet;
}

template <>
InstantPeakLinearMetersData usual()
{
    InstantPeakLinearMetersData packet;
    packet.readings.fill({1, 2, 3, 4, 5}, 64);
    return packet;
}

template <>
ST337DolbyDetectData usual()
{
    ST337DolbyDetectData packet;
    packet.channels.resize(32);
    packet.bursts.resize(32);
    return packet;
}

template <>
AudioChannelStatusDataPacket usual()
{
    AudioChannelStatusDataPacket packet;
    packet.channels.resize(32);
    return packet;
}

template <>
RawSdiSampleGridPacket usual()
{
    Tessorn::Types::RawSdiSampleGrid grid;
    grid.rows.resize(10);
    for (auto& row : grid.rows) {
        row.lineSamples.resize(2199, {64, 512});
    }
    return RawSdiSampleGridPacket(grid);
}

template <>
AncillaryStatusDataPacket usual()
{
    AncPacketStatus status;
    for (quint8 key = 0; key < 16; ++key) {
        status.entries[key] = {AncStatusGroup(), AncStatusGroup(), AncStatusGroup()};
    }
    return AncillaryStatusDataPacket(status);
}

/// Copies each payload in turn into one buffer.
auto copyAll(const std::vector<QByteArray>& payloads)
{
    return [&payloads, copy = QByteArray(payloads.front().size(), '\0')]() mutable {
        for (const QByteArray& payload : payloads) {
            std::memcpy(copy.data(), payload.constData(), static_cast<size_t>(payload.size()));
            benchmark::ClobberMemory();
        }
    };
}

/// Payloads of usual records, each in its own memory, as when they come from a link: more than the
/// caches hold.
template <typename Packet>
std::vector<QByteArray> makePayloads()
{
    const QByteArray payload = usual<Packet>().serialisePayload();
    std::vector<QByteArray> payloads;
    for (int bytes = 0; bytes < BATCH_BYTES; bytes += payload.size()) {
        payloads.emplace_back(payload.constData(), payload.size());
    }
    return payloads;
}

template <typename Packet>
void serialise(benchmark::State& state, double must, double aim)
{
    const std::vector<QByteArray> payloads = makePayloads<Packet>();
    std::vector<Packet> packets;
    for (std::size_t i = 0; i < payloads.size(); ++i) {
        packets.push_back(usual<Packet>());
    }
    bench::compare(
        state, must, aim,
        [&] {
            for (const Packet& packet : packets) {
                benchmark::DoNotOptimize(packet.serialisePayload().constData());
            }
        },
        copyAll(payloads));
    state.SetBytesProcessed(state.iterations() * BATCH_BYTES);
}

template <typename Packet>
void parse(benchmark::State& state, double must, double aim)
{
    const std::vector<QByteArray> payloads = makePayloads<Packet>();
    std::vector<QByteArray> views;
    for (const QByteArray& payload : payloads) {
        views.push_back(QByteArray(RawDataPacketHeader::SIZE_BYTES, '\0') + payload);
    }
    RawDataPacketHeader header;
    header.packetType = Packet::PACKET_TYPE;
    header.payloadSize = static_cast<quint32>(payloads.front().size());
    bench::compare(
        state, must, aim,
        [&] {
            for (const QByteArray& view : views) {
                benchmark::DoNotOptimize(createRawDataPacket(view, header).get());
            }
        },
        copyAll(payloads));
    state.SetBytesProcessed(state.iterations() * BATCH_BYTES);
}

template <typename Packet>
void add(const char* name, double must = 0, double aim = 0)
{
    for (const auto& [kind, function] :
         {std::pair("serialise/", serialise<Packet>), std::pair("parse/", parse<Packet>)}) {
        benchmark::RegisterBenchmark(
            (std::string(kind) + name).c_str(),
            [=, function = function](benchmark::State& state) { function(state, must, aim); })
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond)
            ->MinTime(0.1);
    }
}

} // namespace

int main(int argc, char** argv)
{
    constexpr double bulk = 0.25;
    constexpr double small = 0.15; // a packet is two allocations, however small
    constexpr double smallAim = 0.3;
    add<EyeVerticalHistogramData>("EyeHistogram", bulk, bulk);
    add<PpmMetersData>("MetersFloat", bulk, bulk);
    add<InstantPeakLinearMetersData>("MetersInt", bulk, bulk);
    add<RawSdiSampleGridPacket>("SampleGrid", bulk, bulk);
    add<RawSdiJitterSpectrumDataPacket>("JitterSpectrum");
    add<VideoPitHistogramPacket>("PitHistogram");
    add<ST337DolbyDetectData>("DolbyDetect");
    add<AudioChannelStatusDataPacket>("AudioChannelStatus");
    add<AncillaryStatusDataPacket>("AncillaryStatus");
    add<AesPresenceDataPacket>("AesPresence", small, smallAim);
    add<VideoIp2110_21DataPacket>("VideoIp2110_21");
    add<PtpMediaLatencyPacket>("PtpMediaLatency");
    add<RefVsPtpPacket>("RefVsPtp", small, smallAim);
    add<SCTE104RawDataPacket>("SCTE104", small, smallAim);
    add<LoudnessEngineRawDataPacket>("LoudnessEngine", small, smallAim);
    bench::keepFreedMemory();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
