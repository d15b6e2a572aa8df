// Registry, populator, monitor, manager and connection builder, over a link whose peer is the case.
#include "infrastructure/client/DatacoreConnectionBuilderBase.h"
#include "infrastructure/client/VelClientDatacoreManager.h"
#include "infrastructure/utility/packets/DatacoreDescriptionPacket.h"
#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/MemorySocket.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

/// A socket that breaks in the middle of the next write.
struct BreakingSocket : MemorySocket
{
    bool breaks = false;
    qint64 writeData(const char* data, qint64 size) override
    {
        if (breaks) {
            drop();
        }
        return MemorySocket::writeData(data, size);
    }
};

const QString LEAF = "configCoreRouter/leaf"_s;

struct ServerTrees : Roots
{
    DatacoreBase inner{"inner"_s, &status};
    DatacoreBase deep{"deep"_s, &inner};
    DatacoreBase leaves[4]{
        {"leaf"_s, &config}, {"leaf"_s, &status}, {"leaf"_s, &command}, {"leaf"_s, &persistent}};
};

/// What a server sends of a leaf whose value is 5.
DatacorePacket leafPacket(const QString& path = LEAF)
{
    return DatacorePacket(parseObject(R"({"leaf": {"data": "5"}})"), path);
}

/// A whole client whose server is the case.
struct Client
{
    Client()
    {
        std::unique_ptr<QTcpSocket> adopted(socket);
        connection.adoptSocket(adopted);
    }

    /// Has the server tell of its trees.
    void dump()
    {
        manager.acceptPacket(DatacorePathRadixTreePacket(QString(), server.config, server.status,
                                                         server.command, server.persistent));
    }
    ClientDatacore* leaf() { return manager.getRegistry().lookup(LEAF); }
    /// The JSON of the last packet that was sent.
    QByteArray sent() const
    {
        const int start = socket->written.lastIndexOf(QByteArray::fromHex("10100000"));
        return start < 0 ? QByteArray() : socket->written.mid(start + 12);
    }

    ServerTrees server;
    NetworkConnection connection;
    BreakingSocket* socket = new BreakingSocket;
    SerialisableDataPacketDistributor distributor;
    VelClientDatacoreManager manager{connection, distributor};
};

struct Builder : DatacoreConnectionBuilderBase
{
    using DatacoreConnectionBuilderBase::DatacoreConnectionBuilderBase;

    void makeConnections() override
    {
        ++made;
        const char* const routers[] = {"config", "status", "command", "persistentConfig"};
        for (quint32 tree = 0; tree < 4; ++tree) {
            connected = connectDatacore("leaf"_s, ServerSideDataTree(tree));
            REQUIRE(connected != nullptr);
            CHECK(connected->getPath() == QLatin1String(routers[tree]) + "CoreRouter/leaf"_s);
        }
        connected = connectDatacore("inner/deep"_s, StatusTree);
        CHECK(connectDatacore("inner/deep"_s, StatusTree) == connected);
        CHECK(connectDatacore("nowhere"_s, ConfigTree) == nullptr);
        CHECK(connectDatacore("path"_s, static_cast<ServerSideDataTree>(4)) == nullptr);
    }

    int made = 0;
    ClientDatacore* connected = nullptr;
};

} // namespace

TEST_CASE("A registry is filled from good paths, once", "[client]")
{
    NetworkConnection connection;
    ClientDatacoreRegistry registry(connection);
    ClientDatacoreMonitor monitor(connection);
    int populated = 0;
    QObject::connect(&registry, &ClientDatacoreRegistry::registryHasBeenPopulated,
                     [&populated] { ++populated; });
    const LogCapture log;
    registry.populate(lines({"a/b", "a/b/", "c", "a/b"}), monitor);
    CHECK(log.lines() ==
          lines({"error: Cannot create datacore with incomplete path: a/b/",
                 "error: No delimiter, assuming root datacore and creating ClientDatacore for: c",
                 "error: ClientDatacoreRegistry: Cannot create two cores for path 'a/b'."}));
    CHECK(registry.getPaths() == lines({"a/b", "c"}));
    CHECK(registry.lookup("a/b"_s)->getPath() == "a/b"_s);
    CHECK(registry.lookup("c"_s)->getClassName() == "ClientDatacore"_s);
    registry.populate(lines({"d/e"}), monitor);
    CHECK(registry.getCount() == 2);
    CHECK(populated == 1);

    QList<ClientDatacore*> results;
    QObject::connect(&registry, &ClientDatacoreRegistry::lookupRequestResult,
                     [&results](ClientDatacore* datacore) { results.append(datacore); });
    registry.requestLookupDatacoreFromPath("c"_s);
    registry.requestLookupDatacoreFromPath("unknown"_s);
    CHECK(results == QList<ClientDatacore*>{registry.lookup("c"_s), nullptr});
}

TEST_CASE("A dump fills the mirror in the order of the trees, until the link is lost", "[client]")
{
    Client client;
    ClientDatacoreRegistry& registry = client.manager.getRegistry();
    Builder builder(registry);
    QStringList journal;
    QObject::connect(&builder, &Builder::connectionToDatacoresGained,
                     [&] { journal.append("gained %1"_s.arg(builder.made)); });
    QObject::connect(&builder, &Builder::connectionToDatacoresLost,
                     [&] { journal.append("lost %1"_s.arg(registry.isEmpty())); });
    CHECK_FALSE(client.manager.canAcceptPacket(DatacorePacket::CLASSNAME()));
    client.manager.acceptPacket(SerialisableDataPacket(DatacorePacket::CLASSNAME()));
    CHECK(journal.isEmpty()); // a packet of another class is no dump
    const LogCapture log;
    client.dump();
    CHECK(registry.getPaths() ==
          lines({"commandCoreRouter", "commandCoreRouter/leaf", "configCoreRouter",
                 "configCoreRouter/leaf", "persistentConfigCoreRouter",
                 "persistentConfigCoreRouter/leaf", "statusCoreRouter", "statusCoreRouter/inner",
                 "statusCoreRouter/inner/deep", "statusCoreRouter/leaf"}));
    // A root has no delimiter, and is told of in the order of the dump.
    QStringList told = log.lines();
    CHECK(told.replaceInStrings("No delimiter, assuming root datacore and creating "
                                "ClientDatacore for: "_s,
                                QString()) ==
          lines({"error: configCoreRouter", "error: statusCoreRouter", "error: commandCoreRouter",
                 "error: persistentConfigCoreRouter",
                 "error: Invalid path, constructed from configCoreRouter and nowhere",
                 "error: Invalid server side datatree specified",
                 "error: Invalid path, constructed from  and path"}));

    int refreshed = 0;
    QObject::connect(builder.connected, &ClientDatacore::datacoreUpdated, &builder,
                     [&refreshed] { ++refreshed; });
    builder.populateConnectedGuiElements();
    CHECK(refreshed == 2); // connected twice

    client.dump(); // a second dump changes nothing
    CHECK(journal == lines({"gained 1"}));
    client.socket->drop();
    client.socket->drop(); // what is empty is not cleared
    CHECK(journal == lines({"gained 1", "lost 1"}));
    CHECK(registry.isEmpty());
    builder.populateConnectedGuiElements();
    client.dump();
    CHECK(journal == lines({"gained 1", "lost 1", "gained 2"}));

    // A refresh in which the link is lost ends there.
    QObject::connect(registry.lookup("configCoreRouter/leaf"_s), &ClientDatacore::datacoreUpdated,
                     &builder, [&] { client.socket->drop(); });
    builder.populateConnectedGuiElements();
    CHECK(journal.last() == "lost 1"_s);
}

TEST_CASE("Packets reach the mirror of their path, and what fits none is logged", "[client]")
{
    Client client;
    const LogCapture log;
    client.distributor.acceptPacket(leafPacket());
    CHECK(log.lines() == lines({"info: Client datacore populator: Registry is empty, no way to "
                                "populate: configCoreRouter/leaf"}));

    client.dump();
    client.distributor.acceptPacket(leafPacket("x/y"_s));
    CHECK(log.lines().last() ==
          "info: Client datacore populator: Registry does not contain datacore with path: x/y"_s);
    client.socket->written.clear();
    client.distributor.acceptPacket(leafPacket());
    CHECK(client.leaf()->getData() == "5"_s);
    ClientDatacoreMonitor(client.connection).onClientDatacoreUpdated(0, client.leaf());
    CHECK(client.socket->written.isEmpty()); // a filled mirror sends nothing back

    const int linesBefore = log.lines().size();
    ClientDatacorePopulator populator(client.connection, client.manager.getRegistry(),
                                      client.distributor);
    CHECK_FALSE(populator.canAcceptPacket(DatacorePathRadixTreePacket::CLASSNAME()));
    populator.acceptPacket(DatacorePathRadixTreePacket());
    CHECK(log.lines().size() == linesBefore); // of no concern to it
}

TEST_CASE("Content of the wrong shape is logged with its path and a piece of it", "[client]")
{
    Client client;
    client.dump();
    client.leaf()->setDataString("before"_s);
    const std::string many = "[\"" + std::string(1000, 'x') + "\"]";
    const Table<const char*, const char*> rows{
        // content, and what the mirror holds then
        {nullptr, "before"},
        {"{}", "before"},
        {"5", "before"},
        {"[\"é\"]", "before"},
        {"{\"other\":{\"data\":\"1\"}}", "before"},
        {"{\"leaf\":{\"data\":\"1\"},\"other\":{}}", "before"},
        {"{\"leaf\":\"1\"}", "before"},
        {many.c_str(), "before"},
        {"{\"leaf\":{\"data\":5}}", ""},
        {"{\"leaf\":{\"data\":{\"a\":1}}}", ""},
        {"{\"leaf\":{\"data\":[\"a\",true]}}", "a,"},
    };
    for (const auto& [json, value] : rows) {
        const QByteArray object = json ? QByteArray(",\"Datacore\":") + json : QByteArray();
        const QByteArray text =
            R"({"Class":"DatacorePacket")" + object + R"(,"Path":"configCoreRouter/leaf"})";
        CAPTURE(text.toStdString());
        const QString expected = "error: Content of the wrong shape for configCoreRouter/leaf: "_s +
                                 (json ? QString::fromUtf8(json).left(200) : "none"_s);
        const SerialisableDataPacket packet(text, nullptr);
        const QByteArray payload = packet.serialisePayload();
        const LogCapture log;
        client.socket->feed(packet.makeHeader(payload) + payload);
        client.distributor.acceptPacket(packet);
        CHECK(log.lines() == QStringList{expected, expected});
        const std::deque<QString> values = client.leaf()->getDataList();
        CHECK(QStringList(values.begin(), values.end()).join(u',') == QLatin1String(value));
    }
}

TEST_CASE("A write is on the wire when the slot returns, and only the own echo ends it", "[client]")
{
    Client client;
    client.dump();
    client.leaf()->setDataInt(7);
    const QString id = client.connection.getLocalIdentifier();
    CHECK(client.sent() ==
          R"({"Class":"DatacorePacket","ClientID":")" + id.toUtf8() +
              R"(","Datacore":{"leaf":{"data":"7"}},"PacketID":0,"Path":"configCoreRouter/leaf"})");
    DatacorePacket echo = leafPacket();
    echo.setPacketID(0);
    client.distributor.acceptPacket(echo); // without "ClientID"
    echo.setClientID(id + u'0');
    client.distributor.acceptPacket(echo); // somebody else's
    CHECK(client.leaf()->getPendingCount() == 1);
    echo.setClientID(id);
    const LogCapture log;
    client.distributor.acceptPacket(echo);
    CHECK(client.leaf()->getPendingCount() == 0);
    CHECK(client.leaf()->getData() == "5"_s);
    const QPointer<ClientDatacore> leaf(client.leaf());
    client.socket->drop();
    CHECK(leaf.isNull()); // no call is under way
    CHECK(log.lines().isEmpty());
}

TEST_CASE("A link that breaks in a write or a signal leaves nothing behind", "[client]")
{
    const bool isInSignal = GENERATE(true, false);
    Client client;
    client.dump();
    ClientDatacoreRegistry& registry = client.manager.getRegistry();
    const QPointer<ClientDatacore> leaf(client.leaf());
    const QPointer<ClientDatacore> other(registry.lookup("statusCoreRouter"_s));
    int toldAfterwards = 0;
    QObject::connect(&registry, &ClientDatacoreRegistry::registryHasBeenCleared, [&] {
        QObject::connect(leaf, &ClientDatacore::datacoreUpdated, [&] { ++toldAfterwards; });
    });
    if (isInSignal) {
        QObject::connect(leaf, &ClientDatacore::datacoreInSyncWithServer,
                         [&client] { client.socket->drop(); });
        client.distributor.acceptPacket(leafPacket());
    } else {
        client.socket->breaks = true;
        leaf->setDataInt(1);
    }
    CHECK((registry.isEmpty() && other.isNull()));
    REQUIRE(leaf != nullptr); // it was in the middle of a call
    leaf->setDataInt(2);
    CHECK(toldAfterwards == 0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    CHECK(leaf.isNull());
}

TEST_CASE("Descriptions are kept on demand, up to a bound, until the link is lost", "[client]")
{
    Client client;
    ClientDatacoreDescriptions& descriptions = client.manager.getDescriptions();
    int received = 0;
    QObject::connect(&descriptions, &ClientDatacoreDescriptions::descriptionsReceived,
                     [&received] { ++received; });
    const auto answer = [&client](const QByteArray& elements, const char* rest = "") {
        client.distributor.acceptPacket(
            SerialisableDataPacket(R"({"Class":"DatacoreDescriptionPacket","Descriptions":[)" +
                                       elements + ']' + rest + '}',
                                   nullptr));
    };
    const QByteArray gain = R"({"Is":{"kind":"Int32","min":"1","unit":"dB"},"Paths":["a","b"]})";
    const char* const last = R"(,"Last":true)";
    CHECK_FALSE(descriptions.canAcceptPacket(DatacorePacket::CLASSNAME()));
    LogCapture log;
    answer(gain, last); // nobody has asked
    CHECK(descriptions.getCount() == 0);

    descriptions.requestDescriptions(lines({"a", "c/d"}));
    CHECK(client.sent() == R"({"Class":"DatacoreDescriptionRequestPacket","ClientID":")" +
                               client.connection.getLocalIdentifier().toUtf8() +
                               R"(","Paths":["a","c/d"]})");
    descriptions.requestDescriptions();
    CHECK(client.sent().endsWith(R"("Paths":[]})"));
    CHECK(descriptions.getPendingCount() == 2);
    answer(gain);
    CHECK(received == 0);
    CHECK(log.lines().isEmpty());
    answer(R"({"Is":{"min":5},"Paths":["x"]},5,{"Is":{}},{"Is":{},"Paths":["y",1]},)"
           R"({"Paths":["z"]},{"Is":{"unit":"s"},"Paths":["b","c"]})",
           last);
    CHECK(log.lines() == lines({"error: Description left out: bad \"min\" for x",
                                "error: Description left out: wrong shape for ",
                                "error: Description left out: wrong shape for ",
                                "error: Description left out: wrong shape for y",
                                "error: Description left out: wrong shape for z"}));
    CHECK(received == 1);
    CHECK(descriptions.getPendingCount() == 1);
    const auto kept = descriptions.findDescription("a"_s);
    CHECK(kept->unit == "dB"_s);
    CHECK(descriptions.findDescription("b"_s)->unit == "s"_s);
    CHECK(descriptions.findDescription("x"_s) == nullptr);
    CHECK(descriptions.getCount() == 3);

    client.socket->drop();
    CHECK(descriptions.getCount() == 0);
    CHECK(descriptions.getPendingCount() == 0);
    CHECK(kept->minimum == "1"_s);
    descriptions.requestDescriptions();
    CHECK(descriptions.getPendingCount() == 0); // without a link

    // Of 8 MiB, 132,000 for a thousand choices of a hundred characters, while anybody has them.
    Client full;
    ClientDatacoreDescriptions& bounded = full.manager.getDescriptions();
    bounded.requestDescriptions();
    const int linesBefore = log.lines().size();
    DatacoreDescription wide;
    for (int i = 0; i < 1'000; ++i) {
        wide.choices.append(QString(100, u'x'));
    }
    for (int i = 0; i < 100; ++i) {
        DatacoreDescriptionPacket::Content again;
        again.add(wide, "a"_s);
        full.distributor.acceptPacket(DatacoreDescriptionPacket(QString(), again, false));
    }
    CHECK(log.lines().size() == linesBefore);

    // 1032 for each path, and 196 for the description that all have.
    DatacoreDescriptionPacket::Content many;
    for (int i = 0; i < 9'000; ++i) {
        many.add({}, QString::number(i).rightJustified(1'000, u'x'));
    }
    full.distributor.acceptPacket(DatacoreDescriptionPacket(QString(), many, false));
    REQUIRE(log.lines().size() == linesBefore + 1);
    CHECK(log.lines().last().startsWith("error: Description left out: too many, from xxxx"_s));
    CHECK(bounded.getCount() == 8'001);
}
