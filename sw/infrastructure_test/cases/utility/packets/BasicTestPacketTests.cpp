#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "sw/infrastructure_test/Catch.h"

#include <QJsonParseError>

#include <limits>

TEST_CASE("A fresh test packet has its class name and no values", "[packets]")
{
    const BasicTestPacket packet;
    bool ok = true;
    CHECK(packet.getPacketClassName() == BasicTestPacket::CLASSNAME());
    CHECK(packet.getJsonObject().size() == 1);
    CHECK_FALSE(packet.hasTestInt());
    CHECK_FALSE(packet.hasTestBool());
    CHECK_FALSE(packet.hasTestString());
    CHECK_FALSE(packet.hasTestArray());
    CHECK_FALSE(packet.hasTestPacket());
    CHECK_FALSE(packet.hasTestArrayOfPackets());
    CHECK(packet.getTestInt() == 0);
    CHECK(packet.getTestPacket(ok).getJsonObject().isEmpty());
    CHECK_FALSE(ok);
}

TEST_CASE("Every value of a test packet survives text and rebuilding", "[packets]")
{
    const auto number =
        GENERATE(-1, 0, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    const QString text = GENERATE(QString(), QStringLiteral(""), QStringLiteral("Hello World!"));
    std::vector<SerialisableDataPacket> kids;
    for (const char* greeting : {"Hello World!", "Hello Moon!", "Hello ISS"}) {
        BasicTestPacket kid;
        kid.setTestString(QString::fromLatin1(greeting));
        kids.push_back(kid);
    }
    BasicTestPacket packet;
    packet.setTestInt(number);
    packet.setTestBool(number > 0);
    packet.setTestString(text);
    packet.setTestArray({});
    packet.setTestArray({text, QStringLiteral("b")});
    packet.setTestPacket(kids[1]);
    packet.setTestArrayOfPackets(kids);

    QJsonParseError error;
    const SerialisableDataPacket parsed(packet.toJson(), &error);
    REQUIRE(error.error == QJsonParseError::NoError);
    bool ok = false;
    const BasicTestPacket rebuilt(parsed, ok);
    REQUIRE(ok);
    CHECK(rebuilt == packet);
    CHECK(rebuilt.getTestInt() == number);
    CHECK(rebuilt.getTestBool() == (number > 0));
    CHECK(rebuilt.hasTestString());
    CHECK(rebuilt.getTestString() == text);
    CHECK(rebuilt.getTestArray() == QStringList{text, QStringLiteral("b")});
    CHECK(rebuilt.getTestPacket(ok) == kids[1]);
    CHECK(ok);
    CHECK(rebuilt.getTestArrayOfPackets(ok) == kids);
    CHECK(ok);
}

TEST_CASE("A typed packet refuses another class and stays empty", "[packets]")
{
    bool ok = true;
    const BasicTestPacket packet(SerialisableDataPacket(QStringLiteral("asdkghjql")), ok);
    CHECK_FALSE(ok);
    CHECK(packet == BasicTestPacket());
}
