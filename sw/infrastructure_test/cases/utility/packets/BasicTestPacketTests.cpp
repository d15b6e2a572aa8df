#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "sw/infrastructure_test/Catch.h"

#include <limits>

namespace {

std::vector<bool> testsOf(const BasicTestPacket& packet)
{
    return {packet.hasTestInt(),   packet.hasTestBool(),   packet.hasTestString(),
            packet.hasTestArray(), packet.hasTestPacket(), packet.hasTestArrayOfPackets()};
}

} // namespace

TEST_CASE("A fresh test packet, or one of another class, has no values", "[packets]")
{
    const BasicTestPacket packet;
    bool ok = true;
    CHECK(packet.getPacketClassName() == BasicTestPacket::CLASSNAME());
    CHECK(packet.getJsonObject().size() == 1);
    CHECK(testsOf(packet) == std::vector<bool>(6, false));
    CHECK(packet.getTestInt() == 0);
    CHECK((packet.getTestPacket(ok).getJsonObject().isEmpty() && !ok));

    ok = true;
    CHECK(BasicTestPacket(SerialisableDataPacket("asdkghjql"_s), ok) == packet);
    CHECK_FALSE(ok);
}

TEST_CASE("Every value of a test packet survives text and rebuilding", "[packets]")
{
    const auto number =
        GENERATE(-1, 0, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    const QString text = GENERATE(QString(), ""_s, "Hello World!"_s);
    std::vector<SerialisableDataPacket> kids;
    for (const char* greeting : {"Hello World!", "Hello Moon!", "Hello ISS"}) {
        kids.emplace_back(QString::fromLatin1(greeting));
    }
    BasicTestPacket packet;
    packet.setTestInt(number);
    packet.setTestBool(number > 0);
    packet.setTestString(text);
    packet.setTestArray({});
    packet.setTestArray({text, "b"_s});
    packet.setTestPacket(kids[1]);
    packet.setTestArrayOfPackets(kids);

    bool ok = false;
    const BasicTestPacket rebuilt(SerialisableDataPacket(packet.toJson(), nullptr), ok);
    REQUIRE(ok);
    CHECK(rebuilt == packet);
    CHECK(rebuilt.getTestInt() == number);
    CHECK(rebuilt.getTestBool() == (number > 0));
    CHECK(testsOf(rebuilt) == std::vector<bool>(6, true));
    CHECK(rebuilt.getTestString() == text);
    CHECK(rebuilt.getTestArray() == QStringList{text, "b"_s});
    CHECK(rebuilt.getTestPacket(ok) == kids[1]);
    CHECK(ok);
    CHECK(rebuilt.getTestArrayOfPackets(ok) == kids);
    CHECK(ok);
}
