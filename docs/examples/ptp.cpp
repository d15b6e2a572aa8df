#include "infrastructure/ptp/GrandmasterInfo.h"
#include "infrastructure/ptp/PtpTime.h"
#include "infrastructure/ptp/PtpVocabulary.h"

#include <cstdio>

using namespace Tessorn::IpTypes;

int main()
{
    std::printf("%s, %s\n", toString(PtpDaemonState_SLAVE).data(),
                toString(PtpClockLockState_FrequencyAndPhaseLocked).data());
    for (qint64 offset : {-994, 1000, -3000000}) {
        std::printf("%s\n", qPrintable(ptpTimeToString(offset)));
    }
    const PtpTimestamp stamp{1763859723, 5};
    std::printf("%s, %s\n", qPrintable(stamp.toString(true)),
                qPrintable(stamp.toNanosecondsString()));
    std::printf("accuracy %s, announce every %s\n", qPrintable(clockAccuracyToString(0x23)),
                qPrintable(logMessageIntervalToString(-2)));

    GrandmasterInfo leader;
    leader.clockIdentity = 0x001DC1FFFE123456;
    leader.clockClass = 6;
    leader.currentUtcOffset = 37;
    std::puts(qPrintable(stamp.toUtc(leader.currentUtcOffset).toString()));
    const QString text = leader.serialise();
    std::printf("%s\n%s\n", qPrintable(leader.clockIdentityToString()), qPrintable(text));
    bool ok = false;
    const bool isSame = GrandmasterInfo::deserialise(text, ok) == leader;
    GrandmasterInfo::deserialise(text + QLatin1Char(' '), ok);
    std::printf("%s, with a blank behind it: %s\n", isSame ? "same" : "other",
                ok ? "read" : "refused");
}
