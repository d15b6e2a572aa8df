// A server whose persistent tree is kept by a store that the case plays.
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/server/DatacoreServer.h"
#include "infrastructure/server/DatacoreStoreInterface.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
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
            texts.append(leaf.path.section(u'/', 1) + u'=' + leaf.values.toList().join(u','));
        }
        saves.append(texts.join(u' '));
        return Ticket(saves.size());
    }
    void setListener(Listener newListener) override { listener = std::move(newListener); }
    void forgetUnsaved() override { ++timesForgotten; }

    void finish(int upTo, bool isDurable = true)
    {
        listener({Ticket(upTo), isDurable, isDurable ? QString() : "disk full"_s});
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
    DatacoreBase *follower = nullptr, *elsewhere = nullptr;
};

struct Client : SerialisableDataPacketAcceptorInterface
{
    explicit Client(const DatacoreServer& server)
    {
        distributor.registerPacketAcceptor(*this, DatacorePacket::CLASSNAME());
        REQUIRE(connection.connectToHost(QHostAddress::LocalHost, server.getPort()));
        ask("statusCoreRouter"_s); // the server knows it when this is answered
        REQUIRE(hears({"statusCoreRouter="}));
    }
    bool canAcceptPacket(QString) override { return true; }
    void acceptPacket(const SerialisableDataPacket& source) override
    {
        bool ok = false;
        const DatacorePacket packet(source, ok);
        const QString name = packet.getDatacorePath().section(u'/', -1);
        const QString value = packet.getDatacoreJsonObject()[name].toObject()["data"_s].toString();
        heard += (packet.containsPacketID() ? "%1 "_s.arg(packet.getPacketID()) : QString()) +
                 name + u'=' + value.left(20);
    }
    void write(int id, const QString& path, const QString& value)
    {
        const QJsonObject content{{"data"_s, value}};
        connection.acceptPacket(
            DatacorePacket("me"_s, id, {{path.section(u'/', -1), content}}, path));
    }
    void ask(const QString& path)
    {
        connection.acceptPacket(DatacorePathListPacket("me"_s, QStringList{path}));
    }
    /// Whether it hears this, no more and no less, since the last call.
    bool hears(std::initializer_list<const char*> expected)
    {
        waitFor([&] { return heard.size() >= int(expected.size()); });
        const QStringList got = std::exchange(heard, {});
        CHECK(got == lines(expected));
        return got == lines(expected);
    }

    RawDataPacketReceivers receivers;
    NetworkConnection connection{receivers};
    SerialisableDataPacketDistributor distributor{receivers};
    QStringList heard;
};

struct Kept : Roots
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
        REQUIRE(server.listen(QHostAddress::LocalHost, 0));
    }

    DatacoreBase level{"level"_s, &config, "0"_s};
    DatacoreBase name{"name"_s, &persistent, "none"_s};
    DatacoreNumberLimits<int> gain{"gain"_s, &persistent, 0, 9, {4}};
    Leader leader{"leader"_s, &persistent, "0"_s};
    DatacoreBase follower{"follower"_s, &persistent, "0"_s};
    HandStore store;
    DatacoreServer server{{&config, &status, &command, &persistent}};
};

const QString NAME = "persistentConfigCoreRouter/name"_s;
const QString GAIN = "persistentConfigCoreRouter/gain"_s;
const QString LEADER = "persistentConfigCoreRouter/leader"_s;
const QString LEVEL = "configCoreRouter/level"_s;

} // namespace

TEST_CASE("Nobody is told of a change in a kept tree before it is durable", "[server][store]")
{
    const LogCapture log;
    Kept kept;
    Client writer(kept.server);
    Client reader(kept.server);
    writer.write(0, NAME, "a"_s);
    writer.write(1, NAME, "b"_s);
    writer.write(2, LEVEL, "5"_s);
    CHECK(writer.hears({"2 level=5"})); // waits for no disk
    CHECK(kept.store.saves == lines({"name=a", "name=b"}));
    reader.ask(NAME);
    reader.ask(GAIN);
    CHECK(reader.hears({"2 level=5", "gain=4"}));

    kept.store.finish(1);
    CHECK((writer.hears({"0 name=a"}) && reader.hears({"0 name=a"})));
    kept.store.finish(2);
    CHECK(writer.hears({"1 name=b"}));
    CHECK(reader.hears({"1 name=b", "name=b"})); // the answer, too

    // What follows a write is durable with it, elsewhere it is known at once.
    writer.write(3, LEADER, "7"_s);
    CHECK(writer.hears({"level=7"}));
    kept.gain.setDataNumber(6);
    kept.server.publishChanges();
    kept.store.finish(3);
    CHECK(writer.hears({"3 leader=7", "follower=7"}));
    kept.store.finish(4);
    CHECK(writer.hears({"gain=6"}));
    CHECK(kept.store.saves.mid(2) == lines({"leader=7 follower=7", "gain=6"}));
    CHECK(log.lines().filter("error"_s).isEmpty());
}

TEST_CASE("A write of the same value is saved only if the store has none", "[server][store]")
{
    Kept kept({{GAIN, {"4"_s}}});
    Client writer(kept.server);
    writer.write(0, NAME, "none"_s);
    writer.write(1, NAME, "none"_s); // behind the first
    writer.write(2, LEVEL, "0"_s);
    CHECK(writer.hears({"2 level=0"}));
    CHECK(kept.store.saves == lines({"name=none"}));
    kept.store.finish(1);
    CHECK(writer.hears({"0 name=none", "1 name=none"}));
    writer.write(3, NAME, "none"_s);
    writer.write(4, GAIN, "4"_s);
    CHECK(writer.hears({"3 name=none", "4 gain=4"}));
    CHECK(kept.store.saves.size() == 1);
}

TEST_CASE("What can't be saved is set back, and so answered", "[server][store]")
{
    Kept kept({{NAME, {"stored"_s}}});
    Client writer(kept.server);
    const LogCapture log;
    writer.write(0, NAME, "a"_s);
    writer.write(1, NAME, "b"_s);
    writer.write(2, GAIN, "8"_s);
    writer.write(3, LEVEL, "1"_s);
    CHECK(writer.hears({"3 level=1"}));
    writer.ask(GAIN);
    writer.write(4, LEVEL, "2"_s);
    CHECK(writer.hears({"4 level=2"}));
    kept.store.finish(1, false); // the others are void as well
    CHECK(waitFor([&] { return writer.heard.size() >= 6; }));
    const QStringList answers = writer.heard.filter(" "_s); // those with an id
    CHECK(answers == lines({"0 name=stored", "1 name=stored", "2 gain=4"}));
    CHECK(writer.heard.last() == "gain=4"_s);
    CHECK(kept.name.getData() == "stored"_s);
    CHECK(kept.store.timesForgotten == 1);
    CHECK(log.lines().filter("Not stored (disk full), set back: 2 values"_s).size() == 1);

    // The next one is an attempt of its own; the log is not filled.
    writer.heard.clear();
    writer.write(5, GAIN, "4"_s); // the value it began with, which is still not stored
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 4; }));
    kept.store.finish(4, false);
    CHECK(writer.hears({"5 gain=4"}));
    writer.write(6, GAIN, "3"_s);
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 5; }));
    kept.store.finish(5);
    CHECK(writer.hears({"6 gain=3"}));
    CHECK(log.lines().filter("Not stored"_s).size() == 1);
    // What the default was is known again after a later failure: the stored value.
    writer.write(7, GAIN, "1"_s);
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 6; }));
    kept.store.finish(6, false);
    CHECK(writer.hears({"gain=3", "7 gain=3"}));

    // Hooks that answer the setting back save anew; their news wait for that.
    writer.write(8, LEADER, "5"_s);
    CHECK(writer.hears({"level=5"}));
    kept.leader.follower = &kept.name;
    kept.store.finish(7, false);
    REQUIRE(waitFor([&] { return kept.store.saves.size() == 8; }));
    CHECK(kept.store.saves.last() == "name=0"_s);
    kept.store.finish(8);
    REQUIRE(waitFor([&] { return writer.heard.contains("name=0"_s); }));
    CHECK((writer.heard.contains("8 leader=0"_s) && writer.heard.filter("5"_s).isEmpty()));
}

TEST_CASE("A kept tree is filled from its store, which may know more and less", "[server][store]")
{
    const LogCapture log;
    Kept kept({{GAIN, {"77"_s}},
               {"persistentConfigCoreRouter/gone/leaf"_s, {"1"_s}},
               {"configCoreRouter/level"_s, {"9"_s}},
               {"persistentConfigCoreRouter"_s, {"root"_s}},
               {NAME, {"a"_s, "b"_s}},
               {LEADER, {"3"_s}}});
    CHECK(kept.gain.getData() == "77"_s);
    CHECK_FALSE(kept.gain.isValid());
    CHECK(kept.persistent.getData() == "root"_s);
    CHECK(kept.name.getDataCount() == 2);
    CHECK(kept.follower.getData() == "3"_s); // a hook's work, the same each time
    CHECK(kept.level.getData() == "3"_s);
    CHECK(kept.store.saves.isEmpty());
    CHECK(log.lines() == lines({"warning: The store keeps 2 values of unknown paths, such as "
                                "persistentConfigCoreRouter/gone/leaf"}));
}

TEST_CASE("What waits for a disk is bounded", "[server][store]")
{
    Kept kept;
    const auto change = [&](int times) {
        for (int i = 0; i < times; ++i) {
            kept.name.setData(QString(1'000'000, u'x') + QString::number(i));
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
    writer.write(0, NAME, QString(1 << 20, u'y'));
    writer.write(1, LEVEL, "1"_s);
    CHECK(writer.hears({"0 name=xxxxxxxxxxxxxxxxxxxx", "1 level=1"}));
    CHECK(kept.name.getData() == held); // more than can be stored
    CHECK(log.lines().filter("Write of more than can be stored"_s).size() == 1);
    change(68); // the last of these is the one above 64 MiB
    writer.ask(LEVEL);
    CHECK(writer.hears({"level=1"}));
    const int before = kept.store.saves.size();
    writer.write(2, NAME, "a"_s);
    CHECK(waitFor([&] { return kept.server.getClientCount() == 0; }));
    CHECK(kept.store.saves.size() == before);
    CHECK(log.lines().filter("writes more than the disk takes, dropped"_s).size() == 1);
}
