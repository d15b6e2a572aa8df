// One byte that says how the words lie in memory and in which space, then words, low byte first.
// The same words are searched in each layout, and all must give the same packets and findings; no
// packet may overlap another.
#include "infrastructure/utility/video/ancillary/AncillaryContents.h"
#include "infrastructure/utility/video/ancillary/AncillaryExtractor.h"
#include "infrastructure/utility/video/ancillary/AncillaryNames.h"

#include <cstdlib>

namespace {

/// All that an extractor gives for a run.
QString extract(const AncillaryRun& run, AncillarySpace space)
{
    QString texts;
    FindingList findings(16);
    int end = 0;
    AncillaryExtractor extractor(
        [&](const ExtractedAncillaryPacket& found) {
            const AncillaryCollectorPacket& packet = found.packet;
            const int size = found.isWhole ? 7 + packet.getDataCount() : 3;
            if (found.place.sample < end ||
                found.place.sample + size > static_cast<int>(run.size()) ||
                packet.verifyPacketDataCount() != found.isWhole) {
                std::abort();
            }
            end = found.place.sample + size;
            const auto timecode = readTimecode(packet);
            const auto format = readActiveFormat(packet);
            texts += packet.toString() + QLatin1String(getAncillaryName(packet.getDidSdid())) +
                     QString::number(readPayloadWord(packet).value_or(0)) +
                     (timecode ? timecode->toString() : QString()) +
                     (format ? format->toString() : QString());
        },
        findings);
    extractor.readRun(run, {}, space);
    for (Finding finding : findings.getFindings()) {
        finding.place.channel = -1; // which the layouts do not share
        texts += finding.toString();
    }
    return texts + QString::number(findings.getTotal());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3) {
        return 0;
    }
    const auto space = (data[0] & 1) != 0 ? AncillarySpace::Horizontal : AncillarySpace::Vertical;
    const bool isSecond = (data[0] & 2) != 0;
    std::vector<quint16> plain, interleaved;
    std::vector<quint32> samples;
    for (size_t i = 1; i + 1 < size; i += 2) {
        const auto word = static_cast<quint16>(data[i] | data[i + 1] << 8);
        const auto other = static_cast<quint16>(~word);
        plain.push_back(word);
        interleaved.push_back(isSecond ? other : word);
        interleaved.push_back(isSecond ? word : other);
        const quint32 low = (isSecond ? other : word) & 0x3FF;
        const quint32 high = (isSecond ? word : other) & 0x3FF;
        samples.push_back(low | high << 10 | quint32{data[i]} << 24);
    }
    const QString expected = extract({plain.data(), plain.size()}, space);
    if (extract({interleaved.data() + (isSecond ? 1 : 0), plain.size(), 2}, space) != expected ||
        extract({samples.data(), plain.size(), isSecond}, space) != expected) {
        std::abort();
    }
    return 0;
}
