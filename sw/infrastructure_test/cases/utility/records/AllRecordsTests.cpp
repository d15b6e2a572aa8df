// Every raw type over a real link, each to a receiver of its own class.
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
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
#include "sw/infrastructure_test/cases/utility/records/RecordTesting.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QTcpServer>
#include <QTcpSocket>

using namespace RecordTesting;

namespace {

/// Keeps the wire form of each packet of its class that arrives; a packet of another class fails.
template <typename Packet>
class Receiver : public RawDataPacketReceiverInterface<Packet>
{
public:
    explicit Receiver(std::vector<QByteArray>& sharedArrivals)
        : arrivals(sharedArrivals)
    {
    }

    void receivePacket(std::shared_ptr<Packet> packet) override
    {
        REQUIRE(packet != nullptr);
        REQUIRE(packet->getHeader().packetType == Packet::PACKET_TYPE);
        arrivals.push_back(wireBytes(*packet));
    }

private:
    std::vector<QByteArray>& arrivals;
};

} // namespace

TEST_CASE("All raw types arrive over a link as their own classes", "[records]")
{
    QTcpServer server;
    REQUIRE(server.listen(QHostAddress::LocalHost, 0));
    NetworkConnection near;
    NetworkConnection far;
    REQUIRE(near.connectToHost(QHostAddress(QHostAddress::LocalHost), server.serverPort()));
    REQUIRE(server.waitForNewConnection(5000));
    std::unique_ptr<QTcpSocket> accepted(server.nextPendingConnection());
    REQUIRE(far.adoptSocket(accepted));

    Randomiser randomiser(41);
    std::vector<QByteArray> arrivals;
    std::vector<std::shared_ptr<RawDataPacketReceiverInterfaceBase>> receivers;
    std::vector<std::shared_ptr<RawDataPacket>> sent;
    const auto add = [&](auto packet) {
        using Packet = typename decltype(packet)::element_type;
        receivers.push_back(std::make_shared<Receiver<Packet>>(arrivals));
        sent.push_back(packet);
    };
    const auto addRandom = [&](auto packet) {
        randomiser.fill(*packet);
        add(packet);
    };

    auto json = std::make_shared<SerialisableDataPacket>(QStringLiteral("Something"));
    add(json);
    addRandom(std::make_shared<EyeVerticalHistogramData>());
    addRandom(std::make_shared<EyeHorizontalHistogramData>());
    addRandom(std::make_shared<PpmMetersData>());
    addRandom(std::make_shared<PeakHoldMetersData>());
    addRandom(std::make_shared<PhaseMetersData>());
    addRandom(std::make_shared<InstantPeakDbMetersData>());
    addRandom(std::make_shared<InstantPeakLinearMetersData>());
    addRandom(std::make_shared<ST337DolbyDetectData>());
    Tessorn::Types::RawSdiSampleGrid grid;
    grid.rows.resize(2);
    grid.rows[0].lineSamples = {{1, 2}, {3, 4}};
    grid.rows[1].lineSamples = {{5, 6}, {7, 8}};
    add(std::make_shared<RawSdiSampleGridPacket>(grid));
    addRandom(std::make_shared<RawSdiJitterSpectrumDataPacket>());
    addRandom(std::make_shared<JitterVerticalHistogramData>());
    addRandom(std::make_shared<VideoPitHistogramPacket>());
    addRandom(std::make_shared<AudioPitHistogramPacket>());
    addRandom(std::make_shared<AncPitHistogramPacket>());
    AncPacketStatus status;
    status.entries[3][0] = AncStatusGroup{1, 2, 3, 4, 5, 6};
    add(std::make_shared<AncillaryStatusDataPacket>(status));
    addRandom(std::make_shared<AudioChannelStatusDataPacket>());
    addRandom(std::make_shared<AesPresenceDataPacket>());
    add(std::make_shared<TeletextRawDataPacket>(TeletextPacketContainer({1, 2, 3})));
    addRandom(std::make_shared<EyeWindowedVerticalHistogramData>());
    addRandom(std::make_shared<VideoIp2110_21DataPacket>());
    addRandom(std::make_shared<PtpMediaLatencyPacket>());
    add(std::make_shared<Captions608bytePairsRawDataPacket>(
        std::vector<Caption608BytePair>{Caption608BytePair::fromRaw(0x94, 0x2C, true)}));
    addRandom(std::make_shared<RefVsPtpPacket>());
    addRandom(std::make_shared<SCTE104RawDataPacket>());
    addRandom(std::make_shared<LoudnessEngineRawDataPacket>());

    REQUIRE(sent.size() == RawPacketType_Last - RawPacketType_First + 1);
    std::vector<QByteArray> expected;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        REQUIRE(sent[i]->getPacketType() == RawPacketType_First + i);
        expected.push_back(wireBytes(*sent[i]));
        near.sendRawPacket(sent[i]);
    }
    REQUIRE(waitFor([&] { return arrivals.size() >= sent.size(); }));
    CHECK(arrivals == expected);
}
