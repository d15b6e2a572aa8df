#include "infrastructure/utility/captions/CdpDecoder.h"

#include "infrastructure/utility/BitTwiddles.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr std::size_t HEADER_BYTES = 7;
constexpr std::size_t TRIPLET_BYTES = 3;
constexpr unsigned TRIPLET_MARKERS = 0xF8; ///< of its first byte
constexpr std::size_t SERVICE_BYTES = 7;

enum Section : uint8_t {
    Section_Timecode = 0x71,
    Section_Triplets = 0x72,
    Section_Services = 0x73,
    Section_Footer = 0x74,
    Section_FirstFuture = 0x75, ///< with a length that tells how to pass over them
    Section_LastFuture = 0xEF,
};

constexpr bool isOdd(uint8_t byte)
{
    return Tessorn::BitTwiddles::getEvenParityBit(byte) != 0;
}

constexpr int decimal(uint8_t digits, unsigned tensMask)
{
    return static_cast<int>((digits >> 4 & tensMask) * 10u + (digits & 15u));
}

/// The bytes of one packet on their way into the record.
class Reading
{
public:
    Reading(const uint8_t* packetBytes, std::size_t packetSize, CaptionDistributionPacket& target,
            CdpErrorReport& targetReport)
        : bytes(packetBytes)
        , size(packetSize)
        , packet(target)
        , report(targetReport)
    {
    }

    /// False if there is no header of a caption packet.
    bool readHeader();
    /// True if the footer was reached.
    bool readSections();

private:
    /// The next `count` bytes; null, and reported, if there are not that many.
    const uint8_t* take(std::size_t count)
    {
        if (size - next < count) {
            report.longEnough = false;
            return nullptr;
        }
        next += count;
        return bytes + next - count;
    }
    void expect(bool& answer, bool isGood) { answer = answer && isGood; }
    bool readSection(uint8_t section);
    bool readTimecode();
    bool readTriplets();
    bool readServices();
    bool readFooter();

    const uint8_t* bytes;
    std::size_t size;
    std::size_t next = 0;
    CaptionDistributionPacket& packet;
    CdpErrorReport& report;
};

bool Reading::readHeader()
{
    const uint8_t* const header = take(HEADER_BYTES);
    if (header == nullptr) {
        return false;
    }
    report.receivedIdentifier = uint32_t{header[0]} << 8 | header[1];
    report.identifierCorrect = report.receivedIdentifier == report.expectedIdentifier;
    if (!report.identifierCorrect) {
        return false;
    }
    const uint8_t flags = header[4];
    report.receivedLength = header[2];
    report.lengthCorrect = report.receivedLength == report.expectedLength;
    report.receivedFrameRate = packet.frameRateCode = header[3] >> 4;
    report.frameRateKnown = CaptionDistributionPacket::getFullCount(packet.frameRateCode) != 0;
    report.markersCorrect = (header[3] & 0x0F) == 0x0F && (flags & 0x01) != 0;
    packet.hasTimecode = (flags & 0x80) != 0;
    packet.hasTriplets = (flags & 0x40) != 0;
    packet.hasServices = (flags & 0x20) != 0;
    packet.isServicesStart = (flags & 0x10) != 0;
    packet.isServicesChange = (flags & 0x08) != 0;
    packet.isServicesComplete = (flags & 0x04) != 0;
    packet.isServiceActive = (flags & 0x02) != 0;
    packet.sequence = static_cast<uint16_t>(header[5] << 8 | header[6]);
    report.receivedSequence = packet.sequence;
    return true;
}

bool Reading::readSections()
{
    // Sections come in the order of their numbers, but for the footer, which is the last.
    const std::array<bool, 3> promised{packet.hasTimecode, packet.hasTriplets, packet.hasServices};
    std::array<bool, 3> present{};
    packet.hasTimecode = packet.hasTriplets = packet.hasServices = false;
    uint8_t last = 0;
    bool hasFooter = false;
    while (!hasFooter) {
        const uint8_t* const section = take(1);
        if (section == nullptr) {
            return false;
        }
        hasFooter = *section == Section_Footer;
        if (*section >= Section_Timecode && *section <= Section_Services) {
            bool& isPresent = present[*section - Section_Timecode];
            expect(report.sectionsCorrect, !isPresent && *section > last);
            isPresent = true;
        }
        last = *section;
        if (!readSection(*section)) {
            return false;
        }
    }
    expect(report.sectionsCorrect, present == promised && (next == size || !report.lengthCorrect));
    return true;
}

bool Reading::readSection(uint8_t section)
{
    switch (section) {
    case Section_Timecode:
        return readTimecode();
    case Section_Triplets:
        return readTriplets();
    case Section_Services:
        return readServices();
    case Section_Footer:
        return readFooter();
    default:
        break;
    }
    if (section < Section_FirstFuture || section > Section_LastFuture) {
        report.sectionsCorrect = false;
        return false;
    }
    const uint8_t* const length = take(1);
    return length != nullptr && take(*length) != nullptr;
}

///  byte  0          1            2               3
///        11, hours  1, minutes   field, seconds  drop frame, 0, frames
bool Reading::readTimecode()
{
    const uint8_t* const code = take(4);
    if (code == nullptr) {
        return false;
    }
    packet.hasTimecode = true;
    packet.timecode = {decimal(code[0], 3), decimal(code[1], 7),   decimal(code[2], 7),
                       decimal(code[3], 3), (code[2] & 0x80) != 0, (code[3] & 0x80) != 0};
    expect(report.markersCorrect,
           (code[0] & 0xC0) == 0xC0 && (code[1] & 0x80) != 0 && (code[3] & 0x40) == 0);
    return true;
}

bool Reading::readTriplets()
{
    const uint8_t* const count = take(1);
    if (count == nullptr) {
        return false;
    }
    packet.hasTriplets = true;
    report.receivedCount = *count & 0x1F;
    expect(report.markersCorrect, (*count & 0xE0) == 0xE0);
    report.expectedCount = CaptionDistributionPacket::getFullCount(packet.frameRateCode);
    if (report.frameRateKnown) {
        report.countWithinRate = report.receivedCount <= report.expectedCount;
        report.paddingComplete = report.receivedCount >= report.expectedCount;
    }
    packet.tripletCount =
        std::min<std::size_t>(report.receivedCount, (size - next) / TRIPLET_BYTES);
    const uint8_t* triplet = bytes + next;
    unsigned markers = TRIPLET_MARKERS;
    for (std::size_t i = 0; i < packet.tripletCount; ++i, triplet += TRIPLET_BYTES) {
        const bool isValid = (triplet[0] & 0x04) != 0;
        const auto type = static_cast<CaptionTripletType>(triplet[0] & 0x03);
        packet.triplets[i] = {isValid, type, {triplet[1], triplet[2]}};
        markers &= triplet[0];
        if (isValid && type <= CaptionTripletType_Field2) {
            expect(report.parityCorrect, isOdd(triplet[1]) && isOdd(triplet[2]));
        }
    }
    expect(report.markersCorrect, markers == TRIPLET_MARKERS);
    return take(TRIPLET_BYTES * report.receivedCount) != nullptr;
}

bool Reading::readServices()
{
    const uint8_t* const head = take(1);
    if (head == nullptr) {
        return false;
    }
    packet.hasServices = true;
    packet.serviceCount = 0;
    expect(report.markersCorrect, (*head & 0x80) != 0);
    const bool isAsFlagged = ((*head & 0x40) != 0) == packet.isServicesStart &&
                             ((*head & 0x20) != 0) == packet.isServicesChange &&
                             ((*head & 0x10) != 0) == packet.isServicesComplete;
    expect(report.sectionsCorrect, isAsFlagged);
    for (unsigned i = 0; i < (*head & 0x0Fu); ++i) {
        const uint8_t* const service = take(SERVICE_BYTES);
        if (service == nullptr) {
            return false;
        }
        std::copy_n(service, SERVICE_BYTES, packet.services[packet.serviceCount++].bytes.begin());
        expect(report.markersCorrect, (*service & 0x80) != 0);
    }
    return true;
}

bool Reading::readFooter()
{
    const uint8_t* const footer = take(3);
    if (footer == nullptr) {
        return false;
    }
    report.footerSequence = uint32_t{footer[0]} << 8 | footer[1];
    report.footerSequenceCorrect = report.footerSequence == report.receivedSequence;
    report.receivedChecksum = footer[2];
    report.expectedChecksum = (0u - std::accumulate(bytes, footer + 2, 0u)) & 0xFF;
    report.checksumCorrect = report.receivedChecksum == report.expectedChecksum;
    return true;
}

} // namespace

CdpErrorReport CdpDecoder::decode(const uint8_t* bytes, std::size_t size,
                                  CaptionDistributionPacket& packet)
{
    packet.tripletCount = 0;
    packet.serviceCount = 0;
    packet.hasTimecode = packet.hasTriplets = packet.hasServices = false;
    CdpErrorReport report;
    report.expectedLength = static_cast<uint32_t>(size);
    Reading reading(bytes, size, packet, report);
    if (!reading.readHeader()) {
        packet = CaptionDistributionPacket();
        return report;
    }
    const bool isWhole = reading.readSections();
    const auto expected = static_cast<uint16_t>(lastSequence + 1);
    report.expectedSequence = hasSequence ? expected : packet.sequence;
    if (isWhole && report.checksumCorrect) {
        report.sequenceContinuous = packet.sequence == report.expectedSequence;
        lastSequence = packet.sequence;
        hasSequence = true;
    } else {
        lastSequence = expected;
    }
    return report;
}
