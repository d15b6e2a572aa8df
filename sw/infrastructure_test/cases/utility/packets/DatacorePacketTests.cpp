// The packets of the datacore protocol.
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/DatacorePathListPacket.h"
#include "infrastructure/utility/packets/DatacorePathRadixTreePacket.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

#include <vector>

namespace {

/// The packet as it comes from a link, of which no object has been built.
template <typename Packet>
Packet receive(const Packet& sent)
{
    const QByteArray payload = sent.serialisePayload();
    RawDataPacketHeader header;
    header.packetType = sent.getPacketType();
    header.payloadSize = quint32(payload.size());
    bool ok = false;
    const QByteArray bytes = QByteArray(RawDataPacketHeader::SIZE_BYTES, '\0') + payload;
    Packet received(SerialisableDataPacket(bytes, header), ok);
    CHECK(ok);
    return received;
}

} // namespace

TEST_CASE("A datacore packet gives what was put in, and says what it lacks", "[packets]")
{
    const QJsonObject datacore{{"text"_s, "Some Datacore stuff"_s}};
    const DatacorePacket packet("clientCool"_s, 4711, datacore, "some/path"_s);
    CHECK(packet.toJson() == QByteArray(R"({"Class":"DatacorePacket","ClientID":"clientCool",)"
                                        R"("Datacore":{"text":"Some Datacore stuff"},)"
                                        R"("PacketID":4711,"Path":"some/path"})"));
    DatacorePacket received = receive(packet);
    for (const DatacorePacket& same : {packet, received}) {
        CHECK((same.containsClientID() && same.containsPacketID()));
        CHECK((same.containsDatacorePath() && same.containsDatacoreObject()));
        CHECK(same.getClientID() == "clientCool"_s);
        CHECK(same.getPacketID() == 4711);
        CHECK(same.getDatacorePath() == "some/path"_s);
        CHECK(same.isForPath("some/path"_s));
        CHECK_FALSE((same.isForPath("some/pat"_s) || same.isForPath("some/path2"_s)));
        CHECK(same.getDatacoreJsonObject() == datacore);
    }
    received.setPacketID(5);
    CHECK(received.getPacketID() == 5);
    CHECK(received.getDatacorePath() == "some/path"_s);
    CHECK(received != packet);

    bool ok = false;
    CHECK(DatacorePacket(SerialisableDataPacket(packet.getJsonObject()), ok) == packet);
    CHECK(ok);

    const DatacorePacket fromServer(datacore, "some/path"_s);
    for (const DatacorePacket& same : {fromServer, receive(fromServer)}) {
        CHECK_FALSE((same.containsClientID() || same.containsPacketID()));
        CHECK(same.getPacketID() == -1);
    }
    const DatacorePacket empty(SerialisableDataPacket("Other"_s), ok);
    CHECK_FALSE(ok);
    CHECK(empty == SerialisableDataPacket(DatacorePacket::CLASSNAME()));
    CHECK_FALSE((empty.containsDatacorePath() || empty.containsDatacoreObject()));
    CHECK((empty.getDatacoreText() + empty.getDatacorePath()).isEmpty());
    CHECK(empty.getDatacoreJsonObject().isEmpty());
}

TEST_CASE("What a packet writes of a node, and has a node take, goes by the flag", "[packets]")
{
    DatacoreBase node("n"_s, nullptr, "1"_s);
    const QString path = "r/n"_s;
    const QByteArray value(R"({"n":{"data":"1"}})");
    const QByteArray whole(R"({"n":{"class":"DatacoreBase","data":"1",)"
                           R"("reasonsForBeingInactive":[],"reasonsForBeingInvalid":[]}})");
    const DatacorePacket write("me"_s, 3, node, true, path);
    CHECK(write.getDatacoreText() == QLatin1String(value));
    CHECK(DatacorePacket("me"_s, 3, node, false, path).getDatacoreText() == QLatin1String(whole));
    CHECK(DatacorePacket(node, true, path).getDatacoreText() == QLatin1String(value));
    CHECK(DatacorePacket(node, false, path).toJson() ==
          R"({"Class":"DatacorePacket","Datacore":)" + whole + R"(,"Path":"r/n"})");
    CHECK(write.toJson() == R"({"Class":"DatacorePacket","ClientID":"me","Datacore":)" + value +
                                R"(,"PacketID":3,"Path":"r/n"})");
    DatacorePacket another = write;
    another.setPacketID(8);
    CHECK(another.toJson() == write.toJson().replace('3', '8'));
    CHECK(DatacorePacket(write, node, true) == write);
    CHECK(DatacorePacket(write, node, false).getDatacoreText() == QLatin1String(whole));

    const QJsonObject inactive = parseObject(R"({"n":{"reasonsForBeingInactive":[
        {"DatacoreActiveStatusMessage":{},"MessageBase":{"type":3,"identifier":2}}]}})");
    const DatacorePacket packet(inactive, path);
    for (const DatacorePacket& same : {packet, receive(packet)}) {
        KeepingNode mirror("n"_s, nullptr);
        CHECK((same.populate(mirror, true) && mirror.isActive() && same.populate(mirror, false)));
        CHECK_FALSE(mirror.isActive());
    }
}

TEST_CASE("A path list keeps its order and its class has another name on the wire", "[packets]")
{
    const std::deque<QString> paths{"some/path/one"_s, "some/path/2"_s};
    const DatacorePathListPacket packet("client"_s, paths);
    CHECK(packet.toJson() ==
          QByteArray(R"({"Class":"DatacoreRequestListPacket","ClientID":"client",)"
                     R"("DatacoreRequestList":["some/path/one","some/path/2"]})"));
    for (const DatacorePathListPacket& same : {packet, receive(packet)}) {
        CHECK((same.containsClientID() && same.containsDatacorePaths()));
        CHECK(same.getClientID() == "client"_s);
        CHECK(same.getDatacorePaths() == paths);
    }
    CHECK(DatacorePathListPacket("client"_s, QStringList(paths.begin(), paths.end())) == packet);

    bool ok = false;
    const DatacorePathListPacket bare(SerialisableDataPacket(DatacorePathListPacket::CLASSNAME()),
                                      ok);
    CHECK((ok && !bare.containsClientID() && !bare.containsDatacorePaths()));
    CHECK(bare.getDatacorePaths().empty());
}

TEST_CASE("A tree of names comes out of a dump as it went in", "[packets]")
{
    DatacoreBase root("A"_s, nullptr);
    DatacoreBase leaf("B"_s, &root);
    DatacoreBase inner("C"_s, &root);
    DatacoreBase deep("D"_s, &inner);

    DatacorePathRadixTreePacket packet;
    packet.setClientId("me"_s);
    packet.setConfigTree(root);
    CHECK(packet.toJson() == QByteArray(R"({"Class":"DatacorePathRadixTreePacket","ClientId":"me",)"
                                        R"("ConfigTreeObject":{"Core":"A","Kids":[{"Core":"B"},)"
                                        R"({"Core":"C","Kids":[{"Core":"D"}]}]}})"));
    CHECK(packet.getClientId() == "me"_s);
    const auto present = [&packet] {
        return std::vector<bool>{packet.containsClientId(), packet.containsConfigTree(),
                                 packet.containsStatusTree(), packet.containsCommandTree(),
                                 packet.containsPersistentConfigTree()};
    };
    CHECK(present() == std::vector<bool>{true, true, false, false, false});

    packet.setStatusTree(leaf);
    packet.setCommandTree(inner);
    CHECK(present() == std::vector<bool>{true, true, true, true, false});
    packet.setPersistentConfigTree(deep);
    CHECK(present().back());
    CHECK(packet.getStatusTree() == DatacorePathRadixTreeNode{"B"_s, {}});
    CHECK(packet.getCommandTree() == packet.getConfigTree().kids[1]);
    CHECK(packet.getPersistentConfigTree().name == "D"_s);
    bool ok = false;
    CHECK(DatacorePathRadixTreePacket(SerialisableDataPacket(packet.getJsonObject()), ok) ==
          packet);
    CHECK(ok);

    const DatacorePathRadixTreePacket whole("me"_s, root, leaf, inner, deep);
    CHECK(whole.serialisePayload() == packet.serialisePayload());
    const QStringList paths{"A"_s, "A/B"_s, "A/C"_s, "A/C/D"_s, "B"_s, "C"_s, "C/D"_s, "D"_s};
    CHECK(packet.getPaths() == paths);
    CHECK(receive<DatacorePathRadixTreePacket>(packet).getPaths() == paths);
}

TEST_CASE("A dump of the wrong shape decodes to empty names", "[packets]")
{
    bool ok = false;
    const DatacorePathRadixTreePacket packet(
        SerialisableDataPacket(parseObject(R"({"Class":"DatacorePathRadixTreePacket","ClientId":5,
            "StatusTreeObject":"text","ConfigTreeObject":{"Core":1,"Kids":[1,{}]}})")),
        ok);
    REQUIRE(ok);
    CHECK_FALSE((packet.containsClientId() || packet.containsStatusTree()));
    CHECK(packet.getStatusTree() == DatacorePathRadixTreeNode());
    CHECK(packet.getCommandTree() == DatacorePathRadixTreeNode());
    CHECK(packet.getConfigTree().kids.size() == 2);
    CHECK(packet.getPaths() ==
          QStringList{QString(), "/"_s, "/"_s, QString(), QString(), QString()});
    const auto received = receive<DatacorePathRadixTreePacket>(packet);
    CHECK(received.getPaths() == packet.getPaths());
    CHECK_FALSE((received.containsClientId() || received.containsStatusTree()));
    CHECK(received == packet);
}
