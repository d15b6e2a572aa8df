#include "infrastructure/utility/captions/CaptionDemultiplexer.h"

#include "infrastructure/utility/BitTwiddles.h"

#include <algorithm>
#include <utility>

namespace {

constexpr AncillaryDidSdid DISTRIBUTION_PACKET{0x61, 0x01};
constexpr AncillaryDidSdid PAIR_PACKET{0x61, 0x02};
constexpr uint8_t PAIR_PACKET_WORDS = 3; ///< field in bit 7, then the pair
constexpr std::size_t FIRST_OF_608 = CaptionChannel708::MAX_SERVICE + 1; ///< among the languages

constexpr bool isOdd(uint8_t byte)
{
    return Tessorn::BitTwiddles::getEvenParityBit(byte) != 0;
}

} // namespace

CaptionDemultiplexer::CaptionDemultiplexer(XdsReceiver receiver)
    : xds(pool)
    , xdsReceiver(std::move(receiver))
{
}

bool CaptionDemultiplexer::process(const AncillaryCollectorPacket& packet,
                                   const FindingPlace& place)
{
    const AncillaryDidSdid kind = packet.getDidSdid();
    if (kind != DISTRIBUTION_PACKET && kind != PAIR_PACKET) {
        return false;
    }
    const uint8_t* const words = packet.firstUserDataWord();
    const uint8_t count = packet.getDataCount();
    if (!packet.verifyPacketDataCount()) {
        findings.add({FindingCode::AncEndMarker, place, 0, count, {}});
    } else if (kind == DISTRIBUTION_PACKET) {
        processCdp(words, count, place);
    } else if (count != PAIR_PACKET_WORDS) {
        findings.add({FindingCode::AncLength, place, PAIR_PACKET_WORDS, count, {}});
    } else if (!processPair((words[0] & 0x80) != 0, words[1], words[2], place)) {
        findings.add({FindingCode::CdpParity, place});
    }
    return true;
}

void CaptionDemultiplexer::processCdp(const uint8_t* bytes, std::size_t size,
                                      const FindingPlace& place)
{
    decoder.decode(bytes, size, cdp).addFindings(findings, place);
    for (std::size_t i = 0; i < cdp.tripletCount; ++i) {
        const CaptionTriplet& triplet = cdp.triplets[i];
        if (!triplet.isValid) {
            continue;
        }
        if (triplet.type > CaptionTripletType_Field2) {
            channel.processTriplet(triplet, findings, place);
        } else {
            processPair(triplet.type == CaptionTripletType_Field1, triplet.bytes[0],
                        triplet.bytes[1], place);
        }
    }
    for (std::size_t i = 0; i < cdp.serviceCount; ++i) {
        const CaptionServiceEntry& entry = cdp.services[i];
        languages[entry.isDigital() ? entry.getNumber()
                                    : FIRST_OF_608 + (entry.isField2() ? 1 : 0)] =
            entry.getLanguage();
    }
}

/// False for a pair with a byte of even parity, which is dropped.
bool CaptionDemultiplexer::processPair(bool isField1, uint8_t raw1, uint8_t raw2,
                                       const FindingPlace& place)
{
    if (!isOdd(raw1) || !isOdd(raw2)) {
        return false;
    }
    const Caption608BytePair pair = Caption608BytePair::fromRaw(raw1, raw2, isField1);
    fields[isField1 ? 0 : 1].process(pair.code());
    XdsPacket* packet = nullptr;
    const XdsResult result = xds.processPair(XdsPair::fromRaw(raw1, raw2, isField1), packet);
    if (result == XdsPacketReady) {
        ++xdsRevision;
        if (xdsReceiver) {
            xdsReceiver(*packet);
        }
        pool.release(packet);
    } else if (result == XdsChecksumFailed || result == XdsPacketTooLong) {
        findings.add({FindingCode::CdpXds, place});
    }
    return true;
}

const CaptionProcessor608& CaptionDemultiplexer::service608(unsigned number) const
{
    return fields[(number - 1) >> 1 & 1].service(number - 1);
}

bool CaptionDemultiplexer::isPresent608(unsigned number) const
{
    return fields[(number - 1) >> 1 & 1].isPresent(number - 1);
}

QString CaptionDemultiplexer::language708(unsigned number) const
{
    return number <= CaptionChannel708::MAX_SERVICE ? languages[number] : QString();
}

QString CaptionDemultiplexer::language608(bool isField2) const
{
    return languages[FIRST_OF_608 + (isField2 ? 1 : 0)];
}
