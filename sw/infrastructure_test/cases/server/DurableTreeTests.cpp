// A server whose persistent tree is kept by a store that the case plays.
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/server/DatacoreStoreInterface.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>

namespace {

/// Everything waits until the case says what became of it.
struct HandStore : DatacoreStoreInterface
{
    void readLeaves(const std::function<void(const Leaf&)>& take) override
    {
        std::for_each(rows.begin(), rows.end(), take);
    }
    Ticket save(const std::vector<Leaf>& leaves) override
    {
        QStringList texts;
        for (const Leaf& leaf : leaves) {
            texts.append(leaf.path.section(QLatin1Char('/'), 1) + QLatin1Char('=') +
                         leaf.values.toList().join(QLatin1Char(',')));
        }
        saves.append(texts.join(QLatin1Char(' ')));
        return Ticket(saves.size());
    }
    void setListener(Listener newListener) override { listener = std::move(newListener); }
    void forgetUnsaved() override { ++timesForgotten; }

    void finish(int upTo, bool isDurable = true)
    {
        listener({Ticket(upTo), isDurable, isDurable ? QString() : QStringLiteral("disk full")});
    }

    std::vector<Leaf> rows;
    QStringList saves; ///< "name=value name=value"
    Listener listener;
    int timesForgotten = 0;
};

/// Sets two other nodes to its own value.
struct Leader : DatacoreBase
{
    using DatacoreBase::DatacoreBase;
    void onChanged() override
    {
        if (follower != nullptr) {
            follower->setData(getData());
            elsewhere->setData(getData());
        }
    }
    DatacoreBase* follower = nullptr;
    DatacoreBase* elsewhere = nullptr;
};

struct Client : SerialisableDataPacketAcceptorInterface
{
    explicit Client(const DatacoreServer& server)
    {
        distributor.registerPacketAcceptor(*this, DatacorePacket::CLASSNAME());
        REQUIRE(connection.connectToHost(QHostAddress(QHostAddress::LocalHost), server.getPort()));
        ask(QStringLiteral("statusCoreRouter")); // the server knows it when this is answered
        REQUIRE(hears({"statusCoreRouter="}));
    }
    bool canAcceptPacket(QString) override { return true; }
    void acceptPacket(const SerialisableDataPacket& source) override
    {
        bool ok = false;
        const DatacorePacket packet(source, ok);
        const QString name = packet.getDatacorePath().section(QLatin1Char('/'), -1);
        const QString value =
            packet.getDatacoreJsonObject()[name].toObject()[QLatin1String("data")].toString();
        heard +=
            (packet.containsPacketID() ? QString::number(packet.getPacketID()) + QLatin1Char(' ')
                                       : QString()) +
            name + QLatin1Char('=') + value.left(20);
    }
    void write(int id, const char* path, const QString& value)
    {
        const QString full = QString::fromUtf8(path);
        const QJsonObject content{{QStringLiteral("data"), value}};
        connection.acceptPacket(DatacorePacket(
            QStringLiteral("me"), id, {{full.section(QLatin1Char('/'), -1), content}}, full));
    }
    void write(int id, const char* path, const char* value)
    {
        write(id, path, QString::fromUtf8(value));
    }
    void ask(const QString& path)
    {
        connection.acceptPacket(DatacorePathListPacket(QStringLiteral("me"), QStringList{path}));
    }
    /// Whether it hears this, no more and no less, since the last call.
    bool hears(std::initializer_list<const char*> expected)
    {
        waitFor([&] { return heard.size() >= int(expected.size()); });
        const bool isAsExpected = heard == lines(expected);
        INFO(heard.join(QLatin1String("; ")).toStdString());
        CHECK(isAsExpected);
        heard.clear();
        return isAsExpected;
    }

    RawDataPacketReceivers receivers;
    NetworkConnection connection{receivers};
    SerialisableDataPacketDistributor distributor{receivers};
    QStringList heard;
};

struct Kept
{
    explicit Kept(std::vector<DatacoreStoreInterface::Leaf> rows = {})
    {
        store.rows = std::move(rows);
        leader.follower = &follower;
        leader.elsewhere = &level;
        for (DatacoreBase* root : {&config, &status, &command, &persistent}) {
            root->takeChangedList();
        }
        server.setStore(store);
        REQUIRE(server.listen(QHostAddress(QHostAddress::LocalHost), 0));
    }

    DatacoreBase config{QStringLiteral("configCoreRouter"), nullptr};
    DatacoreBase level{QStringLiteral("level"), &config, QStringLiteral("0")};
    DatacoreBase status{QStringLiteral("statusCoreRouter"), nullptr};
    DatacoreBase command{QStringLiteral("commandCoreRouter"), nullptr};
    DatacoreBase persistent{QStringLiteral("persistentConfigCoreRouter"), nullptr};
    DatacoreBase name{QStringLiteral("name"), &persistent, QStringLiteral("none")};
    DatacoreNumberLimits<int> gain{QStringLiteral("gain"), &persistent, 0, 9, {4}};
    Leader leader{QStringLiteral("leader"), &persistent, QStringLiteral("0")};
    DatacoreBase follower{QStringLiteral("follower"), &persistent, QStringLiteral("0")};
    HandStore store;
    DatacoreServer server{{&config, &status, &command, &persistent}};
};

constexpr const char* NAME = "persistentConfigCoreRouter/name";
constexpr const char* GAIN = "persistentConfigCoreRouter/gain";
constexpr const char* LEADER = "persistentConfigCoreRouter/leader";
constexpr const char* LEVEL = "configCoreRouter/level";

} // namespace

TEST_CASE("Nobody is told of a change in a kept tree before it is durable", "[server][store]")
{
    const LogCapture log;
    Kept kept;
    Client writer(kept.server);
    Client reader(kept.server);
    writer.write(0, NAME, "a");
    writer.write(1, NAME, "b");
    writer.write(2, LEVEL, "5");
    CHECK(writer.hears({"2 level=5"})); // waits for no disk
    CHECK(kept.store.saves == lines({"name=a", "name=b"}));
    for (const char* path : {NAME, GAIN}) {
        reader.ask(QString::fromUtf8(path));
    }
    CHECK(reader.hears({"2 level=5", "gain=4"}));

    kept.store.finish(1);
    CHECK(writer.hears({"0 name=a"}));
    CHECK(reader.hears({"0 name=a"}));
    kept.store.finish(2);
    CHECK(writer.hears({"1 name=b"}));
    CHECK(reader.hears({"1 name=b", "name=b"})); // the answer, too

    // What follows a write is durable with it, elsewhere it is known at once.
    writer.write(3, LEADER, "7");
    CHECK(writer.hears({"level=7"}));
    kept.gain.setDataNumber(6);
    kept.server.publishChanges();
    kept.store.finish(3);
    CHECK(writer.hears({"3 leader=7", "follower=7"}));
    kept.store.finish(4);
    CHECK(writer.hears({"gain=6"}));
    CHECK(kept.store.saves.mid(2) == lines({"leader=7 follower=7", "gain=6"}));
    CHECK(log.lines().filter(QLatin1String("error")).isEmpty());
}

TEST_CASE("A write of the value that is there is saved if the store has none, and only then",
          "[server][store]")
{
    Kept kept;
    Client writer(kept.server);
    writer.write(0, NAME, "none");
    writer.write(1, NAME, "none"); // behind the first
    writer.write(2, LEVEL, "0");
    CHECK(writer.hears({"2 level=0"}));
    CHECK(kept.store.saves == lines({"name=none"}));
    kept.store.finish(1);
    CHECK(writer.hears({"0 name=none", "1 name=none"}));
    writer.write(3, NAME, "none");
    CHECK(writer.hears({"3 name=none"}));
    CHECK(kept.store.saves.size() == 1);
}

TEST_CASE("What can't be saved is set back, and answered with what the store holds",
          "[server][store]")
{
    Kept kept({{QString::fromUtf8(NAME), {QStringLiteral("stored")}}});
    Client writer(kept.server);
    const LogCapture log;
    writer.write(0, NAME, "a");
    writer.write(1, NAME, "b");
    writer.write(2, GAIN, "8");
    writer.write(3, LEVEL, "1");
    CHECK(writer.hears({"3 level=1"}));
    writer.ask(QString::fromUtf8(GAIN));
    writer.write(4, LEVEL, "2");
    CHECK(writer.hears({"4 level=2"}));
    kept.store.finish(1, false); // the others are void as well
    CHECK(waitFor([&] { return writer.heard.size() >= 6; }));
    const QStringList answers = writer.heard.filter(QLatin1String(" ")); // those with an id
    CHECK(answers == lines({"0 name=stored", "1 name=stored", "2 gain=4"}));
    CHECK(writer.heard.last() == QLatin1String("gain=4"));
    CHECK(kept.name.getData() == QLatin1String("stored"));
    CHECK(kept.store.timesForgotten == 1);
    CHECK(log.lines().filter(QLatin1String("Not stored (disk full), set back: 2 values")).size() ==
          1);

    // The next one is an attempt of its own; the log is not filled.
    writer.heard.clear();
    writer.write(5, GAIN, "4"); // the value it began with, which is still not stored
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 4; }));
    kept.store.finish(4, false);
    CHECK(writer.hears({"5 gain=4"}));
    writer.write(6, GAIN, "3");
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 5; }));
    kept.store.finish(5);
    CHECK(writer.hears({"6 gain=3"}));
    CHECK(log.lines().filter(QLatin1String("Not stored")).size() == 1);
    // What the default was is known again after a later failure: the stored value.
    writer.write(7, GAIN, "1");
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 6; }));
    kept.store.finish(6, false);
    CHECK(writer.hears({"gain=3", "7 gain=3"}));

    // Hooks that answer the setting back save anew; their news wait for that.
    writer.write(8, LEADER, "5");
    CHECK(writer.hears({"level=5"}));
    kept.leader.follower = &kept.name;
    kept.store.finish(7, false);
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 8; }));
    CHECK(kept.store.saves.last() == QLatin1String("name=0"));
    kept.store.finish(8);
    REQUIRE(waitFor([&] { return writer.heard.contains(QLatin1String("name=0")); }));
    CHECK(writer.heard.contains(QLatin1String("8 leader=0")));
    CHECK(writer.heard.filter(QLatin1String("5")).isEmpty());
}

TEST_CASE("A kept tree is filled from its store, which may know more and less", "[server][store]")
{
    const LogCapture log;
    Kept kept({{QString::fromUtf8(GAIN), {QStringLiteral("77")}},
               {QStringLiteral("persistentConfigCoreRouter/gone/leaf"), {QStringLiteral("1")}},
               {QStringLiteral("configCoreRouter/level"), {QStringLiteral("9")}},
               {QStringLiteral("persistentConfigCoreRouter"), {QStringLiteral("root")}},
               {QString::fromUtf8(NAME), {QStringLiteral("a"), QStringLiteral("b")}},
               {QString::fromUtf8(LEADER), {QStringLiteral("3")}}});
    CHECK(kept.gain.getData() == QLatin1String("77"));
    CHECK_FALSE(kept.gain.isValid());
    CHECK(kept.persistent.getData() == QLatin1String("root"));
    CHECK(kept.name.getDataCount() == 2);
    CHECK(kept.follower.getData() == QLatin1String("3")); // a hook's work, the same each time
    CHECK(kept.level.getData() == QLatin1String("3"));
    CHECK(kept.store.saves.isEmpty());
    CHECK(log.lines() == lines({"warning: The store keeps 2 values of unknown paths, such as "
                                "persistentConfigCoreRouter/gone/leaf"}));
}

TEST_CASE("What waits for a disk is bounded", "[server][store]")
{
    Kept kept;
    const auto change = [&](int times) {
        for (int i = 0; i < times; ++i) {
            kept.name.setData(QString(1'000'000, QLatin1Char('x')) + QString::number(i));
            kept.server.publishChanges();
        }
        return kept.store.saves.size();
    };
    // What is settled, one way or the other, does not count.
    for (const bool isDurable : {false, true}) {
        kept.store.finish(change(70), isDurable);
        QCoreApplication::processEvents();
    }
    CHECK(kept.store.timesForgotten == 1);

    Client writer(kept.server);
    const LogCapture log;
    const QString held = kept.name.getData();
    writer.write(0, NAME, QString(1 << 20, QLatin1Char('y')));
    writer.write(1, LEVEL, "1");
    CHECK(writer.hears({"0 name=xxxxxxxxxxxxxxxxxxxx", "1 level=1"}));
    CHECK(kept.name.getData() == held); // more than can be stored
    CHECK(log.lines().filter(QLatin1String("Write of more than can be stored")).size() == 1);
    change(68); // the last of these is the one above 64 MiB
    writer.ask(QString::fromUtf8(LEVEL));
    CHECK(writer.hears({"level=1"}));
    const int before = kept.store.saves.size();
    writer.write(2, NAME, "a");
    CHECK(waitFor([&] { return kept.server.getClientCount() == 0; }));
    CHECK(kept.store.saves.size() == before);
    CHECK(log.lines().filter(QLatin1String("writes more than the disk takes, dropped")).size() ==
          1);
}
