// The grandmaster's data set as text.
#include "infrastructure/ptp/GrandmasterInfo.h"
#include "sw/infrastructure_test/Catch.h"

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
    const QString numbers = QStringLiteral("8376079548036182,128,6,33,20061,127,2,32,-37");
    CHECK(info.clockIdentityToString() == QStringLiteral("00-1D-C1-FF-FE-12-34-56"));

    bool GrandmasterInfo::*const flags[] = {&GrandmasterInfo::currentUtcOffsetValid,
                                            &GrandmasterInfo::leap59,
                                            &GrandmasterInfo::leap61,
                                            &GrandmasterInfo::timeTraceable,
                                            &GrandmasterInfo::frequencyTraceable,
                                            &GrandmasterInfo::ptpTimescale};
    for (bool GrandmasterInfo::*const set : flags) {
        GrandmasterInfo flagged = info;
        flagged.*set = true;
        QString text = numbers;
        for (bool GrandmasterInfo::*const flag : flags) {
            text += QLatin1String(flag == set ? ",true" : ",false");
        }
        CHECK(flagged.serialise() == text);
        bool ok = false;
        CHECK(GrandmasterInfo::deserialise(text, ok) == flagged);
        CHECK(ok);
        CHECK(flagged != info);
    }
}

TEST_CASE("A text that is no grandmaster's data set is refused", "[ptp]")
{
    const QString text = QStringLiteral("18446744073709551615,255,255,255,65535,255,65535,255,-"
                                        "32768,true,true,true,true,true,true");
    bool ok = false;
    CHECK(GrandmasterInfo::deserialise(text, ok).serialise() == text);
    CHECK(ok);
    for (int size = 0; size < text.size(); ++size) {
        CHECK(GrandmasterInfo::deserialise(text.left(size), ok) == GrandmasterInfo());
        CHECK_FALSE(ok);
    }
    for (const char* bad : {",", " ", ",true"}) {
        GrandmasterInfo::deserialise(text + QLatin1String(bad), ok);
        CHECK_FALSE(ok);
    }
    CHECK(GrandmasterInfo().serialise() ==
          QStringLiteral("0,0,0,0,0,0,0,0,0,false,false,false,false,false,false"));
}
