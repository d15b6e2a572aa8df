// The grandmaster's data set as text.
#include "infrastructure/ptp/GrandmasterInfo.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

TEST_CASE("A grandmaster's data set is what its text says", "[ptp]")
{
    GrandmasterInfo info;
    std::tie(info.clockIdentity, info.priority1, info.clockClass, info.clockAccuracy,
             info.offsetScaledLogVariance, info.priority2, info.stepsRemoved, info.timeSource,
             info.currentUtcOffset) =
        std::tuple(0x001DC1FFFE123456, 128, 6, 0x21, 0x4E5D, 127, 2, 0x20, -37);
    const QString numbers = "8376079548036182,128,6,33,20061,127,2,32,-37"_s;
    CHECK(info.clockIdentityToString() == "00-1D-C1-FF-FE-12-34-56"_s);

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
    const QString text = "18446744073709551615,255,255,255,65535,255,65535,255,-"
                         "32768,true,true,true,true,true,true"_s;
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
          "0,0,0,0,0,0,0,0,0,false,false,false,false,false,false"_s);
}
