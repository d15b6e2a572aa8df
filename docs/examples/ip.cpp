#include "infrastructure/ip/20226/VideoFormat20226.h"
#include "infrastructure/ip/2110/VideoStandard2110Params.h"
#include "infrastructure/ip/flows/FlowConfig.h"
#include "infrastructure/ip/Utility.h"

#include <cstdio>

using namespace Tessorn;
using namespace Tessorn::IpTypes;

int main()
{
    // A requested flow: its text, what it matches, and a text with a port out of range.
    bool ok = false;
    const FlowConfig wanted =
        FlowConfig::deserialise(u"96,192.168.0.1,239.1.2.3,5004,5006,0,,0+1|2", ok);
    std::printf("%s: %s\n", qPrintable(wanted.serialise()),
                qPrintable(wanted.toFilterString(wanted.matchParams)));
    IpMediaFlow found;
    found.dstIpAddr = QHostAddress(QStringLiteral("239.1.2.3"));
    std::puts(flowParamsSame(wanted, found, wanted.matchParams) ? "match" : "no match");
    FlowConfig::deserialise(u"96,192.168.0.1,239.1.2.3,5004,99999999999,0,,0+1|2", ok);
    std::puts(ok ? "read" : "refused");

    QString message;
    Utility::validateDestinationIpAddress(QHostAddress(QStringLiteral("224.0.0.5")), 24, &message);
    std::puts(qPrintable(message));

    const VideoStandard2110Params params(3840, 2160, Sampling2110_422YCbCr, BitDepth2110_10,
                                         Colourimetry2110_Bt2020, {60, 1001}, TransferCurve2110_Hlg,
                                         false, false);
    std::printf("%s, valid: %d, %u octets for %u pixels\n", qPrintable(params.toString()),
                params.getParamsValid(), params.pgroupOctets(), params.pgroupPixels());

    const VideoFormat20226 format(0x02018100); // 1080i at 25 frames
    std::printf("%s level %s\n", Sdi::toString(format.rate).data(),
                Sdi::toString(format.level).data());
}
