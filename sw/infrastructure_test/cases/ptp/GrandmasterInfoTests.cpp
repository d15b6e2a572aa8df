// The grandmaster's data set as text.
#include "infrastructure/ptp/GrandmasterInfo.h"
#include "sw/infrastructure_test/Catch.h"

#include <random>

using namespace Tessorn::IpTypes;

TEST_CASE("A grandmaster's data set is what its text says", "[ptp]")
{
    GrandmasterInfo info;
    info.clockIdentity = 0x001DC1FFFE123456;
    info.priority1 = 128;
    info.clockClass = 6;
    info.clockAccuracy = 0x21;
    info.offsetScaledLogVariance = 0x4E5D;
    info.priority2 = 127;
    info.stepsRemoved = 2;
    info.timeSource = 0x20;
    info.currentUtcOffset = -37;
    info.currentUtcOffsetValid = true;
    info.timeTraceable = true;
    info.ptpTimescale = true;

    const QString text = QStringLiteral(
        "8376079548036182,128,6,33,20061,127,2,32,-37,true,false,false,true,false,true");
    CHECK(info.serialise() == text);
    CHECK(info.clockIdentityToString() == QStringLiteral("00-1D-C1-FF-FE-12-34-56"));

    bool ok = false;
    CHECK(GrandmasterInfo::deserialise(text, ok) == info);
    CHECK(ok);
    for (int size = 0; size < text.size() - 3; ++size) { // short of the last flag's word
        CHECK(GrandmasterInfo::deserialise(text.left(size), ok) == GrandmasterInfo());
        CHECK_FALSE(ok);
    }
    GrandmasterInfo::deserialise(text + QLatin1Char(','), ok);
    CHECK_FALSE(ok);
}

TEST_CASE("Every grandmaster's data set survives its text", "[ptp]")
{
    std::mt19937_64 random(8);
    const auto flag = [&random] { return (random() & 1) != 0; };
    for (int i = 0; i < 1000; ++i) {
        GrandmasterInfo info;
        info.clockIdentity = random();
        info.priority1 = static_cast<quint8>(random());
        info.clockClass = static_cast<quint8>(random());
        info.clockAccuracy = static_cast<quint8>(random());
        info.offsetScaledLogVariance = static_cast<quint16>(random());
        info.priority2 = static_cast<quint8>(random());
        info.stepsRemoved = static_cast<quint16>(random());
        info.timeSource = static_cast<quint8>(random());
        info.currentUtcOffset = static_cast<qint16>(random());
        info.currentUtcOffsetValid = flag();
        info.leap59 = flag();
        info.leap61 = flag();
        info.timeTraceable = flag();
        info.frequencyTraceable = flag();
        info.ptpTimescale = flag();
        bool ok = false;
        REQUIRE(GrandmasterInfo::deserialise(info.serialise(), ok) == info);
        REQUIRE(ok);
    }
}
