// Servers and mirrors in one process, each link with a register of its own.
#include "infrastructure/client/VelClientDatacoreManager.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/server/AccessRulesFile.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/utility/packets/DatacoreDescriptionPacket.h"
#include "infrastructure/utility/packets/DatacoreDescriptionRequestPacket.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/DatacoreTokenPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"
#include "infrastructure/utility/records/EyeHistogramData.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>
#include <QTcpSocket>

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <random>

namespace {

constexpr int LEAVES = 8;
const QHostAddress LOOPBACK(QHostAddress::LocalHost);

const auto configPath = [](int i) { return "configCoreRouter/leaf%1"_s.arg(i); };

/// Four trees at the paths that all of these servers have.
struct Trees : Roots
{
    explicit Trees(int initial)
    {
        for (int i = 0; i < LEAVES; ++i) {
            leaves.emplace_back("leaf%1"_s.arg(i), &config, 0, 1 << 30, std::deque<int>{initial});
        }
    }

    std::deque<DatacoreNumberLimits<int>> leaves;
    DatacoreTrees roots{&config, &status, &command, &persistent};
};

/// A mirror of one server.
struct Mirror
{
    RawDataPacketReceivers receivers;
    NetworkConnection connection{receivers};
    VelClientDatacoreManager manager{connection};

    ClientDatacore* leaf(int i) { return manager.getRegistry().lookup(configPath(i)); }

    void fill(const DatacoreServer& server)
    {
        REQUIRE(connection.connectToHost(LOOPBACK, server.getPort()));
        connection.acceptPacket(
            DatacorePathListPacket(connection.getLocalIdentifier(), QStringList()));
        REQUIRE(
            waitFor([this] { return leaf(LEAVES - 1) && leaf(LEAVES - 1)->getDataCount() > 0; }));
    }
    void settle()
    {
        REQUIRE(waitFor([this] { return countPending() == 0; }));
    }

    int countPending()
    {
        int count = 0;
        for (int i = 0; i < LEAVES; ++i) {
            count += leaf(i)->getPendingCount();
        }
        return count;
    }
};

/// The sizes of the packets of descriptions.
struct DescriptionSizes : RawDataPacketReceiverInterface<SerialisableDataPacket>
{
    using RawDataPacketReceiverInterface::RawDataPacketReceiverInterface;
    void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
    {
        if (packet->getPacketClassName() == DatacoreDescriptionPacket::CLASSNAME()) {
            bytes.push_back(packet->serialisePayload().size());
        }
    }
    std::vector<int> bytes;
};

struct RecordCount : RawDataPacketReceiverInterface<EyeVerticalHistogramData>
{
    using RawDataPacketReceiverInterface::RawDataPacketReceiverInterface;
    void receivePacket(std::shared_ptr<EyeVerticalHistogramData> packet) override
    {
        count += packet->histogram.size();
    }
    int count = 0;
};

/// A server and its mirror, which hold values that no other pair of the process has.
struct Pair
{
    explicit Pair(int pairIndex)
        : base((pairIndex + 1) * 100'000'000)
        , trees(base)
    {
        startServer();
    }

    void startServer()
    {
        server.emplace(trees.roots);
        REQUIRE(server->listen(LOOPBACK, 0));
        mirror.fill(*server);
    }

    /// The mirror holds what the server does, all of it this pair's, and waits for nothing.
    bool isInStep()
    {
        for (int i = 0; i < LEAVES; ++i) {
            const QString text = trees.leaves[std::size_t(i)].getData();
            if (text.toInt() / 100'000'000 != base / 100'000'000 || mirror.leaf(i) == nullptr ||
                mirror.leaf(i)->getData() != text) {
                return false;
            }
        }
        return mirror.countPending() == 0;
    }

    int base;
    Trees trees;
    std::optional<DatacoreServer> server;
    Mirror mirror;
};

} // namespace

TEST_CASE("Three servers and three mirrors in one process don't mix", "[server][client]")
{
    // A mirror on the process-wide register would take the packets of all three.
    const int processWide = RawDataPacketReceiverInterfaceBase::registry.size();
    const LogCapture log;
    std::array<Pair, 3> pairs{{Pair(0), Pair(1), Pair(2)}};
    std::mt19937 random(1);
    const auto below = [&random](int limit) { return int(random() % unsigned(limit)); };
    std::array<int, 3> next{};
    for (int write = 0; write < 10'000; ++write) {
        Pair& pair = pairs[std::size_t(below(3))];
        const int leaf = below(LEAVES);
        const int value = pair.base + ++next[std::size_t(&pair - pairs.data())];
        if (below(2) == 0) {
            pair.mirror.leaf(leaf)->setDataInt(value);
        } else {
            pair.trees.leaves[std::size_t(leaf)].setDataNumber(value);
            pair.server->publishChanges();
        }
        if (write % 100 == 0) {
            QCoreApplication::processEvents();
        }
        if (write == 5'000) { // with writes in flight
            pairs[1].server.reset();
            REQUIRE(waitFor([&] { return pairs[1].mirror.manager.getRegistry().isEmpty(); }));
            pairs[1].startServer();
        }
    }
    REQUIRE(waitFor([&] {
        return std::all_of(pairs.begin(), pairs.end(), [](Pair& pair) { return pair.isInStep(); });
    }));
    CHECK(RawDataPacketReceiverInterfaceBase::registry.size() == processWide);
    for (const QString& line : log.lines()) {
        CHECK_FALSE((line.contains("unknown"_s) || line.contains("does not contain"_s)));
    }
}

TEST_CASE("A mirror whose distributor is of another register says so", "[server][client]")
{
    RawDataPacketReceivers receivers;
    NetworkConnection connection(receivers);
    const LogCapture log;
    SerialisableDataPacketDistributor own(receivers);
    const VelClientDatacoreManager fits(connection, own);
    CHECK(log.lines().isEmpty());
    SerialisableDataPacketDistributor processWide;
    const VelClientDatacoreManager strays(connection, processWide);
    CHECK(log.lines() == lines({"error: Client datacore manager: connection and "
                                "distributor use two registers, nothing will arrive"}));
}

TEST_CASE("A server answers whoever asks, counts its clients, and drops who has gone", "[server]")
{
    Trees trees(7);
    DatacoreServer server(trees.roots);
    REQUIRE(server.listen(LOOPBACK, 0));
    {
        DatacoreServer second(trees.roots);
        CHECK_FALSE(second.listen(LOOPBACK, server.getPort()));
    }

    Mirror mirror;
    mirror.fill(server);
    CHECK(server.getClientCount() == 1);
    {
        Mirror second;
        second.fill(server);
        CHECK(server.getClientCount() == 2);
        second.leaf(0)->setDataInt(2'000'000'000); // above its maximum: kept, with a reason
        REQUIRE(waitFor([&] { return mirror.leaf(0)->getData() == "2000000000"_s; }));
        DatacoreValidStatusMessages reasons;
        CHECK_FALSE(mirror.leaf(0)->isValid(reasons));
        second.settle();
    }
    CHECK(waitFor([&] { return server.getClientCount() == 1; }));

    // A path that leads nowhere gets no echo; the link goes on.
    const LogCapture log;
    mirror.connection.acceptPacket(
        DatacorePacket("me"_s, 1, QJsonObject(), "configCoreRouter/none"_s));
    mirror.leaf(1)->setDataInt(9);
    mirror.settle();
    CHECK(log.lines() == QStringList{"error: Write to an unknown path configCoreRouter/none"_s});

    // Records go to all, but don't pile up for one that does not read.
    QTcpSocket idle;
    idle.setReadBufferSize(1);
    idle.connectToHost(LOOPBACK, server.getPort());
    REQUIRE(waitFor([&] { return server.getClientCount() == 2; }));
    RecordCount records(mirror.receivers);
    const auto record =
        std::make_shared<EyeVerticalHistogramData>(EyeHistogram{QVector<int>(1 << 14)});
    server.sendRecord(nullptr);
    for (int sent = 1; sent <= 1200; ++sent) { // 75 MiB
        server.sendRecord(record);
        REQUIRE(waitFor([&] { return records.count == sent << 14; }));
    }
    trees.leaves[0].setDataNumber(3);
    server.publishChanges(); // would drop who has much to read
    CHECK(server.getClientCount() == 2);
}

TEST_CASE("A refused write brings its mirror back, and nobody else hears of it", "[server]")
{
    Trees trees(7);
    DatacoreNotes closed;
    closed.isReadOnly = true;
    trees.leaves[3].setNotes(closed);
    DatacoreServer server(trees.roots);
    QStringList errors;
    const auto rules = readAccessRules(
        "role viewer read\ngrant viewer address 127.0.0.1\n"
        "role operator write configCoreRouter/leaf1 configCoreRouter/leaf3 configCoreRouter/none\n"
        "grant operator token " // "secret"
        "2bb80d537b1da3e38bd30361aa855686bde0eacd7162fef6a25fe97bf527a25b\n",
        errors);
    REQUIRE(rules);
    const LogCapture log;
    server.setAccessRules(*rules);
    CHECK(log.lines() == lines({"warning: The access rules name an unknown path "
                                "configCoreRouter/none"}));
    REQUIRE(server.listen(LOOPBACK, 0));
    Mirror writer, witness;
    writer.fill(server);
    witness.fill(server);
    QStringList heard;
    for (int leaf = 0; leaf < LEAVES; ++leaf) {
        QObject::connect(
            witness.leaf(leaf), &ClientDatacore::datacoreUpdated,
            [&heard, leaf](const QStringList& data) { heard += "leaf%1 "_s.arg(leaf) + data[0]; });
    }
    const auto write = [&](int leaf, int value) {
        writer.leaf(leaf)->setDataInt(value);
        writer.settle();
        return writer.leaf(leaf)->getData().toInt();
    };
    CHECK(write(1, 8) == 7);
    writer.connection.acceptPacket(DatacoreTokenPacket("secret"_s));
    CHECK(write(1, 9) == 9);
    CHECK(write(2, 9) == 7);
    CHECK(write(3, 9) == 7); // closed by its owner
    CHECK(write(1, 10) == 10);
    REQUIRE(waitFor([&] { return witness.leaf(1)->getData().toInt() == 10; }));
    CHECK(heard == lines({"leaf1 9", "leaf1 10"}));
    auto& descriptions = writer.manager.getDescriptions();
    descriptions.requestDescriptions();
    REQUIRE(waitFor([&] { return descriptions.getPendingCount() == 0; }));
    const auto isReadOnly = [&](const QString& path) {
        return descriptions.findDescription(path)->isReadOnly;
    };
    CHECK_FALSE(isReadOnly(configPath(2))); // for clients with another role
    CHECK((isReadOnly(configPath(3)) && isReadOnly("statusCoreRouter"_s)));

    server.setAccessRules(AccessRules::forNobody()); // for those who come from now on
    Mirror late;
    CHECK(late.connection.connectToHost(LOOPBACK, server.getPort()));
    CHECK(waitFor([&] { return !late.connection.isConnected(); }));
    CHECK(server.getClientCount() == 2);
    CHECK(log.lines().filter(" has no role here, dropped"_s).size() == 1);
    CHECK(write(1, 11) == 11);
}

TEST_CASE("A server describes what it is asked about, in bounded packets", "[server][client]")
{
    Trees trees(7);
    std::deque<DatacoreNumberLimits<int>> many;
    for (int i = 0; i < 5'000; ++i) {
        many.emplace_back("many%1"_s.arg(i), &trees.status, i / 1'000, 10);
    }
    many[4'999].setNotes({"dB"_s, {}, true});
    DatacoreServer server(trees.roots);
    REQUIRE(server.listen(LOOPBACK, 0));
    Mirror mirror;
    mirror.fill(server);
    ClientDatacoreDescriptions& descriptions = mirror.manager.getDescriptions();
    int received = 0;
    QObject::connect(&descriptions, &ClientDatacoreDescriptions::descriptionsReceived,
                     [&] { ++received; });
    DescriptionSizes sizes(mirror.receivers);

    const LogCapture log;
    descriptions.requestDescriptions({configPath(3), "configCoreRouter/none"_s, QString()});
    REQUIRE(waitFor([&] { return received == 1; }));
    CHECK(log.lines().filter("escription"_s) ==
          QStringList{"error: Descriptions of unknown paths were "
                      "requested: configCoreRouter/none and 1 others"_s});
    CHECK(descriptions.getCount() == 1);
    CHECK(*descriptions.findDescription(configPath(3)) == trees.leaves[3].getDescription());

    sizes.bytes.clear();
    descriptions.requestDescriptions();
    descriptions.requestDescriptions({configPath(4)});
    CHECK(descriptions.getPendingCount() == 2);
    REQUIRE(waitFor([&] { return descriptions.getPendingCount() == 0; }));
    CHECK(received == 3);
    CHECK(descriptions.getCount() == mirror.manager.getRegistry().getCount());
    for (const auto& leaf : many) {
        CHECK(*descriptions.findDescription(leaf.getPath()) == leaf.getDescription());
    }
    // A path of 28 bytes for each leaf, a description for each thousand of them.
    REQUIRE(sizes.bytes.size() == 4);
    for (const int full : {sizes.bytes[0], sizes.bytes[1]}) {
        CHECK(full > 64 << 10);
        CHECK(full < 65 << 10);
    }
    CHECK(sizes.bytes[2] < 11'000);
    CHECK(sizes.bytes[3] < 300);
    CHECK(log.lines().filter("escription"_s).size() == 1);

    mirror.connection.connectToHost(LOOPBACK, server.getPort());
    CHECK(descriptions.getCount() == 0);
}

TEST_CASE("Who asks for descriptions in a loop delays nobody, or is dropped", "[server]")
{
    Trees trees(7);
    std::deque<DatacoreBase> many;
    for (int i = 0; i < 600; ++i) { // 6 MB of names
        many.emplace_back(QString::number(i) + QString(10'000, u'x'), &trees.status);
    }
    DatacoreServer server(trees.roots);
    REQUIRE(server.listen(LOOPBACK, 0));
    Mirror good;
    good.fill(server);
    const LogCapture log;
    for (int i = 0; i < 3'000; ++i) { // small ones are answered as fast as they come
        good.manager.getDescriptions().requestDescriptions({configPath(1)});
    }
    REQUIRE(waitFor([&] { return good.manager.getDescriptions().getPendingCount() == 0; }));
    CHECK(log.lines().filter("escription"_s).isEmpty());

    // One does not wait for its answers, one does not read them.
    for (const int count : {1'500, 20}) {
        QTcpSocket greedy;
        greedy.setReadBufferSize(1);
        greedy.connectToHost(LOOPBACK, server.getPort());
        REQUIRE(waitFor([&] { return server.getClientCount() == 2; }));
        for (int i = 0; i < count; ++i) {
            DatacoreDescriptionRequestPacket(QString(), {}).serialiseTo(greedy);
        }
        good.leaf(0)->setDataInt(count);
        good.settle();
        CHECK(server.getClientCount() == 2);
        REQUIRE(waitFor([&] { return server.getClientCount() == 1; }, 60'000)); // behind 64 MB
    }
    CHECK(log.lines().filter("escription"_s).size() == 1);
    CHECK(log.lines().filter("does not read, dropped"_s).size() == 2);
}
