// JSON straight to text, against QJsonDocument.
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

TEST_CASE("A node writes the text that its JSON object gives", "[datacore]")
{
    const QString name = "na\"me"_s;
    const QJsonObject reasons = parseObject(R"({"na\"me": {
        "reasonsForBeingInvalid": [
            {"DatacoreValidStatusMessage": {}, "MessageBase": {"type": 2, "identifier": 4}},
            {"DatacoreValidStatusMessage": {}, "MessageBase": {"type": 3, "identifier": 7}}],
        "reasonsForBeingInactive": [
            {"DatacoreActiveStatusMessage": {}, "MessageBase": {"type": 3, "identifier": 5}}]}})");
    for (const std::deque<QString>& values :
         {std::deque<QString>{}, std::deque<QString>{QString()}, std::deque<QString>{"1080p50"_s},
          std::deque<QString>{"a \"b\" \\ \n \u00e9 \U0001F3A5 \x01 \x7f"_s},
          std::deque<QString>{QString(QChar(0xD800))}, strings({"one", "t\"wo"})}) {
        KeepingNode node(name, nullptr, values);
        for (int i = 0; i < 4; ++i) { // without reasons, then with
            QByteArray text;
            node.appendToJsonText(text, i % 2 == 0);
            CHECK(text == toText(write(node, "", i % 2 == 0)));
            DatacoreJsonMessages messages;
            REQUIRE((i != 1 || node.populateFromJson(QString(), reasons, false, messages)));
        }
        CHECK_FALSE((node.isValid() || node.isActive()));
    }
}

TEST_CASE("A packet of a node is the packet of its JSON object", "[packets]")
{
    DatacoreBase node("node"_s, nullptr, "5"_s);
    const QString path = "root/node"_s;
    for (const bool justData : {true, false}) {
        const QJsonObject json = write(node, "", justData);
        const DatacorePacket value(node, justData, path);
        CHECK(value.serialisePayload() == DatacorePacket(json, path).serialisePayload());

        DatacorePacket write("21307064334004"_s, 7, node, justData, path);
        const DatacorePacket expected("21307064334004"_s, 7, json, path);
        CHECK(write.serialisePayload() == expected.serialisePayload());
        CHECK(write == expected);
        write.setPacketID(8);
        CHECK(write.getPacketID() == 8);
        CHECK(write.getDatacoreJsonObject() == json);
        CHECK(write.serialisePayload() != expected.serialisePayload());
    }
}
