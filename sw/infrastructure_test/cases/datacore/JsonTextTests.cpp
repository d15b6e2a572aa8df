// JSON straight to text, against QJsonDocument.
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/DatacoreSupport.h"

namespace {

/// Invalid and inactive from the start where it has several values.
struct Node : DatacoreBase
{
    explicit Node(const std::deque<QString>& values)
        : DatacoreBase(QStringLiteral("na\"me"), nullptr, values)
    {
        initialiseStatus();
    }
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override
    {
        reasons.clear();
        if (getDataCount() > 1) {
            reasons = {{MessageBase::MessageType_Error, 4}, {MessageBase::MessageType_Info, 7}};
        }
    }
    void updateActiveStatus(DatacoreActiveStatusMessages& reasons) override
    {
        reasons.clear();
        if (getDataCount() > 1) {
            reasons = {{MessageBase::MessageType_Info, 5}};
        }
    }
};

} // namespace

TEST_CASE("A node writes the text that its JSON object gives", "[datacore]")
{
    for (const std::deque<QString>& values :
         {std::deque<QString>{}, std::deque<QString>{QString()},
          std::deque<QString>{QStringLiteral("1080p50")},
          std::deque<QString>{QStringLiteral("a \"b\" \\ \n \u00e9 \U0001F3A5 \x01 \x7f")},
          std::deque<QString>{QString(QChar(0xD800))},
          std::deque<QString>{QStringLiteral("one"), QStringLiteral("t\"wo")}}) {
        const Node node(values);
        CHECK(node.isValid() == (values.size() < 2));
        CHECK(node.isActive() == (values.size() < 2));
        for (const bool justData : {true, false}) {
            QByteArray text;
            node.appendToJsonText(text, justData);
            CHECK(text == toText(write(node, "", justData)));
        }
    }
}

TEST_CASE("A packet of a node is the packet of its JSON object", "[packets]")
{
    DatacoreBase node(QStringLiteral("node"), nullptr, QStringLiteral("5"));
    const QString path = QStringLiteral("root/node");
    for (const bool justData : {true, false}) {
        const QJsonObject json = write(node, "", justData);
        const DatacorePacket value(node, justData, path);
        CHECK(value.serialisePayload() == DatacorePacket(json, path).serialisePayload());

        DatacorePacket write(QStringLiteral("21307064334004"), 7, node, justData, path);
        const DatacorePacket expected(QStringLiteral("21307064334004"), 7, json, path);
        CHECK(write.serialisePayload() == expected.serialisePayload());
        CHECK(write == expected);
        write.setPacketID(8);
        CHECK(write.getPacketID() == 8);
        CHECK(write.getDatacoreJsonObject() == json);
        CHECK(write.serialisePayload() != expected.serialisePayload());
    }
}
