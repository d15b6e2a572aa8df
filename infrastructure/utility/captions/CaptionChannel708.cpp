#include "infrastructure/utility/captions/CaptionChannel708.h"

#include <algorithm>

namespace {

constexpr unsigned EXTENDED_NUMBER = 7; ///< the number is in a byte of its own
constexpr int SEQUENCES = 4;

} // namespace

void CaptionChannel708::processTriplet(const CaptionTriplet& triplet, FindingList& findings,
                                       const FindingPlace& place)
{
    const bool isStart = triplet.type == CaptionTripletType_PacketStart708;
    if (!triplet.isValid || (!isStart && triplet.type != CaptionTripletType_Data708)) {
        return;
    }
    if (isStart) {
        if (packetSize != 0) {
            findings.add({FindingCode::CdpChannelCut,
                          place,
                          static_cast<qint64>(packetSize),
                          static_cast<qint64>(filled),
                          {}});
            processPacket(findings, place);
        }
        const unsigned code = triplet.bytes[0] & 0x3Fu;
        packetSize = code == 0 ? packet.size() : 2 * std::size_t{code};
        filled = 0;
    }
    if (packetSize == 0) {
        return; // the stream begins within a packet
    }
    std::copy(triplet.bytes.begin(), triplet.bytes.end(),
              packet.begin() + static_cast<std::ptrdiff_t>(filled));
    filled += triplet.bytes.size();
    if (filled == packetSize) {
        processPacket(findings, place);
    }
}

/// Takes the blocks of the packet as far as it has come.
void CaptionChannel708::processPacket(FindingList& findings, const FindingPlace& place)
{
    const bool isWhole = filled == packetSize;
    packetSize = 0;
    const int sequence = packet[0] >> 6;
    if (lastSequence >= 0 && sequence != (lastSequence + 1) % SEQUENCES) {
        findings.add(
            {FindingCode::CdpChannelSequence, place, (lastSequence + 1) % SEQUENCES, sequence, {}});
    }
    lastSequence = sequence;
    for (std::size_t next = 1; next < filled;) {
        unsigned number = packet[next] >> 5;
        const std::size_t size = packet[next] & 0x1F;
        ++next;
        if (number == EXTENDED_NUMBER && size != 0 && next < filled) {
            number = packet[next++] & MAX_SERVICE;
        }
        if (number == 0) {
            return; // the rest is filler
        }
        if (size > filled - next) {
            if (isWhole) {
                findings.add({FindingCode::CdpBlockCut,
                              place,
                              static_cast<qint64>(size),
                              static_cast<qint64>(filled - next),
                              {}});
            }
            return;
        }
        if (size != 0) {
            std::unique_ptr<CaptionService708>& service = services[number];
            if (!service) {
                service = std::make_unique<CaptionService708>();
            }
            if (!service->processBlock(packet.data() + next, size)) {
                findings.add({FindingCode::CdpCodeCut, place, 0, number, {}});
            }
        }
        next += size;
    }
}

const CaptionService708* CaptionChannel708::service(unsigned number) const
{
    return number <= MAX_SERVICE ? services[number].get() : nullptr;
}
