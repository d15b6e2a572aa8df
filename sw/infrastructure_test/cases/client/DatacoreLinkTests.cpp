// A client that reconnects by itself, against servers in this process. The clock is the case's.
#include "infrastructure/client/DatacoreLink.h"
#include "infrastructure/server/DatacoreServer.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <deque>
#include <memory>
#include <optional>

namespace {

using State = DatacoreLink::State;

LinkAddress atPort(quint16 port)
{
    return {LinkAddress::Way::Tcp, "127.0.0.1"_s, port, QString()};
}

/// Waits only when the case says so.
struct SteppedLink : DatacoreLink
{
    explicit SteppedLink(double jitter = 0)
        : DatacoreLink({100, 2.0, 500, jitter, 7000})
    {
        connect(this, &DatacoreLink::stateChanged, this,
                [this](State now) { journal.append(int(now)); });
    }
    void setAlarm(int milliseconds) override { alarmMs = milliseconds; }
    qint64 getNowMs() const override { return nowMs; }
    using DatacoreLink::onAlarm;

    bool reaches(State wanted)
    {
        return waitFor([this, wanted] { return getState() == wanted; });
    }

    int alarmMs = 0;
    qint64 nowMs = 1'000'000;
    QVector<int> journal;
};

struct Server : Roots
{
    Server(std::initializer_list<const char*> names, const char* value, quint16 port = 0)
    {
        for (const char* name : names) {
            leaves.emplace_back(QLatin1String(name), &config, QLatin1String(value));
        }
        REQUIRE(server.listen(QHostAddress::LocalHost, port));
    }
    LinkAddress address() const { return atPort(server.getPort()); }

    std::deque<DatacoreBase> leaves;
    DatacoreServer server{{&config, &status, &command, &persistent}};
};

/// A listener that treats its clients badly.
struct BadServer : QTcpServer
{
    BadServer() { REQUIRE(listen(QHostAddress::LocalHost)); }
    LinkAddress address() const { return atPort(serverPort()); }
    std::unique_ptr<QTcpSocket> take()
    {
        REQUIRE(waitFor([this] { return hasPendingConnections(); }));
        return std::unique_ptr<QTcpSocket>(nextPendingConnection());
    }
};

} // namespace

TEST_CASE("A link outlives its server and fills its mirrors from the next one", "[client][server]")
{
    std::optional<Server> server;
    server.emplace(std::initializer_list<const char*>{"a", "b", "c"}, "1");
    const LinkAddress address = server->address();
    SteppedLink link;
    ClientDatacoreRegistry& registry = link.getRegistry();
    QVector<LostWrite> lost;
    MirrorChanges changes;
    QObject::connect(&registry, &ClientDatacoreRegistry::writesLost,
                     [&](const QVector<LostWrite>& writes) { lost += writes; });
    QObject::connect(&registry, &ClientDatacoreRegistry::mirrorsFilled,
                     [&](const MirrorChanges& news) { changes = news; });
    int up = 0;
    QObject::connect(&link, &DatacoreLink::linkIsUp, [&] {
        ++up;
        CHECK((link.getConnection().isConnected() && !registry.isFilling()));
    });
    QObject::connect(&registry, &ClientDatacoreRegistry::registryHasBeenPopulated, [&] {
        link.alarmMs = 0;
        link.onAlarm(); // from the names on, the registry has patience
        CHECK(link.alarmMs == 7000);
    });
    link.start(address);
    CHECK(link.alarmMs == 7000);
    REQUIRE(link.reaches(State::Current));
    CHECK(link.alarmMs < 0);
    CHECK(registry.getCount() == 7);
    ClientDatacore* const a = registry.lookup("configCoreRouter/a"_s);
    REQUIRE(a != nullptr);
    CHECK(a->getData() == "1"_s);

    a->setDataInt(5); // the server ends before it reads this
    server.reset();
    REQUIRE(link.reaches(State::Waiting));
    CHECK(link.getLastProblem() == "The server has closed the link"_s);
    REQUIRE(lost.size() == 1);
    CHECK(lost[0].path == a->getPath());
    CHECK(lost[0].values == lines({"5"}));
    CHECK(a->getFreshness() == ClientDatacore::Freshness::Stale);
    CHECK(link.alarmMs == 100);
    link.nowMs += 30;
    CHECK(link.getRemainingPauseMs() == 70);
    link.nowMs += 100;
    CHECK(link.getRemainingPauseMs() == 0);
    const LogCapture log;
    link.onAlarm(); // nobody is there
    REQUIRE(link.reaches(State::Waiting));
    CHECK(log.lines().last() == "info: Link to 127.0.0.1:%1: Connection refused, "
                                "next attempt in 200 ms"_s.arg(address.port));
    CHECK(link.getLastProblem() == "Connection refused"_s);
    CHECK(link.alarmMs == 200);

    server.emplace(std::initializer_list<const char*>{"a", "c", "d"}, "2", address.port);
    link.reconnectNow();
    REQUIRE(link.reaches(State::Current));
    CHECK(link.getRemainingPauseMs() == 0);
    CHECK(up == 2);
    CHECK(changes.changed == lines({"configCoreRouter/a", "configCoreRouter/c"}));
    CHECK(changes.added == lines({"configCoreRouter/d"}));
    CHECK(changes.removed == lines({"configCoreRouter/b"}));
    CHECK(changes.withoutValue.isEmpty());
    CHECK(a == registry.lookup(a->getPath()));
    CHECK(a->getData() == "2"_s);
    a->setDataInt(6);
    CHECK(waitFor([&] { return a->getPendingCount() == 0; }));
    CHECK(server->leaves[0].getData() == "6"_s);
    link.reconnectNow(); // no pause to end
    CHECK(link.journal == QVector<int>{1, 2, 3, 4, 1, 4, 1, 2, 3});

    // Another server, asked for one value alone; then none at all.
    Server other({"a", "c"}, "3");
    link.setWantedPaths({a->getPath()});
    link.start(other.address());
    CHECK(link.getAddress() == other.address());
    REQUIRE(link.reaches(State::Current));
    CHECK(changes.changed == lines({"configCoreRouter/a"}));
    CHECK(registry.lookup("configCoreRouter/c"_s)->getData() == "2"_s);
    link.stop();
    CHECK(link.getState() == State::Idle);
    CHECK(link.alarmMs < 0);
    CHECK(a->getFreshness() == ClientDatacore::Freshness::Stale);
    CHECK(waitFor([&] { return other.server.getClientCount() == 0; }));
    CHECK(link.journal == QVector<int>{1, 2, 3, 4, 1, 4, 1, 2, 3, 1, 2, 3, 0});
}

TEST_CASE("Pauses grow while a server is of no use, not after a good link", "[client][server]")
{
    BadServer bad;
    SteppedLink link;
    link.start(bad.address());
    for (const int pauseMs : {100, 200, 400}) { // accepts and closes at once
        bad.take();
        REQUIRE(link.reaches(State::Waiting));
        CHECK(link.alarmMs == pauseMs);
        link.onAlarm();
        CHECK(link.alarmMs == 7000);
    }
    const std::unique_ptr<QTcpSocket> silent = bad.take();
    REQUIRE(link.reaches(State::Filling));
    silent->write(QByteArray(100'000, 'x')); // what is no packet is no answer
    silent->flush();
    link.onAlarm();
    const auto checkPause = [&link](const QString& problem) {
        CHECK(link.getState() == State::Waiting);
        CHECK(link.getLastProblem() == problem);
        CHECK(link.alarmMs == 500);
    };
    checkPause("No answer within 7000 ms"_s);
    CHECK(waitFor([&] { return silent->state() == QAbstractSocket::UnconnectedState; }));
    link.onAlarm();
    link.onAlarm(); // before the event loop could make the link
    checkPause("No link within 7000 ms"_s);
    link.start(bad.address());
    link.onAlarm();
    CHECK(link.alarmMs == 100);

    // Filled, and lost sooner than the last pause took; then later.
    bad.close();
    std::optional<Server> good;
    good.emplace(std::initializer_list<const char*>{"a"}, "1", bad.serverPort());
    link.start(good->address());
    REQUIRE(link.reaches(State::Current));
    quint16 const port = good->server.getPort();
    for (const auto& [lastedMs, pauseMs] : Table<int, int>{{501, 100}, {100, 200}, {201, 100}}) {
        link.nowMs += lastedMs;
        good.reset();
        REQUIRE(link.reaches(State::Waiting));
        CHECK(link.alarmMs == pauseMs);
        good.emplace(std::initializer_list<const char*>{"a"}, "1", port);
        link.onAlarm();
        REQUIRE(link.reaches(State::Current));
    }
}

TEST_CASE("A link may be stopped and started in slots of its signals", "[client][server]")
{
    Server server({"a"}, "1");
    SteppedLink link;
    const auto stop = [&link] { link.stop(); };
    const auto atOnce = QObject::connect(&link, &DatacoreLink::linkIsUp, stop);
    link.start(server.address());
    REQUIRE(link.reaches(State::Idle));
    QObject::disconnect(atOnce);
    link.start(server.address());
    REQUIRE(link.reaches(State::Current));

    QMetaObject::Connection stale =
        QObject::connect(&link.getRegistry(), &ClientDatacoreRegistry::mirrorsBecameStale, stop);
    link.start(server.address()); // drops the link, which stops it
    CHECK(link.getState() == State::Idle);
    CHECK(link.alarmMs < 0);
    QObject::disconnect(stale);
    link.start(server.address());
    REQUIRE(link.reaches(State::Current));
    QObject::connect(&link.getRegistry(), &ClientDatacoreRegistry::mirrorsBecameStale,
                     [&] { link.start(server.address()); });
    link.stop(); // drops the link, which starts it
    REQUIRE(link.reaches(State::Current));
    CHECK(link.journal == QVector<int>{1, 2, 0, 1, 2, 3, 1, 0, 1, 2, 3, 1, 2, 3});
}

TEST_CASE("A pause is bounded, and chance takes its share of it", "[client]")
{
    const DatacoreLinkTimes defaults;
    CHECK(defaults.patienceMs == 5000);
    for (const auto& [times, attempt, chance, pauseMs] :
         Table<DatacoreLinkTimes, int, double, int>{{defaults, 1, 0, 250},
                                                    {defaults, 2, 0, 500},
                                                    {defaults, 2, 1, 375},
                                                    {defaults, 8, 0, 30000},
                                                    {defaults, 2'000'000'000, 0.5, 26250},
                                                    {{100, 0.1, 500, 7, 0}, 5, 0.5, 50},
                                                    {{100, 3, 500, -1, 0}, 2, 1, 300},
                                                    {{0, 2, 500, 0, 0}, 1, 0, 1},
                                                    {{0, 2, 0, 0, 0}, 2000, 0, 1}}) {
        CHECK(times.getPauseMs(attempt, chance) == pauseMs);
    }

    BadServer bad;
    SteppedLink link(1);
    link.start(bad.address());
    link.onAlarm();
    CHECK(link.alarmMs < 100);
}
