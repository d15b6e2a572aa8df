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
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>
#include <QTcpSocket>

#include <algorithm>
#include <array>
#include <optional>
#include <random>

namespace {

constexpr int LEAVES = 8;

QString leafName(int i)
{
    return QStringLiteral("leaf%1").arg(i);
}

QString configPath(int i)
{
    return QStringLiteral("configCoreRouter/") + leafName(i);
}

/// Four trees at the paths that all of these servers have.
struct Trees
{
    explicit Trees(int initial)
    {
        for (int i = 0; i < LEAVES; ++i) {
            leaves.push_back(std::make_unique<DatacoreNumberLimits<int>>(
                leafName(i), &config, 0, 1 << 30, std::deque<int>{initial}));
        }
    }

    DatacoreBase config{QStringLiteral("configCoreRouter"), nullptr};
    DatacoreBase status{QStringLiteral("statusCoreRouter"), nullptr};
    DatacoreBase command{QStringLiteral("commandCoreRouter"), nullptr};
    DatacoreBase persistent{QStringLiteral("persistentConfigCoreRouter"), nullptr};
    std::vector<std::unique_ptr<DatacoreNumberLimits<int>>> leaves;
    DatacoreTrees roots{&config, &status, &command, &persistent};
};

/// A mirror of one server.
struct Mirror
{
    RawDataPacketReceivers receivers;
    NetworkConnection connection{receivers};
    VelClientDatacoreManager manager{connection};

    ClientDatacore* leaf(int i) { return manager.getRegistry().lookup(configPath(i)); }

    bool fill(quint16 port)
    {
        if (!connection.connectToHost(QHostAddress(QHostAddress::LocalHost), port)) {
            return false;
        }
        connection.acceptPacket(
            DatacorePathListPacket(connection.getLocalIdentifier(), QStringList()));
        return waitFor([this] { return leaf(LEAVES - 1) && leaf(LEAVES - 1)->getDataCount() > 0; });
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

/// Without the lines that each first fill has.
QStringList linesOfDescriptions(const LogCapture& log)
{
    return log.lines().filter(QStringLiteral("escription"));
}

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
        REQUIRE(server->listen(QHostAddress(QHostAddress::LocalHost), 0));
        REQUIRE(mirror.fill(server->getPort()));
    }

    /// The mirror holds what the server does, all of it this pair's, and waits for nothing.
    bool isInStep()
    {
        for (int i = 0; i < LEAVES; ++i) {
            const QString text = trees.leaves[i]->getData();
            const int value = text.toInt();
            if (value < base || value >= base + 100'000'000 || mirror.leaf(i) == nullptr ||
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
    const auto below = [&random](int limit) {
        return static_cast<int>(random() % unsigned(limit));
    };
    std::array<int, 3> next{};
    for (int write = 0; write < 10'000; ++write) {
        Pair& pair = pairs[std::size_t(below(3))];
        const int leaf = below(LEAVES);
        const int value = pair.base + ++next[std::size_t(&pair - pairs.data())];
        if (below(2) == 0) {
            pair.mirror.leaf(leaf)->setDataInt(value);
        } else {
            pair.trees.leaves[std::size_t(leaf)]->setDataNumber(value);
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
        CHECK_FALSE((line.contains(QLatin1String("unknown")) ||
                     line.contains(QLatin1String("does not contain"))));
    }
}

TEST_CASE("A mirror whose distributor is of another register says that nothing will arrive",
          "[server][client]")
{
    const QString complaint = QStringLiteral("error: Client datacore manager: connection and "
                                             "distributor use two registers, nothing will arrive");
    RawDataPacketReceivers receivers;
    NetworkConnection connection(receivers);
    const LogCapture log;
    SerialisableDataPacketDistributor own(receivers);
    const VelClientDatacoreManager fits(connection, own);
    CHECK(log.lines().isEmpty());
    SerialisableDataPacketDistributor processWide;
    const VelClientDatacoreManager strays(connection, processWide);
    CHECK(log.contains(complaint));
}

TEST_CASE("A server answers whoever asks, counts its clients, and drops who has gone", "[server]")
{
    Trees trees(7);
    DatacoreServer server(trees.roots);
    REQUIRE(server.listen(QHostAddress(QHostAddress::LocalHost), 0));
    {
        DatacoreServer second(trees.roots);
        CHECK_FALSE(second.listen(QHostAddress(QHostAddress::LocalHost), server.getPort()));
    }

    Mirror mirror;
    REQUIRE(mirror.fill(server.getPort()));
    CHECK(server.getClientCount() == 1);
    {
        Mirror second;
        REQUIRE(second.fill(server.getPort()));
        CHECK(server.getClientCount() == 2);
        second.leaf(0)->setDataInt(2'000'000'000); // above its maximum: kept, with a reason
        REQUIRE(waitFor([&] { return mirror.leaf(0)->getData() == QLatin1String("2000000000"); }));
        DatacoreValidStatusMessages reasons;
        CHECK_FALSE(mirror.leaf(0)->isValid(reasons));
        REQUIRE(waitFor([&] { return second.countPending() == 0; }));
    }
    CHECK(waitFor([&] { return server.getClientCount() == 1; }));

    // A path that leads nowhere gets no echo; the link goes on.
    const LogCapture log;
    mirror.connection.acceptPacket(DatacorePacket(QStringLiteral("me"), 1, QJsonObject(),
                                                  QStringLiteral("configCoreRouter/none")));
    mirror.leaf(1)->setDataInt(9);
    REQUIRE(waitFor([&] { return mirror.countPending() == 0; }));
    CHECK(log.lines() ==
          QStringList{QStringLiteral("error: Write to an unknown path configCoreRouter/none")});
}

TEST_CASE("A server describes what it is asked about, joined in packets of bounded size",
          "[server][client]")
{
    Trees trees(7);
    std::vector<std::unique_ptr<DatacoreNumberLimits<int>>> many;
    for (int i = 0; i < 5'000; ++i) {
        many.push_back(std::make_unique<DatacoreNumberLimits<int>>(QStringLiteral("many%1").arg(i),
                                                                   &trees.status, i / 1'000, 10));
    }
    many[4'999]->setNotes({QStringLiteral("dB"), {}, true});
    DatacoreServer server(trees.roots);
    REQUIRE(server.listen(QHostAddress(QHostAddress::LocalHost), 0));
    Mirror mirror;
    REQUIRE(mirror.fill(server.getPort()));
    ClientDatacoreDescriptions& descriptions = mirror.manager.getDescriptions();
    int received = 0;
    QObject::connect(&descriptions, &ClientDatacoreDescriptions::descriptionsReceived,
                     [&received] { ++received; });
    DescriptionSizes sizes(mirror.receivers);

    const LogCapture log;
    descriptions.requestDescriptions(
        {configPath(3), QStringLiteral("configCoreRouter/none"), QString()});
    REQUIRE(waitFor([&] { return received == 1; }));
    CHECK(linesOfDescriptions(log) ==
          QStringList{QStringLiteral("error: Descriptions of unknown paths were "
                                     "requested: configCoreRouter/none and 1 others")});
    CHECK(descriptions.getCount() == 1);
    CHECK(*descriptions.findDescription(configPath(3)) == trees.leaves[3]->getDescription());

    sizes.bytes.clear();
    descriptions.requestDescriptions();
    descriptions.requestDescriptions({configPath(4)});
    CHECK(descriptions.getPendingCount() == 2);
    REQUIRE(waitFor([&] { return descriptions.getPendingCount() == 0; }));
    CHECK(received == 3);
    CHECK(descriptions.getCount() == mirror.manager.getRegistry().getCount());
    for (const auto& leaf : many) {
        CHECK(*descriptions.findDescription(leaf->getPath()) == leaf->getDescription());
    }
    // A path of 28 bytes for each leaf, a description for each thousand of them.
    REQUIRE(sizes.bytes.size() == 4);
    for (const int full : {sizes.bytes[0], sizes.bytes[1]}) {
        CHECK(full > 64 << 10);
        CHECK(full < 65 << 10);
    }
    CHECK(sizes.bytes[2] < 11'000);
    CHECK(sizes.bytes[3] < 300);
    CHECK(linesOfDescriptions(log).size() == 1);

    mirror.connection.connectToHost(QHostAddress(QHostAddress::LocalHost), server.getPort());
    CHECK(descriptions.getCount() == 0);
}

TEST_CASE("Who asks for descriptions in a loop delays nobody, and is dropped if it does not wait",
          "[server]")
{
    Trees trees(7);
    std::vector<std::unique_ptr<DatacoreBase>> many;
    for (int i = 0; i < 600; ++i) { // 6 MB of names
        many.push_back(std::make_unique<DatacoreBase>(
            QString::number(i) + QString(10'000, QLatin1Char('x')), &trees.status));
    }
    DatacoreServer server(trees.roots);
    REQUIRE(server.listen(QHostAddress(QHostAddress::LocalHost), 0));
    Mirror good;
    REQUIRE(good.fill(server.getPort()));
    const LogCapture log;
    for (int i = 0; i < 3'000; ++i) { // small ones are answered as fast as they come
        good.manager.getDescriptions().requestDescriptions({configPath(1)});
    }
    REQUIRE(waitFor([&] { return good.manager.getDescriptions().getPendingCount() == 0; }));
    CHECK(linesOfDescriptions(log).isEmpty());

    // One does not wait for its answers, one does not read them.
    const int requests[] = {1'500, 20};
    for (const int count : requests) {
        QTcpSocket greedy;
        greedy.setReadBufferSize(1);
        greedy.connectToHost(QHostAddress(QHostAddress::LocalHost), server.getPort());
        REQUIRE(waitFor([&] { return server.getClientCount() == 2; }));
        for (int i = 0; i < count; ++i) {
            DatacoreDescriptionRequestPacket(QString(), {}).serialiseTo(greedy);
        }
        good.leaf(0)->setDataInt(count);
        REQUIRE(waitFor([&] { return good.countPending() == 0; }));
        CHECK(server.getClientCount() == 2);
        REQUIRE(waitFor([&] { return server.getClientCount() == 1; }));
    }
    CHECK(linesOfDescriptions(log).size() == 1);
    CHECK(log.lines().filter(QStringLiteral("does not read, dropped")).size() == 2);
}

TEST_CASE(
    "A refused write brings its mirror back to what the server holds, and nobody else hears of it",
    "[server]")
{
    Trees trees(7);
    DatacoreServer server(trees.roots);
    QStringList errors;
    const auto rules = readAccessRules(
        "role viewer read\ngrant viewer address 127.0.0.1\n"
        "role operator write configCoreRouter/leaf1 configCoreRouter/none\n" // "secret"
        "grant operator token 2bb80d537b1da3e38bd30361aa855686bde0eacd7162fef6a25fe97bf527a25b\n",
        errors);
    REQUIRE(rules);
    const LogCapture log;
    server.setAccessRules(*rules);
    CHECK(log.lines() == lines({"warning: The access rules name an unknown path "
                                "configCoreRouter/none"}));
    REQUIRE(server.listen(QHostAddress(QHostAddress::LocalHost), 0));
    Mirror writer, witness;
    REQUIRE((writer.fill(server.getPort()) && witness.fill(server.getPort())));
    QStringList heard;
    for (int leaf = 0; leaf < LEAVES; ++leaf) {
        QObject::connect(witness.leaf(leaf), &ClientDatacore::datacoreUpdated,
                         [&heard, leaf](const QStringList& data) {
                             heard.append(leafName(leaf) + data.join(QString()));
                         });
    }
    const auto write = [&](int leaf, int value) {
        writer.leaf(leaf)->setDataInt(value);
        REQUIRE(waitFor([&] { return writer.countPending() == 0; }));
        return writer.leaf(leaf)->getData().toInt();
    };
    CHECK(write(1, 8) == 7);
    writer.connection.acceptPacket(DatacoreTokenPacket(QStringLiteral("secret")));
    CHECK(write(1, 9) == 9);
    CHECK(write(2, 9) == 7);
    CHECK(write(1, 10) == 10);
    REQUIRE(waitFor([&] { return witness.leaf(1)->getData().toInt() == 10; }));
    CHECK(heard == lines({"leaf19", "leaf110"}));

    server.setAccessRules(AccessRules::forNobody()); // for those who come from now on
    Mirror late;
    CHECK(late.connection.connectToHost(QHostAddress(QHostAddress::LocalHost), server.getPort()));
    CHECK(waitFor([&] { return !late.connection.isConnected(); }));
    CHECK(server.getClientCount() == 2);
    CHECK(log.lines().filter(QStringLiteral(" has no role here, dropped")).size() == 1);
    CHECK(write(1, 11) == 11);
}
