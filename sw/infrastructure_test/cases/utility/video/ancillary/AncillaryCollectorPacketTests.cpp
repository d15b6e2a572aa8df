#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"
#include "sw/infrastructure_test/Catch.h"

#include <limits>
#include <vector>

namespace {

AncillaryCollectorPacket packetOf(const std::vector<uint8_t>& bytes)
{
    return AncillaryCollectorPacket::fromBytes(bytes.data(), bytes.size());
}

const std::vector<uint8_t> COLLECTED{0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0x7B,
                                     0x0B, 0x05, 0x00, 0x01, 0x02, 0x03, 0x04, 0xFF};

} // namespace

TEST_CASE("A collected packet reads as the words of the SDI stream", "[ancillary]")
{
    const AncillaryCollectorPacket packet = packetOf(COLLECTED);
    const std::vector<int> words{0x00, 0xFF, 0xFF, 0x7B, 0x0B, 5, 0, 1, 2, 3, 4, 0xFF, 0};
    for (std::size_t i = 0; i < words.size(); ++i) {
        CAPTURE(i);
        CHECK(packet.getAncWord(i) == words[i]);
    }
    CHECK(packet.getDataCount() == 5);
    CHECK(packet.getDidSdid() == AncillaryDidSdid{0x7B, 0x0B});
    CHECK(packet.getDidSdid() != AncillaryDidSdid{0x7B, 0x0C});
    CHECK(packet.getDidSdid() != AncillaryDidSdid{0x7C, 0x0B});
    CHECK((*packet.payloadIndex() == 0x7B && *packet.firstUserDataWord() == 0));
    CHECK(packet.verifyPacketDataCount());
    CHECK(packet.toString() == "DID 0x7B SDID 0x0B DC 5: 00 01 02 03 04"_s);

    std::vector<uint8_t> badEnd = COLLECTED;
    badEnd.back() = 0xFE;
    const AncillaryCollectorPacket bad = packetOf(badEnd);
    CHECK_FALSE(bad.verifyPacketDataCount());
    CHECK(bad != packet);
    CHECK(bad.getDataCount() == 5);
    CHECK(bad.toString().endsWith("04 (no end marker)"_s));
}

TEST_CASE("Words beyond the collector's buffer are 0", "[ancillary]")
{
    constexpr std::size_t last = 3 + 4096 - 8 - 1;
    const AncillaryCollectorPacket packet = packetOf(std::vector<uint8_t>(5000, 0xAB));
    CHECK(packet.buffer.back() == 0xAB);
    CHECK(packet.getAncWord(last) == 0xAB);
    constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();
    for (const std::size_t index : {last + 1, std::size_t{4096}, std::size_t{0xFFFFFFFF},
                                    largest - 8, largest - 5, largest - 4, largest}) {
        CAPTURE(index);
        CHECK(packet.getAncWord(index) == 0);
    }
}

TEST_CASE("The end marker is looked for behind each data count", "[ancillary]")
{
    AncillaryCollectorPacket packet;
    CHECK_FALSE(packet.verifyPacketDataCount());
    for (unsigned count = 0; count < 255; ++count) {
        packet.buffer.fill(0);
        packet.buffer[10] = static_cast<uint8_t>(count);
        packet.buffer[11 + count] = 0xFF;
        CHECK(packet.verifyPacketDataCount());
        packet.buffer[10] = static_cast<uint8_t>(count + 1);
        CHECK_FALSE(packet.verifyPacketDataCount());
    }
}
