#include "infrastructure/utility/captions/Cc608XdsDecoder.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <random>

namespace {

XdsPair pairOf(int c1, int c2)
{
    return XdsPair::fromRaw(static_cast<uint8_t>(c1 | 0x80), static_cast<uint8_t>(c2), false);
}

using Codes = std::vector<std::array<int, 2>>;

/// Start, text and end of a packet with the right checksum.
Codes packetCodes(int startCode, int type, const std::string& text)
{
    Codes codes{{startCode, type}};
    int sum = startCode + type + 15;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        codes.push_back({text[i], text[i + 1]});
        sum += text[i] + text[i + 1];
    }
    codes.push_back({15, (128 - sum % 128) % 128});
    return codes;
}

struct Xds
{
    explicit Xds(std::size_t packets = XdsPacketPool::DEFAULT_PACKET_COUNT)
        : pool(packets)
    {
    }

    /// The result of the last pair; `packet` is what it gave.
    XdsResult feed(const Codes& codes)
    {
        XdsResult result = XdsOk;
        for (const auto& code : codes) {
            result = decoder.processPair(pairOf(code[0], code[1]), packet);
        }
        return result;
    }
    XdsPacketPool pool;
    Cc608XdsDecoder decoder{pool};
    XdsPacket* packet = nullptr;
};

/// One number for all that a decoder gives for random pairs (FNV-1a of 32-bit words). Types are
/// few, so that packets are resumed, and so are ends, so that their checksums are right now and
/// then.
uint64_t digestOfRandomPairs(std::size_t poolSize, int count, bool resets)
{
    Xds xds(poolSize);
    std::mt19937 random(static_cast<unsigned>(poolSize));
    uint64_t digest = 0xCBF29CE484222325u;
    const auto add = [&digest](uint32_t word) { digest = (digest ^ word) * 0x100000001B3u; };
    for (int i = 0; i < count; ++i) {
        const auto bits = static_cast<unsigned>(random());
        const auto raw1 = static_cast<uint8_t>(bits >> 8 & (bits % 4 == 0 ? 0x0F : 0xFF));
        const auto raw2 = static_cast<uint8_t>(bits >> 16 & (bits % 16 < 12 ? 0x87 : 0xFF));
        const XdsResult result =
            xds.decoder.processPair(XdsPair::fromRaw(raw1, raw2, false), xds.packet);
        add(result);
        add(static_cast<uint32_t>(xds.decoder.openPacketCount()));
        if (result == XdsPacketReady) {
            XdsBytePair pair;
            for (std::size_t at = 0; xds.packet->pairAt(at, pair); ++at) {
                add(pair.c1 | uint32_t{pair.c2} << 8 | uint32_t{pair.raw1} << 16 |
                    uint32_t{pair.raw2} << 24);
            }
            xds.pool.release(xds.packet);
        } else if ((resets && result != XdsOk) || random() % 1000 == 0) {
            xds.decoder.reset();
        }
        REQUIRE(xds.pool.inUseCount() == xds.decoder.openPacketCount());
    }
    return digest;
}

} // namespace

TEST_CASE("A packet of each class whose bytes sum to a multiple of 128 comes out whole",
          "[captions]")
{
    const LogCapture log;
    Xds xds;
    const char* const names[] = {"Current",        "Future",   "Channel",     "Miscellaneous",
                                 "Public service", "Reserved", "Private data"};
    for (uint32_t index = 0; index < 7; ++index) {
        const int startCode = static_cast<int>(2 * index + 1);
        const int type = startCode == 1 ? 127 : startCode;
        CAPTURE(startCode);
        const Codes codes = packetCodes(startCode, type, "Star Trek!");
        for (std::size_t i = 0; i + 1 < codes.size(); ++i) {
            CHECK(xds.feed({codes[i]}) == XdsOk);
            CHECK(xds.packet == nullptr);
        }
        REQUIRE(xds.feed({codes.back()}) == XdsPacketReady);
        REQUIRE(xds.packet->pairCount() == codes.size());
        XdsBytePair pair;
        for (std::size_t i = 0; i < codes.size(); ++i) {
            const XdsPair sent = pairOf(codes[i][0], codes[i][1]);
            REQUIRE(xds.packet->pairAt(i, pair));
            CHECK(pair == XdsBytePair{sent.c1, sent.c2, sent.raw1, sent.raw2});
        }
        CHECK_FALSE(xds.packet->pairAt(codes.size(), pair));
        CHECK(xds.packet->status() == XdsStatus_ChecksumGood);
        CHECK(xds.packet->classIndex() == index);
        CHECK(xds.packet->toString() ==
              "%1 type %2: \"Star Trek!\""_s.arg(QLatin1String(names[index])).arg(type));
        CHECK_FALSE(xds.packet->append(pair)); // no longer open
        CHECK(xds.pool.inUseCount() == 1);
        xds.pool.release(xds.packet);
        CHECK(xds.pool.inUseCount() == 0);
    }
    CHECK(log.lines().isEmpty());
    // Filler behind a packet has nothing to belong to, once.
    CHECK(xds.feed({{0, 0}}) == XdsNoOpenPacket);
    CHECK(xds.feed({{0, 0}}) == XdsOk);
}

TEST_CASE("Packets of several classes interleave", "[captions]")
{
    Xds xds;
    CHECK(xds.feed({{1, 3}, {'a', 'b'}, {3, 3}, {'c', 'd'}, {2, 3}, {'e', 'f'}}) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 2);
    CHECK(xds.feed({{0x14, 0x20}, {'x', 'x'}}) == XdsOk); // captions in between: idle
    CHECK(xds.feed({{2, 3}, packetCodes(1, 3, "abef").back()}) == XdsPacketReady);
    CHECK(xds.packet->text() == "abef"_s);
    CHECK(xds.feed({{2, 3}}) == XdsNoOpenPacket);
}

TEST_CASE("A packet has at most 32 pairs and its end", "[captions]")
{
    Xds xds;
    CHECK(xds.feed(packetCodes(9, 1, std::string(62, 'q'))) == XdsPacketReady);
    CHECK(xds.packet->pairCount() == 33);
    xds.pool.release(xds.packet);
    CHECK(xds.feed(packetCodes(9, 1, std::string(64, 'q'))) == XdsOk); // idle since the last q
    CHECK(xds.feed({{9, 1}, {10, 1}}) == XdsOk);
    for (int i = 1; i < 32; ++i) {
        CHECK(xds.feed({{'a', 'b'}}) == XdsOk);
    }
    CHECK(xds.feed({{'a', 'b'}}) == XdsPacketTooLong);
    CHECK(xds.pool.inUseCount() == 0);
}

TEST_CASE("The pool takes back only what is out", "[captions]")
{
    const LogCapture log;
    Xds xds(2);
    XdsPacketPool other(2);
    XdsPacket* packet = xds.pool.take();
    XdsPacket own;
    xds.pool.release(nullptr);
    CHECK(log.lines().isEmpty());
    xds.pool.release(&own);
    other.release(packet);
    xds.pool.release(packet);
    xds.pool.release(packet);
    CHECK(log.lines().size() == 3);
    xds.feed({{1, 3}}); // now the packet is the decoder's
    xds.pool.release(packet);
    CHECK(log.lines().size() == 4);
    xds.decoder.reset();
    CHECK(log.contains("error: XDS packet released that is not in use"_s));
    CHECK(xds.pool.inUseCount() == 0);
    CHECK(other.inUseCount() == 0);
    {
        Cc608XdsDecoder shortLived(xds.pool);
        shortLived.processPair(pairOf(1, 3), packet);
        CHECK(xds.pool.inUseCount() == 1);
    }
    CHECK(xds.pool.packetCount() == 2);
    CHECK((xds.pool.take() != nullptr && xds.pool.take() != nullptr));
    CHECK(xds.pool.take() == nullptr);
    CHECK(xds.pool.inUseCount() == 2);
    CHECK(XdsPacketPool().packetCount() == 69);
}

TEST_CASE("A packet is built pair by pair", "[captions]")
{
    XdsPacket packet;
    for (unsigned code = 0; code < 256; ++code) {
        packet.clear();
        CHECK(packet == XdsPacket());
        const auto values = [&packet] {
            return std::tuple(packet.startCode(), packet.type(), packet.classIndex());
        };
        CHECK(values() == std::tuple(0xFF, 0xFF, 8));
        REQUIRE(packet.append({static_cast<uint8_t>(code), 9, 0, 0}));
        CHECK(values() == std::tuple(code, 9, code % 2 == 1 && code <= 13 ? code / 2 : 7));
    }
    CHECK(packet.toString() == "Unknown type 9: \"\""_s);
    checkEachFieldCounts(&XdsBytePair::c1, &XdsBytePair::c2, &XdsBytePair::raw1,
                         &XdsBytePair::raw2);
    const auto packetOf = [](int startCode, int raw) {
        XdsPacket built;
        built.append({static_cast<uint8_t>(startCode), 3, 0, 0});
        built.append({0x1F, 0x20, 0, static_cast<uint8_t>(raw)});
        return built;
    };
    packet = packetOf(1, 0);
    CHECK(packet == packetOf(1, 0));
    CHECK(packet != packetOf(3, 0));
    CHECK(packet != packetOf(1, 1));
    packet.append({0x7F, 0x80, 0, 0});
    CHECK(packet != packetOf(1, 0));
    XdsPacket tested = packet;
    CHECK_FALSE(tested.verifyChecksum());
    CHECK(tested.status() == XdsStatus_ChecksumFailed);
    CHECK(tested != packet);
    REQUIRE(packet.append({XdsPacket::END_CODE, 'A', 0, 0}));
    for (std::size_t count = packet.pairCount(); count < 33; ++count) {
        REQUIRE(packet.append({'B', 'C', 0, 0}));
    }
    CHECK(packet.text() == " █"_s); // up to the end pair
    CHECK_FALSE(packet.append({'B', 'C', 0, 0}));
    CHECK(packet.pairCount() == 33);
}

TEST_CASE("Ancillary packets of ten words carry a pair of either field", "[captions]")
{
    Xds xds;
    std::vector<uint8_t> words{0x00, 0xFF, 0xFF, 0x61, 0x02, 3, 0x00, 0x01, 0x83, 0x00};
    CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 1);
    words[6] = 0x80; // field 1
    words[7] = 0x03;
    CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 1);
    words[6] = 0x7F;
    CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsOk);
    CHECK(xds.decoder.openPacketCount() == 2);
    words = {0x00, 0xFF, 0xFF, 0x61, 0x02, 3, 0x00, 0x8F, 0x6B, 0x00};
    REQUIRE(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsPacketReady);
    XdsBytePair pair;
    REQUIRE(xds.packet->pairAt(1, pair));
    CHECK(pair == XdsBytePair{0x0F, 0x6B, 0x8F, 0x6B});
    xds.pool.release(xds.packet);
    for (const std::size_t size : {0, 9, 11}) {
        words.resize(size);
        CHECK(xds.decoder.processAncillaryPacket(words, xds.packet) == XdsNoPacketAvailable);
        CHECK(xds.packet == nullptr);
    }
}

// The digests of the next two cases are those of a second decoder, with a list that is searched,
// that was given the same pairs.

TEST_CASE("Any pairs have their results, whatever the pool holds", "[captions]")
{
    CHECK(digestOfRandomPairs(0, 10000, false) == 0x4246976BDD071A12u);
    CHECK(digestOfRandomPairs(1, 500000, false) == 0xB489BADCBCA33CF3u);
    CHECK(digestOfRandomPairs(4, 500000, false) == 0xF3ED8341C7F1E722u);
    CHECK(digestOfRandomPairs(69, 500000, false) == 0x49A696A0C4CB4AD4u);
    CHECK(digestOfRandomPairs(69, 500000, true) == 0xB6101C30E341367Au);
}

TEST_CASE("Fifty million random pairs go through the XDS decoder", "[captions][.][long]")
{
    CHECK(digestOfRandomPairs(69, 50000000, true) == 0x4F4FABDED25CE545u);
}
