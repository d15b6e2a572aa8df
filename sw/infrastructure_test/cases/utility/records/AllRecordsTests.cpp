// Every record of the one table: alone, cut, and over a real link to a receiver of its own class. A
// new record with a layout is covered by being there; one without needs its makeSample.
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "infrastructure/utility/records/RawDataPacketTable_p.h"
#include "sw/infrastructure_test/cases/utility/records/RecordTesting.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>

using namespace RecordTesting;

namespace {

template <typename Packet, typename = void>
constexpr bool HAS_LAYOUT = false;
template <typename Packet>
constexpr bool HAS_LAYOUT<Packet, std::void_t<decltype(Packet::LAYOUT)>> = true;

template <typename Packets>
struct Lists;
template <typename Json, typename... Packets>
struct Lists<std::tuple<Json, Packets...>>
{
    using Records = std::tuple<Packets...>;
    using WithLayout = decltype(std::tuple_cat(
        std::conditional_t<HAS_LAYOUT<Packets>, std::tuple<Packets>, std::tuple<>>()...));
};
using Records = Lists<RawDataPackets>::Records;
using RecordsWithLayout = Lists<RawDataPackets>::WithLayout;

template <typename Packet>
Packet makeSample(Randomiser& randomiser)
{
    Packet packet;
    randomiser.fill(packet);
    return packet;
}
template <>
SerialisableDataPacket makeSample(Randomiser&)
{
    return SerialisableDataPacket("Something"_s);
}
template <>
RawSdiSampleGridPacket makeSample(Randomiser& randomiser)
{
    const auto upTo = [&](unsigned limit) { return randomiser.value<quint32>() % (limit + 1); };
    Tessorn::Types::RawSdiSampleGridRow row;
    row.rowDescriptor.resize(static_cast<int>(upTo(5)));
    std::generate(row.rowDescriptor.begin(), row.rowDescriptor.end(),
                  [&] { return randomiser.value<qint32>(); });
    row.lineSamples.resize(upTo(30));
    Tessorn::Types::RawSdiSampleGrid grid;
    for (unsigned rows = upTo(5); rows > 0; --rows) {
        for (auto* field : {&row.rowField1, &row.rowField2, &row.rowField3, &row.rowField4,
                            &row.rowField5, &row.rowField6, &row.rowField7}) {
            *field = randomiser.value<qint32>();
        }
        for (auto& sample : row.lineSamples) {
            sample = Tessorn::Types::Sdi20BitSample::fromStoreWord(randomiser.value<quint32>());
        }
        grid.rows.push_back(row);
    }
    return RawSdiSampleGridPacket(grid);
}
template <>
TeletextRawDataPacket makeSample(Randomiser&)
{
    return TeletextRawDataPacket(TeletextPacketContainer({1, 2, 3}));
}
template <>
Captions608bytePairsRawDataPacket makeSample(Randomiser&)
{
    return Captions608bytePairsRawDataPacket({Caption608BytePair::fromRaw(0x94, 0x2C, true)});
}

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

template <typename Send, typename... Packets>
void sendAll(const Send& send, Randomiser& randomiser, const std::tuple<Packets...>*)
{
    (send(makeSample<Packets>(randomiser)), ...);
}

} // namespace

TEMPLATE_LIST_TEST_CASE("A record comes back from the factory as it was sent", "[records]", Records)
{
    const LogCapture log;
    Randomiser randomiser(17);
    for (int i = 0; i < 200; ++i) {
        const TestType sent = makeSample<TestType>(randomiser);
        const QByteArray payload = sent.serialisePayload();
        const auto received = receive<TestType>(payload);
        REQUIRE(received != nullptr);
        REQUIRE(received->serialisePayload() == payload);
        if constexpr (HAS_LAYOUT<TestType>) {
            REQUIRE(payload.size() == RecordLayout::sizeOf(sent));
            REQUIRE(*received == sent);
            const TestType other = makeSample<TestType>(randomiser);
            // Long enough that two random ones are not the same by chance.
            REQUIRE((other == sent) == (other.serialisePayload() == payload));
            REQUIRE((other != sent) == (other.serialisePayload() != payload));
        }
    }
    CHECK(log.lines().isEmpty());
}

TEMPLATE_LIST_TEST_CASE("A payload that ends anywhere gives zeros for what is missing", "[records]",
                        RecordsWithLayout)
{
    Randomiser randomiser(23);
    TestType sent;
    randomiser.fill(sent);
    const QByteArray whole = sent.serialisePayload();
    for (int size = 0; size <= whole.size(); ++size) {
        const auto received = receive<TestType>(whole.left(size));
        REQUIRE(received != nullptr);
        const QByteArray again = received->serialisePayload();
        // The longest field has 8 bytes: up to there all is as sent, and behind it all is zero.
        const int sure = std::max(std::min(size - 8, again.size()), 0);
        REQUIRE(again.left(sure) == whole.left(sure));
        REQUIRE(again.mid(size).count('\0') == std::max(again.size() - size, 0));
    }
    const auto empty = receive<TestType>(QByteArray());
    CHECK(*empty == TestType());
}

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
    std::vector<QByteArray> expected;
    std::vector<QByteArray> arrivals;
    std::vector<std::shared_ptr<RawDataPacketReceiverInterfaceBase>> receivers;
    const auto send = [&](auto packet) {
        receivers.push_back(std::make_shared<Receiver<decltype(packet)>>(arrivals));
        expected.push_back(wireBytes(packet));
        near.sendRawPacket(std::make_shared<decltype(packet)>(packet));
    };
    sendAll(send, randomiser, static_cast<const RawDataPackets*>(nullptr));
    REQUIRE(waitFor([&] { return arrivals.size() >= expected.size(); }));
    CHECK(arrivals == expected);
}
