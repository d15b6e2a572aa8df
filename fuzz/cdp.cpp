// The bytes of one caption distribution packet. Whatever is read must come back when the packet is
// made again, and a packet made from it conforms but for what was said in it.
#include "infrastructure/utility/captions/CdpDecoder.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CdpDecoder decoder;
    CaptionDistributionPacket packet;
    const CdpErrorReport report = decoder.decode(data, size, packet);
    FindingList findings;
    report.addFindings(findings, {});
    if (report.isConformant() != findings.isEmpty() || report.toString().isEmpty() ||
        packet.toString().isEmpty() || packet.tripletCount > packet.triplets.size() ||
        packet.serviceCount > packet.services.size()) {
        std::abort();
    }
    const std::vector<uint8_t> made = packet.toBytes();
    CaptionDistributionPacket again;
    decoder.reset();
    const CdpErrorReport second = decoder.decode(made.data(), made.size(), again);
    if (!second.longEnough || !second.lengthCorrect || !second.sectionsCorrect ||
        !second.checksumCorrect || !second.footerSequenceCorrect || again.toBytes() != made ||
        again.toString() != packet.toString()) {
        std::abort();
    }
    return 0;
}
