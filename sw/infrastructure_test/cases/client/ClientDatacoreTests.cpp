#include "infrastructure/client/ClientDatacore.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <limits>
#include <utility>

namespace {

const QString PATH = "router/a/leaf"_s;

/// A mirror that keeps a journal of its signals.
struct Mirror
{
    Mirror()
    {
        on(&ClientDatacore::datacoreUpdated,
           [this](const QStringList& data, const QStringList& messages, bool active) {
               journal.append(
                   "updated %1|%2|%3"_s.arg(data.join(u','), messages.join(u';')).arg(active));
           });
        on(&ClientDatacore::clientDatacoreHasUpdateForServer,
           [this](int id, ClientDatacore* which) {
               REQUIRE((which == &datacore && datacore.getChangeState() == 2));
               journal.append("send %1"_s.arg(id));
           });
        on(&ClientDatacore::datacoreOutOfSyncWithServer,
           [this] { journal.append("out of sync"_s); });
        on(&ClientDatacore::datacoreInSyncWithServer, [this] { journal.append("in sync"_s); });
        on(&ClientDatacore::lostPackets,
           [this](int count) { journal.append("lost %1"_s.arg(count)); });
    }

    template <typename Signal, typename Slot>
    void on(Signal signal, Slot slot)
    {
        QObject::connect(&datacore, signal, &datacore, slot);
    }
    void receive(const QString& value, int packetId = -1, bool own = false)
    {
        DatacorePacket packet({{"leaf"_s, QJsonObject{{"data"_s, value}}}}, PATH);
        if (packetId >= 0) {
            packet.setPacketID(packetId);
        }
        datacore.populateFromPacket(packet, own);
    }
    QStringList takeJournal() { return std::exchange(journal, {}); }

    ClientDatacore datacore{"ClientDatacore"_s, "leaf"_s, nullptr, PATH};
    QStringList journal;
};

} // namespace

TEST_CASE("A write tells what is new, goes out under the next id, and its echo ends it", "[client]")
{
    Mirror mirror;
    mirror.datacore.setDataInt(5);
    CHECK(mirror.takeJournal() == lines({"updated 5||1", "out of sync", "send 0"}));
    CHECK(mirror.datacore.getChangeState() == 0);
    mirror.datacore.setDataInt(5);
    CHECK(mirror.takeJournal().isEmpty()); // nothing new

    mirror.receive("5"_s, 0, true);
    CHECK(mirror.takeJournal() == lines({"in sync"}));
    mirror.datacore.setDataInt(6);
    CHECK(mirror.takeJournal().contains("send 0"_s)); // ids start anew
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
    mirror.receive("2"_s, 1, true);
    CHECK(mirror.takeJournal() == lines({"lost 2"}));
    CHECK(mirror.datacore.getData() == "3"_s);
    mirror.receive("9"_s, 7, true); // never sent
    mirror.receive("9"_s, 0, true); // acknowledged before
    CHECK(mirror.takeJournal().isEmpty());
    CHECK(mirror.datacore.getPendingCount() == 1);

    mirror.receive("4"_s, 2, true); // the server has settled on another value
    CHECK(mirror.takeJournal() == lines({"in sync", "updated 4||1"}));
    mirror.receive("8"_s, 2, true);
    CHECK(mirror.takeJournal().isEmpty()); // nothing is pending
    CHECK(mirror.datacore.getData() == "4"_s);
}

TEST_CASE("Lost packets are told of while they are pending, and a slot may write then", "[client]")
{
    Mirror mirror;
    mirror.datacore.setDataInt(1);
    mirror.datacore.setDataInt(2);
    mirror.takeJournal();
    int pending = 0;
    mirror.on(&ClientDatacore::lostPackets, [&](int) {
        pending = mirror.datacore.getPendingCount();
        mirror.datacore.setDataInt(3);
    });
    mirror.receive("2"_s, 1, true);
    CHECK(pending == 2);
    CHECK(mirror.takeJournal() == lines({"lost 2", "updated 3||1", "out of sync", "send 2"}));
    CHECK(mirror.datacore.getPendingCount() == 1);
    CHECK(mirror.datacore.getData() == "3"_s); // and no older echo
}

TEST_CASE("A foreign packet is applied while local writes are in flight", "[client]")
{
    Mirror mirror;
    mirror.datacore.setDataInt(1);
    mirror.takeJournal();
    mirror.receive("7"_s, 0, false);
    CHECK(mirror.takeJournal() == lines({"updated 7||1"}));
    CHECK(mirror.datacore.getPendingCount() == 1);
    mirror.receive("8"_s, -1, true); // own, yet no acknowledgement
    CHECK(mirror.takeJournal() == lines({"updated 8||1"}));
    mirror.datacore.setDataInt(2);
    CHECK(mirror.takeJournal().contains("send 1"_s)); // above the one in flight
}

TEST_CASE("What the server sends is never sent back, also for a new mirror", "[client]")
{
    Mirror mirror;
    mirror.receive("1"_s);
    mirror.receive("1"_s);
    mirror.receive("2"_s);
    CHECK(mirror.takeJournal() ==
          lines({"in sync", "updated 1||1", "in sync", "in sync", "updated 2||1"}));

    // A write from a slot that is told of it is a write.
    mirror.on(&ClientDatacore::datacoreUpdated, [&](const QStringList& data) {
        if (data.first() == "3"_s) {
            mirror.datacore.setDataString("mine"_s);
        }
    });
    mirror.receive("3"_s);
    CHECK(mirror.takeJournal() ==
          lines({"in sync", "updated 3||1", "updated mine||1", "out of sync", "send 0"}));
}

TEST_CASE("Reasons come from the server and are told with the word for their kind", "[client]")
{
    Mirror mirror;
    const QJsonObject content = parseObject(R"({"leaf": {"data": "x", "reasonsForBeingInvalid": [
        {"DatacoreValidStatusMessage": {}, "MessageBase": {"type": 2, "identifier": 4}},
        {"DatacoreValidStatusMessage": {}, "MessageBase": {"type": 1, "identifier": 26}}],
        "reasonsForBeingInactive": [
        {"DatacoreActiveStatusMessage": {}, "MessageBase": {"type": 3, "identifier": 2}}]}})");
    mirror.datacore.populateFromPacket(DatacorePacket(content, PATH), false);
    CHECK(mirror.takeJournal() == lines({"in sync", "updated x|Error: Stored number is Oversized;"
                                                    "Warning: The stored value is not supported;"
                                                    "Info: Command Executor is Busy|0"}));
    mirror.datacore.setDataString("y"_s);
    CHECK_FALSE(mirror.datacore.isValid()); // a local write finds no reasons anew
    CHECK_FALSE(mirror.datacore.isActive());

    bool hasErrors = false, hasWarnings = true;
    CHECK(ClientDatacore::joinValidationMessages(lines({"Info: a", "Error: b"}), &hasErrors,
                                                 &hasWarnings) == "Info: a\nError: b"_s);
    CHECK((hasErrors && !hasWarnings));
    ClientDatacore::joinValidationMessages(lines({"Info: a", "Warning: b"}), nullptr, &hasWarnings);
    CHECK(hasWarnings);
    CHECK(ClientDatacore::joinValidationMessages({}, &hasErrors, nullptr).isEmpty());
    CHECK_FALSE(hasErrors);
}

TEST_CASE("Each typed slot writes its argument as text", "[client]")
{
    Mirror mirror;
    ClientDatacore& core = mirror.datacore;
    const auto check = [&core](auto slot, auto argument, const char* text) {
        (core.*slot)(argument);
        const std::deque<QString> values = core.getDataList();
        CHECK(QStringList(values.begin(), values.end()).join(u' ') == QLatin1String(text));
    };
    using Core = ClientDatacore;
    check(&Core::setDataString, "text"_s, "text");
    check(&Core::setDataStringList, lines({"a", "b"}), "a b");
    check(&Core::setDataBool, true, "true");
    check(&Core::setDataBoolList, QList<bool>{false, true}, "false true");
    check(&Core::setDataInt, -7, "-7");
    check(&Core::setDataUint, 4000000000u, "4000000000");
    check(&Core::setDataIntList, QList<int>{-1, 2}, "-1 2");
    check(&Core::setDataUintList, QList<uint>{1, 4000000000u}, "1 4000000000");
    check(&Core::setDataInt16, int16_t(-32768), "-32768");
    check(&Core::setDataInt32, std::numeric_limits<int32_t>::min(), "-2147483648");
    check(&Core::setDataInt64, std::numeric_limits<int64_t>::min(), "-9223372036854775808");
    check(&Core::setDataInt16List, QList<int16_t>{1, -2}, "1 -2");
    check(&Core::setDataInt32List, QList<int32_t>{3}, "3");
    check(&Core::setDataInt64List, QList<int64_t>{4, -5}, "4 -5");
    check(&Core::setDataUint16, uint16_t(65535), "65535");
    check(&Core::setDataUint32, 4294967295u, "4294967295");
    check(&Core::setDataUint64, std::numeric_limits<uint64_t>::max(), "18446744073709551615");
    check(&Core::setDataUint16List, QList<uint16_t>{6}, "6");
    check(&Core::setDataUint32List, QList<uint32_t>{7, 8}, "7 8");
    check(&Core::setDataUint64List, QList<uint64_t>{9}, "9");
    check(&Core::setDataFloat, 0.5f, "0.5");
    check(&Core::setDataDouble, 1234567.89, "1.23457e+06");
    check(&Core::setDataDoubleList, QList<double>{1.25, -2}, "1.25 -2");
    check(&Core::setDataPoint, QPoint(3, -4), "3,-4");
    check(&Core::setDataSize, QSize(1920, 1080), "1920,1080");
}
