// Mirrors that outlive their link, and what a registry tells of losses and fills.
#include "infrastructure/client/ClientDatacoreMonitor.h"
#include "infrastructure/client/ClientDatacoreRegistry.h"
#include "infrastructure/client/DatacoreConnectionBuilderBase.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/MemorySocket.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>
#include <QPointer>

#include <utility>

namespace {

using Registry = ClientDatacoreRegistry;
using Freshness = ClientDatacore::Freshness;

/// A registry whose server is the case, with a journal of what it tells.
struct Client
{
    Client()
    {
        registry.setKeepMirrors(true);
        on(&Registry::registryHasBeenPopulated, [this] { note("populated"); });
        on(&Registry::registryHasBeenCleared, [this] { note("cleared"); });
        on(&Registry::mirrorsBecameStale, [this] { note("stale"); });
        on(&Registry::mirrorsAboutToBeRemoved,
           [this](const QStringList& p) { note("going", {p}); });
        on(&Registry::mirrorsAdded, [this](const QStringList& p) { note("new", {p}); });
        on(&Registry::mirrorsFilled, [this](const MirrorChanges& changes) {
            CHECK_FALSE(registry.isFilling());
            note("filled", {changes.changed, changes.added, changes.removed, changes.withoutValue});
        });
        on(&Registry::writesLost, [this](const QVector<LostWrite>& writes) {
            for (const LostWrite& write : writes) {
                CHECK(registry.lookup(write.path) != nullptr);
                note("lost", {{write.path}, write.values, {QString::number(write.count)}});
            }
        });
        connect();
    }

    template <typename Signal, typename Slot>
    void on(Signal signal, Slot slot)
    {
        QObject::connect(&registry, signal, slot);
    }
    void note(const char* what, const std::vector<QStringList>& lists = {})
    {
        QStringList words{QLatin1String(what)};
        for (const QStringList& list : lists) {
            words.append(list.join(QLatin1Char(',')));
        }
        journal.append(words.join(QLatin1Char('|')));
    }
    QStringList takeJournal() { return std::exchange(journal, {}); }

    void connect()
    {
        socket = new MemorySocket;
        std::unique_ptr<QTcpSocket> adopted(socket);
        connection.adoptSocket(adopted);
    }
    /// A new link to a server with these names.
    void dump(std::initializer_list<const char*> paths)
    {
        connect();
        (registry.*(registry.isEmpty() ? &Registry::populate : &Registry::refill))(lines(paths),
                                                                                   monitor);
    }
    ClientDatacore& at(const char* path)
    {
        ClientDatacore* datacore = registry.lookup(QLatin1String(path));
        REQUIRE(datacore != nullptr);
        return *datacore;
    }
    void give(const char* path, const char* content, int ownId = -1)
    {
        DatacorePacket packet({{at(path).getInstanceName(), parseObject(content)}},
                              QLatin1String(path));
        if (ownId >= 0) {
            packet.setPacketID(ownId);
        }
        REQUIRE(registry.lookup(packet) == &at(path));
        registry.deliver(at(path), packet, ownId >= 0);
    }
    void give(std::initializer_list<const char*> paths, int value)
    {
        for (const char* path : paths) {
            give(path, qPrintable(QStringLiteral(R"({"data":"%1"})").arg(value)));
        }
    }

    NetworkConnection connection;
    MemorySocket* socket = nullptr;
    ClientDatacoreMonitor monitor{connection};
    Registry registry{connection};
    QStringList journal;
};

} // namespace

TEST_CASE("Kept mirrors are stale without a link, refuse writes, and are filled anew", "[client]")
{
    Client client;
    client.dump({"r/a", "r/b", "r/c", "r/d"});
    CHECK(client.at("r/a").getFreshness() == Freshness::NeverReceived);
    QStringList told;
    QObject::connect(&client.at("r/a"), &ClientDatacore::freshnessChanged, [&](Freshness now) {
        told.append(QString::number(int(now)) + client.at("r/a").getData());
    });
    QObject::connect(&client.at("r/a"), &ClientDatacore::datacoreUpdated,
                     [&](const QStringList& data) { told.append(data.join(QLatin1Char(','))); });
    client.give({"r/a", "r/b", "r/c"}, 1);
    CHECK(client.registry.isFilling());
    client.give({"r/d", "r/a"}, 1);
    CHECK(client.takeJournal() == lines({"populated", "filled||||"}));
    CHECK(told == lines({"1", "11"}));

    const LogCapture log;
    // Two writes to one mirror, one to another, and one that was acknowledged.
    client.at("r/a").setDataInt(2);
    client.at("r/a").setDataStringList(lines({"3", "4"}));
    client.at("r/b").setDataInt(4);
    client.give({"r/b"}, 49); // somebody else's
    client.at("r/b").setDataInt(5);
    client.give({"r/b"}, 50);
    client.give({"r/b"}, 51);
    client.at("r/c").setDataInt(6);
    client.give("r/c", R"({"data":"6"})", 0);
    client.socket->drop();
    client.socket->drop();
    CHECK(client.takeJournal() == lines({"lost|r/a|3,4|2", "lost|r/b|5|2", "stale"}));
    CHECK(client.at("r/a").getFreshness() == Freshness::Stale);
    CHECK(client.registry.isStale());

    // A write now is told of, and what shows the mirror goes back; an equal value is no write.
    told.clear();
    client.at("r/a").setDataInt(7);
    client.at("r/a").setDataStringList(lines({"8", "9"}));
    client.at("r/a").setDataStringList(lines({"3", "4"}));
    CHECK(told == lines({"3,4", "3,4"}));
    CHECK(client.takeJournal() == lines({"lost|r/a|7|1", "lost|r/a|8,9|1"}));
    client.at("r/d").DatacoreBase::setData("behind its back"_s);
    CHECK(client.takeJournal() == lines({"lost|r/d|behind its back|1"}));
    CHECK(client.at("r/d").getPendingCount() == 0);

    // A change that comes before the names is a change, too; so are reasons alone.
    const ClientDatacore* const kept = &client.at("r/a");
    client.connect();
    client.give({"r/c"}, 11);
    CHECK(client.at("r/c").getFreshness() == Freshness::Stale);
    CHECK_FALSE(client.at("r/c").isWritable());
    client.dump({"r/a", "r/b", "r/c", "r/d"});
    CHECK(client.at("r/a").isWritable());
    client.give({"r/c"}, 11);
    client.give("r/b", R"({"data":"51","reasonsForBeingInvalid":[
        {"DatacoreValidStatusMessage":{},"MessageBase":{"type":2,"identifier":4}}]})");
    client.give("r/d", R"({"data":"behind its back"})");
    CHECK(client.registry.isFilling());
    client.give("r/a", R"({"data":["3","4"]})");
    CHECK(client.takeJournal() == lines({"filled|r/b,r/c|||"}));
    CHECK(&client.at("r/a") == kept);
    CHECK(client.at("r/a").getFreshness() == Freshness::Current);
    client.at("r/a").setDataInt(12);
    CHECK(client.socket->written.contains(R"("data":"12")"));
    CHECK(client.at("r/a").getPendingCount() == 1);
    client.registry.refill({}, client.monitor);
    CHECK(client.registry.getCount() == 4); // a second dump of the same link
    CHECK(log.lines().isEmpty());
}

TEST_CASE("A fill names what came and went on the server, also across fills broken off", "[client]")
{
    struct Builder : DatacoreConnectionBuilderBase
    {
        using DatacoreConnectionBuilderBase::DatacoreConnectionBuilderBase;
        void makeConnections() override
        {
            for (const char* name : {"a", "b", "c"}) {
                connectDatacore(QLatin1String(name), ConfigTree);
            }
        }
    };
    Client client;
    Builder builder(client.registry);
    constexpr auto A = "configCoreRouter/a";
    constexpr auto B = "configCoreRouter/b";
    constexpr auto C = "configCoreRouter/c";
    client.dump({A, B, C});
    client.give({A, B, C}, 1);
    const QPointer<ClientDatacore> b(&client.at(B));
    int refreshed = 0;
    for (const char* path : {A, B, C}) {
        QObject::connect(&client.at(path), &ClientDatacore::datacoreUpdated, [&] { ++refreshed; });
    }
    client.socket->drop();
    client.takeJournal();

    client.dump({A, C, "configCoreRouter/d", "configCoreRouter/e", "configCoreRouter/e/"});
    CHECK(b.isNull());
    builder.populateConnectedGuiElements();
    CHECK(refreshed == 2);
    client.give({A}, 2);
    client.socket->drop();
    CHECK(client.takeJournal() == lines({"going|configCoreRouter/b",
                                         "new|configCoreRouter/d,configCoreRouter/e", "stale"}));

    client.dump({A, B, "configCoreRouter/d"});
    client.give({A, B}, 2);
    client.give({"configCoreRouter/d"}, 1);
    // What has come and gone between two fills is not told of; what has come back is another.
    CHECK(client.takeJournal() ==
          lines({"going|configCoreRouter/c,configCoreRouter/e", "new|configCoreRouter/b",
                 "filled|configCoreRouter/a|configCoreRouter/b,configCoreRouter/d|configCoreRouter/"
                 "b,configCoreRouter/c|"}));

    client.socket->drop();
    client.dump({}); // a server without anything
    CHECK(client.takeJournal().last() == "filled|||configCoreRouter/a,"
                                         "configCoreRouter/b,configCoreRouter/d|"_s);
}

TEST_CASE("A fill ends without the values that don't come", "[client]")
{
    Client client;
    client.registry.setFillPatienceMs(0);
    client.dump({"r/a", "r/b", "r/c"});
    client.give({"r/b"}, 1);
    QCoreApplication::processEvents();
    CHECK(client.registry.isFilling()); // something has come meanwhile
    REQUIRE(waitFor([&] { return !client.registry.isFilling(); }));
    CHECK(client.takeJournal() == lines({"populated", "filled||||r/a,r/c"}));
    client.give({"r/a"}, 1); // late
    CHECK(client.at("r/a").getFreshness() == Freshness::Current);
    CHECK(client.at("r/c").getFreshness() == Freshness::NeverReceived);
    client.socket->drop();
    CHECK(client.at("r/c").getFreshness() == Freshness::NeverReceived);
    client.dump({"r/a", "r/b", "r/c"});
    client.socket->drop();
    QCoreApplication::processEvents(); // a fill that was broken off does not end
    CHECK(client.takeJournal() == lines({"stale", "stale"}));

    // Only some are waited for. The echo of an older write is no value.
    client.registry.setFillPatienceMs(60'000);
    client.registry.setAwaitedPaths(lines({"r/b", "r/none", "r/b"}));
    client.dump({"r/a", "r/b", "r/c"});
    client.at("r/b").setDataInt(2);
    client.at("r/b").setDataInt(3);
    client.give("r/b", R"({"data":"2"})", 0);
    CHECK(client.registry.isFilling());
    client.give("r/b", R"({"data":"4"})", 1);
    CHECK(client.takeJournal() == lines({"filled|r/b|||"}));
    CHECK(client.at("r/a").getFreshness() == Freshness::Stale);
    CHECK(client.at("r/a").isWritable());
}

TEST_CASE("By default lost writes are told of before their mirrors go", "[client]")
{
    Client client;
    client.registry.setKeepMirrors(false);
    client.dump({"r/a", "r/b"});
    client.give({"r/a", "r/b"}, 1);
    client.at("r/a").setDataInt(2);
    client.socket->drop();
    CHECK(client.takeJournal() == lines({"populated", "filled||||", "lost|r/a|2|1", "cleared"}));
    client.dump({"r/b"});
    client.give({"r/b"}, 1);
    CHECK(client.takeJournal() == lines({"populated", "filled||||"}));
    CHECK_FALSE(client.registry.isStale());
}

TEST_CASE("Slots may lose the link or clear the registry at any moment", "[client]")
{
    Client client;
    client.dump({"r/a", "r/b"});
    client.give({"r/a", "r/b"}, 1);
    const auto drop = [&client](const QStringList& values) {
        if (values == lines({"drop"})) {
            client.socket->drop();
        }
    };
    QObject::connect(&client.at("r/a"), &ClientDatacore::datacoreUpdated, drop);
    client.takeJournal();
    client.at("r/a").setDataString("drop"_s);
    CHECK(client.takeJournal() == lines({"stale", "lost|r/a|drop|1"}));
    CHECK(client.at("r/a").getPendingCount() == 0);

    client.dump({"r/a", "r/b"});
    client.give({"r/b", "r/a"}, 2);
    client.socket->drop();
    client.dump({"r/a", "r/b"});
    client.give({"r/b"}, 3);
    client.give("r/a", R"({"data":"drop"})"); // by the last value of a fill
    CHECK(client.takeJournal() == lines({"filled|r/a,r/b|||", "stale", "stale"}));
    CHECK(client.at("r/a").getFreshness() == Freshness::Stale);

    // While names are compared: nothing is removed until the next.
    const auto dropping = QObject::connect(&client.registry, &Registry::mirrorsAboutToBeRemoved,
                                           [&client] { client.socket->drop(); });
    client.dump({"r/a"});
    CHECK(client.registry.isStale());
    QObject::disconnect(dropping);
    client.dump({"r/a"});
    CHECK(client.registry.getPaths() == lines({"r/a"}));
    client.registry.clear();
    client.dump({"r/a"});
    client.takeJournal();
    client.give({"r/a"}, 3);
    CHECK(client.takeJournal() == lines({"filled||||"})); // what was before is forgotten

    const QPointer<ClientDatacore> a(&client.at("r/a"));
    QObject::connect(a, &ClientDatacore::freshnessChanged, [&client] { client.registry.clear(); });
    client.takeJournal();
    client.socket->drop();
    CHECK(client.takeJournal() == lines({"cleared"}));
    CHECK_FALSE(client.registry.isStale());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    CHECK(a.isNull());
}
