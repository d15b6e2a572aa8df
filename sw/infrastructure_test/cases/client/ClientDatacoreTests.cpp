#include "infrastructure/client/ClientDatacore.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "sw/infrastructure_test/Catch.h"

#include <QJsonArray>

#include <functional>
#include <limits>

namespace {

const auto PATH = [] { return QStringLiteral("router/a/leaf"); };

/// A mirror that keeps a journal of its signals.
struct Mirror
{
    Mirror()
    {
        QObject::connect(&datacore, &ClientDatacore::datacoreUpdated, &datacore,
                         [this](const QStringList& data, const QStringList& messages, bool active) {
                             journal.append(QStringLiteral("updated %1|%2|%3")
                                                .arg(data.join(QLatin1Char(',')),
                                                     messages.join(QLatin1Char(';')))
                                                .arg(active));
                             if (onUpdated) {
                                 onUpdated();
                             }
                         });
        QObject::connect(&datacore, &ClientDatacore::clientDatacoreHasUpdateForServer, &datacore,
                         [this](int id, ClientDatacore* which) {
                             REQUIRE(which == &datacore);
                             REQUIRE(datacore.getChangeState() == 2);
                             journal.append(QStringLiteral("send %1").arg(id));
                         });
        QObject::connect(&datacore, &ClientDatacore::datacoreOutOfSyncWithServer, &datacore,
                         [this] { journal.append(QStringLiteral("out of sync")); });
        QObject::connect(&datacore, &ClientDatacore::datacoreInSyncWithServer, &datacore,
                         [this] { journal.append(QStringLiteral("in sync")); });
        QObject::connect(&datacore, &ClientDatacore::lostPackets, &datacore, [this](int count) {
            journal.append(QStringLiteral("lost %1").arg(count));
        });
    }

    void receive(const QString& value, int packetId = -1, bool own = false)
    {
        DatacorePacket packet(
            {{QStringLiteral("leaf"), QJsonObject{{QStringLiteral("data"), value}}}}, PATH());
        if (packetId >= 0) {
            packet.setPacketID(packetId);
        }
        datacore.populateFromPacket(packet, own);
    }
    QStringList takeJournal()
    {
        QStringList taken;
        taken.swap(journal);
        return taken;
    }

    ClientDatacore datacore{QStringLiteral("ClientDatacore"), QStringLiteral("leaf"), nullptr,
                            PATH()};
    QStringList journal;
    std::function<void()> onUpdated;
};

QStringList lines(std::initializer_list<const char*> texts)
{
    QStringList list;
    for (const char* text : texts) {
        list.append(QLatin1String(text));
    }
    return list;
}

} // namespace

TEST_CASE("A write tells what is new, goes out under the next id, and its echo ends it", "[client]")
{
    Mirror mirror;
    mirror.datacore.setDataInt(5);
    CHECK(mirror.takeJournal() == lines({"updated 5||1", "out of sync", "send 0"}));
    CHECK(mirror.datacore.getChangeState() == 0);
    mirror.datacore.setDataInt(5);
    CHECK(mirror.takeJournal().isEmpty()); // nothing new

    mirror.receive(QStringLiteral("5"), 0, true);
    CHECK(mirror.takeJournal() == lines({"in sync"}));
    mirror.datacore.setDataInt(6);
    CHECK(mirror.takeJournal().contains(QStringLiteral("send 0"))); // ids start anew
}

TEST_CASE("An acknowledgement may skip older writes and never undoes newer ones", "[client]")
{
    Mirror mirror;
    for (const int number : {1, 2, 3}) {
        mirror.datacore.setDataInt(number);
    }
    CHECK(mirror.takeJournal() ==
          lines({"updated 1||1", "out of sync", "send 0", "updated 2||1", "out of sync", "send 1",
                 "updated 3||1", "out of sync", "send 2"}));
    mirror.receive(QStringLiteral("2"), 1, true);
    CHECK(mirror.takeJournal() == lines({"lost 2"}));
    CHECK(mirror.datacore.getData() == QStringLiteral("3"));
    mirror.receive(QStringLiteral("9"), 7, true); // never sent
    mirror.receive(QStringLiteral("9"), 0, true); // acknowledged before
    CHECK(mirror.takeJournal().isEmpty());
    CHECK(mirror.datacore.getPendingCount() == 1);

    mirror.receive(QStringLiteral("4"), 2, true); // the server has settled on another value
    CHECK(mirror.takeJournal() == lines({"in sync", "updated 4||1"}));
    mirror.receive(QStringLiteral("8"), 2, true);
    CHECK(mirror.takeJournal().isEmpty()); // nothing is pending
    CHECK(mirror.datacore.getData() == QStringLiteral("4"));
}

TEST_CASE("Lost packets are told of while they are pending, and a slot may write then", "[client]")
{
    Mirror mirror;
    mirror.datacore.setDataInt(1);
    mirror.datacore.setDataInt(2);
    mirror.takeJournal();
    int pending = 0;
    QObject::connect(&mirror.datacore, &ClientDatacore::lostPackets, &mirror.datacore, [&](int) {
        pending = mirror.datacore.getPendingCount();
        mirror.datacore.setDataInt(3);
    });
    mirror.receive(QStringLiteral("2"), 1, true);
    CHECK(pending == 2);
    CHECK(mirror.takeJournal() == lines({"lost 2", "updated 3||1", "out of sync", "send 2"}));
    CHECK(mirror.datacore.getPendingCount() == 1);
    CHECK(mirror.datacore.getData() == QStringLiteral("3")); // and no older echo
}

TEST_CASE("A foreign packet is applied while local writes are in flight", "[client]")
{
    Mirror mirror;
    mirror.datacore.setDataInt(1);
    mirror.takeJournal();
    mirror.receive(QStringLiteral("7"), 0, false);
    CHECK(mirror.takeJournal() == lines({"updated 7||1"}));
    CHECK(mirror.datacore.getPendingCount() == 1);
    mirror.receive(QStringLiteral("8"), -1, true); // own, yet no acknowledgement
    CHECK(mirror.takeJournal() == lines({"updated 8||1"}));
    mirror.datacore.setDataInt(2);
    CHECK(mirror.takeJournal().contains(QStringLiteral("send 1"))); // above the one in flight
}

TEST_CASE("What the server sends is never sent back, also for a new mirror", "[client]")
{
    Mirror mirror;
    mirror.receive(QStringLiteral("1"));
    mirror.receive(QStringLiteral("1"));
    mirror.receive(QStringLiteral("2"));
    CHECK(mirror.takeJournal() ==
          lines({"in sync", "updated 1||1", "in sync", "in sync", "updated 2||1"}));

    // A write from a slot that is told of it is a write.
    mirror.onUpdated = [&] {
        mirror.onUpdated = nullptr;
        mirror.datacore.setDataString(QStringLiteral("mine"));
    };
    mirror.receive(QStringLiteral("3"));
    CHECK(mirror.takeJournal() ==
          lines({"in sync", "updated 3||1", "updated mine||1", "out of sync", "send 0"}));
}

TEST_CASE("Reasons come from the server and are told with the word for their kind", "[client]")
{
    Mirror mirror;
    const auto message = [](const char* className, int type, int identifier) {
        return QJsonObject{{QLatin1String(className), QJsonObject()},
                           {QStringLiteral("MessageBase"),
                            QJsonObject{{QStringLiteral("type"), type},
                                        {QStringLiteral("identifier"), identifier}}}};
    };
    const QJsonObject content{{QStringLiteral("data"), QStringLiteral("x")},
                              {QStringLiteral("reasonsForBeingInvalid"),
                               QJsonArray{message("DatacoreValidStatusMessage", 2, 4),
                                          message("DatacoreValidStatusMessage", 1, 26)}},
                              {QStringLiteral("reasonsForBeingInactive"),
                               QJsonArray{message("DatacoreActiveStatusMessage", 3, 2)}}};
    mirror.datacore.populateFromPacket(DatacorePacket({{QStringLiteral("leaf"), content}}, PATH()),
                                       false);
    CHECK(mirror.takeJournal() == lines({"in sync", "updated x|Error: Stored number is Oversized;"
                                                    "Warning: The stored value is not supported;"
                                                    "Info: Command Executor is Busy|0"}));
    mirror.datacore.setDataString(QStringLiteral("y"));
    CHECK_FALSE(mirror.datacore.isValid()); // a local write finds no reasons anew
    CHECK_FALSE(mirror.datacore.isActive());

    bool hasErrors = false;
    bool hasWarnings = true;
    CHECK(ClientDatacore::joinValidationMessages(lines({"Info: a", "Error: b"}), &hasErrors,
                                                 &hasWarnings) ==
          QStringLiteral("Info: a\nError: b"));
    CHECK(hasErrors);
    CHECK_FALSE(hasWarnings);
    CHECK(ClientDatacore::joinValidationMessages({}, &hasErrors, nullptr).isEmpty());
    CHECK_FALSE(hasErrors);
}

TEST_CASE("Each typed slot writes its argument as text", "[client]")
{
    Mirror mirror;
    ClientDatacore& core = mirror.datacore;
    const auto written = [&core] {
        const std::deque<QString> values = core.getDataList();
        return QStringList(values.begin(), values.end()).join(QLatin1Char(' ')).toStdString();
    };
    core.setDataString(QStringLiteral("text"));
    CHECK(written() == "text");
    core.setDataStringList(lines({"a", "b"}));
    CHECK(written() == "a b");
    core.setDataBool(true);
    CHECK(written() == "true");
    core.setDataBoolList({false, true});
    CHECK(written() == "false true");
    core.setDataInt(-7);
    CHECK(written() == "-7");
    core.setDataUint(4000000000u);
    CHECK(written() == "4000000000");
    core.setDataIntList({-1, 2});
    CHECK(written() == "-1 2");
    core.setDataUintList({1, 4000000000u});
    CHECK(written() == "1 4000000000");
    core.setDataInt16(-32768);
    CHECK(written() == "-32768");
    core.setDataInt32(std::numeric_limits<int32_t>::min());
    CHECK(written() == "-2147483648");
    core.setDataInt64(std::numeric_limits<int64_t>::min());
    CHECK(written() == "-9223372036854775808");
    core.setDataInt16List({1, -2});
    CHECK(written() == "1 -2");
    core.setDataInt32List({3});
    CHECK(written() == "3");
    core.setDataInt64List({4, -5});
    CHECK(written() == "4 -5");
    core.setDataUint16(65535);
    CHECK(written() == "65535");
    core.setDataUint32(4294967295u);
    CHECK(written() == "4294967295");
    core.setDataUint64(std::numeric_limits<uint64_t>::max());
    CHECK(written() == "18446744073709551615");
    core.setDataUint16List({6});
    CHECK(written() == "6");
    core.setDataUint32List({7, 8});
    CHECK(written() == "7 8");
    core.setDataUint64List({9});
    CHECK(written() == "9");
    core.setDataFloat(0.5f);
    CHECK(written() == "0.5");
    core.setDataDouble(1e-9);
    CHECK(written() == "1e-09");
    core.setDataDoubleList({1.25, -2});
    CHECK(written() == "1.25 -2");
    core.setDataPoint(QPoint(3, -4));
    CHECK(written() == "3,-4");
    core.setDataSize(QSize(1920, 1080));
    CHECK(written() == "1920,1080");
}
