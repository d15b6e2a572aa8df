#include "infrastructure/utility/captions/Op47decoder.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t WORDS_AROUND_USER_DATA = 7; ///< data flag, DID, SDID, DC and checksum
constexpr std::size_t FIXED_WORDS = 15;           ///< everything before the teletext packets
constexpr std::size_t DESCRIPTORS_AT = 10;
constexpr std::size_t MAX_PACKETS = 5;
constexpr std::size_t PACKET_BYTES = 45;
constexpr std::size_t ROW_DATA_AT = 5; ///< in a teletext packet
constexpr std::size_t HEADER_DATA_AT = 13;
constexpr uint8_t ROW_DATA_BYTES = 40;
constexpr uint8_t HEADER_DATA_BYTES = 32;
constexpr uint8_t LAST_DISPLAYED_ROW = 25;

/// Data bits 1, 3, 5 and 7 of each Hamming 8/4 byte, as received.
constexpr std::array<uint8_t, 256> HAMMING_DATA = [] {
    std::array<uint8_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        table[byte] = static_cast<uint8_t>((byte >> 1 & 1) | (byte >> 2 & 2) | (byte >> 3 & 4) |
                                           (byte >> 4 & 8));
    }
    return table;
}();

bool isOp47(const uint8_t* words)
{
    constexpr std::array<uint8_t, 5> start{0x00, 0xFF, 0xFF, 0x43, 0x02};
    return std::equal(start.begin(), start.end(), words);
}

bool hasGap(const uint8_t* descriptors)
{
    for (std::size_t i = 1; i < MAX_PACKETS; ++i) {
        if (descriptors[i] != 0 && descriptors[i - 1] == 0) {
            return true;
        }
    }
    return false;
}

/// Reads the address and control bytes of a page header:
///
///   byte  5      6     7, 8, 9, 10    8 bit 3  10 bit 3  12 bit 0  12 bits 1 to 3
///         units  tens  subcode 4343   C4       C6        C11       C12 to C14
void readPageHeader(const uint8_t* bytes, TeletextPacket& packet)
{
    const auto data = [bytes](std::size_t index) { return unsigned{HAMMING_DATA[bytes[index]]}; };
    packet.hasPageHeader = true;
    packet.displayData = bytes + HEADER_DATA_AT;
    packet.displayDataLength = HEADER_DATA_BYTES;
    packet.pageDecimal = static_cast<uint8_t>(data(5) + 10 * data(6));
    packet.pageBcd = static_cast<uint8_t>(data(5) | data(6) << 4);
    packet.subcode =
        static_cast<uint16_t>(data(7) | (data(8) & 7) << 4 | data(9) << 7 | (data(10) & 3) << 11);
    packet.erasePage = (data(8) & 8) != 0;
    packet.subtitle = (data(10) & 8) != 0;
    packet.magazineSerial = (data(12) & 1) != 0;
    packet.nationalOption = static_cast<uint8_t>(data(12) >> 1);
}

} // namespace

void Op47decoder::setPageFilter(bool enabled, int32_t magazine, int32_t page)
{
    filterEnabled = enabled;
    filterMagazine = magazine;
    filterPage = page;
}

Op47ErrorReport Op47decoder::decode(TeletextPacketContainer& container)
{
    return decode(container.ancillaryBytes.data(), container.ancillaryBytes.size(),
                  container.packets);
}

Op47ErrorReport Op47decoder::decode(const uint8_t* words, std::size_t size,
                                    std::vector<TeletextPacket>& packets)
{
    Op47ErrorReport report;
    report.expectedLength = static_cast<uint32_t>(size) - uint32_t{WORDS_AROUND_USER_DATA};
    report.longEnough = size > FIXED_WORDS;
    if (!report.longEnough) {
        return report;
    }
    report.ancIsOp47 = isOp47(words);
    report.packetDataCountCorrect = words[5] == report.expectedLength;
    report.payloadIdentifierCorrect = words[6] == 0x51 && words[7] == 0x15;
    report.receivedLength = words[8];
    report.lengthCorrect = report.receivedLength == report.expectedLength;
    report.formatCodeCorrect = words[9] == 0x02;
    if (!report.ancIsOp47) {
        return report;
    }
    const uint8_t* descriptors = words + DESCRIPTORS_AT;
    report.vbiPacketDescriptorsAreContiguous = !hasGap(descriptors);

    std::size_t used = 0;
    while (used < MAX_PACKETS && descriptors[used] != 0) {
        ++used;
    }
    const std::size_t present = std::min(used, (size - FIXED_WORDS) / PACKET_BYTES);
    const std::size_t kept = appendPackets(words + FIXED_WORDS, present, packets);
    report.longEnough = kept < present || present == used;
    return report;
}

/// Appends packets until the filter refuses one. Returns how many.
std::size_t Op47decoder::appendPackets(const uint8_t* bytes, std::size_t count,
                                       std::vector<TeletextPacket>& packets)
{
    const std::size_t before = packets.size();
    packets.resize(before + count);
    std::size_t kept = 0;
    while (kept < count &&
           decodeTeletextPacket(bytes + kept * PACKET_BYTES, packets[before + kept])) {
        ++kept;
    }
    packets.resize(before + kept);
    return kept;
}

/// Decodes 45 bytes into a record that still has its initial values. False if the filter refuses
/// it.
bool Op47decoder::decodeTeletextPacket(const uint8_t* bytes, TeletextPacket& packet)
{
    const unsigned address = unsigned{HAMMING_DATA[bytes[3]]} | unsigned{HAMMING_DATA[bytes[4]]}
                                                                    << 4;
    packet.magazine = address & 7;
    packet.packetNumber = static_cast<uint8_t>(address >> 3);
    lastMagazine = packet.magazine;
    if (packet.packetNumber == 0) {
        readPageHeader(bytes, packet);
        lastPage = packet.pageBcd;
    } else if (packet.packetNumber <= LAST_DISPLAYED_ROW) {
        packet.displayData = bytes + ROW_DATA_AT;
        packet.displayDataLength = ROW_DATA_BYTES;
    }
    return passesFilter(packet);
}

bool Op47decoder::passesFilter(const TeletextPacket& packet) const
{
    return !filterEnabled ||
           (lastPage != -1 && lastPage == filterPage && int32_t{packet.magazine} == filterMagazine);
}
